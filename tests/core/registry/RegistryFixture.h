// What the tests of the registry share: a session over a scripted platform, and short ways to say things.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "core/src/registry/CustomerRegistryClient.h"
#include "core/src/registry/Request.h"
#include "core/src/system/Base64.h"
#include "core/src/system/SystemApi.h"
#include "tests/support/ScriptedPlatform.h"

inline void PrintTo(ResultCode code, std::ostream* out) {
    *out << "0x" << std::hex << static_cast<std::uint32_t>(code) << std::dec << " (" << GetErrorText(code)
         << ")";
}

namespace test {

using quillmarkclient_core::SystemApi;

using Headers = std::vector<std::pair<std::string, std::string>>;
using Lines = std::vector<std::string>;
using RequestPointer = portable_stl::unique_ptr<registry::Request<SystemApi>>;

inline constexpr char kBaseUrl[] = "https://service.test";

inline ResultCode Code(std::uint32_t number) {
    return static_cast<ResultCode>(number);
}

inline std::string Text(const portable_stl::string& text) {
    return {text.data(), text.size()};
}

inline portable_stl::string Text(const std::string& text) {
    return {text.data(), text.size()};
}

inline Headers HeadersOf(const registry::Request<SystemApi>& request) {
    Headers headers;
    for (const auto& header : request.GetHeaders())
        headers.emplace_back(Text(header.name), Text(header.value));
    return headers;
}

/// An access token with this payload; header and signature are of no use to the client.
inline std::string Jwt(const std::string& payload) {
    return "e30." + Text(quillmarkclient_core::Base64Encode(payload.data(), payload.size())) + ".c2ln";
}

/// The answer that brings an access token. `token` needs no escapes.
inline std::string TokenBody(const std::string& token) {
    return R"({"accessToken":")" + token + R"("})";
}

/// One exchange of a script.
struct ServiceAnswer {
    std::uint32_t status;  // a code of the transport from 0x80000000
    std::string body = {};
    std::string headerLines = {};  // behind the status line, each with its end
};

/// What the error record tells of the last refusal.
struct Recorded {
    std::uint32_t resultCode;
    std::uint32_t httpCode;
};
inline bool operator==(const Recorded& left, const Recorded& right) {
    return left.resultCode == right.resultCode && left.httpCode == right.httpCode;
}
inline void PrintTo(const Recorded& recorded, std::ostream* out) {
    PrintTo(static_cast<ResultCode>(recorded.resultCode), out);
    *out << " by status " << recorded.httpCode;
}

/// What RememberOldRefusal leaves: no step of a flow brings this pair.
inline constexpr Recorded kOldRefusal = {0x81000001, 299};

/// What a step leaves in the record that ends in `code` by this answer: a refusal is told there, a failure of
/// the transport is not, and neither is a good status whose body lacks something.
inline Recorded RecordedBy(const ServiceAnswer& answer, std::uint32_t code) {
    const bool isRefusal = answer.status < 0x80000000 && answer.status != 200;
    return isRefusal ? Recorded{code, answer.status} : kOldRefusal;
}

using AnyClient = registry::RegistryClient<SystemApi>;

/// "token text, mark, secret, context mode, context id"
inline std::string StateOf(const AnyClient& client) {
    return Text(client.token.text) + ", " + std::to_string(client.token.present) + ", " +
           Text(client.identitySecret) + ", " + std::to_string(client.contextMode) + ", " +
           Text(client.contextId);
}

/// What RememberOldSession leaves, in the form of State.
inline constexpr char kOldSession[] = "old.e30.sig, 1, old secret, 1, old org";

/// What a failed sign-in leaves, in the form of State: the text of the last token and nobody signed in.
inline std::string ResetSession(const std::string& tokenText) {
    return tokenText + ", 0, , 2, ";
}

template <class Client>
class RegistryTestOf : public ::testing::Test {
protected:
    RegistryTestOf() { client.token = quillmarkclient_core::Token("old.e30.sig", true); }

    void AnswerToken(const std::string& token) { platform.AnswerWith(200, TokenBody(token)); }

    /// The answers from now on; the requests so far are forgotten.
    void Script(const std::vector<ServiceAnswer>& answers) {
        platform.requests.clear();
        for (const ServiceAnswer& answer : answers) {
            if (answer.status >= 0x80000000) {
                platform.FailExchange(answer.status);
                continue;
            }
            ScriptedAnswer scripted;
            scripted.status = answer.status;
            scripted.body = answer.body;
            scripted.headers =
                "HTTP/1.1 " + std::to_string(answer.status) + "\r\n" + answer.headerLines + "\r\n";
            platform.AnswerWith(scripted);
        }
    }

    /// A session from before, in a trustor's context: kOldSession.
    void RememberOldSession() {
        client.token = quillmarkclient_core::Token("old.e30.sig", true);
        client.identitySecret = "old secret";
        client.contextMode = 1;
        client.contextId = "old org";
    }

    /// A refusal from before in the error record: kOldRefusal.
    void RememberOldRefusal() {
        errorInfo = {};
        errorInfo.resultCode = kOldRefusal.resultCode;
        errorInfo.httpCode = kOldRefusal.httpCode;
    }
    Recorded Record() const { return {errorInfo.resultCode, errorInfo.httpCode}; }

    /// "METHOD path" of every request so far.
    Lines Requested() const { return platform.RequestLines(kBaseUrl); }
    const RecordedRequest& LastRequest() const { return platform.requests.back(); }

    std::string TokenText() const { return Text(client.token.text); }

    std::string State() const { return StateOf(client); }

    /// Nothing is left over and nothing was kept.
    void TearDown() override {
        EXPECT_EQ(platform.UnusedAnswers(), 0u);
        platform.ExpectNoBlocks();
        EXPECT_TRUE(platform.errors.empty()) << "the registry reports nothing itself";
    }

    ScriptedPlatform platform;
    int contextMark = 0;
    void* context = &contextMark;
    Client client{kBaseUrl, "", registry::RetryPolicy{}, nullptr};
    registry::ServiceErrorInfo errorInfo;
};

using RegistryTest = RegistryTestOf<registry::CustomerRegistryClient<SystemApi>>;

inline constexpr char kTrustsPath[] =
    "GET /api/registry/v2/trustee/trusts?WithDetails=true&WithRights=false&level=Customer";
inline constexpr char kOwnContextPath[] = "POST /api/customer/registry/v2/tokens/context";
inline constexpr char kTrustPath[] = "POST /api/customer/registry/v2/tokens/trust";
inline constexpr char kPasswordPath[] = "POST /api/customer/registry/v2/tokens";
inline constexpr char kSecondFactorPath[] = "POST /api/customer/registry/v2/2fa/totp/tokens";
inline constexpr char kIdentitySignInPath[] = "POST /api/customer/registry/v2/tokens/identity";
inline constexpr char kUserPath[] = "GET /api/registry/v2/users";
inline constexpr char kIdentitiesPath[] = "GET /api/registry/v2/identities";
inline constexpr char kNewIdentityPath[] = "POST /api/registry/v2/identities";
inline constexpr char kProvidersPath[] = "GET /api/public/registry/v2/oauth/external/providers";

inline constexpr char kOneTrust[] =
    R"([{"id":"t1","trustorId":"org-1","trustorDetails":{"type":"Organization","name":"Org One"}}])";
inline constexpr char kTwoTrusts[] =
    R"([{"id":"t1","trustorId":"org-1","trustorDetails":{"type":"Organization","name":"Org One"}},)"
    R"({"id":"t2","trustorId":"org-2","trustorDetails":{"type":"organization","name":"Org Two"}}])";

}  // namespace test
