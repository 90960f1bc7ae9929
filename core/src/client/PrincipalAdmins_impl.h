// The making of a principal administrator.
#pragma once

#include "core/src/client/Client_impl.h"
#include "core/src/client/requests/PrincipalAdminRequest_impl.h"
#include "core/src/json/Json.h"
#include "core/src/registry/SendAndCheck.h"

namespace quillmarkclient_core {

namespace principal_admin_detail {

// The service answers with the account, alone or as the first of an array.
inline ResultCode ReadPrincipalAdmin(const portable_stl::string& responseBody, PrincipalAdmin& result) {
    constexpr struct {
        const char* name;
        portable_stl::string PrincipalAdmin::*field;
    } kFields[] = {
        {"id", &PrincipalAdmin::id},
        {"name", &PrincipalAdmin::name},
        {"email", &PrincipalAdmin::email},
        {"description", &PrincipalAdmin::description},
    };
    json::JsonNode root;
    if (!json::ParseJson(responseBody, root))
        return ResultCode::kCannotDeserialize;
    const json::JsonNode& record = root.isArray && !root.children.empty() ? root.children[0] : root;
    if (json::FindChild(record, "id") == nullptr)
        return ResultCode::kCannotDeserialize;
    for (const auto& row : kFields) {
        if (const json::JsonNode* const member = json::FindChild(record, row.name); member != nullptr)
            result.*row.field = member->value;
    }
    return ResultCode::kSuccess;
}

}  // namespace principal_admin_detail

template <class SystemApiType>
ResultCode Client<SystemApiType>::CreatePrincipalAdmin(const portable_stl::string& name,
                                                       const portable_stl::string& email,
                                                       const portable_stl::string& password,
                                                       const portable_stl::string& description,
                                                       PrincipalAdmin& result,
                                                       registry::ServiceErrorInfo* errorInfo, void* context) {
    QUILLMARK_TRACE("%s", "quillmarkclient_core::Client::CreatePrincipalAdmin");
    if (registryClient == nullptr)
        return client_detail::Fail(ResultCode::kInternalError);
    if (!IsSignedIn())
        return client_detail::Fail(ResultCode::kAuthorizationDenied);

    portable_stl::unique_ptr<registry::Request<Api>> request =
        portable_stl::make_unique<CreatePrincipalAdminRequest<Api>>(
            CreatePrincipalAdminParams{serviceUrl, name, email, password, description});
    portable_stl::string responseBody;
    if (const auto code = registry::SendAndCheck(*registryClient, request, responseBody, errorInfo, context);
        !IsSuccess(code))
        return client_detail::Fail(code);
    return client_detail::Ended(principal_admin_detail::ReadPrincipalAdmin(responseBody, result));
}

}  // namespace quillmarkclient_core
