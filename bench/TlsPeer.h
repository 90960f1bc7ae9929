// The other end of the benchmarks that talk: an HTTPS server on a thread of this process, and the bundle that
// both sides verify it against, a copy of the system's with the server's authority behind it.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/sandbox/TestCertificates.h"

namespace bench {

struct TlsPeer {
    sandbox::TestAuthority authority;
    sandbox::ServerCertificate certificate = authority.issue();
    test::ScriptedServer server{{.certificatePem = certificate.certificatePem, .keyPem = certificate.keyPem}};
    test::TemporaryFolder folder;
    std::string bundle = folder.PathOf("bundle.pem");

    TlsPeer() {
        constexpr const char* kSystemBundle = "/etc/ssl/certs/ca-certificates.crt";
        const std::string system = test::ReadWhole(kSystemBundle);
        if (system.empty())
            (void)std::fprintf(stderr, "%s is missing: both sides read a bundle of one certificate\n",
                               kSystemBundle);
        test::WriteWhole(bundle, system + authority.certificatePem());
        setenv("SSL_CERT_FILE", bundle.c_str(), 1);
    }
};

}  // namespace bench
