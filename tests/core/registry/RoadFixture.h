// Whole roads of the registry: sessions over this system's platform, against the sandbox service, over HTTPS.
//
// Three entries of the platform's table are the fixture's: Sleep is recorded and takes no time, GetTime tells
// the service's time, and HttpRequest is the system's, and shows what the service doesn't log, the two
// headers that decide.
#pragma once

#include <filesystem>
#include <memory>
#include <regex>

#include "core/src/registry/BusinessRegistryClient.h"
#include "core/src/registry/PrincipalAdminRegistryClient.h"
#include "tests/core/registry/RegistryFixture.h"
#include "tests/support/SandboxFixture.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TrustedAuthority.h"

namespace test {

using CustomerClient = registry::CustomerRegistryClient<SystemApi>;
using BusinessClient = registry::BusinessRegistryClient<SystemApi>;
using AdministratorClient = registry::PrincipalAdminRegistryClient<SystemApi>;

inline constexpr char kGlowpassPath[] = "GET /api/registry/v2/oauth/sign-in/glowpass?access_token=***";
inline constexpr char kMapleIdPath[] = "GET /api/registry/v2/oauth/sign-in/maple-id?access_token=***";
inline constexpr char kCodeSignInPath[] = "POST /api/customer/registry/v2/tokens/external";
inline constexpr char kFinalizeTokenPath[] =
    "POST /api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN";
inline constexpr char kFinalizeCodePath[] = "POST /api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH";
inline constexpr char kIdentityTokenPath[] = "GET /api/registry/v2/identities/*/token";
inline constexpr char kBusinessPasswordPath[] = "POST /api/business/registry/v2/tokens";
inline constexpr char kBusinessIdentityPath[] = "POST /api/business/registry/v2/tokens/identity";
inline constexpr char kBusinessCodePath[] = "POST /api/business/registry/v2/tokens/external";
inline constexpr char kDynamicContextPath[] = "POST /api/quillmark/USE_DYNAMIC_CONTEXT";
inline constexpr char kAdministratorPath[] = "POST /api/admin/id/v0/tokens/password";

/// One exchange as the service saw it.
struct Exchange {
    std::string request;  // method and target; a credential is ***, an identity's id *
    int status;           // 0: the connection ended before an answer

    friend bool operator==(const Exchange&, const Exchange&) = default;
    friend void PrintTo(const Exchange& exchange, std::ostream* out) {
        *out << exchange.request << " " << exchange.status;
    }
};
using Exchanges = std::vector<Exchange>;

inline constexpr char kNobody[] = "nobody";

/// kNobody, or "signed in" and the context: "0", "1 org", "2" for none. Tells of a secret and of anything
/// else that a session without token still has.
inline std::string SessionOf(const AnyClient& client) {
    const bool isReset = client.token.present == 0 && client.identitySecret.empty() &&
                         client.contextMode == 2 && client.contextId.empty();
    if (isReset)
        return kNobody;
    std::string text = client.token.present != 0 ? "signed in, " : "half signed in, ";
    text += client.identitySecret.empty() ? "" : "with a secret, ";
    text += std::to_string(client.contextMode);
    return client.contextId.empty() ? text : text + " " + Text(client.contextId);
}

class RoadFixture : public ::testing::Test {
protected:
    RoadFixture() {
        quillmarkclient_core::PlatformTable table = quillmarkclient_core::DefaultPlatformTable();
        table.Sleep = &CountedSleep;
        table.GetTime = &TellServiceTime;
        table.HttpRequest = &WatchedRequest;
        SystemApi::SetTable(table);
    }
    ~RoadFixture() override { SystemApi::SetTable(formerTable); }

    /// A host's process begins, on this folder or on `folder`.
    template <class Client>
    std::unique_ptr<Client> Started(const std::string& dataFolder) {
        return std::make_unique<Client>(Text(service.baseUrl()), Text(dataFolder), policy, context);
    }
    template <class Client>
    std::unique_ptr<Client> Started() {
        return Started<Client>(folder.PathOf(""));
    }

    /// What the service saw since the last call.
    Exchanges Seen() {
        static const std::regex identityId("/identities/[0-9a-f]{24}/");
        Exchanges seen;
        for (const auto& record : service.exchanges()) {
            const std::string target = std::regex_replace(record.target, identityId, "/identities/*/");
            seen.push_back({record.method + " " + target, record.status});
        }
        service.forgetExchanges();
        return seen;
    }

    /// The next `count` requests that fit are answered so, in place of the service.
    void AnswerWith(int status, const char* path, std::uint32_t count = 1, const char* body = "") {
        sandbox::Fault fault;
        fault.kind = sandbox::FaultKind::status;
        fault.path = path;
        fault.count = count;
        fault.status = status;
        fault.body = body;
        service.faults().add(fault);
    }

