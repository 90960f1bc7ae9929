#pragma once

#include <cstddef>

namespace test {

// How many bytes of a block of malloc's may be looked at: at least those that were asked for. Allocates
// nothing.
[[nodiscard]] std::size_t BlockSize(const void* block) noexcept;

}  // namespace test
