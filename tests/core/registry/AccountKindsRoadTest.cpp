// Businesses and administrators: over the real transport, with each exchange that the service saw.
#include "tests/core/registry/RoadFixture.h"

namespace {

using test::Exchanges;
using test::kAdministratorPath;
using test::kBusinessCodePath;
using test::kBusinessIdentityPath;
using test::kBusinessPasswordPath;
using test::kDynamicContextPath;
using test::kIdentitiesPath;
using test::kIdentityTokenPath;
using test::kNewIdentityPath;
using test::kNobody;
using test::kTrustsPath;
using test::kUserPath;
using test::SessionOf;
using test::Text;

template <class Client>
class AccountRoad : public test::RoadFixture {
protected:
    ResultCode SignIn(const char* account, const char* password = nullptr) {
        const sandbox::Account& who = service.account(account);
        return client->Authorize(Text(who.login), Text(password != nullptr ? password : who.password),
                                 &errorInfo, context);
    }

    // The first name, or the code in words when it can't be had.
    std::string AskWhoIsSignedIn() {
        registry::CustomerInfo info;
        const auto code = client->GetCustomerInfo(info, &errorInfo, context);
        return IsSuccess(code) ? Text(info.firstName) : GetErrorText(code);
    }

    // "space role" of the only right that the token grants.
    std::string RightOfToken() {
        if (client->token.rights.size() != 1)
            return "rights: " + std::to_string(client->token.rights.size());
        return Text(client->token.rights[0].space) + " " + std::to_string(client->token.rights[0].role);
    }

