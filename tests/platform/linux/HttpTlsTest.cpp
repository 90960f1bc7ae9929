// Whom an exchange trusts.
#include <curl/curl.h>
#include <gtest/gtest.h>
#include <openssl/conf.h>
#include <openssl/ssl.h>
#include <sys/stat.h>

#include "platform/linux/TrustStore.h"
#include "tests/platform/linux/HttpExchanges.h"
#include "tests/support/OwnAuthority.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/ScriptedServer.h"

namespace {

using quillmarkclient_linux::TrustStore;
using sandbox::CertificateFlaw;
using test::Get;
using test::ScriptedServer;

test::ServerOptions Tls(const sandbox::ServerCertificate& certificate, int minVersion = 0,
                        int maxVersion = 0) {
    return {.certificatePem = certificate.certificatePem,
            .keyPem = certificate.keyPem,
            .minTlsVersion = minVersion,
            .maxTlsVersion = maxVersion};
}

// As long as one lives, the process's OpenSSL speaks down to TLS 1.0: the floor of the machine's own
// configuration would refuse an old server by itself.
class LoweredTlsFloor {
public:
    LoweredTlsFloor() {
        test::WriteWhole(folder_.PathOf("openssl.cnf"),
                         "openssl_conf = start\n[start]\nssl_conf = ssl\n[ssl]\nsystem_default = floor\n"
                         "[floor]\nMinProtocol = TLSv1\nCipherString = DEFAULT:@SECLEVEL=0\n");
        EXPECT_EQ(CONF_modules_load_file(folder_.PathOf("openssl.cnf").c_str(), nullptr, 0), 1);
    }
    ~LoweredTlsFloor() {
        CONF_modules_load_file(nullptr, nullptr,
                               CONF_MFLAGS_DEFAULT_SECTION | CONF_MFLAGS_IGNORE_MISSING_FILE);
    }
    LoweredTlsFloor(const LoweredTlsFloor&) = delete;
    LoweredTlsFloor& operator=(const LoweredTlsFloor&) = delete;

private:
    test::TemporaryFolder folder_;
};

// What libcurl alone, told to begin with TLS 1.0, says of the URL.
CURLcode ByCurlFromTls10(const std::string& url, const std::string& bundle) {
    CURL* easy = curl_easy_init();
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROXY, "");
    curl_easy_setopt(easy, CURLOPT_CAINFO, bundle.c_str());
    curl_easy_setopt(easy, CURLOPT_SSLVERSION, long{CURL_SSLVERSION_TLSv1_0});
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, 20000L);
    const CURLcode code = curl_easy_perform(easy);
    curl_easy_cleanup(easy);
    return code;
}

class HttpTls : public testing::Test {
protected:
    test::OwnAuthority trusted;
};

TEST_F(HttpTls, VerifiesThePeer) {
    static const struct {
        const char* name;
        CertificateFlaw flaw;
        ResultCode code;
    } rows[] = {
        {"a good certificate", CertificateFlaw::none, ResultCode::kSuccess},
        {"one that has expired", CertificateFlaw::expired, ResultCode::kNetwork},
        {"one that is not valid yet", CertificateFlaw::notYetValid, ResultCode::kNetwork},
        {"one that vouches for itself", CertificateFlaw::selfSigned, ResultCode::kNetwork},
        {"one of another host", CertificateFlaw::wrongHost, ResultCode::kNetwork},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedServer server(Tls(trusted.Authority().issue(row.flaw)));
        const auto result = Get(server.Url("/"));
        EXPECT_EQ(result.code, row.code);
        EXPECT_EQ(server.Requests().size(),
                  IsSuccess(row.code) ? 1u : 0u);  // nothing is sent to a wrong peer
    }
}

TEST_F(HttpTls, VerifiesAddressesToo) {
    ScriptedServer server(Tls(trusted.Authority().issue()));
    EXPECT_EQ(Get("https://127.0.0.1:" + std::to_string(server.Port()) + "/").code, ResultCode::kSuccess);
}

TEST_F(HttpTls, AnotherAuthorityIsNotTrusted) {
    const sandbox::TestAuthority stranger;
    ScriptedServer server(Tls(stranger.issue()));
    ExpectFailure(Get(server.Url("/")), ResultCode::kNetwork);
}

TEST_F(HttpTls, SpeaksTls12OrNewer) {
    static const struct {
        const char* name;
        int min;
        int max;
        ResultCode code;
    } rows[] = {
        {"1.0 alone", TLS1_VERSION, TLS1_VERSION, ResultCode::kNetwork},
        {"1.1 alone", TLS1_1_VERSION, TLS1_1_VERSION, ResultCode::kNetwork},
        {"1.2 alone", TLS1_2_VERSION, TLS1_2_VERSION, ResultCode::kSuccess},
        {"1.3 alone", TLS1_3_VERSION, TLS1_3_VERSION, ResultCode::kSuccess},
        {"1.0 to 1.2", TLS1_VERSION, TLS1_2_VERSION, ResultCode::kSuccess},
    };
    const LoweredTlsFloor lowered;
    const auto certificate = trusted.Authority().issue();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedServer server(Tls(certificate, row.min, row.max));
        EXPECT_EQ(Get(server.Url("/")).code, row.code);
        EXPECT_EQ(ByCurlFromTls10(server.Url("/"), trusted.BundlePath()), CURLE_OK)
            << "a client without the floor is served";
    }
}

