// The numbers that host and core agree on in the backup metadata.
#pragma once

#include <cstdint>

namespace backupmetadata {

/// What has become of an entry. For all enumerations: a number without a name counts as the first one.
enum MetadataRequest : std::uint32_t { kCreate = 0, kUpdate = 1, kDelete = 2 };
enum RestorePointType : std::uint32_t { kFull = 0, kIncremental = 1, kDifferential = 2 };
enum RestorePointState : std::uint32_t { kSound = 0, kUnavailable = 1, kError = 2 };
enum SchedulerState : std::uint32_t { kNotScheduled = 0, kScheduled = 1, kPaused = 2 };
enum SourceType : std::uint32_t {
    kEntireComputer = 0,
    kDisksAndVolumes = 1,
    kFilesAndFolders = 2,
    kHvMachine = 3,
};
enum TargetType : std::uint32_t {
    kLocalFolder = 0,
    kExternalDrive = 1,
    kNetworkFolder = 2,
    kCloudAzure = 3,
    kCloudAmazon = 4,
};

/// Bits of RestorePointInfo::operations.
enum RestorePointOperation : std::uint32_t {
    kRestore = 1u << 0,
    kExplore = 1u << 1,
    kDeletePoint = 1u << 2,
    kMailNotification = 1u << 3,
};

}  // namespace backupmetadata
