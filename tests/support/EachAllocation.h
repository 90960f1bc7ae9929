// Code that is run again and again, each time with another allocation failing.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>

#include "portable_stl/exception.h"
#include "tests/support/AllocationFailure.h"

namespace test {

/// Runs `action` with its first, second, ... allocation failing, until none is left to fail. Each failure has
/// to leave it as an exception of the containers. Gives how many there were.
template <class Action>
std::size_t FailEachAllocation(Action action) {
    for (std::size_t nth = 1;; ++nth) {
        const FailingAllocation failing(nth);
        try {
            action();
        } catch (const portable_stl::exception&) {
            EXPECT_TRUE(failing.HasFailed()) << nth;
            continue;
        }
        EXPECT_FALSE(failing.HasFailed()) << "swallowed, allocation " << nth;
        return nth - 1;
    }
}

}  // namespace test
