#pragma once

#include "core/src/registry/requests/CatalogueRequest.h"
#include "core/src/system/LogOutlets.h"

namespace registry {

template <class Api>
CatalogueRequest<Api>::CatalogueRequest(const RequestRow& requestRow, const portable_stl::string& baseUrl)
    : row_(requestRow) {
    for (std::size_t i = 0; i < row_.headers.count; ++i)
        Request<Api>::AddHeader(row_.headers.rows[i].name, row_.headers.rows[i].value);
    this->url = baseUrl + row_.endpointBase + row_.path;
}

template <class Api>
CatalogueRequest<Api>::~CatalogueRequest() = default;

template <class Api>
const portable_stl::vector<NameValue>& CatalogueRequest<Api>::GetHeaders() const {
    return this->headers;
}

template <class Api>
portable_stl::string CatalogueRequest<Api>::GetBody() const {
    return this->body;
}

template <class Api>
portable_stl::string CatalogueRequest<Api>::GetMethod() const {
    return row_.method;
}

template <class Api>
portable_stl::string CatalogueRequest<Api>::GetUrl() const {
    return this->url;
}

template <class Api>
ResultCode CatalogueRequest<Api>::CheckResponse(std::uint32_t httpCode,
                                                const portable_stl::string& responseBody,
                                                ServiceErrorInfo** errorInfo) {
    return CheckStatus(row_.statuses, httpCode, responseBody, errorInfo);
}

template <class Api>
portable_stl::string CatalogueRequest<Api>::Describe() const {
    if (row_.hiddenBodyLine != nullptr)
        return DescribeRequest(this->url, this->headers, row_.hiddenBodyLine);
    return Request<Api>::Describe();
}

template <class Api>
void CatalogueRequest<Api>::FinishWithFields(std::initializer_list<BodyField> fields) {
    json::JsonNode root;
    for (const BodyField& field : fields)
        json::AddChild(root, field.name, field.value, true);
    FinishWithBody(root);
}

template <class Api>
void CatalogueRequest<Api>::FinishWithBody(const json::JsonNode& root) {
    Finish(json::WriteJson(root, this->body, false));
}

template <class Api>
void CatalogueRequest<Api>::Finish(bool isSerialised) {
    if (isSerialised) {
        LogRequest(row_.logName, Describe());
        return;
    }
    this->body.clear();
    if (row_.notSerialised != nullptr)
        QUILLMARK_TRACE("%s", row_.notSerialised);
}

}  // namespace registry
