#pragma once

#include "core/src/registry/ContextlessRegistryClient.h"

namespace registry {

template <class Api>
ContextlessRegistryClient<Api>::~ContextlessRegistryClient() = default;

template <class Api>
ResultCode ContextlessRegistryClient<Api>::AuthorizeSecondFactor(
    const portable_stl::string& /*challengeToken*/, const portable_stl::string& /*code*/,
    ServiceErrorInfo* /*errorInfo*/, void* /*context*/) {
    return ResultCode::kNotImplemented;
}

template <class Api>
ResultCode ContextlessRegistryClient<Api>::SelectContext(std::uint32_t /*mode*/,
                                                         const portable_stl::string& /*trustorId*/,
                                                         ServiceErrorInfo* /*errorInfo*/, void* /*context*/) {
    return ResultCode::kNotImplemented;
}

template <class Api>
ResultCode ContextlessRegistryClient<Api>::GetContexts(portable_stl::vector<ContextEntry>& /*contexts*/,
                                                       ServiceErrorInfo* /*errorInfo*/, void* /*context*/) {
    return ResultCode::kNotImplemented;
}

template <class Api>
ResultCode ContextlessRegistryClient<Api>::AuthorizeSocialToken(const portable_stl::string& /*providerKey*/,
                                                                const portable_stl::string& /*accessToken*/,
                                                                const portable_stl::string& /*cause*/,
                                                                ServiceErrorInfo* /*errorInfo*/,
                                                                void* /*context*/) {
    return ResultCode::kNotImplemented;
}

template <class Api>
ResultCode ContextlessRegistryClient<Api>::AuthorizeSocialToken(const portable_stl::string& /*providerKey*/,
                                                                const portable_stl::string& /*accessToken*/,
                                                                ServiceErrorInfo* /*errorInfo*/,
                                                                void* /*context*/) {
    return ResultCode::kNotImplemented;
}

template <class Api>
ResultCode ContextlessRegistryClient<Api>::AuthorizeSocialCode(const portable_stl::string& /*code*/,
                                                               std::uint32_t /*flow*/,
                                                               const portable_stl::string& /*cause*/,
                                                               ServiceErrorInfo* /*errorInfo*/,
                                                               void* /*context*/) {
    return ResultCode::kNotImplemented;
}

template <class Api>
ResultCode ContextlessRegistryClient<Api>::AuthorizeSocialCode(const portable_stl::string& /*code*/,
                                                               std::uint32_t /*flow*/,
                                                               ServiceErrorInfo* /*errorInfo*/,
                                                               void* /*context*/) {
    return ResultCode::kNotImplemented;
}

template <class Api>
ResultCode ContextlessRegistryClient<Api>::AcquireContextToken(std::uint32_t /*mode*/,
                                                               const portable_stl::string& /*trustorId*/,
                                                               ServiceErrorInfo* /*errorInfo*/,
                                                               void* /*context*/) {
    return ResultCode::kSuccess;
}

}  // namespace registry
