#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/FlatFixture.h"

namespace {

using quillmarkclient::ClientContext;
using quillmarkclient::CustomerData;
using quillmarkclient::ServiceErrorRecord;
using test::Operation;
using Strings = std::vector<std::string>;

template <class T>
T* Unset() {
    return reinterpret_cast<T*>(0x5a);  // never followed
}

class FlatInformation : public test::FlatFixture {};

TEST_F(FlatInformation, HandleAndOutAreChecked) {
    static const struct {
        const char* name;
        ResultCode (*call)(ClientContext*, bool withOut);
    } rows[] = {
        {"GetCustomerData",
         [](ClientContext* c, bool withOut) {
             auto* out = Unset<CustomerData>();
             const auto code = quillmarkclient::GetCustomerData(c, withOut ? &out : nullptr, nullptr);
             EXPECT_EQ(out, Unset<CustomerData>());
             return code;
         }},
        {"GetBasicEndpoint",
         [](ClientContext* c, bool withOut) {
             auto* out = Unset<char>();
             const auto code = quillmarkclient::GetBasicEndpoint(c, withOut ? &out : nullptr, nullptr);
             EXPECT_EQ(out, Unset<char>());
             return code;
         }},
        {"GetDeviceId",
         [](ClientContext* c, bool withOut) {
             auto* out = Unset<char>();
             const auto code = quillmarkclient::GetDeviceId(c, withOut ? &out : nullptr, nullptr);
             EXPECT_EQ(out, Unset<char>());
             return code;
         }},
        {"GetLastServiceError",
         [](ClientContext* c, bool withOut) {
             auto* out = Unset<ServiceErrorRecord>();
             const auto code = quillmarkclient::GetLastServiceError(c, withOut ? &out : nullptr, nullptr);
             EXPECT_EQ(out, Unset<ServiceErrorRecord>());
             return code;
         }},
    };
    Start();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.call(nullptr, true), ResultCode::kNotInitialized);
        ExpectReported(ResultCode::kNotInitialized);
        EXPECT_EQ(row.call(nullptr, false), ResultCode::kNotInitialized) << "the handle comes first";
        EXPECT_EQ(row.call(context, false), ResultCode::kInvalidParameters);
        ExpectReported(ResultCode::kInvalidParameters);
    }
    EXPECT_EQ(platform.errors.size(), 3 * std::size(rows));
}

TEST_F(FlatInformation, MissingObjects) {
    Start();
    char* text = Unset<char>();
    CustomerData* data = Unset<CustomerData>();
    ServiceErrorRecord* error = Unset<ServiceErrorRecord>();

    auto core = std::move(context->core);
    EXPECT_EQ(quillmarkclient::GetCustomerData(context, &data, nullptr), ResultCode::kNotInitialized);
    EXPECT_EQ(quillmarkclient::GetBasicEndpoint(context, &text, nullptr), ResultCode::kInternalError);
    ExpectReported(ResultCode::kInternalError);
    EXPECT_EQ(quillmarkclient::GetBasicEndpoint(context, nullptr, nullptr), ResultCode::kInvalidParameters);
    context->core = std::move(core);

    auto lastError = std::move(context->lastServiceError);
    EXPECT_EQ(quillmarkclient::GetLastServiceError(context, &error, nullptr), ResultCode::kNotInitialized);
    ExpectReported(ResultCode::kNotInitialized);
    context->lastServiceError = std::move(lastError);
}

