#include "core/src/registry/SendAndCheck.h"

#include "core/src/registry/SendAndCheck_impl.h"
#include "core/src/system/SystemApi.h"

namespace registry {

using SystemApi = quillmarkclient_core::SystemApi;

template ResultCode SendAndCheck<SystemApi>(RegistryClient<SystemApi>&,
                                            portable_stl::unique_ptr<Request<SystemApi>>&,
                                            portable_stl::string&, ServiceErrorInfo*, void*);
template ResultCode SendDirectlyAndCheck<SystemApi>(RegistryClient<SystemApi>&,
                                                    portable_stl::unique_ptr<Request<SystemApi>>&,
                                                    portable_stl::string&, ServiceErrorInfo*, void*);

}  // namespace registry
