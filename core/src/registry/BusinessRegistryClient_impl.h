#pragma once

#include "core/src/registry/BusinessRegistryClient.h"
#include "core/src/registry/SendAndCheck.h"
#include "core/src/registry/requests/SignInRequests.h"
#include "core/src/registry/requests/SocialRequests.h"

namespace registry {

namespace business_detail {

template <class Api>
ResultCode UseDynamicContext(RegistryClient<Api>& client, const portable_stl::string& code,
                             ServiceErrorInfo* errorInfo, void* context) {
    portable_stl::unique_ptr<Request<Api>> request =
        portable_stl::make_unique<UseDynamicContextRequest<Api>>(SocialCodeParams{client.baseUrl, code});
    portable_stl::string responseBody;
    return SendDirectlyAndCheck(client, request, responseBody, errorInfo, context);
}

}  // namespace business_detail

template <class Api>
BusinessRegistryClient<Api>::BusinessRegistryClient(const portable_stl::string& serviceUrl,
                                                    const portable_stl::string& folder,
                                                    const RetryPolicy& policy, void* context)
    : ContextlessRegistryClient<Api>(kBusiness, serviceUrl, folder, policy, context) {}

template <class Api>
BusinessRegistryClient<Api>::~BusinessRegistryClient() = default;

template <class Api>
ResultCode BusinessRegistryClient<Api>::Authorize(const portable_stl::string& login,
                                                  const portable_stl::string& password,
                                                  ServiceErrorInfo* errorInfo, void* context) {
    this->ResetAuthState();
    return this->SignInBy(portable_stl::make_unique<BusinessAuthorizeRequest<Api>>(
                              BusinessAuthorizeParams{this->baseUrl, login, password}),
                          errorInfo, context);
}

template <class Api>
ResultCode BusinessRegistryClient<Api>::AuthorizeSocialCode(const portable_stl::string& code,
                                                            std::uint32_t flow, ServiceErrorInfo* errorInfo,
                                                            void* context) {
    if (code.empty())
        return ResultCode::kInvalidParameters;
    this->ResetAuthState();
    if (flow == kSignUpFlow) {
        if (const auto told = business_detail::UseDynamicContext<Api>(*this, code, errorInfo, context);
            !IsSuccess(told))
            return told;
    }
    return this->SignInBy(portable_stl::make_unique<BusinessAuthorizeViaSocialDesktopRequest<Api>>(
                              SocialCodeParams{this->baseUrl, code}),
                          errorInfo, context);
}

template <class Api>
ResultCode BusinessRegistryClient<Api>::GetAuthState(AuthState& state) const {
    this->GetTokens(state);
    return ResultCode::kSuccess;
}

}  // namespace registry
