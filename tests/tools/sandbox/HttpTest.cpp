#include "tools/sandbox/Http.h"

#include <gtest/gtest.h>

namespace {

TEST(Http, SplitsATarget) {
    static const struct {
        const char* name;
        const char* target;
        const char* path;
        sandbox::NamedValues query;
    } rows[] = {
        {"no query", "/a/b", "/a/b", {}},
        {"two members", "/a?x=1&y=2", "/a", {{"x", "1"}, {"y", "2"}}},
        {"an empty query", "/a?", "/a", {}},
        {"a member without value", "/a?x&y=", "/a", {{"x", ""}, {"y", ""}}},
        {"percent-encoded", "/a%20b?x=%41%2f", "/a b", {{"x", "A/"}}},
        {"a broken escape stands", "/a%4?x=%zz%", "/a%4", {{"x", "%zz%"}}},
        {"a value with an equals sign", "/a?x=1=2", "/a", {{"x", "1=2"}}},
    };
    for (const auto& row : rows) {
        const sandbox::Target target = sandbox::splitTarget(row.target);
        EXPECT_EQ(target.path, row.path) << row.name;
        EXPECT_EQ(target.query, row.query) << row.name;
    }
}

TEST(Http, MasksCredentialsForTheLog) {
    static const struct {
        const char* name;
        const char* target;
        const char* masked;
    } rows[] = {
        {"nothing to hide", "/a?level=Customer", "/a?level=Customer"},
        {"a provider's token", "/a?access_token=abc&x=1", "/a?access_token=***&x=1"},
        {"in another case", "/a?ACCESS_TOKEN=abc", "/a?ACCESS_TOKEN=***"},
        {"with an escaped name", "/a?access%5ftoken=abc", "/a?access%5ftoken=***"},
        {"an authorisation code", "/a?code=abc", "/a?code=***"},
        {"a password", "/a?password=abc", "/a?password=***"},
        {"bytes that don't print", "/a\x1b[31m?b=\xff", "/a?[31m?b=?"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(sandbox::maskedTarget(row.target), row.masked) << row.name;
}

TEST(Http, FindsHeadersIgnoringCaseAndQueryExactly) {
    const sandbox::NamedValues values = {{"Accept", "first"}, {"ACCEPT", "second"}};
    ASSERT_NE(sandbox::findHeader(values, "accept"), nullptr);
    EXPECT_EQ(*sandbox::findHeader(values, "accept"), "first");
    EXPECT_EQ(sandbox::findHeader(values, "Accept "), nullptr);
    EXPECT_EQ(sandbox::findValue(values, "accept"), nullptr);
    EXPECT_EQ(*sandbox::findValue(values, "ACCEPT"), "second");
}

}  // namespace
