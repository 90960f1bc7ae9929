// How long an exchange may take, and what it does with signals.
//
// Nothing here waits to see what happens: the server stays silent until the test is over, so only the limit
// under test can end the exchange. The other limits are far beyond the patience of the test runner.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>

#include "tests/platform/linux/HttpExchanges.h"
#include "tests/support/OwnAuthority.h"
#include "tests/support/ScriptedServer.h"

namespace {

constexpr char kSilentName[] = "name.of.a.server.that.never.answers.test";
std::shared_ptr<test::Gate> silentNameServer;  // set by the test that asks for the name

constexpr int kRealWaitMs = 50;  // what loopback needs at most; the rest of a wait passes at once
thread_local bool isTimeSkipped = false;
thread_local long skippedMs = 0;

}  // namespace

// Stands in front of the system's resolver for the whole program: one name waits for the gate, all others go
// on.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* node, const char* service,
                                                                  const addrinfo* hints, addrinfo** result) {
    using Resolver = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto systemResolver = reinterpret_cast<Resolver>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (node && std::strcmp(node, kSilentName) == 0) {
        const auto gate = silentNameServer;
        gate->Wait();
        return EAI_AGAIN;
    }
    return systemResolver(node, service, hints, result);
}

// On a thread that skips time, a wait in which nothing happens moves the clock instead of lasting.
extern "C" __attribute__((visibility("default"))) int poll(pollfd* sockets, nfds_t count, int timeoutMs) {
    using Poll = int (*)(pollfd*, nfds_t, int);
    static const auto systemPoll = reinterpret_cast<Poll>(dlsym(RTLD_NEXT, "poll"));
    if (!isTimeSkipped || timeoutMs <= kRealWaitMs)
        return systemPoll(sockets, count, timeoutMs);
    const int ready = systemPoll(sockets, count, kRealWaitMs);
    skippedMs += ready == 0 ? timeoutMs - kRealWaitMs : 0;
    return ready;
}

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec* time) noexcept {
    using Clock = int (*)(clockid_t, timespec*);
    static const auto systemClock = reinterpret_cast<Clock>(dlsym(RTLD_NEXT, "clock_gettime"));
    const int result = systemClock(clock, time);
    if (result == 0 && clock == CLOCK_MONOTONIC) {
        time->tv_sec += skippedMs / 1000;
        time->tv_nsec += skippedMs % 1000 * 1'000'000;
        if (time->tv_nsec >= 1'000'000'000) {
            ++time->tv_sec;
            time->tv_nsec -= 1'000'000'000;
        }
    }
    return result;
}

