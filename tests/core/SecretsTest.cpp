// Where each secret of a session turns up, and where it does not: the log, the files, the error record. What
// stands here stands in docs/secrets.md too.
#include "tests/core/SecretsFixture.h"

#include <algorithm>

namespace {

using namespace test::secrets;
using Strings = std::vector<std::string>;

class Secrets : public SecretsFixture {};

const Strings kEverySecret = {kLogin,        kPassword,       kChallenge,  kFactorCode,    kBareToken,
                              kContextToken, kIdentitySecret, kSocialCode, kProviderToken, kHostText,
                              kKey};

// --- the trace outlet, flow by flow

TEST_F(Secrets, TheTraceOutletShowsOfEachFlow) {
    struct Flow {
        const char* name;
        std::uint32_t kind;
        std::function<void()> before;
        std::function<void()> run;
        Strings sent;
        Strings shown;
    };
    const std::vector<Flow> flows = {
        {"password",
         0,
         [this] { Start(); },
         [this] { SignIn(); },
         {kLogin, kPassword, kBareToken, kContextToken},
         {}},
        {"refused password",
         0,
         [this] { Start(); },
         [this] { RefuseSignIn(test::kPassword); },
         {kLogin, kPassword},
         {}},
        {"password that wants a second factor",
         0,
         [this] { Start(); },
         [this] { SignInToTheSecondFactor(); },
         {kLogin, kPassword},
         {}},
        {"second factor",
         0,
         [this] { Start(); },
         [this] { ConfirmSecondFactor(); },
         {kChallenge, kFactorCode, kBareToken, kContextToken},
         {}},
        {"choice of a context",
         0,
         [this] { StartSignedIn(); },
         [this] { SignInToContext(1); },
         {kContextToken},
         {}},
        {"renewal",
         0,
         [this] { StartSignedIn(); },
         [this] { RefreshAccessToken(); },
         {kIdentitySecret, kBareToken},
         {kIdentitySecret}},
        {"user's details behind a renewal",
         0,
         [this] { StartSignedIn(); },
         [this] { GetCustomerDataBehindARenewal(); },
         {kIdentitySecret, kBareToken, kContextToken},
         {kIdentitySecret}},
        {"start on a stored sign-in",
         0,
         [this] { StartSignedIn(); },
         [this] { Start(); },
         {kIdentitySecret, kBareToken},
         {kIdentitySecret}},
        {"social providers",
         0,
         [this] { StartSignedIn(); },
         [this] { GetSocialProviders(); },
         {kContextToken},
         {}},
        {"provider's token",
         0,
         [this] { Start(); },
         [this] { SocialToken(false); },
         {kProviderToken, kBareToken},
         {kProviderToken}},
        {"provider's token, with a sign-up",
         0,
         [this] { Start(); },
         [this] { SocialToken(true); },
         {kProviderToken, kBareToken, kKey},
         {kProviderToken, kKey}},
        {"social code",
         0,
         [this] { Start(); },
         [this] { SocialCode(0); },
         {kSocialCode, kBareToken},
         {kSocialCode}},
        {"social code, with a sign-up",
         0,
         [this] { Start(); },
         [this] { SocialCode(1); },
         {kSocialCode, kBareToken, kKey},
         {kSocialCode, kKey}},
        {"refused sign-up",
         0,
         [this] { Start(); },
         [this] { RefusedSignUp(); },
         {kSocialCode, kKey},
         {kSocialCode, kKey}},
        {"business: password",
         1,
         [this] { Start(); },
         [this] { SignIn(); },
         {kLogin, kPassword, kContextToken},
         {}},
        {"business: social code",
         1,
         [this] { Start(); },
         [this] { SocialCode(0); },
         {kSocialCode},
         {kSocialCode}},
        {"business: dynamic context",
         1,
         [this] { Start(); },
         [this] { SocialCode(1); },
         {kSocialCode},
         {kSocialCode}},
        {"business: renewal",
         1,
         [this] { StartSignedIn(); },
         [this] { RefreshAccessToken(); },
         {kIdentitySecret},
         {kIdentitySecret}},
        {"administrator: password", 2, [this] { Start(); }, [this] { SignIn(); }, {kLogin, kPassword}, {}},
        {"update check", 0, [this] { StartSignedIn(); }, [this] { CheckForUpdates(); }, {kContextToken}, {}},
        {"ticket",
         0,
         [this] { StartSignedIn(); },
         [this] { FileTicket(); },
         {kHostText, kKey},
         {kHostText, kKey}},
        {"metadata document",
         0,
         [this] { StartSignedIn(); },
         [this] { PostMetadata(); },
         {kContextToken, kHostText},
         {kHostText}},
        {"new administrator",
         0,
         [this] { StartSignedIn(); },
         [this] { MakeAdministrator(); },
         {kLogin, kPassword, kContextToken, kHostText},
         {}},
        {"report", 0, [this] { StartSignedIn(); }, [this] { ComposeReport(); }, {}, {}},
    };
    for (const Flow& flow : flows) {
        SCOPED_TRACE(flow.name);
        platform.files.clear();
        init.clientKind = flow.kind;
        flow.before();
        Forget();
        sent_.clear();
        keys_.clear();
        flow.run();
        sent_ = SentText();
        if (const std::string key = SentKey(); !key.empty())
            keys_.insert(key);
        ExpectSent(flow.sent);
        EXPECT_EQ(keys_.size(), std::count(flow.sent.begin(), flow.sent.end(), std::string(kKey)));

        const std::string trace = Joined(platform.traceLines);
        Strings shown;
        for (const std::string& secret : kEverySecret) {
            for (const std::string& text : TextsOf(secret)) {
                if (trace.find(text) != std::string::npos)
                    shown.push_back(secret);
            }
        }
        EXPECT_EQ(shown, flow.shown);
        EXPECT_FALSE(trace.empty());
    }
}

TEST_F(Secrets, OfAHiddenBodyOnlyTheStarsAreShown) {
    const struct {
        const char* name;
        std::uint32_t kind;
        std::function<void()> run;
        const char* line;
    } rows[] = {
        {"password", 0, [this] { SignIn(); }, "\tbody: {\"login\": \"***\", \"password\": \"***\"}\n"},
        {"second factor", 0, [this] { ConfirmSecondFactor(); },
         "\tbody: {\"challengeToken\": \"***\", \"code\": \"***\"}\n"},
        {"business", 1, [this] { SignIn(); }, "\tbody: {\"login\": \"***\", \"password\": \"***\"}\n"},
        {"administrator", 2, [this] { SignIn(); }, "\tbody: {\"email\": \"***\", \"password\": \"***\"}\n"},
        {"new administrator", 0,
         [this] {
             SignIn();
             Forget();
             MakeAdministrator();
         },
         "\tbody: [{\"name\": \"***\", \"email\": \"***\", \"password\": \"***\", "
         "\"description\": \"***\", \"isEnabled\": true}]\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.files.clear();
        init.clientKind = row.kind;
        Start();
        Forget();
        row.run();
        const auto& lines = platform.traceLines;
        const auto request = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
            return line.find("\tbody: ") != std::string::npos;
        });
        ASSERT_NE(request, lines.end());
        EXPECT_EQ(request->substr(request->find("\tbody: ")), row.line);
    }
}

