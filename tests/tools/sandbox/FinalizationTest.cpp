// The finalisation of a customer's sign-up: what it makes, and that it makes it once.

#include <gtest/gtest.h>

#include <atomic>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/support/SandboxFixture.h"
#include "tests/tools/sandbox/SandboxClient.h"

namespace {

using nlohmann::json;
using test_support::claimsOf;
using test_support::clientHeaders;
using test_support::exchange;
using test_support::Reply;

constexpr const char* kCodeForm = "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH";
constexpr const char* kTokenForm = "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN";
constexpr const char* kCodeSignIn = "/api/customer/registry/v2/tokens/external";
constexpr const char* kTokenSignIn = "/api/registry/v2/oauth/sign-in/glowpass?access_token=gp-newcomer-6";
constexpr const char* kUsers = "/api/registry/v2/users";
constexpr const char* kByToken = R"({"accessToken":"gp-newcomer-6","providerKey":"glowpass"})";
constexpr const char* kByCode = R"({"code":"gp-code-newcomer-6"})";
constexpr const char* kKey = "0f8fad5b-d9cb-469f-a165-70867728950e";

class Finalization : public testing::Test {
protected:
    Reply finalize(const char* target, const std::string& body, const std::string& key = kKey) {
        sandbox::NamedValues headers = clientHeaders();
        headers.emplace_back("Idempotency-Key", key);
        return exchange(fixture.baseUrl(), "POST", target, headers, body);
    }
    Reply signInByCode(const std::string& code) {
        return exchange(fixture.baseUrl(), "POST", kCodeSignIn, clientHeaders(), json{{"code", code}}.dump());
    }
    Reply signInByToken() { return exchange(fixture.baseUrl(), "GET", kTokenSignIn, clientHeaders()); }
    static std::string retryAfter(const Reply& reply) {
        const std::string* value = sandbox::findHeader(reply.headers, "Retry-After");
        return value != nullptr ? *value : "none";
    }

