#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/FakeRegistryClient.h"
#include "tests/support/FlatFixture.h"

namespace {

using quillmarkclient::ClientContext;
using quillmarkclient::ContextChoice;
using quillmarkclient::CustomerContext;
using test::Operation;
using Strings = std::vector<std::string>;

CustomerContext** const kUnset = reinterpret_cast<CustomerContext**>(0x5a);  // never followed

class FlatSignIn : public test::FlatFixture {
protected:
    ResultCode SignIn() { return quillmarkclient::SignIn(context, "anna", "pw", nullptr); }
};

TEST_F(FlatSignIn, HandleIsCheckedFirst) {
    static const struct {
        const char* name;
        ResultCode (*call)(ClientContext*);
    } rows[] = {
        {"SignIn", [](ClientContext* c) { return quillmarkclient::SignIn(c, nullptr, nullptr, nullptr); }},
        {"ConfirmSecondFactor",
         [](ClientContext* c) { return quillmarkclient::ConfirmSecondFactor(c, nullptr, nullptr, nullptr); }},
        {"GetCustomerContexts",
         [](ClientContext* c) { return quillmarkclient::GetCustomerContexts(c, nullptr, nullptr); }},
        {"SignInToContext",
         [](ClientContext* c) { return quillmarkclient::SignInToContext(c, nullptr, nullptr); }},
    };
    Start();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WithEachBadHandle([&](ClientContext* handle) {
            Forget();
            EXPECT_EQ(row.call(handle), ResultCode::kNotInitialized);
            EXPECT_EQ(platform.errors.size(), 1u);
            ExpectReported(ResultCode::kNotInitialized);
        });
    }
    EXPECT_TRUE(platform.requests.empty());
}

TEST_F(FlatSignIn, ArgumentsAreCheckedWithoutAnExchange) {
    static const struct {
        const char* name;
        ResultCode (*call)(ClientContext*);
    } rows[] = {
        {"null login", [](ClientContext* c) { return quillmarkclient::SignIn(c, nullptr, "pw", nullptr); }},
        {"null password", [](ClientContext* c) { return quillmarkclient::SignIn(c, "a", nullptr, nullptr); }},
        {"null challenge",
         [](ClientContext* c) { return quillmarkclient::ConfirmSecondFactor(c, nullptr, "1", nullptr); }},
        {"null code",
         [](ClientContext* c) { return quillmarkclient::ConfirmSecondFactor(c, "t", nullptr, nullptr); }},
        {"empty challenge",
         [](ClientContext* c) { return quillmarkclient::ConfirmSecondFactor(c, "", "1", nullptr); }},
        {"empty code",
         [](ClientContext* c) { return quillmarkclient::ConfirmSecondFactor(c, "t", "", nullptr); }},
        {"null list",
         [](ClientContext* c) { return quillmarkclient::GetCustomerContexts(c, nullptr, nullptr); }},
        {"null choice",
         [](ClientContext* c) { return quillmarkclient::SignInToContext(c, nullptr, nullptr); }},
        {"organisation without an id",
         [](ClientContext* c) {
             const ContextChoice choice{1, nullptr};
             return quillmarkclient::SignInToContext(c, &choice, nullptr);
         }},
    };
    StartSignedIn();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.call(context), ResultCode::kInvalidParameters);
        ExpectReported(ResultCode::kInvalidParameters);
        EXPECT_TRUE(IsSignedIn()) << "a refused call drops nothing";
    }
    EXPECT_TRUE(platform.requests.empty());
    EXPECT_EQ(platform.errors.size(), std::size(rows));
    EXPECT_EQ(platform.files.count("store/LIC0"), 1u);
}

TEST_F(FlatSignIn, PasswordRoadIsSixExchangesAndTwoFiles) {
    Start();
    EXPECT_EQ(SignIn(), ResultCode::kSuccess);
    EXPECT_EQ(Lines(), (Strings{test::kPassword, test::kTrusts, test::kOwnContextToken, test::kIdentities,
                                test::kNewIdentity, test::kIdentitySecret}));
    EXPECT_EQ(platform.requests[0].body, R"({"login":"anna","password":"pw"})");
    EXPECT_TRUE(IsSignedIn());
    EXPECT_EQ(AccessToken(), "own-token");
    EXPECT_EQ(FileText("store/LIC0"),
              R"({"identityToken":"identity-secret","contextType":"b2c","contextId":""})");
    EXPECT_EQ(FileText("store/LIC"), R"({"contextToken":"own-token"})");
    EXPECT_EQ(platform.files.size(), 2u);
    EXPECT_TRUE(platform.errors.empty());
}

