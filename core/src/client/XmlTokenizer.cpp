#include "core/src/client/XmlTokenizer.h"

#include <cstring>

namespace xml {
namespace {

constexpr char kCommentStart[] = "<!--";
constexpr char kCommentEnd[] = "-->";
constexpr char kCDataStart[] = "<![CDATA[";
constexpr char kCDataEnd[] = "]]>";

bool StartsWith(const char* position, const char* mark) noexcept {
    return std::strncmp(position, mark, std::strlen(mark)) == 0;
}

bool IsSpace(char byte) noexcept {
    return static_cast<signed char>(byte) <= 32;
}

Token Mark(TokenKind kind, const char* position, std::size_t length) noexcept {
    return {kind, position, length, position + length};
}

Token Error(const char* position) noexcept {
    return {TokenKind::Error, position, 0, position};
}

// What lies between `start` at the position and the first `end` behind it.
Token Section(TokenKind kind, const char* position, const char* start, const char* end) noexcept {
    const char* const text = position + std::strlen(start);
    const char* const found = std::strstr(text, end);
    if (found == nullptr)
        return Error(position);
    return {kind, text, static_cast<std::size_t>(found - text), found + std::strlen(end)};
}

Token QuotedWord(const char* position) noexcept {
    const char* end = position + 1;
    while (*end != '\0' && *end != '<' && *end != '"')
        ++end;
    if (*end != '"')
        return Error(position);
    return Mark(TokenKind::Word, position, static_cast<std::size_t>(end + 1 - position));
}

bool EndsTagWord(char byte) noexcept {
    return byte == '<' || byte == '"' || byte == '\'' || byte == '/' || byte == '=' || byte == '>' ||
           IsSpace(byte);
}

Token TagWord(const char* position) noexcept {
    const char* end = position;
    while (!EndsTagWord(*end))  // the zero byte counts as white space
        ++end;
    if (*end == '\0')
        return Error(position);
    return Mark(TokenKind::Word, position, static_cast<std::size_t>(end - position));
}

// The marks that start with <.
Token OpeningToken(const char* position, bool inTag) noexcept {
    if (StartsWith(position, kCommentStart))  // inside a tag too
        return Section(TokenKind::Comment, position, kCommentStart, kCommentEnd);
    if (inTag)
        return Error(position);
    if (StartsWith(position, kCDataStart))
        return Section(TokenKind::CData, position, kCDataStart, kCDataEnd);
    if (position[1] == '/')
        return Mark(TokenKind::CloseOpen, position, 2);
    if (position[1] == '?')
        return Mark(TokenKind::PiOpen, position, 2);
    return Mark(TokenKind::Open, position, 1);
}

Token TokenInTag(const char* position) noexcept {
    if (*position == '"')
        return QuotedWord(position);
    if (*position == '=')
        return Mark(TokenKind::Equals, position, 1);
    if (IsSpace(*position))
        return Mark(TokenKind::Space, position, 1);
    return TagWord(position);
}

}  // namespace

Token NextXmlToken(const char* position, bool inTag, bool closing) noexcept {
    if (*position == '\0')
        return {TokenKind::End, position, 0, position};
    if (*position == '<')
        return OpeningToken(position, inTag);
    if (StartsWith(position, "/>"))
        return inTag ? Mark(TokenKind::TagEndEmpty, position, 2) : Error(position);
    if (StartsWith(position, "?>"))
        return inTag ? Mark(TokenKind::PiClose, position, 2) : Error(position);
    if (*position == '>')
        return Mark(closing ? TokenKind::TagClose : TokenKind::TagEnd, position, 1);
    if (inTag)
        return TokenInTag(position);
    return Mark(TokenKind::Word, position, std::strcspn(position, "<"));
}

}  // namespace xml
