#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/FakeRegistryClient.h"
#include "tests/support/FlatFixture.h"

namespace {

using quillmarkclient::ClientContext;
using test::Operation;
using Strings = std::vector<std::string>;

char* const kUnset = reinterpret_cast<char*>(0x5a);  // never followed

class FlatTokens : public test::FlatFixture {
protected:
    ResultCode SignIn() { return quillmarkclient::SignIn(context, "anna", "pw", nullptr); }

    // Puts a session in place whose state can't be read the nth time.
    test::FakeRegistryClient* UseFakeSession(int failingStateCall) {
        auto session = portable_stl::make_unique<test::FakeRegistryClient>();
        auto* raw = session.get();
        raw->failingStateCall = failingStateCall;
        context->core->registryClient = raw;
        context->registryClient = std::move(session);
        return raw;
    }
};

constexpr struct {
    const char* name;
    ResultCode (*call)(ClientContext*, char**, void*);
} kTokenCalls[] = {
    {"GetAccessToken", &quillmarkclient::GetAccessToken},
    {"RefreshAccessToken", &quillmarkclient::RefreshAccessToken},
    {"GetIdentityToken", &quillmarkclient::GetIdentityToken},
};

TEST_F(FlatTokens, ChecksOfTheTokenCalls) {
    Start();
    auto session = std::move(context->registryClient);
    for (const auto& row : kTokenCalls) {
        SCOPED_TRACE(row.name);
        char* out = kUnset;
        EXPECT_EQ(row.call(nullptr, &out, nullptr), ResultCode::kInvalidParameters);
        ExpectReported(ResultCode::kInvalidParameters);
        EXPECT_EQ(row.call(context, nullptr, nullptr), ResultCode::kInvalidParameters)
            << "before the missing session";
        ExpectReported(ResultCode::kInvalidParameters);
        EXPECT_EQ(row.call(context, &out, nullptr), ResultCode::kRegistryNotInitialized);
        ExpectReported(ResultCode::kRegistryNotInitialized);
        EXPECT_EQ(out, kUnset);
    }
    EXPECT_EQ(platform.errors.size(), 9u);
    context->registryClient = std::move(session);
}

TEST_F(FlatTokens, AccessTokenIsGivenWhateverItsState) {
    Start();
    EXPECT_EQ(AccessToken(), "") << "before any sign-in";
    ASSERT_EQ(SignIn(), ResultCode::kSuccess);
    EXPECT_EQ(AccessToken(), "own-token");
    quillmarkclient::SignOut(context, nullptr);
    EXPECT_EQ(AccessToken(), "own-token") << "after the sign-out";
    EXPECT_TRUE(platform.errors.empty());
}

TEST_F(FlatTokens, IdentityTokenIsTheSecretWhileThereIsOne) {
    static const struct {
        const char* name;
        ResultCode (*prepare)(ClientContext*);
        const char* secret;  // "(none)": kAuthorizationDenied
    } rows[] = {
        {"before any sign-in", [](ClientContext*) { return ResultCode::kSuccess; }, "(none)"},
        {"after a sign-in",
         [](ClientContext* c) { return quillmarkclient::SignIn(c, "anna", "pw", nullptr); },
         "identity-secret"},
        {"after a social sign-in",
         [](ClientContext* c) { return quillmarkclient::SignInWithSocialCode(c, "c-1", 0, nullptr); },
         "identity-secret"},
        {"after a renewal",
         [](ClientContext* c) {
             return c->registryClient->ReauthorizeViaIdentity("other-secret", 0, "", nullptr, nullptr);
         },
         "other-secret"},
        {"after the sign-out",
         [](ClientContext* c) {
             const auto code = quillmarkclient::SignIn(c, "anna", "pw", nullptr);
             quillmarkclient::SignOut(c, nullptr);
             return code;
         },
         "(none)"},
        {"with a token of the host's",
         [](ClientContext* c) { return quillmarkclient::UseAccessToken(c, "t", nullptr); }, "(none)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.files.clear();
        Start();
        ASSERT_EQ(row.prepare(context), ResultCode::kSuccess);
        Forget();
        char* out = kUnset;
        const bool hasSecret = std::string(row.secret) != "(none)";
        EXPECT_EQ(quillmarkclient::GetIdentityToken(context, &out, nullptr),
                  hasSecret ? ResultCode::kSuccess : ResultCode::kAuthorizationDenied);
        if (hasSecret) {
            EXPECT_STREQ(out, row.secret);
            quillmarkclient::FreeMemory(context, out, nullptr);
            EXPECT_TRUE(platform.errors.empty());
        } else {
            EXPECT_EQ(out, kUnset);
            EXPECT_EQ(platform.errors.size(), 1u);
            ExpectReported(ResultCode::kAuthorizationDenied);
        }
        EXPECT_TRUE(platform.requests.empty());
        EXPECT_TRUE(platform.traceLines.empty()) << "a secret goes to no log";
    }
}

TEST_F(FlatTokens, IdentityTokenOfEachKind) {
    static const struct {
        const char* name;
        std::uint32_t kind;
        const char* secret;
    } rows[] = {
        {"customer", 0, "identity-secret"},
        {"business", 1, "identity-secret"},
        {"an administrator has none", 2, "(none)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.files.clear();
        init.clientKind = row.kind;
        Start();
        ASSERT_EQ(SignIn(), ResultCode::kSuccess);
        EXPECT_EQ(Text(&quillmarkclient::GetIdentityToken), row.secret);
        context->registryClient->identitySecret = "put-there";
        EXPECT_EQ(Text(&quillmarkclient::GetIdentityToken), row.kind == 2 ? "(none)" : "put-there");
    }
}

TEST_F(FlatTokens, TokensComeOutWhateverTheirBytes) {
    static const struct {
        const char* name;
        std::string text;
    } rows[] = {
        {"one byte", "s"},
        {"the longest short form", std::string(22, 's')},
        {"one more", std::string(23, 's')},
        {"a megabyte", std::string(1 << 20, 's')},
        {"no UTF-8", "\xff\xfe\x80"},
        {"quotes, slashes and controls", "a\"b\\c/d\n\t\x01"},
    };
    StartSignedIn();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        context->registryClient->identitySecret = row.text.c_str();
        context->registryClient->token.text = row.text.c_str();
        EXPECT_EQ(Text(&quillmarkclient::GetIdentityToken), row.text);
        EXPECT_EQ(AccessToken(), row.text);
    }
}

TEST_F(FlatTokens, TokenWithoutMemoryIsNullAndReported) {
    StartSignedIn();
    for (const auto& row : kTokenCalls) {
        SCOPED_TRACE(row.name);
        Forget();
        char* out = kUnset;
        platform.FailCall(Operation::Alloc, 1);
        EXPECT_EQ(row.call(context, &out, nullptr), ResultCode::kInsufficientResources);
        EXPECT_EQ(out, nullptr);
        ASSERT_EQ(platform.errors.size(), 2u);
        EXPECT_EQ(platform.errors[0].source, "core/src/PodMaker");
        ExpectReported(ResultCode::kInsufficientResources);
    }
}

TEST_F(FlatTokens, SoftFailuresAreTracedNotReported) {
    static const struct {
        const char* name;
        ResultCode (*call)(ClientContext*, char**, void*);
        int failingStateCall;
        const char* line;
    } rows[] = {
        {"access token", &quillmarkclient::GetAccessToken, 1,
         "Get token data failed: Internal program error"},
        {"refresh, first state", &quillmarkclient::RefreshAccessToken, 1,
         "Identity request failed: Internal program error"},
        {"refresh, second state", &quillmarkclient::RefreshAccessToken, 2,
         "Access token request failed: Internal program error"},
        {"identity token", &quillmarkclient::GetIdentityToken, 1,
         "Get token data failed: Internal program error"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        StartSignedIn();
        UseFakeSession(row.failingStateCall)->identitySecret = "s";
        char* out = kUnset;
        EXPECT_EQ(row.call(context, &out, nullptr), ResultCode::kInternalError);
        EXPECT_EQ(out, kUnset);
        EXPECT_EQ(platform.traceLines.back(), row.line);
        EXPECT_TRUE(platform.errors.empty());
    }
}

TEST_F(FlatTokens, RefreshRenewsByTheIdentityInItsContext) {
    static const struct {
        const char* name;
        std::uint32_t mode;
        const char* id;
        const char* contextRequest;
        const char* token;
    } rows[] = {
        {"own context", 0, "", test::kOwnContextToken, "own-token"},
        {"organisation", 1, "org-1", test::kTrustToken, "trust-token"},
        {"none chosen", 2, "", test::kOwnContextToken, "own-token"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        StartSignedIn();
        context->registryClient->contextMode = row.mode;
        context->registryClient->contextId = row.id;
        context->registryClient->token.text = "stale";
        EXPECT_EQ(Text(&quillmarkclient::RefreshAccessToken), row.token);
        EXPECT_EQ(Lines(), (Strings{test::kRenewal, row.contextRequest}));
        EXPECT_EQ(platform.requests[0].body, R"({"secretKey":"identity-secret"})");
        EXPECT_EQ(AccessToken(), row.token);
    }
}

TEST_F(FlatTokens, RefreshWritesNoFile) {
    StartSignedIn();
    const auto before = platform.files;
    service.Answer(test::kOwnContextToken, 200, R"({"accessToken":"next-token"})");
    EXPECT_EQ(Text(&quillmarkclient::RefreshAccessToken), "next-token");
    EXPECT_EQ(platform.files, before);
}

TEST_F(FlatTokens, RefusedRefreshIsTracedAndLeavesOut) {
    static const struct {
        const char* name;
        const char* request;
        std::uint32_t status;
        ResultCode expected;
        const char* line;
    } rows[] = {
        {"refused identity", test::kRenewal, 401, ResultCode::kAuthorizationDenied,
         "Failed to refresh access token: Authorization is denied"},
        {"no body", test::kRenewal, 200, ResultCode::kCompatibilityBroken,
         "Failed to refresh access token: Registry back compatibility is broken"},
        {"refused context", test::kOwnContextToken, 404, ResultCode::kCustomerNotFound,
         "Failed to refresh access token: Customer does not exist"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test::ScriptedService fresh(platform);
        StartSignedIn();
        fresh.Answer(row.request, row.status, "");
        char* out = kUnset;
        EXPECT_EQ(quillmarkclient::RefreshAccessToken(context, &out, nullptr), row.expected);
        EXPECT_EQ(out, kUnset);
        EXPECT_EQ(platform.traceLines.back(), row.line);
        EXPECT_TRUE(platform.errors.empty());
        EXPECT_EQ(AccessToken(), "own-token");
    }
}

TEST_F(FlatTokens, RefreshWithoutAnIdentityMakesNoExchange) {
    Start();
    EXPECT_EQ(Text(&quillmarkclient::RefreshAccessToken), "(none)");
    EXPECT_TRUE(platform.requests.empty());
    EXPECT_EQ(platform.traceLines, Strings{"Failed to refresh access token: Invalid parameters."});
}

TEST_F(FlatTokens, IsSignedInAsksForTheMarkOrTheSecret) {
    static const struct {
        const char* name;
        std::uint8_t present;
        const char* text;
        const char* secret;
        std::uint32_t expected;
    } rows[] = {
        {"nothing", 0, "", "", 0},
        {"a token's text alone", 0, "token", "", 0},
        {"a present token", 1, "token", "", 1},
        {"a secret", 0, "", "secret", 1},
        {"both", 1, "token", "secret", 1},
    };
    Start();
    for (const auto& row : rows) {
        context->registryClient->token.present = row.present;
        context->registryClient->token.text = row.text;
        context->registryClient->identitySecret = row.secret;
        EXPECT_EQ(quillmarkclient::IsSignedIn(context, nullptr), row.expected) << row.name;
    }
}

TEST_F(FlatTokens, BadHandlesAreReportedWhereNoCodeCanBe) {
    Start();
    EXPECT_EQ(quillmarkclient::IsSignedIn(nullptr, nullptr), 0u);
    ExpectReported(ResultCode::kNotInitialized);
    quillmarkclient::SignOut(nullptr, nullptr);
    ExpectReported(ResultCode::kNotInitialized);
    auto session = std::move(context->registryClient);
    EXPECT_EQ(quillmarkclient::IsSignedIn(context, nullptr), 0u);
    quillmarkclient::SignOut(context, nullptr);
    EXPECT_EQ(platform.errors.size(), 4u);
    EXPECT_EQ(platform.CallCount(Operation::FileDelete), 0u);
    context->registryClient = std::move(session);
}

TEST_F(FlatTokens, SignOutForgetsTheSignInAndDeletesTheIdentityAlone) {
    StartSignedIn();
    platform.files["store/LIC2"] = "keys";
    quillmarkclient::SignOut(context, nullptr);
    EXPECT_FALSE(IsSignedIn());
    EXPECT_TRUE(context->registryClient->identitySecret.empty());
    EXPECT_EQ(context->registryClient->contextMode, 2u);
    EXPECT_EQ(platform.files.count("store/LIC0"), 0u);
    EXPECT_EQ(platform.files.count("store/LIC"), 1u);
    EXPECT_EQ(platform.files.count("store/LIC2"), 1u);
    EXPECT_TRUE(platform.requests.empty());
    EXPECT_TRUE(platform.logOrder.empty());

    Start();
    EXPECT_FALSE(IsSignedIn());
    EXPECT_EQ(AccessToken(), "own-token") << "the stored context token";
}

TEST_F(FlatTokens, SignOutOfNobodyIsHarmless) {
    Start();
    quillmarkclient::SignOut(context, nullptr);
    EXPECT_TRUE(platform.logOrder.empty());
    EXPECT_TRUE(platform.files.empty());
}

TEST_F(FlatTokens, FailedDeletionIsIgnored) {
    StartSignedIn();
    platform.FailCall(Operation::FileDelete, 0x8100000Bu);
    quillmarkclient::SignOut(context, nullptr);
    EXPECT_FALSE(IsSignedIn());
    EXPECT_TRUE(platform.logOrder.empty());
    EXPECT_EQ(platform.files.count("store/LIC0"), 1u);
}

}  // namespace
