// The sign-in of a business and of a principal administrator: what it asks of the service, and what it
// stores.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/FlatFixture.h"

namespace {

using quillmarkclient::ContextChoice;
using quillmarkclient::CustomerContext;
using test::Operation;
using Strings = std::vector<std::string>;

CustomerContext** const kUnset = reinterpret_cast<CustomerContext**>(0x5a);  // never followed

class FlatSignInKinds : public test::FlatFixture {
protected:
    ResultCode SignIn() { return quillmarkclient::SignIn(context, "anna", "pw", nullptr); }
};

TEST_F(FlatSignInKinds, ABusinessIsStoredWithoutAContext) {
    constexpr char kBusinessPassword[] = "POST /api/business/registry/v2/tokens";
    init.clientKind = 1;
    service.Answer(kBusinessPassword, 200, R"({"accessToken":"business-token"})");
    Start();
    EXPECT_EQ(SignIn(), ResultCode::kSuccess);
    EXPECT_EQ(Lines(),
              (Strings{kBusinessPassword, test::kIdentities, test::kNewIdentity, test::kIdentitySecret}));
    EXPECT_EQ(platform.requests[0].body, R"({"login":"anna","password":"pw"})");
    EXPECT_EQ(AccessToken(), "business-token");
    EXPECT_EQ(FileText("store/LIC0"),
              R"({"identityToken":"identity-secret","contextType":"b2c","contextId":""})");
    EXPECT_EQ(FileText("store/LIC"), R"({"contextToken":"business-token"})");
    EXPECT_EQ(platform.files.size(), 2u);
    EXPECT_TRUE(platform.errors.empty());
}

TEST_F(FlatSignInKinds, AnAdministratorIsNotStored) {
    constexpr char kAdministratorPassword[] = "POST /api/admin/id/v0/tokens/password";
    init.clientKind = 2;
    service.Answer(kAdministratorPassword, 200, R"({"accessToken":"admin-token"})");
    Start();
    EXPECT_EQ(SignIn(), ResultCode::kSuccess);
    EXPECT_EQ(Lines(), Strings{kAdministratorPassword}) << "no identity is asked for";
    EXPECT_EQ(platform.requests[0].body, R"({"email":"anna","password":"pw"})");
    EXPECT_TRUE(IsSignedIn());
    EXPECT_EQ(AccessToken(), "admin-token");
    EXPECT_TRUE(platform.files.empty());
    EXPECT_EQ(platform.CallCount(Operation::FileWrite), 0u);
    EXPECT_EQ(platform.traceLines.size(), 1u) << "the request, and nothing about tokens";
    EXPECT_TRUE(platform.errors.empty());

    Start();
    EXPECT_FALSE(IsSignedIn()) << "the next start finds nobody signed in";
}

TEST_F(FlatSignInKinds, ARefusedBusinessOrAdministratorStoresNothing) {
    static const struct {
        const char* name;
        std::uint32_t clientKind;
        const char* request;
    } rows[] = {
        {"business", 1, "POST /api/business/registry/v2/tokens"},
        {"administrator", 2, "POST /api/admin/id/v0/tokens/password"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        init.clientKind = row.clientKind;
        service.Answer(row.request, 401, "");
        Start();
        Forget();
        EXPECT_EQ(SignIn(), ResultCode::kInvalidLoginOrPassword);
        ExpectReported(ResultCode::kInvalidLoginOrPassword);
        EXPECT_EQ(Lines(), Strings{row.request});
        EXPECT_FALSE(IsSignedIn());
        EXPECT_TRUE(platform.files.empty());
    }
}

TEST_F(FlatSignInKinds, StepsThatABusinessAndAnAdministratorLackAreReported) {
    for (const std::uint32_t clientKind : {1u, 2u}) {
        SCOPED_TRACE(clientKind);
        init.clientKind = clientKind;
        Start();
        EXPECT_EQ(quillmarkclient::ConfirmSecondFactor(context, "c", "1", nullptr),
                  ResultCode::kNotImplemented);
        ExpectReported(ResultCode::kNotImplemented);
        CustomerContext** list = kUnset;
        EXPECT_EQ(quillmarkclient::GetCustomerContexts(context, &list, nullptr), ResultCode::kNotImplemented);
        ExpectReported(ResultCode::kNotImplemented);
        EXPECT_EQ(list, kUnset);
        const ContextChoice choice{1, "org-1"};
        EXPECT_EQ(quillmarkclient::SignInToContext(context, &choice, nullptr), ResultCode::kNotImplemented);
        ExpectReported(ResultCode::kNotImplemented);
    }
    EXPECT_EQ(platform.errors.size(), 6u);
    EXPECT_TRUE(platform.requests.empty());
    EXPECT_TRUE(platform.files.empty());
}

}  // namespace
