// How a principal administrator makes another one.

#include "tools/sandbox/Random.h"
#include "tools/sandbox/Routes.h"

namespace sandbox {
namespace {

constexpr std::size_t kIdBytes = 12;

struct NewAdministrator {
    std::string name;
    std::string email;
    std::string password;
    std::string description;
    bool isEnabled = false;
};

// Says what is wrong with the body, or nothing.
std::string readAdministrator(const Json& body, NewAdministrator& wanted) {
    if (body.size() != 1 || !body[0].is_object())
        return "the array must hold one object";
    const Json& object = body[0];
    std::string fault = readStrings(object,
                                    {{"name", &wanted.name},
                                     {"email", &wanted.email},
                                     {"password", &wanted.password},
                                     {"description", &wanted.description}},
                                    {"isEnabled"});
    if (!fault.empty())
        return fault;
    if (!object.contains("isEnabled") || !object["isEnabled"].is_boolean())
        return "\"isEnabled\" must be true or false";
    wanted.isEnabled = object["isEnabled"].get<bool>();
    return {};
}

// His rights are those of who made him.
Account accountFor(const NewAdministrator& wanted, const Account& maker) {
    Account account;
    account.name = "made for " + wanted.email;
    account.kind = AccountKind::administrator;
    account.login = wanted.email;
    account.password = wanted.password;
    account.state = wanted.isEnabled ? AccountState::active : AccountState::blocked;
    account.scopes = maker.scopes;
    account.customer.id = randomHex(kIdBytes);
    account.customer.firstName = wanted.name;
    account.customer.email = wanted.email;
    account.customer.language = "en";
    account.customer.role = "Administrator";
    return account;
}

Answer createAdministrator(ServiceState& state, const Call& call) {
    NewAdministrator wanted;
    if (const auto fault = readAdministrator(call.body, wanted); !fault.empty())
        return refusal(400, fault);
    if (state.accounts().ofLogin(wanted.email) != nullptr)
        return refusal(409, "An account of this e-mail address already exists.", "ACCOUNT_ALREADY_EXISTS");
    const AccountRecord& made = state.accounts().add(accountFor(wanted, *call.account->account));
    const Json record = {{"id", made.account->customer.id},
                         {"name", wanted.name},
                         {"email", wanted.email},
                         {"description", wanted.description},
                         {"isEnabled", wanted.isEnabled}};
    return success(Json::array({record}));
}

constexpr Route kRoutes[] = {
    {"POST", "/api/admin/id/v0/principals/admins", Access::administrator, BodyRule::jsonArray,
     "application/json", createAdministrator},
};

}  // namespace

std::span<const Route> administratorRoutes() {
    return kRoutes;
}

}  // namespace sandbox
