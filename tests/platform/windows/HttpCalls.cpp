#include "tests/platform/windows/HttpCalls.h"

#include <winhttp.h>

#include <cstdint>
#include <ios>

namespace test {
namespace {

HttpCalls* Recorded() {
    return RecordOfThread<HttpCalls>();
}

template <class... Parts>
bool GoesOn(const char* name, const Parts&... parts) {
    return WriteDown<HttpCalls>(std::dec, name, parts...);
}

template <class Function>
Function* Real(Function* standIn, const char* name) {
    return FunctionOf("winhttp.dll", standIn, name);
}

std::string Name(HINTERNET handle) {
    return Recorded() ? Recorded()->names[handle] : std::string();
}

HINTERNET Named(HINTERNET handle, const char* name) {
    if (Recorded() && handle)
        Recorded()->names[handle] = name;
    return handle;
}

// How a kind of number is compared: three bits for each kind, in the order of the kinds' own bits.
int ConditionOf(int place, DWORDLONG conditions) {
    return static_cast<int>(conditions >> (3 * place) & 7);
}

// Size, version and service pack of the system that is asked for; which of these count, and how: minor, major
// and service pack.
BOOL WINAPI VerifyVersion(LPOSVERSIONINFOEXW wanted, DWORD kinds, DWORDLONG conditions) {
    static const auto real = FunctionOf("kernel32.dll", &VerifyVersion, "VerifyVersionInfoW");
    return GoesOn("VerifyVersionInfoW", wanted->dwOSVersionInfoSize, wanted->dwMajorVersion,
                  wanted->dwMinorVersion, wanted->wServicePackMajor, kinds, ConditionOf(0, conditions),
                  ConditionOf(1, conditions), ConditionOf(5, conditions)) &&
           real(wanted, kinds, conditions);
}

}  // namespace

// Where the compiler looks for an imported function. That of the import library is not linked then.
extern "C" {
decltype(&VerifyVersion) importedVerifyVersion __asm__("__imp_VerifyVersionInfoW") = &VerifyVersion;
}

}  // namespace test

using test::GoesOn;
using test::Name;
using test::Named;
using test::Real;
using test::Recorded;
using test::Text;

