#include "core/src/registry/requests/InformationRequests.h"

#include "tests/core/registry/requests/RequestExpectation.h"

namespace {

TEST(InformationRequests, EveryByte) {
    test::ExpectRequest({"the user's details, one header",
                         [] {
                             return test::RequestPointer(
                                 portable_stl::make_unique<registry::GetCustomerInfoRequest<test::SystemApi>>(
                                     registry::GetCustomerInfoParams{test::kBaseUrl}));
                         },
                         "GET",
                         "/api/registry/v2/users",
                         {{"Cache-Control", "no-cache"}},
                         "",
                         "\"Get Customer Information\" request",
                         ""});
}

}  // namespace
