#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/src/Export.h"
#include "core/src/IQuillmarkClient.h"
#include "core/src/ResultCode.h"
#include "core/src/system/LogOutlets.h"

namespace quillmarkclient {

struct PrivateData;

/// The parameters of QuillmarkClient::Init. All texts are UTF-8.
struct QuillmarkClientParams {
    std::string storagePath;       ///< folder of the token files; empty: the working folder
    std::uint32_t clientKind = 0;  ///< 0 customer, 1 business, 2 principal administrator; others act as 0
    std::string serviceUrl;        ///< base URL of the account service, without a final slash; required
    std::string auxiliary1;        ///< carried, not read
    std::string auxiliary2;        ///< carried, not read
    std::string auxiliary3;        ///< names the identity record that a sign-in makes at the service
    std::uint8_t useAlternateKeys = 0;  ///< non-zero: the second pair of keys for the token files
    struct {
        std::uint32_t maxAttempts = 0;           ///< tries of one request; 0: 5
        std::uint32_t timeoutRetryDelayMs = 0;   ///< 0: 1500
        std::uint32_t idempotencyWaitMs = 0;     ///< 0: 1000
        std::uint32_t idempotencyWaitCapMs = 0;  ///< 0: 30000
    } retryPolicy;
};

/// One context that the user may choose.
struct ContextEntry {
    std::uint32_t kind = 0;  ///< 0 own context, 1 organisation
    std::string id;
    std::string name;
};

/// The user's details.
struct CustomerDataValue {
    std::string firstName;
    std::string lastName;
    std::string email;
    std::string id;
};

/// The newest build that the update feed tells.
struct ProductUpdateInfoValue {
    std::string version;
    std::string description;
    std::string url;
};

/// A principal administrator as the service made it.
struct PrincipalAdminValue {
    std::string id;
    std::string name;
    std::string email;
    std::string description;
};

/// The detail of the service's last refusal; resultCode 0 when there was none.
struct ServiceErrorValue {
    std::uint32_t resultCode = 0;
    std::uint32_t httpCode = 0;
    std::string type;
    std::string title;
    std::string status;
    std::string detail;
    std::string reason;
    std::string errorCode;
    std::string traceId;
    std::vector<std::pair<std::string, std::string>> errorArgs;
};

/// The native client for callers in the same module: standard strings in, result codes out.
///
///   threads   any thread may call, but for Init, which replaces the core and must not run beside another
///             call; the object must outlive its calls. One mutex guards the core and is held for the whole
///             of each call, network included: a slow exchange delays every other call, IsSignedIn too. The
///             log outlets run under it and must not call back
///   blocking  an exchange normally takes well under a second. A host that can't be reached holds it for
///             up to 65 s, one that falls silent for 30 s more, one that drips without end for 15 minutes.
///             Each operation names the most exchanges that it makes, one behind the other. A call that waits
///             for the mutex waits for the exchanges of the call before it as well
///   strings   UTF-8; what stands behind a zero byte is not seen by the core
///   outs      written on success only; lists are replaced
///   codes     the core's, unchanged. kNotInitialized before a successful Init (IsSignedIn false, SignOut
///             nothing, CreateInterface null); kInternalError for exhausted memory and for anything that is
///             thrown below. Nothing is thrown to the caller
///   lifetime  the core is shared with the interfaces of CreateInterface. It ends with the last of them, on
///             the thread that lets it go; calls that still run must have ended by then
class QUILLMARK_CORE_EXPORT QuillmarkClient {
public:
    QuillmarkClient() noexcept;
    ~QuillmarkClient();
    QuillmarkClient(const QuillmarkClient&) = delete;
    QuillmarkClient& operator=(const QuillmarkClient&) = delete;

    /// Builds the core over this platform and restores a stored sign-in: up to 2 exchanges, none when nothing
    /// is stored. A second Init replaces the core once it has succeeded; the former one goes with its last
    /// share.
    ///   returns  0; kInvalidParameters (empty serviceUrl); kInsufficientResources; kInternalError
    [[nodiscard]] ResultCode Init(const QuillmarkClientParams& params) noexcept;
    /// The same with all other parameters zero or empty.
    [[nodiscard]] ResultCode Init(const std::string& storagePath, const std::string& serviceUrl) noexcept;

    /// Process-wide and unguarded; belongs before the first Init. See LogOutlets.h.
    static void SetLogCallbacks(quillmarkclient_core::TraceOutlet traceOutlet,
                                quillmarkclient_core::ErrorOutlet errorOutlet) noexcept;

    /// The English text of `code`, empty for success. Any thread, at any time. Empty without memory.
    [[nodiscard]] static std::string GetErrorMessage(ResultCode code) noexcept;

    /// A counted interface on the same core, with one reference for the caller; null on any failure.
    [[nodiscard]] IQuillmarkClient* CreateInterface() noexcept;

    /// Whether there is a sign-in, a pending choice of a context included. False after a failure, too.
    [[nodiscard]] bool IsSignedIn() const noexcept;

