// Businesses and principal administrators: how they sign in and what is theirs.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/SandboxFixture.h"
#include "tests/tools/sandbox/SandboxClient.h"

namespace {

using nlohmann::json;
using sandbox::AccountState;
using test_support::claimsOf;
using test_support::clientHeaders;
using test_support::exchange;
using test_support::Reply;

constexpr const char* kCustomerTokens = "/api/customer/registry/v2/tokens";
constexpr const char* kBusinessTokens = "/api/business/registry/v2/tokens";
constexpr const char* kAdministratorTokens = "/api/admin/id/v0/tokens/password";
constexpr const char* kCustomerIdentity = "/api/customer/registry/v2/tokens/identity";
constexpr const char* kBusinessIdentity = "/api/business/registry/v2/tokens/identity";
constexpr const char* kIdentities = "/api/registry/v2/identities";
constexpr const char* kNewIdentity = R"({"name":"VQM_Identity","type":"VQM_Access","role":"Regular",)"
                                     R"("identityRights":[{"space":"a","role":"user"},)"
                                     R"({"space":"b","role":"manager"},{"space":"c","role":"owner"}]})";

class Business : public testing::Test {
protected:
    Reply get(const std::string& target, const std::string& token) {
        return exchange(fixture.baseUrl(), "GET", target, clientHeaders(token));
    }
    Reply post(const std::string& target, const std::string& body, const std::string& token = {}) {
        return exchange(fixture.baseUrl(), "POST", target, clientHeaders(token), body);
    }
    Reply signIn(const std::string& target, const std::string& login, const std::string& password) {
        const char* member = target == kAdministratorTokens ? "email" : "login";
        return post(target, json{{member, login}, {"password", password}}.dump());
    }
    std::string businessToken() {
        return signIn(kBusinessTokens, "bella.business@example.test", "Amber-Wharf-7").member("accessToken");
    }
    // The secret of a new identity record of the token's owner.
    std::string secretOf(const std::string& token, const std::string& query = {}) {
        const std::string id = post(kIdentities, kNewIdentity, token).member("id");
        return get(std::string(kIdentities) + "/" + id + "/token" + query, token).body;
    }
    Reply renew(const std::string& target, const std::string& secret) {
        return post(target, json{{"secretKey", secret}}.dump());
    }

