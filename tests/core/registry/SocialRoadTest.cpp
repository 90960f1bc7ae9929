// Customers who come by a social provider: over the real transport, with each exchange that the service saw.
#include <functional>

#include "tests/core/registry/RoadFixture.h"

namespace {

using test::Exchanges;
using test::kCodeSignInPath;
using test::kFinalizeCodePath;
using test::kFinalizeTokenPath;
using test::kGlowpassPath;
using test::kMapleIdPath;
using test::kNobody;
using test::kOwnContextPath;
using test::kTrustPath;
using test::kTrustsPath;
using test::kUserPath;
using test::Lines;
using test::SessionOf;
using test::Text;

using SocialRoad = test::SocialRoadFixture;

// The token's exchange, and all that follows it for a customer with an own context and no trusts.
Exchanges SignedInBy(Exchanges road) {
    road.push_back({kTrustsPath, 200});
    road.push_back({kOwnContextPath, 200});
    return road;
}

TEST_F(SocialRoad, TokenFlow) {
    const struct {
        const char* name;
        const char* person;
        std::uint32_t expected;
        Exchanges road;
        const char* session;
        const char* signUp;  // accounts made, finalisations, keys
    } rows[] = {
        {"linked", "linked", 0, SignedInBy({{kGlowpassPath, 200}}), "signed in, 0", "0, 0, 0"},
        {"a newcomer signs up on the way", "newcomer", 0,
         SignedInBy({{kGlowpassPath, 404}, {kFinalizeTokenPath, 204}, {kGlowpassPath, 200}}), "signed in, 0",
         "1, 1, 1"},
        {"a newcomer of the other provider", "newcomer-too", 0,
         SignedInBy({{kMapleIdPath, 404}, {kFinalizeTokenPath, 204}, {kMapleIdPath, 200}}), "signed in, 0",
         "1, 1, 1"},
        {"several contexts", "linked-several", 0x8200000B, SignedInBy({{kMapleIdPath, 200}}), "signed in, 2",
         "0, 0, 0"},
        {"his e-mail address has an account",
         "password-owner",
         0x82000008,
         {{kMapleIdPath, 403}},
         kNobody,
         "0, 0, 0"},
        {"linked elsewhere", "linked-elsewhere", 0x82000009, {{kMapleIdPath, 409}}, kNobody, "0, 0, 0"},
        {"linked to a business", "business-linked", 0x82000009, {{kGlowpassPath, 409}}, kNobody, "0, 0, 0"},
        {"linked to a blocked account",
         "linked-blocked",
         0x82000008,
         {{kGlowpassPath, 403}},
         kNobody,
         "0, 0, 0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        BeginAnew();
        EXPECT_EQ(ByToken(row.person), test::Code(row.expected));
        EXPECT_EQ(Seen(), row.road);
        EXPECT_EQ(SessionOf(*client), row.session);
        EXPECT_EQ(SignUpOf(row.person), row.signUp);
        const bool hasFinalized = std::string(row.signUp) != "0, 0, 0";
        EXPECT_EQ(IsKeyFileThere(), hasFinalized);
        EXPECT_EQ(keys.size(), hasFinalized ? 1u : 0u);
    }
}

TEST_F(SocialRoad, TokenFlowRefusesWhatNobodyVouchesFor) {
    const struct {
        const char* name;
        const char* provider;
        const char* accessToken;
        std::uint32_t expected;
        Exchanges road;
    } rows[] = {
        {"an unknown token", "glowpass", "gp-unknown", 0x82000002, {{kGlowpassPath, 401}}},
        {"a token of the other provider", "maple-id", "gp-newcomer-6", 0x82000002, {{kMapleIdPath, 401}}},
        {"an unknown provider",
         "acme",
         "gp-newcomer-6",
         0x8200000E,
         {{"GET /api/registry/v2/oauth/sign-in/acme?access_token=***", 404}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        BeginAnew();
        EXPECT_EQ(client->AuthorizeSocialToken(row.provider, row.accessToken, &errorInfo, context),
                  test::Code(row.expected));
        EXPECT_EQ(errorInfo.resultCode, row.expected);
        EXPECT_EQ(errorInfo.httpCode, static_cast<std::uint32_t>(row.road[0].status));
        EXPECT_EQ(Seen(), row.road);
        EXPECT_EQ(SessionOf(*client), kNobody);
    }
    EXPECT_TRUE(service.service().signUps().empty());
}

TEST_F(SocialRoad, WithoutArgumentsNothingIsSentAndTheSessionStays) {
    ASSERT_EQ(ByToken("linked"), ResultCode::kSuccess);
    const std::string token = Text(client->token.text);
    Seen();
    EXPECT_EQ(client->AuthorizeSocialToken("", "gp-linked-1/Qx+7==", "trial", &errorInfo, context),
              ResultCode::kInvalidParameters);
    EXPECT_EQ(client->AuthorizeSocialToken("glowpass", "", &errorInfo, context),
              ResultCode::kInvalidParameters);
    EXPECT_EQ(ByCode("", 0), ResultCode::kInvalidParameters);
    EXPECT_EQ(ByCode("", 1), ResultCode::kInvalidParameters);
    EXPECT_EQ(Seen(), Exchanges{});
    EXPECT_EQ(SessionOf(*client), "signed in, 0");
    EXPECT_EQ(Text(client->token.text), token);
}

TEST_F(SocialRoad, CodeFlow) {
    const Exchanges signIn = SignedInBy({{kCodeSignInPath, 200}});
    const struct {
        const char* name;
        const char* person;
        std::uint32_t flow;
        std::uint32_t expected;
        Exchanges road;
        const char* session;
        const char* signUp;
    } rows[] = {
        {"0, linked", "linked", 0, 0, signIn, "signed in, 0", "0, 0, 0"},
        {"0, several contexts", "linked-several", 0, 0x8200000B, signIn, "signed in, 2", "0, 0, 0"},
        {"0, a newcomer", "newcomer", 0, 0x8200000E, {{kCodeSignInPath, 404}}, kNobody, "0, 0, 0"},
        {"0, an e-mail address with an account",
         "password-owner",
         0,
         0x82000008,
         {{kCodeSignInPath, 403}},
         kNobody,
         "0, 0, 0"},
        {"0, linked elsewhere",
         "linked-elsewhere",
         0,
         0x82000009,
         {{kCodeSignInPath, 409}},
         kNobody,
         "0, 0, 0"},
        {"0, blocked", "linked-blocked", 0, 0x82000008, {{kCodeSignInPath, 403}}, kNobody, "0, 0, 0"},

        {"1, a newcomer", "newcomer", 1, 0, SignedInBy({{kFinalizeCodePath, 204}, {kCodeSignInPath, 200}}),
         "signed in, 0", "1, 1, 1"},
        {"1, linked", "linked", 1, 0x82000007, {{kFinalizeCodePath, 403}}, kNobody, "0, 1, 1"},
        {"1, an e-mail address with an account",
         "password-owner",
         1,
         0x82000007,
         {{kFinalizeCodePath, 403}},
         kNobody,
         "0, 1, 1"},
        {"1, linked elsewhere",
         "linked-elsewhere",
         1,
         0x82000007,
         {{kFinalizeCodePath, 403}},
         kNobody,
         "0, 1, 1"},

        {"2, linked", "linked", 2, 0, signIn, "signed in, 0", "0, 0, 0"},
        {"2, a newcomer", "newcomer", 2, 0x8200000E, {{kCodeSignInPath, 404}}, kNobody, "0, 0, 0"},
        {"3 is as 0", "linked", 3, 0, signIn, "signed in, 0", "0, 0, 0"},
        {"the highest number is as 0",
         "newcomer",
         0xFFFFFFFF,
         0x8200000E,
         {{kCodeSignInPath, 404}},
         kNobody,
         "0, 0, 0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        BeginAnew();
        EXPECT_EQ(ByCode(service.person(row.person).code, row.flow), test::Code(row.expected));
        EXPECT_EQ(Seen(), row.road);
        EXPECT_EQ(SessionOf(*client), row.session);
        EXPECT_EQ(SignUpOf(row.person), row.signUp);
    }
}

TEST_F(SocialRoad, ACodeThatIsNoneIsRefusedByItsRequest) {
    const struct {
        std::uint32_t flow;
        std::uint32_t expected;
        Exchanges road;
    } rows[] = {
        {0, 0x82000002, {{kCodeSignInPath, 401}}},
        {1, 0x82000006, {{kFinalizeCodePath, 401}}},
        {2, 0x82000002, {{kCodeSignInPath, 401}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.flow);
        EXPECT_EQ(ByCode("gp-code-unknown", row.flow), test::Code(row.expected));
        EXPECT_EQ(Seen(), row.road);
        EXPECT_EQ(SessionOf(*client), kNobody);
    }
}

TEST_F(SocialRoad, ACodeIsGoodForOneSignIn) {
    ASSERT_EQ(ByCode("gp-code-linked-1", 0), ResultCode::kSuccess);
    Seen();
    EXPECT_EQ(ByCode("gp-code-linked-1", 0), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(Seen(), (Exchanges{{kCodeSignInPath, 401}}));
    EXPECT_EQ(SessionOf(*client), kNobody) << "the former session has ended at the beginning";
    EXPECT_EQ(ByCode(service.socialCode("linked"), 0), ResultCode::kSuccess);
}

TEST_F(SocialRoad, ARefusedSignUpLeavesTheCodeForASignIn) {
    EXPECT_EQ(ByCode("gp-code-linked-1", 1), ResultCode::kEmailUnverifiedOrBlocked);
    EXPECT_EQ(ByCode("gp-code-linked-1", 0), ResultCode::kSuccess);
    EXPECT_EQ(ByCode("gp-code-newcomer-6", 0), ResultCode::kNotFound);
    EXPECT_EQ(ByCode("gp-code-newcomer-6", 1), ResultCode::kSuccess);
}

TEST_F(SocialRoad, WhoHasSignedUpSignsInEverAfter) {
    ASSERT_EQ(ByToken("newcomer"), ResultCode::kSuccess);
    const std::string id = Text(client->token.userId);
    for (const char* const host : {"the same host", "a host that begins anew"}) {
        SCOPED_TRACE(host);
        Seen();
        EXPECT_EQ(ByToken("newcomer"), ResultCode::kSuccess);
        EXPECT_EQ(Seen(), SignedInBy({{kGlowpassPath, 200}}));
        EXPECT_EQ(ByCode(service.socialCode("newcomer"), 0), ResultCode::kSuccess);
        EXPECT_EQ(Seen(), SignedInBy({{kCodeSignInPath, 200}}));
        EXPECT_EQ(Text(client->token.userId), id);
        EXPECT_FALSE(id.empty());
        Restart();
    }
    EXPECT_EQ(SignUpOf("newcomer"), "1, 1, 1");
}

TEST_F(SocialRoad, TheCauseOfASignUpReachesTheService) {
    const struct {
        const char* name;
        std::function<ResultCode()> signUp;
        const char* cause;
    } rows[] = {
        {"by token", [this] { return ByToken("newcomer", "a \"gift\" \\ of\nours"); },
         "a \"gift\" \\ of\nours"},
        {"by token, none",
         [this] { return client->AuthorizeSocialToken("glowpass", "gp-newcomer-6", &errorInfo, context); },
         ""},
        {"by code", [this] { return ByCode("gp-code-newcomer-6", 1, "trial"); }, "trial"},
        {"by code, none",
         [this] { return client->AuthorizeSocialCode("gp-code-newcomer-6", 1, &errorInfo, context); }, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        BeginAnew();
        EXPECT_EQ(row.signUp(), ResultCode::kSuccess);
        EXPECT_EQ(service.signUpOf("newcomer").cause, row.cause);
        EXPECT_EQ(service.signUpOf("newcomer").kind, "customer");
    }
}

TEST_F(SocialRoad, OneOfSeveralContextsIsChosen) {
    ASSERT_EQ(ByToken("linked-several"), ResultCode::kTooManyContexts);
    Seen();
    portable_stl::vector<registry::ContextEntry> contexts;
    ASSERT_EQ(client->GetContexts(contexts, &errorInfo, context), ResultCode::kSuccess);
    EXPECT_EQ(Seen(), (Exchanges{{kTrustsPath, 200}, {kUserPath, 200}}));
    Lines listed;
    for (const auto& entry : contexts)
        listed.push_back(std::to_string(entry.kind) + " " + Text(entry.id) + " " + Text(entry.name));
    EXPECT_EQ(listed, (Lines{"0 7c1d0b52-0004-4a6e-9d10-000000000004 Nina Vandermeer",
                             "1 org-harrow Harrow Shipping", "1 org-tilden Tilden & S\xc3\xb6hne"}));

    EXPECT_EQ(client->SelectContext(1, "org-unknown", &errorInfo, context), ResultCode::kNotFound);
    EXPECT_EQ(SessionOf(*client), "signed in, 2");
    EXPECT_EQ(client->SelectContext(1, "org-harrow", &errorInfo, context), ResultCode::kSuccess);
    EXPECT_EQ(SessionOf(*client), "signed in, 1 org-harrow");
    ASSERT_EQ(client->token.rights.size(), 1u);
    EXPECT_EQ(client->token.rights[0].space, "organization-org-harrow");
    EXPECT_EQ(client->SelectContext(0, "", &errorInfo, context), ResultCode::kSuccess);
    EXPECT_EQ(SessionOf(*client), "signed in, 0");
    EXPECT_EQ(client->token.customerNumber, "100004");
    EXPECT_EQ(Seen(), (Exchanges{{kTrustPath, 404}, {kTrustPath, 200}, {kOwnContextPath, 200}}));
}

TEST_F(SocialRoad, TheStateOfTheAccountDecides) {
    using sandbox::AccountState;
    static const struct {
        const char* name;
        AccountState state;
        int status;
        std::uint32_t expected;
        const char* errorCode;
    } rows[] = {
        {"unverified", AccountState::unverified, 403, 0x82000008, "EMAIL_NOT_VERIFIED"},
        {"blocked", AccountState::blocked, 403, 0x82000008, "ACCOUNT_BLOCKED"},
        {"locked", AccountState::locked, 423, 0x82000010, "ACCOUNT_LOCKED"},
        {"failing", AccountState::failing, 500, 0x82000003, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        BeginAnew();
        ASSERT_TRUE(service.service().setAccountState("anna.plain@example.test", row.state));
        EXPECT_EQ(ByToken("linked"), test::Code(row.expected));
        EXPECT_EQ(errorInfo.errorCode, row.errorCode);
        EXPECT_EQ(ByCode("gp-code-linked-1", 0), test::Code(row.expected));
        EXPECT_EQ(Seen(), (Exchanges{{kGlowpassPath, row.status}, {kCodeSignInPath, row.status}}));
        EXPECT_EQ(SessionOf(*client), kNobody);
        ASSERT_TRUE(service.service().setAccountState("anna.plain@example.test", AccountState::active));
        EXPECT_EQ(ByCode("gp-code-linked-1", 0), ResultCode::kSuccess);
    }
}

// The service says so once too often: no third request follows, and the refusal holds no token.
TEST_F(SocialRoad, ASignUpThatIsWantedTwiceIsNotBelieved) {
    AnswerWith(404, "/api/registry/v2/oauth/sign-in/glowpass", 2,
               R"({"status":404,"errorCode":"SIGN_UP_REQUIRED"})");
    EXPECT_EQ(ByToken("newcomer"), ResultCode::kCompatibilityBroken);
    EXPECT_EQ(Seen(), (Exchanges{{kGlowpassPath, 404},
                                 {kFinalizeTokenPath, 204},
                                 {kGlowpassPath, 404},
                                 {kFinalizeTokenPath, 204}}));
    EXPECT_EQ(SessionOf(*client), kNobody);
    EXPECT_EQ(SignUpOf("newcomer"), "1, 2, 1");
    EXPECT_EQ(ByToken("newcomer"), ResultCode::kSuccess);
}

}  // namespace
