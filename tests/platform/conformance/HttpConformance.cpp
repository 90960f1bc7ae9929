#include "tests/platform/conformance/HttpConformance.h"

namespace test {
namespace {

using quillmarkclient_core::HttpHeaderPair;

constexpr std::uint32_t kInvalidParameters = 0x80000002;
constexpr std::uint32_t kNetwork = 0x81000006;

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

std::string EveryByte(std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<char>(i % 256));
    return bytes;
}

struct NamedUrl {
    const char* name;
    std::string url;
};

// URLs that no exchange may be tried with. Those that name a host name the server at `port`.
std::vector<NamedUrl> FaultyUrls(std::uint16_t port) {
    const std::string at = "127.0.0.1:" + std::to_string(port) + "/";
    return {
        {"nothing", ""},
        {"garbage", "no URL at all"},
        {"no scheme", at},
        {"another scheme", "ftp://" + at},
        {"an upper-case scheme", "HTTP://" + at},
        {"a mixed-case scheme", "Http://" + at},
        {"user and password", "http://user:word@" + at},
        {"an empty host", "http:///path"},
        {"a scheme alone", "http://"},
    };
}

}  // namespace

std::optional<std::string> HttpConformance::Take(char* block) const {
    std::optional<std::string> text;
    if (block)
        text = block;
    EXPECT_EQ(table.HttpFree(block, nullptr), 0u);
    return text;
}

HttpConformance::Outcome HttpConformance::Request(const Call& call) const {
    Outcome outcome;
    char* body = nullptr;
    char* head = nullptr;
    outcome.code = table.HttpRequest(call.method.c_str(), call.url.c_str(), call.headers.data(),
                                     static_cast<std::uint32_t>(call.headers.size()), call.body.c_str(),
                                     call.flags, &outcome.status, &body, &head, nullptr);
    outcome.body = Take(body);
    outcome.head = Take(head);
    return outcome;
}

HttpConformance::Outcome HttpConformance::Upload(const std::string& url, const std::string& path) const {
    Outcome outcome;
    char* body = nullptr;
    outcome.code = table.HttpUploadFile("POST", url.c_str(), &kUploadType, 1, kBoundary, path.c_str(),
                                        "log.zip", &outcome.status, &body);
    outcome.body = Take(body);
    return outcome;
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
    EXPECT_EQ(Request({.url = server.Url("/")}).code, 0u);
    EXPECT_EQ(server.ConnectionCount(), 1);
}

TEST_P(HttpConformance, NullArgumentsAreInvalid) {
    const std::string url = server.Url("/");
    std::uint32_t status = 0;
    const struct {
        const char* name;
        const char* method;
        const char* url;
        std::uint32_t* status;
    } rows[] = {
        {"method", nullptr, url.c_str(), &status},
        {"URL", "GET", nullptr, &status},
        {"status", "GET", url.c_str(), nullptr},
    };
    for (const auto& row : rows) {
        char* body = nullptr;
        char* head = nullptr;
        EXPECT_EQ(
            table.HttpRequest(row.method, row.url, nullptr, 0, "", 0, row.status, &body, &head, nullptr),
            kInvalidParameters)
            << row.name;
        EXPECT_EQ(table.HttpFree(body, nullptr), 0u) << row.name;
        EXPECT_EQ(table.HttpFree(head, nullptr), 0u) << row.name;
    }
    ExpectNoConnectionSoFar();
}

