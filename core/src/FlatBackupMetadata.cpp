// The backup metadata: from the host's record to the core's, and on its way.
#include <cstddef>

#include "core/src/FlatOperations.h"
#include "core/src/FlatSupport.h"

namespace quillmarkclient {

namespace {

backupmetadata::SystemInfo ToCore(const SystemInfo& from) {
    backupmetadata::SystemInfo to;
    to.deviceName = from.deviceName;
    to.operatingSystemName = from.operatingSystemName;
    to.operatingSystemBuild = from.operatingSystemBuild;
    to.operatingSystemVersion = from.operatingSystemVersion;
    to.isServer = from.isServer != 0;
    to.isPartOfDomain = from.isPartOfDomain != 0;
    to.memoryAmount = from.memoryAmount;
    to.cpuDescription = from.cpuDescription;
    to.cpuCores = from.cpuCores;
    to.request = from.request;
    return to;
}

// All but the logical partitions.
void CopyPartition(const PartitionInfo& from, backupmetadata::PartitionInfo& to) {
    to.partitionName = from.partitionName;
    to.partitionType = from.partitionType;
    to.fileSystem = from.fileSystem;
    to.mountPoint = from.mountPoint;
    to.label = from.label;
    to.sequentialNumber = from.sequentialNumber;
    to.isFreeBlock = from.isFreeBlock != 0;
    to.isUnformatted = from.isUnformatted != 0;
    to.isActive = from.isActive != 0;
    to.isExtended = from.isExtended != 0;
    to.capacity = from.capacity;
    to.usedBytes = from.usedBytes;
    to.freeBytes = from.freeBytes;
}

struct PartitionStep {
    RecordList<PartitionInfo> from;
    portable_stl::vector<backupmetadata::PartitionInfo>* to;
};

// With a list of what is still to be copied, since the depth is the host's to choose. The elements of a list
// get their places at once, so that the pointers into it hold.
void CopyPartitions(const RecordList<PartitionInfo>& list,
                    portable_stl::vector<backupmetadata::PartitionInfo>& partitions) {
    portable_stl::vector<PartitionStep> steps;
    steps.push_back(PartitionStep{list, &partitions}).value();
    while (!steps.empty()) {
        const PartitionStep step = steps.back();
        steps.pop_back();
        if (step.from.elements == nullptr)
            continue;
        step.to->resize(step.from.count).value();
        for (std::size_t i = 0; i < step.from.count; ++i) {
            const PartitionInfo& from = step.from.elements[i];
            CopyPartition(from, (*step.to)[i]);
            if (from.logicalPartitions.count != 0)
                steps.push_back(PartitionStep{from.logicalPartitions, &(*step.to)[i].children}).value();
        }
    }
}

backupmetadata::DiskInfo ToCore(const DiskInfo& from) {
    backupmetadata::DiskInfo to;
    to.number = from.number;
    to.capacity = from.capacity;
    to.partitionStyle = from.partitionStyle;
    to.diskType = from.diskType;
    to.onlineStatus = from.onlineStatus;
    to.diskName = from.diskName;
    to.diskModel = from.diskModel;
    CopyPartitions(from.partitions, to.partitions);
    return to;
}

backupmetadata::BackupInfo ToCore(const BackupInfo& from) {
    backupmetadata::BackupInfo to;
    to.backupId = from.backupId;
    to.lastDate = from.lastDate;
    to.nextDate = from.nextDate;
    to.name = from.name;
    to.sourceTitle = from.sourceTitle;
    to.targetTitle = from.targetTitle;
    to.sourceWarning = from.sourceWarning;
    to.targetWarning = from.targetWarning;
    to.schedulerState = from.schedulerState;
    to.sourceType = from.sourceType;
    to.targetType = from.targetType;
    to.targetTotalSpace = from.targetTotalSpace;
    to.targetFreeSpace = from.targetFreeSpace;
    to.request = from.request;
    return to;
}

backupmetadata::RestorePointInfo ToCore(const RestorePointInfo& from) {
    backupmetadata::RestorePointInfo to;
    to.type = from.type;
    to.state = from.state;
    to.backupId = from.backupId;
    to.restorePointId = from.restorePointId;
    to.name = from.name;
    to.container = from.container;
    to.restorePointSource = from.restorePointSource;
    to.restorePointPath = from.restorePointPath;
    to.restorePointArcId = from.restorePointArcId;
    to.restorePointResult = from.restorePointResult;
    to.created = from.created;
    to.finished = from.finished;
    to.lastVerificationDate = from.lastVerificationDate;
    to.verificationResult = from.verificationResult;
    to.error = from.error;
    to.warning = from.warning;
    to.targetType = from.targetType;
    to.isEncrypted = from.isEncrypted != 0;
    to.isPinned = from.isPinned != 0;
    to.operations = from.operations;
    to.size = from.size;
    to.request = from.request;
    return to;
}

// Gives whether there is a section.
template <class Element, class CoreElement>
bool CopySection(const RecordList<Element>* section, portable_stl::vector<CoreElement>& elements) {
    if (section == nullptr)
        return false;
    const std::size_t count = section->elements != nullptr ? section->count : 0;
    elements.reserve(count).value();
    for (std::size_t i = 0; i < count; ++i)
        elements.push_back(ToCore(section->elements[i])).value();
    return true;
}

backupmetadata::BackupMetadata ToCore(const BackupMetadataRecord& record) {
    backupmetadata::BackupMetadata metadata;
    metadata.hasSystem = record.system != nullptr;
    if (metadata.hasSystem)
        metadata.system = ToCore(*record.system);
    metadata.hasStorage = CopySection(record.storage, metadata.storage);
    metadata.hasBackups = CopySection(record.backups, metadata.backups);
    metadata.hasRestorePoints = CopySection(record.restorePoints, metadata.restorePoints);
    return metadata;
}

}  // namespace

ResultCode SendBackupMetadata(ClientContext* context, const BackupMetadataRecord* record,
                              void* platformContext) {
    if (!HasCore(context))
        return Report(ResultCode::kNotInitialized);
    if (record == nullptr)
        return Report(ResultCode::kInvalidParameters);
    const auto code = context->core->SendBackupMetadata(ToCore(*record), platformContext);
    return IsSuccess(code) ? code : Report(code);
}

}  // namespace quillmarkclient
