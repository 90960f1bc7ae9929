#pragma once

#include "core/src/ResultCode.h"
#include "core/src/registry/RegistryClient.h"

namespace registry {

// A request's exchange and the meaning of its answer in one step.
//
// `request` may be null, which is how a failed allocation arrives: kInsufficientResources. `responseBody`
// takes the answer's body. A failure of the transport is returned as it is, without CheckResponse.

/// By SendAuthorized. The bearer token goes along when there is one, and a 401 renews it.
template <class Api>
[[nodiscard]] ResultCode SendAndCheck(RegistryClient<Api>& client,
                                      portable_stl::unique_ptr<Request<Api>>& request,
                                      portable_stl::string& responseBody, ServiceErrorInfo* errorInfo,
                                      void* context);

/// By SendRequest, without the token: what signs in or renews and so must not start a renewal itself, and
/// what needs nobody signed in.
template <class Api>
[[nodiscard]] ResultCode SendDirectlyAndCheck(RegistryClient<Api>& client,
                                              portable_stl::unique_ptr<Request<Api>>& request,
                                              portable_stl::string& responseBody, ServiceErrorInfo* errorInfo,
                                              void* context);

}  // namespace registry
