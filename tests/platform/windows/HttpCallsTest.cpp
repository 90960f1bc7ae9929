// Which calls of the system an exchange makes, with which values, and that every road closes its handles.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/platform/windows/HttpCalls.h"
#include "tests/platform/windows/HttpExchanges.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace quillmarkclient_windows;
using test::Exchanged;
using Lines = std::vector<std::string>;

constexpr ResultCode kInternalError{0x80000001};
constexpr ResultCode kInvalidParameters{0x80000002};
constexpr ResultCode kNetwork{0x81000006};

const Lines kAllClosed = {"WinHttpCloseHandle request", "WinHttpCloseHandle connection",
                          "WinHttpCloseHandle session"};

class WindowsHttpCalls : public ::testing::Test {
protected:
    // A POST of "abc" with one header, which follows no redirects.
    static Exchanged Post(test::HttpCalls& calls, const test::ScriptedServer& server) {
        const HttpHeaderPair header{"X-Row", "1"};
        const std::string url = server.Url("/path?query");
        const test::RecordedThread recorded(calls);
        return test::Exchange(HttpFree, [&](std::uint32_t* status, char** body, char** head) {
            return HttpRequest("POST", url.c_str(), &header, 1, "abc", 1, status, body, head, nullptr);
        });
    }
    static Exchanged Send(test::HttpCalls& calls, const test::Sending& sending) {
        const test::RecordedThread recorded(calls);
        return test::Send(sending);
    }
    static Lines Starting(const Lines& lines, const std::string& start) {
        Lines found;
        std::copy_if(lines.begin(), lines.end(), std::back_inserter(found),
                     [&](const auto& line) { return line.starts_with(start); });
        return found;
    }
    // Which proxy is asked for: 4 is the one that Windows finds by itself from 8 on. Under wine the emulator says
    // which Windows it is.
    static std::string AccessType() {
        const char* prefix = std::getenv("QUILLMARK_WINE_PREFIX");
        return prefix && std::string(prefix) == "windows7" ? "0" : "4";
    }

    test::TemporaryFolder folder;
};

TEST_F(WindowsHttpCalls, AreMadeInThisOrderAndToTheLetter) {
    test::ScriptedServer server;
    server.Enqueue(test::Answer::Of(200, {}, "12345"));
    test::HttpCalls calls;
    EXPECT_EQ(Post(calls, server).code, ResultCode::kSuccess);
    const std::string port = std::to_string(server.Port());
    EXPECT_EQ(calls.lines, (Lines{
                               "WinHttpCrackUrl http://127.0.0.1:" + port + "/path?query 16384",
                               "VerifyVersionInfoW 284 6 2 0 35 3 3 3",
                               "WinHttpOpen ABClient_HInternet " + AccessType() + " (none) (none) 0",
                               "WinHttpConnect session 127.0.0.1 " + port,
                               "WinHttpOpenRequest connection POST /path?query (none) (none) (none) 256",
                               "WinHttpSetTimeouts request 5000 60000 30000 30000",
                               "WinHttpAddRequestHeaders request X-Row: 1 -1 536870912",
                               "WinHttpSetOption request 77 1 4",
                               "WinHttpSetOption request 88 0 4",
                               "WinHttpSetOption session 84 2720 4",
                               "WinHttpAddRequestHeaders request Content-Length: 3 -1 536870912",
                               "WinHttpSendRequest request (none) 0 (none) 0 0",
                               "WinHttpWriteData request 3",
                               "WinHttpReceiveResponse request",
                               "WinHttpQueryHeaders request 536870931 whole",
                               "WinHttpQueryDataAvailable request",
                               "WinHttpReadData request 5",
                               "WinHttpQueryDataAvailable request",
                               "WinHttpQueryHeaders request 22 size",
                               "WinHttpQueryHeaders request 22 whole",
                               "WinHttpCloseHandle request",
                               "WinHttpCloseHandle connection",
                               "WinHttpCloseHandle session",
                           }));
}