TEST_P(HttpConformance, AFaultyUrlIsInvalidBeforeAnyTraffic) {
    for (const auto& row : FaultyUrls(server.Port()))
        EXPECT_EQ(Request({.url = row.url}).code, kInvalidParameters) << row.name;
    ExpectNoConnectionSoFar();
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
        EXPECT_EQ(outcome.code, 0u);
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
        SCOPED_TRACE(row.name);
        server.Enqueue(Answer::Raw(std::string(row.before) + row.head));
        const auto outcome = Request({.url = server.Url("/")});
        EXPECT_EQ(outcome.code, 0u);
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
        EXPECT_EQ(Request({.url = server.Url("/"), .headers = row.headers}).code, 0u);
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
        ASSERT_EQ(Request({.method = row.method, .url = server.Url("/path?a=b"), .body = row.body}).code, 0u);
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
        EXPECT_EQ(outcome.code, 0u);
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_EQ(outcome.body, row.body);
        EXPECT_TRUE(outcome.head.value_or("").starts_with(row.headStart)) << outcome.head.value_or("");
        std::vector<std::string> targets;
        for (const auto& request : fresh.Requests())
            targets.push_back(request.target);
        EXPECT_EQ(targets, row.targets);
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
        // As default, so that a transport that tries again by itself gets no better answer.
        server.SetDefault([&row](const auto&) { return Answer::Raw(row.bytes, row.ending); });
        EXPECT_EQ(Request({.url = server.Url("/")}).code, kNetwork) << row.name;
    }
}

TEST_P(HttpConformance, FreeTakesNull) {
    EXPECT_EQ(table.HttpFree(nullptr, nullptr), 0u);
}

TEST_P(HttpUploadConformance, NullArgumentsAreInvalid) {
    const std::string url = server.Url("/");
    const std::string path = folder.PathOf("file");
    WriteWhole(path, "abc");
    const char* const p = path.c_str();
    std::uint32_t status = 0;
    const struct {
        const char* name;
        const char* method;
        const char* url;
        const char* boundary;
        const char* path;
        const char* fileName;
        std::uint32_t* status;
    } rows[] = {
        {"method", nullptr, url.c_str(), "b", p, "f", &status},
        {"URL", "POST", nullptr, "b", p, "f", &status},
        {"boundary", "POST", url.c_str(), nullptr, p, "f", &status},
        {"path", "POST", url.c_str(), "b", nullptr, "f", &status},
        {"file name", "POST", url.c_str(), "b", p, nullptr, &status},
        {"status", "POST", url.c_str(), "b", p, "f", nullptr},
    };
    for (const auto& row : rows) {
        char* body = nullptr;
        EXPECT_EQ(table.HttpUploadFile(row.method, row.url, nullptr, 0, row.boundary, row.path, row.fileName,
                                       row.status, &body),
                  kInvalidParameters)
            << row.name;
        EXPECT_EQ(table.HttpFree(body, nullptr), 0u) << row.name;
    }
    ExpectNoConnectionSoFar();
}

TEST_P(HttpUploadConformance, AFaultyUrlIsInvalidBeforeAnyTraffic) {
    WriteWhole(folder.PathOf("file"), "abc");
    for (const auto& row : FaultyUrls(server.Port()))
        EXPECT_EQ(Upload(row.url, folder.PathOf("file")).code, kInvalidParameters) << row.name;
    ExpectNoConnectionSoFar();
}

TEST_P(HttpUploadConformance, SendsTheFileBetweenPreambleAndTrailer) {
    const struct {
        const char* name;
        std::string bytes;
    } rows[] = {
        {"an empty file", ""},
        {"a short one", "PK and so on\r\n"},
        {"zero bytes and all others", EveryByte(256)},
        {"exactly one piece", EveryByte(4096)},
        {"many pieces", EveryByte(100001)},
    };
    const std::string path = folder.PathOf("a \xC3\xA9.zip");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WriteWhole(path, row.bytes);
        server.Enqueue(Answer::Of(201, {}, "taken"));
        const auto outcome = Upload(server.Url("/upload"), path);
        ASSERT_EQ(outcome.code, 0u);
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
    ASSERT_EQ(Upload(server.Url("/"), path).code, 0u);
    EXPECT_EQ(server.Requests().back().body, MultipartBody(""));
    EXPECT_TRUE(Exists(path));
    EXPECT_EQ(ReadWhole(path), "");
}

TEST_P(HttpUploadConformance, ARefusedConnectionIsANetworkFailure) {
    WriteWhole(folder.PathOf("file"), "abc");
    EXPECT_EQ(Upload("http://127.0.0.1:1/", folder.PathOf("file")).code, kNetwork);
}

}  // namespace test
