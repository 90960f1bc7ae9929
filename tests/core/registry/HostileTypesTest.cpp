// Answers that are JSON and hold something else than the service promises: lists for objects, numbers for
// texts, null. A value's text is what counts, and a container has none.
#include "tests/core/registry/AnyClient.h"

namespace {

using test::Code;
using test::Lines;
using test::ServiceAnswer;
using test::Text;

using Client = test::AnyClient;

struct Way {
    const char* name;
    test::ClientMaker make;
    bool asksForTrusts;  // behind the token
    ResultCode (*run)(Client& client, registry::ServiceErrorInfo* errorInfo);
};

ResultCode ByPassword(Client& client, registry::ServiceErrorInfo* errorInfo) {
    return client.Authorize("login", "password", errorInfo, nullptr);
}
ResultCode ByCode(Client& client, registry::ServiceErrorInfo* errorInfo) {
    return client.AuthorizeSocialCode("code", 0, errorInfo, nullptr);
}

constexpr Way kWays[] = {
    {"password", test::kCustomer, true, &ByPassword},
    {"second factor", test::kCustomer, true,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         return client.AuthorizeSecondFactor("challenge", "123456", errorInfo, nullptr);
     }},
    {"social token", test::kCustomer, true,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         return client.AuthorizeSocialToken("acme", "token", errorInfo, nullptr);
     }},
    {"social code", test::kCustomer, true, &ByCode},
    {"choice of a context", test::kCustomer, false,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         return client.SelectContext(0, "", errorInfo, nullptr);
     }},
    {"a business's password", test::kBusiness, false, &ByPassword},
    {"a business's code", test::kBusiness, false, &ByCode},
    {"a business's renewal", test::kBusiness, false,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         return client.ReauthorizeViaIdentity("secret", 0, "", errorInfo, nullptr);
     }},
    {"an administrator's password", test::kAdministrator, false, &ByPassword},
};

TEST(HostileTypes, WhateverStandsForTheTokenIsSentAsTheToken) {
    const struct {
        const char* name;
        const char* body;
        std::uint32_t expected;
        const char* token;
    } rows[] = {
        {"a number", R"({"accessToken":12.5})", 0, "12.5"},
        {"true", R"({"accessToken":true})", 0, "true"},
        {"null", R"({"accessToken":null})", 0, "null"},
        {"empty", R"({"accessToken":""})", 0, ""},
        {"a list", R"({"accessToken":["t"]})", 0, ""},
        {"an object", R"({"accessToken":{"accessToken":"t"}})", 0, ""},
        {"no value", R"({"accessToken":})", 0, ""},
        {"the first of two", R"({"ACCESSTOKEN":"t","accessToken":"u"})", 0, "t"},
        {"in a list", R"([{"accessToken":"t"}])", 0x82000004, "old.e30.sig"},
        {"a level down", R"({"data":{"accessToken":"t"}})", 0x82000004, "old.e30.sig"},
        {"a text", R"("accessToken")", 0x82000004, "old.e30.sig"},
    };
    for (const Way& way : kWays) {
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(way.name) + ", " + row.name);
            test::ScriptedPlatform platform;
            const auto client = way.make();
            registry::ServiceErrorInfo errorInfo;
            platform.AnswerWith(200, row.body);
            const bool goesOn = row.expected == 0 && way.asksForTrusts;
            if (goesOn)
                platform.AnswerWith(500, "");
            EXPECT_EQ(way.run(*client, &errorInfo), Code(goesOn ? 0x82000003 : row.expected));
            EXPECT_EQ(Text(client->token.text), row.token);
            if (goesOn) {
                EXPECT_EQ(platform.requests.back().Header("Authorization"),
                          std::string("Bearer ") + row.token);
                EXPECT_EQ(client->token.present, 0) << "the sign-in failed in the end";
            }
            EXPECT_EQ(platform.UnusedAnswers(), 0u);
        }
    }
}

TEST(HostileTypes, AChallengeIsItsText) {
    const struct {
        const char* name;
        const char* body;
        std::uint32_t expected;
    } rows[] = {
        {"a number", R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":7}})",
         0x82000012},
        {"null", R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":null}})",
         0x82000012},
        {"a list", R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":["c"]}})",
         0x82000007},
        {"an object", R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":{}}})",
         0x82000007},
        {"arguments in a list",
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":[{"challengeToken":"c"}]})",
         0x82000007},
        {"arguments as a text",
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":"challengeToken"})", 0x82000007},
        {"arguments as null", R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":null})",
         0x82000007},
        {"the empty first of two",
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":"",)"
         R"("challengeToken":"c"}})",
         0x82000007},
        {"the status in a list",
         R"({"status":[403],"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":"c"}})",
         0x82000007},
        {"the error code in a list",
         R"({"status":403,"errorCode":["2FA_TOTP_REQUIRED"],"errorArgs":{"challengeToken":"c"}})",
         0x82000007},
        {"all in a list",
         R"([{"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":"c"}}])",
         0x82000007},
    };
    for (const auto& row : rows) {
        test::ScriptedPlatform platform;
        const auto client = test::kCustomer();
        registry::ServiceErrorInfo errorInfo;
        platform.AnswerWith(403, row.body);
        EXPECT_EQ(ByPassword(*client, &errorInfo), Code(row.expected)) << row.name;
        EXPECT_EQ(test::StateOf(*client), test::ResetSession("old.e30.sig")) << row.name;
    }
}

