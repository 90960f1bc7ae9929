#include "core/src/registry/CustomerRegistryClient.h"

#include "tests/core/registry/RegistryFixture.h"

namespace {

using test::Code;
using test::Headers;
using test::Jwt;
using test::Lines;
using test::ServiceAnswer;
using test::Text;

class CustomerRegistryClient : public test::RegistryTest {
protected:
    // "mode, id"
    std::string ContextText() const {
        return std::to_string(client.contextMode) + ", " + Text(client.contextId);
    }
};

TEST_F(CustomerRegistryClient, GetAuthStateTellsAllFiveFields) {
    client.identitySecret = "secret";
    client.contextMode = 1;
    client.contextId = "org";
    registry::AuthState state;
    EXPECT_EQ(state.contextMode, 2u);
    EXPECT_EQ(client.GetAuthState(state), ResultCode::kSuccess);
    EXPECT_EQ(Text(state.tokenType), "Bearer");
    EXPECT_EQ(Text(state.accessToken), "old.e30.sig");
    EXPECT_EQ(Text(state.identitySecret), "secret");
    EXPECT_EQ(state.contextMode, 1u);
    EXPECT_EQ(Text(state.contextId), "org");
    EXPECT_TRUE(platform.requests.empty());
}

TEST_F(CustomerRegistryClient, GetAuthStateAfterAResetStillHasTheText) {
    client.ResetAuthState();
    registry::AuthState state;
    EXPECT_EQ(client.GetAuthState(state), ResultCode::kSuccess);
    EXPECT_EQ(Text(state.accessToken), "old.e30.sig");
    EXPECT_EQ(state.contextMode, 2u);
}

// --- AcquireContextToken

TEST_F(CustomerRegistryClient, AcquiringAsksByMode) {
    const struct {
        const char* name;
        std::uint32_t mode;
        const char* path;
        const char* body;
    } rows[] = {
        {"own context", 0, test::kOwnContextPath, ""},
        {"a trustor's", 1, test::kTrustPath, R"({"trustorId":"org\/9"})"},
        {"none", 2, test::kOwnContextPath, ""},
        {"any other", 77, test::kOwnContextPath, ""},
    };
    for (const auto& row : rows) {
        client.token = quillmarkclient_core::Token("old.e30.sig", true);
        platform.requests.clear();
        AnswerToken("new.e30.sig");
        EXPECT_EQ(client.AcquireContextToken(row.mode, "org/9", &errorInfo, context), ResultCode::kSuccess)
            << row.name;
        EXPECT_EQ(Requested(), (Lines{row.path})) << row.name;
        EXPECT_EQ(LastRequest().body, row.body) << row.name;
        EXPECT_EQ(LastRequest().headers, (Headers{{"Accept", "application/json"},
                                                  {"Cache-Control", "no-cache"},
                                                  {"Content-Type", "application/json;charset=UTF-8"},
                                                  {"Authorization", "Bearer old.e30.sig"},
                                                  {"x-vqm-custom", "vqm-client"}}))
            << row.name;
        EXPECT_EQ(TokenText(), "new.e30.sig") << row.name;
        EXPECT_EQ(ContextText(), "2, ") << row.name << ": the context is the caller's to set";
    }
}

TEST_F(CustomerRegistryClient, AcquiringWithAnAbsentTokenSendsAnEmptyValueAndKeepsTheMark) {
    client.token.present = 0;
    platform.AnswerWith(200, test::TokenBody(Jwt(R"({"userid":"u"})")));
    EXPECT_EQ(client.AcquireContextToken(0, "", &errorInfo, context), ResultCode::kSuccess);
    EXPECT_EQ(LastRequest().Header("Authorization"), "");
    EXPECT_EQ(client.token.present, 0);
    EXPECT_EQ(Text(client.token.userId), "u");
    EXPECT_EQ(TokenText(), Jwt(R"({"userid":"u"})"));
}

TEST_F(CustomerRegistryClient, AcquiringReplacesAllClaims) {
    client.token = quillmarkclient_core::Token(
        Text(Jwt(R"({"userid":"u","customerNumber":"c","scopes":[{"space":"s","role":"1"}]})")), true);
    platform.AnswerWith(200, test::TokenBody(Jwt(R"({"userid":"v"})")));
    EXPECT_EQ(client.AcquireContextToken(0, "", &errorInfo, context), ResultCode::kSuccess);
    EXPECT_EQ(Text(client.token.userId), "v");
    EXPECT_EQ(Text(client.token.customerNumber), "");
    EXPECT_TRUE(client.token.rights.empty());
    EXPECT_EQ(client.token.present, 1);
}

struct ContextFailure {
    const char* name;
    std::uint32_t status;  // a code of the transport from 0x80000000
    const char* body;
    std::uint32_t own;
    std::uint32_t trust;
    test::Recorded ownRecorded;
    test::Recorded trustRecorded;
};
const ContextFailure kContextFailures[] = {
    {"400", 400, "", 0x82000004, 0x82000004, {0x82000004, 400}, {0x82000004, 400}},
    {"401 starts no renewal", 401, "", 0x82000002, 0x82000002, {0x82000002, 401}, {0x82000002, 401}},
    {"403", 403, "", 0x82000007, 0x82000002, {0x82000007, 403}, {0x82000002, 403}},
    {"404", 404, "", 0x82000005, 0x8200000E, {0x82000005, 404}, {0x8200000E, 404}},
    {"409", 409, "", 0x82000004, 0x82000004, {0x82000004, 409}, {0x82000004, 409}},
    {"500", 500, "", 0x82000003, 0x82000003, {0x82000003, 500}, {0x82000003, 500}},
    {"network", 0x81000006, "", 0x80000006, 0x80000006, test::kOldRefusal, test::kOldRefusal},
    {"time-out", 0x81000014, "", 0x81000014, 0x81000014, test::kOldRefusal, test::kOldRefusal},
    {"no token", 200, "{}", 0x82000004, 0x82000004, test::kOldRefusal, test::kOldRefusal},
    {"no JSON", 200, "<html>", 0x82000004, 0x82000004, test::kOldRefusal, test::kOldRefusal},
};

TEST_F(CustomerRegistryClient, AFailedContextChangesNothing) {
    client.identitySecret = "secret";
    client.contextMode = 1;
    client.contextId = "org-1";
    for (const ContextFailure& row : kContextFailures) {
        for (const std::uint32_t mode : {0u, 1u}) {
            for (const bool isSelect : {false, true}) {
                platform.requests.clear();
                RememberOldRefusal();
                if (row.status >= 0x80000000)
                    platform.FailExchange(row.status);
                else
                    platform.AnswerWith(row.status, row.body);
                EXPECT_EQ(isSelect ? client.SelectContext(mode, "org-2", &errorInfo, context)
                                   : client.AcquireContextToken(mode, "org-2", &errorInfo, context),
                          Code(mode == 0 ? row.own : row.trust))
                    << row.name;
                EXPECT_EQ(Record(), mode == 0 ? row.ownRecorded : row.trustRecorded) << row.name;
                EXPECT_EQ(platform.requests.size(), 1u) << row.name;
                EXPECT_EQ(TokenText(), "old.e30.sig") << row.name;
                EXPECT_EQ(client.token.present, 1) << row.name;
                EXPECT_EQ(Text(client.identitySecret), "secret") << row.name;
                EXPECT_EQ(ContextText(), "1, org-1") << row.name;
            }
        }
    }
}

// --- SelectContext

TEST_F(CustomerRegistryClient, SelectingStoresTheChoice) {
    const struct {
        const char* name;
        std::uint32_t mode;
        const char* context;
    } rows[] = {
        {"a trustor", 1, "1, org-2"},
        {"own context clears the id", 0, "0, "},
        {"any other mode is the own context", 2, "0, "},
        {"a mode of no meaning", 9, "0, "},
    };
    for (const auto& row : rows) {
        client.contextMode = 1;
        client.contextId = "org-1";
        client.identitySecret = "secret";
        AnswerToken("new.e30.sig");
        EXPECT_EQ(client.SelectContext(row.mode, "org-2", &errorInfo, context), ResultCode::kSuccess)
            << row.name;
        EXPECT_EQ(ContextText(), row.context) << row.name;
        EXPECT_EQ(TokenText(), "new.e30.sig") << row.name;
        EXPECT_EQ(Text(client.identitySecret), "secret") << row.name;
    }
}

// --- GetContexts

using Contexts = std::vector<std::string>;

Contexts Texts(const portable_stl::vector<registry::ContextEntry>& entries) {
    Contexts texts;
    for (const auto& entry : entries)
        texts.push_back(std::to_string(entry.kind) + "|" + Text(entry.id) + "|" + Text(entry.name));
    return texts;
}

TEST_F(CustomerRegistryClient, ListsTheContexts) {
    const std::string person =
        R"([{"id":"t1","trustorId":"p-1","trustorDetails":{"type":"Person","name":"Somebody"}}])";
    const std::string user = R"({"id":"me","firstName":"Ada","lastName":"Love"})";
    const struct {
        const char* name;
        bool hasOwn;
        std::string trusts;
        std::string user;
        Contexts expected;
    } rows[] = {
        {"own and organisations",
         true,
         test::kTwoTrusts,
         user,
         {"0|me|Ada Love", "1|org-1|Org One", "1|org-2|Org Two"}},
        {"organisations alone: the user is not asked for",
         false,
         test::kTwoTrusts,
         "",
         {"1|org-1|Org One", "1|org-2|Org Two"}},
        {"own alone", true, "[]", user, {"0|me|Ada Love"}},
        {"a person is no context", true, person, user, {"0|me|Ada Love"}},
        {"a person alone", false, person, "", {}},
        {"no type is no context", false, R"([{"id":"t","trustorId":"o"}])", "", {}},
        {"the type in another case",
         false,
         R"([{"id":"t","trustorId":"o","trustorDetails":{"type":"ORGANIZATION"}}])",
         "",
         {"1|o|"}},
        {"a longer type is another",
         false,
         R"([{"id":"t","trustorId":"o","trustorDetails":{"type":"Organizations"}}])",
         "",
         {}},
        {"the blank between the names stays", true, "[]", R"({"id":"me"})", {"0|me| "}},
        {"a first name alone", true, "[]", R"({"firstName":"Ada"})", {"0||Ada "}},
        {"nothing", false, "[]", "", {}},
    };
    for (const auto& row : rows) {
        client.dynamicContextAvailable = row.hasOwn;
        platform.requests.clear();
        platform.AnswerWith(200, row.trusts);
        if (row.hasOwn)
            platform.AnswerWith(200, row.user);
        portable_stl::vector<registry::ContextEntry> contexts;
        contexts.push_back({7, "former", "former"}).value();
        EXPECT_EQ(client.GetContexts(contexts, &errorInfo, context), ResultCode::kSuccess) << row.name;
        EXPECT_EQ(Texts(contexts), row.expected) << row.name;
        EXPECT_EQ(Requested(),
                  row.hasOwn ? (Lines{test::kTrustsPath, test::kUserPath}) : Lines{test::kTrustsPath})
            << row.name;
        EXPECT_EQ(client.dynamicContextAvailable, row.hasOwn) << row.name;
    }
}

TEST_F(CustomerRegistryClient, AFailureWhileListingLeavesTheList) {
    const ServiceAnswer none = {200, "[]"};
    const struct {
        const char* name;
        std::vector<ServiceAnswer> answers;
        std::uint32_t expected;
        test::Recorded recorded;
    } rows[] = {
        {"trusts: 401 without a secret", {{401}}, 0x82000002, test::kOldRefusal},
        {"trusts: 403", {{403}}, 0x82000007, {0x82000007, 403}},
        {"trusts: 404", {{404}}, 0x82000005, {0x82000005, 404}},
        {"trusts: network", {{0x81000006}}, 0x80000006, test::kOldRefusal},
        {"trusts: no JSON", {{200, "<html>"}}, 0x82000004, test::kOldRefusal},
        {"user: 401 without a secret", {none, {401}}, 0x82000002, test::kOldRefusal},
        {"user: 404", {none, {404}}, 0x82000005, {0x82000005, 404}},
        {"user: 500", {none, {500}}, 0x82000004, {0x82000004, 500}},
        {"user: network", {none, {0x81000006}}, 0x80000006, test::kOldRefusal},
        {"user: no JSON", {none, {200, "<html>"}}, 0x82000004, test::kOldRefusal},
    };
    client.dynamicContextAvailable = true;
    portable_stl::vector<registry::ContextEntry> contexts;
    contexts.push_back({7, "former", "former"}).value();
    for (const auto& row : rows) {
        RememberOldRefusal();
        Script(row.answers);
        EXPECT_EQ(client.GetContexts(contexts, &errorInfo, context), Code(row.expected)) << row.name;
        EXPECT_EQ(platform.requests.size(), row.answers.size()) << row.name;
        EXPECT_EQ(Texts(contexts), (Contexts{"7|former|former"})) << row.name;
        EXPECT_EQ(Record(), row.recorded) << row.name;
    }
}

}  // namespace
