// A request without a key: one try, whatever comes back. And what makes a request one with a key.
#include "tests/core/registry/SendFixture.h"

namespace {

using test::Code;
using test::Headers;
using test::Lines;
using test::Text;

class SendLoop : public test::SendTest {};

TEST_F(SendLoop, NamesTheClientBehindAllOtherHeaders) {
    request->SetHeader("Authorization", "Bearer t");
    platform.AnswerWith(200, "answer");
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(LastRequest().headers, (Headers{{"Accept", "application/json"},
                                              {"Cache-Control", "no-cache"},
                                              {"Content-Type", "application/json;charset=UTF-8"},
                                              {"Authorization", "Bearer t"},
                                              {"x-vqm-custom", "vqm-client"}}));
    EXPECT_EQ(httpCode, 200u);
    EXPECT_EQ(Text(responseBody), "answer");
    EXPECT_EQ(Text(responseHeaders), "HTTP/1.1 200\r\n\r\n");
}

TEST_F(SendLoop, GivesAFormerNameOfTheClientItsOwnValueInPlace) {
    request->headers.clear();
    request->AddHeader("x-vqm-custom", "somebody else");
    request->AddHeader("X-Vqm-Custom", "another header by its case");
    request->AddHeader("Accept", "a");
    platform.AnswerWith(200, "");
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(LastRequest().headers, (Headers{{"x-vqm-custom", "vqm-client"},
                                              {"X-Vqm-Custom", "another header by its case"},
                                              {"Accept", "a"}}));
}

TEST_F(SendLoop, SentAgainItNamesTheClientOnce) {
    platform.AnswerWith(200, "");
    platform.AnswerWith(200, "");
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(platform.requests[0].headers, platform.requests[1].headers);
    EXPECT_EQ(LastRequest().headers.size(), 4u);
}

TEST_F(SendLoop, EveryStatusIsAnAnswer) {
    for (const std::uint32_t status :
         {0u, 100u, 200u, 204u, 302u, 400u, 401u, 404u, 408u, 409u, 429u, 500u, 503u, 599u, 4294967295u}) {
        platform.AnswerWith(status, "");
        EXPECT_EQ(Send(), ResultCode::kSuccess) << status;
        EXPECT_EQ(httpCode, status);
    }
    EXPECT_EQ(platform.requests.size(), 15u);
    EXPECT_TRUE(platform.sleepsMs.empty());
    EXPECT_EQ(platform.traceLines, Lines{});
}

TEST_F(SendLoop, AConflictThatAsksForPatienceIsAnAnswerWithoutAKey) {
    Script({test::Conflict("2")});
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(httpCode, 409u);
    EXPECT_EQ(platform.requests.size(), 1u);
    EXPECT_TRUE(platform.sleepsMs.empty());
    EXPECT_EQ(platform.traceLines, Lines{});
}

TEST_F(SendLoop, FlattensTheTransportsFailures) {
    const struct {
        const char* name;
        std::uint32_t transport;
        std::uint32_t expected;
    } rows[] = {
        {"time-out", 0x81000014, 0x81000014},
        {"network", 0x81000006, 0x80000006},
        {"send", 0x81000007, 0x80000006},
        {"bad URL", 0x80000002, 0x80000006},
        {"not implemented", 0x80000004, 0x80000006},
        {"anything else", 0x80000001, 0x80000006},
        {"not sent", 0x80000006, 0x80000006},
        {"a code of the service's family", 0x82000002, 0x80000006},
        {"the code beside the time-out", 0x81000015, 0x80000006},
        {"the time-out without its top bit", 0x01000014, 0x80000006},
        {"a positive code", 1, 0x80000006},
        {"the largest positive code", 0x7FFFFFFF, 0x80000006},
        {"the largest code", 0xFFFFFFFF, 0x80000006},
    };
    for (const auto& row : rows) {
        platform.requests.clear();
        responseBody.clear();
        Script({test::Broken(row.transport)});
        EXPECT_EQ(Send(), Code(row.expected)) << row.name;
        EXPECT_EQ(platform.requests.size(), 1u) << row.name << ": one try";
        EXPECT_EQ(httpCode, 0u) << row.name;
        if (row.transport > 0x7FFFFFFF) {
            EXPECT_EQ(Text(responseBody), "") << row.name;
        }
    }
    EXPECT_TRUE(platform.sleepsMs.empty());
    EXPECT_EQ(platform.traceLines, Lines{});
}

TEST_F(SendLoop, TheStatusIsZeroWithoutAnAnswer) {
    platform.FailCall(test::Operation::HttpRequest, 0x81000006);
    EXPECT_EQ(Send(), ResultCode::kRequestNotSent);
    EXPECT_EQ(httpCode, 0u);
}

TEST_F(SendLoop, AMissingTransportIsARequestNotSent) {
    platform.table.HttpRequest = nullptr;
    platform.Install();
    EXPECT_EQ(Send(), ResultCode::kRequestNotSent);
    EXPECT_EQ(httpCode, 0u);
}

TEST_F(SendLoop, ThePolicyIsNoBusinessOfARequestWithoutAKey) {
    client.retryPolicy = {0, 0, 0, 0};
    Script({test::TimedOut(), test::Status(200)});
    EXPECT_EQ(Send(), ResultCode::kTimedOut);
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(platform.requests.size(), 2u);
}

TEST_F(SendLoop, SendOnceAddsNothing) {
    platform.AnswerWith(200, "answer");
    EXPECT_EQ(client.SendOnce(request, responseBody, responseHeaders, httpCode, context),
              ResultCode::kSuccess);
    EXPECT_EQ(LastRequest().headers.size(), 3u);
    EXPECT_EQ(LastRequest().Header("x-vqm-custom"), "(none)");
}

TEST_F(SendLoop, SendOnceRepeatsNothingForAKeyEither) {
    const struct {
        const char* name;
        test::ScriptedAnswer answer;
        std::uint32_t expected;
        std::uint32_t status;
    } rows[] = {
        {"time-out", test::TimedOut(), 0x81000014, 0},
        {"network", test::Broken(0x81000006), 0x80000006, 0},
        {"conflict", test::Conflict("2"), 0, 409},
    };
    request->SetHeader("Idempotency-Key", "k-1");
    for (const auto& row : rows) {
        platform.requests.clear();
        Script({row.answer});
        EXPECT_EQ(client.SendOnce(request, responseBody, responseHeaders, httpCode, context),
                  Code(row.expected))
            << row.name;
        EXPECT_EQ(httpCode, row.status) << row.name;
        EXPECT_EQ(platform.requests.size(), 1u) << row.name;
    }
    EXPECT_TRUE(platform.sleepsMs.empty());
    EXPECT_EQ(platform.traceLines, Lines{});
}

TEST_F(SendLoop, HandsTheFlagsOn) {
    request->flags = 1;
    platform.AnswerWith(200, "");
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(LastRequest().flags, 1u);
}

// Only a request with a key is sent again after a time-out.
TEST_F(SendLoop, FindsTheKeyByItsExactName) {
    const struct {
        const char* name;
        Headers headers;
        const char* key;  // null: the request has none
    } rows[] = {
        {"no headers at all", {}, nullptr},
        {"the exact name", {{"Idempotency-Key", "k"}}, "k"},
        {"behind others", {{"A", "a"}, {"B", "b"}, {"Idempotency-Key", "k"}}, "k"},
        {"lower case", {{"idempotency-key", "k"}}, nullptr},
        {"upper case", {{"IDEMPOTENCY-KEY", "k"}}, nullptr},
        {"one letter in another case", {{"Idempotency-key", "k"}}, nullptr},
        {"a blank behind", {{"Idempotency-Key ", "k"}}, nullptr},
        {"one letter less", {{"Idempotency-Ke", "k"}}, nullptr},
        {"one letter more", {{"Idempotency-Keys", "k"}}, nullptr},
        {"the name as the value", {{"k", "Idempotency-Key"}}, nullptr},
        {"an empty value", {{"Idempotency-Key", ""}}, nullptr},
        {"a blank for a value", {{"Idempotency-Key", " "}}, " "},
        {"a zero for a value", {{"Idempotency-Key", "0"}}, "0"},
        {"the first of two", {{"Idempotency-Key", "a"}, {"Idempotency-Key", "b"}}, "a"},
        {"an empty first of two", {{"Idempotency-Key", ""}, {"Idempotency-Key", "b"}}, nullptr},
        {"a lower-case one in front", {{"idempotency-key", "a"}, {"Idempotency-Key", "b"}}, "b"},
        {"an empty lower-case one in front", {{"idempotency-key", ""}, {"Idempotency-Key", "b"}}, "b"},
    };
    for (const auto& row : rows) {
        platform.requests.clear();
        platform.sleepsMs.clear();
        platform.traceLines.clear();
        request->headers.clear();
        for (const auto& [name, value] : row.headers)
            request->AddHeader(Text(name), Text(value));
        platform.responder = [](const test::RecordedRequest&) { return test::Status(200); };
        Script({test::TimedOut()});
        const auto code = Send();
        if (row.key == nullptr) {
            EXPECT_EQ(code, ResultCode::kTimedOut) << row.name;
            EXPECT_EQ(platform.requests.size(), 1u) << row.name;
            EXPECT_EQ(platform.traceLines, Lines{}) << row.name;
            continue;
        }
        EXPECT_EQ(code, ResultCode::kSuccess) << row.name;
        EXPECT_EQ(platform.requests.size(), 2u) << row.name;
        ASSERT_EQ(platform.traceLines.size(), 3u) << row.name;
        EXPECT_EQ(platform.traceLines[0], std::string("SendRequest: https://s/x Idempotency-Key=") + row.key)
            << row.name;
    }
}

}  // namespace
