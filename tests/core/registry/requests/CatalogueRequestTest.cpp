#include "core/src/registry/requests/CatalogueRequest.h"
#include "core/src/registry/requests/RequestRows.h"

#include "tests/core/registry/RegistryFixture.h"

namespace {

using test::Lines;
using test::SystemApi;
using test::Text;

// A request of a row whose body could, or could not, be written.
class Probe final : public registry::CatalogueRequest<SystemApi> {
public:
    Probe(const registry::RequestRow& row, bool isSerialised)
        : registry::CatalogueRequest<SystemApi>(row, test::kBaseUrl) {
        this->body = "half a bo";
        this->Finish(isSerialised);
    }
};

TEST(CatalogueRequest, ABodyThatCanNotBeWrittenIsDroppedAndToldInOneLine) {
    const struct {
        const char* name;
        const registry::RequestRow& row;
        Lines lines;
    } rows[] = {
        {"CustomerAuthorizeRequest",
         registry::kCustomerAuthorizeRow,
         {"SessionRequest: ERROR_INTERNAL - failed to create Json string"}},
        {"CustomerAuthorize2FARequest",
         registry::kCustomerAuthorize2FARow,
         {"CustomerAuthorize2FARequest: ERROR_INTERNAL - failed to create Json string"}},
        {"AuthorizeViaIdentityRequest of a person",
         registry::kAuthorizeViaIdentityRows[0],
         {"SessionRequest: ERROR_INTERNAL - failed to create Json string"}},
        {"AuthorizeViaIdentityRequest of a business",
         registry::kAuthorizeViaIdentityRows[1],
         {"SessionRequest: ERROR_INTERNAL - failed to create Json string"}},
        {"BusinessAuthorizeRequest",
         registry::kBusinessAuthorizeRow,
         {"BusinessAuthorizeRequest: ERROR_INTERNAL - failed to create Json string"}},
        {"PrincipalAdminAuthorizeRequest",
         registry::kPrincipalAdminAuthorizeRow,
         {"PrincipalAdminAuthorizeRequest: ERROR_INTERNAL - failed to create Json string"}},
        {"AuthorizeViaSocialDesktopRequest",
         registry::kAuthorizeViaSocialDesktopRow,
         {"AuthorizeViaSocialDesktopRequest: ERROR_INTERNAL - failed to create Json string"}},
        {"BusinessAuthorizeViaSocialDesktopRequest",
         registry::kBusinessAuthorizeViaSocialDesktopRow,
         {"BusinessAuthorizeViaSocialDesktopRequest: failed to create Json string"}},
        {"UseDynamicContextRequest",
         registry::kUseDynamicContextRow,
         {"UseDynamicContextRequest: failed to create Json string"}},
        {"IdentityRequest",
         registry::kIdentityRows[3],
         {"IdentityRequest: ERROR_INTERNAL - failed to create Json string"}},
        {"CustomerTrustTokenRequest has no line", registry::kCustomerTrustTokenRow, {}},
        {"CustomerRegistrationFinalizeRequest by code has no line",
         registry::kCustomerRegistrationFinalizeRows[0],
         {}},
        {"CustomerRegistrationFinalizeRequest by token has no line",
         registry::kCustomerRegistrationFinalizeRows[1],
         {}},
    };
    for (const auto& row : rows) {
        test::ScriptedPlatform platform;
        const Probe probe(row.row, false);
        EXPECT_EQ(platform.traceLines, row.lines) << row.name;
        EXPECT_EQ(Text(probe.GetBody()), "") << row.name;
        EXPECT_NE(Text(probe.GetUrl()), test::kBaseUrl) << row.name << ": the request is valid";
        EXPECT_EQ(probe.GetHeaders().size(), 3u) << row.name;
    }
}

TEST(CatalogueRequest, HidesTheBodyOfARowThatSaysSo) {
    test::ScriptedPlatform platform;
    const Probe hidden(registry::kCustomerAuthorizeRow, true);
    const Probe shown(registry::kCustomerTrustTokenRow, true);
    EXPECT_EQ(Text(hidden.Describe()).find("half a bo"), std::string::npos);
    EXPECT_NE(Text(shown.Describe()).find("\tbody: half a bo\n"), std::string::npos);
    ASSERT_EQ(platform.traceLines.size(), 2u);
    EXPECT_EQ(platform.traceLines[0].find("half a bo"), std::string::npos);
    EXPECT_EQ(platform.traceLines[1], "CustomerTrustToken Request:\n" + Text(shown.Describe()));
}

TEST(CatalogueRequest, ALaterHeaderShowsInALaterDescriptionOnly) {
    test::ScriptedPlatform platform;
    Probe probe(registry::kCustomerContextRow, true);
    probe.SetHeader("Authorization", "Bearer marked");
    ASSERT_EQ(platform.traceLines.size(), 1u);
    EXPECT_EQ(platform.traceLines[0].find("marked"), std::string::npos);
    EXPECT_NE(Text(probe.Describe()).find("\t\tAuthorization : Bearer marked\n"), std::string::npos);
}

}  // namespace
