#include "platform/common/HttpBody.h"

#include <algorithm>
#include <cstring>

namespace quillmarkclient_common {
namespace {

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

void HttpFramedBody::SetFrame(std::uint32_t fileSize, std::string_view boundary, std::string_view fileName) {
    hasFrame_ = true;
    fileSize_ = fileSize;
    preamble_.append("\r\n--").append(boundary).append("\r\n");
    preamble_.append("Content-Disposition: form-data; name=\"file\"; filename=\"")
        .append(fileName)
        .append("\"\r\n");
    preamble_.append("Content-Type: application/zip\r\n");
    preamble_.append("Content-Transfer-Encoding: binary\r\n\r\n");
    trailer_.append("\r\n--").append(boundary).append("--\r\n");
    totalSize_ = static_cast<std::uint32_t>(preamble_.size() + fileSize_ + trailer_.size());
}

HttpBodyRead HttpFramedBody::Read(void* buffer, std::uint32_t capacity, std::uint32_t* bytesRead) {
    if (!hasFrame_)
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
        if (const auto result = ReadFileBytes(buffer, wanted, bytesRead); result != HttpBodyRead::kData)
            return result;
    } else {
        *bytesRead = CopyRegion(trailer_, static_cast<std::uint32_t>(position_ - fileEnd), buffer, capacity);
    }
    position_ += *bytesRead;
    return HttpBodyRead::kData;
}

}  // namespace quillmarkclient_common
