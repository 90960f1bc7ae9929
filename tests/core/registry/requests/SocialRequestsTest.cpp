#include "core/src/registry/requests/SocialRequests.h"

#include "tests/core/registry/requests/RequestExpectation.h"

namespace {

using portable_stl::string;
using registry::SocialCodeParams;
using test::kBaseUrl;
using test::kStandardHeaders;
using test::Make;
using test::RequestPointer;
using test::Text;

RequestPointer Token(const string& url, const char* providerKey, const char* accessToken) {
    return Make<registry::AuthorizeViaSocialRequest, registry::AuthorizeViaSocialParams>(url, providerKey,
                                                                                         accessToken);
}

RequestPointer Finalize(const string& url, const char* code, const char* accessToken, const char* providerKey,
                        const char* cause) {
    return Make<registry::CustomerRegistrationFinalizeRequest, registry::CustomerRegistrationFinalizeParams>(
        url, code, accessToken, providerKey, cause);
}

constexpr char kCodeForm[] = "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH";
constexpr char kTokenForm[] = "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN";
constexpr char kFinalizeLog[] = "CustomerRegistrationFinalize Request";

const test::RequestExpectation kRows[] = {
    {"provider and token stand in the URL as they are",
     [](const string& url) { return Token(url, "a b/c?d&e#f%20", "x y&z=1#\xC3\xA9\"%%s"); },
     "GET",
     "/api/registry/v2/oauth/sign-in/a b/c?d&e#f%20?access_token=x y&z=1#\xC3\xA9\"%%s",
     kStandardHeaders,
     "",
     {},
     "Social Session Request"},
    {"an empty provider and an empty token",
     [](const string& url) { return Token(url, "", ""); },
     "GET",
     "/api/registry/v2/oauth/sign-in/?access_token=",
     kStandardHeaders,
     "",
     {},
     "Social Session Request"},
    {"a code of marks and UTF-8",
     [](const string& url) {
         return Make<registry::AuthorizeViaSocialDesktopRequest, SocialCodeParams>(
             url, "4/0A\"x\\y\xC3\xA9\n\t\r\f\b&<%s");
     },
     "POST",
     "/api/customer/registry/v2/tokens/external",
     kStandardHeaders,
     "{\"code\":\"4\\/0A\\\"x\\\\y\xC3\xA9\\n\\t\\r\\f\\b&<%s\"}",
     {{"code", "4/0A\"x\\y\xC3\xA9\n\t\r\f\b&<%s"}},
     "Social Desktop Session Request"},
    {"an empty code of a person",
     [](const string& url) {
         return Make<registry::AuthorizeViaSocialDesktopRequest, SocialCodeParams>(url, "");
     },
     "POST",
     "/api/customer/registry/v2/tokens/external",
     kStandardHeaders,
     R"({"code":""})",
     {{"code", ""}},
     "Social Desktop Session Request"},
    {"a code of a business",
     [](const string& url) {
         return Make<registry::BusinessAuthorizeViaSocialDesktopRequest, SocialCodeParams>(url, "4/\"0\"");
     },
     "POST",
     "/api/business/registry/v2/tokens/external",
     kStandardHeaders,
     R"({"code":"4\/\"0\""})",
     {{"code", "4/\"0\""}},
     "Business social desktop auth Request"},
    {"the context of a business is a constant",
     [](const string& url) { return Make<registry::UseDynamicContextRequest, SocialCodeParams>(url, "4/0"); },
     "POST",
     "/api/quillmark/USE_DYNAMIC_CONTEXT",
     kStandardHeaders,
     R"({"code":"4\/0","context":"business"})",
     {{"code", "4/0"}, {"context", "business"}},
     "UseDynamicContext Request"},
    {"finalisation by code without a cause",
     [](const string& url) { return Finalize(url, "c", "", "", ""); },
     "POST",
     kCodeForm,
     kStandardHeaders,
     R"({"code":"c"})",
     {{"code", "c"}},
     kFinalizeLog},
    {"finalisation by code: a provider alone makes no token form",
     [](const string& url) { return Finalize(url, "c", "", "provider", "why \"so\"/"); },
     "POST",
     kCodeForm,
     kStandardHeaders,
     R"({"code":"c","cause":"why \"so\"\/"})",
     {{"code", "c"}, {"cause", "why \"so\"/"}},
     kFinalizeLog},
    {"finalisation without anything is by code",
     [](const string& url) { return Finalize(url, "", "", "", ""); },
     "POST",
     kCodeForm,
     kStandardHeaders,
     R"({"code":""})",
     {{"code", ""}},
     kFinalizeLog},
    {"finalisation by token without a cause",
     [](const string& url) { return Finalize(url, "", "t", "p", ""); },
     "POST",
     kTokenForm,
     kStandardHeaders,
     R"({"accessToken":"t","providerKey":"p"})",
     {{"accessToken", "t"}, {"providerKey", "p"}},
     kFinalizeLog},
    {"finalisation by token: a code beside it is ignored",
     [](const string& url) { return Finalize(url, "marked", "t/1", "p", "trial"); },
     "POST",
     kTokenForm,
     kStandardHeaders,
     R"({"accessToken":"t\/1","providerKey":"p","cause":"trial"})",
     {{"accessToken", "t/1"}, {"providerKey", "p"}, {"cause", "trial"}},
     kFinalizeLog},
    {"finalisation by token: an empty provider is written",
     [](const string& url) { return Finalize(url, "", "t", "", ""); },
     "POST",
     kTokenForm,
     kStandardHeaders,
     R"({"accessToken":"t","providerKey":""})",
     {{"accessToken", "t"}, {"providerKey", ""}},
     kFinalizeLog},
};

TEST(SocialRequests, EveryByte) {
    for (const auto& row : kRows)
        test::ExpectRequest(row);
}

TEST(SocialRequests, TheLogShowsCodeAndToken) {
    test::ScriptedPlatform platform;
    const RequestPointer requests[] = {
        Token(kBaseUrl, "p", "marked"),
        Make<registry::AuthorizeViaSocialDesktopRequest, SocialCodeParams>(kBaseUrl, "marked"),
        Make<registry::BusinessAuthorizeViaSocialDesktopRequest, SocialCodeParams>(kBaseUrl, "marked"),
        Make<registry::UseDynamicContextRequest, SocialCodeParams>(kBaseUrl, "marked"),
        Finalize(kBaseUrl, "marked", "", "", ""),
        Finalize(kBaseUrl, "", "marked", "p", ""),
    };
    ASSERT_EQ(platform.traceLines.size(), std::size(requests));
    for (std::size_t i = 0; i < std::size(requests); ++i) {
        EXPECT_NE(platform.traceLines[i].find("marked"), std::string::npos) << i;
        EXPECT_NE(platform.traceLines[i].find(Text(requests[i]->Describe())), std::string::npos) << i;
    }
}

}  // namespace
