// The parts of the seed that tell of businesses, providers and social people.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tools/sandbox/AccountService.h"
#include "tools/sandbox/Accounts.h"

namespace {

using nlohmann::json;
using sandbox::AccountKind;

json seedDocument() {
    return json::parse(R"({
        "rules": {"finalization": {"busyAnswers": 2, "busySeconds": 0, "retryAfterSeconds": 3,
                                   "successStatus": 200}, "codeLifetimeSeconds": 30},
        "accounts": [{
            "name": "shop", "kind": "business", "login": "shop@example.test", "password": "p",
            "businessContactNumber": "7", "scopes": [{"space": "s", "role": 1}],
            "customer": {"id": "1", "firstName": "", "lastName": "", "middleName": "", "email": "",
                         "language": "", "country": "", "state": "", "city": "", "address": "",
                         "emailConfirmed": true, "role": "", "gdprStatus": "", "uwgStatus": ""}
        }],
        "providers": [{"key": "k", "displayName": "K"}],
        "people": [{"name": "one", "provider": "k", "accessToken": "t", "code": "c",
                    "email": "one@example.test", "account": "shop"}]
    })");
}

TEST(SocialSeed, IsRead) {
    const sandbox::Seed seed = sandbox::readSeed(seedDocument().dump());
    EXPECT_EQ(seed.rules.finalization.busyAnswers, 2);
    EXPECT_EQ(seed.rules.finalization.retryAfterSeconds, 3);
    EXPECT_EQ(seed.rules.finalization.successStatus, 200);
    EXPECT_EQ(seed.rules.codeLifetimeSeconds, 30);
    EXPECT_EQ(seed.rules.idempotencyLifetimeSeconds, 86400) << "a rule that is not given keeps its default";
    EXPECT_EQ(seed.accounts.at(0).kind, AccountKind::business);
    EXPECT_EQ(seed.accounts.at(0).businessContactNumber, "7");
    EXPECT_EQ(seed.providers.at(0).displayName, "K");
    EXPECT_EQ(sandbox::personNamed(seed, "one").account, "shop");
    EXPECT_THROW((void)sandbox::personNamed(seed, "nobody"), sandbox::SeedError);
}

TEST(SocialSeed, DefaultsFinaliseAtOnceWithoutBody) {
    const sandbox::Seed seed = sandbox::readSeed(R"({"accounts":[]})");
    EXPECT_EQ(seed.rules.finalization.busyAnswers, 0);
    EXPECT_EQ(seed.rules.finalization.busySeconds, 0);
    EXPECT_EQ(seed.rules.finalization.retryAfterSeconds, 1);
    EXPECT_EQ(seed.rules.finalization.successStatus, 204);
    EXPECT_EQ(seed.rules.codeLifetimeSeconds, 600);
    EXPECT_TRUE(seed.providers.empty());
    EXPECT_TRUE(seed.people.empty());
}

