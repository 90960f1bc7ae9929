#include "core/src/core/Md5Hex.h"

#include "core/src/core/Md5Hex_impl.h"
#include "core/src/system/SystemApi.h"

namespace quillmarkclient_core {

template portable_stl::string Md5Hex<SystemApi>(const portable_stl::string&, void*);

}  // namespace quillmarkclient_core
