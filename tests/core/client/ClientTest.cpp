#include "core/src/client/Client.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/src/registry/CustomerRegistryClient.h"
#include "core/src/system/SystemApi.h"
#include "tests/support/ScriptedPlatform.h"
#include "tests/support/ScriptedService.h"

namespace {

using quillmarkclient_core::SystemApi;
using Strings = std::vector<std::string>;

class ClientTest : public ::testing::Test {
protected:
    ~ClientTest() override { platform.ExpectNoBlocks(); }

    void SignIn() { session.SetAccessToken("a.b.c", true, nullptr); }
    ResultCode GetCustomerData() { return client.GetCustomerData(info, &error, nullptr); }

    // The log with the requests' texts cut to their names.
    [[nodiscard]] Strings LogHeads() const {
        Strings heads;
        for (const std::string& line : platform.logOrder)
            heads.push_back(line.substr(0, line.find('\n')));
        return heads;
    }

    test::ScriptedPlatform platform;
    test::ScriptedService service{platform};
    registry::CustomerRegistryClient<SystemApi> session{test::kServiceUrl, "store/", registry::RetryPolicy(),
                                                        nullptr};
    quillmarkclient_core::Client<SystemApi> client{"store/", test::kServiceUrl, &session, nullptr};
    registry::CustomerInfo info;
    registry::ServiceErrorInfo error;
};

TEST_F(ClientTest, HoldsWhatItIsGiven) {
    EXPECT_STREQ(client.storagePath.c_str(), "store/");
    EXPECT_STREQ(client.serviceUrl.c_str(), test::kServiceUrl);
    EXPECT_EQ(client.registryClient, &session);
    EXPECT_FALSE(client.cryptographer);
}

TEST_F(ClientTest, IsSignedInByAPresentTokenOrASecret) {
    EXPECT_FALSE(client.IsSignedIn());
    session.SetAccessToken("restored", false, nullptr);
    EXPECT_FALSE(client.IsSignedIn()) << "a token from a file is not present";
    session.identitySecret = "s";
    EXPECT_TRUE(client.IsSignedIn());
    session.ResetAuthState();
    EXPECT_FALSE(client.IsSignedIn());
    SignIn();
    EXPECT_TRUE(client.IsSignedIn());
}

TEST_F(ClientTest, CustomerDataBeforeASignInIsDeniedWithoutAnExchange) {
    EXPECT_EQ(GetCustomerData(), ResultCode::kAuthorizationDenied);
    EXPECT_TRUE(platform.requests.empty());
    EXPECT_EQ(platform.logOrder, (Strings{"T quillmarkclient_core::Client::GetCustomerData",
                                          "E 82000002 core/src/client/Client"}));
    EXPECT_GT(platform.errors[0].line, 0u);
    EXPECT_EQ(platform.errors[0].message, "Authorization is denied");
}

TEST_F(ClientTest, CustomerDataIsTheServicesRecord) {
    SignIn();
    EXPECT_EQ(GetCustomerData(), ResultCode::kSuccess);
    EXPECT_STREQ(info.id.c_str(), "42");
    EXPECT_STREQ(info.firstName.c_str(), "Anna");
    EXPECT_STREQ(info.lastName.c_str(), "Blum");
    EXPECT_STREQ(info.email.c_str(), "anna@example.test");
    EXPECT_STREQ(info.city.c_str(), "Ulm");
    EXPECT_STREQ(info.country.c_str(), "");
    EXPECT_EQ(LogHeads(), (Strings{"T quillmarkclient_core::Client::GetCustomerData",
                                   "T \"Get Customer Information\" request:"}));
}

TEST_F(ClientTest, ASecretAloneIsRenewedOnTheWay) {
    session.identitySecret = "secret";
    service.AnswerOnce(test::kUser, 401, "");
    EXPECT_EQ(GetCustomerData(), ResultCode::kSuccess);
    EXPECT_EQ(platform.RequestLines(test::kServiceUrl),
              (Strings{test::kUser, test::kRenewal, test::kOwnContextToken, test::kUser}));
    EXPECT_EQ(platform.requests[3].Header("Authorization"), "Bearer own-token");
}

TEST_F(ClientTest, FailuresAreReportedOnceAndReturned) {
    static const struct {
        const char* name;
        std::uint32_t status;
        const char* body;
        ResultCode expected;
    } rows[] = {
        {"no user", 404, "", ResultCode::kCustomerNotFound},
        {"401 without a secret", 401, "", ResultCode::kAuthorizationDenied},
        {"maintenance", 503, "", ResultCode::kServiceMaintenance},
        {"not a JSON answer", 200, "<html>", ResultCode::kCompatibilityBroken},
        {"an empty answer", 200, "", ResultCode::kCompatibilityBroken},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SignIn();
        platform.errors.clear();
        service.Answer(test::kUser, row.status, row.body);
        EXPECT_EQ(GetCustomerData(), row.expected);
        ASSERT_EQ(platform.errors.size(), 1u);
        EXPECT_EQ(platform.errors[0].code, static_cast<std::uint32_t>(row.expected));
        EXPECT_EQ(platform.errors[0].source, "core/src/client/Client");
    }
}

TEST_F(ClientTest, TransportFailureIsReported) {
    SignIn();
    service.Fail(test::kUser, 0x81000006u);
    EXPECT_EQ(GetCustomerData(), ResultCode::kRequestNotSent);
    ASSERT_EQ(platform.errors.size(), 1u);
    EXPECT_EQ(platform.errors[0].source, "core/src/client/Client");
}

TEST_F(ClientTest, ErrorRecordMayBeNull) {
    SignIn();
    service.Answer(test::kUser, 404, R"({"title":"t"})");
    EXPECT_EQ(client.GetCustomerData(info, nullptr, nullptr), ResultCode::kCustomerNotFound);
    EXPECT_EQ(GetCustomerData(), ResultCode::kCustomerNotFound);
    EXPECT_STREQ(error.title.c_str(), "t");
}

}  // namespace
