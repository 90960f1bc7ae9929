// Redirects: the rule by itself, and on the wire.
#include "platform/linux/HttpRedirect.h"

#include <gtest/gtest.h>

#include "tests/platform/linux/HttpExchanges.h"
#include "tests/support/OwnAuthority.h"
#include "tests/support/ScriptedServer.h"

namespace {

using quillmarkclient_linux::FindRedirect;
using quillmarkclient_linux::ParseHttpUrl;
using test::Answer;
using test::ScriptedServer;
using test::Send;

TEST(FindRedirectTest, ReadsStatusAndMethod) {
    static const struct {
        std::uint32_t status;
        const char* method;
        const char* next;  // null: no redirect
        bool keepsBody;
    } rows[] = {
        {301, "GET", "GET", true},    {301, "POST", "GET", false},  {301, "PUT", "PUT", true},
        {302, "GET", "GET", true},    {302, "POST", "GET", false},  {302, "DELETE", "DELETE", true},
        {303, "GET", "GET", false},   {303, "POST", "GET", false},  {303, "PUT", "GET", false},
        {303, "HEAD", "HEAD", true},  {307, "GET", "GET", true},    {307, "POST", "POST", true},
        {308, "POST", "POST", true},  {308, "PUT", "PUT", true},    {200, "GET", nullptr, false},
        {300, "GET", nullptr, false}, {304, "GET", nullptr, false}, {305, "GET", nullptr, false},
        {306, "GET", nullptr, false}, {401, "GET", nullptr, false},
    };
    const auto url = ParseHttpUrl("http://a.test/x");
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.status) + " to a " + row.method);
        const auto next = FindRedirect(row.method, *url, row.status, "HTTP/1.1 3xx\r\nLocation: /y\r\n\r\n");
        ASSERT_EQ(next.has_value(), row.next != nullptr);
        if (!next)
            continue;
        EXPECT_EQ(next->method, row.next);
        EXPECT_EQ(next->keepsBody, row.keepsBody);
        EXPECT_EQ(next->url.text, "http://a.test/y");
    }
}

TEST(FindRedirectTest, ReadsTheLocation) {
    static const struct {
        const char* name;
        const char* base;
        const char* location;
        const char* next;  // null: not followed
    } rows[] = {
        {"an absolute URL", "http://a.test/x", "http://b.test/y?z", "http://b.test/y?z"},
        {"a path", "http://a.test:81/x/y?q", "/z", "http://a.test:81/z"},
        {"a relative path", "http://a.test/x/y?q", "z", "http://a.test/x/z"},
        {"a path that climbs", "http://a.test/x/y/z", "../w", "http://a.test/x/w"},
        {"a query", "http://a.test/x?q", "?r", "http://a.test/x?r"},
        {"another host, same scheme", "https://a.test/x", "//b.test/y", "https://b.test/y"},
        {"from http to https", "http://a.test/x", "https://a.test/x", "https://a.test/x"},
        {"an upper-case scheme", "http://a.test/x", "HTTP://b.test/y", "http://b.test/y"},
        {"a fragment is dropped", "http://a.test/x", "/y?z#part", "http://a.test/y?z"},
        {"blanks are encoded", "http://a.test/x", "/a b?c d", "http://a.test/a%20b?c%20d"},
        {"bytes from 0x80 on are encoded", "http://a.test/x", "/\xC3\xA9", "http://a.test/%C3%A9"},
        {"what is encoded stays", "http://a.test/x", "/%41%20", "http://a.test/%41%20"},
        {"from https to http", "https://a.test/x", "http://a.test/x", nullptr},
        {"ftp", "http://a.test/x", "ftp://a.test/x", nullptr},
        {"a file", "http://a.test/x", "file:///etc/passwd", nullptr},
        {"a script", "http://a.test/x", "javascript:alert(1)", nullptr},
        {"a user in it", "http://a.test/x", "http://u:p@b.test/", nullptr},
        {"an empty host", "http://a.test/x", "http:///y", nullptr},
        {"an empty host, same scheme", "http://a.test/x", "///y", nullptr},
        {"three slashes further on", "http://a.test/x", "/y:///z", "http://a.test/y:///z"},
        {"a bad port", "http://a.test/x", "http://b.test:99999/", nullptr},
        {"a blank in the host", "http://a.test/x", "http://b .test/", nullptr},
        {"nothing in it", "http://a.test/x", "", nullptr},
        {"a fragment alone leads back", "http://a.test/x", "#part", "http://a.test/x"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto head = std::string("HTTP/1.1 302 Found\r\nlocation:  ") + row.location + " \r\n\r\n";
        const auto next = FindRedirect("GET", *ParseHttpUrl(row.base), 302, head);
        ASSERT_EQ(next.has_value(), row.next != nullptr) << (next ? next->url.text : "");
        if (next) {
            EXPECT_EQ(next->url.text, row.next);
        }
    }
    EXPECT_FALSE(
        FindRedirect("GET", *ParseHttpUrl("http://a.test/"), 302, "HTTP/1.1 302 Found\r\nA: b\r\n\r\n"));
}

class HttpFollow : public testing::Test {
protected:
    static Answer To(int status, const std::string& location) {
        return Answer::Of(status, {{"Location", location}, {"Retry-After", "7"}}, "moved");
    }

    ScriptedServer server;
};

TEST_F(HttpFollow, GivesTheLastAnswerOnly) {
    server.Enqueue(To(302, "/second"));
    server.Enqueue(To(301, server.Url("/third")));
    server.Enqueue(Answer::Of(404, {{"A", "b"}}, "last"));
    const auto result = Send({.url = server.Url("/first")});
    EXPECT_EQ(result.code, ResultCode::kSuccess);
    EXPECT_EQ(result.status, 404u);
    EXPECT_EQ(result.body, "last");
    EXPECT_EQ(result.head, "HTTP/1.1 404 Scripted\r\nA: b\r\nContent-Length: 4\r\n\r\n");
    ASSERT_EQ(server.Requests().size(), 3u);
    EXPECT_EQ(server.Requests().at(1).target, "/second");
    EXPECT_EQ(server.Requests().at(2).target, "/third");
    EXPECT_EQ(server.ConnectionCount(), 3);  // none is used twice
}

TEST_F(HttpFollow, FlagBitZeroLeavesTheRedirectToTheCaller) {
    static const struct {
        std::uint32_t flags;
        std::uint32_t status;
        std::size_t requests;
    } rows[] = {{0, 200, 2}, {1, 302, 1}, {2, 200, 2}, {3, 302, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.flags);
        ScriptedServer fresh;
        fresh.Enqueue(To(302, "/next"));
        const auto result = Send({.url = fresh.Url("/"), .flags = row.flags});
        EXPECT_EQ(result.code, ResultCode::kSuccess);
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.body, row.status == 302 ? "moved" : "");
        EXPECT_EQ(fresh.Requests().size(), row.requests);
    }
}

