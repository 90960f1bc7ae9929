#pragma once

#include "core/src/registry/ServiceErrorInfo.h"
#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace registry {

// Reads the raw header block of an answer. The status line is a line like any other: it counts when it holds
// a colon, by accident. Both take time linear in the block.

/// The lines that have a colon, in their order: the name in front of the first colon, the value behind it
/// without leading blanks. Nothing else is trimmed but one carriage return at the line's end.
[[nodiscard]] portable_stl::vector<NameValue> ParseResponseHeaders(
    const portable_stl::string& responseHeaders);

/// The value of the first header of that name in any ASCII case. False, and `value` as it was, without one.
[[nodiscard]] bool FindResponseHeader(const portable_stl::string& responseHeaders, const char* name,
                                      portable_stl::string& value);

}  // namespace registry
