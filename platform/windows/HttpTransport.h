#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/src/ResultCode.h"
#include "core/src/system/PlatformTable.h"
#include "platform/common/HttpRequestParts.h"
#include "platform/common/Memory.h"
#include "platform/windows/HttpBody.h"

// The HTTP entries of the platform table on Windows, over WinHTTP.
//
// One call is one synchronous exchange: a fresh session, connection and request, no pooling, no retry, no
// meaning given to a status. Calls may run at once on any number of threads; they share nothing. A call
// blocks its thread. The limits below are of each wait and not of the whole: a server that drips can hold a
// call for as long as it likes. Nothing is thrown.
//
//   redirects   as the system follows them
//   proxy       as the system finds it by itself
//   TLS         what the system allows of TLS 1.2 and older; peer and host verified against its store
//   framing     the caller's "Content-Length", "Transfer-Encoding" and "Expect" are left out: the transport
//               frames the message by the body it sends, and a second word on its length would let server
//               and proxy disagree about where the request ends
//   failures    0x80000002 null argument, method that is no token, fault in the URL: before any traffic
//               0x80000001 text that is not UTF-8, and whatever else throws, exhausted memory included
//               0x81000006 all else: the network and its time-outs, a header that no request may carry, a
//               block that Alloc refuses; never 0x81000014
//   blocks      null after a failure; otherwise made with Alloc, given back with HttpFree
namespace quillmarkclient_windows {

using quillmarkclient_common::HttpFree;
using quillmarkclient_common::kHttpNoRedirects;
using quillmarkclient_core::HttpHeaderPair;

// As WinHttpSetTimeouts takes them, in milliseconds.
struct HttpTimeouts {
    int resolveMs;
    int connectMs;
    int sendMs;
    int receiveMs;
};

inline constexpr HttpTimeouts kRequestTimeouts{5000, 60000, 30000, 30000};
inline constexpr HttpTimeouts kUploadTimeouts{5000, 60000, 30000, 60000};

// A bound against a hostile server, passing it is 0x81000006; and what the answer's blocks are made with.
struct HttpBounds {
    std::size_t bodyBytes = std::size_t{256} * 1024 * 1024;
    void* (*alloc)(std::size_t) = quillmarkclient_common::Alloc;
};

// The table's entries; PlatformTable.h documents them.
std::uint32_t HttpRequest(const char* method, const char* url, const HttpHeaderPair* headers,
                          std::uint32_t headerCount, const char* body, std::uint32_t flags,
                          std::uint32_t* status, char** responseBody, char** responseHeaders,
                          void* context) noexcept;
std::uint32_t HttpUploadFile(const char* method, const char* url, const HttpHeaderPair* headers,
                             std::uint32_t headerCount, const char* boundary, const char* filePath,
                             const char* fileName, std::uint32_t* status, char** responseBody) noexcept;

// What both stand on. `body` may be null, which is an empty body. A null `responseBody` ends the call as soon
// as the status is known, with no header block. The status is stored once the final answer's head is there,
// even if its body then fails.
[[nodiscard]] ResultCode SendHttp(const char* method, const char* url, const HttpHeaderPair* headers,
                                  std::uint32_t headerCount, std::shared_ptr<HttpBody> body,
                                  std::uint32_t flags, const HttpTimeouts& timeouts, std::uint32_t* status,
                                  char** responseBody, char** responseHeaders,
                                  const HttpBounds& bounds = {}) noexcept;

}  // namespace quillmarkclient_windows
