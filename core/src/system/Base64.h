#pragma once

#include <cstddef>

#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace quillmarkclient_core {

/// The standard alphabet with `=` padding and no line breaks. Throws as the containers do.
[[nodiscard]] portable_stl::string Base64Encode(const void* bytes, std::size_t size);

/// Decodes the standard alphabet; `-` and `_` of the URL-safe one are not understood.
///
/// Bytes that are below 33 as signed numbers (blanks, controls, 0x80-0xFF) and every `=` are skipped,
/// wherever they stand; left-over bits are dropped, so a cut text is no failure.
/// \param bytes  out, replaced; empty after a failure
/// \return false when a byte lies outside the alphabet
[[nodiscard]] bool Base64Decode(const char* text, std::size_t size,
                                portable_stl::vector<unsigned char>& bytes);

}  // namespace quillmarkclient_core
