// The session's state. Sending, renewal, identity records and information have files of their own, which are
// part of this one.
#pragma once

#include "core/src/registry/AccessTokenBody.h"
#include "core/src/registry/IdempotencyKeyStore.h"
#include "core/src/registry/RegistryClient.h"
#include "core/src/registry/SendAndCheck.h"

namespace registry {

template <class Api>
RegistryClient<Api>::RegistryClient(std::uint32_t clientKind, const portable_stl::string& serviceUrl,
                                    const portable_stl::string& folder, const RetryPolicy& policy,
                                    void* context)
    : kind(clientKind), baseUrl(serviceUrl), dataFolder(folder) {
    constexpr std::uint32_t RetryPolicy::*kFields[] = {
        &RetryPolicy::maxAttempts,
        &RetryPolicy::timeoutRetryDelayMs,
        &RetryPolicy::idempotencyWaitMs,
        &RetryPolicy::idempotencyWaitCapMs,
    };
    for (const auto field : kFields) {
        if (policy.*field != 0)
            retryPolicy.*field = policy.*field;
    }
    if (!dataFolder.empty())
        LoadEntries<Api>(dataFolder + kIdempotencyFileName, context, idempotencyEntries);
}

template <class Api>
RegistryClient<Api>::~RegistryClient() = default;

template <class Api>
void RegistryClient<Api>::ResetAuthState() noexcept {
    token.present = 0;
    identitySecret.clear();
    contextMode = kNoContext;
    contextId.clear();
}

template <class Api>
void RegistryClient<Api>::SetAccessToken(const portable_stl::string& text, bool present, void* /*context*/) {
    ResetAuthState();
    token = quillmarkclient_core::Token(text, present);
}

template <class Api>
ResultCode RegistryClient<Api>::TakeAccessToken(const portable_stl::string& responseBody) {
    portable_stl::string text;
    if (const auto code = ReadAccessToken(responseBody, text); !IsSuccess(code))
        return code;
    token = quillmarkclient_core::Token(text, true);
    return ResultCode::kSuccess;
}

template <class Api>
void RegistryClient<Api>::GetTokens(AuthState& state) const {
    state.tokenType = "Bearer";
    state.accessToken = token.text;
    state.identitySecret = identitySecret;
}

template <class Api>
ResultCode RegistryClient<Api>::SignInBy(portable_stl::unique_ptr<Request<Api>> request,
                                         ServiceErrorInfo* errorInfo, void* context) {
    portable_stl::string responseBody;
    const auto code = SendDirectlyAndCheck(*this, request, responseBody, errorInfo, context);
    return IsSuccess(code) ? TakeAccessToken(responseBody) : code;
}

}  // namespace registry
