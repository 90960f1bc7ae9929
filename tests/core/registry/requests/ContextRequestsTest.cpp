#include "core/src/registry/requests/ContextRequests.h"

#include "tests/core/registry/requests/RequestExpectation.h"

namespace {

using portable_stl::string;
using test::kStandardHeaders;
using test::Make;
using test::RequestPointer;

RequestPointer Trust(const string& url, const char* trustorId) {
    return Make<registry::CustomerTrustTokenRequest, registry::CustomerTrustTokenParams>(url, trustorId);
}

const test::RequestExpectation kRows[] = {
    {"a trustor's context, escaped",
     [](const string& url) { return Trust(url, "org/\"1\"\xC3\xA9"); },
     "POST",
     "/api/customer/registry/v2/tokens/trust",
     kStandardHeaders,
     "{\"trustorId\":\"org\\/\\\"1\\\"\xC3\xA9\"}",
     {{"trustorId", "org/\"1\"\xC3\xA9"}},
     "CustomerTrustToken Request"},
    {"an empty trustor is written",
     [](const string& url) { return Trust(url, ""); },
     "POST",
     "/api/customer/registry/v2/tokens/trust",
     kStandardHeaders,
     R"({"trustorId":""})",
     {{"trustorId", ""}},
     "CustomerTrustToken Request"},
    {"trusts, other values than the defaults",
     [](const string& url) {
         return Make<registry::TrusteeTrustsRequest, registry::TrusteeTrustsParams>(url, "A b", false, true);
     },
     "GET",
     "/api/registry/v2/trustee/trusts?WithDetails=false&WithRights=true&level=A b",
     kStandardHeaders,
     "",
     {},
     "TrusteeTrusts token Request"},
};

TEST(ContextRequests, EveryByte) {
    for (const auto& row : kRows)
        test::ExpectRequest(row);
}

TEST(ContextRequests, TheDefaultsOfTheTrustList) {
    const registry::TrusteeTrustsParams params;
    EXPECT_EQ(test::Text(params.level), "Customer");
    EXPECT_TRUE(params.withDetails);
    EXPECT_FALSE(params.withRights);
}

}  // namespace
