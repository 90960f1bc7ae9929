#pragma once

#include "core/src/registry/requests/InformationRequests.h"
#include "core/src/registry/requests/RequestRows.h"

namespace registry {

template <class Api>
GetCustomerInfoRequest<Api>::GetCustomerInfoRequest(const GetCustomerInfoParams& params)
    : CatalogueRequest<Api>(kGetCustomerInfoRow, params.baseUrl) {
    this->Finish();
}

}  // namespace registry
