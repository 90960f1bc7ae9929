// Who the bearer is.

#include "tools/sandbox/Routes.h"

namespace sandbox {
namespace {

Answer showUser(ServiceState&, const Call& call) {
    const Customer& customer = call.account->account->customer;
    return success({{"id", customer.id},
                    {"firstName", customer.firstName},
                    {"lastName", customer.lastName},
                    {"middleName", customer.middleName},
                    {"email", customer.email},
                    {"language", customer.language},
                    {"country", customer.country},
                    {"state", customer.state},
                    {"city", customer.city},
                    {"address", customer.address},
                    {"emailConfirmed", customer.emailConfirmed},
                    {"role", customer.role},
                    {"gdprStatus", customer.gdprStatus},
                    {"uwgStatus", customer.uwgStatus}});
}

constexpr Route kRoutes[] = {
    {"GET", "/api/registry/v2/users", Access::bearer, BodyRule::none, "application/json", showUser},
};

}  // namespace

std::span<const Route> userRoutes() {
    return kRoutes;
}

}  // namespace sandbox
