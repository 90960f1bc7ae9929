// How a customer signs in by way of a social provider, and how his account is made on the way.
#pragma once

#include "core/src/registry/CustomerRegistryClient.h"
#include "core/src/registry/IdempotencyKeyStore.h"
#include "core/src/registry/SendAndCheck.h"
#include "core/src/registry/requests/SocialRequests.h"
#include "core/src/system/LogOutlets.h"

namespace registry {

namespace customer_detail {

/// How often the service is asked for a token, a sign-up between.
inline constexpr int kSocialTokenRounds = 2;

// The one request of a sign-in that must not take effect twice. `content` is what makes two calls one
// operation; `failureLine` goes to the log when it is refused, and the answer's body behind it.
template <class Api>
ResultCode FinalizeSignUp(RegistryClient<Api>& client, const CustomerRegistrationFinalizeParams& params,
                          const portable_stl::string& content, const char* failureLine,
                          ServiceErrorInfo* errorInfo, void* context) {
    portable_stl::unique_ptr<Request<Api>> request =
        portable_stl::make_unique<CustomerRegistrationFinalizeRequest<Api>>(params);
    if (!request)
        return ResultCode::kInsufficientResources;
    AttachIdempotencyKey<Api>(client, *request, kSignUpFinalizeScope, content, context);
    portable_stl::string responseBody;
    const auto code = SendDirectlyAndCheck(client, request, responseBody, errorInfo, context);
    if (!IsSuccess(code)) {
        QUILLMARK_TRACE("%s", failureLine);
        QUILLMARK_TRACE("%s", responseBody.c_str());
    }
    return code;
}

}  // namespace customer_detail

template <class Api>
ResultCode CustomerRegistryClient<Api>::AuthorizeSocialToken(const portable_stl::string& providerKey,
                                                             const portable_stl::string& accessToken,
                                                             const portable_stl::string& cause,
                                                             ServiceErrorInfo* errorInfo, void* context) {
    if (providerKey.empty() || accessToken.empty())
        return ResultCode::kInvalidParameters;
    this->ResetAuthState();
    portable_stl::unique_ptr<Request<Api>> request =
        portable_stl::make_unique<AuthorizeViaSocialRequest<Api>>(
            AuthorizeViaSocialParams{this->baseUrl, providerKey, accessToken});
    portable_stl::string responseBody;
    for (int round = 0; round < customer_detail::kSocialTokenRounds; ++round) {
        responseBody.clear();
        const auto code = SendDirectlyAndCheck(*this, request, responseBody, errorInfo, context);
        if (IsSuccess(code))
            break;
        if (code != ResultCode::kSignUpNotFinalized)
            return code;
        if (const auto finalized =
                SocialSignUpTokenFinalize(providerKey, accessToken, cause, errorInfo, context);
            !IsSuccess(finalized))
            return finalized;
    }
    // There is no third round: the last answer has to bring the token, whatever its status was.
    if (const auto taken = this->TakeAccessToken(responseBody); !IsSuccess(taken))
        return taken;
    return FinishSignIn(errorInfo, context);
}

template <class Api>
ResultCode CustomerRegistryClient<Api>::AuthorizeSocialToken(const portable_stl::string& providerKey,
                                                             const portable_stl::string& accessToken,
                                                             ServiceErrorInfo* errorInfo, void* context) {
    return AuthorizeSocialToken(providerKey, accessToken, "", errorInfo, context);
}

template <class Api>
ResultCode CustomerRegistryClient<Api>::AuthorizeSocialCode(const portable_stl::string& code,
                                                            std::uint32_t flow,
                                                            const portable_stl::string& cause,
                                                            ServiceErrorInfo* errorInfo, void* context) {
    if (code.empty())
        return ResultCode::kInvalidParameters;
    this->ResetAuthState();
    if (flow == kSignUpFlow) {
        if (const auto finalized = SocialSignUpCodeFinalize(code, cause, errorInfo, context);
            !IsSuccess(finalized))
            return finalized;
    }
    const auto result = this->SignInBy(portable_stl::make_unique<AuthorizeViaSocialDesktopRequest<Api>>(
                                           SocialCodeParams{this->baseUrl, code}),
                                       errorInfo, context);
    return IsSuccess(result) ? FinishSignIn(errorInfo, context) : result;
}

template <class Api>
ResultCode CustomerRegistryClient<Api>::AuthorizeSocialCode(const portable_stl::string& code,
                                                            std::uint32_t flow, ServiceErrorInfo* errorInfo,
                                                            void* context) {
    return AuthorizeSocialCode(code, flow, "", errorInfo, context);
}

template <class Api>
ResultCode CustomerRegistryClient<Api>::SocialSignUpCodeFinalize(const portable_stl::string& code,
                                                                 const portable_stl::string& cause,
                                                                 ServiceErrorInfo* errorInfo, void* context) {
    CustomerRegistrationFinalizeParams params;
    params.baseUrl = this->baseUrl;
    params.code = code;
    params.cause = cause;
    return customer_detail::FinalizeSignUp<Api>(
        *this, params, code + "|" + cause + "|",
        "SocialSignUpCodeFinalize: failed to make signup finalization", errorInfo, context);
}

template <class Api>
ResultCode CustomerRegistryClient<Api>::SocialSignUpTokenFinalize(const portable_stl::string& providerKey,
                                                                  const portable_stl::string& accessToken,
                                                                  const portable_stl::string& cause,
                                                                  ServiceErrorInfo* errorInfo,
                                                                  void* context) {
    CustomerRegistrationFinalizeParams params;
    params.baseUrl = this->baseUrl;
    params.accessToken = accessToken;
    params.providerKey = providerKey;
    params.cause = cause;
    return customer_detail::FinalizeSignUp<Api>(
        *this, params, providerKey + "|" + accessToken + "|" + cause + "|",
        "SocialSignUpTokenFinalize: failed to make signup finalization", errorInfo, context);
}

}  // namespace registry
