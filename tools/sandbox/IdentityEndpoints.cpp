// Identity records: what lets a device sign in without a password, by a secret of its own.

#include <algorithm>
#include <charconv>
#include <optional>

#include "tools/sandbox/Random.h"
#include "tools/sandbox/Routes.h"

namespace sandbox {
namespace {

constexpr std::string_view kRoleWords[] = {"user", "manager", "owner"};  // at the index of their number
constexpr std::size_t kIdBytes = 12;

std::optional<std::uint32_t> roleNumber(const std::string& word) {
    const auto* found = std::find(std::begin(kRoleWords), std::end(kRoleWords), word);
    if (found == std::end(kRoleWords))
        return std::nullopt;
    return static_cast<std::uint32_t>(found - std::begin(kRoleWords));
}

Json identityJson(const IdentityRecord& identity) {
    Json rights = Json::array();
    for (const Scope& scope : identity.rights)
        rights.push_back({{"space", scope.space}, {"role", kRoleWords[std::min(scope.role, 2u)]}});
    return {{"id", identity.id},
            {"name", identity.name},
            {"type", identity.type},
            {"role", identity.role},
            {"identityRights", rights}};
}

Answer listIdentities(ServiceState&, const Call& call) {
    Json list = Json::array();
    for (const IdentityRecord& identity : call.account->identities)
        list.push_back(identityJson(identity));
    return success(list);
}

// Reads the rights of a new record; says what is wrong with them, or nothing.
std::string readRights(const Json& body, std::vector<Scope>& rights) {
    if (!body.contains("identityRights"))
        return {};
    if (!body["identityRights"].is_array())
        return "\"identityRights\" must be an array";
    for (const Json& element : body["identityRights"]) {
        std::string space;
        std::string role;
        if (!element.is_object())
            return "each of \"identityRights\" must be an object";
        if (auto fault = readStrings(element, {{"space", &space}, {"role", &role}}); !fault.empty())
            return fault;
        const auto number = roleNumber(role);
        if (!number)
            return "a \"role\" is user, manager or owner";
        rights.push_back({space, *number});
    }
    return {};
}

// Two records of one name are allowed: a client that doesn't find its own makes another.
Answer createIdentity(ServiceState&, const Call& call) {
    IdentityRecord identity;
    std::string fault =
        readStrings(call.body, {{"name", &identity.name}, {"type", &identity.type}, {"role", &identity.role}},
                    {"identityRights"});
    if (fault.empty())
        fault = readRights(call.body, identity.rights);
    if (!fault.empty())
        return refusal(400, fault);
    identity.id = randomHex(kIdBytes);
    call.account->identities.push_back(identity);
    return success(identityJson(identity));
}

// The life of a secret: "TokenExpiration" in whole seconds, for ever without it. Nothing for anything else.
std::optional<std::int64_t> secretExpiry(const NamedValues& query, std::int64_t now) {
    constexpr std::int64_t longestSeconds = 10LL * 366 * 24 * 3600;
    const std::string* text = findValue(query, "TokenExpiration");
    if (text == nullptr)
        return kNever;
    std::int64_t seconds = 0;
    const char* end = text->data() + text->size();
    const auto read = std::from_chars(text->data(), end, seconds);
    if (read.ec != std::errc() || read.ptr != end || seconds <= 0 || seconds > longestSeconds)
        return std::nullopt;
    return now + seconds;
}

// Each call makes a further secret and leaves the former ones good: a person's devices share one record.
Answer issueSecret(ServiceState& state, const Call& call) {
    const std::string& id = call.parameters.front();
    const auto& identities = call.account->identities;
    if (std::none_of(identities.begin(), identities.end(),
                     [&](const IdentityRecord& identity) { return identity.id == id; }))
        return refusal(404, "The account has no identity record of this id.");
    const auto expiresAt = secretExpiry(call.query, state.now());
    if (!expiresAt)
        return refusal(400, "TokenExpiration is a number of seconds.");
    Answer answer;
    answer.contentType = "text/plain";
    answer.body = state.issueIdentitySecret(*call.account, id, *expiresAt);
    return answer;
}

constexpr Route kRoutes[] = {
    {"GET", "/api/registry/v2/identities", Access::identity, BodyRule::none, "application/json",
     listIdentities},
    {"POST", "/api/registry/v2/identities", Access::identity, BodyRule::json, "application/json",
     createIdentity},
    {"GET", "/api/registry/v2/identities/{}/token", Access::identity, BodyRule::none, "text/plain",
     issueSecret},
};

}  // namespace

std::span<const Route> identityRoutes() {
    return kRoutes;
}

}  // namespace sandbox
