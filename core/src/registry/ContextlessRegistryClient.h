#pragma once

#include "core/src/registry/RegistryClient.h"

namespace registry {

// The session of an account without a second factor and without contexts: what businesses and administrators
// have in common. An operation that such an account lacks answers kNotImplemented and does nothing else.
template <class Api>
class ContextlessRegistryClient : public RegistryClient<Api> {
public:
    ~ContextlessRegistryClient() override;

    [[nodiscard]] ResultCode AuthorizeSecondFactor(const portable_stl::string& challengeToken,
                                                   const portable_stl::string& code,
                                                   ServiceErrorInfo* errorInfo, void* context) final;
    [[nodiscard]] ResultCode SelectContext(std::uint32_t mode, const portable_stl::string& trustorId,
                                           ServiceErrorInfo* errorInfo, void* context) final;
    [[nodiscard]] ResultCode GetContexts(portable_stl::vector<ContextEntry>& contexts,
                                         ServiceErrorInfo* errorInfo, void* context) final;
    [[nodiscard]] ResultCode AuthorizeSocialToken(const portable_stl::string& providerKey,
                                                  const portable_stl::string& accessToken,
                                                  const portable_stl::string& cause,
                                                  ServiceErrorInfo* errorInfo, void* context) final;
    [[nodiscard]] ResultCode AuthorizeSocialToken(const portable_stl::string& providerKey,
                                                  const portable_stl::string& accessToken,
                                                  ServiceErrorInfo* errorInfo, void* context) final;
    [[nodiscard]] ResultCode AuthorizeSocialCode(const portable_stl::string& code, std::uint32_t flow,
                                                 const portable_stl::string& cause,
                                                 ServiceErrorInfo* errorInfo, void* context) final;
    [[nodiscard]] ResultCode AuthorizeSocialCode(const portable_stl::string& code, std::uint32_t flow,
                                                 ServiceErrorInfo* errorInfo, void* context) override;
    /// 0, without an exchange: the token is good as it is.
    [[nodiscard]] ResultCode AcquireContextToken(std::uint32_t mode, const portable_stl::string& trustorId,
                                                 ServiceErrorInfo* errorInfo, void* context) final;

protected:
    using RegistryClient<Api>::RegistryClient;
};

}  // namespace registry
