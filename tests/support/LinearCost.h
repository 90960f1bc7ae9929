// What a subject costs as its input grows: measured in memory traffic, which no loaded machine changes.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <utility>

#include "tests/support/AllocationFailure.h"

namespace test {

/// The bytes that `work` allocates, whether it keeps them or not.
template <class Work>
std::size_t AllocatedBytes(Work&& work) {
    const AllocationCount count;
    std::forward<Work>(work)();
    return count.Bytes();
}

/// Expects that ten times as much costs about ten times the bytes. `costOf(n)` gives the bytes of n. Buffers
/// that double may miss the ten by a factor of two; a cost that grows with the square would be a hundred.
template <class CostOf>
void ExpectLinearCost(std::size_t few, CostOf&& costOf) {
    const std::size_t one = costOf(few);
    const std::size_t ten = costOf(few * 10);
    EXPECT_GT(one, few) << "the subject allocates, so the count shows its copies";
    EXPECT_LT(ten, one * 22);
}

}  // namespace test
