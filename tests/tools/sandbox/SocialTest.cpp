// Sign-in by the word of an outside provider, by its access token or by its code.

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

constexpr const char* kProviders = "/api/public/registry/v2/oauth/external/providers";
constexpr const char* kSignIn = "/api/registry/v2/oauth/sign-in/";
constexpr const char* kCustomerCode = "/api/customer/registry/v2/tokens/external";
constexpr const char* kBusinessCode = "/api/business/registry/v2/tokens/external";
constexpr const char* kDynamicContext = "/api/quillmark/USE_DYNAMIC_CONTEXT";
constexpr const char* kUsers = "/api/registry/v2/users";

class Social : public testing::Test {
protected:
    Reply get(const std::string& target, const std::string& token = {}) {
        return exchange(fixture.baseUrl(), "GET", target, clientHeaders(token));
    }
    Reply byToken(const std::string& provider, const std::string& accessToken) {
        return get(kSignIn + provider + "?access_token=" + accessToken);
    }
    Reply byCode(const char* target, const std::string& code) {
        return exchange(fixture.baseUrl(), "POST", target, clientHeaders(), json{{"code", code}}.dump());
    }
    Reply useDynamicContext(const std::string& code, const std::string& context = "business") {
        return exchange(fixture.baseUrl(), "POST", kDynamicContext, clientHeaders(),
                        json{{"code", code}, {"context", context}}.dump());
    }
    std::string emailOf(const Reply& signedIn) {
        return get(kUsers, signedIn.member("accessToken")).member("email");
    }

    test_support::SandboxFixture fixture;
};

TEST_F(Social, ProvidersAreListedForEverybody) {
    const Reply reply = get(kProviders);
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body,
              R"([{"key":"glowpass","displayName":"Glowpass"},{"key":"maple-id","displayName":"Maple ID"}])");
    const std::string token = test_support::signIn(fixture.baseUrl(), fixture.account("plain"));
    EXPECT_EQ(get(kProviders, token).status, 200) << "a good token does no harm";
    EXPECT_EQ(fixture.exchanges().back().login, "anna.plain@example.test");
    fixture.advance(900);
    EXPECT_EQ(get(kProviders, token).status, 401) << "a token that is sent must be good";
    const sandbox::Request empty{
        "GET", kProviders, {{"x-vqm-custom", "vqm-client"}, {"Authorization", ""}}, ""};
    EXPECT_EQ(fixture.service().answer(empty).status, 401) << "and not empty";
}

TEST_F(Social, AccessTokenIsAnsweredByThePersonsStanding) {
    static const struct {
        const char* name;
        const char* provider;
        const char* accessToken;
        int status;
        const char* errorCode;
    } rows[] = {
        {"linked", "glowpass", "gp-linked-1/Qx+7==", 200, ""},
        {"linked, several contexts", "maple-id", "mi-several-2", 200, ""},
        {"linked to a blocked account", "glowpass", "gp-blocked-3", 403, "ACCOUNT_BLOCKED"},
        {"linked, the e-mail address another's", "maple-id", "mi-elsewhere-4", 409,
         "SOCIAL_ACCOUNT_ALREADY_LINKED"},
        {"linked to a business", "glowpass", "gp-business-8", 409, "SOCIAL_ACCOUNT_ALREADY_LINKED"},
        {"the e-mail address of a password account", "maple-id", "mi-owner-5", 403, "ACCOUNT_ALREADY_EXISTS"},
        {"a newcomer", "glowpass", "gp-newcomer-6", 404, "SIGN_UP_REQUIRED"},
        {"an unknown token", "glowpass", "unknown", 401, ""},
        {"another provider's token", "maple-id", "gp-newcomer-6", 401, ""},
        {"a code in place of a token", "glowpass", "gp-code-linked-1", 401, ""},
        {"an unknown provider", "nobody", "gp-linked-1/Qx+7==", 404, ""},
        {"a provider in another case", "Glowpass", "gp-linked-1/Qx+7==", 404, ""},
        {"an empty token", "glowpass", "", 400, ""},
    };
    for (const auto& row : rows) {
        const Reply reply = byToken(row.provider, row.accessToken);
        EXPECT_EQ(reply.status, row.status) << row.name << ": " << reply.body;
        EXPECT_EQ(reply.member("errorCode"), row.errorCode) << row.name;
        if (row.status != 200) {
            EXPECT_EQ(reply.member("status"), std::to_string(row.status)) << row.name;
        }
    }
    EXPECT_EQ(get(std::string(kSignIn) + "glowpass").status, 400) << "no token at all";
    EXPECT_EQ(get(kSignIn).status, 404) << "no provider at all";
}

