// The metadata document on its way to the webhook, and what the webhook says.
#include <gtest/gtest.h>

#include <string>

#include "core/src/client/requests/BackupMetadataRequest_impl.h"
#include "tests/core/client/ClientFixture.h"

namespace {

using backupmetadata::BackupMetadata;

const char kWebhook[] = "POST /api/quillmark/webhook?name=brx-backup-metadata";

class SendBackupMetadata : public test::ClientFixture {
protected:
    std::uint32_t Send() { return static_cast<std::uint32_t>(client.SendBackupMetadata(metadata, nullptr)); }

    BackupMetadata metadata;
};

TEST_F(SendBackupMetadata, EveryByteOfTheRequest) {
    static const HeaderList own = {{"Accept", "application/json"},
                                   {"Cache-Control", "no-cache"},
                                   {"Content-Type", "application/json;charset=UTF-8"}};
    service.Answer(kWebhook, 200, "");
    for (const bool signedIn : {false, true}) {
        SCOPED_TRACE(signedIn);
        Forget();
        HeaderList headers = own;
        if (signedIn) {
            SignIn();
            headers.emplace_back("Authorization", "Bearer a.b.c");
        }
        headers.emplace_back("x-vqm-custom", "vqm-client");
        EXPECT_EQ(Send(), 0u);
        ASSERT_EQ(platform.requests.size(), 1u);
        const test::RecordedRequest& sent = platform.requests[0];
        EXPECT_EQ(sent.method, "POST");
        EXPECT_EQ(sent.url, "https://service.test/api/quillmark/webhook?name=brx-backup-metadata");
        EXPECT_EQ(sent.headers, headers);
        EXPECT_EQ(sent.body, R"({"version":1})");
        EXPECT_EQ(sent.flags, 0u);
        EXPECT_EQ(platform.traceLines, Strings{Described("\"Send BrxMfe Info\" request",
                                                         "/api/quillmark/webhook?name=brx-backup-metadata",
                                                         own, R"({"version":1})")});
        EXPECT_TRUE(platform.errors.empty());
    }
}

TEST_F(SendBackupMetadata, TheMachinesFirstIdentifierGoesAlong) {
    static const struct {
        const char* name;
        Strings ids;
        std::uint32_t sizeCode;  // of the call for the size
        std::uint32_t dataCode;  // of the call for the identifiers
        const char* pcId;
    } rows[] = {
        {"two", {"MAC-1", "serial"}, 0, 0, R"("pcId":"MAC-1",)"},
        {"one", {"MAC-1"}, 0, 0, R"("pcId":"MAC-1",)"},
        {"an empty first one", {"", "x"}, 0, 0, R"("pcId":"",)"},
        {"none", {}, 0, 0, ""},
        {"no size", {"MAC-1"}, 0x81000005, 0, ""},
        {"no data", {"MAC-1"}, 0, 0x81000005, ""},
    };
    metadata.hasSystem = true;
    metadata.system.request = 2;
    service.Answer(kWebhook, 200, "");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        platform.machineIds = row.ids;
        if (row.sizeCode != 0)
            platform.FailCall(test::Operation::GetMachineIds, row.sizeCode, 1);
        if (row.dataCode != 0)
            platform.FailCall(test::Operation::GetMachineIds, row.dataCode, 2);
        EXPECT_EQ(Send(), 0u);
        EXPECT_EQ(platform.requests.at(0).body, std::string(R"({"version":1,"system":{"version":1,)") +
                                                    row.pcId + R"("request":"delete"}})");
        EXPECT_TRUE(platform.errors.empty()) << "a missing identifier is no failure";
    }
}

TEST_F(SendBackupMetadata, WithoutABlockForThemTheIdentifiersAreLeftOut) {
    metadata.hasSystem = true;
    metadata.system.request = 2;
    service.Answer(kWebhook, 200, "");
    platform.FailCall(test::Operation::Alloc, 1);
    EXPECT_EQ(Send(), 0u);
    EXPECT_EQ(platform.requests.at(0).body, R"({"version":1,"system":{"version":1,"request":"delete"}})");
}

