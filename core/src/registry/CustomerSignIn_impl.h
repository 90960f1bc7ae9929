// How a customer signs in: by password, by a second factor, and the end that all his sign-ins share.
#pragma once

#include "core/src/json/Json.h"
#include "core/src/registry/CustomerRegistryClient.h"
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
    const auto code = this->SignInBy(portable_stl::make_unique<CustomerAuthorizeRequest<Api>>(
                                         CustomerAuthorizeParams{this->baseUrl, login, password}),
                                     errorInfo, context);
    // Without a challenge there is nothing that a second factor could be sent with.
    if (code == ResultCode::kSecondFactorRequired && !customer_detail::HasChallenge(errorInfo))
        return ResultCode::kEmailUnverifiedOrBlocked;
    return IsSuccess(code) ? FinishSignIn(errorInfo, context) : code;
}

template <class Api>
ResultCode CustomerRegistryClient<Api>::AuthorizeSecondFactor(const portable_stl::string& challengeToken,
                                                              const portable_stl::string& code,
                                                              ServiceErrorInfo* errorInfo, void* context) {
    if (challengeToken.empty() || code.empty())
        return ResultCode::kInvalidParameters;
    const auto result = this->SignInBy(portable_stl::make_unique<CustomerAuthorize2FARequest<Api>>(
                                           CustomerAuthorize2FAParams{this->baseUrl, challengeToken, code}),
                                       errorInfo, context);
    return IsSuccess(result) ? FinishSignIn(errorInfo, context) : result;
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
