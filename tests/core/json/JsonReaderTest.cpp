// What the reader takes, what it refuses, and what tree it makes.
#include <gtest/gtest.h>

#include <string>

#include "tests/core/json/JsonTestSupport.h"

namespace {

using json_test::ReferenceShapeOf;
using json_test::ShapeOf;
using json_test::Visible;

const char* const kFails = nullptr;

struct Row {
    const char* name;
    std::string text;
    const char* shape;  // null: the text can't be read
};

template <std::size_t Count>
void ExpectShapes(const Row (&rows)[Count]) {
    for (const Row& row : rows) {
        const auto shape = ShapeOf(row.text);
        EXPECT_EQ(shape.value_or("(fails)"), row.shape == nullptr ? "(fails)" : row.shape)
            << row.name << ": " << Visible(row.text);
        EXPECT_EQ(ReferenceShapeOf(row.text), shape)
            << "reference, " << row.name << ": " << Visible(row.text);
    }
}

TEST(JsonReader, ReadsOrdinaryDocuments) {
    static const Row rows[] = {
        {"empty object", "{}", "{}"},
        {"empty array", "[]", "[]"},
        {"one member", R"({"a":"b"})", R"({a="b"})"},
        {"two members", R"({"a":"b","c":"d"})", R"({a="b",c="d"})"},
        {"literals are text", "[true,false,null]", "[true,false,null]"},
        {"numbers are text", "[0,-1,12.5,1e+9,1E-9]", "[0,-1,12.5,1e+9,1E-9]"},
        {"a member given as null", R"({"contextId":null})", "{contextId=null}"},
        {"quoted literals stay quoted", R"(["true","1","null"])", R"(["true","1","null"])"},
        {"an inner empty array", "[[]]", "[[]]"},
        {"inner empty containers", R"({"a":{},"b":[]})", "{a={},b=[]}"},
        {"nested", R"({"a":[1,{"b":[2,3]},4],"c":{"d":{"e":5}}})", "{a=[1,{b=[2,3]},4],c={d={e=5}}}"},
        {"blanks everywhere", " { \"a\" :\t[ 1 ,\r\n2 ] } \n", "{a=[1,2]}"},
        {"blanks in a string stay", R"([" a  b "])", R"([" a  b "])"},
        {"non-ASCII in a string stays", "[\"\xc3\xa9\xf0\x9f\x98\x80\"]", "[\"\xc3\xa9\xf0\x9f\x98\x80\"]"},
        {"brackets in a string are text", R"(["[{,:}]"])", R"(["[{,:}]"])"},
        {"a long key and value", R"({"a key of more than 22 bytes":"a value of more than 22 bytes"})",
         R"({a key of more than 22 bytes="a value of more than 22 bytes"})"},
        {"duplicate names are all kept", R"({"a":1,"a":2,"A":3})", "{a=1,a=2,A=3}"},
    };
    ExpectShapes(rows);
}

TEST(JsonReader, TakesABareScalarAsTheDocument) {
    static const Row rows[] = {
        {"text", R"("abc")", R"("abc")"},
        {"empty text", R"("")", R"("")"},
        {"number", "12345", "12345"},
        {"literal", "true", "true"},
        {"stray byte", "x", "x"},
        {"blanks around", " 12 \n", "12"},
        {"two scalars", "1 2", kFails},
        {"a literal with a tail", "truex", kFails},
        {"a word", "abc", kFails},
        {"a token of three parts", "eyJh.eyJz.c2ln", kFails},
        {"a scalar and a comma", "1,", kFails},
        {"a scalar and an array", "1[]", kFails},
        {"a scalar and an unterminated string", "1\"abc", "1"},
    };
    ExpectShapes(rows);
}

TEST(JsonReader, RefusesWhatIsNoDocument) {
    static const Row rows[] = {
        {"nothing", "", kFails},
        {"white space", " \t\r\n", kFails},
        {"non-ASCII alone", "\xc3\xa9\xff", kFails},
        {"an open object", "{", kFails},
        {"an open array", "[", kFails},
        {"an open inner array", "[[]", kFails},
        {"an open member", R"({"a")", kFails},
        {"an open value", R"({"a":)", kFails},
        {"a comma alone", ",", kFails},
        {"a colon alone", ":", kFails},
        {"a comma in front", "[,1]", kFails},
        {"two commas", "[1,,2]", kFails},
        {"a colon in an array", "[1:2]", kFails},
        {"a colon where no key stands", "{:1}", kFails},
        {"two colons", R"({"a"::1})", kFails},
        {"a name without a colon", R"({"a"})", kFails},
        {"a name, a comma", R"({"a","b":1})", kFails},
        {"a name and a container", R"({"a"{"b":1}})", kFails},
        {"a name and an array", R"({"a"[1]})", kFails},
        {"a name of two bytes without quotes", "{ab:1}", kFails},
        {"two names", R"({"a" "b":1})", kFails},
        {"two scalars with no comma", "[1 2]", kFails},
        {"two texts with no comma", R"(["a""b"])", kFails},
        {"a number and a stray byte", "[1x]", kFails},
        {"a literal with a tail", "[truex]", kFails},
        {"a literal in capitals", "[True]", kFails},
        {"text behind the root", "{}x", kFails},
        {"a bracket behind the root", "[]]", kFails},
        {"a document behind the root", "{}{}", kFails},
        {"a comma behind the root", "[],", kFails},
        {"comments", "[1] // one", kFails},
        {"a comment inside", "[1, /* two */ 2]", kFails},
        {"an unterminated string", R"(["abc)", kFails},
        {"a string that ends in a backslash", "[\"abc\\", kFails},
        {"an escaped closing quote", R"(["abc\"])", kFails},
    };
    ExpectShapes(rows);
}

TEST(JsonReader, KeepsItsTolerances) {
    static const Row rows[] = {
        {"a trailing comma in an array", "[1,2,]", "[1,2]"},
        {"a trailing comma in an object", R"({"a":1,})", "{a=1}"},
        {"a trailing comma behind blanks", "[1 , \n ]", "[1]"},
        {"a bracket closing an object", R"({"a":1])", "{a=1}"},
        {"a brace closing an array", "[1}", "[1]"},
        {"a trailing comma before the other kind", "[1,}", "[1]"},
        {"a member without a value", R"({"a":})", R"({a=""})"},
        {"a member without a value, closed by the other kind", R"({"a":])", R"({a=""})"},
        {"an unquoted key of one byte", "{a:1}", "{a=1}"},
        {"an unquoted key of digits", "{1:2}", "{1=2}"},
        {"an unquoted literal as key", "{true:3}", "{true=3}"},
        {"a stray byte as value", R"({"a":x})", "{a=x}"},
        {"a slash as value", "[/]", "[/]"},
        {"DEL is a stray byte", "[\x7f]", "[\x7f]"},
        {"any run of number characters", R"({"a":1+2-.E})", "{a=1+2-.E}"},
        {"a letter e is a number character", "[e]", "[e]"},
        {"an unterminated string behind the root", R"({"a":1}"abc)", "{a=1}"},
        {"a closing brace as the document", "}", R"("")"},
        {"a closing bracket as the document", "]", R"("")"},
        {"a value that opens as a name", R"({"a":1,"b"})", kFails},
    };
    ExpectShapes(rows);
}

TEST(JsonReader, SkipsControlsAndNonAsciiBetweenTokens) {
    static const Row rows[] = {
        {"a byte-order mark", "\xef\xbb\xbf{\"a\":1}", "{a=1}"},
        {"controls",
         "\x01[\x02"
         "1\x1f,\x0b"
         "2\x08]\x0c",
         "[1,2]"},
        {"non-ASCII words",
         "\xc3\xa9[\xe2\x82\xac"
         "1\xc3\xbc]\xff",
         "[1]"},
        {"the first and the last skipped byte",
         "\x80[\xff"
         "1 ]",
         "[1]"},
        {"non-ASCII behind the root", "[1]\xc3\xa9", "[1]"},
        {"non-ASCII between digits parts them",
         "[1\xc3\xa9"
         "2]",
         kFails},
        {"an exclamation mark is no white space", "![1]", kFails},
    };
    ExpectShapes(rows);
}

TEST(JsonReader, OpensAContainerInPlaceOfTheLastNode) {
    static const Row rows[] = {
        {"behind a number", R"([1 {"a":2}])", "[{a=2}]"},
        {"behind a text", R"(["x" [2]])", "[[2]]"},
        {"behind a member's value", R"({"a":1 {"b":2}})", "{a={b=2}}"},
        {"in place of a name", R"({"a":1,{"b":2}})", "{a=1,{b=2}}"},
        {"the root again", R"({{"a":1})", "{a=1}"},
        {"the root again, and one bracket too many", R"({{"a":1}})", kFails},
        {"the root as both kinds", "{[1]", "[{1}]"},
        {"the root as both kinds, empty", "{[]", "[{}]"},
        {"an emptied root", "{{}", "{}"},
        {"a last node inside a closed array, open end", R"([[1] {"a":2}])", kFails},
        {"a last node inside a closed array", R"([[1] {"a":2}]])", "[[{a=2}]]"},
        {"a last node inside a closed object, open end", R"([{"a":1} {"b":2}])", kFails},
        {"a last node inside a closed object", R"([{"a":1} {"b":2}}])", "[{a={b=2}}]"},
        {"a last node two levels down, open end", R"([[[1]] [2]]])", kFails},
        {"a last node two levels down", R"([[[1]] [2]]]])", "[[[[2]]]]"},
        {"reopened and then continued", R"([[1] [2],3],4])", "[[[2],3],4]"},
        {"no last node behind an emptied array", R"([[] {"a":1}])", kFails},
        {"no last node behind an emptied member", R"({"a":[] {"b":1}})", kFails},
        {"no last node behind an emptied text", R"([[""] [1]])", kFails},
        {"a comma brings a last node back", R"([[],{"a":1}])", "[[],{a=1}]"},
    };
    ExpectShapes(rows);
}

TEST(JsonReader, TakesAnEmptyOnlyChildForAPlaceholder) {
    static const Row rows[] = {
        {"an empty text", R"([""])", "[]"},
        {"an empty member", R"({"":""})", "{}"},
        {"an empty member without a value", R"({"":})", "{}"},
        {"an inner empty text", R"([[""]])", "[[]]"},
        {"a stray backslash, which reads as empty", R"([\])", "[]"},
        {"two empty texts stay", R"(["",""])", R"(["",""])"},
        {"an empty text behind a trailing comma", R"(["",])", "[]"},
        {"a name keeps it", R"({"a":""})", R"({a=""})"},
        {"a value keeps it", R"({"":"b"})", R"({"b"})"},
        {"an unquoted value keeps it", "[0]", "[0]"},
        {"an empty object keeps it", "[{}]", "[{}]"},
        {"an empty first key asks for values", R"({"":1,"b":2})", kFails},
        {"an empty first key and a bare value", R"({"":1,"b"})", R"({1,"b"})"},
        {"an empty second key", R"({"a":1,"":2})", "{a=1,2}"},
    };
    ExpectShapes(rows);
}

TEST(JsonReader, Unescapes) {
    static const Row rows[] = {
        {"the letters", R"(["\b\f\n\r\t"])", "[\"\b\f\n\r\t\"]"},
        {"quote, backslash, slash", R"(["\"\\\/"])", "[\"\"\\/\"]"},
        {"any other letter is itself", R"(["\a\x\1\ "])", R"(["ax1 "])"},
        {"in a key", R"({"a\n\"b":1})", "{a\n\"b=1}"},
        {"a backslash before a non-ASCII byte", "[\"\\\xc3\xa9\"]", "[\"\xc3\xa9\"]"},
        {"two backslashes before the closing quote", R"(["a\\"])", R"(["a\"])"},
        {"a raw line feed stays", "[\"a\nb\"]", "[\"a\nb\"]"},
        {"a stray backslash as value", R"({"a":\})", "{a=}"},
        {"a stray backslash as name", R"({\:1})", "{1}"},
        {"a stray backslash as document", "\\", ""},
    };
    ExpectShapes(rows);
}

