#pragma once

#include "core/src/client/requests/PrincipalAdminRequest.h"

namespace quillmarkclient_core {

namespace principal_admin_detail {

inline constexpr char kHiddenBody[] =
    "\tbody: [{\"name\": \"***\", \"email\": \"***\", \"password\": \"***\", \"description\": \"***\", "
    "\"isEnabled\": true}]\n";

inline constexpr registry::StatusRow kStatuses[] = {
    {200, ResultCode::kSuccess, registry::StatusUse::kTake},
    {400, ResultCode::kCompatibilityBroken, registry::StatusUse::kDecode},
    {401, ResultCode::kAuthorizationDenied, registry::StatusUse::kTake},
    {403, ResultCode::kEmailUnverifiedOrBlocked, registry::StatusUse::kTake},
    {500, ResultCode::kInternalServiceError, registry::StatusUse::kTake},
    {registry::kRest, ResultCode::kCompatibilityBroken, registry::StatusUse::kDecode},
};

inline constexpr registry::RequestRow kRow = {
    .method = registry::kPost,
    .endpointBase = registry::kPrincipalAdminIdentity,
    .path = "/principals/admins",
    .headers = registry::kStandardHeaders,
    .logName = "CreatePrincipalAdminRequest",
    .hiddenBodyLine = kHiddenBody,
    .notSerialised = "CreatePrincipalAdminRequest: ERROR_INTERNAL - failed to create Json string",
    .statuses = kStatuses,
};

}  // namespace principal_admin_detail

template <class Api>
CreatePrincipalAdminRequest<Api>::CreatePrincipalAdminRequest(const CreatePrincipalAdminParams& params)
    : registry::CatalogueRequest<Api>(principal_admin_detail::kRow, params.baseUrl) {
    json::JsonNode root;
    root.isArray = true;
    json::JsonNode& admin = json::AddObject(root, "");
    json::AddChild(admin, "name", params.name, true);
    json::AddChild(admin, "email", params.email, true);
    json::AddChild(admin, "password", params.password, true);
    json::AddChild(admin, "description", params.description, true);
    json::AddChild(admin, "isEnabled", "true", false);
    this->FinishWithBody(root);
}

}  // namespace quillmarkclient_core