TEST(HostileTypes, ATrustorIsItsText) {
    const struct {
        const char* name;
        const char* trusts;
        std::uint32_t expected;
        const char* body;  // of the request for the trustor's context; null: it is not made
        const char* state;
    } rows[] = {
        {"a number", R"([{"id":1,"trustorId":7}])", 0, R"({"trustorId":"7"})", "trust.e30.sig, 1, , 1, 7"},
        {"null", R"([{"id":null,"trustorId":null}])", 0, R"({"trustorId":"null"})",
         "trust.e30.sig, 1, , 1, null"},
        {"a list", R"([{"id":[],"trustorId":["o"]}])", 0, R"({"trustorId":""})", "trust.e30.sig, 1, , 1, "},
        {"an object's members", R"({"x":{"id":"1","trustorId":"o"}})", 0, R"({"trustorId":"o"})",
         "trust.e30.sig, 1, , 1, o"},
        {"details and rights of other kinds",
         R"([{"id":"1","trustorId":"o","trustorDetails":[1,2],"trustRights":{"a":7}}])", 0,
         R"({"trustorId":"o"})", "trust.e30.sig, 1, , 1, o"},
        {"an error in place of the list", R"({"error":{"id":"1"}})", 0x82000004, nullptr,
         "first.e30.sig, 0, , 2, "},
        {"lists in the list", R"([["id","trustorId"]])", 0x82000004, nullptr, "first.e30.sig, 0, , 2, "},
        {"texts in the list", R"(["id","trustorId"])", 0x82000004, nullptr, "first.e30.sig, 0, , 2, "},
        {"a text", R"("no trusts")", 0x8200000C, nullptr, ", 0, , 2, "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test::ScriptedPlatform platform;
        const auto client = test::kCustomer();
        registry::ServiceErrorInfo errorInfo;
        platform.AnswerWith(200, test::TokenBody("first.e30.sig"));
        platform.AnswerWith(200, row.trusts);
        if (Code(row.expected) != ResultCode::kCompatibilityBroken)
            platform.AnswerWith(404, "");
        if (row.body != nullptr)
            platform.AnswerWith(200, test::TokenBody("trust.e30.sig"));
        EXPECT_EQ(ByPassword(*client, &errorInfo), Code(row.expected));
        EXPECT_EQ(test::StateOf(*client), row.state);
        if (row.body != nullptr) {
            EXPECT_EQ(platform.requests.back().body, row.body);
        }
        EXPECT_EQ(platform.UnusedAnswers(), 0u);
    }
}

TEST(HostileTypes, AnIdentityRecordIsItsTexts) {
    const std::string others = R"("name":"VQM_Identity","type":"VQM_Access","role":"Regular"})";
    const struct {
        const char* name;
        std::string records;
        std::string created;  // empty: a record was found
        const char* lastPath;
        std::uint32_t expected;
    } rows[] = {
        {"a number for an id", R"([{"id":7,)" + others + "]", "", "/identities/7/token", 0},
        {"null for an id", R"([{"id":null,)" + others + "]", "", "/identities/null/token", 0},
        {"a list for an id", R"([{"id":["7"],)" + others + "]", "", "/identities//token", 0},
        {"a list for a name is another name",
         R"([{"id":"7","name":["VQM_Identity"],"type":"VQM_Access","role":"Regular"}])", R"({"id":"8"})",
         "/identities/8/token", 0},
        {"the new id is a number", "null", R"({"id":8})", "/identities/8/token", 0},
        {"the new id is a list", "{}", R"({"id":[8]})", "/identities//token", 0},
        {"the new record stands in a list", "[]", R"([{"id":"8"}])", "/v2/identities", 0x82000004},
        {"the new record is a text", "[]", R"("8")", "/v2/identities", 0x82000004},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test::ScriptedPlatform platform;
        const auto client = test::kCustomer();
        registry::ServiceErrorInfo errorInfo;
        platform.AnswerWith(200, row.records);
        if (!row.created.empty())
            platform.AnswerWith(200, row.created);
        if (row.expected == 0)
            platform.AnswerWith(200, "{\"secret\":[1]}");
        EXPECT_EQ(client->ObtainIdentitySecret("", "", &errorInfo, nullptr), Code(row.expected));
        const std::string& url = platform.requests.back().url;
        const std::string end = row.lastPath;
        EXPECT_EQ(url.substr(url.size() - end.size()), end);
        EXPECT_EQ(Text(client->identitySecret), row.expected == 0 ? "{\"secret\":[1]}" : "")
            << "plain text, whatever it looks like";
        EXPECT_EQ(platform.UnusedAnswers(), 0u);
    }
}

TEST(HostileTypes, AProviderIsItsText) {
    test::ScriptedPlatform platform;
    const auto client = test::kCustomer();
    platform.AnswerWith(200,
                        R"({"x":{"key":7},"y":{"key":null},"z":{"key":["a"]},"w":[{"key":"a"}],"v":"key"})");
    portable_stl::string text;
    EXPECT_EQ(client->GetSocialProviders(text, ',', nullptr, nullptr), ResultCode::kSuccess);
    EXPECT_EQ(Text(text), "7,null,,");
}

}  // namespace
