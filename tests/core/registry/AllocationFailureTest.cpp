// Every allocation of every flow fails once. What the flow owes then: kInsufficientResources when it is the
// request object, an exception of the containers when it is anything else, and no block of the platform left.
#include "tests/support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>

#include "core/src/registry/CustomerRegistryClient.h"
#include "core/src/system/LogOutlets.h"
#include "core/src/system/SystemApi.h"
#include "portable_stl/exception.h"

namespace {

using quillmarkclient_core::SystemApi;
using Client = registry::CustomerRegistryClient<SystemApi>;

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

struct Flow {
    const char* name;
    const Answer* answers;
    ResultCode (*run)(Client& client, registry::ServiceErrorInfo* errorInfo);
    ResultCode good;
    // How often each code comes back from runs in which an allocation failed.
    std::map<std::uint32_t, int> codes;
};

constexpr Answer kSignInAnswers[] = {kFirstToken, kNothing, kNextToken};
constexpr Answer kTrustAnswers[] = {kFirstToken, kTrust, kRefusal, kNextToken};
constexpr Answer kRefusedAnswers[] = {kRefusal};
constexpr Answer kChoiceAnswers[] = {kNextToken};
constexpr Answer kListAnswers[] = {kTrust, kUser};
constexpr Answer kRenewalAnswers[] = {kFirstToken, kNextToken};
constexpr Answer kObtainAnswers[] = {kNothing, kRecord, kSecret};
constexpr Answer kRenewedUserAnswers[] = {kUnauthorized, kFirstToken, kNextToken, kUser};

ResultCode SignIn(Client& client, registry::ServiceErrorInfo* errorInfo) {
    return client.Authorize("a login that is longer than a short string", "password", errorInfo, nullptr);
}

// One for each request object, unless the row says why not.
const Flow kFlows[] = {
    // Without its request the own context counts as refused, and there is no other.
    {"sign-in to the own context",
     kSignInAnswers,
     &SignIn,
     ResultCode::kSuccess,
     {{0x80000003, 2}, {0x8200000C, 1}}},
    // Without its request the own context counts as refused; the trust then gets the refusal meant for it.
    {"sign-in to the one trust",
     kTrustAnswers,
     &SignIn,
     ResultCode::kSuccess,
     {{0x80000003, 3}, {0x82000002, 1}}},
    {"refused sign-in", kRefusedAnswers, &SignIn, ResultCode::kEmailUnverifiedOrBlocked, {{0x80000003, 1}}},
    {"second factor",
     kSignInAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         return client.AuthorizeSecondFactor("challenge", "code", errorInfo, nullptr);
     },
     ResultCode::kSuccess,
     {{0x80000003, 2}, {0x8200000C, 1}}},
    {"own context",
     kChoiceAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         return client.SelectContext(0, "", errorInfo, nullptr);
     },
     ResultCode::kSuccess,
     {{0x80000003, 1}}},
    {"a trustor's context",
     kChoiceAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         return client.SelectContext(1, "a long identifier of a trustor", errorInfo, nullptr);
     },
     ResultCode::kSuccess,
     {{0x80000003, 1}}},
    {"list of contexts",
     kListAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         client.dynamicContextAvailable = true;
         portable_stl::vector<registry::ContextEntry> contexts;
         return client.GetContexts(contexts, errorInfo, nullptr);
     },
     ResultCode::kSuccess,
     {{0x80000003, 2}}},
    {"renewal",
     kRenewalAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         return client.ReauthorizeViaIdentity("a secret of more than 22 bytes", 0, "", errorInfo, nullptr);
     },
     ResultCode::kSuccess,
     {{0x80000003, 2}}},
    {"identity secret",
     kObtainAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         return client.ObtainIdentitySecret("", "", errorInfo, nullptr);
     },
     ResultCode::kSuccess,
     {{0x80000003, 3}}},
    {"the user's details behind a renewal",
     kRenewedUserAnswers,
     [](Client& client, registry::ServiceErrorInfo* errorInfo) {
         client.identitySecret = "short";
         registry::CustomerInfo info;
         return client.GetCustomerInfo(info, errorInfo, nullptr);
     },
     ResultCode::kSuccess,
     {{0x80000003, 3}}},
};

class AllocationFailure : public ::testing::Test {
protected:
    AllocationFailure() {
        quillmarkclient_core::PlatformTable table{};
        table.HttpRequest = &AnswerNext;
        table.HttpFree = &TakeBack;
        SystemApi::SetTable(table);
        quillmarkclient_core::ProcessLogOutlets().trace = &Ignore;
    }
    ~AllocationFailure() override {
        SystemApi::SetTable({});
        quillmarkclient_core::ProcessLogOutlets() = {};
    }
};

TEST_F(AllocationFailure, OfEachAllocationOfEachFlow) {
    constexpr std::uint32_t kThrown = 1;
    for (const Flow& flow : kFlows) {
        std::map<std::uint32_t, int> codes;
        int thrown = 0;
        for (std::size_t nth = 1;; ++nth) {
            Client client("https://service.test/with/a/long/base", "", {}, nullptr);
            client.token = quillmarkclient_core::Token("old.e30.signature-of-some-length", true);
            registry::ServiceErrorInfo errorInfo;
            nextAnswer = flow.answers;
            std::uint32_t code = kThrown;
            bool hasFailed = false;
            {
                const test::FailingAllocation failing(nth);
                try {
                    code = static_cast<std::uint32_t>(flow.run(client, &errorInfo));
                } catch (const portable_stl::exception&) {
                    ++thrown;
                }
                hasFailed = failing.HasFailed();
            }
            EXPECT_EQ(blocksOut, 0) << flow.name << ", allocation " << nth;
            if (!hasFailed) {
                EXPECT_EQ(code, static_cast<std::uint32_t>(flow.good)) << flow.name;
                break;
            }
            if (code != kThrown)
                ++codes[code];
        }
        EXPECT_EQ(codes, flow.codes) << flow.name;
        EXPECT_GT(thrown, 5) << flow.name << ": the containers' failures are not caught";
    }
}

}  // namespace
