// How the session of a business or of a principal administrator begins: in one step, without second factor
// and without contexts. An unknown login is answered like a wrong password.

#include "tools/sandbox/SignIn.h"

namespace sandbox {
namespace {

Answer signInBusiness(ServiceState& state, const Call& call) {
    return signInPlainly(state, call, {AccountKind::business, "login", 401});
}

Answer signInAdministrator(ServiceState& state, const Call& call) {
    return signInPlainly(state, call, {AccountKind::administrator, "email", 401});
}

Answer signInByBusinessIdentity(ServiceState& state, const Call& call) {
    return signInByIdentity(state, call, AccountKind::business);
}

constexpr Route kRoutes[] = {
    {"POST", "/api/business/registry/v2/tokens", Access::open, BodyRule::json, "application/json",
     signInBusiness},
    {"POST", "/api/business/registry/v2/tokens/identity", Access::open, BodyRule::json, "application/json",
     signInByBusinessIdentity},
    {"POST", "/api/admin/id/v0/tokens/password", Access::open, BodyRule::json, "application/json",
     signInAdministrator},
};

}  // namespace

std::span<const Route> businessRoutes() {
    return kRoutes;
}

}  // namespace sandbox
