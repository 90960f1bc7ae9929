#include "portable_stl/vector.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "portable_stl/string.h"
#include "tests/support/AllocationFailure.h"

namespace {

using portable_stl::portable_stl_error;
using portable_stl::string;
using portable_stl::vector;
using test::AllocationCount;
using test::FailingAllocation;
using ErrorAccess = portable_stl::bad_expected_access<portable_stl_error, portable_stl::false_type>;

// Counts what happens to elements, of one test at a time.
struct Witness {
    static inline int copies, moves, alive;
    static void Reset() { copies = moves = alive = 0; }

    explicit Witness(int initial = 0) : number(initial) { ++alive; }
    Witness(const Witness& other) : number(other.number) { ++copies, ++alive; }
    Witness(Witness&& other) noexcept : number(std::exchange(other.number, -1)) { ++moves, ++alive; }
    Witness& operator=(const Witness&) = default;
    Witness& operator=(Witness&& other) noexcept {
        number = std::exchange(other.number, -1);
        return *this;
    }
    ~Witness() { --alive; }

    int number;
};

// A fresh vector with the numbers from 0.
vector<int> Counting(int count) {
    vector<int> numbers;
    for (int i = 0; i < count; ++i)
        numbers.push_back(i).value();
    return numbers;
}

TEST(Vector, StartsWithoutABlock) {
    const vector<int> numbers;
    EXPECT_TRUE(numbers.empty());
    EXPECT_EQ(numbers.size(), 0u);
    EXPECT_EQ(numbers.capacity(), 0u);
    EXPECT_EQ(numbers.data(), nullptr);
    EXPECT_EQ(numbers.begin(), numbers.end());
}

TEST(Vector, LayoutIsTold) {
    vector<int> numbers = Counting(3);
    const int* words[3];
    std::memcpy(words, static_cast<const void*>(&numbers), sizeof words);
    EXPECT_EQ(words[0], numbers.data()) << "begin";
    EXPECT_EQ(words[1], numbers.data() + 3) << "end";
    EXPECT_EQ(words[2], numbers.data() + numbers.capacity()) << "end of capacity";
}

TEST(Vector, CapacityIsTheLargerOfTwiceAndNeeded) {
    static const struct {
        const char* name;
        std::size_t former;
        std::size_t needed;
        std::size_t capacity;
    } rows[] = {
        {"the first: what is needed", 0, 1, 1},
        {"one to two", 1, 2, 2},
        {"twice", 10, 11, 20},
        {"twice is just enough", 10, 20, 20},
        {"more than twice", 10, 21, 21},
        {"much more", 1, 1000, 1000},
        {"enough already", 10, 10, 10},
        {"less", 10, 3, 10},
    };
    for (const auto& row : rows) {
        vector<int> resized;
        resized.resize(row.former).value();
        ASSERT_EQ(resized.capacity(), row.former) << row.name;
        resized.resize(row.needed).value();
        EXPECT_EQ(resized.capacity(), row.capacity) << row.name;
        EXPECT_EQ(resized.size(), row.needed) << row.name;

        vector<int> reserved;
        reserved.reserve(row.former).value();
        reserved.reserve(row.needed).value();
        EXPECT_EQ(reserved.capacity(), row.capacity) << row.name;
        EXPECT_TRUE(reserved.empty()) << row.name;
    }
}

TEST(Vector, PushBackDoubles) {
    vector<int> numbers;
    std::size_t expected = 0;
    for (int i = 0; i < 1000; ++i) {
        if (numbers.size() == expected)
            expected = expected == 0 ? 1 : expected * 2;
        ASSERT_TRUE(numbers.push_back(i));
        ASSERT_EQ(numbers.capacity(), expected) << i;
    }
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(numbers[static_cast<std::size_t>(i)], i);
}

TEST(Vector, GrowthMovesAndNeverCopies) {
    Witness::Reset();
    {
        vector<Witness> elements;
        for (int i = 0; i < 100; ++i)
            elements.emplace_back(i).value();
        EXPECT_EQ(Witness::copies, 0);
        EXPECT_GT(Witness::moves, 0);
        EXPECT_EQ(Witness::alive, 100);
        elements.reserve(1000).value();
        elements.resize(500).value();
        EXPECT_EQ(Witness::copies, 0);
        EXPECT_EQ(elements[99].number, 99);
        EXPECT_EQ(elements[499].number, 0);
        elements.push_back(elements.front()).value();
        EXPECT_EQ(Witness::copies, 1) << "the element itself";
    }
    EXPECT_EQ(Witness::alive, 0);
}

TEST(Vector, TakesItsOwnElements) {
    for (int length = 1; length < 20; ++length) {
        vector<string> texts;
        for (int i = 0; i < length; ++i)
            texts.emplace_back("a text that is too long for the short form").value();
        texts.push_back(texts.front()).value();
        texts.push_back(texts.back()).value();
        EXPECT_STREQ(texts.back().c_str(), texts.front().c_str()) << length;
        texts.push_back(std::move(texts[0])).value();
        EXPECT_STREQ(texts.back().c_str(), texts[1].c_str()) << length;
        EXPECT_TRUE(texts[0].empty()) << length;
    }
}

TEST(Vector, ResizeAddsZeroElementsAndCutsTheEnd) {
    vector<unsigned char> bytes;
    bytes.resize(3).value();
    bytes[1] = 7;
    bytes.resize(5).value();
    const unsigned char expected[] = {0, 7, 0, 0, 0};
    ASSERT_EQ(bytes.size(), sizeof expected);
    EXPECT_EQ(std::memcmp(bytes.data(), expected, sizeof expected), 0);
    bytes.resize(2).value();
    EXPECT_EQ(bytes.size(), 2u);
    EXPECT_EQ(bytes.capacity(), 6u) << "the block stays";
    bytes.resize(3).value();
    EXPECT_EQ(bytes[2], 0);
}

TEST(Vector, ErasesOne) {
    static const struct {
        const char* name;
        int position;
        int rest[3];
    } rows[] = {
        {"the first", 0, {1, 2, 3}},
        {"in the middle", 2, {0, 1, 3}},
        {"the last", 3, {0, 1, 2}},
    };
    for (const auto& row : rows) {
        vector<int> numbers = Counting(4);
        const auto next = numbers.erase(numbers.begin() + row.position);
        EXPECT_EQ(next - numbers.begin(), row.position) << row.name;
        ASSERT_EQ(numbers.size(), 3u) << row.name;
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_EQ(numbers[i], row.rest[i]) << row.name;
    }
}

TEST(Vector, EndsEachElementOnce) {
    Witness::Reset();
    vector<Witness> elements;
    elements.resize(10).value();
    elements.pop_back();
    EXPECT_EQ(Witness::alive, 9);
    elements.erase(elements.begin());
    EXPECT_EQ(Witness::alive, 8);
    elements.resize(5).value();
    EXPECT_EQ(Witness::alive, 5);
    elements.clear();
    EXPECT_EQ(Witness::alive, 0);
    EXPECT_EQ(elements.capacity(), 10u) << "the block stays";
}

TEST(Vector, CopiesAreTheirOwn) {
    vector<string> texts;
    texts.emplace_back("one").value();
    texts.emplace_back("a text that is too long for the short form").value();
    vector<string> copy(texts);
    EXPECT_TRUE(copy == texts);
    copy[0].append('!');
    EXPECT_FALSE(copy == texts);
    EXPECT_STREQ(texts[0].c_str(), "one");
    copy = texts;
    EXPECT_TRUE(copy == texts);
    copy = *&copy;
    EXPECT_TRUE(copy == texts) << "self-assignment";
    copy.pop_back();
    EXPECT_FALSE(copy == texts);
    EXPECT_EQ(vector<string>(vector<string>()).capacity(), 0u);
}

TEST(Vector, MovesSwapPointers) {
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<vector<string>>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<vector<string>>);
    EXPECT_TRUE(std::is_nothrow_destructible_v<vector<string>>);
    Witness::Reset();
    vector<Witness> elements;
    elements.resize(5).value();
    const Witness* const block = elements.data();
    const AllocationCount count;
    vector<Witness> moved(std::move(elements));
    vector<Witness> assigned;
    assigned = std::move(moved);
    EXPECT_EQ(assigned.data(), block);
    EXPECT_EQ(Witness::moves, 0);
    EXPECT_EQ(count.Blocks(), 0u);
    EXPECT_TRUE(moved.empty());  // NOLINT(bugprone-use-after-move): empty by promise
    vector<Witness>& self = assigned;
    assigned = std::move(self);
    EXPECT_EQ(assigned.size(), 5u) << "moved to itself";
}

