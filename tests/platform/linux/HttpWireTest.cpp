// What goes out: every byte of the request.
#include <gtest/gtest.h>

#include "tests/platform/linux/HttpExchanges.h"
#include "tests/support/ScriptedServer.h"

namespace {

using test::Exchanged;
using test::Get;
using test::ScriptedServer;
using test::Send;
using test::Sending;

constexpr char kAgentLine[] = "User-Agent: ABClient_HInternet\r\n";

class HttpWire : public testing::Test {
protected:
    // The bytes that one exchange brought to the server.
    std::string BytesOf(Sending sending, const std::string& path = "/") {
        const auto before = server.Requests().size();
        sending.url = server.Url(path);
        const Exchanged result = Send(sending);
        EXPECT_EQ(result.code, ResultCode::kSuccess);
        const auto requests = server.Requests();
        EXPECT_EQ(requests.size(), before + 1);
        return requests.size() > before ? requests.back().raw : std::string();
    }

    std::string HostLine() const { return "Host: 127.0.0.1:" + std::to_string(server.Port()) + "\r\n"; }

    ScriptedServer server;
};

TEST_F(HttpWire, SendsTheRequestToTheLetter) {
    static const struct {
        const char* name;
        const char* method;
        std::vector<quillmarkclient_core::HttpHeaderPair> headers;
        const char* body;
        const char* ownHeaders;  // what follows Host and User-Agent
    } rows[] = {
        {"a GET tells the length 0", "GET", {}, "", "Content-Length: 0\r\n"},
        {"an empty POST tells the length 0", "POST", {}, "", "Content-Length: 0\r\n"},
        {"a POST has no content type of its own", "POST", {}, "{\"a\":1}", "Content-Length: 7\r\n"},
        {"a PUT with a body", "PUT", {}, "abc", "Content-Length: 3\r\n"},
        {"a DELETE without one", "DELETE", {}, "", "Content-Length: 0\r\n"},
        {"a GET with a body", "GET", {}, "abc", "Content-Length: 3\r\n"},
        {"a PATCH", "PATCH", {}, "x", "Content-Length: 1\r\n"},
        {"a method in lower case stays so", "post", {}, "x", "Content-Length: 1\r\n"},
        {"a method nobody knows", "MAKE-IT-SO", {}, "", "Content-Length: 0\r\n"},
        {"headers keep their order",
         "POST",
         {{"Accept", "application/json"},
          {"Cache-Control", "no-cache"},
          {"Content-Type", "application/json;charset=UTF-8"},
          {"x-vqm-custom", "vqm-client"},
          {"Authorization", "Bearer abc"}},
         "{}",
         "Accept: application/json\r\nCache-Control: no-cache\r\nContent-Type: "
         "application/json;charset=UTF-8\r\n"
         "x-vqm-custom: vqm-client\r\nAuthorization: Bearer abc\r\nContent-Length: 2\r\n"},
        {"and so in another order",
         "GET",
         {{"B", "2"}, {"Content-Type", "text/plain"}, {"A", "1"}, {"Accept", "*/*"}},
         "",
         "B: 2\r\nContent-Type: text/plain\r\nA: 1\r\nAccept: */*\r\nContent-Length: 0\r\n"},
        {"one name twice goes out twice",
         "GET",
         {{"X", "1"}, {"X", "2"}},
         "",
         "X: 1\r\nX: 2\r\nContent-Length: 0\r\n"},
        {"an empty value goes out empty",
         "POST",
         {{"Authorization", ""}, {"Accept", "a/b"}},
         "",
         "Authorization:\r\nAccept: a/b\r\nContent-Length: 0\r\n"},
        {"an empty Accept stays the caller's",
         "GET",
         {{"Accept", ""}},
         "",
         "Accept:\r\nContent-Length: 0\r\n"},
        {"a value of blanks goes out empty", "GET", {{"X", "  "}}, "", "X:\r\nContent-Length: 0\r\n"},
        {"inner blanks, tabs, colons and semicolons stay",
         "GET",
         {{"X", "a  b\tc:d;e"}},
         "",
         "X: a  b\tc:d;e\r\nContent-Length: 0\r\n"},
        {"bytes of UTF-8 stay", "GET", {{"X", "\xC3\xA9"}}, "", "X: \xC3\xA9\r\nContent-Length: 0\r\n"},
        {"a length of the caller's own gives way to the true one",
         "POST",
         {{"content-length", "99"}, {"X", "1"}},
         "abc",
         "X: 1\r\nContent-Length: 3\r\n"},
        {"a transfer coding of the caller's own is not announced",
         "POST",
         {{"Transfer-Encoding", "chunked"}},
         "abc",
         "Content-Length: 3\r\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto raw =
            BytesOf({.method = row.method, .headers = row.headers, .body = row.body}, "/a/b?c=d");
        EXPECT_EQ(raw, std::string(row.method) + " /a/b?c=d HTTP/1.1\r\n" + HostLine() + kAgentLine +
                           row.ownHeaders + "\r\n" + row.body);
    }
}

TEST_F(HttpWire, EncodesTheTarget) {
    static const struct {
        const char* name;
        const char* given;
        const char* sent;
    } rows[] = {
        {"nothing: the root", "", "/"},
        {"a query alone", "?a=b", "/?a=b"},
        {"a plain path", "/a-b_c.d~e", "/a-b_c.d~e"},
        {"blanks", "/a b c?d e", "/a%20b%20c?d%20e"},
        {"bytes from 0x80 on", "/\xC3\xA9?\xE2\x82\xAC", "/%C3%A9?%E2%82%AC"},
        {"the odd marks", "/\"<>\\^{|}`", "/%22%3C%3E%5C%5E%7B%7C%7D%60"},
        {"the number sign", "/a#b?c", "/a%23b?c"},
        {"a number sign alone", "#x", "/%23x"},
        {"percent signs are left alone", "/%20%zz%?%41", "/%20%zz%?%41"},
        {"marks that need nothing", "/!$&'()*+,;=:@[]?!$&'()*+,;=:@[]/?",
         "/!$&'()*+,;=:@[]?!$&'()*+,;=:@[]/?"},
        {"dots are not folded", "/a/../b/./c//d", "/a/../b/./c//d"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto raw = BytesOf({}, row.given);
        EXPECT_EQ(raw.substr(0, raw.find("\r\n")), std::string("GET ") + row.sent + " HTTP/1.1");
    }
}

TEST_F(HttpWire, RefusesTheUrlBeforeAnyTraffic) {
    const std::string at = "127.0.0.1:" + std::to_string(server.Port());
    const struct {
        const char* name;
        std::string url;
    } rows[] = {
        {"nothing", ""},
        {"no scheme", at + "/"},
        {"another scheme", "ftp://" + at + "/"},
        {"an upper-case scheme", "HTTP://" + at + "/"},
        {"a mixed-case scheme", "Https://" + at + "/"},
        {"a longer scheme", "httpx://" + at + "/"},
        {"one slash", "http:/" + at + "/"},
        {"no slash", "http:" + at},
        {"a blank in front", " http://" + at + "/"},
        {"a user", "http://user@" + at + "/"},
        {"user and password", "http://user:word@" + at + "/"},
        {"an empty user", "http://@" + at + "/"},
        {"a password without a user", "http://:word@" + at + "/"},
        {"an empty host", "http:///path"},
        {"no host at all", "http://"},
        {"a port without a host", "http://:80/"},
        {"letters as port", "http://127.0.0.1:abc/"},
        {"a port with a sign", "http://127.0.0.1:+80/"},
        {"a port above 65535", "http://127.0.0.1:65536/"},
        {"a very long port", "http://127.0.0.1:18446744073709551696/"},
        {"port 0", "http://127.0.0.1:0/"},
        {"two ports", "http://" + at + ":80/"},
        {"a blank in the host", "http://127.0.0 .1/"},
        {"a backslash behind the host", "http://" + at + "\\x"},
        {"a percent sign in the host", "http://127%2E0.0.1/"},
        {"an open bracket", "http://[::1/"},
        {"brackets round no address", "http://[localhost]/"},
        {"text behind the bracket", "http://[::1]x/"},
        {"a line break in the path", "http://" + at + "/a\r\nX: y"},
        {"a line feed at the end", "http://" + at + "/\n"},
        {"a tab", "http://" + at + "/a\tb"},
        {"a delete byte", "http://" + at + "/\x7F"},
        {"a control byte in the host", "http://127.0.0.1\x01/"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Exchanged result = Get(row.url);
        ExpectFailure(result, ResultCode::kInvalidParameters);
        EXPECT_EQ(result.status, test::kUntouched);
    }
    EXPECT_EQ(server.ConnectionCount(), 0);
}

TEST_F(HttpWire, RefusesHeadersThatCouldSmuggle) {
    static const struct {
        const char* name;
        quillmarkclient_core::HttpHeaderPair header;
    } rows[] = {
        {"a line break in the value", {"X", "a\r\nY: b"}},
        {"a carriage return in the value", {"X", "a\rb"}},
        {"a line feed at the value's end", {"X", "a\n"}},
        {"a line break in the name", {"X\r\nY", "b"}},
        {"a line feed in the name", {"X\n", "b"}},
        {"an empty name", {"", "b"}},
        {"a colon in the name", {"X: y", "b"}},
        {"a blank in the name", {"X ", "b"}},
        {"a semicolon in the name", {"X;", ""}},
        {"a byte from 0x80 on in the name", {"\xC3\xA9", "b"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Exchanged result = Send({.url = server.Url("/"), .headers = {{"A", "b"}, row.header}});
        ExpectFailure(result, ResultCode::kNetwork);
    }
    EXPECT_EQ(server.ConnectionCount(), 0);
}

TEST_F(HttpWire, TakesNullHeadersAndANullBody) {
    std::uint32_t status = 0;
    char* body = nullptr;
    EXPECT_EQ(quillmarkclient_linux::HttpRequest("POST", server.Url("/").c_str(), nullptr, 0, nullptr, 0,
                                                 &status, &body, nullptr, nullptr),
              0u);
    EXPECT_EQ(status, 200u);
    EXPECT_EQ(test::TakeBlock(body, quillmarkclient_linux::HttpFree), "");
    EXPECT_EQ(server.Requests().at(0).Header("Content-Length"), "0");
}

TEST_F(HttpWire, StreamsALargeBodyWhole) {
    std::string text;
    for (int i = 0; i < 200000; ++i)
        text += std::to_string(i) + ",";
    EXPECT_EQ(Send({.method = "POST", .url = server.Url("/"), .body = text}).code, ResultCode::kSuccess);
    const auto request = server.Requests().at(0);
    EXPECT_EQ(request.Header("Content-Length"), std::to_string(text.size()));
    EXPECT_TRUE(request.body == text);
    EXPECT_FALSE(request.HasHeader("Expect"));
}

TEST_F(HttpWire, ReadsTheBodyInPiecesOf4096) {
    struct Counting final : quillmarkclient_linux::HttpBody {
        quillmarkclient_linux::HttpBodyRead Read(void* buffer, std::uint32_t capacity,
                                                 std::uint32_t* count) override {
            capacities.push_back(capacity);
            return inner.Read(buffer, capacity, count);
        }
        std::uint32_t GetSize() const override { return inner.GetSize(); }
        quillmarkclient_linux::HttpMemoryBody inner{std::string(10000, 'x')};
        std::vector<std::uint32_t> capacities;
    };
    const auto source = std::make_shared<Counting>();
    EXPECT_EQ(Send({.method = "POST", .url = server.Url("/"), .source = source}).code, ResultCode::kSuccess);
    EXPECT_EQ(server.Requests().at(0).body.size(), 10000u);
    ASSERT_GE(source->capacities.size(), 3u);
    for (const auto capacity : source->capacities)
        EXPECT_EQ(capacity, 4096u);
}

TEST_F(HttpWire, UsesAConnectionForEachExchange) {
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(Get(server.Url("/")).code, ResultCode::kSuccess);
        EXPECT_EQ(server.ConnectionCount(), i);
    }
}

}  // namespace
