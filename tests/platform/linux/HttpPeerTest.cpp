// The curl command against the same server, as a second opinion: what it reads there, our exchange reads too.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/platform/linux/HttpExchanges.h"
#include "tests/support/Command.h"
#include "tests/support/OwnAuthority.h"
#include "tests/support/ScriptedServer.h"

namespace {

using test::Answer;
using test::ScriptedServer;
using test::WireRequest;

// Status, head and body in one text, without the heads of interim answers and redirects.
std::string ByCurl(const std::string& options, const std::string& url) {
    const test::TemporaryFolder folder;
    const std::string body = folder.PathOf("body");
    const auto status = test::Output("curl --silent --http1.1 --max-time 20 --noproxy '*' -o '" + body +
                                     "' -w '%{http_code}' " + options + " '" + url + "'");
    return status + " " + test::ReadWhole(body);
}

std::string ByUs(test::Sending sending) {
    const auto result = test::Send(sending);
    EXPECT_EQ(result.code, ResultCode::kSuccess);
    return std::to_string(result.status) + " " + result.body.value_or("(null)");
}

TEST(HttpPeer, ReadsWhatCurlReads) {
    static const struct {
        const char* name;
        const char* bytes;
    } rows[] = {
        {"plain", "HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nabc"},
        {"chunked with trailers",
         "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n1;x=y\r\nd\r\n0\r\nT: u\r\n\r\n"},
        {"interim first",
         "HTTP/1.1 103 Early Hints\r\nA: b\r\n\r\nHTTP/1.1 404 Not Found\r\n\r\nno such thing"},
        {"ended by the connection", "HTTP/1.0 500 Oh\r\n\r\nbroken"},
        {"folded header", "HTTP/1.1 200 OK\r\nA: b\r\n c\r\nContent-Length: 1\r\n\r\nx"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedServer server;
        server.SetDefault([&](const auto&) { return Answer::Raw(row.bytes); });
        EXPECT_EQ(ByUs({.url = server.Url("/")}), ByCurl("", server.Url("/")));
    }
}

TEST(HttpPeer, FollowsAsCurlFollows) {
    for (const int status : {301, 302, 303, 307, 308}) {
        SCOPED_TRACE(status);
        ScriptedServer server;
        server.SetDefault([&](const WireRequest& request) {
            return request.target == "/a/start" ? Answer::Of(status, {{"Location", "../b/next?x=y#part"}})
                                                : Answer::Of(200, {}, request.method + " " + request.body);
        });
        EXPECT_EQ(ByUs({.method = "POST", .url = server.Url("/a/start"), .body = "text"}),
                  ByCurl("--location --data text", server.Url("/a/start")));
        const auto requests = server.Requests();
        ASSERT_EQ(requests.size(), 4u);
        EXPECT_EQ(requests[1].method, requests[3].method);
        EXPECT_EQ(requests[1].target, requests[3].target);
        EXPECT_EQ(requests[1].body, requests[3].body);
    }
}

// Told to send our headers and none of its own, curl sends the same bytes.
TEST(HttpPeer, SendsWhatCurlSends) {
    ScriptedServer server;
    ByUs({.method = "POST",
          .url = server.Url("/path?query"),
          .headers = {{"Accept", "application/json"}, {"Authorization", ""}, {"Content-Type", "text/plain"}},
          .body = "some text"});
    ByCurl(
        "-A ABClient_HInternet -H 'Accept: application/json' -H 'Authorization;' -H 'Content-Type: "
        "text/plain' "
        "--data 'some text'",
        server.Url("/path?query"));
    const auto requests = server.Requests();
    ASSERT_EQ(requests.size(), 2u);
    const auto sorted = [](WireRequest request) {
        std::sort(request.headers.begin(), request.headers.end());
        return request.headers;
    };
    EXPECT_EQ(sorted(requests[0]), sorted(requests[1]));
    EXPECT_EQ(requests[0].body, requests[1].body);
    EXPECT_EQ(requests[0].target, requests[1].target);
}

TEST(HttpPeer, TrustsWhomCurlTrusts) {
    static const struct {
        const char* name;
        sandbox::CertificateFlaw flaw;
        bool trusted;
    } rows[] = {
        {"a good certificate", sandbox::CertificateFlaw::none, true},
        {"one that has expired", sandbox::CertificateFlaw::expired, false},
        {"one that vouches for itself", sandbox::CertificateFlaw::selfSigned, false},
        {"one of another host", sandbox::CertificateFlaw::wrongHost, false},
    };
    const test::OwnAuthority trusted;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto certificate = trusted.Authority().issue(row.flaw);
        ScriptedServer server({.certificatePem = certificate.certificatePem, .keyPem = certificate.keyPem});
        const std::string probe = "if curl --silent --noproxy '*' --max-time 20 --cacert '" +
                                  trusted.BundlePath() + "' '" + server.Url("/") +
                                  "' >/dev/null 2>&1; then echo yes; else echo no; fi";
        EXPECT_EQ(test::Output(probe), row.trusted ? "yes\n" : "no\n");
        EXPECT_EQ(IsSuccess(test::Get(server.Url("/")).code), row.trusted);
    }
}

}  // namespace