TEST(Vector, GivesItsElements) {
    vector<int> numbers = Counting(4);
    numbers.front() = 10;
    numbers.back() = 13;
    numbers[1] = 11;
    const vector<int>& constant = numbers;
    EXPECT_EQ(constant.front(), 10);
    EXPECT_EQ(constant.back(), 13);
    EXPECT_EQ(constant[1], 11);
    EXPECT_EQ(constant.data(), constant.begin());
    int sum = 0;
    for (const int number : constant)
        sum += number;
    EXPECT_EQ(sum, 36);
}

// Larger than a block can be, for one byte an element and for several.
TEST(Vector, SizeAboveTheLargestIsError2) {
    static const std::size_t largestWord = PTRDIFF_MAX;
    const auto errorOf = [](const auto& done) { return done ? 0u : static_cast<unsigned>(done.error()); };
    vector<char> bytes;
    bytes.resize(3).value();
    vector<int> numbers = Counting(3);
    EXPECT_EQ(errorOf(bytes.resize(largestWord + 1)), 2u);
    EXPECT_EQ(errorOf(bytes.reserve(SIZE_MAX)), 2u);
    EXPECT_EQ(errorOf(numbers.resize(largestWord / sizeof(int) + 1)), 2u);
    EXPECT_EQ(errorOf(numbers.reserve(SIZE_MAX)), 2u);
    EXPECT_EQ(bytes.size(), 3u);
    EXPECT_EQ(bytes.capacity(), 3u);
    EXPECT_TRUE(numbers == Counting(3));
}

