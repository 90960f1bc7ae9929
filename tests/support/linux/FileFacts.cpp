#include "tests/support/FileFacts.h"

#include <filesystem>

namespace test {

bool IsKeptFromOthers(const std::string& path) {
    namespace fs = std::filesystem;
    return fs::status(path).permissions() == (fs::perms::owner_read | fs::perms::owner_write);
}

}  // namespace test
