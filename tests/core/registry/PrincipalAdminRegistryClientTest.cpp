#include "core/src/registry/PrincipalAdminRegistryClient.h"

#include "tests/core/registry/ContextlessFixture.h"

namespace {

using test::Headers;
using test::Lines;
using test::Text;

constexpr char kPasswordPath[] = "POST /api/admin/id/v0/tokens/password";

class PrincipalAdminRegistryClient
    : public test::ContextlessFixture<registry::PrincipalAdminRegistryClient<test::SystemApi>> {
protected:
    ResultCode SignIn() { return client.Authorize("root@x.org", "pass", &errorInfo, context); }
};

TEST_F(PrincipalAdminRegistryClient, IsOfKindTwo) {
    const registry::PrincipalAdminRegistryClient<test::SystemApi> fresh("https://a", "", {}, nullptr);
    EXPECT_EQ(fresh.kind, 2u);
    EXPECT_EQ(fresh.token.present, 0);
    EXPECT_EQ(fresh.contextMode, 2u);
}

TEST_F(PrincipalAdminRegistryClient, LacksWhatIsForPersonsAndBusinesses) {
    for (const auto& operation : test::kCustomerOperations)
        ExpectNoEffect(operation, ResultCode::kNotImplemented);
    ExpectNoEffect({"AuthorizeSocialCode without a cause",
                    [](test::AnyClient& c, registry::ServiceErrorInfo* e) {
                        return c.AuthorizeSocialCode("c-1", 1, e, nullptr);
                    }},
                   ResultCode::kNotImplemented);
    ExpectNoEffect({"AuthorizeSocialCode without a code",
                    [](test::AnyClient& c, registry::ServiceErrorInfo* e) {
                        return c.AuthorizeSocialCode("", 0, e, nullptr);
                    }},
                   ResultCode::kNotImplemented);
}

TEST_F(PrincipalAdminRegistryClient, NeedsNoContextToken) {
    ExpectContextsNeedNothing();
}

TEST_F(PrincipalAdminRegistryClient, AsksAsAnySession) {
    ExpectInformation();
}

TEST_F(PrincipalAdminRegistryClient, RenewsWhereCustomersDo) {
    ExpectRenewals(test::kIdentitySignInPath);
}

TEST_F(PrincipalAdminRegistryClient, GetAuthStateTellsTheTokenAlone) {
    registry::AuthState state;
    state.tokenType = "other";
    state.accessToken = "other";
    state.identitySecret = "other";
    state.contextMode = 7;
    state.contextId = "other";
    EXPECT_EQ(client.GetAuthState(state), ResultCode::kSuccess);
    EXPECT_EQ(Text(state.tokenType), "Bearer");
    EXPECT_EQ(Text(state.accessToken), "old.e30.sig");
    EXPECT_EQ(Text(state.identitySecret), "") << "though there is one";
    EXPECT_EQ(state.contextMode, 2u) << "though it is 1";
    EXPECT_EQ(Text(state.contextId), "");
    EXPECT_EQ(State(), test::kOldSession) << "the session itself is as it was";
}

TEST_F(PrincipalAdminRegistryClient, OneGoodAnswerSignsIn) {
    Script({{200, test::TokenBody("new.e30.sig")}});
    EXPECT_EQ(SignIn(), ResultCode::kSuccess);
    EXPECT_EQ(Requested(), Lines{kPasswordPath}) << "no trusts, no context";
    EXPECT_EQ(LastRequest().body, R"({"email":"root@x.org","password":"pass"})");
    EXPECT_EQ(LastRequest().headers, (Headers{{"Accept", "application/json"},
                                              {"Cache-Control", "no-cache"},
                                              {"Content-Type", "application/json;charset=UTF-8"},
                                              {"x-vqm-custom", "vqm-client"}}));
    EXPECT_EQ(State(), "new.e30.sig, 1, , 2, ");
}

TEST_F(PrincipalAdminRegistryClient, ARefusedPasswordLeavesTheStateReset) {
    ExpectRefusals(
        {
            {"400", {400}, 0x82000004},
            {"401 never renews", {401}, 0x82000006},
            {"403", {403}, 0x82000007},
            {"403 has no second factor",
             {403, R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":"c"}})"},
             0x82000007},
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

}  // namespace
