// One whole road: the native client over this system's platform, against the sandbox service, over HTTPS.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "core/src/QuillmarkClient.h"
#include "core/src/core/Cryptographer.h"
#include "core/src/system/SystemApi.h"
#include "tests/support/FileFacts.h"
#include "tests/support/SandboxFixture.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TransportFacts.h"
#include "tests/support/TrustedAuthority.h"

namespace {

using quillmarkclient::ContextEntry;
using quillmarkclient::QuillmarkClient;
using quillmarkclient::ServiceErrorValue;
using quillmarkclient_core::SystemApi;
using Strings = std::vector<std::string>;

std::string logText;  // everything that the outlets were told
std::vector<std::uint32_t> reportedCodes;

void Trace(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    char line[8192];
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    logText.append(line).append("\n");
}

void Error(std::uint32_t code, const char* message, const char* source, std::uint32_t /*line*/) {
    reportedCodes.push_back(code);
    logText.append(source).append(": ").append(message).append("\n");
}

class PasswordRoad : public ::testing::Test {
protected:
    PasswordRoad() {
        logText.clear();
        reportedCodes.clear();
        QuillmarkClient::SetLogCallbacks(&Trace, &Error);
    }
    ~PasswordRoad() override { QuillmarkClient::SetLogCallbacks(nullptr, nullptr); }

    // A host's process begins anew on the same folder.
    void Restart() {
        client = std::make_unique<QuillmarkClient>();
        service.forgetExchanges();
        ASSERT_EQ(client->Init(folder.Path().string(), service.baseUrl()), ResultCode::kSuccess);
    }
    ResultCode SignIn(const char* accountName) {
        const sandbox::Account& account = service.account(accountName);
        return client->SignIn(account.login, account.password);
    }

    // "path status" of each exchange since the restart or the last call.
    Strings Exchanges() {
        Strings lines;
        for (const auto& exchange : service.exchanges())
            lines.push_back(exchange.path + " " + std::to_string(exchange.status));
        service.forgetExchanges();
        return lines;
    }

    [[nodiscard]] std::string AccessToken() {
        std::string token = "(none)";
        EXPECT_EQ(client->GetAccessToken(token), ResultCode::kSuccess);
        return token;
    }
    [[nodiscard]] std::string UserId() {
        quillmarkclient::CustomerDataValue data;
        EXPECT_EQ(client->GetCustomerData(data), ResultCode::kSuccess);
        return data.id;
    }

    [[nodiscard]] std::string StoredText(const char* name) {
        const auto cipher = portable_stl::make_shared<quillmarkclient_core::Cryptographer<SystemApi>>(false);
        portable_stl::string text;
        EXPECT_EQ(quillmarkclient_core::ReadEncryptedFile<SystemApi>(folder.PathOf(name).c_str(), text,
                                                                     &cipher, nullptr),
                  ResultCode::kSuccess);
        return text.c_str();
    }
    [[nodiscard]] bool IsStored(const char* name) { return test::Exists(folder.PathOf(name)); }

    test_support::SandboxFixture service{test_support::Scheme::https};
    test::TemporaryFolder folder;
    test::TrustedAuthority trusted{service.caFile()};
    std::unique_ptr<QuillmarkClient> client;
};

TEST_F(PasswordRoad, SignsInAndIsStillSignedInAfterARestart) {
    Restart();
    EXPECT_FALSE(client->IsSignedIn());
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path())) << "a bare start makes no file";
    EXPECT_EQ(Exchanges(), Strings{});

    ASSERT_EQ(SignIn("plain"), ResultCode::kSuccess);
    const Strings road = Exchanges();
    ASSERT_EQ(road.size(), 6u);
    EXPECT_EQ(road[0], "/api/customer/registry/v2/tokens 200");
    EXPECT_EQ(road[1], "/api/registry/v2/trustee/trusts 200");
    EXPECT_EQ(road[2], "/api/customer/registry/v2/tokens/context 200");
    EXPECT_EQ(UserId(), service.account("plain").customer.id);
    const std::string token = AccessToken();
    EXPECT_EQ(std::count(token.begin(), token.end(), '.'), 2);

    Restart();
    EXPECT_TRUE(client->IsSignedIn());
    EXPECT_EQ(Exchanges(), (Strings{"/api/customer/registry/v2/tokens/identity 200",
                                    "/api/customer/registry/v2/tokens/context 200"}));
    EXPECT_NE(AccessToken(), token);
    EXPECT_EQ(UserId(), service.account("plain").customer.id);
    EXPECT_TRUE(reportedCodes.empty());
}

