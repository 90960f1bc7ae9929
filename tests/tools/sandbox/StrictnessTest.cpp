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

TEST(Strictness, EveryEndpointChecksAlike) {
    static const struct {
        const char* method;
        const char* target;
        const char* body;  // empty: the endpoint takes none
        int status;        // as the client asks
    } rows[] = {
        {"POST", "/api/business/registry/v2/tokens", R"({"login":"a","password":"b"})", 401},
        {"POST", "/api/business/registry/v2/tokens/identity", R"({"secretKey":"a"})", 401},
        {"POST", "/api/business/registry/v2/tokens/external", R"({"code":"a"})", 401},
        {"POST", "/api/customer/registry/v2/tokens/external", R"({"code":"a"})", 401},
        {"POST", "/api/admin/id/v0/tokens/password", R"({"email":"a","password":"b"})", 401},
        {"POST", "/api/quillmark/USE_DYNAMIC_CONTEXT", R"({"code":"a","context":"business"})", 401},
        {"POST", "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH", R"({"code":"a"})", 401},
        {"POST", "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN",
         R"({"accessToken":"a","providerKey":"glowpass"})", 401},
        {"POST", "/api/quillmark/CUSTOMER_TICKET_REGISTRATION",
         R"({"email":"a","title":"b","description":"c"})", 200},
        {"GET", "/api/public/registry/v2/oauth/external/providers", "", 200},
        {"GET", "/api/registry/v2/oauth/sign-in/glowpass?access_token=a", "", 401},
    };
    test_support::SandboxFixture fixture;
    const std::pair<std::string, std::string> client = {"x-vqm-custom", "vqm-client"};
    for (const auto& row : rows) {
        const std::string body = row.body;
        const std::pair<std::string, std::string> key = {"Idempotency-Key", row.target};
        const std::pair<std::string, std::string> otherKey = {"Idempotency-Key", body};
        const auto ask = [&](const char* method, const sandbox::NamedValues& headers,
                             const std::string& sent) {
            return exchange(fixture.baseUrl(), method, row.target, headers, sent).status;
        };
        EXPECT_EQ(ask(row.method, {client, key, {"Accept", "application/json"}}, body), row.status)
            << row.target;
        EXPECT_EQ(ask(row.method, {key}, body), 400) << row.target << ", no client header";
        EXPECT_EQ(ask(row.method, {client, key, {"Accept", "text/html"}}, body), 406) << row.target;
        EXPECT_EQ(ask("PUT", {client, key}, "{}"), 405) << row.target;
        if (body.empty()) {
            EXPECT_EQ(ask("POST", {client}, "{}"), 405) << row.target;
            continue;
        }
        EXPECT_EQ(ask(row.method, {client, key, {"Content-Type", "text/plain"}}, body), 415) << row.target;
        EXPECT_EQ(ask(row.method, {client, otherKey}, "{}"), 400) << row.target << ", no member";
        EXPECT_EQ(ask(row.method, {client, otherKey}, "[]"), 400) << row.target << ", an array";
        std::string more = body;
        more.insert(1, R"("more":"x",)");
        EXPECT_EQ(ask(row.method, {client, otherKey}, more), 400) << row.target << ", a member too many";
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
