// The file rows of the platform table; what each promises stands in core/src/system/PlatformTable.h.
//
// A file is opened, worked on and closed within each call. What is particular to Windows:
//   hidden   a file that a call creates has the attribute for hidden files; those of a file that is there
//            already are never changed
//   sharing  others may read and write the file meanwhile; nobody may delete it
//   locks    LockFileEx over the exact range; where the system refuses the lock, the transfer goes ahead
//            without one
//   paths    valid UTF-8 or std::range_error("bad conversion") before any file is touched; FileDelete takes
//            the bytes in the ANSI code page and throws nothing
//
// Any thread.
#pragma once

#include <cstdint>

namespace quillmarkclient_windows {

std::uint32_t FileRead(const char* path, std::uint64_t offset, void* buffer, std::uint32_t size,
                       std::uint32_t* bytesRead, void* context);
std::uint32_t FileWrite(const char* path, std::uint64_t offset, const void* buffer, std::uint32_t size,
                        std::uint32_t* bytesWritten, void* context);
std::uint32_t FileGetSize(const char* path, std::uint32_t* size, void* context);
std::uint32_t FileSetSize(const char* path, std::uint64_t size, void* context);
std::uint32_t FileDelete(const char* path, void* context);

}  // namespace quillmarkclient_windows
