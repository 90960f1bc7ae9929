#include "core/src/registry/requests/ContextRequests.h"
#include "tests/core/registry/RegistryFixture.h"

namespace {

using test::Code;
using test::Headers;
using test::RequestPointer;
using test::SystemApi;
using test::Text;

class SendLoop : public test::RegistryTest {
protected:
    ResultCode Send() {
        return client.SendRequest(request, responseBody, responseHeaders, httpCode, context);
    }

    RequestPointer request = portable_stl::make_unique<registry::CustomerTrustTokenRequest<SystemApi>>(
        registry::CustomerTrustTokenParams{test::kBaseUrl, "org"});
    portable_stl::string responseBody;
    portable_stl::string responseHeaders;
    std::uint32_t httpCode = 77;
};

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

TEST_F(SendLoop, SentAgainItNamesTheClientOnce) {
    platform.AnswerWith(200, "");
    platform.AnswerWith(200, "");
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(platform.requests[0].headers, platform.requests[1].headers);
    EXPECT_EQ(LastRequest().headers.size(), 4u);
}

TEST_F(SendLoop, EveryStatusIsAnAnswer) {
    for (const std::uint32_t status : {200u, 204u, 302u, 400u, 401u, 409u, 429u, 500u, 503u}) {
        platform.AnswerWith(status, "");
        EXPECT_EQ(Send(), ResultCode::kSuccess) << status;
        EXPECT_EQ(httpCode, status);
    }
    EXPECT_TRUE(platform.sleepsMs.empty());
}

TEST_F(SendLoop, AConflictThatAsksForPatienceIsAnAnswerWithoutAKey) {
    test::ScriptedAnswer answer;
    answer.status = 409;
    answer.headers = "HTTP/1.1 409 Conflict\r\nRetry-After: 2\r\n\r\n";
    platform.AnswerWith(answer);
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(httpCode, 409u);
    EXPECT_EQ(platform.requests.size(), 1u);
    EXPECT_TRUE(platform.sleepsMs.empty());
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
        {"anything else", 0x80000001, 0x80000006},
        {"not sent", 0x80000006, 0x80000006},
        {"a code of the service's family", 0x82000002, 0x80000006},
    };
    const std::size_t linesBefore = platform.traceLines.size();
    for (const auto& row : rows) {
        httpCode = 77;
        platform.requests.clear();
        platform.FailExchange(row.transport);
        EXPECT_EQ(Send(), Code(row.expected)) << row.name;
        EXPECT_EQ(platform.requests.size(), 1u) << row.name << ": one try";
        EXPECT_EQ(Text(responseBody), "") << row.name;
    }
    EXPECT_TRUE(platform.sleepsMs.empty());
    EXPECT_EQ(platform.traceLines.size(), linesBefore);
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

TEST_F(SendLoop, SendOnceAddsNothing) {
    platform.AnswerWith(200, "answer");
    EXPECT_EQ(client.SendOnce(request, responseBody, responseHeaders, httpCode, context),
              ResultCode::kSuccess);
    EXPECT_EQ(LastRequest().headers.size(), 3u);
    EXPECT_EQ(LastRequest().Header("x-vqm-custom"), "(none)");
}

TEST_F(SendLoop, HandsTheFlagsOn) {
    request->flags = 1;
    platform.AnswerWith(200, "");
    EXPECT_EQ(Send(), ResultCode::kSuccess);
    EXPECT_EQ(LastRequest().flags, 1u);
}

}  // namespace
