#pragma once

#include <windows.h>

#include <cstdint>

#include "platform/common/FileParts.h"

namespace quillmarkclient_windows {

using quillmarkclient_common::Access;
using quillmarkclient_common::Missing;

// Closes what it holds when the scope ends.
class FileHandle {
public:
    explicit FileHandle(HANDLE handle = INVALID_HANDLE_VALUE) : handle_(handle) {}
    ~FileHandle() {
        if (IsOpen())
            CloseHandle(handle_);
    }
    FileHandle(FileHandle&& other) noexcept : handle_(other.handle_) { other.handle_ = INVALID_HANDLE_VALUE; }
    FileHandle& operator=(FileHandle&&) = delete;

    [[nodiscard]] HANDLE Get() const { return handle_; }
    [[nodiscard]] bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

private:
    HANDLE handle_;
};

// The first steps of every row that takes a UTF-8 path, and of the upload: opens the file and moves its
// pointer `offset` bytes behind the start. Not open on any failure. Throws std::range_error("bad conversion")
// for a path that is not valid UTF-8.
[[nodiscard]] FileHandle OpenAt(const char* path, std::uint64_t offset, Access access, Missing missing);

}  // namespace quillmarkclient_windows
