#include "tools/sandbox/Control.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/SandboxFixture.h"
#include "tests/tools/sandbox/SandboxClient.h"

namespace {

using nlohmann::json;
using test_support::clientHeaders;
using test_support::exchange;
using test_support::Reply;

constexpr const char* kUsers = "/api/registry/v2/users";

class Control : public testing::Test {
protected:
    // As a person would by curl: without the client's header.
    Reply ask(const char* method, const std::string& target, const std::string& body = {}) {
        return exchange(fixture.baseUrl(), method, target, {}, body);
    }

    test_support::SandboxFixture fixture;
};

TEST_F(Control, TakesFaults) {
    static const struct {
        const char* name;
        const char* body;
        int status;
    } rows[] = {
        {"a kind alone", R"({"kind":"cut"})", 200},
        {"all members",
         R"({"kind":"status","path":"/a","method":"GET","count":2,"delayMs":1,"status":503,"body":"b",)"
         R"("contentType":"text/plain","headers":{"Retry-After":"1"}})",
         200},
        {"no kind", R"({"path":"/a"})", 400},
        {"an unknown kind", R"({"kind":"explode"})", 400},
        {"a misspelt member", R"({"kind":"cut","times":2})", 400},
        {"a count of 0", R"({"kind":"cut","count":0})", 400},
        {"a status below 200", R"({"kind":"status","status":100})", 400},
        {"a negative delay", R"({"kind":"delay","delayMs":-1})", 400},
        {"a delay without end", R"({"kind":"delay","delayMs":600001})", 400},
        {"a path that is a number", R"({"kind":"cut","path":1})", 400},
        {"headers that are a list", R"({"kind":"cut","headers":["a"]})", 400},
        {"no JSON", "cut", 400},
        {"an array", "[]", 400},
    };
    for (const auto& row : rows) {
        fixture.faults().clear();
        EXPECT_EQ(ask("POST", "/sandbox/faults", row.body).status, row.status) << row.name;
        EXPECT_EQ(fixture.faults().waiting(), row.status == 200 ? 1u : 0u) << row.name;
    }
}

TEST_F(Control, AFaultOverHttpIsServed) {
    ask("POST", "/sandbox/faults",
        R"({"kind":"status","path":"/api/registry/v2/users","status":418,"body":"tea","headers":{"A":"b"}})");
    const Reply reply = exchange(fixture.baseUrl(), "GET", kUsers, clientHeaders());
    EXPECT_EQ(reply.status, 418);
    EXPECT_EQ(reply.body, "tea");
    EXPECT_EQ(*sandbox::findHeader(reply.headers, "A"), "b");
}

TEST_F(Control, ClearsFaults) {
    ask("POST", "/sandbox/faults", R"({"kind":"cut","count":5})");
    EXPECT_EQ(fixture.faults().waiting(), 1u);
    EXPECT_EQ(ask("DELETE", "/sandbox/faults").status, 200);
    EXPECT_EQ(fixture.faults().waiting(), 0u);
}

TEST_F(Control, FaultsNeverHitControlPaths) {
    ask("POST", "/sandbox/faults", R"({"kind":"cut","count":9})");
    EXPECT_EQ(ask("GET", "/sandbox/log").status, 200);
    EXPECT_EQ(exchange(fixture.baseUrl(), "GET", kUsers, clientHeaders()).status, 0) << "but all others";
}

TEST_F(Control, ExpiresTokensAndResets) {
    const std::string token = test_support::signIn(fixture.baseUrl(), fixture.account("plain"));
    EXPECT_EQ(ask("POST", "/sandbox/tokens/expire").status, 200);
    EXPECT_EQ(exchange(fixture.baseUrl(), "GET", kUsers, clientHeaders(token)).status, 401);
    ask("POST", "/sandbox/faults", R"({"kind":"cut"})");
    EXPECT_EQ(fixture.faults().waiting(), 1u);
    EXPECT_EQ(ask("POST", "/sandbox/reset").status, 200);
    EXPECT_EQ(fixture.faults().waiting(), 0u);
    EXPECT_TRUE(fixture.exchanges().empty());
}

TEST_F(Control, ShowsTheLog) {
    (void)test_support::signIn(fixture.baseUrl(), fixture.account("plain"));
    const json log = json::parse(ask("GET", "/sandbox/log").body);
    ASSERT_EQ(log.size(), 1u);
    EXPECT_EQ(log[0].at("method"), "POST");
    EXPECT_EQ(log[0].at("target"), "/api/customer/registry/v2/tokens");
    EXPECT_EQ(log[0].at("status"), 200);
    EXPECT_EQ(log[0].at("login"), fixture.account("plain").login);
}

TEST_F(Control, GivesTheCodeOfTheAuthenticator) {
    const std::string target = "/sandbox/totp?login=" + fixture.account("second-factor").login;
    const Reply reply = ask("GET", target);
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body, fixture.totpCode("second-factor"));
    EXPECT_EQ(ask("GET", "/sandbox/totp?login=" + fixture.account("plain").login).status, 404);
    EXPECT_EQ(ask("GET", "/sandbox/totp").status, 404);
}

