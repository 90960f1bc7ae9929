#include "core/src/client/EntityRecord.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/core/json/JsonTestSupport.h"
#include "tests/support/EachAllocation.h"
#include "tests/support/SmallStack.h"

namespace {

using json_test::Bytes;
using json_test::Text;
using lowcode::EntityExtraField;
using lowcode::EntityRecord;

std::string Told(const EntityExtraField& field) {
    std::string text = Bytes(field.name) + "=" + Bytes(field.value);
    for (const EntityExtraField& child : field.children)
        text += "{" + Told(child) + "}";
    return text;
}

// "id|entityTypeKey|stateKey|isDraft|customerNumber", and behind it whatever the lists hold.
std::string Told(const EntityRecord& record) {
    std::string text = Bytes(record.id) + "|" + Bytes(record.entityTypeKey) + "|" + Bytes(record.stateKey) +
                       "|" + Bytes(record.isDraft) + "|" + Bytes(record.customerNumber);
    for (const auto& attribute : record.attributeValues) {
        text += " A(" + Bytes(attribute.id) + "," + Bytes(attribute.key) + "," +
                Bytes(attribute.attributeKey) + ")";
        for (const auto& locale : attribute.valueLocales)
            text += "L(" + Bytes(locale.key) + "," + Bytes(locale.value) + "," + Bytes(locale.display) + ")";
    }
    for (const auto& reference : record.referencedTo)
        text += " R(" + Bytes(reference.id) + "," + Bytes(reference.key) + "," +
                Bytes(reference.entityTypeKey) + "," + Bytes(reference.entityId) + ")";
    for (const EntityExtraField& field : record.extraFields)
        text += " X(" + Told(field) + ")";
    return text;
}

struct Row {
    const char* name;
    const char* json;
    bool isValid;
    const char* told;
};

template <std::size_t count>
void Expect(const Row (&rows)[count]) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        json::JsonNode root;
        ASSERT_TRUE(json::ParseJson(row.json, root));
        EntityRecord record;
        EXPECT_EQ(lowcode::ReadEntity(&root, record), row.isValid);
        EXPECT_EQ(Told(record), row.told);
    }
}

TEST(EntityRecord, Texts) {
    static const Row rows[] = {
        {"all five", R"({"id":"1","entityTypeKey":"T","stateKey":"S","isDraft":false,"customerNumber":42})",
         true, "1|T|S|false|42"},
        {"in another order", R"({"customerNumber":"c","isDraft":"true","entityTypeKey":"T","id":"1"})", true,
         "1|T||true|c"},
        {"names in any case", R"({"ID":"1","EntityTypeKey":"T","STATEKEY":"S"})", true, "1|T|S||"},
        {"the later one stays", R"({"id":"1","entityTypeKey":"T","ID":"2","entitytypekey":"U"})", true,
         "2|U|||"},
        {"the later one stays, an empty one too", R"({"id":"1","entityTypeKey":"T","id":""})", false,
         "|T|||"},
        {"numbers and literals as texts", R"({"id":1.50,"entityTypeKey":true,"stateKey":null})", true,
         "1.50|true|null||"},
        {"a container has no text", R"({"id":"1","entityTypeKey":"T","stateKey":{"a":"b"}})", true, "1|T|||"},
        {"no id", R"({"entityTypeKey":"T","stateKey":"S"})", false, "|T|S||"},
        {"no type", R"({"id":"1"})", false, "1||||"},
        {"an empty id", R"({"id":"","entityTypeKey":"T"})", false, "|T|||"},
        {"nothing", "{}", false, "||||"},
        {"an empty array", "[]", false, "||||"},
        {"a text", R"("id")", false, "||||"},
    };
    Expect(rows);
}

