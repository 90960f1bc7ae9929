#include "tools/sandbox/Http.h"

#include <algorithm>
#include <array>
#include <optional>

namespace sandbox {
namespace {

// Query members whose values are credentials: a provider's access token, an authorisation code.
constexpr std::array<std::string_view, 5> kSecretMembers = {"access_token", "code", "password", "secretKey",
                                                            "token"};

struct StatusTitle {
    int status;
    std::string_view title;
};

constexpr StatusTitle kStatusTitles[] = {
    {200, "OK"},
    {201, "Created"},
    {204, "No Content"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {406, "Not Acceptable"},
    {409, "Conflict"},
    {413, "Content Too Large"},
    {414, "URI Too Long"},
    {415, "Unsupported Media Type"},
    {423, "Locked"},
    {429, "Too Many Requests"},
    {500, "Internal Server Error"},
    {503, "Service Unavailable"},
};

char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::optional<int> hexValue(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    const char letter = lowered(digit);
    if (letter >= 'a' && letter <= 'f')
        return letter - 'a' + 10;
    return std::nullopt;
}

// A '%' without two hex digits behind it stands for itself.
std::string percentDecoded(std::string_view text) {
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto high = text[at] == '%' && at + 2 < text.size() ? hexValue(text[at + 1]) : std::nullopt;
        const auto low = high ? hexValue(text[at + 2]) : std::nullopt;
        if (!low) {
            decoded += text[at];
            continue;
        }
        decoded += static_cast<char>(*high * 16 + *low);
        at += 2;
    }
    return decoded;
}

// Calls `take(name, value)` with the raw texts of each member of a query.
template <typename Take>
void eachMember(std::string_view query, Take take) {
    while (!query.empty()) {
        const std::string_view member = query.substr(0, query.find('&'));
        const std::size_t equals = member.find('=');
        if (!member.empty())
            take(member.substr(0, equals),
                 equals == member.npos ? std::string_view() : member.substr(equals + 1));
        query.remove_prefix(std::min(member.size() + 1, query.size()));
    }
}

bool isSecret(std::string_view name) {
    return std::any_of(kSecretMembers.begin(), kSecretMembers.end(),
                       [name](std::string_view secret) { return equalsIgnoringCase(secret, name); });
}

void appendPrintable(std::string& text, std::string_view raw) {
    for (const char byte : raw)
        text += byte > ' ' && byte < '\x7f' ? byte : '?';
}

}  // namespace

Target splitTarget(std::string_view target) {
    const std::size_t mark = target.find('?');
    Target split{percentDecoded(target.substr(0, mark)), {}};
    if (mark != target.npos)
        eachMember(target.substr(mark + 1), [&split](std::string_view name, std::string_view value) {
            split.query.emplace_back(percentDecoded(name), percentDecoded(value));
        });
    return split;
}

std::string maskedTarget(std::string_view target) {
    const std::size_t mark = target.find('?');
    std::string masked;
    appendPrintable(masked, target.substr(0, mark));
    if (mark == target.npos)
        return masked;
    char separator = '?';
    eachMember(target.substr(mark + 1), [&](std::string_view name, std::string_view value) {
        masked += separator;
        appendPrintable(masked, name);
        masked += '=';
        appendPrintable(masked, isSecret(percentDecoded(name)) ? std::string_view("***") : value);
        separator = '&';
    });
    return masked;
}

const std::string* findHeader(const NamedValues& headers, std::string_view name) {
    const auto found = std::find_if(headers.begin(), headers.end(), [name](const auto& header) {
        return equalsIgnoringCase(header.first, name);
    });
    return found == headers.end() ? nullptr : &found->second;
}

const std::string* findValue(const NamedValues& values, std::string_view name) {
    const auto found =
        std::find_if(values.begin(), values.end(), [name](const auto& value) { return value.first == name; });
    return found == values.end() ? nullptr : &found->second;
}

bool equalsIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lowered(a) == lowered(b); });
}

std::string_view statusTitle(int status) {
    const auto* found = std::find_if(std::begin(kStatusTitles), std::end(kStatusTitles),
                                     [status](const StatusTitle& row) { return row.status == status; });
    return found == std::end(kStatusTitles) ? "Error" : found->title;
}

}  // namespace sandbox
