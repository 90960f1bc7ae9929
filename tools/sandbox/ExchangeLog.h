// What was asked of the sandbox and how it answered, a record and a line for each exchange.
//
// Neither holds a password, a secret or a token: bodies are never kept, credentials in a query are masked,
// and a login appears only if it belongs to an account. Any thread may call anything; the listener runs on
// the thread that served the exchange, under the log's mutex, and must not call back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace sandbox {

struct ExchangeRecord {
    std::string method;
    std::string path;    // without query, percent-decoded
    std::string target;  // path and query as they came, credentials masked
    int status = 0;      // 0: the connection was cut before an answer
    std::string login;   // empty: no account is known
    std::string fault;   // the kind of the fault that was served, or empty
    std::int64_t milliseconds = 0;
};

// "POST /api/customer/registry/v2/tokens 200 anna.plain@example.test 3 ms", with " fault=half" behind it
// where one was served, "-" for a missing login and "cut" for a missing status.
[[nodiscard]] std::string exchangeLine(const ExchangeRecord& record);

// The newest records are kept, so that a sandbox that runs for weeks doesn't grow.
inline constexpr std::size_t kKeptRecords = 10000;

class ExchangeLog {
public:
    using Listener = std::function<void(const ExchangeRecord&)>;

    void setListener(Listener listener);
    void add(ExchangeRecord record);
    [[nodiscard]] std::vector<ExchangeRecord> records() const;
    void clear();

private:
    mutable std::mutex mutex_;
    Listener listener_;
    std::deque<ExchangeRecord> records_;
};

}  // namespace sandbox