TEST_F(PasswordRoad, FilesAreTheOwnersAloneAndUnreadable) {
    Restart();
    ASSERT_EQ(SignIn("plain"), ResultCode::kSuccess);
    for (const char* name : {"LIC0", "LIC"}) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(test::IsKeptFromOthers(folder.PathOf(name)));
        const std::string content = test::ReadWhole(folder.PathOf(name));
        EXPECT_FALSE(content.empty());
        EXPECT_EQ(
            content.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/="),
            std::string::npos);
    }
    EXPECT_EQ(StoredText("LIC0").find(R"({"identityToken":")"), 0u);
    EXPECT_NE(StoredText("LIC0").find(R"(","contextType":"b2c","contextId":""})"), std::string::npos);
    EXPECT_EQ(StoredText("LIC"), R"({"contextToken":")" + AccessToken() + "\"}");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 2);
}

TEST_F(PasswordRoad, SecondFactor) {
    Restart();
    ASSERT_EQ(SignIn("second-factor"), ResultCode::kSecondFactorRequired);
    EXPECT_FALSE(client->IsSignedIn());
    ServiceErrorValue error;
    ASSERT_EQ(client->GetLastServiceError(error), ResultCode::kSuccess);
    ASSERT_EQ(error.errorArgs.size(), 1u);
    EXPECT_EQ(error.errorArgs[0].first, "challengeToken");
    const std::string challenge = error.errorArgs[0].second;

    const std::string code = service.totpCode("second-factor");
    const std::string wrongCode = (code[0] == '0' ? "1" : "0") + code.substr(1);
    EXPECT_EQ(client->ConfirmSecondFactor(challenge, wrongCode), ResultCode::kInvalidVerificationCode);
    EXPECT_FALSE(client->IsSignedIn());
    ASSERT_EQ(client->ConfirmSecondFactor(challenge, code), ResultCode::kSuccess);
    EXPECT_EQ(UserId(), service.account("second-factor").customer.id);

    Restart();
    EXPECT_TRUE(client->IsSignedIn()) << "no second factor at the restart";
    EXPECT_EQ(logText.find(code), std::string::npos);
}

TEST_F(PasswordRoad, AChosenOrganisationStaysChosen) {
    Restart();
    ASSERT_EQ(SignIn("several-contexts"), ResultCode::kTooManyContexts);
    EXPECT_FALSE(IsStored("LIC0"));
    std::vector<ContextEntry> contexts;
    ASSERT_EQ(client->GetCustomerContexts(contexts), ResultCode::kSuccess);
    ASSERT_EQ(contexts.size(), 3u) << "the trust of a person is not listed";
    EXPECT_EQ(contexts[0].kind, 0u);
    EXPECT_EQ(contexts[0].name, "Nina Vandermeer");
    EXPECT_EQ(contexts[2].kind, 1u);
    EXPECT_EQ(contexts[2].id, "org-tilden");
    EXPECT_EQ(contexts[2].name, "Tilden & S\xc3\xb6hne");
    ASSERT_EQ(client->SignInToContext(contexts[2].kind, contexts[2].id), ResultCode::kSuccess);
    EXPECT_NE(StoredText("LIC0").find(R"("contextType":"b2b","contextId":"org-tilden"})"), std::string::npos);

    Restart();
    EXPECT_TRUE(client->IsSignedIn());
    EXPECT_EQ(Exchanges(), (Strings{"/api/customer/registry/v2/tokens/identity 200",
                                    "/api/customer/registry/v2/tokens/trust 200"}));
}

