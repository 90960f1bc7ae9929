// What this system's transport does by itself, for tests that look at the wire.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace test {

// Whether a connection may serve a later exchange of the process unless the server says that it closes it.
[[nodiscard]] bool PoolsConnections();

// Whether an answer that ends before its length fails the exchange; if not, it is handed out as far as it
// came.
[[nodiscard]] bool NoticesCutAnswers();

// Whether a URL that is longer than what the sockets hold is dealt with in seconds.
[[nodiscard]] bool TakesLongUrls();

// The host of the loopback that is looked for in a server's certificate: its address, or a name.
[[nodiscard]] const char* CertifiedLoopback();

// The head of a request, byte for byte: `headers` are the caller's, in their order.
[[nodiscard]] std::string HeadOnTheWire(const std::string& requestLine,
                                        const std::vector<std::pair<std::string, std::string>>& headers,
                                        std::uint16_t port, std::size_t bodySize);

}  // namespace test
