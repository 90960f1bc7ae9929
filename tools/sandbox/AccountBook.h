// The accounts of a run: those of the seed and those that sign-ups made, each with what has happened to it.
//
// Records never move, so others may point at them until the next reset. Not guarded: AccountService holds its
// mutex around every use.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "tools/sandbox/Accounts.h"

namespace sandbox {

struct IdentityRecord {
    std::string id;
    std::string name;
    std::string type;
    std::string role;
    std::vector<Scope> rights;
};

// An account and what has happened to it.
struct AccountRecord {
    const Account* account = nullptr;
    AccountState state = AccountState::active;
    std::int64_t wrongPasswords = 0;
    std::int64_t lockedUntil = 0;
    std::int64_t lastTotpStep = 0;
    std::vector<IdentityRecord> identities = {};
};

class AccountBook {
public:
    // `seed` must live until the next reset.
    void reset(const Seed& seed);

    // Null if there is none.
    [[nodiscard]] AccountRecord* ofLogin(std::string_view login);
    [[nodiscard]] AccountRecord* ofLogin(AccountKind kind, std::string_view login);
    [[nodiscard]] AccountRecord* ofName(std::string_view name);

    AccountRecord& add(Account account);
    [[nodiscard]] std::size_t size() const { return records_.size(); }

private:
    std::deque<Account> made_;
    std::deque<AccountRecord> records_;
};

}  // namespace sandbox
