#include "tests/support/FileFacts.h"

#include <windows.h>

#include <filesystem>

namespace test {

bool IsKeptFromOthers(const std::string& path) {
    const std::filesystem::path name(std::u8string(path.begin(), path.end()));
    const DWORD attributes = GetFileAttributesW(name.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_HIDDEN) != 0;
}

}  // namespace test