    /// Signs in by password. A former sign-in is dropped first, its stored identity included. Up to 7
    /// exchanges.
    ///   returns  0; kSecondFactorRequired (the challenge stands in GetLastServiceError under
    ///            "challengeToken"); kTooManyContexts (one must be chosen); the service's refusals of the
    ///            family 0x82; kRequestNotSent; kTimedOut where the platform tells a time-out apart
    [[nodiscard]] ResultCode SignIn(const std::string& login, const std::string& password) noexcept;

    /// Answers the challenge. Empty arguments: kInvalidParameters. Customers only, as SignInToContext and
    /// GetCustomerContexts: other kinds answer kNotImplemented. Up to 10 exchanges.
    ///   returns  as SignIn; kInvalidVerificationCode when the code is wrong
    [[nodiscard]] ResultCode ConfirmSecondFactor(const std::string& challengeToken,
                                                 const std::string& code) noexcept;

    /// Chooses a context. Up to 4 exchanges.
    /// \param kind  0 own context, 1 organisation
    [[nodiscard]] ResultCode SignInToContext(std::uint32_t kind, const std::string& contextId) noexcept;

    /// Signs in with an access token that a social provider gave; makes the account on the way when there is
    /// none yet. Up to 13 exchanges, and up to 8 waits of at most 30 s while the service makes the account.
    ///   returns  as SignIn; kNotImplemented for businesses and administrators
    [[nodiscard]] ResultCode SignInWithSocialToken(const std::string& providerKey,
                                                   const std::string& accessToken) noexcept;

    /// Signs in with a code that a social provider's browser page gave. Up to 12 exchanges, and up to 4 waits
    /// of at most 30 s while the service makes the account.
    ///   returns  as SignIn; kNotImplemented for administrators
    /// \param operation  0 sign in, 1 sign up, 2 link; any other number acts as 0
    [[nodiscard]] ResultCode SignInWithSocialCode(const std::string& code, std::uint32_t operation) noexcept;

    /// Takes over an access token from elsewhere; a former sign-in is dropped first. No exchange, and nothing
    /// is stored.
    [[nodiscard]] ResultCode UseAccessToken(const std::string& token) noexcept;

    /// The keys of the social providers in the service's order. Needs no sign-in. Up to 4 exchanges.
    [[nodiscard]] ResultCode GetSocialProviders(std::vector<std::string>& providers) noexcept;

    /// Forgets the sign-in and its stored identity. No exchange: nothing is revoked at the service.
    void SignOut() noexcept;

    /// The contexts to choose from, the own one first. Up to 8 exchanges.
    [[nodiscard]] ResultCode GetCustomerContexts(std::vector<ContextEntry>& contexts) noexcept;

    /// The detail of the service's last refusal; `resultCode` 0 when there was none yet.
    [[nodiscard]] ResultCode GetLastServiceError(ServiceErrorValue& error) noexcept;

    /// The access token's text: empty before any sign-in, the former one after SignOut.
    [[nodiscard]] ResultCode GetAccessToken(std::string& token) noexcept;

    /// Renews the access token by the stored identity; kInvalidParameters without one. Up to 2 exchanges.
    [[nodiscard]] ResultCode RefreshAccessToken(std::string& token) noexcept;

    /// Writes the identity's secret into the host's JSON document at `path`, as its member "identityToken". A
    /// document that is refused stays byte for byte. FlatOperations.h tells all codes.
    [[nodiscard]] ResultCode PersistIdentityToken(const std::string& path) noexcept;

    /// The service's base URL as it was given to Init.
    [[nodiscard]] ResultCode GetBasicEndpoint(std::string& endpoint) noexcept;

    /// The machine's identifier; kMachineId when there is none.
    [[nodiscard]] ResultCode GetDeviceId(std::string& deviceId) noexcept;

    /// The user's details; kAuthorizationDenied unless signed in. Up to 4 exchanges.
    [[nodiscard]] ResultCode GetCustomerData(CustomerDataValue& data) noexcept;

    /// The newest build that the product's update feed offers; `currentVersion` and `language` as in
    /// FlatOperations.h, which tells all codes. Up to 8 exchanges.
    [[nodiscard]] ResultCode GetProductUpdateInfo(const std::string& feedName, const std::string& feedVariant,
                                                  const std::string& currentVersion,
                                                  const std::string& language,
                                                  ProductUpdateInfoValue& info) noexcept;

    /// Files a ticket, once however often it is asked for within a day. Up to 5 exchanges, and up to 4 waits
    /// of at most 30 s.
    [[nodiscard]] ResultCode CreateTicket(
        const std::string& email, const std::string& title, const std::string& description,
        const std::vector<std::pair<std::string, std::string>>& additionalParameters,
        std::string& number) noexcept;

    /// Makes a principal administrator; an empty name or description has a default. Up to 4 exchanges.
    [[nodiscard]] ResultCode CreatePrincipalAdmin(const std::string& name, const std::string& email,
                                                  const std::string& password, const std::string& description,
                                                  PrincipalAdminValue& admin) noexcept;

private:
    std::shared_ptr<PrivateData> data_;  // null until Init succeeds
};

}  // namespace quillmarkclient
