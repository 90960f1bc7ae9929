#pragma once

#include <cstdint>

#include "core/src/client/BackupMetadataValues.h"

// The backup metadata as it crosses the native boundary. Belongs to the caller and is copied at once. Texts
// are zero-terminated UTF-8, a null pointer reads as empty; dates are texts in whatever form the host has
// them. A field of 8 bits is a boolean. A number that is all ones in its width means unknown. Units are the
// host's own: the numbers go to the service as they are.
namespace quillmarkclient {

/// A count and a pointer to the first element, the elements side by side; a null pointer means none.
template <class Element>
struct RecordList {
    std::uint32_t count;
    const Element* elements;
};

/// The computer.
struct SystemInfo {
    const char* deviceName;
    const char* operatingSystemName;
    const char* operatingSystemBuild;
    const char* operatingSystemVersion;
    std::uint8_t isServer;
    std::uint8_t isPartOfDomain;
    std::uint32_t memoryAmount;
    const char* cpuDescription;
    std::uint32_t cpuCores;
    std::uint32_t request;  // MetadataRequest
};
static_assert(sizeof(void*) != 8 || sizeof(SystemInfo) == 56);

/// A partition of a disk, with the logical ones inside it; these may have some again.
struct PartitionInfo {
    const char* partitionName;
    const char* partitionType;
    const char* fileSystem;
    const char* mountPoint;
    const char* label;
    std::uint32_t sequentialNumber;
    std::uint8_t isFreeBlock;
    std::uint8_t isUnformatted;
    std::uint8_t isActive;
    std::uint8_t isExtended;
    std::uint64_t capacity;
    std::uint64_t usedBytes;
    std::uint64_t freeBytes;
    RecordList<PartitionInfo> logicalPartitions;
};
static_assert(sizeof(void*) != 8 || sizeof(PartitionInfo) == 88);

struct DiskInfo {
    std::uint32_t number;
    std::uint64_t capacity;
    const char* partitionStyle;
    const char* diskType;
    const char* onlineStatus;
    const char* diskName;
    const char* diskModel;
    RecordList<PartitionInfo> partitions;
};
static_assert(sizeof(void*) != 8 || sizeof(DiskInfo) == 72);

/// A backup job.
struct BackupInfo {
    const char* backupId;
    const char* lastDate;
    const char* nextDate;
    const char* name;
    const char* sourceTitle;
    const char* targetTitle;
    const char* sourceWarning;
    const char* targetWarning;
    std::uint32_t schedulerState;  // SchedulerState
    std::uint32_t sourceType;      // SourceType
    std::uint32_t targetType;      // TargetType
    std::uint64_t targetTotalSpace;
    std::uint64_t targetFreeSpace;
    std::uint32_t request;  // MetadataRequest
};
static_assert(sizeof(void*) != 8 || sizeof(BackupInfo) == 104);

/// What one run of a backup job has made.
struct RestorePointInfo {
    std::uint32_t type;   // RestorePointType
    std::uint32_t state;  // RestorePointState
    const char* backupId;
    const char* restorePointId;
    const char* name;
    const char* container;
    const char* restorePointSource;
    const char* restorePointPath;
    const char* restorePointArcId;
    const char* restorePointResult;
    const char* created;
    const char* finished;
    const char* lastVerificationDate;
    const char* verificationResult;
    const char* error;
    const char* warning;
    std::uint32_t targetType;  // TargetType
    std::uint8_t isEncrypted;
    std::uint8_t isPinned;
    std::uint32_t operations;  // bits of RestorePointOperation
    std::uint64_t size;
    std::uint32_t request;  // MetadataRequest
};
static_assert(sizeof(void*) != 8 || sizeof(RestorePointInfo) == 152);

/// Four sections; a null pointer leaves a section out.
struct BackupMetadataRecord {
    const SystemInfo* system;
    const RecordList<DiskInfo>* storage;
    const RecordList<BackupInfo>* backups;
    const RecordList<RestorePointInfo>* restorePoints;
};

}  // namespace quillmarkclient
