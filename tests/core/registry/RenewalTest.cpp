#include "core/src/registry/requests/InformationRequests.h"
#include "tests/core/registry/RegistryFixture.h"

namespace {

using test::Code;
using test::Headers;
using test::Jwt;
using test::Lines;
using test::RequestPointer;
using test::SystemApi;
using test::Text;

class Renewal : public test::RegistryTest {
protected:
    Renewal() {
        client.identitySecret = "old secret";
        client.contextMode = 1;
        client.contextId = "org-1";
    }

    ResultCode Send() {
        return client.SendAuthorized(request, responseBody, responseHeaders, httpCode, &errorInfo, context);
    }
    ResultCode Reauthorize(const char* secret, std::uint32_t mode, const char* trustorId) {
        return client.ReauthorizeViaIdentity(secret, mode, trustorId, &errorInfo, context);
    }

    static constexpr char kOldState[] = "old.e30.sig, 1, old secret, 1, org-1";

    RequestPointer request = portable_stl::make_unique<registry::GetCustomerInfoRequest<SystemApi>>(
        registry::GetCustomerInfoParams{test::kBaseUrl});
    portable_stl::string responseBody;
    portable_stl::string responseHeaders;
    std::uint32_t httpCode = 77;
};

// --- SendAuthorized

TEST_F(Renewal, AGoodAnswerTakesOneRequest) {
    platform.AnswerWith(200, "answer");
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(LastRequest().headers, (Headers{{"Cache-Control", "no-cache"},
                                              {"Authorization", "Bearer old.e30.sig"},
                                              {"x-vqm-custom", "vqm-client"}}));
    EXPECT_EQ(Text(responseBody), "answer");
    EXPECT_EQ(httpCode, 200u);
}

TEST_F(Renewal, WithoutATokenThereIsNoHeader) {
    client.token.present = 0;
    platform.AnswerWith(200, "");
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(LastRequest().headers,
              (Headers{{"Cache-Control", "no-cache"}, {"x-vqm-custom", "vqm-client"}}));
}

TEST_F(Renewal, OtherRefusalsAreAnswers) {
    for (const std::uint32_t status : {400u, 403u, 404u, 500u}) {
        platform.AnswerWith(status, "");
        EXPECT_EQ(Send(), ResultCode::kSuccess) << status;
        EXPECT_EQ(httpCode, status);
    }
    EXPECT_EQ(platform.requests.size(), 4u);
    EXPECT_EQ(State(), kOldState);
}

TEST_F(Renewal, AFailureOfTheTransportIsReturned) {
    platform.FailExchange(0x81000006);
    EXPECT_EQ(Send(), ResultCode::kRequestNotSent);
    platform.FailExchange(0x81000014);
    EXPECT_EQ(Send(), ResultCode::kTimedOut);
    EXPECT_EQ(State(), kOldState);
}

TEST_F(Renewal, A401WithoutASecretIsDeniedAtOnce) {
    client.identitySecret.clear();
    errorInfo.title = "former";
    platform.AnswerWith(401, R"({"title":"expired"})");
    EXPECT_EQ(Send(), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(platform.requests.size(), 1u);
    EXPECT_EQ(Text(errorInfo.title), "former");
    EXPECT_EQ(errorInfo.resultCode, 0u);
    EXPECT_EQ(State(), "old.e30.sig, 1, , 1, org-1") << "the token is unchanged";
}

TEST_F(Renewal, A401RenewsTheTokenAndSendsOnceMore) {
    platform.AnswerWith(401, "");
    AnswerToken("identity.e30.sig");
    AnswerToken("context.e30.sig");
    platform.AnswerWith(200, "answer");
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(Requested(),
              (Lines{test::kUserPath, test::kIdentitySignInPath, test::kTrustPath, test::kUserPath}));
    EXPECT_EQ(platform.requests[1].body, R"({"secretKey":"old secret"})");
    EXPECT_EQ(platform.requests[1].Header("Authorization"), "(none)");
    EXPECT_EQ(platform.requests[2].body, R"({"trustorId":"org-1"})");
    EXPECT_EQ(platform.requests[2].Header("Authorization"), "Bearer identity.e30.sig");
    EXPECT_EQ(LastRequest().headers, (Headers{{"Cache-Control", "no-cache"},
                                              {"Authorization", "Bearer context.e30.sig"},
                                              {"x-vqm-custom", "vqm-client"}}))
        << "the header is replaced in its place";
    EXPECT_EQ(Text(responseBody), "answer");
    EXPECT_EQ(httpCode, 200u);
    EXPECT_EQ(State(), "context.e30.sig, 1, old secret, 1, org-1");
}

TEST_F(Renewal, ARenewalInTheOwnContextAsksForThat) {
    client.contextMode = 0;
    client.contextId.clear();
    platform.AnswerWith(401, "");
    AnswerToken("identity.e30.sig");
    AnswerToken("context.e30.sig");
    platform.AnswerWith(200, "");
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(Requested(),
              (Lines{test::kUserPath, test::kIdentitySignInPath, test::kOwnContextPath, test::kUserPath}));
    EXPECT_EQ(State(), "context.e30.sig, 1, old secret, 0, ");
}

TEST_F(Renewal, ASessionWithoutATokenMayBeRenewedToo) {
    client.token.present = 0;
    platform.AnswerWith(401, "");
    AnswerToken("identity.e30.sig");
    AnswerToken("context.e30.sig");
    platform.AnswerWith(200, "");
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(LastRequest().headers, (Headers{{"Cache-Control", "no-cache"},
                                              {"x-vqm-custom", "vqm-client"},
                                              {"Authorization", "Bearer context.e30.sig"}}));
}

TEST_F(Renewal, ASecond401IsTheAnswer) {
    platform.AnswerWith(401, "first");
    AnswerToken("identity.e30.sig");
    AnswerToken("context.e30.sig");
    platform.AnswerWith(401, "second");
    EXPECT_EQ(Send(), ResultCode::kSuccess) << "for the request's own table";
    EXPECT_EQ(httpCode, 401u);
    EXPECT_EQ(Text(responseBody), "second");
    EXPECT_EQ(platform.requests.size(), 4u);
}

TEST_F(Renewal, ASecondAnswerWithoutABodyHasNotTheFirstOnes) {
    platform.AnswerWith(401, "first");
    AnswerToken("identity.e30.sig");
    AnswerToken("context.e30.sig");
    test::ScriptedAnswer bare;
    bare.nullBlocks = true;
    platform.AnswerWith(bare);
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(httpCode, 200u);
    EXPECT_EQ(Text(responseBody), "");
    EXPECT_EQ(platform.requests.size(), 4u);
}

TEST_F(Renewal, AFailureOfTheSecondSendIsReturned) {
    platform.AnswerWith(401, "");
    AnswerToken("identity.e30.sig");
    AnswerToken("context.e30.sig");
    platform.FailExchange(0x81000014);
    EXPECT_EQ(Send(), ResultCode::kTimedOut);
}

TEST_F(Renewal, AFailedRenewalIsReturnedAndNothingSentAgain) {
    const struct {
        const char* name;
        std::uint32_t identityStatus;
        std::uint32_t contextStatus;  // 0: not asked for
        std::uint32_t expected;
        std::size_t requests;
    } rows[] = {
        {"the secret is refused", 403, 0, 0x82000002, 2},
        {"the service fails", 500, 0, 0x82000003, 2},
        {"the context is refused", 200, 404, 0x8200000E, 3},
        {"the context's 401 starts no second renewal", 200, 401, 0x82000002, 3},
        {"the identity's 401 starts no second renewal", 401, 0, 0x82000002, 2},
    };
    for (const auto& row : rows) {
        platform.requests.clear();
        platform.AnswerWith(401, "");
        platform.AnswerWith(row.identityStatus, test::TokenBody("identity.e30.sig"));
        if (row.contextStatus != 0)
            platform.AnswerWith(row.contextStatus, R"({"title":"no"})");
        EXPECT_EQ(Send(), Code(row.expected)) << row.name;
        EXPECT_EQ(platform.requests.size(), row.requests) << row.name;
        EXPECT_EQ(errorInfo.resultCode, row.expected) << row.name;
        EXPECT_EQ(State(), kOldState) << row.name;
    }
}

TEST_F(Renewal, LogsTheIdentityRequestAndNoSecondTextForTheResend) {
    const std::size_t before = platform.traceLines.size();
    platform.AnswerWith(401, "");
    AnswerToken("identity.e30.sig");
    AnswerToken("context.e30.sig");
    platform.AnswerWith(200, "");
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    ASSERT_EQ(platform.traceLines.size(), before + 2);
    EXPECT_EQ(platform.traceLines[before].rfind("AuthorizeViaIdentity Request:\n", 0), 0u);
    EXPECT_EQ(platform.traceLines[before + 1].rfind("CustomerTrustToken Request:\n", 0), 0u);
}

// --- ReauthorizeViaIdentity

TEST_F(Renewal, AnEmptySecretTouchesNothing) {
    EXPECT_EQ(Reauthorize("", 1, "org-2"), ResultCode::kInvalidParameters);
    EXPECT_TRUE(platform.requests.empty());
    EXPECT_EQ(State(), kOldState);
}

TEST_F(Renewal, EveryEndOfARenewal) {
    const std::string token = test::TokenBody("identity.e30.sig");
    const std::string contextToken = test::TokenBody("context.e30.sig");
    const struct {
        const char* name;
        std::uint32_t mode;
        const char* trustorId;
        std::vector<test::ServiceAnswer> answers;
        std::uint32_t expected;
        const char* state;
    } rows[] = {
        {"a trustor's context",
         1,
         "org-2",
         {{200, token}, {200, contextToken}},
         0,
         "context.e30.sig, 1, new secret, 1, org-2"},
        {"own context: mode and id stay",
         0,
         "org-2",
         {{200, token}, {200, contextToken}},
         0,
         "context.e30.sig, 1, new secret, 1, org-1"},
        {"no context: mode and id stay",
         2,
         "",
         {{200, token}, {200, contextToken}},
         0,
         "context.e30.sig, 1, new secret, 1, org-1"},
        {"network: the secret alone is kept",
         1,
         "org-2",
         {{0x81000006, ""}},
         0x80000006,
         "old.e30.sig, 1, new secret, 1, org-1"},
        {"time-out: the secret alone is kept",
         1,
         "org-2",
         {{0x81000014, ""}},
         0x81000014,
         "old.e30.sig, 1, new secret, 1, org-1"},
        {"401: nothing changes", 1, "org-2", {{401, ""}}, 0x82000002, kOldState},
        {"404: nothing changes", 1, "org-2", {{404, ""}}, 0x8200000E, kOldState},
        {"503: nothing changes", 1, "org-2", {{503, ""}}, 0x8000000C, kOldState},
        {"no token in the answer: the secret is kept",
         1,
         "org-2",
         {{200, "{}"}},
         0x82000004,
         "old.e30.sig, 1, new secret, 1, org-1"},
        {"an answer that is no JSON",
         1,
         "org-2",
         {{200, "<html>"}},
         0x82000004,
         "old.e30.sig, 1, new secret, 1, org-1"},
        {"context refused: all is restored", 1, "org-2", {{200, token}, {403, ""}}, 0x82000002, kOldState},
        {"context, network: all is restored",
         1,
         "org-2",
         {{200, token}, {0x81000006, ""}},
         0x80000006,
         kOldState},
        {"context without a token: all is restored",
         1,
         "org-2",
         {{200, token}, {200, "[]"}},
         0x82000004,
         kOldState},
        {"own context refused: all is restored", 0, "", {{200, token}, {404, ""}}, 0x82000005, kOldState},
    };
    for (const auto& row : rows) {
        client.token = quillmarkclient_core::Token("old.e30.sig", true);
        client.identitySecret = "old secret";
        client.contextMode = 1;
        client.contextId = "org-1";
        Script(row.answers);
        EXPECT_EQ(Reauthorize("new secret", row.mode, row.trustorId), Code(row.expected)) << row.name;
        EXPECT_EQ(State(), row.state) << row.name;
        Lines lines = {test::kIdentitySignInPath};
        if (row.answers.size() == 2)
            lines.emplace_back(row.mode == 1 ? test::kTrustPath : test::kOwnContextPath);
        EXPECT_EQ(Requested(), lines) << row.name;
        EXPECT_EQ(platform.requests[0].body, R"({"secretKey":"new secret"})") << row.name;
    }
}

TEST_F(Renewal, ARestoredTokenGetsItsMarkAndItsClaimsBack) {
    client.token = quillmarkclient_core::Token(
        Text(Jwt(R"({"userid":"u","scopes":[{"space":"s","role":"2"}]})")), false);
    platform.AnswerWith(200, test::TokenBody(Jwt(R"({"userid":"v"})")));
    platform.AnswerWith(404, "");
    EXPECT_EQ(Reauthorize("new secret", 1, "org-2"), ResultCode::kNotFound);
    EXPECT_EQ(Text(client.token.userId), "u");
    ASSERT_EQ(client.token.rights.size(), 1u);
    EXPECT_EQ(client.token.rights[0].role, 2u);
    EXPECT_EQ(client.token.present, 0);
}

TEST_F(Renewal, ATokenFromAFileIsPresentOnceRenewed) {
    client.SetAccessToken("file.e30.sig", false, context);
    AnswerToken("identity.e30.sig");
    AnswerToken("context.e30.sig");
    EXPECT_EQ(Reauthorize("new secret", 0, ""), ResultCode::kSuccess);
    EXPECT_EQ(State(), "context.e30.sig, 1, new secret, 2, ") << "the mode stays as the reset left it";
}

TEST_F(Renewal, TheSessionsOwnSecretAndIdMayBeTheArguments) {
    AnswerToken("identity.e30.sig");
    AnswerToken("context.e30.sig");
    EXPECT_EQ(client.ReauthorizeViaIdentity(client.identitySecret, 1, client.contextId, nullptr, context),
              ResultCode::kSuccess);
    EXPECT_EQ(State(), "context.e30.sig, 1, old secret, 1, org-1");
}

TEST_F(Renewal, ABusinessAsksItsOwnEndpoint) {
    client.kind = registry::kBusiness;
    platform.AnswerWith(401, "");
    EXPECT_EQ(Reauthorize("new secret", 0, ""), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(Requested(), (Lines{"POST /api/business/registry/v2/tokens/identity"}));
    client.kind = registry::kPrincipalAdmin;
    platform.AnswerWith(401, "");
    EXPECT_EQ(Reauthorize("new secret", 0, ""), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(Requested()[1], test::kIdentitySignInPath);
}

}  // namespace
