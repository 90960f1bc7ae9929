#include "platform/windows/FileHandle.h"

#include <string>

#include "platform/windows/TextEncoding.h"

namespace quillmarkclient_windows {
namespace {

constexpr DWORD kReadAccess = 0x120089;
constexpr DWORD kReadWriteAccess = 0x12019F;
static_assert(kReadAccess == FILE_GENERIC_READ);
static_assert(kReadWriteAccess == (FILE_GENERIC_READ | FILE_GENERIC_WRITE));

}  // namespace

FileHandle OpenAt(const char* path, std::uint64_t offset, Access access, Missing missing) {
    const std::wstring name = ToUtf16(path);
    if (name.empty())
        return FileHandle();
    FileHandle file(CreateFileW(name.c_str(), access == Access::kRead ? kReadAccess : kReadWriteAccess,
                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                missing == Missing::kFail ? OPEN_EXISTING : OPEN_ALWAYS,
                                FILE_ATTRIBUTE_HIDDEN, nullptr));
    LARGE_INTEGER distance{};
    distance.QuadPart = static_cast<LONGLONG>(offset);
    if (file.IsOpen() && !SetFilePointerEx(file.Get(), distance, nullptr, FILE_BEGIN))
        return FileHandle();
    return file;
}

}  // namespace quillmarkclient_windows
