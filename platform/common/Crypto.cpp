// The table fixes Blowfish, MD5 and a raw RSA operation. libcrypto 3 offers the first only through its legacy
// provider, which a host need not have installed, and through the low-level calls that it marks as
// deprecated; the files that a client has written can be read by nothing else, so the calls stay and the
// warnings go, here only.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "platform/common/Crypto.h"

#include <openssl/bio.h>
#include <openssl/blowfish.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/md5.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>

#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>

#include "core/src/ResultCode.h"
#include "platform/common/Memory.h"

namespace quillmarkclient_common {
namespace {

constexpr std::uint32_t kBlowfishBlockSize = 8;

constexpr std::uint32_t Number(ResultCode code) {
    return static_cast<std::uint32_t>(code);
}

template <auto Function>
struct Deleter {
    template <class T>
    void operator()(T* object) const {
        Function(object);
    }
};
using BioChain = std::unique_ptr<BIO, Deleter<BIO_free_all>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, Deleter<EVP_MD_CTX_free>>;
using PublicKey = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using RsaKey = std::unique_ptr<RSA, Deleter<RSA_free>>;
using Block = std::unique_ptr<std::uint8_t, Deleter<Free>>;

// Each thread that uses libcrypto has an error queue, and where libcrypto is linked statically, as on Windows,
// nobody else tells it that the thread ends.
struct ThreadEnd {
    ~ThreadEnd() { OPENSSL_thread_stop(); }
};

// Takes the errors of one operation off the queue of the thread: the host's own use of OpenSSL, Qt's among
// it, would otherwise find them and take them for its own.
class ErrorQueueGuard {
public:
    ErrorQueueGuard() {
        thread_local const ThreadEnd end{};
        ERR_set_mark();
    }
    ~ErrorQueueGuard() { ERR_pop_to_mark(); }
    ErrorQueueGuard(const ErrorQueueGuard&) = delete;
    ErrorQueueGuard& operator=(const ErrorQueueGuard&) = delete;
};

// Overwrites what it guards when the scope ends, however it ends.
template <class T>
struct Cleansed {
    T value{};
    Cleansed() = default;
    ~Cleansed() { OPENSSL_cleanse(&value, sizeof(value)); }
    Cleansed(const Cleansed&) = delete;
    Cleansed& operator=(const Cleansed&) = delete;
};

Block NewBlock(std::size_t size) {
    return Block(static_cast<std::uint8_t*>(Alloc(size)));
}

// A PEM text that says it is encrypted would make OpenSSL's default callback ask at the terminal.
int RefusePassword(char*, int, int, void*) {
    return -1;
}

BioChain ReadOnly(const char* text) {
    return BioChain(BIO_new_mem_buf(text, -1));
}

// The key is the MD5 of the text with its terminating zero byte: the byte belongs to it.
bool DeriveKey(const char* keyText, BF_KEY& key) {
    Cleansed<unsigned char[MD5_DIGEST_LENGTH]> digest;
    const DigestContext context(EVP_MD_CTX_new());
    if (!context || EVP_DigestInit_ex(context.get(), EVP_md5(), nullptr) != 1 ||
        EVP_DigestUpdate(context.get(), keyText, std::strlen(keyText) + 1) != 1 ||
        EVP_DigestFinal_ex(context.get(), digest.value, nullptr) != 1)
        return false;
    BF_set_key(&key, MD5_DIGEST_LENGTH, digest.value);
    return true;
}

std::uint32_t Blowfish(const char* keyText, void* buffer, std::uint32_t size, int direction) {
    if (!keyText || !buffer)
        return Number(ResultCode::kInvalidParameters);
    const ErrorQueueGuard guard;
    Cleansed<BF_KEY> key;
    if (!DeriveKey(keyText, key.value))
        return Number(ResultCode::kCryptInit);
    auto* block = static_cast<unsigned char*>(buffer);
    for (std::uint32_t left = size; left >= kBlowfishBlockSize; left -= kBlowfishBlockSize) {
        BF_ecb_encrypt(block, block, &key.value, direction);
        block += kBlowfishBlockSize;
    }
    return Number(ResultCode::kSuccess);
}

// `hash(data, size, target)` answers whether it worked; a failure is `failure`.
template <class Hash>
std::uint32_t Digest(const void* data, std::uint32_t size, std::uint8_t** digest, std::uint32_t* digestSize,
                     std::uint32_t length, Hash hash) {
    if (!data || !digest || !digestSize)
        return Number(ResultCode::kInvalidParameters);
    Block block = NewBlock(length);
    if (!block)
        return Number(ResultCode::kInternalError);
    const ErrorQueueGuard guard;
    if (!hash(static_cast<const unsigned char*>(data), size, block.get()))
        return Number(ResultCode::kHash);
    *digest = block.release();
    *digestSize = length;
    return Number(ResultCode::kSuccess);
}

// False when no chain can be made; `size` is 0 when the text decodes to nothing.
bool DecodeSignature(const char* text, std::uint32_t textSize, const Block& bytes, std::size_t& size) {
    if (textSize > static_cast<std::uint32_t>(std::numeric_limits<int>::max()))
        return false;
    BioChain filter(BIO_new(BIO_f_base64()));
    BioChain memory(BIO_new_mem_buf(text, static_cast<int>(textSize)));
    if (!filter || !memory)
        return false;
    BIO_set_flags(filter.get(), BIO_FLAGS_BASE64_NO_NL);
    BIO_push(filter.get(), memory.release());
    size = 0;
    while (size < textSize) {
        const int count = BIO_read(filter.get(), bytes.get() + size, static_cast<int>(textSize - size));
        if (count <= 0)
            break;
        size += static_cast<std::size_t>(count);
    }
    return true;
}

}  // namespace

std::uint32_t VerifySignature(const char* keyText, const char* message, const char* signature,
                              std::uint32_t signatureSize, std::uint32_t* verdict, void* /*context*/) {
    if (!keyText || !message || !signature || !verdict)
        return Number(ResultCode::kInvalidParameters);
    *verdict = 0;
    const ErrorQueueGuard guard;

    const Block bytes = NewBlock(std::size_t{signatureSize} + 1);
    std::size_t size = 0;
    if (!bytes || !DecodeSignature(signature, signatureSize, bytes, size))
        return Number(ResultCode::kVerifySignature);
    if (size == 0)
        return Number(ResultCode::kSuccess);

    const BioChain pem = ReadOnly(keyText);
    const PublicKey key(pem ? PEM_read_bio_PUBKEY(pem.get(), nullptr, RefusePassword, nullptr) : nullptr);
    if (!key)
        return Number(ResultCode::kSuccess);

    const DigestContext context(EVP_MD_CTX_new());
    if (!context || EVP_DigestInit(context.get(), EVP_get_digestbyname("SHA384")) != 1 ||
        EVP_DigestUpdate(context.get(), message, std::strlen(message)) != 1)
        return Number(ResultCode::kVerifySignature);
    const int answer =
        EVP_VerifyFinal(context.get(), bytes.get(), static_cast<unsigned int>(size), key.get());
    *verdict = answer != 0 ? 1 : 0;
    return Number(ResultCode::kSuccess);
}

std::uint32_t Encrypt(const char* keyText, void* buffer, std::uint32_t size, void* /*context*/) {
    return Blowfish(keyText, buffer, size, BF_ENCRYPT);
}

std::uint32_t Decrypt(const char* keyText, void* buffer, std::uint32_t size, void* /*context*/) {
    return Blowfish(keyText, buffer, size, BF_DECRYPT);
}

std::uint32_t Sha512(const void* data, std::uint32_t size, std::uint8_t** digest, std::uint32_t* digestSize,
                     void* /*context*/) {
    return Digest(data, size, digest, digestSize, SHA512_DIGEST_LENGTH,
                  [](const unsigned char* from, std::size_t count, unsigned char* to) {
                      return SHA512(from, count, to);
                  });
}

std::uint32_t Sha256(const void* data, std::uint32_t size, std::uint8_t** digest, std::uint32_t* digestSize,
                     void* /*context*/) {
    return Digest(data, size, digest, digestSize, SHA256_DIGEST_LENGTH,
                  [](const unsigned char* from, std::size_t count, unsigned char* to) {
                      return SHA256(from, count, to);
                  });
}

std::uint32_t Md5(const void* data, std::uint32_t size, std::uint8_t** digest, std::uint32_t* digestSize,
                  void* /*context*/) {
    return Digest(data, size, digest, digestSize, MD5_DIGEST_LENGTH,
                  [](const unsigned char* from, std::size_t count, unsigned char* to) {
                      Cleansed<MD5_CTX> context;
                      return MD5_Init(&context.value) == 1 && MD5_Update(&context.value, from, count) == 1 &&
                             MD5_Final(to, &context.value) == 1;
                  });
}

std::uint32_t RsaPublicDecrypt(const char* keyText, const void* block, std::uint32_t size,
                               std::uint8_t** plain, std::uint32_t* plainSize, void* /*context*/) {
    if (!keyText || !block || !plain || !plainSize)
        return Number(ResultCode::kInvalidParameters);
    const ErrorQueueGuard guard;
    const BioChain pem = ReadOnly(keyText);
    const RsaKey key(pem ? PEM_read_bio_RSA_PUBKEY(pem.get(), nullptr, RefusePassword, nullptr) : nullptr);
    if (!key)
        return Number(ResultCode::kRsaDecrypt);

    const int modulusSize = RSA_size(key.get());
    if (modulusSize < 1 || static_cast<std::uint32_t>(modulusSize) != size)
        return Number(ResultCode::kInternalError);
    const Block whole = NewBlock(size);
    if (!whole)
        return Number(ResultCode::kInternalError);
    const int count = RSA_public_decrypt(modulusSize, static_cast<const unsigned char*>(block), whole.get(),
                                         key.get(), RSA_NO_PADDING);
    if (count < 0)
        return Number(ResultCode::kRsaDecrypt);

    const std::uint8_t* first = whole.get();
    const std::uint8_t* const last = first + count;
    while (first != last && *first == 0)
        ++first;
    const auto rest = static_cast<std::uint32_t>(last - first);
    Block text = NewBlock(rest);
    if (rest != 0 && !text)
        return Number(ResultCode::kInternalError);
    MemCopy(text.get(), first, rest);
    *plain = text.release();
    *plainSize = rest;
    return Number(ResultCode::kSuccess);
}

void FreeCryptoBuffer(void* block, void* /*context*/) {
    Free(block);
}

}  // namespace quillmarkclient_common
