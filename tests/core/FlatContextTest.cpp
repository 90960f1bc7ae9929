// The pointer of the caller's that every flat operation hands to the platform unchanged.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tests/support/ContextSpy.h"
#include "tests/support/FlatFixture.h"

namespace {

using quillmarkclient::ClientContext;

template <class Out>
ResultCode TakeAndFree(ClientContext* context, ResultCode (*operation)(ClientContext*, Out**, void*),
                       void* mark) {
    Out* out = nullptr;
    const auto code = operation(context, &out, mark);
    if (IsSuccess(code))
        quillmarkclient::FreeMemory(context, out, mark);
    return code;
}

using Names = std::set<std::string>;

const Names kStored = {"Encrypt", "FileSetSize", "FileWrite", "HttpFree", "HttpRequest"};

Names With(Names names, const Names& more) {
    names.insert(more.begin(), more.end());
    return names;
}

const struct {
    const char* name;
    ResultCode (*run)(ClientContext*, void* mark);
    Names entries;  // that the call reaches
} kCalls[] = {
    {"SignIn", [](ClientContext* c, void* mark) { return SignIn(c, "anna", "pw", mark); },
     With(kStored, {"FileDelete"})},
    {"ConfirmSecondFactor",
     [](ClientContext* c, void* mark) { return ConfirmSecondFactor(c, "challenge-1", "1", mark); }, kStored},
    {"GetCustomerContexts",
     [](ClientContext* c, void* mark) { return TakeAndFree(c, &quillmarkclient::GetCustomerContexts, mark); },
     {"HttpFree", "HttpRequest"}},
    {"SignInToContext",
     [](ClientContext* c, void* mark) {
         const quillmarkclient::ContextChoice choice{1, "org-1"};
         return SignInToContext(c, &choice, mark);
     },
     kStored},
    {"SignInWithSocialToken",
     [](ClientContext* c, void* mark) { return SignInWithSocialToken(c, "acme", "st-1", mark); },
     With(kStored, {"FileDelete"})},
    {"SignInWithSocialCode",
     [](ClientContext* c, void* mark) { return SignInWithSocialCode(c, "c-1", 1, mark); },
     With(kStored, {"FileDelete", "FreeCryptoBuffer", "GetMachineIds", "GetTime", "Md5", "Sleep"})},
    {"UseAccessToken",
     [](ClientContext* c, void* mark) { return UseAccessToken(c, "t", mark); },
     {"FileDelete"}},
    {"GetSocialProviders",
     [](ClientContext* c, void* mark) {
         char* out = nullptr;
         const auto code = GetSocialProviders(c, &out, ';', mark);
         FreeMemory(c, out, mark);
         return code;
     },
     {"HttpFree", "HttpRequest"}},
    {"IsSignedIn",
     [](ClientContext* c, void* mark) {
         return IsSignedIn(c, mark) != 0 ? ResultCode::kSuccess : ResultCode::kInternalError;
     },
     {}},
    {"GetAccessToken",
     [](ClientContext* c, void* mark) { return TakeAndFree(c, &quillmarkclient::GetAccessToken, mark); },
     {}},
    {"GetIdentityToken",
     [](ClientContext* c, void* mark) { return TakeAndFree(c, &quillmarkclient::GetIdentityToken, mark); },
     {}},
    {"RefreshAccessToken",
     [](ClientContext* c, void* mark) { return TakeAndFree(c, &quillmarkclient::RefreshAccessToken, mark); },
     {"HttpFree", "HttpRequest"}},
    {"PersistIdentityToken",
     [](ClientContext* c, void* mark) { return PersistIdentityToken(c, "host.json", mark); },
     {"FileGetSize", "FileRead", "FileSetSize", "FileWrite"}},
    {"SignOut",
     [](ClientContext* c, void* mark) {
         SignOut(c, mark);
         return ResultCode::kSuccess;
     },
     {"FileDelete"}},
    {"GetCustomerData",
     [](ClientContext* c, void* mark) { return TakeAndFree(c, &quillmarkclient::GetCustomerData, mark); },
     {"HttpFree", "HttpRequest"}},
    {"GetBasicEndpoint",
     [](ClientContext* c, void* mark) { return TakeAndFree(c, &quillmarkclient::GetBasicEndpoint, mark); },
     {}},
    {"GetDeviceId",
     [](ClientContext* c, void* mark) { return TakeAndFree(c, &quillmarkclient::GetDeviceId, mark); },
     {"GetMachineIds"}},
    {"GetLastServiceError",
     [](ClientContext* c, void* mark) { return TakeAndFree(c, &quillmarkclient::GetLastServiceError, mark); },
     {}},
};

class FlatContext : public test::FlatFixture {
protected:
    FlatContext() { init.table = test::Spied(platform.table); }
    // A signed-in client with nothing seen yet.
    void Prepare() {
        platform.files = {{"host.json", "{}"}};
        StartSignedIn();
        test::seen.Clear();
    }
};

TEST_F(FlatContext, EachCallHandsItToEveryEntryThatItReaches) {
    for (const auto& call : kCalls) {
        for (const bool isGiven : {true, false}) {
            SCOPED_TRACE(std::string(call.name) + (isGiven ? "" : ", null"));
            test::ScriptedService fresh(platform);
            fresh.AskToWaitOnce(test::kFinalizeByCode, "1");
            Prepare();
            int pointedAt = 0;
            void* const mark = isGiven ? &pointedAt : nullptr;
            EXPECT_EQ(call.run(context, mark), ResultCode::kSuccess);
            EXPECT_EQ(test::seen.entries, call.entries);
            EXPECT_EQ(test::seen.contexts, call.entries.empty() ? std::set<void*>{} : std::set<void*>{mark});
        }
    }
}

TEST_F(FlatContext, TheStartHandsItOnToo) {
    Prepare();
    Stop();
    platform.files["store/LIC2"] = R"({"entries":[]})";
    test::seen.Clear();
    int mark = 0;
    ASSERT_EQ(quillmarkclient::Initialize(&init, &context, &mark), ResultCode::kSuccess);
    EXPECT_TRUE(IsSignedIn());
    EXPECT_EQ(test::seen.entries, (Names{"Decrypt", "FileGetSize", "FileRead", "HttpFree", "HttpRequest"}));
    EXPECT_EQ(test::seen.contexts, std::set<void*>{&mark});
}

TEST_F(FlatContext, TheLastCallsPointerCounts) {
    Prepare();
    int first = 0;
    int second = 0;
    char* out = nullptr;
    ASSERT_EQ(RefreshAccessToken(context, &out, &first), ResultCode::kSuccess);
    quillmarkclient::FreeMemory(context, out, &first);
    test::seen.Clear();
    ASSERT_EQ(GetSocialProviders(context, &out, ';', &second), ResultCode::kSuccess);
    quillmarkclient::FreeMemory(context, out, &second);
    EXPECT_EQ(test::seen.contexts, std::set<void*>{&second});
}

}  // namespace
