#include "tools/sandbox/Random.h"

#include <openssl/rand.h>

#include <stdexcept>
#include <string_view>

namespace sandbox {

std::string randomHex(std::size_t bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string raw(bytes, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char*>(raw.data()), static_cast<int>(bytes)) != 1)
        throw std::runtime_error("the random generator failed");
    std::string text;
    for (const char byte : raw) {
        text += digits[static_cast<unsigned char>(byte) >> 4];
        text += digits[static_cast<unsigned char>(byte) & 0x0F];
    }
    return text;
}

}  // namespace sandbox
