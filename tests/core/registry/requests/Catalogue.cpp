#include "tests/core/registry/requests/Catalogue.h"

#include "core/src/registry/requests/ContextRequests.h"
#include "core/src/registry/requests/IdentityRequest.h"
#include "core/src/registry/requests/InformationRequests.h"
#include "core/src/registry/requests/SignInRequests.h"
#include "core/src/registry/requests/SocialRequests.h"

namespace test {

namespace {

using portable_stl::string;
using registry::IdentityRequestMode;
using registry::SocialCodeParams;
using enum Sending;

RequestPointer Identity(IdentityRequestMode mode, const registry::IdentityRequestParams& params) {
    return portable_stl::make_unique<registry::IdentityRequest<SystemApi>>(params, mode);
}

RequestPointer IdentityWithRights(const string& baseUrl) {
    registry::IdentityRequestParams params{baseUrl, "", "Desk", "", {}};
    params.rights.push_back({"space-1", "owner"}).value();
    params.rights.push_back({"space-2", "user"}).value();
    return Identity(IdentityRequestMode::kCreateRecord, params);
}

const Headers kIdentityHeaders = {
    {"Cache-Control", "no-cache"},
    {"Content-Type", "application/json;charset=UTF-8"},
    {"Accept", "application/json"},
};
const Headers kIdentityTokenHeaders = {
    {"Cache-Control", "no-cache"},
    {"Content-Type", "application/json;charset=UTF-8"},
    {"Accept", "text/plain"},
};

constexpr char kHiddenLogin[] = R"({"login": "***", "password": "***"})";

}  // namespace

const std::vector<CatalogueRow>& Catalogue() {
    static const std::vector<CatalogueRow> rows = {
        {{"CustomerAuthorizeRequest",
          [](const string& url) {
              return Make<registry::CustomerAuthorizeRequest, registry::CustomerAuthorizeParams>(
                  url, "me@x.org", "pass word");
          },
          "POST",
          "/api/customer/registry/v2/tokens",
          kStandardHeaders,
          R"({"login":"me@x.org","password":"pass word"})",
          {{"login", "me@x.org"}, {"password", "pass word"}},
          "Session Request",
          kHiddenLogin},
         kBare},
        {{"CustomerAuthorize2FARequest",
          [](const string& url) {
              return Make<registry::CustomerAuthorize2FARequest, registry::CustomerAuthorize2FAParams>(
                  url, "challenge-1", "123456");
          },
          "POST",
          "/api/customer/registry/v2/2fa/totp/tokens",
          kStandardHeaders,
          R"({"challengeToken":"challenge-1","code":"123456"})",
          {{"challengeToken", "challenge-1"}, {"code", "123456"}},
          "Customer 2FA Session Request",
          R"({"challengeToken": "***", "code": "***"})"},
         kBare},
        {{"BusinessAuthorizeRequest",
          [](const string& url) {
              return Make<registry::BusinessAuthorizeRequest, registry::BusinessAuthorizeParams>(url, "shop",
                                                                                                 "pw");
          },
          "POST",
          "/api/business/registry/v2/tokens",
          kStandardHeaders,
          R"({"login":"shop","password":"pw"})",
          {{"login", "shop"}, {"password", "pw"}},
          "BusinessAuthorizeRequest Request",
          kHiddenLogin},
         kBare},
        {{"PrincipalAdminAuthorizeRequest",
          [](const string& url) {
              return Make<registry::PrincipalAdminAuthorizeRequest, registry::PrincipalAdminAuthorizeParams>(
                  url, "root@x.org", "pw");
          },
          "POST",
          "/api/admin/id/v0/tokens/password",
          kStandardHeaders,
          R"({"email":"root@x.org","password":"pw"})",
          {{"email", "root@x.org"}, {"password", "pw"}},
          "PrincipalAdminAuthorizeRequest",
          R"({"email": "***", "password": "***"})"},
         kBare},
        {{"AuthorizeViaIdentityRequest of a person",
          [](const string& url) {
              return Make<registry::AuthorizeViaIdentityRequest, registry::AuthorizeViaIdentityParams>(
                  url, "s3cret", false);
          },
          "POST",
          "/api/customer/registry/v2/tokens/identity",
          kStandardHeaders,
          R"({"secretKey":"s3cret"})",
          {{"secretKey", "s3cret"}},
          "AuthorizeViaIdentity Request"},
         kBare},
        {{"AuthorizeViaIdentityRequest of a business",
          [](const string& url) {
              return Make<registry::AuthorizeViaIdentityRequest, registry::AuthorizeViaIdentityParams>(
                  url, "s3cret", true);
          },
          "POST",
          "/api/business/registry/v2/tokens/identity",
          kStandardHeaders,
          R"({"secretKey":"s3cret"})",
          {{"secretKey", "s3cret"}},
          "AuthorizeViaIdentity Request"},
         kBare},
        {{"AuthorizeViaSocialRequest",
          [](const string& url) {
              return Make<registry::AuthorizeViaSocialRequest, registry::AuthorizeViaSocialParams>(
                  url, "provider", "ya29.A-b_c");
          },
          "GET",
          "/api/registry/v2/oauth/sign-in/provider?access_token=ya29.A-b_c",
          kStandardHeaders,
          "",
          {},
          "Social Session Request"},
         kBare},
        {{"AuthorizeViaSocialDesktopRequest",
          [](const string& url) {
              return Make<registry::AuthorizeViaSocialDesktopRequest, SocialCodeParams>(url, "code-1");
          },
          "POST",
          "/api/customer/registry/v2/tokens/external",
          kStandardHeaders,
          R"({"code":"code-1"})",
          {{"code", "code-1"}},
          "Social Desktop Session Request"},
         kBare},
        {{"BusinessAuthorizeViaSocialDesktopRequest",
          [](const string& url) {
              return Make<registry::BusinessAuthorizeViaSocialDesktopRequest, SocialCodeParams>(url,
                                                                                                "code-1");
          },
          "POST",
          "/api/business/registry/v2/tokens/external",
          kStandardHeaders,
          R"({"code":"code-1"})",
          {{"code", "code-1"}},
          "Business social desktop auth Request"},
         kBare},
        {{"CustomerContextRequest",
          [](const string& url) {
              return Make<registry::CustomerContextRequest, registry::CustomerContextParams>(url);
          },
          "POST",
          "/api/customer/registry/v2/tokens/context",
          kStandardHeaders,
          "",
          {},
          "CustomerContext token Request"},
         kAuthorized},
        {{"CustomerTrustTokenRequest",
          [](const string& url) {
              return Make<registry::CustomerTrustTokenRequest, registry::CustomerTrustTokenParams>(url,
                                                                                                   "org-1");
          },
          "POST",
          "/api/customer/registry/v2/tokens/trust",
          kStandardHeaders,
          R"({"trustorId":"org-1"})",
          {{"trustorId", "org-1"}},
          "CustomerTrustToken Request"},
         kAuthorized},
        {{"UseDynamicContextRequest",
          [](const string& url) {
              return Make<registry::UseDynamicContextRequest, SocialCodeParams>(url, "code-1");
          },
          "POST",
          "/api/quillmark/USE_DYNAMIC_CONTEXT",
          kStandardHeaders,
          R"({"code":"code-1","context":"business"})",
          {{"code", "code-1"}, {"context", "business"}},
          "UseDynamicContext Request"},
         kBare},
        {{"TrusteeTrustsRequest",
          [](const string& url) {
              return Make<registry::TrusteeTrustsRequest, registry::TrusteeTrustsParams>(url);
          },
          "GET",
          "/api/registry/v2/trustee/trusts?WithDetails=true&WithRights=false&level=Customer",
          kStandardHeaders,
          "",
          {},
          "TrusteeTrusts token Request"},
         kAuthorized},
        {{"GetCustomerInfoRequest",
          [](const string& url) {
              return Make<registry::GetCustomerInfoRequest, registry::GetCustomerInfoParams>(url);
          },
          "GET",
          "/api/registry/v2/users",
          {{"Cache-Control", "no-cache"}},
          "",
          {},
          "\"Get Customer Information\" request"},
         kAuthorized},
        {{"SocialProvidersListRequest",
          [](const string& url) {
              return Make<registry::SocialProvidersListRequest, registry::SocialProvidersListParams>(url);
          },
          "GET",
          "/api/public/registry/v2/oauth/external/providers",
          kStandardHeaders,
          "",
          {},
          "SocialProvidersListRequest"},
         kAuthorized},
        {{"CustomerRegistrationFinalizeRequest, code",
          [](const string& url) {
              return Make<registry::CustomerRegistrationFinalizeRequest,
                          registry::CustomerRegistrationFinalizeParams>(url, "code-1", "", "", "trial");
          },
          "POST",
          "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH",
          kStandardHeaders,
          R"({"code":"code-1","cause":"trial"})",
          {{"code", "code-1"}, {"cause", "trial"}},
          "CustomerRegistrationFinalize Request"},
         kKeyed},
        {{"CustomerRegistrationFinalizeRequest, token",
          [](const string& url) {
              return Make<registry::CustomerRegistrationFinalizeRequest,
                          registry::CustomerRegistrationFinalizeParams>(url, "", "ya29.A-b_c", "provider",
                                                                        "trial");
          },
          "POST",
          "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN",
          kStandardHeaders,
          R"({"accessToken":"ya29.A-b_c","providerKey":"provider","cause":"trial"})",
          {{"accessToken", "ya29.A-b_c"}, {"providerKey", "provider"}, {"cause", "trial"}},
          "CustomerRegistrationFinalize Request"},
         kKeyed},
        {{"IdentityRequest, records",
          [](const string& url) {
              return Identity(IdentityRequestMode::kGetRecords, {url, "", "", "", {}});
          },
          "GET",
          "/api/registry/v2/identities",
          kIdentityHeaders,
          "",
          {},
          "\"Get identity records\" request ..."},
         kAuthorized},
        {{"IdentityRequest, token",
          [](const string& url) {
              return Identity(IdentityRequestMode::kGetToken, {url, "id-7", "", "", {}});
          },
          "GET",
          "/api/registry/v2/identities/id-7/token",
          kIdentityTokenHeaders,
          "",
          {},
          "\"Get identity token\" request ..."},
         kAuthorized},
        {{"IdentityRequest, token with an expiration",
          [](const string& url) {
              return Identity(IdentityRequestMode::kGetToken, {url, "id-7", "", "3600", {}});
          },
          "GET",
          "/api/registry/v2/identities/id-7/token?TokenExpiration=3600",
          kIdentityTokenHeaders,
          "",
          {},
          "\"Get identity token\" request ..."},
         kAuthorized},
        {{"IdentityRequest, new record",
          [](const string& url) {
              return Identity(IdentityRequestMode::kCreateRecord, {url, "", "", "", {}});
          },
          "POST",
          "/api/registry/v2/identities",
          kIdentityHeaders,
          R"({"name":"VQM_Identity","type":"VQM_Access","role":"Regular"})",
          {{"name", "VQM_Identity"}, {"type", "VQM_Access"}, {"role", "Regular"}},
          "\"Create identity record\" request ..."},
         kAuthorized},
        {{"IdentityRequest, new record with rights",
          &IdentityWithRights,
          "POST",
          "/api/registry/v2/identities",
          kIdentityHeaders,
          R"({"name":"Desk","type":"VQM_Access","role":"Regular","identityRights":)"
          R"([{"space":"space-1","role":"owner"},{"space":"space-2","role":"user"}]})",
          {{"name", "Desk"},
           {"type", "VQM_Access"},
           {"role", "Regular"},
           {"identityRights", R"([{"space":"space-1","role":"owner"},{"space":"space-2","role":"user"}])"}},
          "\"Create identity record\" request ..."},
         kAuthorized},
    };
    return rows;
}

}  // namespace test