TEST(Vector, FailedAllocationIsError3AndChangesNothing) {
    using Result = vector<string>::result;
    static const struct {
        const char* name;
        Result (*grow)(vector<string>&);
    } rows[] = {
        {"push_back of a copy", [](vector<string>& texts) { return texts.push_back(texts[0]); }},
        {"push_back of a move", [](vector<string>& texts) { return texts.push_back(std::move(texts[0])); }},
        {"emplace_back", [](vector<string>& texts) { return texts.emplace_back("x"); }},
        {"resize", [](vector<string>& texts) { return texts.resize(10); }},
        {"reserve", [](vector<string>& texts) { return texts.reserve(10); }},
    };
    for (const auto& row : rows) {
        vector<string> texts;
        texts.resize(2).value();
        texts[0] = "first";
        const string* const block = texts.data();
        const FailingAllocation failing(1);
        const Result done = row.grow(texts);
        EXPECT_TRUE(failing.HasFailed()) << row.name;
        ASSERT_FALSE(done) << row.name;
        EXPECT_EQ(done.error(), portable_stl_error::out_of_memory) << row.name;
        EXPECT_THROW(done.value(), ErrorAccess) << row.name;
        EXPECT_EQ(texts.size(), 2u) << row.name;
        EXPECT_EQ(texts.data(), block) << row.name;
        EXPECT_STREQ(texts[0].c_str(), "first") << row.name;
    }
}

TEST(Vector, ElementThatThrowsChangesNothing) {
    const string longText("a text that is too long for the short form");
    for (std::size_t capacity = 1; capacity <= 2; ++capacity) {
        vector<string> texts;
        texts.reserve(capacity).value();
        texts.emplace_back("first").value();
        // With room the element's text is the first allocation, without it the second.
        const FailingAllocation failing(capacity == 1 ? 2 : 1);
        EXPECT_THROW(static_cast<void>(texts.push_back(longText)), portable_stl::bad_alloc) << capacity;
        EXPECT_EQ(texts.size(), 1u) << capacity;
        EXPECT_EQ(texts.capacity(), capacity) << capacity;
        EXPECT_STREQ(texts[0].c_str(), "first") << capacity;
    }
}

TEST(Vector, CopyThrowsWhenNoBlockIsLeft) {
    const vector<int> numbers = Counting(3);
    vector<int> target = Counting(1);
    {
        const FailingAllocation failing(1);
        EXPECT_THROW(vector<int>{numbers}, ErrorAccess);
    }
    const FailingAllocation failing(1);
    EXPECT_THROW(target = numbers, ErrorAccess);
    EXPECT_TRUE(target == Counting(1));
}

}  // namespace
