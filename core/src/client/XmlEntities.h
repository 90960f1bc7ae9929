#pragma once

#include <cstddef>

#include "portable_stl/string.h"

namespace xml {

/// Whether each & of the text begins one of the five entities: &lt; &gt; &amp; &apos; &quot;.
[[nodiscard]] bool HasValidEntities(const char* text, std::size_t length) noexcept;

/// The text with each entity replaced by its character. What comes out is not looked at again: &amp;lt; gives
/// "&lt;". For a text that HasValidEntities accepts.
[[nodiscard]] portable_stl::string DecodeEntities(const char* text, std::size_t length);

}  // namespace xml
