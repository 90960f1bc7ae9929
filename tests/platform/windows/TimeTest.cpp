#include "platform/windows/Time.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <ctime>

#include "tests/support/windows/Wine.h"

namespace {

using quillmarkclient_windows::GetTime;

// Whatever zone the process is in. The build runs it in two that are far from UTC.
TEST(WindowsTime, CountsFrom1970InUtc) {
    const auto before = static_cast<std::uint64_t>(std::time(nullptr));
    std::uint64_t seconds = 0;
    ASSERT_EQ(GetTime(&seconds, nullptr), 0u);
    const auto after = static_cast<std::uint64_t>(std::time(nullptr));
    EXPECT_GE(seconds + 1, before);
    EXPECT_LE(seconds, after + 1);
}

// wine takes the zone from the variable TZ around it, and Windows has one of its own.
TEST(WindowsTime, TheTestsRunFarFromUtc) {
    if (!test::IsWine())
        GTEST_SKIP() << "the zone is that of the machine";
    SYSTEMTIME universal{};
    SYSTEMTIME local{};
    GetSystemTime(&universal);
    GetLocalTime(&local);
    EXPECT_NE(universal.wHour, local.wHour);
}

}  // namespace
