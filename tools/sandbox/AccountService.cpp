#include "tools/sandbox/AccountService.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <mutex>

#include "tools/sandbox/Routes.h"
#include "tools/sandbox/Totp.h"

namespace sandbox {
namespace {

constexpr std::string_view kClientHeader = "x-vqm-custom";
constexpr std::string_view kClientName = "vqm-client";
constexpr std::string_view kBearerPrefix = "Bearer ";

// Every family of endpoints.
std::array<std::span<const Route>, 4> allRoutes() {
    return {signInRoutes(), contextRoutes(), userRoutes(), identityRoutes()};
}

struct Match {
    const Route* route = nullptr;
    std::vector<std::string> parameters;
    std::string otherMethods;  // of rows that fit by path alone
};

Match findRoute(std::string_view method, std::string_view path) {
    Match match;
    std::vector<std::string> parameters;
    for (const auto& family : allRoutes()) {
        for (const Route& route : family) {
            if (!matchPath(route.pattern, path, parameters))
                continue;
            if (route.method == method)
                return {&route, parameters, {}};
            match.otherMethods += (match.otherMethods.empty() ? "" : ", ") + std::string(route.method);
        }
    }
    return match;
}

Answer refuseRoute(const Match& match) {
    if (match.otherMethods.empty())
        return refusal(404, "There is no such endpoint.");
    Answer answer = refusal(405, "The endpoint has no such method.");
    answer.headers.emplace_back("Allow", match.otherMethods);
    return answer;
}

Answer refuseBearer(const std::string& detail) {
    Answer answer = refusal(401, detail);
    answer.headers.emplace_back("WWW-Authenticate", "Bearer");
    return answer;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

// "application/json" of "application/json;charset=UTF-8".
std::string_view mediaType(std::string_view value) {
    return trimmed(value.substr(0, value.find(';')));
}

// A missing "Accept" takes anything (RFC 9110, 12.5.1).
bool acceptsType(const NamedValues& headers, std::string_view type) {
    const std::string* accept = findHeader(headers, "Accept");
    if (accept == nullptr)
        return true;
    const std::string anySubtype = std::string(type.substr(0, type.find('/'))) + "/*";
    for (std::string_view rest = *accept; !rest.empty();) {
        const std::string_view element = rest.substr(0, rest.find(','));
        const std::string_view wanted = mediaType(element);
        if (wanted == "*/*" || equalsIgnoringCase(wanted, type) || equalsIgnoringCase(wanted, anySubtype))
            return true;
        rest.remove_prefix(std::min(element.size() + 1, rest.size()));
    }
    return false;
}

using Refused = std::optional<Answer>;  // nothing: go on

Refused checkClient(const Request& request) {
    const std::string* client = findHeader(request.headers, kClientHeader);
    if (client != nullptr && *client == kClientName)
        return std::nullopt;
    return refusal(400, "The header x-vqm-custom must name the client.");
}

Refused checkBearer(ServiceState& state, const Request& request, Call& call) {
    const std::string* value = findHeader(request.headers, "Authorization");
    if (value == nullptr || !value->starts_with(kBearerPrefix))
        return refuseBearer("The request carries no access token.");
    const Session* session = state.sessionOf(value->substr(kBearerPrefix.size()));
    if (session == nullptr)
        return refuseBearer("The access token is unknown or has expired.");
    call.account = session->owner;
    return std::nullopt;
}

Refused checkBody(const Request& request, BodyRule rule, Call& call) {
    if (rule == BodyRule::none)
        return request.body.empty() ? Refused() : refusal(400, "The endpoint takes no body.");
    const std::string* type = findHeader(request.headers, "Content-Type");
    if (type == nullptr || !equalsIgnoringCase(mediaType(*type), "application/json"))
        return refusal(415, "The body must be application/json.");
    call.body = Json::parse(request.body, nullptr, false);
    if (!call.body.is_object())
        return refusal(400, "The body must be a JSON object.");
    return std::nullopt;
}

Answer runRoute(ServiceState& state, const Route& route, Call& call) {
    const Request& request = call.request;
    if (auto refused = checkClient(request))
        return *refused;
    if (route.access == Access::bearer) {
        if (auto refused = checkBearer(state, request, call))
            return *refused;
    }
    if (!acceptsType(request.headers, route.produces))
        return refusal(406, "The endpoint answers as " + std::string(route.produces) + ".");
    if (auto refused = checkBody(request, route.body, call))
        return *refused;
    return route.handle(state, call);
}

}  // namespace

struct AccountService::Guarded {
    Guarded(Seed seed, Clock clock) : state(std::move(seed), std::move(clock)) {}

    std::mutex mutex;
    ServiceState state;
};

std::int64_t systemClock() {
    using std::chrono::seconds;
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<seconds>(sinceEpoch).count();
}

AccountService::AccountService(Seed seed, Clock clock)
    : guarded_(std::make_unique<Guarded>(std::move(seed), std::move(clock))) {}

AccountService::~AccountService() = default;

Answer AccountService::answer(const Request& request) {
    const std::lock_guard lock(guarded_->mutex);
    Target target = splitTarget(request.target);
    Match match = findRoute(request.method, target.path);
    if (match.route == nullptr)
        return refuseRoute(match);
    Call call{request, std::move(target.query), std::move(match.parameters), nullptr, nullptr};
    Answer answer = runRoute(guarded_->state, *match.route, call);
    if (call.account != nullptr)
        answer.login = call.account->account->login;
    return answer;
}

void AccountService::expireTokens() {
    const std::lock_guard lock(guarded_->mutex);
    guarded_->state.expireTokens();
}

void AccountService::setTokenLifetime(std::int64_t seconds) {
    const std::lock_guard lock(guarded_->mutex);
    guarded_->state.setTokenLifetime(seconds);
}

void AccountService::reset() {
    const std::lock_guard lock(guarded_->mutex);
    guarded_->state.reset();
}

std::optional<std::string> AccountService::totpCode(std::string_view login) const {
    const std::lock_guard lock(guarded_->mutex);
    const AccountRecord* record = guarded_->state.accountOfLogin(login);
    if (record == nullptr || record->account->totpSecret.empty())
        return std::nullopt;
    const std::int64_t current = totpStep(guarded_->state.now());
    const std::int64_t step = std::max(current, record->lastTotpStep + 1);
    if (step > current + 1)
        return std::nullopt;
    return sandbox::totpCode(decodeBase32(record->account->totpSecret).value_or(""), step);
}

const Account& AccountService::account(std::string_view name) const {
    return accountNamed(guarded_->state.seed(), name);
}

std::string AccountService::tokenKeyPem() const {
    return guarded_->state.signer().publicKeyPem();
}

}  // namespace sandbox
