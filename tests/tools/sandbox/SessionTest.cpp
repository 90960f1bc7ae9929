// The rules behind a sign-in: bearer tokens, contexts, trusts, the user, identity records.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/SandboxFixture.h"
#include "tests/tools/sandbox/SandboxClient.h"

namespace {

using nlohmann::json;
using test_support::claimsOf;
using test_support::clientHeaders;
using test_support::exchange;
using test_support::Reply;

constexpr const char* kContext = "/api/customer/registry/v2/tokens/context";
constexpr const char* kTrust = "/api/customer/registry/v2/tokens/trust";
constexpr const char* kTrusts =
    "/api/registry/v2/trustee/trusts?WithDetails=true&WithRights=false&level=Customer";
constexpr const char* kUsers = "/api/registry/v2/users";
constexpr const char* kIdentities = "/api/registry/v2/identities";
constexpr const char* kIdentitySignIn = "/api/customer/registry/v2/tokens/identity";
constexpr const char* kNewIdentity = R"({"name":"VQM_Identity","type":"VQM_Access","role":"Regular",)"
                                     R"("identityRights":[{"space":"s","role":"owner"}]})";

class Session : public testing::Test {
protected:
    std::string tokenOf(const char* name) {
        return test_support::signIn(fixture.baseUrl(), fixture.account(name));
    }
    Reply get(const std::string& target, const std::string& token) {
        return exchange(fixture.baseUrl(), "GET", target, clientHeaders(token));
    }
    Reply post(const std::string& target, const std::string& token, const std::string& body = {}) {
        return exchange(fixture.baseUrl(), "POST", target, clientHeaders(token), body);
    }
    Reply takeTrust(const std::string& token, const char* trustorId) {
        return post(kTrust, token, json{{"trustorId", trustorId}}.dump());
    }