TEST_F(PasswordRoad, TheOnlyOrganisationIsChosenSilently) {
    Restart();
    ASSERT_EQ(SignIn("organisation-only"), ResultCode::kSuccess);
    EXPECT_NE(StoredText("LIC0").find(R"("contextId":"org-marlow"})"), std::string::npos);
}

TEST_F(PasswordRoad, AnExpiredTokenIsRenewedOnceOnTheWay) {
    Restart();
    ASSERT_EQ(SignIn("plain"), ResultCode::kSuccess);
    const std::string token = AccessToken();
    Exchanges();
    service.advance(901);
    EXPECT_EQ(UserId(), service.account("plain").customer.id);
    EXPECT_EQ(Exchanges(),
              (Strings{"/api/registry/v2/users 401", "/api/customer/registry/v2/tokens/identity 200",
                       "/api/customer/registry/v2/tokens/context 200", "/api/registry/v2/users 200"}));
    EXPECT_NE(AccessToken(), token);
}

TEST_F(PasswordRoad, RefreshGivesANewTokenAndWritesNothing) {
    Restart();
    ASSERT_EQ(SignIn("plain"), ResultCode::kSuccess);
    const std::string identityFile = test::ReadWhole(folder.PathOf("LIC0"));
    const std::string contextFile = test::ReadWhole(folder.PathOf("LIC"));
    const std::string token = AccessToken();
    std::string refreshed;
    ASSERT_EQ(client->RefreshAccessToken(refreshed), ResultCode::kSuccess);
    EXPECT_NE(refreshed, token);
    EXPECT_EQ(refreshed, AccessToken());
    EXPECT_EQ(test::ReadWhole(folder.PathOf("LIC0")), identityFile);
    EXPECT_EQ(test::ReadWhole(folder.PathOf("LIC")), contextFile);
}

TEST_F(PasswordRoad, SignOutEndsIt) {
    Restart();
    ASSERT_EQ(SignIn("plain"), ResultCode::kSuccess);
    Exchanges();
    client->SignOut();
    EXPECT_EQ(Exchanges(), Strings{});
    EXPECT_FALSE(client->IsSignedIn());
    EXPECT_FALSE(IsStored("LIC0"));
    EXPECT_TRUE(IsStored("LIC"));
    quillmarkclient::CustomerDataValue data;
    EXPECT_EQ(client->GetCustomerData(data), ResultCode::kAuthorizationDenied);

    Restart();
    EXPECT_FALSE(client->IsSignedIn());
    EXPECT_EQ(Exchanges(), Strings{});
    EXPECT_NE(AccessToken(), "") << "the stored context token";
}

TEST_F(PasswordRoad, RefusalsAreTheirCodes) {
    static const struct {
        const char* account;
        const char* password;  // null: the right one
        ResultCode expected;
    } rows[] = {
        {"plain", "wrong", ResultCode::kInvalidLoginOrPassword},
        {"plain", "", ResultCode::kCompatibilityBroken},  // a malformed request to the service
        {"blocked", nullptr, ResultCode::kEmailUnverifiedOrBlocked},
        {"locked", nullptr, ResultCode::kLocked},
    };
    Restart();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.account);
        const sandbox::Account& account = service.account(row.account);
        EXPECT_EQ(client->SignIn(account.login, row.password != nullptr ? row.password : account.password),
                  row.expected);
        ASSERT_FALSE(reportedCodes.empty());
        EXPECT_EQ(reportedCodes.back(), static_cast<std::uint32_t>(row.expected));
        EXPECT_FALSE(client->IsSignedIn());
        EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    }
}

TEST_F(PasswordRoad, PasswordsNeverReachTheLog) {
    Restart();
    ASSERT_EQ(SignIn("plain"), ResultCode::kSuccess);
    EXPECT_EQ(client->SignIn(service.account("plain").login, "Guessed-Password"),
              ResultCode::kInvalidLoginOrPassword);
    EXPECT_NE(logText.find("Session Request"), std::string::npos);
    EXPECT_EQ(logText.find(service.account("plain").password), std::string::npos);
    EXPECT_EQ(logText.find("Guessed-Password"), std::string::npos);
}

