#include "platform/linux/HttpHeaders.h"

#include <algorithm>
#include <array>
#include <new>

namespace quillmarkclient_linux {
namespace {

using quillmarkclient_common::EqualsIgnoringCase;

constexpr std::string_view kBlanks = " \t";

// libcurl sends these by itself where it sees fit; a line with a name and nothing else forbids it.
constexpr std::array<std::string_view, 4> kUnwanted = {"Accept", "Expect", "Content-Type",
                                                       "Proxy-Connection"};
constexpr std::array<std::string_view, 3> kOriginOnly = {"Authorization", "Cookie", "Host"};

template <std::size_t Size>
bool IsOneOf(const std::array<std::string_view, Size>& names, std::string_view name) {
    return std::any_of(names.begin(), names.end(),
                       [&](auto known) { return EqualsIgnoringCase(known, name); });
}

std::string_view Trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// libcurl takes "Name:" with nothing but blanks behind it as an order to send no such header, and "Name;" as
// one to send it empty.
std::string LineOf(const HttpHeader& header) {
    return Trimmed(header.value).empty() ? header.name + ";" : header.name + ": " + header.value;
}

void Append(HeaderList& list, const std::string& line) {
    curl_slist* longer = curl_slist_append(list.get(), line.c_str());
    if (!longer)
        throw std::bad_alloc();
    (void)list.release();  // the head of the list, which `longer` is or begins with
    list.reset(longer);
}

}  // namespace

void DropOriginHeaders(std::vector<HttpHeader>& headers) {
    std::erase_if(headers, [](const HttpHeader& header) { return IsOneOf(kOriginOnly, header.name); });
}

HeaderList MakeHeaderList(const std::vector<HttpHeader>& headers, std::uint32_t contentLength) {
    HeaderList list;
    for (const auto& header : headers)
        Append(list, LineOf(header));
    Append(list, "Content-Length: " + std::to_string(contentLength));
    for (const auto name : kUnwanted) {
        const auto given = [&](const HttpHeader& header) { return EqualsIgnoringCase(header.name, name); };
        if (std::none_of(headers.begin(), headers.end(), given))
            Append(list, std::string(name) + ":");
    }
    return list;
}

HeaderList MakeProxyHeaderList() {
    HeaderList list;
    Append(list, "Proxy-Connection:");
    return list;
}

std::vector<std::string_view> FindHeaders(std::string_view head, std::string_view name) {
    std::vector<std::string_view> values;
    while (!head.empty()) {
        const auto line = head.substr(0, head.find("\r\n"));
        head.remove_prefix(std::min(line.size() + 2, head.size()));
        const auto colon = line.find(':');
        if (colon != std::string_view::npos && EqualsIgnoringCase(line.substr(0, colon), name))
            values.push_back(Trimmed(line.substr(colon + 1)));
    }
    return values;
}

}  // namespace quillmarkclient_linux
