// The metadata document, byte for byte.
#include <nlohmann/json.hpp>
#include <string>

#include "tests/core/client/BackupMetadataSamples.h"
#include "tests/support/EachAllocation.h"
#include "tests/support/LinearCost.h"
#include "tests/support/SmallStack.h"

namespace {

using namespace metadata_test;

TEST(BackupMetadata, NothingIsADocumentToo) {
    EXPECT_EQ(Written({}), R"({"version":1})");
    EXPECT_EQ(Written({}, "pc"), R"({"version":1})") << "the identifier belongs to the system";
}

TEST(BackupMetadata, Sections) {
    static const struct {
        const char* name;
        bool system, storage, backups, restorePoints;
        const char* document;
    } rows[] = {
        {"empty lists of jobs", false, false, true, true, R"({"version":1})"},
        {"empty storage", false, true, false, false, R"({"version":1,"storage":{"version":1}})"},
        {"a system", true, false, false, false,
         R"({"version":1,"system":{"version":1,"deviceName":"","operatingSystemName":"",)"
         R"("operatingSystemBuild":"","operatingSystemVersion":"","isServer":false,"isPartOfDomain":false,)"
         R"("memoryAmount":0,"cpuDescription":"","cpuCores":0,"request":"create"}})"},
    };
    for (const auto& row : rows) {
        BackupMetadata metadata;
        metadata.hasSystem = row.system;
        metadata.hasStorage = row.storage;
        metadata.hasBackups = row.backups;
        metadata.hasRestorePoints = row.restorePoints;
        EXPECT_EQ(Written(metadata), row.document) << row.name;
    }
}

TEST(BackupMetadata, WhatIsNotGivenIsNotWritten) {
    BackupMetadata metadata;
    metadata.backups.resize(1).value();
    metadata.restorePoints.resize(1).value();
    metadata.storage.resize(1).value();
    metadata.system.deviceName = "pc";
    EXPECT_EQ(Written(metadata), R"({"version":1})");
}

TEST(BackupMetadata, TheRootHasItsOwnOrder) {
    BackupMetadata metadata = WithSystem();
    metadata.system.request = 2;
    metadata.hasStorage = metadata.hasBackups = metadata.hasRestorePoints = true;
    metadata.backups.resize(1).value();
    metadata.backups[0].request = 2;
    metadata.restorePoints.resize(1).value();
    metadata.restorePoints[0].request = 2;
    EXPECT_EQ(Written(metadata, "pc"), R"({"version":1,"backups":[{"backupId":"","request":"delete"}],)"
                                       R"("restorePoints":[{"backupId":"","restorePointId":"",)"
                                       R"("request":"delete"}],"system":{"version":1,"pcId":"pc",)"
                                       R"("request":"delete"},"storage":{"version":1}})");
}

TEST(BackupMetadata, ABackup) {
    BackupMetadata metadata = WithBackup();
    Fill(metadata.backups[0]);
    EXPECT_EQ(Written(metadata),
              R"({"version":1,"backups":[{"backupId":"b-1","lastDate":"2024-01-02",)"
              R"("nextDate":"2024\/02\/03","name":"Job \"one\"","schedulerState":"scheduled",)"
              R"("sourceTitle":"C:\\","sourceType":"filesAndFolders","sourceWarning":"sw",)"
              R"("targetTitle":"NAS","targetType":"cloudAzure","targetWarning":"tw","targetFreeSpace":1000,)"
              R"("targetTotalSpace":2000,"request":"update"}]})");
    metadata.backups[0].request = 2;
    EXPECT_EQ(Written(metadata), R"({"version":1,"backups":[{"backupId":"b-1","request":"delete"}]})");
}

TEST(BackupMetadata, AnEmptyBackup) {
    EXPECT_EQ(Written(WithBackup()),
              R"({"version":1,"backups":[{"backupId":"","lastDate":"","nextDate":"","name":"",)"
              R"("schedulerState":"notScheduled","sourceTitle":"","sourceType":"entireComputer",)"
              R"("sourceWarning":"","targetTitle":"","targetType":"localFolder","targetWarning":"",)"
              R"("targetFreeSpace":0,"targetTotalSpace":0,"request":"create"}]})");
}

TEST(BackupMetadata, ARestorePoint) {
    BackupMetadata metadata = WithRestorePoint();
    Fill(metadata.restorePoints[0]);
    EXPECT_EQ(Written(metadata),
              R"({"version":1,"restorePoints":[{"container":"c","backupId":"b-1","restorePointId":"r-1",)"
              R"("created":"cr","finished":"fi","error":"er","warning":"wa","isEncrypted":true,)"
              R"("isPinned":true,"lastVerificationDate":"lv","verificationResult":"vr","name":"n",)"
              R"("restorePointPath":"\/path","restorePointArcId":"arc","restorePointSource":"src",)"
              R"("targetType":"cloudAmazon","restorePointResult":"res",)"
              R"("operations":["restore","explore","delete","mailNotification"],"size":1099511627776,)"
              R"("state":"error","type":"inc","request":"update"}]})");
    metadata.restorePoints[0].request = 2;
    EXPECT_EQ(Written(metadata), R"({"version":1,"restorePoints":[{"backupId":"b-1","restorePointId":"r-1",)"
                                 R"("request":"delete"}]})")
        << "the operations are not looked at";
}

