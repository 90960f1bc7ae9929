#include "core/src/registry/requests/ContextRequests.h"

#include "tests/core/registry/requests/RequestExpectation.h"

namespace {

using test::kBaseUrl;
using test::kStandardHeaders;
using test::RequestPointer;
using test::SystemApi;

RequestPointer Trusts(const registry::TrusteeTrustsParams& params) {
    return portable_stl::make_unique<registry::TrusteeTrustsRequest<SystemApi>>(params);
}

const test::RequestExpectation kRows[] = {
    {"own context, no body at all",
     [] {
         return RequestPointer(portable_stl::make_unique<registry::CustomerContextRequest<SystemApi>>(
             registry::CustomerContextParams{kBaseUrl}));
     },
     "POST", "/api/customer/registry/v2/tokens/context", kStandardHeaders, "",
     "CustomerContext token Request", ""},
    {"a trustor's context",
     [] {
         return RequestPointer(portable_stl::make_unique<registry::CustomerTrustTokenRequest<SystemApi>>(
             registry::CustomerTrustTokenParams{kBaseUrl, "org/1"}));
     },
     "POST", "/api/customer/registry/v2/tokens/trust", kStandardHeaders, R"({"trustorId":"org\/1"})",
     "CustomerTrustToken Request", R"({"trustorId":"org\/1"})"},
    {"trusts, by the defaults",
     [] {
         registry::TrusteeTrustsParams params;
         params.baseUrl = kBaseUrl;
         return Trusts(params);
     },
     "GET", "/api/registry/v2/trustee/trusts?WithDetails=true&WithRights=false&level=Customer",
     kStandardHeaders, "", "TrusteeTrusts token Request", ""},
    {"trusts, other values",
     [] {
         return Trusts({kBaseUrl, "A b", false, true});
     },
     "GET", "/api/registry/v2/trustee/trusts?WithDetails=false&WithRights=true&level=A b", kStandardHeaders,
     "", "TrusteeTrusts token Request", ""},
};

TEST(ContextRequests, EveryByte) {
    for (const auto& row : kRows)
        test::ExpectRequest(row);
}

}  // namespace
