#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

namespace quillmarkclient_windows {

// A URL in the pieces that an exchange needs.
struct HttpUrl {
    bool secure = false;
    std::wstring host;
    std::uint16_t port = 0;
    std::wstring target;  // path, then query and what else stands behind it
};

// Takes a URL apart as callers give it. ERROR_SUCCESS; ERROR_INVALID_PARAMETER for one that
// quillmarkclient_common::SplitHttpUrl refuses, or with something in it that the system takes for a user or
// password; or why the system refused to crack it. Throws std::range_error("bad conversion") when it is not
// valid UTF-8.
[[nodiscard]] DWORD CrackHttpUrl(const char* url, HttpUrl& cracked);

}  // namespace quillmarkclient_windows
