// The crypto rows of the platform table over libcrypto, the same on every system.
//
// What each operation promises stands at its row of core/src/system/PlatformTable.h. They answer result codes
// as numbers, ignore the context, keep no state, leave nothing behind in OpenSSL's error queue of the calling
// thread, and touch their out arguments on success only (the verdict of VerifySignature excepted).
//
// Any thread. Nothing here throws.
#pragma once

#include <cstdint>

namespace quillmarkclient_common {

// Looks at SHA-384 of `message`. Any answer of the check but a plain "no" gives verdict 1, an internal error
// of the check included: a caller who wants to rely on the verdict must first change that.
std::uint32_t VerifySignature(const char* keyText, const char* message, const char* signature,
                              std::uint32_t signatureSize, std::uint32_t* verdict, void* context);

// Only whole blocks of 8 bytes are worked on; a rest behind them stays as it is.
std::uint32_t Encrypt(const char* keyText, void* buffer, std::uint32_t size, void* context);
std::uint32_t Decrypt(const char* keyText, void* buffer, std::uint32_t size, void* context);

std::uint32_t Sha512(const void* data, std::uint32_t size, std::uint8_t** digest, std::uint32_t* digestSize,
                     void* context);
std::uint32_t Sha256(const void* data, std::uint32_t size, std::uint8_t** digest, std::uint32_t* digestSize,
                     void* context);
std::uint32_t Md5(const void* data, std::uint32_t size, std::uint8_t** digest, std::uint32_t* digestSize,
                  void* context);

std::uint32_t RsaPublicDecrypt(const char* keyText, const void* block, std::uint32_t size,
                               std::uint8_t** plain, std::uint32_t* plainSize, void* context);

void FreeCryptoBuffer(void* block, void* context);

}  // namespace quillmarkclient_common