TEST_F(HttpTls, APlainServerBehindHttpsFails) {
    ScriptedServer plain;
    plain.SetDefault([](const auto&) { return test::Answer::Of(200); });
    // The greeting holds no empty line, so the server waits on; its end is what the client waits for.
    ExpectFailure(test::Send({.url = "https://127.0.0.1:" + std::to_string(plain.Port()) + "/",
                              .timeouts = {20000, 50, 20000, 20000, 60000}}),
                  ResultCode::kNetwork);
}

TEST_F(HttpTls, ACutInsideTheBodyFails) {
    ScriptedServer server(Tls(trusted.Authority().issue()));
    server.Enqueue(test::Answer::Raw("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"));
    ExpectFailure(Get(server.Url("/")), ResultCode::kNetwork);
}

// Without a length only TLS can tell the end of an answer from a cut connection.
TEST_F(HttpTls, AnAnswerThatEndsWithTheConnectionNeedsAnOrderlyClose) {
    ScriptedServer server(Tls(trusted.Authority().issue()));
    server.Enqueue(test::Answer::Raw("HTTP/1.1 200 OK\r\n\r\nwhole", test::Answer::Ending::kClose));
    EXPECT_EQ(Get(server.Url("/")).body, "whole");
    server.Enqueue(test::Answer::Raw("HTTP/1.1 200 OK\r\n\r\ncut", test::Answer::Ending::kReset));
    ExpectFailure(Get(server.Url("/")), ResultCode::kNetwork);
}

TEST_F(HttpTls, TheProcessLoadsItsStoreOnceForManyExchanges) {
    ScriptedServer server(Tls(trusted.Authority().issue()));
    EXPECT_EQ(Get(server.Url("/")).code, ResultCode::kSuccess);
    const auto loads = TrustStore::OfProcess().GetLoadCount();
    EXPECT_GE(loads, 1u);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(Get(server.Url("/")).code, ResultCode::kSuccess);
    EXPECT_EQ(TrustStore::OfProcess().GetLoadCount(), loads);
}

TEST_F(HttpTls, APlainExchangeLoadsNoStore) {
    const auto loads = TrustStore::OfProcess().GetLoadCount();
    ScriptedServer plain;
    EXPECT_EQ(Get(plain.Url("/")).code, ResultCode::kSuccess);
    EXPECT_EQ(TrustStore::OfProcess().GetLoadCount(), loads);
}

TEST_F(HttpTls, AChangedBundleDecidesAtOnce) {
    ScriptedServer server(Tls(trusted.Authority().issue()));
    const auto stranger = trusted.Authority().issue(CertificateFlaw::selfSigned);
    ScriptedServer strangers(Tls(stranger));
    EXPECT_EQ(Get(server.Url("/")).code, ResultCode::kSuccess);
    EXPECT_EQ(Get(strangers.Url("/")).code, ResultCode::kNetwork);

    test::WriteWhole(trusted.BundlePath(), "another authority:\n" + stranger.certificatePem);
    EXPECT_EQ(Get(server.Url("/")).code, ResultCode::kNetwork);
    EXPECT_EQ(Get(strangers.Url("/")).code, ResultCode::kSuccess);

    test::WriteWhole(trusted.BundlePath(), trusted.Authority().certificatePem() + stranger.certificatePem);
    EXPECT_EQ(Get(server.Url("/")).code, ResultCode::kSuccess);
    EXPECT_EQ(Get(strangers.Url("/")).code, ResultCode::kSuccess);
}

TEST_F(HttpTls, ABundleThatCanNotBeReadTrustsNobody) {
    const test::TemporaryFolder folder;
    const std::string fifo = folder.PathOf("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    test::WriteWhole(folder.PathOf("rubbish"),
                     "-----BEGIN CERTIFICATE-----\nrubbish\n-----END CERTIFICATE-----\n");
    test::WriteWhole(folder.PathOf("empty"), "");
    ScriptedServer server(Tls(trusted.Authority().issue()));
    const struct {
        const char* name;
        std::string path;
    } rows[] = {
        {"missing", folder.PathOf("missing")},
        {"a FIFO", fifo},
        {"a folder", folder.Path().string()},
        {"a device", "/dev/zero"},
        {"rubbish", folder.PathOf("rubbish")},
        {"empty", folder.PathOf("empty")},
        {"no name", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const test::ScopedVariable variable("SSL_CERT_FILE", row.path.c_str());
        ExpectFailure(Get(server.Url("/")), ResultCode::kNetwork);
    }
    EXPECT_EQ(Get(server.Url("/")).code, ResultCode::kSuccess);
}

}  // namespace
