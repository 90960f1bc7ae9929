#include "core/src/system/Base64.h"

#include <cstdint>

#include "portable_stl/exception.h"

namespace quillmarkclient_core {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned char kOutside = 0xFF;

struct SixBits {
    unsigned char of[256];
};
constexpr SixBits MakeSixBits() {
    SixBits table{};
    for (auto& value : table.of)
        value = kOutside;
    for (unsigned char i = 0; i < 64; ++i)
        table.of[static_cast<unsigned char>(kAlphabet[i])] = i;
    return table;
}
constexpr SixBits kSixBits = MakeSixBits();

// `count` bytes, 1 to 3, become four characters.
char* EncodeGroup(const unsigned char* bytes, std::size_t count, char* out) {
    const unsigned first = bytes[0];
    const unsigned second = count > 1 ? bytes[1] : 0;
    const unsigned third = count > 2 ? bytes[2] : 0;
    out[0] = kAlphabet[first >> 2];
    out[1] = kAlphabet[(first & 0x03) << 4 | second >> 4];
    out[2] = count > 1 ? kAlphabet[(second & 0x0F) << 2 | third >> 6] : '=';
    out[3] = count > 2 ? kAlphabet[third & 0x3F] : '=';
    return out + 4;
}

// Signed on every compiler, so bytes from 0x80 are below 33 too.
bool IsSkipped(char c) {
    return static_cast<signed char>(c) < 33 || c == '=';
}

}  // namespace

portable_stl::string Base64Encode(const void* bytes, std::size_t size) {
    constexpr std::size_t kLongest = portable_stl::string::max_size() / 4 * 3 - 3;
    if (size > kLongest)
        throw portable_stl::length_error();
    portable_stl::string text;
    text.resize((size + 2) / 3 * 4);
    const auto* from = static_cast<const unsigned char*>(bytes);
    char* out = text.data();
    for (; size >= 3; size -= 3, from += 3)
        out = EncodeGroup(from, 3, out);
    if (size != 0)
        EncodeGroup(from, size, out);
    return text;
}

bool Base64Decode(const char* text, std::size_t size, portable_stl::vector<unsigned char>& bytes) {
    bytes.clear();
    portable_stl::vector<unsigned char> decoded;
    decoded.reserve(size / 4 * 3 + 3).value();
    std::uint32_t bits = 0;
    unsigned count = 0;
    for (std::size_t i = 0; i < size; ++i) {
        if (IsSkipped(text[i]))
            continue;
        const unsigned char value = kSixBits.of[static_cast<unsigned char>(text[i])];
        if (value == kOutside)
            return false;
        bits = (bits & 0xFF) << 6 | value;
        count += 6;
        if (count >= 8) {
            count -= 8;
            decoded.push_back(static_cast<unsigned char>(bits >> count)).value();
        }
    }
    bytes.swap(decoded);
    return true;
}

}  // namespace quillmarkclient_core
