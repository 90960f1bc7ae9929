// A customer's session: contexts, identity records, and what happens when what it is made of expires.
#include <functional>

#include "tests/core/registry/RoadFixture.h"

namespace {

using sandbox::Perishable;
using test::Exchanges;
using test::kCodeSignInPath;
using test::kFinalizeCodePath;
using test::kIdentitiesPath;
using test::kIdentitySignInPath;
using test::kIdentityTokenPath;
using test::kNewIdentityPath;
using test::kNobody;
using test::kOwnContextPath;
using test::kPasswordPath;
using test::kProvidersPath;
using test::kSecondFactorPath;
using test::kTrustPath;
using test::kTrustsPath;
using test::kUserPath;
using test::Lines;
using test::SessionOf;
using test::Text;

class SessionRoad : public test::SocialRoadFixture {
protected:
    ResultCode SignIn(const char* account) {
        const sandbox::Account& who = service.account(account);
        return client->Authorize(Text(who.login), Text(who.password), &errorInfo, context);
    }
    ResultCode Obtain(const char* name = "", const char* tokenExpiration = "") {
        return client->ObtainIdentitySecret(name, tokenExpiration, &errorInfo, context);
    }
    // Signed in with a secret; the exchanges so far are forgotten.
    void SignInForLong(const char* account) {
        ASSERT_EQ(SignIn(account), ResultCode::kSuccess);
        ASSERT_EQ(Obtain(), ResultCode::kSuccess);
        Seen();
    }
    ResultCode AskForUser() {
        registry::CustomerInfo info;
        return client->GetCustomerInfo(info, &errorInfo, context);
    }

    std::string ChallengeOf(const char* account) {
        EXPECT_EQ(SignIn(account), ResultCode::kSecondFactorRequired);
        if (errorInfo.errorArgs.size() != 1)
            return "none";
        EXPECT_EQ(errorInfo.errorArgs[0].name, "challengeToken");
        return Text(errorInfo.errorArgs[0].value);
    }
    ResultCode Confirm(const std::string& challenge) {
        return client->AuthorizeSecondFactor(Text(challenge), Text(service.totpCode("second-factor")),
                                             &errorInfo, context);
    }

