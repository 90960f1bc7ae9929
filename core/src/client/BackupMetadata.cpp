#include "core/src/client/BackupMetadata.h"

#include <cstddef>
#include <limits>

#include "core/src/core/helper.h"
#include "core/src/json/Json.h"
#include "portable_stl/tree.h"

namespace backupmetadata {

using json::JsonNode;
using portable_stl::string;
using portable_stl::vector;
using quillmarkclient_core::ToDecimal;

PartitionInfo::~PartitionInfo() {
    portable_stl::destroy_children(*this);
}

namespace {

// The literals of an enumeration, by number.
struct Literals {
    template <std::size_t size>
    constexpr Literals(const char* const (&list)[size]) : texts(list), count(size) {}

    const char* const* texts;
    std::size_t count;
};

constexpr const char* kRequestTexts[] = {"create", "update", "delete"};
constexpr const char* kTypeTexts[] = {"full", "inc", "diff"};
constexpr const char* kStateTexts[] = {"sound", "unavailable", "error"};
constexpr const char* kSchedulerTexts[] = {"notScheduled", "scheduled", "paused"};
constexpr const char* kSourceTexts[] = {"entireComputer", "disksAndVolumes", "filesAndFolders", "hvMachine"};
constexpr const char* kTargetTexts[] = {
    "localFolder", "externalDrive", "networkFolder", "cloudAzure", "cloudAmazon",
};

constexpr Literals kRequests = kRequestTexts;
constexpr Literals kTypes = kTypeTexts;
constexpr Literals kStates = kStateTexts;
constexpr Literals kSchedulerStates = kSchedulerTexts;
constexpr Literals kSourceTypes = kSourceTexts;
constexpr Literals kTargetTypes = kTargetTexts;

// By bit.
constexpr const char* kOperationTexts[] = {"restore", "explore", "delete", "mailNotification"};

// The ways to write a member; each is one kind in the tables below.

template <auto field, class Record>
void Text(JsonNode& object, const char* name, const Record& record) {
    json::AddChild(object, name, record.*field, true);
}

template <auto field, class Record>
void Number(JsonNode& object, const char* name, const Record& record) {
    auto number = record.*field;
    const bool isUnknown = number == std::numeric_limits<decltype(number)>::max();
    json::AddChild(object, name, isUnknown ? ToDecimal(-1) : ToDecimal(number), false);
}

template <auto field, class Record>
void Bool(JsonNode& object, const char* name, const Record& record) {
    json::AddChild(object, name, record.*field ? "true" : "false", false);
}

template <auto field, const Literals& literals, class Record>
void Literal(JsonNode& object, const char* name, const Record& record) {
    const std::uint32_t number = record.*field;
    json::AddChild(object, name, literals.texts[number < literals.count ? number : 0], true);
}

void Operations(JsonNode& object, const char* name, const RestorePointInfo& point) {
    constexpr std::uint32_t kKnown = kRestore | kExplore | kDeletePoint | kMailNotification;
    if ((point.operations & kKnown) == 0)
        return;
    JsonNode& list = json::AddArray(object, name);
    std::uint32_t bit = 1;
    for (const char* const text : kOperationTexts) {
        if ((point.operations & bit) != 0)
            json::AddChild(list, "", text, true);
        bit <<= 1;
    }
}

enum class When : std::uint8_t {
    kAlways,
    kKept,  // not when the entry tells of a deletion
};

template <class Record>
struct Member {
    const char* name;
    void (*write)(JsonNode& object, const char* name, const Record& record);
    When when;
};

using enum When;

constexpr Member<BackupInfo> kBackupMembers[] = {
    {"backupId", Text<&BackupInfo::backupId>, kAlways},
    {"lastDate", Text<&BackupInfo::lastDate>, kKept},
    {"nextDate", Text<&BackupInfo::nextDate>, kKept},
    {"name", Text<&BackupInfo::name>, kKept},
    {"schedulerState", Literal<&BackupInfo::schedulerState, kSchedulerStates>, kKept},
    {"sourceTitle", Text<&BackupInfo::sourceTitle>, kKept},
    {"sourceType", Literal<&BackupInfo::sourceType, kSourceTypes>, kKept},
    {"sourceWarning", Text<&BackupInfo::sourceWarning>, kKept},
    {"targetTitle", Text<&BackupInfo::targetTitle>, kKept},
    {"targetType", Literal<&BackupInfo::targetType, kTargetTypes>, kKept},
    {"targetWarning", Text<&BackupInfo::targetWarning>, kKept},
    {"targetFreeSpace", Number<&BackupInfo::targetFreeSpace>, kKept},
    {"targetTotalSpace", Number<&BackupInfo::targetTotalSpace>, kKept},
    {"request", Literal<&BackupInfo::request, kRequests>, kAlways},
};

constexpr Member<RestorePointInfo> kRestorePointMembers[] = {
    {"container", Text<&RestorePointInfo::container>, kKept},
    {"backupId", Text<&RestorePointInfo::backupId>, kAlways},
    {"restorePointId", Text<&RestorePointInfo::restorePointId>, kAlways},
    {"created", Text<&RestorePointInfo::created>, kKept},
    {"finished", Text<&RestorePointInfo::finished>, kKept},
    {"error", Text<&RestorePointInfo::error>, kKept},
    {"warning", Text<&RestorePointInfo::warning>, kKept},
    {"isEncrypted", Bool<&RestorePointInfo::isEncrypted>, kKept},
    {"isPinned", Bool<&RestorePointInfo::isPinned>, kKept},
    {"lastVerificationDate", Text<&RestorePointInfo::lastVerificationDate>, kKept},
    {"verificationResult", Text<&RestorePointInfo::verificationResult>, kKept},
    {"name", Text<&RestorePointInfo::name>, kKept},
    {"restorePointPath", Text<&RestorePointInfo::restorePointPath>, kKept},
    {"restorePointArcId", Text<&RestorePointInfo::restorePointArcId>, kKept},
    {"restorePointSource", Text<&RestorePointInfo::restorePointSource>, kKept},
    {"targetType", Literal<&RestorePointInfo::targetType, kTargetTypes>, kKept},
    {"restorePointResult", Text<&RestorePointInfo::restorePointResult>, kKept},
    {"operations", Operations, kKept},
    {"size", Number<&RestorePointInfo::size>, kKept},
    {"state", Literal<&RestorePointInfo::state, kStates>, kKept},
    {"type", Literal<&RestorePointInfo::type, kTypes>, kKept},
    {"request", Literal<&RestorePointInfo::request, kRequests>, kAlways},
};

// Behind "version" and "pcId".
constexpr Member<SystemInfo> kSystemMembers[] = {
    {"deviceName", Text<&SystemInfo::deviceName>, kKept},
    {"operatingSystemName", Text<&SystemInfo::operatingSystemName>, kKept},
    {"operatingSystemBuild", Text<&SystemInfo::operatingSystemBuild>, kKept},
    {"operatingSystemVersion", Text<&SystemInfo::operatingSystemVersion>, kKept},
    {"isServer", Bool<&SystemInfo::isServer>, kKept},
    {"isPartOfDomain", Bool<&SystemInfo::isPartOfDomain>, kKept},
    {"memoryAmount", Number<&SystemInfo::memoryAmount>, kKept},
    {"cpuDescription", Text<&SystemInfo::cpuDescription>, kKept},
    {"cpuCores", Number<&SystemInfo::cpuCores>, kKept},
    {"request", Literal<&SystemInfo::request, kRequests>, kAlways},
};

// In front of "partitions".
constexpr Member<DiskInfo> kDiskMembers[] = {
    {"number", Number<&DiskInfo::number>, kAlways},
    {"capacity", Number<&DiskInfo::capacity>, kAlways},
    {"partitionStyle", Text<&DiskInfo::partitionStyle>, kAlways},
    {"diskType", Text<&DiskInfo::diskType>, kAlways},
    {"diskName", Text<&DiskInfo::diskName>, kAlways},
    {"diskModel", Text<&DiskInfo::diskModel>, kAlways},
    {"onlineStatus", Text<&DiskInfo::onlineStatus>, kAlways},
};

// In front of "logicalPartitions".
constexpr Member<PartitionInfo> kPartitionMembers[] = {
    {"partitionName", Text<&PartitionInfo::partitionName>, kAlways},
    {"partitionType", Text<&PartitionInfo::partitionType>, kAlways},
    {"fileSystem", Text<&PartitionInfo::fileSystem>, kAlways},
    {"mountPoint", Text<&PartitionInfo::mountPoint>, kAlways},
    {"sequentialNumber", Number<&PartitionInfo::sequentialNumber>, kAlways},
    {"isFreeBlock", Bool<&PartitionInfo::isFreeBlock>, kAlways},
    {"isUnformatted", Bool<&PartitionInfo::isUnformatted>, kAlways},
    {"isActive", Bool<&PartitionInfo::isActive>, kAlways},
    {"isExtended", Bool<&PartitionInfo::isExtended>, kAlways},
    {"capacity", Number<&PartitionInfo::capacity>, kAlways},
    {"usedBytes", Number<&PartitionInfo::usedBytes>, kAlways},
    {"freeBytes", Number<&PartitionInfo::freeBytes>, kAlways},
    {"label", Text<&PartitionInfo::label>, kAlways},
};

template <class Record, std::size_t count>
void AddMembers(JsonNode& object, const Member<Record> (&members)[count], const Record& record,
                bool isDeletion) {
    for (const auto& member : members) {
        if (member.when == kAlways || !isDeletion)
            member.write(object, member.name, record);
    }
}

template <class Record, std::size_t count>
void AddEntries(JsonNode& root, const char* name, const vector<Record>& records,
                const Member<Record> (&members)[count]) {
    if (records.empty())
        return;
    JsonNode& list = json::AddArray(root, name);
    for (const Record& record : records)
        AddMembers(json::AddObject(list, ""), members, record, record.request == kDelete);
}

void AddVersion(JsonNode& object) {
    json::AddChild(object, "version", "1", false);
}

void AddSystem(JsonNode& root, const SystemInfo& system, const string* pcId) {
    JsonNode& object = json::AddObject(root, "system");
    AddVersion(object);
    if (pcId != nullptr)
        json::AddChild(object, "pcId", *pcId, true);
    AddMembers(object, kSystemMembers, system, system.request == kDelete);
}

struct PartitionStep {
    const vector<PartitionInfo>* partitions;
    JsonNode* object;  // gets the list
    const char* name;
};

// With a list of what is still to be written, since the depth is the host's to choose. The elements of a list
// get their places at once, so that the pointers to them hold.
void AddPartitions(JsonNode& disk, const vector<PartitionInfo>& partitions) {
    vector<PartitionStep> steps;
    steps.push_back(PartitionStep{&partitions, &disk, "partitions"}).value();
    while (!steps.empty()) {
        const PartitionStep step = steps.back();
        steps.pop_back();
        if (step.partitions->empty())
            continue;
        JsonNode& list = json::AddArray(*step.object, step.name);
        list.children.reserve(step.partitions->size()).value();
        for (const PartitionInfo& partition : *step.partitions) {
            JsonNode& object = json::AddObject(list, "");
            AddMembers(object, kPartitionMembers, partition, false);
            steps.push_back(PartitionStep{&partition.children, &object, "logicalPartitions"}).value();
        }
    }
}

void AddStorage(JsonNode& root, const vector<DiskInfo>& disks) {
    JsonNode& storage = json::AddObject(root, "storage");
    AddVersion(storage);
    if (disks.empty())
        return;
    JsonNode& list = json::AddArray(storage, "disks");
    for (const DiskInfo& disk : disks) {
        JsonNode& object = json::AddObject(list, "");
        AddMembers(object, kDiskMembers, disk, false);
        AddPartitions(object, disk.partitions);
    }
}

}  // namespace

bool WriteMetadataDocument(const BackupMetadata& metadata, const string* pcId, string& text) {
    JsonNode root;
    AddVersion(root);
    if (metadata.hasBackups)
        AddEntries(root, "backups", metadata.backups, kBackupMembers);
    if (metadata.hasRestorePoints)
        AddEntries(root, "restorePoints", metadata.restorePoints, kRestorePointMembers);
    if (metadata.hasSystem)
        AddSystem(root, metadata.system, pcId);
    if (metadata.hasStorage)
        AddStorage(root, metadata.storage);
    return json::WriteJson(root, text, false);
}

}  // namespace backupmetadata
