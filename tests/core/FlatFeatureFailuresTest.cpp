// What the features do when the memory ends, when the platform fails or lacks an operation, and what of a
// caller's they hand to the platform.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "portable_stl/exception.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/ContextSpy.h"
#include "tests/support/FlatFixture.h"
#include "tests/support/HookedTable.h"

namespace {

using quillmarkclient::ClientContext;
using quillmarkclient_core::PlatformTable;
using quillmarkclient_core::SystemApi;
using test::Operation;

// The fakes' own allocations do not fail.
struct Pause {
    test::AllocationPause pause;
};

// Too long for the short form of a text, so that each copy can fail.
constexpr char kLong[] = "a text that is too long for the short form";

template <class Out>
ResultCode Freed(ClientContext* context, ResultCode code, Out*& out) {
    if (IsSuccess(code))
        quillmarkclient::FreeMemory(context, out, nullptr);
    return code;
}

ResultCode CheckForUpdates(ClientContext* context, void* mark) {
    quillmarkclient::ProductUpdateInfo* out = nullptr;
    return Freed(context,
                 quillmarkclient::GetProductUpdateInfo(context, "foo", "bar", "1.0", "de", &out, mark), out);
}

ResultCode FileTicket(ClientContext* context, void* mark) {
    static const quillmarkclient::KeyValuePair pair{kLong, kLong};
    static const quillmarkclient::KeyValuePair* const list[] = {&pair, &pair, nullptr};
    const quillmarkclient::CustomerRequest request{kLong, kLong, kLong, list};
    char* out = nullptr;
    return Freed(context, quillmarkclient::CreateTicket(context, &request, &out, mark), out);
}

ResultCode MakeAdmin(ClientContext* context, void* mark) {
    const quillmarkclient::PrincipalAdminRequest request{kLong, kLong, kLong, kLong};
    quillmarkclient::PrincipalAdmin* out = nullptr;
    return Freed(context, quillmarkclient::CreatePrincipalAdmin(context, &request, &out, mark), out);
}

ResultCode PostMetadata(ClientContext* context, void* mark) {
    using namespace quillmarkclient;
    const SystemInfo system{kLong, kLong, kLong, kLong, 0, 0, 0, kLong, 0, 0};
    PartitionInfo logical[2] = {};
    logical[1].label = kLong;
    PartitionInfo partition{};
    partition.logicalPartitions = {2, logical};
    DiskInfo disk{};
    disk.diskName = kLong;
    disk.partitions = {1, &partition};
    const RecordList<DiskInfo> disks{1, &disk};
    BackupInfo backups[2] = {};
    backups[1].name = kLong;
    const RecordList<BackupInfo> backupList{2, backups};
    RestorePointInfo point{};
    point.name = kLong;
    const RecordList<RestorePointInfo> points{1, &point};
    const BackupMetadataRecord record{&system, &disks, &backupList, &points};
    return SendBackupMetadata(context, &record, mark);
}

ResultCode ReportBackup(ClientContext* context, void* mark) {
    quillmarkclient::OnlineBackupReportRecord record{};
    record.head.Person = kLong;
    record.Backup_Object = "a text that is too long for the short form\0another text that is too long\0";
    return quillmarkclient::SendOnlineBackupReport(context, &record, mark);
}

ResultCode ReportWipe(ClientContext* context, void* mark) {
    quillmarkclient::OnlineReportRecord record{};
    record.Wipe_Object = kLong;
    record.First_Sector_Dump = {reinterpret_cast<const std::uint8_t*>(kLong), sizeof kLong};
    return quillmarkclient::SendOnlineReport(context, &record, mark);
}

// The codes of a call whose nth exchange, or nth block of the table, fails; as many as it makes.
struct Call {
    const char* name;
    ResultCode (*run)(ClientContext* context, void* mark);
    std::vector<std::uint32_t> failedExchanges;
    std::vector<std::uint32_t> failedBlocks;
    std::size_t leastAllocations;
    std::size_t codedAllocations;  // that fail with a code instead of an exception: its requests
};

const Call kCalls[] = {
    {"GetProductUpdateInfo", &CheckForUpdates, {0x80000006, 0x80000006}, {0x80000003}, 20, 2},
    {"CreateTicket", &FileTicket, {0x80000006}, {0, 0x80000003}, 40, 1},
    {"CreatePrincipalAdmin", &MakeAdmin, {0x80000006}, {0x80000003}, 20, 1},
    {"SendBackupMetadata", &PostMetadata, {0x80000006}, {0}, 40, 1},
    {"SendOnlineBackupReport", &ReportBackup, {}, {}, 10, 0},
    {"SendOnlineReport", &ReportWipe, {}, {}, 20, 0},
};

// The scripted platform keeps the reports, which is not what fails.
quillmarkclient_core::ErrorOutlet keepReport = nullptr;

void ReportInPause(std::uint32_t code, const char* message, const char* source, std::uint32_t line) {
    const Pause pause;
    keepReport(code, message, source, line);
}

class FlatFeatureFailures : public test::FlatFixture {
protected:
    FlatFeatureFailures() {
        init.table = test::Hooked<Pause>(platform.table);
        keepReport = quillmarkclient_core::ProcessLogOutlets().error;
        quillmarkclient::SetLogCallbacks(nullptr, &ReportInPause);
        service.Answer("GET /feeds/foo_bar_de/rss", 404, "");
        service.Answer(
            "GET /feeds/foo_bar_en/rss", 200,
            "<rss><channel><item><title>2.0</title><content:encoded>a text that is too long for the "
            "short form</content:encoded><category>Windows</category><category>x64</category>"
            "<enclosure url=\"a text that is too long for the short form\"/></item></channel></rss>");
        service.Answer("POST /api/quillmark/CUSTOMER_TICKET_REGISTRATION", 200,
                       R"({"id":"1","entityTypeKey":"T","attributeValues":[{"attributeKey":)"
                       R"("CUSTOMER_TICKET_NUMBER","valueLocales":[{"value":"4711"}]}]})");
        service.Answer("POST /api/admin/id/v0/principals/admins", 200, R"([{"id":"1"}])");
        service.Answer("POST /api/quillmark/webhook?name=brx-backup-metadata", 200, R"({"status":"ok"})");
        platform.machineIds = {kLong};
    }

