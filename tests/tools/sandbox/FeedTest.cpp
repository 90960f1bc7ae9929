// The update feeds: who gets which, what a second opinion on XML reads in them, and how they break on demand.

#include <gtest/gtest.h>

#include "tests/support/Command.h"
#include "tests/support/SandboxFixture.h"
#include "tests/tools/sandbox/SandboxClient.h"
#include "tools/sandbox/FeedDocument.h"

namespace {

using sandbox::FeedState;
using test_support::clientHeaders;
using test_support::exchange;
using test_support::Reply;

constexpr const char* kEnglish = "/feeds/harbour_home_en/rss";
constexpr const char* kGerman = "/feeds/harbour_home_de/rss";

class Feed : public testing::Test {
protected:
    Reply get(const std::string& target, const sandbox::NamedValues& headers = clientHeaders()) {
        return exchange(fixture.baseUrl(), "GET", target, headers);
    }
    // What `expression` of Python gives for the feed; `channel` is its channel, `items` are its items and
    // `text(item, name)` is the text of a child.
    std::string read(const char* target, const std::string& expression) {
        const std::string program =
            "import sys, xml.etree.ElementTree as E\n"
            "channel = E.fromstring(sys.stdin.buffer.read()).find(\"channel\")\n"
            "items = channel.findall(\"item\")\n"
            "encoded = \"{http://purl.org/rss/1.0/modules/content/}encoded\"\n"
            "text = lambda item, name: item.findtext(name)\n"
            "sys.stdout.buffer.write(str(" +
            expression + ").encode())";
        return test::Output("python3 -c '" + program + "'", get(target).body);
    }

