// What the transport over WinHTTP does beside the rows that every platform passes.
#include <gtest/gtest.h>

#include <string>

#include "tests/platform/windows/HttpExchanges.h"
#include "tests/support/OwnAuthority.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/windows/Wine.h"
#include "tools/sandbox/TestCertificates.h"

namespace {

using namespace quillmarkclient_windows;
using sandbox::CertificateFlaw;
using test::Answer;
using test::Send;

constexpr ResultCode kInternalError{0x80000001};
constexpr ResultCode kInvalidParameters{0x80000002};
constexpr ResultCode kNetwork{0x81000006};

// For the receipt alone.
constexpr HttpTimeouts Within(int milliseconds) {
    return {30000, 30000, 30000, milliseconds};
}

TEST(WindowsHttp, AStalledBodyIsGivenUp) {
    test::ScriptedServer server;
    server.Enqueue(Answer::Raw("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", Answer::Ending::kHang));
    // Long enough for the head, on a busy machine too.
    const auto outcome = Send({.url = server.Url("/"), .timeouts = Within(3000)});
    ExpectFailure(outcome, kNetwork);
    EXPECT_EQ(outcome.status, 200u) << "it was there by then";
}

TEST(WindowsHttp, ASilentServerIsGivenUp) {
    if (test::IsWine())
        GTEST_SKIP() << "wine's time-out does not act while the head is awaited";
    test::ScriptedServer server;
    server.Enqueue(Answer::Never());
    ExpectFailure(Send({.url = server.Url("/"), .timeouts = Within(300)}), kNetwork);
}

TEST(WindowsHttp, AnAnswerAboveTheBoundIsANetworkFailure) {
    test::ScriptedServer server;
    server.SetDefault([](const auto&) { return Answer::Of(200, {}, std::string(1000, 'x')); });
    HttpBounds bounds;
    bounds.bodyBytes = 1000;
    EXPECT_EQ(Send({.url = server.Url("/"), .bounds = bounds}).code, ResultCode::kSuccess);
    bounds.bodyBytes = 999;
    ExpectFailure(Send({.url = server.Url("/"), .bounds = bounds}), kNetwork);
}

// Blocks of the exchange; the one of that number, counted from 1, isn't there.
int blocksAsked = 0;
int blockMissing = 0;
void* AllocWithout(std::size_t size) {
    return ++blocksAsked == blockMissing ? nullptr : quillmarkclient_common::Alloc(size);
}

TEST(WindowsHttp, ABlockThatIsMissingFailsTheExchangeWhole) {
    test::ScriptedServer server;
    HttpBounds bounds;
    bounds.alloc = AllocWithout;
    for (blockMissing = 1; blockMissing <= 2; ++blockMissing) {
        blocksAsked = 0;
        SCOPED_TRACE(blockMissing);
        ExpectFailure(Send({.url = server.Url("/"), .bounds = bounds}), kNetwork);
        EXPECT_EQ(blocksAsked, blockMissing);
    }
    blocksAsked = 0;
    EXPECT_EQ(Send({.url = server.Url("/"), .bounds = bounds}).code, ResultCode::kSuccess);
    EXPECT_EQ(blocksAsked, 2) << "the body and the head";
}

TEST(WindowsHttp, WithoutAPlaceForTheBodyTheStatusIsAll) {
    test::ScriptedServer server;
    server.Enqueue(Answer::Of(418, {}, "not looked at"));
    std::uint32_t status = 0;
    char untouched = 0;
    char* head = &untouched;
    EXPECT_EQ(
        HttpRequest("GET", server.Url("/").c_str(), nullptr, 0, "", 0, &status, nullptr, &head, nullptr), 0u);
    EXPECT_EQ(status, 418u);
    EXPECT_EQ(head, nullptr);
}

TEST(WindowsHttp, TextThatIsNotUtf8IsAnInternalErrorBeforeAnyTraffic) {
    test::ScriptedServer server;
    EXPECT_EQ(Send({.url = server.Url("/\xFF")}).code, kInternalError);
    EXPECT_EQ(Send({.url = server.Url("/"), .headers = {{"X", "\xC3"}}}).code, kInternalError);
    EXPECT_EQ(Send({.url = server.Url("/")}).code, ResultCode::kSuccess);
    EXPECT_EQ(server.ConnectionCount(), 1);
}

TEST(WindowsHttp, AControlByteInAUrlIsInvalidBeforeAnyTraffic) {
    test::ScriptedServer server;
    for (const char* path : {"/a\r\nX: b", "/a\nb", "/a\tb", "/\x7F"})
        EXPECT_EQ(Send({.url = server.Url(path)}).code, kInvalidParameters) << ::testing::PrintToString(path);
    EXPECT_EQ(Send({.url = server.Url("/")}).code, ResultCode::kSuccess);
    EXPECT_EQ(server.ConnectionCount(), 1);
}

// One process reads the store once, so each row is a test of its own.
class WindowsTls : public ::testing::TestWithParam<CertificateFlaw> {
protected:
    static test::ServerOptions Showing(const sandbox::ServerCertificate& certificate) {
        return {.certificatePem = certificate.certificatePem, .keyPem = certificate.keyPem};
    }
};

TEST_F(WindowsTls, ATrustedServerIsAnswered) {
    const test::OwnAuthority trusted;
    test::ScriptedServer server(Showing(trusted.Authority().issue()));
    server.Enqueue(Answer::Of(200, {}, "over TLS"));
    const auto outcome = Send({.method = "POST", .url = server.Url("/"), .body = "secret"});
    EXPECT_EQ(outcome.code, ResultCode::kSuccess);
    EXPECT_EQ(outcome.body, "over TLS");
    ASSERT_EQ(server.Requests().size(), 1u);
    EXPECT_EQ(server.Requests()[0].body, "secret");
}

TEST_F(WindowsTls, AnAuthorityThatNobodyTrustsIsANetworkFailure) {
    const sandbox::TestAuthority stranger;
    test::ScriptedServer server(Showing(stranger.issue()));
    const auto outcome = Send({.method = "POST", .url = server.Url("/"), .body = "secret"});
    EXPECT_EQ(outcome.code, kNetwork);
    EXPECT_TRUE(server.Requests().empty()) << "not a byte of the request went out";
}

TEST_P(WindowsTls, AFlawedCertificateOfATrustedAuthorityIsANetworkFailure) {
    const test::OwnAuthority trusted;
    test::ScriptedServer good(Showing(trusted.Authority().issue()));
    EXPECT_EQ(Send({.url = good.Url("/")}).code, ResultCode::kSuccess) << "the authority is trusted";
    test::ScriptedServer server(Showing(trusted.Authority().issue(GetParam())));
    EXPECT_EQ(Send({.url = server.Url("/")}).code, kNetwork);
    EXPECT_TRUE(server.Requests().empty());
}

std::string NameOf(const ::testing::TestParamInfo<CertificateFlaw>& row) {
    static constexpr const char* kNames[] = {"none", "expired", "notYetValid", "selfSigned", "wrongHost"};
    return kNames[static_cast<int>(row.param)];
}
INSTANTIATE_TEST_SUITE_P(Flaws, WindowsTls,
                         ::testing::Values(CertificateFlaw::expired, CertificateFlaw::notYetValid,
                                           CertificateFlaw::selfSigned, CertificateFlaw::wrongHost),
                         NameOf);

}  // namespace
