#include "tools/sandbox/AccountBook.h"

#include <algorithm>

namespace sandbox {
namespace {

template <typename Records, typename Fits>
AccountRecord* firstThat(Records& records, Fits fits) {
    const auto found = std::find_if(records.begin(), records.end(), fits);
    return found == records.end() ? nullptr : &*found;
}

}  // namespace

void AccountBook::reset(const Seed& seed) {
    records_.clear();
    made_.clear();
    for (const Account& account : seed.accounts)
        records_.push_back({&account, account.state});
}

AccountRecord* AccountBook::ofLogin(std::string_view login) {
    return firstThat(records_,
                     [login](const AccountRecord& record) { return record.account->login == login; });
}

AccountRecord* AccountBook::ofLogin(AccountKind kind, std::string_view login) {
    return firstThat(records_, [kind, login](const AccountRecord& record) {
        return record.account->kind == kind && record.account->login == login;
    });
}

AccountRecord* AccountBook::ofName(std::string_view name) {
    return firstThat(records_, [name](const AccountRecord& record) { return record.account->name == name; });
}

AccountRecord& AccountBook::add(Account account) {
    const Account& kept = made_.emplace_back(std::move(account));
    return records_.emplace_back(AccountRecord{&kept, kept.state});
}

}  // namespace sandbox
