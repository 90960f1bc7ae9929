#include "platform/common/Utf8.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

// By the formula of RFC 3629, for any number below 2^21; `length` may be longer than the number needs.
std::string Encode(unsigned long number, int length) {
    if (length == 1)
        return {static_cast<char>(number)};
    static const int kMarks[] = {0, 0, 0xC0, 0xE0, 0xF0};
    std::string text(
        1, static_cast<char>(static_cast<unsigned long>(kMarks[length]) | number >> (6 * (length - 1))));
    for (int i = length - 2; i >= 0; --i)
        text += static_cast<char>(0x80 | (number >> (6 * i) & 0x3F));
    return text;
}

int Length(unsigned long number) {
    return number < 0x80 ? 1 : number < 0x800 ? 2 : number < 0x10000 ? 3 : 4;
}

bool IsAccepted(const std::string& path) {
    try {
        quillmarkclient_common::RequireUtf8(path.c_str());
        return true;
    } catch (const std::range_error& error) {
        EXPECT_STREQ(error.what(), "bad conversion");
        return false;
    }
}

TEST(Utf8, TakesEveryCharacterAndNoSurrogate) {
    for (unsigned long number = 1; number <= 0x10FFFF; ++number) {
        const bool surrogate = 0xD800 <= number && number <= 0xDFFF;
        ASSERT_EQ(IsAccepted(Encode(number, Length(number))), !surrogate) << std::hex << number;
    }
}

TEST(Utf8, RefusesNumbersThatAreTooLarge) {
    for (const unsigned long number : {0x110000ul, 0x13FFFFul, 0x140000ul, 0x1FFFFFul})
        EXPECT_FALSE(IsAccepted(Encode(number, 4))) << std::hex << number;
}

TEST(Utf8, RefusesLongerFormsThanNeeded) {
    for (unsigned long number = 0; number < 0x10000; ++number) {
        for (int length = Length(number) + 1; length <= 4; ++length)
            ASSERT_FALSE(IsAccepted(Encode(number, length)))
                << std::hex << number << " in " << length << " bytes";
    }
}

TEST(Utf8, RefusesACharacterCutAtAnyPlace) {
    for (const unsigned long number : {0xE9ul, 0x20ACul, 0x1F600ul}) {
        const std::string whole = Encode(number, Length(number));
        for (std::size_t size = 1; size < whole.size(); ++size) {
            EXPECT_FALSE(IsAccepted(whole.substr(0, size))) << std::hex << number << ", " << size;
            EXPECT_FALSE(IsAccepted(whole.substr(0, size) + "a")) << std::hex << number << ", " << size;
            EXPECT_FALSE(IsAccepted(whole.substr(size))) << std::hex << number << ", behind " << size;
        }
    }
}

TEST(Utf8, TakesTheEmptyPath) {
    EXPECT_TRUE(IsAccepted(""));
}

}  // namespace
