// What a business and an administrator lack, and what they do without an exchange.
#pragma once

#include "tests/core/registry/RegistryFixture.h"

namespace test {

struct ClientOperation {
    const char* name;
    ResultCode (*run)(AnyClient& client, registry::ServiceErrorInfo* errorInfo);
};

// Of a customer alone.
inline constexpr ClientOperation kCustomerOperations[] = {
    {"AuthorizeSecondFactor",
     [](AnyClient& client, registry::ServiceErrorInfo* errorInfo) {
         return client.AuthorizeSecondFactor("challenge", "123456", errorInfo, nullptr);
     }},
    {"SelectContext",
     [](AnyClient& client, registry::ServiceErrorInfo* errorInfo) {
         return client.SelectContext(1, "org-2", errorInfo, nullptr);
     }},
    {"GetContexts, whose list stays",
     [](AnyClient& client, registry::ServiceErrorInfo* errorInfo) {
         portable_stl::vector<registry::ContextEntry> contexts;
         contexts.push_back({7, "former", "former"}).value();
         const auto code = client.GetContexts(contexts, errorInfo, nullptr);
         EXPECT_EQ(contexts.size(), 1u);
         return code;
     }},
    {"AuthorizeSocialToken",
     [](AnyClient& client, registry::ServiceErrorInfo* errorInfo) {
         return client.AuthorizeSocialToken("acme", "pt-1", "trial", errorInfo, nullptr);
     }},
    {"AuthorizeSocialToken without a cause",
     [](AnyClient& client, registry::ServiceErrorInfo* errorInfo) {
         return client.AuthorizeSocialToken("acme", "pt-1", errorInfo, nullptr);
     }},
    {"AuthorizeSocialCode",
     [](AnyClient& client, registry::ServiceErrorInfo* errorInfo) {
         return client.AuthorizeSocialCode("c-1", 1, "trial", errorInfo, nullptr);
     }},
    {"AuthorizeSocialCode, empty: not even the arguments are looked at",
     [](AnyClient& client, registry::ServiceErrorInfo* errorInfo) {
         return client.AuthorizeSocialCode("", 0, "", errorInfo, nullptr);
     }},
};

inline constexpr ClientOperation kContextOperations[] = {
    {"AcquireContextToken, own",
     [](AnyClient& client, registry::ServiceErrorInfo* errorInfo) {
         return client.AcquireContextToken(0, "", errorInfo, nullptr);
     }},
    {"AcquireContextToken, a trustor's",
     [](AnyClient& client, registry::ServiceErrorInfo* errorInfo) {
         return client.AcquireContextToken(1, "org-2", errorInfo, nullptr);
     }},
};

template <class Client>
class ContextlessFixture : public RegistryTestOf<Client> {
protected:
    ContextlessFixture() { this->RememberOldSession(); }

    /// The operation answers `expected` and leaves everything as it was.
    void ExpectNoEffect(const ClientOperation& operation, ResultCode expected) {
        this->errorInfo.title = "former";
        EXPECT_EQ(operation.run(this->client, &this->errorInfo), expected) << operation.name;
        EXPECT_EQ(this->State(), kOldSession) << operation.name;
        EXPECT_EQ(Text(this->errorInfo.title), "former") << operation.name;
        EXPECT_EQ(this->errorInfo.resultCode, 0u) << operation.name;
        EXPECT_TRUE(this->platform.requests.empty()) << operation.name;
        EXPECT_TRUE(this->platform.traceLines.empty()) << operation.name;
        EXPECT_TRUE(this->platform.files.empty()) << operation.name;
    }

    /// The token is good as it is, for every mode.
    void ExpectContextsNeedNothing() {
        for (const auto& operation : kContextOperations)
            ExpectNoEffect(operation, ResultCode::kSuccess);
        this->client.ResetAuthState();
        EXPECT_EQ(this->client.AcquireContextToken(2, "", nullptr, nullptr), ResultCode::kSuccess)
            << "also with nobody signed in";
        EXPECT_TRUE(this->platform.requests.empty());
    }

    /// `signIn` makes the one request `path`; whatever it is refused with, the session is reset.
    struct Refusal {
        const char* name;
        ServiceAnswer answer;
        std::uint32_t expected;
    };
    template <class SignIn>
    void ExpectRefusals(const std::vector<Refusal>& rows, const char* path, SignIn&& signIn) {
        for (const Refusal& row : rows) {
            this->RememberOldSession();
            this->RememberOldRefusal();
            this->Script({row.answer});
            EXPECT_EQ(signIn(), Code(row.expected)) << row.name;
            EXPECT_EQ(this->Record(), RecordedBy(row.answer, row.expected)) << row.name;
            EXPECT_EQ(this->Requested(), Lines{path}) << row.name;
            EXPECT_EQ(this->State(), ResetSession("old.e30.sig")) << row.name;
        }
        EXPECT_TRUE(this->platform.sleepsMs.empty());
    }