    /// The next request of that path goes wrong.
    void Disturb(sandbox::FaultKind kind, const char* path) {
        sandbox::Fault fault;
        fault.kind = kind;
        fault.path = path;
        service.faults().add(fault);
    }

    [[nodiscard]] bool IsKeyFileThere() const { return Exists(folder.PathOf("LIC2")); }

    test_support::SandboxFixture service{test_support::Scheme::https};
    TemporaryFolder folder;
    TrustedAuthority trusted{service.caFile()};
    quillmarkclient_core::PlatformTable formerTable = SystemApi::Table();

    registry::RetryPolicy policy{5, 1, 1, 1};  // five tries and waits of a millisecond
    void* const context = this;
    registry::ServiceErrorInfo errorInfo;

    std::vector<std::uint32_t> waits;  // milliseconds of each Sleep, which returns at once
    Lines keys;                        // "Idempotency-Key" of each request that had one
    Lines bearers;                     // "Authorization" of each request, "none" without
    std::uint32_t keyedTimeOuts = 0;   // so many answers to keyed requests come too late for the client

private:
    static RoadFixture& Of(void* context) { return *static_cast<RoadFixture*>(context); }

    static std::uint32_t CountedSleep(std::uint32_t milliseconds, void* context) {
        Of(context).waits.push_back(milliseconds);
        return 0;
    }

    static std::uint32_t TellServiceTime(std::uint64_t* seconds, void* context) {
        *seconds = static_cast<std::uint64_t>(Of(context).service.now());
        return 0;
    }

    static std::uint32_t WatchedRequest(const char* method, const char* url,
                                        const quillmarkclient_core::HttpHeaderPair* headers,
                                        std::uint32_t headerCount, const char* body, std::uint32_t flags,
                                        std::uint32_t* status, char** responseBody, char** responseHeaders,
                                        void* context) {
        const bool isKeyed = Of(context).Watch(headers, headerCount);
        const auto& platform = quillmarkclient_core::DefaultPlatformTable();
        const auto result = platform.HttpRequest(method, url, headers, headerCount, body, flags, status,
                                                 responseBody, responseHeaders, context);
        if (result != 0 || !isKeyed || Of(context).keyedTimeOuts == 0)
            return result;
        --Of(context).keyedTimeOuts;
        *status = 0;
        for (char** const block : {responseBody, responseHeaders})
            platform.HttpFree(std::exchange(*block, nullptr), context);
        return 0x81000014;
    }

    // True for a request with a key.
    bool Watch(const quillmarkclient_core::HttpHeaderPair* headers, std::uint32_t headerCount) {
        const std::size_t keysBefore = keys.size();
        bearers.emplace_back("none");
        for (std::uint32_t i = 0; i < headerCount; ++i) {
            if (std::string(headers[i].name) == "Idempotency-Key")
                keys.emplace_back(headers[i].value);
            if (std::string(headers[i].name) == "Authorization")
                bearers.back() = headers[i].value;
        }
        return keys.size() > keysBefore;
    }
};

/// A customer whom a social provider vouches for, as his host signs him in.
class SocialRoadFixture : public RoadFixture {
protected:
    SocialRoadFixture() { Restart(); }

    /// A host's process begins anew on the same folder.
    void Restart() { client = Started<CustomerClient>(); }

    /// The service as it was at its start, and a host that remembers nothing.
    void BeginAnew() {
        service.service().reset();
        std::filesystem::remove(folder.PathOf("LIC2"));
        Restart();
        service.forgetExchanges();
        keys.clear();
        waits.clear();
        errorInfo = {};
    }

    /// From now on a sign-up is worked on for so many requests of its key, and for so many seconds.
    void WorkFor(std::int64_t answers, std::int64_t seconds = 0) {
        sandbox::FinalizationRule rule;
        rule.busyAnswers = answers;
        rule.busySeconds = seconds;
        service.service().setFinalization(rule);
    }

    ResultCode ByToken(const char* person, const char* cause = "trial") {
        const sandbox::SocialPerson& who = service.person(person);
        return client->AuthorizeSocialToken(Text(who.provider), Text(who.accessToken), cause, &errorInfo,
                                            context);
    }
    ResultCode ByCode(const std::string& code, std::uint32_t flow, const char* cause = "trial") {
        return client->AuthorizeSocialCode(Text(code), flow, cause, &errorInfo, context);
    }

    /// "made, requests, keys" of a person's sign-up.
    [[nodiscard]] std::string SignUpOf(const char* person) const {
        const sandbox::SignUpReport report = service.signUpOf(person);
        return std::to_string(report.made) + ", " + std::to_string(report.requests) + ", " +
               std::to_string(report.keys);
    }

    std::unique_ptr<CustomerClient> client;
};

}  // namespace test
