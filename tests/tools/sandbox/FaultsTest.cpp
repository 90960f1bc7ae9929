#include "tools/sandbox/Faults.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/Command.h"
#include "tests/support/SandboxFixture.h"
#include "tests/support/SleepingThread.h"
#include "tests/tools/sandbox/SandboxClient.h"

namespace {

using sandbox::Fault;
using sandbox::FaultKind;
using std::chrono::milliseconds;
using test::RunCommand;
using test_support::clientHeaders;
using test_support::exchange;
using test_support::Scheme;

constexpr const char* kUsers = "/api/registry/v2/users";
constexpr int kCurlPartialFile = 18;
constexpr int kCurlGotNothing = 52;
constexpr int kCurlReceiveError = 56;

Fault makeFault(FaultKind kind, const std::string& path = {}, std::uint32_t count = 1) {
    Fault fault;
    fault.kind = kind;
    fault.path = path;
    fault.count = count;
    return fault;
}

TEST(Faults, FitByMethodAndPath) {
    static const struct {
        const char* name;
        const char* faultMethod;
        const char* faultPath;
        const char* method;
        const char* path;
        bool taken;
    } rows[] = {
        {"anything", "", "", "GET", "/a", true},
        {"the path", "", "/a", "GET", "/a", true},
        {"another path", "", "/a", "GET", "/ab", false},
        {"a beginning", "", "/a/*", "GET", "/a/b/c", true},
        {"another beginning", "", "/a/*", "GET", "/b/a/", false},
        {"the method", "POST", "/a", "POST", "/a", true},
        {"another method", "POST", "/a", "GET", "/a", false},
    };
    for (const auto& row : rows) {
        sandbox::Faults faults;
        Fault fault = makeFault(FaultKind::cut, row.faultPath);
        fault.method = row.faultMethod;
        faults.add(fault);
        EXPECT_EQ(faults.take(row.method, row.path).has_value(), row.taken) << row.name;
        EXPECT_EQ(faults.waiting(), row.taken ? 0u : 1u) << row.name;
    }
}

TEST(Faults, ServeInOrderAsOftenAsCounted) {
    sandbox::Faults faults;
    faults.add(makeFault(FaultKind::status, "/a", 2));
    faults.add(makeFault(FaultKind::cut, "/b"));
    faults.add(makeFault(FaultKind::half, "/a"));
    faults.add(makeFault(FaultKind::delay, "/a", 0));
    EXPECT_EQ(faults.waiting(), 3u) << "a count of 0 is no fault";
    EXPECT_EQ(faults.take("GET", "/a")->kind, FaultKind::status);
    EXPECT_EQ(faults.take("GET", "/a")->kind, FaultKind::status);
    EXPECT_EQ(faults.take("GET", "/a")->kind, FaultKind::half);
    EXPECT_FALSE(faults.take("GET", "/a"));
    EXPECT_EQ(faults.waiting(), 1u);
    faults.clear();
    EXPECT_FALSE(faults.take("GET", "/b"));
}

TEST(Faults, WordsNameTheKinds) {
    static const struct {
        const char* word;
        FaultKind kind;
    } rows[] = {{"delay", FaultKind::delay},
                {"status", FaultKind::status},
                {"cut", FaultKind::cut},
                {"half", FaultKind::half},
                {"lost", FaultKind::lost}};
    for (const auto& row : rows) {
        EXPECT_EQ(sandbox::faultKind(row.word), row.kind) << row.word;
        EXPECT_EQ(sandbox::faultWord(row.kind), row.word) << row.word;
    }
    EXPECT_FALSE(sandbox::faultKind("Delay"));
    EXPECT_FALSE(sandbox::faultKind(""));
}

TEST(Faults, WaitEndsWhenAsked) {
    sandbox::Faults faults;
    EXPECT_TRUE(faults.wait(milliseconds(1)));
    bool waitedToTheEnd = true;
    std::atomic<pid_t> waiting{0};
    std::thread waiter([&] {
        waiting = gettid();
        waitedToTheEnd = faults.wait(milliseconds(60 * 60 * 1000));
    });
    EXPECT_TRUE(test::FallsAsleep(waiting)) << "the wait must have begun";
    faults.endWaits();
    waiter.join();
    EXPECT_FALSE(waitedToTheEnd);
    EXPECT_FALSE(faults.wait(milliseconds(60 * 60 * 1000))) << "and no later one begins";
}

// One exchange by curl; the fixture's authority is trusted.
int curlExit(test_support::SandboxFixture& fixture, std::string& output) {
    const auto result = RunCommand("curl -sS -m 60 --noproxy '*' --cacert " + fixture.caFile() +
                                   " -i -H x-vqm-custom:vqm-client " + fixture.baseUrl() + kUsers);
    output = result.output;
    return result.exitCode;
}

TEST(Faults, CurlSeesWhatTheFaultSays) {
    static const struct {
        const char* name;
        Scheme scheme;
        FaultKind kind;
        std::vector<int> exitCodes;
        bool headSeen;
        milliseconds delay{0};
    } rows[] = {
        {"cut", Scheme::http, FaultKind::cut, {kCurlGotNothing}, false},
        {"cut over TLS", Scheme::https, FaultKind::cut, {kCurlGotNothing, kCurlReceiveError}, false},
        {"lost", Scheme::http, FaultKind::lost, {kCurlGotNothing}, false},
        {"half", Scheme::http, FaultKind::half, {kCurlPartialFile}, true},
        {"half over TLS", Scheme::https, FaultKind::half, {kCurlPartialFile, kCurlReceiveError}, true},
        {"status", Scheme::http, FaultKind::status, {0}, true},
        {"delay", Scheme::https, FaultKind::delay, {0}, true, milliseconds(300)},
    };
    for (const auto& row : rows) {
        test_support::SandboxFixture fixture(row.scheme);
        if (row.scheme == Scheme::http)
            std::ofstream(fixture.caFile()) << "";  // curl wants the file to exist
        Fault fault = makeFault(row.kind, kUsers);
        fault.delay = row.delay;
        fixture.faults().add(fault);
        std::string output;
        const auto begin = std::chrono::steady_clock::now();
        const int code = curlExit(fixture, output);
        EXPECT_GE(std::chrono::steady_clock::now() - begin, row.delay) << row.name;
        EXPECT_NE(std::find(row.exitCodes.begin(), row.exitCodes.end(), code), row.exitCodes.end())
            << row.name << ": exit code " << code << ", " << output;
        EXPECT_EQ(output.find("HTTP/1.1") != output.npos, row.headSeen) << row.name << ": " << output;
        EXPECT_EQ(curlExit(fixture, output), 0) << row.name << ": the next request is served again";
    }
}

TEST(Faults, HalfAnswerPromisesTheWholeAndSendsHalf) {
    test_support::SandboxFixture fixture;
    fixture.faults().add(makeFault(FaultKind::half, kUsers));
    const auto result = RunCommand(
        "curl -s --noproxy '*' -w '%{size_download} %header{content-length}' -o /dev/null "
        "-H x-vqm-custom:vqm-client " +
        fixture.baseUrl() + kUsers);
    std::istringstream numbers(result.output);
    std::size_t sent = 0;
    std::size_t promised = 0;
    numbers >> sent >> promised;
    EXPECT_GT(promised, 100u) << result.output;
    EXPECT_EQ(sent, promised / 2) << result.output;
}

TEST(Faults, StatusReplacesTheAnswer) {
    test_support::SandboxFixture fixture;
    Fault fault = makeFault(FaultKind::status, "/api/*", 2);
    fault.status = 409;
    fault.body = "<html>";
    fault.contentType = "text/html";
    fault.headers = {{"Retry-After", "2"}};
    fixture.faults().add(fault);
    for (int attempt = 0; attempt < 2; ++attempt) {
        const auto reply = exchange(fixture.baseUrl(), "GET", kUsers, clientHeaders());
        EXPECT_EQ(reply.status, 409);
        EXPECT_EQ(reply.body, "<html>");
        EXPECT_EQ(*sandbox::findHeader(reply.headers, "Content-Type"), "text/html");
        EXPECT_EQ(*sandbox::findHeader(reply.headers, "Retry-After"), "2");
    }
    EXPECT_EQ(exchange(fixture.baseUrl(), "GET", kUsers, clientHeaders()).status, 401);
}

TEST(Faults, StatusWithoutBodyHasNone) {
    test_support::SandboxFixture fixture;
    Fault fault = makeFault(FaultKind::status);
    fault.status = 503;
    fixture.faults().add(fault);
    const auto reply = exchange(fixture.baseUrl(), "GET", kUsers, clientHeaders());
    EXPECT_EQ(reply.status, 503);
    EXPECT_EQ(reply.body, "");
}

TEST(Faults, ServiceDoesNotSeeACutRequest) {
    test_support::SandboxFixture fixture;
    const sandbox::Account& factor = fixture.account("second-factor");
    constexpr const char* path = "/api/customer/registry/v2/tokens";
    const auto first =
        exchange(fixture.baseUrl(), "POST", path, clientHeaders(), test_support::passwordBody(factor));
    const std::string body = R"({"challengeToken":")" + first.member("errorArgs.challengeToken") +
                             R"(","code":")" + fixture.totpCode("second-factor") + R"("})";
    constexpr const char* confirm = "/api/customer/registry/v2/2fa/totp/tokens";
    fixture.faults().add(makeFault(FaultKind::cut, confirm));
    EXPECT_EQ(exchange(fixture.baseUrl(), "POST", confirm, clientHeaders(), body).status, 0);
    EXPECT_EQ(exchange(fixture.baseUrl(), "POST", confirm, clientHeaders(), body).status, 200)
        << "the code is still unused";
}

