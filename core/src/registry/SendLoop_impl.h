// The road from a built request to the network, and the repeats of a request that the service promises to
// carry out once.
#pragma once

#include "core/src/registry/HttpExchange.h"
#include "core/src/registry/IdempotencyKeyStore.h"
#include "core/src/registry/RegistryClient.h"
#include "core/src/registry/ResponseHeaders.h"
#include "core/src/registry/RetryWait.h"
#include "core/src/system/LogOutlets.h"

namespace registry {

namespace send_loop_detail {

// Names this client to the service; holds nothing of the user.
inline constexpr char kClientHeaderName[] = "x-vqm-custom";
inline constexpr char kClientHeaderValue[] = "vqm-client";
inline constexpr char kRetryAfterHeaderName[] = "Retry-After";
inline constexpr std::uint32_t kConflict = 409;

// The service carries out one request a key; without that promise nothing is sent twice.
inline portable_stl::string KeyOf(const portable_stl::vector<NameValue>& headers) {
    for (const NameValue& header : headers) {
        if (header.name == kIdempotencyHeader)
            return header.value;
    }
    return {};
}

// Whether the answer says that the first request with this key is still being worked on, and for how long.
inline bool AsksToWait(std::uint32_t httpCode, const portable_stl::string& responseHeaders,
                       portable_stl::string& retryAfter) {
    return httpCode == kConflict && FindResponseHeader(responseHeaders, kRetryAfterHeaderName, retryAfter) &&
           !retryAfter.empty();
}

// The log lines of one keyed request. `tries` counts those made so far, from 1.
struct RetryLog {
    portable_stl::string url;
    std::uint32_t maxAttempts;

    void Start(const portable_stl::string& key) const {
        QUILLMARK_TRACE("SendRequest: %s Idempotency-Key=%s", url.c_str(), key.c_str());
    }
    void Accept(std::uint32_t tries, std::uint32_t httpCode) const {
        QUILLMARK_TRACE(
            "SendRequest: %s attempt %u/%u result=ok, httpCode=%lu; decision=accept response, no more "
            "retries",
            url.c_str(), tries, maxAttempts, static_cast<unsigned long>(httpCode));
    }
    void Repeat(std::uint32_t tries, std::uint32_t waitMs) const {
        QUILLMARK_TRACE("SendRequest: %s attempt %u/%u result=timeout; decision=retry in place after %lums",
                        url.c_str(), tries, maxAttempts, static_cast<unsigned long>(waitMs));
    }
    void GiveUp(std::uint32_t tries, ResultCode outcome) const {
        QUILLMARK_TRACE("SendRequest: %s attempt %u/%u result=%s; decision=give up, no more retries",
                        url.c_str(), tries, maxAttempts, GetErrorText(outcome));
    }
    void RepeatWorkedOn(std::uint32_t tries, const portable_stl::string& retryAfter,
                        std::uint32_t waitMs) const {
        QUILLMARK_TRACE(
            "SendRequest: %s attempt %u/%u result=ok, httpCode=409 (idempotency wait, Retry-After=%s); "
            "decision=retry after %lums",
            url.c_str(), tries, maxAttempts, retryAfter.c_str(), static_cast<unsigned long>(waitMs));
    }
    void GiveUpWorkedOn(std::uint32_t tries, const portable_stl::string& retryAfter) const {
        QUILLMARK_TRACE(
            "SendRequest: %s attempt %u/%u result=ok, httpCode=409 (idempotency wait, Retry-After=%s); "
            "decision=give up, attempts exhausted",
            url.c_str(), tries, maxAttempts, retryAfter.c_str());
    }
};

}  // namespace send_loop_detail

template <class Api>
ResultCode RegistryClient<Api>::SendRequest(portable_stl::unique_ptr<Request<Api>>& request,
                                            portable_stl::string& responseBody,
                                            portable_stl::string& responseHeaders, std::uint32_t& httpCode,
                                            void* context) {
    request->SetHeader(send_loop_detail::kClientHeaderName, send_loop_detail::kClientHeaderValue);
    const portable_stl::string key = send_loop_detail::KeyOf(request->GetHeaders());
    if (key.empty())
        return SendOnce(request, responseBody, responseHeaders, httpCode, context);
    return SendKeyed(request, key, responseBody, responseHeaders, httpCode, context);
}

template <class Api>
ResultCode RegistryClient<Api>::SendKeyed(portable_stl::unique_ptr<Request<Api>>& request,
                                          const portable_stl::string& key, portable_stl::string& responseBody,
                                          portable_stl::string& responseHeaders, std::uint32_t& httpCode,
                                          void* context) {
    const std::uint32_t maxAttempts = retryPolicy.maxAttempts;
    const send_loop_detail::RetryLog log{request->GetUrl(), maxAttempts};
    log.Start(key);
    for (std::uint32_t tries = 1; maxAttempts != 0; ++tries) {
        const auto sent = SendOnce(request, responseBody, responseHeaders, httpCode, context);
        std::uint32_t waitMs = retryPolicy.timeoutRetryDelayMs;
        if (!IsSuccess(sent)) {
            if (sent != ResultCode::kTimedOut || tries >= maxAttempts) {
                log.GiveUp(tries, sent);
                return sent;
            }
            log.Repeat(tries, waitMs);
        } else {
            portable_stl::string retryAfter;
            if (!send_loop_detail::AsksToWait(httpCode, responseHeaders, retryAfter)) {
                log.Accept(tries, httpCode);
                return ResultCode::kSuccess;
            }
            if (tries >= maxAttempts) {
                log.GiveUpWorkedOn(tries, retryAfter);
                return ResultCode::kRequestNotSent;
            }
            waitMs = ComputeRetryWait(retryAfter, retryPolicy);
            log.RepeatWorkedOn(tries, retryAfter, waitMs);
        }
        Api::Sleep(waitMs, context);
    }
    return ResultCode::kSuccess;  // a policy without attempts: nothing was sent
}

template <class Api>
ResultCode RegistryClient<Api>::SendOnce(portable_stl::unique_ptr<Request<Api>>& request,
                                         portable_stl::string& responseBody,
                                         portable_stl::string& responseHeaders, std::uint32_t& httpCode,
                                         void* context) {
    httpCode = 0;
    const auto code =
        HttpExchange<Api>(request->GetMethod(), request->GetUrl(), request->GetHeaders(), request->GetBody(),
                          request->GetFlags(), httpCode, responseBody, responseHeaders, context);
    if (code == ResultCode::kSuccess || code == ResultCode::kTimedOut)
        return code;
    return ResultCode::kRequestNotSent;
}

}  // namespace registry
