#include "core/src/registry/ResponseHeaders.h"

#include <cstddef>
#include <utility>

#include "core/src/json/Json.h"

namespace registry {
namespace {

// The line from `start`, without its ends; `start` moves behind it.
portable_stl::string TakeLine(const portable_stl::string& block, std::size_t& start) {
    const std::size_t feed = block.find('\n', start);
    const std::size_t end = feed == portable_stl::string::npos ? block.size() : feed;
    const bool hasReturn = end != start && block[end - 1] == '\r';
    portable_stl::string line = block.substr(start, end - start - (hasReturn ? 1 : 0));
    start = feed == portable_stl::string::npos ? end : feed + 1;
    return line;
}

}  // namespace

portable_stl::vector<NameValue> ParseResponseHeaders(const portable_stl::string& responseHeaders) {
    portable_stl::vector<NameValue> headers;
    for (std::size_t start = 0; start != responseHeaders.size();) {
        const portable_stl::string line = TakeLine(responseHeaders, start);
        const std::size_t colon = line.find(':');
        if (colon == portable_stl::string::npos)
            continue;
        std::size_t valueStart = colon + 1;
        while (valueStart != line.size() && line[valueStart] == ' ')
            ++valueStart;
        headers.push_back(NameValue{line.substr(0, colon), line.substr(valueStart)}).value();
    }
    return headers;
}

bool FindResponseHeader(const portable_stl::string& responseHeaders, const char* name,
                        portable_stl::string& value) {
    for (NameValue& header : ParseResponseHeaders(responseHeaders)) {
        if (json::KeyEquals(header.name, name)) {
            value = std::move(header.value);
            return true;
        }
    }
    return false;
}

}  // namespace registry
