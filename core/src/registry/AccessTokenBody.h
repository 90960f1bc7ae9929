#pragma once

#include "core/src/ResultCode.h"
#include "portable_stl/string.h"

namespace registry {

/// The member accessToken of an answer's body. kCompatibilityBroken, and `text` as it was, when the body is
/// no JSON or has no such member.
[[nodiscard]] ResultCode ReadAccessToken(const portable_stl::string& responseBody,
                                         portable_stl::string& text);

}  // namespace registry
