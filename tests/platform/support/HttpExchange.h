// How the HTTP tests of every platform make an exchange and look at what came of it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "core/src/ResultCode.h"
#include "platform/common/HttpBody.h"
#include "platform/common/HttpRequestParts.h"

// Found by argument look-up, so that a failed row shows the code as a number.
inline void PrintTo(ResultCode code, std::ostream* out) {
    *out << "0x" << std::hex << static_cast<std::uint32_t>(code) << std::dec;
}

namespace test {

inline constexpr std::uint32_t kUntouched = 0xDEAD;

// What one exchange gave; no text stands for a null block.
struct Exchanged {
    ResultCode code = ResultCode::kSuccess;
    std::uint32_t status = kUntouched;
    std::optional<std::string> body = {};
    std::optional<std::string> head = {};
};

// A failed exchange leaves no block behind.
inline void ExpectFailure(const Exchanged& result, ResultCode code) {
    EXPECT_EQ(result.code, code);
    EXPECT_EQ(result.body, std::nullopt);
    EXPECT_EQ(result.head, std::nullopt);
}

// The platform's HttpFree.
using FreeBlock = std::uint32_t (*)(void* block, void* context);

inline std::optional<std::string> TakeBlock(char* block, FreeBlock free) {
    std::optional<std::string> text;
    if (block)
        text = block;
    EXPECT_EQ(free(block, nullptr), 0u);
    return text;
}

// Makes a call that stores a status, a body and a head at the three places that it is given. The blocks'
// places hold something already: each must be overwritten, with a block or with null.
template <class Call>
Exchanged Exchange(FreeBlock free, const Call& call) {
    char untouched = 0;
    char* body = &untouched;
    char* head = &untouched;
    Exchanged result;
    result.code = static_cast<ResultCode>(call(&result.status, &body, &head));
    const bool areOverwritten = body != &untouched && head != &untouched;
    EXPECT_TRUE(areOverwritten) << "a block's place is left as it was";
    if (areOverwritten) {
        result.body = TakeBlock(body, free);
        result.head = TakeBlock(head, free);
    }
    return result;
}

// The same for a call that gives no head.
template <class Call>
Exchanged HeadlessExchange(FreeBlock free, const Call& call) {
    return Exchange(free, [&](std::uint32_t* status, char** body, char** head) {
        *head = nullptr;
        return call(status, body);
    });
}

// What a test sends by a platform's SendHttp. Limits that no test waits for are far off.
template <class Timeouts, class Bounds>
struct SendingOf {
    std::string method = "GET";
    std::string url = {};
    std::vector<quillmarkclient_common::HttpHeaderPair> headers = {};
    std::string body = {};
    std::uint32_t flags = 0;
    Timeouts timeouts{20000, 20000, 20000, 20000};
    Bounds bounds = {};
    std::shared_ptr<quillmarkclient_common::HttpBody> source = nullptr;  // instead of `body`
};

template <class SendHttp, class Timeouts, class Bounds>
Exchanged SendBy(SendHttp send, FreeBlock free, const SendingOf<Timeouts, Bounds>& sending) {
    const auto source = sending.source
                            ? sending.source
                            : std::make_shared<quillmarkclient_common::HttpMemoryBody>(sending.body);
    return Exchange(free, [&](std::uint32_t* status, char** body, char** head) {
        return send(sending.method.c_str(), sending.url.c_str(), sending.headers.data(),
                    static_cast<std::uint32_t>(sending.headers.size()), source, sending.flags,
                    sending.timeouts, status, body, head, sending.bounds);
    });
}

}  // namespace test