TEST_F(SendBackupMetadata, WithoutTheSystemTheMachineIsNotAsked) {
    service.Answer(kWebhook, 200, "");
    EXPECT_EQ(Send(), 0u);
    EXPECT_EQ(platform.CallCount(test::Operation::GetMachineIds), 0u);
}

TEST_F(SendBackupMetadata, Statuses) {
    static const struct {
        std::uint32_t status;
        std::uint32_t code;
        const char* message;
    } rows[] = {
        {200, 0, ""},
        {201, 0, ""},
        {202, 0x8000000D, "Unknown error code"},
        {204, 0x8000000D, "Unknown error code"},
        {302, 0x8000000D, "Unknown error code"},
        {400, 0x83000001, "Unknown error code"},
        {401, 0x82000002, "Authorization is denied"},
        {403, 0x82000002, "Authorization is denied"},
        {404, 0x8000000D, "Unknown error code"},
        {409, 0x8000000D, "Unknown error code"},
        {423, 0x8000000D, "Unknown error code"},
        {429, 0x8000000D, "Unknown error code"},
        {500, 0x8000000D, "Unknown error code"},
        {503, 0x8000000D, "Unknown error code"},
    };
    for (const auto& row : rows) {
        for (const char* const body :
             {"", R"({"status":"429","errorCode":"ACCOUNT_LOCKED_TRY_AGAIN"})", "oops"}) {
            SCOPED_TRACE(std::to_string(row.status) + " " + body);
            Forget();
            service.Answer(kWebhook, row.status, body);
            EXPECT_EQ(Send(), row.code);
            EXPECT_EQ(Lines(), Strings{kWebhook});
            if (row.code == 0)
                EXPECT_TRUE(platform.errors.empty());
            else
                ExpectOneReport(row.code, *body == '\0' ? row.message : body);
        }
    }
}

TEST_F(SendBackupMetadata, AnAnswerThatSpeaksOfAnErrorIsReportedAndNoFailure) {
    static const struct {
        const char* name;
        const char* body;
        bool isReported;
    } rows[] = {
        {"the word", R"({"status":"Error"})", true},
        {"the name in another case", R"({"Status":"Error"})", true},
        {"with more around it", R"({"message":"m","STATUS":"Error","detail":"d"})", true},
        {"of two the first", R"({"status":"Error","Status":"ok"})", true},
        {"of two the first, the other way", R"({"status":"ok","Status":"Error"})", false},
        {"small letters", R"({"status":"error"})", false},
        {"capitals", R"({"status":"ERROR"})", false},
        {"a longer word", R"({"status":"Errors"})", false},
        {"a blank ahead", R"({"status":" Error"})", false},
        {"another member", R"({"result":"Error"})", false},
        {"further down", R"({"data":{"status":"Error"}})", false},
        {"in an array", R"([{"status":"Error"}])", false},
        {"a container", R"({"status":{"Error":1}})", false},
        {"a good word", R"({"status":"ok"})", false},
        {"no JSON", R"(status=Error)", false},
        {"cut off", R"({"status":"Error")", false},
        {"empty", "", false},
    };
    for (const std::uint32_t status : {200u, 201u}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(row.name);
            Forget();
            service.Answer(kWebhook, status, row.body);
            EXPECT_EQ(Send(), 0u);
            if (row.isReported)
                ExpectOneReport(0, row.body);
            else
                EXPECT_TRUE(platform.errors.empty());
        }
    }
}

TEST_F(SendBackupMetadata, AFailureThatSpeaksOfAnErrorIsReportedOnce) {
    service.Answer(kWebhook, 400, R"({"status":"Error"})");
    EXPECT_EQ(Send(), 0x83000001u);
    ExpectOneReport(0x83000001, R"({"status":"Error"})");
}

TEST_F(SendBackupMetadata, ABrokenExchangeIsReportedInItsOwnWords) {
    platform.FailExchange(0x81000014u);
    EXPECT_EQ(Send(), 0x81000014u);
    EXPECT_EQ(platform.requests.size(), 1u);
    ExpectOneReport(0x81000014, "The HTTP request timed out");
}