TEST_F(WindowsHttpCalls, EachOperationHasItsOwnLimits) {
    test::ScriptedServer server;
    const std::string url = server.Url("/");
    const std::string path = folder.PathOf("file");
    std::uint32_t status = 0;
    const struct {
        const char* name;
        std::function<std::uint32_t()> call;
        std::string line;
    } rows[] = {
        {"a request",
         [&] {
             return HttpRequest("GET", url.c_str(), nullptr, 0, nullptr, 0, &status, nullptr, nullptr,
                                nullptr);
         },
         "WinHttpSetTimeouts request 5000 60000 30000 30000"},
        {"an upload",
         [&] {
             return HttpUploadFile("POST", url.c_str(), nullptr, 0, "b", path.c_str(), "f", &status, nullptr);
         },
         "WinHttpSetTimeouts request 5000 60000 30000 60000"},
        {"limits of the caller's",
         [&] {
             return static_cast<std::uint32_t>(SendHttp("GET", url.c_str(), nullptr, 0, nullptr, 0,
                                                        {5001, 5002, 5003, 5004}, &status, nullptr, nullptr));
         },
         "WinHttpSetTimeouts request 5001 5002 5003 5004"},
    };
    for (const auto& row : rows) {
        test::HttpCalls calls;
        const test::RecordedThread recorded(calls);
        EXPECT_EQ(row.call(), 0u) << row.name;
        EXPECT_EQ(Starting(calls.lines, "WinHttpSetTimeouts"), Lines{row.line}) << row.name;
        EXPECT_EQ(Starting(calls.lines, "WinHttpSetOption request 88"), Lines{})
            << row.name << ": redirects are followed";
    }
}

TEST_F(WindowsHttpCalls, ASecureExchangeSaysSo) {
    std::uint32_t status = 0;
    test::HttpCalls calls;
    const test::RecordedThread recorded(calls);
    EXPECT_EQ(
        HttpRequest("GET", "https://127.0.0.1:1/", nullptr, 0, "", 0, &status, nullptr, nullptr, nullptr),
        0x81000006u)
        << "nobody is there";
    EXPECT_EQ(Starting(calls.lines, "WinHttpOpenRequest"),
              Lines{"WinHttpOpenRequest connection GET / (none) (none) (none) 8388864"});
}

