// What the sandbox remembers of social people: their codes, the accounts they are linked to, their sign-ups.
//
// People and providers are those of the seed. Not guarded: AccountService holds its mutex around every use.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "tools/sandbox/AccountBook.h"
#include "tools/sandbox/Accounts.h"

namespace sandbox {

// An authorisation code that a provider gave to a person's browser.
struct AuthorizationCode {
    const SocialPerson* person = nullptr;
    std::int64_t expiresAt = 0;
    bool businessContext = false;  // a sign-in by it may make a business account
};

// How a person came to an account, or tries to.
struct SignUp {
    const SocialPerson* person = nullptr;
    const Account* account = nullptr;  // null until it was made
    std::string cause;                 // as the request that made the account gave it
    std::int64_t made = 0;             // how often an account was made: 1 if all is well
    std::int64_t requests = 0;         // finalisations asked for, repeats included
    std::set<std::string> keys;        // their Idempotency-Keys
};

class SocialBook {
public:
    // `seed` must live until the next reset. Throws SeedError for a link to an account that is not there.
    void reset(const Seed& seed, AccountBook& accounts, std::int64_t codesExpireAt);

    [[nodiscard]] bool hasProvider(std::string_view key) const;
    // Null if there is none.
    [[nodiscard]] const SocialPerson* ofToken(std::string_view provider, std::string_view accessToken) const;

    // A further code; the person's former ones stay good.
    [[nodiscard]] std::string issueCode(const SocialPerson& person, std::int64_t expiresAt);
    // Null for a code that was never issued, is used up or has expired.
    [[nodiscard]] AuthorizationCode* codeOf(const std::string& code, std::int64_t now);
    void useUp(const std::string& code) { codes_.erase(code); }
    void expireCodes() { codes_.clear(); }
    void forgetExpired(std::int64_t now);

    // Null if the person is linked to none.
    [[nodiscard]] AccountRecord* accountOf(const SocialPerson& person) const;
    void link(const SocialPerson& person, AccountRecord& account) { links_[&person] = &account; }

    // The person's sign-up, begun now if there is none.
    [[nodiscard]] SignUp& signUpOf(const SocialPerson& person);
    // In the order of their begin.
    [[nodiscard]] const std::deque<SignUp>& signUps() const { return signUps_; }

private:
    const Seed* seed_ = nullptr;
    std::map<std::string, AuthorizationCode> codes_;
    std::map<const SocialPerson*, AccountRecord*> links_;
    std::deque<SignUp> signUps_;
};

}  // namespace sandbox
