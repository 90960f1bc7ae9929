// The proxy that the environment names.
#include <gtest/gtest.h>

#include "tests/platform/linux/HttpExchanges.h"
#include "tests/support/OwnAuthority.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/ScriptedServer.h"

namespace {

using test::Answer;
using test::Get;
using test::ScopedVariable;
using test::ScriptedServer;

class HttpProxy : public testing::Test {
protected:
    ScriptedServer server;
    ScriptedServer proxy;

private:
    // What the machine's own environment says must not reach the tests.
    ScopedVariable all_{"all_proxy", nullptr};
    ScopedVariable allUpper_{"ALL_PROXY", nullptr};
    ScopedVariable http_{"http_proxy", nullptr};
    ScopedVariable https_{"https_proxy", nullptr};
    ScopedVariable httpsUpper_{"HTTPS_PROXY", nullptr};
    ScopedVariable no_{"no_proxy", nullptr};
    ScopedVariable noUpper_{"NO_PROXY", nullptr};
};

TEST_F(HttpProxy, PlainRequestsGoToItWhole) {
    const ScopedVariable variable("http_proxy", proxy.Url().c_str());
    proxy.Enqueue(Answer::Of(200, {}, "from the proxy"));
    const auto result = Get("http://service.example.test/a?b");
    EXPECT_EQ(result.body, "from the proxy");
    EXPECT_EQ(proxy.Requests().at(0).raw,
              "GET http://service.example.test/a?b HTTP/1.1\r\nHost: service.example.test\r\n"
              "User-Agent: ABClient_HInternet\r\nContent-Length: 0\r\n\r\n");
}

TEST_F(HttpProxy, NoProxyGoesStraight) {
    const ScopedVariable variable("http_proxy", proxy.Url().c_str());
    const ScopedVariable except("no_proxy", "127.0.0.1");
    EXPECT_EQ(Get(server.Url("/")).code, ResultCode::kSuccess);
    EXPECT_EQ(server.Requests().size(), 1u);
    EXPECT_EQ(proxy.ConnectionCount(), 0);
}

TEST_F(HttpProxy, AnotherSchemesProxyIsNotAsked) {
    const ScopedVariable variable("https_proxy", proxy.Url().c_str());
    EXPECT_EQ(Get(server.Url("/")).code, ResultCode::kSuccess);
    EXPECT_EQ(proxy.ConnectionCount(), 0);
}

TEST_F(HttpProxy, SecureRequestsGoThroughATunnel) {
    const test::OwnAuthority trusted;
    const ScopedVariable none("no_proxy", nullptr);  // the authority would keep the proxy out
    const auto certificate = trusted.Authority().issue();
    ScriptedServer secure({.certificatePem = certificate.certificatePem, .keyPem = certificate.keyPem});
    secure.Enqueue(Answer::Of(200, {{"A", "b"}}, "secret"));
    const ScopedVariable variable("https_proxy", proxy.Url().c_str());
    proxy.Enqueue(Answer::Tunnel());

    const auto result = test::Send(
        {.method = "POST", .url = secure.Url("/"), .headers = {{"Authorization", "Bearer x"}}, .body = "{}"});
    EXPECT_EQ(result.body, "secret");
    EXPECT_EQ(result.head, "HTTP/1.1 200 Scripted\r\nA: b\r\nContent-Length: 6\r\n\r\n");  // not the proxy's
    const std::string host = "localhost:" + std::to_string(secure.Port());
    EXPECT_EQ(proxy.Requests().at(0).raw, "CONNECT " + host + " HTTP/1.1\r\nHost: " + host +
                                              "\r\nUser-Agent: ABClient_HInternet\r\n\r\n");
    EXPECT_EQ(secure.Requests().at(0).Header("Authorization"), "Bearer x");
}

TEST_F(HttpProxy, AProxyThatRefusesIsANetworkFailure) {
    const ScopedVariable variable("https_proxy", proxy.Url().c_str());
    proxy.Enqueue(Answer::Of(403, {}, "no"));
    ExpectFailure(Get("https://service.example.test/"), ResultCode::kNetwork);
    ASSERT_EQ(proxy.Requests().size(), 1u);
    EXPECT_EQ(proxy.Requests().at(0).method, "CONNECT");
    EXPECT_EQ(proxy.Requests().at(0).target, "service.example.test:443");
}

TEST_F(HttpProxy, AProxyThatIsAwayIsANetworkFailure) {
    std::string gone;
    {
        const ScriptedServer former;
        gone = former.Url();
    }
    const ScopedVariable variable("http_proxy", gone.c_str());
    ExpectFailure(Get(server.Url("/")), ResultCode::kNetwork);
    EXPECT_EQ(server.ConnectionCount(), 0);
}

}  // namespace
