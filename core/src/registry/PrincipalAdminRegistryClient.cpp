#include "core/src/registry/PrincipalAdminRegistryClient.h"

#include "core/src/registry/PrincipalAdminRegistryClient_impl.h"
#include "core/src/system/SystemApi.h"

namespace registry {

template class PrincipalAdminRegistryClient<quillmarkclient_core::SystemApi>;

}  // namespace registry
