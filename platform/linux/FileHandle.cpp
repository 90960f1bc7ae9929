#include "platform/linux/FileHandle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "platform/common/Utf8.h"

namespace quillmarkclient_linux {
namespace {

static_assert(sizeof(off_t) == sizeof(std::uint64_t), "build with _FILE_OFFSET_BITS=64");

constexpr mode_t kOwnerOnly = 0600;

int Open(const char* path, Access access, Missing missing) {
    const int flags = (access == Access::kRead ? O_RDONLY : O_RDWR) | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    const int descriptor = Resumed([&] { return open(path, flags); });
    // Created only when it is missing: in a folder with the sticky bit O_CREAT may be refused for a file that
    // is there.
    if (descriptor != -1 || errno != ENOENT || missing == Missing::kFail)
        return descriptor;
    return Resumed([&] { return open(path, flags | O_CREAT, kOwnerOnly); });
}

bool IsRegular(const FileHandle& file) {
    struct stat status {};
    return fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

bool FileHandle::Close() {
    const int descriptor = std::exchange(descriptor_, kNone);
    return descriptor == kNone || close(descriptor) == 0 || errno == EINTR;
}

FileHandle OpenRegularFile(const char* path, Access access, Missing missing) {
    quillmarkclient_common::RequireUtf8(path);
    FileHandle file(Open(path, access, missing));
    if (file.IsOpen() && !IsRegular(file))
        return FileHandle();
    return file;
}

FileHandle OpenAt(const char* path, std::uint64_t offset, Access access, Missing missing) {
    FileHandle file = OpenRegularFile(path, access, missing);
    // An offset above the largest of the file system is a file that can't be opened there.
    if (file.IsOpen() && lseek(file.Get(), static_cast<off_t>(offset), SEEK_SET) == -1)
        return FileHandle();
    return file;
}

}  // namespace quillmarkclient_linux
