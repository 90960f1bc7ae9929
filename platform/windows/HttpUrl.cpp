#include "platform/windows/HttpUrl.h"

#include <winhttp.h>

#include <string_view>

#include "platform/common/HttpUrlParts.h"
#include "platform/windows/TextEncoding.h"

namespace quillmarkclient_windows {
namespace {

constexpr DWORD kInPlace = static_cast<DWORD>(-1);  // a length that asks for a pointer into the text

std::wstring_view Piece(const wchar_t* text, DWORD length) {
    return text ? std::wstring_view(text, length) : std::wstring_view();
}

}  // namespace

DWORD CrackHttpUrl(const char* url, HttpUrl& cracked) {
    const std::wstring text = ToUtf16(url);
    const auto checked = quillmarkclient_common::SplitHttpUrl(url);
    if (!checked)
        return ERROR_INVALID_PARAMETER;

    URL_COMPONENTS parts{};
    parts.dwStructSize = sizeof parts;
    parts.dwSchemeLength = kInPlace;
    parts.dwHostNameLength = kInPlace;
    parts.dwUserNameLength = kInPlace;
    parts.dwPasswordLength = kInPlace;
    parts.dwUrlPathLength = kInPlace;
    parts.dwExtraInfoLength = kInPlace;
    if (!WinHttpCrackUrl(text.c_str(), 0, ICU_REJECT_USERPWD, &parts)) {
        const DWORD error = GetLastError();
        return error != ERROR_SUCCESS ? error
                                      : ERROR_GEN_FAILURE;  // a failure without an error is one as well
    }
    // The system may see a user where the check saw none, and take no notice of its own flag.
    if (parts.dwUserNameLength != 0 || parts.dwPasswordLength != 0)
        return ERROR_INVALID_PARAMETER;

    cracked.secure = checked->secure;
    cracked.host = Piece(parts.lpszHostName, parts.dwHostNameLength);
    cracked.port = parts.nPort;
    cracked.target = Piece(parts.lpszUrlPath, parts.dwUrlPathLength);
    cracked.target += Piece(parts.lpszExtraInfo, parts.dwExtraInfoLength);
    return ERROR_SUCCESS;
}

}  // namespace quillmarkclient_windows