    test_support::SandboxFixture fixture;
};

TEST_F(Finalization, MakesTheAccountForTheSignInThatFollows) {
    static const struct {
        const char* name;
        const char* target;
        const char* body;
        const char* cause;
    } rows[] = {
        {"by code", kCodeForm, R"({"code":"gp-code-newcomer-6"})", ""},
        {"by code, with a cause", kCodeForm, R"({"code":"gp-code-newcomer-6","cause":"trial"})", "trial"},
        {"by token", kTokenForm, R"({"accessToken":"gp-newcomer-6","providerKey":"glowpass"})", ""},
        {"by token, with a cause", kTokenForm,
         R"({"accessToken":"gp-newcomer-6","providerKey":"glowpass","cause":"gift"})", "gift"},
    };
    for (const auto& row : rows) {
        fixture.service().reset();
        EXPECT_EQ(signInByToken().status, 404) << row.name << ", before";
        const Reply reply = finalize(row.target, row.body);
        EXPECT_EQ(reply.status, 204) << row.name << ": " << reply.body;
        EXPECT_EQ(reply.body, "") << row.name;
        EXPECT_EQ(signInByToken().status, 200) << row.name << ", after, by token";
        EXPECT_EQ(signInByCode("gp-code-newcomer-6").status, 200) << row.name << ", after, by code";
        const sandbox::SignUpReport report = fixture.signUpOf("newcomer");
        EXPECT_EQ(report.made, 1) << row.name;
        EXPECT_EQ(report.requests, 1) << row.name;
        EXPECT_EQ(report.keys, 1) << row.name;
        EXPECT_EQ(report.cause, row.cause) << row.name;
        EXPECT_EQ(report.email, "sol.newcomer@example.test") << row.name;
        EXPECT_EQ(report.kind, "customer") << row.name;
    }
}

TEST_F(Finalization, MadeAccountIsACustomersWithItsOwnContext) {
    EXPECT_EQ(finalize(kTokenForm, kByToken).status, 204);
    EXPECT_EQ(fixture.exchanges().back().login, "sol.newcomer@example.test");
    const std::string token = signInByToken().member("accessToken");
    const Reply user = exchange(fixture.baseUrl(), "GET", kUsers, clientHeaders(token));
    EXPECT_EQ(json::parse(user.body).size(), 14u);
    EXPECT_EQ(user.member("firstName"), "Sol");
    EXPECT_EQ(user.member("lastName"), "Marsh");
    EXPECT_EQ(user.member("email"), "sol.newcomer@example.test");
    const Reply own =
        exchange(fixture.baseUrl(), "POST", "/api/customer/registry/v2/tokens/context", clientHeaders(token));
    ASSERT_EQ(own.status, 200) << own.body;
    const json claims = json::parse(claimsOf(own.member("accessToken")));
    EXPECT_EQ(claims.at("userid"), user.member("id"));
    EXPECT_EQ(claims.at("customerAvailableContext"), "b2c");
    EXPECT_EQ(claims.at("scopes").at(0).at("role"), 2);
    EXPECT_EQ(exchange(fixture.baseUrl(), "POST", "/api/customer/registry/v2/tokens", clientHeaders(),
                       R"({"login":"sol.newcomer@example.test","password":"x"})")
                  .status,
              401)
        << "it has no password";
}

TEST_F(Finalization, RefusesByThePersonsStanding) {
    static const struct {
        const char* name;
        const char* target;
        const char* body;
        int status;
        const char* errorCode;
    } rows[] = {
        {"an unknown code", kCodeForm, R"({"code":"unknown"})", 401, ""},
        {"a linked person's code", kCodeForm, R"({"code":"gp-code-linked-1"})", 403,
         "ACCOUNT_ALREADY_EXISTS"},
        {"a code of who has a password account", kCodeForm, R"({"code":"mi-code-owner-5"})", 403,
         "ACCOUNT_ALREADY_EXISTS"},
        {"a business's code", kCodeForm, R"({"code":"gp-code-business-8"})", 403, "ACCOUNT_ALREADY_EXISTS"},
        {"an unknown token", kTokenForm, R"({"accessToken":"unknown","providerKey":"glowpass"})", 401, ""},
        {"another provider's token", kTokenForm,
         R"({"accessToken":"gp-newcomer-6","providerKey":"maple-id"})", 401, ""},
        {"an unknown provider", kTokenForm, R"({"accessToken":"gp-newcomer-6","providerKey":"x"})", 404, ""},
        {"a linked person's token", kTokenForm, R"({"accessToken":"mi-several-2","providerKey":"maple-id"})",
         403, "ACCOUNT_ALREADY_EXISTS"},
        {"linked elsewhere", kTokenForm, R"({"accessToken":"mi-elsewhere-4","providerKey":"maple-id"})", 403,
         "ACCOUNT_ALREADY_EXISTS"},
    };
    for (const auto& row : rows) {
        const Reply reply = finalize(row.target, row.body, row.name);
        EXPECT_EQ(reply.status, row.status) << row.name << ": " << reply.body;
        EXPECT_EQ(reply.member("errorCode"), row.errorCode) << row.name;
        EXPECT_EQ(finalize(row.target, row.body, row.name).body, reply.body)
            << row.name << ": a refusal is kept with its key, its traceId too";
    }
    for (const auto& report : fixture.service().signUps())
        EXPECT_EQ(report.made, 0) << report.person;
}

TEST_F(Finalization, WithoutAProperKeyNothingHappens) {
    const struct {
        const char* name;
        sandbox::NamedValues headers;
        int status;
    } rows[] = {
        {"no key", {}, 400},
        {"an empty key", {{"Idempotency-Key", ""}}, 400},
        {"a key of 256 bytes", {{"Idempotency-Key", std::string(256, 'k')}}, 400},
        {"a key of 255 bytes", {{"Idempotency-Key", std::string(255, 'k')}}, 204},
        {"the name in another case", {{"idempotency-key", "k"}}, 204},
    };
    for (const auto& row : rows) {
        fixture.service().reset();
        sandbox::NamedValues headers = clientHeaders();
        headers.insert(headers.end(), row.headers.begin(), row.headers.end());
        EXPECT_EQ(exchange(fixture.baseUrl(), "POST", kTokenForm, headers, kByToken).status, row.status)
            << row.name;
        EXPECT_EQ(fixture.signUpOf("newcomer").made, row.status == 204 ? 1 : 0) << row.name;
    }
}

TEST_F(Finalization, ABodyThatCannotBeReadLeavesTheKeyUnused) {
    static const struct {
        const char* name;
        const char* target;
        const char* body;
    } rows[] = {
        {"no code", kCodeForm, R"({})"},
        {"an empty code", kCodeForm, R"({"code":""})"},
        {"an empty cause", kCodeForm, R"({"code":"gp-code-newcomer-6","cause":""})"},
        {"a cause that is a number", kCodeForm, R"({"code":"gp-code-newcomer-6","cause":1})"},
        {"a member too many", kCodeForm, R"({"code":"gp-code-newcomer-6","accessToken":"a"})"},
        {"no provider", kTokenForm, R"({"accessToken":"gp-newcomer-6"})"},
        {"no token", kTokenForm, R"({"providerKey":"glowpass"})"},
        {"a code beside the token", kTokenForm,
         R"({"accessToken":"gp-newcomer-6","providerKey":"glowpass","code":"c"})"},
        {"no JSON", kTokenForm, "accessToken"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(finalize(row.target, row.body).status, 400) << row.name;
    EXPECT_EQ(finalize(kTokenForm, kByToken).status, 204) << "the key is as good as new";
}

TEST_F(Finalization, OneKeyMakesOneAccount) {
    const Reply first = finalize(kTokenForm, kByToken);
    EXPECT_EQ(first.status, 204);
    for (int repeat = 0; repeat < 3; ++repeat)
        EXPECT_EQ(finalize(kTokenForm, kByToken).status, 204) << "the first answer again";
    EXPECT_EQ(fixture.signUpOf("newcomer").made, 1);
    EXPECT_EQ(fixture.signUpOf("newcomer").requests, 4);
    EXPECT_EQ(fixture.signUpOf("newcomer").keys, 1);
    const Reply other = finalize(kTokenForm, kByToken, "another key");
    EXPECT_EQ(other.status, 403) << "a new key is a new operation, and the account is there";
    EXPECT_EQ(fixture.signUpOf("newcomer").made, 1);
    EXPECT_EQ(fixture.signUpOf("newcomer").keys, 2);
}

TEST_F(Finalization, ALostAnswerIsGivenAgain) {
    sandbox::Fault lost;
    lost.kind = sandbox::FaultKind::lost;
    fixture.faults().add(lost);
    EXPECT_EQ(finalize(kTokenForm, kByToken).status, 0) << "done, but nobody was told";
    EXPECT_EQ(fixture.signUpOf("newcomer").made, 1);
    EXPECT_EQ(finalize(kTokenForm, kByToken).status, 204);
    EXPECT_EQ(fixture.signUpOf("newcomer").made, 1);
    EXPECT_EQ(fixture.signUpOf("newcomer").requests, 2);
}

TEST_F(Finalization, AKeyOfAnotherRequestIsAConflictWithoutRetry) {
    fixture.service().setFinalization({.busyAnswers = 1});
    const auto expectConflict = [&](const char* when) {
        static const struct {
            const char* name;
            const char* target;
            const char* body;
        } rows[] = {
            {"another code", kCodeForm, R"({"code":"mi-code-newcomer-7"})"},
            {"another cause", kCodeForm, R"({"code":"gp-code-newcomer-6","cause":"c"})"},
            {"the same in other bytes", kCodeForm, R"({ "code":"gp-code-newcomer-6"})"},
            {"the other endpoint", kTokenForm, R"({"code":"gp-code-newcomer-6"})"},
        };
        for (const auto& row : rows) {
            const Reply reply = finalize(row.target, row.body);
            EXPECT_EQ(reply.status, 409) << when << ", " << row.name;
            EXPECT_EQ(retryAfter(reply), "none") << when << ", " << row.name;
            EXPECT_EQ(reply.member("errorCode"), "IDEMPOTENCY_KEY_REUSED") << when << ", " << row.name;
        }
    };
    EXPECT_EQ(retryAfter(finalize(kCodeForm, kByCode)), "1");
    expectConflict("while the first works");
    EXPECT_EQ(finalize(kCodeForm, kByCode).status, 204);
    expectConflict("when it is done");
    EXPECT_EQ(fixture.signUpOf("newcomer").requests, 2);
    EXPECT_EQ(fixture.signUpOf("newcomer-too").requests, 0);
}

TEST_F(Finalization, BusyByNumberOfAnswers) {
    fixture.service().setFinalization({.busyAnswers = 3, .retryAfterSeconds = 7, .successStatus = 200});
    for (int request = 1; request <= 3; ++request) {
        const Reply reply = finalize(kCodeForm, kByCode);
        EXPECT_EQ(reply.status, 409) << request;
        EXPECT_EQ(retryAfter(reply), "7") << request;
        EXPECT_EQ(fixture.signUpOf("newcomer").made, 0) << request;
        EXPECT_EQ(signInByToken().status, 404) << "no account yet";
    }
    const Reply done = finalize(kCodeForm, kByCode);
    EXPECT_EQ(done.status, 200);
    EXPECT_EQ(done.body, "{}");
    EXPECT_EQ(finalize(kCodeForm, kByCode).status, 200) << "no longer busy";
    EXPECT_EQ(fixture.signUpOf("newcomer").made, 1);
    EXPECT_EQ(fixture.signUpOf("newcomer").requests, 5);
}

TEST_F(Finalization, BusyByTheClock) {
    fixture.service().setFinalization({.busySeconds = 1000});
    EXPECT_EQ(retryAfter(finalize(kCodeForm, kByCode)), "1");
    fixture.advance(999);
    EXPECT_EQ(retryAfter(finalize(kCodeForm, kByCode)), "1") << "a second before";
    fixture.advance(1);
    EXPECT_EQ(finalize(kCodeForm, kByCode).status, 204);
    EXPECT_EQ(signInByCode("gp-code-newcomer-6").status, 200) << "the code outlived the work";
    EXPECT_EQ(fixture.signUpOf("newcomer").made, 1);
}

TEST_F(Finalization, NobodyIsRefusedAtOnceHoweverBusy) {
    fixture.service().setFinalization({.busyAnswers = 1, .busySeconds = 1000});
    EXPECT_EQ(finalize(kCodeForm, R"({"code":"unknown"})", "a").status, 401);
    EXPECT_EQ(finalize(kTokenForm, R"({"accessToken":"a","providerKey":"b"})", "b").status, 404);
}

TEST_F(Finalization, BusyByTheSeedsRuleAndAfterAReset) {
    sandbox::Seed seed = sandbox::readSeedFile(sandbox::defaultSeedFile());
    seed.rules.finalization.busyAnswers = 1;
    sandbox::AccountService service(seed, [] { return std::int64_t{1800000000}; });
    const sandbox::Request request{
        "POST",
        kTokenForm,
        {{"x-vqm-custom", "vqm-client"}, {"Content-Type", "application/json"}, {"Idempotency-Key", kKey}},
        kByToken};
    EXPECT_EQ(service.answer(request).status, 409);
    EXPECT_EQ(service.answer(request).status, 204);
    service.setFinalization({});
    service.reset();
    EXPECT_EQ(service.answer(request).status, 409) << "a reset goes back to the seed";
}

TEST_F(Finalization, TwoKeysOfOnePersonMakeOneAccount) {
    fixture.service().setFinalization({.busyAnswers = 1});
    EXPECT_EQ(finalize(kCodeForm, kByCode, "first").status, 409);
    EXPECT_EQ(finalize(kTokenForm, kByToken, "second").status, 409);
    EXPECT_EQ(finalize(kTokenForm, kByToken, "second").status, 204);
    EXPECT_EQ(finalize(kCodeForm, kByCode, "first").status, 403) << "the other was faster";
    EXPECT_EQ(fixture.signUpOf("newcomer").made, 1);
    EXPECT_EQ(fixture.signUpOf("newcomer").keys, 2);
}

TEST_F(Finalization, KeyIsRememberedForADay) {
    EXPECT_EQ(finalize(kTokenForm, kByToken).status, 204);
    fixture.advance(86399);
    EXPECT_EQ(finalize(kTokenForm, kByToken).status, 204) << "a second before";
    fixture.advance(1);
    EXPECT_EQ(finalize(kTokenForm, kByToken).status, 403) << "a new operation; the account is there";
    EXPECT_EQ(finalize(kCodeForm, R"({"code":"unknown"})").status, 409) << "the key is in use anew";
    EXPECT_EQ(fixture.signUpOf("newcomer").made, 1);
}

TEST_F(Finalization, CodeLivesOnForTheSignInBehindIt) {
    fixture.advance(599);
    EXPECT_EQ(finalize(kCodeForm, kByCode).status, 204);
    fixture.advance(599);
    EXPECT_EQ(signInByCode("gp-code-newcomer-6").status, 200);
    EXPECT_EQ(signInByCode("gp-code-newcomer-6").status, 401) << "once";
    EXPECT_EQ(finalize(kCodeForm, kByCode).status, 204) << "the key outlives the code";
    EXPECT_EQ(finalize(kCodeForm, kByCode, "another key").status, 401) << "the code is used up";
}

TEST_F(Finalization, CodeLivesOnFromTheEndOfTheWork) {
    fixture.service().setFinalization({.busyAnswers = 1});
    EXPECT_EQ(finalize(kCodeForm, kByCode).status, 409);
    fixture.advance(500);
    EXPECT_EQ(finalize(kCodeForm, kByCode).status, 204);
    fixture.advance(599);
    EXPECT_EQ(signInByCode("gp-code-newcomer-6").status, 200);
}

TEST_F(Finalization, AnExpiredCodeMakesNothing) {
    fixture.advance(600);
    EXPECT_EQ(finalize(kCodeForm, kByCode).status, 401);
    EXPECT_EQ(finalize(kCodeForm, json{{"code", fixture.socialCode("newcomer")}}.dump(), "k").status, 204);
}

TEST_F(Finalization, ThreadsWithOneKeyMakeOneAccount) {
    constexpr int threadCount = 8;
    fixture.service().setFinalization({.busyAnswers = 5});
    std::atomic<int> busy = 0;
    std::atomic<int> done = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&] {
            const Reply reply = finalize(kTokenForm, kByToken);
            busy += reply.status == 409 && retryAfter(reply) == "1" ? 1 : 0;
            done += reply.status == 204 ? 1 : 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(busy, 5);
    EXPECT_EQ(done, 3);
    EXPECT_EQ(fixture.signUpOf("newcomer").made, 1);
    EXPECT_EQ(fixture.signUpOf("newcomer").requests, threadCount);
}

TEST_F(Finalization, ThreadsWithKeysOfTheirOwnMakeOneAccount) {
    constexpr int threadCount = 8;
    std::atomic<int> made = 0;
    std::atomic<int> refused = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&, thread] {
            const int status = finalize(kTokenForm, kByToken, "key " + std::to_string(thread)).status;
            made += status == 204 ? 1 : 0;
            refused += status == 403 ? 1 : 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(made, 1);
    EXPECT_EQ(refused, threadCount - 1);
    EXPECT_EQ(fixture.signUpOf("newcomer").made, 1);
    EXPECT_EQ(fixture.signUpOf("newcomer").keys, threadCount);
}

}  // namespace
