// Counts and fails the allocations of a test program.
//
// A program that compiles AllocationFailure.cpp gets its global operator new, in all plain forms. Both
// classes act on the calling thread while they live, and are not nested. The code between their
// construction and the end of their scope should be the subject alone: an allocation of the test's own is
// counted, or fails, just so.
//
//     for (std::size_t nth = 1;; ++nth) {
//         FailingAllocation failing(nth);
//         Subject();
//         if (!failing.HasFailed()) break;
//     }
#pragma once

#include <cstddef>

namespace test {

class AllocationCount {
public:
    AllocationCount() noexcept;
    ~AllocationCount();
    AllocationCount(const AllocationCount&) = delete;
    AllocationCount& operator=(const AllocationCount&) = delete;

    // Since construction.
    [[nodiscard]] std::size_t Blocks() const noexcept;
    [[nodiscard]] std::size_t Bytes() const noexcept;
};

// Fails one allocation, the nth from now, counted from 1: null from a nothrow form, std::bad_alloc from a
// throwing one. Those before and behind it succeed.
class FailingAllocation {
public:
    explicit FailingAllocation(std::size_t nth) noexcept;
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    [[nodiscard]] bool HasFailed() const noexcept;
};

// While one lives, allocations are neither counted nor failed: for a fake that the subject calls and that
// allocates for itself.
class AllocationPause {
public:
    AllocationPause() noexcept;
    ~AllocationPause();
    AllocationPause(const AllocationPause&) = delete;
    AllocationPause& operator=(const AllocationPause&) = delete;

private:
    bool wasCounting_;
    std::size_t countdown_;
};

}  // namespace test
