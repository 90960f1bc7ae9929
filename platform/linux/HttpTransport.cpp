#include "platform/linux/HttpTransport.h"

#include <curl/curl.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/common/Utf8.h"
#include "platform/linux/FileHandle.h"
#include "platform/linux/HttpExchange.h"
#include "platform/linux/HttpHeaders.h"
#include "platform/linux/HttpRedirect.h"
#include "platform/linux/HttpUrl.h"
#include "platform/linux/SignalGuard.h"

namespace quillmarkclient_linux {
namespace {

using quillmarkclient_common::AreHeadersPresent;
using quillmarkclient_common::HandOut;
using quillmarkclient_common::IsToken;
using quillmarkclient_common::RunCall;
using quillmarkclient_common::TakeHeaders;

constexpr int kMaxRedirects = 10;

constexpr std::uint32_t Number(ResultCode code) {
    return static_cast<std::uint32_t>(code);
}

bool IsLibcurlReady() {
    static const bool isReady = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return isReady;
}

// What a call sends now; a redirect changes it.
struct Request {
    std::string method;
    HttpUrl url;
    std::vector<HttpHeader> headers;
    std::shared_ptr<HttpBody> body;
};

// The last answer, behind all redirects. `answer.status` is 0 if there is none; a body may be missing behind
// a failure.
ResultCode Follow(Request request, std::uint32_t flags, const HttpTimeouts& timeouts,
                  const HttpBounds& bounds, bool isBodyWanted, HttpAnswer& answer) {
    const bool mayFollow = (flags & kHttpNoRedirects) == 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeouts.totalMs);
    for (int redirects = 0;; ++redirects) {
        std::optional<HttpRedirect> next;
        const auto isThisBodyWanted = [&](const HttpAnswer& head) {
            if (mayFollow)
                next = FindRedirect(request.method, request.url, head.status, head.head);
            if (next && next->keepsBody && request.body && !request.body->Rewind())
                next.reset();  // the body is gone, so the request can't be made again
            return !next && isBodyWanted;
        };
        HttpExchange exchange(
            {request.method, request.url, request.headers, request.body.get(), timeouts, bounds, deadline},
            isThisBodyWanted);
        const auto code = exchange.Run();
        if (!next)
            answer = std::move(exchange.GetAnswer());
        if (!IsSuccess(code) || !next)
            return code;
        if (redirects == kMaxRedirects)
            return ResultCode::kNetwork;

        if (!IsSameOrigin(request.url, next->url))
            DropOriginHeaders(request.headers);
        if (!next->keepsBody)
            request.body.reset();
        request.method = std::move(next->method);
        request.url = std::move(next->url);
    }
}

ResultCode SendChecked(const char* method, const char* url, const HttpHeaderPair* headers,
                       std::uint32_t headerCount, std::shared_ptr<HttpBody> body, std::uint32_t flags,
                       const HttpTimeouts& timeouts, std::uint32_t* status, char** responseBody,
                       char** responseHeaders, const HttpBounds& bounds) {
    if (!method || !url || !status || !AreHeadersPresent(headers, headerCount) || !IsToken(method))
        return ResultCode::kInvalidParameters;
    quillmarkclient_common::RequireUtf8(url);
    auto parsedUrl = ParseHttpUrl(url);
    if (!parsedUrl)
        return ResultCode::kInvalidParameters;
    auto takenHeaders = TakeHeaders(headers, headerCount);
    if (!takenHeaders || !IsLibcurlReady())
        return ResultCode::kNetwork;

    const SignalGuard guard(SIGPIPE);
    HttpAnswer answer;
    const auto code = Follow({method, std::move(*parsedUrl), std::move(*takenHeaders), std::move(body)},
                             flags, timeouts, bounds, responseBody != nullptr, answer);
    if (answer.status != 0)
        *status = answer.status;
    if (!IsSuccess(code) || !responseBody)
        return code;
    const bool isHandedOut = HandOut(answer.body, &answer.head, bounds.alloc, responseBody, responseHeaders);
    return isHandedOut ? ResultCode::kSuccess : ResultCode::kNetwork;
}

}  // namespace

std::uint32_t HttpRequest(const char* method, const char* url, const HttpHeaderPair* headers,
                          std::uint32_t headerCount, const char* body, std::uint32_t flags,
                          std::uint32_t* status, char** responseBody, char** responseHeaders,
                          void*) noexcept {
    return Number(RunCall(responseBody, responseHeaders, [&] {
        return SendHttp(method, url, headers, headerCount, std::make_shared<HttpMemoryBody>(body ? body : ""),
                        flags, kRequestTimeouts, status, responseBody, responseHeaders);
    }));
}

std::uint32_t HttpUploadFile(const char* method, const char* url, const HttpHeaderPair* headers,
                             std::uint32_t headerCount, const char* boundary, const char* filePath,
                             const char* fileName, std::uint32_t* status, char** responseBody) noexcept {
    return Number(RunCall(responseBody, nullptr, [&] {
        if (!method || !url || !boundary || !filePath || !fileName || !status ||
            !AreHeadersPresent(headers, headerCount))
            return ResultCode::kInvalidParameters;
        const FileHandle file = OpenAt(filePath, 0, Access::kRead, Missing::kCreate);
        if (!file.IsOpen())
            return ResultCode::kFileOpen;
        return SendHttp(method, url, headers, headerCount,
                        std::make_shared<HttpFileBody>(file.Get(), boundary, fileName), 0, kUploadTimeouts,
                        status, responseBody, nullptr);
    }));
}

ResultCode SendHttp(const char* method, const char* url, const HttpHeaderPair* headers,
                    std::uint32_t headerCount, std::shared_ptr<HttpBody> body, std::uint32_t flags,
                    const HttpTimeouts& timeouts, std::uint32_t* status, char** responseBody,
                    char** responseHeaders, const HttpBounds& bounds) noexcept {
    return RunCall(responseBody, responseHeaders, [&] {
        return SendChecked(method, url, headers, headerCount, std::move(body), flags, timeouts, status,
                           responseBody, responseHeaders, bounds);
    });
}

}  // namespace quillmarkclient_linux
