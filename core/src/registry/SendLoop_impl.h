// The road from a built request to the network.
#pragma once

#include "core/src/registry/HttpExchange.h"
#include "core/src/registry/RegistryClient.h"

namespace registry {

namespace send_loop_detail {

// Names this client to the service; holds nothing of the user.
inline constexpr char kClientHeaderName[] = "x-vqm-custom";
inline constexpr char kClientHeaderValue[] = "vqm-client";

}  // namespace send_loop_detail

template <class Api>
ResultCode RegistryClient<Api>::SendRequest(portable_stl::unique_ptr<Request<Api>>& request,
                                            portable_stl::string& responseBody,
                                            portable_stl::string& responseHeaders, std::uint32_t& httpCode,
                                            void* context) {
    request->SetHeader(send_loop_detail::kClientHeaderName, send_loop_detail::kClientHeaderValue);
    return SendOnce(request, responseBody, responseHeaders, httpCode, context);
}

template <class Api>
ResultCode RegistryClient<Api>::SendOnce(portable_stl::unique_ptr<Request<Api>>& request,
                                         portable_stl::string& responseBody,
                                         portable_stl::string& responseHeaders, std::uint32_t& httpCode,
                                         void* context) {
    httpCode = 0;
    const auto code =
        HttpExchange<Api>(request->GetMethod(), request->GetUrl(), request->GetHeaders(), request->GetBody(),
                          request->GetFlags(), httpCode, responseBody, responseHeaders, context);
    if (IsSuccess(code))
        return ResultCode::kSuccess;
    return code == ResultCode::kTimedOut ? ResultCode::kTimedOut : ResultCode::kRequestNotSent;
}

}  // namespace registry
