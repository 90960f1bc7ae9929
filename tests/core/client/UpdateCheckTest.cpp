// The update check: which feeds are asked, what goes on the wire, and what the answers mean.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/core/client/ClientFixture.h"

namespace {

using quillmarkclient_core::ProductUpdateInfo;

const std::string kFeed =
    "<rss><channel><item><title>2.0</title><content:encoded>news</content:encoded><category>Windows"
    "</category><category>x64</category><enclosure url=\"https://dl.test/2.0\"/></item></channel></rss>";

const std::string kEnglish = "GET /feeds/foo_bar_en/rss";
const std::string kGerman = "GET /feeds/foo_bar_de/rss";

class UpdateCheck : public test::ClientFixture {
protected:
    std::uint32_t Check(const char* language, const char* currentVersion = "1.0") {
        return static_cast<std::uint32_t>(
            client.GetProductUpdateInfo("foo", "bar", currentVersion, language, info, &error, nullptr));
    }
    [[nodiscard]] std::string Told() const {
        return std::string(info.version.c_str()) + "|" + info.description.c_str() + "|" + info.url.c_str();
    }

    ProductUpdateInfo info;
};

TEST_F(UpdateCheck, FindsTheNewestBuild) {
    service.Answer(kEnglish, 200, kFeed);
    EXPECT_EQ(Check("en"), 0u);
    EXPECT_EQ(Told(), "2.0|news|https://dl.test/2.0");
    EXPECT_EQ(Lines(), Strings{kEnglish});
    EXPECT_TRUE(platform.errors.empty());
}

TEST_F(UpdateCheck, EveryByteOfTheRequest) {
    static const HeaderList own = {{"Accept", "application/xml"}, {"Cache-Control", "no-cache"}};
    static const struct {
        const char* name;
        bool signedIn;
        HeaderList headers;
    } rows[] = {
        {"nobody signed in",
         false,
         {{"Accept", "application/xml"}, {"Cache-Control", "no-cache"}, {"x-vqm-custom", "vqm-client"}}},
        {"signed in",
         true,
         {{"Accept", "application/xml"},
          {"Cache-Control", "no-cache"},
          {"Authorization", "Bearer a.b.c"},
          {"x-vqm-custom", "vqm-client"}}},
    };
    service.Answer(kEnglish, 200, kFeed);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        session.ResetAuthState();
        if (row.signedIn)
            SignIn();
        EXPECT_EQ(Check("en"), 0u);
        ASSERT_EQ(platform.requests.size(), 1u);
        const test::RecordedRequest& sent = platform.requests[0];
        EXPECT_EQ(sent.method, "GET");
        EXPECT_EQ(sent.url, "https://service.test/feeds/foo_bar_en/rss");
        EXPECT_EQ(sent.headers, row.headers);
        EXPECT_EQ(sent.body, "");
        EXPECT_EQ(sent.flags, 0u);
        EXPECT_EQ(platform.traceLines, Strings{Described("\"Get Product Update Info\" request.",
                                                         "/feeds/foo_bar_en/rss", own, "")});
    }
}

TEST_F(UpdateCheck, EachLanguagesRequestIsLogged) {
    static const HeaderList own = {{"Accept", "application/xml"}, {"Cache-Control", "no-cache"}};
    const char name[] = "\"Get Product Update Info\" request.";
    service.Answer(kGerman, 404, "");
    service.Answer(kEnglish, 200, kFeed);
    EXPECT_EQ(Check("de"), 0u);
    EXPECT_EQ(platform.traceLines, (Strings{Described(name, "/feeds/foo_bar_de/rss", own, ""),
                                            Described(name, "/feeds/foo_bar_en/rss", own, "")}));
}

TEST_F(UpdateCheck, ATokenFromAFileIsNotSent) {
    session.SetAccessToken("restored", false, nullptr);
    service.Answer(kEnglish, 200, kFeed);
    EXPECT_EQ(Check("en"), 0u);
    EXPECT_EQ(platform.requests[0].Header("Authorization"), "(none)");
}

TEST_F(UpdateCheck, NamesGoIntoTheAddressAsTheyAre) {
    service.Answer("GET /feeds/a b/../c?d_%2f&_#en/rss", 200, kFeed);
    EXPECT_EQ(client.GetProductUpdateInfo("A b/../c?d", "%2F&", "1", "#EN", info, &error, nullptr),
              ResultCode::kSuccess);
}