TEST(EntityRecord, IgnoredAndExtraMembers) {
    static const Row rows[] = {
        {"three are dropped",
         R"({"id":"1","entityTypeKey":"T","entityTypeId":"x","stateId":{"y":1},"version":3})", true,
         "1|T|||"},
        {"in any case", R"({"id":"1","entityTypeKey":"T","ENTITYTYPEID":"x","StateId":"y","Version":3})",
         true, "1|T|||"},
        {"others are kept", R"({"id":"1","entityTypeKey":"T","owner":"me","count":3})", true,
         "1|T||| X(owner=me) X(count=3)"},
        {"as often as they come", R"({"id":"1","entityTypeKey":"T","a":1,"a":2})", true,
         "1|T||| X(a=1) X(a=2)"},
        {"with all below them", R"({"id":"1","entityTypeKey":"T","a":{"b":{"c":"d","e":[1,2]},"f":""}})",
         true, "1|T||| X(a={b={c=d}{e={=1}{=2}}}{f=})"},
        {"ignored names further down are kept", R"({"id":"1","entityTypeKey":"T","a":{"version":1,"id":2}})",
         true, "1|T||| X(a={version=1}{id=2})"},
        {"the elements of an array", R"(["x",{"id":"1"}])", false, "|||| X(=x) X(={id=1})"},
        {"a name that begins like one", R"({"id":"1","entityTypeKey":"T","ident":"x"})", true,
         "1|T||| X(ident=x)"},
    };
    Expect(rows);
}

TEST(EntityRecord, AttributeValues) {
    static const Row rows[] = {
        {"one with a locale",
         R"({"id":"1","entityTypeKey":"T","attributeValues":[{"id":"7","key":"k","attributeKey":"A",)"
         R"("valueLocales":[{"key":"en","value":"v","display":"V"}]}]})",
         true, "1|T||| A(7,k,A)L(en,v,V)"},
        {"without locales it is kept",
         R"({"id":"1","entityTypeKey":"T","attributeValues":[{"attributeKey":"A"}]})", true, "1|T||| A(,,A)"},
        {"with empty locales",
         R"({"id":"1","entityTypeKey":"T","attributeValues":[{"attributeKey":"A",)"
         R"("valueLocales":[]}]})",
         true, "1|T||| A(,,A)"},
        {"without its key it is skipped",
         R"({"id":"1","entityTypeKey":"T","attributeValues":[{"id":"7","valueLocales":[{"value":"v"}]},)"
         R"({"attributeKey":"B"}]})",
         true, "1|T||| A(,,B)"},
        {"an empty key is one", R"({"id":"1","entityTypeKey":"T","attributeValues":[{"attributeKey":""}]})",
         true, "1|T||| A(,,)"},
        {"a locale without a value is skipped",
         R"({"id":"1","entityTypeKey":"T","attributeValues":[{"attributeKey":"A","valueLocales":)"
         R"([{"key":"en"},{"value":"v"},{"value":""},{"key":"de","value":7}]}]})",
         true, "1|T||| A(,,A)L(,v,)L(,,)L(de,7,)"},
        {"names in any case",
         R"({"id":"1","entityTypeKey":"T","ATTRIBUTEVALUES":[{"ID":"7","Key":"k","ATTRIBUTEKEY":"A",)"
         R"("VALUElocales":[{"KEY":"en","Value":"v","DISPLAY":"V"}]}]})",
         true, "1|T||| A(7,k,A)L(en,v,V)"},
        {"of a name twice the first",
         R"({"id":"1","entityTypeKey":"T","attributeValues":[{"attributeKey":"A","ATTRIBUTEKEY":"B","id":"1",)"
         R"("ID":"2","valueLocales":[{"value":"x","VALUE":"y"}],"valueLocales":[{"value":"z"}]}]})",
         true, "1|T||| A(1,,A)L(,x,)"},
        {"of a locale's name twice the first",
         R"({"id":"1","entityTypeKey":"T","attributeValues":[{"attributeKey":"A","valueLocales":)"
         R"([{"value":"v","key":"en","KEY":"de","display":"V","Display":"W"}]}]})",
         true, "1|T||| A(,,A)L(en,v,V)"},
        {"a later list extends",
         R"({"id":"1","entityTypeKey":"T","attributeValues":[{"attributeKey":"A"}],)"
         R"("AttributeValues":[{"attributeKey":"B"}]})",
         true, "1|T||| A(,,A) A(,,B)"},
        {"other members are not looked at",
         R"({"id":"1","entityTypeKey":"T","attributeValues":[{"attributeKey":"A","version":3,"x":{}}]})",
         true, "1|T||| A(,,A)"},
        {"no list", R"({"id":"1","entityTypeKey":"T","attributeValues":"x"})", true, "1|T|||"},
        {"null", R"({"id":"1","entityTypeKey":"T","attributeValues":null})", true, "1|T|||"},
        {"elements that are no objects", R"({"id":"1","entityTypeKey":"T","attributeValues":["x",1,[]]})",
         true, "1|T|||"},
        {"an object in place of the list",
         R"({"id":"1","entityTypeKey":"T","attributeValues":{"x":{"attributeKey":"A"}}})", true,
         "1|T||| A(,,A)"},
    };
    Expect(rows);
}

