#include "tools/sandbox/SandboxServer.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "tests/support/Command.h"
#include "tests/support/SandboxFixture.h"
#include "tests/tools/sandbox/SandboxClient.h"

namespace {

using test::RunCommand;
using test_support::clientHeaders;
using test_support::exchange;
using test_support::Scheme;

constexpr const char* kUsers = "/api/registry/v2/users";

// A connection on which a test writes its own bytes.
class RawConnection {
public:
    explicit RawConnection(const std::string& baseUrl) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port =
            htons(static_cast<std::uint16_t>(std::stoi(baseUrl.substr(baseUrl.rfind(':') + 1))));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connected_ = connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    ~RawConnection() { close(socket_); }
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;

    [[nodiscard]] bool connected() const { return connected_; }
    void send(const std::string& bytes) const {
        EXPECT_EQ(::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    void endSending() const { shutdown(socket_, SHUT_WR); }
    // All bytes until the server ends the connection.
    [[nodiscard]] std::string readAll() const {
        std::string bytes;
        char piece[4096];
        for (ssize_t count = 0; (count = recv(socket_, piece, sizeof piece, 0)) > 0;)
            bytes.append(piece, static_cast<std::size_t>(count));
        return bytes;
    }

private:
    int socket_;
    bool connected_ = false;
};

TEST(SandboxServer, CurlTrustsTheAuthority) {
    test_support::SandboxFixture fixture(Scheme::https);
    const auto trusted = RunCommand("curl -sS --noproxy '*' --cacert " + fixture.caFile() +
                                    " -o /dev/null -w '%{http_code}' -H x-vqm-custom:vqm-client " +
                                    fixture.baseUrl() + kUsers);
    EXPECT_EQ(trusted.exitCode, 0) << trusted.output;
    EXPECT_EQ(trusted.output, "401");
    const auto byVariable =
        RunCommand("env -u CURL_CA_BUNDLE -u SSL_CERT_DIR SSL_CERT_FILE=" + fixture.caFile() +
                   " curl -sS --noproxy '*' -o /dev/null -w '%{http_code}' " + fixture.baseUrl() + kUsers);
    EXPECT_EQ(byVariable.output, "400") << "through SSL_CERT_FILE";
    const test_support::SandboxFixture other(Scheme::https);
    const auto stranger =
        RunCommand("curl -sS --noproxy '*' --cacert " + other.caFile() + " " + fixture.baseUrl() + kUsers);
    EXPECT_EQ(stranger.exitCode, 60) << "with another's authority: " << stranger.output;
}

TEST(SandboxServer, FlawedCertificatesAreRefused) {
    static const struct {
        const char* name;
        sandbox::CertificateFlaw flaw;
        int exitCode;
        const char* says;
    } rows[] = {
        {"none", sandbox::CertificateFlaw::none, 0, ""},
        {"expired", sandbox::CertificateFlaw::expired, 60, "certificate has expired"},
        {"not yet valid", sandbox::CertificateFlaw::notYetValid, 60, "certificate is not yet valid"},
        {"self-signed", sandbox::CertificateFlaw::selfSigned, 60, "self-signed certificate"},
        {"for another host", sandbox::CertificateFlaw::wrongHost, 60,
         "no alternative certificate subject name matches"},
    };
    for (const auto& row : rows) {
        test_support::SandboxFixture fixture(Scheme::https, row.flaw);
        const auto said = RunCommand("curl -sS --noproxy '*' -o /dev/null --cacert " + fixture.caFile() +
                                     " " + fixture.baseUrl() + kUsers);
        EXPECT_EQ(said.exitCode, row.exitCode) << row.name << ": " << said.output;
        EXPECT_NE(said.output.find(row.says), said.output.npos) << row.name << ": " << said.output;
    }
}

TEST(SandboxServer, OldTlsIsRefused) {
    test_support::SandboxFixture fixture(Scheme::https);
    const auto said =
        RunCommand("curl -sS --noproxy '*' --tlsv1.0 --tls-max 1.1 --ciphers ALL:@SECLEVEL=0 --cacert " +
                   fixture.caFile() + " " + fixture.baseUrl() + kUsers);
    EXPECT_EQ(said.exitCode, 35) << said.output;
    EXPECT_NE(said.output.find("alert protocol version"), said.output.npos)
        << "it is the server that refuses: " << said.output;
}

TEST(SandboxServer, RequestWithoutLengthHasNoBody) {
    test_support::SandboxFixture fixture;
    const std::string token = test_support::signIn(fixture.baseUrl(), fixture.account("plain"));
    const RawConnection connection(fixture.baseUrl());
    connection.send(
        "POST /api/customer/registry/v2/tokens/context HTTP/1.1\r\nHost: x\r\nx-vqm-custom: vqm-client\r\n"
        "Authorization: Bearer " +
        token + "\r\n\r\n");
    EXPECT_TRUE(connection.readAll().starts_with("HTTP/1.1 200 ")) << "although the connection stays open";
}

TEST(SandboxServer, WhatIsNoRequestIsRefused) {
    static const struct {
        const char* name;
        const char* bytes;
        const char* answer;
    } rows[] = {
        {"no request line", "hello\r\n\r\n", "HTTP/1.1 400 "},
        {"an unknown method", "BREW / HTTP/1.1\r\n\r\n", "HTTP/1.1 400 "},
        {"a body that is cut", "POST /api/x HTTP/1.1\r\nContent-Length: 10\r\n\r\nabc", "HTTP/1.1 400 "},
    };
    test_support::SandboxFixture fixture;
    for (const auto& row : rows) {
        const RawConnection connection(fixture.baseUrl());
        connection.send(row.bytes);
        connection.endSending();
        EXPECT_TRUE(connection.readAll().starts_with(row.answer)) << row.name;
    }
    EXPECT_EQ(exchange(fixture.baseUrl(), "GET", kUsers, clientHeaders()).status, 401) << "and it serves on";
}

TEST(SandboxServer, StopDoesNotWaitForIdleConnections) {
    test_support::SandboxFixture plain;
    test_support::SandboxFixture tls(Scheme::https);
    const RawConnection silent(plain.baseUrl());
    const RawConnection silentTls(tls.baseUrl());
    const RawConnection halfway(plain.baseUrl());
    halfway.send("POST /api/x HTTP/1.1\r\nContent-Length: 10\r\n\r\nabc");
    ASSERT_TRUE(silent.connected() && silentTls.connected() && halfway.connected());
    const auto begin = std::chrono::steady_clock::now();
    plain.stop();
    tls.stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10))
        << "an idle connection is given up after 30 s by itself";
    EXPECT_FALSE(RawConnection(plain.baseUrl()).connected()) << "and nobody listens any more";
}

TEST(SandboxServer, FixedPortIsTakenOnce) {
    sandbox::AccountService service(sandbox::readSeedFile(sandbox::defaultSeedFile()));
    sandbox::SandboxServer first(service);
    first.start();
    sandbox::ServerOptions options;
    options.port = first.port();
    sandbox::SandboxServer second(service, options);
    EXPECT_THROW(second.start(), std::runtime_error);
    first.stop();
    first.stop();
    sandbox::SandboxServer third(service, options);
    third.start();
    EXPECT_EQ(third.baseUrl(), "http://127.0.0.1:" + std::to_string(options.port));
}

TEST(SandboxServer, LeavesSigpipeToItsProcess) {
    struct sigaction former {};
    sigaction(SIGPIPE, nullptr, &former);
    struct sigaction chosen {};
    chosen.sa_handler = SIG_DFL;
    sigaction(SIGPIPE, &chosen, nullptr);
    struct sigaction found {};
    {
        test_support::SandboxFixture fixture(Scheme::https);
        sigaction(SIGPIPE, nullptr, &found);
    }
    sigaction(SIGPIPE, &former, nullptr);
    EXPECT_EQ(found.sa_handler, SIG_DFL);
}

TEST(SandboxServer, ServesManyAtOnce) {
    constexpr int clients = 8;
    constexpr int rounds = 5;
    test_support::SandboxFixture fixture;
    std::vector<std::thread> threads;
    std::atomic<int> served{0};
    for (int client = 0; client < clients; ++client) {
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                const std::string token = test_support::signIn(fixture.baseUrl(), fixture.account("plain"));
                served +=
                    exchange(fixture.baseUrl(), "GET", kUsers, clientHeaders(token)).status == 200 ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(served, clients * rounds);
    EXPECT_EQ(fixture.exchanges().size(), static_cast<std::size_t>(clients * rounds * 2));
}

}  // namespace
