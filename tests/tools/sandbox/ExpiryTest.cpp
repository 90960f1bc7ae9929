// What ends, ends by the clock and by its control path, and nothing else ends with it.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/SandboxFixture.h"
#include "tests/tools/sandbox/SandboxClient.h"

namespace {

using nlohmann::json;
using test_support::clientHeaders;
using test_support::exchange;
using test_support::Reply;

constexpr const char* kNewIdentity = R"({"name":"n","type":"t","role":"r"})";
constexpr const char* kFinalize = "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN";

// One of everything that ends, taken at the same time.
class Expiry : public testing::Test {
protected:
    Expiry() {
        fixture.setTime(1800000000);
        token = test_support::signIn(fixture.baseUrl(), fixture.account("plain"));
        const std::string id = post("/api/registry/v2/identities", kNewIdentity, token).member("id");
        const std::string target = "/api/registry/v2/identities/" + id + "/token?TokenExpiration=1200";
        secret = exchange(fixture.baseUrl(), "GET", target, clientHeaders(token)).body;
        challenge = post("/api/customer/registry/v2/tokens",
                         test_support::passwordBody(fixture.account("second-factor")))
                        .member("errorArgs.challengeToken");
        code = fixture.socialCode("linked");
        EXPECT_EQ(finalize(), 204);
    }

    Reply post(const std::string& target, const std::string& body, const std::string& bearer = {}) {
        return exchange(fixture.baseUrl(), "POST", target, clientHeaders(bearer), body);
    }
    int finalize() {
        sandbox::NamedValues headers = clientHeaders();
        headers.emplace_back("Idempotency-Key", "k");
        return exchange(fixture.baseUrl(), "POST", kFinalize, headers,
                        R"({"accessToken":"gp-newcomer-6","providerKey":"glowpass"})")
            .status;
    }
    bool tokenIsGood() {
        return exchange(fixture.baseUrl(), "GET", "/api/registry/v2/users", clientHeaders(token)).status ==
               200;
    }
    bool secretIsGood() {
        return post("/api/customer/registry/v2/tokens/identity", json{{"secretKey", secret}}.dump()).status ==
               200;
    }
    // A wrong code tells without using the challenge up.
    bool challengeIsOpen() {
        return post("/api/customer/registry/v2/2fa/totp/tokens",
                    json{{"challengeToken", challenge}, {"code", "abcdef"}}.dump())
                   .status == 401;
    }
    // Another kind's endpoint tells without using the code up.
    bool codeIsGood() {
        return post("/api/business/registry/v2/tokens/external", json{{"code", code}}.dump()).status == 404;
    }
    bool keyIsRemembered() { return finalize() == 204; }

    // Which of the five are still good, a letter each.
    std::string good() {
        std::string letters;
        letters += tokenIsGood() ? 't' : '-';
        letters += secretIsGood() ? 's' : '-';
        letters += challengeIsOpen() ? 'c' : '-';
        letters += codeIsGood() ? 'o' : '-';
        letters += keyIsRemembered() ? 'k' : '-';
        return letters;
    }

    test_support::SandboxFixture fixture;
    std::string token;
    std::string secret;
    std::string challenge;
    std::string code;
};

TEST_F(Expiry, EachEndsByTheClock) {
    static const struct {
        const char* name;
        std::int64_t seconds;  // since all were taken
        const char* good;
    } rows[] = {
        {"at once", 0, "tscok"},         {"a second before the challenge", 299, "tscok"},
        {"the challenge", 300, "ts-ok"}, {"a second before the code", 599, "ts-ok"},
        {"the code", 600, "ts--k"},      {"a second before the token", 899, "ts--k"},
        {"the token", 900, "-s--k"},     {"a second before the secret", 1199, "-s--k"},
        {"the secret", 1200, "----k"},   {"a second before the key", 86399, "----k"},
        {"the key", 86400, "-----"},
    };
    for (const auto& row : rows) {
        fixture.setTime(1800000000 + row.seconds);
        EXPECT_EQ(good(), row.good) << row.name;
    }
}

TEST_F(Expiry, EachEndsByItsControlPath) {
    static const struct {
        const char* path;
        const char* good;
    } rows[] = {
        {"/sandbox/challenges/expire", "ts-ok"},  {"/sandbox/codes/expire", "ts--k"},
        {"/sandbox/tokens/expire", "-s--k"},      {"/sandbox/secrets/expire", "----k"},
        {"/sandbox/idempotency/expire", "-----"},
    };
    EXPECT_EQ(good(), "tscok");
    for (const auto& row : rows) {
        EXPECT_EQ(exchange(fixture.baseUrl(), "POST", row.path, {}).status, 200) << row.path;
        EXPECT_EQ(good(), row.good) << row.path;
        EXPECT_EQ(exchange(fixture.baseUrl(), "GET", row.path, {}).status, 405) << row.path;
    }
}

TEST_F(Expiry, WhatIsMadeAfterwardsIsGood) {
    for (const char* kind : {"tokens", "secrets", "challenges", "codes", "idempotency"})
        EXPECT_EQ(exchange(fixture.baseUrl(), "POST", std::string("/sandbox/") + kind + "/expire", {}).status,
                  200);
    token = test_support::signIn(fixture.baseUrl(), fixture.account("plain"));
    EXPECT_TRUE(tokenIsGood());
    code = fixture.socialCode("linked");
    EXPECT_TRUE(codeIsGood());
}

TEST_F(Expiry, ForgettingKeysBreaksOffWorkThatLasts) {
    fixture.service().reset();
    fixture.service().setFinalization({.busyAnswers = 1});
    EXPECT_EQ(finalize(), 409);
    fixture.service().expire(sandbox::Perishable::idempotencyKeys);
    EXPECT_EQ(finalize(), 409) << "begun anew";
    EXPECT_EQ(finalize(), 204);
    EXPECT_EQ(fixture.signUpOf("newcomer").made, 1);
}

}  // namespace
