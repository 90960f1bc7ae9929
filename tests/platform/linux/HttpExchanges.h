// How the HTTP tests make an exchange and look at what came of it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "core/src/ResultCode.h"
#include "platform/linux/HttpTransport.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/sandbox/TestCertificates.h"

// Found by argument look-up, so that a failed row shows the code as a number.
inline void PrintTo(ResultCode code, std::ostream* out) {
    *out << "0x" << std::hex << static_cast<std::uint32_t>(code) << std::dec;
}

namespace test {

inline constexpr std::uint32_t kUntouched = 0xDEAD;

// What one exchange gave; no block stands for a null pointer.
struct Exchanged {
    ResultCode code = ResultCode::kSuccess;
    std::uint32_t status = kUntouched;
    std::optional<std::string> body;
    std::optional<std::string> head;
};

inline std::optional<std::string> TakeBlock(char* block) {
    if (!block)
        return std::nullopt;
    std::string text(block);
    EXPECT_EQ(quillmarkclient_linux::HttpFree(block, nullptr), 0u);
    return text;
}

// What a test sends. Limits that no test waits for are far off; those under test are set to tens of
// milliseconds.
struct Sending {
    std::string method = "GET";
    std::string url = {};
    std::vector<quillmarkclient_core::HttpHeaderPair> headers = {};
    std::string body = {};
    std::uint32_t flags = 0;
    quillmarkclient_linux::HttpTimeouts timeouts{20000, 20000, 20000, 20000, 60000};
    quillmarkclient_linux::HttpBounds bounds = {};
    std::shared_ptr<quillmarkclient_linux::HttpBody> source = nullptr;  // instead of `body`
};

inline Exchanged Send(const Sending& sending) {
    namespace here = quillmarkclient_linux;
    auto source = sending.source ? sending.source : std::make_shared<here::HttpMemoryBody>(sending.body);
    char untouched = 0;  // both must be overwritten, with a block or with null
    char* body = &untouched;
    char* head = &untouched;
    Exchanged result;
    result.code = here::SendHttp(sending.method.c_str(), sending.url.c_str(), sending.headers.data(),
                                 static_cast<std::uint32_t>(sending.headers.size()), source, sending.flags,
                                 sending.timeouts, &result.status, &body, &head, sending.bounds);
    result.body = TakeBlock(body);
    result.head = TakeBlock(head);
    return result;
}

inline Exchanged Get(const std::string& url) {
    return Send({.url = url});
}

// A failed exchange leaves no block behind.
inline void ExpectFailure(const Exchanged& result, ResultCode code) {
    EXPECT_EQ(result.code, code);
    EXPECT_EQ(result.body, std::nullopt);
    EXPECT_EQ(result.head, std::nullopt);
}

// An authority of the test's own, which is all that the process trusts as long as it lives.
class TrustedAuthority {
public:
    TrustedAuthority()
        : bundle_(folder_.PathOf("authority.pem")),
          file_("SSL_CERT_FILE", bundle_.c_str()),
          directory_("SSL_CERT_DIR", folder_.Path().c_str()) {
        WriteWhole(bundle_, authority_.certificatePem());
    }

    [[nodiscard]] const sandbox::TestAuthority& Authority() const { return authority_; }
    [[nodiscard]] const std::string& BundlePath() const { return bundle_; }

private:
    sandbox::TestAuthority authority_;
    TemporaryFolder folder_;
    std::string bundle_;
    ScopedVariable file_;
    ScopedVariable directory_;
};

}  // namespace test
