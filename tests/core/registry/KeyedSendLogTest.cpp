// The lines that a request with a key leaves in the log, to the letter.
#include "tests/core/registry/SendFixture.h"

namespace {

using registry::RetryPolicy;
using test::Broken;
using test::Conflict;
using test::Lines;
using test::ScriptedAnswer;
using test::Status;
using test::Text;
using test::TimedOut;

constexpr RetryPolicy kDefaults = {5, 1500, 1000, 30000};
constexpr char kKeyLine[] = "SendRequest: https://s/x Idempotency-Key=k-1";

class KeyedSendLog : public test::KeyedSendTest {};

TEST_F(KeyedSendLog, TellsEachTryAndItsDecision) {
    const struct {
        const char* name;
        std::vector<ScriptedAnswer> answers;
        RetryPolicy policy;
        Lines lines;  // behind the key's
    } rows[] = {
        {"accepted at once",
         {Status(200)},
         kDefaults,
         {"SendRequest: https://s/x attempt 1/5 result=ok, httpCode=200; decision=accept response, no more "
          "retries"}},
        {"a refusal is accepted too",
         {Status(503)},
         kDefaults,
         {"SendRequest: https://s/x attempt 1/5 result=ok, httpCode=503; decision=accept response, no more "
          "retries"}},
        {"a plain conflict",
         {Status(409)},
         kDefaults,
         {"SendRequest: https://s/x attempt 1/5 result=ok, httpCode=409; decision=accept response, no more "
          "retries"}},
        {"a conflict with an empty header",
         {Conflict("")},
         kDefaults,
         {"SendRequest: https://s/x attempt 1/5 result=ok, httpCode=409; decision=accept response, no more "
          "retries"}},
        {"the largest status",
         {Status(4294967295)},
         kDefaults,
         {"SendRequest: https://s/x attempt 1/5 result=ok, httpCode=4294967295; decision=accept response, no "
          "more retries"}},
        {"silence to the end",
         {TimedOut(), TimedOut(), TimedOut(), TimedOut(), TimedOut()},
         kDefaults,
         {"SendRequest: https://s/x attempt 1/5 result=timeout; decision=retry in place after 1500ms",
          "SendRequest: https://s/x attempt 2/5 result=timeout; decision=retry in place after 1500ms",
          "SendRequest: https://s/x attempt 3/5 result=timeout; decision=retry in place after 1500ms",
          "SendRequest: https://s/x attempt 4/5 result=timeout; decision=retry in place after 1500ms",
          "SendRequest: https://s/x attempt 5/5 result=The HTTP request timed out; decision=give up, no more "
          "retries"}},
        {"at work to the end",
         {Conflict("2"), Conflict("600"), Conflict("soon"), Conflict("-5"), Conflict("7")},
         kDefaults,
         {"SendRequest: https://s/x attempt 1/5 result=ok, httpCode=409 (idempotency wait, Retry-After=2); "
          "decision=retry after 2000ms",
          "SendRequest: https://s/x attempt 2/5 result=ok, httpCode=409 (idempotency wait, Retry-After=600); "
          "decision=retry after 30000ms",
          "SendRequest: https://s/x attempt 3/5 result=ok, httpCode=409 (idempotency wait, "
          "Retry-After=soon); decision=retry after 1000ms",
          "SendRequest: https://s/x attempt 4/5 result=ok, httpCode=409 (idempotency wait, Retry-After=-5); "
          "decision=retry after 1000ms",
          "SendRequest: https://s/x attempt 5/5 result=ok, httpCode=409 (idempotency wait, Retry-After=7); "
          "decision=give up, attempts exhausted"}},
        {"broken at the first try",
         {Broken(0x81000006)},
         kDefaults,
         {"SendRequest: https://s/x attempt 1/5 result=Problems sending network requests; decision=give up, "
          "no more retries"}},
        {"broken at the third",
         {TimedOut(), Conflict("2"), Broken(0x80000002)},
         kDefaults,
         {"SendRequest: https://s/x attempt 1/5 result=timeout; decision=retry in place after 1500ms",
          "SendRequest: https://s/x attempt 2/5 result=ok, httpCode=409 (idempotency wait, Retry-After=2); "
          "decision=retry after 2000ms",
          "SendRequest: https://s/x attempt 3/5 result=Problems sending network requests; decision=give up, "
          "no more retries"}},
        {"one counter for both",
         {Conflict("1"), TimedOut(), Conflict("1"), Status(200)},
         kDefaults,
         {"SendRequest: https://s/x attempt 1/5 result=ok, httpCode=409 (idempotency wait, Retry-After=1); "
          "decision=retry after 1000ms",
          "SendRequest: https://s/x attempt 2/5 result=timeout; decision=retry in place after 1500ms",
          "SendRequest: https://s/x attempt 3/5 result=ok, httpCode=409 (idempotency wait, Retry-After=1); "
          "decision=retry after 1000ms",
          "SendRequest: https://s/x attempt 4/5 result=ok, httpCode=200; decision=accept response, no more "
          "retries"}},
        {"one try: silence",
         {TimedOut()},
         {1, 1500, 1000, 30000},
         {"SendRequest: https://s/x attempt 1/1 result=The HTTP request timed out; decision=give up, no more "
          "retries"}},
        {"one try: at work",
         {Conflict("2")},
         {1, 1500, 1000, 30000},
         {"SendRequest: https://s/x attempt 1/1 result=ok, httpCode=409 (idempotency wait, Retry-After=2); "
          "decision=give up, attempts exhausted"}},
        {"numbers of the full width",
         {TimedOut(), Conflict("4294967"), Status(200)},
         {4294967295, 4294967295, 1, 4294967295},
         {"SendRequest: https://s/x attempt 1/4294967295 result=timeout; decision=retry in place after "
          "4294967295ms",
          "SendRequest: https://s/x attempt 2/4294967295 result=ok, httpCode=409 (idempotency wait, "
          "Retry-After=4294967); decision=retry after 4294967000ms",
          "SendRequest: https://s/x attempt 3/4294967295 result=ok, httpCode=200; decision=accept response, "
          "no more retries"}},
    };
    for (const auto& row : rows) {
        platform.traceLines.clear();
        client.retryPolicy = row.policy;
        responseHeaders.clear();
        Script(row.answers);
        const auto code = Send();
        static_cast<void>(code);  // the lines are the subject here
        Lines expected = {kKeyLine};
        expected.insert(expected.end(), row.lines.begin(), row.lines.end());
        EXPECT_EQ(platform.traceLines, expected) << row.name;
        ASSERT_EQ(platform.UnusedAnswers(), 0u) << row.name;
    }
}

TEST_F(KeyedSendLog, PercentSignsStayData) {
    request->url = "https://s/100%25/%s%n?q=%d";
    request->SetHeader("Idempotency-Key", "%s%n%08x");
    Script({Conflict("%n%s 5%"), TimedOut(), Status(200)});
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(platform.traceLines,
              (Lines{"SendRequest: https://s/100%25/%s%n?q=%d Idempotency-Key=%s%n%08x",
                     "SendRequest: https://s/100%25/%s%n?q=%d attempt 1/5 result=ok, httpCode=409 "
                     "(idempotency wait, Retry-After=%n%s 5%); decision=retry after 1000ms",
                     "SendRequest: https://s/100%25/%s%n?q=%d attempt 2/5 result=timeout; decision=retry in "
                     "place after 1500ms",
                     "SendRequest: https://s/100%25/%s%n?q=%d attempt 3/5 result=ok, httpCode=200; "
                     "decision=accept response, no more retries"}));
}

TEST_F(KeyedSendLog, PercentSignsStayDataWhenItGivesUp) {
    request->url = "https://s/%n";
    client.retryPolicy.maxAttempts = 1;
    Script({Conflict("%n")});
    EXPECT_EQ(Send(), ResultCode::kRequestNotSent);
    Script({TimedOut()});
    EXPECT_EQ(Send(), ResultCode::kTimedOut);
    EXPECT_EQ(platform.traceLines,
              (Lines{"SendRequest: https://s/%n Idempotency-Key=k-1",
                     "SendRequest: https://s/%n attempt 1/1 result=ok, httpCode=409 (idempotency wait, "
                     "Retry-After=%n); decision=give up, attempts exhausted",
                     "SendRequest: https://s/%n Idempotency-Key=k-1",
                     "SendRequest: https://s/%n attempt 1/1 result=The HTTP request timed out; decision=give "
                     "up, no more retries"}));
}

TEST_F(KeyedSendLog, TextsOfAnyLengthComeWhole) {
    const std::string path(20000, 'p');
    const std::string wait(20000, 'w');
    request->url = Text("https://s/" + path);
    Script({Conflict(wait), Status(200)});
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    ASSERT_EQ(platform.traceLines.size(), 3u);
    EXPECT_EQ(platform.traceLines[0], "SendRequest: https://s/" + path + " Idempotency-Key=k-1");
    EXPECT_EQ(platform.traceLines[1], "SendRequest: https://s/" + path +
                                          " attempt 1/5 result=ok, httpCode=409 (idempotency wait, "
                                          "Retry-After=" +
                                          wait + "); decision=retry after 1000ms");
}

TEST_F(KeyedSendLog, EachLineComesBeforeWhatItAnnounces) {
    std::vector<std::size_t> linesAtSleep;
    std::vector<std::size_t> linesAtSend;
    platform.before = [&](test::Operation operation) {
        if (operation == test::Operation::Sleep)
            linesAtSleep.push_back(platform.traceLines.size());
        if (operation == test::Operation::HttpRequest)
            linesAtSend.push_back(platform.traceLines.size());
    };
    Script({TimedOut(), Conflict("1"), Status(200)});
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(linesAtSend, (std::vector<std::size_t>{1, 2, 3}));
    EXPECT_EQ(linesAtSleep, (std::vector<std::size_t>{2, 3}));
    platform.before = nullptr;
}

}  // namespace
