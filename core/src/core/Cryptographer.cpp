#include "core/src/core/Cryptographer.h"

#include "core/src/core/Cryptographer_impl.h"
#include "core/src/system/SystemApi.h"

namespace quillmarkclient_core {

template class Cryptographer<SystemApi>;

template ResultCode WriteEncryptedFile<SystemApi>(const char*, const portable_stl::string&,
                                                  const portable_stl::shared_ptr<Cryptographer<SystemApi>>*,
                                                  void*);
template ResultCode ReadEncryptedFile<SystemApi>(const char*, portable_stl::string&,
                                                 const portable_stl::shared_ptr<Cryptographer<SystemApi>>*,
                                                 void*);

}  // namespace quillmarkclient_core
