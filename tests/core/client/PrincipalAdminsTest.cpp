#include "core/src/client/Client.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/core/client/ClientFixture.h"

namespace {

using quillmarkclient_core::PrincipalAdmin;

const char kAdmins[] = "POST /api/admin/id/v0/principals/admins";

class PrincipalAdmins : public test::ClientFixture {
protected:
    PrincipalAdmins() { SignIn(); }

    std::uint32_t Create(const char* name = "Anna", const char* email = "anna@example.test",
                         const char* password = "pass-word", const char* description = "the first") {
        return static_cast<std::uint32_t>(
            client.CreatePrincipalAdmin(name, email, password, description, admin, &error, nullptr));
    }
    [[nodiscard]] std::string Told() const {
        return std::string(admin.id.c_str()) + "|" + admin.name.c_str() + "|" + admin.email.c_str() + "|" +
               admin.description.c_str();
    }

    PrincipalAdmin admin;
};

TEST_F(PrincipalAdmins, EveryByteOfTheRequest) {
    static const HeaderList own = {{"Accept", "application/json"},
                                   {"Cache-Control", "no-cache"},
                                   {"Content-Type", "application/json;charset=UTF-8"}};
    service.Answer(kAdmins, 200, R"([{"id":"1"}])");
    EXPECT_EQ(Create(), 0u);
    ASSERT_EQ(platform.requests.size(), 1u);
    const test::RecordedRequest& sent = platform.requests[0];
    EXPECT_EQ(sent.method, "POST");
    EXPECT_EQ(sent.url, "https://service.test/api/admin/id/v0/principals/admins");
    EXPECT_EQ(sent.headers, (HeaderList{{"Accept", "application/json"},
                                        {"Cache-Control", "no-cache"},
                                        {"Content-Type", "application/json;charset=UTF-8"},
                                        {"Authorization", "Bearer a.b.c"},
                                        {"x-vqm-custom", "vqm-client"}}));
    EXPECT_EQ(sent.body, R"([{"name":"Anna","email":"anna@example.test","password":"pass-word",)"
                         R"("description":"the first","isEnabled":true}])");
    EXPECT_EQ(sent.flags, 0u);
    EXPECT_EQ(platform.traceLines,
              (Strings{"quillmarkclient_core::Client::CreatePrincipalAdmin",
                       Described("CreatePrincipalAdminRequest", "/api/admin/id/v0/principals/admins", own,
                                 R"([{"name": "***", "email": "***", "password": "***", )"
                                 R"("description": "***", "isEnabled": true}])")}));
}

TEST_F(PrincipalAdmins, TheBodyIsJson) {
    service.Answer(kAdmins, 200, R"([{"id":"1"}])");
    const char* const name = "J\xC3\xBCrgen \"J\" \\ /\n\t";
    EXPECT_EQ(Create(name, "j@example.test", "p\"w\\/", ""), 0u);
    const auto body = nlohmann::ordered_json::parse(platform.requests[0].body);
    ASSERT_TRUE(body.is_array() && body.size() == 1);
    ASSERT_EQ(body[0].size(), 5u);
    EXPECT_EQ(body[0]["name"], name);
    EXPECT_EQ(body[0]["email"], "j@example.test");
    EXPECT_EQ(body[0]["password"], "p\"w\\/");
    EXPECT_EQ(body[0]["description"], "");
    EXPECT_EQ(body[0]["isEnabled"], true);
}

TEST_F(PrincipalAdmins, NoFieldReachesTheLog) {
    static const struct {
        const char* name;
        std::uint32_t status;
        const char* body;
    } rows[] = {
        {"made", 200, R"([{"id":"1"}])"},
        {"made, and the answer can't be read", 200, "<html>"},
        {"refused", 400, R"({"title":"no"})"},
        {"conflict", 409, ""},
        {"denied", 401, ""},
    };
    session.identitySecret = "secret";
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        SignIn();
        service.Answer(kAdmins, row.status, row.body);
        Create("hidden-name", "hidden-email", "hidden-password", "hidden-description");
        EXPECT_NE(platform.requests.at(0).body.find("hidden-password"), std::string::npos);
        for (const std::string& line : platform.traceLines)
            EXPECT_EQ(line.find("hidden-"), std::string::npos) << line;
        for (const auto& report : platform.errors)
            EXPECT_EQ(report.message.find("hidden-"), std::string::npos) << report.message;
    }
}

