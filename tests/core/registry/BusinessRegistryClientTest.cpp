#include "core/src/registry/BusinessRegistryClient.h"

#include "tests/core/registry/ContextlessFixture.h"

namespace {

using test::Code;
using test::Headers;
using test::Lines;
using test::ServiceAnswer;
using test::Text;

constexpr char kPasswordPath[] = "POST /api/business/registry/v2/tokens";
constexpr char kCodePath[] = "POST /api/business/registry/v2/tokens/external";
constexpr char kDynamicContextPath[] = "POST /api/quillmark/USE_DYNAMIC_CONTEXT";
constexpr char kRenewalPath[] = "POST /api/business/registry/v2/tokens/identity";

const Headers kPlainHeaders = {{"Accept", "application/json"},
                               {"Cache-Control", "no-cache"},
                               {"Content-Type", "application/json;charset=UTF-8"},
                               {"x-vqm-custom", "vqm-client"}};

class BusinessRegistryClient
    : public test::ContextlessFixture<registry::BusinessRegistryClient<test::SystemApi>> {
protected:
    ResultCode SignIn() { return client.Authorize("firm", "pass", &errorInfo, context); }
    ResultCode ByCode(std::uint32_t flow) {
        return client.AuthorizeSocialCode("c-1", flow, &errorInfo, context);
    }
};

TEST_F(BusinessRegistryClient, IsOfKindOne) {
    const registry::BusinessRegistryClient<test::SystemApi> fresh("https://a", "", {}, nullptr);
    EXPECT_EQ(fresh.kind, 1u);
    EXPECT_EQ(fresh.token.present, 0);
    EXPECT_EQ(fresh.contextMode, 2u);
}

TEST_F(BusinessRegistryClient, LacksWhatIsForPersons) {
    for (const auto& operation : test::kCustomerOperations)
        ExpectNoEffect(operation, ResultCode::kNotImplemented);
}

TEST_F(BusinessRegistryClient, NeedsNoContextToken) {
    ExpectContextsNeedNothing();
}

TEST_F(BusinessRegistryClient, AsksAsAnySession) {
    ExpectInformation();
}

TEST_F(BusinessRegistryClient, RenewsAtItsOwnEndpoint) {
    ExpectRenewals(kRenewalPath);
}

TEST_F(BusinessRegistryClient, GetAuthStateLeavesTheContextOfTheRecord) {
    registry::AuthState state;
    state.tokenType = "other";
    state.accessToken = "other";
    state.identitySecret = "other";
    state.contextMode = 7;
    state.contextId = "other";
    EXPECT_EQ(client.GetAuthState(state), ResultCode::kSuccess);
    EXPECT_EQ(Text(state.tokenType), "Bearer");
    EXPECT_EQ(Text(state.accessToken), "old.e30.sig");
    EXPECT_EQ(Text(state.identitySecret), "old secret");
    EXPECT_EQ(state.contextMode, 7u);
    EXPECT_EQ(Text(state.contextId), "other");
}

// --- by password

TEST_F(BusinessRegistryClient, OneGoodAnswerSignsIn) {
    Script({{200, test::TokenBody("new.e30.sig")}});
    EXPECT_EQ(SignIn(), ResultCode::kSuccess);
    EXPECT_EQ(Requested(), Lines{kPasswordPath}) << "no trusts, no context";
    EXPECT_EQ(LastRequest().body, R"({"login":"firm","password":"pass"})");
    EXPECT_EQ(LastRequest().headers, kPlainHeaders);
    EXPECT_EQ(State(), "new.e30.sig, 1, , 2, ");
}

TEST_F(BusinessRegistryClient, ARefusedPasswordLeavesTheStateReset) {
    const char* const secondFactor =
        R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":"ch-1"}})";
    ExpectRefusals(
        {
            {"400", {400}, 0x82000004},
            {"401 never renews", {401}, 0x82000006},
            {"403", {403}, 0x82000007},
            {"403 has no second factor", {403, secondFactor}, 0x82000007},
            {"a second factor by another status is handed on", {409, secondFactor}, 0x82000012},
            {"404", {404}, 0x82000004},
            {"409", {409}, 0x82000004},
            {"423", {423}, 0x82000010},
            {"429", {429}, 0x8200000D},
            {"500", {500}, 0x82000003},
            {"503", {503}, 0x8000000C},
            {"204 is no success", {204}, 0x82000004},
            {"network", {0x81000006}, 0x80000006},
            {"time-out", {0x81000014}, 0x81000014},
            {"success without a token", {200, "{}"}, 0x82000004},
            {"success without JSON", {200, "<html>"}, 0x82000004},
        },
        kPasswordPath, [this] { return SignIn(); });
}

// --- by a social provider's code

TEST_F(BusinessRegistryClient, ACodeIsNeeded) {
    for (const std::uint32_t flow : {0u, 1u, 2u}) {
        EXPECT_EQ(client.AuthorizeSocialCode("", flow, &errorInfo, context), ResultCode::kInvalidParameters);
        EXPECT_EQ(State(), test::kOldSession) << flow;
        EXPECT_TRUE(platform.requests.empty()) << flow;
    }
}

TEST_F(BusinessRegistryClient, FlowOneFirstTellsThatItIsABusiness) {
    const ServiceAnswer token = {200, test::TokenBody("new.e30.sig")};
    const struct {
        const char* name;
        std::uint32_t flow;
        std::vector<ServiceAnswer> answers;
        Lines requests;
    } rows[] = {
        {"sign-in", 0, {token}, {kCodePath}},
        {"sign-up", 1, {{200, "{}"}, token}, {kDynamicContextPath, kCodePath}},
        {"sign-up, no content", 1, {{204}, token}, {kDynamicContextPath, kCodePath}},
        {"the answer's body is not read",
         1,
         {{200, test::TokenBody("unread.e30.sig")}, token},
         {kDynamicContextPath, kCodePath}},
        {"nor need it be JSON", 1, {{200, "<html>"}, token}, {kDynamicContextPath, kCodePath}},
        {"link", 2, {token}, {kCodePath}},
        {"a flow of no meaning", 7, {token}, {kCodePath}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        RememberOldSession();
        Script(row.answers);
        EXPECT_EQ(ByCode(row.flow), ResultCode::kSuccess);
        ASSERT_EQ(Requested(), row.requests);
        EXPECT_EQ(State(), "new.e30.sig, 1, , 2, ");
        if (row.flow == 1) {
            EXPECT_EQ(platform.requests[0].body, R"({"code":"c-1","context":"business"})");
            EXPECT_EQ(platform.requests[0].headers, kPlainHeaders) << "no key";
        }
        EXPECT_EQ(LastRequest().body, R"({"code":"c-1"})");
        EXPECT_EQ(LastRequest().headers, kPlainHeaders);
    }
    EXPECT_TRUE(platform.files.empty());
}

TEST_F(BusinessRegistryClient, ARefusedDynamicContextEndsTheSignIn) {
    ExpectRefusals(
        {
            {"400", {400}, 0x82000004},
            {"401", {401}, 0x82000004},
            {"403", {403}, 0x82000007},
            {"404", {404}, 0x82000004},
            {"409 is not waited for", {409, "", "Retry-After: 1\r\n"}, 0x82000004},
            {"423", {423}, 0x82000010},
            {"429", {429}, 0x8200000D},
            {"500", {500}, 0x82000003},
            {"503", {503}, 0x8000000C},
            {"201 is no success", {201}, 0x82000004},
            {"network", {0x81000006}, 0x80000006},
            {"time-out is not repeated", {0x81000014}, 0x81000014},
        },
        kDynamicContextPath, [this] { return ByCode(1); });
    for (const std::string& line : platform.traceLines)
        EXPECT_EQ(line.rfind("UseDynamicContext Request:\n", 0), 0u) << "its refusal has no line";
}

TEST_F(BusinessRegistryClient, ARefusedCodeLeavesTheStateReset) {
    ExpectRefusals(
        {
            {"400", {400}, 0x82000004},
            {"401 never renews", {401}, 0x82000002},
            {"403", {403}, 0x82000007},
            {"404", {404}, 0x8200000E},
            {"404 makes no account", {404, R"({"status":404,"errorCode":"SIGN_UP_REQUIRED"})"}, 0x8200000E},
            {"409", {409}, 0x82000004},
            {"429", {429}, 0x8200000D},
            {"500", {500}, 0x82000003},
            {"204 is no success", {204}, 0x82000004},
            {"network", {0x81000006}, 0x80000006},
            {"time-out", {0x81000014}, 0x81000014},
            {"success without a token", {200, "[]"}, 0x82000004},
        },
        kCodePath, [this] { return ByCode(0); });

    RememberOldSession();
    Script({{204}, {403}});
    EXPECT_EQ(ByCode(1), ResultCode::kEmailUnverifiedOrBlocked);
    EXPECT_EQ(Requested(), (Lines{kDynamicContextPath, kCodePath}));
    EXPECT_EQ(State(), test::ResetSession("old.e30.sig"));
}

}  // namespace
