#include "core/src/json/JsonUnicode.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/core/json/JsonTestSupport.h"
#include "tests/support/AllocationFailure.h"

namespace {

using json_test::Bytes;
using json_test::Text;

TEST(JsonUnicode, DecodesEveryEscapeOfAGoodText) {
    using namespace std::string_literals;
    static const struct {
        const char* name;
        std::string text;
        std::string decoded;
    } rows[] = {
        {"a letter", R"(\u0041)", "A"},
        {"digits of either case", R"(\u00aB\u00Ab)", "\xc2\xab\xc2\xab"},
        {"texts around", R"(ab\u0043d)", "abCd"},
        {"one behind another", R"(\u0041\u0042)", "AB"},
        {"the last of one byte", R"(\u007f)", "\x7f"},
        {"the first of two bytes", R"(\u0080)", "\xc2\x80"},
        {"the last of two bytes", R"(\u07ff)", "\xdf\xbf"},
        {"the first of three bytes", R"(\u0800)", "\xe0\xa0\x80"},
        {"before the surrogates", R"(\ud7ff)", "\xed\x9f\xbf"},
        {"a lone low surrogate, the first", R"(\udc00)", "\xed\xb0\x80"},
        {"a lone low surrogate, the last", R"(\udfff)", "\xed\xbf\xbf"},
        {"behind the surrogates", R"(\ue000)", "\xee\x80\x80"},
        {"the last of three bytes", R"(\uffff)", "\xef\xbf\xbf"},
        {"the first pair", R"(\ud800\udc00)", "\xf0\x90\x80\x80"},
        {"the last pair", R"(\udbff\udfff)", "\xf4\x8f\xbf\xbf"},
        {"zero", R"(a\u0000b)", "a\0b"s},
        {"quote", R"(\u0022)", R"(\")"},
        {"backslash", R"(\u005c)", R"(\\)"},
        {"backspace", R"(\u0008)", R"(\b)"},
        {"form feed", R"(\u000c)", R"(\f)"},
        {"line feed", R"(\u000a)", R"(\n)"},
        {"carriage return", R"(\u000d)", R"(\r)"},
        {"tab", R"(\u0009)", R"(\t)"},
        {"another control", R"(\u001f)", "\x1f"},
        {"a slash needs no escape", R"(\u002f)", "/"},
        {"behind a backslash", R"(\\u0041)", R"(\A)"},
        {"behind two backslashes", R"(\\\u0041)", R"(\\A)"},
        {"other escapes stay", R"(\n\u0041\")", R"(\nA\")"},
        {"a backslash at the end stays", "\\u0041\\", "A\\"},
        {"behind a zero byte", "a\0\\u0041"s, "a\0A"s},
    };
    for (const auto& row : rows) {
        portable_stl::string out;
        EXPECT_TRUE(json::DecodeUnicodeEscapes(Text(row.text), out)) << row.name;
        EXPECT_EQ(Bytes(out), row.decoded) << row.name;
    }
}

TEST(JsonUnicode, LeavesTheTextAloneWhenOneEscapeIsBad) {
    using namespace std::string_literals;
    static const struct {
        const char* name;
        std::string text;
    } rows[] = {
        {"no text", ""},
        {"no escape", R"({"a":"b\n"})"},
        {"a capital U", R"(\U0041)"},
        {"nothing behind u", R"(\u)"},
        {"three digits, then the end", R"(\u004)"},
        {"three digits, then another byte", R"(\u004g)"},
        {"a sign", R"(\u+041)"},
        {"a blank", R"(\u 041)"},
        {"the byte behind 9", R"(\u004:)"},
        {"the byte before A", R"(\u004@)"},
        {"the byte before a", "\\u004`"},
        {"a bad one behind a good one", R"(\u0041\u)"},
        {"a bad one before a good one", R"(\ux\u0041)"},
        {"a lone high surrogate, the first", R"(\ud800)"},
        {"a lone high surrogate, the last", R"(\udbff)"},
        {"a high surrogate and a letter", R"(\ud83dx)"},
        {"a high surrogate and another escape", R"(\ud83d\u0041)"},
        {"two high surrogates", R"(\ud83d\ud83d)"},
        {"a pair with a byte between", R"(\ud83d \ude00)"},
        {"a pair with a backslash between", R"(\ud83d\\ude00)"},
        {"a pair that is cut", R"(\ud83d\ude0)"},
        {"a high surrogate and the value behind the low ones", R"(\ud83d\ue000)"},
        {"a Windows path", R"(\u0041 C:\\users)"},
        {"a bad one behind a zero byte", "\\u0041\0\\u"s},
    };
    for (const auto& row : rows) {
        portable_stl::string out("untouched");
        EXPECT_FALSE(json::DecodeUnicodeEscapes(Text(row.text), out)) << row.name;
        EXPECT_EQ(Bytes(out), "untouched") << row.name;
    }
}

TEST(JsonUnicode, TakesOneBlockOfTheRightSize) {
    std::string text;
    for (int i = 0; i < 1000; ++i)
        text += R"(ab\u00e9\ud83d\ude00)";
    const portable_stl::string source = Text(text);
    portable_stl::string out;
    const test::AllocationCount count;
    ASSERT_TRUE(json::DecodeUnicodeEscapes(source, out));
    EXPECT_EQ(count.Blocks(), 1u);
    EXPECT_EQ(count.Bytes(), out.size() + 1);
    EXPECT_EQ(out.size(), 8000u);
}

}  // namespace
