// What both native faces make of memory that ends, of platforms that throw or lack an operation, and of a
// lock that fails.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/src/system/SystemApi.h"
#include "portable_stl/exception.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/HookedTable.h"
#include "tests/support/MissingEntryCodes.h"
#include "tests/support/NativeCalls.h"
#include "tests/support/SharedData.h"

namespace {

using quillmarkclient::QuillmarkClient;
using quillmarkclient::QuillmarkClientParams;
using quillmarkclient_core::SystemApi;
using test::kNativeCalls;
using test::NativeCall;
using test::Operation;
using test::Outs;

constexpr std::size_t kMostSteps = 5000;  // of one call; more means that a loop does not end

// The fakes' own allocations do not fail.
struct Pause {
    test::AllocationPause pause;
};

class QuillmarkClientFailures : public test::FacesFixture {
protected:
    ~QuillmarkClientFailures() override { test::throwing = {}; }

    void UseTable(const quillmarkclient_core::PlatformTable& table) {
        test::ScriptedDefaultTable() = table;
        QuillmarkClient::SetLogCallbacks(nullptr, nullptr);
    }
};

TEST_F(QuillmarkClientFailures, EachAllocationOfEachCallFailsInTurn) {
    UseTable(test::Hooked<Pause>(platform.table));
    std::size_t failures = 0;
    for (const NativeCall& call : kNativeCalls) {
        SCOPED_TRACE(call.name);
        for (std::size_t nth = 1;; ++nth) {
            ASSERT_LT(nth, kMostSteps);
            Prepare();
            const long blocks = platform.BlocksOut();
            Outs outs;
            auto code = ResultCode::kSuccess;
            bool failed = false;
            {
                test::FailingAllocation failing(nth);
                code = call.run(Both(), outs);
                failed = failing.HasFailed();
            }
            EXPECT_EQ(platform.BlocksOut(), blocks) << nth;
            ExpectUsable();
            if (!failed) {
                EXPECT_EQ(code, ResultCode::kSuccess);
                break;
            }
            ++failures;
            const bool isOfMemory =
                code == ResultCode::kInternalError || code == ResultCode::kInsufficientResources;
            EXPECT_TRUE(isOfMemory || call.isSignIn) << nth << ": " << static_cast<std::uint32_t>(code);
            // The list of providers is emptied ahead of its copy.
            if (!IsSuccess(code) && call.operation != std::string("GetSocialProviders"))
                outs.ExpectUnset(code);
        }
    }
    EXPECT_GT(failures, 1000u) << "the calls allocate less than they used to, or nothing fails";
}

// What a face copies last, once the core has answered.
TEST_F(QuillmarkClientFailures, ACopyWithoutMemoryIsAnInternalErrorAndItsBlockGoesBack) {
    UseTable(test::Hooked<Pause>(platform.table));
    for (const char* name :
         {"GetSocialProviders", "GetCustomerContexts", "GetLastServiceError", "GetAccessToken",
          "RefreshAccessToken", "GetBasicEndpoint", "GetDeviceId", "GetCustomerData"}) {
        SCOPED_TRACE(name);
        const auto* const call =
            std::find_if(std::begin(kNativeCalls), std::end(kNativeCalls),
                         [&](const NativeCall& row) { return row.name == std::string(name); });
        Prepare();
        std::size_t steps = 0;
        {
            Outs outs;
            const test::AllocationCount count;
            ASSERT_EQ(call->run(Both(), outs), ResultCode::kSuccess);
            steps = count.Blocks();
        }
        ASSERT_GT(steps, 0u);
        Prepare();
        const long blocks = platform.BlocksOut();
        Outs outs;
        auto code = ResultCode::kSuccess;
        {
            const test::FailingAllocation failing(steps);
            code = call->run(Both(), outs);
            EXPECT_TRUE(failing.HasFailed());
        }
        EXPECT_EQ(static_cast<std::uint32_t>(code), 0x80000001u);
        EXPECT_EQ(platform.BlocksOut(), blocks);
    }
}

TEST_F(QuillmarkClientFailures, TheProvidersAreClearedBeforeTheyAreCopied) {
    UseTable(test::Hooked<Pause>(platform.table));
    Prepare();
    std::vector<std::string> providers{"a former one"};
    std::size_t steps = 0;
    {
        const test::AllocationCount count;
        ASSERT_EQ(client->GetSocialProviders(providers), ResultCode::kSuccess);
        steps = count.Blocks();
    }
    providers = {"a former one"};
    {
        const test::FailingAllocation failing(steps);
        EXPECT_EQ(client->GetSocialProviders(providers), ResultCode::kInternalError);
    }
    EXPECT_EQ(std::count(providers.begin(), providers.end(), "a former one"), 0);

    providers = {"a former one"};
    service.Answer(test::kProviders, 500, "");
    EXPECT_EQ(client->GetSocialProviders(providers), ResultCode::kInternalServiceError);
    EXPECT_EQ(providers, std::vector<std::string>{"a former one"}) << "a refusal clears nothing";
}

TEST_F(QuillmarkClientFailures, EachAllocationOfInitAndCreateInterfaceFailsInTurn) {
    UseTable(test::Hooked<Pause>(platform.table));
    QuillmarkClientParams params;
    params.storagePath = "a-folder-that-does-not-fit-the-short-form";
    params.serviceUrl = test::kServiceUrl;
    std::vector<std::uint32_t> codes;
    for (std::size_t nth = 1;; ++nth) {
        ASSERT_LT(nth, kMostSteps);
        auto code = ResultCode::kSuccess;
        bool failed = false;
        {
            const test::FailingAllocation failing(nth);
            code = client->Init(params);
            failed = failing.HasFailed();
        }
        if (!failed) {
            EXPECT_EQ(code, ResultCode::kSuccess);
            break;
        }
        codes.push_back(static_cast<std::uint32_t>(code));
        EXPECT_EQ(platform.BlocksOut(), 0) << nth;
    }
    // Within the start of the core, and behind it the one block that owns the core.
    ASSERT_GT(codes.size(), 5u);
    for (std::size_t i = 0; i < codes.size(); ++i)
        EXPECT_EQ(codes[i], i + 1 == codes.size() ? 0x80000001u : 0x80000003u) << i;
    quillmarkclient::IQuillmarkClient* made = nullptr;
    {
        test::FailingAllocation failing(1);
        made = client->CreateInterface();
    }
    EXPECT_EQ(made, nullptr);
}

TEST_F(QuillmarkClientFailures, ASecondInitWithoutMemoryLeavesTheFormerCore) {
    UseTable(test::Hooked<Pause>(platform.table));
    Prepare();
    const long blocks = platform.BlocksOut();
    const std::string folder = "a-folder-that-does-not-fit-the-short-form";
    const std::string serviceUrl = test::kServiceUrl;
    for (std::size_t nth = 1;; ++nth) {
        ASSERT_LT(nth, kMostSteps);
        auto code = ResultCode::kSuccess;
        bool failed = false;
        {
            test::FailingAllocation failing(nth);
            code = client->Init(folder, serviceUrl);
            failed = failing.HasFailed();
        }
        if (!failed) {
            EXPECT_EQ(code, ResultCode::kSuccess);
            break;
        }
        EXPECT_FALSE(IsSuccess(code)) << nth;
        EXPECT_TRUE(client->IsSignedIn()) << nth;
        EXPECT_EQ(platform.BlocksOut(), blocks) << nth;
    }
    EXPECT_FALSE(client->IsSignedIn());
    EXPECT_TRUE(slots->IsSignedIn()) << "on the former core";
}

TEST_F(QuillmarkClientFailures, MessageWithoutMemoryIsEmpty) {
    test::FailingAllocation failing(1);
    EXPECT_EQ(QuillmarkClient::GetErrorMessage(ResultCode::kNotInitialized), "");
}

constexpr struct {
    const char* name;
    void (*raise)();
    std::uint32_t startCode;  // of a start that it ends; the core's own are the memory's
} kThrowers[] = {
    {"a standard exception", [] { throw std::runtime_error("bad conversion"); }, 0x80000001u},
    {"an exception of the core", [] { throw portable_stl::bad_alloc(); }, 0x80000003u},
    {"no exception class at all", [] { throw 7; }, 0x80000001u},
};

// The operations that take blocks back are called on the way of other failures as well; they have a test of
// their own.
constexpr Operation kReleases[] = {Operation::Free, Operation::HttpFree, Operation::FreeCryptoBuffer};

bool IsRelease(Operation operation) {
    return std::find(std::begin(kReleases), std::end(kReleases), operation) != std::end(kReleases);
}

TEST_F(QuillmarkClientFailures, NothingThrownLeavesTheFacesAndTheLockIsFree) {
    blocksMayBeLost = true;  // when what fills a block throws
    UseTable(test::Throwing(platform.table));
    std::set<Operation> thrown;
    for (const auto& thrower : kThrowers) {
        for (const NativeCall& call : kNativeCalls) {
            for (std::size_t number = 0; number < static_cast<std::size_t>(Operation::Count); ++number) {
                const auto operation = static_cast<Operation>(number);
                if (IsRelease(operation))
                    continue;
                SCOPED_TRACE(std::string(thrower.name) + " in " + call.name + ", entry " +
                             std::to_string(number));
                const bool fillsBlocks = operation == Operation::MemSet || operation == Operation::MemCopy;
                for (std::size_t nth = 1;; ++nth) {
                    ASSERT_LT(nth, kMostSteps);
                    Prepare();
                    const long blocks = platform.BlocksOut();
                    test::throwing = {operation, nth, thrower.raise};
                    Outs outs;
                    const auto code = call.run(Both(), outs);
                    const bool hasThrown = test::throwing.seen >= nth;
                    test::throwing = {};
                    if (!hasThrown) {
                        EXPECT_EQ(code, ResultCode::kSuccess);
                        break;
                    }
                    thrown.insert(operation);
                    EXPECT_EQ(static_cast<std::uint32_t>(code), 0x80000001u);
                    outs.ExpectUnset(code);
                    if (!fillsBlocks) {
                        EXPECT_EQ(platform.BlocksOut(), blocks);
                    }
                    ExpectUsable();
                }
            }
        }
    }
    for (const Operation wanted :
         {Operation::FileRead, Operation::FileWrite, Operation::FileGetSize, Operation::FileSetSize,
          Operation::FileDelete, Operation::GetMachineIds, Operation::HttpRequest, Operation::Alloc,
          Operation::MemSet, Operation::MemCopy, Operation::GetTime, Operation::Encrypt, Operation::Md5})
        EXPECT_EQ(thrown.count(wanted), 1u) << static_cast<std::uint32_t>(wanted) << " is reached by no call";
}

TEST_F(QuillmarkClientFailures, ThrowingSignOutAndStatusAreHarmless) {
    UseTable(test::Throwing(platform.table));
    Prepare();
    test::throwing = {Operation::FileDelete, 1, [] { throw 7; }};
    client->SignOut();
    EXPECT_EQ(test::throwing.seen, 1u);
    EXPECT_FALSE(client->IsSignedIn());
    ExpectUsable();
    test::throwing = {Operation::FileDelete, 1, [] { throw 7; }};
    slots->SignOut();
    EXPECT_EQ(test::throwing.seen, 1u);
    EXPECT_FALSE(slots->IsSignedIn());
    test::throwing = {};
    ExpectUsable();
}

TEST_F(QuillmarkClientFailures, AThrowingStartIsACodeAndLeavesTheFormerCore) {
    UseTable(test::Throwing(platform.table));
    Prepare();
    const long blocks = platform.BlocksOut();
    for (const auto& thrower : kThrowers) {
        for (const Operation operation : {Operation::Alloc, Operation::FileGetSize}) {
            SCOPED_TRACE(thrower.name);
            UseTable(test::ScriptedDefaultTable());
            test::throwing = {operation, 1, thrower.raise};
            EXPECT_EQ(static_cast<std::uint32_t>(client->Init("other", test::kServiceUrl)),
                      thrower.startCode);
            EXPECT_EQ(test::throwing.seen, 1u);
            test::throwing = {};
            EXPECT_TRUE(client->IsSignedIn());
            EXPECT_EQ(platform.BlocksOut(), blocks);
        }
    }
}

TEST_F(QuillmarkClientFailures, ThrowingFreeAtTheEndStaysInside) {
    blocksMayBeLost = true;
    UseTable(test::Throwing(platform.table));
    Prepare();
    Drop();
    Outs outs;
    test::throwing = {Operation::Free, 1, [] { throw 7; }};
    EXPECT_EQ(client->GetAccessToken(outs.text), ResultCode::kSuccess) << "the text was copied by then";
    EXPECT_EQ(test::throwing.seen, 1u);
    EXPECT_EQ(outs.text, test::kLongToken);
    test::throwing = {Operation::Free, 1, [] { throw 7; }};
    client = std::make_unique<QuillmarkClient>();  // ends the core
    EXPECT_EQ(test::throwing.seen, 1u);
}

TEST_F(QuillmarkClientFailures, EachEntryMissingHasItsCodeInEachCall) {
    blocksMayBeLost = true;  // where what takes them back is missing
    for (std::size_t number = 0; number < static_cast<std::size_t>(Operation::Count); ++number) {
        const auto entry = static_cast<Operation>(number);
        for (const NativeCall& call : kNativeCalls) {
            SCOPED_TRACE(std::string(call.name) + ", entry " + std::to_string(number));
            Prepare();
            const long blocks = platform.BlocksOut();
            SystemApi::SetTable(test::WithoutEntry(platform.table, entry));
            Outs outs;
            const auto code = call.run(Both(), outs);
            platform.Install();
            EXPECT_EQ(static_cast<std::uint32_t>(code), test::CodeWithoutEntry(call.operation, entry));
            if (!IsSuccess(code))
                outs.ExpectUnset(code);
            if (!test::LosesBlocks(entry)) {
                EXPECT_EQ(platform.BlocksOut(), blocks);
            }
            ExpectUsable();
        }
    }
}

TEST_F(QuillmarkClientFailures, AStartWithAnEntryMissingNeedsBlocksAlone) {
    blocksMayBeLost = true;
    for (std::size_t number = 0; number < static_cast<std::size_t>(Operation::Count); ++number) {
        SCOPED_TRACE(number);
        const auto entry = static_cast<Operation>(number);
        QuillmarkClient fresh;
        test::ScriptedDefaultTable() = test::WithoutEntry(platform.table, entry);
        const bool isStarted = entry != Operation::Alloc;
        EXPECT_EQ(fresh.Init("store", test::kServiceUrl),
                  isStarted ? ResultCode::kSuccess : ResultCode::kInsufficientResources);
        quillmarkclient::IQuillmarkClient* const face = fresh.CreateInterface();
        EXPECT_EQ(face != nullptr, isStarted);
        fresh.SignOut();
        EXPECT_FALSE(fresh.IsSignedIn());
        if (face != nullptr) {
            EXPECT_EQ(face->FreeMemory(nullptr), ResultCode::kSuccess);
            EXPECT_EQ(face->Release(), 0u);
        }
    }
}

// A list without its end would lead its reader out of the block.
TEST_F(QuillmarkClientFailures, TheListOfProvidersHasItsEndWhateverTheTableLacks) {
    service.Answer(test::kProviders, 200, R"([{"key":"a"},{"key":"b"},{"key":"c"}])");
    Init();
    Create();
    for (const Operation entry : {Operation::MemSet, Operation::MemMove, Operation::MemCompare}) {
        SCOPED_TRACE(static_cast<std::uint32_t>(entry));
        SystemApi::SetTable(test::WithoutEntry(platform.table, entry));
        char* names = nullptr;
        EXPECT_EQ(slots->GetSocialProviders(&names), ResultCode::kSuccess);
        platform.Install();
        EXPECT_EQ(std::string(names, 7), std::string("a\0b\0c\0\0", 7));
        slots->FreeMemory(names);
    }
}

TEST_F(QuillmarkClientFailures, ALockThatFailsIsACode) {
    Prepare();
    // A checking mutex that this thread holds already refuses to be locked.
    std::mutex& mutex = quillmarkclient::SharedData(*client)->mutex;
    pthread_mutexattr_t checking;
    ASSERT_EQ(pthread_mutexattr_init(&checking), 0);
    ASSERT_EQ(pthread_mutexattr_settype(&checking, PTHREAD_MUTEX_ERRORCHECK), 0);
    ASSERT_EQ(pthread_mutex_init(mutex.native_handle(), &checking), 0);
    pthread_mutexattr_destroy(&checking);

    mutex.lock();
    Outs outs;
    for (const NativeCall& call : kNativeCalls) {
        const auto code = call.run(Both(), outs);
        EXPECT_EQ(code, ResultCode::kInternalError) << call.name;
        outs.ExpectUnset(code);
    }
    EXPECT_EQ(slots->FreeMemory(nullptr), ResultCode::kInternalError);
    EXPECT_FALSE(client->IsSignedIn());
    EXPECT_FALSE(slots->IsSignedIn());
    client->SignOut();
    slots->SignOut();
    mutex.unlock();
    EXPECT_TRUE(client->IsSignedIn());
    EXPECT_TRUE(slots->IsSignedIn());
}

}  // namespace
