#include "platform/windows/HttpBody.h"

namespace quillmarkclient_windows {

HttpFileBody::HttpFileBody(HANDLE file, std::string_view boundary, std::string_view fileName) : file_(file) {
    SetLastError(NO_ERROR);
    const DWORD size = GetFileSize(file, nullptr);
    if (size == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) {
        file_ = INVALID_HANDLE_VALUE;
        return;
    }
    SetFrame(size, boundary, fileName);
}

HttpBodyRead HttpFileBody::ReadFileBytes(void* buffer, std::uint32_t wanted, std::uint32_t* bytesRead) {
    DWORD count = 0;
    if (!ReadFile(file_, buffer, wanted, &count, nullptr) || count == 0)
        return HttpBodyRead::kError;
    *bytesRead = count;
    return HttpBodyRead::kData;
}

}  // namespace quillmarkclient_windows
