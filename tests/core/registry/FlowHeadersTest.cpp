// Which requests carry the bearer token, which an idempotency key, and which neither, though a session has
// one; and that the host's context reaches every platform operation on the way.
#include <functional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "core/src/registry/BusinessRegistryClient.h"
#include "core/src/registry/CustomerRegistryClient.h"
#include "core/src/registry/PrincipalAdminRegistryClient.h"
#include "tests/core/registry/requests/RequestExpectation.h"
#include "tests/support/ContextSpy.h"

namespace {

using registry::ContextEntry;
using registry::ServiceErrorInfo;
using test::Headers;
using test::kStandardHeaders;
using test::Lines;
using test::SystemApi;
using test::Text;

using Session = registry::RegistryClient<SystemApi>;
using Customer = registry::CustomerRegistryClient<SystemApi>;
using Business = registry::BusinessRegistryClient<SystemApi>;
using Administrator = registry::PrincipalAdminRegistryClient<SystemApi>;

const Headers kUserHeaders = {{"Cache-Control", "no-cache"}};
const Headers kRecordHeaders = {
    {"Cache-Control", "no-cache"},
    {"Content-Type", "application/json;charset=UTF-8"},
    {"Accept", "application/json"},
};
const Headers kSecretHeaders = {
    {"Cache-Control", "no-cache"},
    {"Content-Type", "application/json;charset=UTF-8"},
    {"Accept", "text/plain"},
};

// The key of a request stands as "key", once it is looked at.
Headers Bare(const Headers& own = kStandardHeaders) {
    return test::With(own, {{"x-vqm-custom", "vqm-client"}});
}
Headers Bearer(const std::string& token, const Headers& own = kStandardHeaders) {
    return test::With(own, {{"Authorization", "Bearer " + token}, {"x-vqm-custom", "vqm-client"}});
}
Headers Keyed() {
    return test::With(kStandardHeaders, {{"Idempotency-Key", "key"}, {"x-vqm-custom", "vqm-client"}});
}

struct Sent {
    std::string line;
    Headers headers;
};
void PrintTo(const Sent& sent, std::ostream* out) {
    *out << sent.line;
    for (const auto& [name, value] : sent.headers)
        *out << " | " << name << ": " << value;
}
bool operator==(const Sent& left, const Sent& right) {
    return left.line == right.line && left.headers == right.headers;
}

bool EndsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Answers whatever a flow asks. The nth request, if it is for a token, gets the token "n.e30.c".
test::ScriptedAnswer AnswerFor(const test::RecordedRequest& request, std::size_t number) {
    test::ScriptedAnswer answer;
    const bool isGet = request.method == "GET";
    if (EndsWith(request.url, "/token"))
        answer.body = "secret";
    else if (EndsWith(request.url, "/identities"))
        answer.body = isGet ? "[]" : R"({"id":"7"})";
    else if (isGet && request.url.find("access_token=") == std::string::npos)
        answer.body = "[]";
    else
        answer.body = test::TokenBody(std::to_string(number) + ".e30.c");
    return answer;
}

constexpr char kSignUpWanted[] = R"({"status":404,"errorCode":"SIGN_UP_REQUIRED"})";
constexpr char kSocialPath[] = "GET /api/registry/v2/oauth/sign-in/p?access_token=t";
constexpr char kFinalizeTokenPath[] =
    "POST /api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN";
constexpr char kFinalizeCodePath[] = "POST /api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH";
constexpr char kRecordSecretPath[] = "GET /api/registry/v2/identities/7/token";

struct Flow {
    const char* name;
    std::function<ResultCode(Session&, ServiceErrorInfo*, void*)> run;
    std::vector<Sent> sent;
    std::vector<test::ServiceAnswer> first = {};  // answers that come before the usual ones
    bool isSignedIn = true;
    const char* secret = "";
};

class FlowHeaders : public ::testing::Test {
protected:
    template <class Client>
    void Expect(const std::vector<Flow>& flows) {
        for (const Flow& flow : flows) {
            SCOPED_TRACE(flow.name);
            test::ScriptedPlatform platform;
            platform.table = test::Spied(platform.table);
            platform.Install();
            platform.responder = [&](const test::RecordedRequest& request) {
                return AnswerFor(request, platform.requests.size());
            };
            for (const test::ServiceAnswer& answer : flow.first) {
                if (answer.status >= 0x80000000)
                    platform.FailExchange(answer.status);
                else
                    platform.AnswerWith(answer.status, answer.body);
            }
            int mark = 0;
            Client client(test::kBaseUrl, "store/", {}, &mark);
            client.token = quillmarkclient_core::Token("old.e30.c", flow.isSignedIn);
            client.identitySecret = flow.secret;
            ServiceErrorInfo errorInfo;
            EXPECT_EQ(flow.run(client, &errorInfo, &mark), ResultCode::kSuccess);
            EXPECT_EQ(SentBy(client, platform), flow.sent);
            EXPECT_EQ(platform.UnusedAnswers(), 0u);
            EXPECT_EQ(test::seen.contexts, std::set<void*>{&mark});
        }
    }

private:
    static std::vector<Sent> SentBy(const Session& client, const test::ScriptedPlatform& platform) {
        std::vector<Sent> sent;
        const Lines lines = platform.RequestLines(test::kBaseUrl);
        for (std::size_t i = 0; i < lines.size(); ++i) {
            sent.push_back({lines[i], platform.requests[i].headers});
            for (auto& [name, value] : sent.back().headers) {
                if (name == "Idempotency-Key" && !client.idempotencyEntries.empty() &&
                    value == Text(client.idempotencyEntries[0].key))
                    value = "key";
            }
        }
        return sent;
    }
};

TEST_F(FlowHeaders, OfAPerson) {
    Expect<Customer>({
        {"password, from a signed-in session",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.Authorize("a", "b", info, context);
         },
         {{test::kPasswordPath, Bare()},
          {test::kTrustsPath, Bearer("1.e30.c")},
          {test::kOwnContextPath, Bearer("1.e30.c")}}},
        {"password, and the one trust",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.Authorize("a", "b", info, context);
         },
         {{test::kPasswordPath, Bare()},
          {test::kTrustsPath, Bearer("first.e30.c")},
          {test::kOwnContextPath, Bearer("first.e30.c")},
          {test::kTrustPath, Bearer("first.e30.c")}},
         {{200, test::TokenBody("first.e30.c")}, {200, test::kOneTrust}, {403, ""}}},
        {"second factor, from a signed-in session",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.AuthorizeSecondFactor("a", "b", info, context);
         },
         {{test::kSecondFactorPath, Bare()},
          {test::kTrustsPath, Bearer("1.e30.c")},
          {test::kOwnContextPath, Bearer("1.e30.c")}}},
        {"a provider's token",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.AuthorizeSocialToken("p", "t", info, context);
         },
         {{kSocialPath, Bare()},
          {test::kTrustsPath, Bearer("1.e30.c")},
          {test::kOwnContextPath, Bearer("1.e30.c")}}},
        {"a provider's token, and a sign-up",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.AuthorizeSocialToken("p", "t", "why", info, context);
         },
         {{kSocialPath, Bare()},
          {kFinalizeTokenPath, Keyed()},
          {kSocialPath, Bare()},
          {test::kTrustsPath, Bearer("3.e30.c")},
          {test::kOwnContextPath, Bearer("3.e30.c")}},
         {{404, kSignUpWanted}}},
        {"a provider's code",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.AuthorizeSocialCode("c", 0, info, context);
         },
         {{"POST /api/customer/registry/v2/tokens/external", Bare()},
          {test::kTrustsPath, Bearer("1.e30.c")},
          {test::kOwnContextPath, Bearer("1.e30.c")}}},
        {"a provider's code, and a sign-up",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.AuthorizeSocialCode("c", 1, "why", info, context);
         },
         {{kFinalizeCodePath, Keyed()},
          {"POST /api/customer/registry/v2/tokens/external", Bare()},
          {test::kTrustsPath, Bearer("2.e30.c")},
          {test::kOwnContextPath, Bearer("2.e30.c")}}},
        {"a provider's code, and a sign-up that times out and is repeated",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.AuthorizeSocialCode("c", 1, "why", info, context);
         },
         {{kFinalizeCodePath, Keyed()},
          {kFinalizeCodePath, Keyed()},
          {"POST /api/customer/registry/v2/tokens/external", Bare()},
          {test::kTrustsPath, Bearer("3.e30.c")},
          {test::kOwnContextPath, Bearer("3.e30.c")}},
         {{0x81000014}}},
    });
}

