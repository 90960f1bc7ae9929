// The catalogue: what sets the requests of the account service apart, as far as it is constant.
//
// A request class adds the values of its parameter record to its row and nothing else. The meaning of the
// answers is in StatusTables.h.
#pragma once

#include <cstddef>

#include "core/src/registry/Endpoints.h"
#include "core/src/registry/StatusTables.h"

namespace registry {

struct HeaderRow {
    const char* name;
    const char* value;
};

// A request's own headers in their order on the wire. Those that identify the client and the session are
// added when the request is sent.
struct HeaderSet {
    const HeaderRow* rows;
    std::size_t count;
};

inline constexpr HeaderRow kAcceptJson = {"Accept", "application/json"};
inline constexpr HeaderRow kAcceptText = {"Accept", "text/plain"};
inline constexpr HeaderRow kNoCache = {"Cache-Control", "no-cache"};
inline constexpr HeaderRow kJsonContent = {"Content-Type", "application/json;charset=UTF-8"};

inline constexpr HeaderRow kStandardHeaderRows[] = {kAcceptJson, kNoCache, kJsonContent};
inline constexpr HeaderRow kNoCacheRows[] = {kNoCache};
inline constexpr HeaderRow kIdentityJsonRows[] = {kNoCache, kJsonContent, kAcceptJson};
inline constexpr HeaderRow kIdentityTextRows[] = {kNoCache, kJsonContent, kAcceptText};

inline constexpr HeaderSet kStandardHeaders = {kStandardHeaderRows, 3};
inline constexpr HeaderSet kNoCacheHeaders = {kNoCacheRows, 1};
inline constexpr HeaderSet kIdentityJsonHeaders = {kIdentityJsonRows, 3};
inline constexpr HeaderSet kIdentityTextHeaders = {kIdentityTextRows, 3};
// The first two of kIdentityJsonRows: which "Accept" is due, only a mode could tell.
inline constexpr HeaderSet kIdentityBareHeaders = {kIdentityJsonRows, 2};

inline constexpr char kGet[] = "GET";
inline constexpr char kPost[] = "POST";

// What the log shows in place of a body with secrets.
inline constexpr char kHiddenLogin[] = "\tbody: {\"login\": \"***\", \"password\": \"***\"}\n";
inline constexpr char kHiddenSecondFactor[] = "\tbody: {\"challengeToken\": \"***\", \"code\": \"***\"}\n";
inline constexpr char kHiddenEmail[] = "\tbody: {\"email\": \"***\", \"password\": \"***\"}\n";
inline constexpr const char* kShown = nullptr;

inline constexpr const char* kNoLine = nullptr;

struct RequestRow {
    const char* method;
    const char* endpointBase;
    const char* path;  // behind the base; a request with values in its path or query appends them
    HeaderSet headers;
    const char* logName;
    const char* hiddenBodyLine;  // kShown: the log has the body as it stands
    const char* notSerialised;   // logged when the body could not be written; kNoLine: nothing is
    const StatusRow* statuses;
};

// Both share an old line for a body that could not be written.
inline constexpr char kSessionNotSerialised[] =
    "SessionRequest: ERROR_INTERNAL - failed to create Json string";

inline constexpr RequestRow kCustomerAuthorizeRow = {
    kPost,
    kCustomerRegistry,
    "/v2/tokens",
    kStandardHeaders,
    "Session Request",
    kHiddenLogin,
    kSessionNotSerialised,
    kCustomerAuthorizeStatuses,
};

inline constexpr RequestRow kCustomerAuthorize2FARow = {
    kPost,
    kCustomerRegistry,
    "/v2/2fa/totp/tokens",
    kStandardHeaders,
    "Customer 2FA Session Request",
    kHiddenSecondFactor,
    "CustomerAuthorize2FARequest: ERROR_INTERNAL - failed to create Json string",
    kCustomerAuthorize2FAStatuses,
};

inline constexpr RequestRow kBusinessAuthorizeRow = {
    kPost,
    kBusinessRegistry,
    "/v2/tokens",
    kStandardHeaders,
    "BusinessAuthorizeRequest Request",
    kHiddenLogin,
    "BusinessAuthorizeRequest: ERROR_INTERNAL - failed to create Json string",
    kBusinessAuthorizeStatuses,
};

inline constexpr RequestRow kPrincipalAdminAuthorizeRow = {
    kPost,
    kPrincipalAdminIdentity,
    "/tokens/password",
    kStandardHeaders,
    "PrincipalAdminAuthorizeRequest",
    kHiddenEmail,
    "PrincipalAdminAuthorizeRequest: ERROR_INTERNAL - failed to create Json string",
    kPrincipalAdminAuthorizeStatuses,
};

// Index 0 for a person, 1 for a business.
inline constexpr RequestRow kAuthorizeViaIdentityRows[] = {
    {
        kPost,
        kCustomerRegistry,
        "/v2/tokens/identity",
        kStandardHeaders,
        "AuthorizeViaIdentity Request",
        kShown,
        kSessionNotSerialised,
        kAuthorizeViaIdentityStatuses,
    },
    {
        kPost,
        kBusinessRegistry,
        "/v2/tokens/identity",
        kStandardHeaders,
        "AuthorizeViaIdentity Request",
        kShown,
        kSessionNotSerialised,
        kAuthorizeViaIdentityStatuses,
    },
};

inline constexpr RequestRow kAuthorizeViaSocialRow = {
    kGet,   kUserRegistry, "/v2/oauth/sign-in/",        kStandardHeaders, "Social Session Request",
    kShown, kNoLine,       kAuthorizeViaSocialStatuses,
};

inline constexpr RequestRow kAuthorizeViaSocialDesktopRow = {
    kPost,
    kCustomerRegistry,
    "/v2/tokens/external",
    kStandardHeaders,
    "Social Desktop Session Request",
    kShown,
    "AuthorizeViaSocialDesktopRequest: ERROR_INTERNAL - failed to create Json string",
    kAuthorizeViaSocialDesktopStatuses,
};

inline constexpr RequestRow kBusinessAuthorizeViaSocialDesktopRow = {
    kPost,
    kBusinessRegistry,
    "/v2/tokens/external",
    kStandardHeaders,
    "Business social desktop auth Request",
    kShown,
    "BusinessAuthorizeViaSocialDesktopRequest: failed to create Json string",
    kBusinessAuthorizeViaSocialDesktopStatuses,
};

inline constexpr RequestRow kUseDynamicContextRow = {
    kPost,
    kNamedOperations,
    "/USE_DYNAMIC_CONTEXT",
    kStandardHeaders,
    "UseDynamicContext Request",
    kShown,
    "UseDynamicContextRequest: failed to create Json string",
    kUseDynamicContextStatuses,
};

// Index 0 for a code, 1 for the provider's access token.
inline constexpr RequestRow kCustomerRegistrationFinalizeRows[] = {
    {
        kPost,
        kNamedOperations,
        "/CUSTOMER_REGISTRATION_FINALIZE_OAUTH",
        kStandardHeaders,
        "CustomerRegistrationFinalize Request",
        kShown,
        kNoLine,
        kCustomerRegistrationFinalizeStatuses,
    },
    {
        kPost,
        kNamedOperations,
        "/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN",
        kStandardHeaders,
        "CustomerRegistrationFinalize Request",
        kShown,
        kNoLine,
        kCustomerRegistrationFinalizeStatuses,
    },
};

inline constexpr RequestRow kSocialProvidersListRow = {
    kGet,   kPublicRegistry, "/v2/oauth/external/providers", kStandardHeaders, "SocialProvidersListRequest",
    kShown, kNoLine,         kSocialProvidersListStatuses,
};

inline constexpr RequestRow kCustomerContextRow = {
    kPost,  kCustomerRegistry, "/v2/tokens/context",     kStandardHeaders, "CustomerContext token Request",
    kShown, kNoLine,           kCustomerContextStatuses,
};

inline constexpr RequestRow kCustomerTrustTokenRow = {
    kPost,  kCustomerRegistry, "/v2/tokens/trust",          kStandardHeaders, "CustomerTrustToken Request",
    kShown, kNoLine,           kCustomerTrustTokenStatuses,
};

inline constexpr RequestRow kTrusteeTrustsRow = {
    kGet,   kUserRegistry, "/v2/trustee/trusts",   kStandardHeaders, "TrusteeTrusts token Request",
    kShown, kNoLine,       kTrusteeTrustsStatuses,
};

inline constexpr RequestRow kGetCustomerInfoRow = {
    kGet,
    kUserRegistry,
    "/v2/users",
    kNoCacheHeaders,
    "\"Get Customer Information\" request",
    kShown,
    kNoLine,
    kGetCustomerInfoStatuses,
};

inline constexpr char kIdentityNotSerialised[] =
    "IdentityRequest: ERROR_INTERNAL - failed to create Json string";

// By IdentityRequestMode. The first row serves mode 0 and every number without a row: nothing can be sent.
inline constexpr RequestRow kIdentityRows[] = {
    {
        "",
        "",
        "",
        kIdentityBareHeaders,
        "",
        kShown,
        kNoLine,
        kIdentityUnknownModeStatuses,
    },
    {
        kGet,
        kUserRegistry,
        "/v2/identities",
        kIdentityJsonHeaders,
        "\"Get identity records\" request ...",
        kShown,
        kIdentityNotSerialised,
        kIdentityGetRecordsStatuses,
    },
    {
        kGet,
        kUserRegistry,
        "/v2/identities/",
        kIdentityTextHeaders,
        "\"Get identity token\" request ...",
        kShown,
        kIdentityNotSerialised,
        kIdentityGetTokenStatuses,
    },
    {
        kPost,
        kUserRegistry,
        "/v2/identities",
        kIdentityJsonHeaders,
        "\"Create identity record\" request ...",
        kShown,
        kIdentityNotSerialised,
        kIdentityCreateRecordStatuses,
    },
};

}  // namespace registry
