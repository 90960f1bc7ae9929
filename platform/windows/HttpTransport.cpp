#include "platform/windows/HttpTransport.h"

#include <windows.h>

#include <optional>
#include <string>

#include "platform/windows/FileHandle.h"
#include "platform/windows/HttpExchange.h"

namespace quillmarkclient_windows {
namespace {

using quillmarkclient_common::AreHeadersPresent;
using quillmarkclient_common::HandOut;
using quillmarkclient_common::IsToken;
using quillmarkclient_common::RunCall;
using quillmarkclient_common::TakeHeaders;

constexpr std::uint32_t Number(ResultCode code) {
    return static_cast<std::uint32_t>(code);
}

ResultCode CodeOf(DWORD error) {
    switch (error) {
        case ERROR_SUCCESS:
            return ResultCode::kSuccess;
        case ERROR_INVALID_PARAMETER:
            return ResultCode::kInvalidParameters;
        default:
            return ResultCode::kNetwork;
    }
}

ResultCode SendChecked(const char* method, const char* url, const HttpHeaderPair* headers,
                       std::uint32_t headerCount, HttpBody* body, std::uint32_t flags,
                       const HttpTimeouts& timeouts, std::uint32_t* status, char** responseBody,
                       char** responseHeaders, const HttpBounds& bounds) {
    if (!status || !method || !url || !AreHeadersPresent(headers, headerCount) || !IsToken(method))
        return ResultCode::kInvalidParameters;
    HttpExchange exchange;
    if (const DWORD error = exchange.OpenConnection(method, url, timeouts); error != ERROR_SUCCESS)
        return CodeOf(error);
    const auto takenHeaders = TakeHeaders(headers, headerCount);
    if (!takenHeaders)
        return ResultCode::kNetwork;
    for (const auto& [name, value] : *takenHeaders) {
        if (!exchange.AddHeader(name + ": " + value))
            return ResultCode::kNetwork;
    }
    std::uint32_t answerStatus = 0;
    if (!exchange.SendBody(body, flags, answerStatus))
        return ResultCode::kNetwork;
    *status = answerStatus;
    if (!responseBody)
        return ResultCode::kSuccess;
    std::string answerBody;
    std::optional<std::string> head;
    if (!exchange.ReadBody(bounds.bodyBytes, answerBody) ||
        (responseHeaders && !exchange.QueryRawHeaders(head)))
        return ResultCode::kNetwork;
    const bool isHandedOut =
        HandOut(answerBody, head ? &*head : nullptr, bounds.alloc, responseBody, responseHeaders);
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
        return SendChecked(method, url, headers, headerCount, body.get(), flags, timeouts, status,
                           responseBody, responseHeaders, bounds);
    });
}

}  // namespace quillmarkclient_windows