TEST(BackupMetadata, AnEmptyRestorePoint) {
    EXPECT_EQ(Written(WithRestorePoint()),
              R"({"version":1,"restorePoints":[{"container":"","backupId":"","restorePointId":"",)"
              R"("created":"","finished":"","error":"","warning":"","isEncrypted":false,"isPinned":false,)"
              R"("lastVerificationDate":"","verificationResult":"","name":"","restorePointPath":"",)"
              R"("restorePointArcId":"","restorePointSource":"","targetType":"localFolder",)"
              R"("restorePointResult":"","size":0,"state":"sound","type":"full","request":"create"}]})");
}

TEST(BackupMetadata, ASystem) {
    BackupMetadata metadata = WithSystem();
    metadata.system.deviceName = "pc";
    metadata.system.operatingSystemName = "OS";
    metadata.system.operatingSystemBuild = "22631";
    metadata.system.operatingSystemVersion = "11";
    metadata.system.isServer = true;
    metadata.system.isPartOfDomain = true;
    metadata.system.memoryAmount = 16384;
    metadata.system.cpuDescription = "cpu";
    metadata.system.cpuCores = 8;
    metadata.system.request = 1;
    const std::string rest =
        R"("deviceName":"pc","operatingSystemName":"OS","operatingSystemBuild":"22631",)"
        R"("operatingSystemVersion":"11","isServer":true,"isPartOfDomain":true,)"
        R"("memoryAmount":16384,"cpuDescription":"cpu","cpuCores":8,"request":"update"}})";
    EXPECT_EQ(Written(metadata), R"({"version":1,"system":{"version":1,)" + rest);
    EXPECT_EQ(Written(metadata, "AA-BB"), R"({"version":1,"system":{"version":1,"pcId":"AA-BB",)" + rest);
    metadata.system.request = 2;
    EXPECT_EQ(Written(metadata), R"({"version":1,"system":{"version":1,"request":"delete"}})");
    EXPECT_EQ(Written(metadata, "A/B"),
              R"({"version":1,"system":{"version":1,"pcId":"A\/B","request":"delete"}})");
}

TEST(BackupMetadata, ADisk) {
    BackupMetadata metadata = WithDisk();
    DiskInfo& disk = metadata.storage[0];
    disk.number = 3;
    disk.capacity = 500107862016;
    disk.partitionStyle = "GPT";
    disk.diskType = "SSD";
    disk.onlineStatus = "online";
    disk.diskName = "Disk 3";
    disk.diskModel = "M";
    EXPECT_EQ(Written(metadata),
              R"({"version":1,"storage":{"version":1,"disks":[{"number":3,"capacity":500107862016,)"
              R"("partitionStyle":"GPT","diskType":"SSD","diskName":"Disk 3","diskModel":"M",)"
              R"("onlineStatus":"online"}]}})");
    metadata.storage.resize(2).value();
    EXPECT_EQ(nlohmann::json::parse(Written(metadata))["storage"]["disks"].size(), 2u);
}

// What stands behind the name of a bare partition.
const std::string kBare =
    R"("partitionType":"","fileSystem":"","mountPoint":"","sequentialNumber":0,"isFreeBlock":false,)"
    R"("isUnformatted":false,"isActive":false,"isExtended":false,"capacity":0,"usedBytes":0,"freeBytes":0,)"
    R"("label":"")";

TEST(BackupMetadata, APartition) {
    BackupMetadata metadata = WithPartition();
    const std::string start =
        R"({"version":1,"storage":{"version":1,"disks":[{"number":0,"capacity":0,"partitionStyle":"",)"
        R"("diskType":"","diskName":"","diskModel":"","onlineStatus":"","partitions":[)";
    EXPECT_EQ(Written(metadata), start + R"({"partitionName":"",)" + kBare + "}]}]}}");

    PartitionInfo& partition = metadata.storage[0].partitions[0];
    partition.partitionName = "p";
    partition.partitionType = "t";
    partition.fileSystem = "NTFS";
    partition.mountPoint = "C:\\";
    partition.label = "l";
    partition.sequentialNumber = 2;
    partition.isActive = true;
    partition.capacity = 3;
    partition.usedBytes = 1;
    partition.freeBytes = 2;
    EXPECT_EQ(Written(metadata), start + R"({"partitionName":"p","partitionType":"t","fileSystem":"NTFS",)"
                                         R"("mountPoint":"C:\\","sequentialNumber":2,"isFreeBlock":false,)"
                                         R"("isUnformatted":false,"isActive":true,"isExtended":false,)"
                                         R"("capacity":3,"usedBytes":1,"freeBytes":2,"label":"l"}]}]}})");
}

