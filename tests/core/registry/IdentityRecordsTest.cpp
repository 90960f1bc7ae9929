#include "tests/core/registry/RegistryFixture.h"

namespace {

using test::Code;
using test::Jwt;
using test::Lines;
using test::Text;

constexpr char kOwnRecord[] = R"({"id":"7","name":"VQM_Identity","type":"VQM_Access","role":"Regular"})";
constexpr char kTokenPath[] = "GET /api/registry/v2/identities/7/token";

class IdentityRecords : public test::RegistryTest {
protected:
    ResultCode Obtain(const char* name = "", const char* expiration = "") {
        return client.ObtainIdentitySecret(name, expiration, &errorInfo, context);
    }
    std::string Secret() const { return Text(client.identitySecret); }
};

TEST_F(IdentityRecords, AnExistingRecordGivesItsSecret) {
    client.identitySecret = "old secret";
    client.contextMode = 1;
    client.contextId = "org-1";
    platform.AnswerWith(200, std::string("[") + kOwnRecord + "]");
    platform.AnswerWith(200, " the secret\n");
    EXPECT_EQ(Obtain(), ResultCode::kSuccess);
    EXPECT_EQ(Requested(), (Lines{test::kIdentitiesPath, kTokenPath}));
    for (const auto& request : platform.requests)
        EXPECT_EQ(request.Header("Authorization"), "Bearer old.e30.sig");
    EXPECT_EQ(platform.requests[1].Header("Accept"), "text/plain");
    EXPECT_EQ(Secret(), " the secret\n") << "whole, untrimmed";
    EXPECT_EQ(TokenText(), "old.e30.sig");
    EXPECT_EQ(client.contextMode, 1u);
    EXPECT_EQ(Text(client.contextId), "org-1");
}

TEST_F(IdentityRecords, TheSecretIsNotReadAsJson) {
    platform.AnswerWith(200, std::string("[") + kOwnRecord + "]");
    platform.AnswerWith(200, R"("quoted")");
    EXPECT_EQ(Obtain(), ResultCode::kSuccess);
    EXPECT_EQ(Secret(), R"("quoted")");
}

TEST_F(IdentityRecords, AnExpirationGoesIntoTheQuery) {
    platform.AnswerWith(200, std::string("[") + kOwnRecord + "]");
    platform.AnswerWith(200, "secret");
    EXPECT_EQ(Obtain("", "86400"), ResultCode::kSuccess);
    EXPECT_EQ(Requested()[1], "GET /api/registry/v2/identities/7/token?TokenExpiration=86400");
}

TEST_F(IdentityRecords, FindsTheFirstRecordThatIsOurs) {
    const std::string own = kOwnRecord;
    const std::string other = R"({"id":"9","name":"Other","type":"VQM_Access","role":"Regular"})";
    const struct {
        const char* name;
        std::string list;
        const char* id;  // null: not found, so a record is made
    } rows[] = {
        {"the only one", "[" + own + "]", "7"},
        {"behind another", "[" + other + "," + own + "]", "7"},
        {"the first of two",
         "[" + own + R"(,{"id":"8","name":"VQM_Identity","type":"VQM_Access",)" + R"("role":"Regular"}])",
         "7"},
        {"the name in another case",
         R"([{"id":"7","name":"vqm_identity","type":"VQM_Access","role":"Regular"}])", "7"},
        {"the type in another case",
         R"([{"id":"7","name":"VQM_Identity","type":"vqm_ACCESS","role":"Regular"}])", "7"},
        {"the role in another case",
         R"([{"id":"7","name":"VQM_Identity","type":"VQM_Access","role":"rEGULAR"}])", "7"},
        {"all values in another case",
         R"([{"id":"7","name":"vqm_IDENTITY","type":"vqm_access","role":"REGULAR"}])", "7"},
        {"names in another case",
         R"([{"ID":"7","Name":"VQM_Identity","TYPE":"VQM_Access","Role":"Regular"}])", "7"},
        {"an empty id is an id", R"([{"id":"","name":"VQM_Identity","type":"VQM_Access","role":"Regular"}])",
         ""},
        {"members of an object are walked", R"({"x":)" + own + "}", "7"},
        {"another name", "[" + other + "]", nullptr},
        {"another type", R"([{"id":"7","name":"VQM_Identity","type":"Access","role":"Regular"}])", nullptr},
        {"another role", R"([{"id":"7","name":"VQM_Identity","type":"VQM_Access","role":"Admin"}])", nullptr},
        {"no id", R"([{"name":"VQM_Identity","type":"VQM_Access","role":"Regular"}])", nullptr},
        {"no name", R"([{"id":"7","type":"VQM_Access","role":"Regular"}])", nullptr},
        {"no type", R"([{"id":"7","name":"VQM_Identity","role":"Regular"}])", nullptr},
        {"no role", R"([{"id":"7","name":"VQM_Identity","type":"VQM_Access"}])", nullptr},
        {"an empty list", "[]", nullptr},
        {"an object without members", "{}", nullptr},
        {"null", "null", nullptr},
        {"scalars", R"([1,"VQM_Identity",null])", nullptr},
    };
    for (const auto& row : rows) {
        platform.requests.clear();
        platform.AnswerWith(200, row.list);
        if (row.id == nullptr)
            platform.AnswerWith(200, R"({"id":"new"})");
        platform.AnswerWith(200, "secret");
        EXPECT_EQ(Obtain(), ResultCode::kSuccess) << row.name;
        const std::string id = row.id == nullptr ? "new" : row.id;
        EXPECT_EQ(Requested().back(), "GET /api/registry/v2/identities/" + id + "/token") << row.name;
        EXPECT_EQ(platform.requests.size(), row.id == nullptr ? 3u : 2u) << row.name;
    }
}

TEST_F(IdentityRecords, MakesARecordWithTheRightsOfTheToken) {
    const struct {
        const char* name;
        const char* recordName;
        std::string payload;
        const char* body;
    } rows[] = {
        {"no rights, the usual name", "", "{}",
         R"({"name":"VQM_Identity","type":"VQM_Access","role":"Regular"})"},
        {"another name", "Office \"PC\"", "{}",
         R"({"name":"Office \"PC\"","type":"VQM_Access","role":"Regular"})"},
        {"each role has its word", "",
         R"({"scopes":[{"space":"a","role":0},{"space":"b","role":1},{"space":"c","role":2},)"
         R"({"space":"d","role":3},{"space":"e","role":"x"}]})",
         R"({"name":"VQM_Identity","type":"VQM_Access","role":"Regular","identityRights":[)"
         R"({"space":"a","role":"user"},{"space":"b","role":"manager"},{"space":"c","role":"owner"},)"
         R"({"space":"d","role":"user"},{"space":"e","role":"user"}]})"},
    };
    for (const auto& row : rows) {
        platform.requests.clear();
        client.token = quillmarkclient_core::Token(Text(Jwt(row.payload)), true);
        platform.AnswerWith(200, "[]");
        platform.AnswerWith(200, R"({"ID":7})");
        platform.AnswerWith(200, "secret");
        EXPECT_EQ(Obtain(row.recordName), ResultCode::kSuccess) << row.name;
        EXPECT_EQ(Requested(), (Lines{test::kIdentitiesPath, test::kNewIdentityPath, kTokenPath}))
            << row.name;
        EXPECT_EQ(platform.requests[1].body, row.body) << row.name;
        EXPECT_EQ(platform.requests[1].Header("Authorization").rfind("Bearer e30.", 0), 0u) << row.name;
    }
}

