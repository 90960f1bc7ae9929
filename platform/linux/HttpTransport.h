#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/src/ResultCode.h"
#include "core/src/system/PlatformTable.h"
#include "platform/common/HttpRequestParts.h"
#include "platform/common/Memory.h"
#include "platform/linux/HttpBody.h"

// The HTTP entries of the platform table on Linux, over libcurl.
//
// One call is one synchronous exchange: a fresh handle and a fresh connection, HTTP/1.1, no pooling, no
// retry, no meaning given to a status. Calls may run at once on any number of threads; they share the
// process's trust store and nothing else. A call blocks its thread, at most for the limits below. Nothing is
// thrown, and SIGPIPE never reaches the host.
//
//   redirects   at most 10, http and https only and never from https to http (the 3xx is then the answer);
//               a POST becomes a GET on 301, 302 and 303 (on 303 every method but HEAD); "Authorization" and
//               "Cookie" never go to another origin
//   proxy       as libcurl takes it from the environment: http_proxy, https_proxy, no_proxy
//   TLS         1.2 or newer; peer and host verified against the system's store, see TrustStore.h
//   encoding    an answer is handed out as it came, never decompressed
//   framing     the caller's "Content-Length", "Transfer-Encoding" and "Expect" are left out: the transport
//               frames the message by the body it sends, and a second word on its length would let server
//               and proxy disagree about where the request ends
//   failures    0x80000002 null argument, method that is no token, fault in the URL: before any traffic
//               0x80000001 text that is not UTF-8, and whatever else throws, exhausted memory included
//               0x81000006 all else: the network and its time-outs, a header that no request may carry, a
//               block that Alloc refuses; never 0x81000014
//   blocks      null after a failure; otherwise made with Alloc, given back with HttpFree
namespace quillmarkclient_linux {

using quillmarkclient_common::HttpFree;
using quillmarkclient_common::kHttpNoRedirects;
using quillmarkclient_core::HttpHeaderPair;

// How long each step of an exchange may take, in milliseconds, all positive. Resolving and connecting (TCP
// and TLS) count from their own start; sending and receiving count from the last byte that moved.
struct HttpTimeouts {
    std::uint32_t resolveMs;
    std::uint32_t connectMs;
    std::uint32_t sendMs;
    std::uint32_t receiveMs;
    std::uint32_t totalMs = 15 * 60 * 1000;  // redirects included: the answer to a server that drips
};

inline constexpr HttpTimeouts kRequestTimeouts{5000, 60000, 30000, 30000};
inline constexpr HttpTimeouts kUploadTimeouts{5000, 60000, 30000, 60000};

// Bounds against a hostile server, passing one is 0x81000006; and what the answer's blocks are made with.
struct HttpBounds {
    std::size_t bodyBytes = std::size_t{256} * 1024 * 1024;
    // Of all heads of the call, interim ones and trailers included. libcurl has a bound of its own that
    // nobody can set: 300 KB a head in 7.88. So with this default a head between 300 KB and 1 MiB is refused
    // too, with the same code; this bound acts when it is smaller, when many heads add up, and with a libcurl
    // without one.
    std::size_t headerBytes = std::size_t{1} * 1024 * 1024;
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

}  // namespace quillmarkclient_linux
