#pragma once

#include <cstdint>

#include "core/src/ResultCode.h"
#include "core/src/core/Token.h"
#include "core/src/registry/ServiceErrorInfo.h"
#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace registry {

// One call to the account service: all that goes on the wire, and the meaning of the answer.
//
// A derived class is built whole, and written to the log, by its constructor; sending it only reads it
// through the virtual operations and adds headers. It holds no connection and no retry logic. After the
// exchange CheckResponse turns status and body into a result code.
//
// Belongs to the thread that made it. Constructors throw as the containers do.
//
// The order of the virtual operations is fixed: AddHeader, destructor, GetHeaders, GetBody, GetMethod,
// GetUrl, CheckResponse, GetFlags, SetHeader, Describe.
template <class Api>
class Request {
public:
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    /// Appends a pair, whether or not the name is there already.
    virtual void AddHeader(const portable_stl::string& name, const portable_stl::string& value);
    virtual ~Request();
    [[nodiscard]] virtual const portable_stl::vector<NameValue>& GetHeaders() const = 0;
    [[nodiscard]] virtual portable_stl::string GetBody() const = 0;
    [[nodiscard]] virtual portable_stl::string GetMethod() const = 0;
    [[nodiscard]] virtual portable_stl::string GetUrl() const = 0;
    /// The result code of this exchange. When it is a failure and `*errorInfo` is not null, the record behind
    /// it is filled from the body.
    [[nodiscard]] virtual ResultCode CheckResponse(std::uint32_t httpCode,
                                                   const portable_stl::string& responseBody,
                                                   ServiceErrorInfo** errorInfo) = 0;
    [[nodiscard]] virtual std::uint32_t GetFlags() const;
    /// Gives the first header of exactly this name (case counts) the new value; appends one if there is none.
    virtual void SetHeader(const portable_stl::string& name, const portable_stl::string& value);
    /// The request as the log shows it. A class whose body holds a password hides the body.
    [[nodiscard]] virtual portable_stl::string Describe() const;

    portable_stl::string url;  // absolute, query included
    portable_stl::vector<NameValue> headers;
    portable_stl::string body;  // empty for a GET and for a POST without one
    std::uint32_t flags = 0;    // bit 0: the transport does not follow redirects

protected:
    Request() = default;
};

/// The text of Request::Describe, with `bodyLine` in place of the line that shows the body.
[[nodiscard]] portable_stl::string DescribeRequest(const portable_stl::string& url,
                                                   const portable_stl::vector<NameValue>& headers,
                                                   const portable_stl::string& bodyLine);

/// Writes name + ":\n" + text to the trace outlet; nothing when none is installed.
void LogRequest(const char* name, const portable_stl::string& text);

/// The header that carries the bearer token.
inline constexpr char kAuthorizationHeader[] = "Authorization";

/// The value of that header; empty for a token that is not present.
[[nodiscard]] portable_stl::string BuildBearer(const quillmarkclient_core::Token& token);

}  // namespace registry
