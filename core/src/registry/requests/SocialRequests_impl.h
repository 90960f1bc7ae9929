#pragma once

#include "core/src/registry/requests/RequestRows.h"
#include "core/src/registry/requests/SocialRequests.h"

namespace registry {

namespace social_detail {

inline const RequestRow& FinalizeRowOf(const CustomerRegistrationFinalizeParams& params) {
    return kCustomerRegistrationFinalizeRows[params.accessToken.empty() ? 0 : 1];
}

}  // namespace social_detail

template <class Api>
AuthorizeViaSocialRequest<Api>::AuthorizeViaSocialRequest(const AuthorizeViaSocialParams& params)
    : CatalogueRequest<Api>(kAuthorizeViaSocialRow, params.baseUrl) {
    this->url += params.providerKey + "?access_token=" + params.accessToken;
    this->Finish();
}

template <class Api>
AuthorizeViaSocialDesktopRequest<Api>::AuthorizeViaSocialDesktopRequest(const SocialCodeParams& params)
    : CatalogueRequest<Api>(kAuthorizeViaSocialDesktopRow, params.baseUrl) {
    this->FinishWithFields({{"code", params.code}});
}

template <class Api>
BusinessAuthorizeViaSocialDesktopRequest<Api>::BusinessAuthorizeViaSocialDesktopRequest(
    const SocialCodeParams& params)
    : CatalogueRequest<Api>(kBusinessAuthorizeViaSocialDesktopRow, params.baseUrl) {
    this->FinishWithFields({{"code", params.code}});
}

template <class Api>
UseDynamicContextRequest<Api>::UseDynamicContextRequest(const SocialCodeParams& params)
    : CatalogueRequest<Api>(kUseDynamicContextRow, params.baseUrl) {
    const portable_stl::string business = "business";
    this->FinishWithFields({{"code", params.code}, {"context", business}});
}

template <class Api>
CustomerRegistrationFinalizeRequest<Api>::CustomerRegistrationFinalizeRequest(
    const CustomerRegistrationFinalizeParams& params)
    : CatalogueRequest<Api>(social_detail::FinalizeRowOf(params), params.baseUrl) {
    json::JsonNode root;
    if (params.accessToken.empty()) {
        json::AddChild(root, "code", params.code, true);
    } else {
        json::AddChild(root, "accessToken", params.accessToken, true);
        json::AddChild(root, "providerKey", params.providerKey, true);
    }
    if (!params.cause.empty())
        json::AddChild(root, "cause", params.cause, true);
    this->FinishWithBody(root);
}

template <class Api>
SocialProvidersListRequest<Api>::SocialProvidersListRequest(const SocialProvidersListParams& params)
    : CatalogueRequest<Api>(kSocialProvidersListRow, params.baseUrl) {
    this->Finish();
}

}  // namespace registry
