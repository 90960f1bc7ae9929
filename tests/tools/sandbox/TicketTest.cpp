// Customer tickets: what is taken, what comes back, and that each is filed once.

#include <gtest/gtest.h>

#include <atomic>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/support/SandboxFixture.h"
#include "tests/tools/sandbox/SandboxClient.h"

namespace {

using nlohmann::json;
using test_support::clientHeaders;
using test_support::exchange;
using test_support::Reply;

constexpr const char* kTarget = "/api/quillmark/CUSTOMER_TICKET_REGISTRATION";
constexpr const char* kBody = R"({"email":"a@example.test","title":"T","description":"D"})";
constexpr const char* kKey = "0f8fad5b-d9cb-469f-a165-70867728950e";

class Tickets : public testing::Test {
protected:
    Reply file(const std::string& body = kBody, const std::string& key = kKey) {
        sandbox::NamedValues headers = clientHeaders();
        headers.emplace_back("Idempotency-Key", key);
        return exchange(fixture.baseUrl(), "POST", kTarget, headers, body);
    }
    // The value of an attribute of the answer, "none" if there is no such attribute.
    static std::string attribute(const Reply& reply, const char* key) {
        const json record = json::parse(reply.body, nullptr, false);
        if (!record.is_object() || !record.contains("attributeValues"))
            return "none";
        for (const json& element : record.at("attributeValues")) {
            if (element.at("attributeKey") == key)
                return element.at("valueLocales").at(0).at("value").get<std::string>();
        }
        return "none";
    }
    static std::string number(const Reply& reply) { return attribute(reply, "CUSTOMER_TICKET_NUMBER"); }
    static std::string retryAfter(const Reply& reply) {
        const std::string* value = sandbox::findHeader(reply.headers, "Retry-After");
        return value != nullptr ? *value : "none";
    }
    std::vector<sandbox::Ticket> tickets() { return fixture.service().tickets(); }

