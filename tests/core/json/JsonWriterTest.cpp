#include <gtest/gtest.h>

#include <string>

#include "core/src/json/Json.h"
#include "tests/core/json/JsonTestSupport.h"
#include "tests/support/AllocationFailure.h"

namespace {

using json::JsonNode;
using json_test::Bytes;
using json_test::Text;
using json_test::Written;

TEST(JsonWriter, WritesARootWithoutAnything) {
    static const struct {
        const char* name;
        bool isString;
        bool isArray;
        bool isObject;
        const char* text;
    } rows[] = {
        {"fresh", true, false, false, R"("")"},
        {"array", true, true, false, "[]"},
        {"object", true, false, true, "{}"},
        {"both", true, true, true, "[]"},
        {"unquoted scalar", false, false, false, R"("")"},
    };
    for (const auto& row : rows)
        for (const bool pretty : {false, true}) {
            JsonNode root;
            root.isString = row.isString;
            root.isArray = row.isArray;
            root.isObject = row.isObject;
            EXPECT_EQ(Written(root, pretty), row.text) << row.name;
        }
}

TEST(JsonWriter, WritesScalars) {
    static const struct {
        const char* name;
        const char* key;
        const char* value;
        bool isString;
        const char* text;
    } rows[] = {
        {"quoted", "", "abc", true, R"("abc")"},
        {"unquoted", "", "12", false, "12"},
        {"unquoted is raw", "", "a/b\"", false, "a/b\""},
        {"with a key", "k", "v", true, R"("k":"v")"},
        {"with a key, unquoted", "k", "null", false, R"("k":null)"},
        {"with a key and no value", "k", "", true, R"("k":"")"},
        {"with a key and no value, unquoted", "k", "", false, R"("k":)"},
        {"the key is escaped", "a/b\"", "v", true, R"("a\/b\"":"v")"},
    };
    for (const auto& row : rows) {
        JsonNode root;
        json::SetKey(root, row.key);
        json::SetValue(root, row.value, row.isString);
        EXPECT_EQ(Written(root), row.text) << row.name;
    }
}

// Which brackets a node gets, by its flags, its value and whether it has children.
TEST(JsonWriter, ChoosesTheBrackets) {
    static const struct {
        const char* name;
        bool isArray;
        bool isObject;
        const char* value;
        const char* childless;
        const char* withChild;
    } rows[] = {
        {"array", true, false, "", "[]", "[1]"},
        {"object", false, true, "", "{}", "{1}"},
        {"both", true, true, "", "[]", "[1]"},
        {"neither", false, false, "", R"("")", "{1}"},
        {"array with a value", true, false, "v", R"("v")", "{1}"},
        {"object with a value", false, true, "v", R"("v")", "{1}"},
        {"neither, with a value", false, false, "v", R"("v")", "{1}"},
    };
    for (const auto& row : rows) {
        JsonNode root;
        JsonNode& node = json::AddArray(root, "");
        root.isArray = true;
        node.isArray = row.isArray;
        node.isObject = row.isObject;
        node.value = row.value;
        EXPECT_EQ(Written(root), std::string("[") + row.childless + "]") << row.name;
        json::AddChild(node, "", "1", false);
        EXPECT_EQ(Written(root), std::string("[") + row.withChild + "]") << row.name;
    }
}

TEST(JsonWriter, WritesABodyRootAsAnObject) {
    JsonNode root;
    json::AddChild(root, "login", "a@b", true);
    json::AddChild(root, "url", "https://x/y", true);
    EXPECT_EQ(Written(root), R"({"login":"a@b","url":"https:\/\/x\/y"})");
}

TEST(JsonWriter, WritesAnEmptyKeyAsNothing) {
    JsonNode root;
    json::AddChild(root, "", "1", false);
    json::AddChild(root, "b", "2", false);
    EXPECT_EQ(Written(root), R"({1,"b":2})");
}

TEST(JsonWriter, EscapesEightBytes) {
    for (int value = 0; value < 256; ++value) {
        const std::string byte(1, static_cast<char>(value));
        const std::string plain = "\n\t\r\f\b\\\"/";
        const std::size_t place = plain.find(byte);
        const std::string expected =
            place == std::string::npos ? byte : std::string("\\") + "ntrfb\\\"/"[place];
        EXPECT_EQ(Bytes(json::EscapeJsonText(Text(byte))), expected) << value;
        JsonNode root;
        json::AddChild(root, Text("k" + byte), Text(byte), true);
        EXPECT_EQ(Written(root), "{\"k" + expected + "\":\"" + expected + "\"}") << value;
    }
}

TEST(JsonWriter, EscapesTexts) {
    static const struct {
        const char* name;
        const char* text;
        const char* escaped;
    } rows[] = {
        {"nothing", "", ""},
        {"plain", "abc", "abc"},
        {"a path", "C:\\users", R"(C:\\users)"},
        {"a URL", "https://a/b", R"(https:\/\/a\/b)"},
        {"several in a row", "\"\"\\/", R"(\"\"\\\/)"},
        {"a control without a letter",
         "a\x01"
         "b\x7f",
         "a\x01"
         "b\x7f"},
        {"non-ASCII", "\xc3\xa9\xf0\x9f\x98\x80", "\xc3\xa9\xf0\x9f\x98\x80"},
        {"a long text", "0123456789/0123456789/0123456789", R"(0123456789\/0123456789\/0123456789)"},
    };
    for (const auto& row : rows)
        EXPECT_STREQ(json::EscapeJsonText(row.text).c_str(), row.escaped) << row.name;
}

TEST(JsonWriter, PrettyPrintsFourBlanksALevel) {
    JsonNode root;
    ASSERT_TRUE(json::ParseJson(R"({"a":{"b":[1,{"c":"d"},[],{}]},"e":"f"})", root));
    EXPECT_EQ(Written(root, true),
              "{\n"
              "    \"a\": {\n"
              "        \"b\": [\n"
              "            1,\n"
              "            {\n"
              "                \"c\": \"d\"\n"
              "            },\n"
              "            [],\n"
              "            {}\n"
              "        ]\n"
              "    },\n"
              "    \"e\": \"f\"\n"
              "}");
    EXPECT_EQ(Written(root, false), R"({"a":{"b":[1,{"c":"d"},[],{}]},"e":"f"})");
}

TEST(JsonWriter, WritesANodeBehindWhatIsThere) {
    JsonNode root;
    ASSERT_TRUE(json::ParseJson(R"({"a":[1]})", root));
    portable_stl::string out("before ");
    json::WriteJsonNode(root.children[0], out, 0, false);
    EXPECT_STREQ(out.c_str(), R"(before "a":[1])");
    out.clear();
    json::WriteJsonNode(root.children[0], out, 2, true);
    EXPECT_STREQ(out.c_str(), "\"a\": [\n      1\n  ]") << "the first line is the caller's";
}

TEST(JsonWriter, ClearsTheOutputFirst) {
    JsonNode root;
    portable_stl::string out("a former text that is longer than the new one");
    EXPECT_TRUE(json::WriteJson(root, out, false));
    EXPECT_STREQ(out.c_str(), R"("")");
    ASSERT_TRUE(json::ParseJson("[1]", root));
    out = "former";
    EXPECT_TRUE(json::WriteJson(root, out, false));
    EXPECT_STREQ(out.c_str(), "[1]");
}

TEST(JsonWriter, ReadsBackWhatItWrote) {
    static const struct {
        const char* name;
        const char* value;
        const char* readBack;
    } rows[] = {
        {"a slash", "a/b", "a/b"},
        {"quotes and backslashes", "\"\\", "\"\\"},
        {"controls with letters", "\b\f\n\r\t", "\b\f\n\r\t"},
        {"controls without", "\x01\x1f\x7f", "\x01\x1f\x7f"},
        {"non-ASCII", "\xc3\xa9\xf0\x9f\x98\x80", "\xc3\xa9\xf0\x9f\x98\x80"},
        {"a stored escape is decoded", R"(\u0041)", "A"},
        {"the name of a literal", "null", "null"},
    };
    for (const auto& row : rows)
        for (const bool pretty : {false, true}) {
            JsonNode root;
            json::AddChild(root, "k", row.value, true);
            JsonNode back;
            ASSERT_TRUE(json::ParseJson(Text(Written(root, pretty)), back)) << row.name;
            ASSERT_EQ(back.children.size(), 1u) << row.name;
            EXPECT_STREQ(back.children[0].value.c_str(), row.readBack) << row.name;
            EXPECT_TRUE(back.children[0].isString) << row.name;
        }
}

TEST(JsonWriter, KeepsNullUnquoted) {
    JsonNode root;
    ASSERT_TRUE(json::ParseJson(R"({"contextId":null})", root));
    EXPECT_EQ(Written(root), R"({"contextId":null})");
}

}  // namespace
