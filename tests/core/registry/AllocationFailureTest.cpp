// Every allocation of every flow fails once. What the flow owes then: kInsufficientResources when it is the
// request object, an exception of the containers when it is anything else, no block of the platform left, and
// a session that is whole: the former one, the new one, or nobody's.
#include "tests/support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>

#include "core/src/registry/BusinessRegistryClient.h"
#include "core/src/registry/CustomerRegistryClient.h"
#include "core/src/registry/PrincipalAdminRegistryClient.h"
#include "core/src/system/LogOutlets.h"
#include "core/src/system/SystemApi.h"
#include "portable_stl/exception.h"

namespace {

using quillmarkclient_core::SystemApi;
using Client = registry::RegistryClient<SystemApi>;
using Customer = registry::CustomerRegistryClient<SystemApi>;
using Business = registry::BusinessRegistryClient<SystemApi>;
using Administrator = registry::PrincipalAdminRegistryClient<SystemApi>;
using Owner = portable_stl::unique_ptr<Client>;

struct Answer {
    std::uint32_t status;
    const char* body;
};

// A platform that allocates nothing by operator new, so that all failures are the library's.
const Answer* nextAnswer = nullptr;
long blocksOut = 0;

char* NewBlock(const char* text) {
    ++blocksOut;
    const std::size_t size = std::strlen(text) + 1;
    return static_cast<char*>(std::memcpy(std::malloc(size), text, size));
}

std::uint32_t AnswerNext(const char*, const char*, const quillmarkclient_core::HttpHeaderPair*, std::uint32_t,
                         const char*, std::uint32_t, std::uint32_t* status, char** body, char** headers,
                         void*) {
    *status = nextAnswer->status;
    *body = NewBlock(nextAnswer->body);
    *headers = NewBlock("HTTP/1.1 200 A header block that is longer than a short string\r\n\r\n");
    ++nextAnswer;
    return 0;
}

std::uint32_t TakeBack(void* block, void*) {
    --blocksOut;
    std::free(block);
    return 0;
}

// Not the real digest: only its length counts here.
std::uint32_t Digest(const void*, std::uint32_t, std::uint8_t** digest, std::uint32_t* size, void*) {
    ++blocksOut;
    *size = 16;
    *digest = static_cast<std::uint8_t*>(std::calloc(1, *size));
    return 0;
}

void TakeBackDigest(void* block, void* context) {
    TakeBack(block, context);
}

std::uint32_t TellTime(std::uint64_t* seconds, void*) {
    *seconds = 1'700'000'000;
    return 0;
}

std::uint32_t TellMachine(char* buffer, std::uint32_t* size, void*) {
    constexpr char kIds[] = "an identifier that is longer than a short string";
    if (buffer != nullptr)
        std::memcpy(buffer, kIds, sizeof kIds);
    *size = sizeof kIds;
    return 0;
}

std::uint32_t CutFile(const char*, std::uint64_t, void*) {
    return 0;
}

std::uint32_t TakeFile(const char*, std::uint64_t, const void*, std::uint32_t, std::uint32_t*, void*) {
    return 0;
}

// The outlet is printf-like by its type.
void Ignore(const char*, ...) {}  // NOLINT(cert-dcl50-cpp)

constexpr Answer kFirstToken = {200, R"({"accessToken":"first.e30.signature-of-some-length"})"};
constexpr Answer kNextToken = {200, R"({"accessToken":"next.eyJ1c2VyaWQiOiJ1In0.signature"})"};
constexpr Answer kNothing = {200, "[]"};
constexpr Answer kTrust = {
    200, R"([{"id":"a long identifier of a trust","trustorId":"a long identifier of a trustor",)"
         R"("trustorDetails":{"type":"Organization","name":"An organisation of a long name"}}])"};
constexpr Answer kRefusal = {403, R"({"title":"A title longer than a short string","status":403,)"
                                  R"("errorArgs":{"name of an argument of some length":"value"}})"};
constexpr Answer kUnauthorized = {401, ""};
constexpr Answer kUser = {200, R"({"id":"a long identifier of a customer","firstName":"A"})"};
constexpr Answer kRecord = {200, R"({"id":"a long identifier of a record"})"};
constexpr Answer kSecret = {200, "a secret that is longer than a short string"};
constexpr Answer kSignUpWanted = {404, R"({"status":404,"errorCode":"SIGN_UP_REQUIRED"})"};
constexpr Answer kMade = {204, ""};
constexpr Answer kProviders = {200, R"([{"key":"a provider of a name that is long"}])"};

struct Flow {
    const char* name;
    Owner (*make)();
    const Answer* answers;
    ResultCode (*run)(Client& client, registry::ServiceErrorInfo* errorInfo);
    // How often each code comes back from runs in which an allocation failed.
    std::map<std::uint32_t, int> codes;
    // Every session that such a run may leave, and does.
    std::set<std::string> sessions;
};

template <class Kind>
Owner Make() {
    Owner client = portable_stl::make_unique<Kind>("https://service.test/with/a/long/base", "a folder/",
                                                   registry::RetryPolicy{}, nullptr);
    client->token = quillmarkclient_core::Token("old.e30.signature-of-some-length", true);
    client->identitySecret = "old secret";
    client->contextMode = 1;
    client->contextId = "old org";
    return client;
}

// "token, mark, secret, context mode, context id", the token up to its first dot.
std::string SessionOf(const Client& client) {
    const std::string token = client.token.text.c_str();
    return token.substr(0, token.find('.')) + ", " + std::to_string(client.token.present) + ", " +
           client.identitySecret.c_str() + ", " + std::to_string(client.contextMode) + ", " +
           client.contextId.c_str();
}

constexpr Answer kSignInAnswers[] = {kFirstToken, kNothing, kNextToken};
constexpr Answer kTrustAnswers[] = {kFirstToken, kTrust, kRefusal, kNextToken};
constexpr Answer kRefusedAnswers[] = {kRefusal};
constexpr Answer kChoiceAnswers[] = {kNextToken};
constexpr Answer kListAnswers[] = {kTrust, kUser};
constexpr Answer kRenewalAnswers[] = {kFirstToken, kNextToken};
constexpr Answer kObtainAnswers[] = {kNothing, kRecord, kSecret};
constexpr Answer kRenewedUserAnswers[] = {kUnauthorized, kFirstToken, kNextToken, kUser};

// Arguments, made before any allocation fails.
const portable_stl::string kLogin = "a login that is longer than a short string";
const portable_stl::string kSecretText = "a secret of more than 22 bytes";
const portable_stl::string kCode = "a code that is longer than a short string";
const portable_stl::string kCause = "a cause of more than 22 bytes";
const portable_stl::string kTrustor = "a long identifier of a trustor";

ResultCode SignIn(Client& client, registry::ServiceErrorInfo* errorInfo) {
    return client.Authorize(kLogin, "password", errorInfo, nullptr);
}

constexpr Answer kSocialTokenAnswers[] = {kSignUpWanted, kMade, kFirstToken, kNothing, kNextToken};
constexpr Answer kSignUpAnswers[] = {kMade, kFirstToken, kNothing, kNextToken};
constexpr Answer kProviderAnswers[] = {kProviders};
constexpr Answer kBusinessCodeAnswers[] = {kMade, kFirstToken};

ResultCode ByCodeOfANewAccount(Client& client, registry::ServiceErrorInfo* errorInfo) {
    return client.AuthorizeSocialCode(kCode, 1, errorInfo, nullptr);
}
ResultCode Renew(Client& client, registry::ServiceErrorInfo* errorInfo) {
    return client.ReauthorizeViaIdentity(kSecretText, 0, "", errorInfo, nullptr);
}

constexpr char kOld[] = "old, 1, old secret, 1, old org";
constexpr char kNobody[] = "old, 0, , 2, ";
constexpr char kNobodyAnyMore[] = "first, 0, , 2, ";
constexpr char kEmptied[] = ", 0, , 2, ";

// The codes count one for each request object, unless the row says why not.
const Flow kCustomerFlows[] = {
    // Without its request the own context counts as refused, and there is no other.
    {"sign-in to the own context",
     &Make<Customer>,
     kSignInAnswers,
     &SignIn,
     {{0x80000003, 2}, {0x8200000C, 1}},
     {kNobody, kNobodyAnyMore, kEmptied}},
    // Without its request the own context counts as refused; the trust then gets the refusal meant for it.
    {"sign-in to the one trust",
     &Make<Customer>,
     kTrustAnswers,
     &SignIn,
     {{0x80000003, 3}, {0x82000002, 1}},
     {kNobody, kNobodyAnyMore}},
    {"second factor",
     &Make<Customer>,
     kSignInAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         return client.AuthorizeSecondFactor("challenge", "code", errorInfo, nullptr);
     },
     {{0x80000003, 2}, {0x8200000C, 1}},
     {kOld, kNobodyAnyMore, kEmptied}},
    {"social token, with a sign-up",
     &Make<Customer>,
     kSocialTokenAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         return client.AuthorizeSocialToken("a provider", kCode, kCause, errorInfo, nullptr);
     },
     {{0x80000003, 3}, {0x8200000C, 1}},
     {kNobody, kNobodyAnyMore, kEmptied}},
    {"social code, with a sign-up",
     &Make<Customer>,
     kSignUpAnswers,
     &ByCodeOfANewAccount,
     {{0x80000003, 3}, {0x8200000C, 1}},
     {kNobody, kNobodyAnyMore, kEmptied}},
    {"own context",
     &Make<Customer>,
     kChoiceAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         return client.SelectContext(0, "", errorInfo, nullptr);
     },
     {{0x80000003, 1}},
     {kOld}},
    {"a trustor's context",
     &Make<Customer>,
     kChoiceAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         return client.SelectContext(1, kTrustor, errorInfo, nullptr);
     },
     {{0x80000003, 1}},
     {kOld}},
};

