#include "core/src/registry/requests/SocialRequests.h"

#include "core/src/registry/requests/SocialRequests_impl.h"
#include "core/src/system/SystemApi.h"

namespace registry {

template class AuthorizeViaSocialRequest<quillmarkclient_core::SystemApi>;
template class AuthorizeViaSocialDesktopRequest<quillmarkclient_core::SystemApi>;
template class BusinessAuthorizeViaSocialDesktopRequest<quillmarkclient_core::SystemApi>;
template class UseDynamicContextRequest<quillmarkclient_core::SystemApi>;
template class CustomerRegistrationFinalizeRequest<quillmarkclient_core::SystemApi>;
template class SocialProvidersListRequest<quillmarkclient_core::SystemApi>;

}  // namespace registry
