#include "tests/core/registry/CustomerSignInFixture.h"

namespace {

using test::Code;
using test::Lines;
using test::Text;

constexpr char kChallenge[] =
    R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":"ch-1"}})";

class CustomerSignIn : public test::CustomerSignInFixture {
protected:
    ResultCode SignIn() { return client.Authorize("me@x.org", "pass", &errorInfo, context); }
    ResultCode Confirm(const char* challenge = "ch-1", const char* code = "123456") {
        return client.AuthorizeSecondFactor(challenge, code, &errorInfo, context);
    }
};

// --- Authorize, as far as its own request

TEST_F(CustomerSignIn, SendsThePasswordWithoutASession) {
    Script({{401, ""}});
    EXPECT_EQ(SignIn(), ResultCode::kInvalidLoginOrPassword);
    EXPECT_EQ(Requested(), (Lines{test::kPasswordPath}));
    EXPECT_EQ(LastRequest().body, R"({"login":"me@x.org","password":"pass"})");
    EXPECT_EQ(LastRequest().Header("Authorization"), "(none)");
    EXPECT_EQ(LastRequest().Header("x-vqm-custom"), "vqm-client");
}

TEST_F(CustomerSignIn, ARefusedPasswordLeavesTheStateReset) {
    const struct {
        const char* name;
        test::ServiceAnswer answer;
        std::uint32_t expected;
    } rows[] = {
        {"400", {400, ""}, 0x82000004},
        {"401 never renews", {401, ""}, 0x82000006},
        {"403", {403, ""}, 0x82000007},
        {"404", {404, ""}, 0x8200000E},
        {"409", {409, ""}, 0x82000004},
        {"423", {423, ""}, 0x82000010},
        {"429", {429, ""}, 0x8200000D},
        {"429 locked for a while",
         {429, R"({"status":429,"errorCode":"ACCOUNT_LOCKED_TRY_AGAIN"})"},
         0x8200000F},
        {"500", {500, ""}, 0x82000003},
        {"503", {503, ""}, 0x8000000C},
        {"204 is no success", {204, ""}, 0x82000004},
        {"network", {0x81000006, ""}, 0x80000006},
        {"time-out", {0x81000014, ""}, 0x81000014},
        {"success without a token", {200, R"({"token":"x"})"}, 0x82000004},
        {"success without JSON", {200, "<html></html>"}, 0x82000004},
        {"success without a body", {200, ""}, 0x82000004},
        {"a sign-up that is not finished",
         {418, R"({"status":404,"errorCode":"SIGN_UP_REQUIRED"})"},
         0x82000011},
    };
    for (const auto& row : rows) {
        RememberOldSession();
        RememberOldRefusal();
        Script({row.answer});
        EXPECT_EQ(SignIn(), Code(row.expected)) << row.name;
        EXPECT_EQ(Requested(), (Lines{test::kPasswordPath})) << row.name;
        EXPECT_EQ(State(), test::ResetSession("old.e30.sig")) << row.name;
        EXPECT_EQ(Record(), test::RecordedBy(row.answer, row.expected)) << row.name;
    }
}

TEST_F(CustomerSignIn, ASecondFactorNeedsItsChallenge) {
    const struct {
        const char* name;
        std::uint32_t status;
        std::uint32_t expected;
        std::string body;
    } rows[] = {
        {"with a challenge", 403, 0x82000012, kChallenge},
        {"the argument in another case", 403, 0x82000012,
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","ErrorArgs":{"CHALLENGETOKEN":"c"}})"},
        {"behind other arguments", 403, 0x82000012,
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"a":"b","challengeToken":"c"}})"},
        {"by a status that goes to the body", 409, 0x82000012, kChallenge},
        {"no errorArgs", 403, 0x82000007, R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED"})"},
        {"empty errorArgs", 403, 0x82000007,
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{}})"},
        {"an empty challenge", 403, 0x82000007,
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":""}})"},
        {"another argument", 403, 0x82000007,
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challenge":"c"}})"},
    };
    for (const auto& row : rows) {
        Script({{row.status, row.body}});
        EXPECT_EQ(SignIn(), Code(row.expected)) << row.name;
        EXPECT_EQ(Requested(), (Lines{test::kPasswordPath})) << row.name;
        EXPECT_EQ(errorInfo.resultCode, 0x82000012u) << row.name << ": what the request chose";
        EXPECT_EQ(errorInfo.httpCode, row.status) << row.name;
        EXPECT_EQ(State(), test::ResetSession("old.e30.sig")) << row.name;
    }
}

