// What the service asks of every request before it looks at what the request wants.

#include <gtest/gtest.h>

#include "tests/support/SandboxFixture.h"
#include "tests/tools/sandbox/SandboxClient.h"
#include "tools/sandbox/Routes.h"

namespace {

using test_support::exchange;
using test_support::Reply;

constexpr const char* kTokens = "/api/customer/registry/v2/tokens";
constexpr const char* kContext = "/api/customer/registry/v2/tokens/context";
constexpr const char* kUsers = "/api/registry/v2/users";
constexpr const char* kSecret = "/api/registry/v2/identities/x/token";

TEST(Strictness, ChecksEachRequest) {
    test_support::SandboxFixture fixture;
    const std::string bearer = "Bearer " + test_support::signIn(fixture.baseUrl(), fixture.account("plain"));
    const std::string body = test_support::passwordBody(fixture.account("plain"));
    const std::pair<std::string, std::string> client = {"x-vqm-custom", "vqm-client"};
    const std::pair<std::string, std::string> authorization = {"Authorization", bearer};
    const struct {
        const char* name;
        const char* method;
        const char* target;
        sandbox::NamedValues headers;
        std::string body;
        int status;
    } rows[] = {
        {"as the client asks", "POST", kTokens, {client}, body, 200},
        {"an unknown path", "GET", "/api/registry/v2/user", {client}, "", 404},
        {"a path with a slash behind it", "GET", "/api/registry/v2/users/", {client, authorization}, "", 404},
        {"a path in another case", "GET", "/api/registry/v2/Users", {client, authorization}, "", 404},
        {"a wrong method", "GET", kTokens, {client}, "", 405},
        {"a method nobody has", "DELETE", kUsers, {client, authorization}, "", 405},
        {"a head", "HEAD", kUsers, {client, authorization}, "", 405},
        {"no client header", "POST", kTokens, {}, body, 400},
        {"another client", "POST", kTokens, {{"x-vqm-custom", "other"}}, body, 400},
        {"the header's name in another case", "POST", kTokens, {{"X-VQM-Custom", "vqm-client"}}, body, 200},
        {"a plain Content-Type", "POST", kTokens, {client, {"Content-Type", "application/json"}}, body, 200},
        {"a Content-Type in another case",
         "POST",
         kTokens,
         {client, {"Content-Type", "Application/JSON"}},
         body,
         200},
        {"text", "POST", kTokens, {client, {"Content-Type", "text/plain"}}, body, 415},
        {"a form",
         "POST",
         kTokens,
         {client, {"Content-Type", "application/x-www-form-urlencoded"}},
         body,
         415},
        {"no body", "POST", kTokens, {client, {"Content-Type", "application/json"}}, "", 400},
        {"a body where none belongs", "POST", kContext, {client, authorization}, "{}", 400},
        {"no body and no Content-Type", "POST", kContext, {client, authorization}, "", 200},
        {"no Accept", "GET", kUsers, {client, authorization}, "", 200},
        {"Accept any", "GET", kUsers, {client, authorization, {"Accept", "*/*"}}, "", 200},
        {"Accept a list",
         "GET",
         kUsers,
         {client, authorization, {"Accept", "text/html, application/*;q=0.5"}},
         "",
         200},
        {"Accept another type", "GET", kUsers, {client, authorization, {"Accept", "text/html"}}, "", 406},
        {"a secret as JSON",
         "GET",
         kSecret,
         {client, authorization, {"Accept", "application/json"}},
         "",
         406},
        {"a secret as text", "GET", kSecret, {client, authorization, {"Accept", "text/plain"}}, "", 404},
        {"a query on any endpoint", "GET", "/api/registry/v2/users?x=1", {client, authorization}, "", 200},
        {"a body of 2 MB", "POST", kTokens, {client}, std::string(2 * 1024 * 1024, ' '), 413},
    };
    for (const auto& row : rows) {
        const Reply reply = exchange(fixture.baseUrl(), row.method, row.target, row.headers, row.body);
        EXPECT_EQ(reply.status, row.status) << row.name << ": " << reply.body;
        if (reply.status >= 400 && std::string(row.method) != "HEAD") {
            EXPECT_EQ(reply.member("status"), std::to_string(row.status)) << row.name;
            EXPECT_FALSE(reply.member("title").empty()) << row.name;
        }
    }
}

TEST(Strictness, WrongMethodNamesTheRightOnes) {
    test_support::SandboxFixture fixture;
    const Reply reply = exchange(fixture.baseUrl(), "PUT", "/api/registry/v2/identities",
                                 test_support::clientHeaders(), "{}");
    EXPECT_EQ(reply.status, 405);
    ASSERT_NE(sandbox::findHeader(reply.headers, "Allow"), nullptr);
    EXPECT_EQ(*sandbox::findHeader(reply.headers, "Allow"), "GET, POST");
}

TEST(Strictness, PatternsMatchWholePaths) {
    static const struct {
        const char* name;
        const char* pattern;
        const char* path;
        bool matches;
        std::vector<std::string> parameters;
    } rows[] = {
        {"equal", "/a/b", "/a/b", true, {}},
        {"shorter", "/a/b", "/a", false, {}},
        {"longer", "/a/b", "/a/b/c", false, {}},
        {"a slash too many", "/a/b", "/a/b/", false, {}},
        {"an empty segment", "/a/b", "/a//b", false, {}},
        {"a parameter", "/a/{}/c", "/a/b/c", true, {"b"}},
        {"an empty parameter", "/a/{}/c", "/a//c", false, {}},
        {"two parameters", "/{}/{}", "/x/y", true, {"x", "y"}},
        {"a parameter at the end", "/a/{}", "/a/", false, {}},
        {"the empty path", "/a", "", false, {}},
    };
    for (const auto& row : rows) {
        std::vector<std::string> parameters;
        EXPECT_EQ(sandbox::matchPath(row.pattern, row.path, parameters), row.matches) << row.name;
        if (row.matches) {
            EXPECT_EQ(parameters, row.parameters) << row.name;
        }
    }
}

}  // namespace