TEST(JsonReader, DecodesUnicodeEscapesFirst) {
    using namespace std::string_literals;
    static const Row rows[] = {
        {"a letter", R"(["\u0041"])", R"(["A"])"},
        {"an escaped backslash does not stop it", R"(["\\u0041"])", R"(["A"])"},
        {"outside a string", R"(\u005b1\u005D)", "[1]"},
        {"a quote does not end the string", R"(["a\u0022b"])", "[\"a\"b\"]"},
        {"a backslash is one backslash", R"(["\u005cn"])", R"(["\n"])"},
        {"the controls with letters", R"(["\u0008\u000c\u000A\u000d\u0009"])", "[\"\b\f\n\r\t\"]"},
        {"another control", R"(["\u0001"])", "[\"\x01\"]"},
        {"a slash", R"(["\u002F"])", R"(["/"])"},
        {"two bytes", R"(["\u00e9"])", "[\"\xc3\xa9\"]"},
        {"three bytes", R"(["\u20AC"])", "[\"\xe2\x82\xac\"]"},
        {"a surrogate pair", R"(["\uD83d\uDe00"])", "[\"\xf0\x9f\x98\x80\"]"},
        {"a lone low surrogate", R"(["\ude00"])", "[\"\xed\xb8\x80\"]"},
        {"a lone high surrogate spoils all", R"({"a":"\u0041","b":"\ud83d"})", R"({a="u0041",b="ud83d"})"},
        {"a path spoils all", R"({"p":"C:\\users","q":"\u00e9"})", R"({p="C:\users",q="u00e9"})"},
        {"too few digits spoil all", R"(["\u0041","\u004"])", R"(["u0041","u004"])"},
        {"no hexadecimal digit spoils all", R"(["\u0041","\u00g0"])", R"(["u0041","u00g0"])"},
        {"a zero inside a string ends the text", R"(["a\u0000b"])", kFails},
        {"a zero behind the root ends the text", R"(["a"]\u0000 rubbish)", R"(["a"])"},
        {"a raw zero inside a string ends the text", "[\"a\0b\"]"s, kFails},
        {"a raw zero behind the root ends the text", "[1]\0 rubbish"s, "[1]"},
        {"a bad escape behind a raw zero spoils all", "[\"\\u0041\"]\0\\u00"s, R"(["u0041"])"},
        {"a good escape behind a raw zero spoils nothing", "[\"\\u0041\"]\0\\u0042"s, R"(["A"])"},
    };
    ExpectShapes(rows);
}

TEST(JsonReader, KeepsFlagsOfScalarsAndContainers) {
    json::JsonNode root;
    ASSERT_TRUE(json::ParseJson(R"({"a":[1,"x"],"b":null})", root));
    EXPECT_TRUE(root.isObject);
    EXPECT_FALSE(root.isArray);
    EXPECT_TRUE(root.key.empty());
    EXPECT_TRUE(root.value.empty());
    EXPECT_EQ(root.parent, nullptr);
    ASSERT_EQ(root.children.size(), 2u);
    const json::JsonNode& array = root.children[0];
    EXPECT_TRUE(array.isArray);
    EXPECT_FALSE(array.isObject);
    ASSERT_EQ(array.children.size(), 2u);
    EXPECT_FALSE(array.children[0].isString);
    EXPECT_TRUE(array.children[1].isString);
    EXPECT_FALSE(root.children[1].isString);
    EXPECT_STREQ(root.children[1].value.c_str(), "null");
}

TEST(JsonReader, ClearsTheParentOfTheRoot) {
    json::JsonNode other;
    json::JsonNode root;
    root.parent = &other;
    EXPECT_TRUE(json::ParseJson("[1]", root));
    EXPECT_EQ(root.parent, nullptr);
}

}  // namespace
