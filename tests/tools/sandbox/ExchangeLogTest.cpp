#include "tools/sandbox/ExchangeLog.h"

#include <gtest/gtest.h>

#include <mutex>
#include <nlohmann/json.hpp>

#include "tests/tools/sandbox/SandboxClient.h"
#include "tools/sandbox/AccountService.h"
#include "tools/sandbox/SandboxServer.h"

namespace {

using nlohmann::json;
using test_support::clientHeaders;
using test_support::exchange;

TEST(ExchangeLog, WritesALine) {
    static const struct {
        const char* name;
        sandbox::ExchangeRecord record;
        const char* line;
    } rows[] = {
        {"an answer",
         {"GET", "/a", "/a?b=c", 200, "x@example.test", "", 3},
         "GET /a?b=c 200 x@example.test 3 ms"},
        {"nobody", {"GET", "/a", "/a", 401, "", "", 0}, "GET /a 401 - 0 ms"},
        {"a fault", {"POST", "/a", "/a", 503, "", "status", 1}, "POST /a 503 - 1 ms fault=status"},
        {"a cut", {"GET", "/a", "/a", 0, "", "cut", 12}, "GET /a cut - 12 ms fault=cut"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(sandbox::exchangeLine(row.record), row.line) << row.name;
}

TEST(ExchangeLog, KeepsTheOrderAndTellsTheListener) {
    sandbox::ExchangeLog log;
    std::vector<int> heard;
    log.setListener([&heard](const sandbox::ExchangeRecord& record) { heard.push_back(record.status); });
    for (const int status : {200, 401, 0}) {
        sandbox::ExchangeRecord record;
        record.status = status;
        log.add(record);
    }
    EXPECT_EQ(heard, (std::vector<int>{200, 401, 0}));
    ASSERT_EQ(log.records().size(), 3u);
    EXPECT_EQ(log.records()[1].status, 401);
    log.clear();
    EXPECT_TRUE(log.records().empty());
}

TEST(ExchangeLog, KeepsTheNewest) {
    sandbox::ExchangeLog log;
    for (int status = 0; status < 10002; ++status) {
        sandbox::ExchangeRecord record;
        record.status = status;
        log.add(record);
    }
    ASSERT_EQ(log.records().size(), 10000u);
    EXPECT_EQ(log.records().front().status, 2);
    EXPECT_EQ(log.records().back().status, 10001);
}

// A whole session, with everything secret that goes over the wire looked for in every line.
TEST(ExchangeLog, HoldsNoSecret) {
    // A time whose codes are no part of a line by chance.
    sandbox::AccountService service(sandbox::readSeedFile(sandbox::defaultSeedFile()),
                                    [] { return std::int64_t{1800000000}; });
    sandbox::SandboxServer server(service);
    std::string lines;
    server.log().setListener(
        [&lines](const sandbox::ExchangeRecord& record) { lines += sandbox::exchangeLine(record) + "\n"; });
    server.start();
    const std::string url = server.baseUrl();
    const sandbox::Account& factor = service.account("second-factor");
    const std::string tokens = "/api/customer/registry/v2/tokens";

    const std::string code = service.totpCode(factor.login).value_or("");
    const std::string challenge =
        exchange(url, "POST", tokens, clientHeaders(), test_support::passwordBody(factor))
            .member("errorArgs.challengeToken");
    const std::string token =
        exchange(url, "POST", "/api/customer/registry/v2/2fa/totp/tokens", clientHeaders(),
                 json{{"challengeToken", challenge}, {"code", code}}.dump())
            .member("accessToken");
    const std::string identity = exchange(url, "POST", "/api/registry/v2/identities", clientHeaders(token),
                                          R"({"name":"n","type":"t","role":"r"})")
                                     .member("id");
    const std::string secret =
        exchange(url, "GET", "/api/registry/v2/identities/" + identity + "/token", clientHeaders(token)).body;
    EXPECT_EQ(exchange(url, "POST", tokens + "/identity", clientHeaders(), json{{"secretKey", secret}}.dump())
                  .status,
              200);
    EXPECT_EQ(exchange(url, "GET", "/api/x?access_token=" + token, clientHeaders()).status, 404);
    const std::string typedInTheWrongField = "my-Password-as-login";
    EXPECT_EQ(exchange(url, "POST", tokens, clientHeaders(),
                       json{{"login", typedInTheWrongField}, {"password", "x"}}.dump())
                  .status,
              404);
    server.stop();

    const struct {
        const char* name;
        std::string text;
    } secrets[] = {
        {"the password", factor.password},
        {"the code", code},
        {"the challenge", challenge},
        {"the access token", token},
        {"the secret", secret},
        {"a login that is no account's", typedInTheWrongField},
    };
    for (const auto& row : secrets) {
        ASSERT_FALSE(row.text.empty()) << row.name;
        EXPECT_EQ(lines.find(row.text), lines.npos) << row.name << " in\n" << lines;
    }
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 7) << lines;
    EXPECT_NE(lines.find("POST " + tokens + " 403 " + factor.login + " "), lines.npos) << lines;
    EXPECT_NE(lines.find("GET /api/x?access_token=*** 404 - "), lines.npos) << lines;
}

}  // namespace
