#include "core/src/core/helper.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using quillmarkclient_core::ToDecimal;

template <class Number>
struct Row {
    Number number;
    const char* text;
};

template <class Number, std::size_t count>
void ExpectTexts(const Row<Number> (&rows)[count]) {
    for (const auto& row : rows) {
        EXPECT_STREQ(ToDecimal(row.number).c_str(), row.text);
        EXPECT_EQ(std::to_string(row.number), row.text) << "the row itself";
    }
}

TEST(Helper, WritesSignedNumbersOf32Bits) {
    static const Row<std::int32_t> rows[] = {
        {0, "0"},
        {9, "9"},
        {10, "10"},
        {-1, "-1"},
        {-10, "-10"},
        {1000000000, "1000000000"},
        {INT32_MAX, "2147483647"},
        {INT32_MIN + 1, "-2147483647"},
        {INT32_MIN, "-2147483648"},
    };
    ExpectTexts(rows);
}

TEST(Helper, WritesUnsignedNumbersOf32Bits) {
    static const Row<std::uint32_t> rows[] = {
        {0, "0"}, {7, "7"}, {10, "10"}, {2147483648, "2147483648"}, {UINT32_MAX, "4294967295"},
    };
    ExpectTexts(rows);
}

TEST(Helper, WritesUnsignedNumbersOf64Bits) {
    static const Row<std::uint64_t> rows[] = {
        {0, "0"},
        {10, "10"},
        {4294967296, "4294967296"},
        {9223372036854775808u, "9223372036854775808"},
        {UINT64_MAX, "18446744073709551615"},
    };
    ExpectTexts(rows);
}

TEST(Helper, WritesABytesNumberAndNoCharacter) {
    EXPECT_STREQ(ToDecimal(std::uint8_t{65}).c_str(), "65");
    EXPECT_STREQ(ToDecimal(std::uint8_t{255}).c_str(), "255");
}

}  // namespace
