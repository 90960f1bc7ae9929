// A request with a key: when it is repeated, after which wait, and what comes back.
#include <algorithm>
#include <map>
#include <random>

#include "core/src/system/LogOutlets.h"
#include "tests/core/registry/SendFixture.h"

namespace {

using registry::RetryPolicy;
using test::Broken;
using test::Code;
using test::Conflict;
using test::ScriptedAnswer;
using test::Status;
using test::StatusWith;
using test::TimedOut;
using test::WithoutBlocks;

using Answers = std::vector<ScriptedAnswer>;
using Waits = std::vector<std::uint32_t>;

constexpr RetryPolicy kDefaults = {5, 1500, 1000, 30000};

// All answers are asked for: the fixture fails a test that leaves one over, the platform one that wants more.
const struct Row {
    const char* name;
    Answers answers;
    RetryPolicy policy;
    std::uint32_t code;
    std::uint32_t status;
    Waits waitsMs;
} kRows[] = {
    {"accepted at the 1st try", {Status(200)}, kDefaults, 0, 200, {}},
    {"accepted at the 2nd try", {TimedOut(), Status(200)}, kDefaults, 0, 200, {1500}},
    {"accepted at the 3rd try", {TimedOut(), TimedOut(), Status(200)}, kDefaults, 0, 200, {1500, 1500}},
    {"accepted at the 4th try",
     {TimedOut(), TimedOut(), TimedOut(), Status(200)},
     kDefaults,
     0,
     200,
     {1500, 1500, 1500}},
    {"accepted at the 5th try",
     {TimedOut(), TimedOut(), TimedOut(), TimedOut(), Status(201)},
     kDefaults,
     0,
     201,
     {1500, 1500, 1500, 1500}},
    {"accepted at the 5th try, behind conflicts",
     {Conflict("1"), Conflict("2"), Conflict("3"), Conflict("4"), Status(200)},
     kDefaults,
     0,
     200,
     {1000, 2000, 3000, 4000}},
    {"silence to the end",
     {TimedOut(), TimedOut(), TimedOut(), TimedOut(), TimedOut()},
     kDefaults,
     0x81000014,
     0,
     {1500, 1500, 1500, 1500}},
    {"at work to the end",
     {Conflict("1"), Conflict("1"), Conflict("1"), Conflict("1"), Conflict("1")},
     kDefaults,
     0x80000006,
     409,
     {1000, 1000, 1000, 1000}},
    {"both by turns, silence last",
     {TimedOut(), Conflict("2"), TimedOut(), Conflict("3"), TimedOut()},
     kDefaults,
     0x81000014,
     0,
     {1500, 2000, 1500, 3000}},
    {"both by turns, at work last",
     {Conflict("2"), TimedOut(), Conflict("3"), TimedOut(), Conflict("4")},
     kDefaults,
     0x80000006,
     409,
     {2000, 1500, 3000, 1500}},
    {"both by turns, then an answer",
     {Conflict("2"), TimedOut(), Conflict("600"), TimedOut(), Status(404)},
     kDefaults,
     0,
     404,
     {2000, 1500, 30000, 1500}},

    {"broken at the 1st try", {Broken(0x81000006)}, kDefaults, 0x80000006, 0, {}},
    {"broken at the 2nd try", {TimedOut(), Broken(0x81000007)}, kDefaults, 0x80000006, 0, {1500}},
    {"broken at the 3rd try, behind a conflict",
     {TimedOut(), Conflict("2"), Broken(0x81000006)},
     kDefaults,
     0x80000006,
     0,
     {1500, 2000}},
    {"broken at the 5th try",
     {TimedOut(), TimedOut(), TimedOut(), TimedOut(), Broken(0x81000006)},
     kDefaults,
     0x80000006,
     0,
     {1500, 1500, 1500, 1500}},
    {"broken by a positive code", {Broken(1)}, kDefaults, 0x80000006, 0, {}},
    {"broken by a code that asks for nothing", {Broken(0x80000004)}, kDefaults, 0x80000006, 0, {}},
    {"the time-out without its top bit", {Broken(0x01000014)}, kDefaults, 0x80000006, 0, {}},

    {"a conflict without the header", {Status(409)}, kDefaults, 0, 409, {}},
    {"a conflict with an empty header", {Conflict("")}, kDefaults, 0, 409, {}},
    {"a conflict whose header holds blanks alone", {Conflict("   ")}, kDefaults, 0, 409, {}},
    {"a conflict whose header holds a tabulator waits the floor",
     {Conflict("\t"), Status(200)},
     kDefaults,
     0,
     200,
     {1000}},
    {"a conflict without the header at the 2nd try", {TimedOut(), Status(409)}, kDefaults, 0, 409, {1500}},
    {"a conflict without the header behind one with it",
     {Conflict("2"), Status(409)},
     kDefaults,
     0,
     409,
     {2000}},
    {"an empty first header hides the second",
     {StatusWith(409, "HTTP/1.1 409\r\nRetry-After:\r\nRetry-After: 2\r\n\r\n")},
     kDefaults,
     0,
     409,
     {}},
    {"the first header counts",
     {StatusWith(409, "HTTP/1.1 409\r\nRetry-After: 3\r\nRetry-After: 7\r\n\r\n"), Status(200)},
     kDefaults,
     0,
     200,
     {3000}},
    {"the header in lower case",
     {StatusWith(409, "HTTP/1.1 409\r\nretry-after: 3\r\n\r\n"), Status(200)},
     kDefaults,
     0,
     200,
     {3000}},
    {"the header in upper case, without a blank, line feeds alone",
     {StatusWith(409, "HTTP/1.1 409\nRETRY-AFTER:3\n\n"), Status(200)},
     kDefaults,
     0,
     200,
     {3000}},
    {"another header of a like name",
     {StatusWith(409, "HTTP/1.1 409\r\nX-Retry-After: 3\r\nRetry-After-Ms: 3\r\n\r\n")},
     kDefaults,
     0,
     409,
     {}},
    {"no header block at all", {WithoutBlocks(409)}, kDefaults, 0, 409, {}},
    {"a block that is missing later leaves the former header",
     {Conflict("2"), WithoutBlocks(409), WithoutBlocks(409), Status(200)},
     kDefaults,
     0,
     200,
     {2000, 2000, 2000}},
    {"a time-out in between leaves the former header too",
     {Conflict("2"), TimedOut(), WithoutBlocks(409), Status(200)},
     kDefaults,
     0,
     200,
     {2000, 1500, 2000}},

    {"a word waits the floor", {Conflict("soon"), Status(200)}, kDefaults, 0, 200, {1000}},
    {"a date waits the floor",
     {Conflict("Wed, 21 Oct 2015 07:28:00 GMT"), Status(200)},
     kDefaults,
     0,
     200,
     {1000}},
    {"nought waits the floor", {Conflict("0"), Status(200)}, kDefaults, 0, 200, {1000}},
    {"a number below nought waits the floor", {Conflict("-5"), Status(200)}, kDefaults, 0, 200, {1000}},
    {"a blank behind the number: the floor", {Conflict("2 "), Status(200)}, kDefaults, 0, 200, {1000}},

    {"no repeat at 408", {StatusWith(408, "HTTP/1.1 408\r\nRetry-After: 2\r\n\r\n")}, kDefaults, 0, 408, {}},
    {"no repeat at 410", {StatusWith(410, "HTTP/1.1 410\r\nRetry-After: 2\r\n\r\n")}, kDefaults, 0, 410, {}},
    {"no repeat at 425", {StatusWith(425, "HTTP/1.1 425\r\nRetry-After: 2\r\n\r\n")}, kDefaults, 0, 425, {}},
    {"no repeat at 429", {StatusWith(429, "HTTP/1.1 429\r\nRetry-After: 2\r\n\r\n")}, kDefaults, 0, 429, {}},
    {"no repeat at 503", {StatusWith(503, "HTTP/1.1 503\r\nRetry-After: 2\r\n\r\n")}, kDefaults, 0, 503, {}},
    {"no repeat at 401", {StatusWith(401, "HTTP/1.1 401\r\nRetry-After: 2\r\n\r\n")}, kDefaults, 0, 401, {}},
    {"409 in the status line alone",
     {StatusWith(200, "HTTP/1.1 409 Conflict\r\nRetry-After: 2\r\n\r\n")},
     kDefaults,
     0,
     200,
     {}},
    {"a refusal is never repeated", {Status(400)}, kDefaults, 0, 400, {}},
    {"a fault of the service is never repeated", {Status(500)}, kDefaults, 0, 500, {}},
    {"a gateway's time-out is never repeated", {Status(504)}, kDefaults, 0, 504, {}},

    {"one try: silence", {TimedOut()}, {1, 1500, 1000, 30000}, 0x81000014, 0, {}},
    {"one try: at work", {Conflict("2")}, {1, 1500, 1000, 30000}, 0x80000006, 409, {}},
    {"one try: an answer", {Status(200)}, {1, 1500, 1000, 30000}, 0, 200, {}},
    {"two tries: silence", {TimedOut(), TimedOut()}, {2, 1500, 1000, 30000}, 0x81000014, 0, {1500}},
    {"two tries: at work", {TimedOut(), Conflict("2")}, {2, 1500, 1000, 30000}, 0x80000006, 409, {1500}},
    {"waits of another policy",
     {TimedOut(), Conflict("word"), Conflict("2"), Conflict("600"), Status(200)},
     {5, 7, 1300, 2500},
     0,
     200,
     {7, 1300, 2000, 2500}},
    {"the longest wait of all",
     {TimedOut(), Conflict("4294967"), Status(200)},
     {5, 4294967295, 1, 4294967295},
     0,
     200,
     {4294967295, 4294967000}},
    {"no wait after silence", {TimedOut(), Status(200)}, {5, 0, 1000, 30000}, 0, 200, {0}},
};

class KeyedSend : public test::KeyedSendTest {
protected:
    void Play(const Row& row) {
        platform.requests.clear();
        platform.sleepsMs.clear();
        responseBody.clear();
        responseHeaders.clear();
        httpCode = 77;
        client.retryPolicy = row.policy;
        Script(row.answers);
        EXPECT_EQ(Send(), Code(row.code)) << row.name;
        EXPECT_EQ(httpCode, row.status) << row.name;
        EXPECT_EQ(platform.requests.size(), row.answers.size()) << row.name;
        EXPECT_EQ(platform.sleepsMs, row.waitsMs) << row.name;
        for (const auto& sent : platform.requests)
            EXPECT_EQ(sent.headers, platform.requests[0].headers) << row.name;
    }
};

TEST_F(KeyedSend, IsRepeatedAfterSilenceAndWhileTheServiceIsAtWork) {
    for (const Row& row : kRows) {
        Play(row);
        ASSERT_EQ(platform.UnusedAnswers(), 0u) << row.name;
    }
}

TEST_F(KeyedSend, GoesTheSameWayWithoutALog) {
    quillmarkclient_core::ProcessLogOutlets().trace = nullptr;
    for (const Row& row : kRows) {
        Play(row);
        ASSERT_EQ(platform.UnusedAnswers(), 0u) << row.name;
    }
    EXPECT_TRUE(platform.traceLines.empty());
}

// What the loop owes for a script of answers, said in another way: 't' silence, 'c' a conflict of two
// seconds, 'p' a plain conflict, 'b' a broken connection, 'a' an answer.
struct Outcome {
    std::uint32_t code;
    std::size_t tries;
    Waits waitsMs;
};

Outcome Expected(const std::string& script, std::size_t maxAttempts) {
    const std::size_t end = script.find_first_of("pba");
    const std::size_t tries = std::min(end == std::string::npos ? script.size() : end + 1, maxAttempts);
    Outcome outcome{0, tries, {}};
    for (std::size_t i = 0; i + 1 < tries; ++i)
        outcome.waitsMs.push_back(script[i] == 't' ? 1500 : 2000);
    const char last = script[tries - 1];
    if (last == 't')
        outcome.code = 0x81000014;
    if (last == 'c' || last == 'b')
        outcome.code = 0x80000006;
    return outcome;
}

TEST_F(KeyedSend, AgreesWithAnotherAccountOfItForAnyScript) {
    std::mt19937 random(20240501);
    const std::map<char, ScriptedAnswer> answers = {{'t', TimedOut()},
                                                    {'c', Conflict("2")},
                                                    {'p', Status(409)},
                                                    {'b', Broken(0x81000006)},
                                                    {'a', Status(200)}};
    for (int round = 0; round < 2000; ++round) {
        const std::size_t maxAttempts = 1 + random() % 8;
        std::string script;
        while (script.size() < maxAttempts)
            script += "tttcccpba"[random() % 9];
        std::size_t next = 0;
        platform.responder = [&](const test::RecordedRequest&) { return answers.at(script.at(next++)); };
        platform.requests.clear();
        platform.sleepsMs.clear();
        client.retryPolicy.maxAttempts = static_cast<std::uint32_t>(maxAttempts);
        const Outcome expected = Expected(script, maxAttempts);
        ASSERT_EQ(Send(), Code(expected.code)) << script;
        ASSERT_EQ(platform.requests.size(), expected.tries) << script;
        ASSERT_EQ(platform.sleepsMs, expected.waitsMs) << script;
    }
}

}  // namespace
