#include "core/src/registry/requests/ContextRequests.h"

#include "core/src/registry/requests/ContextRequests_impl.h"
#include "core/src/system/SystemApi.h"

namespace registry {

template class CustomerContextRequest<quillmarkclient_core::SystemApi>;
template class CustomerTrustTokenRequest<quillmarkclient_core::SystemApi>;
template class TrusteeTrustsRequest<quillmarkclient_core::SystemApi>;

}  // namespace registry