TEST_F(FlatSignIn, IdentityFileIsWrittenBeforeTheContextFile) {
    Start();
    platform.FailCall(Operation::FileWrite, 0x81000003u, 1);
    EXPECT_EQ(SignIn(), ResultCode::kSuccess);
    EXPECT_EQ(platform.files["store/LIC0"], "");
    EXPECT_EQ(FileText("store/LIC"), R"({"contextToken":"own-token"})");
}

TEST_F(FlatSignIn, EmptyLoginAndPasswordGoToTheService) {
    service.Answer(test::kPassword, 401, "");
    Start();
    EXPECT_EQ(quillmarkclient::SignIn(context, "", "", nullptr), ResultCode::kInvalidLoginOrPassword);
    EXPECT_EQ(platform.requests[0].body, R"({"login":"","password":""})");
}

TEST_F(FlatSignIn, RefusalsComeBackReportedAndLeaveNobodySignedIn) {
    static const struct {
        const char* name;
        std::uint32_t status;
        const char* body;
        ResultCode expected;
    } rows[] = {
        {"malformed request", 400, "", ResultCode::kCompatibilityBroken},
        {"wrong password", 401, "", ResultCode::kInvalidLoginOrPassword},
        {"blocked", 403, "", ResultCode::kEmailUnverifiedOrBlocked},
        {"second factor without a challenge", 403, R"({"status":"403","errorCode":"2FA_TOTP_REQUIRED"})",
         ResultCode::kEmailUnverifiedOrBlocked},
        {"not found", 404, "", ResultCode::kNotFound},
        {"locked", 423, "", ResultCode::kLocked},
        {"too many", 429, "", ResultCode::kTooManyRequests},
        {"temporarily locked", 429, R"({"status":"429","errorCode":"ACCOUNT_LOCKED_TRY_AGAIN"})",
         ResultCode::kTemporarilyLocked},
        {"service fault", 500, "", ResultCode::kInternalServiceError},
        {"maintenance", 503, "", ResultCode::kServiceMaintenance},
        {"success that is HTML", 200, "<html>", ResultCode::kCompatibilityBroken},
        {"success that is null", 200, "null", ResultCode::kCompatibilityBroken},
        {"success that is a list", 200, "[]", ResultCode::kCompatibilityBroken},
        {"success cut short", 200, R"({"accessTok)", ResultCode::kCompatibilityBroken},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        service.Answer(test::kPassword, 200, R"({"accessToken":"password-token"})");
        StartSignedIn();
        service.Answer(test::kPassword, row.status, row.body);
        EXPECT_EQ(SignIn(), row.expected);
        EXPECT_EQ(platform.errors.size(), 1u);
        ExpectReported(row.expected);
        EXPECT_EQ(Lines(), Strings{test::kPassword});
        EXPECT_FALSE(IsSignedIn());
        EXPECT_EQ(platform.files.count("store/LIC0"), 0u) << "dropped before the exchange";
        EXPECT_EQ(platform.files.count("store/LIC"), 1u);
    }
}

TEST_F(FlatSignIn, TransportFailuresComeBack) {
    static const struct {
        const char* name;
        std::uint32_t platformCode;
        ResultCode expected;
    } rows[] = {
        {"no network", 0x81000006u, ResultCode::kRequestNotSent},
        {"time-out", 0x81000014u, ResultCode::kTimedOut},
        {"internal", 0x80000001u, ResultCode::kRequestNotSent},
    };
    Start();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        service.Fail(test::kPassword, row.platformCode);
        EXPECT_EQ(SignIn(), row.expected);
        ExpectReported(row.expected);
    }
    EXPECT_EQ(context->lastServiceError->resultCode, 0u) << "the service has refused nothing";
}

TEST_F(FlatSignIn, SecondFactorStepIsReportedAndTakenUp) {
    service.AskForSecondFactor();
    Start();
    EXPECT_EQ(SignIn(), ResultCode::kSecondFactorRequired);
    ExpectReported(ResultCode::kSecondFactorRequired);
    EXPECT_FALSE(IsSignedIn());
    EXPECT_TRUE(platform.files.empty());
    ASSERT_EQ(context->lastServiceError->errorArgs.size(), 1u);
    EXPECT_STREQ(context->lastServiceError->errorArgs[0].value.c_str(), "challenge-1");

    Forget();
    EXPECT_EQ(quillmarkclient::ConfirmSecondFactor(context, "challenge-1", "123456", nullptr),
              ResultCode::kSuccess);
    EXPECT_EQ(Lines(), (Strings{test::kSecondFactor, test::kTrusts, test::kOwnContextToken, test::kIdentities,
                                test::kNewIdentity, test::kIdentitySecret}));
    EXPECT_EQ(platform.requests[0].body, R"({"challengeToken":"challenge-1","code":"123456"})");
    EXPECT_TRUE(IsSignedIn());
    EXPECT_EQ(platform.files.size(), 2u);
}

