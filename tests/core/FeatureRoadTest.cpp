// Tickets, backup metadata and administrators over this system's platform, as the service takes them.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "core/src/FlatOperations.h"
#include "core/src/Version.h"
#include "tests/core/registry/RoadFixture.h"

namespace {

using quillmarkclient::BackupInfo;
using quillmarkclient::BackupMetadataRecord;
using quillmarkclient::ClientContext;
using quillmarkclient::RecordList;
using test::Exchanges;
using test::ReportedError;

constexpr char kTicketPath[] = "POST /api/quillmark/CUSTOMER_TICKET_REGISTRATION";
constexpr char kMetadataPath[] = "POST /api/quillmark/webhook?name=brx-backup-metadata";
constexpr char kAdminsPath[] = "POST /api/admin/id/v0/principals/admins";

std::vector<ReportedError> reports;

void KeepReport(std::uint32_t code, const char* message, const char* source, std::uint32_t line) {
    reports.push_back({code, message, source, line});
}

class FeatureRoad : public test::RoadFixture {
protected:
    FeatureRoad() {
        reports.clear();
        quillmarkclient::SetLogCallbacks(nullptr, &KeepReport);
    }
    ~FeatureRoad() override {
        quillmarkclient::Shutdown(host, context);
        quillmarkclient::SetLogCallbacks(nullptr, nullptr);
    }

    // A host's process begins, on this folder.
    void Start(std::uint32_t kind = 0) {
        quillmarkclient::Shutdown(host, context);
        const std::string storagePath = folder.PathOf("");
        const std::string serviceUrl = service.baseUrl();
        quillmarkclient::QuillmarkClientInit init{};
        init.version = quillmarkclient::kLibraryVersion;
        init.clientKind = kind;
        init.table = test::SystemApi::Table();
        init.storagePath = storagePath.c_str();
        init.serviceUrl = serviceUrl.c_str();
        ASSERT_EQ(quillmarkclient::Initialize(&init, &host, context), ResultCode::kSuccess);
    }

    // The ticket's number, or "(none)".
    std::string File(const char* title = "It hums") {
        const quillmarkclient::CustomerRequest request{"anna@example.test", title, "All day long.", nullptr};
        char* number = nullptr;
        if (!IsSuccess(quillmarkclient::CreateTicket(host, &request, &number, context)))
            return "(none)";
        const std::string copy = number;
        quillmarkclient::FreeMemory(host, number, context);
        return copy;
    }

    // Tells of one job; the code.
    std::uint32_t Tell(const char* backupId, std::uint32_t request) {
        BackupInfo backup{};
        backup.backupId = backupId;
        backup.request = request;
        const RecordList<BackupInfo> backups{1, &backup};
        const BackupMetadataRecord record{nullptr, nullptr, &backups, nullptr};
        return static_cast<std::uint32_t>(quillmarkclient::SendBackupMetadata(host, &record, context));
    }
    std::string Kept() { return service.service().metadata().value_or("(none)"); }

    // "name|email|description" of the new one, behind his id if he has one; or the code.
    std::string Make(const char* email, const char* password) {
        const quillmarkclient::PrincipalAdminRequest request{"Grace", email, password, nullptr};
        quillmarkclient::PrincipalAdmin* admin = nullptr;
        const auto code = quillmarkclient::CreatePrincipalAdmin(host, &request, &admin, context);
        if (!IsSuccess(code))
            return std::to_string(static_cast<std::uint32_t>(code));
        const std::string told = std::string(*admin->id != '\0' ? "id|" : "|") + admin->name + "|" +
                                 admin->email + "|" + admin->description;
        quillmarkclient::FreeMemory(host, admin, context);
        return told;
    }

