// Memory, time and the machine's identifiers.
#include <chrono>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>

#include "tests/platform/conformance/Conformance.h"

namespace test {

TEST_P(MemoryConformance, AllocGivesABlockToWriteTo) {
    for (const std::size_t size :
         {std::size_t{1}, std::size_t{7}, std::size_t{4096}, std::size_t{10'000'000}}) {
        void* block = table.Alloc(size);
        ASSERT_NE(block, nullptr) << size;
        std::memset(block, 0x5A, size);
        table.Free(block);
    }
}

TEST_P(MemoryConformance, AllocOfNothingIsNull) {
    EXPECT_EQ(table.Alloc(0), nullptr);
}

// The whole address space of a process: no machine has it, and no system has to look for it for long.
TEST_P(MemoryConformance, AllocOfTooMuchIsNullAndThrowsNothing) {
    void* block = nullptr;
    EXPECT_NO_THROW(block = table.Alloc(std::size_t{1} << 47));
    EXPECT_EQ(block, nullptr);
}

TEST_P(MemoryConformance, EveryPartnerTakesNull) {
    table.Free(nullptr);
    table.FreeCryptoBuffer(nullptr, nullptr);
    EXPECT_EQ(table.HttpFree(nullptr, nullptr), 0u);
}

TEST_P(MemoryConformance, SetCopyAndMoveActAsTheirNamesakes) {
    char bytes[9] = "01234567";
    table.MemSet(bytes + 1, 'x', 2);
    EXPECT_STREQ(bytes, "0xx34567");
    table.MemSet(bytes, 0xFF, 1);
    EXPECT_EQ(static_cast<unsigned char>(bytes[0]), 0xFF);
    table.MemCopy(bytes, "abc", 3);
    EXPECT_STREQ(bytes, "abc34567");
    table.MemMove(bytes + 1, bytes, 4);
    EXPECT_STREQ(bytes, "aabc3567") << "overlapping, upwards";
    table.MemMove(bytes, bytes + 2, 6);
    EXPECT_STREQ(bytes, "bc356767") << "overlapping, downwards";
    table.MemCopy(bytes, "zz", 0);
    table.MemMove(bytes, "zz", 0);
    table.MemSet(bytes, 'z', 0);
    EXPECT_STREQ(bytes, "bc356767") << "size 0";
}

TEST_P(MemoryConformance, NullPointersAreLeftAlone) {
    char bytes[4] = "abc";
    table.MemSet(nullptr, 'x', 3);
    table.MemCopy(nullptr, bytes, 3);
    table.MemCopy(bytes, nullptr, 3);
    table.MemMove(nullptr, bytes, 3);
    table.MemMove(bytes, nullptr, 3);
    EXPECT_STREQ(bytes, "abc");
}

TEST_P(MemoryConformance, CompareOrdersByUnsignedBytes) {
    static const struct {
        const char* name;
        const void* left;
        const void* right;
        std::size_t size;
        int sign;
    } rows[] = {
        {"equal", "abc", "abc", 3, 0},
        {"less", "abc", "abd", 3, -1},
        {"greater", "abd", "abc", 3, 1},
        {"unsigned", "\x7F", "\x80", 1, -1},
        {"behind a zero byte", "a\0b", "a\0c", 3, -1},
        {"differing behind the size", "abX", "abY", 2, 0},
        {"of size 0", "a", "b", 0, 0},
        {"left null", nullptr, "abc", 3, 0},
        {"right null", "abc", nullptr, 3, 0},
        {"both null", nullptr, nullptr, 3, 0},
    };
    for (const auto& row : rows) {
        const int answer = table.MemCompare(row.left, row.right, row.size);
        EXPECT_EQ((answer > 0) - (answer < 0), row.sign) << row.name;
    }
}

TEST_P(TimeConformance, GetTimeCountsSecondsSince1970) {
    const auto before = static_cast<std::uint64_t>(std::time(nullptr));
    std::uint64_t seconds = 0;
    EXPECT_EQ(table.GetTime(&seconds, nullptr), 0u);
    const auto after = static_cast<std::uint64_t>(std::time(nullptr));
    // time() may read a coarser clock that lags by some milliseconds.
    EXPECT_GE(seconds, before);
    EXPECT_LE(seconds, after + 1);
}

TEST_P(TimeConformance, GetTimeNeedsAnArgument) {
    EXPECT_EQ(table.GetTime(nullptr, nullptr), 0x8100000Au);
}

TEST_P(TimeConformance, SleepTakesMilliseconds) {
    using Clock = std::chrono::steady_clock;
    for (const std::uint32_t milliseconds : {0u, 1u, 30u}) {
        const auto start = Clock::now();
        EXPECT_EQ(table.Sleep(milliseconds, nullptr), 0u);
        const auto elapsed = Clock::now() - start;
        EXPECT_GE(elapsed, std::chrono::milliseconds(milliseconds));
        EXPECT_LT(elapsed, std::chrono::seconds(10)) << "30 of a larger unit would be longer";
    }
}

TEST_P(IdentifierConformance, NeedsTheSize) {
    char buffer[16];
    EXPECT_EQ(table.GetMachineIds(nullptr, nullptr, nullptr), 0x80000002u);
    EXPECT_EQ(table.GetMachineIds(buffer, nullptr, nullptr), 0x80000002u);
}

TEST_P(IdentifierConformance, TheSizeAskedForIsTheSizeNeeded) {
    std::uint32_t size = 0;
    ASSERT_EQ(table.GetMachineIds(nullptr, &size, nullptr), 0u);
    if (size == 0) {
        ASSERT_FALSE(GetParam().isMachineNamed);
        GTEST_SKIP() << "this machine names neither an adapter nor its operating system";
    }

    std::string exact(size, '*');
    std::uint32_t capacity = size;
    EXPECT_EQ(table.GetMachineIds(exact.data(), &capacity, nullptr), 0u);
    EXPECT_EQ(exact.back(), '\0');

    std::string less(size, '*');
    capacity = size - 1;
    EXPECT_EQ(table.GetMachineIds(less.data(), &capacity, nullptr), 0x80000005u);
    EXPECT_EQ(less, std::string(size, '*'));

    std::string more(size + 10, '*');
    capacity = size + 10;
    EXPECT_EQ(table.GetMachineIds(more.data(), &capacity, nullptr), 0u);
    EXPECT_EQ(more, exact + std::string(10, '\0')) << "cleared up to the size given";
}

TEST_P(IdentifierConformance, AdaptersComeFirstThenTheOperatingSystem) {
    std::uint32_t size = 0;
    ASSERT_EQ(table.GetMachineIds(nullptr, &size, nullptr), 0u);
    if (size == 0) {
        ASSERT_FALSE(GetParam().isMachineNamed);
        GTEST_SKIP() << "this machine names neither an adapter nor its operating system";
    }
    std::string block(size, '*');
    ASSERT_EQ(table.GetMachineIds(block.data(), &size, nullptr), 0u);

    const std::string_view digits = GetParam().addressDigits;
    bool adapters = true;
    for (std::size_t start = 0; start < block.size(); start = block.find('\0', start) + 1) {
        const std::string id = block.c_str() + start;
        const bool adapter = id.rfind("MAC-", 0) == 0;
        EXPECT_TRUE(adapters || !adapter) << id << " stands behind the operating system";
        adapters = adapter;
        if (!adapter)
            continue;
        ASSERT_EQ(id.size(), 21u) << id;
        for (std::size_t i = 4; i < id.size(); ++i) {
            const bool fits = i % 3 == 0 ? id[i] == '-' : digits.find(id[i]) != digits.npos;
            EXPECT_TRUE(fits) << id;
        }
    }
}

}  // namespace test
