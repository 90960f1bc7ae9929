// What a start makes of the files of a former run.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/src/core/Cryptographer.h"
#include "tests/support/FlatFixture.h"

namespace {

using quillmarkclient_core::SystemApi;
using test::Operation;

class FlatRestore : public test::FlatFixture {
protected:
    // Puts `text` into a file of the store as the library writes it.
    void Store(const std::string& path, const std::string& text, bool useAlternateKeys = false) {
        platform.Install();
        const auto cipher =
            portable_stl::make_shared<quillmarkclient_core::Cryptographer<SystemApi>>(useAlternateKeys);
        ASSERT_EQ(
            quillmarkclient_core::WriteEncryptedFile<SystemApi>(path.c_str(), text.c_str(), &cipher, nullptr),
            ResultCode::kSuccess);
    }
};

TEST_F(FlatRestore, RestoreTakesEachStateOfTheFiles) {
    const struct {
        const char* name;
        const char* identity;  // null: no file
        const char* contextText;
        bool renewalRefused;
        bool signedIn;
        const char* accessToken;
        std::size_t exchanges;
    } rows[] = {
        {"nothing", nullptr, nullptr, false, false, "", 0},
        {"both", R"({"identityToken":"s"})", R"({"contextToken":"old"})", false, true, "own-token", 2},
        {"identity alone", R"({"identityToken":"s"})", nullptr, false, true, "own-token", 2},
        {"context token alone", nullptr, R"({"contextToken":"old"})", false, false, "old", 0},
        {"organisation", R"({"identityToken":"s","contextType":"b2b","contextId":"org-1"})", nullptr, false,
         true, "trust-token", 2},
        {"a bare token", "one.two", nullptr, false, true, "own-token", 2},
        {"a JSON scalar", "12345", R"({"contextToken":"old"})", false, false, "old", 0},
        {"a refused identity", R"({"identityToken":"s"})", R"({"contextToken":"old"})", true, false, "old",
         1},
        {"context file no JSON", R"({"identityToken":"s"})", "a.b", false, true, "own-token", 2},
        {"empty files", "", "", false, false, "", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.files.clear();
        Forget();
        service.Answer(test::kRenewal, row.renewalRefused ? 401 : 200, R"({"accessToken":"renewed"})");
        if (row.identity != nullptr)
            Store("store/LIC0", row.identity);
        if (row.contextText != nullptr)
            Store("store/LIC", row.contextText);
        const auto before = platform.files;
        Start();
        EXPECT_EQ(IsSignedIn(), row.signedIn);
        EXPECT_EQ(AccessToken(), row.accessToken);
        EXPECT_EQ(platform.requests.size(), row.exchanges);
        EXPECT_EQ(platform.files, before) << "a restore writes nothing";
    }
}

TEST_F(FlatRestore, RestoreSurvivesDamagedFiles) {
    Store("store/LIC0", R"({"identityToken":"secret-secret-secret","contextType":"b2c","contextId":""})");
    const std::string whole = platform.files["store/LIC0"];
    service.Answer(test::kRenewal, 401, "");
    const struct {
        const char* name;
        std::string content;
        std::size_t exchanges;
    } rows[] = {
        {"cut", whole.substr(0, whole.size() - 5), 0},      {"blanks", "\r\n  ", 0},
        {"sixteen random bytes", "@@@@@@@@!!!!!!!!", 1},  // sent, and refused
        {"seventeen random bytes", "@@@@@@@@!!!!!!!!@", 0}, {"base64 of nothing", "====", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        platform.files = {{"store/LIC0", row.content}, {"store/LIC", row.content}};
        Start();
        EXPECT_FALSE(IsSignedIn());
        EXPECT_EQ(platform.requests.size(), row.exchanges);
    }
}

TEST_F(FlatRestore, FilesOfTheOtherKeysAreRefusedByTheService) {
    Store("store/LIC0", R"({"identityToken":"secret","contextType":"b2c","contextId":""})", true);
    Store("store/LIC", R"({"contextToken":"old"})", true);
    service.Answer(test::kRenewal, 401, "");
    Start();
    EXPECT_FALSE(IsSignedIn());
    EXPECT_EQ(AccessToken(), "");
    EXPECT_EQ(Lines(), std::vector<std::string>{test::kRenewal});
    EXPECT_EQ(platform.requests[0].body.find("secret\""), std::string::npos);
}

TEST_F(FlatRestore, RestoreWithoutReadableFilesStarts) {
    Store("store/LIC0", R"({"identityToken":"s"})");
    Store("store/LIC", R"({"contextToken":"old"})");
    static const struct {
        const char* name;
        Operation operation;
        std::uint32_t nth;
        bool signedIn;
        const char* token;
    } rows[] = {
        {"the keys' size", Operation::FileGetSize, 1, true, "own-token"},
        {"the context token's size", Operation::FileGetSize, 2, true, "own-token"},
        {"the identity's size", Operation::FileGetSize, 3, false, "old"},
        {"the context token", Operation::FileRead, 1, true, "own-token"},
        {"the identity", Operation::FileRead, 2, false, "old"},
        {"the context token's cipher", Operation::Decrypt, 1, true, "own-token"},
        {"the identity's cipher", Operation::Decrypt, 2, false, "old"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.FailCall(row.operation, 0x81000002u, row.nth);
        Start();
        EXPECT_EQ(IsSignedIn(), row.signedIn);
        EXPECT_EQ(AccessToken(), row.token);
    }
}

TEST_F(FlatRestore, OfflineRestoreKeepsTheSecretForLater) {
    Store("store/LIC0", R"({"identityToken":"s"})");
    service.Fail(test::kRenewal, 0x81000006u);
    Start();
    EXPECT_TRUE(IsSignedIn());
    EXPECT_STREQ(context->registryClient->identitySecret.c_str(), "s");
}

TEST_F(FlatRestore, OfflineRestoreOfAnOrganisationIsRenewedInTheOwnContext) {
    for (const std::uint32_t failure : {0x81000006u, 0x81000014u}) {
        SCOPED_TRACE(failure);
        Store("store/LIC0", R"({"identityToken":"s","contextType":"b2b","contextId":"org-1"})");
        Store("store/LIC", R"({"contextToken":"old"})");
        Forget();
        service.FailOnce(test::kRenewal, failure);
        Start();
        EXPECT_TRUE(IsSignedIn());
        EXPECT_EQ(AccessToken(), "old");
        EXPECT_STREQ(context->registryClient->identitySecret.c_str(), "s");
        EXPECT_EQ(context->registryClient->contextMode, 2u);
        EXPECT_STREQ(context->registryClient->contextId.c_str(), "");
        EXPECT_EQ(Lines(), std::vector<std::string>{test::kRenewal});

        Forget();
        EXPECT_EQ(Text(&quillmarkclient::RefreshAccessToken), "own-token");
        EXPECT_EQ(Lines(), (std::vector<std::string>{test::kRenewal, test::kOwnContextToken}));
    }
}

TEST_F(FlatRestore, ARestoreThatFailsOverTheContextIsLeftToTheNextStart) {
    static const struct {
        const char* name;
        const char* identity;
        const char* line;  // of the context's exchange
        std::uint32_t answer;
        const char* token;  // of the next start
    } rows[] = {
        {"organisation, network", R"({"identityToken":"s","contextType":"b2b","contextId":"org-1"})",
         test::kTrustToken, 0x81000006u, "trust-token"},
        {"organisation, 404", R"({"identityToken":"s","contextType":"b2b","contextId":"org-1"})",
         test::kTrustToken, 404, "trust-token"},
        {"organisation, 503", R"({"identityToken":"s","contextType":"b2b","contextId":"org-1"})",
         test::kTrustToken, 503, "trust-token"},
        {"own, network", R"({"identityToken":"s","contextType":"b2c","contextId":""})",
         test::kOwnContextToken, 0x81000006u, "own-token"},
        {"own, 404", R"({"identityToken":"s","contextType":"b2c","contextId":""})", test::kOwnContextToken,
         404, "own-token"},
        {"own, 503", R"({"identityToken":"s","contextType":"b2c","contextId":""})", test::kOwnContextToken,
         503, "own-token"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Store("store/LIC0", row.identity);
        Store("store/LIC", R"({"contextToken":"old"})");
        const auto before = platform.files;
        Forget();
        if (row.answer >= 0x80000000u)
            service.FailOnce(row.line, row.answer);
        else
            service.AnswerOnce(row.line, row.answer, "");
        Start();
        EXPECT_FALSE(IsSignedIn());
        EXPECT_STREQ(context->registryClient->identitySecret.c_str(), "");
        EXPECT_EQ(Lines(), (std::vector<std::string>{test::kRenewal, row.line}));
        EXPECT_EQ(platform.files, before);

        Start();
        EXPECT_TRUE(IsSignedIn());
        EXPECT_EQ(AccessToken(), row.token);
    }
}

TEST_F(FlatRestore, ContextTokenIsRestoredBeforeTheIdentity) {
    Store("store/LIC0", R"({"identityToken":"s"})");
    Store("store/LIC", R"({"contextToken":"old"})");
    std::vector<std::string> lines;
    Start();
    ASSERT_EQ(Lines(), (std::vector<std::string>{test::kRenewal, test::kOwnContextToken}));
    EXPECT_EQ(AccessToken(), "own-token");  // the other order would end with "old"
}

TEST_F(FlatRestore, ARefusalAtTheRestoreIsTheLastServiceError) {
    Store("store/LIC0", R"({"identityToken":"s"})");
    service.Answer(test::kRenewal, 401, R"({"title":"gone"})");
    Start();
    EXPECT_EQ(context->lastServiceError->httpCode, 401u);
    EXPECT_STREQ(context->lastServiceError->title.c_str(), "gone");
}

}  // namespace
