#include "core/src/client/XmlTokenizer.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "tests/core/json/JsonTestSupport.h"

namespace xml {

void PrintTo(TokenKind kind, std::ostream* out) {
    static const char* const names[] = {"End",    "Error", "Comment",     "CData",   "CloseOpen",
                                        "PiOpen", "Open",  "TagEndEmpty", "PiClose", "TagClose",
                                        "TagEnd", "Word",  "Equals",      "Space"};
    *out << names[static_cast<std::size_t>(kind)];
}

}  // namespace xml

namespace {

using xml::TokenKind;
using enum TokenKind;

enum class Where { kOutside, kInTag, kInClosingTag };
using enum Where;

// `taken` counts the bytes of the text that the token uses up.
struct Row {
    const char* name;
    std::string text;
    Where where;
    TokenKind kind;
    std::string range;
    std::size_t taken;
};

void Expect(const Row& row) {
    SCOPED_TRACE(std::string(row.name) + ": " + json_test::Visible(row.text));
    const char* const position = row.text.c_str();
    const xml::Token token = xml::NextXmlToken(position, row.where != kOutside, row.where == kInClosingTag);
    EXPECT_EQ(token.kind, row.kind);
    if (row.kind == Error)
        return;  // nothing is read behind it
    EXPECT_EQ(json_test::Visible({token.text, token.length}), json_test::Visible(row.range));
    EXPECT_EQ(token.next - position, static_cast<std::ptrdiff_t>(row.taken));
}

template <std::size_t count>
void ExpectAll(const Row (&rows)[count]) {
    for (const Row& row : rows)
        Expect(row);
}

TEST(XmlTokenizer, TheZeroByteIsTheEnd) {
    static const Row rows[] = {
        {"outside", "", kOutside, End, "", 0},
        {"in a tag", "", kInTag, End, "", 0},
        {"in a closing tag", "", kInClosingTag, End, "", 0},
        {"with more behind it", std::string("\0<a", 3), kOutside, End, "", 0},
    };
    ExpectAll(rows);
}

TEST(XmlTokenizer, FirstComments) {
    static const Row rows[] = {
        {"a comment", "<!-- c -->x", kOutside, Comment, " c ", 10},
        {"in a tag too", "<!-- c -->x", kInTag, Comment, " c ", 10},
        {"in a closing tag too", "<!-- c -->x", kInClosingTag, Comment, " c ", 10},
        {"an empty one", "<!---->", kOutside, Comment, "", 7},
        {"its end is looked for behind the opening", "<!-->-->", kOutside, Comment, ">", 8},
        {"not half of the opening", "<!--->", kOutside, Error, "", 0},
        {"nor all of it", "<!-->", kOutside, Error, "", 0},
        {"the first end ends it", "<!-- a --> b -->", kOutside, Comment, " a ", 10},
        {"two hyphens inside", "<!-- a -- b -->", kOutside, Comment, " a -- b ", 15},
        {"three hyphens at the end", "<!--a--->", kOutside, Comment, "a-", 9},
        {"tags and references inside", "<!-- <a> & ]]> -->", kOutside, Comment, " <a> & ]]> ", 18},
        {"no end", "<!-- c --", kOutside, Error, "", 0},
        {"no end in a tag", "<!-- c", kInTag, Error, "", 0},
        {"the end behind a zero byte", std::string("<!-- \0 -->", 10), kOutside, Error, "", 0},
        {"half an opening is a tag", "<!-a", kOutside, Open, "<", 1},
    };
    ExpectAll(rows);
}

TEST(XmlTokenizer, SecondCharacterData) {
    static const Row rows[] = {
        {"a section", "<![CDATA[x]]>y", kOutside, CData, "x", 13},
        {"an empty one", "<![CDATA[]]>", kOutside, CData, "", 12},
        {"its end is looked for behind the opening", "<![CDATA[]>]]>", kOutside, CData, "]>", 14},
        {"markup inside", "<![CDATA[<b>&amp;</b>]]>", kOutside, CData, "<b>&amp;</b>", 24},
        {"brackets at the end", "<![CDATA[x]]]]>", kOutside, CData, "x]]", 15},
        {"a comment inside", "<![CDATA[<!-- -->]]>", kOutside, CData, "<!-- -->", 20},
        {"the first end ends it", "<![CDATA[a]]>b]]>", kOutside, CData, "a", 13},
        {"not in a tag", "<![CDATA[x]]>", kInTag, Error, "", 0},
        {"not in a closing tag", "<![CDATA[x]]>", kInClosingTag, Error, "", 0},
        {"no end", "<![CDATA[x]]", kOutside, Error, "", 0},
        {"the end behind a zero byte", std::string("<![CDATA[\0]]>", 13), kOutside, Error, "", 0},
        {"small letters are a tag", "<![cdata[x]]>", kOutside, Open, "<", 1},
    };
    ExpectAll(rows);
}

TEST(XmlTokenizer, ThirdToFifthTheOpenings) {
    static const Row rows[] = {
        {"a closing tag", "</a>", kOutside, CloseOpen, "</", 2},
        {"an instruction", "<?xml", kOutside, PiOpen, "<?", 2},
        {"a tag", "<a", kOutside, Open, "<", 1},
        {"a tag without a name", "< a", kOutside, Open, "<", 1},
        {"a closing tag ahead of an end mark", "</>", kOutside, CloseOpen, "</", 2},
        {"a declaration is a tag", "<!DOCTYPE", kOutside, Open, "<", 1},
        {"the last byte", "<", kOutside, Open, "<", 1},
        {"a closing tag in a tag", "</a>", kInTag, Error, "", 0},
        {"an instruction in a tag", "<?xml", kInTag, Error, "", 0},
        {"a tag in a tag", "<a", kInTag, Error, "", 0},
        {"a tag in a closing tag", "<a", kInClosingTag, Error, "", 0},
    };
    ExpectAll(rows);
}

TEST(XmlTokenizer, SixthToEighthTheEnds) {
    static const Row rows[] = {
        {"empty element", "/>x", kInTag, TagEndEmpty, "/>", 2},
        {"empty element in a closing tag", "/>", kInClosingTag, TagEndEmpty, "/>", 2},
        {"empty element outside", "/>", kOutside, Error, "", 0},
        {"instruction", "?>x", kInTag, PiClose, "?>", 2},
        {"instruction in a closing tag", "?>", kInClosingTag, PiClose, "?>", 2},
        {"instruction outside", "?>", kOutside, Error, "", 0},
        {"tag", ">x", kInTag, TagEnd, ">", 1},
        {"closing tag", ">x", kInClosingTag, TagClose, ">", 1},
        {"outside", ">x", kOutside, TagEnd, ">", 1},
    };
    ExpectAll(rows);
    const xml::Token closed = xml::NextXmlToken(">x", false, true);
    EXPECT_EQ(closed.kind, TagClose) << "the closing flag decides outside a tag as well";
}

TEST(XmlTokenizer, NinthQuotesAndEqualsInATag) {
    static const Row rows[] = {
        {"the quotes belong to it", R"("v" x)", kInTag, Word, R"("v")", 3},
        {"empty", R"("">)", kInTag, Word, R"("")", 2},
        {"an end mark inside", R"("x>y")", kInTag, Word, R"("x>y")", 5},
        {"both other ends inside", R"("/>?>")", kInTag, Word, R"("/>?>")", 6},
        {"blanks, line ends, equals signs", "\"a =\r\n\t'b'\"", kInTag, Word, "\"a =\r\n\t'b'\"", 11},
        {"bytes that are no ASCII", "\"\xC3\xA9\"", kInTag, Word, "\"\xC3\xA9\"", 4},
        {"a smaller-than inside", R"("x<y")", kInTag, Error, "", 0},
        {"a comment inside", R"("<!-- -->")", kInTag, Error, "", 0},
        {"no end", R"("x)", kInTag, Error, "", 0},
        {"nothing but the quote", R"(")", kInTag, Error, "", 0},
        {"the end behind a zero byte", std::string("\"\0\"", 3), kInTag, Error, "", 0},
        {"in a closing tag", R"("v")", kInClosingTag, Word, R"("v")", 3},
        {"equals", "==", kInTag, Equals, "=", 1},
        {"text outside", R"("x"=y)", kOutside, Word, R"("x"=y)", 5},
    };
    ExpectAll(rows);
}

TEST(XmlTokenizer, TenthTextOutside) {
    static const Row rows[] = {
        {"up to the next tag", "text<a", kOutside, Word, "text", 4},
        {"up to the end", "text", kOutside, Word, "text", 4},
        {"nothing is trimmed", " \r\n\ttext \n<", kOutside, Word, " \r\n\ttext \n", 10},
        {"blanks alone", " <", kOutside, Word, " ", 1},
        {"a greater-than further on", "a>b<", kOutside, Word, "a>b", 3},
        {"end marks further on", "a/>b?>c<", kOutside, Word, "a/>b?>c", 7},
        {"a slash or question mark first", "/a?>", kOutside, Word, "/a?>", 4},
        {"bytes that are no ASCII", "\xEF\xBB\xBF<", kOutside, Word, "\xEF\xBB\xBF", 3},
        {"a control", "\x01<", kOutside, Word, "\x01", 1},
        {"the end of a section", "]]><", kOutside, Word, "]]>", 3},
    };
    ExpectAll(rows);
}

TEST(XmlTokenizer, EleventhSpaceInATag) {
    static const Row rows[] = {
        {"a blank", "  a", kInTag, Space, " ", 1},
        {"a tab", "\ta", kInTag, Space, "\t", 1},
        {"a line end", "\r\n", kInTag, Space, "\r", 1},
        {"a control", "\x01", kInTag, Space, "\x01", 1},
        {"the byte 0x1F", "\x1F", kInTag, Space, "\x1F", 1},
        {"the byte 0x80", "\x80z", kInTag, Space, "\x80", 1},
        {"the byte 0xC3", "\xC3\xA9", kInTag, Space, "\xC3", 1},
        {"the byte 0xFF", "\xFF", kInTag, Space, "\xFF", 1},
        {"in a closing tag", " >", kInClosingTag, Space, " ", 1},
    };
    ExpectAll(rows);
}

TEST(XmlTokenizer, TwelfthWordsInATag) {
    static const Row rows[] = {
        {"to a blank", "a b", kInTag, Word, "a", 1},
        {"to a tab", "ab\t", kInTag, Word, "ab", 2},
        {"to the equals sign", "a=", kInTag, Word, "a", 1},
        {"to the end", "a>", kInTag, Word, "a", 1},
        {"to a slash", "a/>", kInTag, Word, "a", 1},
        {"to a slash that ends nothing", "a/b", kInTag, Word, "a", 1},
        {"to a double quote", "a\"b\"", kInTag, Word, "a", 1},
        {"to a single quote", "a'b'", kInTag, Word, "a", 1},
        {"to a tag", "a<b", kInTag, Word, "a", 1},
        {"to the byte 0x80", "a\x80", kInTag, Word, "a", 1},
        {"to the byte 0xFF", "a\xFF", kInTag, Word, "a", 1},
        {"a question mark does not stop it", "xml?>", kInTag, Word, "xml?", 4},
        {"nor does any other mark", "a-b_c.d!e&f;g~\x7F ", kInTag, Word, "a-b_c.d!e&f;g~\x7F", 15},
        {"a question mark alone", "? ", kInTag, Word, "?", 1},
        {"empty at a single quote", "'v'", kInTag, Word, "", 0},
        {"empty at a slash that ends nothing", "/a", kInTag, Word, "", 0},
        {"up to the zero byte", "abc", kInTag, Error, "", 0},
        {"a slash as the last byte is an empty word", "/", kInTag, Word, "", 0},
        {"in a closing tag", "a>", kInClosingTag, Word, "a", 1},
    };
    ExpectAll(rows);
}

// The sign decides, not the standard's idea of white space.
TEST(XmlTokenizer, EveryByteInATag) {
    for (int value = 1; value < 256; ++value) {
        SCOPED_TRACE(value);
        const std::string text = {static_cast<char>(value), ' '};
        const TokenKind kind = xml::NextXmlToken(text.c_str(), true, false).kind;
        if (value <= 32 || value >= 128)
            EXPECT_EQ(kind, Space);
        else if (value == '<' || value == '"')
            EXPECT_EQ(kind, Error);
        else if (value == '=')
            EXPECT_EQ(kind, Equals);
        else if (value == '>')
            EXPECT_EQ(kind, TagEnd);
        else
            EXPECT_EQ(kind, Word);
    }
}

}  // namespace
