// The sandbox on a socket: the account service, the control paths and the faults over HTTP or HTTPS.
//
// Listens on 127.0.0.1 alone. Each connection serves one request and is closed. HTTPS uses a certificate that
// an authority made for this server; a client trusts it by authorityPem(). start and stop belong to one
// thread; faults, log and service may be used from any thread meanwhile. start throws std::runtime_error when
// the port is taken or OpenSSL fails.
#pragma once

#include <memory>
#include <string>

#include "tools/sandbox/AccountService.h"
#include "tools/sandbox/ExchangeLog.h"
#include "tools/sandbox/Faults.h"
#include "tools/sandbox/TestCertificates.h"

namespace sandbox {

struct ServerOptions {
    bool https = false;
    int port = 0;  // 0: any that is free
    CertificateFlaw flaw = CertificateFlaw::none;
    const TestAuthority* authority = nullptr;  // asked once, by start; null: one of the server's own
};

class SandboxServer {
public:
    // `service` must outlive the server.
    explicit SandboxServer(AccountService& service, const ServerOptions& options = {});
    // Stops.
    ~SandboxServer();
    SandboxServer(const SandboxServer&) = delete;
    SandboxServer& operator=(const SandboxServer&) = delete;

    // Returns when requests are served.
    void start();
    // Ends waiting connections and delays at once and joins all threads. A second stop does nothing.
    void stop();

    [[nodiscard]] int port() const;
    // "http://127.0.0.1:PORT" or "https://127.0.0.1:PORT", without a slash at the end; valid once started.
    [[nodiscard]] std::string baseUrl() const;
    // PEM of the authority behind the server's certificate; empty for plain HTTP.
    [[nodiscard]] std::string authorityPem() const;

    [[nodiscard]] Faults& faults();
    [[nodiscard]] ExchangeLog& log();

private:
    class FrontEnd;
    std::unique_ptr<FrontEnd> frontEnd_;
};

}  // namespace sandbox
