// The rules of signing in, asked over HTTP by a plain client.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/SandboxFixture.h"
#include "tests/tools/sandbox/SandboxClient.h"

namespace {

using nlohmann::json;
using test_support::clientHeaders;
using test_support::exchange;
using test_support::passwordBody;
using test_support::Reply;

constexpr const char* kTokens = "/api/customer/registry/v2/tokens";
constexpr const char* kSecondFactor = "/api/customer/registry/v2/2fa/totp/tokens";
constexpr const char* kIdentity = "/api/customer/registry/v2/tokens/identity";
constexpr const char* kUsers = "/api/registry/v2/users";

class SignIn : public testing::Test {
protected:
    // A time whose codes are none of the wrong ones below.
    SignIn() { fixture.setTime(1800000000); }

    Reply post(const std::string& target, const std::string& body) {
        return exchange(fixture.baseUrl(), "POST", target, clientHeaders(), body);
    }
    Reply signInAs(const char* name) { return post(kTokens, passwordBody(fixture.account(name))); }
    Reply signInWith(const std::string& login, const std::string& password) {
        return post(kTokens, json{{"login", login}, {"password", password}}.dump());
    }
    std::string challenge() { return signInAs("second-factor").member("errorArgs.challengeToken"); }
    Reply confirm(const std::string& challengeToken, const std::string& code) {
        return post(kSecondFactor, json{{"challengeToken", challengeToken}, {"code", code}}.dump());
    }

