// The steps of the social sign-ins: what the service may answer to each, and what is left behind it.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/FlatFixture.h"

namespace {

using quillmarkclient::ClientContext;
using quillmarkclient::ContextChoice;
using test::Operation;
using Strings = std::vector<std::string>;

enum class Road { kToken, kTokenAndSignUp, kCode, kCodeAndSignUp, kBusinessCode, kBusinessCodeAndSignUp };

class FlatSocialSteps : public test::FlatFixture {
protected:
    // A client of the road's kind, signed in before, at a service with its usual answers.
    void Prepare(Road road) {
        init.clientKind = road == Road::kBusinessCode || road == Road::kBusinessCodeAndSignUp ? 1 : 0;
        platform.files = {{"store/LIC0", "identity"}};
        Start();
        context->registryClient->identitySecret = "former-secret";
        Forget();
        platform.sleepsMs.clear();
    }
    ResultCode Run(Road road) {
        switch (road) {
            case Road::kToken:
            case Road::kTokenAndSignUp:
                return SignInWithSocialToken(context, "acme", "st-1", nullptr);
            case Road::kCode:
            case Road::kBusinessCode:
                return SignInWithSocialCode(context, "c-1", 0, nullptr);
            default:
                return SignInWithSocialCode(context, "c-1", 1, nullptr);
        }
    }
};

constexpr char kNoChoice[] = R"({"status":"404","errorCode":"SOMETHING_ELSE"})";

constexpr struct {
    const char* name;
    Road road;
    const char* request;
    std::uint32_t status;
    const char* body;
    std::uint32_t expected;
} kRefusals[] = {
    {"token: malformed", Road::kToken, test::kSocialToken, 400, "", 0x82000004},
    {"token: no longer valid", Road::kToken, test::kSocialToken, 401, "", 0x82000002},
    {"token: the address has an account", Road::kToken, test::kSocialToken, 403, "", 0x82000008},
    {"token: not found", Road::kToken, test::kSocialToken, 404, "", 0x8200000E},
    {"token: not found, for another reason", Road::kToken, test::kSocialToken, 404, kNoChoice, 0x8200000E},
    {"token: of another account", Road::kToken, test::kSocialToken, 409, "", 0x82000009},
    {"token: locked", Road::kToken, test::kSocialToken, 423, "", 0x82000010},
    {"token: too many", Road::kToken, test::kSocialToken, 429, "", 0x8200000D},
    {"token: service fault", Road::kToken, test::kSocialToken, 500, "", 0x82000003},
    {"token: maintenance", Road::kToken, test::kSocialToken, 503, "", 0x8000000C},
    {"token: 204 is no success", Road::kToken, test::kSocialToken, 204, "", 0x82000004},
    {"token: success without a body", Road::kToken, test::kSocialToken, 200, "", 0x82000004},
    {"token: success that is HTML", Road::kToken, test::kSocialToken, 200, "<html>", 0x82000004},
    {"token: success without the token", Road::kToken, test::kSocialToken, 200, R"({"a":"b"})", 0x82000004},
    {"token: account refused, malformed", Road::kTokenAndSignUp, test::kFinalizeByToken, 400, "", 0x82000004},
    {"token: account refused, 401", Road::kTokenAndSignUp, test::kFinalizeByToken, 401, "", 0x82000006},
    {"token: account refused, 403", Road::kTokenAndSignUp, test::kFinalizeByToken, 403, "", 0x82000007},
    {"token: account refused, 404", Road::kTokenAndSignUp, test::kFinalizeByToken, 404, "", 0x8200000E},
    {"token: account refused, 409 without a wait", Road::kTokenAndSignUp, test::kFinalizeByToken, 409, "",
     0x82000004},
    {"token: account refused, 500", Road::kTokenAndSignUp, test::kFinalizeByToken, 500, "", 0x82000003},
    {"token: account wants itself", Road::kTokenAndSignUp, test::kFinalizeByToken, 418, test::kSignUpRequired,
     0x82000011},
    {"code: malformed", Road::kCode, test::kSocialCode, 400, "", 0x82000004},
    {"code: no longer valid", Road::kCode, test::kSocialCode, 401, "", 0x82000002},
    {"code: the address has an account", Road::kCode, test::kSocialCode, 403, "", 0x82000008},
    {"code: not found", Road::kCode, test::kSocialCode, 404, "", 0x8200000E},
    {"code: a sign-up is not made on the way", Road::kCode, test::kSocialCode, 404, test::kSignUpRequired,
     0x8200000E},
    {"code: of another account", Road::kCode, test::kSocialCode, 409, "", 0x82000009},
    {"code: service fault", Road::kCode, test::kSocialCode, 500, "", 0x82000003},
    {"code: success without a body", Road::kCode, test::kSocialCode, 200, "", 0x82000004},
    {"code: account refused", Road::kCodeAndSignUp, test::kFinalizeByCode, 403, "", 0x82000007},
    {"code: refused behind the account", Road::kCodeAndSignUp, test::kSocialCode, 401, "", 0x82000002},
    {"business: no longer valid", Road::kBusinessCode, test::kBusinessSocialCode, 401, "", 0x82000002},
    {"business: blocked", Road::kBusinessCode, test::kBusinessSocialCode, 403, "", 0x82000007},
    {"business: not found", Road::kBusinessCode, test::kBusinessSocialCode, 404, "", 0x8200000E},
    {"business: conflict", Road::kBusinessCode, test::kBusinessSocialCode, 409, "", 0x82000004},
    {"business: service fault", Road::kBusinessCode, test::kBusinessSocialCode, 500, "", 0x82000003},
    {"business: success without the token", Road::kBusinessCode, test::kBusinessSocialCode, 200, "{}",
     0x82000004},
    {"business: context refused", Road::kBusinessCodeAndSignUp, test::kBusinessContext, 403, "", 0x82000007},
    {"business: context malformed", Road::kBusinessCodeAndSignUp, test::kBusinessContext, 400, "",
     0x82000004},
    {"business: context unauthorised", Road::kBusinessCodeAndSignUp, test::kBusinessContext, 401, "",
     0x82000004},
    {"business: context fault", Road::kBusinessCodeAndSignUp, test::kBusinessContext, 500, "", 0x82000003},
    {"business: refused behind the context", Road::kBusinessCodeAndSignUp, test::kBusinessSocialCode, 500, "",
     0x82000003},
};

TEST_F(FlatSocialSteps, RefusalsAreReportedOnceAndLeaveNobodySignedIn) {
    for (const auto& row : kRefusals) {
        SCOPED_TRACE(row.name);
        test::ScriptedService fresh(platform);
        if (row.road == Road::kTokenAndSignUp)
            fresh.AnswerOnce(test::kSocialToken, 404, test::kSignUpRequired);
        fresh.Answer(row.request, row.status, row.body);
        Prepare(row.road);
        const auto code = Run(row.road);
        EXPECT_EQ(static_cast<std::uint32_t>(code), row.expected);
        EXPECT_EQ(platform.errors.size(), 1u);
        ExpectReported(code);
        EXPECT_EQ(platform.errors.back().code, row.expected);
        ASSERT_FALSE(platform.requests.empty());
        EXPECT_EQ(Lines().back(), row.request) << "nothing is asked behind a refusal";
        EXPECT_FALSE(IsSignedIn());
        EXPECT_EQ(platform.files.count("store/LIC0"), 0u);
        EXPECT_EQ(platform.files.count("store/LIC"), 0u);
        const bool isRefusal = row.status >= 400;
        EXPECT_EQ(context->lastServiceError->httpCode, isRefusal || row.status == 204 ? row.status : 0u);
    }
}

TEST_F(FlatSocialSteps, ATransportFailureComesBackFromEachStep) {
    static const struct {
        const char* name;
        Road road;
        const char* request;
    } steps[] = {
        {"token", Road::kToken, test::kSocialToken},
        {"code", Road::kCode, test::kSocialCode},
        {"code behind the account", Road::kCodeAndSignUp, test::kSocialCode},
        {"business code", Road::kBusinessCode, test::kBusinessSocialCode},
        {"business context", Road::kBusinessCodeAndSignUp, test::kBusinessContext},
        {"trusts", Road::kCode, test::kTrusts},
    };
    static const struct {
        const char* name;
        std::uint32_t platformCode;
        std::uint32_t expected;
    } failures[] = {
        {"no network", 0x81000006u, 0x80000006u},
        {"time-out", 0x81000014u, 0x81000014u},
        {"internal", 0x80000001u, 0x80000006u},
    };
    for (const auto& step : steps) {
        for (const auto& failure : failures) {
            SCOPED_TRACE(std::string(step.name) + ", " + failure.name);
            test::ScriptedService fresh(platform);
            fresh.Fail(step.request, failure.platformCode);
            Prepare(step.road);
            EXPECT_EQ(static_cast<std::uint32_t>(Run(step.road)), failure.expected);
            EXPECT_EQ(platform.errors.size(), 1u);
            EXPECT_EQ(platform.errors.back().code, failure.expected);
            EXPECT_EQ(Lines().back(), step.request);
            EXPECT_FALSE(IsSignedIn());
            EXPECT_TRUE(platform.sleepsMs.empty()) << "none of these is repeated";
        }
    }
}

TEST_F(FlatSocialSteps, AnAccountIsMadeOnTheWay) {
    service.AnswerOnce(test::kSocialToken, 404, test::kSignUpRequired);
    Prepare(Road::kToken);
    EXPECT_EQ(Run(Road::kToken), ResultCode::kSuccess);
    EXPECT_EQ(Lines(), (Strings{test::kSocialToken, test::kFinalizeByToken, test::kSocialToken, test::kTrusts,
                                test::kOwnContextToken, test::kIdentities, test::kNewIdentity,
                                test::kIdentitySecret}));
    EXPECT_EQ(platform.requests[1].body, R"({"accessToken":"st-1","providerKey":"acme"})");
    EXPECT_TRUE(platform.errors.empty());
    EXPECT_TRUE(IsSignedIn());
}

TEST_F(FlatSocialSteps, AnAccountThatIsWantedForEverEndsBehindTheSecond) {
    service.Answer(test::kSocialToken, 404, test::kSignUpRequired);
    Prepare(Road::kToken);
    EXPECT_EQ(Run(Road::kToken), ResultCode::kCompatibilityBroken);
    ExpectReported(ResultCode::kCompatibilityBroken);
    EXPECT_EQ(Lines(), (Strings{test::kSocialToken, test::kFinalizeByToken, test::kSocialToken,
                                test::kFinalizeByToken}));
    EXPECT_FALSE(IsSignedIn());
}

TEST_F(FlatSocialSteps, TheAccountIsAskedForAgainUnderTheSameKey) {
    static const struct {
        const char* name;
        Road road;
        const char* request;
    } rows[] = {
        {"by a token", Road::kTokenAndSignUp, test::kFinalizeByToken},
        {"by a code", Road::kCodeAndSignUp, test::kFinalizeByCode},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test::ScriptedService fresh(platform);
        if (row.road == Road::kTokenAndSignUp)
            fresh.AnswerOnce(test::kSocialToken, 404, test::kSignUpRequired);
        fresh.AskToWaitOnce(row.request, "2");
        fresh.FailOnce(row.request, 0x81000014u);
        Prepare(row.road);
        EXPECT_EQ(Run(row.road), ResultCode::kSuccess);
        EXPECT_EQ(platform.sleepsMs, (std::vector<std::uint32_t>{2000, 1500}));
        Strings keys;
        for (const auto& request : platform.requests) {
            if (request.method + " " + request.url.substr(std::string(test::kServiceUrl).size()) ==
                row.request)
                keys.push_back(request.Header("Idempotency-Key"));
        }
        ASSERT_EQ(keys.size(), 3u);
        EXPECT_EQ(keys[0].size(), 36u);
        EXPECT_EQ(keys[1], keys[0]);
        EXPECT_EQ(keys[2], keys[0]);
    }
}

TEST_F(FlatSocialSteps, AnAccountThatIsNeverReadyEndsTheSignIn) {
    for (int i = 0; i < 5; ++i)
        service.AskToWaitOnce(test::kFinalizeByCode, "1");
    Prepare(Road::kCodeAndSignUp);
    EXPECT_EQ(Run(Road::kCodeAndSignUp), ResultCode::kRequestNotSent);
    ExpectReported(ResultCode::kRequestNotSent);
    EXPECT_EQ(Lines(), Strings(5, test::kFinalizeByCode));
    EXPECT_EQ(platform.sleepsMs, (std::vector<std::uint32_t>{1000, 1000, 1000, 1000}));
    EXPECT_FALSE(IsSignedIn());
}

TEST_F(FlatSocialSteps, AFailedSleepIsNoFailure) {
    service.AskToWaitOnce(test::kFinalizeByCode, "1");
    Prepare(Road::kCodeAndSignUp);
    platform.FailCall(Operation::Sleep, 0x80000001u);
    EXPECT_EQ(Run(Road::kCodeAndSignUp), ResultCode::kSuccess);
}

TEST_F(FlatSocialSteps, PendingChoiceIsReportedAndStoredWhenItIsMade) {
    for (const Road road : {Road::kToken, Road::kCode, Road::kCodeAndSignUp}) {
        SCOPED_TRACE(static_cast<int>(road));
        test::ScriptedService fresh(platform);
        fresh.OfferContexts();
        Prepare(road);
        EXPECT_EQ(Run(road), ResultCode::kTooManyContexts);
        EXPECT_EQ(platform.errors.size(), 1u);
        ExpectReported(ResultCode::kTooManyContexts);
        EXPECT_EQ(Lines().back(), test::kOwnContextToken) << "no identity is asked for yet";
        EXPECT_TRUE(IsSignedIn());
        EXPECT_EQ(platform.files.count("store/LIC0"), 0u);
        EXPECT_EQ(platform.files.count("store/LIC"), 0u);

        const ContextChoice choice{1, "org-2"};
        EXPECT_EQ(SignInToContext(context, &choice, nullptr), ResultCode::kSuccess);
        EXPECT_EQ(FileText("store/LIC0"),
                  R"({"identityToken":"identity-secret","contextType":"b2b","contextId":"org-2"})");
        EXPECT_EQ(FileText("store/LIC"), R"({"contextToken":"trust-token"})");
    }
}

TEST_F(FlatSocialSteps, TheOneTrustIsStoredAsTheContext) {
    service.Answer(test::kTrusts, 200, R"([{"id":"1","trustorId":"org-1"}])");
    service.Answer(test::kOwnContextToken, 403, "");
    Prepare(Road::kCode);
    EXPECT_EQ(Run(Road::kCode), ResultCode::kSuccess);
    EXPECT_EQ(FileText("store/LIC0"),
              R"({"identityToken":"identity-secret","contextType":"b2b","contextId":"org-1"})");
}

TEST_F(FlatSocialSteps, NoContextAtAllIsARefusal) {
    service.Answer(test::kOwnContextToken, 403, "");
    Prepare(Road::kToken);
    EXPECT_EQ(Run(Road::kToken), ResultCode::kContextNotFound);
    ExpectReported(ResultCode::kContextNotFound);
    EXPECT_FALSE(IsSignedIn());
}

TEST_F(FlatSocialSteps, WhatCanNotBeStoredIsTracedBehindTheSignIn) {
    const Strings storing = {"T \"Get identity records\" request ...:",
                             "T Can not get information about token: Internal registry service error"};
    const Strings customer = {"T TrusteeTrusts token Request:", "T CustomerContext token Request:"};
    const struct {
        const char* name;
        Road road;
        Strings heads;
    } rows[] = {
        {"token",
         Road::kToken,
         {"T Social Session Request:", customer[0], customer[1], storing[0], storing[1]}},
        {"code",
         Road::kCode,
         {"T Social Desktop Session Request:", customer[0], customer[1], storing[0], storing[1]}},
        {"business code",
         Road::kBusinessCode,
         {"T Business social desktop auth Request:", storing[0], storing[1]}},
        {"business code with a sign-up",
         Road::kBusinessCodeAndSignUp,
         {"T UseDynamicContext Request:", "T Business social desktop auth Request:", storing[0], storing[1]}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test::ScriptedService fresh(platform);
        fresh.Answer(test::kIdentities, 500, "");
        Prepare(row.road);
        EXPECT_EQ(Run(row.road), ResultCode::kSuccess);
        EXPECT_EQ(LogHeads(), row.heads);
        EXPECT_TRUE(IsSignedIn());
        EXPECT_EQ(platform.files.count("store/LIC0"), 0u);
        EXPECT_EQ(platform.files.count("store/LIC"), 0u);
    }
}

TEST_F(FlatSocialSteps, FilesThatCanNotBeWrittenAreTracedLast) {
    for (const Road road : {Road::kToken, Road::kCode, Road::kBusinessCode}) {
        SCOPED_TRACE(static_cast<int>(road));
        Prepare(road);
        platform.FailCall(Operation::FileSetSize, 0x81000009u, 1);
        EXPECT_EQ(Run(road), ResultCode::kSuccess);
        EXPECT_EQ(platform.traceLines.back(), "Can not store identity token: Can not set a file size");
        Prepare(road);
        platform.FailCall(Operation::FileSetSize, 0x81000009u, 2);
        EXPECT_EQ(Run(road), ResultCode::kSuccess);
        EXPECT_EQ(platform.traceLines.back(), "Can not store context token: Can not set a file size");
        EXPECT_TRUE(platform.errors.empty());
        EXPECT_TRUE(IsSignedIn());
    }
}

TEST_F(FlatSocialSteps, TheRefusedAccountIsTracedWithItsAnswer) {
    service.Answer(test::kFinalizeByCode, 500, "the body");
    Prepare(Road::kCodeAndSignUp);
    EXPECT_EQ(Run(Road::kCodeAndSignUp), ResultCode::kInternalServiceError);
    const Strings heads = LogHeads();
    ASSERT_GE(heads.size(), 3u);
    EXPECT_EQ(heads[heads.size() - 3], "T SocialSignUpCodeFinalize: failed to make signup finalization");
    EXPECT_EQ(heads[heads.size() - 2], "T the body");
    EXPECT_EQ(heads[heads.size() - 1], "E 82000003 core/src/quillmarkclient");
}

}  // namespace