namespace {

using quillmarkclient_linux::HttpTimeouts;
using test::Answer;
using test::ScriptedServer;
using test::Send;
using test::ServerOptions;
using Milliseconds = std::chrono::milliseconds;

constexpr std::uint32_t kShortMs = 60;
constexpr std::uint32_t kFarMs = 30000;
constexpr auto kSlack = std::chrono::seconds(20);     // of a loaded machine
const std::string kLargeBody(32 * 1024 * 1024, 'x');  // more than the sockets' buffers take

// As long as one lives, the time of this thread's waits is skipped.
class SkippedTime {
public:
    SkippedTime() { isTimeSkipped = true; }
    ~SkippedTime() {
        isTimeSkipped = false;
        skippedMs = 0;
    }
    SkippedTime(const SkippedTime&) = delete;
    SkippedTime& operator=(const SkippedTime&) = delete;
};

class HttpLimits : public testing::Test {
protected:
    // Expects 0x81000006 for a limit of kShortMs or more: not before it, and not much later.
    static void ExpectTimeOut(const test::Sending& sending) {
        const auto start = std::chrono::steady_clock::now();
        ExpectFailure(Send(sending), ResultCode::kNetwork);
        const auto took = std::chrono::steady_clock::now() - start;
        EXPECT_GE(took, Milliseconds(kShortMs));
        EXPECT_LT(took, kSlack);
    }
};

TEST_F(HttpLimits, TheDefaultsAreThoseOfTheTwoOperations) {
    using quillmarkclient_linux::kRequestTimeouts;
    using quillmarkclient_linux::kUploadTimeouts;
    EXPECT_EQ(kRequestTimeouts.resolveMs, 5000u);
    EXPECT_EQ(kRequestTimeouts.connectMs, 60000u);
    EXPECT_EQ(kRequestTimeouts.sendMs, 30000u);
    EXPECT_EQ(kRequestTimeouts.receiveMs, 30000u);
    EXPECT_EQ(kRequestTimeouts.totalMs, 900000u);
    EXPECT_EQ(kUploadTimeouts.resolveMs, 5000u);
    EXPECT_EQ(kUploadTimeouts.connectMs, 60000u);
    EXPECT_EQ(kUploadTimeouts.sendMs, 30000u);
    EXPECT_EQ(kUploadTimeouts.receiveMs, 60000u);
    EXPECT_EQ(kUploadTimeouts.totalMs, 900000u);
    EXPECT_EQ(quillmarkclient_linux::HttpBounds().bodyBytes, 268435456u);
    EXPECT_EQ(quillmarkclient_linux::HttpBounds().headerBytes, 1048576u);
}

// Each operation waits for a silent server as long as its own table of limits says.
TEST_F(HttpLimits, TheTwoOperationsKeepTheirOwnLimits) {
    using quillmarkclient_linux::HttpRequest;
    using quillmarkclient_linux::HttpUploadFile;
    const test::TemporaryFolder folder;
    const std::string path = folder.PathOf("file");
    test::WriteWhole(path, "abc");
    ScriptedServer server;
    server.SetDefault([](const auto&) { return Answer::Never(); });
    const std::string url = server.Url("/");
    std::uint32_t status = 0;
    char* body = nullptr;
    const struct {
        const char* name;
        std::function<std::uint32_t()> call;
        int seconds;
    } rows[] = {
        {"a request",
         [&] {
             return HttpRequest("GET", url.c_str(), nullptr, 0, nullptr, 0, &status, &body, nullptr, nullptr);
         },
         30},
        {"an upload",
         [&] {
             return HttpUploadFile("POST", url.c_str(), nullptr, 0, "b", path.c_str(), "f", &status, &body);
         },
         60},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const SkippedTime skipped;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(row.call(), 0x81000006u);
        const auto took = std::chrono::steady_clock::now() - start;
        EXPECT_GE(took, std::chrono::seconds(row.seconds));
        EXPECT_LT(took, std::chrono::seconds(row.seconds) + kSlack);
    }
}

TEST_F(HttpLimits, ANameServerThatNeverAnswersHoldsTheCallNoLonger) {
    silentNameServer = std::make_shared<test::Gate>();
    ExpectTimeOut({.url = std::string("http://") + kSilentName + "/",
                   .timeouts = {kShortMs, kFarMs, kFarMs, kFarMs, kFarMs}});
    silentNameServer->Open();  // the resolver's thread ends by itself
}

TEST_F(HttpLimits, ANameThatDoesNotExistIsANetworkFailure) {
    silentNameServer = std::make_shared<test::Gate>();
    silentNameServer->Open();  // answers at once that it can't tell
    ExpectFailure(Send({.url = std::string("http://") + kSilentName + "/"}), ResultCode::kNetwork);
}

TEST_F(HttpLimits, ATlsHandshakeThatNeverComes) {
    ScriptedServer silent({.reading = ServerOptions::Reading::kNothing});
    ExpectTimeOut({.url = "https://127.0.0.1:" + std::to_string(silent.Port()) + "/",
                   .timeouts = {kFarMs, kShortMs, kFarMs, kFarMs, kFarMs}});
    EXPECT_EQ(silent.ConnectionCount(), 1);
}

TEST_F(HttpLimits, AConnectionThatIsNeverAccepted) {
    // A listener whose queue is full lets further connections wait for ever.
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    ASSERT_EQ(bind(listener, generic, size), 0);
    ASSERT_EQ(listen(listener, 0), 0);
    ASSERT_EQ(getsockname(listener, generic, &size), 0);
    const int occupant = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(connect(occupant, generic, size), 0);

    ExpectTimeOut({.url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/",
                   .timeouts = {kFarMs, kShortMs, kFarMs, kFarMs, kFarMs}});
    close(occupant);
    close(listener);
}

TEST_F(HttpLimits, AServerThatTakesNothing) {
    ScriptedServer silent({.reading = ServerOptions::Reading::kNothing, .receiveBufferBytes = 4096});
    ExpectTimeOut({.method = "POST",
                   .url = silent.Url("/"),
                   .body = kLargeBody,
                   .timeouts = {kFarMs, kFarMs, kShortMs, kFarMs, kFarMs}});
}

TEST_F(HttpLimits, AServerThatNeverAnswers) {
    static const struct {
        const char* name;
        const char* bytes;
    } rows[] = {
        {"not a byte", ""},
        {"half a status line", "HTTP/1.1 2"},
        {"half a head", "HTTP/1.1 200 OK\r\nContent-"},
        {"an interim answer", "HTTP/1.1 100 Continue\r\n\r\n"},
        {"half a body", "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"},
        {"half a chunk", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nA\r\nhalf"},
    };
    for (const auto& row : rows) {
        for (const char* body : {"", "abc"}) {
            SCOPED_TRACE(std::string(row.name) + " to the body \"" + body + "\"");
            ScriptedServer server;
            server.Enqueue(Answer::Raw(row.bytes, Answer::Ending::kHang));
            ExpectTimeOut({.method = "POST",
                           .url = server.Url("/"),
                           .body = body,
                           .timeouts = {kFarMs, kFarMs, kFarMs, kShortMs, kFarMs}});
        }
    }
}

TEST_F(HttpLimits, SilenceUnderTls) {
    const test::OwnAuthority trusted;
    const auto certificate = trusted.Authority().issue();
    ScriptedServer server({.certificatePem = certificate.certificatePem, .keyPem = certificate.keyPem});
    server.Enqueue(Answer::Never());
    ExpectTimeOut({.url = server.Url("/"), .timeouts = {kFarMs, kFarMs, kFarMs, kShortMs, kFarMs}});
}

// A byte now and then is progress, within a header line too; so the silence between two of them is what
// counts.
TEST_F(HttpLimits, DrippingIsNoSilence) {
    ScriptedServer server;
    server.Enqueue(
        Answer::Of(200, {{"X", std::string(200, 'x')}}, "a body in drops").Dripping(Milliseconds(10)));
    // The one header line alone takes 2 s.
    const auto result = Send({.url = server.Url("/"), .timeouts = {kFarMs, kFarMs, kFarMs, 1500, kFarMs}});
    EXPECT_EQ(result.code, ResultCode::kSuccess);
    EXPECT_EQ(result.body, "a body in drops");
}

TEST_F(HttpLimits, TheWholeIsBoundedAgainstADrippingServer) {
    ScriptedServer server;
    server.Enqueue(Answer::Of(200, {}, std::string(100000, 'x')).Dripping(Milliseconds(2)));
    ExpectTimeOut({.url = server.Url("/"), .timeouts = {kFarMs, kFarMs, kFarMs, kFarMs, kShortMs}});
}

TEST_F(HttpLimits, RedirectsShareOneBound) {
    constexpr std::uint32_t kTwoSecondsMs = 2000;  // the first exchange fits, on a loaded machine too
    ScriptedServer server;
    server.Enqueue(Answer::Of(302, {{"Location", "/next"}}));
    server.Enqueue(Answer::Never());
    ExpectTimeOut({.url = server.Url("/"), .timeouts = {kFarMs, kFarMs, kFarMs, kFarMs, kTwoSecondsMs}});
    EXPECT_EQ(server.Requests().size(), 2u);
}

std::atomic<int> signalsSeen{0};

// A body whose reading raises the signal, in the midst of the exchange.
struct BodyOfAClosedPipe final : quillmarkclient_linux::HttpBody {
    quillmarkclient_linux::HttpBodyRead Read(void*, std::uint32_t, std::uint32_t*) override {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe(ends.data()), 0);
        close(ends[0]);
        writeError = write(ends[1], "x", 1) == -1 ? errno : 0;
        close(ends[1]);
        return quillmarkclient_linux::HttpBodyRead::kEnd;
    }
    std::uint32_t GetSize() const override { return 3; }

    int writeError = 0;
};

// The handler counts: the signal's own action would end the program.
TEST_F(HttpLimits, SigpipeNeverReachesTheHost) {
    struct sigaction counting {};
    struct sigaction former {};
    counting.sa_handler = [](int) { ++signalsSeen; };
    ASSERT_EQ(sigaction(SIGPIPE, &counting, &former), 0);
    ScriptedServer server({.reading = ServerOptions::Reading::kHeadOnly});
    const auto body = std::make_shared<BodyOfAClosedPipe>();
    (void)Send({.method = "POST", .url = server.Url("/"), .source = body});
    EXPECT_EQ(body->writeError, EPIPE);
    EXPECT_EQ(signalsSeen.load(), 0);
    ASSERT_EQ(sigaction(SIGPIPE, &former, nullptr), 0);
}

// A peer that hangs up while we send.
TEST_F(HttpLimits, AServerThatHangsUpIsANetworkFailure) {
    const test::OwnAuthority trusted;
    const auto certificate = trusted.Authority().issue();
    for (const bool secure : {false, true}) {
        SCOPED_TRACE(secure ? "TLS" : "plain");
        ScriptedServer server({.certificatePem = secure ? certificate.certificatePem : "",
                               .keyPem = secure ? certificate.keyPem : "",
                               .reading = ServerOptions::Reading::kHeadOnly});
        server.Enqueue(Answer::CloseUnanswered());
        ExpectFailure(Send({.method = "POST", .url = server.Url("/"), .body = kLargeBody}),
                      ResultCode::kNetwork);
    }
}

}  // namespace
