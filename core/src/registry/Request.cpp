#include "core/src/registry/Request.h"

#include <cstring>
#include <initializer_list>

#include "core/src/registry/Request_impl.h"
#include "core/src/system/LogOutlets.h"
#include "core/src/system/SystemApi.h"
#include "portable_stl/exception.h"

namespace registry {

template class Request<quillmarkclient_core::SystemApi>;

namespace {

// Strings grow by exactly what is appended, so a text of many pieces makes its room first.
portable_stl::string RoomFor(std::size_t size) {
    portable_stl::string text;
    if (!text.reserve(size))
        throw portable_stl::bad_alloc();
    return text;
}

constexpr char kFirstLine[] = "\tXmlHttp parameters: \n";
constexpr char kUrlStart[] = "\turl: ";
constexpr char kHeadersLine[] = "\n\theaders:\n";
constexpr char kHeaderStart[] = "\t\t";
constexpr char kHeaderMiddle[] = " : ";

}  // namespace

portable_stl::string DescribeRequest(const portable_stl::string& url,
                                     const portable_stl::vector<NameValue>& headers,
                                     const portable_stl::string& bodyLine) {
    std::size_t size = sizeof kFirstLine + sizeof kUrlStart + url.size() + sizeof kHeadersLine;
    for (const NameValue& header : headers)
        size += sizeof kHeaderStart + header.name.size() + sizeof kHeaderMiddle + header.value.size();

    portable_stl::string text = RoomFor(size + bodyLine.size());
    text.append(kFirstLine).append(kUrlStart).append(url).append(kHeadersLine);
    for (const NameValue& header : headers)
        text.append(kHeaderStart).append(header.name).append(kHeaderMiddle).append(header.value).append('\n');
    text.append(bodyLine);
    return text;
}

void LogRequest(const char* name, const portable_stl::string& text) {
    QUILLMARK_TRACE("%s", (portable_stl::string(name) + ":\n" + text).c_str());
}

portable_stl::string BuildBearer(const quillmarkclient_core::Token& token) {
    return token.present == 0 ? portable_stl::string() : "Bearer " + token.text;
}

}  // namespace registry