const Flow kSharedFlows[] = {
    {"list of contexts",
     &Make<Customer>,
     kListAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         static_cast<Customer&>(client).dynamicContextAvailable = true;
         portable_stl::vector<registry::ContextEntry> contexts;
         return client.GetContexts(contexts, errorInfo, nullptr);
     },
     {{0x80000003, 2}},
     {kOld}},
    {"providers",
     &Make<Customer>,
     kProviderAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         portable_stl::string text;
         return client.GetSocialProviders(text, ',', errorInfo, nullptr);
     },
     {{0x80000003, 1}},
     {kOld}},
    {"renewal", &Make<Customer>, kRenewalAnswers, &Renew, {{0x80000003, 2}}, {kOld}},
    {"identity secret",
     &Make<Customer>,
     kObtainAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         return client.ObtainIdentitySecret("", "", errorInfo, nullptr);
     },
     {{0x80000003, 3}},
     {"old, 1, , 1, old org"}},
    {"the user's details behind a renewal",
     &Make<Customer>,
     kRenewedUserAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         registry::CustomerInfo info;
         return client.GetCustomerInfo(info, errorInfo, nullptr);
     },
     {{0x80000003, 3}},
     {kOld, "next, 1, old secret, 1, old org"}},
};

const Flow kContextlessFlows[] = {
    {"a business's password", &Make<Business>, kSignInAnswers, &SignIn, {{0x80000003, 1}}, {kNobody}},
    {"a business's code, with a sign-up",
     &Make<Business>,
     kBusinessCodeAnswers,
     &ByCodeOfANewAccount,
     {{0x80000003, 2}},
     {kNobody}},
    {"a business's renewal", &Make<Business>, kRenewalAnswers, &Renew, {{0x80000003, 1}}, {kOld}},
    {"an administrator's password",
     &Make<Administrator>,
     kSignInAnswers,
     &SignIn,
     {{0x80000003, 1}},
     {kNobody}},
    {"an administrator's renewal", &Make<Administrator>, kRenewalAnswers, &Renew, {{0x80000003, 1}}, {kOld}},
};