// A status for each feed that is asked, in their order; 0 fails the exchange.
TEST_F(UpdateCheck, Languages) {
    struct Answer {
        const char* feed;
        std::uint32_t status;
    };
    static const struct {
        const char* name;
        const char* language;
        std::vector<Answer> answers;
        std::uint32_t code;
    } rows[] = {
        {"the language is there", "de", {{"de", 200}}, 0},
        {"English instead", "de", {{"de", 404}, {"en", 200}}, 0},
        {"neither", "de", {{"de", 404}, {"en", 404}}, 0x84000004},
        {"English fails", "de", {{"de", 404}, {"en", 500}}, 0x84000006},
        {"English is refused", "de", {{"de", 404}, {"en", 400}}, 0x84000001},
        {"a failure is not followed by English", "de", {{"de", 500}}, 0x84000006},
        {"nor is a refusal", "de", {{"de", 400}}, 0x84000001},
        {"nor is a denial", "de", {{"de", 401}}, 0x82000002},
        {"nor is a broken exchange", "de", {{"de", 0}}, 0x80000006},
        {"English is there", "en", {{"en", 200}}, 0},
        {"English is asked once", "en", {{"en", 404}}, 0x84000004},
        {"in capitals too", "EN", {{"en", 404}}, 0x84000004},
        {"in mixed case too", "eN", {{"en", 404}}, 0x84000004},
        {"capitals are folded", "DE", {{"de", 404}, {"en", 200}}, 0},
        {"British English is another language", "en-GB", {{"en-gb", 404}, {"en", 200}}, 0},
        {"American English too", "en_us", {{"en_us", 404}, {"en", 200}}, 0},
        {"British English is there", "en-GB", {{"en-gb", 200}}, 0},
        {"English with a blank is another language", "en ", {{"en ", 404}, {"en", 200}}, 0},
        {"no language", "", {{"", 404}, {"en", 200}}, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        Strings expected;
        for (const Answer& answer : row.answers) {
            expected.push_back(std::string("GET /feeds/foo_bar_") + answer.feed + "/rss");
            if (answer.status != 0)
                platform.AnswerWith(answer.status, answer.status == 200 ? kFeed : "");
            else
                platform.FailExchange(0x81000006u);
        }
        EXPECT_EQ(Check(row.language), row.code);
        EXPECT_EQ(Lines(), expected);
        EXPECT_EQ(platform.UnusedAnswers(), 0u);
        EXPECT_EQ(platform.errors.size(), row.code == 0 ? 0u : 1u) << "a first language's 404 is no failure";
        EXPECT_EQ(Told(), row.code == 0 ? "2.0|news|https://dl.test/2.0" : "||");
    }
}

TEST_F(UpdateCheck, AFeedThatIsThereEndsTheSearch) {
    static const struct {
        const char* name;
        std::string body;
        std::uint32_t code;
    } rows[] = {
        {"nothing in it", "<rss><channel/></rss>", 0x84000004},
        {"nothing newer in it", kFeed, 0x84000004},
        {"no feed", "<html/>", 0x84000001},
        {"no XML", "hello", 0x84000001},
        {"empty", "", 0x84000001},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        platform.AnswerWith(200, row.body);
        EXPECT_EQ(Check("de", "2.0"), row.code);
        EXPECT_EQ(Lines(), Strings{kGerman}) << "no English try";
        ExpectOneReport(row.code, "Unknown error code");
        EXPECT_EQ(error.resultCode, 0u) << "the service has refused nothing";
    }
}

TEST_F(UpdateCheck, Statuses) {
    static const struct {
        std::uint32_t status;
        std::uint32_t code;
    } rows[] = {
        {200, 0},          {201, 0x84000006}, {204, 0x84000006}, {304, 0x84000006}, {400, 0x84000001},
        {403, 0x84000006}, {404, 0x84000004}, {409, 0x84000006}, {423, 0x84000006}, {429, 0x84000006},
        {500, 0x84000006}, {503, 0x84000006}, {0, 0x84000006},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.status);
        Forget();
        platform.AnswerWith(row.status, row.status == 200 ? kFeed : R"({"title":"why","status":"429"})");
        EXPECT_EQ(Check("en"), row.code);
        if (row.code == 0) {
            EXPECT_TRUE(platform.errors.empty());
            EXPECT_EQ(error.httpCode, 0u);
            continue;
        }
        ExpectOneReport(row.code, "Unknown error code");
        EXPECT_EQ(error.resultCode, row.code);
        EXPECT_EQ(error.httpCode, row.status);
        EXPECT_STREQ(error.title.c_str(), "why");
    }
}

TEST_F(UpdateCheck, AMissingFirstLanguageStaysInTheRecord) {
    platform.AnswerWith(404, R"({"title":"no German"})");
    platform.AnswerWith(200, kFeed);
    EXPECT_EQ(Check("de"), 0u);
    EXPECT_EQ(error.resultCode, 0x84000004u);
    EXPECT_STREQ(error.title.c_str(), "no German");
}