    test_support::SandboxFixture fixture;
};

TEST_F(Session, EveryGuardedEndpointWantsALiveToken) {
    static const struct {
        const char* name;
        const char* method;
        const char* target;
        const char* body;
        int status;  // with a live token
    } rows[] = {
        {"own context", "POST", kContext, "", 200},
        {"a trustor's context", "POST", kTrust, R"({"trustorId":"org-harrow"})", 200},
        {"trusts", "GET", kTrusts, "", 200},
        {"user", "GET", kUsers, "", 200},
        {"identities", "GET", kIdentities, "", 200},
        {"a new identity", "POST", kIdentities, kNewIdentity, 200},
        {"an identity's secret", "GET", "/api/registry/v2/identities/x/token", "", 404},
    };
    const std::string expired = tokenOf("several-contexts");
    fixture.advance(900);
    const std::string live = tokenOf("several-contexts");
    for (const auto& row : rows) {
        const auto ask = [&](const sandbox::NamedValues& headers) {
            return exchange(fixture.baseUrl(), row.method, row.target, headers, row.body);
        };
        EXPECT_EQ(ask(clientHeaders()).status, 401) << row.name << ", no token";
        EXPECT_EQ(ask(clientHeaders("a.b.c")).status, 401) << row.name << ", an unknown token";
        EXPECT_EQ(ask(clientHeaders(expired)).status, 401) << row.name << ", an expired token";
        EXPECT_EQ(ask(clientHeaders(live)).status, row.status) << row.name << ", a live token";
        sandbox::NamedValues basic = {{"x-vqm-custom", "vqm-client"}, {"Authorization", "Basic " + live}};
        EXPECT_EQ(ask(basic).status, 401) << row.name << ", another scheme";
        sandbox::NamedValues empty = {{"x-vqm-custom", "vqm-client"}, {"Authorization", ""}};
        EXPECT_EQ(ask(empty).status, 401) << row.name << ", an empty value";
    }
}

TEST_F(Session, TokenLivesAsLongAsItSays) {
    fixture.service().setTokenLifetime(10);
    const std::string token = tokenOf("plain");
    const json claims = json::parse(claimsOf(token));
    EXPECT_EQ(claims.at("iat"), fixture.now());
    EXPECT_EQ(claims.at("exp"), fixture.now() + 10);
    fixture.advance(9);
    EXPECT_EQ(get(kUsers, token).status, 200) << "a second before";
    fixture.advance(1);
    EXPECT_EQ(get(kUsers, token).status, 401) << "on the second";
}

TEST_F(Session, TwoTokensOfOneSecondDiffer) {
    EXPECT_NE(tokenOf("plain"), tokenOf("plain"));
}

TEST_F(Session, ExpiringTokensEndsThemAll) {
    const std::string token = tokenOf("plain");
    fixture.service().expireTokens();
    EXPECT_EQ(get(kUsers, token).status, 401);
    EXPECT_EQ(get(kUsers, tokenOf("plain")).status, 200);
}

TEST_F(Session, OwnContextIsGrantedToWhoHasOne) {
    static const struct {
        const char* account;
        int status;
    } rows[] = {{"plain", 200}, {"several-contexts", 200}, {"organisation-only", 404}};
    for (const auto& row : rows) {
        const Reply reply = post(kContext, tokenOf(row.account));
        EXPECT_EQ(reply.status, row.status) << row.account;
        if (row.status == 200) {
            EXPECT_EQ(get(kUsers, reply.member("accessToken")).status, 200) << row.account;
        }
    }
}

TEST_F(Session, TrustContextIsGrantedForOwnTrustsAlone) {
    static const struct {
        const char* name;
        const char* account;
        const char* trustorId;
        int status;
    } rows[] = {
        {"its organisation", "organisation-only", "org-marlow", 200},
        {"the first of several", "several-contexts", "org-harrow", 200},
        {"the second of several", "several-contexts", "org-tilden", 200},
        {"a person", "several-contexts", "person-4003", 200},
        {"another account's", "organisation-only", "org-harrow", 404},
        {"the trust's id in place of the trustor's", "organisation-only", "trust-3001", 404},
        {"an account without trusts", "plain", "org-harrow", 404},
    };
    for (const auto& row : rows)
        EXPECT_EQ(takeTrust(tokenOf(row.account), row.trustorId).status, row.status) << row.name;
    EXPECT_EQ(post(kTrust, tokenOf("organisation-only"), R"({"trustorId":7})").status, 400);
}

TEST_F(Session, ClaimsFollowTheContext) {
    const std::string bare = tokenOf("several-contexts");
    const std::string own = post(kContext, bare).member("accessToken");
    const std::string trust = takeTrust(own, "org-tilden").member("accessToken");
    const struct {
        const char* name;
        std::string token;
        const char* customerNumber;  // null: no such claim
        const char* businessContactNumber;
        const char* scopes;
    } rows[] = {
        {"no context yet", bare, nullptr, nullptr, "[]"},
        {"the own context", own, "100004", nullptr, R"([{"role":2,"space":"customer-100004"}])"},
        {"an organisation's", trust, nullptr, "300042", R"([{"role":0,"space":"organization-org-tilden"}])"},
    };
    for (const auto& row : rows) {
        const json claims = json::parse(claimsOf(row.token));
        EXPECT_EQ(claims.at("userid"), fixture.account("several-contexts").customer.id) << row.name;
        EXPECT_EQ(claims.at("customerAvailableContext"), "b2c,b2b") << row.name;
        EXPECT_EQ(claims.contains("customerNumber"), row.customerNumber != nullptr) << row.name;
        EXPECT_EQ(claims.contains("customerContactNumber"), row.customerNumber != nullptr) << row.name;
        EXPECT_EQ(claims.contains("businessContactNumber"), row.businessContactNumber != nullptr) << row.name;
        if (row.customerNumber != nullptr) {
            EXPECT_EQ(claims.at("customerNumber"), row.customerNumber) << row.name;
        }
        if (row.businessContactNumber != nullptr) {
            EXPECT_EQ(claims.at("businessContactNumber"), row.businessContactNumber) << row.name;
        }
        EXPECT_EQ(claims.at("scopes").dump(), row.scopes) << row.name;
    }
}

TEST_F(Session, TrustsAreListedInOrder) {
    const json list = json::parse(get(kTrusts, tokenOf("several-contexts")).body);
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list[0].at("id"), "trust-4001");
    EXPECT_EQ(list[0].at("trustorId"), "org-harrow");
    EXPECT_EQ(list[0].at("trustorDetails").at("type"), "Organization");
    EXPECT_EQ(list[1].at("trustorDetails").at("name"), "Tilden & Söhne");
    EXPECT_EQ(list[2].at("trustorDetails").at("type"), "Person");
    EXPECT_EQ(list[2].at("trustorDetails").at("lastName"), "Osgood");
    EXPECT_EQ(get(kTrusts, tokenOf("plain")).body, "[]");
}