// Ends in a code when every allocation succeeds, too.
const Flow kRefusedFlows[] = {
    {"refused sign-in", &Make<Customer>, kRefusedAnswers, &SignIn, {{0x80000003, 1}}, {kNobody}},
    {"refused sign-up, whose body is logged",
     &Make<Customer>,
     kRefusedAnswers,
     &ByCodeOfANewAccount,
     {{0x80000003, 1}},
     {kNobody}},
    {"refused dynamic context",
     &Make<Business>,
     kRefusedAnswers,
     &ByCodeOfANewAccount,
     {{0x80000003, 1}},
     {kNobody}},
};

class AllocationFailure : public ::testing::Test {
protected:
    AllocationFailure() {
        quillmarkclient_core::PlatformTable table{};
        table.HttpRequest = &AnswerNext;
        table.HttpFree = &TakeBack;
        table.Md5 = &Digest;
        table.FreeCryptoBuffer = &TakeBackDigest;
        table.GetTime = &TellTime;
        table.GetMachineIds = &TellMachine;
        table.FileSetSize = &CutFile;
        table.FileWrite = &TakeFile;
        SystemApi::SetTable(table);
        quillmarkclient_core::ProcessLogOutlets().trace = &Ignore;
    }
    ~AllocationFailure() override {
        SystemApi::SetTable({});
        quillmarkclient_core::ProcessLogOutlets() = {};
    }
};

