// In whose name a session acts: the customer's own context, or that of somebody who trusts him.

#include <algorithm>

#include "tools/sandbox/Routes.h"

namespace sandbox {
namespace {

Answer takeOwnContext(ServiceState& state, const Call& call) {
    const Account& account = *call.account->account;
    if (!account.ownContext)
        return refusal(404, "The account has no context of its own.");
    return success({{"accessToken", state.issueToken(*call.account, {true, nullptr, account.scopes})}});
}

Answer takeTrustContext(ServiceState& state, const Call& call) {
    std::string trustorId;
    if (const auto fault = readStrings(call.body, {{"trustorId", &trustorId}}); !fault.empty())
        return refusal(400, fault);
    const std::vector<Trust>& trusts = call.account->account->trusts;
    const auto trust = std::find_if(trusts.begin(), trusts.end(),
                                    [&](const Trust& candidate) { return candidate.trustorId == trustorId; });
    if (trust == trusts.end())
        return refusal(404, "Nobody of this id trusts the account.");
    return success({{"accessToken", state.issueToken(*call.account, {false, &*trust, trust->scopes})}});
}

Json detailsJson(const Trust& trust) {
    return {{"type", trust.type},           {"name", trust.name},
            {"firstName", trust.firstName}, {"middleName", trust.middleName},
            {"lastName", trust.lastName},   {"email", trust.email},
            {"phone", trust.phone}};
}

Json rightsJson(const Trust& trust) {
    Json list = Json::array();
    for (const TrustRight& right : trust.rights)
        list.push_back(
            {{"id", right.id}, {"space", right.space}, {"role", right.role}, {"bans", right.bans}});
    return list;
}

// A flag of the query; missing is false. False is returned for a value that is neither word.
bool readFlag(const NamedValues& query, std::string_view name, bool& flag) {
    const std::string* value = findValue(query, name);
    flag = value != nullptr && *value == "true";
    return value == nullptr || *value == "true" || *value == "false";
}

Answer listTrusts(ServiceState&, const Call& call) {
    bool withDetails = false;
    bool withRights = false;
    if (!readFlag(call.query, "WithDetails", withDetails) || !readFlag(call.query, "WithRights", withRights))
        return refusal(400, "WithDetails and WithRights are true or false.");
    if (const std::string* level = findValue(call.query, "level"); level == nullptr || *level != "Customer")
        return refusal(400, "The only level is Customer.");
    Json list = Json::array();
    for (const Trust& trust : call.account->account->trusts) {
        Json entry = {{"id", trust.id}, {"trustorId", trust.trustorId}};
        if (withRights)
            entry["trustRights"] = rightsJson(trust);
        if (withDetails)
            entry["trustorDetails"] = detailsJson(trust);
        list.push_back(std::move(entry));
    }
    return success(list);
}

constexpr Route kRoutes[] = {
    {"POST", "/api/customer/registry/v2/tokens/context", Access::customer, BodyRule::none, "application/json",
     takeOwnContext},
    {"POST", "/api/customer/registry/v2/tokens/trust", Access::customer, BodyRule::json, "application/json",
     takeTrustContext},
    {"GET", "/api/registry/v2/trustee/trusts", Access::customer, BodyRule::none, "application/json",
     listTrusts},
};

}  // namespace

std::span<const Route> contextRoutes() {
    return kRoutes;
}

}  // namespace sandbox
