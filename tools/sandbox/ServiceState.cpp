#include "tools/sandbox/ServiceState.h"

#include <openssl/rand.h>

#include <algorithm>
#include <nlohmann/json.hpp>

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
// customer's own ones; a token without a context carries neither.
void addNumbers(Json& claims, const Account& account, const TokenPurpose& purpose) {
    if (purpose.trust != nullptr && !purpose.trust->businessContactNumber.empty())
        claims["businessContactNumber"] = purpose.trust->businessContactNumber;
    if (purpose.ownContext) {
        claims["customerNumber"] = account.customerNumber;
        claims["customerContactNumber"] = account.customerContactNumber;
    }
}

template <typename Map>
void eraseExpired(Map& entries, std::int64_t now) {
    std::erase_if(entries, [now](const auto& entry) { return entry.second.expiresAt <= now; });
}

// The entry of a key unless its time has passed.
template <typename Map>
auto* findLive(Map& entries, const std::string& key, std::int64_t now) {
    const auto found = entries.find(key);
    return found == entries.end() || found->second.expiresAt <= now ? nullptr : &found->second;
}

}  // namespace

ServiceState::ServiceState(Seed seed, Clock clock) : seed_(std::move(seed)), clock_(std::move(clock)) {
    reset();
}

void ServiceState::reset() {
    sessions_.clear();
    challenges_.clear();
    secrets_.clear();
    records_.clear();
    records_.reserve(seed_.accounts.size());
    for (const Account& account : seed_.accounts)
        records_.push_back({&account, 0, 0, 0, {}});
}

AccountRecord* ServiceState::accountOfLogin(std::string_view login) {
    const auto found = std::find_if(records_.begin(), records_.end(), [login](const AccountRecord& record) {
        return record.account->login == login;
    });
    return found == records_.end() ? nullptr : &*found;
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
}

std::string randomHex(std::size_t bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string raw(bytes, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char*>(raw.data()), static_cast<int>(bytes)) != 1)
        throw std::runtime_error("the random generator failed");
    std::string text;
    for (const char byte : raw) {
        text += digits[static_cast<unsigned char>(byte) >> 4];
        text += digits[static_cast<unsigned char>(byte) & 0x0F];
    }
    return text;
}

}  // namespace sandbox
