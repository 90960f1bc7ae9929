#include "tools/sandbox/Totp.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <array>
#include <stdexcept>

namespace sandbox {
namespace {

constexpr std::string_view kBase32Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567";
constexpr std::size_t kSha1Bytes = 20;

using Digest = std::array<unsigned char, kSha1Bytes>;

char upperCase(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

Digest hmacOfStep(std::string_view key, std::int64_t step) {
    std::array<unsigned char, 8> counter{};
    auto rest = static_cast<std::uint64_t>(step);
    for (std::size_t at = counter.size(); at-- > 0; rest >>= 8)
        counter[at] = static_cast<unsigned char>(rest & 0xFF);
    Digest digest{};
    unsigned int size = 0;
    if (!HMAC(EVP_sha1(), key.data(), static_cast<int>(key.size()), counter.data(), counter.size(),
              digest.data(), &size))
        throw std::runtime_error("HMAC-SHA1 failed");
    return digest;
}

}  // namespace

std::optional<std::string> decodeBase32(std::string_view text) {
    std::string bytes;
    std::uint32_t bits = 0;
    int bitCount = 0;
    for (const char letter : text) {
        if (letter == '=' || letter == ' ')
            continue;
        const std::size_t value = kBase32Alphabet.find(upperCase(letter));
        if (value == kBase32Alphabet.npos)
            return std::nullopt;
        bits = (bits << 5 | static_cast<std::uint32_t>(value)) & 0xFFF;
        bitCount += 5;
        if (bitCount < 8)
            continue;
        bitCount -= 8;
        bytes += static_cast<char>(bits >> bitCount & 0xFF);
    }
    return bytes;
}

std::int64_t totpStep(std::int64_t unixSeconds) {
    return unixSeconds / kTotpStepSeconds;
}

std::string totpCode(std::string_view key, std::int64_t step, int digits) {
    const Digest digest = hmacOfStep(key, step);
    const std::size_t offset = digest.back() & 0x0F;
    std::uint32_t number = static_cast<std::uint32_t>(digest[offset] & 0x7F) << 24 |
                           static_cast<std::uint32_t>(digest[offset + 1]) << 16 |
                           static_cast<std::uint32_t>(digest[offset + 2]) << 8 |
                           static_cast<std::uint32_t>(digest[offset + 3]);
    std::string code(static_cast<std::size_t>(digits), '0');
    for (std::size_t at = code.size(); at-- > 0; number /= 10)
        code[at] = static_cast<char>('0' + number % 10);
    return code;
}

std::optional<std::int64_t> acceptedTotpStep(std::string_view key, std::string_view code,
                                             std::int64_t unixSeconds, std::int64_t lastUsedStep) {
    const std::int64_t current = totpStep(unixSeconds);
    for (std::int64_t step = current - 1; step <= current + 1; ++step) {
        if (step > lastUsedStep && totpCode(key, step) == code)
            return step;
    }
    return std::nullopt;
}

}  // namespace sandbox
