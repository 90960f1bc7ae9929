#pragma once

#include "core/src/registry/ContextlessRegistryClient.h"

namespace registry {

// The session of a business: password, or a code from a social provider.
template <class Api>
class BusinessRegistryClient final : public ContextlessRegistryClient<Api> {
public:
    BusinessRegistryClient(const portable_stl::string& serviceUrl, const portable_stl::string& folder,
                           const RetryPolicy& policy, void* context);
    ~BusinessRegistryClient() override;

    [[nodiscard]] ResultCode Authorize(const portable_stl::string& login,
                                       const portable_stl::string& password, ServiceErrorInfo* errorInfo,
                                       void* context) override;
    using ContextlessRegistryClient<Api>::AuthorizeSocialCode;
    /// `flow` 1 first tells the service that the account is to be a business.
    [[nodiscard]] ResultCode AuthorizeSocialCode(const portable_stl::string& code, std::uint32_t flow,
                                                 ServiceErrorInfo* errorInfo, void* context) override;
    /// Sets the three fields that are no context.
    [[nodiscard]] ResultCode GetAuthState(AuthState& state) const override;
};

}  // namespace registry
