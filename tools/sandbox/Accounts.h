// The accounts of the sandbox and the seed file that they come from.
//
// These are the facts that a run starts with; what happens to an account while the service runs (locks, used
// codes, identity records) is kept by ServiceState. The format of the file is told in README.md.
// Plain values. readSeed and readSeedFile throw SeedError with a sentence that names the place.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace sandbox {

struct Scope {
    std::string space;
    std::uint32_t role = 0;  // 0 user, 1 manager, 2 owner
};

struct TrustRight {
    std::string id;
    std::string space;
    std::string role;
    std::string bans;
};

// Somebody, mostly an organisation, in whose name the account may act.
struct Trust {
    std::string id;
    std::string trustorId;
    std::string type;  // "Organization" or "Person"
    std::string name;
    std::string firstName;
    std::string middleName;
    std::string lastName;
    std::string email;
    std::string phone;
    std::string businessContactNumber;  // claim of a token for this context; empty: no such claim
    std::vector<Scope> scopes;          // rights of a token for this context
    std::vector<TrustRight> rights;     // as the trust list shows them when asked for
};

struct Customer {
    std::string id;
    std::string firstName;
    std::string lastName;
    std::string middleName;
    std::string email;
    std::string language;
    std::string country;
    std::string state;
    std::string city;
    std::string address;
    bool emailConfirmed = false;
    std::string role;
    std::string gdprStatus;
    std::string uwgStatus;
};

enum class AccountState {
    active,
    unverified,  // the e-mail address was never confirmed
    blocked,     // by the operator
    locked,      // for security reasons; only the operator can open it
};

struct Account {
    std::string name;  // what tests and the README call it
    std::string login;
    std::string password;
    std::string totpSecret;  // base32; empty: no second factor
    AccountState state = AccountState::active;
    bool ownContext = false;
    std::string customerNumber;
    std::string customerContactNumber;
    Customer customer;
    std::vector<Scope> scopes;  // rights of a token for the own context
    std::vector<Trust> trusts;
};

struct Rules {
    std::int64_t tokenLifetimeSeconds = 900;
    std::int64_t challengeLifetimeSeconds = 300;
    std::int64_t wrongCodesPerChallenge = 5;
    std::int64_t wrongPasswordsBeforeLock = 5;
    std::int64_t lockSeconds = 300;
};

struct Seed {
    Rules rules;
    std::vector<Account> accounts;
};

class SeedError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

[[nodiscard]] Seed readSeed(std::string_view json);
[[nodiscard]] Seed readSeedFile(const std::string& path);

// The seed file of the source tree.
[[nodiscard]] std::string defaultSeedFile();

// The account of that name; throws SeedError if there is none.
[[nodiscard]] const Account& accountNamed(const Seed& seed, std::string_view name);

}  // namespace sandbox