TEST_F(Social, AccessTokenStandsInTheQueryAsItIs) {
    static const struct {
        const char* name;
        const char* query;
        int status;
    } rows[] = {
        {"not encoded", "?access_token=gp-linked-1/Qx+7==", 200},
        {"encoded", "?access_token=gp-linked-1%2FQx%2B7%3D%3D", 200},
        {"a blank for the plus", "?access_token=gp-linked-1/Qx%207==", 401},
        {"cut at the first equals sign", "?access_token=gp-linked-1/Qx+7", 401},
    };
    for (const auto& row : rows) {
        const sandbox::Request request{
            "GET", std::string(kSignIn) + "glowpass" + row.query, {{"x-vqm-custom", "vqm-client"}}, ""};
        EXPECT_EQ(fixture.service().answer(request).status, row.status) << row.name;
    }
}

TEST_F(Social, LogMasksTheAccessToken) {
    (void)byToken("glowpass", "gp-linked-1/Qx+7==");
    EXPECT_EQ(fixture.exchanges().back().target, "/api/registry/v2/oauth/sign-in/glowpass?access_token=***");
    EXPECT_EQ(fixture.exchanges().back().login, "anna.plain@example.test");
}

TEST_F(Social, SignInIsAsGoodAsByPassword) {
    const Reply reply = byToken("maple-id", "mi-several-2");
    EXPECT_EQ(emailOf(reply), "nina.many@example.test");
    const json claims = json::parse(claimsOf(reply.member("accessToken")));
    EXPECT_EQ(claims.at("scopes").dump(), "[]") << "no context was chosen yet";
    EXPECT_EQ(claims.at("customerAvailableContext"), "b2c,b2b");
    EXPECT_EQ(byToken("maple-id", "mi-several-2").status, 200) << "a provider's token is good again";
}

TEST_F(Social, CodeIsAnsweredByThePersonsStanding) {
    static const struct {
        const char* name;
        const char* person;
        int customer;
        const char* customerError;
        int business;
        const char* businessError;
    } rows[] = {
        {"linked", "linked", 200, "", 404, ""},
        {"linked to a blocked account", "linked-blocked", 403, "ACCOUNT_BLOCKED", 404, ""},
        {"the e-mail address another's", "linked-elsewhere", 409, "SOCIAL_ACCOUNT_ALREADY_LINKED", 404, ""},
        {"the e-mail address of a password account", "password-owner", 403, "ACCOUNT_ALREADY_EXISTS", 403,
         "ACCOUNT_ALREADY_EXISTS"},
        {"a newcomer", "newcomer", 404, "SIGN_UP_REQUIRED", 404, "DYNAMIC_CONTEXT_REQUIRED"},
        {"linked to a business", "business-linked", 409, "SOCIAL_ACCOUNT_ALREADY_LINKED", 200, ""},
        {"linked to a blocked business", "business-blocked", 409, "SOCIAL_ACCOUNT_ALREADY_LINKED", 403,
         "ACCOUNT_BLOCKED"},
    };
    for (const auto& row : rows) {
        const Reply customer = byCode(kCustomerCode, fixture.socialCode(row.person));
        EXPECT_EQ(customer.status, row.customer) << row.name << ", customer: " << customer.body;
        EXPECT_EQ(customer.member("errorCode"), row.customerError) << row.name << ", customer";
        const Reply business = byCode(kBusinessCode, fixture.socialCode(row.person));
        EXPECT_EQ(business.status, row.business) << row.name << ", business: " << business.body;
        EXPECT_EQ(business.member("errorCode"), row.businessError) << row.name << ", business";
    }
}

TEST_F(Social, FailingAccountFailsTheSignIn) {
    fixture.service().setAccountState("anna.plain@example.test", sandbox::AccountState::failing);
    fixture.service().setAccountState("bella.business@example.test", sandbox::AccountState::failing);
    EXPECT_EQ(byToken("glowpass", "gp-linked-1/Qx+7==").status, 500);
    EXPECT_EQ(byCode(kCustomerCode, "gp-code-linked-1").status, 500);
    EXPECT_EQ(byCode(kBusinessCode, "gp-code-business-8").status, 500);
}