TEST(BackupMetadata, LogicalPartitionsNest) {
    BackupMetadata metadata = WithPartition();
    metadata.storage[0].partitions.resize(2).value();
    const auto name = [](PartitionInfo& partition, const char* text) { partition.partitionName = text; };
    PartitionInfo& first = metadata.storage[0].partitions[0];
    name(first, "1");
    name(metadata.storage[0].partitions[1], "2");
    first.children.resize(2).value();
    name(first.children[0], "1.1");
    name(first.children[1], "1.2");
    first.children[0].children.resize(1).value();
    name(first.children[0].children[0], "1.1.1");
    const auto bare = [](const char* text) {
        return R"({"partitionName":")" + std::string(text) + "\"," + kBare;
    };
    const std::string expected = "[" + bare("1") + R"(,"logicalPartitions":[)" + bare("1.1") +
                                 R"(,"logicalPartitions":[)" + bare("1.1.1") + "}]}," + bare("1.2") + "}]}," +
                                 bare("2") + "}]";
    const std::string document = Written(metadata);
    const std::string::size_type start = document.find("\"partitions\":") + 13;
    EXPECT_EQ(document.substr(start, document.size() - start - 4), expected);
}

TEST(BackupMetadata, ManyEntriesStandInTheirOrder) {
    BackupMetadata metadata;
    metadata.hasRestorePoints = true;
    metadata.restorePoints.resize(1000).value();
    for (std::size_t i = 0; i < 1000; ++i) {
        Fill(metadata.restorePoints[i]);
        metadata.restorePoints[i].restorePointId = std::to_string(i).c_str();
        metadata.restorePoints[i].request = static_cast<std::uint32_t>(i % 3);
    }
    const auto points = nlohmann::json::parse(Written(metadata))["restorePoints"];
    ASSERT_EQ(points.size(), 1000u);
    for (std::size_t i = 0; i < 1000; ++i) {
        EXPECT_EQ(points[i]["restorePointId"], std::to_string(i));
        EXPECT_EQ(points[i].size(), i % 3 == 2 ? 3u : 22u);
    }
}

TEST(BackupMetadata, TextsComeBackFromAnotherLibrary) {
    const std::string text = "a \"b\" \\ / \b\f\n\r\t \xC3\xA9 \xF0\x9F\x98\x80 {}[],:";
    auto metadata = WithBackup();
    metadata.backups[0].name = text.c_str();
    metadata.hasSystem = true;
    metadata.system.cpuDescription = text.c_str();
    const auto document = nlohmann::json::parse(Written(metadata, text.c_str()));
    EXPECT_EQ(document["backups"][0]["name"], text);
    EXPECT_EQ(document["system"]["cpuDescription"], text);
    EXPECT_EQ(document["system"]["pcId"], text);
}

TEST(BackupMetadata, DeepPartitionsNeedNoStack) {
    constexpr std::size_t depth = 300'000;
    test::RunOnSmallStack([] {
        auto metadata = WithPartition();
        PartitionInfo* partition = &metadata.storage[0].partitions[0];
        for (std::size_t i = 1; i < depth; ++i) {
            partition->children.resize(1).value();
            partition = &partition->children[0];
        }
        const std::string document = Written(metadata);
        const std::string bare = R"({"partitionName":"",)" + kBare;
        const std::string link = R"(,"logicalPartitions":[)";
        const std::string ends = document.substr(document.size() - 8);
        EXPECT_EQ(document.size(), Written(WithDisk()).size() + std::string(R"(,"partitions":[])").size() +
                                       depth * (bare.size() + 1) + (depth - 1) * (link.size() + 1));
        EXPECT_EQ(ends, "}]}]}]}}");
    });
}

TEST(BackupMetadata, ManyEntriesTakeLinearCost) {
    test::ExpectLinearCost(1'000, [](std::size_t count) {
        BackupMetadata metadata;
        metadata.hasRestorePoints = metadata.hasStorage = true;
        metadata.restorePoints.resize(count).value();
        metadata.storage.resize(1).value();
        metadata.storage[0].partitions.resize(count).value();
        return test::AllocatedBytes([&] { EXPECT_GT(Written(metadata).size(), count * 300); });
    });
}

TEST(BackupMetadata, EveryFailedAllocationThrows) {
    auto metadata = WithRestorePoint();
    Fill(metadata.restorePoints[0]);
    metadata.restorePoints[0].name = "a name that is too long for the short form of a text";
    metadata.hasStorage = true;
    metadata.storage.resize(1).value();
    metadata.storage[0].partitions.resize(1).value();
    metadata.storage[0].partitions[0].children.resize(2).value();
    const std::size_t failures = test::FailEachAllocation([&metadata] {
        portable_stl::string text;
        EXPECT_TRUE(backupmetadata::WriteMetadataDocument(metadata, nullptr, text));
    });
    EXPECT_GT(failures, 10u);
}

}  // namespace