TEST_F(UpdateCheck, A401WithoutASecretIsDeniedByTheSession) {
    SignIn();
    service.Answer(kEnglish, 401, R"({"title":"expired"})");
    EXPECT_EQ(Check("en"), 0x82000002u);
    EXPECT_EQ(Lines(), Strings{kEnglish});
    ExpectOneReport(0x82000002, "Authorization is denied");
    EXPECT_EQ(error.resultCode, 0u) << "the request's table was not asked";
}

TEST_F(UpdateCheck, A401WithASecretRenewsOnce) {
    SignIn();
    session.identitySecret = "secret";
    service.AnswerOnce(kEnglish, 401, "");
    service.Answer(kEnglish, 200, kFeed);
    EXPECT_EQ(Check("en"), 0u);
    EXPECT_EQ(Lines(), (Strings{kEnglish, test::kRenewal, test::kOwnContextToken, kEnglish}));
    EXPECT_EQ(platform.requests[3].Header("Authorization"), "Bearer own-token");
}

TEST_F(UpdateCheck, A401BehindARenewalIsForTheTable) {
    SignIn();
    session.identitySecret = "secret";
    service.Answer(kEnglish, 401, "");
    EXPECT_EQ(Check("en"), 0x84000006u);
    EXPECT_EQ(Lines(), (Strings{kEnglish, test::kRenewal, test::kOwnContextToken, kEnglish}));
    ExpectOneReport(0x84000006, "Unknown error code");
}

TEST_F(UpdateCheck, AFailedRenewalsCodeComesBackAsItStands) {
    SignIn();
    session.identitySecret = "secret";
    service.Answer(kEnglish, 401, "");
    service.Answer(test::kRenewal, 500, "");
    EXPECT_EQ(Check("en"), 0x82000003u);
    ExpectOneReport(0x82000003, "Internal registry service error");
}

TEST_F(UpdateCheck, ANotFoundRenewalIsNoMissingFeed) {
    SignIn();
    session.identitySecret = "secret";
    service.Answer(kGerman, 401, "");
    service.Answer(test::kRenewal, 404, "");
    EXPECT_EQ(Check("de"), 0x8200000Eu);
    EXPECT_EQ(Lines(), (Strings{kGerman, test::kRenewal})) << "English is not tried";
}

TEST_F(UpdateCheck, TransportFailures) {
    static const struct {
        std::uint32_t result;
        std::uint32_t code;
        const char* message;
    } rows[] = {
        {0x81000006, 0x80000006, "Problems sending network requests"},
        {0x81000007, 0x80000006, "Problems sending network requests"},
        {0x81000014, 0x81000014, "The HTTP request timed out"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.result);
        Forget();
        platform.FailExchange(row.result);
        EXPECT_EQ(Check("en"), row.code);
        EXPECT_EQ(platform.requests.size(), 1u) << "no repeats without a key";
        ExpectOneReport(row.code, row.message);
        EXPECT_EQ(error.resultCode, 0u);
    }
}

TEST_F(UpdateCheck, WithoutASessionNothingIsDone) {
    client.registryClient = nullptr;
    info.version = "former";
    EXPECT_EQ(Check("en"), 0x80000001u);
    ExpectOneReport(0x80000001, "Internal program error");
    EXPECT_TRUE(platform.requests.empty());
    EXPECT_STREQ(info.version.c_str(), "former") << "the result is cleared behind this check";
}

TEST_F(UpdateCheck, AFormerResultIsCleared) {
    info.version = "9.0";
    info.description = "former";
    info.url = "former";
    service.Answer(kEnglish, 500, "");
    EXPECT_EQ(Check("en"), 0x84000006u);
    EXPECT_EQ(Told(), "||");
    info.version = "9.0";
    info.url = "former";
    service.Answer(kEnglish, 200, kFeed);
    EXPECT_EQ(Check("en"), 0u);
    EXPECT_EQ(Told(), "2.0|news|https://dl.test/2.0") << "not the former 9.0";
}

TEST_F(UpdateCheck, TheFirstLanguagesBodyIsForgotten) {
    platform.AnswerWith(404, kFeed);
    test::ScriptedAnswer nothing;
    nothing.nullBlocks = true;
    platform.AnswerWith(nothing);
    EXPECT_EQ(Check("de"), 0x84000001u) << "the English answer is empty";
}

TEST_F(UpdateCheck, TheRecordMayBeAbsent) {
    for (const std::uint32_t status : {400u, 404u, 500u}) {
        platform.AnswerWith(status, R"({"title":"why"})");
        EXPECT_FALSE(IsSuccess(client.GetProductUpdateInfo("foo", "bar", "1", "en", info, nullptr, nullptr)));
    }
}

}  // namespace
