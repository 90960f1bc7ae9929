#include "tools/sandbox/Jwt.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <stdexcept>

namespace sandbox {
namespace {

constexpr std::string_view kHeaderJson = R"({"alg":"RS256","typ":"JWT"})";
constexpr unsigned int kKeyBits = 2048;

std::shared_ptr<EVP_PKEY> makeKey() {
    std::shared_ptr<EVP_PKEY> key(EVP_RSA_gen(kKeyBits), EVP_PKEY_free);
    if (!key)
        throw std::runtime_error("the key that signs tokens cannot be made");
    return key;
}

const std::shared_ptr<EVP_PKEY>& processKey() {
    static const std::shared_ptr<EVP_PKEY> key = makeKey();
    return key;
}

std::string rs256(EVP_PKEY* key, std::string_view text) {
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    std::string signature(static_cast<std::size_t>(EVP_PKEY_get_size(key)), '\0');
    std::size_t size = signature.size();
    if (!context || EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key) != 1 ||
        EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &size, bytes,
                       text.size()) != 1)
        throw std::runtime_error("a token cannot be signed");
    signature.resize(size);
    return signature;
}

}  // namespace

TokenSigner::TokenSigner() : key_(processKey()) {}

std::string TokenSigner::sign(std::string_view payloadJson) const {
    const std::string head = encodeBase64Url(kHeaderJson) + "." + encodeBase64Plain(payloadJson);
    return head + "." + encodeBase64Url(rs256(key_.get(), head));
}

std::string TokenSigner::publicKeyPem() const {
    const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new(BIO_s_mem()), BIO_free);
    if (!memory || PEM_write_bio_PUBKEY(memory.get(), key_.get()) != 1)
        throw std::runtime_error("the public key cannot be written");
    char* text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return std::string(text, static_cast<std::size_t>(size));
}

std::string encodeBase64Plain(std::string_view bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int size =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                        reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(size));
    while (!text.empty() && text.back() == '=')
        text.pop_back();
    return text;
}

std::string encodeBase64Url(std::string_view bytes) {
    std::string text = encodeBase64Plain(bytes);
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    return text;
}

}  // namespace sandbox