TEST_F(SendBackupMetadata, A401IsRenewedOnceAndThenDenied) {
    SignIn();
    session.identitySecret = "secret";
    service.Answer(kWebhook, 401, "");
    EXPECT_EQ(Send(), 0x82000002u);
    EXPECT_EQ(Lines(), (Strings{kWebhook, test::kRenewal, test::kOwnContextToken, kWebhook}));
    ExpectOneReport(0x82000002, "Authorization is denied");
}

TEST_F(SendBackupMetadata, TheBodyOfASecond401IsTheMessageAndIsNotAsked) {
    static const char kBody[] = R"({"status":"401","errorCode":"CODE_VERIFICATION_FAILED"})";
    SignIn();
    session.identitySecret = "secret";
    service.Answer(kWebhook, 401, kBody);
    EXPECT_EQ(Send(), 0x82000002u);
    ExpectOneReport(0x82000002, kBody);
}

// Whoever gave the code: a body that came is the message.
TEST_F(SendBackupMetadata, TheBodyOfA401IsTheMessageOfARenewalsCode) {
    static const struct {
        const char* name;
        std::uint32_t renewalStatus;  // 0: the exchange breaks
        std::uint32_t code;
    } rows[] = {
        {"refused", 404, 0x8200000E},
        {"broken", 0, 0x80000006},
    };
    service.Answer(kWebhook, 401, "body");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        SignIn();
        session.identitySecret = "secret";
        if (row.renewalStatus != 0)
            service.AnswerOnce(test::kRenewal, row.renewalStatus, "");
        else
            service.FailOnce(test::kRenewal, 0x81000006);
        EXPECT_EQ(Send(), row.code);
        EXPECT_EQ(Lines(), (Strings{kWebhook, test::kRenewal}));
        ExpectOneReport(row.code, "body");
    }
}

TEST_F(SendBackupMetadata, ARepeatThatBreaksHasNoBody) {
    SignIn();
    session.identitySecret = "secret";
    service.AnswerOnce(kWebhook, 401, "body");
    service.FailOnce(kWebhook, 0x81000006);
    EXPECT_EQ(Send(), 0x80000006u);
    EXPECT_EQ(Lines(), (Strings{kWebhook, test::kRenewal, test::kOwnContextToken, kWebhook}));
    ExpectOneReport(0x80000006, "Problems sending network requests");
}

// The client asks for no record, so that only the request itself can tell.
TEST_F(SendBackupMetadata, TheRequestFillsARecordThatItIsGiven) {
    static const struct {
        std::uint32_t status;
        std::uint32_t code;
    } rows[] = {
        {200, 0},          {201, 0},          {202, 0x8000000D}, {400, 0x83000001}, {401, 0x82000002},
        {403, 0x82000002}, {404, 0x8000000D}, {409, 0x8000000D}, {500, 0x8000000D}, {503, 0x8000000D},
    };
    backupmetadata::SendBrxMfeInfoRequest<Api> request({test::kServiceUrl, R"({"version":1})"});
    for (const auto& row : rows) {
        SCOPED_TRACE(row.status);
        registry::ServiceErrorInfo info;
        registry::ServiceErrorInfo* record = &info;
        EXPECT_EQ(static_cast<std::uint32_t>(request.CheckResponse(row.status, R"({"title":"t"})", &record)),
                  row.code);
        EXPECT_EQ(info.resultCode, row.code);
        EXPECT_EQ(info.httpCode, row.code != 0 ? row.status : 0u);
        EXPECT_STREQ(info.title.c_str(), row.code != 0 ? "t" : "");
    }
}

TEST_F(SendBackupMetadata, WithoutASessionNothingIsSent) {
    client.registryClient = nullptr;
    EXPECT_EQ(Send(), 0x80000001u);
    ExpectOneReport(0x80000001, "Internal program error");
    EXPECT_TRUE(platform.requests.empty());
}

}  // namespace
