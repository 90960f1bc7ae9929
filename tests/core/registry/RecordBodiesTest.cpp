#include "core/src/registry/RecordBodies.h"

#include "tests/core/registry/RegistryFixture.h"
#include "tests/support/LinearCost.h"

namespace {

using registry::CustomerInfo;
using registry::TrustRecord;
using test::Code;
using test::Text;

// Every text of the record in its order.
std::string Texts(const CustomerInfo& info) {
    std::string text;
    for (const auto* field : {&info.id, &info.firstName, &info.lastName, &info.middleName, &info.email,
                              &info.language, &info.country, &info.state, &info.city, &info.address,
                              &info.emailConfirmed, &info.role, &info.gdprStatus, &info.uwgStatus})
        text += Text(*field) + "|";
    return text;
}

TEST(ReadCustomerInfo, TakesWhatIsThere) {
    const struct {
        const char* name;
        const char* body;
        std::uint32_t expected;
        const char* texts;
    } rows[] = {
        {"every field",
         R"({"id":"1","firstName":"2","lastName":"3","middleName":"4","email":"5","language":"6",)"
         R"("country":"7","state":"8","city":"9","address":"10","emailConfirmed":true,"role":"12",)"
         R"("gdprStatus":"13","uwgStatus":"14","more":"15"})",
         0, "1|2|3|4|5|6|7|8|9|10|true|12|13|14|"},
        {"names in another case", R"({"ID":"1","FIRSTNAME":"2","uwgstatus":"14"})", 0, "1|2||||||||||||14|"},
        {"no field is required", "{}", 0, "||||||||||||||"},
        {"null reads as its text", R"({"city":null})", 0, "||||||||null||||||"},
        {"an object or a list has no text", R"({"id":{"a":"b"},"email":["x"]})", 0, "||||||||||||||"},
        {"a list", "[]", 0, "||||||||||||||"},
        {"a scalar", "null", 0, "||||||||||||||"},
        {"not JSON", "<html>", 0x82000004, "former||||||||||||||"},
        {"no body", "", 0x82000004, "former||||||||||||||"},
        {"cut", R"({"id":"1")", 0x82000004, "former||||||||||||||"},
    };
    for (const auto& row : rows) {
        CustomerInfo info;
        info.id = "former";
        EXPECT_EQ(registry::ReadCustomerInfo(row.body, info), Code(row.expected)) << row.name;
        EXPECT_EQ(Texts(info), row.texts) << row.name;
    }
}

std::string Texts(const TrustRecord& record) {
    std::string text;
    for (const auto* field : {&record.id, &record.trustorId, &record.type, &record.name, &record.firstName,
                              &record.middleName, &record.lastName, &record.email, &record.phone})
        text += Text(*field) + "|";
    for (const auto& right : record.rights) {
        text += "(" + Text(right.id) + "|" + Text(right.space) + "|" + Text(right.role) + "|" +
                Text(right.bans) + ")";
    }
    return text;
}

using Trusts = std::vector<std::string>;

TEST(ReadTrustRecords, TakesWhatIsThere) {
    const std::string full =
        R"({"id":"1","trustorId":"2","trustRights":[{"id":"a","space":"b","role":"c","bans":"d"},{}],)"
        R"("trustorDetails":{"type":"3","name":"4","firstName":"5","middleName":"6","lastName":"7",)"
        R"("email":"8","phone":"9","id":"no"}})";
    const struct {
        const char* name;
        std::string body;
        std::uint32_t expected;
        Trusts texts;
    } rows[] = {
        {"every field", "[" + full + "]", 0, {"1|2|3|4|5|6|7|8|9|(a|b|c|d)(|||)"}},
        {"the required two alone", R"([{"id":"1","trustorId":"2"}])", 0, {"1|2||||||||"}},
        {"names in another case",
         R"([{"ID":"1","TrustorID":"2","TRUSTRIGHTS":[{"Space":"b"}],"trustordetails":{"NAME":"n"}}])",
         0,
         {"1|2||n||||||(|b||)"}},
        {"two in order",
         R"([{"id":"1","trustorId":"2"},{"id":"3","trustorId":"4"}])",
         0,
         {"1|2||||||||", "3|4||||||||"}},
        {"empty ids are ids", R"([{"id":"","trustorId":""}])", 0, {"|||||||||"}},
        {"details and rights of other kinds hold nothing",
         R"([{"id":"1","trustorId":"2","trustorDetails":"x","trustRights":null}])",
         0,
         {"1|2||||||||"}},
        {"an empty list", "[]", 0, {}},
        {"an empty object", "{}", 0, {}},
        {"null", "null", 0, {}},
        {"an object's members are walked", R"({"x":{"id":"1","trustorId":"2"}})", 0, {"1|2||||||||"}},
        {"no id ends the reading",
         R"([{"id":"1","trustorId":"2"},{"trustorId":"4"},{"id":"5","trustorId":"6"}])",
         0x82000004,
         {"1|2||||||||"}},
        {"no trustorId ends the reading", R"([{"id":"1"}])", 0x82000004, {}},
        {"an object with texts", R"({"error":"x"})", 0x82000004, {}},
        {"a list of scalars", "[1]", 0x82000004, {}},
        {"not JSON", "<html>", 0x82000004, {"former|||||||||"}},
        {"no body", "", 0x82000004, {"former|||||||||"}},
        {"cut", R"([{"id":"1","trustorId":"2"})", 0x82000004, {"former|||||||||"}},
    };
    for (const auto& row : rows) {
        portable_stl::vector<TrustRecord> records;
        TrustRecord former;
        former.id = "former";
        records.push_back(std::move(former)).value();
        EXPECT_EQ(registry::ReadTrustRecords(Text(row.body), records), Code(row.expected)) << row.name;
        Trusts texts;
        for (const TrustRecord& record : records)
            texts.push_back(Texts(record));
        EXPECT_EQ(texts, row.texts) << row.name;
    }
}

TEST(ReadTrustRecords, ManyTrustsTakeLinearCost) {
    test::ExpectLinearCost(100'000, [](std::size_t trusts) {
        std::string list = "[";
        for (std::size_t i = 0; i < trusts; ++i)
            list += R"({"id":"1","trustorId":"2"},)";
        const auto body = Text(list + "]");
        portable_stl::vector<TrustRecord> records;
        ResultCode code = ResultCode::kInternalError;
        const std::size_t bytes =
            test::AllocatedBytes([&] { code = registry::ReadTrustRecords(body, records); });
        EXPECT_EQ(code, ResultCode::kSuccess);
        EXPECT_EQ(records.size(), trusts);
        return bytes;
    });
}

