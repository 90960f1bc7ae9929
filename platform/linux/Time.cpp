#include "platform/linux/Time.h"

#include <cerrno>
#include <ctime>

#include "core/src/ResultCode.h"

namespace quillmarkclient_linux {
namespace {

constexpr long kNanosecondsPerSecond = 1'000'000'000;
constexpr long kNanosecondsPerMillisecond = 1'000'000;

}  // namespace

std::uint32_t Sleep(std::uint32_t milliseconds, void* /*context*/) {
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += static_cast<time_t>(milliseconds / 1000);
    end.tv_nsec += static_cast<long>(milliseconds % 1000) * kNanosecondsPerMillisecond;
    if (end.tv_nsec >= kNanosecondsPerSecond) {
        end.tv_nsec -= kNanosecondsPerSecond;
        ++end.tv_sec;
    }
    // The end is a point in time, so a signal costs nothing and adds nothing.
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
    return static_cast<std::uint32_t>(ResultCode::kSuccess);
}

std::uint32_t GetTime(std::uint64_t* seconds, void* /*context*/) {
    timespec now{};
    if (!seconds || clock_gettime(CLOCK_REALTIME, &now) != 0 || now.tv_sec < 0)
        return static_cast<std::uint32_t>(ResultCode::kGetTime);
    *seconds = static_cast<std::uint64_t>(now.tv_sec);
    return static_cast<std::uint32_t>(ResultCode::kSuccess);
}

}  // namespace quillmarkclient_linux