    test_support::SandboxFixture fixture;
};

TEST_F(SignIn, AnswersEachAccountByItsState) {
    static const struct {
        const char* name;
        const char* account;
        int status;
        const char* errorCode;
    } rows[] = {
        {"a plain account", "plain", 200, ""},
        {"an organisation's only", "organisation-only", 200, ""},
        {"several contexts", "several-contexts", 200, ""},
        {"a second factor", "second-factor", 403, "2FA_TOTP_REQUIRED"},
        {"blocked", "blocked", 403, "ACCOUNT_BLOCKED"},
        {"locked for security", "locked", 423, "ACCOUNT_LOCKED"},
    };
    for (const auto& row : rows) {
        const Reply reply = signInAs(row.account);
        EXPECT_EQ(reply.status, row.status) << row.name;
        EXPECT_EQ(reply.member("errorCode"), row.errorCode) << row.name;
        EXPECT_EQ(reply.member("accessToken").empty(), row.status != 200) << row.name;
    }
}

TEST_F(SignIn, RefusesWrongCredentials) {
    const sandbox::Account& plain = fixture.account("plain");
    const struct {
        const char* name;
        std::string login;
        std::string password;
        int status;
    } rows[] = {
        {"an unknown login", "nobody@example.test", "x", 404},
        {"a wrong password", plain.login, "x", 401},
        {"the password of another", plain.login, fixture.account("locked").password, 401},
        {"the password in another case", plain.login, "sunny-harbour-1", 401},
        {"a wrong password of a blocked account", fixture.account("blocked").login, "x", 401},
        {"a wrong password of a locked account", fixture.account("locked").login, "x", 401},
    };
    for (const auto& row : rows)
        EXPECT_EQ(signInWith(row.login, row.password).status, row.status) << row.name;
}

TEST_F(SignIn, UnverifiedAccountIsRefusedWithoutASecondFactorsCode) {
    sandbox::Seed seed = sandbox::readSeedFile(sandbox::defaultSeedFile());
    seed.accounts[0].state = sandbox::AccountState::unverified;
    const test_support::SandboxFixture other(seed);
    const Reply reply =
        exchange(other.baseUrl(), "POST", kTokens, clientHeaders(), passwordBody(seed.accounts[0]));
    EXPECT_EQ(reply.status, 403);
    EXPECT_EQ(reply.member("errorCode"), "EMAIL_NOT_VERIFIED");
}

TEST_F(SignIn, ErrorBodyHasAllFields) {
    const Reply reply = signInAs("second-factor");
    const json body = json::parse(reply.body);
    EXPECT_EQ(body.at("type"), "about:blank");
    EXPECT_EQ(body.at("title"), "Forbidden");
    EXPECT_EQ(body.at("status"), 403);
    EXPECT_FALSE(body.at("detail").get<std::string>().empty());
    EXPECT_EQ(body.at("traceId").get<std::string>().size(), 32u);
    EXPECT_EQ(body.at("errorArgs").size(), 1u);
    EXPECT_NE(reply.member("traceId"), signInAs("second-factor").member("traceId"));
}

TEST_F(SignIn, FiveWrongPasswordsLockTheAccountForAWhile) {
    const sandbox::Account& plain = fixture.account("plain");
    for (int attempt = 1; attempt <= 5; ++attempt)
        EXPECT_EQ(signInWith(plain.login, "x").status, 401) << "attempt " << attempt;
    const Reply locked = signInAs("plain");
    EXPECT_EQ(locked.status, 429) << "the right password";
    EXPECT_EQ(locked.member("errorCode"), "ACCOUNT_LOCKED_TRY_AGAIN");
    EXPECT_EQ(locked.member("status"), "429");
    ASSERT_NE(sandbox::findHeader(locked.headers, "Retry-After"), nullptr);
    EXPECT_EQ(*sandbox::findHeader(locked.headers, "Retry-After"), "300");
    EXPECT_EQ(signInAs("several-contexts").status, 200) << "another account";
    fixture.advance(299);
    EXPECT_EQ(signInAs("plain").status, 429) << "a second too early";
    fixture.advance(1);
    EXPECT_EQ(signInAs("plain").status, 200) << "when the time has passed";
}

TEST_F(SignIn, ARightPasswordForgetsTheWrongOnes) {
    const sandbox::Account& plain = fixture.account("plain");
    for (int round = 0; round < 3; ++round) {
        for (int attempt = 0; attempt < 4; ++attempt)
            EXPECT_EQ(signInWith(plain.login, "x").status, 401) << "round " << round;
        EXPECT_EQ(signInAs("plain").status, 200) << "round " << round;
    }
}

TEST_F(SignIn, RefusesBodiesThatAreNotExact) {
    static const struct {
        const char* name;
        const char* target;
        const char* body;
    } rows[] = {
        {"no JSON", kTokens, "login=a"},
        {"an array", kTokens, R"([])"},
        {"a text", kTokens, R"("a")"},
        {"cut", kTokens, R"({"login":"a","password":"b")"},
        {"no password", kTokens, R"({"login":"a"})"},
        {"an empty login", kTokens, R"({"login":"","password":"b"})"},
        {"a login that is a number", kTokens, R"({"login":1,"password":"b"})"},
        {"a password that is null", kTokens, R"({"login":"a","password":null})"},
        {"a name in another case", kTokens, R"({"Login":"a","password":"b"})"},
        {"a member too many", kTokens, R"({"login":"a","password":"b","c":"d"})"},
        {"no code", kSecondFactor, R"({"challengeToken":"a"})"},
        {"no challenge", kSecondFactor, R"({"code":"123456"})"},
        {"a code that is a number", kSecondFactor, R"({"challengeToken":"a","code":123456})"},
        {"no secret", kIdentity, R"({})"},
        {"a secret that is a list", kIdentity, R"({"secretKey":["a"]})"},
    };
    for (const auto& row : rows) {
        const Reply reply = post(row.target, row.body);
        EXPECT_EQ(reply.status, 400) << row.name;
        EXPECT_EQ(reply.member("errorCode"), "") << row.name;
    }
}

TEST_F(SignIn, SecondFactorGivesAToken) {
    const Reply reply = confirm(challenge(), fixture.totpCode("second-factor"));
    ASSERT_EQ(reply.status, 200) << reply.body;
    const Reply user = exchange(fixture.baseUrl(), "GET", kUsers, clientHeaders(reply.member("accessToken")));
    EXPECT_EQ(user.member("email"), fixture.account("second-factor").login);
}

TEST_F(SignIn, WrongCodeLeavesTheChallengeOpen) {
    const std::string token = challenge();
    for (const char* code : {"000000", "12345", "abcdef"}) {
        const Reply wrong = confirm(token, code);
        EXPECT_EQ(wrong.status, 401) << code;
        EXPECT_EQ(wrong.member("errorCode"), "CODE_VERIFICATION_FAILED") << code;
        EXPECT_EQ(wrong.member("status"), "401") << code;
    }
    EXPECT_EQ(confirm(token, fixture.totpCode("second-factor")).status, 200);
}

TEST_F(SignIn, FiveWrongCodesEndTheChallenge) {
    const std::string token = challenge();
    for (int attempt = 1; attempt <= 5; ++attempt)
        EXPECT_EQ(confirm(token, "abcdef").status, 401) << "attempt " << attempt;
    EXPECT_EQ(confirm(token, fixture.totpCode("second-factor")).status, 404);
}

TEST_F(SignIn, ACodeWorksOnce) {
    const std::string code = fixture.totpCode("second-factor");
    EXPECT_EQ(confirm(challenge(), code).status, 200);
    const Reply replay = confirm(challenge(), code);
    EXPECT_EQ(replay.status, 401);
    EXPECT_EQ(replay.member("errorCode"), "CODE_VERIFICATION_FAILED");
    EXPECT_EQ(confirm(challenge(), fixture.totpCode("second-factor")).status, 200) << "the next step's code";
}

TEST_F(SignIn, ACodeMayBeAStepOld) {
    fixture.setTime(1800000000);  // the begin of a step
    const std::string code = fixture.totpCode("second-factor");
    fixture.advance(59);
    EXPECT_EQ(confirm(challenge(), code).status, 200) << "the step before";
    fixture.setTime(1800000300);
    const std::string old = fixture.totpCode("second-factor");
    fixture.advance(60);
    EXPECT_EQ(confirm(challenge(), old).status, 401) << "two steps before";
}

TEST_F(SignIn, ChallengeIsGoodForFiveMinutesAndOneSignIn) {
    EXPECT_EQ(confirm("unknown", "123456").status, 404);
    const std::string token = challenge();
    fixture.advance(299);
    EXPECT_EQ(confirm(token, fixture.totpCode("second-factor")).status, 200);
    fixture.advance(60);
    EXPECT_EQ(confirm(token, fixture.totpCode("second-factor")).status, 404) << "used";
    const std::string late = challenge();
    fixture.advance(300);
    EXPECT_EQ(confirm(late, fixture.totpCode("second-factor")).status, 404) << "expired";
}

TEST_F(SignIn, UnknownSecretIsRefused) {
    EXPECT_EQ(post(kIdentity, R"({"secretKey":"unknown"})").status, 401);
}

}  // namespace
