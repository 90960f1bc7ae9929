// A machine without WMI, which wine plays when it is told to do without the library.
#include <gtest/gtest.h>

#include "platform/windows/MachineIds.h"
#include "tests/support/windows/Wine.h"

namespace {

using quillmarkclient_windows::GetMachineIds;
using quillmarkclient_windows::ReadMachineIds;

TEST(WindowsNoWmi, TheListIsEmptyWithSuccess) {
    if (!test::IsWine())
        GTEST_SKIP() << "this is no wine";
    EXPECT_TRUE(ReadMachineIds().empty());
    for (int i = 0; i < 2; ++i) {
        std::uint32_t size = 4711;
        EXPECT_EQ(GetMachineIds(nullptr, &size, nullptr), 0u);
        EXPECT_EQ(size, 0u);
    }
}

}  // namespace
