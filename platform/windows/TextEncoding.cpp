#include "platform/windows/TextEncoding.h"

#include <windows.h>

#include <limits>
#include <stdexcept>

#include "platform/common/Utf8.h"

namespace quillmarkclient_windows {
namespace {

constexpr UINT kUtf8 = 65001;
static_assert(kUtf8 == CP_UTF8);

int Length(std::size_t size) {
    if (size > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw std::length_error("text");
    return static_cast<int>(size);
}

}  // namespace

std::wstring ToUtf16(const char* text) {
    quillmarkclient_common::RequireUtf8(text);
    const int size = Length(std::string_view(text).size());
    const int needed = MultiByteToWideChar(kUtf8, 0, text, size, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(needed), L'\0');
    MultiByteToWideChar(kUtf8, 0, text, size, wide.data(), needed);
    return wide;
}

std::string ToUtf8(std::wstring_view text) {
    const int size = Length(text.size());
    const int needed = WideCharToMultiByte(kUtf8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(needed), '\0');
    WideCharToMultiByte(kUtf8, 0, text.data(), size, bytes.data(), needed, nullptr, nullptr);
    return bytes;
}

}  // namespace quillmarkclient_windows