TEST_F(FlatInformation, WithoutMemoryOutIsNullAndTheAnswerIsDropped) {
    StartSignedIn();
    service.Answer(test::kRenewal, 401, "");
    ASSERT_EQ(Text(&quillmarkclient::RefreshAccessToken), "(none)");  // leaves a service error
    char* text = Unset<char>();
    CustomerData* data = Unset<CustomerData>();
    ServiceErrorRecord* error = Unset<ServiceErrorRecord>();

    platform.FailCall(Operation::Alloc, 1);
    EXPECT_EQ(quillmarkclient::GetCustomerData(context, &data, nullptr), ResultCode::kInsufficientResources);
    EXPECT_EQ(data, nullptr);
    platform.FailCall(Operation::Alloc, 1);
    EXPECT_EQ(quillmarkclient::GetBasicEndpoint(context, &text, nullptr), ResultCode::kInsufficientResources);
    EXPECT_EQ(text, nullptr);
    platform.FailCall(Operation::Alloc, 1);
    EXPECT_EQ(quillmarkclient::GetLastServiceError(context, &error, nullptr),
              ResultCode::kInsufficientResources);
    EXPECT_EQ(error, nullptr);
    text = Unset<char>();
    platform.FailCall(Operation::Alloc, 1, 2);  // the first one is the list of identifiers
    EXPECT_EQ(quillmarkclient::GetDeviceId(context, &text, nullptr), ResultCode::kInsufficientResources);
    EXPECT_EQ(text, nullptr);
    ASSERT_EQ(platform.errors.size(), 8u);
    for (std::size_t i = 0; i < 8; i += 2) {
        EXPECT_EQ(platform.errors[i].source, "core/src/PodMaker");
        EXPECT_EQ(platform.errors[i + 1].source, "core/src/quillmarkclient");
    }
}

TEST_F(FlatInformation, CustomerDataKeepsFourFields) {
    StartSignedIn();
    CustomerData* data = nullptr;
    ASSERT_EQ(quillmarkclient::GetCustomerData(context, &data, nullptr), ResultCode::kSuccess);
    EXPECT_STREQ(data->id, "42");
    EXPECT_STREQ(data->firstName, "Anna");
    EXPECT_STREQ(data->lastName, "Blum");
    EXPECT_STREQ(data->email, "anna@example.test");
    quillmarkclient::FreeMemory(context, data, nullptr);
    EXPECT_EQ(Lines(), Strings{test::kUser});
    EXPECT_EQ(platform.requests[0].Header("Authorization"), "Bearer own-token");
}

