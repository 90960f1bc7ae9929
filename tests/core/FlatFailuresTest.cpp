// What the flat operations do when the memory ends and when the platform fails or lacks an operation.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "core/src/core/Cryptographer.h"
#include "portable_stl/exception.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/FlatFixture.h"
#include "tests/support/HookedTable.h"
#include "tests/support/MissingEntryCodes.h"

namespace {

using quillmarkclient::ClientContext;
using quillmarkclient_core::PlatformTable;
using quillmarkclient_core::SystemApi;
using test::Operation;

// The fakes' own allocations do not fail.
struct Pause {
    test::AllocationPause pause;
};

// One call of a flat operation, and what comes out given back.
struct Call {
    const char* name;
    ResultCode (*run)(ClientContext*);
    bool signedIn;  // whether the call starts from a sign-in
    const char* operation = name;
};

template <class Out>
ResultCode TakeAndFree(ClientContext* context, ResultCode (*operation)(ClientContext*, Out**, void*)) {
    Out* out = nullptr;
    const auto code = operation(context, &out, nullptr);
    if (IsSuccess(code))
        quillmarkclient::FreeMemory(context, out, nullptr);
    return code;
}

constexpr Call kCalls[] = {
    {"SignIn", [](ClientContext* c) { return quillmarkclient::SignIn(c, "anna", "pw", nullptr); }, false},
    {"SignIn again", [](ClientContext* c) { return quillmarkclient::SignIn(c, "anna", "pw", nullptr); }, true,
     "SignIn"},
    {"ConfirmSecondFactor",
     [](ClientContext* c) { return quillmarkclient::ConfirmSecondFactor(c, "challenge-1", "1", nullptr); },
     false},
    {"GetCustomerContexts",
     [](ClientContext* c) { return TakeAndFree(c, &quillmarkclient::GetCustomerContexts); }, true},
    {"SignInToContext",
     [](ClientContext* c) {
         const quillmarkclient::ContextChoice choice{1, "organisation-with-a-name-that-is-long"};
         return quillmarkclient::SignInToContext(c, &choice, nullptr);
     },
     true},
    {"SignInWithSocialToken",
     [](ClientContext* c) { return quillmarkclient::SignInWithSocialToken(c, "acme", "st-1", nullptr); },
     true},
    {"SignInWithSocialCode",
     [](ClientContext* c) { return quillmarkclient::SignInWithSocialCode(c, "c-1", 1, nullptr); }, false},
    {"UseAccessToken",
     [](ClientContext* c) {
         return quillmarkclient::UseAccessToken(c, "a.token.that-does-not-fit-the-short-form", nullptr);
     },
     true},
    {"GetSocialProviders",
     [](ClientContext* c) {
         char* out = nullptr;
         const auto code = quillmarkclient::GetSocialProviders(c, &out, ';', nullptr);
         if (IsSuccess(code))
             quillmarkclient::FreeMemory(c, out, nullptr);
         return code;
     },
     false},
    {"GetIdentityToken", [](ClientContext* c) { return TakeAndFree(c, &quillmarkclient::GetIdentityToken); },
     true},
    {"PersistIdentityToken",
     [](ClientContext* c) { return quillmarkclient::PersistIdentityToken(c, "host.json", nullptr); }, true},
    {"IsSignedIn",
     [](ClientContext* c) {
         return quillmarkclient::IsSignedIn(c, nullptr) != 0 ? ResultCode::kSuccess
                                                             : ResultCode::kNotInitialized;
     },
     true},
    {"GetAccessToken", [](ClientContext* c) { return TakeAndFree(c, &quillmarkclient::GetAccessToken); },
     true},
    {"RefreshAccessToken",
     [](ClientContext* c) { return TakeAndFree(c, &quillmarkclient::RefreshAccessToken); }, true},
    {"SignOut",
     [](ClientContext* c) {
         quillmarkclient::SignOut(c, nullptr);
         return ResultCode::kSuccess;
     },
     true},
    {"GetCustomerData", [](ClientContext* c) { return TakeAndFree(c, &quillmarkclient::GetCustomerData); },
     true},
    {"GetBasicEndpoint", [](ClientContext* c) { return TakeAndFree(c, &quillmarkclient::GetBasicEndpoint); },
     false},
    {"GetDeviceId", [](ClientContext* c) { return TakeAndFree(c, &quillmarkclient::GetDeviceId); }, false},
    {"GetLastServiceError",
     [](ClientContext* c) { return TakeAndFree(c, &quillmarkclient::GetLastServiceError); }, true},
};

class FlatFailures : public test::FlatFixture {
protected:
    FlatFailures() {
        init.table = test::Hooked<Pause>(platform.table);
        init.identityName = "a-name-that-does-not-fit-the-short-form";
        init.auxiliary4 = "a-text-that-does-not-fit-the-short-form";
        quillmarkclient::SetLogCallbacks(nullptr, nullptr);
        const auto cipher = portable_stl::make_shared<quillmarkclient_core::Cryptographer<SystemApi>>(false);
        for (const auto& [path, text] :
             {std::pair{"store/LIC0", R"({"identityToken":"stored-secret","contextType":"b2c"})"},
              std::pair{"store/LIC", R"({"contextToken":"stored-token"})"}}) {
            EXPECT_EQ(quillmarkclient_core::WriteEncryptedFile<SystemApi>(path, text, &cipher, nullptr),
                      ResultCode::kSuccess);
        }
        storedFiles_ = platform.files;
    }