    // A signed-in client that has made no keys yet.
    void Prepare() {
        platform.files.clear();
        StartSignedIn();
    }

    // Once by the client, then by the flat operation.
    void ExpectNoMemoryReported() {
        ASSERT_EQ(platform.errors.size(), 2u);
        for (const test::ReportedError& report : platform.errors) {
            EXPECT_EQ(report.code, 0x80000003u);
            EXPECT_EQ(report.message, "Insufficiednt system resources");
        }
        EXPECT_EQ(platform.errors[0].source, "core/src/client/Client");
        EXPECT_EQ(platform.errors[1].source, "core/src/quillmarkclient");
    }
};

TEST_F(FlatFeatureFailures, EachAllocationFailsInTurn) {
    constexpr std::size_t kMostAllocations = 5000;  // more means that a loop does not end
    for (const Call& call : kCalls) {
        SCOPED_TRACE(call.name);
        std::size_t coded = 0;
        for (std::size_t nth = 1;; ++nth) {
            ASSERT_LT(nth, kMostAllocations);
            Prepare();
            const long blocks = platform.BlocksOut();
            auto code = ResultCode::kSuccess;
            bool failed = false;
            bool thrown = false;
            {
                test::FailingAllocation failing(nth);
                try {
                    code = call.run(context, nullptr);
                } catch (const portable_stl::exception&) {
                    thrown = true;
                }
                failed = failing.HasFailed();
            }
            EXPECT_EQ(platform.BlocksOut(), blocks) << nth;
            EXPECT_TRUE(IsSignedIn()) << nth;
            if (!failed) {
                EXPECT_EQ(code, ResultCode::kSuccess);
                EXPECT_GT(nth, call.leastAllocations) << "it allocates less than it used to";
                break;
            }
            if (!thrown) {
                ++coded;
                EXPECT_EQ(code, ResultCode::kInsufficientResources) << nth;
                ExpectNoMemoryReported();
            }
            EXPECT_EQ(call.run(context, nullptr), ResultCode::kSuccess) << nth << ": usable again";
        }
        EXPECT_EQ(coded, call.codedAllocations);
    }
}

// Runs each call with the nth `operation` failing, and expects the codes that `codesOf` gives.
template <class CodesOf>
void FailEach(test::ScriptedPlatform& platform, Operation operation, std::uint32_t failure, CodesOf codesOf,
              const std::function<ResultCode(const Call&)>& run) {
    for (const Call& call : kCalls) {
        SCOPED_TRACE(call.name);
        const std::vector<std::uint32_t> codes = codesOf(call);
        for (std::uint32_t nth = 1;; ++nth) {
            ASSERT_LE(nth, codes.size() + 1) << "more calls than expected";
            const long blocks = platform.BlocksOut();
            const auto before = platform.CallCount(operation);
            platform.FailCall(operation, failure, nth);
            const auto code = static_cast<std::uint32_t>(run(call));
            platform.FailCall(operation, 0);
            EXPECT_EQ(platform.BlocksOut(), blocks) << nth;
            if (platform.CallCount(operation) - before < nth) {
                EXPECT_EQ(code, 0u);
                EXPECT_EQ(nth, codes.size() + 1) << "fewer calls than expected";
                break;
            }
            EXPECT_EQ(code, codes[nth - 1]) << nth;
        }
    }
}

TEST_F(FlatFeatureFailures, EachExchangeFailsInTurn) {
    Prepare();
    FailEach(
        platform, Operation::HttpRequest, 0x81000006, [](const Call& call) { return call.failedExchanges; },
        [&](const Call& call) { return call.run(context, nullptr); });
}

TEST_F(FlatFeatureFailures, EachBlockOfTheTableFailsInTurn) {
    Prepare();
    FailEach(
        platform, Operation::Alloc, 1, [](const Call& call) { return call.failedBlocks; },
        [&](const Call& call) {
            context->registryClient->idempotencyEntries.clear();  // the ticket's key is made each time
            return call.run(context, nullptr);
        });
}

TEST_F(FlatFeatureFailures, AMissingOperationIsACodeOrNoMatter) {
    blocksMayBeLost = true;  // without Free and HttpFree
    const PlatformTable whole = init.table;
    for (std::size_t entry = 0; entry < sizeof whole / sizeof(void*); ++entry) {
        const auto operation = static_cast<Operation>(entry);
        for (const Call& call : kCalls) {
            SCOPED_TRACE(std::string(call.name) + ", entry " + std::to_string(entry));
            Prepare();
            PlatformTable table = whole;
            std::memset(reinterpret_cast<char*>(&table) + entry * sizeof(void*), 0, sizeof(void*));
            SystemApi::SetTable(table);
            const auto code = static_cast<std::uint32_t>(call.run(context, nullptr));
            SystemApi::SetTable(whole);
            std::uint32_t expected = 0;
            if (operation == Operation::HttpRequest && !call.failedExchanges.empty())
                expected = 0x80000006;
            if (operation == Operation::Alloc && !call.failedBlocks.empty())
                expected = call.failedBlocks.back();
            EXPECT_EQ(code, expected);
        }
    }
}

TEST_F(FlatFeatureFailures, TheCallersContextReachesThePlatform) {
    init.table = test::Spied(init.table);
    Prepare();
    int mark = 0;
    for (const Call& call : kCalls) {
        SCOPED_TRACE(call.name);
        test::seen.contexts.clear();
        EXPECT_EQ(call.run(context, &mark), ResultCode::kSuccess);
        if (call.failedExchanges.empty())
            EXPECT_TRUE(test::seen.contexts.empty()) << "nothing of the platform is used";
        else
            EXPECT_EQ(test::seen.contexts, std::set<void*>{&mark});
    }
    EXPECT_EQ(test::seen.entries.count("FileWrite"), 1u);
    EXPECT_EQ(test::seen.entries.count("GetMachineIds"), 1u);
    EXPECT_EQ(test::seen.entries.count("GetTime"), 1u);
    EXPECT_EQ(test::seen.entries.count("Md5"), 1u);
    Stop();
    platform.Install();
}

}  // namespace
