#pragma once

namespace quillmarkclient_linux {

// Throws std::range_error("bad conversion") when `path` is not valid UTF-8 (RFC 3629, section 4: no overlong
// forms, no surrogates, nothing above U+10FFFF).
//
// Linux would take any bytes. Refusing them keeps one rule for paths on every platform: elsewhere the path
// must be converted, and a host that passes text in a local encoding finds out on each of them.
void RequireUtf8(const char* path);

}  // namespace quillmarkclient_linux