TEST_F(PasswordRoad, BrokenConnectionsAreACode) {
    using sandbox::FaultKind;
    const struct {
        FaultKind kind;
        ResultCode code;
    } rows[] = {
        {FaultKind::cut, ResultCode::kRequestNotSent},
        // Half a body that comes through is no JSON.
        {FaultKind::half,
         test::NoticesCutAnswers() ? ResultCode::kRequestNotSent : ResultCode::kCompatibilityBroken},
    };
    for (const auto& row : rows) {
        Restart();
        sandbox::Fault fault;
        fault.kind = row.kind;
        service.faults().add(fault);
        EXPECT_EQ(SignIn("plain"), row.code) << sandbox::faultWord(row.kind);
        EXPECT_FALSE(client->IsSignedIn());
        EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    }
}

TEST_F(PasswordRoad, AServerThatNobodyVouchesForIsSentNothing) {
    test_support::SandboxFixture stranger{test_support::Scheme::https};
    client = std::make_unique<QuillmarkClient>();
    ASSERT_EQ(client->Init(folder.Path().string(), stranger.baseUrl()), ResultCode::kSuccess);
    EXPECT_EQ(SignIn("plain"), ResultCode::kRequestNotSent);
    EXPECT_EQ(stranger.exchanges().size(), 0u);
}

TEST_F(PasswordRoad, OfflineStartKeepsTheSignInForLater) {
    Restart();
    ASSERT_EQ(SignIn("plain"), ResultCode::kSuccess);
    service.stop();
    Restart();
    EXPECT_TRUE(client->IsSignedIn());
    std::string token;
    EXPECT_EQ(client->RefreshAccessToken(token), ResultCode::kRequestNotSent);
    EXPECT_TRUE(client->IsSignedIn());
    EXPECT_TRUE(IsStored("LIC0"));
}

TEST_F(PasswordRoad, DamagedFilesMeanThatNobodyIsSignedIn) {
    Restart();
    ASSERT_EQ(SignIn("plain"), ResultCode::kSuccess);
    const std::string whole = test::ReadWhole(folder.PathOf("LIC0"));
    client.reset();
    const struct {
        const char* name;
        std::string content;
    } rows[] = {
        {"empty", ""},
        {"cut", whole.substr(0, whole.size() - 7)},
        {"cut at a whole unit", whole.substr(0, 64)},  // 48 bytes, no JSON any more: sent, and refused
        {"random", "\x01\x02\xff random bytes of no form"},
        {"blanks", " \n "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test::WriteWhole(folder.PathOf("LIC0"), row.content);
        Restart();
        EXPECT_FALSE(client->IsSignedIn());
        EXPECT_EQ(test::ReadWhole(folder.PathOf("LIC0")), row.content) << "a restore writes nothing";
    }

    std::filesystem::remove(folder.PathOf("LIC0"));
    std::filesystem::create_directory(folder.PathOf("LIC0"));
    Restart();
    EXPECT_FALSE(client->IsSignedIn()) << "a folder in place of the file";
    EXPECT_EQ(SignIn("plain"), ResultCode::kSuccess) << "for this run";
    EXPECT_NE(logText.find("Can not store identity token: Can not set a file size"), std::string::npos);
}

TEST_F(PasswordRoad, AFolderThatIsNotThereIsNoFailure) {
    client = std::make_unique<QuillmarkClient>();
    ASSERT_EQ(client->Init(folder.PathOf("missing/deeper"), service.baseUrl()), ResultCode::kSuccess);
    EXPECT_EQ(SignIn("plain"), ResultCode::kSuccess);
    EXPECT_TRUE(client->IsSignedIn());
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST_F(PasswordRoad, AnInvalidPathIsACodeAndNothingLeaks) {
    client = std::make_unique<QuillmarkClient>();
    EXPECT_EQ(client->Init("not utf-8 \xff\xfe", service.baseUrl()), ResultCode::kInternalError);
    EXPECT_FALSE(client->IsSignedIn());
}

}  // namespace