TEST(ReadSocialProviders, AppendsKeyAndSeparator) {
    const struct {
        const char* name;
        const char* body;
        char separator;
        std::uint32_t expected;
        std::string text;  // behind "former"
    } rows[] = {
        {"two in order", R"([{"key":"alpha"},{"key":"beta"}])", ';', 0, "alpha;beta;"},
        {"another separator", R"([{"key":"alpha"},{"key":"beta"}])", ',', 0, "alpha,beta,"},
        {"a zero byte as separator", R"([{"key":"alpha"},{"key":"beta"}])", '\0', 0,
         std::string("alpha\0beta\0", 11)},
        {"one", R"([{"key":"alpha","name":"Alpha"}])", ';', 0, "alpha;"},
        {"the name in another case", R"([{"KEY":"alpha"},{"Key":"beta"}])", ';', 0, "alpha;beta;"},
        {"the first of two keys", R"([{"Key":"alpha","key":"beta"}])", ';', 0, "alpha;"},
        {"an element without a key is passed over",
         R"([{"key":"alpha"},{"name":"x"},{},[],7,"key",null,{"key":"beta"}])", ';', 0, "alpha;beta;"},
        {"an empty key is a key", R"([{"key":""},{"key":"beta"}])", ';', 0, ";beta;"},
        {"a separator inside a key stays", R"([{"key":"a;b"}])", ';', 0, "a;b;"},
        {"scalars are their text, containers have none",
         R"([{"key":7},{"key":null},{"key":{"key":"x"}},{"key":["x"]}])", ';', 0, "7;null;;;"},
        {"UTF-8 and escapes", "[{\"key\":\"\xC3\xA9\\\"\"}]", ';', 0, "\xC3\xA9\";"},
        {"a key of an inner list is none", R"([[{"key":"alpha"}]])", ';', 0, ""},
        {"an empty list", "[]", ';', 0, ""},
        {"an object's members are walked", R"({"a":{"key":"alpha"},"key":"beta"})", ';', 0, "alpha;"},
        {"a text", R"("key")", ';', 0, ""},
        {"null", "null", ';', 0, ""},
        {"not JSON", "<html>", ';', 0x82000004, ""},
        {"no body", "", ';', 0x82000004, ""},
        {"cut behind a good element", R"([{"key":"alpha"})", ';', 0x82000004, ""},
    };
    for (const auto& row : rows) {
        portable_stl::string text = "former";
        EXPECT_EQ(registry::ReadSocialProviders(row.body, row.separator, text), Code(row.expected))
            << row.name;
        EXPECT_EQ(Text(text), "former" + row.text) << row.name;
    }
}

TEST(ReadSocialProviders, ManyProvidersTakeLinearCost) {
    test::ExpectLinearCost(100'000, [](std::size_t providers) {
        std::string list = "[";
        for (std::size_t i = 0; i < providers; ++i)
            list += R"({"key":"abc"},)";
        const auto body = Text(list + "]");
        portable_stl::string text;
        ResultCode code = ResultCode::kInternalError;
        const std::size_t bytes =
            test::AllocatedBytes([&] { code = registry::ReadSocialProviders(body, ';', text); });
        EXPECT_EQ(code, ResultCode::kSuccess);
        EXPECT_EQ(text.size(), providers * 4);
        return bytes;
    });
}

}  // namespace
