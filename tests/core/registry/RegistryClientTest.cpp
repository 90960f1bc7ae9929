#include "core/src/registry/RegistryClient.h"

#include "core/src/registry/AccessTokenBody.h"
#include "core/src/registry/BusinessRegistryClient.h"
#include "core/src/registry/PrincipalAdminRegistryClient.h"
#include "tests/core/registry/RegistryFixture.h"

namespace {

using registry::RetryPolicy;
using test::Code;
using test::Jwt;
using test::SystemApi;
using test::Text;

class RegistryClient : public test::RegistryTest {};

TEST_F(RegistryClient, IsBornWithoutASession) {
    const registry::CustomerRegistryClient<SystemApi> fresh("https://a/", "folder/", {}, context);
    EXPECT_EQ(fresh.kind, 0u);
    EXPECT_EQ(Text(fresh.baseUrl), "https://a/") << "used as given";
    EXPECT_EQ(Text(fresh.dataFolder), "folder/");
    EXPECT_EQ(fresh.token.present, 0);
    EXPECT_EQ(Text(fresh.token.text), "");
    EXPECT_EQ(Text(fresh.identitySecret), "");
    EXPECT_EQ(fresh.contextMode, 2u);
    EXPECT_EQ(Text(fresh.contextId), "");
    EXPECT_FALSE(fresh.dynamicContextAvailable);
    EXPECT_TRUE(platform.requests.empty());
}

TEST_F(RegistryClient, TakesThePolicyFieldByField) {
    const struct {
        const char* name;
        RetryPolicy given;
        RetryPolicy held;
    } rows[] = {
        {"zeros keep the defaults", {0, 0, 0, 0}, {5, 1500, 1000, 30000}},
        {"all given", {1, 2, 3, 4}, {1, 2, 3, 4}},
        {"the first alone", {7, 0, 0, 0}, {7, 1500, 1000, 30000}},
        {"the second alone", {0, 7, 0, 0}, {5, 7, 1000, 30000}},
        {"the third alone", {0, 0, 7, 0}, {5, 1500, 7, 30000}},
        {"the fourth alone", {0, 0, 0, 7}, {5, 1500, 1000, 7}},
        {"all but the first", {0, 2, 3, 4}, {5, 2, 3, 4}},
        {"all but the second", {1, 0, 3, 4}, {1, 1500, 3, 4}},
        {"all but the third", {1, 2, 0, 4}, {1, 2, 1000, 4}},
        {"all but the fourth", {1, 2, 3, 0}, {1, 2, 3, 30000}},
        {"the defaults by name", {5, 1500, 1000, 30000}, {5, 1500, 1000, 30000}},
        {"the largest",
         {4294967295, 4294967295, 4294967295, 4294967295},
         {4294967295, 4294967295, 4294967295, 4294967295}},
        {"a cap below the floor is nobody's business", {1, 1, 5000, 3}, {1, 1, 5000, 3}},
    };
    for (const auto& row : rows) {
        const registry::CustomerRegistryClient<SystemApi> fresh("", "", row.given, nullptr);
        EXPECT_EQ(fresh.retryPolicy.maxAttempts, row.held.maxAttempts) << row.name;
        EXPECT_EQ(fresh.retryPolicy.timeoutRetryDelayMs, row.held.timeoutRetryDelayMs) << row.name;
        EXPECT_EQ(fresh.retryPolicy.idempotencyWaitMs, row.held.idempotencyWaitMs) << row.name;
        EXPECT_EQ(fresh.retryPolicy.idempotencyWaitCapMs, row.held.idempotencyWaitCapMs) << row.name;
    }
}

template <class Client>
std::string LoadedKeys(const char* folder, void* context) {
    const Client fresh(test::kBaseUrl, folder, {}, context);
    std::string keys;
    for (const auto& entry : fresh.idempotencyEntries)
        keys += Text(entry.key) + " ";
    return Text(fresh.dataFolder) + ": " + keys;
}

TEST_F(RegistryClient, LoadsTheKeysOfItsFolderWhateverItsKind) {
    const struct {
        const char* name;
        std::string (*load)(const char* folder, void* context);
    } rows[] = {
        {"customer", &LoadedKeys<registry::CustomerRegistryClient<SystemApi>>},
        {"business", &LoadedKeys<registry::BusinessRegistryClient<SystemApi>>},
        {"principal administrator", &LoadedKeys<registry::PrincipalAdminRegistryClient<SystemApi>>},
    };
    platform.files["folder/LIC2"] =
        R"({"entries":[{"hash":"h","key":"k1","createdAt":"5"},{"hash":"h","key":"k2","createdAt":"6"}]})";
    platform.files["LIC2"] = R"({"entries":[{"hash":"h","key":"another's","createdAt":"5"}]})";
    for (const auto& row : rows) {
        EXPECT_EQ(row.load("folder/", context), "folder/: k1 k2 ") << row.name;
        EXPECT_EQ(row.load("folder", context), "folder: ") << row.name << ": no separator is added";
        const std::uint32_t reads = platform.CallCount(test::Operation::FileGetSize);
        EXPECT_EQ(row.load("", context), ": ") << row.name;
        EXPECT_EQ(platform.CallCount(test::Operation::FileGetSize), reads) << row.name << ": nobody looks";
    }
}

TEST_F(RegistryClient, ResetKeepsTheTokensTextAndClaims) {
    client.token = quillmarkclient_core::Token(Text(Jwt(R"({"userid":"u"})")), true);
    client.identitySecret = "secret";
    client.contextMode = 1;
    client.contextId = "org";
    client.dynamicContextAvailable = true;
    client.ResetAuthState();
    EXPECT_EQ(client.token.present, 0);
    EXPECT_EQ(TokenText(), Jwt(R"({"userid":"u"})"));
    EXPECT_EQ(Text(client.token.userId), "u");
    EXPECT_EQ(Text(client.identitySecret), "");
    EXPECT_EQ(client.contextMode, 2u);
    EXPECT_EQ(Text(client.contextId), "");
    EXPECT_TRUE(client.dynamicContextAvailable) << "only a sign-in decides that";
}

TEST_F(RegistryClient, SetAccessTokenResetsAndReplacesTheRecord) {
    client.token = quillmarkclient_core::Token(Text(Jwt(R"({"userid":"u","customerNumber":"c"})")), true);
    client.identitySecret = "secret";
    client.contextMode = 1;
    client.contextId = "org";
    client.SetAccessToken(Text(Jwt(R"({"userid":"v"})")), false, context);
    EXPECT_EQ(client.token.present, 0);
    EXPECT_EQ(TokenText(), Jwt(R"({"userid":"v"})"));
    EXPECT_EQ(Text(client.token.userId), "v");
    EXPECT_EQ(Text(client.token.customerNumber), "");
    EXPECT_EQ(Text(client.identitySecret), "");
    EXPECT_EQ(client.contextMode, 2u);
    EXPECT_EQ(Text(client.contextId), "");

    client.SetAccessToken("plain", true, context);
    EXPECT_EQ(client.token.present, 1);
    EXPECT_EQ(TokenText(), "plain");
    client.SetAccessToken(client.token.text, true, context);
    EXPECT_EQ(TokenText(), "plain") << "from its own text";
}

TEST(ReadAccessToken, ReadsTheMember) {
    const struct {
        const char* name;
        std::string body;
        std::uint32_t expected;
        const char* text;
    } rows[] = {
        {"the member", R"({"accessToken":"a.b.c"})", 0, "a.b.c"},
        {"in another case", R"({"ACCESSTOKEN":"t"})", 0, "t"},
        {"the first of two", R"({"accessToken":"t","AccessToken":"u"})", 0, "t"},
        {"an escaped slash", R"({"accessToken":"t\/u"})", 0, "t/u"},
        {"null reads as its text", R"({"accessToken":null})", 0, "null"},
        {"a number", R"({"accessToken":12})", 0, "12"},
        {"empty", R"({"accessToken":""})", 0, ""},
        {"an object has no text", R"({"accessToken":{"a":"b"}})", 0, ""},
        {"missing", R"({"token":"t"})", 0x82000004, "former"},
        {"empty object", "{}", 0x82000004, "former"},
        {"list", R"([{"accessToken":"t"}])", 0x82000004, "former"},
        {"null", "null", 0x82000004, "former"},
        {"no body", "", 0x82000004, "former"},
        {"HTML", "<html>", 0x82000004, "former"},
        {"cut", R"({"accessToken":"t")", 0x82000004, "former"},
        {"the token itself", "a.b.c", 0x82000004, "former"},
        {"deeper", R"({"data":{"accessToken":"t"}})", 0x82000004, "former"},
    };
    for (const auto& row : rows) {
        portable_stl::string text = "former";
        EXPECT_EQ(registry::ReadAccessToken(Text(row.body), text), Code(row.expected)) << row.name;
        EXPECT_EQ(Text(text), row.text) << row.name;
    }
}

}  // namespace
