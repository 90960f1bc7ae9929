// Trees that are very deep or very large, and exhausted memory.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/core/json/JsonTestSupport.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/EachAllocation.h"
#include "tests/support/SmallStack.h"

namespace {

using json::JsonNode;
using json_test::Between;
using json_test::Text;
using json_test::Written;
using test::AllocationCount;
using test::FailEachAllocation;

constexpr std::size_t kDepth = 1'000'000;

std::string Repeated(const std::string& part, std::size_t count) {
    std::string text;
    text.reserve(part.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        text += part;
    return text;
}

// Reads, moves and writes the text on a small stack, and ends the tree there.
void ExpectRoundTripOnSmallStack(const std::string& text, const std::string& written) {
    test::RunOnSmallStack([&] {
        JsonNode root;
        ASSERT_TRUE(json::ParseJson(Text(text), root));
        JsonNode moved(std::move(root));
        JsonNode holder;
        json::AddArray(holder, "").children.push_back(std::move(moved)).value();
        json::AddChild(holder, "", "", true);  // the array moves
        root = std::move(holder.children[0].children[0]);
        const std::string back = Written(root);
        EXPECT_EQ(back.size(), written.size());
        EXPECT_TRUE(back == written);
    });
}

TEST(JsonLarge, MillionNestedArraysNeedNoStack) {
    const std::string text = Repeated("[", kDepth) + Repeated("]", kDepth);
    ExpectRoundTripOnSmallStack(text, text);
}

TEST(JsonLarge, MillionNestedObjectsNeedNoStack) {
    const std::string text = Repeated(R"({"a":)", kDepth) + "1" + Repeated("}", kDepth);
    ExpectRoundTripOnSmallStack(text, text);
}

TEST(JsonLarge, MillionNestedArraysWithSiblingsNeedNoStack) {
    const std::string text = Repeated("[1,", kDepth) + "2" + Repeated("]", kDepth);
    ExpectRoundTripOnSmallStack(text, text);
}

TEST(JsonLarge, UnfinishedDeepTreeIsDestroyedOnASmallStack) {
    const portable_stl::string text = Text(Repeated("[", kDepth));
    test::RunOnSmallStack([&text] {
        JsonNode root;
        EXPECT_FALSE(json::ParseJson(text, root));
    });
}

TEST(JsonLarge, BuiltDeepTreeIsReplacedOnASmallStack) {
    test::RunOnSmallStack([] {
        JsonNode root;
        JsonNode* node = &root;
        for (std::size_t i = 0; i < kDepth; ++i)
            node = &json::AddArray(*node, "");
        json::SetValue(root, "text", true);
        EXPECT_EQ(json_test::Shape(root), R"("text")");
    });
}

TEST(JsonLarge, PrettyDeepTreeIsWrittenOnASmallStack) {
    constexpr std::size_t depth = 3000;  // the blanks grow with the square of it
    test::RunOnSmallStack([] {
        JsonNode root;
        ASSERT_TRUE(json::ParseJson(Text(Repeated("[", depth) + "1" + Repeated("]", depth)), root));
        const std::string text = Written(root, true);
        EXPECT_EQ(text.size(), 2 * depth + 1 + 2 * depth + 4 * depth * depth);
        JsonNode back;
        EXPECT_TRUE(json::ParseJson(Text(text), back));
        EXPECT_EQ(Written(back), Written(root));
    });
}

const char* const kRecord =
    R"({"id":"0123456789abcdef0123456789abcdef","name":"J\u00fcrgen \"J\" Wei\u00df","url":"https:\/\/a\/b",)"
    R"("rights":[{"name":"tickets.create","role":12},{"name":"x","role":0}],"parent":null})";

// About `bytes` of records in one array.
std::string Records(std::size_t bytes) {
    std::string text = "[";
    while (text.size() < bytes)
        text += std::string(text.size() == 1 ? "" : ",") + kRecord;
    return text + "]";
}

struct Cost {
    std::size_t readBlocks, readBytes, writeBlocks, writeBytes, written;
};

Cost CostOf(const std::string& text) {
    Cost cost{};
    const portable_stl::string source = Text(text);
    JsonNode root;
    {
        const AllocationCount count;
        EXPECT_TRUE(json::ParseJson(source, root));
        cost.readBlocks = count.Blocks();
        cost.readBytes = count.Bytes();
    }
    portable_stl::string out;
    const AllocationCount count;
    json::WriteJson(root, out, false);
    cost.writeBlocks = count.Blocks();
    cost.writeBytes = count.Bytes();
    cost.written = out.size();
    return cost;
}

// Ten times the text may take ten times the memory traffic, and a little for the steps of doubling.
TEST(JsonLarge, TenMegabytesCostTenTimesOne) {
    const Cost one = CostOf(Records(1'000'000));
    const Cost ten = CostOf(Records(10'000'000));
    EXPECT_LT(ten.readBlocks, one.readBlocks * 11);
    EXPECT_LT(ten.readBytes, one.readBytes * 12);
    EXPECT_GT(one.written, 900'000u);
    // Writing takes the output once, whatever its size, and a few blocks for its own stack.
    EXPECT_LT(one.writeBytes, one.written + 1000);
    EXPECT_LT(ten.writeBytes, ten.written + 1000);
    EXPECT_EQ(ten.writeBlocks, one.writeBlocks);
}

TEST(JsonLarge, LongTextsCostTheirSize) {
    static const struct {
        const char* name;
        std::string text;
    } rows[] = {
        {"plain", Repeated("abcdefghij", 1'000'000)},
        {"backslashes", Repeated(R"(\n\"\\ab\/)", 1'000'000)},
        {"unicode escapes", Repeated(R"(\u00e9\u0022)", 800'000)},
    };
    for (const auto& row : rows) {
        const Cost cost = CostOf(Between("[\"", row.text, "\"]"));
        EXPECT_LT(cost.readBytes, 3 * row.text.size()) << row.name;
        EXPECT_LT(cost.readBlocks, 10u) << row.name;
        EXPECT_LT(cost.writeBytes, cost.written + 1000) << row.name;
    }
}

TEST(JsonLarge, ManyElementsCostTheirNumber) {
    constexpr std::size_t count = 1'000'000;
    const Cost cost = CostOf(Between("[1", Repeated(",1", count - 1), "]"));
    EXPECT_LT(cost.readBytes, count * 4 * sizeof(JsonNode));
    EXPECT_EQ(cost.written, 2 * count + 1);
}

TEST(JsonLarge, EveryFailedAllocationOfAReadThrows) {
    const portable_stl::string text = Text(Between("[", kRecord, ",") + Between("", kRecord, "]"));
    const std::size_t failures = FailEachAllocation([&text] {
        JsonNode root;
        EXPECT_TRUE(json::ParseJson(text, root));
    });
    EXPECT_GT(failures, 10u);
}

TEST(JsonLarge, EveryFailedAllocationOfAWriteThrows) {
    JsonNode root;
    ASSERT_TRUE(json::ParseJson(kRecord, root));
    const std::string before = Written(root);
    const std::size_t failures = FailEachAllocation([&root] {
        portable_stl::string out;
        json::WriteJson(root, out, true);
    });
    EXPECT_GT(failures, 2u);
    EXPECT_EQ(Written(root), before);
}

TEST(JsonLarge, FailedAllocationLeavesTheParentAsItWas) {
    const portable_stl::string longText("a text that is too long for the short form");
    JsonNode root;
    const std::size_t failures = FailEachAllocation([&] { json::AddChild(root, longText, longText, true); });
    EXPECT_EQ(failures, 3u);  // two texts and the children
    EXPECT_EQ(root.children.size(), 1u);
}

}  // namespace
