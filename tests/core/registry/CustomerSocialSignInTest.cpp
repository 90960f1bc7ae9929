// A social provider's token or code, traded for the token of a customer.
#include <functional>

#include "tests/core/registry/SocialSignInFixture.h"

namespace {

using test::Code;
using test::Headers;
using test::kSignUpRequired;
using test::Lines;
using test::ServiceAnswer;

using Base = registry::RegistryClient<test::SystemApi>;

class CustomerSocialSignIn : public test::SocialSignInFixture {
protected:
    // What the session is when the first request of `run` arrives, which is refused.
    template <class Run>
    std::string StateAtTheFirstRequest(Run&& run) {
        std::string seen = "no request";
        platform.responder = [&](const test::RecordedRequest&) {
            if (seen == "no request")
                seen = State();
            test::ScriptedAnswer refusal;
            refusal.status = 401;
            return refusal;
        };
        EXPECT_FALSE(IsSuccess(run()));
        platform.responder = nullptr;
        return seen;
    }
};

// --- what both ways have in common

TEST_F(CustomerSocialSignIn, EmptyArgumentsTouchNothing) {
    const struct {
        const char* name;
        ResultCode (*run)(Base& client, registry::ServiceErrorInfo* errorInfo);
    } rows[] = {
        {"no provider",
         [](Base& c, registry::ServiceErrorInfo* e) {
             return c.AuthorizeSocialToken("", "pt-1", "trial", e, nullptr);
         }},
        {"no token",
         [](Base& c, registry::ServiceErrorInfo* e) {
             return c.AuthorizeSocialToken("acme", "", "trial", e, nullptr);
         }},
        {"neither",
         [](Base& c, registry::ServiceErrorInfo* e) {
             return c.AuthorizeSocialToken("", "", "trial", e, nullptr);
         }},
        {"no provider, without a cause",
         [](Base& c, registry::ServiceErrorInfo* e) {
             return c.AuthorizeSocialToken("", "pt-1", e, nullptr);
         }},
        {"no token, without a cause",
         [](Base& c, registry::ServiceErrorInfo* e) {
             return c.AuthorizeSocialToken("acme", "", e, nullptr);
         }},
        {"no code",
         [](Base& c, registry::ServiceErrorInfo* e) {
             return c.AuthorizeSocialCode("", 0, "trial", e, nullptr);
         }},
        {"no code for a new account",
         [](Base& c, registry::ServiceErrorInfo* e) {
             return c.AuthorizeSocialCode("", 1, "trial", e, nullptr);
         }},
        {"no code, any other flow",
         [](Base& c, registry::ServiceErrorInfo* e) {
             return c.AuthorizeSocialCode("", 7, "trial", e, nullptr);
         }},
        {"no code, without a cause",
         [](Base& c, registry::ServiceErrorInfo* e) { return c.AuthorizeSocialCode("", 1, e, nullptr); }},
    };
    client.dynamicContextAvailable = true;
    errorInfo.title = "former";
    for (const auto& row : rows) {
        EXPECT_EQ(row.run(client, &errorInfo), ResultCode::kInvalidParameters) << row.name;
        EXPECT_EQ(State(), test::kOldSession) << row.name;
        EXPECT_TRUE(client.dynamicContextAvailable) << row.name;
        EXPECT_TRUE(platform.requests.empty()) << row.name;
        EXPECT_TRUE(platform.traceLines.empty()) << row.name;
        EXPECT_TRUE(platform.files.empty()) << row.name;
        EXPECT_EQ(test::Text(errorInfo.title), "former") << row.name;
    }
}

TEST_F(CustomerSocialSignIn, TheFormerSessionEndsBeforeTheFirstRequest) {
    const std::string reset = test::ResetSession("old.e30.sig");
    EXPECT_EQ(StateAtTheFirstRequest([this] { return ByToken(); }), reset);
    for (const std::uint32_t flow : {0u, 1u, 2u, 7u}) {
        RememberOldSession();
        EXPECT_EQ(StateAtTheFirstRequest([&] { return ByCode(flow); }), reset) << flow;
    }
}

TEST_F(CustomerSocialSignIn, EveryEndBehindIt) {
    const ServiceAnswer first = {200, test::TokenBody("first.e30.sig")};
    const ServiceAnswer signUp = {404, kSignUpRequired};
    const ServiceAnswer signUpWithToken = {
        404, R"({"status":404,"errorCode":"SIGN_UP_REQUIRED","accessToken":"first.e30.sig"})"};
    const ServiceAnswer made = {204};
    const test::Recorded signUpWanted = {0x82000011, 404};
    const struct {
        const char* name;
        Lines requests;
        std::vector<ServiceAnswer> answers;
        test::Recorded recorded;
        std::function<ResultCode()> run;
    } rows[] = {
        {"by token", {test::kSocialTokenPath}, {first}, test::kOldRefusal, [this] { return ByToken(); }},
        {"by token, with a sign-up",
         {test::kSocialTokenPath, test::kSignUpByTokenPath, test::kSocialTokenPath},
         {signUp, made, first},
         signUpWanted,
         [this] { return ByToken(); }},
        {"by token, which the second wish for a sign-up brings along",
         {test::kSocialTokenPath, test::kSignUpByTokenPath, test::kSocialTokenPath, test::kSignUpByTokenPath},
         {signUp, made, signUpWithToken, made},
         signUpWanted,
         [this] { return ByToken(); }},
        {"by code", {test::kSocialCodePath}, {first}, test::kOldRefusal, [this] { return ByCode(0); }},
        {"by code, with a sign-up",
         {test::kSignUpByCodePath, test::kSocialCodePath},
         {made, first},
         test::kOldRefusal,
         [this] { return ByCode(1); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ExpectEveryEnding(
            row.requests, row.answers, row.recorded, [this] { RememberOldSession(); }, row.run);
    }
}

TEST_F(CustomerSocialSignIn, WithoutACauseIsAnEmptyCause) {
    Base& base = client;
    const struct {
        const char* name;
        const char* signUpBody;
        const char* hash;  // MD5 of scope and content, of which the empty cause is a part
        std::vector<ServiceAnswer> answers;
        std::function<ResultCode()> shorter;
        std::function<ResultCode()> longer;
    } rows[] = {
        {"by token",
         R"({"accessToken":"pt-1","providerKey":"acme"})",
         "b01cb4a81ca5b67c5ae22ad3f7ed3eb9",
         {{404, kSignUpRequired}, {204}, {401}},
         [&] { return base.AuthorizeSocialToken("acme", "pt-1", &errorInfo, context); },
         [&] { return base.AuthorizeSocialToken("acme", "pt-1", "", &errorInfo, context); }},
        {"by code",
         R"({"code":"c-1"})",
         "d0cfc8ba20b849a6ac14866be29c5ab9",
         {{204}, {401}},
         [&] { return base.AuthorizeSocialCode("c-1", 1, &errorInfo, context); },
         [&] { return base.AuthorizeSocialCode("c-1", 1, "", &errorInfo, context); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        client.idempotencyEntries.clear();
        RememberOldRefusal();
        Script(row.answers);
        EXPECT_EQ(row.shorter(), ResultCode::kAuthorizationDenied);
        EXPECT_EQ(Record(), (test::Recorded{0x82000002, 401}));
        const auto shorter = platform.requests;
        ASSERT_EQ(shorter.size(), row.answers.size());
        EXPECT_EQ(shorter[shorter.size() - 2].body, row.signUpBody);
        ASSERT_EQ(client.idempotencyEntries.size(), 1u);
        EXPECT_EQ(test::Text(client.idempotencyEntries[0].hash), row.hash);

        Script(row.answers);
        EXPECT_EQ(row.longer(), ResultCode::kAuthorizationDenied);
        ASSERT_EQ(platform.requests.size(), shorter.size());
        for (std::size_t i = 0; i < shorter.size(); ++i) {
            EXPECT_EQ(platform.requests[i].url, shorter[i].url);
            EXPECT_EQ(platform.requests[i].headers, shorter[i].headers) << "the key is the same too";
            EXPECT_EQ(platform.requests[i].body, shorter[i].body);
        }
    }
}

// --- by the provider's token

TEST_F(CustomerSocialSignIn, TheTokenGoesIntoTheQueryAsItStands) {
    Script({{401}});
    EXPECT_EQ(client.AuthorizeSocialToken("a b/c", "p&t=%20", "trial", &errorInfo, context),
              ResultCode::kAuthorizationDenied);
    EXPECT_EQ(Requested(), (Lines{"GET /api/registry/v2/oauth/sign-in/a b/c?access_token=p&t=%20"}));
    EXPECT_EQ(LastRequest().headers, (Headers{{"Accept", "application/json"},
                                              {"Cache-Control", "no-cache"},
                                              {"Content-Type", "application/json;charset=UTF-8"},
                                              {"x-vqm-custom", "vqm-client"}}));
    EXPECT_EQ(LastRequest().body, "");
}

TEST_F(CustomerSocialSignIn, ARefusedTokenLeavesTheStateReset) {
    const struct {
        const char* name;
        ServiceAnswer answer;
        std::uint32_t expected;
    } rows[] = {
        {"400", {400}, 0x82000004},
        {"401 never renews", {401}, 0x82000002},
        {"403", {403}, 0x82000008},
        {"403 never asks for a sign-up", {403, kSignUpRequired}, 0x82000008},
        {"404", {404}, 0x8200000E},
        {"404 of another kind", {404, R"({"status":404,"errorCode":"NO_SUCH_PROVIDER"})"}, 0x8200000E},
        {"409", {409}, 0x82000009},
        {"409 with patience is none without a key", {409, "", "Retry-After: 1\r\n"}, 0x82000009},
        {"423", {423}, 0x82000010},
        {"429", {429}, 0x8200000D},
        {"500", {500}, 0x82000003},
        {"503", {503}, 0x8000000C},
        {"a second factor is no part of this",
         {404, R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":"c"}})"},
         0x82000012},
        {"204 is no success", {204}, 0x82000004},
        {"network", {0x81000006}, 0x80000006},
        {"time-out", {0x81000014}, 0x81000014},
        {"success without a token", {200, R"({"token":"x"})"}, 0x82000004},
        {"success without JSON", {200, "<html></html>"}, 0x82000004},
        {"success without a body", {200}, 0x82000004},
    };
    for (const auto& row : rows) {
        RememberOldSession();
        RememberOldRefusal();
        Script({row.answer});
        EXPECT_EQ(ByToken(), Code(row.expected)) << row.name;
        EXPECT_EQ(Record(), test::RecordedBy(row.answer, row.expected)) << row.name;
        EXPECT_EQ(Requested(), (Lines{test::kSocialTokenPath})) << row.name;
        EXPECT_EQ(State(), test::ResetSession("old.e30.sig")) << row.name;
        EXPECT_TRUE(platform.sleepsMs.empty()) << row.name;
    }
    EXPECT_TRUE(platform.files.empty()) << "no key was needed";
}

TEST_F(CustomerSocialSignIn, TheSignUpComesBetweenTheTwoRounds) {
    const Lines twoRounds = {test::kSocialTokenPath, test::kSignUpByTokenPath, test::kSocialTokenPath};
    const Lines all = {test::kSocialTokenPath, test::kSignUpByTokenPath, test::kSocialTokenPath,
                       test::kSignUpByTokenPath};
    const ServiceAnswer wanted = {404, kSignUpRequired};
    const ServiceAnswer made = {204};
    const struct {
        const char* name;
        std::vector<ServiceAnswer> answers;
        std::uint32_t expected;
        Lines requests;
    } rows[] = {
        {"twice wanted: no third try", {wanted, made, wanted, made}, 0x82000004, all},
        {"the second sign-up fails", {wanted, made, wanted, {403}}, 0x82000007, all},
        {"the second sign-up is not sent", {wanted, made, wanted, {0x81000006}}, 0x80000006, all},
        {"wanted by another status", {{400, kSignUpRequired}, made, {401}}, 0x82000002, twoRounds},
        {"then refused", {wanted, made, {401}}, 0x82000002, twoRounds},
        {"then unknown", {wanted, made, {404}}, 0x8200000E, twoRounds},
        {"then a network failure", {wanted, made, {0x81000006}}, 0x80000006, twoRounds},
        {"then a time-out", {wanted, made, {0x81000014}}, 0x81000014, twoRounds},
        {"then no token", {wanted, made, {200, "{}"}}, 0x82000004, twoRounds},
        {"a sign-up's answer is no token",
         {wanted, {200, test::TokenBody("sign-up.e30.sig")}, {200}},
         0x82000004,
         twoRounds},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        RememberOldSession();
        Script(row.answers);
        EXPECT_EQ(ByToken(), Code(row.expected));
        ASSERT_EQ(Requested(), row.requests);
        EXPECT_EQ(State(), test::ResetSession("old.e30.sig"));
        for (const auto& request : platform.requests)
            EXPECT_EQ(request.Header("Authorization"), "(none)");
        EXPECT_EQ(platform.requests[1].body,
                  R"({"accessToken":"pt-1","providerKey":"acme","cause":"trial"})");
        EXPECT_EQ(platform.requests[2].headers, platform.requests[0].headers) << "it is the same request";
        if (platform.requests.size() == 4) {
            EXPECT_EQ(platform.requests[3].headers, platform.requests[1].headers) << "the same key again";
            EXPECT_EQ(platform.requests[3].body, platform.requests[1].body);
        }
    }
}

TEST_F(CustomerSocialSignIn, TheSecondRoundDoesNotSeeTheFirstOnesAnswer) {
    Script({{404, R"({"status":404,"errorCode":"SIGN_UP_REQUIRED","accessToken":"first"})"}, {204}});
    test::ScriptedAnswer withoutBlocks;
    withoutBlocks.nullBlocks = true;
    platform.AnswerWith(withoutBlocks);
    EXPECT_EQ(ByToken(), ResultCode::kCompatibilityBroken);
    EXPECT_EQ(State(), test::ResetSession("old.e30.sig"));
}

TEST_F(CustomerSocialSignIn, TheRefusalBeforeAGoodSignUpStaysInTheErrorRecord) {
    Script({{404, kSignUpRequired}, {204}, {404, kSignUpRequired}, {204}});
    EXPECT_EQ(ByToken(), ResultCode::kCompatibilityBroken);
    EXPECT_EQ(errorInfo.resultCode, 0x82000011u);
    EXPECT_EQ(errorInfo.httpCode, 404u);
}

// --- by a code

TEST_F(CustomerSocialSignIn, OnlyFlowOneMakesTheAccount) {
    const struct {
        const char* name;
        std::uint32_t flow;
        Lines requests;
    } rows[] = {
        {"sign-in", 0, {test::kSocialCodePath}},
        {"sign-up", 1, {test::kSignUpByCodePath, test::kSocialCodePath}},
        {"link", 2, {test::kSocialCodePath}},
        {"a flow of no meaning", 7, {test::kSocialCodePath}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        RememberOldSession();
        std::vector<ServiceAnswer> answers = {{401}};
        if (row.requests.size() == 2)
            answers.insert(answers.begin(), {200, "whatever: this body is not read"});
        Script(answers);
        EXPECT_EQ(ByCode(row.flow), ResultCode::kAuthorizationDenied);
        ASSERT_EQ(Requested(), row.requests);
        EXPECT_EQ(State(), test::ResetSession("old.e30.sig"));
        EXPECT_EQ(platform.requests[0].body,
                  row.flow == 1 ? R"({"code":"c-1","cause":"trial"})" : R"({"code":"c-1"})");
        EXPECT_EQ(LastRequest().body, R"({"code":"c-1"})") << "the cause is the sign-up's alone";
        EXPECT_EQ(LastRequest().headers, (Headers{{"Accept", "application/json"},
                                                  {"Cache-Control", "no-cache"},
                                                  {"Content-Type", "application/json;charset=UTF-8"},
                                                  {"x-vqm-custom", "vqm-client"}}));
    }
}

TEST_F(CustomerSocialSignIn, ARefusedCodeLeavesTheStateReset) {
    const struct {
        const char* name;
        ServiceAnswer answer;
        std::uint32_t expected;
    } rows[] = {
        {"400", {400}, 0x82000004},
        {"401 never renews", {401}, 0x82000002},
        {"403", {403}, 0x82000008},
        {"404", {404}, 0x8200000E},
        {"404 never asks for a sign-up", {404, kSignUpRequired}, 0x8200000E},
        {"a sign-up that is wanted all the same is the host's", {400, kSignUpRequired}, 0x82000011},
        {"409", {409}, 0x82000009},
        {"423", {423}, 0x82000010},
        {"429", {429}, 0x8200000D},
        {"500", {500}, 0x82000003},
        {"503", {503}, 0x8000000C},
        {"204 is no success", {204}, 0x82000004},
        {"network", {0x81000006}, 0x80000006},
        {"time-out is not repeated", {0x81000014}, 0x81000014},
        {"success without a token", {200, "[]"}, 0x82000004},
        {"success without JSON", {200, "<html></html>"}, 0x82000004},
        {"success without a body", {200}, 0x82000004},
    };
    for (const auto& row : rows) {
        for (const std::uint32_t flow : {0u, 1u}) {
            SCOPED_TRACE(std::string(row.name) + ", flow " + std::to_string(flow));
            RememberOldSession();
            RememberOldRefusal();
            std::vector<ServiceAnswer> answers = {row.answer};
            if (flow == 1)
                answers.insert(answers.begin(), {204});
            Script(answers);
            EXPECT_EQ(ByCode(flow), Code(row.expected));
            EXPECT_EQ(Record(), test::RecordedBy(row.answer, row.expected));
            EXPECT_EQ(Requested().back(), test::kSocialCodePath);
            EXPECT_EQ(platform.requests.size(), answers.size());
            EXPECT_EQ(State(), test::ResetSession("old.e30.sig"));
        }
    }
    EXPECT_TRUE(platform.sleepsMs.empty());
}

}  // namespace
