#pragma once

#include <cstdint>

// What the file rows of the platform table are made of on every system.
namespace quillmarkclient_common {

enum class Access { kRead, kReadWrite };
enum class Missing { kFail, kCreate };

// Fills an output that the caller may have left out.
inline void Store(std::uint32_t value, std::uint32_t* out) {
    if (out)
        *out = value;
}

}  // namespace quillmarkclient_common
