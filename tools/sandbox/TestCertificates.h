// A certificate authority made at run time, and server certificates under it, good and flawed.
//
// Nothing of it touches a disk unless the caller writes the PEM texts, so no key outlives the process.
// Keys are P-256, which takes a millisecond to make. Throws std::runtime_error when OpenSSL fails.
// One thread at a time for each authority.
#pragma once

#include <openssl/types.h>

#include <memory>
#include <string>

namespace sandbox {

enum class CertificateFlaw {
    none,         // for "localhost", 127.0.0.1 and ::1, from yesterday on for 30 days
    expired,      // ended yesterday
    notYetValid,  // begins tomorrow
    selfSigned,   // not issued by the authority
    wrongHost,    // for "elsewhere.example.test" alone
};

struct ServerCertificate {
    std::string certificatePem;
    std::string keyPem;
};

class TestAuthority {
public:
    TestAuthority();

    // What a client has to trust, for SSL_CERT_FILE or CURLOPT_CAINFO.
    [[nodiscard]] const std::string& certificatePem() const { return pem_; }

    [[nodiscard]] ServerCertificate issue(CertificateFlaw flaw = CertificateFlaw::none) const;

private:
    std::shared_ptr<EVP_PKEY> key_;
    std::shared_ptr<X509> certificate_;
    std::string pem_;
};

}  // namespace sandbox
