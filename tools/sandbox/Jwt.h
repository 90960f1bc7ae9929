// Access tokens of the sandbox: JSON Web Tokens signed RS256 (RFC 7515, RFC 7518 section 3.3).
//
// One departure from the standard, because it is what the client reads: the payload stands in the plain
// alphabet of base64, '+' and '/' included, without padding. Header and signature use the URL alphabet.
// A signer may be used by several threads at once. Throws std::runtime_error when OpenSSL fails.
#pragma once

#include <openssl/types.h>

#include <memory>
#include <string>
#include <string_view>

namespace sandbox {

class TokenSigner {
public:
    // Makes the key, a 2048-bit RSA key that never leaves the process. The key is made once for each process:
    // making one takes long enough to be felt in tests that start a service each.
    TokenSigner();

    // header.payload.signature
    [[nodiscard]] std::string sign(std::string_view payloadJson) const;

    // PEM of the public half, for whoever wants to check a token.
    [[nodiscard]] std::string publicKeyPem() const;

private:
    std::shared_ptr<EVP_PKEY> key_;
};

// Base64 without padding (RFC 4648, sections 4 and 5).
[[nodiscard]] std::string encodeBase64Plain(std::string_view bytes);
[[nodiscard]] std::string encodeBase64Url(std::string_view bytes);

}  // namespace sandbox
