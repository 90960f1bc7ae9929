// What a sign-in drops, stores and logs, and in which order.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/FlatFixture.h"

namespace {

using quillmarkclient::ClientContext;
using quillmarkclient::ContextChoice;
using test::Operation;
using Strings = std::vector<std::string>;

class FlatSignInOrder : public test::FlatFixture {};

TEST_F(FlatSignInOrder, TheFormerSignInIsGoneWhenTheFirstRequestArrives) {
    StartSignedIn();
    ASSERT_EQ(platform.files.count("store/LIC0"), 1u);
    const auto answer = platform.responder;
    int requests = 0;
    platform.responder = [&](const test::RecordedRequest& request) {
        if (++requests == 1) {
            const auto& session = *context->registryClient;
            EXPECT_STREQ(session.identitySecret.c_str(), "");
            EXPECT_EQ(session.token.present, 0u);
            EXPECT_EQ(session.contextMode, 2u);
            EXPECT_EQ(platform.files.count("store/LIC0"), 0u);
            EXPECT_EQ(platform.files.count("store/LIC"), 1u);
        }
        return answer(request);
    };
    EXPECT_EQ(SignIn(context, "anna", "pw", nullptr), ResultCode::kSuccess);
    EXPECT_EQ(requests, 6);
}

TEST_F(FlatSignInOrder, TheOwnContextIsStoredWithTheIdAsItStands) {
    Start();
    context->registryClient->contextMode = 1;
    context->registryClient->contextId = "org-1";
    EXPECT_EQ(ConfirmSecondFactor(context, "challenge-1", "123456", nullptr), ResultCode::kSuccess);
    EXPECT_EQ(context->registryClient->contextMode, 0u);
    EXPECT_EQ(FileText("store/LIC0"),
              R"({"identityToken":"identity-secret","contextType":"b2c","contextId":"org-1"})");
}

TEST_F(FlatSignInOrder, TheContextFileHoldsTheTokenOfTheContext) {
    static const struct {
        const char* name;
        ResultCode (*run)(ClientContext*);
        const char* text;
    } rows[] = {
        {"ConfirmSecondFactor",
         [](ClientContext* c) {
             return quillmarkclient::ConfirmSecondFactor(c, "challenge-1", "123456", nullptr);
         },
         R"({"contextToken":"own-token"})"},
        {"SignInToContext, own",
         [](ClientContext* c) {
             const ContextChoice choice{0, nullptr};
             return quillmarkclient::SignInToContext(c, &choice, nullptr);
         },
         R"({"contextToken":"own-token"})"},
        {"SignInToContext, organisation",
         [](ClientContext* c) {
             const ContextChoice choice{1, "org-2"};
             return quillmarkclient::SignInToContext(c, &choice, nullptr);
         },
         R"({"contextToken":"trust-token"})"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.files.clear();
        Start();
        EXPECT_EQ(row.run(context), ResultCode::kSuccess);
        EXPECT_EQ(FileText("store/LIC"), row.text);
    }
}

TEST_F(FlatSignInOrder, AFailedSignInLogsItsRequestsAndThenItsReport) {
    static const struct {
        const char* name;
        void (test::ScriptedService::*script)();
        ResultCode expected;
        Strings heads;
    } rows[] = {
        {"second factor",
         &test::ScriptedService::AskForSecondFactor,
         ResultCode::kSecondFactorRequired,
         {"T Session Request:", "E 82000012 core/src/quillmarkclient"}},
        {"choice of a context",
         &test::ScriptedService::OfferContexts,
         ResultCode::kTooManyContexts,
         {"T Session Request:", "T TrusteeTrusts token Request:", "T CustomerContext token Request:",
          "E 8200000b core/src/quillmarkclient"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test::ScriptedService fresh(platform);
        (fresh.*row.script)();
        platform.files.clear();
        Start();
        Forget();
        EXPECT_EQ(SignIn(context, "anna", "pw", nullptr), row.expected);
        EXPECT_EQ(LogHeads(), row.heads);
    }
}

TEST_F(FlatSignInOrder, EachCheckReportsALineOfItsOwn) {
    static const struct {
        const char* name;
        ResultCode (*first)(ClientContext*);
        ResultCode (*second)(ClientContext*);
    } rows[] = {
        {"SignIn: handle, arguments",
         [](ClientContext*) { return quillmarkclient::SignIn(nullptr, "a", "b", nullptr); },
         [](ClientContext* c) { return quillmarkclient::SignIn(c, nullptr, "b", nullptr); }},
        {"ConfirmSecondFactor: handle, arguments",
         [](ClientContext*) { return quillmarkclient::ConfirmSecondFactor(nullptr, "a", "b", nullptr); },
         [](ClientContext* c) { return quillmarkclient::ConfirmSecondFactor(c, "", "b", nullptr); }},
        {"SignInToContext: handle, arguments",
         [](ClientContext*) { return quillmarkclient::SignInToContext(nullptr, nullptr, nullptr); },
         [](ClientContext* c) { return quillmarkclient::SignInToContext(c, nullptr, nullptr); }},
        {"GetCustomerContexts: handle, arguments",
         [](ClientContext*) { return quillmarkclient::GetCustomerContexts(nullptr, nullptr, nullptr); },
         [](ClientContext* c) { return quillmarkclient::GetCustomerContexts(c, nullptr, nullptr); }},
    };
    Start();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        EXPECT_EQ(row.first(nullptr), ResultCode::kNotInitialized);
        EXPECT_EQ(row.second(context), ResultCode::kInvalidParameters);
        ASSERT_EQ(platform.errors.size(), 2u);
        EXPECT_LT(platform.errors[0].line, platform.errors[1].line);
    }
}

TEST_F(FlatSignInOrder, ATokenWithoutMemoryIsReportedWhereItIsHandedOut) {
    StartSignedIn();
    char* out = nullptr;
    for (const auto call : {&quillmarkclient::GetAccessToken, &quillmarkclient::RefreshAccessToken}) {
        platform.FailCall(Operation::Alloc, 1);
        EXPECT_EQ(call(context, &out, nullptr), ResultCode::kInsufficientResources);
    }
    ASSERT_EQ(platform.errors.size(), 4u) << "the maker and the operation, twice";
    EXPECT_EQ(platform.errors[1].source, "core/src/quillmarkclient");
    EXPECT_EQ(platform.errors[3].source, "core/src/quillmarkclient");
    EXPECT_LT(platform.errors[1].line, platform.errors[3].line);
}

}  // namespace
