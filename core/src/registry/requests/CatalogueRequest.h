#pragma once

#include <initializer_list>

#include "core/src/json/Json.h"
#include "core/src/registry/Request.h"
#include "core/src/registry/requests/RequestRow.h"

namespace registry {

/// One member of a request's body; written as a quoted text.
struct BodyField {
    const char* name;
    const portable_stl::string& value;
};

// A request that a row of the catalogue describes.
//
// The constructor of a derived class completes `url` where its row leaves something open, and ends with
// exactly one of the Finish operations, which write the request to the log.
template <class Api>
class CatalogueRequest : public Request<Api> {
public:
    ~CatalogueRequest() override;
    [[nodiscard]] const portable_stl::vector<NameValue>& GetHeaders() const override;
    [[nodiscard]] portable_stl::string GetBody() const override;
    [[nodiscard]] portable_stl::string GetMethod() const override;
    [[nodiscard]] portable_stl::string GetUrl() const override;
    [[nodiscard]] ResultCode CheckResponse(std::uint32_t httpCode, const portable_stl::string& responseBody,
                                           ServiceErrorInfo** errorInfo) override;
    // Final because the constructors log by it: a class that hides its body says so in its row.
    [[nodiscard]] portable_stl::string Describe() const final;

protected:
    /// Sets headers and `url` by the row, which has to outlive the request.
    CatalogueRequest(const RequestRow& requestRow, const portable_stl::string& baseUrl);

    /// Writes the body, members in the order given.
    void FinishWithFields(std::initializer_list<BodyField> fields);
    void FinishWithBody(const json::JsonNode& root);
    /// The body is as it stands. With `isSerialised` false it is dropped, and the row's line for that case
    /// stands in the log instead of the request.
    void Finish(bool isSerialised = true);

private:
    const RequestRow& row_;
};

}  // namespace registry
