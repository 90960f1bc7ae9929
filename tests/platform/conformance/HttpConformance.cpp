#include "tests/platform/conformance/HttpConformance.h"
#include "tests/support/RandomText.h"

namespace test {
namespace {

using quillmarkclient_core::HttpHeaderPair;

constexpr ResultCode kNetwork{0x81000006};

constexpr char kBoundary[] = "edge-of-the-part";
constexpr HttpHeaderPair kUploadType{"Content-Type", "multipart/form-data; boundary=edge-of-the-part"};

// What an upload of these bytes has for a body.
std::string MultipartBody(const std::string& bytes) {
    return "\r\n--edge-of-the-part\r\n"
           "Content-Disposition: form-data; name=\"file\"; filename=\"log.zip\"\r\n"
           "Content-Type: application/zip\r\n"
           "Content-Transfer-Encoding: binary\r\n\r\n" +
           bytes + "\r\n--edge-of-the-part--\r\n";
}

std::string EveryByteTimes(int count) {
    std::string bytes;
    for (int i = 0; i < count; ++i)
        bytes += EveryByte();
    return bytes;
}

}  // namespace

Exchanged HttpConformance::Request(const Call& call) const {
    return Exchange(table.HttpFree, [&](std::uint32_t* status, char** body, char** head) {
        return table.HttpRequest(call.method.c_str(), call.url.c_str(), call.headers.data(),
                                 static_cast<std::uint32_t>(call.headers.size()), call.body.c_str(),
                                 call.flags, status, body, head, nullptr);
    });
}

Exchanged HttpConformance::Upload(const std::string& url, const std::string& path, const char* method) const {
    return HeadlessExchange(table.HttpFree, [&](std::uint32_t* status, char** body) {
        return table.HttpUploadFile(method, url.c_str(), &kUploadType, 1, kBoundary, path.c_str(), "log.zip",
                                    status, body);
    });
}

HeaderPairs HttpConformance::SentRowHeaders() const {
    HeaderPairs found;
    const auto requests = server.Requests();
    if (requests.empty())
        return found;
    for (const auto& header : requests.back().headers)
        if (header.first.starts_with("X-Row"))
            found.push_back(header);
    return found;
}

void HttpConformance::ExpectNoConnectionSoFar() const {
    EXPECT_EQ(Request({.url = server.Url("/")}).code, ResultCode::kSuccess);
    EXPECT_EQ(server.ConnectionCount(), 1);
}

TEST_P(HttpConformance, EveryStatusIsASuccessWithItsBody) {
    static const struct {
        const char* name;
        int status;
        const char* body;
    } rows[] = {
        {"fine", 200, "{\"a\":1}"},
        {"not found", 404, "nothing here"},
        {"a fault of the server", 500, "it broke"},
        {"an empty body is an empty text", 200, ""},
        {"an empty body of a fault too", 500, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        server.Enqueue(Answer::Of(row.status, {}, row.body));
        const auto outcome = Request({.url = server.Url("/")});
        EXPECT_EQ(outcome.code, ResultCode::kSuccess);
        EXPECT_EQ(outcome.status, static_cast<std::uint32_t>(row.status));
        EXPECT_EQ(outcome.body, row.body);
    }
}

TEST_P(HttpConformance, GivesTheHeadOfTheFinalAnswer) {
    static const struct {
        const char* name;
        const char* before;  // what comes on the same connection ahead of the final answer
        const char* head;
    } rows[] = {
        {"status line and headers, in order", "",
         "HTTP/1.1 201 Made\r\nX-B: 2\r\nX-A: 1\r\nContent-Length: 0\r\n\r\n"},
        {"the head of a fault", "", "HTTP/1.1 503 Busy\r\nRetry-After: 7\r\nContent-Length: 0\r\n\r\n"},
        {"an interim answer is left out", "HTTP/1.1 100 Continue\r\n\r\n",
         "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"},
    };
    for (const auto& row : rows) {
        if (IsLeftOut(row.name))
            continue;
        SCOPED_TRACE(row.name);
        server.Enqueue(Answer::Raw(std::string(row.before) + row.head));
        const auto outcome = Request({.url = server.Url("/")});
        EXPECT_EQ(outcome.code, ResultCode::kSuccess);
        EXPECT_EQ(outcome.head, row.head);
    }
}

TEST_P(HttpConformance, HeadersGoOutInOrderAndWithTheirValues) {
    static const struct {
        const char* name;
        std::vector<HttpHeaderPair> headers;
        HeaderPairs sent;
    } rows[] = {
        {"none", {}, {}},
        {"in order",
         {{"X-Row-C", "1"}, {"X-Row-A", "2"}, {"X-Row-B", "3"}},
         {{"X-Row-C", "1"}, {"X-Row-A", "2"}, {"X-Row-B", "3"}}},
        {"and in another",
         {{"X-Row-B", "3"}, {"X-Row-C", "1"}, {"X-Row-A", "2"}},
         {{"X-Row-B", "3"}, {"X-Row-C", "1"}, {"X-Row-A", "2"}}},
        {"an empty value", {{"X-Row-Empty", ""}}, {{"X-Row-Empty", ""}}},
        {"an empty value between others",
         {{"X-Row-A", "1"}, {"X-Row-Empty", ""}, {"X-Row-B", "2"}},
         {{"X-Row-A", "1"}, {"X-Row-Empty", ""}, {"X-Row-B", "2"}}},
        {"marks inside a value", {{"X-Row-A", "a b:c;d=\"e\""}}, {{"X-Row-A", "a b:c;d=\"e\""}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Request({.url = server.Url("/"), .headers = row.headers}).code, ResultCode::kSuccess);
        EXPECT_EQ(SentRowHeaders(), row.sent);
    }
}

TEST_P(HttpConformance, TheBodyGoesOutWithItsLength) {
    const std::string large(100000, 'x');
    const struct {
        const char* name;
        const char* method;
        std::string body;
        const char* length;
    } rows[] = {
        {"a GET tells the length 0", "GET", "", "0"},
        {"an empty POST too", "POST", "", "0"},
        {"a POST", "POST", "{\"a\":1}", "7"},
        {"bytes of UTF-8", "POST", "\xC3\xA9\r\n", "4"},
        {"a PUT of many pieces", "PUT", large, "100000"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_EQ(Request({.method = row.method, .url = server.Url("/path?a=b"), .body = row.body}).code,
                  ResultCode::kSuccess);
        const auto request = server.Requests().back();
        EXPECT_EQ(request.method, row.method);
        EXPECT_EQ(request.target, "/path?a=b");
        EXPECT_TRUE(request.HasHeader("Content-Length"));
        EXPECT_EQ(request.Header("Content-Length"), row.length);
        EXPECT_TRUE(request.body == row.body);
    }
}

TEST_P(HttpConformance, FlagBitZeroLeavesTheRedirectToTheCaller) {
    static const struct {
        const char* name;
        std::uint32_t flags;
        std::uint32_t status;
        const char* body;
        std::vector<std::string> targets;
        const char* headStart;
    } rows[] = {
        {"followed", 0, 200, "there", {"/first", "/second"}, "HTTP/1.1 200 "},
        {"left alone", 1, 302, "moved", {"/first"}, "HTTP/1.1 302 "},
        {"other bits mean nothing", 2, 200, "there", {"/first", "/second"}, "HTTP/1.1 200 "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedServer fresh;
        fresh.Enqueue(Answer::Of(302, {{"Location", fresh.Url("/second")}}, "moved"));
        fresh.Enqueue(Answer::Of(200, {}, "there"));
        const auto outcome = Request({.url = fresh.Url("/first"), .flags = row.flags});
        EXPECT_EQ(outcome.code, ResultCode::kSuccess);
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_EQ(outcome.body, row.body);
        EXPECT_TRUE(outcome.head.value_or("").starts_with(row.headStart)) << outcome.head.value_or("");
        std::vector<std::string> targets;
        for (const auto& request : fresh.Requests())
            targets.push_back(request.target);
        EXPECT_EQ(targets, row.targets);
    }
}

// RFC 4291 section 2.2.
TEST_P(HttpConformance, AnIpv6AddressIsReachedInAllItsForms) {
    static const struct {
        const char* address;
        bool isIpv4;  // wrapped in IPv6
    } rows[] = {
        {"::1", false},
        {"0::1", false},
        {"::0:1", false},
        {"::0001", false},
        {"0:0:0:0:0:0:0:1", false},
        {"0:0:0:0:0:0::1", false},
        {"0:0:0:0:0:0:0.0.0.1", false},
        {"::0.0.0.1", false},
        {"::ffff:127.0.0.1", true},
        {"::FFFF:7f00:1", true},
        {"0:0:0:0:0:ffff:127.0.0.1", true},
    };
    if (!HasLoopback(sockets::Loopback::kIpv6))
        GTEST_SKIP() << "this machine has no IPv6";
    const ScriptedServer onIpv6({.loopback = sockets::Loopback::kIpv6});
    for (const auto& row : rows) {
        if (IsLeftOut(row.address))
            continue;
        const ScriptedServer& reached = row.isIpv4 ? server : onIpv6;
        const int before = reached.ConnectionCount();
        const auto outcome = Request(
            {.url = "http://[" + std::string(row.address) + "]:" + std::to_string(reached.Port()) + "/"});
        EXPECT_EQ(outcome.code, ResultCode::kSuccess) << row.address;
        EXPECT_EQ(outcome.status, 200u) << row.address;
        EXPECT_EQ(reached.ConnectionCount(), before + 1) << row.address;
    }
}

TEST_P(HttpConformance, ARefusedConnectionIsANetworkFailure) {
    // No port that a system gives out by itself, so no other test's server can be there.
    EXPECT_EQ(Request({.url = "http://127.0.0.1:1/"}).code, kNetwork);
}

TEST_P(HttpConformance, HalfAnAnswerIsANetworkFailure) {
    static const struct {
        const char* name;
        const char* bytes;
        Answer::Ending ending;
    } rows[] = {
        {"not a word", "", Answer::Ending::kClose},
        {"a reset", "", Answer::Ending::kReset},
        {"half a head", "HTTP/1.1 200 OK\r\nContent-Le", Answer::Ending::kClose},
        {"half a body", "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", Answer::Ending::kClose},
        {"half a body, then a reset", "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf",
         Answer::Ending::kReset},
        {"half a chunk", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nA\r\nhalf",
         Answer::Ending::kClose},
    };
    for (const auto& row : rows) {
        if (IsLeftOut(row.name))
            continue;
        // As default, so that a transport that tries again by itself gets no better answer.
        server.SetDefault([&row](const auto&) { return Answer::Raw(row.bytes, row.ending); });
        EXPECT_EQ(Request({.url = server.Url("/")}).code, kNetwork) << row.name;
    }
}

TEST_P(HttpConformance, FreeTakesNull) {
    EXPECT_EQ(table.HttpFree(nullptr, nullptr), 0u);
}

TEST_P(HttpUploadConformance, SendsTheFileBetweenPreambleAndTrailer) {
    const struct {
        const char* name;
        std::string bytes;
    } rows[] = {
        {"an empty file", ""},
        {"a short one", "PK and so on\r\n"},
        {"zero bytes and all others", EveryByte()},
        {"exactly one piece", EveryByteTimes(16)},
        {"many pieces", EveryByteTimes(390)},
    };
    const std::string path = folder.PathOf("a \xC3\xA9.zip");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WriteWhole(path, row.bytes);
        server.Enqueue(Answer::Of(201, {}, "taken"));
        const auto outcome = Upload(server.Url("/upload"), path);
        ASSERT_EQ(outcome.code, ResultCode::kSuccess);
        EXPECT_EQ(outcome.status, 201u);
        EXPECT_EQ(outcome.body, "taken");
        const auto request = server.Requests().back();
        EXPECT_EQ(request.method, "POST");
        EXPECT_EQ(request.target, "/upload");
        EXPECT_EQ(request.Header("Content-Type"), kUploadType.value);
        EXPECT_EQ(request.Header("Content-Length"), std::to_string(MultipartBody(row.bytes).size()));
        EXPECT_TRUE(request.body == MultipartBody(row.bytes));
        EXPECT_TRUE(ReadWhole(path) == row.bytes);
    }
}

TEST_P(HttpUploadConformance, AMissingFileIsCreatedEmptyAndSentEmpty) {
    const std::string path = folder.PathOf("missing.zip");
    ASSERT_EQ(Upload(server.Url("/"), path).code, ResultCode::kSuccess);
    EXPECT_EQ(server.Requests().back().body, MultipartBody(""));
    EXPECT_TRUE(Exists(path));
    EXPECT_EQ(ReadWhole(path), "");
}

TEST_P(HttpUploadConformance, ARefusedConnectionIsANetworkFailure) {
    WriteWhole(folder.PathOf("file"), "abc");
    EXPECT_EQ(Upload("http://127.0.0.1:1/", folder.PathOf("file")).code, kNetwork);
}

}  // namespace test
