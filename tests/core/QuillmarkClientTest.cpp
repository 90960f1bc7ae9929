#include "core/src/QuillmarkClient.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/src/ClientContext.h"
#include "core/src/PrivateData.h"
#include "portable_stl/exception.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/HookedTable.h"
#include "tests/support/NativeFixture.h"

namespace quillmarkclient {

// Opens the client's share of the core to this test: an explicit instantiation may name private members.
std::shared_ptr<PrivateData>& SharedData(QuillmarkClient& client);
template <std::shared_ptr<PrivateData> QuillmarkClient::*Member>
struct OpenedData {
    friend std::shared_ptr<PrivateData>& SharedData(QuillmarkClient& client) { return client.*Member; }
};
template struct OpenedData<&QuillmarkClient::data_>;

}  // namespace quillmarkclient

namespace {

using quillmarkclient::ContextEntry;
using quillmarkclient::CustomerDataValue;
using quillmarkclient::QuillmarkClient;
using quillmarkclient::QuillmarkClientParams;
using quillmarkclient::ServiceErrorValue;
using test::Operation;

// Every out value of the face, filled with what no operation gives.
struct Outs {
    std::string text = "unset";
    std::vector<ContextEntry> contexts{{9, "unset", "unset"}};
    ServiceErrorValue error{9, 9, "unset", "", "", "", "", "", "", {{"unset", "unset"}}};
    CustomerDataValue data{"unset", "unset", "unset", "unset"};

    void ExpectUnset() const {
        EXPECT_EQ(text, "unset");
        EXPECT_TRUE(contexts.size() == 1 && contexts[0].kind == 9 && contexts[0].id == "unset");
        EXPECT_TRUE(error.resultCode == 9 && error.type == "unset" && error.errorArgs.size() == 1);
        EXPECT_TRUE(data.id == "unset" && data.firstName == "unset" && data.lastName == "unset" &&
                    data.email == "unset");
    }
};

constexpr struct {
    const char* name;
    ResultCode (*run)(QuillmarkClient&, Outs&);
} kCalls[] = {
    {"SignIn", [](QuillmarkClient& c, Outs&) { return c.SignIn("anna", "pw"); }},
    {"ConfirmSecondFactor", [](QuillmarkClient& c, Outs&) { return c.ConfirmSecondFactor("t", "1"); }},
    {"SignInToContext", [](QuillmarkClient& c, Outs&) { return c.SignInToContext(1, "org-1"); }},
    {"GetCustomerContexts", [](QuillmarkClient& c, Outs& o) { return c.GetCustomerContexts(o.contexts); }},
    {"GetLastServiceError", [](QuillmarkClient& c, Outs& o) { return c.GetLastServiceError(o.error); }},
    {"GetAccessToken", [](QuillmarkClient& c, Outs& o) { return c.GetAccessToken(o.text); }},
    {"RefreshAccessToken", [](QuillmarkClient& c, Outs& o) { return c.RefreshAccessToken(o.text); }},
    {"GetBasicEndpoint", [](QuillmarkClient& c, Outs& o) { return c.GetBasicEndpoint(o.text); }},
    {"GetDeviceId", [](QuillmarkClient& c, Outs& o) { return c.GetDeviceId(o.text); }},
    {"GetCustomerData", [](QuillmarkClient& c, Outs& o) { return c.GetCustomerData(o.data); }},
};

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

    // The lock is free and the core in order.
    void ExpectUsable() {
        EXPECT_EQ(client->SignIn("anna", "pw"), ResultCode::kTooManyContexts);
        EXPECT_EQ(client->SignInToContext(0, ""), ResultCode::kSuccess);
    }
};

