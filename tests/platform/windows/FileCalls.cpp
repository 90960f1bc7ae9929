#include "tests/platform/windows/FileCalls.h"

#include <cstdint>
#include <ios>

namespace test {
namespace {

FileCalls* Recorded() {
    return RecordOfThread<FileCalls>();
}

template <class Function>
Function* Real(Function* standIn, const char* name) {
    return FunctionOf("kernel32.dll", standIn, name);
}

template <class... Parts>
bool GoesOn(const char* name, const Parts&... parts) {
    return WriteDown<FileCalls>(std::hex, name, parts...);
}

bool GivesAllOnes() {
    return Recorded() && Recorded()->failing == "GetFileSize, all ones";
}

std::uint64_t OffsetOf(const OVERLAPPED* range) {
    return std::uint64_t{range->OffsetHigh} << 32 | range->Offset;
}

HANDLE WINAPI Create(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                     DWORD disposition, DWORD attributes, HANDLE model) {
    static const auto real = Real(&Create, "CreateFileW");
    if (!GoesOn("CreateFileW", access, share, disposition, attributes))
        return INVALID_HANDLE_VALUE;
    return real(path, access, share, security, disposition, attributes, model);
}

BOOL WINAPI MovePointer(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD method) {
    static const auto real = Real(&MovePointer, "SetFilePointerEx");
    const bool ok =
        GoesOn("SetFilePointerEx", distance.QuadPart, method) && real(file, distance, position, method);
    if (GivesAllOnes())
        SetLastError(ERROR_ALREADY_EXISTS);  // a call that succeeds may leave anything
    return ok;
}

// Tries without waiting first: so it is known whether the call will wait.
BOOL WINAPI Lock(HANDLE file, DWORD flags, DWORD reserved, DWORD low, DWORD high, LPOVERLAPPED range) {
    static const auto real = Real(&Lock, "LockFileEx");
    if (!Recorded())
        return real(file, flags, reserved, low, high, range);
    if (!GoesOn("LockFileEx", flags, OffsetOf(range), low, high))
        return FALSE;
    if (real(file, flags | LOCKFILE_FAIL_IMMEDIATELY, reserved, low, high, range))
        return TRUE;
    Recorded()->isAwaitingLock = true;
    return real(file, flags, reserved, low, high, range);
}

BOOL WINAPI Unlock(HANDLE file, DWORD reserved, DWORD low, DWORD high, LPOVERLAPPED range) {
    static const auto real = Real(&Unlock, "UnlockFileEx");
    return GoesOn("UnlockFileEx", OffsetOf(range), low, high) && real(file, reserved, low, high, range);
}

BOOL WINAPI Read(HANDLE file, LPVOID buffer, DWORD size, LPDWORD count, LPOVERLAPPED overlapped) {
    static const auto real = Real(&Read, "ReadFile");
    return GoesOn("ReadFile", size) && real(file, buffer, size, count, overlapped);
}

BOOL WINAPI Write(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD count, LPOVERLAPPED overlapped) {
    static const auto real = Real(&Write, "WriteFile");
    const DWORD lost = Recorded() && Recorded()->failing == "WriteFile, short" ? 1 : 0;
    return GoesOn("WriteFile", size) && real(file, buffer, size - lost, count, overlapped);
}

DWORD WINAPI Size(HANDLE file, LPDWORD high) {
    static const auto real = Real(&Size, "GetFileSize");
    if (GivesAllOnes())
        return 0xFFFFFFFF;
    return GoesOn("GetFileSize") ? real(file, high) : INVALID_FILE_SIZE;
}

BOOL WINAPI SetEnd(HANDLE file) {
    static const auto real = Real(&SetEnd, "SetEndOfFile");
    return GoesOn("SetEndOfFile") && real(file);
}

BOOL WINAPI Close(HANDLE handle) {
    static const auto real = Real(&Close, "CloseHandle");
    return GoesOn("CloseHandle") && real(handle);
}

}  // namespace

// Where the compiler looks for an imported function. Those of the import library are not linked then.
extern "C" {
decltype(&Create) importedCreate __asm__("__imp_CreateFileW") = &Create;
decltype(&MovePointer) importedMovePointer __asm__("__imp_SetFilePointerEx") = &MovePointer;
decltype(&Lock) importedLock __asm__("__imp_LockFileEx") = &Lock;
decltype(&Unlock) importedUnlock __asm__("__imp_UnlockFileEx") = &Unlock;
decltype(&Read) importedRead __asm__("__imp_ReadFile") = &Read;
decltype(&Write) importedWrite __asm__("__imp_WriteFile") = &Write;
decltype(&Size) importedSize __asm__("__imp_GetFileSize") = &Size;
decltype(&SetEnd) importedSetEnd __asm__("__imp_SetEndOfFile") = &SetEnd;
decltype(&Close) importedClose __asm__("__imp_CloseHandle") = &Close;
}

}  // namespace test
