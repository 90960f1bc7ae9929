// The time rows of the platform table; what each promises stands in core/src/system/PlatformTable.h.
//
// Any thread. Nothing here throws.
#pragma once

#include <cstdint>

namespace quillmarkclient_windows {

std::uint32_t Sleep(std::uint32_t milliseconds, void* context);
std::uint32_t GetTime(std::uint64_t* seconds, void* context);

}  // namespace quillmarkclient_windows
