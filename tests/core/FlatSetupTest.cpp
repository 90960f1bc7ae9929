#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/FakeRegistryClient.h"
#include "tests/support/FlatFixture.h"

namespace {

using quillmarkclient::ClientContext;
using quillmarkclient::QuillmarkClientInit;
using quillmarkclient_core::SystemApi;
using test::Operation;

ClientContext* const kUnset = reinterpret_cast<ClientContext*>(0x5a);  // never followed

using FlatSetup = test::FlatFixture;

TEST_F(FlatSetup, VersionIsMajorMinorBuildAndAZeroByte) {
    EXPECT_EQ(quillmarkclient::GetLibraryVersion(), 0x01020100u);
}

TEST_F(FlatSetup, ChecksComeInTheirOrderAndTouchNothing) {
    static const struct {
        const char* name;
        void (*spoil)(QuillmarkClientInit&);
        ResultCode expected;
    } rows[] = {
        {"null serviceUrl", [](QuillmarkClientInit& i) { i.serviceUrl = nullptr; },
         ResultCode::kInvalidParameters},
        {"empty serviceUrl", [](QuillmarkClientInit& i) { i.serviceUrl = ""; },
         ResultCode::kInvalidParameters},
        {"empty serviceUrl before the version",
         [](QuillmarkClientInit& i) {
             i.serviceUrl = "";
             i.version = 1;
         },
         ResultCode::kInvalidParameters},
        {"version 0", [](QuillmarkClientInit& i) { i.version = 0; }, ResultCode::kVersionMismatch},
        {"another build", [](QuillmarkClientInit& i) { i.version = 0x01020200u; },
         ResultCode::kVersionMismatch},
        {"a set low byte", [](QuillmarkClientInit& i) { i.version = 0x01020101u; },
         ResultCode::kVersionMismatch},
        {"version before the kind",
         [](QuillmarkClientInit& i) {
             i.version = 0;
             i.clientKind = 1;
         },
         ResultCode::kVersionMismatch},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        QuillmarkClientInit spoiled = init;
        spoiled.table.Sleep = nullptr;
        row.spoil(spoiled);
        ClientContext* out = kUnset;
        EXPECT_EQ(quillmarkclient::Initialize(&spoiled, &out, nullptr), row.expected);
        EXPECT_EQ(out, kUnset);
        ExpectReported(row.expected);
        EXPECT_NE(SystemApi::Table().Sleep, nullptr) << "the table was taken over";
    }
    EXPECT_EQ(platform.CallCount(Operation::Alloc), 0u);
    EXPECT_EQ(platform.errors.size(), std::size(rows));
}

TEST_F(FlatSetup, NullArgumentsAreRefused) {
    ClientContext* out = kUnset;
    EXPECT_EQ(quillmarkclient::Initialize(nullptr, &out, nullptr), ResultCode::kInvalidParameters);
    EXPECT_EQ(out, kUnset);
    EXPECT_EQ(quillmarkclient::Initialize(&init, nullptr, nullptr), ResultCode::kInvalidParameters);
    EXPECT_EQ(quillmarkclient::Initialize(nullptr, nullptr, nullptr), ResultCode::kInvalidParameters);
    EXPECT_EQ(platform.errors.size(), 3u);
}

TEST_F(FlatSetup, KindsChooseTheSession) {
    static const struct {
        const char* name;
        std::uint32_t given;
        std::uint32_t kind;
        const char* signInPath;
    } rows[] = {
        {"customer", 0, 0, "/api/customer/registry/v2/tokens"},
        {"business", 1, 1, "/api/business/registry/v2/tokens"},
        {"principal administrator", 2, 2, "/api/admin/id/v0/tokens/password"},
        {"an unknown kind is a customer", 3, 0, "/api/customer/registry/v2/tokens"},
        {"the largest kind is a customer", 0xFFFFFFFFu, 0, "/api/customer/registry/v2/tokens"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        init.clientKind = row.given;
        Start();
        EXPECT_EQ(context->registryClient->kind, row.kind);
        platform.requests.clear();
        platform.AnswerWith(500, "");
        EXPECT_EQ(quillmarkclient::SignIn(context, "anna", "pw", nullptr), ResultCode::kInternalServiceError);
        ASSERT_EQ(platform.requests.size(), 1u);
        EXPECT_EQ(platform.requests[0].url, std::string(test::kServiceUrl) + row.signInPath);
    }
}

TEST_F(FlatSetup, FolderIsCompleted) {
    static const struct {
        const char* name;
        const char* given;
        const char* completed;
    } rows[] = {
        {"null", nullptr, ""},
        {"empty stays empty", "", ""},
        {"no separator", "/home/anna/x", "/home/anna/x/"},
        {"backslashes get a forward slash", "C:\\x", "C:\\x/"},
        {"backslash at the end", "C:\\x\\", "C:\\x\\"},
        {"slash at the end", "x/", "x/"},
        {"the root", "/", "/"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        init.storagePath = row.given;
        Start();
        EXPECT_STREQ(context->storagePath.c_str(), row.completed);
        EXPECT_STREQ(context->core->storagePath.c_str(), row.completed);
        EXPECT_STREQ(context->registryClient->dataFolder.c_str(), row.completed);
    }
}

TEST_F(FlatSetup, ParametersReachTheirObjects) {
    init.identityName = "our-identity";
    init.auxiliary4 = "kept";
    init.retryPolicy = {7, 0, 2000, 0};
    Start();
    EXPECT_STREQ(context->identityName.c_str(), "our-identity");
    EXPECT_STREQ(context->auxiliary4.c_str(), "kept");
    EXPECT_TRUE(context->deviceId.empty());
    EXPECT_FALSE(context->useAlternateKeys);
    EXPECT_STREQ(context->registryClient->baseUrl.c_str(), test::kServiceUrl);
    EXPECT_STREQ(context->core->serviceUrl.c_str(), test::kServiceUrl);
    EXPECT_EQ(context->core->registryClient, context->registryClient.get());
    EXPECT_EQ(context->core->cryptographer.get(), context->cryptographer.get());
    EXPECT_EQ(context->registryClient->retryPolicy.maxAttempts, 7u);
    EXPECT_EQ(context->registryClient->retryPolicy.timeoutRetryDelayMs, 1500u);
    EXPECT_EQ(context->registryClient->retryPolicy.idempotencyWaitMs, 2000u);
    EXPECT_EQ(context->registryClient->retryPolicy.idempotencyWaitCapMs, 30000u);
}

TEST_F(FlatSetup, OptionalTextsMayBeNull) {
    init.storagePath = init.identityName = init.auxiliary4 = nullptr;
    Start();
    EXPECT_STREQ(context->identityName.c_str(), "");
    EXPECT_STREQ(context->auxiliary4.c_str(), "");
}

TEST_F(FlatSetup, TheFlagSelectsTheKeys) {
    Start();
    const std::string usual = context->cryptographer->cipherKeyText.c_str();
    for (const std::uint8_t flag : {std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{255}}) {
        init.useAlternateKeys = flag;
        Start();
        EXPECT_TRUE(context->useAlternateKeys);
        EXPECT_STRNE(context->cryptographer->cipherKeyText.c_str(), usual.c_str());
    }
}

TEST_F(FlatSetup, ABareStartMakesNoFileAndNoExchange) {
    Start();
    EXPECT_TRUE(platform.files.empty());
    EXPECT_TRUE(platform.requests.empty());
    EXPECT_TRUE(platform.logOrder.empty());
    EXPECT_FALSE(IsSignedIn());
    EXPECT_EQ(AccessToken(), "");
}

TEST_F(FlatSetup, TheLastTableDecidesForTheProcess) {
    Start();
    ClientContext* first = context;
    context = nullptr;
    init.table.GetMachineIds = nullptr;
    Start();
    char* text = nullptr;
    EXPECT_EQ(quillmarkclient::GetDeviceId(first, &text, nullptr), ResultCode::kMachineId);
    quillmarkclient::Shutdown(first, nullptr);
    init.table.GetMachineIds = platform.table.GetMachineIds;
    Start();
    EXPECT_EQ(Text(&quillmarkclient::GetDeviceId), "MAC-AA-BB-CC-DD-EE-FF");
}

TEST_F(FlatSetup, ContextIsABlockOfTheTable) {
    Start();
    EXPECT_EQ(platform.BlocksOut(), 1);
    Stop();
    EXPECT_EQ(platform.BlocksOut(), 0);
}

TEST_F(FlatSetup, WithoutABlockForTheContextOutIsNull) {
    platform.FailCall(Operation::Alloc, 1);
    ClientContext* out = kUnset;
    EXPECT_EQ(quillmarkclient::Initialize(&init, &out, nullptr), ResultCode::kInsufficientResources);
    EXPECT_EQ(out, nullptr);
    ExpectReported(ResultCode::kInsufficientResources);

    out = kUnset;
    init.table.Alloc = nullptr;
    EXPECT_EQ(quillmarkclient::Initialize(&init, &out, nullptr), ResultCode::kInsufficientResources);
    EXPECT_EQ(out, nullptr);
}

TEST_F(FlatSetup, ObjectsGoDownBeforeWhatTheyUse) {
    Start();
    auto session = portable_stl::make_unique<test::FakeRegistryClient>();
    bool coreIsGone = false;
    bool othersStand = false;
    session->atEnd = [&] {
        coreIsGone = !context->core;
        othersStand = context->cryptographer && context->lastServiceError;
    };
    context->registryClient = std::move(session);
    quillmarkclient::Shutdown(context, nullptr);
    context = nullptr;
    EXPECT_TRUE(coreIsGone);
    EXPECT_TRUE(othersStand);
}

TEST_F(FlatSetup, NullIsHarmlessOnTheWayDown) {
    quillmarkclient::Shutdown(nullptr, nullptr);
    EXPECT_EQ(quillmarkclient::FreeMemory(nullptr, nullptr, nullptr), ResultCode::kSuccess);
    Start();
    EXPECT_EQ(quillmarkclient::FreeMemory(context, nullptr, nullptr), ResultCode::kSuccess);
    EXPECT_TRUE(platform.logOrder.empty());
}

TEST_F(FlatSetup, BlocksOutliveTheClientThatMadeThem) {
    Start();
    char* endpoint = nullptr;
    ASSERT_EQ(quillmarkclient::GetBasicEndpoint(context, &endpoint, nullptr), ResultCode::kSuccess);
    Stop();
    EXPECT_STREQ(endpoint, test::kServiceUrl);
    EXPECT_EQ(quillmarkclient::FreeMemory(nullptr, endpoint, nullptr), ResultCode::kSuccess);
}

TEST_F(FlatSetup, NullOutletsSilence) {
    quillmarkclient::SetLogCallbacks(nullptr, nullptr);
    EXPECT_EQ(quillmarkclient::Initialize(nullptr, nullptr, nullptr), ResultCode::kInvalidParameters);
    Start();
    EXPECT_EQ(quillmarkclient::SignIn(context, "anna", "pw", nullptr), ResultCode::kSuccess);
    EXPECT_TRUE(platform.logOrder.empty());
}

}  // namespace
