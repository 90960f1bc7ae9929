#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillmarkclient_common {

// A URL in its pieces, without a change but the host's. The views point into the URL.
struct HttpUrlParts {
    bool secure = false;
    std::string_view prefix;     // the scheme with its colon and slashes
    std::string_view authority;  // host and port as they were given
    std::string host;            // lower case, an IPv6 address with its brackets
    std::uint16_t port = 0;
    std::string_view target;  // path, query and fragment, each may be missing
};

// Checks a URL as callers give it. Nothing for a scheme that isn't exactly "http" or "https", a user or
// password, even an empty one, an empty or malformed host, a bad port, or a control byte anywhere.
//
// The systems' own readers of URLs are laxer than this, each in its own way: where one of them reads a broken
// port as 0, a connection to the scheme's own port comes of it.
[[nodiscard]] std::optional<HttpUrlParts> SplitHttpUrl(std::string_view url);

}  // namespace quillmarkclient_common
