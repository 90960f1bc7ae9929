// What the numbers, enumerations and bits of a metadata record become.
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "tests/core/client/BackupMetadataSamples.h"

namespace {

using namespace metadata_test;

template <class Record, class Field>
void Set(Record& record, Field Record::*field, std::uint64_t value) {
    record.*field = static_cast<Field>(value);
}

// A document's record with one field set.
template <auto field>
BackupMetadata BackupOf(std::uint64_t value) {
    auto metadata = WithBackup();
    Set(metadata.backups[0], field, value);
    return metadata;
}
template <auto field>
BackupMetadata PointOf(std::uint64_t value) {
    auto metadata = WithRestorePoint();
    Set(metadata.restorePoints[0], field, value);
    return metadata;
}
template <auto field>
BackupMetadata SystemOf(std::uint64_t value) {
    auto metadata = WithSystem();
    Set(metadata.system, field, value);
    return metadata;
}
template <auto field>
BackupMetadata DiskOf(std::uint64_t value) {
    auto metadata = WithDisk();
    Set(metadata.storage[0], field, value);
    return metadata;
}
template <auto field>
BackupMetadata PartitionOf(std::uint64_t value) {
    auto metadata = WithPartition();
    Set(metadata.storage[0].partitions[0], field, value);
    return metadata;
}

// One row for each number: all ones in its own width means unknown.
TEST(BackupMetadataValues, Numbers) {
    static const struct {
        const char* name;
        BackupMetadata (*make)(std::uint64_t value);
        bool isWide;
        const char* member;
    } rows[] = {
        {"targetFreeSpace", &BackupOf<&BackupInfo::targetFreeSpace>, true, "\"targetFreeSpace\":"},
        {"targetTotalSpace", &BackupOf<&BackupInfo::targetTotalSpace>, true, "\"targetTotalSpace\":"},
        {"size", &PointOf<&RestorePointInfo::size>, true, "\"size\":"},
        {"memoryAmount", &SystemOf<&SystemInfo::memoryAmount>, false, "\"memoryAmount\":"},
        {"cpuCores", &SystemOf<&SystemInfo::cpuCores>, false, "\"cpuCores\":"},
        {"number of a disk", &DiskOf<&DiskInfo::number>, false, "\"number\":"},
        {"capacity of a disk", &DiskOf<&DiskInfo::capacity>, true, "\"capacity\":"},
        {"sequentialNumber", &PartitionOf<&PartitionInfo::sequentialNumber>, false, "\"sequentialNumber\":"},
        {"capacity of a partition", &PartitionOf<&PartitionInfo::capacity>, true,
         "\"isExtended\":false,\"capacity\":"},
        {"usedBytes", &PartitionOf<&PartitionInfo::usedBytes>, true, "\"usedBytes\":"},
        {"freeBytes", &PartitionOf<&PartitionInfo::freeBytes>, true, "\"freeBytes\":"},
    };
    static const struct {
        std::uint64_t value;
        const char* narrow;  // null: does not fit
        const char* wide;
    } values[] = {
        {0, "0", "0"},
        {1, "1", "1"},
        {9, "9", "9"},
        {10, "10", "10"},
        {0x7FFFFFFF, "2147483647", "2147483647"},
        {0x80000000, "2147483648", "2147483648"},
        {0xFFFFFFFE, "4294967294", "4294967294"},
        {0xFFFFFFFF, "-1", "4294967295"},
        {0x100000000, nullptr, "4294967296"},
        {0x7FFFFFFFFFFFFFFF, nullptr, "9223372036854775807"},
        {0x8000000000000000, nullptr, "9223372036854775808"},
        {0xFFFFFFFFFFFFFFFE, nullptr, "18446744073709551614"},
        {0xFFFFFFFFFFFFFFFF, nullptr, "-1"},
    };
    for (const auto& row : rows) {
        for (const auto& value : values) {
            const char* const expected = row.isWide ? value.wide : value.narrow;
            if (expected == nullptr)
                continue;
            SCOPED_TRACE(std::string(row.name) + " " + std::to_string(value.value));
            const std::string document = Written(row.make(value.value));
            const auto start = document.find(row.member);
            ASSERT_NE(start, std::string::npos) << document;
            const auto from = start + std::string(row.member).size();
            EXPECT_EQ(document.substr(from, document.find_first_of(",}", from) - from), expected);
        }
    }
}

TEST(BackupMetadataValues, Literals) {
    constexpr std::uint32_t kHuge = 0xFFFFFFFF;
    static const struct {
        const char* name;
        BackupMetadata (*make)(std::uint64_t value);
        const char* member;
        std::vector<std::pair<std::uint32_t, const char*>> literals;
    } rows[] = {
        {"request of a backup",
         &BackupOf<&BackupInfo::request>,
         "request",
         {{0, "create"}, {1, "update"}, {2, "delete"}, {3, "create"}, {kHuge, "create"}}},
        {"request of a restore point",
         &PointOf<&RestorePointInfo::request>,
         "request",
         {{0, "create"}, {1, "update"}, {2, "delete"}, {3, "create"}, {kHuge, "create"}}},
        {"request of the system",
         &SystemOf<&SystemInfo::request>,
         "request",
         {{0, "create"}, {1, "update"}, {2, "delete"}, {3, "create"}, {kHuge, "create"}}},
        {"type",
         &PointOf<&RestorePointInfo::type>,
         "type",
         {{0, "full"}, {1, "inc"}, {2, "diff"}, {3, "full"}, {kHuge, "full"}}},
        {"state",
         &PointOf<&RestorePointInfo::state>,
         "state",
         {{0, "sound"}, {1, "unavailable"}, {2, "error"}, {3, "sound"}, {kHuge, "sound"}}},
        {"scheduler",
         &BackupOf<&BackupInfo::schedulerState>,
         "schedulerState",
         {{0, "notScheduled"},
          {1, "scheduled"},
          {2, "paused"},
          {3, "notScheduled"},
          {kHuge, "notScheduled"}}},
        {"source",
         &BackupOf<&BackupInfo::sourceType>,
         "sourceType",
         {{0, "entireComputer"},
          {1, "disksAndVolumes"},
          {2, "filesAndFolders"},
          {3, "hvMachine"},
          {4, "entireComputer"},
          {kHuge, "entireComputer"}}},
        {"target of a backup",
         &BackupOf<&BackupInfo::targetType>,
         "targetType",
         {{0, "localFolder"},
          {1, "externalDrive"},
          {2, "networkFolder"},
          {3, "cloudAzure"},
          {4, "cloudAmazon"},
          {5, "localFolder"},
          {7, "localFolder"},
          {kHuge, "localFolder"}}},
        {"target of a restore point",
         &PointOf<&RestorePointInfo::targetType>,
         "targetType",
         {{0, "localFolder"},
          {1, "externalDrive"},
          {2, "networkFolder"},
          {3, "cloudAzure"},
          {4, "cloudAmazon"},
          {5, "localFolder"},
          {kHuge, "localFolder"}}},
    };
    for (const auto& row : rows) {
        for (const auto& [value, literal] : row.literals) {
            const std::string member = std::string("\"") + row.member + "\":\"" + literal + "\"";
            EXPECT_NE(Written(row.make(value)).find(member), std::string::npos) << row.name << " " << value;
        }
    }
}

// A number without a name counts as the first one in the conditions too.
TEST(BackupMetadataValues, OnlyADeletionIsShort) {
    for (const std::uint32_t request : {0u, 1u, 3u, 0x80000002u, 0xFFFFFFFFu}) {
        auto metadata = WithBackup();
        metadata.backups[0].request = request;
        EXPECT_EQ(nlohmann::json::parse(Written(metadata))["backups"][0].size(), 14u) << request;
        metadata = WithRestorePoint();
        metadata.restorePoints[0].request = request;
        EXPECT_EQ(nlohmann::json::parse(Written(metadata))["restorePoints"][0].size(), 21u) << request;
        metadata = WithSystem();
        metadata.system.request = request;
        EXPECT_EQ(nlohmann::json::parse(Written(metadata))["system"].size(), 11u) << request;
    }
}

TEST(BackupMetadataValues, Operations) {
    static const struct {
        std::uint32_t bits;
        const char* member;  // null: none
    } rows[] = {
        {0, nullptr},
        {1, R"("operations":["restore"])"},
        {2, R"("operations":["explore"])"},
        {4, R"("operations":["delete"])"},
        {8, R"("operations":["mailNotification"])"},
        {5, R"("operations":["restore","delete"])"},
        {10, R"("operations":["explore","mailNotification"])"},
        {16, nullptr},
        {0xFFFFFFF0, nullptr},
        {17, R"("operations":["restore"])"},
        {0xFFFFFFFF, R"("operations":["restore","explore","delete","mailNotification"])"},
    };
    for (const auto& row : rows) {
        auto metadata = WithRestorePoint();
        metadata.restorePoints[0].operations = row.bits;
        const std::string document = Written(metadata);
        if (row.member == nullptr)
            EXPECT_EQ(document.find("operations"), std::string::npos) << row.bits;
        else
            EXPECT_NE(document.find(std::string(row.member) + ",\"size\""), std::string::npos) << document;
    }
}

TEST(BackupMetadataValues, TheFlagsOfAPartitionAreFour) {
    bool PartitionInfo::*const flags[] = {&PartitionInfo::isFreeBlock, &PartitionInfo::isUnformatted,
                                          &PartitionInfo::isActive, &PartitionInfo::isExtended};
    const char* const names[] = {"isFreeBlock", "isUnformatted", "isActive", "isExtended"};
    for (std::size_t set = 0; set < 4; ++set) {
        auto metadata = WithPartition();
        metadata.storage[0].partitions[0].*flags[set] = true;
        const auto document = nlohmann::json::parse(Written(metadata));
        const auto& partition = document["storage"]["disks"][0]["partitions"][0];
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_EQ(partition[names[i]], i == set) << names[i];
    }
}

}  // namespace
