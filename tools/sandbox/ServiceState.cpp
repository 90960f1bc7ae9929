#include "tools/sandbox/ServiceState.h"

#include <nlohmann/json.hpp>

#include "tools/sandbox/Random.h"

namespace sandbox {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kTraceableIdBytes = 16;
constexpr std::size_t kSecretBytes = 32;

Json scopesJson(const std::vector<Scope>& scopes) {
    Json list = Json::array();
    for (const Scope& scope : scopes)
        list.push_back({{"space", scope.space}, {"role", scope.role}});
    return list;
}

std::string availableContexts(const Account& account) {
    if (account.trusts.empty())
        return account.ownContext ? "b2c" : "";
    return account.ownContext ? "b2c,b2b" : "b2b";
}

// Who acts, by which number. A token for an organisation carries the organisation's number in place of the
// customer's own ones; a token without a context carries neither. A business has one number everywhere.
void addNumbers(Json& claims, const Account& account, const TokenPurpose& purpose) {
    if (purpose.trust != nullptr && !purpose.trust->businessContactNumber.empty())
        claims["businessContactNumber"] = purpose.trust->businessContactNumber;
    if (account.kind == AccountKind::business && !account.businessContactNumber.empty())
        claims["businessContactNumber"] = account.businessContactNumber;
    if (purpose.ownContext) {
        claims["customerNumber"] = account.customerNumber;
        claims["customerContactNumber"] = account.customerContactNumber;
    }
}

}  // namespace

ServiceState::ServiceState(Seed seed, Clock clock) : seed_(std::move(seed)), clock_(std::move(clock)) {
    reset();
}

void ServiceState::reset() {
    sessions_.clear();
    challenges_.clear();
    secrets_.clear();
    idempotency_.clear();
    finalization_ = seed_.rules.finalization;
    ticketRule_ = seed_.rules.tickets;
    feeds_.reset(seed_);
    tickets_ = {};
    metadata_ = {};
    accounts_.reset(seed_);
    social_.reset(seed_, accounts_, codeExpiry());
}

void ServiceState::expire(Perishable what) {
    switch (what) {
        case Perishable::tokens:
            return sessions_.clear();
        case Perishable::secrets:
            return secrets_.clear();
        case Perishable::challenges:
            return challenges_.clear();
        case Perishable::codes:
            return social_.expireCodes();
        case Perishable::idempotencyKeys:
            return idempotency_.clear();
    }
}

std::string ServiceState::issueToken(AccountRecord& owner, const TokenPurpose& purpose) {
    forgetExpired();
    const std::int64_t expiresAt = now() + rules().tokenLifetimeSeconds;
    Json claims;
    claims["jti"] = randomHex(kTraceableIdBytes);  // two tokens of one second differ
    claims["iat"] = now();
    claims["exp"] = expiresAt;
    claims["userid"] = owner.account->customer.id;
    addNumbers(claims, *owner.account, purpose);
    claims["customerAvailableContext"] = availableContexts(*owner.account);
    claims["scopes"] = scopesJson(purpose.scopes);
    std::string token = signer_.sign(claims.dump());
    sessions_[token] = {&owner, expiresAt};
    return token;
}

const Session* ServiceState::sessionOf(const std::string& token) const {
    return findLive(sessions_, token, now());
}

std::string ServiceState::openChallenge(AccountRecord& owner) {
    forgetExpired();
    std::string token = randomHex(kSecretBytes);
    challenges_[token] = {&owner, now() + rules().challengeLifetimeSeconds, 0};
    return token;
}

Challenge* ServiceState::challengeOf(const std::string& token) {
    return findLive(challenges_, token, now());
}

std::string ServiceState::issueIdentitySecret(AccountRecord& owner, const std::string& identityId,
                                              std::int64_t expiresAt) {
    std::string secret = randomHex(kSecretBytes);
    secrets_[secret] = {&owner, identityId, expiresAt};
    return secret;
}

const IdentitySecret* ServiceState::identitySecretOf(const std::string& secret) const {
    return findLive(secrets_, secret, now());
}

void ServiceState::forgetExpired() {
    eraseExpired(sessions_, now());
    eraseExpired(challenges_, now());
    eraseExpired(secrets_, now());
    social_.forgetExpired(now());
}

}  // namespace sandbox
