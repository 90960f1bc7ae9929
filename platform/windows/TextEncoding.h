#pragma once

#include <string>
#include <string_view>

// Between the core's UTF-8 and the system's UTF-16.
namespace quillmarkclient_windows {

// Throws std::range_error("bad conversion") when `text` is not valid UTF-8, see platform/common/Utf8.h.
[[nodiscard]] std::wstring ToUtf16(const char* text);

// Empty when the text gives no bytes. A surrogate without its other half becomes U+FFFD.
[[nodiscard]] std::string ToUtf8(std::wstring_view text);

}  // namespace quillmarkclient_windows
