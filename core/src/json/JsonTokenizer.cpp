#include "core/src/json/JsonTokenizer.h"

#include <cstring>

namespace json {

namespace {

// What a byte means where a token may begin.
enum class ByteClass : std::uint8_t {
    Stray,
    Skip,
    End,
    OpenObject,
    OpenArray,
    Close,
    Comma,
    Colon,
    Quote,
    Number,
    Literal
};

struct ByteClasses {
    ByteClass of[256] = {};

    constexpr ByteClasses() {
        // Below 33 as a signed number: blanks, controls, and every byte of a non-ASCII character.
        for (int byte = 0; byte < 256; ++byte)
            if (byte < 33 || byte >= 128)
                of[byte] = ByteClass::Skip;
        Set("+-.0123456789Ee", ByteClass::Number);
        Set("tfn", ByteClass::Literal);
        Set("{", ByteClass::OpenObject);
        Set("[", ByteClass::OpenArray);
        Set("]}", ByteClass::Close);
        Set(",", ByteClass::Comma);
        Set(":", ByteClass::Colon);
        Set("\"", ByteClass::Quote);
        of[0] = ByteClass::End;
    }

    constexpr void Set(const char* bytes, ByteClass byteClass) {
        for (; *bytes != '\0'; ++bytes)
            of[static_cast<unsigned char>(*bytes)] = byteClass;
    }
};

constexpr ByteClasses kByteClasses;

ByteClass ClassOf(char character) noexcept {
    return kByteClasses.of[static_cast<unsigned char>(character)];
}

const char* SkipToToken(const char* at) noexcept {
    while (ClassOf(*at) == ByteClass::Skip)
        ++at;
    return at;
}

Token EndToken(const char* at) noexcept {
    return {TokenKind::End, false, false, at, 0, at};
}

Token Delimiter(TokenKind kind, const char* at) noexcept {
    return {kind, false, false, at, 1, at + 1};
}

Token PlainScalar(const char* at, std::size_t length) noexcept {
    return {TokenKind::Scalar, false, false, at, length, at + length};
}

// A backslash takes the byte behind it with it. The end of the text inside the string is the end of all.
Token StringToken(const char* quote) noexcept {
    const char* const text = quote + 1;
    const char* at = text;
    bool hasBackslash = false;
    for (; *at != '"'; ++at) {
        if (*at == '\\') {
            hasBackslash = true;
            ++at;
        }
        if (*at == '\0')
            return EndToken(at);
    }
    return {TokenKind::Scalar, true, hasBackslash, text, static_cast<std::size_t>(at - text), at + 1};
}

Token NumberToken(const char* at) noexcept {
    const char* end = at + 1;
    while (ClassOf(*end) == ByteClass::Number)
        ++end;
    return PlainScalar(at, static_cast<std::size_t>(end - at));
}

Token StrayToken(const char* at) noexcept {
    return {TokenKind::Scalar, false, *at == '\\', at, 1, at + 1};
}

bool StartsWith(const char* at, const char* literal) noexcept {
    return std::strncmp(at, literal, std::strlen(literal)) == 0;
}

// What follows the literal does not matter: `truex` is a literal and a stray byte.
Token LiteralToken(const char* at) noexcept {
    if (StartsWith(at, "true") || StartsWith(at, "null"))
        return PlainScalar(at, 4);
    if (StartsWith(at, "false"))
        return PlainScalar(at, 5);
    return StrayToken(at);
}

}  // namespace

Token NextJsonToken(const char* position) noexcept {
    const char* const at = SkipToToken(position);
    switch (ClassOf(*at)) {
        case ByteClass::Quote:
            return StringToken(at);
        case ByteClass::Comma:
            return Delimiter(TokenKind::Comma, at);
        case ByteClass::Colon:
            return Delimiter(TokenKind::Colon, at);
        case ByteClass::OpenObject:
            return Delimiter(TokenKind::OpenObject, at);
        case ByteClass::OpenArray:
            return Delimiter(TokenKind::OpenArray, at);
        case ByteClass::Close:
            return Delimiter(TokenKind::Close, at);
        case ByteClass::Number:
            return NumberToken(at);
        case ByteClass::Literal:
            return LiteralToken(at);
        case ByteClass::Stray:
            return StrayToken(at);
        case ByteClass::Skip:
        case ByteClass::End:
            break;
    }
    return EndToken(at);
}

bool ClosesNext(const char* position) noexcept {
    return ClassOf(*SkipToToken(position)) == ByteClass::Close;
}

}  // namespace json
