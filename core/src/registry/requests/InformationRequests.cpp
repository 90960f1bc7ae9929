#include "core/src/registry/requests/InformationRequests.h"

#include "core/src/registry/requests/InformationRequests_impl.h"
#include "core/src/system/SystemApi.h"

namespace registry {

template class GetCustomerInfoRequest<quillmarkclient_core::SystemApi>;

}  // namespace registry
