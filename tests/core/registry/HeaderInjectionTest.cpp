// Texts of the service, of the host and of the key file that would write lines of their own into a request,
// by this system's platform, over a real socket: nothing of the kind leaves the process.
#include <ctime>

#include "core/src/registry/BusinessRegistryClient.h"
#include "core/src/registry/PrincipalAdminRegistryClient.h"
#include "core/src/system/PlatformTable.h"
#include "tests/core/registry/RegistryFixture.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using test::AnyClient;
using test::Code;
using test::SystemApi;
using test::Text;

// As it stands in JSON and in plain text.
constexpr char kLine[] = R"(t\r\nX-Injected: 1)";
constexpr char kPlainLine[] = "t\r\nX-Injected: 1";

class HeaderInjection : public ::testing::Test {
protected:
    HeaderInjection() { SystemApi::SetTable(quillmarkclient_core::DefaultPlatformTable()); }
    ~HeaderInjection() override { SystemApi::SetTable({}); }

    template <class Client>
    Client Make() {
        return Client(Text(server.Url()), Text(folder.PathOf("")), registry::RetryPolicy{}, nullptr);
    }
    void Answer(const std::string& body) { server.Enqueue(test::Answer::Of(200, {}, body)); }

    // `count` requests came in all, and nobody's line is among theirs.
    void ExpectCleanRequests(std::size_t count) {
        const auto requests = server.Requests();
        EXPECT_EQ(requests.size(), count);
        EXPECT_EQ(server.ConnectionCount(), static_cast<int>(count)) << "refused before any traffic";
        for (const auto& request : requests) {
            EXPECT_FALSE(request.HasHeader("X-Injected")) << request.raw;
            EXPECT_EQ(request.raw.find("\nX-Injected"), std::string::npos) << request.raw;
            EXPECT_EQ(request.raw.find("/evil"), std::string::npos) << request.raw;
        }
    }

    test::ScopedVariable noProxy{"no_proxy", "*"};
    test::TemporaryFolder folder;
    test::ScriptedServer server;
    registry::ServiceErrorInfo errorInfo;
};

TEST_F(HeaderInjection, TheTokenOfASignInIsRefusedAsAHeader) {
    const struct {
        const char* name;
        const char* token;  // as it stands in JSON
    } tokens[] = {
        {"a header", kLine},
        {"by code points", R"(t\u000d\u000aX-Injected: 1)"},
        {"line feed alone", R"(t\nX-Injected: 1)"},
        {"carriage return alone", R"(t\rX-Injected: 1)"},
        {"at the end", R"(t\r\n)"},
        {"a whole request", R"(t\r\n\r\nGET /evil HTTP/1.1\r\nHost: x\r\n\r\n)"},
    };
    const struct {
        const char* name;
        ResultCode (*run)(AnyClient& client, registry::ServiceErrorInfo* errorInfo);
    } ways[] = {
        {"password",
         [](AnyClient& client, registry::ServiceErrorInfo* info) {
             return client.Authorize("login", "password", info, nullptr);
         }},
        {"second factor",
         [](AnyClient& client, registry::ServiceErrorInfo* info) {
             return client.AuthorizeSecondFactor("challenge", "123456", info, nullptr);
         }},
        {"social token",
         [](AnyClient& client, registry::ServiceErrorInfo* info) {
             return client.AuthorizeSocialToken("acme", "pt-1", info, nullptr);
         }},
        {"social code",
         [](AnyClient& client, registry::ServiceErrorInfo* info) {
             return client.AuthorizeSocialCode("c-1", 0, info, nullptr);
         }},
    };
    std::size_t count = 0;
    for (const auto& way : ways) {
        for (const auto& token : tokens) {
            SCOPED_TRACE(std::string(way.name) + ", " + token.name);
            auto client = Make<registry::CustomerRegistryClient<SystemApi>>();
            Answer(test::TokenBody(token.token));
            EXPECT_EQ(way.run(client, &errorInfo), ResultCode::kRequestNotSent) << "the trusts";
            ExpectCleanRequests(++count);
            EXPECT_EQ(client.token.present, 0) << "nobody is signed in";
            EXPECT_EQ(Text(client.identitySecret), "");
            EXPECT_EQ(client.contextMode, 2u);
        }
    }
}