    std::unique_ptr<Client> client = Started<Client>();
};

class BusinessRoad : public AccountRoad<test::BusinessClient> {
protected:
    ResultCode ByCode(const std::string& code, std::uint32_t flow) {
        return client->AuthorizeSocialCode(Text(code), flow, &errorInfo, context);
    }
};

TEST_F(BusinessRoad, SignsInByPasswordInOneStep) {
    ASSERT_EQ(SignIn("business"), ResultCode::kSuccess);
    EXPECT_EQ(Seen(), (Exchanges{{kBusinessPasswordPath, 200}}));
    EXPECT_EQ(SessionOf(*client), "signed in, 2");
    EXPECT_EQ(RightOfToken(), "business-300007 2");
    EXPECT_EQ(AskWhoIsSignedIn(), "Bella");

    registry::AuthState state{"former", "former", "former", 7, "former"};
    EXPECT_EQ(client->GetAuthState(state), ResultCode::kSuccess);
    EXPECT_EQ(state.tokenType, "Bearer");
    EXPECT_EQ(state.accessToken, client->token.text);
    EXPECT_EQ(state.identitySecret, "");
    EXPECT_EQ(state.contextMode, 7u) << "a business has no contexts";
    EXPECT_EQ(state.contextId, "former");
}

TEST_F(BusinessRoad, RefusalsAreTheirCodes) {
    static const struct {
        const char* name;
        const char* login;
        const char* password;
        int status;
        std::uint32_t expected;
    } rows[] = {
        {"a wrong password", "bella.business@example.test", "wrong", 401, 0x82000006},
        {"no password", "bella.business@example.test", "", 400, 0x82000004},
        {"an unknown login", "nobody@example.test", "Amber-Wharf-7", 401, 0x82000006},
        {"a customer", "anna.plain@example.test", "Sunny-Harbour-1", 401, 0x82000006},
        {"an administrator", "ada.admin@example.test", "Iron-Compass-9", 401, 0x82000006},
        {"blocked", "boris.business@example.test", "Velvet-Tunnel-8", 403, 0x82000007},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_EQ(SignIn("business"), ResultCode::kSuccess);
        Seen();
        EXPECT_EQ(client->Authorize(row.login, row.password, &errorInfo, context), test::Code(row.expected));
        EXPECT_EQ(errorInfo.resultCode, row.expected);
        EXPECT_EQ(Seen(), (Exchanges{{kBusinessPasswordPath, row.status}}));
        EXPECT_EQ(SessionOf(*client), kNobody);
    }
}

TEST_F(BusinessRoad, FiveWrongPasswordsLockTheAccountForAWhile) {
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(SignIn("business", "wrong"), ResultCode::kInvalidLoginOrPassword);
    EXPECT_EQ(SignIn("business"), ResultCode::kTemporarilyLocked);
    EXPECT_EQ(SessionOf(*client), kNobody);
    service.advance(300);
    EXPECT_EQ(SignIn("business"), ResultCode::kSuccess);
}

TEST_F(BusinessRoad, CodeFlow) {
    const Exchanges signIn = {{kBusinessCodePath, 200}};
    const Exchanges signUp = {{kDynamicContextPath, 204}, {kBusinessCodePath, 200}};
    const struct {
        const char* name;
        const char* code;
        std::uint32_t flow;
        std::uint32_t expected;
        Exchanges road;
    } rows[] = {
        {"0, linked", "gp-code-business-8", 0, 0, signIn},
        {"0, a newcomer", "mi-code-business-10", 0, 0x8200000E, {{kBusinessCodePath, 404}}},
        {"0, blocked", "gp-code-business-9", 0, 0x82000007, {{kBusinessCodePath, 403}}},
        {"0, a customer", "gp-code-linked-1", 0, 0x8200000E, {{kBusinessCodePath, 404}}},
        {"0, an e-mail address with an account",
         "mi-code-owner-5",
         0,
         0x82000007,
         {{kBusinessCodePath, 403}}},
        {"0, an unknown code", "mi-code-unknown", 0, 0x82000002, {{kBusinessCodePath, 401}}},

        {"1, linked", "gp-code-business-8", 1, 0, signUp},
        {"1, a newcomer", "mi-code-business-10", 1, 0, signUp},
        {"1, blocked",
         "gp-code-business-9",
         1,
         0x82000007,
         {{kDynamicContextPath, 204}, {kBusinessCodePath, 403}}},
        {"1, a customer", "gp-code-linked-1", 1, 0x82000007, {{kDynamicContextPath, 403}}},
        {"1, an e-mail address with an account",
         "mi-code-owner-5",
         1,
         0x82000007,
         {{kDynamicContextPath, 403}}},
        {"1, an unknown code", "mi-code-unknown", 1, 0x82000004, {{kDynamicContextPath, 401}}},

        {"2, linked", "gp-code-business-8", 2, 0, signIn},
        {"2, a newcomer", "mi-code-business-10", 2, 0x8200000E, {{kBusinessCodePath, 404}}},
        {"the highest number is as 0", "gp-code-business-8", 0xFFFFFFFF, 0, signIn},
        {"0, no code", "", 0, 0x80000002, {}},
        {"1, no code", "", 1, 0x80000002, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        service.service().reset();
        client->ResetAuthState();
        EXPECT_EQ(ByCode(row.code, row.flow), test::Code(row.expected));
        EXPECT_EQ(Seen(), row.road);
        EXPECT_EQ(SessionOf(*client), row.expected == 0 ? "signed in, 2" : kNobody);
    }
    EXPECT_TRUE(keys.empty()) << "no request of a business has a key";
    EXPECT_FALSE(IsKeyFileThere());
}

TEST_F(BusinessRoad, ANewcomerBecomesABusinessOnce) {
    ASSERT_EQ(ByCode("mi-code-business-10", 1), ResultCode::kSuccess);
    const std::string userId = Text(client->token.userId);
    EXPECT_EQ(AskWhoIsSignedIn(), "Kit");
    EXPECT_EQ(ByCode("mi-code-business-10", 0), ResultCode::kAuthorizationDenied) << "the code is used up";
    EXPECT_EQ(SessionOf(*client), kNobody);
    for (const std::uint32_t flow : {0u, 1u}) {
        EXPECT_EQ(ByCode(service.socialCode("business-newcomer"), flow), ResultCode::kSuccess);
        EXPECT_EQ(Text(client->token.userId), userId);
    }
    EXPECT_EQ(service.signUpOf("business-newcomer").made, 1);
    EXPECT_EQ(service.signUpOf("business-newcomer").kind, "business");
}

TEST_F(BusinessRoad, TheBusinessContextBelongsToOneCode) {
    AnswerWith(500, "/api/business/registry/v2/tokens/external");
    EXPECT_EQ(ByCode("mi-code-business-10", 1), ResultCode::kInternalServiceError);
    EXPECT_EQ(SessionOf(*client), kNobody);
    EXPECT_EQ(ByCode(service.socialCode("business-newcomer"), 0), ResultCode::kNotFound);
    EXPECT_EQ(ByCode("mi-code-business-10", 0), ResultCode::kSuccess);
}

TEST_F(BusinessRoad, AnIdentityRenewsTheSessionAtTheEndpointOfBusinesses) {
    ASSERT_EQ(SignIn("business"), ResultCode::kSuccess);
    Seen();
    ASSERT_EQ(client->ObtainIdentitySecret("", "", &errorInfo, context), ResultCode::kSuccess);
    EXPECT_EQ(Seen(),
              (Exchanges{{kIdentitiesPath, 200}, {kNewIdentityPath, 200}, {kIdentityTokenPath, 200}}));
    EXPECT_EQ(SessionOf(*client), "signed in, with a secret, 2");
    const std::string secret = Text(client->identitySecret);
    const std::string token = Text(client->token.text);

    service.service().expireTokens();
    EXPECT_EQ(AskWhoIsSignedIn(), "Bella");
    EXPECT_EQ(Seen(), (Exchanges{{kUserPath, 401}, {kBusinessIdentityPath, 200}, {kUserPath, 200}}));
    EXPECT_NE(Text(client->token.text), token);
    EXPECT_EQ(bearers.back(), "Bearer " + Text(client->token.text));
    EXPECT_EQ(RightOfToken(), "business-300007 2") << "the identity's, made of the former token's";
    EXPECT_EQ(Text(client->identitySecret), secret);
    EXPECT_EQ(SessionOf(*client), "signed in, with a secret, 2");

    const auto restored = Started<test::BusinessClient>();
    EXPECT_EQ(restored->ReauthorizeViaIdentity(Text(secret), 2, "", &errorInfo, context),
              ResultCode::kSuccess);
    EXPECT_EQ(Seen(), (Exchanges{{kBusinessIdentityPath, 200}}));
    EXPECT_EQ(SessionOf(*restored), "signed in, with a secret, 2");
}

TEST_F(BusinessRoad, ARefusedIdentityEndsInTheRefusal) {
    ASSERT_EQ(SignIn("business"), ResultCode::kSuccess);
    ASSERT_EQ(client->ObtainIdentitySecret("", "60", &errorInfo, context), ResultCode::kSuccess);
    service.advance(60);
    service.service().expireTokens();
    Seen();
    EXPECT_EQ(AskWhoIsSignedIn(), GetErrorText(ResultCode::kAuthorizationDenied));
    EXPECT_EQ(Seen(), (Exchanges{{kUserPath, 401}, {kBusinessIdentityPath, 401}}));
    EXPECT_EQ(SessionOf(*client), "signed in, with a secret, 2") << "for the host to end";
}

class AdministratorRoad : public AccountRoad<test::AdministratorClient> {};

TEST_F(AdministratorRoad, SignsInByPassword) {
    ASSERT_EQ(SignIn("administrator"), ResultCode::kSuccess);
    EXPECT_EQ(Seen(), (Exchanges{{kAdministratorPath, 200}}));
    EXPECT_EQ(SessionOf(*client), "signed in, 2");
    EXPECT_EQ(RightOfToken(), "administration 2");
    EXPECT_EQ(AskWhoIsSignedIn(), "Ada");

    registry::AuthState state{"former", "former", "former", 1, "former"};
    EXPECT_EQ(client->GetAuthState(state), ResultCode::kSuccess);
    EXPECT_EQ(state.tokenType, "Bearer");
    EXPECT_EQ(state.accessToken, client->token.text);
    EXPECT_EQ(state.identitySecret, "");
    EXPECT_EQ(state.contextMode, 2u);
    EXPECT_EQ(state.contextId, "");
}

TEST_F(AdministratorRoad, RefusalsAreTheirCodes) {
    static const struct {
        const char* name;
        const char* email;
        const char* password;
        int status;
        std::uint32_t expected;
    } rows[] = {
        {"a wrong password", "ada.admin@example.test", "wrong", 401, 0x82000006},
        {"no address", "", "Iron-Compass-9", 400, 0x82000004},
        {"an unknown address", "nobody@example.test", "Iron-Compass-9", 401, 0x82000006},
        {"a business", "bella.business@example.test", "Amber-Wharf-7", 401, 0x82000006},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_EQ(SignIn("administrator"), ResultCode::kSuccess);
        Seen();
        EXPECT_EQ(client->Authorize(row.email, row.password, &errorInfo, context), test::Code(row.expected));
        EXPECT_EQ(Seen(), (Exchanges{{kAdministratorPath, row.status}}));
        EXPECT_EQ(SessionOf(*client), kNobody);
    }
}

TEST_F(AdministratorRoad, TheStateOfTheAccountDecides) {
    using sandbox::AccountState;
    static const struct {
        AccountState state;
        std::uint32_t expected;
    } rows[] = {
        {AccountState::unverified, 0x82000007},
        {AccountState::blocked, 0x82000007},
        {AccountState::locked, 0x82000010},
        {AccountState::failing, 0x82000003},
        {AccountState::active, 0},
    };
    for (const auto& row : rows) {
        ASSERT_TRUE(service.service().setAccountState("ada.admin@example.test", row.state));
        EXPECT_EQ(SignIn("administrator"), test::Code(row.expected));
    }
}

TEST_F(AdministratorRoad, AnExpiredSessionCanNotBeRenewed) {
    ASSERT_EQ(SignIn("administrator"), ResultCode::kSuccess);
    const std::string token = Text(client->token.text);
    service.advance(901);
    Seen();
    EXPECT_EQ(AskWhoIsSignedIn(), GetErrorText(ResultCode::kAuthorizationDenied));
    EXPECT_EQ(Seen(), (Exchanges{{kUserPath, 401}}));
    EXPECT_EQ(SessionOf(*client), "signed in, 2");
    EXPECT_EQ(Text(client->token.text), token);
}

TEST_F(AdministratorRoad, WhatIsNotForAdministratorsIsRefused) {
    ASSERT_EQ(SignIn("administrator"), ResultCode::kSuccess);
    Seen();
    EXPECT_EQ(client->ObtainIdentitySecret("", "", &errorInfo, context), ResultCode::kCompatibilityBroken);
    portable_stl::vector<registry::TrustRecord> records;
    EXPECT_EQ(client->GetTrustRecords(records, &errorInfo, context), ResultCode::kEmailUnverifiedOrBlocked);
    EXPECT_EQ(Seen(), (Exchanges{{kIdentitiesPath, 403}, {kTrustsPath, 403}}));
    EXPECT_EQ(SessionOf(*client), "signed in, 2");
    EXPECT_EQ(client->identitySecret, "");
}

}  // namespace
