#include "core/src/registry/RegistryClient.h"

#include "core/src/registry/IdentityRecords_impl.h"
#include "core/src/registry/Information_impl.h"
#include "core/src/registry/RegistryClient_impl.h"
#include "core/src/registry/Renewal_impl.h"
#include "core/src/registry/SendLoop_impl.h"
#include "core/src/system/SystemApi.h"

namespace registry {

template class RegistryClient<quillmarkclient_core::SystemApi>;

}  // namespace registry
