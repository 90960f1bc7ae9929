#pragma once

// Bytes by their kind, whatever the host's locale says.
namespace quillmarkclient_common {

constexpr char LowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

constexpr bool IsLetter(char c) {
    return LowerAscii(c) >= 'a' && LowerAscii(c) <= 'z';
}

constexpr bool IsHexDigit(char c) {
    return IsDigit(c) || (LowerAscii(c) >= 'a' && LowerAscii(c) <= 'f');
}

constexpr bool IsControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

// Outside ASCII: a part of a longer UTF-8 character.
constexpr bool IsHighByte(char c) {
    return static_cast<unsigned char>(c) >= 0x80;
}

}  // namespace quillmarkclient_common
