// How a session begins: password, second factor, the secret of an identity.

#include "tools/sandbox/Routes.h"
#include "tools/sandbox/Totp.h"

namespace sandbox {
namespace {

// A token as it is before a context was chosen.
Answer grantToken(ServiceState& state, AccountRecord& owner, std::vector<Scope> scopes = {}) {
    Answer answer = success({{"accessToken", state.issueToken(owner, {false, nullptr, std::move(scopes)})}});
    answer.login = owner.account->login;
    return answer;
}

Answer owned(Answer answer, const AccountRecord& owner) {
    answer.login = owner.account->login;
    return answer;
}

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

// What a right password gives, by the state of the account. Only who knows the password learns the state.
Answer answerByState(ServiceState& state, AccountRecord& owner) {
    switch (owner.account->state) {
        case AccountState::unverified:
            return refusal(403, "The e-mail address is not verified.", "EMAIL_NOT_VERIFIED");
        case AccountState::blocked:
            return refusal(403, "The account is blocked.", "ACCOUNT_BLOCKED");
        case AccountState::locked:
            return refusal(423, "The account was locked for security reasons.", "ACCOUNT_LOCKED");
        case AccountState::active:
            break;
    }
    if (owner.account->totpSecret.empty())
        return grantToken(state, owner);
    return refusal(403, "A second factor is required.", "2FA_TOTP_REQUIRED",
                   {{"challengeToken", state.openChallenge(owner)}});
}

Answer signInByPassword(ServiceState& state, const Call& call) {
    std::string login;
    std::string password;
    if (const auto fault = readStrings(call.body, {{"login", &login}, {"password", &password}});
        !fault.empty())
        return refusal(400, fault);
    AccountRecord* owner = state.accountOfLogin(login);
    if (owner == nullptr)
        return refusal(404, "There is no account of this login.");
    if (owner->lockedUntil > state.now())
        return owned(refuseTemporarilyLocked(state, *owner), *owner);
    if (owner->account->password != password)
        return owned(refuseWrongPassword(state, *owner), *owner);
    owner->wrongPasswords = 0;
    return owned(answerByState(state, *owner), *owner);
}

Answer refuseWrongCode(ServiceState& state, Challenge& challenge, const std::string& challengeToken) {
    if (++challenge.wrongCodes >= state.rules().wrongCodesPerChallenge)
        state.closeChallenge(challengeToken);
    return refusal(401, "The code is wrong.", "CODE_VERIFICATION_FAILED");
}

Answer signInBySecondFactor(ServiceState& state, const Call& call) {
    std::string challengeToken;
    std::string code;
    if (const auto fault = readStrings(call.body, {{"challengeToken", &challengeToken}, {"code", &code}});
        !fault.empty())
        return refusal(400, fault);
    Challenge* challenge = state.challengeOf(challengeToken);
    if (challenge == nullptr)
        return refusal(404, "The challenge is unknown or has expired.");
    AccountRecord& owner = *challenge->owner;
    const auto key = decodeBase32(owner.account->totpSecret);
    const auto step = acceptedTotpStep(key.value_or(""), code, state.now(), owner.lastTotpStep);
    if (!step)
        return owned(refuseWrongCode(state, *challenge, challengeToken), owner);
    owner.lastTotpStep = *step;
    state.closeChallenge(challengeToken);
    return grantToken(state, owner);
}

std::vector<Scope> rightsOf(const AccountRecord& owner, const std::string& identityId) {
    for (const IdentityRecord& identity : owner.identities) {
        if (identity.id == identityId)
            return identity.rights;
    }
    return {};
}

Answer signInByIdentity(ServiceState& state, const Call& call) {
    std::string secretKey;
    if (const auto fault = readStrings(call.body, {{"secretKey", &secretKey}}); !fault.empty())
        return refusal(400, fault);
    const IdentitySecret* secret = state.identitySecretOf(secretKey);
    if (secret == nullptr)
        return refusal(401, "The secret is unknown or has expired.");
    AccountRecord& owner = *secret->owner;
    return grantToken(state, owner, rightsOf(owner, secret->identityId));
}

constexpr Route kRoutes[] = {
    {"POST", "/api/customer/registry/v2/tokens", Access::open, BodyRule::json, "application/json",
     signInByPassword},
    {"POST", "/api/customer/registry/v2/2fa/totp/tokens", Access::open, BodyRule::json, "application/json",
     signInBySecondFactor},
    {"POST", "/api/customer/registry/v2/tokens/identity", Access::open, BodyRule::json, "application/json",
     signInByIdentity},
};

}  // namespace

std::span<const Route> signInRoutes() {
    return kRoutes;
}

}  // namespace sandbox
