// The disks of this machine and what is on them, as Linux tells it to everybody: /sys/block, /proc/mounts and
// statvfs. Asks once, when it is made; what can't be read is left empty or unknown.
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "core/src/BackupMetadataRecord.h"

class MachineStorage {
public:
    MachineStorage();
    MachineStorage(const MachineStorage&) = delete;
    MachineStorage& operator=(const MachineStorage&) = delete;

    // Owned by this object, with all that it points to.
    [[nodiscard]] const quillmarkclient::RecordList<quillmarkclient::DiskInfo>& disks() const {
        return list_;
    }

private:
    struct Mount {
        std::string fileSystem;
        std::string point;
    };

    void readMounts();
    void addDisk(const std::filesystem::path& block);
    [[nodiscard]] quillmarkclient::RecordList<quillmarkclient::PartitionInfo> partitionsOf(
        const std::filesystem::path& block);
    [[nodiscard]] quillmarkclient::PartitionInfo partition(const std::filesystem::path& block);
    [[nodiscard]] const char* keep(std::string text) { return texts_.emplace_back(std::move(text)).c_str(); }

    std::map<std::string, Mount> mounts_;  // by device
    std::deque<std::string> texts_;        // a deque: the records point into them
    std::deque<std::vector<quillmarkclient::PartitionInfo>> partitions_;
    std::vector<quillmarkclient::DiskInfo> disks_;
    quillmarkclient::RecordList<quillmarkclient::DiskInfo> list_{};
};
