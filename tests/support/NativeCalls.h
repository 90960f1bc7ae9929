// Every operation of both native faces that gives a code, as rows, and a client and an interface to run them
// on.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/src/IQuillmarkClient.h"
#include "core/src/QuillmarkClient.h"
#include "tests/support/NativeFixture.h"

namespace test {

/// Every out value of the faces, filled with what no operation gives. The pointers are never followed.
struct Outs {
    std::string text = "unset";
    std::vector<std::string> providers{"unset"};
    std::vector<quillmarkclient::ContextEntry> contexts{{9, "unset", "unset"}};
    quillmarkclient::ServiceErrorValue error{9, 9, "unset", "", "", "", "", "", "", {{"unset", "unset"}}};
    quillmarkclient::CustomerDataValue data{"unset", "unset", "unset", "unset"};
    quillmarkclient::ServiceErrorRecord* record = Unset<quillmarkclient::ServiceErrorRecord>();
    quillmarkclient::CustomerContext** list = Unset<quillmarkclient::CustomerContext*>();
    char* names = Unset<char>();

    template <class Out>
    static Out* Unset() {
        return reinterpret_cast<Out*>(0x5a);
    }

    /// Nothing was written, but for a null pointer where a block found no memory.
    void ExpectUnset(ResultCode code) const {
        EXPECT_EQ(text, "unset");
        EXPECT_EQ(providers, std::vector<std::string>{"unset"});
        EXPECT_TRUE(contexts.size() == 1 && contexts[0].kind == 9 && contexts[0].id == "unset");
        EXPECT_TRUE(error.resultCode == 9 && error.type == "unset" && error.errorArgs.size() == 1);
        EXPECT_TRUE(data.id == "unset" && data.firstName == "unset" && data.lastName == "unset" &&
                    data.email == "unset");
        ExpectUnset(record, code);
        ExpectUnset(list, code);
        ExpectUnset(names, code);
    }

private:
    template <class Out>
    static void ExpectUnset(Out* pointer, ResultCode code) {
        const bool isLeft = pointer == Unset<Out>();
        EXPECT_TRUE(isLeft || (code == ResultCode::kInsufficientResources && pointer == nullptr));
    }
};

/// Two faces on one core.
struct Faces {
    quillmarkclient::QuillmarkClient& client;
    quillmarkclient::IQuillmarkClient& slots;
};

struct NativeCall {
    const char* name;
    const char* operation;
    ResultCode (*run)(const Faces&, Outs&);  // gives back the blocks of a success
    bool isSignIn = false;                   // some steps of it may fail and leave it a success
};

// Made ahead, so that no text of a row's own is looked at in place of the subject's.
inline const std::string kLongToken = "a.token.longer-than-the-short-form";

inline constexpr NativeCall kNativeCalls[] = {
    {"SignIn", "SignIn", [](const Faces& f, Outs&) { return f.client.SignIn("anna", "pw"); }, true},
    {"ConfirmSecondFactor", "ConfirmSecondFactor",
     [](const Faces& f, Outs&) { return f.client.ConfirmSecondFactor("challenge-1", "1"); }, true},
    {"SignInToContext", "SignInToContext",
     [](const Faces& f, Outs&) { return f.client.SignInToContext(1, "org-1"); }, true},
    {"SignInWithSocialToken", "SignInWithSocialToken",
     [](const Faces& f, Outs&) { return f.client.SignInWithSocialToken("acme", "st-1"); }, true},
    {"SignInWithSocialCode", "SignInWithSocialCode",
     [](const Faces& f, Outs&) { return f.client.SignInWithSocialCode("c-1", 1); }, true},
    {"UseAccessToken", "UseAccessToken",
     [](const Faces& f, Outs&) { return f.client.UseAccessToken(kLongToken); }},
    {"GetSocialProviders", "GetSocialProviders",
     [](const Faces& f, Outs& o) { return f.client.GetSocialProviders(o.providers); }},
    {"GetCustomerContexts", "GetCustomerContexts",
     [](const Faces& f, Outs& o) { return f.client.GetCustomerContexts(o.contexts); }},
    {"GetLastServiceError", "GetLastServiceError",
     [](const Faces& f, Outs& o) { return f.client.GetLastServiceError(o.error); }},
    {"GetAccessToken", "GetAccessToken",
     [](const Faces& f, Outs& o) { return f.client.GetAccessToken(o.text); }},
    {"RefreshAccessToken", "RefreshAccessToken",
     [](const Faces& f, Outs& o) { return f.client.RefreshAccessToken(o.text); }},
    {"PersistIdentityToken", "PersistIdentityToken",
     [](const Faces& f, Outs&) { return f.client.PersistIdentityToken("host.json"); }},
    {"GetBasicEndpoint", "GetBasicEndpoint",
     [](const Faces& f, Outs& o) { return f.client.GetBasicEndpoint(o.text); }},
    {"GetDeviceId", "GetDeviceId", [](const Faces& f, Outs& o) { return f.client.GetDeviceId(o.text); }},
    {"GetCustomerData", "GetCustomerData",
     [](const Faces& f, Outs& o) { return f.client.GetCustomerData(o.data); }},
    {"slot GetLastServiceError", "GetLastServiceError",
     [](const Faces& f, Outs& o) {
         const auto code = f.slots.GetLastServiceError(&o.record);
         if (IsSuccess(code))
             f.slots.FreeMemory(o.record);
         return code;
     }},
    {"slot SignIn", "SignIn", [](const Faces& f, Outs&) { return f.slots.SignIn("anna", "pw"); }, true},
    {"slot SignInToContext", "SignInToContext",
     [](const Faces& f, Outs&) {
         const quillmarkclient::ContextChoice choice{1, "org-1"};
         return f.slots.SignInToContext(&choice);
     },
     true},
    {"slot GetCustomerContexts", "GetCustomerContexts",
     [](const Faces& f, Outs& o) {
         const auto code = f.slots.GetCustomerContexts(&o.list);
         if (IsSuccess(code))
             f.slots.FreeMemory(o.list);
         return code;
     }},
    {"slot GetSocialProviders", "GetSocialProviders",
     [](const Faces& f, Outs& o) {
         const auto code = f.slots.GetSocialProviders(&o.names);
         if (IsSuccess(code))
             f.slots.FreeMemory(o.names);
         return code;
     }},
    {"slot GetSocialProviders, null", "GetSocialProviders",
     [](const Faces& f, Outs&) { return f.slots.GetSocialProviders(nullptr); }},
    {"slot SignInWithSocialToken", "SignInWithSocialToken",
     [](const Faces& f, Outs&) { return f.slots.SignInWithSocialToken("acme", "st-1"); }, true},
    {"slot SignInWithSocialCode", "SignInWithSocialCode",
     [](const Faces& f, Outs&) { return f.slots.SignInWithSocialCode("c-1", 1); }, true},
};

class FacesFixture : public NativeFixture {
protected:
    ~FacesFixture() override { Drop(); }