TEST_F(HeaderInjection, TheTokenOfAContextIsRefusedAsAHeader) {
    auto client = Make<registry::CustomerRegistryClient<SystemApi>>();
    Answer(test::TokenBody("first.e30.sig"));
    Answer("[]");
    Answer(test::TokenBody(kLine));
    EXPECT_EQ(client.Authorize("login", "password", &errorInfo, nullptr), ResultCode::kSuccess);
    ExpectCleanRequests(3);
    registry::CustomerInfo info;
    EXPECT_EQ(client.GetCustomerInfo(info, &errorInfo, nullptr), ResultCode::kRequestNotSent);
    EXPECT_EQ(client.SelectContext(0, "", &errorInfo, nullptr), ResultCode::kRequestNotSent);
    EXPECT_EQ(client.ObtainIdentitySecret("", "", &errorInfo, nullptr), ResultCode::kRequestNotSent);
    ExpectCleanRequests(3);
}

template <class Client>
struct HeaderInjectionOf : HeaderInjection {};
using ContextlessClients = ::testing::Types<registry::BusinessRegistryClient<SystemApi>,
                                            registry::PrincipalAdminRegistryClient<SystemApi>>;
TYPED_TEST_SUITE(HeaderInjectionOf, ContextlessClients, );

TYPED_TEST(HeaderInjectionOf, TheNextRequestIsRefused) {
    auto client = this->template Make<TypeParam>();
    this->Answer(test::TokenBody(kLine));
    EXPECT_EQ(client.Authorize("login", "password", nullptr, nullptr), ResultCode::kSuccess);
    registry::CustomerInfo info;
    EXPECT_EQ(client.GetCustomerInfo(info, nullptr, nullptr), ResultCode::kRequestNotSent);
    this->ExpectCleanRequests(1);
}

TEST_F(HeaderInjection, WhatGoesIntoTheUrlIsRefusedThere) {
    auto client = Make<registry::CustomerRegistryClient<SystemApi>>();
    EXPECT_EQ(client.AuthorizeSocialToken("acme", kPlainLine, &errorInfo, nullptr),
              ResultCode::kRequestNotSent);
    EXPECT_EQ(client.AuthorizeSocialToken(kPlainLine, "pt-1", &errorInfo, nullptr),
              ResultCode::kRequestNotSent);
    ExpectCleanRequests(0);

    client.token = quillmarkclient_core::Token("t.e30.sig", true);
    Answer(R"([{"id":"7/token HTTP/1.1\r\nX-Injected: 1","name":"VQM_Identity","type":"VQM_Access",)"
           R"("role":"Regular"}])");
    EXPECT_EQ(client.ObtainIdentitySecret("", "", &errorInfo, nullptr), ResultCode::kRequestNotSent);
    ExpectCleanRequests(1);
}

TEST_F(HeaderInjection, WhatGoesIntoABodyIsEscapedThere) {
    auto client = Make<registry::CustomerRegistryClient<SystemApi>>();
    client.token = quillmarkclient_core::Token("t.e30.sig", true);
    Answer(test::TokenBody("t.e30.sig"));
    EXPECT_EQ(client.SelectContext(1, kPlainLine, &errorInfo, nullptr), ResultCode::kSuccess);
    EXPECT_EQ(server.Requests().back().body, R"({"trustorId":"t\r\nX-Injected: 1"})");

    Answer(R"([{"id":"7","name":"VQM_Identity","type":"VQM_Access","role":"Regular"}])");
    Answer(kPlainLine);  // the secret, as plain text
    EXPECT_EQ(client.ObtainIdentitySecret("", "", &errorInfo, nullptr), ResultCode::kSuccess);
    server.Enqueue(test::Answer::Of(403));
    EXPECT_EQ(client.ReauthorizeViaIdentity(client.identitySecret, 0, "", &errorInfo, nullptr),
              ResultCode::kAuthorizationDenied);
    EXPECT_EQ(server.Requests().back().body, R"({"secretKey":"t\r\nX-Injected: 1"})");
    ExpectCleanRequests(4);
}

TEST_F(HeaderInjection, AKeyOfATamperedFileIsRefusedAsAHeader) {
    // MD5 of "SIGNUP_FINALIZE|c-1||"
    test::WriteWhole(folder.PathOf("LIC2"),
                     R"({"entries":[{"hash":"d0cfc8ba20b849a6ac14866be29c5ab9","key":")" +
                         std::string(kLine) + R"(","createdAt":")" + std::to_string(std::time(nullptr)) +
                         R"("}]})");
    auto client = Make<registry::CustomerRegistryClient<SystemApi>>();
    ASSERT_EQ(client.idempotencyEntries.size(), 1u);
    EXPECT_EQ(client.AuthorizeSocialCode("c-1", 1, &errorInfo, nullptr), ResultCode::kRequestNotSent);
    ASSERT_EQ(client.idempotencyEntries.size(), 1u);
    EXPECT_EQ(Text(client.idempotencyEntries[0].key), kPlainLine) << "it is that key which was refused";
    ExpectCleanRequests(0);
}

}  // namespace