TEST_F(PrincipalAdmins, Answers) {
    static const struct {
        const char* name;
        const char* body;
        std::uint32_t code;
        const char* told;  // "id|name|email|description"
    } rows[] = {
        {"an array", R"([{"id":"1","name":"n","email":"e","description":"d"}])", 0, "1|n|e|d"},
        {"the record itself", R"({"id":"1","name":"n","email":"e","description":"d"})", 0, "1|n|e|d"},
        {"the id alone", R"([{"id":"1"}])", 0, "1|||"},
        {"the id and the name", R"({"id":"1","name":"n"})", 0, "1|n||"},
        {"of two the first", R"([{"id":"1"},{"id":"2","name":"n"}])", 0, "1|||"},
        {"names in any case", R"([{"ID":"1","Name":"n","EMAIL":"e","DescriptioN":"d"}])", 0, "1|n|e|d"},
        {"of a name twice the first", R"([{"id":"1","ID":"2"}])", 0, "1|||"},
        {"other members", R"([{"x":{"id":"9"},"id":"1","isEnabled":true}])", 0, "1|||"},
        {"a number for the id", R"([{"id":7}])", 0, "7|||"},
        {"null for the id is a text", R"([{"id":null}])", 0, "null|||"},
        {"an empty id is one", R"([{"id":"","name":"n"}])", 0, "|n||"},
        {"an object for the id", R"([{"id":{"a":"b"},"name":"n"}])", 0, "|n||"},
        {"an array in an array", R"([[{"id":"1"}]])", 0x80000009, "|||"},
        {"an empty array", "[]", 0x80000009, "|||"},
        {"an empty object", "{}", 0x80000009, "|||"},
        {"no id in the first", R"([{"name":"n"},{"id":"2"}])", 0x80000009, "|||"},
        {"no id", R"({"name":"n","email":"e"})", 0x80000009, "|||"},
        {"a text", R"("1")", 0x80000009, "|||"},
        {"no JSON", "<html>", 0x80000009, "|||"},
        {"cut off", R"([{"id":"1")", 0x80000009, "|||"},
        {"empty", "", 0x80000009, "|||"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        admin = PrincipalAdmin();
        service.Answer(kAdmins, 200, row.body);
        EXPECT_EQ(Create(), row.code);
        EXPECT_EQ(Told(), row.told);
        if (row.code == 0) {
            EXPECT_TRUE(platform.errors.empty());
        } else {
            ExpectOneReport(row.code, "Can not deserialized data");
            EXPECT_EQ(error.resultCode, 0u) << "the service has refused nothing";
        }
    }
}

TEST_F(PrincipalAdmins, Refusals) {
    static const char kCodeFailed[] =
        R"({"title":"t","status":"400","errorCode":"CODE_VERIFICATION_FAILED"})";
    static const struct {
        const char* name;
        std::uint32_t status;
        const char* body;
        std::uint32_t code;
        const char* message;
    } rows[] = {
        {"400", 400, R"({"title":"t"})", 0x82000004, "Registry back compatibility is broken"},
        {"400, empty", 400, "", 0x82000004, "Registry back compatibility is broken"},
        {"400, and the body knows better", 400, kCodeFailed, 0x82000013, "Invalid verification code"},
        {"400, a refused login", 400, R"({"error":"invalid_password"})", 0x82000006,
         "Invalid login or password"},
        {"403", 403, "", 0x82000007, "Email is not verified or account is blocked"},
        {"403, the body is not asked", 403, R"({"status":"403","errorCode":"2FA_TOTP_REQUIRED"})", 0x82000007,
         "Email is not verified or account is blocked"},
        {"500", 500, "", 0x82000003, "Internal registry service error"},
        {"500, the body is not asked", 500, kCodeFailed, 0x82000003, "Internal registry service error"},
        {"201 is none of the good ones", 201, R"([{"id":"1"}])", 0x82000004,
         "Registry back compatibility is broken"},
        {"204", 204, "", 0x82000004, "Registry back compatibility is broken"},
        {"404", 404, "", 0x82000004, "Registry back compatibility is broken"},
        {"409", 409, R"({"title":"t"})", 0x82000004, "Registry back compatibility is broken"},
        {"423", 423, "", 0x82000010,
         "Account was locked due security reasons, please contact support team to unlock your account"},
        {"429", 429, "", 0x8200000D, "Too many requests from your address"},
        {"429, locked", 429, R"({"status":"429","errorCode":"ACCOUNT_LOCKED_TRY_AGAIN"})", 0x8200000F,
         "Account was temporary locked, please try again later in several minutes"},
        {"503", 503, "", 0x8000000C, "Tessaly service is under maintenance, please, try later"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        service.Answer(kAdmins, row.status, row.body);
        EXPECT_EQ(Create(), row.code);
        ExpectOneReport(row.code, row.message);
        EXPECT_EQ(error.resultCode, row.code);
        EXPECT_EQ(error.httpCode, row.status);
        EXPECT_EQ(Told(), "|||");
        EXPECT_EQ(Lines(), Strings{kAdmins}) << "once";
    }
}

TEST_F(PrincipalAdmins, A401IsRenewedOnceAndThenDenied) {
    session.identitySecret = "secret";
    service.Answer(kAdmins, 401, R"({"title":"expired"})");
    EXPECT_EQ(Create(), 0x82000002u);
    EXPECT_EQ(Lines(), (Strings{kAdmins, test::kRenewal, test::kOwnContextToken, kAdmins}));
    EXPECT_EQ(error.httpCode, 401u);
    EXPECT_STREQ(error.title.c_str(), "expired");
    ExpectOneReport(0x82000002, "Authorization is denied");
}

TEST_F(PrincipalAdmins, TheBodyOfASecond401IsNotAsked) {
    session.identitySecret = "secret";
    service.Answer(kAdmins, 401, R"({"status":"401","errorCode":"CODE_VERIFICATION_FAILED"})");
    EXPECT_EQ(Create(), 0x82000002u);
    EXPECT_EQ(error.resultCode, 0x82000002u);
    ExpectOneReport(0x82000002, "Authorization is denied");
}

TEST_F(PrincipalAdmins, A401WithoutASecretIsDeniedAtOnce) {
    service.Answer(kAdmins, 401, R"({"title":"expired"})");
    EXPECT_EQ(Create(), 0x82000002u);
    EXPECT_EQ(Lines(), Strings{kAdmins});
    EXPECT_EQ(error.httpCode, 0u) << "the request's table was not asked";
}

TEST_F(PrincipalAdmins, WhoMayCreate) {
    static const struct {
        const char* name;
        bool hasToken;
        bool isPresent;
        const char* secret;
        bool isSent;
    } rows[] = {
        {"a present token", true, true, "", true},
        {"a secret", false, false, "secret", true},
        {"a secret and a token from a file", true, false, "secret", true},
        {"both", true, true, "secret", true},
        {"a token from a file", true, false, "", false},
        {"nobody", false, false, "", false},
    };
    service.Answer(kAdmins, 200, R"([{"id":"1"}])");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        session.ResetAuthState();
        if (row.hasToken)
            session.SetAccessToken("a.b.c", row.isPresent, nullptr);
        session.identitySecret = row.secret;
        EXPECT_EQ(Create(), row.isSent ? 0u : 0x82000002u);
        EXPECT_EQ(platform.requests.size(), row.isSent ? 1u : 0u);
        if (!row.isSent) {
            EXPECT_EQ(platform.logOrder, (Strings{"T quillmarkclient_core::Client::CreatePrincipalAdmin",
                                                  "E 82000002 core/src/client/Client"}));
        }
    }
}

TEST_F(PrincipalAdmins, WithoutASessionNothingIsDone) {
    client.registryClient = nullptr;
    EXPECT_EQ(Create(), 0x80000001u);
    ExpectOneReport(0x80000001, "Internal program error");
    EXPECT_EQ(platform.traceLines, Strings{"quillmarkclient_core::Client::CreatePrincipalAdmin"});
    EXPECT_TRUE(platform.requests.empty());
}

TEST_F(PrincipalAdmins, ABrokenExchangeIsReported) {
    service.Fail(kAdmins, 0x81000014u);
    EXPECT_EQ(Create(), 0x81000014u);
    EXPECT_EQ(platform.requests.size(), 1u) << "no repeats: an administrator has no key";
    ExpectOneReport(0x81000014, "The HTTP request timed out");
}

TEST_F(PrincipalAdmins, TheRecordMayBeAbsent) {
    service.Answer(kAdmins, 400, R"({"title":"t"})");
    EXPECT_EQ(client.CreatePrincipalAdmin("n", "e", "p", "d", admin, nullptr, nullptr),
              ResultCode::kCompatibilityBroken);
}

}  // namespace
