#include "tests/support/TransportFacts.h"

#include <algorithm>

#include "tests/support/windows/Wine.h"

namespace test {

// Windows pools the connections of one session, and each exchange has its own; wine pools those of the
// process.
bool PoolsConnections() {
    return IsWine();
}

bool NoticesCutAnswers() {
    return !IsWine();
}

// wine takes a minute for 16 MB, and its time-out when the server closes in front of the end.
bool TakesLongUrls() {
    return !IsWine();
}

// wine compares names alone.
const char* CertifiedLoopback() {
    return "localhost";
}

// As wine writes it: its own lines behind those that were added.
std::string HeadOnTheWire(const std::string& requestLine,
                          const std::vector<std::pair<std::string, std::string>>& headers, std::uint16_t port,
                          std::size_t bodySize) {
    std::string head = requestLine + "\r\n";
    for (const auto& [name, value] : headers)
        head.append(name).append(": ").append(value).append("\r\n");
    head += "Content-Length: " + std::to_string(bodySize) + "\r\n";
    head += "User-Agent: ABClient_HInternet\r\n";
    head += "Host: 127.0.0.1:" + std::to_string(port) + "\r\n";
    head += "Connection: Keep-Alive\r\n";
    const bool hasCacheControl = std::any_of(
        headers.begin(), headers.end(), [](const auto& header) { return header.first == "Cache-Control"; });
    if (!hasCacheControl)
        head += "Cache-Control: no-cache\r\n";
    head += "Pragma: no-cache\r\n\r\n";
    return head;
}

}  // namespace test
