#include "platform/linux/HttpBody.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace quillmarkclient_linux {
namespace {

constexpr int kNoDescriptor = -1;

// Copies what `capacity` allows of `region`, from `offset` on. Gives the number of bytes.
std::uint32_t CopyRegion(std::string_view region, std::uint32_t offset, void* buffer,
                         std::uint32_t capacity) {
    const auto count = std::min<std::size_t>(region.size() - offset, capacity);
    if (count > 0)
        std::memcpy(buffer, region.data() + offset, count);
    return static_cast<std::uint32_t>(count);
}

}  // namespace

HttpMemoryBody::HttpMemoryBody(std::string_view text) : bytes_(text.begin(), text.end()) {}

HttpBodyRead HttpMemoryBody::Read(void* buffer, std::uint32_t capacity, std::uint32_t* bytesRead) {
    if (position_ >= GetSize())
        return HttpBodyRead::kEnd;
    *bytesRead = CopyRegion({bytes_.data(), bytes_.size()}, position_, buffer, capacity);
    position_ += *bytesRead;
    return HttpBodyRead::kData;
}

std::uint32_t HttpMemoryBody::GetSize() const {
    return static_cast<std::uint32_t>(bytes_.size());
}

bool HttpMemoryBody::Rewind() {
    position_ = 0;
    return true;
}

HttpFileBody::HttpFileBody(int descriptor, std::string_view boundary, std::string_view fileName)
    : descriptor_(descriptor), boundary_(boundary) {
    struct stat facts {};
    if (fstat(descriptor, &facts) != 0) {
        descriptor_ = kNoDescriptor;
        return;
    }
    fileSize_ = static_cast<std::uint32_t>(facts.st_size);
    fileStart_ = lseek(descriptor, 0, SEEK_CUR);
    preamble_.append("\r\n--").append(boundary_).append("\r\n");
    preamble_.append("Content-Disposition: form-data; name=\"file\"; filename=\"")
        .append(fileName)
        .append("\"\r\n");
    preamble_.append("Content-Type: application/zip\r\n");
    preamble_.append("Content-Transfer-Encoding: binary\r\n\r\n");
    trailer_.append("\r\n--").append(boundary_).append("--\r\n");
    totalSize_ = static_cast<std::uint32_t>(preamble_.size() + fileSize_ + trailer_.size());
}

HttpBodyRead HttpFileBody::Read(void* buffer, std::uint32_t capacity, std::uint32_t* bytesRead) {
    if (descriptor_ == kNoDescriptor)
        return HttpBodyRead::kError;
    if (position_ >= totalSize_)
        return HttpBodyRead::kEnd;

    const auto fileBegin = static_cast<std::uint32_t>(preamble_.size());
    const std::uint64_t fileEnd = std::uint64_t{fileBegin} + fileSize_;
    if (position_ < fileBegin) {
        *bytesRead = CopyRegion(preamble_, position_, buffer, capacity);
    } else if (position_ < fileEnd) {
        const auto wanted =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(capacity, fileEnd - position_));
        if (const auto result = ReadFile(buffer, wanted, bytesRead); result != HttpBodyRead::kData)
            return result;
    } else {
        *bytesRead = CopyRegion(trailer_, static_cast<std::uint32_t>(position_ - fileEnd), buffer, capacity);
    }
    position_ += *bytesRead;
    return HttpBodyRead::kData;
}

// A file that became shorter since its size was taken is an error: the size has been told to the server.
HttpBodyRead HttpFileBody::ReadFile(void* buffer, std::uint32_t wanted, std::uint32_t* bytesRead) {
    ssize_t count = -1;
    do {
        count = read(descriptor_, buffer, wanted);
    } while (count < 0 && errno == EINTR);
    if (count <= 0)
        return HttpBodyRead::kError;
    *bytesRead = static_cast<std::uint32_t>(count);
    return HttpBodyRead::kData;
}

std::uint32_t HttpFileBody::GetSize() const {
    return totalSize_;
}

bool HttpFileBody::Rewind() {
    if (descriptor_ == kNoDescriptor || fileStart_ < 0 ||
        lseek(descriptor_, fileStart_, SEEK_SET) != fileStart_)
        return false;
    position_ = 0;
    return true;
}

}  // namespace quillmarkclient_linux