    test_support::SandboxFixture fixture;
};

TEST_F(Business, EachKindSignsInAtItsOwnEndpointAlone) {
    static const struct {
        const char* name;
        const char* target;
        const char* login;
        const char* password;
        int status;
    } rows[] = {
        {"a business", kBusinessTokens, "bella.business@example.test", "Amber-Wharf-7", 200},
        {"a business, wrong password", kBusinessTokens, "bella.business@example.test", "x", 401},
        {"an unknown business", kBusinessTokens, "nobody@example.test", "x", 401},
        {"a blocked business", kBusinessTokens, "boris.business@example.test", "Velvet-Tunnel-8", 403},
        {"a blocked business, wrong password", kBusinessTokens, "boris.business@example.test", "x", 401},
        {"a customer at the businesses'", kBusinessTokens, "anna.plain@example.test", "Sunny-Harbour-1", 401},
        {"a business at the customers'", kCustomerTokens, "bella.business@example.test", "Amber-Wharf-7",
         404},
        {"an administrator", kAdministratorTokens, "ada.admin@example.test", "Iron-Compass-9", 200},
        {"an administrator, wrong password", kAdministratorTokens, "ada.admin@example.test", "x", 401},
        {"an unknown administrator", kAdministratorTokens, "nobody@example.test", "x", 401},
        {"a customer at the administrators'", kAdministratorTokens, "anna.plain@example.test",
         "Sunny-Harbour-1", 401},
        {"an administrator at the customers'", kCustomerTokens, "ada.admin@example.test", "Iron-Compass-9",
         404},
        {"an administrator at the businesses'", kBusinessTokens, "ada.admin@example.test", "Iron-Compass-9",
         401},
    };
    for (const auto& row : rows) {
        const Reply reply = signIn(row.target, row.login, row.password);
        EXPECT_EQ(reply.status, row.status) << row.name << ": " << reply.body;
        EXPECT_EQ(reply.member("accessToken").empty(), row.status != 200) << row.name;
    }
}

TEST_F(Business, EachStateHasItsAnswer) {
    static const struct {
        const char* name;
        AccountState state;
        int status;
        const char* errorCode;
    } states[] = {
        {"active", AccountState::active, 200, ""},
        {"unverified", AccountState::unverified, 403, "EMAIL_NOT_VERIFIED"},
        {"blocked", AccountState::blocked, 403, "ACCOUNT_BLOCKED"},
        {"locked", AccountState::locked, 423, "ACCOUNT_LOCKED"},
        {"failing", AccountState::failing, 500, ""},
    };
    static const struct {
        const char* name;
        const char* target;
        const char* login;
        const char* password;
    } kinds[] = {
        {"a customer", kCustomerTokens, "anna.plain@example.test", "Sunny-Harbour-1"},
        {"a business", kBusinessTokens, "bella.business@example.test", "Amber-Wharf-7"},
        {"an administrator", kAdministratorTokens, "ada.admin@example.test", "Iron-Compass-9"},
    };
    for (const auto& kind : kinds) {
        for (const auto& state : states) {
            ASSERT_TRUE(fixture.service().setAccountState(kind.login, state.state));
            const Reply reply = signIn(kind.target, kind.login, kind.password);
            EXPECT_EQ(reply.status, state.status) << kind.name << ", " << state.name;
            EXPECT_EQ(reply.member("errorCode"), state.errorCode) << kind.name << ", " << state.name;
        }
    }
    EXPECT_FALSE(fixture.service().setAccountState("nobody@example.test", AccountState::blocked));
    fixture.service().reset();
    EXPECT_NE(businessToken(), "") << "a reset goes back to the seed's state";
}

TEST_F(Business, FiveWrongPasswordsLockForAWhile) {
    for (int attempt = 1; attempt <= 5; ++attempt)
        EXPECT_EQ(signIn(kBusinessTokens, "bella.business@example.test", "x").status, 401) << attempt;
    const Reply locked = signIn(kBusinessTokens, "bella.business@example.test", "Amber-Wharf-7");
    EXPECT_EQ(locked.status, 429);
    EXPECT_EQ(locked.member("errorCode"), "ACCOUNT_LOCKED_TRY_AGAIN");
    fixture.advance(300);
    EXPECT_NE(businessToken(), "");
}

TEST_F(Business, TokenCarriesRightsAndNumberAtOnce) {
    const json claims = json::parse(claimsOf(businessToken()));
    EXPECT_EQ(claims.at("userid"), "7c1d0b52-0007-4a6e-9d10-000000000007");
    EXPECT_EQ(claims.at("businessContactNumber"), "300007");
    EXPECT_EQ(claims.at("customerAvailableContext"), "");
    EXPECT_FALSE(claims.contains("customerNumber"));
    EXPECT_EQ(claims.at("scopes").dump(), R"([{"role":2,"space":"business-300007"}])");
}

TEST_F(Business, EndpointsKnowTheKindOfTheBearer) {
    const std::string customer = test_support::signIn(fixture.baseUrl(), fixture.account("plain"));
    const std::string business = businessToken();
    const std::string administrator =
        signIn(kAdministratorTokens, "ada.admin@example.test", "Iron-Compass-9").member("accessToken");
    static const struct {
        const char* name;
        const char* method;
        const char* target;
        const char* body;
        int customer;
        int business;
        int administrator;
    } rows[] = {
        {"user", "GET", "/api/registry/v2/users", "", 200, 200, 200},
        {"providers", "GET", "/api/public/registry/v2/oauth/external/providers", "", 200, 200, 200},
        {"trusts", "GET", "/api/registry/v2/trustee/trusts?level=Customer", "", 200, 403, 403},
        {"own context", "POST", "/api/customer/registry/v2/tokens/context", "", 200, 403, 403},
        {"a trustor's context", "POST", "/api/customer/registry/v2/tokens/trust", R"({"trustorId":"x"})", 404,
         403, 403},
        {"identities", "GET", kIdentities, "", 200, 200, 403},
        {"a new identity", "POST", kIdentities, kNewIdentity, 200, 200, 403},
        {"a secret", "GET", "/api/registry/v2/identities/x/token", "", 404, 404, 403},
    };
    for (const auto& row : rows) {
        const auto ask = [&](const std::string& token) {
            return exchange(fixture.baseUrl(), row.method, row.target, clientHeaders(token), row.body).status;
        };
        EXPECT_EQ(ask(customer), row.customer) << row.name << ", a customer";
        EXPECT_EQ(ask(business), row.business) << row.name << ", a business";
        EXPECT_EQ(ask(administrator), row.administrator) << row.name << ", an administrator";
    }
}

TEST_F(Business, SecretIsGoodForItsKindAlone) {
    const std::string ofBusiness = secretOf(businessToken());
    const std::string ofCustomer =
        secretOf(test_support::signIn(fixture.baseUrl(), fixture.account("plain")));
    const struct {
        const char* name;
        const char* target;
        std::string secret;
        int status;
    } rows[] = {
        {"a business", kBusinessIdentity, ofBusiness, 200},
        {"a customer", kCustomerIdentity, ofCustomer, 200},
        {"a business at the customers'", kCustomerIdentity, ofBusiness, 401},
        {"a customer at the businesses'", kBusinessIdentity, ofCustomer, 401},
        {"an unknown secret", kBusinessIdentity, "unknown", 401},
    };
    for (const auto& row : rows)
        EXPECT_EQ(renew(row.target, row.secret).status, row.status) << row.name;
}

TEST_F(Business, RecordsRightsAreThoseOfItsTokens) {
    const Reply reply = renew(kBusinessIdentity, secretOf(businessToken()));
    const json claims = json::parse(claimsOf(reply.member("accessToken")));
    EXPECT_EQ(claims.at("scopes").dump(),
              R"([{"role":0,"space":"a"},{"role":1,"space":"b"},{"role":2,"space":"c"}])");
    EXPECT_EQ(claims.at("businessContactNumber"), "300007");
    const json list = json::parse(get(kIdentities, reply.member("accessToken")).body);
    EXPECT_EQ(list.at(0).at("identityRights").dump(),
              R"([{"role":"user","space":"a"},{"role":"manager","space":"b"},{"role":"owner","space":"c"}])");
}

TEST_F(Business, SecretEndsByTimeAndByState) {
    const std::string secret = secretOf(businessToken(), "?TokenExpiration=60");
    fixture.advance(59);
    EXPECT_EQ(renew(kBusinessIdentity, secret).status, 200);
    fixture.service().setAccountState("bella.business@example.test", AccountState::blocked);
    EXPECT_EQ(renew(kBusinessIdentity, secret).status, 403);
    fixture.service().setAccountState("bella.business@example.test", AccountState::failing);
    EXPECT_EQ(renew(kBusinessIdentity, secret).status, 500);
    fixture.service().setAccountState("bella.business@example.test", AccountState::active);
    fixture.advance(1);
    EXPECT_EQ(renew(kBusinessIdentity, secret).status, 401);
}

}  // namespace
