// A request with a key by a signed-in session: the 401 that ends its tries, the renewal, and its tries
// afresh.
#include "tests/core/registry/SendFixture.h"

namespace {

using test::Broken;
using test::Code;
using test::Conflict;
using test::Headers;
using test::Lines;
using test::ScriptedAnswer;
using test::Status;
using test::StatusWith;
using test::Text;
using test::TimedOut;

using Answers = std::vector<ScriptedAnswer>;
using Waits = std::vector<std::uint32_t>;

// What the log tells of a whole renewal, to the letter. No token is in it.
const Lines kRenewalLines = {
    "AuthorizeViaIdentity Request:\n"
    "\tXmlHttp parameters: \n"
    "\turl: https://service.test/api/customer/registry/v2/tokens/identity\n"
    "\theaders:\n"
    "\t\tAccept : application/json\n"
    "\t\tCache-Control : no-cache\n"
    "\t\tContent-Type : application/json;charset=UTF-8\n"
    "\tbody: {\"secretKey\":\"old secret\"}\n",
    "CustomerTrustToken Request:\n"
    "\tXmlHttp parameters: \n"
    "\turl: https://service.test/api/customer/registry/v2/tokens/trust\n"
    "\theaders:\n"
    "\t\tAccept : application/json\n"
    "\t\tCache-Control : no-cache\n"
    "\t\tContent-Type : application/json;charset=UTF-8\n"
    "\tbody: {\"trustorId\":\"old org\"}\n"};

Lines Joined(const std::vector<Lines>& parts) {
    Lines all;
    for (const Lines& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

class KeyedRenewal : public test::KeyedSendTest {
protected:
    KeyedRenewal() { RememberOldSession(); }

    void Renew() {
        AnswerToken("identity.e30.sig");
        AnswerToken("context.e30.sig");
    }
    ResultCode SendAuthorized() {
        return client.SendAuthorized(request, responseBody, responseHeaders, httpCode, &errorInfo, context);
    }
    /// The requests with the key; those of a renewal have none.
    [[nodiscard]] std::vector<test::RecordedRequest> KeyedRequests() const {
        std::vector<test::RecordedRequest> keyed;
        for (const auto& sent : platform.requests) {
            if (sent.Header("Idempotency-Key") != "(none)")
                keyed.push_back(sent);
        }
        return keyed;
    }
    static Headers HeadersWith(const std::string& bearer) {
        return {{"Accept", "application/json"},
                {"Cache-Control", "no-cache"},
                {"Content-Type", "application/json;charset=UTF-8"},
                {"Idempotency-Key", "k-1"},
                {"Authorization", bearer},
                {"x-vqm-custom", "vqm-client"}};
    }
};

TEST_F(KeyedRenewal, TriesAfreshWithTheSameKeyAndTheNewBearer) {
    Script({TimedOut(), Status(401)});
    Renew();
    Script({TimedOut(), Conflict("2"), TimedOut(), TimedOut(), Status(200)});
    EXPECT_EQ(SendAuthorized(), ResultCode::kSuccess);
    EXPECT_EQ(httpCode, 200u);
    EXPECT_EQ(platform.sleepsMs, (Waits{1500, 1500, 2000, 1500, 1500}));
    EXPECT_EQ(State(), "context.e30.sig, 1, old secret, 1, old org");

    ASSERT_EQ(platform.requests.size(), 9u);
    for (std::size_t i = 0; i < 9; ++i) {
        const auto& sent = platform.requests[i];
        if (i == 2 || i == 3) {
            EXPECT_EQ(sent.Header("Idempotency-Key"), "(none)") << "the renewal has no key";
            continue;
        }
        EXPECT_EQ(sent.url, "https://s/x") << i;
        EXPECT_EQ(sent.body, platform.requests[0].body) << i;
        EXPECT_EQ(sent.headers, HeadersWith(i < 2 ? "Bearer old.e30.sig" : "Bearer context.e30.sig")) << i;
    }
    EXPECT_EQ(platform.requests[2].url, "https://service.test/api/customer/registry/v2/tokens/identity");
    EXPECT_EQ(platform.requests[3].url, "https://service.test/api/customer/registry/v2/tokens/trust");
}

TEST_F(KeyedRenewal, TellsBothRoundsOfTries) {
    Script({TimedOut(), Status(401)});
    Renew();
    Script({TimedOut(), Conflict("2"), TimedOut(), TimedOut(), Status(200)});
    EXPECT_EQ(SendAuthorized(), ResultCode::kSuccess);
    const Lines firstRound = {
        "SendRequest: https://s/x Idempotency-Key=k-1",
        "SendRequest: https://s/x attempt 1/5 result=timeout; decision=retry in place after 1500ms",
        "SendRequest: https://s/x attempt 2/5 result=ok, httpCode=401; decision=accept response, no more "
        "retries"};
    const Lines secondRound = {
        "SendRequest: https://s/x Idempotency-Key=k-1",
        "SendRequest: https://s/x attempt 1/5 result=timeout; decision=retry in place after 1500ms",
        "SendRequest: https://s/x attempt 2/5 result=ok, httpCode=409 (idempotency wait, Retry-After=2); "
        "decision=retry after 2000ms",
        "SendRequest: https://s/x attempt 3/5 result=timeout; decision=retry in place after 1500ms",
        "SendRequest: https://s/x attempt 4/5 result=timeout; decision=retry in place after 1500ms",
        "SendRequest: https://s/x attempt 5/5 result=ok, httpCode=200; decision=accept response, no more "
        "retries"};
    EXPECT_EQ(platform.traceLines, Joined({firstRound, kRenewalLines, secondRound}));
}

TEST_F(KeyedRenewal, EveryEndOfTheSecondRound) {
    const struct {
        const char* name;
        Answers before;  // the last one is the 401
        Answers after;
        std::uint32_t code;
        std::uint32_t status;
        Waits waitsMs;
        const char* lastLine;
    } rows[] = {
        {"accepted at the 1st try",
         {Status(401)},
         {Status(200)},
         0,
         200,
         {},
         "SendRequest: https://s/x attempt 1/5 result=ok, httpCode=200; decision=accept response, no more "
         "retries"},
        {"the 401 at the 5th try leaves five more",
         {TimedOut(), TimedOut(), TimedOut(), TimedOut(), Status(401)},
         {TimedOut(), TimedOut(), TimedOut(), TimedOut(), Status(200)},
         0,
         200,
         {1500, 1500, 1500, 1500, 1500, 1500, 1500, 1500},
         "SendRequest: https://s/x attempt 5/5 result=ok, httpCode=200; decision=accept response, no more "
         "retries"},
        {"silence to the end",
         {TimedOut(), Status(401)},
         {TimedOut(), TimedOut(), TimedOut(), TimedOut(), TimedOut()},
         0x81000014,
         0,
         {1500, 1500, 1500, 1500, 1500},
         "SendRequest: https://s/x attempt 5/5 result=The HTTP request timed out; decision=give up, no more "
         "retries"},
        {"at work to the end",
         {TimedOut(), Status(401)},
         {Conflict("2"), Conflict("2"), Conflict("2"), Conflict("2"), Conflict("2")},
         0x80000006,
         409,
         {1500, 2000, 2000, 2000, 2000},
         "SendRequest: https://s/x attempt 5/5 result=ok, httpCode=409 (idempotency wait, Retry-After=2); "
         "decision=give up, attempts exhausted"},
        {"broken at the 2nd try",
         {Conflict("3"), Status(401)},
         {TimedOut(), Broken(0x81000006)},
         0x80000006,
         0,
         {3000, 1500},
         "SendRequest: https://s/x attempt 2/5 result=Problems sending network requests; decision=give up, "
         "no more retries"},
        {"a 401 that says when is a refusal too, and the second one the answer",
         {StatusWith(401, "HTTP/1.1 401\r\nRetry-After: 2\r\n\r\n")},
         {TimedOut(), StatusWith(401, "HTTP/1.1 401\r\nRetry-After: 2\r\n\r\n")},
         0,
         401,
         {1500},
         "SendRequest: https://s/x attempt 2/5 result=ok, httpCode=401; decision=accept response, no more "
         "retries"},
    };
    const auto ownHeaders = request->headers;
    for (const auto& row : rows) {
        RememberOldSession();
        request->headers = ownHeaders;
        platform.requests.clear();
        platform.sleepsMs.clear();
        Script(row.before);
        Renew();
        Script(row.after);
        EXPECT_EQ(SendAuthorized(), Code(row.code)) << row.name;
        EXPECT_EQ(httpCode, row.status) << row.name;
        EXPECT_EQ(platform.sleepsMs, row.waitsMs) << row.name;
        EXPECT_EQ(platform.traceLines.back(), row.lastLine) << row.name;
        ASSERT_EQ(platform.UnusedAnswers(), 0u) << row.name;

        const auto keyed = KeyedRequests();
        ASSERT_EQ(keyed.size(), row.before.size() + row.after.size()) << row.name;
        for (std::size_t i = 0; i < keyed.size(); ++i) {
            const bool isRenewed = i >= row.before.size();
            EXPECT_EQ(keyed[i].headers,
                      HeadersWith(isRenewed ? "Bearer context.e30.sig" : "Bearer old.e30.sig"))
                << row.name << ", try " << i;
        }
    }
}

// The renewal's own requests have no key, so that silence ends it at once.
TEST_F(KeyedRenewal, AFailedRenewalEndsTheTries) {
    Script({TimedOut(), Status(401), TimedOut()});
    EXPECT_EQ(SendAuthorized(), ResultCode::kTimedOut);
    EXPECT_EQ(KeyedRequests().size(), 2u);
    EXPECT_EQ(platform.sleepsMs, Waits{1500});
    EXPECT_EQ(platform.traceLines,
              (Lines{"SendRequest: https://s/x Idempotency-Key=k-1",
                     "SendRequest: https://s/x attempt 1/5 result=timeout; decision=retry in place after "
                     "1500ms",
                     "SendRequest: https://s/x attempt 2/5 result=ok, httpCode=401; decision=accept "
                     "response, no more retries",
                     kRenewalLines[0]}));
    EXPECT_EQ(State(), test::kOldSession);
}

}  // namespace
