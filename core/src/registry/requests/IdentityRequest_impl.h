#pragma once

#include "core/src/registry/requests/IdentityRequest.h"
#include "core/src/registry/requests/RequestRows.h"

namespace registry {

namespace identity_detail {

inline const RequestRow& RowOf(IdentityRequestMode mode) {
    constexpr std::size_t kRowCount = sizeof kIdentityRows / sizeof kIdentityRows[0];
    const auto index = static_cast<std::size_t>(mode);
    return kIdentityRows[index < kRowCount ? index : 0];
}

}  // namespace identity_detail

template <class Api>
IdentityRequest<Api>::IdentityRequest(const IdentityRequestParams& params, IdentityRequestMode requestMode)
    : CatalogueRequest<Api>(identity_detail::RowOf(requestMode), params.baseUrl),
      method(identity_detail::RowOf(requestMode).method),
      mode(requestMode) {
    switch (mode) {
        case IdentityRequestMode::kGetRecords:
            this->Finish();
            return;
        case IdentityRequestMode::kGetToken:
            this->url += params.identityId + "/token";
            if (!params.tokenExpiration.empty())
                this->url += "?TokenExpiration=" + params.tokenExpiration;
            this->Finish();
            return;
        case IdentityRequestMode::kCreateRecord:
            FinishRecord(params);
            return;
    }
    this->url.clear();
}

template <class Api>
portable_stl::string IdentityRequest<Api>::GetMethod() const {
    return method;
}

template <class Api>
void IdentityRequest<Api>::FinishRecord(const IdentityRequestParams& params) {
    json::JsonNode root;
    json::AddChild(root, "name", params.name.empty() ? kIdentityName : params.name, true);
    json::AddChild(root, "type", kIdentityType, true);
    json::AddChild(root, "role", kIdentityRole, true);
    if (!params.rights.empty()) {
        json::JsonNode& list = json::AddArray(root, "identityRights");
        for (const IdentityRight& right : params.rights) {
            json::JsonNode& element = json::AddObject(list, "");
            json::AddChild(element, "space", right.space, true);
            json::AddChild(element, "role", right.role, true);
        }
    }
    this->FinishWithBody(root);
}

}  // namespace registry