    void Create() {
        slots = client->CreateInterface();
        ASSERT_NE(slots, nullptr);
    }
    void Drop() {
        if (slots != nullptr)
            slots->Release();
        slots = nullptr;
    }
    /// A state that each call may start from: a fresh core with a sign-in, an interface, a refusal to be
    /// asked for, contexts to be listed and a document of the host's. Texts are longer than the short form of
    /// a string.
    void Prepare() {
        service.Answer(
            kUser, 200,
            R"({"id":"an id that is longer than the short form","firstName":"a long long first name",)"
            R"("lastName":"a long long last name","email":"somebody.with.a.name@example.test"})");
        service.Answer(kProviders, 200,
                       R"([{"key":"a provider with a name that is long"},{"key":"b"},)"
                       R"({"key":"another provider with such a name"}])");
        service.Answer(kOwnContextToken, 200, R"({"accessToken":")" + kLongToken + R"("})");
        platform.machineIds = {"a machine identifier that is longer than the short form"};
        platform.files = {{"host.json", R"({"a":[1,"a text that does not fit the short form"]})"}};
        platform.requests.clear();
        Drop();
        Init();
        Create();
        service.AnswerOnce(kPassword, 403,
                           R"({"title":"a title that is longer than the short form of a text",)"
                           R"("errorArgs":{"name":"a value that is longer than the short form","a":"b"}})");
        ASSERT_EQ(client->SignIn("anna", "pw"), ResultCode::kEmailUnverifiedOrBlocked);
        ASSERT_EQ(client->SignIn("anna", "pw"), ResultCode::kSuccess);
    }
    /// The lock is free and the core in order.
    void ExpectUsable() {
        EXPECT_EQ(client->SignIn("anna", "pw"), ResultCode::kSuccess);
        EXPECT_TRUE(slots->IsSignedIn());
    }
    [[nodiscard]] Faces Both() const { return {*client, *slots}; }

    quillmarkclient::IQuillmarkClient* slots = nullptr;
};

}  // namespace test
