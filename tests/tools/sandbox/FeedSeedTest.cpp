// The parts of the seed that tell of update feeds and tickets.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tools/sandbox/Accounts.h"

namespace {

using nlohmann::json;

json seedDocument() {
    return json::parse(R"({
        "rules": {"tickets": {"busyAnswers": 2, "busySeconds": 3, "retryAfterSeconds": 4}},
        "feeds": [{"name": "a_b", "title": "A", "languages": ["en", "fr"], "newestVersion": "2.0.1",
                   "builds": 7}]
    })");
}

TEST(FeedSeed, IsRead) {
    const sandbox::Seed seed = sandbox::readSeed(seedDocument().dump());
    EXPECT_EQ(seed.rules.tickets.busyAnswers, 2);
    EXPECT_EQ(seed.rules.tickets.busySeconds, 3);
    EXPECT_EQ(seed.rules.tickets.retryAfterSeconds, 4);
    ASSERT_EQ(seed.feeds.size(), 1u);
    EXPECT_EQ(seed.feeds[0].name, "a_b");
    EXPECT_EQ(seed.feeds[0].title, "A");
    EXPECT_EQ(seed.feeds[0].languages, (std::vector<std::string>{"en", "fr"}));
    EXPECT_EQ(seed.feeds[0].newestVersion, "2.0.1");
    EXPECT_EQ(seed.feeds[0].builds, 7);
}

TEST(FeedSeed, DefaultsFileAtOnceAndOfferNothing) {
    const sandbox::Seed seed = sandbox::readSeed("{}");
    EXPECT_EQ(seed.rules.tickets.busyAnswers, 0);
    EXPECT_EQ(seed.rules.tickets.busySeconds, 0);
    EXPECT_EQ(seed.rules.tickets.retryAfterSeconds, 1);
    EXPECT_TRUE(seed.feeds.empty());
}

TEST(FeedSeed, BrokenOneIsRefusedWithASentence) {
    static const struct {
        const char* name;
        const char* patch;  // JSON patch (RFC 6902) of the good document
        const char* message;
    } rows[] = {
        {"a rule of sign-ups", R"([{"op":"add","path":"/rules/tickets/successStatus","value":200}])",
         "rules.tickets has the unknown member \"successStatus\""},
        {"a negative rule", R"([{"op":"replace","path":"/rules/tickets/busySeconds","value":-1}])",
         "\"busySeconds\" must be at least 0"},
        {"feeds that are no array", R"([{"op":"replace","path":"/feeds","value":{}}])",
         "\"feeds\" is not an array"},
        {"no name", R"([{"op":"remove","path":"/feeds/0/name"}])", "feeds[0] lacks \"name\""},
        {"a name in capitals", R"([{"op":"replace","path":"/feeds/0/name","value":"A_b"}])",
         "feeds[0].name is no text of a-z, 0-9 and underscores"},
        {"an empty name", R"([{"op":"replace","path":"/feeds/0/name","value":""}])",
         "feeds[0].name is no text of a-z, 0-9 and underscores"},
        {"no title", R"([{"op":"replace","path":"/feeds/0/title","value":""}])",
         "feeds[0]: \"title\" is empty"},
        {"no language", R"([{"op":"replace","path":"/feeds/0/languages","value":[]}])",
         "feeds[0] lacks \"languages\""},
        {"a language that is a number", R"([{"op":"replace","path":"/feeds/0/languages/1","value":1}])",
         "feeds[0].languages[1] is no text of a-z, 0-9 and underscores"},
        {"a version of two numbers", R"([{"op":"replace","path":"/feeds/0/newestVersion","value":"2.0"}])",
         "feeds[0]: \"newestVersion\" is no three numbers such as 8.4.2"},
        {"no build", R"([{"op":"replace","path":"/feeds/0/builds","value":0}])",
         "\"builds\" must be at least 1"},
        {"a misspelt member", R"([{"op":"add","path":"/feeds/0/build","value":1}])",
         "feeds[0] has the unknown member \"build\""},
        {"one language twice", R"([{"op":"replace","path":"/feeds/0/languages/1","value":"en"}])",
         "two feeds have the name \"a_b_en\""},
        {"two feeds of one name", R"([{"op":"copy","from":"/feeds/0","path":"/feeds/-"}])",
         "two feeds have the name \"a_b_en\""},
    };
    for (const auto& row : rows) {
        try {
            (void)sandbox::readSeed(seedDocument().patch(json::parse(row.patch)).dump());
            ADD_FAILURE() << row.name << ": was read";
        } catch (const sandbox::SeedError& error) {
            EXPECT_NE(std::string(error.what()).find(row.message), std::string::npos)
                << row.name << ": " << error.what();
        }
    }
}

TEST(FeedSeed, FileHasItsFeeds) {
    const sandbox::Seed seed = sandbox::readSeedFile(sandbox::defaultSeedFile());
    ASSERT_EQ(seed.feeds.size(), 2u);
    EXPECT_EQ(seed.feeds[0].name, "harbour_home");
    EXPECT_EQ(seed.feeds[0].languages, (std::vector<std::string>{"en", "de"}));
    EXPECT_EQ(seed.feeds[0].newestVersion, "8.4.2");
    EXPECT_EQ(seed.feeds[1].name, "lantern_pro");
    EXPECT_EQ(seed.feeds[1].languages, (std::vector<std::string>{"en"}));
    EXPECT_EQ(seed.feeds[1].newestVersion, "3.1.0");
    EXPECT_EQ(seed.rules.tickets.busyAnswers, 0);
}

}  // namespace
