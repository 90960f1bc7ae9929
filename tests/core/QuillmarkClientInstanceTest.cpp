#include "core/src/QuillmarkClientInstance.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/NativeFixture.h"
#include "tests/support/VirtualSlot.h"

namespace {

using quillmarkclient::ContextChoice;
using quillmarkclient::CustomerContext;
using quillmarkclient::IQuillmarkClient;
using quillmarkclient::IQuillmarkClientBase;
using quillmarkclient::QuillmarkClientInstance;
using quillmarkclient::ServiceErrorRecord;
using test::Operation;

static_assert(std::is_base_of_v<IQuillmarkClientBase, IQuillmarkClient>);
static_assert(std::is_base_of_v<IQuillmarkClient, QuillmarkClientInstance>);
static_assert(!std::has_virtual_destructor_v<IQuillmarkClient>, "a destructor would take a slot");
static_assert(!std::is_destructible_v<QuillmarkClientInstance>, "it ends by its last Release");

class QuillmarkClientInstanceTest : public test::NativeFixture {
protected:
    ~QuillmarkClientInstanceTest() override {
        if (face != nullptr)
            face->Release();
    }
    void Create() {
        face = client->CreateInterface();
        ASSERT_NE(face, nullptr);
    }

    IQuillmarkClient* face = nullptr;
};

TEST(QuillmarkClientInterface, SlotsStandInTheirOrder) {
    using I = IQuillmarkClient;
    EXPECT_EQ(test::SlotOf(&I::GetVersion), 0u);
    EXPECT_EQ(test::SlotOf(&I::AddRef), 1u);
    EXPECT_EQ(test::SlotOf(&I::Release), 2u);
    EXPECT_EQ(test::SlotOf(&I::GetLastServiceError), 3u);
    EXPECT_EQ(test::SlotOf(&I::SignIn), 4u);
    EXPECT_EQ(test::SlotOf(&I::SignOut), 5u);
    EXPECT_EQ(test::SlotOf(&I::IsSignedIn), 6u);
    EXPECT_EQ(test::SlotOf(&I::SignInToContext), 7u);
    EXPECT_EQ(test::SlotOf(&I::GetCustomerContexts), 8u);
    EXPECT_EQ(test::SlotOf(&I::GetSocialProviders), 9u);
    EXPECT_EQ(test::SlotOf(&I::SignInWithSocialToken), 10u);
    EXPECT_EQ(test::SlotOf(&I::SignInWithSocialCode), 11u);
    EXPECT_EQ(test::SlotOf(&I::SendOnlineBackupReport), 12u);
    EXPECT_EQ(test::SlotOf(&I::SendOnlineReport), 13u);
    EXPECT_EQ(test::SlotOf(&I::SendBackupMetadata), 14u);
    EXPECT_EQ(test::SlotOf(&I::FreeMemory), 15u);
}

TEST_F(QuillmarkClientInstanceTest, AVoidPointerLeadsBackToTheInterface) {
    Init();
    Create();
    void* handedOut = face;
    EXPECT_EQ(static_cast<IQuillmarkClient*>(handedOut)->GetVersion(), 0x01020100u);
}

TEST_F(QuillmarkClientInstanceTest, CountsItsReferences) {
    Init();
    Create();
    EXPECT_EQ(face->AddRef(), 2u) << "CreateInterface gave one";
    EXPECT_EQ(face->AddRef(), 3u);
    EXPECT_EQ(face->Release(), 2u);
    EXPECT_EQ(face->Release(), 1u);
    EXPECT_EQ(face->Release(), 0u);
    face = nullptr;
    EXPECT_TRUE(client->Init("store", test::kServiceUrl) == ResultCode::kSuccess);
}

TEST_F(QuillmarkClientInstanceTest, OutlivesItsClient) {
    InitAndSignIn();
    Create();
    client.reset();
    EXPECT_EQ(platform.BlocksOut(), 1) << "the core";
    EXPECT_TRUE(face->IsSignedIn());
    CustomerContext** list = nullptr;
    EXPECT_EQ(face->GetCustomerContexts(&list), ResultCode::kSuccess);
    EXPECT_EQ(face->FreeMemory(list), ResultCode::kSuccess);
    EXPECT_EQ(face->Release(), 0u);
    face = nullptr;
    EXPECT_EQ(platform.BlocksOut(), 0);
}

TEST_F(QuillmarkClientInstanceTest, SharesTheCoreWithItsClient) {
    Init();
    Create();
    EXPECT_FALSE(face->IsSignedIn());
    EXPECT_EQ(client->SignIn("anna", "pw"), ResultCode::kSuccess);
    EXPECT_TRUE(face->IsSignedIn());
    face->SignOut();
    EXPECT_FALSE(client->IsSignedIn());
    EXPECT_EQ(platform.files.count("store/LIC0"), 0u);
}

TEST_F(QuillmarkClientInstanceTest, SignsInChoosesAndTellsTheLastRefusal) {
    service.OfferContexts();
    Init();
    Create();
    ServiceErrorRecord* error = nullptr;
    EXPECT_EQ(face->GetLastServiceError(&error), ResultCode::kSuccess);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(face->SignIn("anna", "pw"), ResultCode::kTooManyContexts);
    EXPECT_TRUE(face->IsSignedIn());

    CustomerContext** list = nullptr;
    ASSERT_EQ(face->GetCustomerContexts(&list), ResultCode::kSuccess);
    ASSERT_NE(list[1], nullptr);
    const ContextChoice choice{list[1]->kind, list[1]->id};
    EXPECT_EQ(face->SignInToContext(&choice), ResultCode::kSuccess);
    EXPECT_EQ(face->FreeMemory(list), ResultCode::kSuccess);

    service.Answer(test::kTrusts, 500, R"({"title":"broken"})");
    EXPECT_EQ(face->GetCustomerContexts(&list), ResultCode::kInternalServiceError);
    ASSERT_EQ(face->GetLastServiceError(&error), ResultCode::kSuccess);
    ASSERT_NE(error, nullptr);
    EXPECT_STREQ(error->title, "broken");
    EXPECT_EQ(face->FreeMemory(error), ResultCode::kSuccess);
}

TEST_F(QuillmarkClientInstanceTest, NullArgumentsAreCodes) {
    Init();
    Create();
    EXPECT_EQ(face->GetLastServiceError(nullptr), ResultCode::kInvalidParameters);
    EXPECT_EQ(face->SignIn(nullptr, "pw"), ResultCode::kInvalidParameters);
    EXPECT_EQ(face->SignIn("anna", nullptr), ResultCode::kInvalidParameters);
    EXPECT_EQ(face->SignInToContext(nullptr), ResultCode::kInvalidParameters);
    EXPECT_EQ(face->GetCustomerContexts(nullptr), ResultCode::kInvalidParameters);
    EXPECT_EQ(face->FreeMemory(nullptr), ResultCode::kSuccess);
    EXPECT_TRUE(platform.requests.empty());
}

TEST_F(QuillmarkClientInstanceTest, SignsInByASocialProvider) {
    using test::kIdentities, test::kIdentitySecret, test::kNewIdentity, test::kOwnContextToken, test::kTrusts;
    const struct {
        const char* name;
        std::function<ResultCode()> run;
        std::vector<std::string> lines;  // up to the end that all share
    } rows[] = {
        {"token", [&] { return face->SignInWithSocialToken("acme", "st-1"); }, {test::kSocialToken}},
        {"code", [&] { return face->SignInWithSocialCode("c-1", 0); }, {test::kSocialCode}},
        {"code with a sign-up",
         [&] { return face->SignInWithSocialCode("c-1", 1); },
         {test::kFinalizeByCode, test::kSocialCode}},
        {"code to be linked", [&] { return face->SignInWithSocialCode("c-1", 2); }, {test::kSocialCode}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        InitAndSignIn();
        if (face != nullptr)
            face->Release();
        Create();
        platform.requests.clear();
        EXPECT_EQ(row.run(), ResultCode::kSuccess);
        auto expected = row.lines;
        for (const char* line : {kTrusts, kOwnContextToken, kIdentities, kNewIdentity, kIdentitySecret})
            expected.emplace_back(line);
        EXPECT_EQ(platform.RequestLines(test::kServiceUrl), expected);
        EXPECT_TRUE(client->IsSignedIn());
        EXPECT_EQ(platform.files.count("store/LIC0"), 1u);
    }
}

TEST_F(QuillmarkClientInstanceTest, WithoutACoreEverythingIsUninitialised) {
    face = new QuillmarkClientInstance(nullptr);
    EXPECT_EQ(face->AddRef(), 1u) << "a fresh object counts 0";
    const ContextChoice choice{0, ""};
    ServiceErrorRecord* error = nullptr;
    CustomerContext** list = nullptr;
    EXPECT_EQ(face->GetLastServiceError(&error), ResultCode::kNotInitialized);
    EXPECT_EQ(face->SignIn("anna", "pw"), ResultCode::kNotInitialized);
    EXPECT_EQ(face->SignInToContext(&choice), ResultCode::kNotInitialized);
    EXPECT_EQ(face->GetCustomerContexts(&list), ResultCode::kNotInitialized);
    char* names = nullptr;
    EXPECT_EQ(face->GetSocialProviders(&names), ResultCode::kNotInitialized);
    EXPECT_EQ(face->GetSocialProviders(nullptr), ResultCode::kNotInitialized);
    EXPECT_EQ(face->SignInWithSocialToken("acme", "st-1"), ResultCode::kNotInitialized);
    EXPECT_EQ(face->SignInWithSocialCode("c-1", 0), ResultCode::kNotInitialized);
    EXPECT_EQ(static_cast<std::uint32_t>(face->FreeMemory(nullptr)), 0x8000000Bu);
    EXPECT_FALSE(face->IsSignedIn());
    face->SignOut();
    EXPECT_EQ(face->GetVersion(), 0x01020100u);
}

TEST_F(QuillmarkClientInstanceTest, NothingThrownLeavesTheFace) {
    InitAndSignIn();
    Create();
    CustomerContext** list = reinterpret_cast<CustomerContext**>(0x5a);  // never followed
    ServiceErrorRecord* error = nullptr;
    const ContextChoice choice{0, ""};
    service.AnswerOnce(test::kUser, 404, "");
    quillmarkclient::CustomerDataValue data;
    EXPECT_EQ(client->GetCustomerData(data), ResultCode::kCustomerNotFound);  // leaves a refusal
    platform.before = [](Operation) { throw 7; };
    EXPECT_EQ(face->GetCustomerContexts(&list), ResultCode::kInternalError);
    EXPECT_EQ(list, reinterpret_cast<CustomerContext**>(0x5a));
    EXPECT_EQ(face->GetLastServiceError(&error), ResultCode::kInternalError);
    EXPECT_EQ(face->SignInToContext(&choice), ResultCode::kInternalError);
    EXPECT_EQ(face->FreeMemory(nullptr), ResultCode::kSuccess) << "the block is lost, the call is done";
    face->SignOut();
    EXPECT_EQ(face->SignIn("anna", "pw"), ResultCode::kInternalError);
    platform.before = nullptr;
    EXPECT_EQ(face->SignIn("anna", "pw"), ResultCode::kSuccess) << "the lock is free";
}

TEST_F(QuillmarkClientInstanceTest, WithoutMemoryTheOutIsNull) {
    InitAndSignIn();
    Create();
    CustomerContext** list = reinterpret_cast<CustomerContext**>(0x5a);  // never followed
    platform.FailCall(Operation::Alloc, 1);
    EXPECT_EQ(face->GetCustomerContexts(&list), ResultCode::kInsufficientResources);
    EXPECT_EQ(list, nullptr);
}

}  // namespace