    // A client as the call wants it, the same each time, with a refusal to be asked for.
    void Prepare(const Call& call) {
        platform.files = call.signedIn ? storedFiles_ : std::map<std::string, std::string>();
        platform.files["host.json"] = R"({"a":[1,"a text that does not fit the short form"]})";
        Start();
        context->lastServiceError->resultCode = 1;
        context->lastServiceError->errorArgs.push_back({"name", "value"}).value();
        platform.requests.clear();
    }

    void ExpectUsable() {
        EXPECT_EQ(quillmarkclient::SignIn(context, "anna", "pw", nullptr), ResultCode::kSuccess);
        EXPECT_EQ(AccessToken(), "own-token");
    }

private:
    std::map<std::string, std::string> storedFiles_;
};

constexpr std::size_t kMostAllocations = 5000;  // of one call; more means that a loop does not end

// The last report, kept without an allocation of its own.
struct {
    std::uint32_t code;
    const char* source;
} lastReport;

TEST_F(FlatFailures, EachAllocationOfInitializeFailsInTurn) {
    quillmarkclient::SetLogCallbacks(nullptr,
                                     [](std::uint32_t code, const char*, const char* source, std::uint32_t) {
                                         lastReport = {code, source};
                                     });
    const auto files = platform.files;
    std::size_t failures = 0;
    for (std::size_t nth = 1;; ++nth) {
        ASSERT_LT(nth, kMostAllocations);
        platform.files = files;
        lastReport = {0, ""};
        auto* out = reinterpret_cast<ClientContext*>(0x5a);
        auto code = ResultCode::kSuccess;
        bool failed = false;
        {
            const test::FailingAllocation failing(nth);
            EXPECT_NO_THROW(code = quillmarkclient::Initialize(&init, &out, nullptr)) << nth;
            failed = failing.HasFailed();
        }
        if (!IsSuccess(code)) {
            ++failures;
            EXPECT_TRUE(failed);
            EXPECT_EQ(out, nullptr) << nth;
            EXPECT_EQ(static_cast<std::uint32_t>(code), 0x80000003u) << nth;
            EXPECT_EQ(lastReport.code, 0x80000003u) << nth;
            EXPECT_STREQ(lastReport.source, "core/src/quillmarkclient") << nth;
            EXPECT_EQ(platform.BlocksOut(), 0) << nth;
            continue;
        }
        // A restore that found no memory for a request leaves a good client with nobody signed in.
        context = out;
        if (!failed)
            break;
        Stop();
    }
    EXPECT_TRUE(IsSignedIn());
    EXPECT_GT(failures, 20u);
}

TEST_F(FlatFailures, EachAllocationOfEachCallFailsInTurn) {
    std::size_t failures = 0;
    for (const Call& call : kCalls) {
        SCOPED_TRACE(call.name);
        for (std::size_t nth = 1;; ++nth) {
            ASSERT_LT(nth, kMostAllocations);
            Prepare(call);
            const long blocks = platform.BlocksOut();
            auto code = ResultCode::kSuccess;
            bool failed = false;
            {
                test::FailingAllocation failing(nth);
                try {
                    code = call.run(context);
                } catch (const portable_stl::exception&) {
                }
                failed = failing.HasFailed();
            }
            EXPECT_EQ(platform.BlocksOut(), blocks) << nth;
            if (!failed) {
                EXPECT_EQ(code, ResultCode::kSuccess);
                break;
            }
            ++failures;
            ExpectUsable();
        }
    }
    EXPECT_GT(failures, 300u) << "the calls allocate less than they used to, or nothing fails";
}

// What `call` returns without its nth block. The identifiers' block is asked for ahead of the text that is
// handed out; a key for a request is made without them as well.
ResultCode CodeWithoutBlock(const std::string& call, std::size_t nth) {
    if (call == "GetDeviceId" && nth == 1)
        return ResultCode::kMachineId;
    return call == "SignInWithSocialCode" ? ResultCode::kSuccess : ResultCode::kInsufficientResources;
}

TEST_F(FlatFailures, EachBlockOfTheTableFailsInTurn) {
    for (const Call& call : kCalls) {
        SCOPED_TRACE(call.name);
        for (std::uint32_t nth = 1;; ++nth) {
            Prepare(call);
            const auto before = platform.CallCount(Operation::Alloc);
            platform.FailCall(Operation::Alloc, 1, nth);
            const auto code = call.run(context);
            platform.FailCall(Operation::Alloc, 0);
            if (platform.CallCount(Operation::Alloc) - before < nth) {
                EXPECT_EQ(code, ResultCode::kSuccess);
                break;
            }
            EXPECT_EQ(code, CodeWithoutBlock(call.name, nth)) << nth;
            ExpectUsable();
        }
    }
}

// What each call returns when its nth exchange fails. What stores or completes a good sign-in is not
// essential.
const struct {
    const char* call;
    std::vector<std::uint32_t> codes;
} kFailedExchanges[] = {
    {"SignIn", {0x80000006u, 0x80000006u, 0x8200000Cu, 0, 0, 0}},
    {"SignIn again", {0x80000006u, 0x80000006u, 0x8200000Cu, 0, 0, 0}},
    {"ConfirmSecondFactor", {0x80000006u, 0x80000006u, 0x8200000Cu, 0, 0, 0}},
    {"SignInWithSocialToken", {0x80000006u, 0x80000006u, 0x8200000Cu, 0, 0, 0}},
    {"SignInWithSocialCode", {0x80000006u, 0x80000006u, 0x80000006u, 0x8200000Cu, 0, 0, 0}},
    {"GetSocialProviders", {0x80000006u}},
    {"GetCustomerContexts", {0x80000006u}},
    {"SignInToContext", {0x80000006u, 0, 0, 0}},
    {"RefreshAccessToken", {0x80000006u, 0x80000006u}},
    {"GetCustomerData", {0x80000006u}},
};

std::vector<std::uint32_t> CodesOfFailedExchanges(const std::string& call) {
    for (const auto& row : kFailedExchanges) {
        if (row.call == call)
            return row.codes;
    }
    return {};
}

// What `call` returns with the nth `operation` failing: the library's own files, their cipher and the
// machine's identifiers, where not asked for, fail no call.
std::uint32_t CodeOfFailure(const std::string& call, Operation operation, std::size_t nth) {
    if (operation == Operation::HttpRequest)
        return CodesOfFailedExchanges(call).at(nth - 1);
    if (call == "PersistIdentityToken") {
        const bool isWrite = operation == Operation::FileSetSize || operation == Operation::FileWrite;
        return isWrite ? 0x81000003u : operation == Operation::FileRead ? 0x81000002u : 0u;
    }
    return operation == Operation::GetMachineIds && call == "GetDeviceId" ? 0x81000005u : 0;
}

TEST_F(FlatFailures, EachPlatformCallFailsInTurn) {
    static const struct {
        Operation operation;
        std::uint32_t code;
    } failures[] = {
        {Operation::FileRead, 0x81000002u},    {Operation::FileWrite, 0x81000003u},
        {Operation::FileGetSize, 0x81000008u}, {Operation::FileSetSize, 0x81000009u},
        {Operation::FileDelete, 0x8100000Bu},  {Operation::GetMachineIds, 0x80000001u},
        {Operation::HttpRequest, 0x81000006u}, {Operation::Encrypt, 0x8100000Cu},
        {Operation::Decrypt, 0x8100000Cu},
    };
    for (const Call& call : kCalls) {
        for (const auto& failure : failures) {
            SCOPED_TRACE(std::string(call.name) + ", operation " +
                         std::to_string(static_cast<std::uint32_t>(failure.operation)));
            std::size_t failed = 0;
            for (std::uint32_t nth = 1;; ++nth) {
                Prepare(call);
                const auto before = platform.CallCount(failure.operation);
                platform.FailCall(failure.operation, failure.code, nth);
                const auto code = call.run(context);
                platform.FailCall(failure.operation, 0);
                if (platform.CallCount(failure.operation) - before < nth) {
                    EXPECT_EQ(code, ResultCode::kSuccess);
                    break;
                }
                ++failed;
                EXPECT_EQ(static_cast<std::uint32_t>(code), CodeOfFailure(call.name, failure.operation, nth))
                    << nth;
                ExpectUsable();
            }
            if (failure.operation == Operation::HttpRequest) {
                EXPECT_EQ(failed, CodesOfFailedExchanges(call.name).size());
            }
        }
    }
}

TEST_F(FlatFailures, EachEntryMissingHasItsCodeInEachCall) {
    blocksMayBeLost = true;  // where what takes them back is missing
    for (std::size_t number = 0; number < static_cast<std::size_t>(Operation::Count); ++number) {
        const auto entry = static_cast<Operation>(number);
        for (const Call& call : kCalls) {
            SCOPED_TRACE(std::string(call.name) + ", entry " + std::to_string(number));
            Prepare(call);
            const long blocks = platform.BlocksOut();
            SystemApi::SetTable(test::WithoutEntry(init.table, entry));
            const auto code = call.run(context);
            SystemApi::SetTable(init.table);
            EXPECT_EQ(static_cast<std::uint32_t>(code), test::CodeWithoutEntry(call.operation, entry));
            if (!test::LosesBlocks(entry)) {
                EXPECT_EQ(platform.BlocksOut(), blocks);
            }
            ExpectUsable();
        }
    }
}

TEST_F(FlatFailures, AStartWithAnEntryMissingNeedsBlocksAlone) {
    const PlatformTable whole = init.table;
    blocksMayBeLost = true;
    for (std::size_t number = 0; number < static_cast<std::size_t>(Operation::Count); ++number) {
        SCOPED_TRACE(number);
        const auto entry = static_cast<Operation>(number);
        init.table = test::WithoutEntry(whole, entry);
        const bool isStarted = entry != Operation::Alloc;
        EXPECT_EQ(quillmarkclient::Initialize(&init, &context, nullptr),
                  isStarted ? ResultCode::kSuccess : ResultCode::kInsufficientResources);
        EXPECT_EQ(context != nullptr, isStarted);
        SystemApi::SetTable(whole);
        Stop();
    }
}

}  // namespace
