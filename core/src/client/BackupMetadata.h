// What a backup product tells the service about its computer: the record, and the document made of it.
#pragma once

#include <cstdint>

#include "core/src/client/BackupMetadataValues.h"
#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace backupmetadata {

// The record. Texts are the host's, UTF-8, and not looked into. A number that is all ones means unknown.

struct SystemInfo {
    portable_stl::string deviceName;
    portable_stl::string operatingSystemName;
    portable_stl::string operatingSystemBuild;
    portable_stl::string operatingSystemVersion;
    bool isServer = false;
    bool isPartOfDomain = false;
    std::uint32_t memoryAmount = 0;
    portable_stl::string cpuDescription;
    std::uint32_t cpuCores = 0;
    std::uint32_t request = kCreate;  // MetadataRequest
};

/// A partition, with the logical ones inside it. Any depth; destroyed by a loop.
struct PartitionInfo {
    portable_stl::string partitionName;
    portable_stl::string partitionType;
    portable_stl::string fileSystem;
    portable_stl::string mountPoint;
    portable_stl::string label;
    std::uint32_t sequentialNumber = 0;
    bool isFreeBlock = false;
    bool isUnformatted = false;
    bool isActive = false;
    bool isExtended = false;
    std::uint64_t capacity = 0;
    std::uint64_t usedBytes = 0;
    std::uint64_t freeBytes = 0;
    portable_stl::vector<PartitionInfo> children;  // the logical partitions
    PartitionInfo* parent = nullptr;               // of use to the destructor only

    PartitionInfo() noexcept = default;
    PartitionInfo(const PartitionInfo&) = delete;
    PartitionInfo& operator=(const PartitionInfo&) = delete;
    PartitionInfo(PartitionInfo&&) noexcept = default;
    PartitionInfo& operator=(PartitionInfo&&) noexcept = default;
    ~PartitionInfo();
};

struct DiskInfo {
    std::uint32_t number = 0;
    std::uint64_t capacity = 0;
    portable_stl::string partitionStyle;
    portable_stl::string diskType;
    portable_stl::string onlineStatus;
    portable_stl::string diskName;
    portable_stl::string diskModel;
    portable_stl::vector<PartitionInfo> partitions;
};

struct BackupInfo {
    portable_stl::string backupId;
    portable_stl::string lastDate;
    portable_stl::string nextDate;
    portable_stl::string name;
    portable_stl::string sourceTitle;
    portable_stl::string targetTitle;
    portable_stl::string sourceWarning;
    portable_stl::string targetWarning;
    std::uint32_t schedulerState = kNotScheduled;  // SchedulerState
    std::uint32_t sourceType = kEntireComputer;    // SourceType
    std::uint32_t targetType = kLocalFolder;       // TargetType
    std::uint64_t targetTotalSpace = 0;
    std::uint64_t targetFreeSpace = 0;
    std::uint32_t request = kCreate;  // MetadataRequest
};

struct RestorePointInfo {
    std::uint32_t type = kFull;    // RestorePointType
    std::uint32_t state = kSound;  // RestorePointState
    portable_stl::string backupId;
    portable_stl::string restorePointId;
    portable_stl::string name;
    portable_stl::string container;
    portable_stl::string restorePointSource;
    portable_stl::string restorePointPath;
    portable_stl::string restorePointArcId;
    portable_stl::string restorePointResult;
    portable_stl::string created;
    portable_stl::string finished;
    portable_stl::string lastVerificationDate;
    portable_stl::string verificationResult;
    portable_stl::string error;
    portable_stl::string warning;
    std::uint32_t targetType = kLocalFolder;  // TargetType
    bool isEncrypted = false;
    bool isPinned = false;
    std::uint32_t operations = 0;  // bits of RestorePointOperation; others are ignored
    std::uint64_t size = 0;
    std::uint32_t request = kCreate;  // MetadataRequest
};

/// The four sections, each with a mark that tells whether the host gave it.
struct BackupMetadata {
    bool hasSystem = false;
    SystemInfo system;
    bool hasStorage = false;
    portable_stl::vector<DiskInfo> storage;
    bool hasBackups = false;
    portable_stl::vector<BackupInfo> backups;
    bool hasRestorePoints = false;
    portable_stl::vector<RestorePointInfo> restorePoints;
};

/// Replaces `text` by the document, compact JSON. False when it can't be written.
/// \param pcId  the machine's identifier; null leaves the member out
[[nodiscard]] bool WriteMetadataDocument(const BackupMetadata& metadata, const portable_stl::string* pcId,
                                         portable_stl::string& text);

}  // namespace backupmetadata
