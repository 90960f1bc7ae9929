#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/HttpUrl.h"

namespace quillmarkclient_linux {

// Where an answer sends a request.
struct HttpRedirect {
    HttpUrl url;
    std::string method;
    bool keepsBody = false;
};

// Reads a redirect out of an answer's status and header block. Nothing where the answer is no redirect
// (another status, no "Location") or one that must not be followed: to another scheme than http or https,
// from https to http. Such an answer is the exchange's answer.
//
// 301 and 302 turn a POST into a GET and leave other methods, 303 turns all but HEAD into a GET, 307 and 308
// keep method and body (RFC 9110 section 15.4).
[[nodiscard]] std::optional<HttpRedirect> FindRedirect(const std::string& method, const HttpUrl& url,
                                                       std::uint32_t status, std::string_view head);

}  // namespace quillmarkclient_linux
