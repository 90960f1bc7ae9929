// The layouts of the records that the features take and hand out: hosts are built on them, so that each
// number here is interface.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/src/PlainRecords.h"
#include "tests/support/RecordLayout.h"

namespace {

using test::ExpectLayouts;
using test::Layout;

using namespace quillmarkclient;

TEST(FeatureRecords, Sizes) {
    static constexpr Layout rows[] = {
        {"KeyValuePair", sizeof(KeyValuePair), 16},
        {"CustomerRequest", sizeof(CustomerRequest), 32},
        {"RecordList", sizeof(RecordList<DiskInfo>), 16},
        {"SystemInfo", sizeof(SystemInfo), 56},
        {"PartitionInfo", sizeof(PartitionInfo), 88},
        {"DiskInfo", sizeof(DiskInfo), 72},
        {"BackupInfo", sizeof(BackupInfo), 104},
        {"RestorePointInfo", sizeof(RestorePointInfo), 152},
        {"BackupMetadataRecord", sizeof(BackupMetadataRecord), 32},
        {"OnlineReportHead", sizeof(OnlineReportHead), 112},
        {"SectorBytes", sizeof(SectorBytes), 16},
        {"OnlineBackupReportRecord", sizeof(OnlineBackupReportRecord), 224},
        {"OnlineReportRecord", sizeof(OnlineReportRecord), 304},
    };
    ExpectLayouts(rows);
}

TEST(FeatureRecords, Tickets) {
    static constexpr Layout rows[] = {
        {"KeyValuePair.key", offsetof(KeyValuePair, key), 0},
        {"KeyValuePair.value", offsetof(KeyValuePair, value), 8},
        {"CustomerRequest.email", offsetof(CustomerRequest, email), 0},
        {"CustomerRequest.title", offsetof(CustomerRequest, title), 8},
        {"CustomerRequest.description", offsetof(CustomerRequest, description), 16},
        {"CustomerRequest.additionalParameters", offsetof(CustomerRequest, additionalParameters), 24},
    };
    ExpectLayouts(rows);
}

TEST(FeatureRecords, SystemAndStorage) {
    using List = RecordList<DiskInfo>;
    static constexpr Layout rows[] = {
        {"BackupMetadataRecord.system", offsetof(BackupMetadataRecord, system), 0},
        {"BackupMetadataRecord.storage", offsetof(BackupMetadataRecord, storage), 8},
        {"BackupMetadataRecord.backups", offsetof(BackupMetadataRecord, backups), 16},
        {"BackupMetadataRecord.restorePoints", offsetof(BackupMetadataRecord, restorePoints), 24},
        {"List.count", offsetof(List, count), 0},
        {"List.elements", offsetof(List, elements), 8},
        {"SystemInfo.deviceName", offsetof(SystemInfo, deviceName), 0},
        {"SystemInfo.operatingSystemName", offsetof(SystemInfo, operatingSystemName), 8},
        {"SystemInfo.operatingSystemBuild", offsetof(SystemInfo, operatingSystemBuild), 16},
        {"SystemInfo.operatingSystemVersion", offsetof(SystemInfo, operatingSystemVersion), 24},
        {"SystemInfo.isServer", offsetof(SystemInfo, isServer), 32},
        {"SystemInfo.isPartOfDomain", offsetof(SystemInfo, isPartOfDomain), 33},
        {"SystemInfo.memoryAmount", offsetof(SystemInfo, memoryAmount), 36},
        {"SystemInfo.cpuDescription", offsetof(SystemInfo, cpuDescription), 40},
        {"SystemInfo.cpuCores", offsetof(SystemInfo, cpuCores), 48},
        {"SystemInfo.request", offsetof(SystemInfo, request), 52},
        {"DiskInfo.number", offsetof(DiskInfo, number), 0},
        {"DiskInfo.capacity", offsetof(DiskInfo, capacity), 8},
        {"DiskInfo.partitionStyle", offsetof(DiskInfo, partitionStyle), 16},
        {"DiskInfo.diskType", offsetof(DiskInfo, diskType), 24},
        {"DiskInfo.onlineStatus", offsetof(DiskInfo, onlineStatus), 32},
        {"DiskInfo.diskName", offsetof(DiskInfo, diskName), 40},
        {"DiskInfo.diskModel", offsetof(DiskInfo, diskModel), 48},
        {"DiskInfo.partitions", offsetof(DiskInfo, partitions), 56},
        {"PartitionInfo.partitionName", offsetof(PartitionInfo, partitionName), 0},
        {"PartitionInfo.partitionType", offsetof(PartitionInfo, partitionType), 8},
        {"PartitionInfo.fileSystem", offsetof(PartitionInfo, fileSystem), 16},
        {"PartitionInfo.mountPoint", offsetof(PartitionInfo, mountPoint), 24},
        {"PartitionInfo.label", offsetof(PartitionInfo, label), 32},
        {"PartitionInfo.sequentialNumber", offsetof(PartitionInfo, sequentialNumber), 40},
        {"PartitionInfo.isFreeBlock", offsetof(PartitionInfo, isFreeBlock), 44},
        {"PartitionInfo.isUnformatted", offsetof(PartitionInfo, isUnformatted), 45},
        {"PartitionInfo.isActive", offsetof(PartitionInfo, isActive), 46},
        {"PartitionInfo.isExtended", offsetof(PartitionInfo, isExtended), 47},
        {"PartitionInfo.capacity", offsetof(PartitionInfo, capacity), 48},
        {"PartitionInfo.usedBytes", offsetof(PartitionInfo, usedBytes), 56},
        {"PartitionInfo.freeBytes", offsetof(PartitionInfo, freeBytes), 64},
        {"PartitionInfo.logicalPartitions", offsetof(PartitionInfo, logicalPartitions), 72},
    };
    ExpectLayouts(rows);
}

TEST(FeatureRecords, BackupsAndRestorePoints) {
    static constexpr Layout rows[] = {
        {"BackupInfo.backupId", offsetof(BackupInfo, backupId), 0},
        {"BackupInfo.lastDate", offsetof(BackupInfo, lastDate), 8},
        {"BackupInfo.nextDate", offsetof(BackupInfo, nextDate), 16},
        {"BackupInfo.name", offsetof(BackupInfo, name), 24},
        {"BackupInfo.sourceTitle", offsetof(BackupInfo, sourceTitle), 32},
        {"BackupInfo.targetTitle", offsetof(BackupInfo, targetTitle), 40},
        {"BackupInfo.sourceWarning", offsetof(BackupInfo, sourceWarning), 48},
        {"BackupInfo.targetWarning", offsetof(BackupInfo, targetWarning), 56},
        {"BackupInfo.schedulerState", offsetof(BackupInfo, schedulerState), 64},
        {"BackupInfo.sourceType", offsetof(BackupInfo, sourceType), 68},
        {"BackupInfo.targetType", offsetof(BackupInfo, targetType), 72},
        {"BackupInfo.targetTotalSpace", offsetof(BackupInfo, targetTotalSpace), 80},
        {"BackupInfo.targetFreeSpace", offsetof(BackupInfo, targetFreeSpace), 88},
        {"BackupInfo.request", offsetof(BackupInfo, request), 96},
        {"RestorePointInfo.type", offsetof(RestorePointInfo, type), 0},
        {"RestorePointInfo.state", offsetof(RestorePointInfo, state), 4},
        {"RestorePointInfo.backupId", offsetof(RestorePointInfo, backupId), 8},
        {"RestorePointInfo.restorePointId", offsetof(RestorePointInfo, restorePointId), 16},
        {"RestorePointInfo.name", offsetof(RestorePointInfo, name), 24},
        {"RestorePointInfo.container", offsetof(RestorePointInfo, container), 32},
        {"RestorePointInfo.restorePointSource", offsetof(RestorePointInfo, restorePointSource), 40},
        {"RestorePointInfo.restorePointPath", offsetof(RestorePointInfo, restorePointPath), 48},
        {"RestorePointInfo.restorePointArcId", offsetof(RestorePointInfo, restorePointArcId), 56},
        {"RestorePointInfo.restorePointResult", offsetof(RestorePointInfo, restorePointResult), 64},
        {"RestorePointInfo.created", offsetof(RestorePointInfo, created), 72},
        {"RestorePointInfo.finished", offsetof(RestorePointInfo, finished), 80},
        {"RestorePointInfo.lastVerificationDate", offsetof(RestorePointInfo, lastVerificationDate), 88},
        {"RestorePointInfo.verificationResult", offsetof(RestorePointInfo, verificationResult), 96},
        {"RestorePointInfo.error", offsetof(RestorePointInfo, error), 104},
        {"RestorePointInfo.warning", offsetof(RestorePointInfo, warning), 112},
        {"RestorePointInfo.targetType", offsetof(RestorePointInfo, targetType), 120},
        {"RestorePointInfo.isEncrypted", offsetof(RestorePointInfo, isEncrypted), 124},
        {"RestorePointInfo.isPinned", offsetof(RestorePointInfo, isPinned), 125},
        {"RestorePointInfo.operations", offsetof(RestorePointInfo, operations), 128},
        {"RestorePointInfo.size", offsetof(RestorePointInfo, size), 136},
        {"RestorePointInfo.request", offsetof(RestorePointInfo, request), 144},
    };
    ExpectLayouts(rows);
}

TEST(FeatureRecords, Reports) {
    static constexpr Layout rows[] = {
        {"OnlineReportHead.Report_Name", offsetof(OnlineReportHead, Report_Name), 0},
        {"OnlineReportHead.Report_Status", offsetof(OnlineReportHead, Report_Status), 8},
        {"OnlineReportHead.Report_Date", offsetof(OnlineReportHead, Report_Date), 16},
        {"OnlineReportHead.Tool_Name", offsetof(OnlineReportHead, Tool_Name), 24},
        {"OnlineReportHead.Service_Tag", offsetof(OnlineReportHead, Service_Tag), 32},
        {"OnlineReportHead.Report_ID", offsetof(OnlineReportHead, Report_ID), 40},
        {"OnlineReportHead.Person", offsetof(OnlineReportHead, Person), 48},
        {"OnlineReportHead.Company", offsetof(OnlineReportHead, Company), 56},
        {"OnlineReportHead.Company_Address", offsetof(OnlineReportHead, Company_Address), 64},
        {"OnlineReportHead.Computer_Name", offsetof(OnlineReportHead, Computer_Name), 72},
        {"OnlineReportHead.Operation_System", offsetof(OnlineReportHead, Operation_System), 80},
        {"OnlineReportHead.Product_ID", offsetof(OnlineReportHead, Product_ID), 88},
        {"OnlineReportHead.Bios_Version", offsetof(OnlineReportHead, Bios_Version), 96},
        {"OnlineReportHead.Bios_Date", offsetof(OnlineReportHead, Bios_Date), 104},
        {"OnlineBackupReportRecord.head", offsetof(OnlineBackupReportRecord, head), 0},
        {"OnlineBackupReportRecord.Operation", offsetof(OnlineBackupReportRecord, Operation), 112},
        {"OnlineBackupReportRecord.Backup_Type", offsetof(OnlineBackupReportRecord, Backup_Type), 120},
        {"OnlineBackupReportRecord.Backup_Object", offsetof(OnlineBackupReportRecord, Backup_Object), 128},
        {"OnlineBackupReportRecord.Backup_Size", offsetof(OnlineBackupReportRecord, Backup_Size), 136},
        {"OnlineBackupReportRecord.Increment_Size", offsetof(OnlineBackupReportRecord, Increment_Size), 144},
        {"OnlineBackupReportRecord.Control_Sum", offsetof(OnlineBackupReportRecord, Control_Sum), 152},
        {"OnlineBackupReportRecord.Backup_Destination",
         offsetof(OnlineBackupReportRecord, Backup_Destination), 160},
        {"OnlineBackupReportRecord.Disk_Space_Available",
         offsetof(OnlineBackupReportRecord, Disk_Space_Available), 168},
        {"OnlineBackupReportRecord.Total_Files", offsetof(OnlineBackupReportRecord, Total_Files), 176},
        {"OnlineBackupReportRecord.Container_Type", offsetof(OnlineBackupReportRecord, Container_Type), 184},
        {"OnlineBackupReportRecord.Encryption", offsetof(OnlineBackupReportRecord, Encryption), 192},
        {"OnlineBackupReportRecord.Backup_Compression",
         offsetof(OnlineBackupReportRecord, Backup_Compression), 200},
        {"OnlineBackupReportRecord.Backup_Splitting", offsetof(OnlineBackupReportRecord, Backup_Splitting),
         208},
        {"OnlineBackupReportRecord.Excludes", offsetof(OnlineBackupReportRecord, Excludes), 216},
        {"SectorBytes.bytes", offsetof(SectorBytes, bytes), 0},
        {"SectorBytes.length", offsetof(SectorBytes, length), 8},
        {"OnlineReportRecord.head", offsetof(OnlineReportRecord, head), 0},
        {"OnlineReportRecord.Operation", offsetof(OnlineReportRecord, Operation), 112},
        {"OnlineReportRecord.Wipe_Object", offsetof(OnlineReportRecord, Wipe_Object), 120},
        {"OnlineReportRecord.Serial_Number", offsetof(OnlineReportRecord, Serial_Number), 128},
        {"OnlineReportRecord.Model_Number", offsetof(OnlineReportRecord, Model_Number), 136},
        {"OnlineReportRecord.Disk_ID", offsetof(OnlineReportRecord, Disk_ID), 144},
        {"OnlineReportRecord.Object_Size", offsetof(OnlineReportRecord, Object_Size), 152},
        {"OnlineReportRecord.Start_Time", offsetof(OnlineReportRecord, Start_Time), 160},
        {"OnlineReportRecord.Duration", offsetof(OnlineReportRecord, Duration), 168},
        {"OnlineReportRecord.Wipe_Stamp", offsetof(OnlineReportRecord, Wipe_Stamp), 176},
        {"OnlineReportRecord.Wipe_Method", offsetof(OnlineReportRecord, Wipe_Method), 184},
        {"OnlineReportRecord.Pass_Count", offsetof(OnlineReportRecord, Pass_Count), 192},
        {"OnlineReportRecord.Verify_Pass_Count", offsetof(OnlineReportRecord, Verify_Pass_Count), 196},
        {"OnlineReportRecord.Checked_Sectors_InPercents",
         offsetof(OnlineReportRecord, Checked_Sectors_InPercents), 200},
        {"OnlineReportRecord.Mask_1", offsetof(OnlineReportRecord, Mask_1), 201},
        {"OnlineReportRecord.Mask_2", offsetof(OnlineReportRecord, Mask_2), 202},
        {"OnlineReportRecord.Mask_3", offsetof(OnlineReportRecord, Mask_3), 203},
        {"OnlineReportRecord.Mask_4", offsetof(OnlineReportRecord, Mask_4), 204},
        {"OnlineReportRecord.Pass_Count_1", offsetof(OnlineReportRecord, Pass_Count_1), 208},
        {"OnlineReportRecord.Pass_Count_2", offsetof(OnlineReportRecord, Pass_Count_2), 212},
        {"OnlineReportRecord.Pass_Count_3", offsetof(OnlineReportRecord, Pass_Count_3), 216},
        {"OnlineReportRecord.Pass_Count_4", offsetof(OnlineReportRecord, Pass_Count_4), 220},
        {"OnlineReportRecord.Group_Passes", offsetof(OnlineReportRecord, Group_Passes), 224},
        {"OnlineReportRecord.Total_Bad_Blocks", offsetof(OnlineReportRecord, Total_Bad_Blocks), 228},
        {"OnlineReportRecord.First_Sector", offsetof(OnlineReportRecord, First_Sector), 232},
        {"OnlineReportRecord.First_Sector_Dump", offsetof(OnlineReportRecord, First_Sector_Dump), 240},
        {"OnlineReportRecord.Middle_Sector", offsetof(OnlineReportRecord, Middle_Sector), 256},
        {"OnlineReportRecord.Middle_Sector_Dump", offsetof(OnlineReportRecord, Middle_Sector_Dump), 264},
        {"OnlineReportRecord.End_Sector", offsetof(OnlineReportRecord, End_Sector), 280},
        {"OnlineReportRecord.End_Sector_Dump", offsetof(OnlineReportRecord, End_Sector_Dump), 288},
    };
    ExpectLayouts(rows);
}

// 0 for what is no unsigned number; a bool is none.
template <class Field, class Record>
constexpr std::size_t Bits(Field Record::* /*field*/) {
    constexpr bool isNumber = std::is_same_v<Field, std::uint8_t> || std::is_same_v<Field, std::uint32_t> ||
                              std::is_same_v<Field, std::uint64_t>;
    return isNumber ? sizeof(Field) * 8 : 0;
}

// Offsets alone leave these open wherever padding follows.
TEST(FeatureRecords, NumbersOfTheMetadata) {
    static constexpr Layout rows[] = {
        {"RecordList.count", Bits(&RecordList<DiskInfo>::count), 32},
        {"SystemInfo.isServer", Bits(&SystemInfo::isServer), 8},
        {"SystemInfo.isPartOfDomain", Bits(&SystemInfo::isPartOfDomain), 8},
        {"SystemInfo.memoryAmount", Bits(&SystemInfo::memoryAmount), 32},
        {"SystemInfo.cpuCores", Bits(&SystemInfo::cpuCores), 32},
        {"SystemInfo.request", Bits(&SystemInfo::request), 32},
        {"DiskInfo.number", Bits(&DiskInfo::number), 32},
        {"DiskInfo.capacity", Bits(&DiskInfo::capacity), 64},
        {"PartitionInfo.sequentialNumber", Bits(&PartitionInfo::sequentialNumber), 32},
        {"PartitionInfo.isFreeBlock", Bits(&PartitionInfo::isFreeBlock), 8},
        {"PartitionInfo.isUnformatted", Bits(&PartitionInfo::isUnformatted), 8},
        {"PartitionInfo.isActive", Bits(&PartitionInfo::isActive), 8},
        {"PartitionInfo.isExtended", Bits(&PartitionInfo::isExtended), 8},
        {"PartitionInfo.capacity", Bits(&PartitionInfo::capacity), 64},
        {"PartitionInfo.usedBytes", Bits(&PartitionInfo::usedBytes), 64},
        {"PartitionInfo.freeBytes", Bits(&PartitionInfo::freeBytes), 64},
        {"BackupInfo.schedulerState", Bits(&BackupInfo::schedulerState), 32},
        {"BackupInfo.sourceType", Bits(&BackupInfo::sourceType), 32},
        {"BackupInfo.targetType", Bits(&BackupInfo::targetType), 32},
        {"BackupInfo.targetTotalSpace", Bits(&BackupInfo::targetTotalSpace), 64},
        {"BackupInfo.targetFreeSpace", Bits(&BackupInfo::targetFreeSpace), 64},
        {"BackupInfo.request", Bits(&BackupInfo::request), 32},
        {"RestorePointInfo.type", Bits(&RestorePointInfo::type), 32},
        {"RestorePointInfo.state", Bits(&RestorePointInfo::state), 32},
        {"RestorePointInfo.targetType", Bits(&RestorePointInfo::targetType), 32},
        {"RestorePointInfo.isEncrypted", Bits(&RestorePointInfo::isEncrypted), 8},
        {"RestorePointInfo.isPinned", Bits(&RestorePointInfo::isPinned), 8},
        {"RestorePointInfo.operations", Bits(&RestorePointInfo::operations), 32},
        {"RestorePointInfo.size", Bits(&RestorePointInfo::size), 64},
        {"RestorePointInfo.request", Bits(&RestorePointInfo::request), 32},
    };
    ExpectLayouts(rows);
}

TEST(FeatureRecords, NumbersOfTheReports) {
    static constexpr Layout rows[] = {
        {"OnlineBackupReportRecord.Total_Files", Bits(&OnlineBackupReportRecord::Total_Files), 32},
        {"SectorBytes.length", Bits(&SectorBytes::length), 32},
        {"OnlineReportRecord.Pass_Count", Bits(&OnlineReportRecord::Pass_Count), 32},
        {"OnlineReportRecord.Verify_Pass_Count", Bits(&OnlineReportRecord::Verify_Pass_Count), 32},
        {"OnlineReportRecord.Checked_Sectors_InPercents",
         Bits(&OnlineReportRecord::Checked_Sectors_InPercents), 8},
        {"OnlineReportRecord.Mask_1", Bits(&OnlineReportRecord::Mask_1), 8},
        {"OnlineReportRecord.Mask_2", Bits(&OnlineReportRecord::Mask_2), 8},
        {"OnlineReportRecord.Mask_3", Bits(&OnlineReportRecord::Mask_3), 8},
        {"OnlineReportRecord.Mask_4", Bits(&OnlineReportRecord::Mask_4), 8},
        {"OnlineReportRecord.Pass_Count_1", Bits(&OnlineReportRecord::Pass_Count_1), 32},
        {"OnlineReportRecord.Pass_Count_2", Bits(&OnlineReportRecord::Pass_Count_2), 32},
        {"OnlineReportRecord.Pass_Count_3", Bits(&OnlineReportRecord::Pass_Count_3), 32},
        {"OnlineReportRecord.Pass_Count_4", Bits(&OnlineReportRecord::Pass_Count_4), 32},
        {"OnlineReportRecord.Group_Passes", Bits(&OnlineReportRecord::Group_Passes), 32},
        {"OnlineReportRecord.Total_Bad_Blocks", Bits(&OnlineReportRecord::Total_Bad_Blocks), 32},
        {"OnlineReportRecord.First_Sector", Bits(&OnlineReportRecord::First_Sector), 64},
        {"OnlineReportRecord.Middle_Sector", Bits(&OnlineReportRecord::Middle_Sector), 64},
        {"OnlineReportRecord.End_Sector", Bits(&OnlineReportRecord::End_Sector), 64},
    };
    ExpectLayouts(rows);
    EXPECT_TRUE((std::is_same_v<decltype(SectorBytes::bytes), const std::uint8_t*>));
}

template <class Record>
constexpr bool IsPlain() {
    return std::is_standard_layout_v<Record> && std::is_trivial_v<Record>;
}

TEST(FeatureRecords, HoldNothingButPlainFields) {
    EXPECT_TRUE(IsPlain<CustomerRequest>() && IsPlain<KeyValuePair>());
    EXPECT_TRUE(IsPlain<BackupMetadataRecord>() && IsPlain<SystemInfo>() && IsPlain<DiskInfo>());
    EXPECT_TRUE(IsPlain<PartitionInfo>() && IsPlain<BackupInfo>() && IsPlain<RestorePointInfo>());
    EXPECT_TRUE(IsPlain<OnlineBackupReportRecord>() && IsPlain<OnlineReportRecord>());
}

}  // namespace
