// What a request with a key does at each step: what it reads, what it keeps, when it sleeps.
#include "tests/core/registry/SendFixture.h"

namespace {

using test::Broken;
using test::Conflict;
using test::Headers;
using test::ScriptedAnswer;
using test::Status;
using test::Text;
using test::TimedOut;
using test::WithoutBlocks;

using Waits = std::vector<std::uint32_t>;

class KeyedSendSteps : public test::KeyedSendTest {};

TEST_F(KeyedSendSteps, SendsTheSameHeadersAtEveryTry) {
    Script({TimedOut(), Conflict("1"), TimedOut(), Conflict("1"), Status(200)});
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    ASSERT_EQ(platform.requests.size(), 5u);
    const Headers expected = {{"Accept", "application/json"},
                              {"Cache-Control", "no-cache"},
                              {"Content-Type", "application/json;charset=UTF-8"},
                              {"Idempotency-Key", "k-1"},
                              {"x-vqm-custom", "vqm-client"}};
    for (const auto& sent : platform.requests) {
        EXPECT_EQ(sent.method, "POST");
        EXPECT_EQ(sent.url, "https://s/x");
        EXPECT_EQ(sent.headers, expected);
        EXPECT_EQ(sent.body, platform.requests[0].body);
    }
}

TEST_F(KeyedSendSteps, ReadsTheRequestAfreshAtEveryTry) {
    platform.before = [this](test::Operation operation) {
        if (operation != test::Operation::Sleep)
            return;
        request->url = "https://s/later";
        request->body = "later";
        request->flags = 1;
        request->SetHeader("Later", "yes");
    };
    Script({TimedOut(), Status(200)});
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    ASSERT_EQ(platform.requests.size(), 2u);
    EXPECT_EQ(platform.requests[0].url, "https://s/x");
    EXPECT_EQ(platform.requests[0].flags, 0u);
    EXPECT_EQ(platform.requests[0].Header("Later"), "(none)");
    EXPECT_EQ(platform.requests[1].url, "https://s/later");
    EXPECT_EQ(platform.requests[1].body, "later");
    EXPECT_EQ(platform.requests[1].flags, 1u);
    EXPECT_EQ(platform.requests[1].Header("Later"), "yes");
    platform.before = nullptr;
}

// The platform leaves the status alone here, so that what is left is the loop's own doing.
TEST_F(KeyedSendSteps, ForgetsTheStatusBeforeEveryTry) {
    Script({Conflict("1")});
    platform.FailCall(test::Operation::HttpRequest, 0x81000006, 2);
    EXPECT_EQ(Send(), ResultCode::kRequestNotSent);
    EXPECT_EQ(httpCode, 0u);
}

TEST_F(KeyedSendSteps, KeepsTheBodyOfTheLastAnswerAlone) {
    ScriptedAnswer first = Conflict("1");
    first.body = "first";
    ScriptedAnswer last = Status(200);
    last.body = "last";
    Script({first, TimedOut(), last});
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(Text(responseBody), "last");
    EXPECT_EQ(Text(responseHeaders), "HTTP/1.1 200\r\n\r\n");
}

TEST_F(KeyedSendSteps, TakesNothingFromATryThatFailed) {
    ScriptedAnswer first = Conflict("1");
    first.body = "first";
    Script({first, TimedOut(), Broken(0x81000006)});
    EXPECT_EQ(Send(), ResultCode::kRequestNotSent);
    EXPECT_EQ(Text(responseBody), "first");
    EXPECT_EQ(Text(responseHeaders), "HTTP/1.1 409 Conflict\r\nRetry-After: 1\r\n\r\n");
}

TEST_F(KeyedSendSteps, ReadsTheHeadersThatTheCallerGaveWhenThereAreNone) {
    responseHeaders = "Retry-After: 4\r\n";
    Script({WithoutBlocks(409), Status(200)});
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(platform.sleepsMs, Waits{4000});
}

TEST_F(KeyedSendSteps, APolicyWithoutTriesSendsNothing) {
    client.retryPolicy.maxAttempts = 0;
    responseBody = "former body";
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(platform.requests.size(), 0u);
    EXPECT_EQ(platform.CallCount(test::Operation::HttpRequest), 0u);
    EXPECT_TRUE(platform.sleepsMs.empty());
    EXPECT_EQ(httpCode, 77u) << "set before a try, and there is none";
    EXPECT_EQ(Text(responseBody), "former body");
    EXPECT_EQ(platform.traceLines, test::Lines{"SendRequest: https://s/x Idempotency-Key=k-1"});
}

TEST_F(KeyedSendSteps, TriesAsOftenAsALargePolicySays) {
    client.retryPolicy.maxAttempts = 4294967295;
    for (int i = 0; i < 300; ++i)
        platform.AnswerWith(TimedOut());
    platform.AnswerWith(Status(200));
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(platform.requests.size(), 301u);
    EXPECT_EQ(platform.sleepsMs, Waits(300, 1500));
    EXPECT_EQ(platform.traceLines.back(),
              "SendRequest: https://s/x attempt 301/4294967295 result=ok, httpCode=200; decision=accept "
              "response, no more retries");
}

TEST_F(KeyedSendSteps, SleepsBetweenTheTriesAndNowhereElse) {
    std::string order;
    platform.before = [&order](test::Operation operation) {
        if (operation == test::Operation::Sleep)
            order += 's';
        if (operation == test::Operation::HttpRequest)
            order += 'h';
    };
    Script({TimedOut(), Conflict("1"), TimedOut(), TimedOut(), TimedOut()});
    EXPECT_EQ(Send(), ResultCode::kTimedOut);
    EXPECT_EQ(order, "hshshshsh");
    platform.before = nullptr;
}

TEST_F(KeyedSendSteps, GoesOnWhenSleepFails) {
    for (const std::uint32_t nth : {1u, 2u}) {
        platform.FailCall(test::Operation::Sleep, 0x80000001, nth);
        Script({TimedOut(), Conflict("1"), Status(200)});
        EXPECT_EQ(Send(), ResultCode::kSuccess) << nth;
        EXPECT_EQ(httpCode, 200u) << nth;
    }
    EXPECT_EQ(platform.requests.size(), 6u);
}

TEST_F(KeyedSendSteps, GoesOnWhenThereIsNoSleep) {
    platform.table.Sleep = nullptr;
    platform.Install();
    Script({TimedOut(), Conflict("1"), Status(200)});
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(platform.requests.size(), 3u);
    EXPECT_TRUE(platform.sleepsMs.empty());
}

TEST_F(KeyedSendSteps, HandsTheContextToSleep) {
    static void* seen = nullptr;
    seen = nullptr;
    platform.table.Sleep = [](std::uint32_t, void* given) -> std::uint32_t {
        seen = given;
        return 0;
    };
    platform.Install();
    Script({TimedOut(), Status(200)});
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(seen, context);
}

TEST_F(KeyedSendSteps, AMissingTransportIsTriedOnce) {
    platform.table.HttpRequest = nullptr;
    platform.Install();
    EXPECT_EQ(Send(), ResultCode::kRequestNotSent);
    EXPECT_EQ(httpCode, 0u);
    EXPECT_TRUE(platform.sleepsMs.empty());
}

TEST_F(KeyedSendSteps, SentAgainItStartsAfresh) {
    Script({TimedOut(), TimedOut(), TimedOut(), TimedOut(), TimedOut()});
    EXPECT_EQ(Send(), ResultCode::kTimedOut);
    Script({TimedOut(), TimedOut(), TimedOut(), TimedOut(), Status(200)});
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    ASSERT_EQ(platform.requests.size(), 10u);
    for (const auto& sent : platform.requests)
        EXPECT_EQ(sent.headers, platform.requests[0].headers);
    EXPECT_EQ(platform.traceLines.size(), 12u);
    EXPECT_EQ(platform.traceLines[6], "SendRequest: https://s/x Idempotency-Key=k-1");
    EXPECT_EQ(platform.traceLines[7],
              "SendRequest: https://s/x attempt 1/5 result=timeout; decision=retry in place after 1500ms");
}

}  // namespace