TEST_F(Social, CodeIsGoodOnce) {
    static const struct {
        const char* name;
        const char* target;
        const char* code;
    } rows[] = {
        {"a customer's", kCustomerCode, "gp-code-linked-1"},
        {"a business's", kBusinessCode, "gp-code-business-8"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(byCode(row.target, row.code).status, 200) << row.name;
        EXPECT_EQ(byCode(row.target, row.code).status, 401) << row.name << ", again";
        EXPECT_EQ(byCode(row.target, "unknown").status, 401) << row.name << ", an unknown one";
    }
}

TEST_F(Social, ARefusedCodeStaysGood) {
    EXPECT_EQ(byCode(kCustomerCode, "gp-code-business-8").status, 409);
    EXPECT_EQ(byCode(kBusinessCode, "gp-code-business-8").status, 200);
}

TEST_F(Social, CodeLivesTenMinutes) {
    const std::string later = [&] {
        fixture.advance(300);
        return fixture.socialCode("linked");
    }();
    fixture.advance(299);
    EXPECT_EQ(byCode(kBusinessCode, "gp-code-business-8").status, 200) << "a second before";
    fixture.advance(1);
    EXPECT_EQ(byCode(kCustomerCode, "gp-code-linked-1").status, 401) << "on the second";
    EXPECT_EQ(byCode(kCustomerCode, later).status, 200) << "its own life";
    fixture.service().reset();
    EXPECT_EQ(byCode(kCustomerCode, "gp-code-linked-1").status, 200) << "as new after a reset";
}

TEST_F(Social, DynamicContextIsAnsweredByThePersonsStanding) {
    static const struct {
        const char* name;
        const char* person;
        int status;
        const char* errorCode;
    } rows[] = {
        {"a newcomer", "business-newcomer", 204, ""},
        {"a business", "business-linked", 204, ""},
        {"a customer", "linked", 403, "ACCOUNT_ALREADY_EXISTS"},
        {"the e-mail address of a password account", "password-owner", 403, "ACCOUNT_ALREADY_EXISTS"},
    };
    for (const auto& row : rows) {
        const Reply reply = useDynamicContext(fixture.socialCode(row.person));
        EXPECT_EQ(reply.status, row.status) << row.name << ": " << reply.body;
        EXPECT_EQ(reply.member("errorCode"), row.errorCode) << row.name;
        EXPECT_EQ(reply.body.empty(), row.status == 204) << row.name;
    }
    EXPECT_EQ(useDynamicContext("unknown").status, 401);
    EXPECT_EQ(useDynamicContext("mi-code-business-10", "customer").status, 400);
}

TEST_F(Social, NewBusinessSignsInOnceItsCodeHasTheContext) {
    const std::string code = "mi-code-business-10";
    EXPECT_EQ(byCode(kBusinessCode, code).status, 404) << "not yet";
    EXPECT_EQ(useDynamicContext(code).status, 204);
    EXPECT_EQ(useDynamicContext(code).status, 204) << "twice is the same";
    const Reply reply = byCode(kBusinessCode, code);
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_EQ(emailOf(reply), "kit.newcomer@example.test");
    EXPECT_EQ(byCode(kBusinessCode, code).status, 401) << "used up";
    EXPECT_EQ(byCode(kBusinessCode, fixture.socialCode("business-newcomer")).status, 200)
        << "from now on he is a business";
    const sandbox::SignUpReport report = fixture.signUpOf("business-newcomer");
    EXPECT_EQ(report.made, 1);
    EXPECT_EQ(report.kind, "business");
    EXPECT_EQ(report.requests, 0);
}

TEST_F(Social, ContextBelongsToTheCodeAndNotToThePerson) {
    EXPECT_EQ(useDynamicContext("mi-code-business-10").status, 204);
    EXPECT_EQ(byCode(kBusinessCode, fixture.socialCode("business-newcomer")).status, 404);
    EXPECT_EQ(byCode(kCustomerCode, "mi-code-business-10").status, 404) << "no customer by it";
    EXPECT_EQ(fixture.signUpOf("business-newcomer").made, 0);
}

TEST_F(Social, DynamicContextGivesTheCodeItsLifeAnew) {
    fixture.advance(599);
    EXPECT_EQ(useDynamicContext("mi-code-business-10").status, 204);
    fixture.advance(599);
    EXPECT_EQ(byCode(kBusinessCode, "mi-code-business-10").status, 200);
}

}  // namespace
