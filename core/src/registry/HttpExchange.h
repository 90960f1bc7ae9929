#pragma once

#include <cstdint>

#include "core/src/ResultCode.h"
#include "core/src/registry/ServiceErrorInfo.h"
#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace registry {

/// One exchange through the platform's HttpRequest.
///
/// On success the answer's blocks replace `responseBody` and `responseHeaders`, up to their first zero byte;
/// a block that is null leaves its string as it was. A failure leaves both.
/// \param httpCode  out, whatever the platform wrote
/// \return 0 or the platform's code; kNotImplemented when the table lacks the operation
template <class Api>
[[nodiscard]] ResultCode HttpExchange(const portable_stl::string& method, const portable_stl::string& url,
                                      const portable_stl::vector<NameValue>& headers,
                                      const portable_stl::string& body, std::uint32_t flags,
                                      std::uint32_t& httpCode, portable_stl::string& responseBody,
                                      portable_stl::string& responseHeaders, void* context);

}  // namespace registry