TEST(EntityRecord, References) {
    static const Row rows[] = {
        {"all four",
         R"({"id":"1","entityTypeKey":"T","referencedTo":[{"entityId":"e","entityTypeKey":"t","key":"k","id":"i"}]})",
         true, "1|T||| R(i,k,t,e)"},
        {"none of them", R"({"id":"1","entityTypeKey":"T","referencedTo":[{},{"x":1}]})", true,
         "1|T||| R(,,,) R(,,,)"},
        {"of a name twice the first",
         R"({"id":"1","entityTypeKey":"T","referencedTo":[{"id":"a","ID":"b","entityId":"x","entityid":"y"}]})",
         true, "1|T||| R(a,,,x)"},
        {"a later list extends",
         R"({"id":"1","entityTypeKey":"T","referencedTo":[{"id":"a"}],"REFERENCEDTO":[{"ID":"b"}]})", true,
         "1|T||| R(a,,,) R(b,,,)"},
    };
    Expect(rows);
}

TEST(EntityRecord, AFormerRecordIsReplaced) {
    json::JsonNode full;
    ASSERT_TRUE(json::ParseJson(R"({"id":"1","entityTypeKey":"T","stateKey":"S","isDraft":true,)"
                                R"("customerNumber":"c","attributeValues":[{"attributeKey":"A"}],)"
                                R"("referencedTo":[{}],"x":1})",
                                full));
    json::JsonNode bare;
    ASSERT_TRUE(json::ParseJson(R"({"id":"2"})", bare));
    EntityRecord record;
    ASSERT_TRUE(lowcode::ReadEntity(&full, record));
    EXPECT_FALSE(lowcode::ReadEntity(&bare, record));
    EXPECT_EQ(Told(record), "2||||");
    ASSERT_TRUE(lowcode::ReadEntity(&full, record));
    EXPECT_FALSE(lowcode::ReadEntity(nullptr, record));
    EXPECT_EQ(Told(record), "||||") << "a null node leaves nothing of it either";
}

constexpr std::size_t kDepth = 1'000'000;

TEST(EntityRecord, DeepExtraMembersNeedNoStack) {
    std::string text = R"({"id":"1","entityTypeKey":"T","x":)";
    for (std::size_t i = 0; i < kDepth; ++i)
        text += "[";
    text += "7" + std::string(kDepth, ']') + "}";
    const portable_stl::string source = Text(text);
    test::RunOnSmallStack([&source] {
        json::JsonNode root;
        ASSERT_TRUE(json::ParseJson(source, root));
        EntityRecord record;
        ASSERT_TRUE(lowcode::ReadEntity(&root, record));
        std::size_t depth = 0;
        const EntityExtraField* field = &record.extraFields[0];
        for (; !field->children.empty(); field = &field->children[0])
            ++depth;
        EXPECT_EQ(depth, kDepth);
        EXPECT_STREQ(field->value.c_str(), "7");
        EntityRecord moved(std::move(record));
        record = EntityRecord();
    });
}

