#include "core/src/registry/RetryWait.h"

#include <limits>

namespace registry {
namespace {

constexpr std::uint32_t kMillisecondsPerSecond = 1000;
constexpr std::uint32_t kLargestNumber = std::numeric_limits<std::int32_t>::max();

// 0 for what is no positive number of 31 bits.
std::uint32_t ParseSeconds(const portable_stl::string& text) noexcept {
    std::uint32_t seconds = 0;
    for (const char character : text) {
        if (character < '0' || character > '9')
            return 0;
        const auto digit = static_cast<std::uint32_t>(character - '0');
        if (seconds > (kLargestNumber - digit) / 10)
            return 0;
        seconds = seconds * 10 + digit;
    }
    return seconds;
}

std::uint32_t Smaller(std::uint32_t left, std::uint32_t right) noexcept {
    return left < right ? left : right;
}

}  // namespace

std::uint32_t ComputeRetryWait(const portable_stl::string& retryAfter, const RetryPolicy& policy) noexcept {
    const std::uint32_t seconds = ParseSeconds(retryAfter);
    if (seconds == 0)
        return Smaller(policy.idempotencyWaitMs, policy.idempotencyWaitCapMs);
    const std::uint32_t milliseconds = seconds * kMillisecondsPerSecond;  // modulo 2^32
    // The floor is not cut to a lower cap here.
    if (milliseconds < policy.idempotencyWaitMs)
        return policy.idempotencyWaitMs;
    return Smaller(milliseconds, policy.idempotencyWaitCapMs);
}

}  // namespace registry
