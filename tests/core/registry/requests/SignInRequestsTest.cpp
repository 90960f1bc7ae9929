#include "core/src/registry/requests/SignInRequests.h"

#include "tests/core/registry/requests/RequestExpectation.h"

namespace {

using portable_stl::string;
using test::kBaseUrl;
using test::kStandardHeaders;
using test::Make;
using test::RequestPointer;
using test::Text;

RequestPointer Password(const string& url, const char* login, const char* password) {
    return Make<registry::CustomerAuthorizeRequest, registry::CustomerAuthorizeParams>(url, login, password);
}

RequestPointer SecondFactor(const string& url, const char* challengeToken, const char* code) {
    return Make<registry::CustomerAuthorize2FARequest, registry::CustomerAuthorize2FAParams>(
        url, challengeToken, code);
}

RequestPointer Business(const string& url, const char* login, const char* password) {
    return Make<registry::BusinessAuthorizeRequest, registry::BusinessAuthorizeParams>(url, login, password);
}

RequestPointer Administrator(const string& url, const char* email, const char* password) {
    return Make<registry::PrincipalAdminAuthorizeRequest, registry::PrincipalAdminAuthorizeParams>(url, email,
                                                                                                   password);
}

RequestPointer Identity(const string& url, const char* secret, bool isBusiness) {
    return Make<registry::AuthorizeViaIdentityRequest, registry::AuthorizeViaIdentityParams>(url, secret,
                                                                                             isBusiness);
}

constexpr char kHiddenLogin[] = R"({"login": "***", "password": "***"})";
constexpr char kHiddenEmail[] = R"({"email": "***", "password": "***"})";

const test::RequestExpectation kRows[] = {
    {"a password of quotes, slashes and UTF-8 is escaped on the wire and hidden in the log",
     [](const string& url) { return Password(url, "a\\b", "\"/\t\n\r\f\b\xC3\xA9\xF0\x9F\x94\x91%s"); },
     "POST",
     "/api/customer/registry/v2/tokens",
     kStandardHeaders,
     "{\"login\":\"a\\\\b\",\"password\":\"\\\"\\/\\t\\n\\r\\f\\b\xC3\xA9\xF0\x9F\x94\x91%s\"}",
     {{"login", "a\\b"}, {"password", "\"/\t\n\r\f\b\xC3\xA9\xF0\x9F\x94\x91%s"}},
     "Session Request",
     kHiddenLogin},
    {"empty login and password",
     [](const string& url) { return Password(url, "", ""); },
     "POST",
     "/api/customer/registry/v2/tokens",
     kStandardHeaders,
     R"({"login":"","password":""})",
     {{"login", ""}, {"password", ""}},
     "Session Request",
     kHiddenLogin},
    {"a text that looks like JSON stays a text",
     [](const string& url) { return Password(url, R"(","admin":"1)", "null"); },
     "POST",
     "/api/customer/registry/v2/tokens",
     kStandardHeaders,
     R"({"login":"\",\"admin\":\"1","password":"null"})",
     {{"login", R"(","admin":"1)"}, {"password", "null"}},
     "Session Request",
     kHiddenLogin},
    {"second factor, escaped",
     [](const string& url) { return SecondFactor(url, "challenge/1", "\"0\\"); },
     "POST",
     "/api/customer/registry/v2/2fa/totp/tokens",
     kStandardHeaders,
     R"({"challengeToken":"challenge\/1","code":"\"0\\"})",
     {{"challengeToken", "challenge/1"}, {"code", "\"0\\"}},
     "Customer 2FA Session Request",
     R"({"challengeToken": "***", "code": "***"})"},
    {"business, escaped",
     [](const string& url) { return Business(url, "a/b", "\"\\\xC3\xA9"); },
     "POST",
     "/api/business/registry/v2/tokens",
     kStandardHeaders,
     "{\"login\":\"a\\/b\",\"password\":\"\\\"\\\\\xC3\xA9\"}",
     {{"login", "a/b"}, {"password", "\"\\\xC3\xA9"}},
     "BusinessAuthorizeRequest Request",
     kHiddenLogin},
    {"business, empty",
     [](const string& url) { return Business(url, "", ""); },
     "POST",
     "/api/business/registry/v2/tokens",
     kStandardHeaders,
     R"({"login":"","password":""})",
     {{"login", ""}, {"password", ""}},
     "BusinessAuthorizeRequest Request",
     kHiddenLogin},
    {"administrator, escaped",
     [](const string& url) { return Administrator(url, "\"me\"@x.org", "a/b\n"); },
     "POST",
     "/api/admin/id/v0/tokens/password",
     kStandardHeaders,
     R"({"email":"\"me\"@x.org","password":"a\/b\n"})",
     {{"email", "\"me\"@x.org"}, {"password", "a/b\n"}},
     "PrincipalAdminAuthorizeRequest",
     kHiddenEmail},
    {"administrator, empty",
     [](const string& url) { return Administrator(url, "", ""); },
     "POST",
     "/api/admin/id/v0/tokens/password",
     kStandardHeaders,
     R"({"email":"","password":""})",
     {{"email", ""}, {"password", ""}},
     "PrincipalAdminAuthorizeRequest",
     kHiddenEmail},
    {"identity, escaped and shown",
     [](const string& url) { return Identity(url, "s3/\"cret\"", false); },
     "POST",
     "/api/customer/registry/v2/tokens/identity",
     kStandardHeaders,
     R"({"secretKey":"s3\/\"cret\""})",
     {{"secretKey", "s3/\"cret\""}},
     "AuthorizeViaIdentity Request"},
};

TEST(SignInRequests, EveryByte) {
    for (const auto& row : kRows)
        test::ExpectRequest(row);
}

TEST(SignInRequests, OtherControlCharactersGoOutAsTheyAre) {
    test::ScriptedPlatform platform;
    const RequestPointer request = Password(kBaseUrl, "\x01\x1F", "\x7F\x80\xFF");
    EXPECT_EQ(Text(request->body), "{\"login\":\"\x01\x1F\",\"password\":\"\x7F\x80\xFF\"}");
}

TEST(SignInRequests, TheLogHoldsNoSecretOfAHiddenBody) {
    test::ScriptedPlatform platform;
    const RequestPointer requests[] = {
        Password(kBaseUrl, "marked-login", "marked-password"),
        SecondFactor(kBaseUrl, "marked-challenge", "marked-code"),
        Business(kBaseUrl, "marked-login", "marked-password"),
        Administrator(kBaseUrl, "marked-email", "marked-password"),
    };
    ASSERT_EQ(platform.traceLines.size(), std::size(requests));
    for (const std::string& line : platform.traceLines)
        EXPECT_EQ(line.find("marked"), std::string::npos) << line;
    for (const RequestPointer& request : requests) {
        EXPECT_NE(Text(request->body).find("marked"), std::string::npos) << "on the wire it stands";
        EXPECT_EQ(Text(request->Describe()).find("marked"), std::string::npos);
    }
}

TEST(SignInRequests, ABusinessFlagIsClearUnlessSet) {
    EXPECT_FALSE(registry::AuthorizeViaIdentityParams{}.isBusiness);
}

}  // namespace
