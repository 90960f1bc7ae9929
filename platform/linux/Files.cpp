#include "platform/linux/Files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>

#include "core/src/ResultCode.h"
#include "platform/linux/FileHandle.h"
#include "platform/linux/SignalGuard.h"

namespace quillmarkclient_linux {
namespace {

using quillmarkclient_common::Store;

constexpr std::uint32_t Number(ResultCode code) {
    return static_cast<std::uint32_t>(code);
}

// Holds the range until the scope ends. Where the system refuses the lock, the transfer goes ahead without
// one.
class RangeLock {
public:
    RangeLock(const FileHandle& file, short kind, std::uint64_t offset, std::uint32_t size)
        : file_(file), range_{} {
        range_.l_type = kind;
        range_.l_whence = SEEK_SET;
        range_.l_start = static_cast<off_t>(offset);
        range_.l_len = static_cast<off_t>(size);
        held_ = Resumed([&] { return fcntl(file_.Get(), F_OFD_SETLKW, &range_); }) == 0;
    }
    ~RangeLock() {
        // Closing alone would not do: a child that the host forks meanwhile shares the description and its
        // locks.
        range_.l_type = F_UNLCK;
        if (held_)
            fcntl(file_.Get(), F_OFD_SETLK, &range_);
    }
    RangeLock(const RangeLock&) = delete;
    RangeLock& operator=(const RangeLock&) = delete;

private:
    const FileHandle& file_;
    struct flock range_;
    bool held_ = false;
};

// Repeats `transfer(done)` until `size` bytes are through, nothing more comes, or it fails; false for the
// last.
template <class Transfer>
bool TransferAll(std::uint32_t size, std::uint32_t& done, Transfer transfer) {
    while (done < size) {
        const ssize_t count = Resumed([&] { return transfer(done); });
        if (count <= 0)
            return count == 0;
        done += static_cast<std::uint32_t>(count);
    }
    return true;
}

}  // namespace

std::uint32_t FileRead(const char* path, std::uint64_t offset, void* buffer, std::uint32_t size,
                       std::uint32_t* bytesRead, void* /*context*/) {
    if (!path || !buffer)
        return Number(ResultCode::kInvalidParameters);
    Store(0, bytesRead);
    // A lock of length 0 would reach to the end of the file and beyond.
    if (size == 0)
        return Number(ResultCode::kSuccess);
    const FileHandle file = OpenAt(path, offset, Access::kRead, Missing::kCreate);
    if (!file.IsOpen())
        return Number(ResultCode::kFileOpen);

    const RangeLock lock(file, F_RDLCK, offset, size);
    auto* bytes = static_cast<std::byte*>(buffer);
    std::uint32_t done = 0;
    const bool ok = TransferAll(size, done, [&](std::uint32_t from) {
        return pread(file.Get(), bytes + from, size - from, static_cast<off_t>(offset + from));
    });
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
    FileHandle file = OpenAt(path, offset, Access::kReadWrite, Missing::kCreate);
    if (!file.IsOpen())
        return Number(ResultCode::kFileOpen);

    const auto* bytes = static_cast<const std::byte*>(buffer);
    std::uint32_t done = 0;
    bool ok = false;
    {
        const RangeLock lock(file, F_WRLCK, offset, size);
        const SignalGuard guard(SIGXFSZ);
        ok = TransferAll(size, done, [&](std::uint32_t from) {
            return pwrite(file.Get(), bytes + from, size - from, static_cast<off_t>(offset + from));
        });
    }
    Store(done, bytesWritten);
    return Number(file.Close() && ok && done == size ? ResultCode::kSuccess : ResultCode::kFileWrite);
}

std::uint32_t FileGetSize(const char* path, std::uint32_t* size, void* /*context*/) {
    if (!path || !size)
        return Number(ResultCode::kInvalidParameters);
    const FileHandle file = OpenRegularFile(path, Access::kRead, Missing::kFail);
    if (!file.IsOpen()) {
        *size = 0;
        return Number(ResultCode::kSuccess);
    }
    const off_t end = lseek(file.Get(), 0, SEEK_END);
    if (end == -1)
        return Number(ResultCode::kFileGetSize);
    *size = static_cast<std::uint32_t>(end);  // the low 32 bits, as the row says
    return Number(ResultCode::kSuccess);
}

std::uint32_t FileSetSize(const char* path, std::uint64_t size, void* /*context*/) {
    if (!path)
        return Number(ResultCode::kInvalidParameters);
    const FileHandle file = OpenAt(path, size, Access::kReadWrite, Missing::kCreate);
    if (!file.IsOpen())
        return Number(ResultCode::kFileOpen);
    const SignalGuard guard(SIGXFSZ);
    if (Resumed([&] { return ftruncate(file.Get(), static_cast<off_t>(size)); }) != 0)
        return Number(ResultCode::kFileSetSize);
    return Number(ResultCode::kSuccess);
}

std::uint32_t FileDelete(const char* path, void* /*context*/) {
    if (!path)
        return Number(ResultCode::kInvalidParameters);
    return Number(unlink(path) == 0 ? ResultCode::kSuccess : ResultCode::kFileDelete);
}

}  // namespace quillmarkclient_linux