TEST_F(CustomerSignIn, AFormerChallengeDoesNotCount) {
    Script({{403, kChallenge}, {403, R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED"})"}});
    EXPECT_EQ(SignIn(), ResultCode::kSecondFactorRequired);
    EXPECT_EQ(SignIn(), ResultCode::kEmailUnverifiedOrBlocked);
}

// --- AuthorizeSecondFactor

TEST_F(CustomerSignIn, TheSecondFactorNeedsBothTexts) {
    EXPECT_EQ(Confirm("", "123456"), ResultCode::kInvalidParameters);
    EXPECT_EQ(Confirm("ch-1", ""), ResultCode::kInvalidParameters);
    EXPECT_TRUE(platform.requests.empty());
    EXPECT_EQ(State(), test::kOldSession);
}

TEST_F(CustomerSignIn, ARefusedSecondFactorResetsNothing) {
    const struct {
        const char* name;
        test::ServiceAnswer answer;
        std::uint32_t expected;
        test::Recorded recorded;
    } rows[] = {
        {"a wrong code",
         {401, R"({"status":401,"errorCode":"CODE_VERIFICATION_FAILED"})"},
         0x82000013,
         {0x82000013, 401}},
        {"401 without a reason never renews", {401, ""}, 0x82000002, {0x82000002, 401}},
        {"400 is never a wrong code",
         {400, R"({"status":400,"errorCode":"CODE_VERIFICATION_FAILED"})"},
         0x82000004,
         {0x82000004, 400}},
        {"403", {403, ""}, 0x82000007, {0x82000007, 403}},
        {"network", {0x81000006, ""}, 0x80000006, test::kOldRefusal},
        {"time-out", {0x81000014, ""}, 0x81000014, test::kOldRefusal},
        {"success without a token", {200, "[]"}, 0x82000004, test::kOldRefusal},
    };
    for (const auto& row : rows) {
        RememberOldRefusal();
        Script({row.answer});
        EXPECT_EQ(Confirm(), Code(row.expected)) << row.name;
        EXPECT_EQ(Record(), row.recorded) << row.name;
        EXPECT_EQ(Requested(), (Lines{test::kSecondFactorPath})) << row.name;
        EXPECT_EQ(LastRequest().body, R"({"challengeToken":"ch-1","code":"123456"})") << row.name;
        EXPECT_EQ(LastRequest().Header("Authorization"), "(none)") << row.name;
        EXPECT_EQ(State(), test::kOldSession) << row.name;
    }
}

TEST_F(CustomerSignIn, TheWholeRoadWithASecondFactor) {
    Script({{403, kChallenge},
            {200, test::TokenBody("second.e30.sig")},
            {200, "[]"},
            {200, test::TokenBody("own.e30.sig")}});
    EXPECT_EQ(SignIn(), ResultCode::kSecondFactorRequired);
    EXPECT_EQ(Confirm(), ResultCode::kSuccess);
    EXPECT_EQ(Requested(), (Lines{test::kPasswordPath, test::kSecondFactorPath, test::kTrustsPath,
                                  test::kOwnContextPath}));
    EXPECT_EQ(platform.requests[2].Header("Authorization"), "Bearer second.e30.sig");
    EXPECT_EQ(State(), "own.e30.sig, 1, , 0, ");
}

// --- the common end

TEST_F(CustomerSignIn, EveryEndAfterThePassword) {
    ExpectEveryEnding(
        {test::kPasswordPath}, {{200, test::TokenBody("first.e30.sig")}}, test::kOldRefusal,
        [this] { RememberOldSession(); }, [this] { return SignIn(); });
}

TEST_F(CustomerSignIn, EveryEndAfterTheSecondFactor) {
    ExpectEveryEnding(
        {test::kSecondFactorPath}, {{200, test::TokenBody("first.e30.sig")}}, test::kOldRefusal,
        [this] { client.ResetAuthState(); }, [this] { return Confirm(); });
}

