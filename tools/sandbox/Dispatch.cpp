#include "tools/sandbox/Dispatch.h"

#include <algorithm>
#include <array>
#include <optional>

#include "tools/sandbox/Routes.h"

namespace sandbox {
namespace {

constexpr std::string_view kClientHeader = "x-vqm-custom";
constexpr std::string_view kClientName = "vqm-client";
constexpr std::string_view kBearerPrefix = "Bearer ";

// Every family of endpoints.
std::array<std::span<const Route>, 11> allRoutes() {
    return {signInRoutes(),   businessRoutes(), contextRoutes(),      userRoutes(),
            identityRoutes(), socialRoutes(),   signUpRoutes(),       feedRoutes(),
            ticketRoutes(),   metadataRoutes(), administratorRoutes()};
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

Refused takeBearer(ServiceState& state, const Request& request, Call& call) {
    const std::string* value = findHeader(request.headers, "Authorization");
    if (value == nullptr || !value->starts_with(kBearerPrefix))
        return refuseBearer("The request carries no access token.");
    const Session* session = state.sessionOf(value->substr(kBearerPrefix.size()));
    if (session == nullptr)
        return refuseBearer("The access token is unknown or has expired.");
    call.account = session->owner;
    return std::nullopt;
}

bool isAdmitted(Access access, AccountKind kind) {
    switch (access) {
        case Access::customer:
            return kind == AccountKind::customer;
        case Access::identity:
            return kind != AccountKind::administrator;
        case Access::administrator:
            return kind == AccountKind::administrator;
        default:
            return true;
    }
}

Refused checkAccess(ServiceState& state, const Request& request, Access access, Call& call) {
    const bool isSent = findHeader(request.headers, "Authorization") != nullptr;
    if (access == Access::open || (access == Access::openOrBearer && !isSent))
        return std::nullopt;
    if (auto refused = takeBearer(state, request, call))
        return refused;
    if (isAdmitted(access, call.account->account->kind))
        return std::nullopt;
    return refusal(403, "The endpoint is not for this kind of account.");
}

Refused checkBody(const Request& request, BodyRule rule, Call& call) {
    if (rule == BodyRule::none)
        return request.body.empty() ? Refused() : refusal(400, "The endpoint takes no body.");
    const std::string* type = findHeader(request.headers, "Content-Type");
    if (type == nullptr || !equalsIgnoringCase(mediaType(*type), "application/json"))
        return refusal(415, "The body must be application/json.");
    call.body = Json::parse(request.body, nullptr, false);
    if (rule == BodyRule::json && !call.body.is_object())
        return refusal(400, "The body must be a JSON object.");
    if (rule == BodyRule::jsonArray && !call.body.is_array())
        return refusal(400, "The body must be a JSON array.");
    return std::nullopt;
}

Answer runRoute(ServiceState& state, const Route& route, Call& call) {
    const Request& request = call.request;
    if (auto refused = checkClient(request))
        return *refused;
    if (auto refused = checkAccess(state, request, route.access, call))
        return *refused;
    if (!acceptsType(request.headers, route.produces))
        return refusal(406, "The endpoint answers as " + std::string(route.produces) + ".");
    if (auto refused = checkBody(request, route.body, call))
        return *refused;
    return route.handle(state, call);
}

}  // namespace

Answer dispatch(ServiceState& state, const Request& request) {
    Target target = splitTarget(request.target);
    Match match = findRoute(request.method, target.path);
    if (match.route == nullptr)
        return refuseRoute(match);
    Call call{request, std::move(target.query), std::move(match.parameters), nullptr, nullptr};
    Answer answer = runRoute(state, *match.route, call);
    if (call.account != nullptr)
        answer.login = call.account->account->login;
    return answer;
}

}  // namespace sandbox
