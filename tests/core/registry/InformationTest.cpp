#include "tests/core/registry/RegistryFixture.h"

namespace {

using test::Code;
using test::Lines;
using test::Text;

class Information : public test::RegistryTest {};

TEST_F(Information, TheUsersDetails) {
    registry::CustomerInfo info;
    platform.AnswerWith(200, R"({"id":"1","firstName":"Ada","lastName":"L","email":"a@b"})");
    EXPECT_EQ(client.GetCustomerInfo(info, &errorInfo, context), ResultCode::kSuccess);
    EXPECT_EQ(Requested(), (Lines{test::kUserPath}));
    EXPECT_EQ(LastRequest().Header("Authorization"), "Bearer old.e30.sig");
    EXPECT_EQ(Text(info.firstName), "Ada");
    EXPECT_EQ(Text(info.email), "a@b");
}

TEST_F(Information, TheTrusts) {
    portable_stl::vector<registry::TrustRecord> records;
    platform.AnswerWith(200, test::kTwoTrusts);
    EXPECT_EQ(client.GetTrustRecords(records, &errorInfo, context), ResultCode::kSuccess);
    EXPECT_EQ(Requested(), (Lines{test::kTrustsPath}));
    EXPECT_EQ(LastRequest().Header("Authorization"), "Bearer old.e30.sig");
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(Text(records[1].trustorId), "org-2");
}

TEST_F(Information, TheProvidersAreAppended) {
    const struct {
        const char* name;
        std::uint8_t mark;
        const char* authorization;
        const char* former;
        char separator;
        const char* body;
        const char* expected;
    } rows[] = {
        {"signed in", 1, "Bearer old.e30.sig", "", ',', R"([{"key":"acme"},{"key":"other"}])", "acme,other,"},
        {"not signed in", 0, "(none)", "", ',', R"([{"key":"acme"},{"key":"other"}])", "acme,other,"},
        {"another separator", 1, "Bearer old.e30.sig", "", '\n', R"([{"KEY":"acme"}])", "acme\n"},
        {"behind what is there", 1, "Bearer old.e30.sig", "former;", ';', R"([{"key":"acme"}])",
         "former;acme;"},
        {"one without a key is passed over", 1, "Bearer old.e30.sig", "", ',',
         R"([{"name":"acme"},{"key":"other"}])", "other,"},
        {"none", 0, "(none)", "former", ',', "[]", "former"},
    };
    for (const auto& row : rows) {
        client.token.present = row.mark;
        Script({{200, row.body}});
        portable_stl::string text = row.former;
        EXPECT_EQ(client.GetSocialProviders(text, row.separator, &errorInfo, context), ResultCode::kSuccess)
            << row.name;
        EXPECT_EQ(Requested(), (Lines{test::kProvidersPath})) << row.name;
        EXPECT_EQ(LastRequest().Header("Authorization"), row.authorization) << row.name;
        EXPECT_EQ(Text(text), row.expected) << row.name;
        EXPECT_EQ(TokenText(), "old.e30.sig") << row.name;
    }
}

TEST_F(Information, BothRenewTheSessionOnA401) {
    client.identitySecret = "secret";
    client.contextMode = 0;
    registry::CustomerInfo info;
    portable_stl::vector<registry::TrustRecord> records;
    for (const bool isTrusts : {false, true}) {
        platform.requests.clear();
        platform.AnswerWith(401, "");
        AnswerToken("identity.e30.sig");
        AnswerToken("context.e30.sig");
        platform.AnswerWith(200, "[]");
        EXPECT_EQ(isTrusts ? client.GetTrustRecords(records, &errorInfo, context)
                           : client.GetCustomerInfo(info, &errorInfo, context),
                  ResultCode::kSuccess);
        const char* const path = isTrusts ? test::kTrustsPath : test::kUserPath;
        EXPECT_EQ(Requested(), (Lines{path, test::kIdentitySignInPath, test::kOwnContextPath, path}));
        EXPECT_EQ(LastRequest().Header("Authorization"), "Bearer context.e30.sig");
    }
}

TEST_F(Information, ASecond401IsMappedByTheTable) {
    client.identitySecret = "secret";
    platform.AnswerWith(401, "");
    AnswerToken("identity.e30.sig");
    AnswerToken("context.e30.sig");
    platform.AnswerWith(401, R"({"title":"still no"})");
    registry::CustomerInfo info;
    EXPECT_EQ(client.GetCustomerInfo(info, &errorInfo, context), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(Text(errorInfo.title), "still no");
    EXPECT_EQ(platform.requests.size(), 4u);
}

TEST_F(Information, FailuresLeaveTheRecordsAlone) {
    const struct {
        const char* name;
        std::uint32_t status;  // a code of the transport from 0x80000000
        const char* body;
        std::uint32_t info;
        std::uint32_t trusts;
        std::uint32_t providers;
    } rows[] = {
        {"400", 400, "", 0x82000004, 0x82000004, 0x82000004},
        {"401 without a secret", 401, "", 0x82000002, 0x82000002, 0x82000002},
        {"403", 403, "", 0x82000004, 0x82000007, 0x82000007},
        {"404", 404, "", 0x82000005, 0x82000005, 0x82000004},
        {"500", 500, "", 0x82000004, 0x82000003, 0x82000003},
        {"503", 503, "", 0x8000000C, 0x8000000C, 0x8000000C},
        {"network", 0x81000006, "", 0x80000006, 0x80000006, 0x80000006},
        {"time-out", 0x81000014, "", 0x81000014, 0x81000014, 0x81000014},
        {"HTML", 200, "<html></html>", 0x82000004, 0x82000004, 0x82000004},
    };
    for (const auto& row : rows) {
        registry::CustomerInfo info;
        info.id = "former";
        portable_stl::vector<registry::TrustRecord> records;
        records.push_back(registry::TrustRecord()).value();
        portable_stl::string providers = "former";
        const test::ServiceAnswer answer = {row.status, row.body};
        Script({answer, answer, answer});
        EXPECT_EQ(client.GetCustomerInfo(info, &errorInfo, context), Code(row.info)) << row.name;
        EXPECT_EQ(client.GetTrustRecords(records, nullptr, context), Code(row.trusts)) << row.name;
        EXPECT_EQ(client.GetSocialProviders(providers, ',', nullptr, context), Code(row.providers))
            << row.name;
        EXPECT_EQ(Text(info.id), "former") << row.name;
        EXPECT_EQ(Text(providers), "former") << row.name;
        EXPECT_EQ(records.size(), 1u) << row.name;
    }
}

}  // namespace
