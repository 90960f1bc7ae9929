#pragma once

#include <cstdint>

#include "portable_stl/string.h"

namespace quillmarkclient_core {

/// The number's decimal digits, "0" for zero, behind a "-" when it is negative. The type says the width; an
/// 8-bit number is promoted and read as a number.
[[nodiscard]] portable_stl::string ToDecimal(std::int32_t number);
[[nodiscard]] portable_stl::string ToDecimal(std::uint32_t number);
[[nodiscard]] portable_stl::string ToDecimal(std::uint64_t number);

}  // namespace quillmarkclient_core
