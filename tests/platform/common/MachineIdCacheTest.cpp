#include "platform/common/MachineIdCache.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using quillmarkclient_common::MachineIdCache;
using Ids = std::vector<std::string>;

std::uint32_t SizeOf(MachineIdCache& cache) {
    std::uint32_t size = 4711;
    EXPECT_EQ(cache.Get(nullptr, &size), 0u);
    return size;
}

TEST(MachineIdCacheTest, FillsOnceAndKeepsTheList) {
    int reads = 0;
    MachineIdCache cache([&] { return ++reads == 1 ? Ids{"MAC-1", "os"} : Ids{"other"}; });
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(SizeOf(cache), 9u);
        std::string block(9, '*');
        std::uint32_t size = 9;
        EXPECT_EQ(cache.Get(block.data(), &size), 0u);
        EXPECT_EQ(block, std::string("MAC-1\0os\0", 9));
    }
    EXPECT_EQ(reads, 1);
}

TEST(MachineIdCacheTest, FillsABufferThatHoldsAllAndTouchesNoOther) {
    static const struct {
        const char* name;
        std::uint32_t capacity;
        std::uint32_t code;
        std::string buffer;
    } rows[] = {
        {"no room at all", 0, 0x80000005, "************"},
        {"room for the first text alone", 6, 0x80000005, "************"},
        {"one byte short", 8, 0x80000005, "************"},
        {"exactly the size", 9, 0, std::string("MAC-1\0os\0***", 12)},
        {"two bytes more, which are cleared", 11, 0, std::string("MAC-1\0os\0\0\0*", 12)},
    };
    for (const bool isFilled : {false, true}) {
        for (const auto& row : rows) {
            MachineIdCache cache([] { return Ids{"MAC-1", "os"}; });
            if (isFilled) {
                EXPECT_EQ(SizeOf(cache), 9u);
            }
            std::string buffer(12, '*');
            std::uint32_t size = row.capacity;
            EXPECT_EQ(cache.Get(buffer.data(), &size), row.code)
                << row.name << ", asked before: " << isFilled;
            EXPECT_EQ(buffer, row.buffer) << row.name << ", asked before: " << isFilled;
            EXPECT_EQ(size, row.capacity) << row.name << ", asked before: " << isFilled;
        }
    }
}

TEST(MachineIdCacheTest, NeedsTheSizeBeforeAnythingElse) {
    int reads = 0;
    MachineIdCache cache([&] {
        ++reads;
        return Ids{"os"};
    });
    std::string buffer(4, '*');
    EXPECT_EQ(cache.Get(nullptr, nullptr), 0x80000002u);
    EXPECT_EQ(cache.Get(buffer.data(), nullptr), 0x80000002u);
    EXPECT_EQ(buffer, "****");
    EXPECT_EQ(reads, 0);
    EXPECT_EQ(SizeOf(cache), 3u);
    EXPECT_EQ(cache.Get(buffer.data(), nullptr), 0x80000002u) << "of a list that is there";
    EXPECT_EQ(buffer, "****");
}

TEST(MachineIdCacheTest, DoesNotRememberAnEmptyList) {
    int reads = 0;
    MachineIdCache cache([&] { return ++reads < 3 ? Ids{} : Ids{"os"}; });
    EXPECT_EQ(SizeOf(cache), 0u);
    EXPECT_EQ(SizeOf(cache), 0u);
    EXPECT_EQ(SizeOf(cache), 3u);
    EXPECT_EQ(reads, 3);
}

TEST(MachineIdCacheTest, AnEmptyListClearsTheBuffer) {
    MachineIdCache cache([] { return Ids{}; });
    std::string block(4, '*');
    std::uint32_t size = 4;
    EXPECT_EQ(cache.Get(block.data(), &size), 0u);
    EXPECT_EQ(block, std::string(4, '\0'));
}

TEST(MachineIdCacheTest, AnExceptionIsAnInternalErrorAndIsNotRemembered) {
    int reads = 0;
    MachineIdCache cache([&]() -> Ids {
        if (++reads == 1)
            throw std::runtime_error("a fault");
        if (reads == 2)
            throw std::bad_alloc();
        return {"os"};
    });
    std::uint32_t size = 4711;
    EXPECT_EQ(cache.Get(nullptr, &size), 0x80000001u);
    EXPECT_EQ(cache.Get(nullptr, &size), 0x80000001u);
    EXPECT_EQ(size, 4711u);
    EXPECT_EQ(SizeOf(cache), 3u) << "and the mutex is free";
}

}  // namespace
