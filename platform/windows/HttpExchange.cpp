#include "platform/windows/HttpExchange.h"

#include <array>

#include "platform/windows/TextEncoding.h"

namespace quillmarkclient_windows {
namespace {

constexpr wchar_t kAgent[] = L"ABClient_HInternet";
constexpr DWORD kAutomaticProxy = 4;  // WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY, from Windows 8.1 on
constexpr DWORD kAsLongAsItIs = static_cast<DWORD>(-1);
constexpr DWORD kLowSecurityLevel = 1;  // of the logon, WINHTTP_AUTOLOGON_SECURITY_LEVEL_LOW
constexpr DWORD kNeverRedirect = 0;     // WINHTTP_OPTION_REDIRECT_POLICY_NEVER
constexpr DWORD kSecureProtocols =
    2720;  // SSL 3.0, TLS 1.0, TLS 1.1, TLS 1.2; what the system refuses stays refused
constexpr std::uint32_t kBodyPieceBytes = 4096;  // a file is never wholly in memory

bool IsWindows8OrLater() {
    OSVERSIONINFOEXW wanted{};
    wanted.dwOSVersionInfoSize = sizeof wanted;
    wanted.dwMajorVersion = 6;
    wanted.dwMinorVersion = 2;
    DWORDLONG conditions = 0;
    for (const DWORD what : {VER_MAJORVERSION, VER_MINORVERSION, VER_SERVICEPACKMAJOR})
        conditions = VerSetConditionMask(conditions, what, VER_GREATER_EQUAL);
    return VerifyVersionInfoW(&wanted, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR,
                              conditions) != FALSE;
}

// Of the step that has just failed. What is wrong with a URL is the caller's fault, whichever call finds it.
DWORD SetUpError(DWORD error = GetLastError()) {
    if (error == ERROR_SUCCESS)
        return ERROR_GEN_FAILURE;  // a failure that left no error is one all the same
    const bool isOfUrl = error == ERROR_WINHTTP_INVALID_URL || error == ERROR_WINHTTP_UNRECOGNIZED_SCHEME;
    return isOfUrl ? ERROR_INVALID_PARAMETER : error;
}

HINTERNET Open(DWORD accessType) {
    return WinHttpOpen(kAgent, accessType, WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0);
}

bool SetNumber(const HttpHandle& handle, DWORD option, DWORD value) {
    return WinHttpSetOption(handle.Get(), option, &value, sizeof value) != FALSE;
}

}  // namespace

DWORD HttpExchange::OpenSession() {
    const bool hasAutomaticProxy = IsWindows8OrLater();
    session_.Reset(Open(hasAutomaticProxy ? kAutomaticProxy : WINHTTP_ACCESS_TYPE_DEFAULT_PROXY));
    // Windows 8.0 is asked as well, though it knows no such type: the second open is the answer there.
    if (!session_ && hasAutomaticProxy)
        session_.Reset(Open(WINHTTP_ACCESS_TYPE_DEFAULT_PROXY));
    return session_ ? ERROR_SUCCESS : SetUpError();
}

DWORD HttpExchange::OpenConnection(const char* method, const char* url, const HttpTimeouts& timeouts) {
    HttpUrl target;
    if (const DWORD error = CrackHttpUrl(url, target); error != ERROR_SUCCESS)
        return SetUpError(error);
    if (const DWORD error = OpenSession(); error != ERROR_SUCCESS)
        return error;
    connection_.Reset(WinHttpConnect(session_.Get(), target.host.c_str(), target.port, 0));
    if (!connection_)
        return SetUpError();
    const std::wstring verb = ToUtf16(method);  // outlives the call, whose error is read next
    const DWORD flags = WINHTTP_FLAG_BYPASS_PROXY_CACHE | (target.secure ? WINHTTP_FLAG_SECURE : 0);
    request_.Reset(WinHttpOpenRequest(connection_.Get(), verb.c_str(), target.target.c_str(), nullptr,
                                      WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES, flags));
    if (!request_ || !WinHttpSetTimeouts(request_.Get(), timeouts.resolveMs, timeouts.connectMs,
                                         timeouts.sendMs, timeouts.receiveMs))
        return SetUpError();
    return ERROR_SUCCESS;
}

bool HttpExchange::AddHeader(const std::string& line) {
    return WinHttpAddRequestHeaders(request_.Get(), ToUtf16(line.c_str()).c_str(), kAsLongAsItIs,
                                    WINHTTP_ADDREQ_FLAG_ADD) != FALSE;
}

bool HttpExchange::SetOptions(std::uint32_t flags) const {
    return SetNumber(request_, WINHTTP_OPTION_AUTOLOGON_POLICY, kLowSecurityLevel) &&
           ((flags & kHttpNoRedirects) == 0 ||
            SetNumber(request_, WINHTTP_OPTION_REDIRECT_POLICY, kNeverRedirect)) &&
           SetNumber(session_, WINHTTP_OPTION_SECURE_PROTOCOLS, kSecureProtocols);
}

bool HttpExchange::SendBody(HttpBody* body, std::uint32_t flags, std::uint32_t& status) {
    const std::uint32_t size = body ? body->GetSize() : 0;
    if (!SetOptions(flags) || !AddHeader("Content-Length: " + std::to_string(size)))
        return false;
    // The length is told by the header alone.
    if (!WinHttpSendRequest(request_.Get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0, 0,
                            0))
        return false;
    if (size != 0 && !WriteBody(*body))
        return false;
    DWORD number = 0;
    DWORD numberSize = sizeof number;
    if (!WinHttpReceiveResponse(request_.Get(), nullptr) ||
        !WinHttpQueryHeaders(request_.Get(), WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                             WINHTTP_HEADER_NAME_BY_INDEX, &number, &numberSize, WINHTTP_NO_HEADER_INDEX))
        return false;
    status = number;
    return true;
}

// A body that fails or ends early is sent as far as it went; the server, which was told another length,
// answers as it likes.
bool HttpExchange::WriteBody(HttpBody& body) const {
    for (;;) {
        std::array<char, kBodyPieceBytes> piece{};
        std::uint32_t count = 0;
        if (body.Read(piece.data(), kBodyPieceBytes, &count) != HttpBodyRead::kData)
            return true;
        DWORD written = 0;
        if (!WinHttpWriteData(request_.Get(), piece.data(), count, &written))
            return false;
    }
}

bool HttpExchange::ReadBody(std::size_t limit, std::string& body) const {
    for (;;) {
        DWORD available = 0;
        if (!WinHttpQueryDataAvailable(request_.Get(), &available))
            return false;
        if (available == 0)
            return true;
        const std::size_t size = body.size();
        if (available > limit - size)
            return false;
        body.resize(size + available);
        DWORD count = 0;  // what is available comes whole
        if (!WinHttpReadData(request_.Get(), body.data() + size, available, &count))
            return false;
    }
}

bool HttpExchange::QueryRawHeaders(std::optional<std::string>& head) const {
    DWORD size = 0;  // in bytes, the terminating zero included
    if (WinHttpQueryHeaders(request_.Get(), WINHTTP_QUERY_RAW_HEADERS_CRLF, WINHTTP_HEADER_NAME_BY_INDEX,
                            WINHTTP_NO_OUTPUT_BUFFER, &size, WINHTTP_NO_HEADER_INDEX) ||
        GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return true;
    std::wstring text(size / sizeof(wchar_t), L'\0');
    if (!WinHttpQueryHeaders(request_.Get(), WINHTTP_QUERY_RAW_HEADERS_CRLF, WINHTTP_HEADER_NAME_BY_INDEX,
                             text.data(), &size, WINHTTP_NO_HEADER_INDEX))
        return false;
    text.resize(size / sizeof(wchar_t));
    head = ToUtf8(text);
    return true;
}

}  // namespace quillmarkclient_windows
