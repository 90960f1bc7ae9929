#pragma once

#include "core/src/registry/SendAndCheck.h"

namespace registry {

template <class Api>
ResultCode SendAndCheck(RegistryClient<Api>& client, portable_stl::unique_ptr<Request<Api>>& request,
                        portable_stl::string& responseBody, ServiceErrorInfo* errorInfo, void* context) {
    if (!request)
        return ResultCode::kInsufficientResources;
    portable_stl::string responseHeaders;
    std::uint32_t httpCode = 0;
    if (const auto code =
            client.SendAuthorized(request, responseBody, responseHeaders, httpCode, errorInfo, context);
        !IsSuccess(code))
        return code;
    return request->CheckResponse(httpCode, responseBody, &errorInfo);
}

template <class Api>
ResultCode SendDirectlyAndCheck(RegistryClient<Api>& client, portable_stl::unique_ptr<Request<Api>>& request,
                                portable_stl::string& responseBody, ServiceErrorInfo* errorInfo,
                                void* context) {
    if (!request)
        return ResultCode::kInsufficientResources;
    portable_stl::string responseHeaders;
    std::uint32_t httpCode = 0;
    if (const auto code = client.SendRequest(request, responseBody, responseHeaders, httpCode, context);
        !IsSuccess(code))
        return code;
    return request->CheckResponse(httpCode, responseBody, &errorInfo);
}

}  // namespace registry