TEST_F(IdentityRecords, ARecordUnderAnotherNameIsNotFoundAgain) {
    platform.AnswerWith(200, R"([{"id":"9","name":"Office","type":"VQM_Access","role":"Regular"}])");
    platform.AnswerWith(200, R"({"id":"10"})");
    platform.AnswerWith(200, "secret");
    EXPECT_EQ(Obtain("Office"), ResultCode::kSuccess);
    EXPECT_EQ(Requested()[1], test::kNewIdentityPath);
}

TEST_F(IdentityRecords, WithoutATokenTheServiceIsAskedAllTheSame) {
    client.token.present = 0;
    Script({{200, "[]"}, {200, R"({"id":"7"})"}, {200, "secret"}});
    EXPECT_EQ(Obtain(), ResultCode::kSuccess);
    for (const auto& request : platform.requests)
        EXPECT_EQ(request.Header("Authorization"), "(none)") << request.url;
    EXPECT_EQ(State(), "old.e30.sig, 0, secret, 2, ");
}

TEST_F(IdentityRecords, EveryFailureLeavesNoSecret) {
    const std::string own = std::string("[") + kOwnRecord + "]";
    const test::Recorded kept = test::kOldRefusal;
    const struct {
        const char* name;
        std::vector<test::ServiceAnswer> answers;
        std::uint32_t expected;
        test::Recorded recorded;
    } rows[] = {
        {"records: 401 starts no renewal", {{401, ""}}, 0x82000002, kept},
        {"records: network", {{0x81000006, ""}}, 0x80000006, kept},
        {"records: time-out", {{0x81000014, ""}}, 0x81000014, kept},
        {"records: 500", {{500, ""}}, 0x82000003, {0x82000003, 500}},
        {"records: 503", {{503, ""}}, 0x8000000C, {0x8000000C, 503}},
        {"records: no JSON", {{200, "<html>"}}, 0x82000004, kept},
        {"records: no body", {{200, ""}}, 0x82000004, kept},
        {"records: 400", {{400, ""}}, 0x82000004, {0x82000004, 400}},
        {"records: 403", {{403, ""}}, 0x82000004, {0x82000004, 403}},
        {"records: 404", {{404, ""}}, 0x82000004, {0x82000004, 404}},
        {"records: 204 is no success", {{204, ""}}, 0x82000004, {0x82000004, 204}},
        {"new record: 400", {{200, "[]"}, {400, ""}}, 0x82000004, {0x82000004, 400}},
        {"new record: 403", {{200, "[]"}, {403, ""}}, 0x82000004, {0x82000004, 403}},
        {"new record: 404", {{200, "[]"}, {404, ""}}, 0x82000005, {0x82000005, 404}},
        {"new record: 500", {{200, "[]"}, {500, ""}}, 0x82000003, {0x82000003, 500}},
        {"new record: 503", {{200, "[]"}, {503, ""}}, 0x8000000C, {0x8000000C, 503}},
        {"new record: time-out", {{200, "[]"}, {0x81000014, ""}}, 0x81000014, kept},
        {"new record: 409", {{200, "[]"}, {409, ""}}, 0x82000005, {0x82000005, 409}},
        {"new record: 401 starts no renewal", {{200, "[]"}, {401, ""}}, 0x82000002, kept},
        {"new record: network", {{200, "[]"}, {0x81000006, ""}}, 0x80000006, kept},
        {"new record: 201 is no success",
         {{200, "[]"}, {201, R"({"id":"7"})"}},
         0x82000004,
         {0x82000004, 201}},
        {"new record: no JSON", {{200, "[]"}, {200, "<html>"}}, 0x82000004, kept},
        {"new record: no id", {{200, "[]"}, {200, R"({"name":"x"})"}}, 0x82000004, kept},
        {"token: 400", {{200, own}, {400, ""}}, 0x82000004, {0x82000004, 400}},
        {"token: 403", {{200, own}, {403, ""}}, 0x82000002, {0x82000002, 403}},
        {"token: 500", {{200, own}, {500, ""}}, 0x82000003, {0x82000003, 500}},
        {"token: 503", {{200, own}, {503, ""}}, 0x8000000C, {0x8000000C, 503}},
        {"token: 204 is no success", {{200, own}, {204, ""}}, 0x82000004, {0x82000004, 204}},
        {"token: time-out", {{200, own}, {0x81000014, ""}}, 0x81000014, kept},
        {"token of a new record: 404",
         {{200, "[]"}, {200, R"({"id":"7"})"}, {404, ""}},
         0x82000002,
         {0x82000002, 404}},
        {"token: 404", {{200, own}, {404, ""}}, 0x82000002, {0x82000002, 404}},
        {"token: 401 starts no renewal", {{200, own}, {401, ""}}, 0x82000002, kept},
        {"token: network", {{200, own}, {0x81000006, ""}}, 0x80000006, kept},
        {"token: empty", {{200, own}, {200, ""}}, 0x82000004, kept},
        {"token: a zero byte first", {{200, own}, {200, std::string("\0secret", 7)}}, 0x82000004, kept},
    };
    for (const auto& row : rows) {
        RememberOldSession();
        RememberOldRefusal();
        Script(row.answers);
        EXPECT_EQ(Obtain(), Code(row.expected)) << row.name;
        EXPECT_EQ(platform.requests.size(), row.answers.size()) << row.name;
        EXPECT_EQ(State(), "old.e30.sig, 1, , 1, old org") << row.name;
        EXPECT_EQ(Record(), row.recorded) << row.name;
    }
}

}  // namespace