extern "C" {

BOOL WINAPI WinHttpCrackUrl(LPCWSTR url, DWORD length, DWORD flags, LPURL_COMPONENTS parts) {
    static const auto real = Real(&WinHttpCrackUrl, "WinHttpCrackUrl");
    if (!GoesOn("WinHttpCrackUrl", Text(url), flags) || !real(url, length, flags, parts))
        return FALSE;
    if (Recorded()) {
        parts->dwUserNameLength += Recorded()->userLength;
        parts->dwPasswordLength += Recorded()->passwordLength;
    }
    return TRUE;
}

HINTERNET WINAPI WinHttpOpen(LPCWSTR agent, DWORD access, LPCWSTR proxy, LPCWSTR bypass, DWORD flags) {
    static const auto real = Real(&WinHttpOpen, "WinHttpOpen");
    if (!GoesOn("WinHttpOpen", Text(agent), access, Text(proxy), Text(bypass), flags))
        return nullptr;
    return Named(real(agent, access, proxy, bypass, flags), "session");
}

HINTERNET WINAPI WinHttpConnect(HINTERNET session, LPCWSTR host, INTERNET_PORT port, DWORD reserved) {
    static const auto real = Real(&WinHttpConnect, "WinHttpConnect");
    if (!GoesOn("WinHttpConnect", Name(session), Text(host), port))
        return nullptr;
    return Named(real(session, host, port, reserved), "connection");
}

HINTERNET WINAPI WinHttpOpenRequest(HINTERNET connection, LPCWSTR method, LPCWSTR target, LPCWSTR version,
                                    LPCWSTR referrer, LPCWSTR* types, DWORD flags) {
    static const auto real = Real(&WinHttpOpenRequest, "WinHttpOpenRequest");
    if (!GoesOn("WinHttpOpenRequest", Name(connection), Text(method), Text(target), Text(version),
                Text(referrer), types ? "types" : "(none)", flags))
        return nullptr;
    return Named(real(connection, method, target, version, referrer, types, flags), "request");
}

BOOL WINAPI WinHttpSetTimeouts(HINTERNET handle, int resolve, int connect, int send, int receive) {
    static const auto real = Real(&WinHttpSetTimeouts, "WinHttpSetTimeouts");
    return GoesOn("WinHttpSetTimeouts", Name(handle), resolve, connect, send, receive) &&
           real(handle, resolve, connect, send, receive);
}

BOOL WINAPI WinHttpAddRequestHeaders(HINTERNET handle, LPCWSTR text, DWORD length, DWORD modifiers) {
    static const auto real = Real(&WinHttpAddRequestHeaders, "WinHttpAddRequestHeaders");
    return GoesOn("WinHttpAddRequestHeaders", Name(handle), Text(text), static_cast<std::int32_t>(length),
                  modifiers) &&
           real(handle, text, length, modifiers);
}

// Every option that the transport sets is a number.
BOOL WINAPI WinHttpSetOption(HINTERNET handle, DWORD option, LPVOID value, DWORD size) {
    static const auto real = Real(&WinHttpSetOption, "WinHttpSetOption");
    return GoesOn("WinHttpSetOption", Name(handle), option, *static_cast<DWORD*>(value), size) &&
           real(handle, option, value, size);
}

BOOL WINAPI WinHttpSendRequest(HINTERNET handle, LPCWSTR headers, DWORD headersLength, LPVOID data,
                               DWORD dataLength, DWORD total, DWORD_PTR context) {
    static const auto real = Real(&WinHttpSendRequest, "WinHttpSendRequest");
    return GoesOn("WinHttpSendRequest", Name(handle), Text(headers), headersLength, data ? "data" : "(none)",
                  dataLength, total) &&
           real(handle, headers, headersLength, data, dataLength, total, context);
}

BOOL WINAPI WinHttpWriteData(HINTERNET handle, LPCVOID data, DWORD size, LPDWORD written) {
    static const auto real = Real(&WinHttpWriteData, "WinHttpWriteData");
    return GoesOn("WinHttpWriteData", Name(handle), size) && real(handle, data, size, written);
}

BOOL WINAPI WinHttpReceiveResponse(HINTERNET handle, LPVOID reserved) {
    static const auto real = Real(&WinHttpReceiveResponse, "WinHttpReceiveResponse");
    return GoesOn("WinHttpReceiveResponse", Name(handle)) && real(handle, reserved);
}

BOOL WINAPI WinHttpQueryHeaders(HINTERNET handle, DWORD level, LPCWSTR name, LPVOID buffer, LPDWORD size,
                                LPDWORD index) {
    static const auto real = Real(&WinHttpQueryHeaders, "WinHttpQueryHeaders");
    return GoesOn("WinHttpQueryHeaders", Name(handle), level, buffer ? "whole" : "size") &&
           real(handle, level, name, buffer, size, index);
}

BOOL WINAPI WinHttpQueryDataAvailable(HINTERNET handle, LPDWORD size) {
    static const auto real = Real(&WinHttpQueryDataAvailable, "WinHttpQueryDataAvailable");
    return GoesOn("WinHttpQueryDataAvailable", Name(handle)) && real(handle, size);
}

BOOL WINAPI WinHttpReadData(HINTERNET handle, LPVOID buffer, DWORD size, LPDWORD count) {
    static const auto real = Real(&WinHttpReadData, "WinHttpReadData");
    return GoesOn("WinHttpReadData", Name(handle), size) && real(handle, buffer, size, count);
}

// The handle is closed even where the call is told to fail.
BOOL WINAPI WinHttpCloseHandle(HINTERNET handle) {
    static const auto real = Real(&WinHttpCloseHandle, "WinHttpCloseHandle");
    (void)GoesOn("WinHttpCloseHandle", Name(handle));
    return real(handle);
}

}  // extern "C"
