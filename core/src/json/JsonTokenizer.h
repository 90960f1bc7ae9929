// Cuts a JSON text into tokens, which are only pointers into it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace json {

enum class TokenKind : std::uint8_t {
    End,  // no further token: the text ended, perhaps inside a string
    OpenObject,
    OpenArray,
    Close,  // either closing bracket: both close whatever is open
    Comma,
    Colon,
    Scalar,  // a string, a literal, a run of number characters, or a stray byte
};

struct Token {
    TokenKind kind;
    bool isQuoted;      // the scalar stood in double quotes, which are not part of `text`
    bool hasBackslash;  // the scalar has to be unescaped
    const char* text;
    std::size_t length;
    const char* next;  // where the next token is looked for
};

// The next token at or behind `position`, in a text that ends with a zero byte.
[[nodiscard]] Token NextJsonToken(const char* position) noexcept;

// Whether that token is a closing bracket, without the work of reading it.
[[nodiscard]] bool ClosesNext(const char* position) noexcept;

}  // namespace json