TEST_F(QuillmarkClientTest, UninitialisedAnswersSo) {
    Outs outs;
    for (const auto& call : kCalls)
        EXPECT_EQ(call.run(*client, outs), ResultCode::kNotInitialized) << call.name;
    outs.ExpectUnset();
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
    outs.ExpectUnset();
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

TEST_F(QuillmarkClientTest, NothingThrownLeavesTheFaceAndTheLockIsFree) {
    static const struct {
        const char* name;
        void (*raise)();
    } throwers[] = {
        {"a standard exception", [] { throw std::runtime_error("bad conversion"); }},
        {"an exception of the core", [] { throw portable_stl::bad_alloc(); }},
        {"no exception class at all", [] { throw 7; }},
    };
    static constexpr Operation kThrowing[] = {
        Operation::FileRead,    Operation::FileWrite,  Operation::FileGetSize,
        Operation::FileSetSize, Operation::FileDelete, Operation::GetMachineIds,
        Operation::HttpRequest, Operation::Alloc,      Operation::Encrypt};
    InitWithEverything();
    const long blocks = platform.BlocksOut();
    unsigned thrown = 0;
    for (const auto& thrower : throwers) {
        for (const auto& call : kCalls) {
            for (const Operation operation : kThrowing) {
                SCOPED_TRACE(std::string(thrower.name) + " in " + call.name);
                for (unsigned nth = 1;; ++nth) {
                    unsigned count = 0;
                    platform.before = [&](Operation now) {
                        if (now == operation && ++count == nth) {
                            ++thrown;
                            thrower.raise();
                        }
                    };
                    const unsigned before = thrown;
                    Outs outs;
                    const auto code = call.run(*client, outs);
                    platform.before = nullptr;
                    if (thrown == before)
                        break;
                    EXPECT_EQ(code, ResultCode::kInternalError);
                    outs.ExpectUnset();
                    EXPECT_EQ(platform.BlocksOut(), blocks);
                    ExpectUsable();
                }
            }
        }
    }
    EXPECT_GT(thrown, 80u) << "too few calls reach the platform";
}

TEST_F(QuillmarkClientTest, ThrowingSignOutAndStatusAreHarmless) {
    InitAndSignIn();
    platform.before = [](Operation) { throw 7; };
    client->SignOut();
    EXPECT_EQ(client->Init("other", test::kServiceUrl), ResultCode::kInternalError);
    platform.before = nullptr;
    EXPECT_FALSE(client->IsSignedIn());
}

TEST_F(QuillmarkClientTest, ThrowingFreeAtTheEndStaysInside) {
    blocksMayBeLost = true;
    InitAndSignIn();
    Outs outs;
    bool thrown = false;
    platform.before = [&](Operation operation) {
        if (operation == Operation::Free && !thrown) {
            thrown = true;
            throw 7;
        }
    };
    EXPECT_EQ(client->GetAccessToken(outs.text), ResultCode::kSuccess) << "the text was copied by then";
    EXPECT_TRUE(thrown);
    EXPECT_EQ(outs.text, "own-token");
    thrown = false;
    client = std::make_unique<QuillmarkClient>();  // ends the core
    EXPECT_TRUE(thrown);
    platform.before = nullptr;
}

struct Pause {
    test::AllocationPause pause;
};

TEST_F(QuillmarkClientTest, EachAllocationOfEachCallFailsInTurn) {
    test::ScriptedDefaultTable() = test::Hooked<Pause>(platform.table);
    QuillmarkClient::SetLogCallbacks(nullptr, nullptr);
    service.Answer(test::kUser, 200,
                   R"({"id":"an id that is longer than the short form","firstName":"a long long first name",)"
                   R"("lastName":"a long long last name","email":"somebody.with.a.name@example.test"})");
    platform.machineIds = {"a machine identifier that is longer than the short form"};
    InitWithEverything();
    const long blocks = platform.BlocksOut();
    for (const auto& call : kCalls) {
        SCOPED_TRACE(call.name);
        for (std::size_t nth = 1;; ++nth) {
            ASSERT_LT(nth, 5000u);
            Outs outs;
            auto code = ResultCode::kSuccess;
            bool failed = false;
            {
                test::FailingAllocation failing(nth);
                code = call.run(*client, outs);
                failed = failing.HasFailed();
            }
            EXPECT_EQ(platform.BlocksOut(), blocks) << nth;
            if (!IsSuccess(code))
                outs.ExpectUnset();
            if (!failed)
                break;
            ExpectUsable();
        }
    }
}

TEST_F(QuillmarkClientTest, EachAllocationOfInitAndCreateInterfaceFailsInTurn) {
    test::ScriptedDefaultTable() = test::Hooked<Pause>(platform.table);
    QuillmarkClient::SetLogCallbacks(nullptr, nullptr);
    QuillmarkClientParams params;
    params.storagePath = "a-folder-that-does-not-fit-the-short-form";
    params.serviceUrl = test::kServiceUrl;
    for (std::size_t nth = 1;; ++nth) {
        ASSERT_LT(nth, 5000u);
        test::FailingAllocation failing(nth);
        const auto code = client->Init(params);
        if (!failing.HasFailed()) {
            EXPECT_EQ(code, ResultCode::kSuccess);
            break;
        }
        EXPECT_TRUE(code == ResultCode::kInternalError || code == ResultCode::kInsufficientResources) << nth;
        EXPECT_EQ(platform.BlocksOut(), 0) << nth;
    }
    quillmarkclient::IQuillmarkClient* made = nullptr;
    {
        test::FailingAllocation failing(1);
        made = client->CreateInterface();
    }
    EXPECT_EQ(made, nullptr);
}

TEST_F(QuillmarkClientTest, MessageWithoutMemoryIsEmpty) {
    test::FailingAllocation failing(1);
    EXPECT_EQ(QuillmarkClient::GetErrorMessage(ResultCode::kNotInitialized), "");
}

TEST_F(QuillmarkClientTest, ALockThatFailsIsACode) {
    InitWithEverything();
    // A checking mutex that this thread holds already refuses to be locked.
    std::mutex& mutex = quillmarkclient::SharedData(*client)->mutex;
    pthread_mutexattr_t checking;
    ASSERT_EQ(pthread_mutexattr_init(&checking), 0);
    ASSERT_EQ(pthread_mutexattr_settype(&checking, PTHREAD_MUTEX_ERRORCHECK), 0);
    ASSERT_EQ(pthread_mutex_init(mutex.native_handle(), &checking), 0);
    pthread_mutexattr_destroy(&checking);

    quillmarkclient::IQuillmarkClient* interface = client->CreateInterface();
    ASSERT_NE(interface, nullptr);
    mutex.lock();
    Outs outs;
    for (const auto& call : kCalls)
        EXPECT_EQ(call.run(*client, outs), ResultCode::kInternalError) << call.name;
    outs.ExpectUnset();
    EXPECT_FALSE(client->IsSignedIn());
    client->SignOut();
    EXPECT_EQ(interface->SignIn("anna", "pw"), ResultCode::kInternalError);
    EXPECT_EQ(interface->FreeMemory(nullptr), ResultCode::kInternalError);
    EXPECT_FALSE(interface->IsSignedIn());
    mutex.unlock();
    EXPECT_TRUE(client->IsSignedIn());
    EXPECT_TRUE(interface->IsSignedIn());
    interface->Release();
}

}  // namespace
