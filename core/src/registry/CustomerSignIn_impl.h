// How a customer signs in: by password, by a second factor, and the common end of both.
#pragma once

#include "core/src/json/Json.h"
#include "core/src/registry/CustomerRegistryClient.h"
#include "core/src/registry/SendAndCheck.h"
#include "core/src/registry/SessionGuard.h"
#include "core/src/registry/requests/SignInRequests.h"

namespace registry {

namespace customer_detail {

// Whether the refusal brought the challenge that the second factor answers.
inline bool HasChallenge(const ServiceErrorInfo* errorInfo) {
    if (errorInfo == nullptr)
        return false;
    for (const NameValue& argument : errorInfo->errorArgs) {
        if (json::KeyEquals(argument.name, "challengeToken"))
            return !argument.value.empty();
    }
    return false;
}

}  // namespace customer_detail

template <class Api>
ResultCode CustomerRegistryClient<Api>::Authorize(const portable_stl::string& login,
                                                  const portable_stl::string& password,
                                                  ServiceErrorInfo* errorInfo, void* context) {
    this->ResetAuthState();
    portable_stl::unique_ptr<Request<Api>> request = portable_stl::make_unique<CustomerAuthorizeRequest<Api>>(
        CustomerAuthorizeParams{this->baseUrl, login, password});
    portable_stl::string responseBody;
    const auto code = SendDirectlyAndCheck(*this, request, responseBody, errorInfo, context);
    // Without a challenge there is nothing that a second factor could be sent with.
    if (code == ResultCode::kSecondFactorRequired && !customer_detail::HasChallenge(errorInfo))
        return ResultCode::kEmailUnverifiedOrBlocked;
    if (!IsSuccess(code))
        return code;
    if (const auto taken = this->TakeAccessToken(responseBody); !IsSuccess(taken))
        return taken;
    return FinishSignIn(errorInfo, context);
}

template <class Api>
ResultCode CustomerRegistryClient<Api>::AuthorizeSecondFactor(const portable_stl::string& challengeToken,
                                                              const portable_stl::string& code,
                                                              ServiceErrorInfo* errorInfo, void* context) {
    if (challengeToken.empty() || code.empty())
        return ResultCode::kInvalidParameters;
    portable_stl::unique_ptr<Request<Api>> request =
        portable_stl::make_unique<CustomerAuthorize2FARequest<Api>>(
            CustomerAuthorize2FAParams{this->baseUrl, challengeToken, code});
    portable_stl::string responseBody;
    if (const auto sent = SendDirectlyAndCheck(*this, request, responseBody, errorInfo, context);
        !IsSuccess(sent))
        return sent;
    if (const auto taken = this->TakeAccessToken(responseBody); !IsSuccess(taken))
        return taken;
    return FinishSignIn(errorInfo, context);
}

template <class Api>
ResultCode CustomerRegistryClient<Api>::FinishSignIn(ServiceErrorInfo* errorInfo, void* context) {
    SessionGuard<Api> guard(*this);
    const auto code = ChooseContext(errorInfo, context);
    // A pending choice is no failed sign-in.
    if (IsSuccess(code) || code == ResultCode::kTooManyContexts)
        guard.Dismiss();
    return code;
}

template <class Api>
ResultCode CustomerRegistryClient<Api>::ChooseContext(ServiceErrorInfo* errorInfo, void* context) {
    portable_stl::vector<TrustRecord> records;
    if (const auto code = this->GetTrustRecords(records, errorInfo, context); !IsSuccess(code))
        return code;

    dynamicContextAvailable = false;
    if (IsSuccess(AcquireContextToken(kOwnContext, "", errorInfo, context))) {
        dynamicContextAvailable = true;
        if (!records.empty())
            return ResultCode::kTooManyContexts;
        this->contextMode = kOwnContext;
        return ResultCode::kSuccess;
    }
    // Whatever kept the own context away, a trust can stand in for it.
    if (records.size() > 1)
        return ResultCode::kTooManyContexts;
    if (records.empty()) {
        this->token = quillmarkclient_core::Token();
        return ResultCode::kContextNotFound;
    }
    portable_stl::string trustorId = records[0].trustorId;
    if (const auto code = AcquireContextToken(kTrustorContext, trustorId, errorInfo, context);
        !IsSuccess(code))
        return code;
    this->contextMode = kTrustorContext;
    this->contextId.swap(trustorId);
    return ResultCode::kSuccess;
}

}  // namespace registry
