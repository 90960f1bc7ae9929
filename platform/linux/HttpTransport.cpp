#include "platform/linux/HttpTransport.h"

#include <curl/curl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/linux/Files.h"
#include "platform/linux/HttpExchange.h"
#include "platform/linux/HttpHeaders.h"
#include "platform/linux/HttpRedirect.h"
#include "platform/linux/HttpUrl.h"
#include "platform/linux/SignalGuard.h"

namespace quillmarkclient_linux {
namespace {

constexpr int kMaxRedirects = 10;

constexpr std::uint32_t Number(ResultCode code) {
    return static_cast<std::uint32_t>(code);
}

bool IsLibcurlReady() {
    static const bool isReady = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return isReady;
}

bool AreHeadersPresent(const HttpHeaderPair* headers, std::uint32_t count) {
    if (!headers)
        return count == 0;
    return std::all_of(headers, headers + count,
                       [](const HttpHeaderPair& pair) { return pair.name && pair.value; });
}

void ClearBlocks(char** responseBody, char** responseHeaders) {
    if (responseBody)
        *responseBody = nullptr;
    if (responseHeaders)
        *responseHeaders = nullptr;
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

// A block of the text and a zero byte; null when memory is exhausted.
char* MakeBlock(std::string_view text, const HttpBounds& bounds) {
    auto* block = static_cast<char*>(bounds.alloc(text.size() + 1));
    if (block) {
        std::copy(text.begin(), text.end(), block);
        block[text.size()] = '\0';
    }
    return block;
}

ResultCode HandOut(const HttpAnswer& answer, const HttpBounds& bounds, char** responseBody,
                   char** responseHeaders) {
    if (!responseBody)
        return ResultCode::kSuccess;
    char* body = MakeBlock(answer.body, bounds);
    if (!body)
        return ResultCode::kNetwork;
    if (responseHeaders) {
        *responseHeaders = MakeBlock(answer.head, bounds);
        if (!*responseHeaders) {
            quillmarkclient_common::Free(body);
            return ResultCode::kNetwork;
        }
    }
    *responseBody = body;
    return ResultCode::kSuccess;
}

ResultCode SendGuarded(const char* method, const char* url, const HttpHeaderPair* headers,
                       std::uint32_t headerCount, std::shared_ptr<HttpBody> body, std::uint32_t flags,
                       const HttpTimeouts& timeouts, std::uint32_t* status, char** responseBody,
                       char** responseHeaders, const HttpBounds& bounds) {
    if (!method || !url || !status || !AreHeadersPresent(headers, headerCount) || !IsToken(method))
        return ResultCode::kInvalidParameters;
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
    return IsSuccess(code) ? HandOut(answer, bounds, responseBody, responseHeaders) : code;
}

class OwnedDescriptor {
public:
    explicit OwnedDescriptor(int number) : number_(number) {}
    ~OwnedDescriptor() {
        if (number_ >= 0)
            close(number_);
    }
    OwnedDescriptor(const OwnedDescriptor&) = delete;
    OwnedDescriptor& operator=(const OwnedDescriptor&) = delete;

    [[nodiscard]] int Get() const { return number_; }

private:
    int number_;
};

}  // namespace

std::uint32_t HttpRequest(const char* method, const char* url, const HttpHeaderPair* headers,
                          std::uint32_t headerCount, const char* body, std::uint32_t flags,
                          std::uint32_t* status, char** responseBody, char** responseHeaders,
                          void*) noexcept {
    ClearBlocks(responseBody, responseHeaders);
    try {
        auto source = std::make_shared<HttpMemoryBody>(body ? body : "");
        return Number(SendHttp(method, url, headers, headerCount, std::move(source), flags, kRequestTimeouts,
                               status, responseBody, responseHeaders));
    } catch (...) {
        return Number(ResultCode::kInternalError);
    }
}

std::uint32_t HttpUploadFile(const char* method, const char* url, const HttpHeaderPair* headers,
                             std::uint32_t headerCount, const char* boundary, const char* filePath,
                             const char* fileName, std::uint32_t* status, char** responseBody) noexcept {
    ClearBlocks(responseBody, nullptr);
    if (!method || !url || !boundary || !filePath || !fileName || !status ||
        !AreHeadersPresent(headers, headerCount))
        return Number(ResultCode::kInvalidParameters);
    try {
        const OwnedDescriptor file(OpenRegularFile(filePath, Access::kRead, Missing::kCreate));
        if (file.Get() < 0)
            return Number(ResultCode::kFileOpen);
        auto source = std::make_shared<HttpFileBody>(file.Get(), boundary, fileName);
        return Number(SendHttp(method, url, headers, headerCount, std::move(source), 0, kUploadTimeouts,
                               status, responseBody, nullptr));
    } catch (...) {
        return Number(ResultCode::kInternalError);
    }
}

std::uint32_t HttpFree(void* block, void*) noexcept {
    quillmarkclient_common::Free(block);
    return Number(ResultCode::kSuccess);
}

ResultCode SendHttp(const char* method, const char* url, const HttpHeaderPair* headers,
                    std::uint32_t headerCount, std::shared_ptr<HttpBody> body, std::uint32_t flags,
                    const HttpTimeouts& timeouts, std::uint32_t* status, char** responseBody,
                    char** responseHeaders, const HttpBounds& bounds) noexcept {
    ClearBlocks(responseBody, responseHeaders);
    try {
        return SendGuarded(method, url, headers, headerCount, std::move(body), flags, timeouts, status,
                           responseBody, responseHeaders, bounds);
    } catch (...) {
        return ResultCode::kInternalError;
    }
}

}  // namespace quillmarkclient_linux
