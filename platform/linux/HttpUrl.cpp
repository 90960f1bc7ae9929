#include "platform/linux/HttpUrl.h"

#include <arpa/inet.h>
#include <curl/curl.h>

#include <algorithm>
#include <memory>

namespace quillmarkclient_linux {
namespace {

constexpr std::string_view kHttpPrefix = "http://";
constexpr std::string_view kHttpsPrefix = "https://";
constexpr std::string_view kEncoded = " \"<>\\^{|}`#";  // besides all bytes from 0x80 on
constexpr std::uint16_t kHttpPort = 80;
constexpr std::uint16_t kHttpsPort = 443;

struct UrlDeleter {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
using UrlHandle = std::unique_ptr<CURLU, UrlDeleter>;

struct CurlTextDeleter {
    void operator()(char* text) const { curl_free(text); }
};
using CurlText = std::unique_ptr<char, CurlTextDeleter>;

bool IsControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

bool IsHighByte(char c) {
    return static_cast<unsigned char>(c) >= 0x80;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

char LowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// High bytes are left to libcurl, which turns an international name into its ASCII form.
bool IsHostByte(char c) {
    const char lower = LowerAscii(c);
    return (lower >= 'a' && lower <= 'z') || IsDigit(c) || IsHighByte(c) || c == '-' || c == '.' ||
           c == '_' || c == '~';
}

bool IsIpv6Literal(std::string_view host) {
    if (host.size() < 2 || host.front() != '[' || host.back() != ']')
        return false;
    const std::string address(host.substr(1, host.size() - 2));
    in6_addr binary{};
    return inet_pton(AF_INET6, address.c_str(), &binary) == 1;
}

bool IsHost(std::string_view host) {
    return IsIpv6Literal(host) || (!host.empty() && std::all_of(host.begin(), host.end(), IsHostByte));
}

// An empty port stands for the scheme's own (RFC 3986 section 3.2.3).
std::optional<std::uint16_t> ParsePort(std::string_view digits, std::uint16_t schemePort) {
    if (digits.empty())
        return schemePort;
    std::uint32_t port = 0;
    for (const char c : digits) {
        if (!IsDigit(c))
            return std::nullopt;
        port = port * 10 + static_cast<std::uint32_t>(c - '0');
        if (port > 0xFFFF)
            return std::nullopt;
    }
    return port == 0 ? std::nullopt : std::optional(static_cast<std::uint16_t>(port));
}

// Fills host and port. A user shows by its '@', which no host may hold.
bool TakeAuthority(std::string_view authority, HttpUrl& url) {
    const auto hostEnd = authority.starts_with('[') ? authority.find(']') + 1 : authority.find(':');
    const auto host = authority.substr(0, hostEnd);
    if (!IsHost(host))
        return false;
    const auto rest = authority.substr(host.size());
    if (!rest.empty() && rest.front() != ':')
        return false;
    const auto port = ParsePort(rest.substr(rest.empty() ? 0 : 1), url.secure ? kHttpsPort : kHttpPort);
    if (!port)
        return false;
    url.host = host;
    std::transform(url.host.begin(), url.host.end(), url.host.begin(), LowerAscii);
    url.port = *port;
    return true;
}

void AppendEncoded(std::string_view text, std::string& out) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    for (const char c : text) {
        if (!IsHighByte(c) && kEncoded.find(c) == std::string_view::npos) {
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
    HttpUrl parsed;
    parsed.secure = url.starts_with(kHttpsPrefix);
    if (!parsed.secure && !url.starts_with(kHttpPrefix))
        return std::nullopt;
    if (std::any_of(url.begin(), url.end(), IsControl))
        return std::nullopt;

    const auto prefix = parsed.secure ? kHttpsPrefix : kHttpPrefix;
    const auto rest = url.substr(prefix.size());
    const auto authority = rest.substr(0, rest.find_first_of("/?#"));
    if (!TakeAuthority(authority, parsed))
        return std::nullopt;

    const auto target = rest.substr(authority.size());
    parsed.text.reserve(url.size() + 1);
    parsed.text.append(prefix).append(authority);
    if (!target.starts_with('/'))
        parsed.text.push_back('/');
    AppendEncoded(target, parsed.text);
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