// --- all places, for all that a session of each kind does

TEST_F(Secrets, OfACustomer) {
    Run({
        [this] { Start(); },
        [this] { RefuseSignIn(test::kPassword); },
        [this] { SignInToTheSecondFactor(); },
        [this] {
            service.AnswerOnce(test::kSecondFactor, 401,
                               R"({"status":401,"errorCode":"CODE_VERIFICATION_FAILED"})");
            ConfirmSecondFactor(ResultCode::kInvalidVerificationCode);
        },
        [this] { ConfirmSecondFactor(); },
        [this] { SignIn(); },
        [this] { GetCustomerDataBehindARenewal(); },
        [this] { RefreshAccessToken(); },
        [this] { GetSocialProviders(); },
        [this] { Start(); },
        [this] { SocialToken(true); },
        [this] { SocialCode(0); },
        [this] { SocialCode(1); },
        [this] { RefusedSignUp(); },
        // Every file is written, and every outlet told something, behind the last use of every secret.
        [this] { SocialCode(1); },
        [this] { SignInToContext(1); },
        [this] { CheckForUpdates(); },
        [this] { FileTicket(); },
        [this] { PostMetadata(); },
        [this] { MakeAdministrator(); },
        [this] { ComposeReport(); },
        [this] { RefuseSignIn(test::kPassword); },
    });
    ExpectSent(kEverySecret);
    EXPECT_EQ(keys_.size(), 3u) << "of the token, of the code and of the ticket";
    ExpectShown(
        {
            {kLogin, {}},
            {kPassword, {}},
            {kFactorCode, {}},
            {kChallenge, {"error record"}},
            {kBareToken, {}},
            {kContextToken, {"LIC deciphered"}},
            {kIdentitySecret, {"trace outlet", "LIC0 deciphered"}},
            {kSocialCode, {"trace outlet"}},
            {kProviderToken, {"trace outlet"}},
            {kHostText, {"trace outlet"}},
            {kKey, {"trace outlet", "LIC2"}},
            {kWords, {"error record"}},
            {kSignUpWords, {"trace outlet", "error record"}},
        },
        {"trace outlet", "error outlet", "LIC0 deciphered", "LIC deciphered", "LIC0 and LIC as they lie",
         "LIC2", "error record"});
}

TEST_F(Secrets, OfABusiness) {
    init.clientKind = 1;
    Run({
        [this] { Start(); },
        [this] { SocialCode(0); },
        [this] { SocialCode(1); },
        [this] { SignIn(); },
        [this] { RefreshAccessToken(); },
        [this] { Start(); },
        [this] { SignIn(); },
        [this] { RefuseSignIn(kBusinessPassword); },
    });
    ExpectSent({kLogin, kPassword, kContextToken, kIdentitySecret, kSocialCode});
    ExpectShown(
        {
            {kLogin, {}},
            {kPassword, {}},
            {kContextToken, {"LIC deciphered"}},
            {kIdentitySecret, {"trace outlet", "LIC0 deciphered"}},
            {kSocialCode, {"trace outlet"}},
            {kWords, {"error record"}},
        },
        {"trace outlet", "error outlet", "LIC0 deciphered", "LIC deciphered", "LIC0 and LIC as they lie",
         "error record"});
}

TEST_F(Secrets, OfAnAdministrator) {
    init.clientKind = 2;
    Run({
        [this] { Start(); },
        [this] { SignIn(); },
        [this] { GetSocialProviders(); },
        [this] { RefuseSignIn(kAdminPassword); },
    });
    ExpectSent({kLogin, kPassword, kContextToken});
    ExpectShown(
        {
            {kLogin, {}},
            {kPassword, {}},
            {kContextToken, {}},
            {kWords, {"error record"}},
        },
        {"trace outlet", "error outlet", "error record"});
    EXPECT_TRUE(platform.files.empty()) << "nothing of an administrator is stored";
}

}  // namespace
