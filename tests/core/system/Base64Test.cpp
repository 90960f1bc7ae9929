#include <gtest/gtest.h>

#include <string>

#include "tests/core/system/Base64Texts.h"
#include "tests/support/RandomText.h"

namespace {

using quillmarkclient_core::Base64Decode;
using quillmarkclient_core::Base64Encode;
using test::Decode;
using test::Decoded;
using test::Encoded;
using test::RandomBytes;

TEST(Base64, EncodesInTheStandardAlphabetPadded) {
    static const struct {
        const char* name;
        std::string bytes;
        const char* text;
    } rows[] = {
        // RFC 4648, section 10
        {"nothing", "", ""},
        {"one byte", "f", "Zg=="},
        {"two bytes", "fo", "Zm8="},
        {"three bytes", "foo", "Zm9v"},
        {"four bytes", "foob", "Zm9vYg=="},
        {"five bytes", "fooba", "Zm9vYmE="},
        {"six bytes", "foobar", "Zm9vYmFy"},
        {"plus and slash", "\xFB\xFF\xBF", "+/+/"},
        {"zero bytes", std::string(3, '\0'), "AAAA"},
        {"high bytes", "\xFF\xFE", "//4="},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Encoded(row.bytes), row.text) << row.name;
}

TEST(Base64, EncodesWithoutLineBreaks) {
    EXPECT_EQ(Encoded(std::string(3000, 'a')).find_first_of("\r\n"), std::string::npos);
}

TEST(Base64, EncodesANullBlockOfNoBytes) {
    EXPECT_TRUE(Base64Encode(nullptr, 0).empty());
}

TEST(Base64, DecodesWhatItSkipsAndCutsAsTold) {
    static const struct {
        const char* name;
        std::string text;
        Decoded expected;
    } rows[] = {
        {"nothing", "", {true, ""}},
        {"padded", "Zg==", {true, "f"}},
        {"padding left out", "Zg", {true, "f"}},
        {"too much padding", "Zg======", {true, "f"}},
        {"equals signs inside", "QU=JD", {true, "ABC"}},
        {"an equals sign first", "=QUJD", {true, "ABC"}},
        {"going on behind the padding", "Zg==Zg==", {true, "f\x06`"}},
        {"only padding", "====", {true, ""}},
        {"line breaks and blanks", " Zm9v\r\nYm\tFy \n", {true, "foobar"}},
        {"only white space", " \r\n\t", {true, ""}},
        {"all controls",
         std::string("\x01Z\x1Fm\x02"
                     "9v",
                     7),
         {true, "foo"}},
        {"a zero byte", std::string("Zm\0009v", 5), {true, "foo"}},
        {"bytes from 0x80",
         "Z\x80m\xFF"
         "9\xC3\xA4v",
         {true, "foo"}},
        {"a byte-order mark", "\xEF\xBB\xBFZm9v", {true, "foo"}},
        {"one character: six bits, dropped", "Z", {true, ""}},
        {"cut behind five", "Zm9vY", {true, "foo"}},
        {"left-over bits set", "Zh==", {true, "f"}},
        {"plus and slash", "+/+/", {true, "\xFB\xFF\xBF"}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Decode(row.text), row.expected) << row.name;
}

TEST(Base64, AByteOutsideTheAlphabetEndsWithNothing) {
    static const struct {
        const char* name;
        std::string text;
    } rows[] = {
        {"minus of the URL-safe alphabet", "Zm9v-m9v"},
        {"underscore of the URL-safe alphabet", "Zm9v_m9v"},
        {"as the last byte", "Zm9vYmFy!"},
        {"as the first byte", "*Zm9v"},
        {"behind the padding", "Zg==-"},
        {"a full stop", "Zm.v"},
        {"DEL, 127", "Zm9v\x7F"},
        {"the first printable, 33", "Zm9v!"},
        {"a comma", "Zm,9v"},
        {"back-quote, one below 'a'", "Zm9`"},
        {"at sign, one below 'A'", "Zm9@"},
        {"bracket, one above 'Z'", "Zm9["},
        {"brace, one above 'z'", "Zm9{"},
        {"colon, one above '9'", "Zm9:"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Decode(row.text), (Decoded{false, ""})) << row.name;
}

TEST(Base64, TreatsEachSingleByteAsTold) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        const bool skipped = byte < 33 || byte >= 128 || c == '=';
        const bool ok = skipped || alphabet.find(c) != std::string::npos;
        const Decoded result = Decode("QUJ" + std::string(1, c));
        EXPECT_EQ(result.ok, ok) << byte;
        EXPECT_EQ(result.bytes.size(), !ok ? 0u : skipped ? 2u : 3u) << byte;
    }
}

TEST(Base64, DecodesALongTextAndFailsAtItsEnd) {
    const std::string bytes = RandomBytes(1'000'000, 1);
    const std::string text = Encoded(bytes);
    EXPECT_EQ(Decode(text).bytes == bytes, true);
    EXPECT_EQ(Decode(text + "-"), (Decoded{false, ""}));
}

TEST(Base64, DecodesANullTextOfNoBytes) {
    portable_stl::vector<unsigned char> bytes;
    EXPECT_TRUE(Base64Decode(nullptr, 0, bytes));
    EXPECT_TRUE(bytes.empty());
}

}  // namespace
