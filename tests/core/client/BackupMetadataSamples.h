// Metadata records for tests, and the documents made of them.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "core/src/client/BackupMetadata.h"
#include "tests/core/json/JsonTestSupport.h"

namespace metadata_test {

using backupmetadata::BackupInfo;
using backupmetadata::BackupMetadata;
using backupmetadata::DiskInfo;
using backupmetadata::PartitionInfo;
using backupmetadata::RestorePointInfo;
using backupmetadata::SystemInfo;
using json_test::Bytes;

inline std::string Written(const BackupMetadata& metadata, const char* pcId = nullptr) {
    const portable_stl::string id = pcId;
    portable_stl::string text = "former";
    EXPECT_TRUE(backupmetadata::WriteMetadataDocument(metadata, pcId != nullptr ? &id : nullptr, text));
    return Bytes(text);
}

inline BackupMetadata WithBackup() {
    BackupMetadata metadata;
    metadata.hasBackups = true;
    metadata.backups.resize(1).value();
    return metadata;
}

inline BackupMetadata WithRestorePoint() {
    BackupMetadata metadata;
    metadata.hasRestorePoints = true;
    metadata.restorePoints.resize(1).value();
    return metadata;
}

inline BackupMetadata WithSystem() {
    BackupMetadata metadata;
    metadata.hasSystem = true;
    return metadata;
}

inline BackupMetadata WithDisk() {
    BackupMetadata metadata;
    metadata.hasStorage = true;
    metadata.storage.resize(1).value();
    return metadata;
}

inline BackupMetadata WithPartition() {
    BackupMetadata metadata = WithDisk();
    metadata.storage[0].partitions.resize(1).value();
    return metadata;
}

// No member keeps its first value, and each text is another.
inline void Fill(BackupInfo& backup) {
    backup.backupId = "b-1";
    backup.lastDate = "2024-01-02";
    backup.nextDate = "2024/02/03";
    backup.name = "Job \"one\"";
    backup.sourceTitle = "C:\\";
    backup.targetTitle = "NAS";
    backup.sourceWarning = "sw";
    backup.targetWarning = "tw";
    backup.schedulerState = 1;
    backup.sourceType = 2;
    backup.targetType = 3;
    backup.targetTotalSpace = 2000;
    backup.targetFreeSpace = 1000;
    backup.request = 1;
}

inline void Fill(RestorePointInfo& point) {
    point.type = 1;
    point.state = 2;
    point.backupId = "b-1";
    point.restorePointId = "r-1";
    point.name = "n";
    point.container = "c";
    point.restorePointSource = "src";
    point.restorePointPath = "/path";
    point.restorePointArcId = "arc";
    point.restorePointResult = "res";
    point.created = "cr";
    point.finished = "fi";
    point.lastVerificationDate = "lv";
    point.verificationResult = "vr";
    point.error = "er";
    point.warning = "wa";
    point.targetType = 4;
    point.isEncrypted = true;
    point.isPinned = true;
    point.operations = 15;
    point.size = 1099511627776;
    point.request = 1;
}

}  // namespace metadata_test
