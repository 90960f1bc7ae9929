#include "core/src/registry/ContextlessRegistryClient.h"

#include "core/src/registry/ContextlessRegistryClient_impl.h"
#include "core/src/system/SystemApi.h"

namespace registry {

template class ContextlessRegistryClient<quillmarkclient_core::SystemApi>;

}  // namespace registry
