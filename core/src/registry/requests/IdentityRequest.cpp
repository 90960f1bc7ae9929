#include "core/src/registry/requests/IdentityRequest.h"

#include "core/src/registry/requests/IdentityRequest_impl.h"
#include "core/src/system/SystemApi.h"

namespace registry {

template class IdentityRequest<quillmarkclient_core::SystemApi>;

}  // namespace registry
