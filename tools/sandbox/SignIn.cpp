#include "tools/sandbox/SignIn.h"

#include <algorithm>
#include <iterator>

namespace sandbox {
namespace {

struct StateRefusal {
    AccountState state;
    int status;
    const char* errorCode;
    const char* detail;
};

constexpr StateRefusal kStateRefusals[] = {
    {AccountState::unverified, 403, "EMAIL_NOT_VERIFIED", "The e-mail address is not verified."},
    {AccountState::blocked, 403, "ACCOUNT_BLOCKED", "The account is blocked."},
    {AccountState::locked, 423, "ACCOUNT_LOCKED", "The account was locked for security reasons."},
    {AccountState::failing, 500, "", "The record of the account cannot be read."},
};

Answer refuseTemporarilyLocked(const ServiceState& state, const AccountRecord& owner) {
    Answer answer = refusal(429, "Too many wrong passwords.", "ACCOUNT_LOCKED_TRY_AGAIN");
    answer.headers.emplace_back("Retry-After", std::to_string(owner.lockedUntil - state.now()));
    return answer;
}

Answer refuseWrongPassword(const ServiceState& state, AccountRecord& owner) {
    if (++owner.wrongPasswords >= state.rules().wrongPasswordsBeforeLock) {
        owner.wrongPasswords = 0;
        owner.lockedUntil = state.now() + state.rules().lockSeconds;
    }
    return refusal(401, "The password is wrong.");
}

std::vector<Scope> rightsOf(const AccountRecord& owner, const std::string& identityId) {
    for (const IdentityRecord& identity : owner.identities) {
        if (identity.id == identityId)
            return identity.rights;
    }
    return {};
}

}  // namespace

Answer owned(Answer answer, const AccountRecord& owner) {
    answer.login = owner.account->login;
    return answer;
}

Answer grantToken(ServiceState& state, AccountRecord& owner, std::vector<Scope> scopes) {
    const TokenPurpose purpose{false, nullptr, std::move(scopes)};
    return owned(success({{"accessToken", state.issueToken(owner, purpose)}}), owner);
}

std::vector<Scope> firstScopes(const AccountRecord& owner) {
    if (owner.account->kind == AccountKind::customer)
        return {};
    return owner.account->scopes;
}

std::optional<Answer> refuseByState(const AccountRecord& owner) {
    const auto* found = std::find_if(std::begin(kStateRefusals), std::end(kStateRefusals),
                                     [&owner](const StateRefusal& row) { return row.state == owner.state; });
    if (found == std::end(kStateRefusals))
        return std::nullopt;
    return owned(refusal(found->status, found->detail, found->errorCode), owner);
}

std::optional<Answer> refusePassword(ServiceState& state, const Call& call, const PasswordRule& rule,
                                     AccountRecord*& owner) {
    std::string login;
    std::string password;
    if (const auto fault = readStrings(call.body, {{rule.loginMember, &login}, {"password", &password}});
        !fault.empty())
        return refusal(400, fault);
    owner = state.accounts().ofLogin(rule.kind, login);
    if (owner == nullptr)
        return refusal(rule.unknownLoginStatus, "There is no account of this login.");
    if (owner->lockedUntil > state.now())
        return owned(refuseTemporarilyLocked(state, *owner), *owner);
    if (owner->account->password != password)
        return owned(refuseWrongPassword(state, *owner), *owner);
    owner->wrongPasswords = 0;
    return refuseByState(*owner);
}

Answer signInPlainly(ServiceState& state, const Call& call, const PasswordRule& rule) {
    AccountRecord* owner = nullptr;
    if (auto refused = refusePassword(state, call, rule, owner))
        return *refused;
    return grantToken(state, *owner, firstScopes(*owner));
}

Answer signInByIdentity(ServiceState& state, const Call& call, AccountKind kind) {
    std::string secretKey;
    if (const auto fault = readStrings(call.body, {{"secretKey", &secretKey}}); !fault.empty())
        return refusal(400, fault);
    const IdentitySecret* secret = state.identitySecretOf(secretKey);
    if (secret == nullptr || secret->owner->account->kind != kind)
        return refusal(401, "The secret is unknown or has expired.");
    AccountRecord& owner = *secret->owner;
    if (auto refused = refuseByState(owner))
        return *refused;
    return grantToken(state, owner, rightsOf(owner, secret->identityId));
}

}  // namespace sandbox
