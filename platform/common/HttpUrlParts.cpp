#include "platform/common/HttpUrlParts.h"

#include <algorithm>

#include "platform/common/Ascii.h"

namespace quillmarkclient_common {
namespace {

constexpr std::string_view kHttpPrefix = "http://";
constexpr std::string_view kHttpsPrefix = "https://";
constexpr std::uint16_t kHttpPort = 80;
constexpr std::uint16_t kHttpsPort = 443;
constexpr int kIpv6Groups = 8;

// High bytes are left to the system, which may know the ASCII form of an international name.
bool IsHostByte(char c) {
    return IsLetter(c) || IsDigit(c) || IsHighByte(c) || c == '-' || c == '.' || c == '_' || c == '~';
}

// Cuts the piece in front of the next `mark` off `text`, and the mark with it.
std::string_view TakePiece(std::string_view& text, char mark) {
    const auto piece = text.substr(0, text.find(mark));
    text.remove_prefix(std::min(piece.size() + 1, text.size()));
    return piece;
}

// A number from 0 to 255 without a leading zero.
bool IsIpv4Number(std::string_view digits) {
    if (digits.empty() || digits.size() > 3 || !std::all_of(digits.begin(), digits.end(), IsDigit))
        return false;
    if (digits.front() == '0')
        return digits.size() == 1;
    return digits.size() < 3 || digits <= "255";
}

bool IsIpv4(std::string_view address) {
    if (std::count(address.begin(), address.end(), '.') != 3 || address.ends_with('.'))
        return false;
    while (!address.empty()) {
        if (!IsIpv4Number(TakePiece(address, '.')))
            return false;
    }
    return true;
}

// The groups of 16 bits in `text`, which stand between colons; the last two may be an IPv4 address where
// `mayEndInIpv4` says so. Nothing when it is malformed.
std::optional<int> CountIpv6Groups(std::string_view text, bool mayEndInIpv4) {
    if (text.empty())
        return 0;
    if (text.ends_with(':'))
        return std::nullopt;
    int groups = 0;
    while (!text.empty()) {
        const auto group = TakePiece(text, ':');
        if (mayEndInIpv4 && text.empty() && IsIpv4(group))
            return groups + 2;
        if (group.empty() || group.size() > 4 || !std::all_of(group.begin(), group.end(), IsHexDigit))
            return std::nullopt;
        ++groups;
    }
    return groups;
}

// RFC 4291 section 2.2; "::" stands for one group of zeros or more.
bool IsIpv6(std::string_view address) {
    const auto gap = address.find("::");
    if (gap == std::string_view::npos)
        return CountIpv6Groups(address, true) == kIpv6Groups;
    const auto before = CountIpv6Groups(address.substr(0, gap), false);
    const auto behind = CountIpv6Groups(address.substr(gap + 2), true);
    return before && behind && *before + *behind < kIpv6Groups;
}

bool IsHost(std::string_view host) {
    if (host.starts_with('['))
        return host.ends_with(']') && IsIpv6(host.substr(1, host.size() - 2));
    return !host.empty() && std::all_of(host.begin(), host.end(), IsHostByte);
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
bool TakeAuthority(HttpUrlParts& parts) {
    const auto authority = parts.authority;
    const auto hostEnd = authority.starts_with('[') ? authority.find(']') + 1 : authority.find(':');
    const auto host = authority.substr(0, hostEnd);
    if (!IsHost(host))
        return false;
    const auto rest = authority.substr(host.size());
    if (!rest.empty() && rest.front() != ':')
        return false;
    const auto port = ParsePort(rest.substr(rest.empty() ? 0 : 1), parts.secure ? kHttpsPort : kHttpPort);
    if (!port)
        return false;
    parts.host = host;
    std::transform(parts.host.begin(), parts.host.end(), parts.host.begin(), LowerAscii);
    parts.port = *port;
    return true;
}

}  // namespace

std::optional<HttpUrlParts> SplitHttpUrl(std::string_view url) {
    HttpUrlParts parts;
    parts.secure = url.starts_with(kHttpsPrefix);
    if (!parts.secure && !url.starts_with(kHttpPrefix))
        return std::nullopt;
    if (std::any_of(url.begin(), url.end(), IsControl))
        return std::nullopt;

    parts.prefix = url.substr(0, (parts.secure ? kHttpsPrefix : kHttpPrefix).size());
    const auto rest = url.substr(parts.prefix.size());
    parts.authority = rest.substr(0, rest.find_first_of("/?#"));
    parts.target = rest.substr(parts.authority.size());
    if (!TakeAuthority(parts))
        return std::nullopt;
    return parts;
}

}  // namespace quillmarkclient_common
