// A client whose every secret is marked, the flows that use them, and the places where they could turn up.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "core/src/core/Cryptographer.h"
#include "tests/support/FlatFixture.h"

namespace test::secrets {

inline constexpr char kLogin[] = "mark-login";
inline constexpr char kPassword[] = "mark-password";
inline constexpr char kChallenge[] = "mark-challenge";
inline constexpr char kFactorCode[] = "mark-factor-code";
inline constexpr char kBareToken[] = "mark-bare-token";  // of a sign-in, before a context is chosen
inline constexpr char kContextToken[] = "mark-context-token";
inline constexpr char kIdentitySecret[] = "mark-identity-secret";
inline constexpr char kSocialCode[] = "mark-social-code";
inline constexpr char kProviderToken[] = "mark-provider-token";
inline constexpr char kHostText[] = "mark-host-text";    // what a host puts into tickets, documents, reports
inline constexpr char kKey[] = "(the idempotency key)";  // stands for the one that was sent

// The service's own words, which are no secret of ours and may be anybody's.
inline constexpr char kWords[] = "mark-words";
inline constexpr char kSignUpWords[] = "mark-sign-up-words";

inline constexpr char kSocialSignIn[] =
    "GET /api/registry/v2/oauth/sign-in/acme?access_token=mark-provider-token";
inline constexpr char kSocialCodeSignIn[] = "POST /api/customer/registry/v2/tokens/external";
inline constexpr char kSignUpByCode[] = "POST /api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH";
inline constexpr char kSignUpByToken[] =
    "POST /api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN";
inline constexpr char kProviders[] = "GET /api/public/registry/v2/oauth/external/providers";
inline constexpr char kBusinessPassword[] = "POST /api/business/registry/v2/tokens";
inline constexpr char kBusinessCode[] = "POST /api/business/registry/v2/tokens/external";
inline constexpr char kBusinessRenewal[] = "POST /api/business/registry/v2/tokens/identity";
inline constexpr char kDynamicContext[] = "POST /api/quillmark/USE_DYNAMIC_CONTEXT";
inline constexpr char kAdminPassword[] = "POST /api/admin/id/v0/tokens/password";
inline constexpr char kFeed[] = "GET /feeds/app_free_en/rss";
inline constexpr char kTicket[] = "POST /api/quillmark/CUSTOMER_TICKET_REGISTRATION";
inline constexpr char kMetadata[] = "POST /api/quillmark/webhook?name=brx-backup-metadata";
inline constexpr char kAdmins[] = "POST /api/admin/id/v0/principals/admins";

inline std::string TokenBody(const char* token) {
    return std::string(R"({"accessToken":")") + token + R"("})";
}

class SecretsFixture : public FlatFixture {
protected:
    SecretsFixture() {
        for (const char* line :
             {test::kPassword, test::kSecondFactor, test::kRenewal, kSocialSignIn, kSocialCodeSignIn})
            service.Answer(line, 200, TokenBody(kBareToken));
        for (const char* line : {test::kOwnContextToken, test::kTrustToken, kBusinessPassword, kBusinessCode,
                                 kBusinessRenewal, kAdminPassword})
            service.Answer(line, 200, TokenBody(kContextToken));
        for (const char* line : {kSignUpByCode, kSignUpByToken, kDynamicContext})
            service.Answer(line, 204, "");
        service.Answer(test::kIdentitySecret, 200, kIdentitySecret);
        service.Answer(kProviders, 200, R"([{"key":"acme"}])");
        service.Answer(kFeed, 200, "<rss/>");
        service.Answer(kTicket, 200, "{}");
        service.Answer(kMetadata, 200, "{}");
        service.Answer(kAdmins, 200, R"([{"id":"7","name":"n","email":"e","description":"d"}])");
    }

    // --- the flows

    void SignIn(ResultCode expected = ResultCode::kSuccess) {
        EXPECT_EQ(quillmarkclient::SignIn(context, kLogin, kPassword, nullptr), expected);
    }
    void SignInToTheSecondFactor() {
        service.AnswerOnce(
            test::kPassword, 403,
            std::string(
                R"({"status":"403","errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":")") +
                kChallenge + R"("}})");
        SignIn(ResultCode::kSecondFactorRequired);
    }
    void ConfirmSecondFactor(ResultCode expected = ResultCode::kSuccess) {
        EXPECT_EQ(quillmarkclient::ConfirmSecondFactor(context, kChallenge, kFactorCode, nullptr), expected);
    }
    void SignInToContext(std::uint32_t kind) {
        const quillmarkclient::ContextChoice choice{kind, kind == 1 ? "org-2" : ""};
        EXPECT_EQ(quillmarkclient::SignInToContext(context, &choice, nullptr), ResultCode::kSuccess);
    }
    void RefreshAccessToken() { EXPECT_EQ(Text(&quillmarkclient::RefreshAccessToken), kContextToken); }
    void GetCustomerDataBehindARenewal() {
        service.AnswerOnce(test::kUser, 401, "");
        quillmarkclient::CustomerData* data = nullptr;
        EXPECT_EQ(quillmarkclient::GetCustomerData(context, &data, nullptr), ResultCode::kSuccess);
        quillmarkclient::FreeMemory(context, data, nullptr);
    }
    void GetSocialProviders() {
        portable_stl::string text;
        EXPECT_EQ(context->registryClient->GetSocialProviders(text, ',', nullptr, nullptr),
                  ResultCode::kSuccess);
    }
    void SocialToken(bool isSignUpWanted) {
        if (isSignUpWanted)
            service.AnswerOnce(kSocialSignIn, 404, R"({"status":404,"errorCode":"SIGN_UP_REQUIRED"})");
        EXPECT_EQ(context->registryClient->AuthorizeSocialToken("acme", kProviderToken, "cause",
                                                                context->lastServiceError.get(), nullptr),
                  ResultCode::kSuccess);
    }
    void SocialCode(std::uint32_t flow, ResultCode expected = ResultCode::kSuccess) {
        EXPECT_EQ(context->registryClient->AuthorizeSocialCode(kSocialCode, flow,
                                                               context->lastServiceError.get(), nullptr),
                  expected);
    }
    void RefusedSignUp() {
        service.AnswerOnce(kSignUpByCode, 400, std::string(R"({"detail":")") + kSignUpWords + R"("})");
        SocialCode(1, ResultCode::kCompatibilityBroken);
    }
    void CheckForUpdates() {
        quillmarkclient::ProductUpdateInfo* info = nullptr;
        EXPECT_EQ(quillmarkclient::GetProductUpdateInfo(context, "app", "free", "1.0", "en", &info, nullptr),
                  ResultCode::kFeedInvalid);
    }
    void FileTicket() {
        const quillmarkclient::CustomerRequest request{kHostText, kHostText, kHostText, nullptr};
        char* number = nullptr;
        EXPECT_EQ(quillmarkclient::CreateTicket(context, &request, &number, nullptr), ResultCode::kSuccess);
        quillmarkclient::FreeMemory(context, number, nullptr);
    }
    void PostMetadata() {
        quillmarkclient::SystemInfo system{};
        system.deviceName = kHostText;
        const quillmarkclient::BackupMetadataRecord record{&system, nullptr, nullptr, nullptr};
        EXPECT_EQ(quillmarkclient::SendBackupMetadata(context, &record, nullptr), ResultCode::kSuccess);
    }
    void MakeAdministrator() {
        const quillmarkclient::PrincipalAdminRequest request{kHostText, kLogin, kPassword, kHostText};
        quillmarkclient::PrincipalAdmin* made = nullptr;
        EXPECT_EQ(quillmarkclient::CreatePrincipalAdmin(context, &request, &made, nullptr),
                  ResultCode::kSuccess);
        quillmarkclient::FreeMemory(context, made, nullptr);
    }
    void ComposeReport() {
        quillmarkclient::OnlineReportRecord report{};
        report.head.Person = kHostText;
        EXPECT_EQ(quillmarkclient::SendOnlineReport(context, &report, nullptr), ResultCode::kSuccess);
    }
    void RefuseSignIn(const char* requestLine) {
        service.AnswerOnce(requestLine, 401, std::string(R"({"detail":")") + kWords + R"("})");
        SignIn(ResultCode::kInvalidLoginOrPassword);
    }

    // --- where things turn up

    static std::string Joined(const std::vector<std::string>& lines) {
        std::string text;
        for (const std::string& line : lines)
            text += line + "\n";
        return text;
    }
    [[nodiscard]] std::string SentText() const {
        std::string text;
        for (const auto& request : platform.requests) {
            text += request.url + "\n" + request.body + "\n";
            for (const auto& [name, value] : request.headers)
                text += value + "\n";
        }
        return text;
    }
    [[nodiscard]] std::string SentKey() const {
        for (const auto& request : platform.requests) {
            if (const std::string key = request.Header("Idempotency-Key"); key != "(none)")
                return key;
        }
        return {};
    }
    [[nodiscard]] std::string PlainText(const std::string& path) {
        portable_stl::string text;
        EXPECT_EQ(quillmarkclient_core::ReadEncryptedFile<quillmarkclient_core::SystemApi>(
                      path.c_str(), text, &context->cryptographer, nullptr),
                  ResultCode::kSuccess);
        return text.c_str();
    }
    [[nodiscard]] std::string ErrorRecordText() {
        quillmarkclient::ServiceErrorRecord* record = nullptr;
        EXPECT_EQ(quillmarkclient::GetLastServiceError(context, &record, nullptr), ResultCode::kSuccess);
        if (record == nullptr)
            return {};
        std::string text;
        for (const char* field : {record->type, record->title, record->status, record->detail, record->reason,
                                  record->errorCode, record->traceId})
            text += std::string(field) + "\n";
        for (auto argument = record->errorArgs; *argument != nullptr; ++argument)
            text += std::string((*argument)->name) + "=" + (*argument)->value + "\n";
        quillmarkclient::FreeMemory(context, record, nullptr);
        return text;
    }

    // Takes up what the places show now.
    void Look() {
        sent_ += SentText();
        if (const std::string key = SentKey(); !key.empty())
            keys_.insert(key);
        shown_["trace outlet"] += Joined(platform.traceLines);
        for (const auto& error : platform.errors)
            shown_["error outlet"] += error.message + " " + error.source + "\n";
        shown_["error record"] += ErrorRecordText();
        for (const auto& [path, bytes] : platform.files) {
            if (path == "store/LIC2") {
                shown_["LIC2"] += bytes + "\n";
                continue;
            }
            shown_["LIC0 and LIC as they lie"] += bytes + "\n";
            shown_[path == "store/LIC0" ? "LIC0 deciphered" : "LIC deciphered"] += PlainText(path) + "\n";
        }
        Forget();
    }

    // A run of flows, with a look behind each.
    void Run(const std::vector<std::function<void()>>& steps) {
        for (const auto& step : steps) {
            step();
            Look();
        }
    }

    struct Row {
        const char* secret;
        std::set<std::string> places;
    };
    // Exactly those places show the secret; and each of `places` was there to show it.
    void ExpectShown(const std::vector<Row>& rows, const std::set<std::string>& places) {
        std::set<std::string> filled;
        for (const auto& [place, text] : shown_) {
            if (!text.empty())
                filled.insert(place);
        }
        EXPECT_EQ(filled, places);
        for (const Row& row : rows) {
            std::set<std::string> found;
            for (const std::string& text : TextsOf(row.secret)) {
                for (const auto& [place, shown] : shown_) {
                    if (shown.find(text) != std::string::npos)
                        found.insert(place);
                }
            }
            EXPECT_EQ(found, row.places) << row.secret;
        }
    }
    void ExpectSent(const std::vector<std::string>& secrets) {
        for (const std::string& secret : secrets) {
            EXPECT_FALSE(TextsOf(secret).empty()) << secret;
            for (const std::string& text : TextsOf(secret))
                EXPECT_NE(sent_.find(text), std::string::npos) << secret << " was never on its way";
        }
    }
    [[nodiscard]] std::set<std::string> TextsOf(const std::string& secret) const {
        return secret == kKey ? keys_ : std::set<std::string>{secret};
    }

    std::string sent_;
    std::set<std::string> keys_;
    std::map<std::string, std::string> shown_;  // by place
};

}  // namespace test::secrets
