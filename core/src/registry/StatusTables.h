#pragma once

#include <cstdint>

#include "core/src/ResultCode.h"
#include "core/src/registry/ServiceErrorInfo.h"
#include "portable_stl/string.h"

namespace registry {

/// How a row's code becomes the result.
enum class StatusUse : std::uint8_t {
    kTake,    // as it stands; the body is not asked
    kDecode,  // DecodeServiceError is asked, with the code as its default
};

/// What one HTTP status means to one request.
struct StatusRow {
    std::uint32_t httpCode;  // or kRest
    ResultCode code;
    StatusUse use;
};

/// Stands in the last row of each table: every status that no row before it names.
inline constexpr std::uint32_t kRest = 0;

// A table for each request. All of them end with a row for kRest.
extern const StatusRow kCustomerAuthorizeStatuses[];
extern const StatusRow kCustomerAuthorize2FAStatuses[];
extern const StatusRow kBusinessAuthorizeStatuses[];
extern const StatusRow kPrincipalAdminAuthorizeStatuses[];
extern const StatusRow kAuthorizeViaSocialStatuses[];
extern const StatusRow kAuthorizeViaSocialDesktopStatuses[];
extern const StatusRow kBusinessAuthorizeViaSocialDesktopStatuses[];
extern const StatusRow kAuthorizeViaIdentityStatuses[];
extern const StatusRow kCustomerContextStatuses[];
extern const StatusRow kCustomerTrustTokenStatuses[];
extern const StatusRow kTrusteeTrustsStatuses[];
extern const StatusRow kGetCustomerInfoStatuses[];
extern const StatusRow kSocialProvidersListStatuses[];
extern const StatusRow kUseDynamicContextStatuses[];
extern const StatusRow kCustomerRegistrationFinalizeStatuses[];
extern const StatusRow kIdentityGetRecordsStatuses[];
extern const StatusRow kIdentityGetTokenStatuses[];
extern const StatusRow kIdentityCreateRecordStatuses[];
extern const StatusRow kIdentityUnknownModeStatuses[];

/// The result of an exchange by the request's table: the one reader of all tables.
///
/// A failure fills the record behind `*errorInfo`, unless that is null; a success leaves it as it was.
[[nodiscard]] ResultCode CheckStatus(const StatusRow* table, std::uint32_t httpCode,
                                     const portable_stl::string& responseBody, ServiceErrorInfo** errorInfo);

}  // namespace registry