TEST(EntityRecord, EveryFailedAllocationThrows) {
    json::JsonNode root;
    ASSERT_TRUE(json::ParseJson(
        R"({"id":"an id that is too long for the short form","entityTypeKey":"a type that is too long for it",)"
        R"("attributeValues":[{"attributeKey":"an attribute that is too long for it","valueLocales":[{"value":)"
        R"("a value that is too long for the short form"}]}],"referencedTo":[{"id":"an id that is too long too"}],)"
        R"("version":{"a member that is too long for it":["is dropped"]}})",
        root));
    const std::size_t failures = test::FailEachAllocation([&root] {
        EntityRecord record;
        EXPECT_TRUE(lowcode::ReadEntity(&root, record));
    });
    EXPECT_GE(failures, 8u);
}

// The lists of the copy tell of a failure; its texts throw as all texts do.
TEST(EntityRecord, NoRoomForAnExtraFieldEndsTheReading) {
    json::JsonNode root;
    ASSERT_TRUE(json::ParseJson(
        R"({"id":"1","entityTypeKey":"T","x":{"a":[1,{"b":[2,3]}],"c":{}},"y":0,"attributeValues":[]})",
        root));
    std::size_t failures = 0;
    while (true) {
        const test::FailingAllocation failing(failures + 1);
        EntityRecord record;
        const bool isRead = lowcode::ReadEntity(&root, record);
        EXPECT_EQ(isRead, !failing.HasFailed()) << "allocation " << failures + 1;
        if (!failing.HasFailed())
            break;
        ++failures;
    }
    EXPECT_GE(failures, 8u);
}

TEST(EntityRecord, NoMemoryForAnExtraTextThrows) {
    json::JsonNode root;
    ASSERT_TRUE(json::ParseJson(
        R"({"id":"1","entityTypeKey":"T","a member that is too long for it":"a value that is too long for it"})",
        root));
    EntityRecord record;
    const test::FailingAllocation failing(2);  // the list of steps comes first
    EXPECT_THROW(static_cast<void>(lowcode::ReadEntity(&root, record)), portable_stl::bad_alloc);
}

std::string Composed(const char* key, const char* value) {
    json::JsonNode root;
    root.isArray = true;
    EXPECT_EQ(lowcode::ComposeAttribute(&root, key, value), ResultCode::kSuccess);
    return json_test::Written(root);
}

TEST(EntityRecord, Composing) {
    static const struct {
        const char* name;
        const char* key;
        const char* value;
        const char* written;
    } rows[] = {
        {"a text", "A", "v", R"([{"attributeKey":"A","valueLocales":[{"value":"v"}]}])"},
        {"zero", "Duration", "0", R"([{"attributeKey":"Duration","valueLocales":[{"value":"0"}]}])"},
        {"a literal is a text", "A", "true", R"([{"attributeKey":"A","valueLocales":[{"value":"true"}]}])"},
        {"a blank is a value", "A", " ", R"([{"attributeKey":"A","valueLocales":[{"value":" "}]}])"},
        {"escapes", "A\"", "a/b\n", R"([{"attributeKey":"A\"","valueLocales":[{"value":"a\/b\n"}]}])"},
        {"no value", "A", "", "[]"},
        {"no key", "", "v", "[]"},
        {"neither", "", "", "[]"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Composed(row.key, row.value), row.written) << row.name;
}

TEST(EntityRecord, AttributesAreAppended) {
    json::JsonNode root;
    root.isArray = true;
    for (const char* const value : {"1", "", "2"})
        EXPECT_EQ(lowcode::ComposeAttribute(&root, "A", value), ResultCode::kSuccess);
    const auto list = nlohmann::json::parse(json_test::Written(root));
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0]["valueLocales"][0]["value"], "1");
    EXPECT_EQ(list[1]["valueLocales"][0]["value"], "2");
    EXPECT_EQ(list[1].size(), 2u) << "neither an id nor a locale's key";
    EXPECT_EQ(list[1]["valueLocales"][0].size(), 1u);
}

TEST(EntityRecord, NoArrayIsRefusedFirst) {
    EXPECT_EQ(lowcode::ComposeAttribute(nullptr, "A", "v"), ResultCode::kInvalidParameters);
    EXPECT_EQ(lowcode::ComposeAttribute(nullptr, "A", ""), ResultCode::kInvalidParameters);
    EXPECT_EQ(lowcode::ComposeAttribute(nullptr, "", "v"), ResultCode::kInvalidParameters);
}

}  // namespace