TEST_F(Session, TrustQuerySaysWhatIsListed) {
    static const struct {
        const char* name;
        const char* query;
        int status;
        bool details;
        bool rights;
    } rows[] = {
        {"details alone", "?WithDetails=true&WithRights=false&level=Customer", 200, true, false},
        {"rights alone", "?WithDetails=false&WithRights=true&level=Customer", 200, false, true},
        {"neither", "?level=Customer", 200, false, false},
        {"no level", "?WithDetails=true", 400, false, false},
        {"another level", "?level=Business", 400, false, false},
        {"a flag that is no word", "?WithDetails=1&level=Customer", 400, false, false},
    };
    const std::string token = tokenOf("organisation-only");
    for (const auto& row : rows) {
        const Reply reply = get(std::string("/api/registry/v2/trustee/trusts") + row.query, token);
        ASSERT_EQ(reply.status, row.status) << row.name;
        if (row.status != 200)
            continue;
        const json trust = json::parse(reply.body).at(0);
        EXPECT_EQ(trust.contains("trustorDetails"), row.details) << row.name;
        EXPECT_EQ(trust.contains("trustRights"), row.rights) << row.name;
    }
}

TEST_F(Session, UserHasAllFourteenFields) {
    const Reply reply = get(kUsers, tokenOf("several-contexts"));
    static const struct {
        const char* field;
        const char* value;
    } rows[] = {
        {"id", "7c1d0b52-0004-4a6e-9d10-000000000004"},
        {"firstName", "Nina"},
        {"lastName", "Vandermeer"},
        {"middleName", "Élodie"},
        {"email", "nina.many@example.test"},
        {"language", "fr"},
        {"country", "CH"},
        {"state", ""},
        {"city", "Bellwald"},
        {"address", "Lindenweg 4"},
        {"emailConfirmed", "true"},
        {"role", "Customer"},
        {"gdprStatus", "Accepted"},
        {"uwgStatus", "Declined"},
    };
    EXPECT_EQ(json::parse(reply.body).size(), std::size(rows));
    for (const auto& row : rows)
        EXPECT_EQ(reply.member(row.field), row.value) << row.field;
}

TEST_F(Session, IdentityRecordIsMadeAndListed) {
    const std::string token = tokenOf("plain");
    EXPECT_EQ(get(kIdentities, token).body, "[]");
    const Reply made = post(kIdentities, token, kNewIdentity);
    ASSERT_EQ(made.status, 200) << made.body;
    const json list = json::parse(get(kIdentities, token).body);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].at("id"), made.member("id"));
    EXPECT_EQ(list[0].at("name"), "VQM_Identity");
    EXPECT_EQ(list[0].at("type"), "VQM_Access");
    EXPECT_EQ(list[0].at("role"), "Regular");
    EXPECT_EQ(list[0].at("identityRights").dump(), R"([{"role":"owner","space":"s"}])");
    EXPECT_EQ(get(kIdentities, tokenOf("several-contexts")).body, "[]") << "records are the account's own";
}

