// The memory of Idempotency-Keys: what a request may do once is done once, however often it is sent.
//
// The first request of a key begins the work. While it lasts, requests are told to wait by a 409 with
// "Retry-After"; when it is done, its answer is kept and given again. A key belongs to one body at one
// endpoint; any other request with it is a conflict. Not guarded: AccountService holds its mutex around
// every use.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "tools/sandbox/Accounts.h"
#include "tools/sandbox/Http.h"

namespace sandbox {

struct Ticket;

struct IdempotencyRecord {
    std::string operation;         // endpoint and body of the first request
    std::int64_t busyAnswers = 0;  // how many more requests are told to wait
    std::int64_t busyUntil = 0;    // and until when
    std::int64_t expiresAt = 0;
    const SocialPerson* person = nullptr;         // whom a sign-up is for; null: nobody known
    Ticket* ticket = nullptr;                     // that is being filed
    std::optional<Answer> answer = std::nullopt;  // when the work is done

    // Whether this request still meets the work; counts it.
    [[nodiscard]] bool isBusy(std::int64_t now);
};

class IdempotencyRecords {
public:
    // Null for a key that was never used, or too long ago.
    [[nodiscard]] IdempotencyRecord* find(const std::string& key, std::int64_t now);
    // Replaces a record that has expired.
    IdempotencyRecord& begin(const std::string& key, IdempotencyRecord record, std::int64_t now);
    void clear() { records_.clear(); }

private:
    std::map<std::string, IdempotencyRecord> records_;
};

// What identifies the operation of a request: its endpoint and its whole body.
[[nodiscard]] std::string operationOf(const Request& request);

}  // namespace sandbox
