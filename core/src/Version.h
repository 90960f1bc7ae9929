#pragma once

#include <cstdint>

namespace quillmarkclient {

inline constexpr std::uint32_t kVersionMajor = 1;
inline constexpr std::uint32_t kVersionMinor = 2;
inline constexpr std::uint32_t kVersionBuild = 1;

/// The library's version: major in bits 24-31, minor in 16-23, build in 8-15, the low byte zero.
inline constexpr std::uint32_t kLibraryVersion =
    kVersionMajor << 24 | kVersionMinor << 16 | kVersionBuild << 8;
static_assert(kLibraryVersion == 0x01020100);

}  // namespace quillmarkclient
