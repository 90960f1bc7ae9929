// What a plain use of libcurl does: a fresh handle for each exchange, which reads the bundle by itself.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace bench {

struct Exchange {
    std::string method;
    std::string url;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
};

/// The answer's body. False when libcurl fails.
[[nodiscard]] bool MakeBareExchange(const Exchange& exchange, const std::string& bundle, std::string& body);

}  // namespace bench
