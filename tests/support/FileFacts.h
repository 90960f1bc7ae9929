#pragma once

#include <string>

namespace test {

// Whether a file that the library made is kept from others in the way of this system: for its owner alone, or
// hidden.
[[nodiscard]] bool IsKeptFromOthers(const std::string& path);

}  // namespace test
