#include "tests/support/TransportFacts.h"

namespace test {

bool PoolsConnections() {
    return false;
}

bool NoticesCutAnswers() {
    return true;
}

bool TakesLongUrls() {
    return true;
}

const char* CertifiedLoopback() {
    return "127.0.0.1";
}

std::string HeadOnTheWire(const std::string& requestLine,
                          const std::vector<std::pair<std::string, std::string>>& headers, std::uint16_t port,
                          std::size_t bodySize) {
    std::string head = requestLine + "\r\n";
    head += "Host: 127.0.0.1:" + std::to_string(port) + "\r\n";
    head += "User-Agent: ABClient_HInternet\r\n";
    for (const auto& [name, value] : headers)
        head.append(name).append(": ").append(value).append("\r\n");
    head += "Content-Length: " + std::to_string(bodySize) + "\r\n\r\n";
    return head;
}

}  // namespace test