TEST_F(WindowsHttpCalls, TheBodyGoesOutInPiecesOf4096) {
    static const struct {
        std::size_t size;
        Lines written;
    } rows[] = {
        {0, {}},
        {1, {"WinHttpWriteData request 1"}},
        {4096, {"WinHttpWriteData request 4096"}},
        {4097, {"WinHttpWriteData request 4096", "WinHttpWriteData request 1"}},
        {10000,
         {"WinHttpWriteData request 4096", "WinHttpWriteData request 4096", "WinHttpWriteData request 1808"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.size);
        const test::ScriptedServer server;
        const std::string text(row.size, 'x');
        test::HttpCalls calls;
        EXPECT_EQ(Send(calls, {.method = "POST", .url = server.Url("/"), .body = text}).code,
                  ResultCode::kSuccess);
        EXPECT_EQ(Starting(calls.lines, "WinHttpWriteData"), row.written);
        ASSERT_EQ(server.Requests().size(), 1u);
        EXPECT_TRUE(server.Requests()[0].body == text);
    }
}

// Says that it has ten bytes, gives three, and then what `next` does.
class BrokenBody final : public HttpBody {
public:
    explicit BrokenBody(std::function<HttpBodyRead()> next) : next_(std::move(next)) {}

    HttpBodyRead Read(void* buffer, std::uint32_t capacity, std::uint32_t* bytesRead) override {
        capacities.push_back(capacity);
        if (capacities.size() > 1)
            return next_();
        std::memcpy(buffer, "abc", 3);
        *bytesRead = 3;
        return HttpBodyRead::kData;
    }
    std::uint32_t GetSize() const override { return 10; }

    std::vector<std::uint32_t> capacities;

private:
    std::function<HttpBodyRead()> next_;
};

// It goes out as far as it went, and the answer is the server's.
TEST_F(WindowsHttpCalls, ABodyThatBreaksOffIsNoFailure) {
    static const struct {
        const char* name;
        HttpBodyRead second;
    } rows[] = {
        {"a fault", HttpBodyRead::kError},
        {"an early end", HttpBodyRead::kEnd},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const test::ScriptedServer server({.reading = test::ServerOptions::Reading::kHeadOnly});
        const auto body = std::make_shared<BrokenBody>([&] { return row.second; });
        test::HttpCalls calls;
        const auto outcome = Send(calls, {.method = "POST", .url = server.Url("/"), .source = body});
        EXPECT_EQ(outcome.code, ResultCode::kSuccess);
        EXPECT_EQ(outcome.status, 200u);
        EXPECT_EQ(outcome.body, "");
        EXPECT_EQ(body->capacities, (std::vector<std::uint32_t>{4096, 4096}));
        EXPECT_EQ(Starting(calls.lines, "WinHttpWriteData"), Lines{"WinHttpWriteData request 3"});
        EXPECT_EQ(Starting(calls.lines, "WinHttpCloseHandle"), kAllClosed);
    }
}

TEST_F(WindowsHttpCalls, ARoadThatThrowsClosesTheHandles) {
    const test::ScriptedServer server({.reading = test::ServerOptions::Reading::kHeadOnly});
    const auto thrower = std::make_shared<BrokenBody>([]() -> HttpBodyRead { throw 1; });
    HttpBounds throwing;
    throwing.alloc = [](std::size_t) -> void* { throw 1; };
    const struct {
        const char* name;
        test::Sending sending;
        Lines closed;
    } rows[] = {
        {"a URL that is not UTF-8", {.url = server.Url("/\xFF")}, {}},
        {"a header that is not UTF-8", {.url = server.Url("/"), .headers = {{"X-Row", "\xFF"}}}, kAllClosed},
        {"a body", {.method = "POST", .url = server.Url("/"), .source = thrower}, kAllClosed},
        {"an allocation", {.url = server.Url("/"), .bounds = throwing}, kAllClosed},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test::HttpCalls calls;
        ExpectFailure(Send(calls, row.sending), kInternalError);
        EXPECT_EQ(Starting(calls.lines, "WinHttpCloseHandle"), row.closed);
    }
}

TEST_F(WindowsHttpCalls, TheBodyIsReleasedOnEveryRoad) {
    const test::ScriptedServer server;
    const struct {
        const char* name;
        std::string url;
        const char* failing;
        ResultCode code;
    } rows[] = {
        {"it is sent", server.Url("/"), "", ResultCode::kSuccess},
        {"another scheme", "ftp://x/", "", kInvalidParameters},
        {"a URL that is not UTF-8", server.Url("/\xFF"), "", kInternalError},
        {"nobody is there", "http://127.0.0.1:1/", "", kNetwork},
        {"a call that fails", server.Url("/"), "WinHttpWriteData", kNetwork},
    };
    for (const auto& row : rows) {
        const auto source = std::make_shared<HttpMemoryBody>("abc");
        test::HttpCalls calls{.failing = row.failing, .error = 12017};
        EXPECT_EQ(Send(calls, {.method = "POST", .url = row.url, .source = source}).code, row.code)
            << row.name;
        EXPECT_EQ(source.use_count(), 1) << row.name;
    }
    const auto source = std::make_shared<HttpMemoryBody>("abc");
    EXPECT_EQ(SendHttp("POST", server.Url("/").c_str(), nullptr, 0, source, 0, kRequestTimeouts, nullptr,
                       nullptr, nullptr),
              kInvalidParameters);
    EXPECT_EQ(source.use_count(), 1) << "without a place for the status";
}

// The check of our own sees every '@' before, but a system may read a URL in its own way.
TEST_F(WindowsHttpCalls, AUserOrPasswordThatTheSystemSeesIsInvalid) {
    static const struct {
        const char* name;
        DWORD userLength;
        DWORD passwordLength;
    } rows[] = {{"a user", 1, 0}, {"a password", 0, 1}, {"both", 1, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const test::ScriptedServer server;
        test::HttpCalls calls{.userLength = row.userLength, .passwordLength = row.passwordLength};
        ExpectFailure(Post(calls, server), kInvalidParameters);
        EXPECT_EQ(calls.lines.size(), 1u) << "the crack of the URL is all";
    }
}

TEST_F(WindowsHttpCalls, OneThatFailsEndsTheExchangeAndTheHandlesAreClosedInOrder) {
    const Lines lastTwo = {"WinHttpCloseHandle connection", "WinHttpCloseHandle session"};
    const Lines last = {"WinHttpCloseHandle session"};
    const struct {
        const char* failing;
        std::uint32_t status;
        Lines closed;
    } rows[] = {
        {"WinHttpCrackUrl", test::kUntouched, {}},
        {"WinHttpOpen ", test::kUntouched, {}},
        {"WinHttpConnect", test::kUntouched, last},
        {"WinHttpOpenRequest", test::kUntouched, lastTwo},
        {"WinHttpSetTimeouts", test::kUntouched, kAllClosed},
        {"WinHttpAddRequestHeaders request X-Row", test::kUntouched, kAllClosed},
        {"WinHttpSetOption request 77", test::kUntouched, kAllClosed},
        {"WinHttpSetOption request 88", test::kUntouched, kAllClosed},
        {"WinHttpSetOption session 84", test::kUntouched, kAllClosed},
        {"WinHttpAddRequestHeaders request Content-Length", test::kUntouched, kAllClosed},
        {"WinHttpSendRequest", test::kUntouched, kAllClosed},
        {"WinHttpWriteData", test::kUntouched, kAllClosed},
        {"WinHttpReceiveResponse", test::kUntouched, kAllClosed},
        {"WinHttpQueryHeaders request 536870931", test::kUntouched, kAllClosed},
        {"WinHttpQueryDataAvailable", 200, kAllClosed},
        {"WinHttpReadData", 200, kAllClosed},
        {"WinHttpQueryHeaders request 22 whole", 200, kAllClosed},
    };
    for (const auto& row : rows) {
        // One for each, which ends what the exchange before it has left half done.
        test::ScriptedServer server;
        server.Enqueue(test::Answer::Of(200, {}, "12345"));
        test::HttpCalls calls{.failing = row.failing, .error = 12017};
        SCOPED_TRACE(row.failing);
        const auto outcome = Post(calls, server);
        ExpectFailure(outcome, kNetwork);
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_FALSE(Starting(calls.lines, row.failing).empty());
        EXPECT_EQ(Starting(calls.lines, "WinHttpCloseHandle"), row.closed);
    }
}

// What the system says of the set-up decides the code, and a failure without an error is one all the same.
TEST_F(WindowsHttpCalls, AFaultOfTheUrlInTheSetUpIsTheCallersOwn) {
    static const struct {
        const char* name;
        DWORD error;
        ResultCode code;
    } rows[] = {
        {"an invalid parameter", 87, kInvalidParameters},
        {"an invalid URL", 12005, kInvalidParameters},
        {"an unknown scheme", 12006, kInvalidParameters},
        {"a name without an address", 12007, kNetwork},
        {"a time-out", 12002, kNetwork},
        {"exhausted memory", 8, kNetwork},
        {"a failure without an error", 0, kNetwork},
    };
    for (const char* failing :
         {"WinHttpCrackUrl", "WinHttpOpen ", "WinHttpConnect", "WinHttpOpenRequest", "WinHttpSetTimeouts"}) {
        for (const auto& row : rows) {
            const test::ScriptedServer server;
            test::HttpCalls calls{.failing = failing, .error = row.error};
            EXPECT_EQ(Post(calls, server).code, row.code) << failing << ": " << row.name;
        }
    }
    for (const char* failing : {"WinHttpSetOption session 84", "WinHttpSendRequest"}) {
        const test::ScriptedServer server;
        test::HttpCalls calls{.failing = failing, .error = 87};
        EXPECT_EQ(Post(calls, server).code, kNetwork) << failing << ": the set-up is over";
    }
}

TEST_F(WindowsHttpCalls, WithoutAnAutomaticProxyTheDefaultOneIsTried) {
    const std::string automatic = "WinHttpOpen ABClient_HInternet 4 (none) (none) 0";
    const std::string byDefault = "WinHttpOpen ABClient_HInternet 0 (none) (none) 0";
    const struct {
        const char* name;
        const char* failing;
        Lines opened;
    } rows[] = {
        {"this system", "", {AccessType() == "4" ? automatic : byDefault}},
        {"one that is not 8 yet", "VerifyVersionInfoW", {byDefault}},
        {"one without it", "WinHttpOpen ABClient_HInternet 4",
         AccessType() == "4" ? Lines{automatic, byDefault} : Lines{byDefault}},
    };
    for (const auto& row : rows) {
        const test::ScriptedServer server;
        test::HttpCalls calls{.failing = row.failing, .error = 87};
        EXPECT_EQ(Post(calls, server).code, ResultCode::kSuccess) << row.name;
        EXPECT_EQ(Starting(calls.lines, "WinHttpOpen "), row.opened) << row.name;
    }
}

TEST_F(WindowsHttpCalls, AHeadWhoseSizeIsNotToldIsLeftOut) {
    test::ScriptedServer server;
    test::HttpCalls calls{.failing = "WinHttpQueryHeaders request 22 size", .error = 12150};
    const auto outcome = Post(calls, server);
    EXPECT_EQ(outcome.code, ResultCode::kSuccess);
    EXPECT_EQ(outcome.status, 200u);
    EXPECT_EQ(outcome.body, "");
    EXPECT_EQ(outcome.head, std::nullopt);
}

}  // namespace
