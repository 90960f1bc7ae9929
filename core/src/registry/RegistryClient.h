#pragma once

#include <cstdint>

#include "core/src/ResultCode.h"
#include "core/src/core/Token.h"
#include "core/src/registry/Records.h"
#include "core/src/registry/Request.h"
#include "core/src/registry/ServiceErrorInfo.h"
#include "portable_stl/string.h"
#include "portable_stl/unique_ptr.h"
#include "portable_stl/vector.h"

namespace registry {

/// Which kind of account a client serves.
enum ClientKind : std::uint32_t { kCustomer = 0, kBusiness = 1, kPrincipalAdmin = 2 };

// The session with the account service: where it is, the current access token, and enough to renew it.
//
// The virtual operations are the flows of one kind of account; the rest is shared by all. Tokens are
// replaced, never edited. `errorInfo` may be null unless an operation says otherwise; when it is not, a
// refusal leaves its detail there. `context` goes unchanged to every platform operation.
//
// No lock of its own: the owner serialises all calls. An exchange blocks the caller for as long as the
// transport's limits let it. Results are codes; exhausted memory in a container is an exception of
// portable_stl.
template <class Api>
class RegistryClient {
public:
    RegistryClient(const RegistryClient&) = delete;
    RegistryClient& operator=(const RegistryClient&) = delete;
    virtual ~RegistryClient();

    [[nodiscard]] virtual ResultCode Authorize(const portable_stl::string& login,
                                               const portable_stl::string& password,
                                               ServiceErrorInfo* errorInfo, void* context) = 0;
    [[nodiscard]] virtual ResultCode AuthorizeSecondFactor(const portable_stl::string& challengeToken,
                                                           const portable_stl::string& code,
                                                           ServiceErrorInfo* errorInfo, void* context) = 0;
    [[nodiscard]] virtual ResultCode SelectContext(std::uint32_t mode, const portable_stl::string& trustorId,
                                                   ServiceErrorInfo* errorInfo, void* context) = 0;
    [[nodiscard]] virtual ResultCode GetContexts(portable_stl::vector<ContextEntry>& contexts,
                                                 ServiceErrorInfo* errorInfo, void* context) = 0;
    /// Signs in with an access token that the host has from the provider. `cause` tells the service why an
    /// account is made should there be none yet; the shorter form gives none.
    [[nodiscard]] virtual ResultCode AuthorizeSocialToken(const portable_stl::string& providerKey,
                                                          const portable_stl::string& accessToken,
                                                          const portable_stl::string& cause,
                                                          ServiceErrorInfo* errorInfo, void* context) = 0;
    [[nodiscard]] virtual ResultCode AuthorizeSocialToken(const portable_stl::string& providerKey,
                                                          const portable_stl::string& accessToken,
                                                          ServiceErrorInfo* errorInfo, void* context) = 0;
    /// Signs in with a code that the provider's browser page gave. `flow` 1 makes the account first, any
    /// other number does not.
    [[nodiscard]] virtual ResultCode AuthorizeSocialCode(const portable_stl::string& code, std::uint32_t flow,
                                                         const portable_stl::string& cause,
                                                         ServiceErrorInfo* errorInfo, void* context) = 0;
    [[nodiscard]] virtual ResultCode AuthorizeSocialCode(const portable_stl::string& code, std::uint32_t flow,
                                                         ServiceErrorInfo* errorInfo, void* context) = 0;
    [[nodiscard]] virtual ResultCode GetAuthState(AuthState& state) const = 0;
    /// Exchanges the token for one of the given context; touches the client's token on success only.
    [[nodiscard]] virtual ResultCode AcquireContextToken(std::uint32_t mode,
                                                         const portable_stl::string& trustorId,
                                                         ServiceErrorInfo* errorInfo, void* context) = 0;

    /// The only road to the network. A request with the header "Idempotency-Key" is repeated, as
    /// `retryPolicy` says, after a time-out and after a 409 with "Retry-After"; any other goes out once.
    ///
    /// \param responseBody     in and out, as `responseHeaders`: an answer without the block leaves it
    /// \param httpCode         out; 0 before each try, then what the platform wrote
    /// \return 0 when an HTTP answer came, whatever its status; kTimedOut; kRequestNotSent for every other
    ///         failure of the transport, and when the service was still at work at the last attempt. A policy
    ///         without attempts sends nothing and gives 0
    [[nodiscard]] ResultCode SendRequest(portable_stl::unique_ptr<Request<Api>>& request,
                                         portable_stl::string& responseBody,
                                         portable_stl::string& responseHeaders, std::uint32_t& httpCode,
                                         void* context);

