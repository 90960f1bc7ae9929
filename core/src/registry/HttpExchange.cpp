#include "core/src/registry/HttpExchange.h"

#include "core/src/registry/HttpExchange_impl.h"
#include "core/src/system/SystemApi.h"

namespace registry {

template ResultCode HttpExchange<quillmarkclient_core::SystemApi>(const portable_stl::string&,
                                                                  const portable_stl::string&,
                                                                  const portable_stl::vector<NameValue>&,
                                                                  const portable_stl::string&, std::uint32_t,
                                                                  std::uint32_t&, portable_stl::string&,
                                                                  portable_stl::string&, void*);

}  // namespace registry