TEST_F(FlatSignIn, WrongCodeMayBeGivenAgain) {
    Start();
    service.AnswerOnce(test::kSecondFactor, 401,
                       R"({"status":"401","errorCode":"CODE_VERIFICATION_FAILED"})");
    EXPECT_EQ(quillmarkclient::ConfirmSecondFactor(context, "challenge-1", "000000", nullptr),
              ResultCode::kInvalidVerificationCode);
    ExpectReported(ResultCode::kInvalidVerificationCode);
    EXPECT_TRUE(platform.files.empty());
    EXPECT_EQ(quillmarkclient::ConfirmSecondFactor(context, "challenge-1", "123456", nullptr),
              ResultCode::kSuccess);
}

TEST_F(FlatSignIn, SecondFactorDropsNoFormerSignIn) {
    StartSignedIn();
    service.Answer(test::kSecondFactor, 500, "");
    EXPECT_EQ(quillmarkclient::ConfirmSecondFactor(context, "challenge-1", "1", nullptr),
              ResultCode::kInternalServiceError);
    EXPECT_TRUE(IsSignedIn());
    EXPECT_EQ(platform.files.count("store/LIC0"), 1u);
}

TEST_F(FlatSignIn, PendingChoiceIsReportedAndNotStored) {
    service.OfferContexts();
    Start();
    EXPECT_EQ(SignIn(), ResultCode::kTooManyContexts);
    ExpectReported(ResultCode::kTooManyContexts);
    EXPECT_EQ(platform.errors.size(), 1u);
    EXPECT_TRUE(IsSignedIn());
    EXPECT_TRUE(platform.files.empty());
    EXPECT_EQ(Lines(), (Strings{test::kPassword, test::kTrusts, test::kOwnContextToken}));
}

TEST_F(FlatSignIn, ContextsAreListedOwnFirst) {
    service.OfferContexts();
    Start();
    ASSERT_EQ(SignIn(), ResultCode::kTooManyContexts);
    Forget();
    CustomerContext** list = nullptr;
    ASSERT_EQ(quillmarkclient::GetCustomerContexts(context, &list, nullptr), ResultCode::kSuccess);
    static const struct {
        std::uint32_t kind;
        const char* id;
        const char* name;
    } rows[] = {{0, "42", "Anna Blum"}, {1, "org-1", "First"}, {1, "org-2", "Second"}};
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        ASSERT_NE(list[i], nullptr);
        EXPECT_EQ(list[i]->kind, rows[i].kind);
        EXPECT_STREQ(list[i]->id, rows[i].id);
        EXPECT_STREQ(list[i]->name, rows[i].name);
    }
    EXPECT_EQ(list[3], nullptr);
    EXPECT_EQ(Lines(), (Strings{test::kTrusts, test::kUser})) << "a listing stores nothing";
    EXPECT_TRUE(platform.files.empty());
    quillmarkclient::FreeMemory(context, list, nullptr);
}

TEST_F(FlatSignIn, FailedListingLeavesOutUnsetOrNullWithoutMemory) {
    StartSignedIn();
    service.Answer(test::kTrusts, 500, "");
    CustomerContext** list = kUnset;
    EXPECT_EQ(quillmarkclient::GetCustomerContexts(context, &list, nullptr),
              ResultCode::kInternalServiceError);
    EXPECT_EQ(list, kUnset);
    ExpectReported(ResultCode::kInternalServiceError);

    service.Answer(test::kTrusts, 200, "[]");
    platform.FailCall(Operation::Alloc, 1);
    EXPECT_EQ(quillmarkclient::GetCustomerContexts(context, &list, nullptr),
              ResultCode::kInsufficientResources);
    EXPECT_EQ(list, nullptr);
    ExpectReported(ResultCode::kInsufficientResources);
}

