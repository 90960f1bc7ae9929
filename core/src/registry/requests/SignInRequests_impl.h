#pragma once

#include "core/src/registry/requests/RequestRows.h"
#include "core/src/registry/requests/SignInRequests.h"

namespace registry {

template <class Api>
CustomerAuthorizeRequest<Api>::CustomerAuthorizeRequest(const CustomerAuthorizeParams& params)
    : CatalogueRequest<Api>(kCustomerAuthorizeRow, params.baseUrl) {
    this->FinishWithFields({{"login", params.login}, {"password", params.password}});
}

template <class Api>
CustomerAuthorize2FARequest<Api>::CustomerAuthorize2FARequest(const CustomerAuthorize2FAParams& params)
    : CatalogueRequest<Api>(kCustomerAuthorize2FARow, params.baseUrl) {
    this->FinishWithFields({{"challengeToken", params.challengeToken}, {"code", params.code}});
}

template <class Api>
BusinessAuthorizeRequest<Api>::BusinessAuthorizeRequest(const BusinessAuthorizeParams& params)
    : CatalogueRequest<Api>(kBusinessAuthorizeRow, params.baseUrl) {
    this->FinishWithFields({{"login", params.login}, {"password", params.password}});
}

template <class Api>
PrincipalAdminAuthorizeRequest<Api>::PrincipalAdminAuthorizeRequest(
    const PrincipalAdminAuthorizeParams& params)
    : CatalogueRequest<Api>(kPrincipalAdminAuthorizeRow, params.baseUrl) {
    this->FinishWithFields({{"email", params.email}, {"password", params.password}});
}

template <class Api>
AuthorizeViaIdentityRequest<Api>::AuthorizeViaIdentityRequest(const AuthorizeViaIdentityParams& params)
    : CatalogueRequest<Api>(kAuthorizeViaIdentityRows[params.isBusiness ? 1 : 0], params.baseUrl) {
    this->FinishWithFields({{"secretKey", params.secretKey}});
}

}  // namespace registry
