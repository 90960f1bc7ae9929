// The metadata record on its way from the host to the document.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/FlatFixture.h"
#include "tests/support/SmallStack.h"

namespace {

using nlohmann::ordered_json;
using quillmarkclient::BackupInfo;
using quillmarkclient::BackupMetadataRecord;
using quillmarkclient::DiskInfo;
using quillmarkclient::PartitionInfo;
using quillmarkclient::RecordList;
using quillmarkclient::RestorePointInfo;
using quillmarkclient::SystemInfo;

const char kWebhook[] = "POST /api/quillmark/webhook?name=brx-backup-metadata";

class FlatBackupMetadata : public test::FlatFixture {
protected:
    FlatBackupMetadata() { service.Answer(kWebhook, 200, ""); }

    ResultCode Send(const BackupMetadataRecord& record) {
        return quillmarkclient::SendBackupMetadata(context, &record, nullptr);
    }
    // The document that the service received.
    std::string Sent(const BackupMetadataRecord& record) {
        platform.requests.clear();
        EXPECT_EQ(Send(record), ResultCode::kSuccess);
        return platform.requests.size() == 1 ? platform.requests[0].body : "(none)";
    }
};

TEST_F(FlatBackupMetadata, HandleAndRecordAreChecked) {
    const BackupMetadataRecord record{};
    EXPECT_EQ(quillmarkclient::SendBackupMetadata(nullptr, &record, nullptr), ResultCode::kNotInitialized);
    ExpectReported(ResultCode::kNotInitialized);
    EXPECT_EQ(quillmarkclient::SendBackupMetadata(nullptr, nullptr, nullptr), ResultCode::kNotInitialized);
    Start();
    Forget();
    EXPECT_EQ(quillmarkclient::SendBackupMetadata(context, nullptr, nullptr), ResultCode::kInvalidParameters);
    ExpectReported(ResultCode::kInvalidParameters);
    auto core = std::move(context->core);
    EXPECT_EQ(Send(record), ResultCode::kNotInitialized);
    EXPECT_EQ(quillmarkclient::SendBackupMetadata(context, nullptr, nullptr), ResultCode::kNotInitialized);
    context->core = std::move(core);
    EXPECT_TRUE(platform.requests.empty());
    EXPECT_EQ(platform.errors.size(), 3u);
}

TEST_F(FlatBackupMetadata, WithoutASectionItIsSentAllTheSame) {
    Start();
    EXPECT_EQ(Sent({}), R"({"version":1})");
}

TEST_F(FlatBackupMetadata, EmptyRecordsHaveEmptyTexts) {
    Start();
    platform.machineIds.clear();
    const SystemInfo system{};
    const DiskInfo disk{};
    const RecordList<DiskInfo> disks{1, &disk};
    const BackupInfo backup{};
    const RecordList<BackupInfo> backups{1, &backup};
    const RestorePointInfo point{};
    const RecordList<RestorePointInfo> points{1, &point};
    EXPECT_EQ(Sent({&system, &disks, &backups, &points}),
              R"({"version":1,"backups":[{"backupId":"","lastDate":"","nextDate":"","name":"",)"
              R"("schedulerState":"notScheduled","sourceTitle":"","sourceType":"entireComputer",)"
              R"("sourceWarning":"","targetTitle":"","targetType":"localFolder","targetWarning":"",)"
              R"("targetFreeSpace":0,"targetTotalSpace":0,"request":"create"}],"restorePoints":[{)"
              R"("container":"","backupId":"","restorePointId":"","created":"","finished":"","error":"",)"
              R"("warning":"","isEncrypted":false,"isPinned":false,"lastVerificationDate":"",)"
              R"("verificationResult":"","name":"","restorePointPath":"","restorePointArcId":"",)"
              R"("restorePointSource":"","targetType":"localFolder","restorePointResult":"","size":0,)"
              R"("state":"sound","type":"full","request":"create"}],"system":{"version":1,"deviceName":"",)"
              R"("operatingSystemName":"","operatingSystemBuild":"","operatingSystemVersion":"",)"
              R"("isServer":false,"isPartOfDomain":false,"memoryAmount":0,"cpuDescription":"","cpuCores":0,)"
              R"("request":"create"},"storage":{"version":1,"disks":[{"number":0,"capacity":0,)"
              R"("partitionStyle":"","diskType":"","diskName":"","diskModel":"","onlineStatus":""}]}})");
}

// Each member has a value of its own, so that one which lands in the wrong place would show.
TEST_F(FlatBackupMetadata, EveryFieldArrivesInItsPlace) {
    Start();
    const SystemInfo system{"s1", "s2", "s3", "s4", 2, 0, 5, "s6", 7, 1};
    const PartitionInfo logical{"l1", "l2", "l3", "l4", "l5", 6, 0, 0, 0, 1, 7, 8, 9, {0, nullptr}};
    const PartitionInfo partition{"p1", "p2", "p3", "p4", "p5", 6, 1, 0, 255, 0, 7, 8, 9, {1, &logical}};
    const DiskInfo disk{1, 2, "d3", "d4", "d5", "d6", "d7", {1, &partition}};
    const RecordList<DiskInfo> disks{1, &disk};
    const BackupInfo backup{"b1", "b2", "b3", "b4", "b5", "b6", "b7", "b8", 2, 3, 4, 12, 13, 1};
    const RecordList<BackupInfo> backups{1, &backup};
    const RestorePointInfo point{2,     1,     "r3",  "r4",  "r5",  "r6", "r7", "r8", "r9", "r10", "r11",
                                 "r12", "r13", "r14", "r15", "r16", 3,    0,    8,    6,    21,    1};
    const RecordList<RestorePointInfo> points{1, &point};
    EXPECT_EQ(
        Sent({&system, &disks, &backups, &points}),
        R"({"version":1,"backups":[{"backupId":"b1","lastDate":"b2","nextDate":"b3","name":"b4",)"
        R"("schedulerState":"paused","sourceTitle":"b5","sourceType":"hvMachine","sourceWarning":"b7",)"
        R"("targetTitle":"b6","targetType":"cloudAmazon","targetWarning":"b8","targetFreeSpace":13,)"
        R"("targetTotalSpace":12,"request":"update"}],"restorePoints":[{"container":"r6","backupId":"r3",)"
        R"("restorePointId":"r4","created":"r11","finished":"r12","error":"r15","warning":"r16",)"
        R"("isEncrypted":false,"isPinned":true,"lastVerificationDate":"r13","verificationResult":"r14",)"
        R"("name":"r5","restorePointPath":"r8","restorePointArcId":"r9","restorePointSource":"r7",)"
        R"("targetType":"cloudAzure","restorePointResult":"r10","operations":["explore","delete"],"size":21,)"
        R"("state":"unavailable","type":"diff","request":"update"}],"system":{"version":1,)"
        R"("pcId":"MAC-AA-BB-CC-DD-EE-FF","deviceName":"s1","operatingSystemName":"s2",)"
        R"("operatingSystemBuild":"s3","operatingSystemVersion":"s4","isServer":true,"isPartOfDomain":false,)"
        R"("memoryAmount":5,"cpuDescription":"s6","cpuCores":7,"request":"update"},"storage":{"version":1,)"
        R"("disks":[{"number":1,"capacity":2,"partitionStyle":"d3","diskType":"d4","diskName":"d6",)"
        R"("diskModel":"d7","onlineStatus":"d5","partitions":[{"partitionName":"p1","partitionType":"p2",)"
        R"("fileSystem":"p3","mountPoint":"p4","sequentialNumber":6,"isFreeBlock":true,)"
        R"("isUnformatted":false,"isActive":true,"isExtended":false,"capacity":7,"usedBytes":8,)"
        R"("freeBytes":9,"label":"p5","logicalPartitions":[{"partitionName":"l1","partitionType":"l2",)"
        R"("fileSystem":"l3","mountPoint":"l4","sequentialNumber":6,"isFreeBlock":false,)"
        R"("isUnformatted":false,"isActive":false,"isExtended":true,"capacity":7,"usedBytes":8,)"
        R"("freeBytes":9,"label":"l5"}]}]}]}})");
}

TEST_F(FlatBackupMetadata, TheOtherFlags) {
    Start();
    const SystemInfo system{nullptr, nullptr, nullptr, nullptr, 0, 1, 0, nullptr, 0, 0};
    PartitionInfo partition{};
    partition.isUnformatted = 1;
    DiskInfo disk{};
    disk.partitions = {1, &partition};
    const RecordList<DiskInfo> disks{1, &disk};
    RestorePointInfo point{};
    point.isEncrypted = 1;
    const RecordList<RestorePointInfo> points{1, &point};
    const auto document = ordered_json::parse(Sent({&system, &disks, nullptr, &points}));
    EXPECT_EQ(document["system"]["isServer"], false);
    EXPECT_EQ(document["system"]["isPartOfDomain"], true);
    EXPECT_EQ(document["storage"]["disks"][0]["partitions"][0]["isUnformatted"], true);
    EXPECT_EQ(document["storage"]["disks"][0]["partitions"][0]["isFreeBlock"], false);
    EXPECT_EQ(document["restorePoints"][0]["isEncrypted"], true);
    EXPECT_EQ(document["restorePoints"][0]["isPinned"], false);
    EXPECT_FALSE(document.contains("backups"));
}

TEST_F(FlatBackupMetadata, Lists) {
    Start();
    BackupInfo backups[3] = {};
    backups[0].backupId = "0";
    backups[1].backupId = "1";
    backups[2].backupId = "2";
    for (BackupInfo& backup : backups)
        backup.request = 2;
    const struct {
        const char* name;
        RecordList<BackupInfo> list;
        const char* document;
    } rows[] = {
        {"side by side",
         {3, backups},
         R"({"version":1,"backups":[{"backupId":"0","request":"delete"},{"backupId":"1","request":"delete"},)"
         R"({"backupId":"2","request":"delete"}]})"},
        {"as many as counted",
         {1, backups},
         R"({"version":1,"backups":[{"backupId":"0","request":"delete"}]})"},
        {"a count of none", {0, backups}, R"({"version":1})"},
        {"no pointer", {3, nullptr}, R"({"version":1})"},
        {"no pointer and a huge count", {0xFFFFFFFF, nullptr}, R"({"version":1})"},
        {"neither", {0, nullptr}, R"({"version":1})"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Sent({nullptr, nullptr, &row.list, nullptr}), row.document) << row.name;
}

TEST_F(FlatBackupMetadata, ListsWithoutAPointerAreEmptyAtEveryLevel) {
    Start();
    PartitionInfo partition{};
    DiskInfo disk{};
    const RecordList<DiskInfo> disks{1, &disk};
    const BackupMetadataRecord record{nullptr, &disks, nullptr, nullptr};
    const auto disk0 = [&] { return ordered_json::parse(Sent(record))["storage"]["disks"][0]; };

    const RecordList<DiskInfo> none{7, nullptr};
    EXPECT_EQ(Sent({nullptr, &none, nullptr, nullptr}), R"({"version":1,"storage":{"version":1}})");
    const RecordList<RestorePointInfo> noPoints{7, nullptr};
    EXPECT_EQ(Sent({nullptr, nullptr, nullptr, &noPoints}), R"({"version":1})");
    disk.partitions = {7, nullptr};
    EXPECT_FALSE(disk0().contains("partitions"));
    disk.partitions = {0, &partition};
    EXPECT_FALSE(disk0().contains("partitions"));
    disk.partitions = {1, &partition};
    partition.logicalPartitions = {7, nullptr};
    EXPECT_FALSE(disk0()["partitions"][0].contains("logicalPartitions"));
    partition.logicalPartitions = {0, &partition};
    EXPECT_FALSE(disk0()["partitions"][0].contains("logicalPartitions"));
}

// A tree of three levels whose names tell the way to each.
TEST_F(FlatBackupMetadata, PartitionsKeepTheirOrderOnEveryLevel) {
    Start();
    std::vector<std::string> names;
    names.reserve(2 + 6 + 24);
    std::vector<PartitionInfo> leaves(24), middle(6), top(2);
    const auto name = [&](PartitionInfo& partition, const std::string& text) {
        names.push_back(text);
        partition.partitionName = names.back().c_str();
    };
    for (std::size_t i = 0; i < 24; ++i)
        name(leaves[i], std::to_string(i / 12) + std::to_string(i / 4 % 3) + std::to_string(i % 4));
    for (std::size_t i = 0; i < 6; ++i) {
        name(middle[i], std::to_string(i / 3) + std::to_string(i % 3));
        middle[i].logicalPartitions = {4, &leaves[i * 4]};
    }
    for (std::size_t i = 0; i < 2; ++i) {
        name(top[i], std::to_string(i));
        top[i].logicalPartitions = {3, &middle[i * 3]};
    }
    DiskInfo disk{};
    disk.partitions = {2, top.data()};
    const RecordList<DiskInfo> disks{1, &disk};
    const auto document = ordered_json::parse(Sent({nullptr, &disks, nullptr, nullptr}));
    std::string order;
    for (const auto& first : document["storage"]["disks"][0]["partitions"]) {
        order += first["partitionName"].get<std::string>() + " ";
        for (const auto& second : first["logicalPartitions"]) {
            order += second["partitionName"].get<std::string>() + " ";
            for (const auto& third : second["logicalPartitions"])
                order += third["partitionName"].get<std::string>() + " ";
        }
    }
    EXPECT_EQ(order,
              "0 00 000 001 002 003 01 010 011 012 013 02 020 021 022 023 "
              "1 10 100 101 102 103 11 110 111 112 113 12 120 121 122 123 ");
}

TEST_F(FlatBackupMetadata, DeepPartitionsNeedNoStack) {
    Start();
    constexpr std::size_t depth = 100'000;
    std::vector<PartitionInfo> partitions(depth);
    for (std::size_t i = 0; i + 1 < depth; ++i)
        partitions[i].logicalPartitions = {1, &partitions[i + 1]};
    partitions.back().label = "the innermost";
    DiskInfo disk{};
    disk.partitions = {1, partitions.data()};
    const RecordList<DiskInfo> disks{1, &disk};
    const BackupMetadataRecord record{nullptr, &disks, nullptr, nullptr};
    test::RunOnSmallStack([&] { EXPECT_EQ(Send(record), ResultCode::kSuccess); });
    const std::string& body = platform.requests.back().body;
    std::size_t count = 0;
    for (auto at = body.find("\"partitionName\""); at != std::string::npos;
         at = body.find("\"partitionName\"", at + 1))
        ++count;
    EXPECT_EQ(count, depth);
    EXPECT_NE(body.find(R"("label":"the innermost"}]}]})"), std::string::npos);
}

TEST_F(FlatBackupMetadata, AFailureIsReportedTwiceAndTheLastRefusalStays) {
    StartSignedIn();
    context->lastServiceError->title = "an earlier one";
    context->lastServiceError->resultCode = 0x82000005;
    service.Answer(kWebhook, 400, R"({"title":"this one"})");
    EXPECT_EQ(static_cast<std::uint32_t>(Send({})), 0x83000001u);
    ASSERT_EQ(platform.errors.size(), 2u);
    EXPECT_EQ(platform.errors[0].code, 0x83000001u);
    EXPECT_EQ(platform.errors[0].source, "core/src/client/Client");
    EXPECT_EQ(platform.errors[0].message, R"({"title":"this one"})");
    EXPECT_EQ(platform.errors[1].code, 0x83000001u);
    EXPECT_EQ(platform.errors[1].source, "core/src/quillmarkclient");
    EXPECT_EQ(platform.errors[1].message, "Unknown error code");
    EXPECT_STREQ(context->lastServiceError->title.c_str(), "an earlier one");
    EXPECT_EQ(context->lastServiceError->resultCode, 0x82000005u);
}

TEST_F(FlatBackupMetadata, ARefusedRenewalLeavesTheLastRefusalToo) {
    StartSignedIn();
    context->lastServiceError->title = "an earlier one";
    context->lastServiceError->resultCode = 0x82000005;
    context->lastServiceError->httpCode = 299;
    service.Answer(kWebhook, 401, "body");
    service.Answer(test::kRenewal, 404, R"({"title":"this one"})");
    EXPECT_EQ(static_cast<std::uint32_t>(Send({})), 0x8200000Eu);
    EXPECT_EQ(Lines(), (std::vector<std::string>{kWebhook, test::kRenewal}));
    ASSERT_EQ(platform.errors.size(), 2u);
    EXPECT_EQ(platform.errors[0].message, "body");
    EXPECT_STREQ(context->lastServiceError->title.c_str(), "an earlier one");
    EXPECT_EQ(context->lastServiceError->resultCode, 0x82000005u);
    EXPECT_EQ(context->lastServiceError->httpCode, 299u);
}

TEST_F(FlatBackupMetadata, AnErrorInAGoodAnswerIsReportedOnce) {
    StartSignedIn();
    service.Answer(kWebhook, 200, R"({"Status":"Error"})");
    EXPECT_EQ(Send({}), ResultCode::kSuccess);
    ASSERT_EQ(platform.errors.size(), 1u);
    EXPECT_EQ(platform.errors[0].code, 0u);
    EXPECT_EQ(platform.errors[0].message, R"({"Status":"Error"})");
    EXPECT_EQ(platform.errors[0].source, "core/src/client/Client");
}

TEST_F(FlatBackupMetadata, ACoreWithoutASessionIsAnInternalError) {
    Start();
    Forget();
    auto* session = context->core->registryClient;
    context->core->registryClient = nullptr;
    EXPECT_EQ(Send({}), ResultCode::kInternalError);
    EXPECT_EQ(platform.errors.size(), 2u);
    ExpectReported(ResultCode::kInternalError);
    context->core->registryClient = session;
}

TEST_F(FlatBackupMetadata, TheTokenGoesAlong) {
    StartSignedIn();
    Sent({});
    EXPECT_EQ(platform.requests.at(0).Header("Authorization"), "Bearer own-token");
}

}  // namespace
