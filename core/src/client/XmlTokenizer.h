// Cuts an XML text into tokens, which are only pointers into it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace xml {

enum class TokenKind : std::uint8_t {
    End,    // the zero byte
    Error,  // something that may not stand here, or does not end
    Comment,
    CData,        // the range lies between the markers
    CloseOpen,    // </
    PiOpen,       // <?
    Open,         // <
    TagEndEmpty,  // />
    PiClose,      // ?>
    TagClose,     // > of a closing tag
    TagEnd,       // > anywhere else
    Word,         // in a tag a name, or a value with its double quotes; elsewhere the text up to the next <
    Equals,
    Space,  // one byte
    Count,
};

struct Token {
    TokenKind kind;
    const char* text;
    std::size_t length;
    const char* next;  // where the next token is looked for
};

/// The token at `position`, in a text that ends with a zero byte. Inside a tag white space is every byte of
/// at most 32 taken as signed, so those from 0x80 on too.
/// \param inTag    between the opening mark of a tag and its end
/// \param closing  the tag is a closing one
[[nodiscard]] Token NextXmlToken(const char* position, bool inTag, bool closing) noexcept;

}  // namespace xml
