#include "core/src/registry/requests/CatalogueRequest.h"

#include "core/src/registry/requests/CatalogueRequest_impl.h"
#include "core/src/system/SystemApi.h"

namespace registry {

template class CatalogueRequest<quillmarkclient_core::SystemApi>;

}  // namespace registry