    /// The exchange itself, without a header of its own and without repeats. Results as SendRequest.
    [[nodiscard]] ResultCode SendOnce(portable_stl::unique_ptr<Request<Api>>& request,
                                      portable_stl::string& responseBody,
                                      portable_stl::string& responseHeaders, std::uint32_t& httpCode,
                                      void* context);

    /// SendRequest with the bearer token, if there is one. A 401 renews the token by the identity secret and
    /// sends once more; without a secret it is kAuthorizationDenied.
    [[nodiscard]] ResultCode SendAuthorized(portable_stl::unique_ptr<Request<Api>>& request,
                                            portable_stl::string& responseBody,
                                            portable_stl::string& responseHeaders, std::uint32_t& httpCode,
                                            ServiceErrorInfo* errorInfo, void* context);

    /// Clears the token's mark, the secret and the context. The token's text stays in its record.
    void ResetAuthState() noexcept;

    /// ResetAuthState, then a new token record. For a token that comes from a file.
    void SetAccessToken(const portable_stl::string& text, bool present, void* context);

    /// A fresh token for the identity's secret, and a fresh context token behind it.
    ///
    /// A refused secret changes nothing. A failure of the network keeps the secret for a later try, and
    /// nothing else; so does an accepted one whose answer has no token. When the context is refused, or an
    /// exception ends the call, the session is what it was before.
    [[nodiscard]] ResultCode ReauthorizeViaIdentity(const portable_stl::string& secret, std::uint32_t mode,
                                                    const portable_stl::string& trustorId,
                                                    ServiceErrorInfo* errorInfo, void* context);

    /// Finds or makes this library's identity record at the service and stores its secret in
    /// `identitySecret`, which a failure leaves empty.
    /// \param name             names a record that has to be made; empty for the usual name. A record of
    ///                         another name is not found again
    /// \param tokenExpiration  empty for the service's default
    [[nodiscard]] ResultCode ObtainIdentitySecret(const portable_stl::string& name,
                                                  const portable_stl::string& tokenExpiration,
                                                  ServiceErrorInfo* errorInfo, void* context);

    /// Replaces `info`; a field that the service does not tell is empty. A failure leaves it.
    [[nodiscard]] ResultCode GetCustomerInfo(CustomerInfo& info, ServiceErrorInfo* errorInfo, void* context);
    /// Replaces `records`; an element without id or trustorId ends the list with kCompatibilityBroken.
    [[nodiscard]] ResultCode GetTrustRecords(portable_stl::vector<TrustRecord>& records,
                                             ServiceErrorInfo* errorInfo, void* context);
    /// Appends the key of each social provider to `text`, and `separator` behind each. A failure leaves it.
    [[nodiscard]] ResultCode GetSocialProviders(portable_stl::string& text, char separator,
                                                ServiceErrorInfo* errorInfo, void* context);

    std::uint32_t kind;
    portable_stl::string baseUrl;  // used as given
    quillmarkclient_core::Token token;
    portable_stl::string identitySecret;  // renews the session; empty if there is none
    std::uint32_t contextMode = kNoContext;
    portable_stl::string contextId;   // the trustor's id when contextMode is 1
    portable_stl::string dataFolder;  // of the key store; ends in its separator unless empty
    portable_stl::vector<IdempotencyEntry> idempotencyEntries;  // in the order of their making
    RetryPolicy retryPolicy;

protected:
    /// Loads the key store, unless `folder` is empty. A zero in `policy` keeps the default of that field.
    RegistryClient(std::uint32_t clientKind, const portable_stl::string& serviceUrl,
                   const portable_stl::string& folder, const RetryPolicy& policy, void* context);

    /// The common ending of a sign-in: a new token from the member accessToken of `responseBody`.
    [[nodiscard]] ResultCode TakeAccessToken(const portable_stl::string& responseBody);

    /// The first three fields of the state, which are the same for every kind that has them.
    void GetTokens(AuthState& state) const;

    /// Sends what signs in, and takes the token from its answer. A null `request` is a failed allocation.
    [[nodiscard]] ResultCode SignInBy(portable_stl::unique_ptr<Request<Api>> request,
                                      ServiceErrorInfo* errorInfo, void* context);

private:
    [[nodiscard]] ResultCode SendKeyed(portable_stl::unique_ptr<Request<Api>>& request,
                                       const portable_stl::string& key, portable_stl::string& responseBody,
                                       portable_stl::string& responseHeaders, std::uint32_t& httpCode,
                                       void* context);
    [[nodiscard]] ResultCode FindIdentityRecord(portable_stl::string& id, bool& isFound,
                                                ServiceErrorInfo* errorInfo, void* context);
    [[nodiscard]] ResultCode CreateIdentityRecord(const portable_stl::string& name, portable_stl::string& id,
                                                  ServiceErrorInfo* errorInfo, void* context);
};

}  // namespace registry
