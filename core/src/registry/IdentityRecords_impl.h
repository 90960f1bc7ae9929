// This library's identity record at the service, and its secret.
#pragma once

#include "core/src/json/Json.h"
#include "core/src/registry/RegistryClient.h"
#include "core/src/registry/SendAndCheck.h"
#include "core/src/registry/requests/IdentityRequest.h"

namespace registry {

namespace identity_detail {

inline portable_stl::vector<IdentityRight> RightsOf(const quillmarkclient_core::Token& token) {
    portable_stl::vector<IdentityRight> rights;
    rights.reserve(token.rights.size()).value();
    for (const auto& right : token.rights)
        rights.push_back(IdentityRight{right.space, quillmarkclient_core::RoleWord(right.role)}).value();
    return rights;
}

// The first record of a list that bears this library's marks, or null.
inline const json::JsonNode* FindOwnRecord(const json::JsonNode& list) {
    for (const json::JsonNode& record : list.children) {
        const json::JsonNode* const id = json::FindChild(record, "id");
        const json::JsonNode* const name = json::FindChild(record, "name");
        const json::JsonNode* const type = json::FindChild(record, "type");
        const json::JsonNode* const role = json::FindChild(record, "role");
        if (id == nullptr || name == nullptr || type == nullptr || role == nullptr)
            continue;
        if (json::KeyEquals(name->value, kIdentityName) && json::KeyEquals(type->value, kIdentityType) &&
            json::KeyEquals(role->value, kIdentityRole))
            return id;
    }
    return nullptr;
}

template <class Api>
portable_stl::unique_ptr<Request<Api>> MakeRequest(const IdentityRequestParams& params,
                                                   IdentityRequestMode mode) {
    return portable_stl::make_unique<IdentityRequest<Api>>(params, mode);
}

}  // namespace identity_detail

template <class Api>
ResultCode RegistryClient<Api>::ObtainIdentitySecret(const portable_stl::string& name,
                                                     const portable_stl::string& tokenExpiration,
                                                     ServiceErrorInfo* errorInfo, void* context) {
    // Without a secret a 401 on the way can't start a renewal: the token is to be fresh here.
    identitySecret.clear();

    IdentityRequestParams params;
    params.baseUrl = baseUrl;
    params.tokenExpiration = tokenExpiration;
    bool isFound = false;
    if (const auto code = FindIdentityRecord(params.identityId, isFound, errorInfo, context);
        !IsSuccess(code))
        return code;
    if (!isFound) {
        if (const auto code = CreateIdentityRecord(name, params.identityId, errorInfo, context);
            !IsSuccess(code))
            return code;
    }

    auto request = identity_detail::MakeRequest<Api>(params, IdentityRequestMode::kGetToken);
    portable_stl::string responseBody;
    if (const auto code = SendAndCheck(*this, request, responseBody, errorInfo, context); !IsSuccess(code))
        return code;
    if (responseBody.empty())
        return ResultCode::kCompatibilityBroken;
    identitySecret = responseBody;  // plain text, whole
    return ResultCode::kSuccess;
}

template <class Api>
ResultCode RegistryClient<Api>::FindIdentityRecord(portable_stl::string& id, bool& isFound,
                                                   ServiceErrorInfo* errorInfo, void* context) {
    IdentityRequestParams params;
    params.baseUrl = baseUrl;
    auto request = identity_detail::MakeRequest<Api>(params, IdentityRequestMode::kGetRecords);
    portable_stl::string responseBody;
    if (const auto code = SendAndCheck(*this, request, responseBody, errorInfo, context); !IsSuccess(code))
        return code;

    json::JsonNode list;
    if (!json::ParseJson(responseBody, list))
        return ResultCode::kCompatibilityBroken;
    const json::JsonNode* const found = identity_detail::FindOwnRecord(list);
    isFound = found != nullptr;
    if (isFound)
        id = found->value;
    return ResultCode::kSuccess;
}

template <class Api>
ResultCode RegistryClient<Api>::CreateIdentityRecord(const portable_stl::string& name,
                                                     portable_stl::string& id, ServiceErrorInfo* errorInfo,
                                                     void* context) {
    IdentityRequestParams params;
    params.baseUrl = baseUrl;
    params.name = name;
    params.rights = identity_detail::RightsOf(token);
    auto request = identity_detail::MakeRequest<Api>(params, IdentityRequestMode::kCreateRecord);
    portable_stl::string responseBody;
    if (const auto code = SendAndCheck(*this, request, responseBody, errorInfo, context); !IsSuccess(code))
        return code;

    json::JsonNode record;
    if (!json::ParseJson(responseBody, record))
        return ResultCode::kCompatibilityBroken;
    const json::JsonNode* const created = json::FindChild(record, "id");
    if (created == nullptr)
        return ResultCode::kCompatibilityBroken;
    id = created->value;
    return ResultCode::kSuccess;
}

}  // namespace registry