TEST_F(FlatSignIn, ChoiceIsTakenAndStored) {
    static const struct {
        const char* name;
        ContextChoice choice;
        const char* request;
        const char* token;
        const char* identityFile;
    } rows[] = {
        {"own context",
         {0, ""},
         test::kOwnContextToken,
         "own-token",
         R"({"identityToken":"identity-secret","contextType":"b2c","contextId":""})"},
        {"own context, null id",
         {0, nullptr},
         test::kOwnContextToken,
         "own-token",
         R"({"identityToken":"identity-secret","contextType":"b2c","contextId":""})"},
        {"organisation",
         {1, "org-2"},
         test::kTrustToken,
         "trust-token",
         R"({"identityToken":"identity-secret","contextType":"b2b","contextId":"org-2"})"},
        {"unknown kind acts as own",
         {5, "org-2"},
         test::kOwnContextToken,
         "own-token",
         R"({"identityToken":"identity-secret","contextType":"b2c","contextId":""})"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.files.clear();
        service.OfferContexts();
        Start();
        ASSERT_EQ(SignIn(), ResultCode::kTooManyContexts);
        Forget();
        EXPECT_EQ(quillmarkclient::SignInToContext(context, &row.choice, nullptr), ResultCode::kSuccess);
        EXPECT_EQ(Lines(),
                  (Strings{row.request, test::kIdentities, test::kNewIdentity, test::kIdentitySecret}));
        EXPECT_EQ(AccessToken(), row.token);
        EXPECT_EQ(FileText("store/LIC0"), row.identityFile);
    }
}

TEST_F(FlatSignIn, RefusedChoiceLeavesTheChoiceOpen) {
    service.OfferContexts();
    Start();
    ASSERT_EQ(SignIn(), ResultCode::kTooManyContexts);
    service.Answer(test::kTrustToken, 404, "");
    const ContextChoice choice{1, "org-9"};
    EXPECT_EQ(quillmarkclient::SignInToContext(context, &choice, nullptr), ResultCode::kNotFound);
    ExpectReported(ResultCode::kNotFound);
    EXPECT_TRUE(IsSignedIn());
    EXPECT_TRUE(platform.files.empty());
}

TEST_F(FlatSignIn, WhatCanNotBeStoredIsTracedAndTheSignInStands) {
    static const struct {
        const char* name;
        const char* request;
        std::uint32_t status;
        const char* body;
        const char* line;
    } rows[] = {
        {"records refused", test::kIdentities, 500, "",
         "Can not get information about token: Internal registry service error"},
        {"records no JSON", test::kIdentities, 200, "<html>",
         "Can not get information about token: Registry back compatibility is broken"},
        {"record not made", test::kNewIdentity, 404, "",
         "Can not get information about token: Customer does not exist"},
        {"secret refused", test::kIdentitySecret, 403, "",
         "Can not get information about token: Authorization is denied"},
        {"secret empty", test::kIdentitySecret, 200, "",
         "Can not get information about token: Registry back compatibility is broken"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test::ScriptedService fresh(platform);
        fresh.Answer(row.request, row.status, row.body);
        platform.files.clear();
        Start();
        Forget();
        EXPECT_EQ(SignIn(), ResultCode::kSuccess);
        EXPECT_EQ(platform.traceLines.back(), row.line);
        EXPECT_TRUE(platform.errors.empty());
        EXPECT_TRUE(platform.files.empty());
        EXPECT_TRUE(IsSignedIn());
    }
}

TEST_F(FlatSignIn, UnreadableStateIsTraced) {
    StartSignedIn();
    auto session = portable_stl::make_unique<test::FakeRegistryClient>();
    session->failingStateCall = 1;
    context->core->registryClient = session.get();
    context->registryClient = std::move(session);
    EXPECT_EQ(SignIn(), ResultCode::kSuccess);
    EXPECT_EQ(platform.traceLines.back(), "Can not get information about token: Internal program error");
}

TEST_F(FlatSignIn, UnwritableFilesLeaveTheSignInValidForThisRun) {
    Start();
    platform.FailCall(Operation::FileSetSize, 0x81000001u, 1);
    EXPECT_EQ(SignIn(), ResultCode::kSuccess);
    EXPECT_EQ(platform.traceLines.back(), "Can not store identity token: Can not set a file size");
    EXPECT_TRUE(IsSignedIn());
    EXPECT_EQ(platform.files.count("store/LIC0"), 0u);

    Start();
    EXPECT_FALSE(IsSignedIn()) << "the next start finds nobody signed in";
}

TEST_F(FlatSignIn, IdentityNameNamesANewRecord) {
    init.identityName = "our-name";
    Start();
    ASSERT_EQ(SignIn(), ResultCode::kSuccess);
    EXPECT_NE(platform.requests[4].body.find(R"("name":"our-name")"), std::string::npos)
        << platform.requests[4].body;
}

TEST_F(FlatSignIn, LogOrderOfOneSignIn) {
    service.Answer(test::kIdentitySecret, 500, "");
    Start();
    EXPECT_EQ(SignIn(), ResultCode::kSuccess);
    EXPECT_EQ(LogHeads(),
              (Strings{"T Session Request:", "T TrusteeTrusts token Request:",
                       "T CustomerContext token Request:", "T \"Get identity records\" request ...:",
                       "T \"Create identity record\" request ...:", "T \"Get identity token\" request ...:",
                       "T Can not get information about token: Internal registry service error"}));
    for (const std::string& line : platform.logOrder) {
        EXPECT_EQ(line.find("pw"), std::string::npos) << line;
        EXPECT_EQ(line.find("anna"), std::string::npos) << line;
    }
}

}  // namespace
