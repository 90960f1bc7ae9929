// Random texts for ids, secrets and codes.
#pragma once

#include <cstddef>
#include <string>

namespace sandbox {

// `bytes` random bytes as lower-case hex digits; any thread. Throws std::runtime_error when OpenSSL fails.
[[nodiscard]] std::string randomHex(std::size_t bytes);

}  // namespace sandbox
