// The account service as a scripted platform plays it: an answer for each request line.
//
// Fresh, it serves one customer with an own context and no organisations, whose identity record is yet to be
// made. A test changes the answers that it is about.
//
//   test::ScriptedPlatform platform;
//   test::ScriptedService service(platform);
//   service.Answer(test::kTrusts, 200, R"([{"id":"1","trustorId":"t"}])");
//
// Belongs to one thread while answers change; answering is safe from any.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "tests/support/ScriptedPlatform.h"

namespace test {

inline constexpr char kServiceUrl[] = "https://service.test";

// The request lines of the customer's road.
inline constexpr char kPassword[] = "POST /api/customer/registry/v2/tokens";
inline constexpr char kSecondFactor[] = "POST /api/customer/registry/v2/2fa/totp/tokens";
inline constexpr char kRenewal[] = "POST /api/customer/registry/v2/tokens/identity";
inline constexpr char kOwnContextToken[] = "POST /api/customer/registry/v2/tokens/context";
inline constexpr char kTrustToken[] = "POST /api/customer/registry/v2/tokens/trust";
inline constexpr char kTrusts[] =
    "GET /api/registry/v2/trustee/trusts?WithDetails=true&WithRights=false&level=Customer";
inline constexpr char kUser[] = "GET /api/registry/v2/users";
inline constexpr char kIdentities[] = "GET /api/registry/v2/identities";
inline constexpr char kNewIdentity[] = "POST /api/registry/v2/identities";
inline constexpr char kIdentitySecret[] = "GET /api/registry/v2/identities/record-1/token";

// Those of the social sign-ins; the provider is "acme", and its token "st-1".
inline constexpr char kSocialToken[] = "GET /api/registry/v2/oauth/sign-in/acme?access_token=st-1";
inline constexpr char kSocialCode[] = "POST /api/customer/registry/v2/tokens/external";
inline constexpr char kFinalizeByToken[] =
    "POST /api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN";
inline constexpr char kFinalizeByCode[] = "POST /api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH";
inline constexpr char kProviders[] = "GET /api/public/registry/v2/oauth/external/providers";

// Those of a business and of an administrator.
inline constexpr char kBusinessPassword[] = "POST /api/business/registry/v2/tokens";
inline constexpr char kBusinessSocialCode[] = "POST /api/business/registry/v2/tokens/external";
inline constexpr char kBusinessRenewal[] = "POST /api/business/registry/v2/tokens/identity";
inline constexpr char kBusinessContext[] = "POST /api/quillmark/USE_DYNAMIC_CONTEXT";
inline constexpr char kAdminPassword[] = "POST /api/admin/id/v0/tokens/password";

// The refusal of a social token whose account is yet to be made.
inline constexpr char kSignUpRequired[] = R"({"status":"404","errorCode":"SIGN_UP_REQUIRED"})";

class ScriptedService {
public:
    explicit ScriptedService(ScriptedPlatform& platform) {
        Answer(kPassword, 200, R"({"accessToken":"password-token"})");
        Answer(kSecondFactor, 200, R"({"accessToken":"factor-token"})");
        Answer(kRenewal, 200, R"({"accessToken":"renewed-token"})");
        Answer(kOwnContextToken, 200, R"({"accessToken":"own-token"})");
        Answer(kTrustToken, 200, R"({"accessToken":"trust-token"})");
        Answer(kTrusts, 200, "[]");
        Answer(
            kUser, 200,
            R"({"id":"42","firstName":"Anna","lastName":"Blum","email":"anna@example.test","city":"Ulm"})");
        Answer(kIdentities, 200, "[]");
        Answer(kNewIdentity, 200, R"({"id":"record-1"})");
        Answer(kIdentitySecret, 200, "identity-secret");
        Answer(kSocialToken, 200, R"({"accessToken":"social-token"})");
        Answer(kSocialCode, 200, R"({"accessToken":"code-token"})");
        Answer(kFinalizeByToken, 204, "");
        Answer(kFinalizeByCode, 204, "");
        Answer(kProviders, 200, R"([{"key":"a"},{"key":"b"},{"key":"c"}])");
        Answer(kBusinessPassword, 200, R"({"accessToken":"business-token"})");
        Answer(kBusinessSocialCode, 200, R"({"accessToken":"business-code-token"})");
        Answer(kBusinessRenewal, 200, R"({"accessToken":"business-renewed-token"})");
        Answer(kBusinessContext, 204, "");
        Answer(kAdminPassword, 200, R"({"accessToken":"admin-token"})");
        platform.responder = [this](const RecordedRequest& request) { return Respond(request); };
    }
    ScriptedService(const ScriptedService&) = delete;
    ScriptedService& operator=(const ScriptedService&) = delete;

    /// Every request of this line is answered so from now on.
    void Answer(const std::string& requestLine, std::uint32_t status, std::string body) {
        answers_[requestLine] = Made(status, std::move(body));
    }
    /// The next request of this line is; several stand in a queue.
    void AnswerOnce(const std::string& requestLine, std::uint32_t status, std::string body) {
        once_[requestLine].push_back(Made(status, std::move(body)));
    }
    /// As AnswerOnce, with the service still at work on a former request of the same key.
    void AskToWaitOnce(const std::string& requestLine, const std::string& retryAfter) {
        ScriptedAnswer answer = Made(409, "");
        answer.headers = "HTTP/1.1 409 Conflict\r\nRetry-After: " + retryAfter + "\r\n\r\n";
        once_[requestLine].push_back(std::move(answer));
    }
    /// The next request of this line fails in the transport.
    void FailOnce(const std::string& requestLine, std::uint32_t result) {
        ScriptedAnswer answer;
        answer.result = result;
        once_[requestLine].push_back(std::move(answer));
    }
    /// Every request of this line fails in the transport.
    void Fail(const std::string& requestLine, std::uint32_t result) {
        answers_[requestLine] = ScriptedAnswer{};
        answers_[requestLine].result = result;
    }
    /// A second factor is wanted.
    void AskForSecondFactor() {
        Answer(
            kPassword, 403,
            R"({"status":"403","errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":"challenge-1"}})");
    }
    /// Own context and two organisations: the user must choose.
    void OfferContexts() {
        Answer(kTrusts, 200,
               R"([{"id":"1","trustorId":"org-1","trustorDetails":{"type":"Organization","name":"First"}},)"
               R"({"id":"2","trustorId":"org-2","trustorDetails":{"type":"Organization","name":"Second"}}])");
    }

private:
    static ScriptedAnswer Made(std::uint32_t status, std::string body) {
        ScriptedAnswer answer;
        answer.status = status;
        answer.body = std::move(body);
        answer.headers = "HTTP/1.1 " + std::to_string(status) + "\r\n\r\n";
        return answer;
    }

    ScriptedAnswer Respond(const RecordedRequest& request) {
        const std::string prefix = kServiceUrl;
        EXPECT_EQ(request.url.compare(0, prefix.size(), prefix), 0) << request.url;
        const std::string line = request.method + " " + request.url.substr(prefix.size());
        const std::lock_guard lock(mutex_);
        if (auto& queue = once_[line]; !queue.empty()) {
            ScriptedAnswer answer = queue.front();
            queue.pop_front();
            return answer;
        }
        if (const auto answer = answers_.find(line); answer != answers_.end())
            return answer->second;
        ADD_FAILURE() << "nobody answers " << line;
        ScriptedAnswer none;
        none.result = 0x81000006u;
        return none;
    }

    std::mutex mutex_;
    std::map<std::string, ScriptedAnswer> answers_;
    std::map<std::string, std::deque<ScriptedAnswer>> once_;
};

}  // namespace test
