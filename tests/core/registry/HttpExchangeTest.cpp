#include "core/src/registry/HttpExchange.h"

#include "tests/core/registry/RegistryFixture.h"

namespace {

using test::Headers;
using test::SystemApi;
using test::Text;

class HttpExchange : public ::testing::Test {
protected:
    ResultCode Exchange() {
        return registry::HttpExchange<SystemApi>("PUT", "https://x/y", headers, "the body", 1, httpCode,
                                                 responseBody, responseHeaders, &platform);
    }
    void TearDown() override { platform.ExpectNoBlocks(); }

    test::ScriptedPlatform platform;
    portable_stl::vector<registry::NameValue> headers;
    std::uint32_t httpCode = 77;
    portable_stl::string responseBody = "former body";
    portable_stl::string responseHeaders = "former headers";
};

TEST_F(HttpExchange, HandsEverythingToThePlatform) {
    headers.push_back({"B", "2"}).value();
    headers.push_back({"A", ""}).value();
    headers.push_back({"B", "3"}).value();
    platform.AnswerWith(418, "short and stout");
    EXPECT_EQ(Exchange(), ResultCode::kSuccess);

    ASSERT_EQ(platform.requests.size(), 1u);
    EXPECT_EQ(platform.requests[0].method, "PUT");
    EXPECT_EQ(platform.requests[0].url, "https://x/y");
    EXPECT_EQ(platform.requests[0].headers, (Headers{{"B", "2"}, {"A", ""}, {"B", "3"}}));
    EXPECT_EQ(platform.requests[0].body, "the body");
    EXPECT_EQ(platform.requests[0].flags, 1u);
    EXPECT_EQ(httpCode, 418u);
    EXPECT_EQ(Text(responseBody), "short and stout");
    EXPECT_EQ(Text(responseHeaders), "HTTP/1.1 418\r\n\r\n");
}

TEST_F(HttpExchange, PassesTheContextAndNoHeadersAtAll) {
    static void* seen = nullptr;
    static std::uint32_t count = 99;
    platform.table.HttpRequest = [](const char*, const char*, const quillmarkclient_core::HttpHeaderPair*,
                                    std::uint32_t headerCount, const char*, std::uint32_t, std::uint32_t*,
                                    char**, char**, void* context) -> std::uint32_t {
        seen = context;
        count = headerCount;
        return 0;
    };
    platform.Install();
    EXPECT_EQ(Exchange(), ResultCode::kSuccess);
    EXPECT_EQ(seen, &platform);
    EXPECT_EQ(count, 0u);
}

TEST_F(HttpExchange, LeavesItsStringsWhenThereAreNoBlocks) {
    test::ScriptedAnswer answer;
    answer.nullBlocks = true;
    platform.AnswerWith(answer);
    EXPECT_EQ(Exchange(), ResultCode::kSuccess);
    EXPECT_EQ(Text(responseBody), "former body");
    EXPECT_EQ(Text(responseHeaders), "former headers");
}

TEST_F(HttpExchange, AnEmptyAnswerEmptiesTheBody) {
    platform.AnswerWith(204, "");
    EXPECT_EQ(Exchange(), ResultCode::kSuccess);
    EXPECT_EQ(Text(responseBody), "");
}

TEST_F(HttpExchange, ABodyEndsAtItsFirstZeroByte) {
    platform.AnswerWith(200, std::string("ab\0cd", 5));
    EXPECT_EQ(Exchange(), ResultCode::kSuccess);
    EXPECT_EQ(Text(responseBody), "ab");
}

TEST_F(HttpExchange, AFailureLeavesTheStringsAndFreesTheBlocks) {
    const struct {
        const char* name;
        std::uint32_t result;
    } rows[] = {
        {"network", 0x81000006},
        {"time-out", 0x81000014},
        {"bad URL", 0x80000002},
        {"anything else", 0x80000001},
    };
    for (const auto& row : rows) {
        platform.FailExchange(row.result);
        EXPECT_EQ(Exchange(), test::Code(row.result)) << row.name;
        EXPECT_EQ(Text(responseBody), "former body") << row.name;
        EXPECT_EQ(Text(responseHeaders), "former headers") << row.name;
        EXPECT_EQ(platform.BlocksOut(), 0) << row.name;
    }
}

TEST_F(HttpExchange, ATableWithoutTheOperationIsNotImplemented) {
    platform.table.HttpRequest = nullptr;
    platform.Install();
    EXPECT_EQ(Exchange(), ResultCode::kNotImplemented);
}

}  // namespace
