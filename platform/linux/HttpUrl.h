#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillmarkclient_linux {

// A URL that passed every check and may go to libcurl, which is laxer than we are.
struct HttpUrl {
    std::string text = {};  // path and query percent-encoded as they go out
    bool secure = false;
    std::string host = {};  // lower case, an IPv6 address with its brackets
    std::uint16_t port = 0;
};

// Checks a URL as callers give it. Nothing for one that quillmarkclient_common::SplitHttpUrl refuses.
//
// In path and query, blanks, bytes from 0x80 on, `"<>\^{|}`, the back-quote and '#' are percent-encoded (they
// have no place in a request target, RFC 3986 section 3.3); '%' is left alone, and so are dots.
[[nodiscard]] std::optional<HttpUrl> ParseHttpUrl(std::string_view url);

// The URL that a "Location" names as seen from `base` (RFC 9110 section 10.2.2), its fragment dropped.
// Nothing where it can't be followed: another scheme, a user in it, no URL at all.
[[nodiscard]] std::optional<HttpUrl> ResolveLocation(const HttpUrl& base, std::string_view location);

// Whether both have the same scheme, host and port.
[[nodiscard]] bool IsSameOrigin(const HttpUrl& left, const HttpUrl& right);

}  // namespace quillmarkclient_linux
