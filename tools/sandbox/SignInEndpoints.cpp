// How a customer's session begins: password, second factor, the secret of an identity.

#include "tools/sandbox/SignIn.h"
#include "tools/sandbox/Totp.h"

namespace sandbox {
namespace {

// Only who knows the password learns that there is a second factor.
Answer signInByPassword(ServiceState& state, const Call& call) {
    AccountRecord* owner = nullptr;
    if (auto refused = refusePassword(state, call, {AccountKind::customer, "login", 404}, owner))
        return *refused;
    if (owner->account->totpSecret.empty())
        return grantToken(state, *owner, firstScopes(*owner));
    return owned(refusal(403, "A second factor is required.", "2FA_TOTP_REQUIRED",
                         {{"challengeToken", state.openChallenge(*owner)}}),
                 *owner);
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
    return grantToken(state, owner, firstScopes(owner));
}

Answer signInByCustomersIdentity(ServiceState& state, const Call& call) {
    return signInByIdentity(state, call, AccountKind::customer);
}

constexpr Route kRoutes[] = {
    {"POST", "/api/customer/registry/v2/tokens", Access::open, BodyRule::json, "application/json",
     signInByPassword},
    {"POST", "/api/customer/registry/v2/2fa/totp/tokens", Access::open, BodyRule::json, "application/json",
     signInBySecondFactor},
    {"POST", "/api/customer/registry/v2/tokens/identity", Access::open, BodyRule::json, "application/json",
     signInByCustomersIdentity},
};

}  // namespace

std::span<const Route> signInRoutes() {
    return kRoutes;
}

}  // namespace sandbox
