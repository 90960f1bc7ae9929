#pragma once

namespace quillmarkclient_common {

// Throws std::range_error("bad conversion") when `text` is not valid UTF-8 (RFC 3629, section 4: no overlong
// forms, no surrogates, nothing above U+10FFFF).
//
// Some systems would take any bytes, others must convert. One rule for all of them: a host that passes text
// in a local encoding finds out on each.
void RequireUtf8(const char* text);

}  // namespace quillmarkclient_common
