#include "core/src/json/JsonUnicode.h"

#include <cstdint>
#include <cstring>

namespace json {

using portable_stl::string;

namespace {

constexpr std::size_t kEscapeLength = 6;  // \uXXXX
constexpr std::uint32_t kHighSurrogateFirst = 0xD800;
constexpr std::uint32_t kLowSurrogateFirst = 0xDC00;
constexpr std::uint32_t kLowSurrogateLast = 0xDFFF;
constexpr std::uint32_t kSupplementaryFirst = 0x10000;

// One escape, or a surrogate pair of two.
struct Escape {
    std::uint32_t codePoint;
    std::size_t length;  // in the text; 0 for a bad escape
};

constexpr Escape kBadEscape{0, 0};

// The next backslash with a `u` behind it, or null. Bytes behind a zero byte count.
const char* FindEscape(const char* from, const char* end) noexcept {
    while (from != end) {
        const void* const hit = std::memchr(from, '\\', static_cast<std::size_t>(end - from));
        if (hit == nullptr)
            return nullptr;
        const char* const backslash = static_cast<const char*>(hit);
        if (end - backslash >= 2 && backslash[1] == 'u')
            return backslash;
        from = backslash + 1;
    }
    return nullptr;
}

int HexDigit(char character) noexcept {
    if (character >= '0' && character <= '9')
        return character - '0';
    if (character >= 'a' && character <= 'f')
        return character - 'a' + 10;
    if (character >= 'A' && character <= 'F')
        return character - 'A' + 10;
    return -1;
}

// The 16 bits of the escape at `at`, or -1 when there is no good one.
std::int32_t ReadUnit(const char* at, const char* end) noexcept {
    if (static_cast<std::size_t>(end - at) < kEscapeLength || at[0] != '\\' || at[1] != 'u')
        return -1;
    std::int32_t unit = 0;
    for (std::size_t i = 2; i < kEscapeLength; ++i) {
        const int digit = HexDigit(at[i]);
        if (digit < 0)
            return -1;
        unit = unit * 16 + digit;
    }
    return unit;
}

Escape ReadEscape(const char* at, const char* end) noexcept {
    const std::int32_t unit = ReadUnit(at, end);
    if (unit < 0)
        return kBadEscape;
    const auto high = static_cast<std::uint32_t>(unit);
    if (high < kHighSurrogateFirst || high >= kLowSurrogateFirst)
        return {high, kEscapeLength};
    const std::int32_t partner = ReadUnit(at + kEscapeLength, end);
    const auto low = static_cast<std::uint32_t>(partner);
    if (partner < 0 || low < kLowSurrogateFirst || low > kLowSurrogateLast)
        return kBadEscape;
    return {kSupplementaryFirst + (high - kHighSurrogateFirst) * 1024 + (low - kLowSurrogateFirst),
            2 * kEscapeLength};
}

// The letter of the two-character escape that keeps a decoded byte from acting as a delimiter, or 0.
char ShortEscape(std::uint32_t codePoint) noexcept {
    switch (codePoint) {
        case '"':
            return '"';
        case '\\':
            return '\\';
        case '\b':
            return 'b';
        case '\f':
            return 'f';
        case '\n':
            return 'n';
        case '\r':
            return 'r';
        case '\t':
            return 't';
        default:
            return 0;
    }
}

// Writes at most four bytes to `out` and returns how many.
std::size_t Encode(std::uint32_t codePoint, char* out) noexcept {
    const auto put = [out](std::size_t place, std::uint32_t byte) { out[place] = static_cast<char>(byte); };
    const auto continuation = [codePoint](unsigned shift) { return 0x80u | (codePoint >> shift & 0x3Fu); };
    if (const char letter = ShortEscape(codePoint); letter != 0) {
        out[0] = '\\';
        out[1] = letter;
        return 2;
    }
    if (codePoint < 0x80) {
        put(0, codePoint);
        return 1;
    }
    if (codePoint < 0x800) {
        put(0, 0xC0u | codePoint >> 6);
        put(1, continuation(0));
        return 2;
    }
    if (codePoint < kSupplementaryFirst) {
        put(0, 0xE0u | codePoint >> 12);
        put(1, continuation(6));
        put(2, continuation(0));
        return 3;
    }
    put(0, 0xF0u | codePoint >> 18);
    put(1, continuation(12));
    put(2, continuation(6));
    put(3, continuation(0));
    return 4;
}

// The size of the decoded text, or 0 when an escape is bad. (No good escape decodes to nothing.)
std::size_t CheckAndMeasure(const char* firstEscape, const char* begin, const char* end) noexcept {
    auto size = static_cast<std::size_t>(end - begin);
    char encoded[4];
    for (const char* at = firstEscape; at != nullptr;) {
        const Escape escape = ReadEscape(at, end);
        if (escape.length == 0)
            return 0;
        size -= escape.length - Encode(escape.codePoint, encoded);
        at = FindEscape(at + escape.length, end);
    }
    return size;
}

}  // namespace

bool DecodeUnicodeEscapes(const string& text, string& out) {
    const char* const end = text.data() + text.size();
    const char* const firstEscape = FindEscape(text.data(), end);
    if (firstEscape == nullptr)
        return false;
    const std::size_t size = CheckAndMeasure(firstEscape, text.data(), end);
    if (size == 0)
        return false;

    string decoded;
    decoded.resize(size);
    char* target = decoded.data();
    const char* copied = text.data();
    for (const char* at = firstEscape; at != nullptr;) {
        const auto between = static_cast<std::size_t>(at - copied);
        std::memcpy(target, copied, between);
        target += between;
        const Escape escape = ReadEscape(at, end);
        target += Encode(escape.codePoint, target);
        copied = at + escape.length;
        at = FindEscape(copied, end);
    }
    std::memcpy(target, copied, static_cast<std::size_t>(end - copied));
    out.swap(decoded);
    return true;
}

}  // namespace json
