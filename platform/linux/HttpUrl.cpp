#include "platform/linux/HttpUrl.h"

#include <curl/curl.h>

#include <memory>

#include "platform/common/Ascii.h"
#include "platform/common/HttpUrlParts.h"

namespace quillmarkclient_linux {
namespace {

constexpr std::string_view kEncoded = " \"<>\\^{|}`#";  // besides all bytes from 0x80 on

struct UrlDeleter {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
using UrlHandle = std::unique_ptr<CURLU, UrlDeleter>;

struct CurlTextDeleter {
    void operator()(char* text) const { curl_free(text); }
};
using CurlText = std::unique_ptr<char, CurlTextDeleter>;

void AppendEncoded(std::string_view text, std::string& out) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    for (const char c : text) {
        if (!quillmarkclient_common::IsHighByte(c) && kEncoded.find(c) == std::string_view::npos) {
            out.push_back(c);
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        out.push_back('%');
        out.push_back(kDigits[byte >> 4]);
        out.push_back(kDigits[byte & 0x0F]);
    }
}

// libcurl overlooks a third slash and takes the path's first piece for the host.
bool NamesEmptyHost(std::string_view location) {
    const auto slashes = location.find("///");
    return slashes == 0 || (slashes != std::string_view::npos && location[slashes - 1] == ':' &&
                            location.find_first_of("/?#") == slashes);
}

}  // namespace

std::optional<HttpUrl> ParseHttpUrl(std::string_view url) {
    const auto parts = quillmarkclient_common::SplitHttpUrl(url);
    if (!parts)
        return std::nullopt;
    HttpUrl parsed{.secure = parts->secure, .host = parts->host, .port = parts->port};
    parsed.text.reserve(url.size() + 1);
    parsed.text.append(parts->prefix).append(parts->authority);
    if (!parts->target.starts_with('/'))
        parsed.text.push_back('/');
    AppendEncoded(parts->target, parsed.text);
    return parsed;
}

std::optional<HttpUrl> ResolveLocation(const HttpUrl& base, std::string_view location) {
    if (NamesEmptyHost(location))
        return std::nullopt;
    const auto reference = location.substr(0, location.find('#'));
    if (reference.empty())
        return base;
    std::string encoded;
    AppendEncoded(reference, encoded);
    const UrlHandle url(curl_url());
    if (!url || curl_url_set(url.get(), CURLUPART_URL, base.text.c_str(), 0) != CURLUE_OK ||
        curl_url_set(url.get(), CURLUPART_URL, encoded.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK)
        return std::nullopt;
    char* text = nullptr;
    if (curl_url_get(url.get(), CURLUPART_URL, &text, 0) != CURLUE_OK)
        return std::nullopt;
    const CurlText owner(text);
    return ParseHttpUrl(text);
}

bool IsSameOrigin(const HttpUrl& left, const HttpUrl& right) {
    return left.secure == right.secure && left.host == right.host && left.port == right.port;
}

}  // namespace quillmarkclient_linux