constexpr std::uint32_t kThrown = 1;

// One run in which the nth allocation fails; false when there is none any more.
bool RunOnce(const Flow& flow, std::size_t nth, ResultCode good, std::map<std::uint32_t, int>& codes,
             std::set<std::string>& sessions) {
    const Owner client = flow.make();
    registry::ServiceErrorInfo errorInfo;
    nextAnswer = flow.answers;
    std::uint32_t code = kThrown;
    bool hasFailed = false;
    {
        const test::FailingAllocation failing(nth);
        try {
            code = static_cast<std::uint32_t>(flow.run(*client, &errorInfo));
        } catch (const portable_stl::exception&) {
            code = kThrown;
        }
        hasFailed = failing.HasFailed();
    }
    EXPECT_EQ(blocksOut, 0) << "allocation " << nth;
    if (!hasFailed) {
        EXPECT_EQ(code, static_cast<std::uint32_t>(good));
        return false;
    }
    ++codes[code];
    sessions.insert(SessionOf(*client));
    return true;
}

template <std::size_t count>
void ExpectOfEach(const Flow (&flows)[count], ResultCode good) {
    for (const Flow& flow : flows) {
        SCOPED_TRACE(flow.name);
        std::map<std::uint32_t, int> codes;
        std::set<std::string> sessions;
        for (std::size_t nth = 1; RunOnce(flow, nth, good, codes, sessions); ++nth) {
        }
        EXPECT_GT(codes[kThrown], 5) << "the containers' failures are not caught";
        codes.erase(kThrown);
        EXPECT_EQ(codes, flow.codes);
        EXPECT_EQ(sessions, flow.sessions);
    }
}

TEST_F(AllocationFailure, OfEachAllocationOfACustomersSignIn) {
    ExpectOfEach(kCustomerFlows, ResultCode::kSuccess);
}

TEST_F(AllocationFailure, OfEachAllocationOfASession) {
    ExpectOfEach(kSharedFlows, ResultCode::kSuccess);
}

TEST_F(AllocationFailure, OfEachAllocationOfBusinessesAndAdministrators) {
    ExpectOfEach(kContextlessFlows, ResultCode::kSuccess);
}

TEST_F(AllocationFailure, OfEachAllocationOfARefusal) {
    ExpectOfEach(kRefusedFlows, ResultCode::kEmailUnverifiedOrBlocked);
}

}  // namespace