TEST_F(Session, NewIdentityMustBeExact) {
    static const struct {
        const char* name;
        const char* body;
        int status;
    } rows[] = {
        {"without rights", R"({"name":"n","type":"t","role":"r"})", 200},
        {"with no right", R"({"name":"n","type":"t","role":"r","identityRights":[]})", 200},
        {"without name", R"({"type":"t","role":"r"})", 400},
        {"an empty type", R"({"name":"n","type":"","role":"r"})", 400},
        {"rights that are no array", R"({"name":"n","type":"t","role":"r","identityRights":{}})", 400},
        {"a right that is a text", R"({"name":"n","type":"t","role":"r","identityRights":["x"]})", 400},
        {"a role by number",
         R"({"name":"n","type":"t","role":"r","identityRights":[{"space":"s","role":2}]})", 400},
        {"an unknown role",
         R"({"name":"n","type":"t","role":"r","identityRights":[{"space":"s","role":"x"}]})", 400},
        {"a member too many", R"({"name":"n","type":"t","role":"r","id":"1"})", 400},
    };
    const std::string token = tokenOf("plain");
    for (const auto& row : rows)
        EXPECT_EQ(post(kIdentities, token, row.body).status, row.status) << row.name;
}

TEST_F(Session, SecretSignsInWithoutPassword) {
    const std::string token = tokenOf("plain");
    const std::string id = post(kIdentities, token, kNewIdentity).member("id");
    const std::string target = std::string(kIdentities) + "/" + id + "/token";
    const Reply secret = get(target, token);
    ASSERT_EQ(secret.status, 200);
    EXPECT_EQ(*sandbox::findHeader(secret.headers, "Content-Type"), "text/plain");
    fixture.advance(365LL * 24 * 3600);
    const Reply signedIn = post(kIdentitySignIn, "", json{{"secretKey", secret.body}}.dump());
    ASSERT_EQ(signedIn.status, 200);
    const std::string renewed = signedIn.member("accessToken");
    EXPECT_EQ(json::parse(claimsOf(renewed)).at("scopes").dump(), R"([{"role":2,"space":"s"}])");
    EXPECT_EQ(get(kUsers, renewed).member("email"), fixture.account("plain").login);
    const Reply second = get(target, renewed);
    EXPECT_NE(second.body, secret.body) << "each request makes a secret";
    EXPECT_EQ(post(kIdentitySignIn, "", json{{"secretKey", secret.body}}.dump()).status, 200)
        << "and leaves the former ones good";
    EXPECT_EQ(get(target, tokenOf("several-contexts")).status, 404) << "another account's record";
}

TEST_F(Session, SecretLivesAsLongAsAsked) {
    const std::string token = tokenOf("plain");
    const std::string id = post(kIdentities, token, kNewIdentity).member("id");
    const std::string target = std::string(kIdentities) + "/" + id + "/token?TokenExpiration=";
    for (const char* wrong : {"", "0", "-1", "soon", "1.5", "99999999999"})
        EXPECT_EQ(get(target + wrong, token).status, 400) << "TokenExpiration=" << wrong;
    const std::string body = json{{"secretKey", get(target + "60", token).body}}.dump();
    fixture.advance(59);
    EXPECT_EQ(post(kIdentitySignIn, "", body).status, 200);
    fixture.advance(1);
    EXPECT_EQ(post(kIdentitySignIn, "", body).status, 401);
}

TEST_F(Session, ResetGoesBackToTheSeed) {
    const std::string token = tokenOf("plain");
    const std::string id = post(kIdentities, token, kNewIdentity).member("id");
    const std::string secret = get(std::string(kIdentities) + "/" + id + "/token", token).body;
    fixture.service().reset();
    EXPECT_EQ(get(kUsers, token).status, 401);
    EXPECT_EQ(post(kIdentitySignIn, "", json{{"secretKey", secret}}.dump()).status, 401);
    EXPECT_EQ(get(kIdentities, tokenOf("plain")).body, "[]");
}

}  // namespace
