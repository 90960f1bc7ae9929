#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/common/HttpRequestParts.h"

// The headers of a request as libcurl takes them, and look-ups in those of an answer.
namespace quillmarkclient_linux {

using quillmarkclient_common::HttpHeader;

// Takes out what only the origin that the caller named may see: "Authorization", "Cookie", "Host".
void DropOriginHeaders(std::vector<HttpHeader>& headers);

struct HeaderListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, HeaderListDeleter>;

// The list for CURLOPT_HTTPHEADER: the headers in order, then "Content-Length", and a line for each header
// that libcurl would add by itself and the caller did not give. Throws bad_alloc.
[[nodiscard]] HeaderList MakeHeaderList(const std::vector<HttpHeader>& headers, std::uint32_t contentLength);

// The list for CURLOPT_PROXYHEADER: what a CONNECT to a proxy must not carry. Throws bad_alloc.
[[nodiscard]] HeaderList MakeProxyHeaderList();

// The values of all header lines called `name`, in any case, within the header block of an answer; blanks and
// tabs round them are cut off. They point into `head`.
[[nodiscard]] std::vector<std::string_view> FindHeaders(std::string_view head, std::string_view name);

}  // namespace quillmarkclient_linux
