// What the sandbox remembers while it runs: tokens, challenges, secrets, and the books of accounts, social
// people, Idempotency-Keys, feeds, tickets and backup metadata.
//
// Everything lives in memory and is gone with the process. The clock is the caller's, so that expiry can be
// tested without waiting. Not guarded: AccountService holds its mutex around every use.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tools/sandbox/AccountBook.h"
#include "tools/sandbox/Accounts.h"
#include "tools/sandbox/Expiry.h"
#include "tools/sandbox/FeedBook.h"
#include "tools/sandbox/Idempotency.h"
#include "tools/sandbox/Jwt.h"
#include "tools/sandbox/MetadataInbox.h"
#include "tools/sandbox/SocialBook.h"
#include "tools/sandbox/TicketBook.h"

namespace sandbox {

using Clock = std::function<std::int64_t()>;  // seconds since 1970, UTC

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

// What has an end, and can be made to end now.
enum class Perishable {
    tokens,      // access tokens
    secrets,     // of identity records
    challenges,  // for a second factor
    codes,       // of social people
    idempotencyKeys,
};

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

    [[nodiscard]] AccountBook& accounts() { return accounts_; }
    [[nodiscard]] SocialBook& social() { return social_; }
    [[nodiscard]] IdempotencyRecords& idempotency() { return idempotency_; }
    [[nodiscard]] FeedBook& feeds() { return feeds_; }
    [[nodiscard]] TicketBook& tickets() { return tickets_; }
    [[nodiscard]] MetadataInbox& metadata() { return metadata_; }

    // How sign-ups are finalised, the seed's rule until the next call and after a reset.
    [[nodiscard]] const FinalizationRule& finalization() const { return finalization_; }
    void setFinalization(const FinalizationRule& rule) { finalization_ = rule; }

    // The same for the filing of tickets.
    [[nodiscard]] const TicketRule& ticketRule() const { return ticketRule_; }
    void setTicketRule(const TicketRule& rule) { ticketRule_ = rule; }

    // All of that kind that were handed out so far.
    void expire(Perishable what);

    // The end of a code that is issued now.
    [[nodiscard]] std::int64_t codeExpiry() const { return now() + rules().codeLifetimeSeconds; }

    // A new access token, good for rules().tokenLifetimeSeconds.
    [[nodiscard]] std::string issueToken(AccountRecord& owner, const TokenPurpose& purpose);
    // Null for a token that was never issued, has expired or was called back.
    [[nodiscard]] const Session* sessionOf(const std::string& token) const;

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
    FinalizationRule finalization_;
    TicketRule ticketRule_;
    AccountBook accounts_;
    SocialBook social_;
    IdempotencyRecords idempotency_;
    FeedBook feeds_;
    TicketBook tickets_;
    MetadataInbox metadata_;
    std::map<std::string, Session> sessions_;
    std::map<std::string, Challenge> challenges_;
    std::map<std::string, IdentitySecret> secrets_;
};

}  // namespace sandbox
