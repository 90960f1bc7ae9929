#include "core/src/registry/requests/IdentityRequest.h"

#include "tests/core/registry/requests/RequestExpectation.h"
#include "tests/support/LinearCost.h"

namespace {

using registry::IdentityRequestMode;
using test::Headers;
using test::kBaseUrl;
using test::RequestPointer;
using test::SystemApi;
using test::Text;

const Headers kJsonHeaders = {
    {"Cache-Control", "no-cache"},
    {"Content-Type", "application/json;charset=UTF-8"},
    {"Accept", "application/json"},
};
const Headers kTextHeaders = {
    {"Cache-Control", "no-cache"},
    {"Content-Type", "application/json;charset=UTF-8"},
    {"Accept", "text/plain"},
};

// Every value is set, so that one which a mode does not use would show.
registry::IdentityRequestParams AllParams() {
    registry::IdentityRequestParams params{kBaseUrl, "id 7", "My \"name\"", "3600 s", {}};
    params.rights.push_back({"space/1", "owner"}).value();
    params.rights.push_back({"", "user"}).value();
    return params;
}

RequestPointer Make(const registry::IdentityRequestParams& params, std::uint32_t mode) {
    return portable_stl::make_unique<registry::IdentityRequest<SystemApi>>(
        params, static_cast<IdentityRequestMode>(mode));
}

const test::RequestExpectation kRows[] = {
    {"records, whatever else is set",
     [](const portable_stl::string&) { return Make(AllParams(), 1); },
     "GET",
     "/api/registry/v2/identities",
     kJsonHeaders,
     "",
     {},
     "\"Get identity records\" request ..."},
    {"token, id and expiration as they stand",
     [](const portable_stl::string&) { return Make(AllParams(), 2); },
     "GET",
     "/api/registry/v2/identities/id 7/token?TokenExpiration=3600 s",
     kTextHeaders,
     "",
     {},
     "\"Get identity token\" request ..."},
    {"token of an empty id",
     [](const portable_stl::string& url) {
         return Make({url, "", "", "", {}}, 2);
     },
     "GET",
     "/api/registry/v2/identities//token",
     kTextHeaders,
     "",
     {},
     "\"Get identity token\" request ..."},
    {"new record, escaped, with rights",
     [](const portable_stl::string&) { return Make(AllParams(), 3); },
     "POST",
     "/api/registry/v2/identities",
     kJsonHeaders,
     R"({"name":"My \"name\"","type":"VQM_Access","role":"Regular","identityRights":)"
     R"([{"space":"space\/1","role":"owner"},{"space":"","role":"user"}]})",
     {{"name", "My \"name\""},
      {"type", "VQM_Access"},
      {"role", "Regular"},
      {"identityRights", R"([{"space":"space/1","role":"owner"},{"space":"","role":"user"}])"}},
     "\"Create identity record\" request ..."},
};

TEST(IdentityRequest, EveryByte) {
    for (const auto& row : kRows)
        test::ExpectRequest(row);
}

TEST(IdentityRequest, KeepsItsMethodAndItsMode) {
    const registry::IdentityRequest<SystemApi> request({kBaseUrl, "7", "", "", {}},
                                                       IdentityRequestMode::kCreateRecord);
    EXPECT_EQ(Text(request.method), "POST");
    EXPECT_EQ(request.mode, IdentityRequestMode::kCreateRecord);
}

TEST(IdentityRequest, AModeWithoutAnOperationStaysBareAndSilent) {
    for (const std::uint32_t mode : {0u, 4u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(mode);
        test::ScriptedPlatform platform;
        const RequestPointer request = Make(AllParams(), mode);
        EXPECT_EQ(Text(request->GetUrl()), "");
        EXPECT_EQ(Text(request->GetBody()), "");
        EXPECT_EQ(test::HeadersOf(*request), (Headers{{"Cache-Control", "no-cache"},
                                                      {"Content-Type", "application/json;charset=UTF-8"}}));
        EXPECT_TRUE(platform.traceLines.empty());
    }
}

TEST(IdentityRequest, ManyRightsTakeLinearCost) {
    test::ExpectLinearCost(10'000, [](std::size_t rights) {
        registry::IdentityRequestParams params = AllParams();
        for (std::size_t i = 0; i < rights; ++i)
            params.rights.push_back({"space", "user"}).value();
        RequestPointer request;
        const std::size_t bytes = test::AllocatedBytes([&] { request = Make(params, 3); });
        EXPECT_GT(request->GetBody().size(), rights * 30);
        return bytes;
    });
}

}  // namespace
