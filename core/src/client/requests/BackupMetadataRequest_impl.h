#pragma once

#include "core/src/client/requests/BackupMetadataRequest.h"

namespace backupmetadata {

namespace request_detail {

inline constexpr registry::StatusRow kStatuses[] = {
    {200, ResultCode::kSuccess, registry::StatusUse::kTake},
    {201, ResultCode::kSuccess, registry::StatusUse::kTake},
    {400, ResultCode::kMetadataRefused, registry::StatusUse::kTake},
    {401, ResultCode::kAuthorizationDenied, registry::StatusUse::kTake},
    {403, ResultCode::kAuthorizationDenied, registry::StatusUse::kTake},
    {registry::kRest, ResultCode::kServiceUnavailable, registry::StatusUse::kTake},
};

inline constexpr registry::RequestRow kRow = {
    .method = registry::kPost,
    .endpointBase = registry::kNamedOperations,
    .path = "/webhook?name=brx-backup-metadata",
    .headers = registry::kStandardHeaders,
    .logName = "\"Send BrxMfe Info\" request",
    .statuses = kStatuses,
};

}  // namespace request_detail

template <class Api>
SendBrxMfeInfoRequest<Api>::SendBrxMfeInfoRequest(const SendBrxMfeInfoParams& params)
    : registry::CatalogueRequest<Api>(request_detail::kRow, params.baseUrl) {
    this->body = params.document;
    this->Finish();
}

}  // namespace backupmetadata
