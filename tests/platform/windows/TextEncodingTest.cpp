#include "platform/windows/TextEncoding.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

using quillmarkclient_windows::ToUtf16;
using quillmarkclient_windows::ToUtf8;

TEST(WindowsTextEncoding, GoesThereAndBack) {
    static const struct {
        const char* name;
        const char* utf8;
        std::wstring utf16;
    } rows[] = {
        {"nothing", "", L""},
        {"ASCII", "abc", L"abc"},
        {"two bytes", "\xC3\xBC", L"\u00FC"},
        {"three bytes", "\xE6\x97\xA5", L"\u65E5"},
        {"a pair", "\xF0\x9F\x98\x80", L"\xD83D\xDE00"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ToUtf16(row.utf8), row.utf16) << row.name;
        EXPECT_EQ(ToUtf8(row.utf16), row.utf8) << row.name;
    }
}

TEST(WindowsTextEncoding, HalfAPairBecomesTheReplacementCharacter) {
    static const struct {
        const char* name;
        std::wstring utf16;
        const char* utf8;
    } rows[] = {
        {"a first half alone", L"\xD83D", "\xEF\xBF\xBD"},
        {"a second half alone", L"\xDE00", "\xEF\xBF\xBD"},
        {"a first half, then a letter", L"a\xD83Dz", "a\xEF\xBF\xBDz"},
        {"the halves in the wrong order", L"\xDE00\xD83D", "\xEF\xBF\xBD\xEF\xBF\xBD"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ToUtf8(row.utf16), row.utf8) << row.name;
}

TEST(WindowsTextEncoding, WhatIsNotUtf8Throws) {
    for (const char* bytes : {"\xFF", "a\xC3", "\xED\xA0\x80", "\xC0\xAF"}) {
        try {
            ADD_FAILURE() << ::testing::PrintToString(ToUtf16(bytes));
        } catch (const std::range_error& error) {
            EXPECT_STREQ(error.what(), "bad conversion");
        }
    }
}

}  // namespace
