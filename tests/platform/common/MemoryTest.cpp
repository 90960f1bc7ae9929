#include "platform/common/Memory.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

// The rows of every platform stand in tests/platform/conformance; here is what the crypto operations add to
// them.
namespace {

using namespace quillmarkclient_common;

TEST(CommonMemory, BlocksComeAlignedForAnything) {
    for (const std::size_t size : {1u, 3u, 24u, 1000u}) {
        void* block = Alloc(size);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0u) << size;
        Free(block);
    }
}

TEST(CommonMemory, CompareOfAMissingBlockIsZeroWhateverTheSize) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, SIZE_MAX}) {
        EXPECT_EQ(MemCompare(nullptr, "abc", size), 0) << size;
        EXPECT_EQ(MemCompare("abc", nullptr, size), 0) << size;
    }
}

}  // namespace
