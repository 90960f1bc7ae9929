// What a session asks about its user and about the ways to sign in.
#pragma once

#include "core/src/registry/RecordBodies.h"
#include "core/src/registry/RegistryClient.h"
#include "core/src/registry/SendAndCheck.h"
#include "core/src/registry/requests/ContextRequests.h"
#include "core/src/registry/requests/InformationRequests.h"
#include "core/src/registry/requests/SocialRequests.h"

namespace registry {

template <class Api>
ResultCode RegistryClient<Api>::GetCustomerInfo(CustomerInfo& info, ServiceErrorInfo* errorInfo,
                                                void* context) {
    portable_stl::unique_ptr<Request<Api>> request =
        portable_stl::make_unique<GetCustomerInfoRequest<Api>>(GetCustomerInfoParams{baseUrl});
    portable_stl::string responseBody;
    if (const auto code = SendAndCheck(*this, request, responseBody, errorInfo, context); !IsSuccess(code))
        return code;
    return ReadCustomerInfo(responseBody, info);
}

template <class Api>
ResultCode RegistryClient<Api>::GetTrustRecords(portable_stl::vector<TrustRecord>& records,
                                                ServiceErrorInfo* errorInfo, void* context) {
    TrusteeTrustsParams params;
    params.baseUrl = baseUrl;
    portable_stl::unique_ptr<Request<Api>> request =
        portable_stl::make_unique<TrusteeTrustsRequest<Api>>(params);
    portable_stl::string responseBody;
    if (const auto code = SendAndCheck(*this, request, responseBody, errorInfo, context); !IsSuccess(code))
        return code;
    return ReadTrustRecords(responseBody, records);
}

template <class Api>
ResultCode RegistryClient<Api>::GetSocialProviders(portable_stl::string& text, char separator,
                                                   ServiceErrorInfo* errorInfo, void* context) {
    portable_stl::unique_ptr<Request<Api>> request =
        portable_stl::make_unique<SocialProvidersListRequest<Api>>(SocialProvidersListParams{baseUrl});
    portable_stl::string responseBody;
    if (const auto code = SendAndCheck(*this, request, responseBody, errorInfo, context); !IsSuccess(code))
        return code;
    return ReadSocialProviders(responseBody, separator, text);
}

}  // namespace registry
