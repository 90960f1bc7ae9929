#include "tests/core/registry/RegistryFixture.h"

namespace {

using test::Code;
using test::Lines;
using test::Text;

constexpr char kChallenge[] =
    R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":"ch-1"}})";

// One scripted exchange.
struct Answer {
    std::uint32_t status;  // a code of the transport from 0x80000000
    std::string body;
};

class CustomerSignIn : public test::RegistryTest {
protected:
    CustomerSignIn() {
        client.identitySecret = "old secret";
        client.contextMode = 1;
        client.contextId = "old org";
    }

    void Script(const std::vector<Answer>& answers) {
        platform.requests.clear();
        for (const Answer& answer : answers) {
            if (answer.status >= 0x80000000)
                platform.FailExchange(answer.status);
            else
                platform.AnswerWith(answer.status, answer.body);
        }
    }
    ResultCode SignIn() { return client.Authorize("me@x.org", "pass", &errorInfo, context); }
    ResultCode Confirm(const char* challenge = "ch-1", const char* code = "123456") {
        return client.AuthorizeSecondFactor(challenge, code, &errorInfo, context);
    }

    // "token text, mark, secret, mode, id"
    std::string State() const {
        return TokenText() + ", " + std::to_string(client.token.present) + ", " +
               Text(client.identitySecret) + ", " + std::to_string(client.contextMode) + ", " +
               Text(client.contextId);
    }
    // What a failed sign-in leaves: the last token's text, and no session.
    static std::string Reset(const std::string& text) { return text + ", 0, , 2, "; }
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
        Answer answer;
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
        client.token = quillmarkclient_core::Token("old.e30.sig", true);
        client.identitySecret = "old secret";
        client.contextMode = 1;
        client.contextId = "old org";
        Script({row.answer});
        EXPECT_EQ(SignIn(), Code(row.expected)) << row.name;
        EXPECT_EQ(Requested(), (Lines{test::kPasswordPath})) << row.name;
        EXPECT_EQ(State(), Reset("old.e30.sig")) << row.name;
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
        EXPECT_EQ(State(), Reset("old.e30.sig")) << row.name;
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
    EXPECT_EQ(State(), "old.e30.sig, 1, old secret, 1, old org");
}

TEST_F(CustomerSignIn, ARefusedSecondFactorResetsNothing) {
    const struct {
        const char* name;
        Answer answer;
        std::uint32_t expected;
    } rows[] = {
        {"a wrong code", {401, R"({"status":401,"errorCode":"CODE_VERIFICATION_FAILED"})"}, 0x82000013},
        {"401 without a reason never renews", {401, ""}, 0x82000002},
        {"400 is never a wrong code",
         {400, R"({"status":400,"errorCode":"CODE_VERIFICATION_FAILED"})"},
         0x82000004},
        {"403", {403, ""}, 0x82000007},
        {"network", {0x81000006, ""}, 0x80000006},
        {"time-out", {0x81000014, ""}, 0x81000014},
        {"success without a token", {200, "[]"}, 0x82000004},
    };
    for (const auto& row : rows) {
        Script({row.answer});
        EXPECT_EQ(Confirm(), Code(row.expected)) << row.name;
        EXPECT_EQ(Requested(), (Lines{test::kSecondFactorPath})) << row.name;
        EXPECT_EQ(LastRequest().body, R"({"challengeToken":"ch-1","code":"123456"})") << row.name;
        EXPECT_EQ(LastRequest().Header("Authorization"), "(none)") << row.name;
        EXPECT_EQ(State(), "old.e30.sig, 1, old secret, 1, old org") << row.name;
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

struct Ending {
    const char* name;
    std::vector<Answer> answers;  // behind the one that brings the first token
    std::uint32_t expected;
    Lines requests;
    std::string state;
    bool hasOwnContext;
};

std::vector<Ending> Endings() {
    const Answer own = {200, test::TokenBody("own.e30.sig")};
    const Answer trust = {200, test::TokenBody("trust.e30.sig")};
    const Answer none = {200, "[]"};
    const Answer one = {200, test::kOneTrust};
    const Answer two = {200, test::kTwoTrusts};
    const Answer onePerson = {200, R"([{"id":"t","trustorId":"p-1","trustorDetails":{"type":"Person"}}])"};
    const Lines trusts = {test::kTrustsPath};
    const Lines trustsOwn = {test::kTrustsPath, test::kOwnContextPath};
    const Lines trustsOwnTrust = {test::kTrustsPath, test::kOwnContextPath, test::kTrustPath};
    const std::string resetFirst = "first.e30.sig, 0, , 2, ";
    return {
        {"own context, no trusts", {none, own}, 0, trustsOwn, "own.e30.sig, 1, , 0, ", true},
        {"own context, one trust", {one, own}, 0x8200000B, trustsOwn, "own.e30.sig, 1, , 2, ", true},
        {"own context, two trusts", {two, own}, 0x8200000B, trustsOwn, "own.e30.sig, 1, , 2, ", true},
        {"own context, a person's trust counts",
         {onePerson, own},
         0x8200000B,
         trustsOwn,
         "own.e30.sig, 1, , 2, ",
         true},
        {"own refused, one trust",
         {one, {404, ""}, trust},
         0,
         trustsOwnTrust,
         "trust.e30.sig, 1, , 1, org-1",
         false},
        {"own refused, a person's trust",
         {onePerson, {403, ""}, trust},
         0,
         trustsOwnTrust,
         "trust.e30.sig, 1, , 1, p-1",
         false},
        {"own unreachable, one trust",
         {one, {0x81000006, ""}, trust},
         0,
         trustsOwnTrust,
         "trust.e30.sig, 1, , 1, org-1",
         false},
        {"own without a token, one trust",
         {one, {200, "{}"}, trust},
         0,
         trustsOwnTrust,
         "trust.e30.sig, 1, , 1, org-1",
         false},
        {"own refused, the one trust refused",
         {one, {404, ""}, {403, ""}},
         0x82000002,
         trustsOwnTrust,
         resetFirst,
         false},
        {"own refused, the one trust unreachable",
         {one, {404, ""}, {0x81000014, ""}},
         0x81000014,
         trustsOwnTrust,
         resetFirst,
         false},
        {"own refused, the one trust without a token",
         {one, {404, ""}, {200, "x"}},
         0x82000004,
         trustsOwnTrust,
         resetFirst,
         false},
        {"own refused, no trusts", {none, {404, ""}}, 0x8200000C, trustsOwn, ", 0, , 2, ", false},
        {"own unreachable, no trusts", {none, {0x81000006, ""}}, 0x8200000C, trustsOwn, ", 0, , 2, ", false},
        {"own refused, two trusts",
         {two, {404, ""}},
         0x8200000B,
         trustsOwn,
         "first.e30.sig, 1, , 2, ",
         false},
        {"trusts: 401 has no secret to renew with", {{401, ""}}, 0x82000002, trusts, resetFirst, true},
        {"trusts: 403", {{403, ""}}, 0x82000007, trusts, resetFirst, true},
        {"trusts: network", {{0x81000006, ""}}, 0x80000006, trusts, resetFirst, true},
        {"trusts: no JSON", {{200, "<html>"}}, 0x82000004, trusts, resetFirst, true},
        {"trusts: one without an id",
         {{200, R"([{"trustorId":"x"}])"}},
         0x82000004,
         trusts,
         resetFirst,
         true},
    };
}

TEST_F(CustomerSignIn, EveryEndAfterThePassword) {
    for (const Ending& row : Endings()) {
        client.token = quillmarkclient_core::Token("old.e30.sig", true);
        client.identitySecret = "old secret";
        client.contextMode = 1;
        client.contextId = "old org";
        client.dynamicContextAvailable = true;
        std::vector<Answer> answers = row.answers;
        answers.insert(answers.begin(), {200, test::TokenBody("first.e30.sig")});
        Script(answers);
        EXPECT_EQ(SignIn(), Code(row.expected)) << row.name;
        Lines requests = row.requests;
        requests.insert(requests.begin(), test::kPasswordPath);
        EXPECT_EQ(Requested(), requests) << row.name;
        for (std::size_t i = 1; i < platform.requests.size(); ++i)
            EXPECT_EQ(platform.requests[i].Header("Authorization"), "Bearer first.e30.sig") << row.name;
        EXPECT_EQ(State(), row.state) << row.name;
        EXPECT_EQ(client.dynamicContextAvailable, row.hasOwnContext) << row.name;
    }
}

TEST_F(CustomerSignIn, EveryEndAfterTheSecondFactor) {
    for (const Ending& row : Endings()) {
        client.ResetAuthState();
        client.dynamicContextAvailable = true;
        std::vector<Answer> answers = row.answers;
        answers.insert(answers.begin(), {200, test::TokenBody("first.e30.sig")});
        Script(answers);
        EXPECT_EQ(Confirm(), Code(row.expected)) << row.name;
        Lines requests = row.requests;
        requests.insert(requests.begin(), test::kSecondFactorPath);
        EXPECT_EQ(Requested(), requests) << row.name;
        EXPECT_EQ(State(), row.state) << row.name;
        EXPECT_EQ(client.dynamicContextAvailable, row.hasOwnContext) << row.name;
    }
}

TEST_F(CustomerSignIn, TheEndSetsTheModeAndNeverClearsTheId) {
    Script({{200, test::TokenBody("first.e30.sig")}, {200, "[]"}, {200, test::TokenBody("own.e30.sig")}});
    EXPECT_EQ(Confirm(), ResultCode::kSuccess);
    EXPECT_EQ(State(), "own.e30.sig, 1, old secret, 0, old org") << "the second factor alone resets nothing";
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
