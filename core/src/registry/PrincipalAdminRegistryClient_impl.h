#pragma once

#include "core/src/registry/PrincipalAdminRegistryClient.h"
#include "core/src/registry/requests/SignInRequests.h"

namespace registry {

template <class Api>
PrincipalAdminRegistryClient<Api>::PrincipalAdminRegistryClient(const portable_stl::string& serviceUrl,
                                                                const portable_stl::string& folder,
                                                                const RetryPolicy& policy, void* context)
    : ContextlessRegistryClient<Api>(kPrincipalAdmin, serviceUrl, folder, policy, context) {}

template <class Api>
PrincipalAdminRegistryClient<Api>::~PrincipalAdminRegistryClient() = default;

template <class Api>
ResultCode PrincipalAdminRegistryClient<Api>::Authorize(const portable_stl::string& email,
                                                        const portable_stl::string& password,
                                                        ServiceErrorInfo* errorInfo, void* context) {
    this->ResetAuthState();
    return this->SignInBy(portable_stl::make_unique<PrincipalAdminAuthorizeRequest<Api>>(
                              PrincipalAdminAuthorizeParams{this->baseUrl, email, password}),
                          errorInfo, context);
}

template <class Api>
ResultCode PrincipalAdminRegistryClient<Api>::GetAuthState(AuthState& state) const {
    this->GetTokens(state);
    state.identitySecret.clear();
    state.contextMode = kNoContext;
    state.contextId.clear();
    return ResultCode::kSuccess;
}

}  // namespace registry
