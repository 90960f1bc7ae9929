// How a session begins by the word of an outside provider: its list, its access token, its authorisation
// code.

#include "tools/sandbox/SignIn.h"
#include "tools/sandbox/SocialRules.h"

namespace sandbox {
namespace {

constexpr StandingRefusal kCustomerRefusals[] = {
    {SocialStanding::linkedElsewhere, 409, "SOCIAL_ACCOUNT_ALREADY_LINKED",
     "The social account is linked to another account."},
    {SocialStanding::emailTaken, 403, "ACCOUNT_ALREADY_EXISTS",
     "An account of this e-mail address already exists."},
    {SocialStanding::unknown, 404, "SIGN_UP_REQUIRED", "The sign-up must be finalized first."},
};

constexpr StandingRefusal kBusinessRefusals[] = {
    {SocialStanding::linkedElsewhere, 404, "", "The social account has no business account."},
    {SocialStanding::emailTaken, 403, "ACCOUNT_ALREADY_EXISTS",
     "An account of this e-mail address already exists."},
    {SocialStanding::unknown, 404, "DYNAMIC_CONTEXT_REQUIRED",
     "The code must be given the business context first."},
};

Answer listProviders(ServiceState& state, const Call&) {
    Json list = Json::array();
    for (const Provider& provider : state.seed().providers)
        list.push_back({{"key", provider.key}, {"displayName", provider.displayName}});
    return success(list);
}

// A second factor is not asked for: the provider has vouched for the person.
Answer admit(ServiceState& state, AccountRecord& owner) {
    if (auto refused = refuseByState(owner))
        return *refused;
    return grantToken(state, owner, firstScopes(owner));
}

Answer admitCustomer(ServiceState& state, const SocialPerson& person) {
    const SocialStanding standing = socialStanding(state, person, AccountKind::customer);
    if (auto refused = refuseStanding(kCustomerRefusals, standing))
        return *refused;
    return admit(state, *state.social().accountOf(person));
}

// The token stands in the query as the provider gave it, mostly without percent-encoding.
Answer signInByToken(ServiceState& state, const Call& call) {
    const std::string& provider = call.parameters.front();
    if (!state.social().hasProvider(provider))
        return refusal(404, "There is no such provider.");
    const std::string* token = findValue(call.query, "access_token");
    if (token == nullptr || token->empty())
        return refusal(400, "access_token is missing.");
    const SocialPerson* person = state.social().ofToken(provider, *token);
    if (person == nullptr)
        return refusal(401, "The provider does not know the access token.");
    return admitCustomer(state, *person);
}

Answer admitBusiness(ServiceState& state, const SocialPerson& person, bool businessContext) {
    const SocialStanding standing = socialStanding(state, person, AccountKind::business);
    if (standing == SocialStanding::unknown && businessContext)
        return admit(state, signUp(state, person, AccountKind::business, {}));
    if (auto refused = refuseStanding(kBusinessRefusals, standing))
        return *refused;
    return admit(state, *state.social().accountOf(person));
}

// A code is used up by the sign-in that it opens. A refused one leaves it, so that a sign-up can be finalized
// by it and then sign in.
Answer signInByCode(ServiceState& state, const Call& call, AccountKind kind) {
    std::string text;
    if (const auto fault = readStrings(call.body, {{"code", &text}}); !fault.empty())
        return refusal(400, fault);
    const AuthorizationCode* code = state.social().codeOf(text, state.now());
    if (code == nullptr)
        return refusal(401, "The code is unknown, was used or has expired.");
    Answer answer = kind == AccountKind::business ? admitBusiness(state, *code->person, code->businessContext)
                                                  : admitCustomer(state, *code->person);
    if (answer.status == 200)
        state.social().useUp(text);
    return answer;
}

Answer signInCustomerByCode(ServiceState& state, const Call& call) {
    return signInByCode(state, call, AccountKind::customer);
}

Answer signInBusinessByCode(ServiceState& state, const Call& call) {
    return signInByCode(state, call, AccountKind::business);
}

constexpr Route kRoutes[] = {
    {"GET", "/api/public/registry/v2/oauth/external/providers", Access::openOrBearer, BodyRule::none,
     "application/json", listProviders},
    {"GET", "/api/registry/v2/oauth/sign-in/{}", Access::open, BodyRule::none, "application/json",
     signInByToken},
    {"POST", "/api/customer/registry/v2/tokens/external", Access::open, BodyRule::json, "application/json",
     signInCustomerByCode},
    {"POST", "/api/business/registry/v2/tokens/external", Access::open, BodyRule::json, "application/json",
     signInBusinessByCode},
};

}  // namespace

std::span<const Route> socialRoutes() {
    return kRoutes;
}

}  // namespace sandbox
