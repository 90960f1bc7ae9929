#pragma once

#include "core/src/registry/requests/ContextRequests.h"
#include "core/src/registry/requests/RequestRows.h"

namespace registry {

template <class Api>
CustomerContextRequest<Api>::CustomerContextRequest(const CustomerContextParams& params)
    : CatalogueRequest<Api>(kCustomerContextRow, params.baseUrl) {
    this->Finish();
}

template <class Api>
CustomerTrustTokenRequest<Api>::CustomerTrustTokenRequest(const CustomerTrustTokenParams& params)
    : CatalogueRequest<Api>(kCustomerTrustTokenRow, params.baseUrl) {
    this->FinishWithFields({{"trustorId", params.trustorId}});
}

template <class Api>
TrusteeTrustsRequest<Api>::TrusteeTrustsRequest(const TrusteeTrustsParams& params)
    : CatalogueRequest<Api>(kTrusteeTrustsRow, params.baseUrl) {
    this->url += "?WithDetails=";
    this->url += params.withDetails ? "true" : "false";
    this->url += "&WithRights=";
    this->url += params.withRights ? "true" : "false";
    this->url += "&level=" + params.level;
    this->Finish();
}

}  // namespace registry