TEST_F(HttpFollow, TurnsAPostIntoAGetOrSendsItAgain) {
    static const struct {
        int status;
        const char* method;
        const char* length;
        const char* body;
    } rows[] = {{301, "GET", "0", ""},
                {302, "GET", "0", ""},
                {303, "GET", "0", ""},
                {307, "POST", "7", "{\"a\":1}"},
                {308, "POST", "7", "{\"a\":1}"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.status);
        ScriptedServer fresh;
        fresh.Enqueue(To(row.status, "/next"));
        const auto result =
            Send({.method = "POST", .url = fresh.Url("/"), .headers = {{"X", "y"}}, .body = "{\"a\":1}"});
        EXPECT_EQ(result.code, ResultCode::kSuccess);
        EXPECT_EQ(result.status, 200u);
        ASSERT_EQ(fresh.Requests().size(), 2u);
        EXPECT_EQ(fresh.Requests().at(1).raw,
                  std::string(row.method) +
                      " /next HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(fresh.Port()) +
                      "\r\nUser-Agent: ABClient_HInternet\r\nX: y\r\nContent-Length: " + row.length +
                      "\r\n\r\n" + row.body);
    }
}

TEST_F(HttpFollow, ABodyThatCanNotBeReadAgainLeavesTheRedirectAsTheAnswer) {
    struct OnceOnly final : quillmarkclient_linux::HttpBody {
        quillmarkclient_linux::HttpBodyRead Read(void* buffer, std::uint32_t capacity,
                                                 std::uint32_t* count) override {
            return inner.Read(buffer, capacity, count);
        }
        std::uint32_t GetSize() const override { return inner.GetSize(); }
        quillmarkclient_linux::HttpMemoryBody inner{"abc"};
    };
    server.Enqueue(To(307, "/next"));
    const auto result =
        Send({.method = "POST", .url = server.Url("/"), .source = std::make_shared<OnceOnly>()});
    EXPECT_EQ(result.code, ResultCode::kSuccess);
    EXPECT_EQ(result.status, 307u);
    EXPECT_EQ(result.body, "moved");
}

