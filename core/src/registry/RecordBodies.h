#pragma once

#include "core/src/ResultCode.h"
#include "core/src/registry/Records.h"
#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace registry {

// From an answer's body to the records of the session. A body that is no JSON is kCompatibilityBroken, and
// the record stays as it was.

/// Replaces `info`; a member that is missing leaves its field empty.
[[nodiscard]] ResultCode ReadCustomerInfo(const portable_stl::string& responseBody, CustomerInfo& info);

/// Replaces `records`. Whatever the root is, its children are taken as the trusts. The first one without id
/// or trustorId ends the reading with kCompatibilityBroken; those before it are in the list then.
[[nodiscard]] ResultCode ReadTrustRecords(const portable_stl::string& responseBody,
                                          portable_stl::vector<TrustRecord>& records);

/// Appends the member key of each child of the root that has one, and `separator` behind each.
[[nodiscard]] ResultCode ReadSocialProviders(const portable_stl::string& responseBody, char separator,
                                             portable_stl::string& text);

}  // namespace registry
