// The requests that read something about the signed-in account.
#pragma once

#include "core/src/registry/requests/CatalogueRequest.h"

namespace registry {

struct GetCustomerInfoParams {
    portable_stl::string baseUrl;
};

/// The user's details. Answers with an object of the fields of CustomerInfo.
template <class Api>
class GetCustomerInfoRequest final : public CatalogueRequest<Api> {
public:
    explicit GetCustomerInfoRequest(const GetCustomerInfoParams& params);
};

}  // namespace registry
