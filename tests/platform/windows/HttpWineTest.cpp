// How wine's WinHTTP differs from that of Windows, shown, so that a wine which no longer does is noticed: then
// the row leaves WindowsConformance.cpp, or what else makes allowance for it. On Windows these are skipped.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "tests/platform/windows/HttpExchanges.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/windows/Wine.h"

namespace {

using test::Answer;
using test::Exchanged;

constexpr ResultCode kNetwork{0x81000006};

class WineHttp : public ::testing::Test {
protected:
    void SetUp() override {
        if (!test::IsWine())
            GTEST_SKIP() << "this is no wine";
    }
    [[nodiscard]] Exchanged Get() const { return test::Send({.url = server.Url("/")}); }

    test::ScriptedServer server;
};

TEST_F(WineHttp, ACutAnswerIsTakenForAWholeOne) {
    static const struct {
        const char* name;
        const char* bytes;
        const char* body;
    } rows[] = {
        {"half a head", "HTTP/1.1 200 OK\r\nContent-Le", ""},
        {"half a body", "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", "half"},
        {"half a chunk", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nA\r\nhalf", "half"},
    };
    for (const auto& row : rows) {
        server.Enqueue(Answer::Raw(row.bytes));
        SCOPED_TRACE(row.name);
        const auto outcome = Get();
        EXPECT_EQ(outcome.code, ResultCode::kSuccess);
        EXPECT_EQ(outcome.status, 200u);
        EXPECT_EQ(outcome.body, row.body);
    }
}

// Which of the two is a race between the reset and the bytes before it.
TEST_F(WineHttp, ACutAnswerWithAResetIsTakenForAWholeOneOrFails) {
    for (int i = 0; i < 20; ++i) {
        server.Enqueue(
            Answer::Raw("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", Answer::Ending::kReset));
        const auto outcome = Get();
        if (outcome.code == kNetwork)
            ExpectFailure(outcome, kNetwork);
        else
            EXPECT_EQ(outcome.body, "half") << ::testing::PrintToString(outcome.code);
    }
}

TEST_F(WineHttp, AnInterimAnswerFailsTheExchange) {
    server.Enqueue(Answer::Raw("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"));
    ExpectFailure(Get(), kNetwork);
}

// The host of such a URL ends at its first colon, and nobody is called "[".
TEST_F(WineHttp, AnIpv6AddressIsNotReached) {
    if (!test::HasLoopback(sockets::Loopback::kIpv6))
        GTEST_SKIP() << "this machine has no IPv6";
    const test::ScriptedServer onIpv6({.loopback = sockets::Loopback::kIpv6});
    ExpectFailure(test::Send({.url = "http://[::1]:" + std::to_string(onIpv6.Port()) + "/"}), kNetwork);
    EXPECT_EQ(onIpv6.ConnectionCount(), 0);
    ExpectFailure(test::Send({.url = "http://[::ffff:127.0.0.1]:" + std::to_string(server.Port()) + "/"}),
                  kNetwork);
    EXPECT_EQ(server.ConnectionCount(), 0);
}

// PoolsConnections() says so. Windows pools those of one session.
TEST_F(WineHttp, ExchangesShareAConnectionThatStaysOpen) {
    server.SetDefault([](const auto&) {
        return Answer::Raw("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nagain", Answer::Ending::kKeep);
    });
    EXPECT_EQ(Get().code, ResultCode::kSuccess);
    EXPECT_EQ(Get().code, ResultCode::kSuccess);
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].connection, 1);
    EXPECT_EQ(requests[1].connection, 1);
    EXPECT_EQ(server.ConnectionCount(), 1);
}

// On Windows WindowsHttp.ASilentServerIsGivenUp runs.
TEST_F(WineHttp, TheHeadIsAwaitedBeyondTheTimeOut) {
    using std::chrono::milliseconds;
    const auto gate = std::make_shared<test::Gate>();
    server.Enqueue(Answer::Of(200, {}, "late").Behind(gate));
    std::thread porter([&] {
        EXPECT_TRUE(server.WaitForRequests(1));
        std::this_thread::sleep_for(milliseconds(600));  // until the time-out is over for long
        gate->Open();
    });
    const auto outcome = test::Send({.url = server.Url("/"), .timeouts = {30000, 30000, 30000, 100}});
    porter.join();
    EXPECT_EQ(outcome.code, ResultCode::kSuccess);
    EXPECT_EQ(outcome.body, "late");
}

}  // namespace
