// Building, changing, searching and moving a tree.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

#include "core/src/json/Json.h"
#include "tests/core/json/JsonTestSupport.h"

namespace {

using json::JsonNode;
using json_test::Bytes;
using json_test::Shape;
using json_test::Text;

TEST(JsonNode, IsAnEmptyQuotedScalarWhenFresh) {
    const JsonNode node;
    EXPECT_TRUE(node.isString);
    EXPECT_FALSE(node.isArray);
    EXPECT_FALSE(node.isObject);
    EXPECT_TRUE(node.key.empty());
    EXPECT_TRUE(node.value.empty());
    EXPECT_TRUE(node.children.empty());
    EXPECT_EQ(node.parent, nullptr);
}

TEST(JsonNode, HasItsFieldsInOrder) {
    const JsonNode node;
    const auto* const start = reinterpret_cast<const char*>(&node);
    const auto placeOf = [start](const void* field) { return static_cast<const char*>(field) - start; };
    EXPECT_EQ(placeOf(&node.key), 0);
    EXPECT_EQ(placeOf(&node.value), 24);
    EXPECT_EQ(placeOf(&node.isString), 48);
    EXPECT_EQ(placeOf(&node.isArray), 49);
    EXPECT_EQ(placeOf(&node.isObject), 50);
    EXPECT_EQ(placeOf(&node.parent), 56);
    EXPECT_EQ(placeOf(&node.children), 64);
}

TEST(JsonNode, AppendsChildren) {
    JsonNode root;
    JsonNode& scalar = json::AddChild(root, "login", "a", true);
    EXPECT_EQ(Shape(scalar), R"(login="a")");
    EXPECT_EQ(Shape(json::AddChild(root, "count", "7", false)), "count=7");
    JsonNode& array = json::AddArray(root, "list");
    EXPECT_EQ(&array, &root.children.back());
    EXPECT_TRUE(array.isArray);
    EXPECT_FALSE(array.isObject);
    EXPECT_TRUE(array.value.empty());
    json::AddChild(array, "", "x", true);
    JsonNode& object = json::AddObject(root, "inner");
    EXPECT_TRUE(object.isObject);
    EXPECT_FALSE(object.isArray);
    json::AddChild(object, "y", "z", true);
    EXPECT_EQ(json_test::Written(root), R"({"login":"a","count":7,"list":["x"],"inner":{"y":"z"}})");
    EXPECT_TRUE(root.isString) << "the root keeps its flags";
    EXPECT_FALSE(root.isObject);
}

TEST(JsonNode, CopiesTheTextsItIsGiven) {
    JsonNode root;
    json::AddChild(root, "first", "a value that is too long for the short form", true);
    for (int i = 0; i < 10; ++i)
        json::AddChild(root, root.children[0].value, root.children[0].value, true);
    for (std::size_t i = 1; i < root.children.size(); ++i) {
        EXPECT_STREQ(root.children[i].key.c_str(), "a value that is too long for the short form") << i;
        EXPECT_STREQ(root.children[i].value.c_str(), "a value that is too long for the short form") << i;
    }
}

TEST(JsonNode, FindsTheFirstMatch) {
    JsonNode root;
    static const char* const keys[] = {"alpha",   "Beta", "beta", "BETA", "", "a key of more than 22 bytes",
                                       "\xc3\xa9"};
    for (const char* key : keys)
        json::AddChild(root, key, "", true);
    static const struct {
        const char* name;
        const char* key;
        bool exactCase;
        int place;  // -1 for none
    } rows[] = {
        {"any case: the first", "beta", false, 1},
        {"exact: a later one", "beta", true, 2},
        {"exact: another", "BETA", true, 3},
        {"any case: the first again", "BETA", false, 1},
        {"none", "gamma", false, -1},
        {"a prefix is no match", "alph", false, -1},
        {"longer is no match", "alphax", false, -1},
        {"exact: other case", "ALPHA", true, -1},
        {"the empty key", "", false, 4},
        {"null reads as the empty key", nullptr, true, 4},
        {"a long key", "A KEY OF MORE THAN 22 BYTES", false, 5},
        {"non-ASCII", "\xc3\xa9", false, 6},
        {"non-ASCII has no case", "\xc3\x89", false, -1},
    };
    for (const auto& row : rows) {
        const JsonNode* const expected =
            row.place < 0 ? nullptr : &root.children[static_cast<std::size_t>(row.place)];
        EXPECT_EQ(json::FindChild(std::as_const(root), row.key, row.exactCase), expected) << row.name;
        EXPECT_EQ(json::FindChild(root, portable_stl::string(row.key), row.exactCase), expected) << row.name;
    }
    EXPECT_EQ(json::FindChild(root, "ALPHA"), &root.children[0]) << "any case unless told otherwise";
    EXPECT_EQ(json::FindChild(root.children[0], "alpha"), nullptr) << "a scalar has no members";
}

TEST(JsonNode, KeysMatchWithoutAsciiCase) {
    using namespace std::string_literals;
    static const struct {
        const char* name;
        std::string a;
        std::string b;
        bool equal;
    } rows[] = {
        {"both empty", "", "", true},
        {"same", "key", "key", true},
        {"other case", "AccessToken", "aCCESStOKEN", true},
        {"the whole alphabet", "ABCDEFGHIJKLMNOPQRSTUVWXYZ", "abcdefghijklmnopqrstuvwxyz", true},
        {"other length", "key", "keys", false},
        {"other letter", "key", "kex", false},
        {"@ is no back-quote", "@", "`", false},
        {"[ is no {", "[", "{", false},
        {"^ is no ~", "^", "~", false},
        {"digits", "0", "P", false},
        {"Latin-1 is not folded", "\xc9", "\xe9", false},
        {"Turkish dotted I", "\xc4\xb0", "i", false},
        {"behind a zero", "a\0b"s, "A\0B"s, true},
        {"other behind a zero", "a\0b"s, "a\0c"s, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(json::KeyEquals(Text(row.a), Text(row.b)), row.equal) << row.name;
        EXPECT_EQ(json::KeyEquals(Text(row.b), Text(row.a)), row.equal) << row.name;
    }
}

TEST(JsonNode, SetValueMakesAScalar) {
    JsonNode node;
    json::AddChild(json::AddArray(node, "list"), "", "x", true);
    node.isObject = true;
    node.isArray = true;
    json::SetValue(node, "12", false);
    EXPECT_TRUE(node.children.empty());
    EXPECT_EQ(Shape(node), "12");
    json::SetValue(node, "text", true);
    EXPECT_EQ(Shape(node), R"("text")");
    json::SetKey(node, "name");
    EXPECT_EQ(Shape(node), R"(name="text")");
    json::SetKey(node, "");
    EXPECT_TRUE(node.key.empty());
}

TEST(JsonNode, SetValueTakesATextOfItsOwnTree) {
    JsonNode node;
    json::AddChild(node, "k", "a value that is too long for the short form", true);
    json::SetValue(node, node.children[0].value, true);
    EXPECT_STREQ(node.value.c_str(), "a value that is too long for the short form");
}

TEST(JsonNode, WritesUnsignedNumbers) {
    static const struct {
        std::uint64_t value;
        const char* text;
    } rows[] = {
        {0, "0"},
        {7, "7"},
        {10, "10"},
        {4294967295, "4294967295"},
        {4294967296, "4294967296"},
        {10000000000000000000u, "10000000000000000000"},
        {UINT64_MAX, "18446744073709551615"},
    };
    for (const auto& row : rows) {
        portable_stl::string out("former");
        json::UnsignedToDecimal(row.value, out);
        EXPECT_STREQ(out.c_str(), row.text);
    }
}

TEST(JsonNode, MovesWithoutMovingItsChildren) {
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<JsonNode>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<JsonNode>);
    EXPECT_TRUE(std::is_nothrow_destructible_v<JsonNode>);
    EXPECT_FALSE(std::is_copy_constructible_v<JsonNode>);
    EXPECT_FALSE(std::is_copy_assignable_v<JsonNode>);
    JsonNode root;
    ASSERT_TRUE(json::ParseJson(R"({"a":[1,2],"b":"c"})", root));
    const JsonNode* const children = root.children.data();
    JsonNode moved(std::move(root));
    EXPECT_EQ(moved.children.data(), children);
    JsonNode assigned;
    json::AddChild(assigned, "former", "x", true);
    assigned = std::move(moved);
    EXPECT_EQ(assigned.children.data(), children);
    EXPECT_EQ(Shape(assigned), R"({a=[1,2],b="c"})");
}

TEST(JsonNode, MovesAChildIntoTheRootOfItsOwnTree) {
    JsonNode root;
    ASSERT_TRUE(json::ParseJson(R"({"a":{"b":["c","d"]}})", root));
    root = std::move(root.children[0]);
    EXPECT_EQ(Shape(root), R"(a={b=["c","d"]})");
    root = std::move(root.children[0].children[1]);
    EXPECT_EQ(Shape(root), R"("d")");
}

TEST(JsonNode, LosesAChild) {
    JsonNode root;
    ASSERT_TRUE(json::ParseJson(R"([1,{"a":2},3])", root));
    root.children.erase(root.children.begin());
    EXPECT_EQ(Shape(root), "[{a=2},3]");
    root.children.erase(root.children.begin());
    EXPECT_EQ(Shape(root), "[3]");
}

}  // namespace
