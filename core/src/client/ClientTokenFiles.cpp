// The token files' operations on the library's own session. They stand here because the cipher's floor, where
// the files' formats are, does not know the session.
#include "core/src/client/Client.h"
#include "core/src/core/TokenFiles.h"
#include "core/src/core/TokenFiles_impl.h"
#include "core/src/system/SystemApi.h"

namespace quillmarkclient_core {

using Session = Client<SystemApi>;

template ResultCode LoadContextFile(Session&, void*);
template ResultCode LoadIdentityFile(Session&, registry::ServiceErrorInfo*, void*);
template void StoreIdentityFile(Session&, const portable_stl::string&, std::uint32_t,
                                const portable_stl::string&, void*);
template void StoreContextFile(Session&, const portable_stl::string&, void*);

}  // namespace quillmarkclient_core