    test_support::SandboxFixture fixture;
};

TEST_F(Tickets, AnswerIsAnEntityRecord) {
    const Reply reply = file();
    EXPECT_EQ(reply.status, 200);
    const json record = json::parse(reply.body);
    EXPECT_EQ(record.size(), 10u);
    EXPECT_NE(reply.member("id"), "");
    EXPECT_EQ(reply.member("entityTypeKey"), "CUSTOMER_TICKET");
    EXPECT_EQ(reply.member("stateKey"), "NEW");
    EXPECT_EQ(record.at("isDraft"), false);
    EXPECT_EQ(record.at("version"), 1);
    EXPECT_TRUE(record.at("referencedTo").is_array());
    EXPECT_EQ(attribute(reply, "CUSTOMER_TICKET_EMAIL"), "a@example.test");
    EXPECT_EQ(attribute(reply, "CUSTOMER_TICKET_TITLE"), "T");
    EXPECT_EQ(number(reply), "T-500001");
    EXPECT_EQ(record.at("attributeValues").at(0).at("valueLocales").at(0).at("key"), "en");
}

TEST_F(Tickets, TakesWellFormedBodiesAlone) {
    static const struct {
        const char* name;
        const char* body;
        int status;
    } rows[] = {
        {"three members", kBody, 200},
        {"extra parameters",
         R"({"email":"a","title":"t","description":"d","additionalParameters":{"b":"2","a":""}})", 200},
        {"no extra parameter", R"({"email":"a","title":"t","description":"d","additionalParameters":{}})",
         400},
        {"extra parameters that are a list",
         R"({"email":"a","title":"t","description":"d","additionalParameters":["a"]})", 400},
        {"an extra parameter that is a number",
         R"({"email":"a","title":"t","description":"d","additionalParameters":{"a":1}})", 400},
        {"no e-mail", R"({"title":"t","description":"d"})", 400},
        {"no title", R"({"email":"a","description":"d"})", 400},
        {"no description", R"({"email":"a","title":"t"})", 400},
        {"an empty title", R"({"email":"a","title":"","description":"d"})", 400},
        {"a title that is a number", R"({"email":"a","title":1,"description":"d"})", 400},
        {"a member too many", R"({"email":"a","title":"t","description":"d","more":"x"})", 400},
        {"an array", "[]", 400},
        {"no JSON", "email", 400},
    };
    for (const auto& row : rows) {
        fixture.service().reset();
        EXPECT_EQ(file(row.body).status, row.status) << row.name;
        EXPECT_EQ(tickets().size(), row.status == 200 ? 1u : 0u) << row.name;
        if (row.status == 400) {
            EXPECT_EQ(file().status, 200) << row.name << ": the key is as good as new";
        }
    }
}

TEST_F(Tickets, WithoutAProperKeyNothingHappens) {
    const struct {
        const char* name;
        sandbox::NamedValues headers;
        int status;
    } rows[] = {
        {"no key", {}, 400},
        {"an empty key", {{"Idempotency-Key", ""}}, 400},
        {"a key of 256 bytes", {{"Idempotency-Key", std::string(256, 'k')}}, 400},
        {"a key of 255 bytes", {{"Idempotency-Key", std::string(255, 'k')}}, 200},
    };
    for (const auto& row : rows) {
        fixture.service().reset();
        sandbox::NamedValues headers = clientHeaders();
        headers.insert(headers.end(), row.headers.begin(), row.headers.end());
        EXPECT_EQ(exchange(fixture.baseUrl(), "POST", kTarget, headers, kBody).status, row.status)
            << row.name;
        EXPECT_EQ(tickets().size(), row.status == 200 ? 1u : 0u) << row.name;
    }
}

TEST_F(Tickets, RepeatKeepsItsNumber) {
    const Reply first = file();
    for (int repeat = 0; repeat < 3; ++repeat) {
        const Reply again = file();
        EXPECT_EQ(again.status, 200);
        EXPECT_EQ(again.body, first.body) << "the first answer again";
    }
    EXPECT_EQ(number(file(kBody, "another key")), "T-500002");
    ASSERT_EQ(tickets().size(), 2u);
    EXPECT_EQ(tickets().at(0).number, "T-500001");
    EXPECT_EQ(tickets().at(0).requests, 4);
    EXPECT_EQ(tickets().at(1).number, "T-500002");
    EXPECT_EQ(tickets().at(1).requests, 1);
}

TEST_F(Tickets, ALostAnswerIsGivenAgain) {
    sandbox::Fault lost;
    lost.kind = sandbox::FaultKind::lost;
    fixture.faults().add(lost);
    EXPECT_EQ(file().status, 0) << "filed, but nobody was told";
    EXPECT_EQ(number(file()), "T-500001");
    ASSERT_EQ(tickets().size(), 1u);
    EXPECT_EQ(tickets().at(0).requests, 2);
}

TEST_F(Tickets, ListTellsWhatWasSaid) {
    (void)file(
        R"({"email":"a@b","title":"T|\"","description":"D\nE","additionalParameters":{"z":"1","a":"2"}})");
    ASSERT_EQ(tickets().size(), 1u);
    const sandbox::Ticket ticket = tickets().at(0);
    EXPECT_EQ(ticket.email, "a@b");
    EXPECT_EQ(ticket.title, "T|\"");
    EXPECT_EQ(ticket.description, "D\nE");
    EXPECT_EQ(ticket.parameters, (sandbox::NamedValues{{"z", "1"}, {"a", "2"}}));
}

TEST_F(Tickets, BusyByNumberOfAnswers) {
    fixture.service().setTicketRule({.busyAnswers = 3, .retryAfterSeconds = 7});
    for (int request = 1; request <= 3; ++request) {
        const Reply reply = file();
        EXPECT_EQ(reply.status, 409) << request;
        EXPECT_EQ(retryAfter(reply), "7") << request;
        EXPECT_EQ(tickets().at(0).number, "") << request;
    }
    EXPECT_EQ(number(file()), "T-500001");
    EXPECT_EQ(file().status, 200) << "no longer busy";
    ASSERT_EQ(tickets().size(), 1u);
    EXPECT_EQ(tickets().at(0).number, "T-500001");
    EXPECT_EQ(tickets().at(0).requests, 5);
}

