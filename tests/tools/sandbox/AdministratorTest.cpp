// How a principal administrator makes another one.

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

constexpr const char* kTarget = "/api/admin/id/v0/principals/admins";
constexpr const char* kBody = R"([{"name":"New","email":"new@example.test","password":"pw",)"
                              R"("description":"D","isEnabled":true}])";

class Administrators : public testing::Test {
protected:
    Reply signIn(const std::string& email, const std::string& password) {
        return exchange(fixture.baseUrl(), "POST", "/api/admin/id/v0/tokens/password", clientHeaders(),
                        json{{"email", email}, {"password", password}}.dump());
    }
    std::string token() { return signIn("ada.admin@example.test", "Iron-Compass-9").member("accessToken"); }
    Reply create(const std::string& body, const std::string& bearer) {
        return exchange(fixture.baseUrl(), "POST", kTarget, clientHeaders(bearer), body);
    }

    test_support::SandboxFixture fixture;
};

TEST_F(Administrators, NewOneIsAnsweredAndSignsIn) {
    EXPECT_EQ(signIn("new@example.test", "pw").status, 401);
    const Reply reply = create(kBody, token());
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_EQ(fixture.exchanges().back().login, "ada.admin@example.test");
    json list = json::parse(reply.body);
    ASSERT_TRUE(list.is_array());
    ASSERT_EQ(list.size(), 1u);
    const std::string id = list.at(0).at("id");
    EXPECT_NE(id, "");
    list.at(0).erase("id");
    EXPECT_EQ(list.dump(),
              R"([{"description":"D","email":"new@example.test","isEnabled":true,"name":"New"}])");
    const Reply signedIn = signIn("new@example.test", "pw");
    EXPECT_EQ(signedIn.status, 200);
    const json claims = json::parse(claimsOf(signedIn.member("accessToken")));
    EXPECT_EQ(claims.at("userid"), id);
    EXPECT_EQ(claims.at("scopes").dump(), R"([{"role":2,"space":"administration"}])");
    EXPECT_EQ(signIn("new@example.test", "other").status, 401);
    EXPECT_EQ(create(R"([{"name":"n","email":"third@example.test","password":"p","description":"d",)"
                     R"("isEnabled":true}])",
                     signedIn.member("accessToken"))
                  .status,
              200)
        << "he may make others";
    fixture.service().reset();
    EXPECT_EQ(signIn("new@example.test", "pw").status, 401);
}

TEST_F(Administrators, DisabledOneIsMadeAndBlocked) {
    std::string body = kBody;
    body.replace(body.find("true"), 4, "false");
    EXPECT_EQ(create(body, token()).status, 200);
    EXPECT_EQ(signIn("new@example.test", "pw").status, 403);
}

TEST_F(Administrators, EmailOfAnybodyIsAConflict) {
    const std::string bearer = token();
    EXPECT_EQ(create(kBody, bearer).status, 200);
    static const struct {
        const char* name;
        const char* email;
    } rows[] = {
        {"made before", "new@example.test"},
        {"his own", "ada.admin@example.test"},
        {"a customer's", "anna.plain@example.test"},
        {"a business's", "bella.business@example.test"},
    };
    for (const auto& row : rows) {
        const Reply reply = create(json::array({{{"name", "n"},
                                                 {"email", row.email},
                                                 {"password", "p"},
                                                 {"description", "d"},
                                                 {"isEnabled", true}}})
                                       .dump(),
                                   bearer);
        EXPECT_EQ(reply.status, 409) << row.name;
        EXPECT_EQ(reply.member("errorCode"), "ACCOUNT_ALREADY_EXISTS") << row.name;
        EXPECT_EQ(reply.member("detail"), "An account of this e-mail address already exists.") << row.name;
        EXPECT_EQ(sandbox::findHeader(reply.headers, "Retry-After"), nullptr) << row.name;
    }
    EXPECT_EQ(signIn("new@example.test", "pw").status, 200) << "the first one stands";
}

TEST_F(Administrators, BodyHasExactlyItsMembers) {
    static const struct {
        const char* name;
        const char* body;
    } rows[] = {
        {"an object", R"({"name":"n","email":"e","password":"p","description":"d","isEnabled":true})"},
        {"an empty array", "[]"},
        {"two objects", R"([{"name":"n","email":"e","password":"p","description":"d","isEnabled":true},)"
                        R"({"name":"n","email":"f","password":"p","description":"d","isEnabled":true}])"},
        {"an array in the array", "[[]]"},
        {"no name", R"([{"email":"e","password":"p","description":"d","isEnabled":true}])"},
        {"no e-mail", R"([{"name":"n","password":"p","description":"d","isEnabled":true}])"},
        {"no password", R"([{"name":"n","email":"e","description":"d","isEnabled":true}])"},
        {"no description", R"([{"name":"n","email":"e","password":"p","isEnabled":true}])"},
        {"an empty description",
         R"([{"name":"n","email":"e","password":"p","description":"","isEnabled":true}])"},
        {"a password that is a number",
         R"([{"name":"n","email":"e","password":1,"description":"d","isEnabled":true}])"},
        {"no isEnabled", R"([{"name":"n","email":"e","password":"p","description":"d"}])"},
        {"isEnabled as text",
         R"([{"name":"n","email":"e","password":"p","description":"d","isEnabled":"true"}])"},
        {"a member too many",
         R"([{"name":"n","email":"e","password":"p","description":"d","isEnabled":true,"more":"x"}])"},
        {"no JSON", "name"},
    };
    const std::string bearer = token();
    for (const auto& row : rows)
        EXPECT_EQ(create(row.body, bearer).status, 400) << row.name;
    EXPECT_EQ(signIn("e", "p").status, 401) << "nobody was made";
}

TEST_F(Administrators, OnlyOneOfThemMayAsk) {
    const std::string administrator = token();
    const std::string customer = test_support::signIn(fixture.baseUrl(), fixture.account("plain"));
    const std::string business =
        exchange(fixture.baseUrl(), "POST", "/api/business/registry/v2/tokens", clientHeaders(),
                 R"({"login":"bella.business@example.test","password":"Amber-Wharf-7"})")
            .member("accessToken");
    const std::pair<std::string, std::string> client = {"x-vqm-custom", "vqm-client"};
    const std::pair<std::string, std::string> bearer = {"Authorization", "Bearer " + administrator};
    const struct {
        const char* name;
        const char* method;
        sandbox::NamedValues headers;
        int status;
    } rows[] = {
        {"nobody", "POST", {client}, 401},
        {"a bad bearer", "POST", clientHeaders("bad"), 401},
        {"a customer", "POST", clientHeaders(customer), 403},
        {"a business", "POST", clientHeaders(business), 403},
        {"no client header", "POST", {bearer}, 400},
        {"Accept XML", "POST", {client, bearer, {"Accept", "application/xml"}}, 406},
        {"text", "POST", {client, bearer, {"Content-Type", "text/plain"}}, 415},
        {"another method", "PUT", {client, bearer}, 405},
        {"an administrator", "POST", clientHeaders(administrator), 200},
    };
    for (const auto& row : rows)
        EXPECT_EQ(exchange(fixture.baseUrl(), row.method, kTarget, row.headers, kBody).status, row.status)
            << row.name;
    fixture.service().expireTokens();
    EXPECT_EQ(create(kBody, administrator).status, 401);
}

}  // namespace
