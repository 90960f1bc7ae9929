// The accounts, social people and products of the sandbox and the seed file that they come from.
//
// These are the facts that a run starts with; what happens while the service runs (locks, used codes,
// identity records, sign-ups) is kept by ServiceState. The format of the file is told in README.md.
// Plain values. readSeed and readSeedFile throw SeedError with a sentence that names the place.
#pragma once

#include <cstdint>
#include <optional>
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
    failing,     // the service trips over its record
};

// Who signs in where. Each kind has endpoints of its own; a login of one is unknown at those of the others.
enum class AccountKind { customer, business, administrator };

struct Account {
    std::string name;  // what tests and the README call it
    AccountKind kind = AccountKind::customer;
    std::string login;       // an e-mail address
    std::string password;    // empty: made by a social sign-up, no password fits
    std::string totpSecret;  // base32; empty: no second factor
    AccountState state = AccountState::active;
    bool ownContext = false;
    std::string customerNumber;
    std::string customerContactNumber;
    std::string businessContactNumber;  // of a business account: a claim of all its tokens
    Customer customer;
    std::vector<Scope> scopes;  // rights of a token for the own context, of every token for the other kinds
    std::vector<Trust> trusts;
};

// An outside service that vouches for people.
struct Provider {
    std::string key;
    std::string displayName;
};

// Somebody as a provider knows him.
struct SocialPerson {
    std::string name;      // what tests and the README call it
    std::string provider;  // key
    std::string accessToken;
    std::string code;  // good from the start on; further ones are made on demand
    std::string email;
    std::string firstName;
    std::string lastName;
    std::string account;  // name of the account that he is linked to; empty: none
};

// How long the work behind a sign-up takes: both must have passed. Until then its requests are told to wait.
struct FinalizationRule {
    std::int64_t busyAnswers = 0;  // requests of one key, the first included
    std::int64_t busySeconds = 0;  // since the first
    std::int64_t retryAfterSeconds = 1;
    std::int64_t successStatus = 204;  // or 200
};

// The same for the filing of a ticket.
struct TicketRule {
    std::int64_t busyAnswers = 0;
    std::int64_t busySeconds = 0;
    std::int64_t retryAfterSeconds = 1;
};

struct Rules {
    std::int64_t tokenLifetimeSeconds = 900;
    std::int64_t challengeLifetimeSeconds = 300;
    std::int64_t wrongCodesPerChallenge = 5;
    std::int64_t wrongPasswordsBeforeLock = 5;
    std::int64_t lockSeconds = 300;
    std::int64_t codeLifetimeSeconds = 600;           // of an authorisation code
    std::int64_t idempotencyLifetimeSeconds = 86400;  // of the memory of an Idempotency-Key
    FinalizationRule finalization;
    TicketRule tickets;
};

// The update feeds of a product, one for each language.
struct ProductFeed {
    std::string name;  // "harbour_home" of "harbour_home_en"; lower case
    std::string title;
    std::vector<std::string> languages;
    std::string newestVersion;  // three numbers
    std::int64_t builds = 0;    // the newest and those before it, down to 1.0.0 at most
};

struct Seed {
    Rules rules;
    std::vector<Account> accounts;
    std::vector<Provider> providers;
    std::vector<SocialPerson> people;
    std::vector<ProductFeed> feeds;
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
[[nodiscard]] const SocialPerson& personNamed(const Seed& seed, std::string_view name);

// The words of the seed file and of the control paths.
[[nodiscard]] std::optional<AccountState> accountState(std::string_view word);
[[nodiscard]] std::optional<AccountKind> accountKind(std::string_view word);
[[nodiscard]] std::string_view accountKindWord(AccountKind kind);

}  // namespace sandbox
