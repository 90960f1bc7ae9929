#include "platform/windows/Files.h"

#include "core/src/ResultCode.h"
#include "platform/windows/FileHandle.h"

namespace quillmarkclient_windows {
namespace {

using quillmarkclient_common::Store;

constexpr std::uint32_t Number(ResultCode code) {
    return static_cast<std::uint32_t>(code);
}

// Holds the range until the scope ends, if the system gives the lock at all.
class RangeLock {
public:
    RangeLock(const FileHandle& file, DWORD flags, std::uint64_t offset, std::uint32_t size)
        : file_(file), size_(size) {
        range_.Offset = static_cast<DWORD>(offset);
        range_.OffsetHigh = static_cast<DWORD>(offset >> 32);
        held_ = LockFileEx(file_.Get(), flags, 0, size_, 0, &range_) != FALSE;
    }
    ~RangeLock() {
        if (held_)
            UnlockFileEx(file_.Get(), 0, size_, 0, &range_);
    }
    RangeLock(const RangeLock&) = delete;
    RangeLock& operator=(const RangeLock&) = delete;

private:
    const FileHandle& file_;
    DWORD size_;
    OVERLAPPED range_{};
    bool held_ = false;
};

}  // namespace

std::uint32_t FileRead(const char* path, std::uint64_t offset, void* buffer, std::uint32_t size,
                       std::uint32_t* bytesRead, void* /*context*/) {
    if (!path || !buffer)
        return Number(ResultCode::kInvalidParameters);
    Store(0, bytesRead);
    if (size == 0)
        return Number(ResultCode::kSuccess);
    const FileHandle file = OpenAt(path, offset, Access::kRead, Missing::kCreate);
    if (!file.IsOpen())
        return Number(ResultCode::kFileOpen);

    const RangeLock lock(file, 0, offset, size);
    DWORD done = 0;
    const bool ok = ReadFile(file.Get(), buffer, size, &done, nullptr) != FALSE;
    Store(done, bytesRead);
    return Number(ok ? ResultCode::kSuccess : ResultCode::kFileRead);
}

std::uint32_t FileWrite(const char* path, std::uint64_t offset, const void* buffer, std::uint32_t size,
                        std::uint32_t* bytesWritten, void* /*context*/) {
    if (!path || !buffer)
        return Number(ResultCode::kInvalidParameters);
    Store(0, bytesWritten);
    if (size == 0)
        return Number(ResultCode::kSuccess);
    const FileHandle file = OpenAt(path, offset, Access::kReadWrite, Missing::kCreate);
    if (!file.IsOpen())
        return Number(ResultCode::kFileOpen);

    const RangeLock lock(file, LOCKFILE_EXCLUSIVE_LOCK, offset, size);
    DWORD done = 0;
    const bool ok = WriteFile(file.Get(), buffer, size, &done, nullptr) != FALSE;
    Store(done, bytesWritten);
    return Number(ok && done == size ? ResultCode::kSuccess : ResultCode::kFileWrite);
}

std::uint32_t FileGetSize(const char* path, std::uint32_t* size, void* /*context*/) {
    if (!path || !size)
        return Number(ResultCode::kInvalidParameters);
    const FileHandle file = OpenAt(path, 0, Access::kRead, Missing::kFail);
    if (!file.IsOpen()) {
        *size = 0;
        return Number(ResultCode::kSuccess);
    }
    // The answer that marks a failure is a size as well: only the error tells them apart.
    SetLastError(NO_ERROR);
    const DWORD low = GetFileSize(file.Get(), nullptr);
    if (low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR)
        return Number(ResultCode::kFileGetSize);
    *size = low;
    return Number(ResultCode::kSuccess);
}

std::uint32_t FileSetSize(const char* path, std::uint64_t size, void* /*context*/) {
    if (!path)
        return Number(ResultCode::kInvalidParameters);
    const FileHandle file = OpenAt(path, size, Access::kReadWrite, Missing::kCreate);
    if (!file.IsOpen())
        return Number(ResultCode::kFileOpen);
    return Number(SetEndOfFile(file.Get()) ? ResultCode::kSuccess : ResultCode::kFileSetSize);
}

std::uint32_t FileDelete(const char* path, void* /*context*/) {
    if (!path)
        return Number(ResultCode::kInvalidParameters);
    return Number(DeleteFileA(path) ? ResultCode::kSuccess : ResultCode::kFileDelete);
}

}  // namespace quillmarkclient_windows