    /// A session of this kind asks for the user's details, the trusts, the providers and its identity.
    void ExpectInformation() {
        registry::CustomerInfo info;
        portable_stl::vector<registry::TrustRecord> trusts;
        portable_stl::string providers;
        this->Script({{200, R"({"id":"me","email":"a@b"})"},
                      {200, kOneTrust},
                      {200, R"([{"key":"acme"}])"},
                      {200, "[]"},
                      {200, R"({"id":"7"})"},
                      {200, "new secret"}});
        EXPECT_EQ(this->client.GetCustomerInfo(info, nullptr, nullptr), ResultCode::kSuccess);
        EXPECT_EQ(Text(info.email), "a@b");
        EXPECT_EQ(this->client.GetTrustRecords(trusts, nullptr, nullptr), ResultCode::kSuccess);
        EXPECT_EQ(trusts.size(), 1u);
        EXPECT_EQ(this->client.GetSocialProviders(providers, ';', nullptr, nullptr), ResultCode::kSuccess);
        EXPECT_EQ(Text(providers), "acme;");
        EXPECT_EQ(this->client.ObtainIdentitySecret("", "", nullptr, nullptr), ResultCode::kSuccess);
        EXPECT_EQ(this->Requested(), (Lines{kUserPath, kTrustsPath, kProvidersPath, kIdentitiesPath,
                                            kNewIdentityPath, "GET /api/registry/v2/identities/7/token"}));
        for (const auto& request : this->platform.requests)
            EXPECT_EQ(request.Header("Authorization"), "Bearer old.e30.sig") << request.url;
        EXPECT_EQ(this->State(), "old.e30.sig, 1, new secret, 1, old org");
    }

    /// A renewal is one request, to `path`: no context is asked for behind it.
    void ExpectRenewals(const char* path) {
        const struct {
            const char* name;
            std::uint32_t mode;
            ServiceAnswer answer;
            std::uint32_t expected;
            const char* state;
        } rows[] = {
            {"own", 0, {200, TokenBody("new.e30.sig")}, 0, "new.e30.sig, 1, new secret, 1, old org"},
            {"a trustor's", 1, {200, TokenBody("new.e30.sig")}, 0, "new.e30.sig, 1, new secret, 1, org-2"},
            {"none", 2, {200, TokenBody("new.e30.sig")}, 0, "new.e30.sig, 1, new secret, 1, old org"},
            {"refused", 1, {403}, 0x82000002, kOldSession},
            {"network", 1, {0x81000006}, 0x80000006, "old.e30.sig, 1, new secret, 1, old org"},
            {"time-out", 1, {0x81000014}, 0x81000014, "old.e30.sig, 1, new secret, 1, old org"},
            {"no token", 1, {200, "[]"}, 0x82000004, "old.e30.sig, 1, new secret, 1, old org"},
        };
        for (const auto& row : rows) {
            this->RememberOldSession();
            this->Script({row.answer});
            EXPECT_EQ(this->client.ReauthorizeViaIdentity("new secret", row.mode, "org-2", nullptr, nullptr),
                      Code(row.expected))
                << row.name;
            ASSERT_EQ(this->Requested(), Lines{path}) << row.name;
            EXPECT_EQ(this->LastRequest().body, R"({"secretKey":"new secret"})") << row.name;
            EXPECT_EQ(this->LastRequest().Header("Authorization"), "(none)") << row.name;
            EXPECT_EQ(this->State(), row.state) << row.name;
        }
        this->RememberOldSession();
        this->Script({{401}, {200, TokenBody("new.e30.sig")}, {200, "{}"}});
        registry::CustomerInfo info;
        EXPECT_EQ(this->client.GetCustomerInfo(info, nullptr, nullptr), ResultCode::kSuccess);
        ASSERT_EQ(this->Requested(), (Lines{kUserPath, path, kUserPath}));
        EXPECT_EQ(this->LastRequest().Header("Authorization"), "Bearer new.e30.sig");
        EXPECT_EQ(this->State(), "new.e30.sig, 1, old secret, 1, old org");
    }
};

}  // namespace test
