// What the layouts of the records that cross the boundary are compared with.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>

namespace test {

struct Layout {
    const char* name;
    std::size_t actual;
    std::size_t expected;
};

template <std::size_t count>
void ExpectLayouts(const Layout (&rows)[count]) {
    for (const Layout& row : rows)
        EXPECT_EQ(row.actual, row.expected) << row.name;
}

}  // namespace test
