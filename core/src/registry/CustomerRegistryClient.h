#pragma once

#include "core/src/registry/RegistryClient.h"

namespace registry {

// The session of a person: password, second factor, social providers, and a choice among contexts.
//
//   no token --Authorize or a social flow--> token --own context, no trusts---------> context 0
//      |  ^                                  |  |---own context refused, one trust--> context 1
//      |  |                                  |  |---several choices-----------------> kTooManyContexts,
//      |  '------a sign-in that fails--------'  |                                     SelectContext chooses
//      |                                        '---no context at all---------------> no token,
//      |                                                                              kContextNotFound
//      '----AuthorizeSecondFactor, after kSecondFactorRequired-----> token
//
// A second factor that is refused and a choice that fails change nothing.
template <class Api>
class CustomerRegistryClient final : public RegistryClient<Api> {
public:
    CustomerRegistryClient(const portable_stl::string& serviceUrl, const portable_stl::string& folder,
                           const RetryPolicy& policy, void* context);
    ~CustomerRegistryClient() override;

    /// `errorInfo` must not be null: the challenge of a second factor is read from it.
    [[nodiscard]] ResultCode Authorize(const portable_stl::string& login,
                                       const portable_stl::string& password, ServiceErrorInfo* errorInfo,
                                       void* context) override;
    [[nodiscard]] ResultCode AuthorizeSecondFactor(const portable_stl::string& challengeToken,
                                                   const portable_stl::string& code,
                                                   ServiceErrorInfo* errorInfo, void* context) override;
    [[nodiscard]] ResultCode SelectContext(std::uint32_t mode, const portable_stl::string& trustorId,
                                           ServiceErrorInfo* errorInfo, void* context) override;
    [[nodiscard]] ResultCode GetContexts(portable_stl::vector<ContextEntry>& contexts,
                                         ServiceErrorInfo* errorInfo, void* context) override;
    /// Asks the service, finishes the sign-up when that is what it wants, and asks once more.
    [[nodiscard]] ResultCode AuthorizeSocialToken(const portable_stl::string& providerKey,
                                                  const portable_stl::string& accessToken,
                                                  const portable_stl::string& cause,
                                                  ServiceErrorInfo* errorInfo, void* context) override;
    [[nodiscard]] ResultCode AuthorizeSocialToken(const portable_stl::string& providerKey,
                                                  const portable_stl::string& accessToken,
                                                  ServiceErrorInfo* errorInfo, void* context) override;
    [[nodiscard]] ResultCode AuthorizeSocialCode(const portable_stl::string& code, std::uint32_t flow,
                                                 const portable_stl::string& cause,
                                                 ServiceErrorInfo* errorInfo, void* context) override;
    [[nodiscard]] ResultCode AuthorizeSocialCode(const portable_stl::string& code, std::uint32_t flow,
                                                 ServiceErrorInfo* errorInfo, void* context) override;
    [[nodiscard]] ResultCode GetAuthState(AuthState& state) const override;
    [[nodiscard]] ResultCode AcquireContextToken(std::uint32_t mode, const portable_stl::string& trustorId,
                                                 ServiceErrorInfo* errorInfo, void* context) override;

    /// Whether the service has granted a token for the customer's own context.
    bool dynamicContextAvailable = false;

private:
    /// The end of every sign-in: a token for the only context there is, or kTooManyContexts. Any other
    /// failure, an exception included, leaves the session reset.
    [[nodiscard]] ResultCode FinishSignIn(ServiceErrorInfo* errorInfo, void* context);
    [[nodiscard]] ResultCode SocialSignUpCodeFinalize(const portable_stl::string& code,
                                                      const portable_stl::string& cause,
                                                      ServiceErrorInfo* errorInfo, void* context);
    [[nodiscard]] ResultCode SocialSignUpTokenFinalize(const portable_stl::string& providerKey,
                                                       const portable_stl::string& accessToken,
                                                       const portable_stl::string& cause,
                                                       ServiceErrorInfo* errorInfo, void* context);
    [[nodiscard]] ResultCode ChooseContext(ServiceErrorInfo* errorInfo, void* context);
};

}  // namespace registry
