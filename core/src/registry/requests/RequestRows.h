// The catalogue: the rows of the account service's requests.
//
// A request class adds the values of its parameter record to its row and nothing else. The meaning of the
// answers is in StatusTables.h.
#pragma once

#include "core/src/registry/requests/RequestRow.h"

namespace registry {

// Several requests share an old line for a body that could not be written.
inline constexpr char kSessionNotSerialised[] =
    "SessionRequest: ERROR_INTERNAL - failed to create Json string";

inline constexpr RequestRow kCustomerAuthorizeRow = {
    .method = kPost,
    .endpointBase = kCustomerRegistry,
    .path = "/v2/tokens",
    .headers = kStandardHeaders,
    .logName = "Session Request",
    .hiddenBodyLine = kHiddenLogin,
    .notSerialised = kSessionNotSerialised,
    .statuses = kCustomerAuthorizeStatuses,
};

inline constexpr RequestRow kCustomerAuthorize2FARow = {
    .method = kPost,
    .endpointBase = kCustomerRegistry,
    .path = "/v2/2fa/totp/tokens",
    .headers = kStandardHeaders,
    .logName = "Customer 2FA Session Request",
    .hiddenBodyLine = kHiddenSecondFactor,
    .notSerialised = "CustomerAuthorize2FARequest: ERROR_INTERNAL - failed to create Json string",
    .statuses = kCustomerAuthorize2FAStatuses,
};

inline constexpr RequestRow kBusinessAuthorizeRow = {
    .method = kPost,
    .endpointBase = kBusinessRegistry,
    .path = "/v2/tokens",
    .headers = kStandardHeaders,
    .logName = "BusinessAuthorizeRequest Request",
    .hiddenBodyLine = kHiddenLogin,
    .notSerialised = "BusinessAuthorizeRequest: ERROR_INTERNAL - failed to create Json string",
    .statuses = kBusinessAuthorizeStatuses,
};

inline constexpr RequestRow kPrincipalAdminAuthorizeRow = {
    .method = kPost,
    .endpointBase = kPrincipalAdminIdentity,
    .path = "/tokens/password",
    .headers = kStandardHeaders,
    .logName = "PrincipalAdminAuthorizeRequest",
    .hiddenBodyLine = kHiddenEmail,
    .notSerialised = "PrincipalAdminAuthorizeRequest: ERROR_INTERNAL - failed to create Json string",
    .statuses = kPrincipalAdminAuthorizeStatuses,
};

// Index 0 for a person, 1 for a business.
inline constexpr RequestRow kAuthorizeViaIdentityRows[] = {
    {
        .method = kPost,
        .endpointBase = kCustomerRegistry,
        .path = "/v2/tokens/identity",
        .headers = kStandardHeaders,
        .logName = "AuthorizeViaIdentity Request",
        .notSerialised = kSessionNotSerialised,
        .statuses = kAuthorizeViaIdentityStatuses,
    },
    {
        .method = kPost,
        .endpointBase = kBusinessRegistry,
        .path = "/v2/tokens/identity",
        .headers = kStandardHeaders,
        .logName = "AuthorizeViaIdentity Request",
        .notSerialised = kSessionNotSerialised,
        .statuses = kAuthorizeViaIdentityStatuses,
    },
};

inline constexpr RequestRow kAuthorizeViaSocialRow = {
    .method = kGet,
    .endpointBase = kUserRegistry,
    .path = "/v2/oauth/sign-in/",
    .headers = kStandardHeaders,
    .logName = "Social Session Request",
    .statuses = kAuthorizeViaSocialStatuses,
};

inline constexpr RequestRow kAuthorizeViaSocialDesktopRow = {
    .method = kPost,
    .endpointBase = kCustomerRegistry,
    .path = "/v2/tokens/external",
    .headers = kStandardHeaders,
    .logName = "Social Desktop Session Request",
    .notSerialised = "AuthorizeViaSocialDesktopRequest: ERROR_INTERNAL - failed to create Json string",
    .statuses = kAuthorizeViaSocialDesktopStatuses,
};

inline constexpr RequestRow kBusinessAuthorizeViaSocialDesktopRow = {
    .method = kPost,
    .endpointBase = kBusinessRegistry,
    .path = "/v2/tokens/external",
    .headers = kStandardHeaders,
    .logName = "Business social desktop auth Request",
    .notSerialised = "BusinessAuthorizeViaSocialDesktopRequest: failed to create Json string",
    .statuses = kBusinessAuthorizeViaSocialDesktopStatuses,
};

inline constexpr RequestRow kUseDynamicContextRow = {
    .method = kPost,
    .endpointBase = kNamedOperations,
    .path = "/USE_DYNAMIC_CONTEXT",
    .headers = kStandardHeaders,
    .logName = "UseDynamicContext Request",
    .notSerialised = "UseDynamicContextRequest: failed to create Json string",
    .statuses = kUseDynamicContextStatuses,
};

// Index 0 for a code, 1 for the provider's access token.
inline constexpr RequestRow kCustomerRegistrationFinalizeRows[] = {
    {
        .method = kPost,
        .endpointBase = kNamedOperations,
        .path = "/CUSTOMER_REGISTRATION_FINALIZE_OAUTH",
        .headers = kStandardHeaders,
        .logName = "CustomerRegistrationFinalize Request",
        .statuses = kCustomerRegistrationFinalizeStatuses,
    },
    {
        .method = kPost,
        .endpointBase = kNamedOperations,
        .path = "/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN",
        .headers = kStandardHeaders,
        .logName = "CustomerRegistrationFinalize Request",
        .statuses = kCustomerRegistrationFinalizeStatuses,
    },
};

inline constexpr RequestRow kSocialProvidersListRow = {
    .method = kGet,
    .endpointBase = kPublicRegistry,
    .path = "/v2/oauth/external/providers",
    .headers = kStandardHeaders,
    .logName = "SocialProvidersListRequest",
    .statuses = kSocialProvidersListStatuses,
};

inline constexpr RequestRow kCustomerContextRow = {
    .method = kPost,
    .endpointBase = kCustomerRegistry,
    .path = "/v2/tokens/context",
    .headers = kStandardHeaders,
    .logName = "CustomerContext token Request",
    .statuses = kCustomerContextStatuses,
};

inline constexpr RequestRow kCustomerTrustTokenRow = {
    .method = kPost,
    .endpointBase = kCustomerRegistry,
    .path = "/v2/tokens/trust",
    .headers = kStandardHeaders,
    .logName = "CustomerTrustToken Request",
    .statuses = kCustomerTrustTokenStatuses,
};

inline constexpr RequestRow kTrusteeTrustsRow = {
    .method = kGet,
    .endpointBase = kUserRegistry,
    .path = "/v2/trustee/trusts",
    .headers = kStandardHeaders,
    .logName = "TrusteeTrusts token Request",
    .statuses = kTrusteeTrustsStatuses,
};

inline constexpr RequestRow kGetCustomerInfoRow = {
    .method = kGet,
    .endpointBase = kUserRegistry,
    .path = "/v2/users",
    .headers = kNoCacheHeaders,
    .logName = "\"Get Customer Information\" request",
    .statuses = kGetCustomerInfoStatuses,
};

inline constexpr char kIdentityNotSerialised[] =
    "IdentityRequest: ERROR_INTERNAL - failed to create Json string";

// By IdentityRequestMode. The first row serves mode 0 and every number without a row: nothing can be sent.
inline constexpr RequestRow kIdentityRows[] = {
    {
        .method = "",
        .endpointBase = "",
        .path = "",
        .headers = kIdentityBareHeaders,
        .logName = "",
        .statuses = kIdentityUnknownModeStatuses,
    },
    {
        .method = kGet,
        .endpointBase = kUserRegistry,
        .path = "/v2/identities",
        .headers = kIdentityJsonHeaders,
        .logName = "\"Get identity records\" request ...",
        .notSerialised = kIdentityNotSerialised,
        .statuses = kIdentityGetRecordsStatuses,
    },
    {
        .method = kGet,
        .endpointBase = kUserRegistry,
        .path = "/v2/identities/",
        .headers = kIdentityTextHeaders,
        .logName = "\"Get identity token\" request ...",
        .notSerialised = kIdentityNotSerialised,
        .statuses = kIdentityGetTokenStatuses,
    },
    {
        .method = kPost,
        .endpointBase = kUserRegistry,
        .path = "/v2/identities",
        .headers = kIdentityJsonHeaders,
        .logName = "\"Create identity record\" request ...",
        .notSerialised = kIdentityNotSerialised,
        .statuses = kIdentityCreateRecordStatuses,
    },
};

}  // namespace registry
