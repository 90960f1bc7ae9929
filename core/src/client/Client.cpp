#include "core/src/client/Client.h"

#include "core/src/client/Client_impl.h"
#include "core/src/client/PrincipalAdmins_impl.h"
#include "core/src/client/Reports_impl.h"
#include "core/src/client/Tickets_impl.h"
#include "core/src/client/UpdateCheck_impl.h"
#include "core/src/system/SystemApi.h"

namespace quillmarkclient_core {

template class Client<SystemApi>;

}  // namespace quillmarkclient_core
