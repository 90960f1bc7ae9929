#pragma once

#include "core/src/registry/ContextlessRegistryClient.h"

namespace registry {

// The session of a principal administrator: e-mail address and password. Nothing of it is worth storing.
template <class Api>
class PrincipalAdminRegistryClient final : public ContextlessRegistryClient<Api> {
public:
    PrincipalAdminRegistryClient(const portable_stl::string& serviceUrl, const portable_stl::string& folder,
                                 const RetryPolicy& policy, void* context);
    ~PrincipalAdminRegistryClient() override;

    [[nodiscard]] ResultCode Authorize(const portable_stl::string& email,
                                       const portable_stl::string& password, ServiceErrorInfo* errorInfo,
                                       void* context) override;
    /// The token alone: no secret, no context.
    [[nodiscard]] ResultCode GetAuthState(AuthState& state) const override;
};

}  // namespace registry
