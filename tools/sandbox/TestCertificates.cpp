#include "tools/sandbox/TestCertificates.h"

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>

namespace sandbox {
namespace {

constexpr int kDaySeconds = 24 * 3600;
constexpr long kX509Version3 = 2;  // the field counts from 0
constexpr int kSerialBytes = 16;
constexpr int kOrderBytes = 32;  // of P-256
constexpr const char* kGoodHosts = "DNS:localhost,IP:127.0.0.1,IP:::1";
constexpr const char* kOtherHost = "DNS:elsewhere.example.test";

struct Validity {
    long fromDays;  // counted from now
    long untilDays;
};

Validity validityOf(CertificateFlaw flaw) {
    switch (flaw) {
        case CertificateFlaw::expired:
            return {-30, -1};
        case CertificateFlaw::notYetValid:
            return {1, 30};
        default:
            return {-1, 30};
    }
}

void require(bool done, const char* what) {
    if (!done)
        throw std::runtime_error(std::string("test certificates: cannot ") + what);
}

std::shared_ptr<EVP_PKEY> makeKey() {
    std::shared_ptr<EVP_PKEY> key(EVP_EC_gen("P-256"), EVP_PKEY_free);
    require(key != nullptr, "make a key");
    return key;
}

void addExtension(X509* certificate, X509* issuer, int kind, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
        X509V3_EXT_conf_nid(nullptr, &context, kind, value), X509_EXTENSION_free);
    require(extension != nullptr && X509_add_ext(certificate, extension.get(), -1) == 1, "add an extension");
}

void setSerial(X509* certificate) {
    unsigned char bytes[kSerialBytes];
    require(RAND_bytes(bytes, sizeof bytes) == 1, "draw a serial number");
    bytes[0] &= 0x7F;  // serial numbers are positive (RFC 5280, 4.1.2.2)
    const std::unique_ptr<BIGNUM, decltype(&BN_free)> number(BN_bin2bn(bytes, sizeof bytes, nullptr),
                                                             BN_free);
    require(number && BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr,
            "set a serial number");
}

// A certificate with all but its extensions and its signature.
std::shared_ptr<X509> makeBare(const char* commonName, EVP_PKEY* key, Validity validity) {
    std::shared_ptr<X509> certificate(X509_new(), X509_free);
    require(certificate != nullptr, "make a certificate");
    setSerial(certificate.get());
    X509_NAME* subject = X509_get_subject_name(certificate.get());
    const auto* name = reinterpret_cast<const unsigned char*>(commonName);
    require(X509_set_version(certificate.get(), kX509Version3) == 1 &&
                X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8, name, -1, -1, 0) == 1 &&
                X509_set_pubkey(certificate.get(), key) == 1 &&
                X509_gmtime_adj(X509_getm_notBefore(certificate.get()), validity.fromDays * kDaySeconds) &&
                X509_gmtime_adj(X509_getm_notAfter(certificate.get()), validity.untilDays * kDaySeconds),
            "fill a certificate");
    return certificate;
}

// Whether both numbers of an ECDSA signature have the length of the curve's order.
bool hasWholeNumbers(const X509* certificate) {
    const ASN1_BIT_STRING* bytes = nullptr;
    X509_get0_signature(&bytes, nullptr, certificate);
    const unsigned char* at = bytes->data;
    const std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)> signature(
        d2i_ECDSA_SIG(nullptr, &at, bytes->length), ECDSA_SIG_free);
    return signature && BN_num_bytes(ECDSA_SIG_get0_r(signature.get())) == kOrderBytes &&
           BN_num_bytes(ECDSA_SIG_get0_s(signature.get())) == kOrderBytes;
}

// Again until it is a signature that all clients can read: wine 8 takes one in a hundred, with a shorter
// number in it, for a wrong one.
void signBy(X509* certificate, X509* issuer, EVP_PKEY* issuerKey) {
    bool isSigned = X509_set_issuer_name(certificate, X509_get_subject_name(issuer)) == 1;
    do {
        isSigned = isSigned && X509_sign(certificate, issuerKey, EVP_sha256()) > 0;
    } while (isSigned && !hasWholeNumbers(certificate));
    require(isSigned, "sign a certificate");
}

// The text that `write(BIO*)` writes.
template <typename Write>
std::string pemText(Write write) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new(BIO_s_mem()), BIO_free);
    require(memory && write(memory.get()) == 1, "write PEM");
    char* text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return std::string(text, static_cast<std::size_t>(size));
}

std::string certificateText(X509* certificate) {
    return pemText([&](BIO* memory) { return PEM_write_bio_X509(memory, certificate); });
}

std::string keyText(EVP_PKEY* key) {
    return pemText([&](BIO* memory) {
        return PEM_write_bio_PrivateKey(memory, key, nullptr, nullptr, 0, nullptr, nullptr);
    });
}

}  // namespace

TestAuthority::TestAuthority() : key_(makeKey()) {
    certificate_ = makeBare("Sandbox Test Authority", key_.get(), validityOf(CertificateFlaw::none));
    X509* self = certificate_.get();
    addExtension(self, self, NID_basic_constraints, "critical,CA:TRUE");
    addExtension(self, self, NID_key_usage, "critical,keyCertSign,cRLSign");
    addExtension(self, self, NID_subject_key_identifier, "hash");
    signBy(self, self, key_.get());
    pem_ = certificateText(self);
}

ServerCertificate TestAuthority::issue(CertificateFlaw flaw) const {
    const auto key = makeKey();
    const auto certificate = makeBare("Sandbox Server", key.get(), validityOf(flaw));
    const bool selfSigned = flaw == CertificateFlaw::selfSigned;
    X509* issuer = selfSigned ? certificate.get() : certificate_.get();
    addExtension(certificate.get(), issuer, NID_basic_constraints, "critical,CA:FALSE");
    addExtension(certificate.get(), issuer, NID_key_usage, "critical,digitalSignature");
    addExtension(certificate.get(), issuer, NID_ext_key_usage, "serverAuth");
    addExtension(certificate.get(), issuer, NID_subject_key_identifier, "hash");
    if (!selfSigned)
        addExtension(certificate.get(), issuer, NID_authority_key_identifier, "keyid:always");
    addExtension(certificate.get(), issuer, NID_subject_alt_name,
                 flaw == CertificateFlaw::wrongHost ? kOtherHost : kGoodHosts);
    signBy(certificate.get(), issuer, selfSigned ? key.get() : key_.get());
    return {certificateText(certificate.get()), keyText(key.get())};
}

}  // namespace sandbox
