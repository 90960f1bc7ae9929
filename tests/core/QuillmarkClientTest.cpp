#include "core/src/QuillmarkClient.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "core/src/ClientContext.h"
#include "core/src/QuillmarkClientInstance.h"
#include "tests/support/ContextSpy.h"
#include "tests/support/NativeCalls.h"
#include "tests/support/SharedData.h"

namespace {

using quillmarkclient::QuillmarkClient;
using quillmarkclient::QuillmarkClientParams;
using test::Operation;
using test::Outs;

class QuillmarkClientTest : public test::NativeFixture {
protected:
    // A signed-in client with a refusal to be asked for and contexts to be listed.
    void InitWithEverything() {
        service.OfferContexts();
        service.Answer(test::kPassword, 403,
                       R"({"title":"a title that is longer than the short form of a text",)"
                       R"("errorArgs":{"name":"value","a":"b"}})");
        Init();
        EXPECT_EQ(client->SignIn("anna", "pw"), ResultCode::kEmailUnverifiedOrBlocked);
        service.Answer(test::kPassword, 200, R"({"accessToken":"password-token"})");
        EXPECT_EQ(client->SignIn("anna", "pw"), ResultCode::kTooManyContexts);
        EXPECT_EQ(client->SignInToContext(0, ""), ResultCode::kSuccess);
    }
};

TEST_F(QuillmarkClientTest, UninitialisedAnswersSo) {
    Outs outs;
    auto* const coreless = new quillmarkclient::QuillmarkClientInstance(nullptr);
    coreless->AddRef();
    for (const auto& call : test::kNativeCalls)
        EXPECT_EQ(call.run({*client, *coreless}, outs), ResultCode::kNotInitialized) << call.name;
    outs.ExpectUnset(ResultCode::kNotInitialized);
    EXPECT_EQ(coreless->Release(), 0u);
    EXPECT_FALSE(client->IsSignedIn());
    client->SignOut();
    EXPECT_EQ(client->CreateInterface(), nullptr);
    EXPECT_TRUE(platform.logOrder.empty());
}

TEST_F(QuillmarkClientTest, InitLeavesTheFourthAuxiliaryTextNull) {
    QuillmarkClientParams params;
    params.serviceUrl = test::kServiceUrl;
    params.auxiliary1 = params.auxiliary2 = params.auxiliary3 = "given";
    ASSERT_EQ(client->Init(params), ResultCode::kSuccess);
    EXPECT_TRUE(SharedData(*client)->context->auxiliary4.empty());
}

TEST_F(QuillmarkClientTest, FailedInitLeavesItUninitialised) {
    EXPECT_EQ(client->Init("store", ""), ResultCode::kInvalidParameters);
    QuillmarkClientParams params;
    params.serviceUrl = test::kServiceUrl;
    platform.FailCall(Operation::Alloc, 1);
    EXPECT_EQ(client->Init(params), ResultCode::kInsufficientResources);
    Outs outs;
    EXPECT_EQ(client->GetAccessToken(outs.text), ResultCode::kNotInitialized);
}

TEST_F(QuillmarkClientTest, ParametersReachTheCore) {
    QuillmarkClientParams params;
    params.storagePath = "store";
    params.serviceUrl = test::kServiceUrl;
    params.auxiliary1 = "one";
    params.auxiliary2 = "two";
    params.auxiliary3 = "three";
    params.clientKind = 7;  // acts as 0
    ASSERT_EQ(client->Init(params), ResultCode::kSuccess);
    ASSERT_EQ(client->SignIn("anna", "pw"), ResultCode::kSuccess);
    EXPECT_EQ(platform.files.count("store/LIC0"), 1u);
    std::string bodies;
    for (const auto& request : platform.requests)
        bodies += request.body;
    EXPECT_NE(bodies.find(R"("name":"three")"), std::string::npos) << "names the identity record";
    EXPECT_EQ(bodies.find("\"one\""), std::string::npos);
    EXPECT_EQ(bodies.find("\"two\""), std::string::npos);

    const auto usual = platform.files;
    params.useAlternateKeys = 1;
    ASSERT_EQ(client->Init(params), ResultCode::kSuccess);
    ASSERT_EQ(client->SignIn("anna", "pw"), ResultCode::kSuccess);
    EXPECT_NE(platform.files.at("store/LIC0"), usual.at("store/LIC0"));
}

TEST_F(QuillmarkClientTest, ShortInitLeavesTheRestEmpty) {
    ASSERT_EQ(client->Init("", test::kServiceUrl), ResultCode::kSuccess);
    ASSERT_EQ(client->SignIn("anna", "pw"), ResultCode::kSuccess);
    EXPECT_EQ(platform.files.count("LIC0"), 1u) << "the working folder";
    EXPECT_NE(platform.requests[4].body.find(R"("name":"VQM_Identity")"), std::string::npos);
}

TEST_F(QuillmarkClientTest, ValuesAreCopiedIntoStandardContainers) {
    InitWithEverything();
    Outs outs;
    ASSERT_EQ(client->GetCustomerContexts(outs.contexts), ResultCode::kSuccess);
    ASSERT_EQ(outs.contexts.size(), 3u);
    EXPECT_EQ(outs.contexts[0].kind, 0u);
    EXPECT_EQ(outs.contexts[0].id, "42");
    EXPECT_EQ(outs.contexts[0].name, "Anna Blum");
    EXPECT_EQ(outs.contexts[2].kind, 1u);
    EXPECT_EQ(outs.contexts[2].id, "org-2");
    EXPECT_EQ(outs.contexts[2].name, "Second");

    ASSERT_EQ(client->GetLastServiceError(outs.error), ResultCode::kSuccess);
    EXPECT_EQ(outs.error.resultCode, 0x82000007u);
    EXPECT_EQ(outs.error.httpCode, 403u);
    EXPECT_EQ(outs.error.type, "");
    EXPECT_EQ(outs.error.title, "a title that is longer than the short form of a text");
    const std::vector<std::pair<std::string, std::string>> arguments{{"name", "value"}, {"a", "b"}};
    EXPECT_EQ(outs.error.errorArgs, arguments);

    ASSERT_EQ(client->GetCustomerData(outs.data), ResultCode::kSuccess);
    EXPECT_EQ(outs.data.id, "42");
    EXPECT_EQ(outs.data.firstName, "Anna");
    EXPECT_EQ(outs.data.lastName, "Blum");
    EXPECT_EQ(outs.data.email, "anna@example.test");

    const auto text = [&](ResultCode (QuillmarkClient::*operation)(std::string&) noexcept) {
        std::string out = "unset";
        EXPECT_EQ(((*client).*operation)(out), ResultCode::kSuccess);
        return out;
    };
    EXPECT_EQ(text(&QuillmarkClient::GetAccessToken), "own-token");
    EXPECT_EQ(text(&QuillmarkClient::RefreshAccessToken), "own-token");
    EXPECT_EQ(text(&QuillmarkClient::GetBasicEndpoint), test::kServiceUrl);
    EXPECT_EQ(text(&QuillmarkClient::GetDeviceId), "MAC-AA-BB-CC-DD-EE-FF");
}

TEST_F(QuillmarkClientTest, EmptyValuesReplaceFormerOnes) {
    InitAndSignIn();
    Outs outs;
    EXPECT_EQ(client->GetLastServiceError(outs.error), ResultCode::kSuccess) << "no refusal yet";
    EXPECT_EQ(outs.error.resultCode, 0u);
    EXPECT_TRUE(outs.error.type.empty());
    EXPECT_TRUE(outs.error.errorArgs.empty());
    service.Answer(test::kUser, 200, "{}");
    EXPECT_EQ(client->GetCustomerData(outs.data), ResultCode::kSuccess);
    EXPECT_TRUE(outs.data.id.empty() && outs.data.email.empty());
}

TEST_F(QuillmarkClientTest, SecondFactorRoad) {
    service.AskForSecondFactor();
    Init();
    EXPECT_EQ(client->SignIn("anna", "pw"), ResultCode::kSecondFactorRequired);
    EXPECT_FALSE(client->IsSignedIn());
    EXPECT_EQ(client->ConfirmSecondFactor("", "1"), ResultCode::kInvalidParameters);
    EXPECT_EQ(client->ConfirmSecondFactor("challenge-1", "123456"), ResultCode::kSuccess);
    EXPECT_TRUE(client->IsSignedIn());
    client->SignOut();
    EXPECT_FALSE(client->IsSignedIn());
    EXPECT_EQ(platform.files.count("store/LIC0"), 0u);
}

TEST_F(QuillmarkClientTest, FailuresLeaveOutsAsTheyWere) {
    InitAndSignIn();
    platform.responder = [](const test::RecordedRequest&) {
        test::ScriptedAnswer none;
        none.result = 0x81000006u;
        return none;
    };
    platform.machineIds.clear();
    Outs outs;
    EXPECT_EQ(client->GetCustomerContexts(outs.contexts), ResultCode::kRequestNotSent);
    EXPECT_EQ(client->RefreshAccessToken(outs.text), ResultCode::kRequestNotSent);
    EXPECT_EQ(client->GetCustomerData(outs.data), ResultCode::kRequestNotSent);
    EXPECT_EQ(client->GetDeviceId(outs.text), ResultCode::kMachineId);
    platform.FailCall(Operation::Alloc, 1);
    EXPECT_EQ(client->GetAccessToken(outs.text), ResultCode::kInsufficientResources);
    outs.ExpectUnset(ResultCode::kInsufficientResources);
}

TEST_F(QuillmarkClientTest, SecondInitReplacesTheCoreOnceItSucceeds) {
    InitAndSignIn();
    EXPECT_EQ(client->Init("store", ""), ResultCode::kInvalidParameters);
    EXPECT_TRUE(client->IsSignedIn()) << "the former core goes on";
    platform.FailCall(Operation::Alloc, 1);
    EXPECT_EQ(client->Init("other", test::kServiceUrl), ResultCode::kInsufficientResources);
    EXPECT_TRUE(client->IsSignedIn());
    EXPECT_EQ(platform.BlocksOut(), 1);

    EXPECT_EQ(client->Init("other", test::kServiceUrl), ResultCode::kSuccess);
    EXPECT_FALSE(client->IsSignedIn());
    EXPECT_EQ(platform.BlocksOut(), 1) << "the former core is gone";
}

TEST_F(QuillmarkClientTest, AFailedSecondInitMayLeaveItsTableBehind) {
    static const struct {
        const char* name;
        const char* serviceUrl;
        Operation failing;  // Operation::Count: none
        std::uint32_t expected;
        std::uint32_t deviceId;  // what the former core answers, the new table having no identifiers
    } rows[] = {
        {"before the copy of the table", "", Operation::Count, 0x80000002u, 0},
        {"behind it", test::kServiceUrl, Operation::Alloc, 0x80000003u, 0x81000005u},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test::ScriptedDefaultTable() = platform.table;
        InitAndSignIn();
        test::ScriptedDefaultTable().GetMachineIds = nullptr;
        platform.FailCall(row.failing, 1);
        EXPECT_EQ(static_cast<std::uint32_t>(client->Init("other", row.serviceUrl)), row.expected);
        std::string text;
        EXPECT_EQ(static_cast<std::uint32_t>(client->GetDeviceId(text)), row.deviceId);
        EXPECT_TRUE(client->IsSignedIn());
        EXPECT_EQ(client->RefreshAccessToken(text), ResultCode::kSuccess) << "the former core goes on";
    }
}

TEST_F(QuillmarkClientTest, ThePlatformGetsANullContext) {
    test::ScriptedDefaultTable() = test::Spied(platform.table);
    service.AskToWaitOnce(test::kFinalizeByCode, "1");
    Init();
    std::string text;
    quillmarkclient::IQuillmarkClient* const face = client->CreateInterface();
    ASSERT_NE(face, nullptr);
    EXPECT_EQ(client->SignIn("anna", "pw"), ResultCode::kSuccess);
    EXPECT_EQ(face->SignInWithSocialCode("c-1", 1), ResultCode::kSuccess);
    EXPECT_EQ(client->GetDeviceId(text), ResultCode::kSuccess);
    EXPECT_EQ(client->PersistIdentityToken("host.json"), ResultCode::kSuccess);
    EXPECT_EQ(client->PersistIdentityToken("host.json"), ResultCode::kSuccess);
    face->SignOut();
    face->Release();
    Init();
    EXPECT_EQ(test::seen.contexts, std::set<void*>{nullptr});
    for (const char* entry : {"Sleep", "FileRead", "FileWrite", "FileGetSize", "FileSetSize", "FileDelete",
                              "GetMachineIds", "HttpRequest", "HttpFree", "Encrypt", "Decrypt"})
        EXPECT_EQ(test::seen.entries.count(entry), 1u) << entry;
}

TEST_F(QuillmarkClientTest, SocialRoads) {
    Init();
    std::string token;
    EXPECT_EQ(client->SignInWithSocialToken("acme", "st-1"), ResultCode::kSuccess);
    EXPECT_EQ(client->SignInWithSocialCode("c-1", 1), ResultCode::kSuccess);
    EXPECT_EQ(platform.files.count("store/LIC0"), 1u);
    EXPECT_EQ(client->PersistIdentityToken("host.json"), ResultCode::kSuccess);
    EXPECT_EQ(platform.files["host.json"], R"({"identityToken":"identity-secret"})");
    EXPECT_EQ(client->UseAccessToken("t-1"), ResultCode::kSuccess);
    EXPECT_TRUE(client->IsSignedIn());
    EXPECT_EQ(client->GetAccessToken(token), ResultCode::kSuccess);
    EXPECT_EQ(token, "t-1");
    EXPECT_EQ(platform.files.count("store/LIC0"), 0u);
    EXPECT_EQ(client->PersistIdentityToken("host.json"), ResultCode::kAuthorizationDenied);
    EXPECT_EQ(client->RefreshAccessToken(token), ResultCode::kInvalidParameters);
    EXPECT_EQ(token, "t-1");
}

TEST_F(QuillmarkClientTest, FormerCoreLivesWithItsInterface) {
    InitAndSignIn();
    quillmarkclient::IQuillmarkClient* former = client->CreateInterface();
    ASSERT_NE(former, nullptr);
    EXPECT_EQ(client->Init("other", test::kServiceUrl), ResultCode::kSuccess);
    EXPECT_EQ(platform.BlocksOut(), 2);
    EXPECT_TRUE(former->IsSignedIn());
    EXPECT_FALSE(client->IsSignedIn());
    EXPECT_EQ(former->Release(), 0u);
    EXPECT_EQ(platform.BlocksOut(), 1);
}

TEST_F(QuillmarkClientTest, ErrorMessages) {
    EXPECT_EQ(QuillmarkClient::GetErrorMessage(ResultCode::kSuccess), "");
    EXPECT_EQ(QuillmarkClient::GetErrorMessage(ResultCode::kNotInitialized),
              "ABClient Manager is not initialized. First call init() method");
    EXPECT_EQ(QuillmarkClient::GetErrorMessage(static_cast<ResultCode>(0x84000004u)), "Unknown error code");
    EXPECT_EQ(QuillmarkClient::GetErrorMessage(static_cast<ResultCode>(1u)), "Unknown error code");
}

std::vector<std::uint32_t> reportedCodes;

TEST_F(QuillmarkClientTest, LogCallbacksAreProcessWide) {
    reportedCodes.clear();
    QuillmarkClient::SetLogCallbacks(nullptr, [](std::uint32_t code, const char*, const char*,
                                                 std::uint32_t) { reportedCodes.push_back(code); });
    EXPECT_EQ(client->Init("store", ""), ResultCode::kInvalidParameters);
    EXPECT_EQ(reportedCodes, std::vector<std::uint32_t>{0x80000002u});
    EXPECT_TRUE(platform.logOrder.empty());
}

}  // namespace
