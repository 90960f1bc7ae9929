#pragma once

namespace test {

// Whether this is wine and no Windows: some of what a transport does is the system's own.
[[nodiscard]] bool IsWine();

}  // namespace test
