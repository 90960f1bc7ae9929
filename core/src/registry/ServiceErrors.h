#pragma once

#include <cstdint>

#include "core/src/ResultCode.h"
#include "core/src/registry/ServiceErrorInfo.h"
#include "portable_stl/string.h"

namespace registry {

// The reading of the service's error bodies. Member names match in any ASCII case, values exactly; a number
// and a text of the same digits are one value. A body that is not JSON costs the details and nothing else.

/// What a refusal means: by the body first, then by the HTTP status, else `defaultCode`.
///
/// The member `status` of the body is what the rules look at; it is not compared with `httpCode`.
/// Never fails. It answers `defaultCode` as it stands, success included.
[[nodiscard]] ResultCode DecodeServiceError(std::uint32_t httpCode, const portable_stl::string& responseBody,
                                            ResultCode defaultCode);

/// Replaces the record by the detail that the body tells; by an empty record when `resultCode` is 0.
/// \return 0; kInternalError when the body is no JSON: the record then holds the two numbers alone
ResultCode FillServiceErrorInfo(ServiceErrorInfo& errorInfo, ResultCode resultCode, std::uint32_t httpCode,
                                const portable_stl::string& responseBody);

}  // namespace registry