TEST_F(FlatInformation, CustomerDataWantsASignIn) {
    Start();
    CustomerData* data = Unset<CustomerData>();
    EXPECT_EQ(quillmarkclient::GetCustomerData(context, &data, nullptr), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(data, Unset<CustomerData>());
    EXPECT_TRUE(platform.requests.empty());
    EXPECT_EQ(platform.logOrder,
              (Strings{"T quillmarkclient_core::Client::GetCustomerData", "E 82000002 core/src/client/Client",
                       "E 82000002 core/src/quillmarkclient"}));
}

TEST_F(FlatInformation, LogOrderOfARefusedRequest) {
    StartSignedIn();
    service.Answer(test::kUser, 404, "");
    CustomerData* data = Unset<CustomerData>();
    EXPECT_EQ(quillmarkclient::GetCustomerData(context, &data, nullptr), ResultCode::kCustomerNotFound);
    EXPECT_EQ(data, Unset<CustomerData>());
    Strings heads;
    for (const std::string& line : platform.logOrder)
        heads.push_back(line.substr(0, line.find('\n')));
    EXPECT_EQ(heads, (Strings{"T quillmarkclient_core::Client::GetCustomerData",
                              "T \"Get Customer Information\" request:", "E 82000005 core/src/client/Client",
                              "E 82000005 core/src/quillmarkclient"}));
}

TEST_F(FlatInformation, LogOrderOfARenewal) {
    StartSignedIn();
    service.AnswerOnce(test::kUser, 401, "");
    CustomerData* data = nullptr;
    ASSERT_EQ(quillmarkclient::GetCustomerData(context, &data, nullptr), ResultCode::kSuccess);
    quillmarkclient::FreeMemory(context, data, nullptr);
    EXPECT_EQ(Lines(), (Strings{test::kUser, test::kRenewal, test::kOwnContextToken, test::kUser}));
    Strings heads;
    for (const std::string& line : platform.logOrder)
        heads.push_back(line.substr(0, line.find('\n')));
    EXPECT_EQ(heads, (Strings{"T quillmarkclient_core::Client::GetCustomerData",
                              "T \"Get Customer Information\" request:", "T AuthorizeViaIdentity Request:",
                              "T CustomerContext token Request:"}));
}

TEST_F(FlatInformation, EndpointIsTheUrlAsGiven) {
    for (const char* url : {"https://service.test", "http://x:8080/base/", "not a url"}) {
        init.serviceUrl = url;
        Start();
        EXPECT_EQ(Text(&quillmarkclient::GetBasicEndpoint), url);
    }
}

TEST_F(FlatInformation, DeviceIdIsAskedForOnce) {
    StartSignedIn();
    const auto before = platform.CallCount(Operation::GetMachineIds);
    EXPECT_EQ(Text(&quillmarkclient::GetDeviceId), "MAC-AA-BB-CC-DD-EE-FF");
    const auto asked = platform.CallCount(Operation::GetMachineIds);
    EXPECT_GT(asked, before);
    platform.machineIds = {"other"};
    EXPECT_EQ(Text(&quillmarkclient::GetDeviceId), "MAC-AA-BB-CC-DD-EE-FF");
    quillmarkclient::SignOut(context, nullptr);
    EXPECT_EQ(Text(&quillmarkclient::GetDeviceId), "MAC-AA-BB-CC-DD-EE-FF");
    EXPECT_EQ(platform.CallCount(Operation::GetMachineIds), asked);
}

TEST_F(FlatInformation, DeviceIdFailsWithOneCodeWhateverTheReason) {
    Start();
    char* text = Unset<char>();
    const auto expectFailure = [&](const char* name) {
        EXPECT_EQ(quillmarkclient::GetDeviceId(context, &text, nullptr), ResultCode::kMachineId) << name;
        EXPECT_EQ(text, Unset<char>()) << name;
        ExpectReported(ResultCode::kMachineId);
    };
    platform.FailCall(Operation::GetMachineIds, 0x80000001u, 1);
    expectFailure("size refused");
    platform.FailCall(Operation::GetMachineIds, 0x80000005u, 2);
    expectFailure("list refused");
    platform.FailCall(Operation::Alloc, 1);
    expectFailure("no memory for the list");
    platform.machineIds.clear();
    expectFailure("empty list");
    platform.table.GetMachineIds = nullptr;
    platform.Install();
    expectFailure("no such operation");
    EXPECT_EQ(platform.errors.size(), 5u);
    EXPECT_TRUE(context->deviceId.empty());
}

TEST_F(FlatInformation, NoRefusalYetIsNullWithSuccess) {
    Start();
    ServiceErrorRecord* error = Unset<ServiceErrorRecord>();
    EXPECT_EQ(quillmarkclient::GetLastServiceError(context, &error, nullptr), ResultCode::kSuccess);
    EXPECT_EQ(error, nullptr);
}

TEST_F(FlatInformation, LastRefusalStaysUntilTheNext) {
    service.AskForSecondFactor();
    Start();
    ASSERT_EQ(quillmarkclient::SignIn(context, "anna", "pw", nullptr), ResultCode::kSecondFactorRequired);
    ASSERT_EQ(quillmarkclient::ConfirmSecondFactor(context, "challenge-1", "1", nullptr),
              ResultCode::kSuccess);

    ServiceErrorRecord* error = nullptr;
    ASSERT_EQ(quillmarkclient::GetLastServiceError(context, &error, nullptr), ResultCode::kSuccess);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->resultCode, 0x82000012u);
    EXPECT_EQ(error->httpCode, 403u);
    EXPECT_STREQ(error->status, "403");
    EXPECT_STREQ(error->errorCode, "2FA_TOTP_REQUIRED");
    ASSERT_NE(error->errorArgs[0], nullptr);
    EXPECT_STREQ(error->errorArgs[0]->name, "challengeToken");
    EXPECT_STREQ(error->errorArgs[0]->value, "challenge-1");
    EXPECT_EQ(error->errorArgs[1], nullptr);
    quillmarkclient::FreeMemory(context, error, nullptr);

    service.Fail(test::kPassword, 0x81000006u);
    EXPECT_EQ(quillmarkclient::SignIn(context, "anna", "pw", nullptr), ResultCode::kRequestNotSent);
    EXPECT_EQ(context->lastServiceError->resultCode, 0x82000012u) << "a transport failure is no refusal";

    service.Answer(test::kPassword, 401, "");
    EXPECT_EQ(quillmarkclient::SignIn(context, "anna", "pw", nullptr), ResultCode::kInvalidLoginOrPassword);
    EXPECT_EQ(context->lastServiceError->resultCode, 0x82000006u);
    EXPECT_EQ(context->lastServiceError->errorArgs.size(), 0u);
}

}  // namespace