TEST_F(HttpFollow, TenRedirectsAreFollowedAndElevenFail) {
    for (const auto& [redirects, code] :
         {std::pair{10, ResultCode::kSuccess}, std::pair{11, ResultCode::kNetwork}}) {
        SCOPED_TRACE(redirects);
        ScriptedServer fresh;
        for (int i = 0; i < redirects; ++i)
            fresh.Enqueue(To(302, "/" + std::to_string(i)));
        const auto result = Send({.url = fresh.Url("/")});
        EXPECT_EQ(result.code, code);
        EXPECT_EQ(result.status, IsSuccess(code) ? 200u : test::kUntouched);
        EXPECT_EQ(fresh.Requests().size(), 11u);
    }
}

TEST_F(HttpFollow, ACircleEnds) {
    server.SetDefault([](const auto&) { return To(302, "/"); });
    ExpectFailure(Send({.url = server.Url("/")}), ResultCode::kNetwork);
    EXPECT_EQ(server.Requests().size(), 11u);
}

TEST_F(HttpFollow, ARedirectThatMustNotBeFollowedIsTheAnswer) {
    for (const char* location : {"ftp://127.0.0.1/", "file:///etc/passwd", "http://u:p@127.0.0.1/", ""}) {
        SCOPED_TRACE(location);
        server.Enqueue(To(302, location));
        const auto result = Send({.url = server.Url("/")});
        EXPECT_EQ(result.code, ResultCode::kSuccess);
        EXPECT_EQ(result.status, 302u);
        EXPECT_EQ(result.body, "moved");
    }
}

TEST_F(HttpFollow, NeverFromHttpsToHttp) {
    const test::OwnAuthority trusted;
    const auto certificate = trusted.Authority().issue();
    ScriptedServer secure({.certificatePem = certificate.certificatePem, .keyPem = certificate.keyPem});
    secure.Enqueue(To(302, server.Url("/")));
    const auto result = Send({.url = secure.Url("/")});
    EXPECT_EQ(result.code, ResultCode::kSuccess);
    EXPECT_EQ(result.status, 302u);
    EXPECT_EQ(result.body, "moved");
    EXPECT_EQ(server.ConnectionCount(), 0);
}

TEST_F(HttpFollow, FromHttpToHttps) {
    const test::OwnAuthority trusted;
    const auto certificate = trusted.Authority().issue();
    ScriptedServer secure({.certificatePem = certificate.certificatePem, .keyPem = certificate.keyPem});
    server.Enqueue(To(302, secure.Url("/")));
    EXPECT_EQ(Send({.url = server.Url("/")}).status, 200u);
    EXPECT_EQ(secure.Requests().size(), 1u);
}

TEST_F(HttpFollow, CredentialsStayWithTheirOrigin) {
    ScriptedServer other;
    const std::string sameOtherName = "http://localhost:" + std::to_string(server.Port()) + "/other-name";
    const struct {
        const char* name;
        std::string location;
        ScriptedServer* target;
        bool carriesCredentials;
    } rows[] = {
        {"the same origin", server.Url("/same"), &server, true},
        {"another port", other.Url("/"), &other, false},
        {"another name of the host", sameOtherName, &server, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        server.Enqueue(To(307, row.location));
        const auto result =
            Send({.url = server.Url("/"),
                  .headers = {{"Authorization", "Bearer secret"}, {"cookie", "a=b"}, {"X", "y"}}});
        EXPECT_EQ(result.status, 200u);
        const auto last = row.target->Requests().back();
        EXPECT_EQ(last.HasHeader("Authorization"), row.carriesCredentials);
        EXPECT_EQ(last.HasHeader("Cookie"), row.carriesCredentials);
        EXPECT_EQ(last.Header("X"), "y");
    }
}

TEST_F(HttpFollow, CredentialsDoNotComeBack) {
    ScriptedServer other;
    server.Enqueue(To(302, other.Url("/")));
    other.Enqueue(To(302, server.Url("/back")));
    EXPECT_EQ(Send({.url = server.Url("/"), .headers = {{"Authorization", "Bearer secret"}}}).status, 200u);
    EXPECT_EQ(server.Requests().back().target, "/back");
    EXPECT_FALSE(server.Requests().back().HasHeader("Authorization"));
}

TEST_F(HttpFollow, TheBodyOfARedirectIsNotWaitedFor) {
    server.Enqueue(Answer::Raw("HTTP/1.1 302 Found\r\nLocation: /next\r\nContent-Length: 100\r\n\r\n",
                               Answer::Ending::kHang));
    EXPECT_EQ(Send({.url = server.Url("/")}).status, 200u);
}

}  // namespace
