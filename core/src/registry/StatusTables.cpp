#include "core/src/registry/StatusTables.h"

#include "core/src/registry/ServiceErrors.h"

namespace registry {

using enum QUILLMARKCLIENT_ERROR;
using enum StatusUse;

constexpr StatusRow kCustomerAuthorizeStatuses[] = {
    {200, kSuccess, kTake},
    {400, kCompatibilityBroken, kTake},
    {401, kInvalidLoginOrPassword, kTake},      // always the password: the body is not asked
    {403, kEmailUnverifiedOrBlocked, kDecode},  // the body may want a second factor
    {404, kNotFound, kTake},
    {500, kInternalServiceError, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kCustomerAuthorize2FAStatuses[] = {
    {200, kSuccess, kTake},
    {400, kCompatibilityBroken, kTake},  // the body is not asked: a wrong code is not told by 400
    {401, kAuthorizationDenied, kDecode},
    {403, kEmailUnverifiedOrBlocked, kTake},
    {404, kNotFound, kTake},
    {500, kInternalServiceError, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kBusinessAuthorizeStatuses[] = {
    {200, kSuccess, kTake},
    {400, kCompatibilityBroken, kTake},
    {401, kInvalidLoginOrPassword, kTake},
    {403, kEmailUnverifiedOrBlocked, kTake},
    {500, kInternalServiceError, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kPrincipalAdminAuthorizeStatuses[] = {
    {200, kSuccess, kTake},
    {400, kCompatibilityBroken, kTake},
    {401, kInvalidLoginOrPassword, kTake},
    {403, kEmailUnverifiedOrBlocked, kTake},
    {500, kInternalServiceError, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kAuthorizeViaSocialStatuses[] = {
    {200, kSuccess, kTake},
    {401, kAuthorizationDenied, kTake},
    {403, kAccountExists, kTake},
    {404, kNotFound, kDecode},  // the body may want the sign-up finished first
    {409, kSocialAccountLinked, kTake},
    {500, kInternalServiceError, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kAuthorizeViaSocialDesktopStatuses[] = {
    {200, kSuccess, kTake},
    {401, kAuthorizationDenied, kTake},
    {403, kAccountExists, kTake},
    {404, kNotFound, kTake},  // the body is not asked: a new account finishes its sign-up ahead
    {409, kSocialAccountLinked, kTake},
    {500, kInternalServiceError, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kBusinessAuthorizeViaSocialDesktopStatuses[] = {
    {200, kSuccess, kTake},  {401, kAuthorizationDenied, kTake},  {403, kEmailUnverifiedOrBlocked, kTake},
    {404, kNotFound, kTake}, {500, kInternalServiceError, kTake}, {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kAuthorizeViaIdentityStatuses[] = {
    {200, kSuccess, kTake},
    {400, kCompatibilityBroken, kTake},
    {401, kAuthorizationDenied, kTake},
    {403, kAuthorizationDenied, kTake},
    {404, kNotFound, kTake},
    {500, kInternalServiceError, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kCustomerContextStatuses[] = {
    {200, kSuccess, kTake},
    {400, kCompatibilityBroken, kTake},
    {401, kAuthorizationDenied, kTake},
    {403, kEmailUnverifiedOrBlocked, kTake},
    {404, kCustomerNotFound, kTake},
    {500, kInternalServiceError, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kCustomerTrustTokenStatuses[] = {
    {200, kSuccess, kTake},
    {400, kCompatibilityBroken, kTake},
    {401, kAuthorizationDenied, kTake},
    {403, kAuthorizationDenied, kTake},
    {404, kNotFound, kTake},
    {500, kInternalServiceError, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kTrusteeTrustsStatuses[] = {
    {200, kSuccess, kTake},
    {400, kCompatibilityBroken, kTake},
    {401, kAuthorizationDenied, kTake},
    {403, kEmailUnverifiedOrBlocked, kTake},
    {404, kCustomerNotFound, kTake},
    {500, kInternalServiceError, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kGetCustomerInfoStatuses[] = {
    {200, kSuccess, kTake},
    {401, kAuthorizationDenied, kTake},
    {404, kCustomerNotFound, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kSocialProvidersListStatuses[] = {
    {200, kSuccess, kTake},
    {400, kCompatibilityBroken, kTake},
    {401, kAuthorizationDenied, kTake},
    {403, kEmailUnverifiedOrBlocked, kTake},
    {500, kInternalServiceError, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kUseDynamicContextStatuses[] = {
    {200, kSuccess, kTake},
    {204, kSuccess, kTake},
    {400, kCompatibilityBroken, kTake},
    {403, kEmailUnverifiedOrBlocked, kTake},
    {500, kInternalServiceError, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kCustomerRegistrationFinalizeStatuses[] = {
    {200, kSuccess, kTake},
    {204, kSuccess, kTake},
    {400, kCompatibilityBroken, kTake},
    {401, kInvalidLoginOrPassword, kTake},
    {403, kEmailUnverifiedOrBlocked, kTake},
    {404, kNotFound, kTake},
    {500, kInternalServiceError, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kIdentityGetRecordsStatuses[] = {
    {200, kSuccess, kTake},
    {401, kAuthorizationDenied, kTake},
    {500, kInternalServiceError, kTake},
    {503, kServiceMaintenance, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kIdentityGetTokenStatuses[] = {
    {200, kSuccess, kTake},
    {401, kAuthorizationDenied, kTake},
    {403, kAuthorizationDenied, kTake},
    {404, kAuthorizationDenied, kTake},
    {500, kInternalServiceError, kTake},
    {503, kServiceMaintenance, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kIdentityCreateRecordStatuses[] = {
    {200, kSuccess, kTake},
    {400, kCompatibilityBroken, kTake},
    {401, kAuthorizationDenied, kTake},
    {404, kCustomerNotFound, kTake},
    {409, kCustomerNotFound, kTake},
    {500, kInternalServiceError, kTake},
    {kRest, kCompatibilityBroken, kDecode},
};

constexpr StatusRow kIdentityUnknownModeStatuses[] = {
    {kRest, kInternalServiceError, kTake},  // 200 included
};

ResultCode CheckStatus(const StatusRow* table, std::uint32_t httpCode,
                       const portable_stl::string& responseBody, ServiceErrorInfo** errorInfo) {
    const StatusRow* row = table;
    while (row->httpCode != httpCode && row->httpCode != kRest)
        ++row;
    const ResultCode code =
        row->use == kDecode ? DecodeServiceError(httpCode, responseBody, row->code) : row->code;
    if (IsSuccess(code))
        return kSuccess;
    // A body that can't be read costs the record its detail; the code stands.
    if (*errorInfo != nullptr)
        FillServiceErrorInfo(**errorInfo, code, httpCode, responseBody);
    return code;
}

}  // namespace registry
