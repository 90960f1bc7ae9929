#include "core/src/registry/BusinessRegistryClient.h"

#include "core/src/registry/BusinessRegistryClient_impl.h"
#include "core/src/system/SystemApi.h"

namespace registry {

template class BusinessRegistryClient<quillmarkclient_core::SystemApi>;

}  // namespace registry
