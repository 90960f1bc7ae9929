#include "tests/support/AllocationFailure.h"

#include <cstdlib>
#include <new>

namespace {

// Of one thread. The countdown stands at 0 when no failure is wanted.
struct AllocationState {
    bool isCounting;
    std::size_t blocks;
    std::size_t bytes;
    std::size_t countdown;
    bool hasFailed;
};

thread_local AllocationState state{};

void* Allocate(std::size_t size) noexcept {
    if (state.countdown != 0 && --state.countdown == 0) {
        state.hasFailed = true;
        return nullptr;
    }
    if (state.isCounting) {
        ++state.blocks;
        state.bytes += size;
    }
    return std::malloc(size == 0 ? 1 : size);
}

void* AllocateOrThrow(std::size_t size) {
    void* const block = Allocate(size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

}  // namespace

void* operator new(std::size_t size) {
    return AllocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return AllocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}

namespace test {

AllocationCount::AllocationCount() noexcept {
    state.isCounting = true;
    state.blocks = 0;
    state.bytes = 0;
}

AllocationCount::~AllocationCount() {
    state.isCounting = false;
}

std::size_t AllocationCount::Blocks() const noexcept {
    return state.blocks;
}

std::size_t AllocationCount::Bytes() const noexcept {
    return state.bytes;
}

FailingAllocation::FailingAllocation(std::size_t nth) noexcept {
    state.countdown = nth;
    state.hasFailed = false;
}

FailingAllocation::~FailingAllocation() {
    state.countdown = 0;
}

bool FailingAllocation::HasFailed() const noexcept {
    return state.hasFailed;
}

AllocationPause::AllocationPause() noexcept : wasCounting_(state.isCounting), countdown_(state.countdown) {
    state.isCounting = false;
    state.countdown = 0;
}

AllocationPause::~AllocationPause() {
    state.isCounting = wasCounting_;
    state.countdown = countdown_;
}

}  // namespace test
