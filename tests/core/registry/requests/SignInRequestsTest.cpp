#include "core/src/registry/requests/SignInRequests.h"

#include "tests/core/registry/requests/RequestExpectation.h"

namespace {

using test::kBaseUrl;
using test::kStandardHeaders;
using test::RequestPointer;
using test::SystemApi;

RequestPointer Password(const char* login, const char* password) {
    return portable_stl::make_unique<registry::CustomerAuthorizeRequest<SystemApi>>(
        registry::CustomerAuthorizeParams{kBaseUrl, login, password});
}

RequestPointer Identity(const char* secret, bool isBusiness) {
    return portable_stl::make_unique<registry::AuthorizeViaIdentityRequest<SystemApi>>(
        registry::AuthorizeViaIdentityParams{kBaseUrl, secret, isBusiness});
}

constexpr char kHiddenLogin[] = R"({"login": "***", "password": "***"})";

const test::RequestExpectation kRows[] = {
    {"password", [] { return Password("me@x.org", "pass word"); }, "POST", "/api/customer/registry/v2/tokens",
     kStandardHeaders, R"({"login":"me@x.org","password":"pass word"})", "Session Request", kHiddenLogin},
    {"a password of quotes, slashes, controls and UTF-8 is escaped on the wire and hidden in the log",
     [] { return Password("a\\b", "\"/\t\x01\xC3\xA9%s"); }, "POST", "/api/customer/registry/v2/tokens",
     kStandardHeaders, "{\"login\":\"a\\\\b\",\"password\":\"\\\"\\/\\t\x01\xC3\xA9%s\"}", "Session Request",
     kHiddenLogin},
    {"empty login and password", [] { return Password("", ""); }, "POST", "/api/customer/registry/v2/tokens",
     kStandardHeaders, R"({"login":"","password":""})", "Session Request", kHiddenLogin},
    {"second factor",
     [] {
         return RequestPointer(portable_stl::make_unique<registry::CustomerAuthorize2FARequest<SystemApi>>(
             registry::CustomerAuthorize2FAParams{kBaseUrl, "challenge/1", "123456"}));
     },
     "POST", "/api/customer/registry/v2/2fa/totp/tokens", kStandardHeaders,
     R"({"challengeToken":"challenge\/1","code":"123456"})", "Customer 2FA Session Request",
     R"({"challengeToken": "***", "code": "***"})"},
    {"identity of a person, the secret shown", [] { return Identity("s3cret", false); }, "POST",
     "/api/customer/registry/v2/tokens/identity", kStandardHeaders, R"({"secretKey":"s3cret"})",
     "AuthorizeViaIdentity Request", R"({"secretKey":"s3cret"})"},
    {"identity of a business", [] { return Identity("s3cret", true); }, "POST",
     "/api/business/registry/v2/tokens/identity", kStandardHeaders, R"({"secretKey":"s3cret"})",
     "AuthorizeViaIdentity Request", R"({"secretKey":"s3cret"})"},
};

TEST(SignInRequests, EveryByte) {
    for (const auto& row : kRows)
        test::ExpectRequest(row);
}

TEST(SignInRequests, TheLogHoldsNoPassword) {
    test::ScriptedPlatform platform;
    const RequestPointer password = Password("marked-login", "marked-password");
    const auto secondFactor = portable_stl::make_unique<registry::CustomerAuthorize2FARequest<SystemApi>>(
        registry::CustomerAuthorize2FAParams{kBaseUrl, "marked-challenge", "marked-code"});
    EXPECT_NE(test::Text(password->body).find("marked-password"), std::string::npos);
    ASSERT_EQ(platform.traceLines.size(), 2u);
    for (const std::string& line : platform.traceLines)
        EXPECT_EQ(line.find("marked"), std::string::npos) << line;
    EXPECT_EQ(test::Text(password->Describe()).find("marked"), std::string::npos);
    EXPECT_EQ(test::Text(secondFactor->Describe()).find("marked"), std::string::npos);
}

TEST(SignInRequests, ABusinessFlagIsClearUnlessSet) {
    EXPECT_FALSE(registry::AuthorizeViaIdentityParams{}.isBusiness);
}

}  // namespace
