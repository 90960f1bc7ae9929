// Requests and answers of the sandbox as plain values, free of any HTTP library.
//
// The rules of the service work on these alone, so that a test can ask a rule without a socket and the front
// end is the only file that knows the HTTP library. Pure functions; any thread.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sandbox {

// Names and values in wire order; header names are compared ignoring ASCII case, query names exactly.
using NamedValues = std::vector<std::pair<std::string, std::string>>;

struct Request {
    std::string method;
    std::string target;  // as on the request line: path and query, still percent-encoded
    NamedValues headers;
    std::string body;
};

struct Answer {
    int status = 200;
    std::string contentType = "application/json";
    std::string body;
    NamedValues headers;
    std::string login;  // the account that the exchange belongs to, for the log; empty if none is known
};

struct Target {
    std::string path;   // percent-decoded
    NamedValues query;  // percent-decoded, in the order given
};

[[nodiscard]] Target splitTarget(std::string_view target);

// The target as a log may show it: the values of query members that carry a secret become "***", bytes that
// don't print become '?'.
[[nodiscard]] std::string maskedTarget(std::string_view target);

// The first value of that name, or null.
[[nodiscard]] const std::string* findHeader(const NamedValues& headers, std::string_view name);
[[nodiscard]] const std::string* findValue(const NamedValues& values, std::string_view name);

[[nodiscard]] bool equalsIgnoringCase(std::string_view left, std::string_view right);

// The reason phrase of RFC 9110, "Error" for a status without one here.
[[nodiscard]] std::string_view statusTitle(int status);

}  // namespace sandbox
