// The pass that runs before the reader: turns \uXXXX sequences into UTF-8.
#pragma once

#include "portable_stl/string.h"

namespace json {

// Replaces `out` by `text` with every escape decoded, and returns true.
//
// False when the text is to be read as it stands, and `out` is then untouched: it has no escape, or one of
// its escapes is bad, in which case the good ones stay as well. An escape begins at every backslash that is
// directly followed by `u`, inside or outside a string and whatever stands before it. It is bad without
// four hexadecimal digits, or as a high surrogate that no low one follows at once; a low surrogate alone
// is good.
[[nodiscard]] bool DecodeUnicodeEscapes(const portable_stl::string& text, portable_stl::string& out);

}  // namespace json