    ClientContext* host = nullptr;
};

TEST_F(FeatureRoad, ATicketFiledTwiceKeepsItsNumber) {
    Start();
    EXPECT_EQ(File(), "T-500001");
    EXPECT_EQ(File(), "T-500001");
    Start();
    EXPECT_EQ(File(), "T-500001") << "the key outlives the process";
    EXPECT_EQ(File("It whistles"), "T-500002");
    EXPECT_EQ(Seen(),
              (Exchanges{{kTicketPath, 200}, {kTicketPath, 200}, {kTicketPath, 200}, {kTicketPath, 200}}));
    const auto tickets = service.service().tickets();
    ASSERT_EQ(tickets.size(), 2u);
    EXPECT_EQ(tickets[0].title, "It hums");
    EXPECT_EQ(tickets[0].requests, 3);
    EXPECT_EQ(tickets[1].title, "It whistles");
    EXPECT_TRUE(waits.empty());
    EXPECT_TRUE(reports.empty());
}

TEST_F(FeatureRoad, ABusyServiceIsWaitedForOnce) {
    service.service().setTicketRule({.busyAnswers = 1, .retryAfterSeconds = 7});
    Start();
    EXPECT_EQ(File(), "T-500001");
    EXPECT_EQ(waits, std::vector<std::uint32_t>{7000});
    EXPECT_EQ(Seen(), (Exchanges{{kTicketPath, 409}, {kTicketPath, 200}}));
    ASSERT_EQ(keys.size(), 2u);
    EXPECT_EQ(keys[0], keys[1]);
    EXPECT_EQ(service.service().tickets().size(), 1u);
    EXPECT_TRUE(reports.empty());
}

TEST_F(FeatureRoad, TheServiceKeepsTheMetadataThatWasSent) {
    Start();
    EXPECT_EQ(Tell("Gr\xC3\xBC\xC3\x9F/1", 2), 0u);
    EXPECT_EQ(
        Kept(),
        "{\"version\":1,\"backups\":[{\"backupId\":\"Gr\xC3\xBC\xC3\x9F\\/1\",\"request\":\"delete\"}]}");
    EXPECT_EQ(Tell("2", 2), 0u);
    EXPECT_EQ(Kept(), R"({"version":1,"backups":[{"backupId":"2","request":"delete"}]})");
    EXPECT_EQ(Seen(), (Exchanges{{kMetadataPath, 201}, {kMetadataPath, 200}}));
    EXPECT_TRUE(reports.empty());

    service.service().setMetadataAnswer(sandbox::MetadataAnswer::error);
    EXPECT_EQ(Tell("3", 2), 0u);
    EXPECT_EQ(Kept(), R"({"version":1,"backups":[{"backupId":"3","request":"delete"}]})");
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].code, 0u);
    EXPECT_EQ(reports[0].message, R"({"status":"Error"})");
    EXPECT_EQ(reports[0].source, "core/src/client/Client");
}

TEST_F(FeatureRoad, AnAdministratorMakesAnotherWhoSignsIn) {
    const sandbox::Account& ada = service.account("administrator");
    Start(2);
    EXPECT_EQ(quillmarkclient::SignIn(host, "grace@example.test", "Tin-Lantern-4", context),
              ResultCode::kInvalidLoginOrPassword);
    ASSERT_EQ(quillmarkclient::SignIn(host, ada.login.c_str(), ada.password.c_str(), context),
              ResultCode::kSuccess);
    Seen();
    EXPECT_EQ(Make("grace@example.test", "Tin-Lantern-4"),
              "id|Grace|grace@example.test|Super user created via tessaly.quillmarkclient");
    EXPECT_EQ(Make("grace@example.test", "Tin-Lantern-4"), std::to_string(0x82000004u)) << "there is one now";
    EXPECT_EQ(Seen(), (Exchanges{{kAdminsPath, 200}, {kAdminsPath, 409}}));
    quillmarkclient::ServiceErrorRecord* refusal = nullptr;
    ASSERT_EQ(quillmarkclient::GetLastServiceError(host, &refusal, context), ResultCode::kSuccess);
    ASSERT_NE(refusal, nullptr);
    EXPECT_EQ(refusal->resultCode, 0x82000004u);
    EXPECT_EQ(refusal->httpCode, 409u);
    quillmarkclient::FreeMemory(host, refusal, context);
    EXPECT_EQ(quillmarkclient::SignIn(host, "grace@example.test", "Tin-Lantern-4", context),
              ResultCode::kSuccess);
    EXPECT_EQ(Seen(), (Exchanges{{test::kAdministratorPath, 200}}));
}

}  // namespace
