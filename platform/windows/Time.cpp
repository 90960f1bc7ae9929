#include "platform/windows/Time.h"

#include <windows.h>

#include "core/src/ResultCode.h"

namespace quillmarkclient_windows {
namespace {

// A file time counts units of 100 ns from the start of 1601.
constexpr std::uint64_t kFileTimeUnitsPerSecond = 10'000'000;
constexpr std::uint64_t kSecondsFrom1601To1970 = 11'644'473'600;

}  // namespace

std::uint32_t Sleep(std::uint32_t milliseconds, void* /*context*/) {
    ::Sleep(milliseconds);
    return static_cast<std::uint32_t>(ResultCode::kSuccess);
}

std::uint32_t GetTime(std::uint64_t* seconds, void* /*context*/) {
    SYSTEMTIME now{};
    FILETIME time{};
    if (!seconds)
        return static_cast<std::uint32_t>(ResultCode::kGetTime);
    GetSystemTime(&now);
    if (!SystemTimeToFileTime(&now, &time))
        return static_cast<std::uint32_t>(ResultCode::kGetTime);
    const std::uint64_t units = std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
    *seconds = units / kFileTimeUnitsPerSecond - kSecondsFrom1601To1970;
    return static_cast<std::uint32_t>(ResultCode::kSuccess);
}

}  // namespace quillmarkclient_windows
