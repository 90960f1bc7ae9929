// The file rows of the platform table; what each promises stands in core/src/system/PlatformTable.h.
//
// A file is opened, worked on and closed within each call. What is particular to Linux:
//   mode     a file that a call creates is for its owner alone (0600, less the umask); the mode of a file
//            that is there already is never changed
//   kind     regular files only: a folder, a FIFO, a socket or a device acts as a file that can't be opened,
//            and opening one never blocks
//   locks    open file description locks over the exact range, so that threads of one process exclude each
//            other as processes do; a file system without locks is used without them
//   signals  an interrupted call is resumed, a short transfer continued; SIGXFSZ never reaches the host
//   paths    valid UTF-8 or std::range_error("bad conversion") before any file is touched; FileDelete takes
//            bytes as they stand and throws nothing
//
// Any thread.
#pragma once

#include <cstdint>

namespace quillmarkclient_linux {

std::uint32_t FileRead(const char* path, std::uint64_t offset, void* buffer, std::uint32_t size,
                       std::uint32_t* bytesRead, void* context);
std::uint32_t FileWrite(const char* path, std::uint64_t offset, const void* buffer, std::uint32_t size,
                        std::uint32_t* bytesWritten, void* context);
std::uint32_t FileGetSize(const char* path, std::uint32_t* size, void* context);
std::uint32_t FileSetSize(const char* path, std::uint64_t size, void* context);
std::uint32_t FileDelete(const char* path, void* context);

}  // namespace quillmarkclient_linux
