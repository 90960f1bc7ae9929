#include "platform/linux/HttpBody.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace quillmarkclient_linux {
namespace {

constexpr int kNoDescriptor = -1;

}  // namespace

HttpFileBody::HttpFileBody(int descriptor, std::string_view boundary, std::string_view fileName)
    : descriptor_(descriptor) {
    struct stat facts {};
    if (fstat(descriptor, &facts) != 0) {
        descriptor_ = kNoDescriptor;
        return;
    }
    fileStart_ = lseek(descriptor, 0, SEEK_CUR);
    SetFrame(static_cast<std::uint32_t>(facts.st_size), boundary, fileName);
}

HttpBodyRead HttpFileBody::ReadFileBytes(void* buffer, std::uint32_t wanted, std::uint32_t* bytesRead) {
    ssize_t count = -1;
    do {
        count = read(descriptor_, buffer, wanted);
    } while (count < 0 && errno == EINTR);
    if (count <= 0)
        return HttpBodyRead::kError;
    *bytesRead = static_cast<std::uint32_t>(count);
    return HttpBodyRead::kData;
}

bool HttpFileBody::Rewind() {
    if (descriptor_ == kNoDescriptor || fileStart_ < 0 ||
        lseek(descriptor_, fileStart_, SEEK_SET) != fileStart_)
        return false;
    Restart();
    return true;
}

}  // namespace quillmarkclient_linux
