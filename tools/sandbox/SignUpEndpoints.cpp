// How a newcomer whom a provider vouches for gets an account: the finalisation of a customer's sign-up, once
// for each Idempotency-Key, and the business context of a code.

#include "tools/sandbox/KeyedRequest.h"
#include "tools/sandbox/SocialRules.h"

namespace sandbox {
namespace {

// What a finalisation asks for, read from its body.
struct Finalization {
    std::string code;
    std::string providerKey;
    std::string accessToken;
    std::string cause;
};

// The two forms differ in how they name the person. `find` gives null and sets `refused` if it is nobody.
struct FinalizationForm {
    std::string (*read)(const Json& body, Finalization& finalization);
    const SocialPerson* (*find)(ServiceState& state, const Finalization& finalization, Answer& refused);
};

constexpr StandingRefusal kFinalizationRefusals[] = {
    {SocialStanding::linked, 403, "ACCOUNT_ALREADY_EXISTS", "The social account has its account already."},
    {SocialStanding::linkedElsewhere, 403, "ACCOUNT_ALREADY_EXISTS",
     "The social account is linked to another account."},
    {SocialStanding::emailTaken, 403, "ACCOUNT_ALREADY_EXISTS",
     "An account of this e-mail address already exists."},
};

constexpr StandingRefusal kDynamicContextRefusals[] = {
    {SocialStanding::linkedElsewhere, 403, "ACCOUNT_ALREADY_EXISTS",
     "The social account is linked to another account."},
    {SocialStanding::emailTaken, 403, "ACCOUNT_ALREADY_EXISTS",
     "An account of this e-mail address already exists."},
};

// A member that may be missing, but not empty.
std::string readCause(const Json& body, std::string& cause) {
    if (!body.contains("cause"))
        return {};
    if (!body["cause"].is_string() || body["cause"].get_ref<const std::string&>().empty())
        return "\"cause\" must be a string that is not empty";
    cause = body["cause"].get<std::string>();
    return {};
}

std::string readCodeForm(const Json& body, Finalization& finalization) {
    std::string fault = readStrings(body, {{"code", &finalization.code}}, {"cause"});
    return fault.empty() ? readCause(body, finalization.cause) : fault;
}

std::string readTokenForm(const Json& body, Finalization& finalization) {
    std::string fault = readStrings(
        body, {{"accessToken", &finalization.accessToken}, {"providerKey", &finalization.providerKey}},
        {"cause"});
    return fault.empty() ? readCause(body, finalization.cause) : fault;
}

const SocialPerson* findByCode(ServiceState& state, const Finalization& finalization, Answer& refused) {
    const AuthorizationCode* code = state.social().codeOf(finalization.code, state.now());
    if (code != nullptr)
        return code->person;
    refused = refusal(401, "The code is unknown, was used or has expired.");
    return nullptr;
}

const SocialPerson* findByToken(ServiceState& state, const Finalization& finalization, Answer& refused) {
    if (!state.social().hasProvider(finalization.providerKey)) {
        refused = refusal(404, "There is no such provider.");
        return nullptr;
    }
    const SocialPerson* person = state.social().ofToken(finalization.providerKey, finalization.accessToken);
    if (person == nullptr)
        refused = refusal(401, "The provider does not know the access token.");
    return person;
}

Answer makeAccount(ServiceState& state, const SocialPerson& person, const std::string& cause) {
    const SocialStanding standing = socialStanding(state, person, AccountKind::customer);
    if (auto refused = refuseStanding(kFinalizationRefusals, standing))
        return *refused;
    const AccountRecord& record = signUp(state, person, AccountKind::customer, cause);
    Answer answer = state.finalization().successStatus == 200 ? success(Json::object()) : noContent();
    answer.login = record.account->login;
    return answer;
}

// The code's life begins anew, so that it is still good for the sign-in behind the finalisation.
void keepCodeAlive(ServiceState& state, const std::string& text, std::int64_t busySeconds) {
    if (AuthorizationCode* code = state.social().codeOf(text, state.now()))
        code->expiresAt = state.codeExpiry() + busySeconds;
}

// Who can't be told is refused at once; for anybody else the work begins.
IdempotencyRecord beginWork(ServiceState& state, const Call& call, const Finalization& finalization,
                            const FinalizationForm& form) {
    const FinalizationRule& rule = state.finalization();
    IdempotencyRecord record = workFor(state, call, rule.busyAnswers, rule.busySeconds);
    Answer refused;
    record.person = form.find(state, finalization, refused);
    if (record.person == nullptr)
        record.answer = refused;
    keepCodeAlive(state, finalization.code, rule.busySeconds);
    return record;
}

Answer continueWork(ServiceState& state, const Finalization& finalization, IdempotencyRecord& record) {
    if (record.isBusy(state.now()))
        return askToWait(state.finalization().retryAfterSeconds);
    if (!record.answer) {
        record.answer = makeAccount(state, *record.person, finalization.cause);
        keepCodeAlive(state, finalization.code, 0);
    }
    return *record.answer;
}

void count(ServiceState& state, const SocialPerson* person, const std::string& key) {
    if (person == nullptr)
        return;
    SignUp& signUp = state.social().signUpOf(*person);
    ++signUp.requests;
    signUp.keys.insert(key);
}

// A request without a key, or with a body that can't be read, leaves no trace. Any other answer is kept with
// its key, a refusal too.
Answer finalize(ServiceState& state, const Call& call, const FinalizationForm& form) {
    KeyedRequest keyed;
    if (auto refused = readKey(state, call, keyed))
        return *refused;
    Finalization finalization;
    if (const auto fault = form.read(call.body, finalization); !fault.empty())
        return refusal(400, fault);
    if (keyed.record == nullptr)
        keyed.record =
            &state.idempotency().begin(keyed.key, beginWork(state, call, finalization, form), state.now());
    count(state, keyed.record->person, keyed.key);
    return continueWork(state, finalization, *keyed.record);
}

Answer finalizeByCode(ServiceState& state, const Call& call) {
    return finalize(state, call, {readCodeForm, findByCode});
}

Answer finalizeByToken(ServiceState& state, const Call& call) {
    return finalize(state, call, {readTokenForm, findByToken});
}

// A business whose account is there already is answered the same, and so is a code that has the context.
Answer useDynamicContext(ServiceState& state, const Call& call) {
    std::string text;
    std::string context;
    if (const auto fault = readStrings(call.body, {{"code", &text}, {"context", &context}}); !fault.empty())
        return refusal(400, fault);
    if (context != "business")
        return refusal(400, "The only context is business.");
    AuthorizationCode* code = state.social().codeOf(text, state.now());
    if (code == nullptr)
        return refusal(401, "The code is unknown, was used or has expired.");
    const SocialStanding standing = socialStanding(state, *code->person, AccountKind::business);
    if (auto refused = refuseStanding(kDynamicContextRefusals, standing))
        return *refused;
    code->businessContext = true;
    code->expiresAt = state.codeExpiry();
    return noContent();
}

constexpr Route kRoutes[] = {
    {"POST", "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH", Access::open, BodyRule::json,
     "application/json", finalizeByCode},
    {"POST", "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN", Access::open,
     BodyRule::json, "application/json", finalizeByToken},
    {"POST", "/api/quillmark/USE_DYNAMIC_CONTEXT", Access::open, BodyRule::json, "application/json",
     useDynamicContext},
};

}  // namespace

std::span<const Route> signUpRoutes() {
    return kRoutes;
}

}  // namespace sandbox
