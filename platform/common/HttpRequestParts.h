#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/src/ResultCode.h"
#include "core/src/system/PlatformTable.h"

// What callers give to an exchange and what they get, checked and made alike by every transport.
namespace quillmarkclient_common {

using quillmarkclient_core::HttpHeaderPair;

inline constexpr std::uint32_t kHttpNoRedirects = 1;  // bit 0 of `flags`

struct HttpHeader {
    std::string name;
    std::string value;
};

// Whether `text` is a token: what a method or a header name may be (RFC 9110 section 5.6.2).
[[nodiscard]] bool IsToken(std::string_view text);

[[nodiscard]] bool EqualsIgnoringCase(std::string_view left, std::string_view right);

// Whether there are as many pairs as told, and no null text among them.
[[nodiscard]] bool AreHeadersPresent(const HttpHeaderPair* headers, std::uint32_t count);

// Copies the pairs, in order. Nothing when a name is no token (RFC 9110 section 5.1) or a CR or LF stands in
// a value: such a pair could smuggle in a header or a whole request. The caller's own "Content-Length",
// "Expect" and "Transfer-Encoding" are left out, because the transport frames the message. Throws
// std::range_error for a name or value that is not UTF-8, whatever else is wrong with any of the pairs: not
// every system has a form for such bytes.
[[nodiscard]] std::optional<std::vector<HttpHeader>> TakeHeaders(const HttpHeaderPair* pairs,
                                                                 std::uint32_t count);

// Nothing is handed out until an exchange has succeeded. Either pointer may be null.
void ClearBlocks(char** responseBody, char** responseHeaders);

// Makes an answer's blocks with `alloc`, each a text with a zero byte behind it. `head` may be null, which
// leaves its block out, as `responseHeaders` may. False when memory is exhausted: no block is handed out.
[[nodiscard]] bool HandOut(std::string_view body, const std::string* head, void* (*alloc)(std::size_t),
                           char** responseBody, char** responseHeaders);

// The frame of a call: clears the blocks, runs `work`, and turns whatever it throws into 0x80000001.
template <class Work>
[[nodiscard]] ResultCode RunCall(char** responseBody, char** responseHeaders, Work work) noexcept {
    ClearBlocks(responseBody, responseHeaders);
    try {
        return work();
    } catch (...) {
        return ResultCode::kInternalError;
    }
}

// The table's entry.
std::uint32_t HttpFree(void* block, void* context) noexcept;

}  // namespace quillmarkclient_common
