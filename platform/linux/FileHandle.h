#pragma once

#include <cerrno>
#include <cstdint>

#include "platform/common/FileParts.h"

namespace quillmarkclient_linux {

using quillmarkclient_common::Access;
using quillmarkclient_common::Missing;

// Repeats a system call as long as a signal cuts it short.
template <class Call>
auto Resumed(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

// Closes the descriptor that it holds when the scope ends.
class FileHandle {
public:
    explicit FileHandle(int descriptor = kNone) : descriptor_(descriptor) {}
    ~FileHandle() { (void)Close(); }  // after reading or a failure there is nothing left to lose
    FileHandle(FileHandle&& other) noexcept : descriptor_(other.descriptor_) { other.descriptor_ = kNone; }
    FileHandle& operator=(FileHandle&&) = delete;

    [[nodiscard]] int Get() const { return descriptor_; }
    [[nodiscard]] bool IsOpen() const { return descriptor_ != kNone; }
    // False when the file system tells only now that it could not keep what was written (NFS with a full
    // disk). Not repeated behind a signal: Linux has let the number go by then, and another thread may own
    // it.
    [[nodiscard]] bool Close();

private:
    static constexpr int kNone = -1;

    int descriptor_;
};

// Opens a regular file; not open for anything else. Throws std::range_error("bad conversion") for a path that
// is not valid UTF-8.
[[nodiscard]] FileHandle OpenRegularFile(const char* path, Access access, Missing missing);

// The first steps of every row that takes a UTF-8 path and an offset, and of the upload: opens the file and
// moves its pointer `offset` bytes behind the start. Not open on any failure. Throws as above.
[[nodiscard]] FileHandle OpenAt(const char* path, std::uint64_t offset, Access access, Missing missing);

}  // namespace quillmarkclient_linux
