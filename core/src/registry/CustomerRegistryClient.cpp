#include "core/src/registry/CustomerRegistryClient.h"

#include "core/src/registry/CustomerRegistryClient_impl.h"
#include "core/src/registry/CustomerSignIn_impl.h"
#include "core/src/registry/CustomerSocialSignIn_impl.h"
#include "core/src/system/SystemApi.h"

namespace registry {

template class CustomerRegistryClient<quillmarkclient_core::SystemApi>;

}  // namespace registry
