#include "core/src/registry/requests/SignInRequests.h"

#include "core/src/registry/requests/SignInRequests_impl.h"
#include "core/src/system/SystemApi.h"

namespace registry {

template class CustomerAuthorizeRequest<quillmarkclient_core::SystemApi>;
template class CustomerAuthorize2FARequest<quillmarkclient_core::SystemApi>;
template class BusinessAuthorizeRequest<quillmarkclient_core::SystemApi>;
template class PrincipalAdminAuthorizeRequest<quillmarkclient_core::SystemApi>;
template class AuthorizeViaIdentityRequest<quillmarkclient_core::SystemApi>;

}  // namespace registry