    // The access token that the service gives for the secret, before any context.
    quillmarkclient_core::Token TokenOfSecret() {
        sandbox::Request request{"POST",
                                 "/api/customer/registry/v2/tokens/identity",
                                 {{"x-vqm-custom", "vqm-client"}, {"Content-Type", "application/json"}},
                                 R"({"secretKey":")" + Text(client->identitySecret) + R"("})"};
        std::smatch found;
        const std::string body = service.service().answer(request).body;
        if (!std::regex_search(body, found, std::regex(R"re("accessToken":"([^"]*)")re")))
            return {};
        return {Text(found[1].str()), true};
    }
};

TEST_F(SessionRoad, TheOnlyTrustIsEntered) {
    ASSERT_EQ(SignIn("organisation-only"), ResultCode::kSuccess);
    EXPECT_EQ(
        Seen(),
        (Exchanges{{kPasswordPath, 200}, {kTrustsPath, 200}, {kOwnContextPath, 404}, {kTrustPath, 200}}));
    EXPECT_EQ(SessionOf(*client), "signed in, 1 org-marlow");
    ASSERT_EQ(client->token.rights.size(), 1u);
    EXPECT_EQ(client->token.rights[0].space, "organization-org-marlow");
    EXPECT_EQ(client->token.rights[0].role, 1u);
    EXPECT_FALSE(client->dynamicContextAvailable);
}

TEST_F(SessionRoad, ARenewalGoesBackToItsContext) {
    static const struct {
        const char* name;
        const char* account;
        const char* session;
        const char* contextPath;
    } rows[] = {
        {"the own one", "plain", "signed in, with a secret, 0", kOwnContextPath},
        {"a trustor's", "organisation-only", "signed in, with a secret, 1 org-marlow", kTrustPath},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_NO_FATAL_FAILURE(SignInForLong(row.account));
        EXPECT_EQ(SessionOf(*client), row.session);
        const std::string token = Text(client->token.text);
        const std::string secret = Text(client->identitySecret);
        service.advance(901);
        EXPECT_EQ(AskForUser(), ResultCode::kSuccess);
        EXPECT_EQ(
            Seen(),
            (Exchanges{
                {kUserPath, 401}, {kIdentitySignInPath, 200}, {row.contextPath, 200}, {kUserPath, 200}}));
        EXPECT_EQ(SessionOf(*client), row.session);
        EXPECT_EQ(Text(client->identitySecret), secret);
        EXPECT_NE(Text(client->token.text), token);
        EXPECT_EQ(bearers.back(), "Bearer " + Text(client->token.text));
    }
}

TEST_F(SessionRoad, ARenewalHappensOnce) {
    ASSERT_NO_FATAL_FAILURE(SignInForLong("plain"));
    AnswerWith(401, "/api/registry/v2/users", 2);
    EXPECT_EQ(AskForUser(), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(
        Seen(),
        (Exchanges{{kUserPath, 401}, {kIdentitySignInPath, 200}, {kOwnContextPath, 200}, {kUserPath, 401}}));
    EXPECT_EQ(AskForUser(), ResultCode::kSuccess);
}

TEST_F(SessionRoad, AnIdentityHasTheRightsOfTheTokenThatMadeIt) {
    static const struct {
        const char* trustor;  // empty: the own context
        const char* space;
        std::uint32_t role;
    } rows[] = {
        {"", "customer-100004", 2},
        {"org-harrow", "organization-org-harrow", 2},
        {"org-tilden", "organization-org-tilden", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.space);
        service.service().reset();
        ASSERT_EQ(SignIn("several-contexts"), ResultCode::kTooManyContexts);
        const std::uint32_t mode = *row.trustor == '\0' ? 0 : 1;
        ASSERT_EQ(client->SelectContext(mode, row.trustor, &errorInfo, context), ResultCode::kSuccess);
        ASSERT_EQ(Obtain(), ResultCode::kSuccess);
        const quillmarkclient_core::Token later = TokenOfSecret();
        ASSERT_EQ(later.rights.size(), 1u);
        EXPECT_EQ(later.rights[0].space, row.space);
        EXPECT_EQ(later.rights[0].role, row.role);
    }
    service.service().reset();
    ASSERT_NO_FATAL_FAILURE(SignInForLong("organisation-only"));
    ASSERT_EQ(TokenOfSecret().rights.size(), 1u);
    EXPECT_EQ(TokenOfSecret().rights[0].role, 1u) << "a manager";
}

TEST_F(SessionRoad, AnIdentityRecordIsMadeOnceAndFoundByItsUsualName) {
    const Exchanges made = {{kIdentitiesPath, 200}, {kNewIdentityPath, 200}, {kIdentityTokenPath, 200}};
    const Exchanges found = {{kIdentitiesPath, 200}, {kIdentityTokenPath, 200}};
    const struct {
        const char* name;
        const char* recordName;
        Exchanges road;
    } steps[] = {
        {"a name of its own", "Front desk", made},
        {"which is not found again", "Front desk", made},
        {"the usual name", "", made},
        {"is found", "", found},
        {"also by who asked for another", "Desk", found},
    };
    ASSERT_EQ(SignIn("plain"), ResultCode::kSuccess);
    Seen();
    Lines secrets;
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        EXPECT_EQ(Obtain(step.recordName), ResultCode::kSuccess);
        EXPECT_EQ(Seen(), step.road);
        for (const auto& former : secrets)
            EXPECT_NE(Text(client->identitySecret), former);
        secrets.push_back(Text(client->identitySecret));
    }
    for (const auto& secret : secrets) {
        const auto host = Started<test::CustomerClient>();
        EXPECT_EQ(host->ReauthorizeViaIdentity(Text(secret), 0, "", &errorInfo, context),
                  ResultCode::kSuccess);
    }
}

TEST_F(SessionRoad, ASecretLivesAsLongAsItWasAskedFor) {
    ASSERT_EQ(SignIn("plain"), ResultCode::kSuccess);
    Seen();
    ASSERT_EQ(Obtain("", "3600"), ResultCode::kSuccess);
    const Exchanges road = Seen();
    EXPECT_EQ(road.back().request, std::string(kIdentityTokenPath) + "?TokenExpiration=3600");
    const portable_stl::string secret = client->identitySecret;
    service.advance(3599);
    EXPECT_EQ(client->ReauthorizeViaIdentity(secret, 0, "", &errorInfo, context), ResultCode::kSuccess);
    service.advance(1);
    EXPECT_EQ(client->ReauthorizeViaIdentity(secret, 0, "", &errorInfo, context),
              ResultCode::kAuthorizationDenied);
    EXPECT_EQ(SessionOf(*client), "signed in, with a secret, 0") << "a refused secret changes nothing";
}

TEST_F(SessionRoad, AnExpiredTokenIsACodeWithoutASecret) {
    ASSERT_EQ(SignIn("plain"), ResultCode::kSuccess);
    Seen();
    service.service().expireTokens();
    const std::string token = Text(client->token.text);
    EXPECT_EQ(AskForUser(), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(Obtain(), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(client->SelectContext(0, "", &errorInfo, context), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(client->SelectContext(1, "org-1", &errorInfo, context), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(
        Seen(),
        (Exchanges{{kUserPath, 401}, {kIdentitiesPath, 401}, {kOwnContextPath, 401}, {kTrustPath, 401}}));
    EXPECT_EQ(SessionOf(*client), "signed in, 0");
    EXPECT_EQ(Text(client->token.text), token);
}

TEST_F(SessionRoad, AnExpiredSecretIsACodeAndTheSessionIsWhatItWas) {
    ASSERT_NO_FATAL_FAILURE(SignInForLong("plain"));
    service.service().expireTokens();
    service.service().expire(Perishable::secrets);
    const std::string state = test::StateOf(*client);
    EXPECT_EQ(AskForUser(), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(Seen(), (Exchanges{{kUserPath, 401}, {kIdentitySignInPath, 401}}));
    EXPECT_EQ(test::StateOf(*client), state);
    EXPECT_EQ(SignIn("plain"), ResultCode::kSuccess);
}

// The former secret is gone from the beginning on, so that it renews nothing on the way.
TEST_F(SessionRoad, ANewSecretBeginsWithTheLossOfTheFormer) {
    ASSERT_NO_FATAL_FAILURE(SignInForLong("plain"));
    service.service().expireTokens();
    EXPECT_EQ(Obtain(), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(Seen(), (Exchanges{{kIdentitiesPath, 401}}));
    EXPECT_EQ(SessionOf(*client), "signed in, 0");
}

TEST_F(SessionRoad, AnExpiredChallengeIsNotFound) {
    const struct {
        const char* name;
        std::function<void()> expire;
    } rows[] = {
        {"by the clock", [this] { service.advance(300); }},
        {"by the service", [this] { service.service().expire(Perishable::challenges); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string challenge = ChallengeOf("second-factor");
        Seen();
        row.expire();
        EXPECT_EQ(Confirm(challenge), ResultCode::kNotFound);
        EXPECT_EQ(Seen(), (Exchanges{{kSecondFactorPath, 404}}));
        EXPECT_EQ(SessionOf(*client), kNobody);
    }
    EXPECT_EQ(Confirm(ChallengeOf("second-factor")), ResultCode::kSuccess);
    EXPECT_EQ(SessionOf(*client), "signed in, 0");
}

TEST_F(SessionRoad, AnExpiredCodeIsRefused) {
    static const struct {
        std::uint32_t flow;
        std::uint32_t expected;
        const char* path;
    } rows[] = {
        {0, 0x82000002, kCodeSignInPath},
        {1, 0x82000006, kFinalizeCodePath},
        {2, 0x82000002, kCodeSignInPath},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.flow);
        BeginAnew();
        service.advance(600);
        EXPECT_EQ(ByCode("gp-code-newcomer-6", row.flow), test::Code(row.expected));
        EXPECT_EQ(ByCode(service.socialCode("linked"), 0), ResultCode::kSuccess);
        service.service().expire(Perishable::codes);
        Seen();
        EXPECT_EQ(ByCode("gp-code-linked-1", row.flow), test::Code(row.expected));
        EXPECT_EQ(Seen(), (Exchanges{{row.path, 401}}));
        EXPECT_EQ(SessionOf(*client), kNobody);
    }
}

// The names end in a separator each, and go behind what is there.
TEST_F(SessionRoad, SocialProviders) {
    portable_stl::string text = "former,";
    EXPECT_EQ(client->GetSocialProviders(text, ',', &errorInfo, context), ResultCode::kSuccess);
    EXPECT_EQ(text, "former,glowpass,maple-id,");
    EXPECT_EQ(bearers, (Lines{"none"}));
    EXPECT_EQ(Seen(), (Exchanges{{kProvidersPath, 200}}));

    ASSERT_EQ(SignIn("plain"), ResultCode::kSuccess);
    Seen();
    text.clear();
    EXPECT_EQ(client->GetSocialProviders(text, '\n', &errorInfo, context), ResultCode::kSuccess);
    EXPECT_EQ(text, "glowpass\nmaple-id\n");
    EXPECT_EQ(bearers.back(), "Bearer " + Text(client->token.text));

    service.service().expireTokens();
    EXPECT_EQ(client->GetSocialProviders(text, ';', &errorInfo, context), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(text, "glowpass\nmaple-id\n") << "a failure leaves it";
    EXPECT_EQ(Seen(), (Exchanges{{kProvidersPath, 200}, {kProvidersPath, 401}}));

    ASSERT_NO_FATAL_FAILURE(SignInForLong("plain"));
    service.service().expireTokens();
    text.clear();
    EXPECT_EQ(client->GetSocialProviders(text, ';', &errorInfo, context), ResultCode::kSuccess);
    EXPECT_EQ(text, "glowpass;maple-id;");
    EXPECT_EQ(Seen(), (Exchanges{{kProvidersPath, 401},
                                 {kIdentitySignInPath, 200},
                                 {kOwnContextPath, 200},
                                 {kProvidersPath, 200}}));

    client->ResetAuthState();
    EXPECT_EQ(client->GetSocialProviders(text, ';', &errorInfo, context), ResultCode::kSuccess);
    EXPECT_EQ(bearers.back(), "none") << "nobody is signed in";
}

}  // namespace
