// The customer's session and his contexts. The sign-ins have a file of their own.
#pragma once

#include <utility>

#include "core/src/json/Json.h"
#include "core/src/registry/AccessTokenBody.h"
#include "core/src/registry/CustomerRegistryClient.h"
#include "core/src/registry/SendAndCheck.h"
#include "core/src/registry/requests/ContextRequests.h"

namespace registry {

namespace customer_detail {

inline constexpr char kOrganization[] = "Organization";

template <class Api>
portable_stl::unique_ptr<Request<Api>> MakeContextRequest(const portable_stl::string& baseUrl,
                                                          std::uint32_t mode,
                                                          const portable_stl::string& trustorId) {
    if (mode == kTrustorContext)
        return portable_stl::make_unique<CustomerTrustTokenRequest<Api>>(
            CustomerTrustTokenParams{baseUrl, trustorId});
    return portable_stl::make_unique<CustomerContextRequest<Api>>(CustomerContextParams{baseUrl});
}

}  // namespace customer_detail

template <class Api>
CustomerRegistryClient<Api>::CustomerRegistryClient(const portable_stl::string& serviceUrl,
                                                    const portable_stl::string& folder,
                                                    const RetryPolicy& policy, void* context)
    : RegistryClient<Api>(kCustomer, serviceUrl, folder, policy, context) {}

template <class Api>
CustomerRegistryClient<Api>::~CustomerRegistryClient() = default;

template <class Api>
ResultCode CustomerRegistryClient<Api>::GetAuthState(AuthState& state) const {
    this->GetTokens(state);
    state.contextMode = this->contextMode;
    state.contextId = this->contextId;
    return ResultCode::kSuccess;
}

template <class Api>
ResultCode CustomerRegistryClient<Api>::AcquireContextToken(std::uint32_t mode,
                                                            const portable_stl::string& trustorId,
                                                            ServiceErrorInfo* errorInfo, void* context) {
    auto request = customer_detail::MakeContextRequest<Api>(this->baseUrl, mode, trustorId);
    if (!request)
        return ResultCode::kInsufficientResources;
    // An absent token goes out as an empty value; the service's refusal is the answer to it.
    request->SetHeader(kAuthorizationHeader, BuildBearer(this->token));
    portable_stl::string responseBody;
    if (const auto code = SendDirectlyAndCheck(*this, request, responseBody, errorInfo, context);
        !IsSuccess(code))
        return code;

    portable_stl::string text;
    if (const auto code = ReadAccessToken(responseBody, text); !IsSuccess(code))
        return code;
    // Text and claims are new; whether the session counts as signed in is not decided here.
    quillmarkclient_core::Token fresh(text, true);
    fresh.present = this->token.present;
    this->token = std::move(fresh);
    return ResultCode::kSuccess;
}

template <class Api>
ResultCode CustomerRegistryClient<Api>::SelectContext(std::uint32_t mode,
                                                      const portable_stl::string& trustorId,
                                                      ServiceErrorInfo* errorInfo, void* context) {
    // Copied ahead of the exchange: behind it nothing throws, so token, mode and id change together.
    portable_stl::string chosenId;
    if (mode == kTrustorContext)
        chosenId = trustorId;
    if (const auto code = AcquireContextToken(mode, trustorId, errorInfo, context); !IsSuccess(code))
        return code;
    this->contextMode = mode == kTrustorContext ? kTrustorContext : kOwnContext;
    this->contextId.swap(chosenId);
    return ResultCode::kSuccess;
}

template <class Api>
ResultCode CustomerRegistryClient<Api>::GetContexts(portable_stl::vector<ContextEntry>& contexts,
                                                    ServiceErrorInfo* errorInfo, void* context) {
    portable_stl::vector<TrustRecord> records;
    if (const auto code = this->GetTrustRecords(records, errorInfo, context); !IsSuccess(code))
        return code;

    portable_stl::vector<ContextEntry> entries;
    if (dynamicContextAvailable) {
        CustomerInfo info;
        if (const auto code = this->GetCustomerInfo(info, errorInfo, context); !IsSuccess(code))
            return code;
        entries.push_back(ContextEntry{kOwnContext, info.id, info.firstName + " " + info.lastName}).value();
    }
    for (const TrustRecord& record : records) {
        if (json::KeyEquals(record.type, customer_detail::kOrganization))
            entries.push_back(ContextEntry{kTrustorContext, record.trustorId, record.name}).value();
    }
    contexts.swap(entries);
    return ResultCode::kSuccess;
}

}  // namespace registry