TEST_F(Tickets, BusyByTheClock) {
    fixture.service().setTicketRule({.busySeconds = 100});
    EXPECT_EQ(retryAfter(file()), "1");
    fixture.advance(99);
    EXPECT_EQ(retryAfter(file()), "1") << "a second before";
    fixture.advance(1);
    EXPECT_EQ(file().status, 200);
}

TEST_F(Tickets, NumbersFollowTheEndOfTheWork) {
    fixture.service().setTicketRule({.busyAnswers = 1});
    EXPECT_EQ(file(kBody, "first").status, 409);
    EXPECT_EQ(file(kBody, "second").status, 409);
    EXPECT_EQ(number(file(kBody, "second")), "T-500001");
    EXPECT_EQ(number(file(kBody, "first")), "T-500002");
}

TEST_F(Tickets, AKeyOfAnotherRequestIsAConflictWithoutRetry) {
    static const struct {
        const char* name;
        const char* target;
        const char* body;
    } rows[] = {
        {"another title", kTarget, R"({"email":"a@example.test","title":"U","description":"D"})"},
        {"the same in other bytes", kTarget, R"({ "email":"a@example.test","title":"T","description":"D"})"},
        {"a body that is refused", kTarget, R"({"email":"a"})"},
        {"another endpoint", "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH", kBody},
    };
    const auto expectConflict = [&](const char* when) {
        sandbox::NamedValues headers = clientHeaders();
        headers.emplace_back("Idempotency-Key", kKey);
        for (const auto& row : rows) {
            const Reply reply = exchange(fixture.baseUrl(), "POST", row.target, headers, row.body);
            EXPECT_EQ(reply.status, 409) << when << ", " << row.name;
            EXPECT_EQ(retryAfter(reply), "none") << when << ", " << row.name;
            EXPECT_EQ(reply.member("errorCode"), "IDEMPOTENCY_KEY_REUSED") << when << ", " << row.name;
        }
    };
    fixture.service().setTicketRule({.busyAnswers = 1});
    EXPECT_EQ(retryAfter(file()), "1");
    expectConflict("while the first works");
    EXPECT_EQ(file().status, 200);
    expectConflict("when it is done");
    ASSERT_EQ(tickets().size(), 1u);
    EXPECT_EQ(tickets().at(0).requests, 2);
}

TEST_F(Tickets, KeyIsRememberedForADay) {
    EXPECT_EQ(number(file()), "T-500001");
    fixture.advance(86399);
    EXPECT_EQ(number(file()), "T-500001") << "a second before";
    fixture.advance(1);
    EXPECT_EQ(number(file()), "T-500002") << "a new ticket";
}

TEST_F(Tickets, BusyByTheSeedsRuleAndAfterAReset) {
    sandbox::Seed seed = sandbox::readSeedFile(sandbox::defaultSeedFile());
    seed.rules.tickets.busyAnswers = 1;
    sandbox::AccountService service(seed, [] { return std::int64_t{1800000000}; });
    const sandbox::Request request{
        "POST",
        kTarget,
        {{"x-vqm-custom", "vqm-client"}, {"Content-Type", "application/json"}, {"Idempotency-Key", kKey}},
        kBody};
    EXPECT_EQ(service.answer(request).status, 409);
    EXPECT_EQ(service.answer(request).status, 200);
    service.setTicketRule({});
    service.reset();
    EXPECT_TRUE(service.tickets().empty());
    EXPECT_EQ(service.answer(request).status, 409) << "a reset goes back to the seed";
    EXPECT_EQ(service.answer(request).status, 200);
    EXPECT_EQ(service.tickets().at(0).number, "T-500001");
}

TEST_F(Tickets, ThreadsWithOneKeyFileOne) {
    constexpr int threadCount = 8;
    fixture.service().setTicketRule({.busyAnswers = 5});
    std::atomic<int> busy = 0;
    std::atomic<int> done = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&] {
            const Reply reply = file();
            busy += reply.status == 409 && retryAfter(reply) == "1" ? 1 : 0;
            done += number(reply) == "T-500001" ? 1 : 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(busy, 5);
    EXPECT_EQ(done, 3);
    ASSERT_EQ(tickets().size(), 1u);
    EXPECT_EQ(tickets().at(0).requests, threadCount);
}

}  // namespace
