#include "tools/sandbox/Accounts.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using sandbox::AccountKind;
using sandbox::AccountState;

json seedDocument() {
    return json::parse(R"({
        "rules": {"tokenLifetimeSeconds": 60},
        "accounts": [{
            "name": "one", "login": "one@example.test", "password": "p", "ownContext": true,
            "customer": {"id": "1", "firstName": "", "lastName": "", "middleName": "", "email": "",
                         "language": "", "country": "", "state": "", "city": "", "address": "",
                         "emailConfirmed": true, "role": "", "gdprStatus": "", "uwgStatus": ""}
        }]
    })");
}

TEST(Accounts, ReadsASeed) {
    const sandbox::Seed seed = sandbox::readSeed(seedDocument().dump());
    ASSERT_EQ(seed.accounts.size(), 1u);
    EXPECT_EQ(seed.accounts[0].login, "one@example.test");
    EXPECT_EQ(seed.accounts[0].state, AccountState::active);
    EXPECT_TRUE(seed.accounts[0].customer.emailConfirmed);
    EXPECT_EQ(seed.rules.tokenLifetimeSeconds, 60);
    EXPECT_EQ(seed.rules.lockSeconds, 300) << "a rule that is not given keeps its default";
}

TEST(Accounts, RefusesABrokenSeedWithASentence) {
    static const struct {
        const char* name;
        const char* patch;  // JSON patch (RFC 6902) of the good document
        const char* message;
    } rows[] = {
        {"no password", R"([{"op":"remove","path":"/accounts/0/password"}])",
         "accounts[0] lacks \"password\""},
        {"a misspelt member", R"([{"op":"add","path":"/accounts/0/pasword","value":""}])",
         "accounts[0] has the unknown member \"pasword\""},
        {"a login that is a number", R"([{"op":"add","path":"/accounts/0/login","value":7}])",
         "accounts[0]: \"login\" has the wrong type"},
        {"a customer without city", R"([{"op":"remove","path":"/accounts/0/customer/city"}])",
         "accounts[0].customer lacks \"city\""},
        {"an unknown state", R"([{"op":"add","path":"/accounts/0/state","value":"asleep"}])",
         "\"state\" is none of active, unverified, blocked, locked, failing"},
        {"a secret that is not base32", R"([{"op":"add","path":"/accounts/0/totpSecret","value":"1!"}])",
         "\"totpSecret\" is not base32"},
        {"two accounts of one name", R"([{"op":"copy","from":"/accounts/0","path":"/accounts/-"}])",
         "two accounts have the name \"one\""},
        {"a lifetime of 0", R"([{"op":"add","path":"/rules/tokenLifetimeSeconds","value":0}])",
         "\"tokenLifetimeSeconds\" must be at least 1"},
        {"trusts that are no array", R"([{"op":"add","path":"/accounts/0/trusts","value":{}}])",
         "\"trusts\" is not an array"},
        {"a trust without trustor", R"([{"op":"add","path":"/accounts/0/trusts","value":[{"id":"t"}]}])",
         "accounts[0].trusts[0] lacks \"trustorId\""},
        {"an account that is no object", R"([{"op":"add","path":"/accounts/0","value":1}])",
         "accounts[0] is not an object"},
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
    EXPECT_THROW((void)sandbox::readSeed("{"), sandbox::SeedError) << "no JSON";
    EXPECT_THROW((void)sandbox::readSeedFile("/no/such/file"), sandbox::SeedError) << "no file";
}

TEST(Accounts, SeedFileHasItsAccounts) {
    const sandbox::Seed seed = sandbox::readSeedFile(sandbox::defaultSeedFile());
    static const struct {
        const char* name;
        AccountKind kind;
        bool secondFactor;
        bool ownContext;
        std::size_t organizations;
        std::size_t persons;
        AccountState state;
    } rows[] = {
        {"plain", AccountKind::customer, false, true, 0, 0, AccountState::active},
        {"second-factor", AccountKind::customer, true, true, 0, 0, AccountState::active},
        {"organisation-only", AccountKind::customer, false, false, 1, 0, AccountState::active},
        {"several-contexts", AccountKind::customer, false, true, 2, 1, AccountState::active},
        {"blocked", AccountKind::customer, false, true, 0, 0, AccountState::blocked},
        {"locked", AccountKind::customer, false, true, 0, 0, AccountState::locked},
        {"business", AccountKind::business, false, false, 0, 0, AccountState::active},
        {"business-blocked", AccountKind::business, false, false, 0, 0, AccountState::blocked},
        {"administrator", AccountKind::administrator, false, false, 0, 0, AccountState::active},
    };
    EXPECT_EQ(seed.accounts.size(), std::size(rows));
    for (const auto& row : rows) {
        const sandbox::Account& account = sandbox::accountNamed(seed, row.name);
        std::size_t organizations = 0;
        for (const sandbox::Trust& trust : account.trusts)
            organizations += trust.type == "Organization" ? 1u : 0u;
        EXPECT_EQ(!account.totpSecret.empty(), row.secondFactor) << row.name;
        EXPECT_EQ(account.kind, row.kind) << row.name;
        EXPECT_EQ(account.ownContext, row.ownContext) << row.name;
        EXPECT_EQ(organizations, row.organizations) << row.name;
        EXPECT_EQ(account.trusts.size() - organizations, row.persons) << row.name;
        EXPECT_EQ(account.state, row.state) << row.name;
        EXPECT_TRUE(account.login.ends_with("@example.test")) << row.name;
    }
    EXPECT_THROW((void)sandbox::accountNamed(seed, "nobody"), sandbox::SeedError);
}

}  // namespace