TEST_F(Control, TakesARuleForSignUps) {
    static const struct {
        const char* name;
        const char* body;
        int status;
    } rows[] = {
        {"all members", R"({"busyAnswers":2,"busySeconds":0,"retryAfterSeconds":5,"successStatus":200})",
         200},
        {"no member", "{}", 200},
        {"a negative number", R"({"busyAnswers":-1})", 400},
        {"half an answer", R"({"busyAnswers":0.5})", 400},
        {"a text", R"({"busySeconds":"1"})", 400},
        {"another success", R"({"successStatus":202})", 400},
        {"a misspelt member", R"({"busy":1})", 400},
        {"an array", "[]", 400},
        {"no JSON", "busyAnswers", 400},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ask("POST", "/sandbox/finalization", row.body).status, row.status) << row.name;
}

TEST_F(Control, SteersAndShowsSignUps) {
    EXPECT_EQ(ask("GET", "/sandbox/sign-ups").body, "[]");
    EXPECT_EQ(ask("POST", "/sandbox/finalization", R"({"busyAnswers":1,"retryAfterSeconds":5})").status, 200);
    const auto finalize = [&] {
        sandbox::NamedValues headers = clientHeaders();
        headers.emplace_back("Idempotency-Key", "k");
        return exchange(fixture.baseUrl(), "POST", "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH",
                        headers, R"({"code":"gp-code-newcomer-6","cause":"trial"})");
    };
    const Reply busy = finalize();
    EXPECT_EQ(busy.status, 409);
    EXPECT_EQ(*sandbox::findHeader(busy.headers, "Retry-After"), "5");
    EXPECT_EQ(ask("GET", "/sandbox/sign-ups").body,
              R"([{"person":"newcomer","provider":"glowpass","email":"sol.newcomer@example.test",)"
              R"("kind":"","cause":"","made":0,"requests":1,"keys":1}])");
    EXPECT_EQ(finalize().status, 204);
    EXPECT_EQ(ask("GET", "/sandbox/sign-ups").body,
              R"([{"person":"newcomer","provider":"glowpass","email":"sol.newcomer@example.test",)"
              R"("kind":"customer","cause":"trial","made":1,"requests":2,"keys":1}])");
    ask("POST", "/sandbox/reset");
    EXPECT_EQ(ask("GET", "/sandbox/sign-ups").body, "[]");
    EXPECT_EQ(finalize().status, 204) << "the seed's rule again";
}

TEST_F(Control, GivesCodesOfSocialPeople) {
    const auto signIn = [&](const std::string& code) {
        return exchange(fixture.baseUrl(), "POST", "/api/customer/registry/v2/tokens/external",
                        clientHeaders(), json{{"code", code}}.dump())
            .status;
    };
    const Reply first = ask("POST", "/sandbox/codes?person=linked");
    const Reply second = ask("POST", "/sandbox/codes?person=linked");
    EXPECT_EQ(first.status, 200);
    EXPECT_NE(first.body, second.body);
    EXPECT_EQ(signIn(second.body), 200);
    EXPECT_EQ(signIn(first.body), 200) << "a further code leaves the former ones good";
    EXPECT_EQ(ask("POST", "/sandbox/codes?person=nobody").status, 404);
    EXPECT_EQ(ask("POST", "/sandbox/codes").status, 404);
}

TEST_F(Control, SetsTheStateOfAnAccount) {
    static const struct {
        const char* name;
        const char* body;
        int status;
        int signIn;  // of "plain" afterwards
    } rows[] = {
        {"blocked", R"({"login":"anna.plain@example.test","state":"blocked"})", 200, 403},
        {"locked", R"({"login":"anna.plain@example.test","state":"locked"})", 200, 423},
        {"failing", R"({"login":"anna.plain@example.test","state":"failing"})", 200, 500},
        {"an unknown state", R"({"login":"anna.plain@example.test","state":"asleep"})", 400, 500},
        {"an unknown login", R"({"login":"nobody@example.test","state":"active"})", 404, 500},
        {"no login", R"({"state":"active"})", 400, 500},
        {"no JSON", "active", 400, 500},
        {"active", R"({"login":"anna.plain@example.test","state":"active"})", 200, 200},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ask("POST", "/sandbox/accounts/state", row.body).status, row.status) << row.name;
        EXPECT_EQ(exchange(fixture.baseUrl(), "POST", "/api/customer/registry/v2/tokens", clientHeaders(),
                           test_support::passwordBody(fixture.account("plain")))
                      .status,
                  row.signIn)
            << row.name;
    }
}

TEST_F(Control, RefusesWhatItDoesNotHave) {
    EXPECT_EQ(ask("GET", "/sandbox/nothing").status, 404);
    EXPECT_EQ(ask("GET", "/sandbox/reset").status, 405);
}

}  // namespace