TEST_F(CustomerSignIn, TheEndSetsTheModeAndNeverClearsTheId) {
    Script({{200, test::TokenBody("first.e30.sig")}, {200, "[]"}, {200, test::TokenBody("own.e30.sig")}});
    EXPECT_EQ(Confirm(), ResultCode::kSuccess);
    EXPECT_EQ(State(), "own.e30.sig, 1, old secret, 0, old org") << "the second factor alone resets nothing";
}

TEST_F(CustomerSignIn, AFailedEndBehindTheSecondFactorEndsTheFormerSessionToo) {
    Script({{200, test::TokenBody("first.e30.sig")}, {403}});
    EXPECT_EQ(Confirm(), ResultCode::kEmailUnverifiedOrBlocked);
    EXPECT_EQ(State(), test::ResetSession("first.e30.sig"));
}

TEST_F(CustomerSignIn, BehindTheSecondFactorTheFormerSecretRenews) {
    Script({{200, test::TokenBody("first.e30.sig")},
            {401},
            {200, test::TokenBody("identity.e30.sig")},
            {200, test::TokenBody("context.e30.sig")},
            {200, "[]"},
            {200, test::TokenBody("own.e30.sig")}});
    EXPECT_EQ(Confirm(), ResultCode::kSuccess);
    EXPECT_EQ(Requested(), (Lines{test::kSecondFactorPath, test::kTrustsPath, test::kIdentitySignInPath,
                                  test::kTrustPath, test::kTrustsPath, test::kOwnContextPath}));
    EXPECT_EQ(platform.requests[2].body, R"({"secretKey":"old secret"})");
    EXPECT_EQ(platform.requests[4].Header("Authorization"), "Bearer context.e30.sig");
    EXPECT_EQ(State(), "own.e30.sig, 1, old secret, 0, old org");
}

TEST_F(CustomerSignIn, EmptyTextsAreTheServicesToJudge) {
    Script({{401}});
    EXPECT_EQ(client.Authorize("", "", &errorInfo, context), ResultCode::kInvalidLoginOrPassword);
    EXPECT_EQ(LastRequest().body, R"({"login":"","password":""})");
}

TEST_F(CustomerSignIn, AChoiceFollowsTooManyContexts) {
    Script({{200, test::TokenBody("first.e30.sig")},
            {200, test::kOneTrust},
            {200, test::TokenBody("own.e30.sig")},
            {200, test::kOneTrust},
            {200, R"({"id":"me","firstName":"A","lastName":"B"})"},
            {200, test::TokenBody("trust.e30.sig")}});
    EXPECT_EQ(SignIn(), ResultCode::kTooManyContexts);
    portable_stl::vector<registry::ContextEntry> contexts;
    EXPECT_EQ(client.GetContexts(contexts, &errorInfo, context), ResultCode::kSuccess);
    ASSERT_EQ(contexts.size(), 2u);
    EXPECT_EQ(contexts[0].kind, 0u);
    EXPECT_EQ(contexts[1].kind, 1u);
    EXPECT_EQ(client.SelectContext(1, contexts[1].id, &errorInfo, context), ResultCode::kSuccess);
    EXPECT_EQ(Requested(), (Lines{test::kPasswordPath, test::kTrustsPath, test::kOwnContextPath,
                                  test::kTrustsPath, test::kUserPath, test::kTrustPath}));
    EXPECT_EQ(State(), "trust.e30.sig, 1, , 1, org-1");
}

TEST_F(CustomerSignIn, LogsEachRequestOnceAndNoSecretOfTheSignIn) {
    Script({{200, test::TokenBody("first.e30.sig")}, {200, "[]"}, {200, test::TokenBody("own.e30.sig")}});
    EXPECT_EQ(client.Authorize("marked-login", "marked-password", &errorInfo, context), ResultCode::kSuccess);
    const char* const names[] = {"Session Request:\n", "TrusteeTrusts token Request:\n",
                                 "CustomerContext token Request:\n"};
    ASSERT_EQ(platform.traceLines.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(platform.traceLines[i].rfind(names[i], 0), 0u) << platform.traceLines[i];
        EXPECT_EQ(platform.traceLines[i].find("marked"), std::string::npos);
        EXPECT_EQ(platform.traceLines[i].find("e30"), std::string::npos) << "no token either";
    }
}

}  // namespace