TEST(SocialSeed, BrokenOneIsRefusedWithASentence) {
    static const struct {
        const char* name;
        const char* patch;  // JSON patch (RFC 6902) of the good document
        const char* message;
    } rows[] = {
        {"an unknown kind", R"([{"op":"replace","path":"/accounts/0/kind","value":"robot"}])",
         "\"kind\" is none of customer, business, administrator"},
        {"a business with a second factor", R"([{"op":"add","path":"/accounts/0/totpSecret","value":"AA"}])",
         "accounts[0] has the unknown member \"totpSecret\""},
        {"a business with an own context", R"([{"op":"add","path":"/accounts/0/ownContext","value":true}])",
         "accounts[0] has the unknown member \"ownContext\""},
        {"a business with trusts", R"([{"op":"add","path":"/accounts/0/trusts","value":[]}])",
         "accounts[0] has the unknown member \"trusts\""},
        {"an administrator with a number",
         R"([{"op":"replace","path":"/accounts/0/kind","value":"administrator"}])",
         "accounts[0] has the unknown member \"businessContactNumber\""},
        {"an empty password", R"([{"op":"replace","path":"/accounts/0/password","value":""}])",
         "accounts[0]: \"password\" is empty"},
        {"a customer without ownContext", R"([{"op":"remove","path":"/accounts/0/kind"}])",
         "accounts[0] lacks \"ownContext\""},
        {"a provider without key", R"([{"op":"remove","path":"/providers/0/key"}])",
         "providers[0] lacks \"key\""},
        {"a provider without display name",
         R"([{"op":"replace","path":"/providers/0/displayName","value":""}])",
         "providers[0]: \"displayName\" is empty"},
        {"two providers of one key", R"([{"op":"copy","from":"/providers/0","path":"/providers/-"}])",
         "two providers have the key \"k\""},
        {"providers that are no array", R"([{"op":"replace","path":"/providers","value":{}}])",
         "\"providers\" is not an array"},
        {"a person without token", R"([{"op":"remove","path":"/people/0/accessToken"}])",
         "people[0] lacks \"accessToken\""},
        {"a person with an empty code", R"([{"op":"replace","path":"/people/0/code","value":""}])",
         "people[0]: \"code\" is empty"},
        {"a person of an unknown provider", R"([{"op":"replace","path":"/people/0/provider","value":"x"}])",
         "the social person \"one\" names the unknown provider \"x\""},
        {"a person of an unknown account", R"([{"op":"replace","path":"/people/0/account","value":"x"}])",
         "the social person \"one\" is linked to \"x\""},
        {"a person of an administrator",
         R"([{"op":"replace","path":"/accounts/0/kind","value":"administrator"},)"
         R"({"op":"remove","path":"/accounts/0/businessContactNumber"}])",
         "the social person \"one\" is linked to \"shop\""},
        {"two people of one name", R"([{"op":"copy","from":"/people/0","path":"/people/-"}])",
         "two social people have the name \"one\""},
        {"two people of one token",
         R"([{"op":"add","path":"/people/-","value":{"name":"two","provider":"k","accessToken":"t",)"
         R"("code":"d","email":"e"}}])",
         "two social people have the access token \"t\""},
        {"two people of one code",
         R"([{"op":"add","path":"/people/-","value":{"name":"two","provider":"k","accessToken":"u",)"
         R"("code":"c","email":"e"}}])",
         "two social people have the code \"c\""},
        {"a code's life of 0", R"([{"op":"replace","path":"/rules/codeLifetimeSeconds","value":0}])",
         "\"codeLifetimeSeconds\" must be at least 1"},
        {"a key's life beyond all clocks",
         R"([{"op":"add","path":"/rules/idempotencyLifetimeSeconds","value":1000000001}])",
         "at most 1000000000"},
        {"half an answer", R"([{"op":"replace","path":"/rules/finalization/busyAnswers","value":1.5}])",
         "rules.finalization: \"busyAnswers\" has the wrong type"},
        {"less than no answer", R"([{"op":"replace","path":"/rules/finalization/busyAnswers","value":-1}])",
         "\"busyAnswers\" must be at least 0"},
        {"a success of 201", R"([{"op":"replace","path":"/rules/finalization/successStatus","value":201}])",
         "\"successStatus\" is 200 or 204"},
        {"a misspelt rule", R"([{"op":"add","path":"/rules/finalization/busy","value":1}])",
         "rules.finalization has the unknown member \"busy\""},
    };
    for (const auto& row : rows) {
        try {
            (void)sandbox::readSeed(seedDocument().patch(json::parse(row.patch)).dump());
            ADD_FAILURE() << row.name << ": was read";
        } catch (const sandbox::SeedError& error) {
            EXPECT_NE(std::string(error.what()).find(row.message), std::string::npos)
                << row.name << ": " << error.what();
        }
    }
}

TEST(SocialSeed, SeedFileHasItsPeople) {
    const sandbox::Seed seed = sandbox::readSeedFile(sandbox::defaultSeedFile());
    static const struct {
        const char* name;
        const char* provider;
        const char* account;
    } rows[] = {
        {"linked", "glowpass", "plain"},
        {"linked-several", "maple-id", "several-contexts"},
        {"linked-blocked", "glowpass", "blocked"},
        {"linked-elsewhere", "maple-id", "several-contexts"},
        {"password-owner", "maple-id", ""},
        {"newcomer", "glowpass", ""},
        {"newcomer-too", "maple-id", ""},
        {"business-linked", "glowpass", "business"},
        {"business-blocked", "glowpass", "business-blocked"},
        {"business-newcomer", "maple-id", ""},
    };
    EXPECT_EQ(seed.people.size(), std::size(rows));
    for (const auto& row : rows) {
        const sandbox::SocialPerson& person = sandbox::personNamed(seed, row.name);
        EXPECT_EQ(person.provider, row.provider) << row.name;
        EXPECT_EQ(person.account, row.account) << row.name;
        EXPECT_TRUE(person.email.ends_with("@example.test")) << row.name;
    }
}

TEST(SocialSeed, ALinkThatLeadsNowhereStopsTheService) {
    sandbox::Seed seed = sandbox::readSeedFile(sandbox::defaultSeedFile());
    seed.people.at(0).account = "nobody";
    EXPECT_THROW(sandbox::AccountService service(seed), sandbox::SeedError);
}

}  // namespace