    test_support::SandboxFixture fixture;
};

TEST_F(Feed, IsOpenAndChecksItsRequest) {
    const std::string token = test_support::signIn(fixture.baseUrl(), fixture.account("plain"));
    const std::pair<std::string, std::string> client = {"x-vqm-custom", "vqm-client"};
    const struct {
        const char* name;
        const char* method;
        const char* target;
        sandbox::NamedValues headers;
        int status;
    } rows[] = {
        {"English", "GET", kEnglish, {client}, 200},
        {"German", "GET", kGerman, {client}, 200},
        {"the other product", "GET", "/feeds/lantern_pro_en/rss", {client}, 200},
        {"a language that it lacks", "GET", "/feeds/lantern_pro_de/rss", {client}, 404},
        {"an unknown product", "GET", "/feeds/nothing_home_en/rss", {client}, 404},
        {"no language", "GET", "/feeds/harbour_home/rss", {client}, 404},
        {"capitals", "GET", "/feeds/Harbour_Home_EN/rss", {client}, 404},
        {"no name", "GET", "/feeds//rss", {client}, 404},
        {"another end", "GET", "/feeds/harbour_home_en/atom", {client}, 404},
        {"as the client asks", "GET", kEnglish, {client, {"Accept", "application/xml"}}, 200},
        {"Accept JSON", "GET", kEnglish, {client, {"Accept", "application/json"}}, 406},
        {"no client header", "GET", kEnglish, {}, 400},
        {"another method", "POST", kEnglish, {client}, 405},
        {"a good bearer", "GET", kEnglish, clientHeaders(token), 200},
        {"a bad bearer", "GET", kEnglish, clientHeaders("bad"), 401},
        {"no bearer's authorisation", "GET", kEnglish, {client, {"Authorization", "Basic x"}}, 401},
    };
    for (const auto& row : rows) {
        const Reply reply = exchange(fixture.baseUrl(), row.method, row.target, row.headers);
        EXPECT_EQ(reply.status, row.status) << row.name;
        const std::string* type = sandbox::findHeader(reply.headers, "Content-Type");
        ASSERT_NE(type, nullptr) << row.name;
        EXPECT_EQ(*type, row.status == 200 ? "application/xml;charset=UTF-8" : "application/problem+json")
            << row.name;
    }
}

TEST_F(Feed, TakesNoBody) {
    const sandbox::Request request{"GET", kEnglish, clientHeaders(), "{}"};
    EXPECT_EQ(fixture.service().answer(request).status, 400);
}

TEST_F(Feed, AnotherReaderFindsWhatItOffers) {
    static const struct {
        const char* name;
        const char* target;
        const char* expression;
        const char* value;
    } rows[] = {
        {"language", kGerman, "text(channel, \"language\")", "de"},
        {"title", kEnglish, "text(channel, \"title\")", "Harbour & Home"},
        {"several hundred items", kEnglish, "len(items)", "362"},
        {"items of the other product", "/feeds/lantern_pro_en/rss", "len(items)", "152"},
        {"the order is not that of the versions", kEnglish, "[text(i, \"title\") for i in items[1:12:3]]",
         "['9.0.0', '8.4.1', '8.4.2', '8.3.3']"},
        {"the last", "/feeds/lantern_pro_en/rss", "text(items[-1], \"title\")", "1.1.0"},
        {"platforms of a build", kEnglish,
         "[[c.text for c in i.findall(\"category\")] for i in items if text(i, \"title\") == \"8.4.2\"]",
         "[['Windows', 'x64', 'Stable'], ['Windows', 'x86', 'Stable'], ['Linux', 'x64', 'Stable']]"},
        {"the newest is for Linux alone", kEnglish,
         "[[c.text for c in i.findall(\"category\")] for i in items if text(i, \"title\") == \"9.0.0\"]",
         "[['Linux', 'x64', 'Preview']]"},
        {"a notice without build", kEnglish,
         "[text(items[0], \"title\"), items[0].find(\"category\"), items[0].find(\"enclosure\")]",
         "['Maintenance on Sunday', None, None]"},
        {"an address", kGerman, "items[5].find(\"enclosure\").get(\"url\")",
         "https://downloads.example.test/harbour_home/8.4.2/setup-x64.exe?lang=de&source=feed"},
        {"a date", kEnglish, "text(items[8], \"pubDate\")", "Mon, 23 Dec 2024 08:00:00 +0000"},
        {"every item has its HTML", kEnglish,
         "all(text(i, encoded).startswith(\"<\") and text(i, encoded).endswith(\">\") for i in items)",
         "True"},
        {"German notes", kGerman,
         R"("Sicherungen in Netzwerkordner beginnen fr\u00FCher." in text(items[5], encoded))", "True"},
        {"English notes", kEnglish, "text(items[5], encoded).split(\"</h2>\")[0]",
         "<h2>What's new in Harbour &amp; Home 8.4.2"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(read(row.target, row.expression), row.value) << row.name;
}

TEST_F(Feed, BreaksOnDemandUntilAReset) {
    const std::string whole = get(kEnglish).body;
    static const struct {
        const char* name;
        FeedState state;
        int status;
    } rows[] = {
        {"malformed", FeedState::malformed, 200}, {"empty", FeedState::empty, 200},
        {"no items", FeedState::noItems, 200},    {"missing", FeedState::missing, 404},
        {"whole", FeedState::whole, 200},
    };
    std::string bodies[std::size(rows)];
    for (std::size_t at = 0; at < std::size(rows); ++at) {
        ASSERT_TRUE(fixture.service().setFeedState("harbour_home_en", rows[at].state));
        const Reply reply = get(kEnglish);
        EXPECT_EQ(reply.status, rows[at].status) << rows[at].name;
        EXPECT_EQ(get(kGerman).status, 200) << rows[at].name << ": the other one is whole";
        bodies[at] = reply.body;
    }
    EXPECT_TRUE(whole.starts_with(bodies[0]));
    EXPECT_GT(bodies[0].size(), whole.size() / 2);
    EXPECT_LT(bodies[0].size(), whole.size());
    EXPECT_EQ(bodies[1], "");
    EXPECT_EQ(bodies[2].find("<item>"), std::string::npos);
    EXPECT_TRUE(bodies[2].ends_with("</rss>\n"));
    EXPECT_EQ(bodies[4], whole);
    ASSERT_TRUE(fixture.service().setFeedState("harbour_home_en", FeedState::missing));
    fixture.service().reset();
    EXPECT_EQ(get(kEnglish).body, whole);
    EXPECT_FALSE(fixture.service().setFeedState("harbour_home", FeedState::empty));
}

TEST_F(Feed, MalformedOneIsNoXmlForAnybody) {
    fixture.service().setFeedState("harbour_home_en", FeedState::malformed);
    const test::TemporaryFolder folder;
    test::WriteWhole(folder.PathOf("feed"), get(kEnglish).body);
    const auto said =
        test::RunCommand("python3 -c 'import sys, xml.etree.ElementTree as E; E.parse(sys.argv[1])' '" +
                         folder.PathOf("feed") + "'");
    EXPECT_NE(said.exitCode, 0);
    EXPECT_NE(said.output.find("ParseError"), std::string::npos) << said.output;
}

TEST(FeedVersion, HasThreeNumbers) {
    static const struct {
        const char* name;
        const char* text;
        bool good;
    } rows[] = {
        {"usual", "8.4.2", true},       {"zeros behind", "1.0.0", true},
        {"large", "999.999.999", true}, {"version 0", "0.1.0", false},
        {"two numbers", "8.4", false},  {"four", "8.4.2.1", false},
        {"empty", "", false},           {"a word", "8.4.x", false},
        {"a blank", "8.4. 2", false},   {"a dot behind", "8.4.2.", false},
        {"negative", "8.-4.2", false},  {"too large", "1000.0.0", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(sandbox::buildVersion(row.text).has_value(), row.good) << row.name;
}

TEST(FeedDocument, EndsAtTheFirstVersionHoweverManyBuildsAreWanted) {
    const sandbox::ProductFeed feed{"a", "<A> \"&\" B", {"en"}, "1.0.1", 1000};
    const std::string document = sandbox::feedDocument(feed, "en");
    EXPECT_NE(document.find("<title>1.0.0</title>"), std::string::npos);
    EXPECT_NE(document.find("<title>1.0.1</title>"), std::string::npos);
    EXPECT_EQ(document.find("<title>0."), std::string::npos);
    EXPECT_NE(document.find("<title>&lt;A&gt; &quot;&amp;&quot; B</title>"), std::string::npos);
}

}  // namespace