TEST(Faults, ServiceDoesTheWorkOfALostAnswer) {
    static const struct {
        const char* name;
        FaultKind kind;
        const char* method;
        const char* path;
        const char* body;
    } rows[] = {
        {"a lost one", FaultKind::lost, "POST", "/api/customer/registry/v2/tokens/external",
         R"({"code":"gp-code-linked-1"})"},
        {"half of an answer without body", FaultKind::half, "POST", "/api/quillmark/USE_DYNAMIC_CONTEXT",
         R"({"code":"mi-code-business-10","context":"business"})"},
    };
    for (const auto& row : rows) {
        test_support::SandboxFixture fixture;
        fixture.faults().add(makeFault(row.kind, row.path));
        EXPECT_EQ(exchange(fixture.baseUrl(), row.method, row.path, clientHeaders(), row.body).status, 0)
            << row.name;
        EXPECT_EQ(fixture.exchanges().at(0).status, 0) << row.name << ": logged as cut";
        EXPECT_EQ(fixture.exchanges().at(0).fault, sandbox::faultWord(row.kind)) << row.name;
    }
    test_support::SandboxFixture fixture;
    fixture.faults().add(makeFault(FaultKind::lost, rows[0].path));
    (void)exchange(fixture.baseUrl(), "POST", rows[0].path, clientHeaders(), rows[0].body);
    EXPECT_EQ(exchange(fixture.baseUrl(), "POST", rows[0].path, clientHeaders(), rows[0].body).status, 401)
        << "the code was used up";
}

TEST(Faults, DelayComesBeforeTheAnswer) {
    test_support::SandboxFixture fixture;
    Fault fault = makeFault(FaultKind::delay, kUsers);
    fault.delay = milliseconds(30);
    fixture.faults().add(fault);
    EXPECT_EQ(exchange(fixture.baseUrl(), "GET", kUsers, clientHeaders()).status, 401);
    EXPECT_GE(fixture.exchanges().at(0).milliseconds, 30);
    EXPECT_EQ(fixture.exchanges().at(0).fault, "delay");
}

TEST(Faults, StopEndsADelayAtOnce) {
    test_support::SandboxFixture fixture;
    Fault fault = makeFault(FaultKind::delay, kUsers);
    fault.delay = std::chrono::hours(1);
    fixture.faults().add(fault);
    test_support::Reply reply{200, {}, {}};
    std::thread client([&] { reply = exchange(fixture.baseUrl(), "GET", kUsers, clientHeaders()); });
    while (fixture.faults().waiting() > 0)  // until the request has taken the fault
        std::this_thread::yield();
    fixture.stop();
    client.join();
    EXPECT_EQ(reply.status, 0);
    EXPECT_EQ(fixture.exchanges().at(0).status, 0) << "logged as cut";
}

}  // namespace
