// What the sandbox remembers while it runs: tokens, challenges, locks, used codes, identity records.
//
// Everything lives in memory and is gone with the process. The clock is the caller's, so that expiry can be
// tested without waiting. Not guarded: AccountService holds its mutex around every use.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tools/sandbox/Accounts.h"
#include "tools/sandbox/Jwt.h"

namespace sandbox {

using Clock = std::function<std::int64_t()>;  // seconds since 1970, UTC

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
    std::int64_t wrongPasswords = 0;
    std::int64_t lockedUntil = 0;
    std::int64_t lastTotpStep = 0;
    std::vector<IdentityRecord> identities;
};

struct Session {
    AccountRecord* owner = nullptr;
    std::int64_t expiresAt = 0;
};

struct Challenge {
    AccountRecord* owner = nullptr;
    std::int64_t expiresAt = 0;
    std::int64_t wrongCodes = 0;
};

struct IdentitySecret {
    AccountRecord* owner = nullptr;
    std::string identityId;
    std::int64_t expiresAt = 0;
};

inline constexpr std::int64_t kNever = INT64_MAX;

// What a new token is for. At most one of `ownContext` and `trust` is set.
struct TokenPurpose {
    bool ownContext = false;
    const Trust* trust = nullptr;
    std::vector<Scope> scopes;
};

class ServiceState {
public:
    ServiceState(Seed seed, Clock clock);
    ServiceState(const ServiceState&) = delete;
    ServiceState& operator=(const ServiceState&) = delete;

    [[nodiscard]] const Rules& rules() const { return seed_.rules; }
    [[nodiscard]] const Seed& seed() const { return seed_; }
    [[nodiscard]] std::int64_t now() const { return clock_(); }
    [[nodiscard]] const TokenSigner& signer() const { return signer_; }
    void setTokenLifetime(std::int64_t seconds) { seed_.rules.tokenLifetimeSeconds = seconds; }

    // Back to the seed.
    void reset();

    // Null if there is none.
    [[nodiscard]] AccountRecord* accountOfLogin(std::string_view login);

    // A new access token, good for rules().tokenLifetimeSeconds.
    [[nodiscard]] std::string issueToken(AccountRecord& owner, const TokenPurpose& purpose);
    // Null for a token that was never issued, has expired or was called back.
    [[nodiscard]] const Session* sessionOf(const std::string& token) const;
    void expireTokens() { sessions_.clear(); }

    [[nodiscard]] std::string openChallenge(AccountRecord& owner);
    [[nodiscard]] Challenge* challengeOf(const std::string& token);
    void closeChallenge(const std::string& token) { challenges_.erase(token); }

    [[nodiscard]] std::string issueIdentitySecret(AccountRecord& owner, const std::string& identityId,
                                                  std::int64_t expiresAt);
    [[nodiscard]] const IdentitySecret* identitySecretOf(const std::string& secret) const;

private:
    void forgetExpired();

    Seed seed_;
    Clock clock_;
    TokenSigner signer_;
    std::vector<AccountRecord> records_;  // never grows after reset(): others point into it
    std::map<std::string, Session> sessions_;
    std::map<std::string, Challenge> challenges_;
    std::map<std::string, IdentitySecret> secrets_;
};

// `bytes` random bytes as lower-case hex digits.
[[nodiscard]] std::string randomHex(std::size_t bytes);

}  // namespace sandbox
