// The sign-ins by way of a social provider and by a token of the host's own: what they check, drop, ask and
// store.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tests/support/FlatFixture.h"

namespace {

using quillmarkclient::ClientContext;
using Strings = std::vector<std::string>;

constexpr std::uint32_t kCustomer = 0;
constexpr std::uint32_t kBusiness = 1;
constexpr std::uint32_t kAdministrator = 2;

ResultCode ByToken(ClientContext* context) {
    return quillmarkclient::SignInWithSocialToken(context, "acme", "st-1", nullptr);
}
ResultCode ByCode(ClientContext* context) {
    return quillmarkclient::SignInWithSocialCode(context, "c-1", 0, nullptr);
}
ResultCode ByCodeAndSignUp(ClientContext* context) {
    return quillmarkclient::SignInWithSocialCode(context, "c-1", 1, nullptr);
}
ResultCode ByOwnToken(ClientContext* context) {
    return quillmarkclient::UseAccessToken(context, "t-1", nullptr);
}

constexpr struct {
    const char* name;
    ResultCode (*run)(ClientContext*);
} kSignIns[] = {
    {"by a social token", &ByToken},
    {"by a social code", &ByCode},
    {"by a social code with a sign-up", &ByCodeAndSignUp},
    {"by a token of the host's", &ByOwnToken},
};

const Strings kStoring = {test::kIdentities, test::kNewIdentity, test::kIdentitySecret};
const Strings kEnding = {test::kTrusts, test::kOwnContextToken, test::kIdentities, test::kNewIdentity,
                         test::kIdentitySecret};

Strings Joined(Strings lines, const Strings& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

class FlatSocial : public test::FlatFixture {
protected:
    // Signed in as `kind` with nothing recorded yet, whatever the service answers.
    void StartSignedInAs(std::uint32_t kind) {
        init.clientKind = kind;
        Start();
        context->registryClient->token = quillmarkclient_core::Token("former-token", true);
        context->registryClient->identitySecret = "former-secret";
        context->registryClient->contextMode = 1;
        context->registryClient->contextId = "org-1";
        platform.files = {{"store/LIC0", "identity"}, {"store/LIC", "context"}};
        Forget();
    }

    void ExpectNobody() {
        const auto& session = *context->registryClient;
        EXPECT_FALSE(IsSignedIn());
        EXPECT_STREQ(session.identitySecret.c_str(), "");
        EXPECT_EQ(session.contextMode, 2u);
        EXPECT_STREQ(session.contextId.c_str(), "");
    }
};

TEST_F(FlatSocial, HandleIsCheckedFirst) {
    static const struct {
        const char* name;
        ResultCode (*call)(ClientContext*);
    } rows[] = {
        {"SignInWithSocialToken",
         [](ClientContext* c) { return SignInWithSocialToken(c, nullptr, nullptr, nullptr); }},
        {"SignInWithSocialCode",
         [](ClientContext* c) { return SignInWithSocialCode(c, nullptr, 0, nullptr); }},
        {"UseAccessToken", [](ClientContext* c) { return UseAccessToken(c, nullptr, nullptr); }},
        {"GetSocialProviders", [](ClientContext* c) { return GetSocialProviders(c, nullptr, ';', nullptr); }},
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

TEST_F(FlatSocial, NullArgumentsDropNothing) {
    static const struct {
        const char* name;
        ResultCode (*call)(ClientContext*);
    } rows[] = {
        {"null provider", [](ClientContext* c) { return SignInWithSocialToken(c, nullptr, "t", nullptr); }},
        {"null token", [](ClientContext* c) { return SignInWithSocialToken(c, "p", nullptr, nullptr); }},
        {"null before empty",
         [](ClientContext* c) { return SignInWithSocialToken(c, "", nullptr, nullptr); }},
        {"null code", [](ClientContext* c) { return SignInWithSocialCode(c, nullptr, 0, nullptr); }},
        {"null code with a sign-up",
         [](ClientContext* c) { return SignInWithSocialCode(c, nullptr, 1, nullptr); }},
        {"null own token", [](ClientContext* c) { return UseAccessToken(c, nullptr, nullptr); }},
        {"null list", [](ClientContext* c) { return GetSocialProviders(c, nullptr, ';', nullptr); }},
    };
    for (const std::uint32_t kind : {kCustomer, kBusiness}) {
        StartSignedInAs(kind);
        for (const auto& row : rows) {
            SCOPED_TRACE(row.name);
            Forget();
            EXPECT_EQ(row.call(context), ResultCode::kInvalidParameters);
            EXPECT_EQ(platform.errors.size(), 1u);
            ExpectReported(ResultCode::kInvalidParameters);
            EXPECT_TRUE(platform.requests.empty());
            EXPECT_TRUE(IsSignedIn());
            EXPECT_EQ(platform.files.count("store/LIC0"), 1u);
        }
    }
}

TEST_F(FlatSocial, EmptyArgumentsAreRefusedBehindTheDrop) {
    static const struct {
        const char* name;
        std::uint32_t kind;
        ResultCode (*call)(ClientContext*);
    } rows[] = {
        {"empty provider", kCustomer,
         [](ClientContext* c) { return SignInWithSocialToken(c, "", "st-1", nullptr); }},
        {"empty token", kCustomer,
         [](ClientContext* c) { return SignInWithSocialToken(c, "acme", "", nullptr); }},
        {"empty code", kCustomer, [](ClientContext* c) { return SignInWithSocialCode(c, "", 0, nullptr); }},
        {"empty code with a sign-up", kCustomer,
         [](ClientContext* c) { return SignInWithSocialCode(c, "", 1, nullptr); }},
        {"empty code of a business", kBusiness,
         [](ClientContext* c) { return SignInWithSocialCode(c, "", 0, nullptr); }},
        {"empty code of a business with a sign-up", kBusiness,
         [](ClientContext* c) { return SignInWithSocialCode(c, "", 1, nullptr); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        StartSignedInAs(row.kind);
        EXPECT_EQ(row.call(context), ResultCode::kInvalidParameters);
        EXPECT_EQ(platform.errors.size(), 1u);
        ExpectReported(ResultCode::kInvalidParameters);
        EXPECT_TRUE(platform.requests.empty());
        ExpectNobody();
        EXPECT_EQ(platform.files, (std::map<std::string, std::string>{{"store/LIC", "context"}}));
    }
}

TEST_F(FlatSocial, EachReportHasALineOfItsOwn) {
    static const struct {
        const char* name;
        ResultCode (*badHandle)(ClientContext*);
        ResultCode (*badArgument)(ClientContext*);
        ResultCode (*refused)(ClientContext*);
    } rows[] = {
        {"SignInWithSocialToken",
         [](ClientContext*) {
             return quillmarkclient::SignInWithSocialToken(nullptr, "acme", "st-1", nullptr);
         },
         [](ClientContext* c) { return SignInWithSocialToken(c, "acme", nullptr, nullptr); }, &ByToken},
        {"SignInWithSocialCode",
         [](ClientContext*) { return quillmarkclient::SignInWithSocialCode(nullptr, "c-1", 0, nullptr); },
         [](ClientContext* c) { return SignInWithSocialCode(c, nullptr, 0, nullptr); }, &ByCode},
    };
    for (const char* line : {test::kSocialToken, test::kSocialCode})
        service.Answer(line, 500, "");
    Start();
    std::uint32_t last = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        EXPECT_EQ(row.badHandle(context), ResultCode::kNotInitialized);
        EXPECT_EQ(row.badArgument(context), ResultCode::kInvalidParameters);
        EXPECT_EQ(row.refused(context), ResultCode::kInternalServiceError);
        ASSERT_EQ(platform.errors.size(), 3u);
        for (const test::ReportedError& error : platform.errors) {
            EXPECT_EQ(error.source, "core/src/quillmarkclient");
            EXPECT_GT(error.line, last);
            last = error.line;
        }
    }
}

TEST_F(FlatSocial, EachRoadAsksAndStores) {
    const struct {
        const char* name;
        std::uint32_t kind;
        ResultCode (*run)(ClientContext*);
        Strings lines;
        Strings bodies;  // of the first requests
        const char* token;
        bool makesAccount;  // with a key that is kept for a repeat
    } rows[] = {
        {"token", kCustomer, &ByToken, Joined({test::kSocialToken}, kEnding), {""}, "own-token", false},
        {"code",
         kCustomer,
         &ByCode,
         Joined({test::kSocialCode}, kEnding),
         {R"({"code":"c-1"})"},
         "own-token",
         false},
        {"code with a sign-up",
         kCustomer,
         &ByCodeAndSignUp,
         Joined({test::kFinalizeByCode, test::kSocialCode}, kEnding),
         {R"({"code":"c-1"})", R"({"code":"c-1"})"},
         "own-token",
         true},
        {"code to be linked",
         kCustomer,
         [](ClientContext* c) { return SignInWithSocialCode(c, "c-1", 2, nullptr); },
         Joined({test::kSocialCode}, kEnding),
         {R"({"code":"c-1"})"},
         "own-token",
         false},
        {"unknown operation acts as 0",
         kCustomer,
         [](ClientContext* c) { return SignInWithSocialCode(c, "c-1", 0xFFFFFFFFu, nullptr); },
         Joined({test::kSocialCode}, kEnding),
         {R"({"code":"c-1"})"},
         "own-token",
         false},
        {"business code",
         kBusiness,
         &ByCode,
         Joined({test::kBusinessSocialCode}, kStoring),
         {R"({"code":"c-1"})"},
         "business-code-token",
         false},
        {"business code with a sign-up",
         kBusiness,
         &ByCodeAndSignUp,
         Joined({test::kBusinessContext, test::kBusinessSocialCode}, kStoring),
         {R"({"code":"c-1","context":"business"})", R"({"code":"c-1"})"},
         "business-code-token",
         false},
        {"business code to be linked",
         kBusiness,
         [](ClientContext* c) { return SignInWithSocialCode(c, "c-1", 2, nullptr); },
         Joined({test::kBusinessSocialCode}, kStoring),
         {R"({"code":"c-1"})"},
         "business-code-token",
         false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        init.clientKind = row.kind;
        platform.files.clear();
        Start();
        Forget();
        EXPECT_EQ(row.run(context), ResultCode::kSuccess);
        EXPECT_EQ(Lines(), row.lines);
        for (std::size_t i = 0; i < row.bodies.size(); ++i)
            EXPECT_EQ(platform.requests.at(i).body, row.bodies[i]);
        EXPECT_TRUE(IsSignedIn());
        EXPECT_EQ(AccessToken(), row.token);
        EXPECT_EQ(FileText("store/LIC0"),
                  R"({"identityToken":"identity-secret","contextType":"b2c","contextId":""})");
        EXPECT_EQ(FileText("store/LIC"), std::string(R"({"contextToken":")") + row.token + R"("})");
        EXPECT_EQ(platform.files.count("store/LIC2"), row.makesAccount ? 1u : 0u);
        EXPECT_TRUE(platform.errors.empty());

        Start();
        EXPECT_TRUE(IsSignedIn()) << "the next start finds the sign-in";
    }
}

TEST_F(FlatSocial, TheSignInsOfOtherKindsAreNotThere) {
    static const struct {
        const char* name;
        std::uint32_t kind;
        ResultCode (*run)(ClientContext*);
    } rows[] = {
        {"business, token", kBusiness, &ByToken},
        {"business, empty token", kBusiness,
         [](ClientContext* c) { return SignInWithSocialToken(c, "", "", nullptr); }},
        {"administrator, token", kAdministrator, &ByToken},
        {"administrator, code", kAdministrator, &ByCode},
        {"administrator, code with a sign-up", kAdministrator, &ByCodeAndSignUp},
        {"administrator, empty code", kAdministrator,
         [](ClientContext* c) { return SignInWithSocialCode(c, "", 0, nullptr); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        StartSignedInAs(row.kind);
        EXPECT_EQ(row.run(context), ResultCode::kNotImplemented);
        EXPECT_EQ(platform.errors.size(), 1u);
        ExpectReported(ResultCode::kNotImplemented);
        EXPECT_TRUE(platform.requests.empty());
        ExpectNobody();
        EXPECT_EQ(platform.files.count("store/LIC0"), 0u) << "the former sign-in was dropped by then";
    }
}

TEST_F(FlatSocial, TheFormerSignInIsGoneWhenTheFirstRequestArrives) {
    const auto answer = platform.responder;
    for (const auto& signIn : kSignIns) {
        SCOPED_TRACE(signIn.name);
        StartSignedInAs(kCustomer);
        int requests = 0;
        platform.responder = [&](const test::RecordedRequest& request) {
            if (++requests == 1) {
                const auto& session = *context->registryClient;
                EXPECT_STREQ(session.identitySecret.c_str(), "");
                EXPECT_EQ(session.token.present, 0u);
                EXPECT_EQ(session.contextMode, 2u);
                EXPECT_EQ(platform.files.count("store/LIC0"), 0u);
                EXPECT_EQ(platform.files.count("store/LIC"), 1u);
                EXPECT_EQ(request.Header("Authorization"), "(none)");
            }
            return answer(request);
        };
        EXPECT_EQ(signIn.run(context), ResultCode::kSuccess);
        EXPECT_EQ(requests > 0, signIn.run != &ByOwnToken);
        platform.responder = answer;
    }
}

TEST_F(FlatSocial, ANobodyHasNothingDropped) {
    for (const auto& signIn : kSignIns) {
        SCOPED_TRACE(signIn.name);
        platform.files.clear();
        Start();
        const auto before = platform.CallCount(test::Operation::FileDelete);
        EXPECT_EQ(signIn.run(context), ResultCode::kSuccess);
        EXPECT_EQ(platform.CallCount(test::Operation::FileDelete), before);
    }
}

TEST_F(FlatSocial, AFailedDeletionKeepsNoSignInFromGoingOn) {
    for (const auto& signIn : kSignIns) {
        SCOPED_TRACE(signIn.name);
        StartSignedInAs(kCustomer);
        platform.FailCall(test::Operation::FileDelete, 0x8100000Bu);
        EXPECT_EQ(signIn.run(context), ResultCode::kSuccess);
        EXPECT_TRUE(platform.errors.empty());
    }
}

TEST_F(FlatSocial, AnOwnTokenIsTakenAsItStandsAndStoredNowhere) {
    static const struct {
        const char* name;
        const char* token;
    } rows[] = {
        {"a word", "token"},
        {"empty", ""},
        {"three pieces", "e30.e30.sig"},
        {"no UTF-8", "\xff\xfe\x80"},
        {"quotes and controls", "a\"b\\c\n"},
    };
    for (const std::uint32_t kind : {kCustomer, kBusiness, kAdministrator}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(row.name) + ", kind " + std::to_string(kind));
            StartSignedInAs(kind);
            EXPECT_EQ(UseAccessToken(context, row.token, nullptr), ResultCode::kSuccess);
            EXPECT_TRUE(IsSignedIn()) << "the service judges it";
            EXPECT_EQ(AccessToken(), row.token);
            EXPECT_EQ(context->registryClient->contextMode, 2u);
            EXPECT_EQ(Text(&quillmarkclient::GetIdentityToken), "(none)");
            EXPECT_TRUE(platform.requests.empty());
            EXPECT_EQ(platform.files, (std::map<std::string, std::string>{{"store/LIC", "context"}}));
        }
    }
}

TEST_F(FlatSocial, AnOwnTokenLastsUntilTheNextStart) {
    StartSignedIn();
    ASSERT_EQ(ByOwnToken(context), ResultCode::kSuccess);
    quillmarkclient::CustomerData* data = nullptr;
    ASSERT_EQ(GetCustomerData(context, &data, nullptr), ResultCode::kSuccess);
    quillmarkclient::FreeMemory(context, data, nullptr);
    EXPECT_EQ(platform.requests.at(0).Header("Authorization"), "Bearer t-1");
    Start();
    EXPECT_FALSE(IsSignedIn());
    EXPECT_EQ(AccessToken(), "own-token") << "the context token of the sign-in before";
}

}  // namespace
