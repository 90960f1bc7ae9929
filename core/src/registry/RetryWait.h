#pragma once

#include <cstdint>

#include "core/src/registry/Records.h"
#include "portable_stl/string.h"

namespace registry {

/// How long to wait, in milliseconds, before the request that the service is still working on is repeated.
///
/// \param retryAfter  the value of the answer's "Retry-After". A positive decimal number of at most 31 bits
///                    counts as seconds: below `idempotencyWaitMs` the wait is that, even where the cap is
///                    lower, else it is cut to `idempotencyWaitCapMs`. The product is taken modulo 2^32, so
///                    4294968 seconds are 704 ms. Everything else, an HTTP date and a number with a
///                    sign included, is worth the floor, cut to the cap
[[nodiscard]] std::uint32_t ComputeRetryWait(const portable_stl::string& retryAfter,
                                             const RetryPolicy& policy) noexcept;

}  // namespace registry