TEST_F(FlowHeaders, OfASignedInSession) {
    const auto information = [](Session& client, ServiceErrorInfo* info, void* context) {
        registry::CustomerInfo customer;
        return client.GetCustomerInfo(customer, info, context);
    };
    const auto providers = [](Session& client, ServiceErrorInfo* info, void* context) {
        portable_stl::string text;
        return client.GetSocialProviders(text, ';', info, context);
    };
    Expect<Customer>({
        {"own context",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.SelectContext(0, "", info, context);
         },
         {{test::kOwnContextPath, Bearer("old.e30.c")}}},
        {"a trustor's context",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.SelectContext(1, "o", info, context);
         },
         {{test::kTrustPath, Bearer("old.e30.c")}}},
        {"a context without a token: the header is there and empty",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.SelectContext(0, "", info, context);
         },
         {{test::kOwnContextPath,
           test::With(kStandardHeaders, {{"Authorization", ""}, {"x-vqm-custom", "vqm-client"}})}},
         {},
         false},
        {"contexts",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             portable_stl::vector<ContextEntry> contexts;
             return client.GetContexts(contexts, info, context);
         },
         {{test::kTrustsPath, Bearer("old.e30.c")}}},
        {"contexts, the own one among them",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             static_cast<Customer&>(client).dynamicContextAvailable = true;
             portable_stl::vector<ContextEntry> contexts;
             return client.GetContexts(contexts, info, context);
         },
         {{test::kTrustsPath, Bearer("old.e30.c")}, {test::kUserPath, Bearer("old.e30.c", kUserHeaders)}}},
        {"the user's details", information, {{test::kUserPath, Bearer("old.e30.c", kUserHeaders)}}},
        {"providers", providers, {{test::kProvidersPath, Bearer("old.e30.c")}}},
        {"providers, nobody signed in", providers, {{test::kProvidersPath, Bare()}}, {}, false},
        {"identity records",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.ObtainIdentitySecret("", "", info, context);
         },
         {{test::kIdentitiesPath, Bearer("old.e30.c", kRecordHeaders)},
          {test::kNewIdentityPath, Bearer("old.e30.c", kRecordHeaders)},
          {kRecordSecretPath, Bearer("old.e30.c", kSecretHeaders)}}},
        {"a renewal",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.ReauthorizeViaIdentity("s", 0, "", info, context);
         },
         {{test::kIdentitySignInPath, Bare()}, {test::kOwnContextPath, Bearer("1.e30.c")}}},
        {"a 401 renews, and the new token stands in the old one's place",
         information,
         {{test::kUserPath, Bearer("old.e30.c", kUserHeaders)},
          {test::kIdentitySignInPath, Bare()},
          {test::kOwnContextPath, Bearer("2.e30.c")},
          {test::kUserPath, Bearer("3.e30.c", kUserHeaders)}},
         {{401, ""}},
         true,
         "s"},
        {"a 401 without a token: the new one stands behind the client's name",
         information,
         {{test::kUserPath, Bare(kUserHeaders)},
          {test::kIdentitySignInPath, Bare()},
          {test::kOwnContextPath, Bearer("2.e30.c")},
          {test::kUserPath,
           test::With(kUserHeaders, {{"x-vqm-custom", "vqm-client"}, {"Authorization", "Bearer 3.e30.c"}})}},
         {{401, ""}},
         false,
         "s"},
    });
}

TEST_F(FlowHeaders, OfABusiness) {
    Expect<Business>({
        {"password",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.Authorize("a", "b", info, context);
         },
         {{"POST /api/business/registry/v2/tokens", Bare()}}},
        {"a provider's code",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.AuthorizeSocialCode("c", 0, info, context);
         },
         {{"POST /api/business/registry/v2/tokens/external", Bare()}}},
        {"a provider's code, and a sign-up",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.AuthorizeSocialCode("c", 1, info, context);
         },
         {{"POST /api/quillmark/USE_DYNAMIC_CONTEXT", Bare()},
          {"POST /api/business/registry/v2/tokens/external", Bare()}}},
        {"a renewal",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.ReauthorizeViaIdentity("s", 2, "", info, context);
         },
         {{"POST /api/business/registry/v2/tokens/identity", Bare()}}},
    });
}

TEST_F(FlowHeaders, OfAnAdministrator) {
    Expect<Administrator>({
        {"password",
         [](Session& client, ServiceErrorInfo* info, void* context) {
             return client.Authorize("a", "b", info, context);
         },
         {{"POST /api/admin/id/v0/tokens/password", Bare()}}},
    });
}

}  // namespace
