#include "core/src/json/JsonTokenizer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using json::NextJsonToken;
using json::Token;
using json::TokenKind;

// All tokens of a text, parted by blanks. Delimiters stand as they are, C for either closing bracket;
// scalars in <>, with a " in front for quoted ones and a \ for those with a backslash.
std::string Tokens(const char* text) {
    std::string shown;
    const char* at = text;
    while (true) {
        const Token token = NextJsonToken(at);
        if (token.kind == TokenKind::End)
            return shown;
        if (!shown.empty())
            shown += ' ';
        if (token.kind == TokenKind::Scalar)
            shown += std::string("<") + (token.isQuoted ? "\"" : "") + (token.hasBackslash ? "\\" : "") +
                     std::string(token.text, token.length) + ">";
        else
            shown += "?{[C,:"[static_cast<std::size_t>(token.kind)];
        at = token.next;
    }
}

TEST(JsonTokenizer, CutsTheText) {
    static const struct {
        const char* name;
        const char* text;
        const char* tokens;
    } rows[] = {
        {"nothing", "", ""},
        {"blanks", " \t\r\n", ""},
        {"delimiters", "[]{},:", "[ C { C , :"},
        {"a text", R"("abc")", R"(<"abc>)"},
        {"an empty text", R"("")", R"(<">)"},
        {"an escaped quote", R"("a\"b")", R"(<"\a\"b>)"},
        {"an escaped backslash", R"("a\\" 1)", R"(<"\a\\> <1>)"},
        {"no end of the text", R"(1 "abc)", "<1>"},
        {"a backslash at the very end", "1 \"abc\\", "<1>"},
        {"an escaped end", R"(1 "abc\")", "<1>"},
        {"literals", "true false null", "<true> <false> <null>"},
        {"a literal with a tail", "truex", "<true> <x>"},
        {"literals without blanks", "nulltrue", "<null> <true>"},
        {"a cut literal", "tru", "<t> <r> <u>"},
        {"a literal in capitals", "NULL", "<N> <U> <L> <L>"},
        {"a cut false ends with a number character", "false fals", "<false> <f> <a> <l> <s>"},
        {"number characters", "1+2-.E09e", "<1+2-.E09e>"},
        {"a number and a delimiter", "12,3", "<12> , <3>"},
        {"a number and a letter", "1x", "<1> <x>"},
        {"a letter and a number", "x1", "<x> <1>"},
        {"stray bytes", "a/'", "<a> </> <'>"},
        {"a stray backslash", "\\\"", "<\\\\>"},
        {"DEL", "\x7f", "<\x7f>"},
        {"byte 33", "!", "<!>"},
        {"skipped bytes",
         "\x01\x20\x80\xc3\xa9\xff"
         "1",
         "<1>"},
        {"non-ASCII in a text", "\"\xc3\xa9\"", "<\"\xc3\xa9>"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Tokens(row.text), row.tokens) << row.name;
}

// Every byte at the start of a token, against the rule in words.
TEST(JsonTokenizer, ClassifiesEveryByte) {
    for (int value = 1; value < 256; ++value) {
        const char text[] = {static_cast<char>(value), '\0'};
        const Token token = NextJsonToken(text);
        if (value < 33 || value > 127 || value == '"')
            EXPECT_EQ(token.kind, TokenKind::End) << value;
        else if (std::string("[]{},:").find(text[0]) != std::string::npos)
            EXPECT_NE(token.kind, TokenKind::Scalar) << value;
        else
            EXPECT_TRUE(token.kind == TokenKind::Scalar && token.length == 1) << value;
    }
}

// A second byte joins the first only if both are number characters.
TEST(JsonTokenizer, JoinsNumberCharactersOnly) {
    const std::string number = "+-.0123456789Ee";
    for (int value = 33; value < 128; ++value) {
        const char text[] = {'1', static_cast<char>(value), '\0'};
        const bool joins = number.find(text[1]) != std::string::npos;
        EXPECT_EQ(NextJsonToken(text).length, joins ? 2u : 1u) << value;
    }
}

TEST(JsonTokenizer, SeesAClosingBracketAhead) {
    static const struct {
        const char* name;
        const char* text;
        bool closes;
    } rows[] = {
        {"a bracket", "]", true},
        {"a brace", "}", true},
        {"behind skipped bytes", " \n\x01\xc3\xa9]", true},
        {"the end", "", false},
        {"an opening bracket", "[]", false},
        {"a comma", ",]", false},
        {"a text that holds one", "\"]\"", false},
        {"a scalar", "1]", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(json::ClosesNext(row.text), row.closes) << row.name;
}

TEST(JsonTokenizer, StaysAtTheEnd) {
    const Token end = NextJsonToken("  ");
    EXPECT_EQ(end.kind, TokenKind::End);
    EXPECT_EQ(NextJsonToken(end.next).kind, TokenKind::End);
}

}  // namespace
