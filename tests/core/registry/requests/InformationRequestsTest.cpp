#include "core/src/registry/requests/InformationRequests.h"

#include "tests/core/registry/requests/RequestExpectation.h"

namespace {

using test::SystemApi;
using test::Text;

TEST(InformationRequests, TheLogTextShowsOneHeader) {
    test::ScriptedPlatform platform;
    const registry::GetCustomerInfoRequest<SystemApi> request(registry::GetCustomerInfoParams{"https://x"});
    EXPECT_EQ(Text(request.Describe()),
              "\tXmlHttp parameters: \n\turl: https://x/api/registry/v2/users\n\theaders:\n"
              "\t\tCache-Control : no-cache\n\tbody: \n");
}

TEST(InformationRequests, AnEmptyBaseUrlLeavesThePath) {
    test::ScriptedPlatform platform;
    const registry::GetCustomerInfoRequest<SystemApi> request(registry::GetCustomerInfoParams{});
    EXPECT_EQ(Text(request.GetUrl()), "/api/registry/v2/users");
}

}  // namespace
