#include "MachineStorage.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

namespace fs = std::filesystem;
using quillmarkclient::DiskInfo;
using quillmarkclient::PartitionInfo;
using quillmarkclient::RecordList;

namespace {

constexpr std::uint64_t kUnknown = UINT64_MAX;
constexpr std::uint64_t kSectorBytes = 512;  // the unit of /sys/block/*/size, whatever the disk's own is

std::string readLine(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

std::uint64_t readNumber(const fs::path& file) {
    std::ifstream stream(file);
    std::uint64_t number = 0;
    stream >> number;
    return stream ? number : 0;
}

// In the order of their names.
std::set<fs::path> entriesOf(const fs::path& folder) {
    std::error_code ignored;  // a folder that can't be read has no entries
    std::set<fs::path> entries;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored))
        entries.insert(entry.path());
    return entries;
}

// Blanks stand in /proc/mounts as "\040" (proc(5), fstab(5)).
std::string unescaped(const std::string& text) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::string digits = text[at] == '\\' ? text.substr(at + 1, 3) : std::string();
        if (digits.size() == 3 && digits.find_first_not_of("01234567") == digits.npos) {
            result += static_cast<char>(std::stoi(digits, nullptr, 8));
            at += 3;
        } else {
            result += text[at];
        }
    }
    return result;
}

template <class Element>
RecordList<Element> listOf(const std::vector<Element>& elements) {
    return {static_cast<std::uint32_t>(elements.size()), elements.data()};
}

}  // namespace

MachineStorage::MachineStorage() {
    readMounts();
    for (const fs::path& block : entriesOf("/sys/block"))
        addDisk(block);
    list_ = listOf(disks_);
}

// Of a device that is mounted twice the first mount counts.
void MachineStorage::readMounts() {
    std::ifstream stream("/proc/mounts");
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words(line);
        std::string device;
        Mount mount;
        words >> device >> mount.point >> mount.fileSystem;
        mount.point = unescaped(mount.point);
        mounts_.emplace(unescaped(device), mount);
    }
}

void MachineStorage::addDisk(const fs::path& block) {
    const std::uint64_t capacity = readNumber(block / "size") * kSectorBytes;
    if (capacity == 0)  // an empty drive, or a loop device that nobody uses
        return;
    DiskInfo disk{};
    disk.number = static_cast<std::uint32_t>(disks_.size());
    disk.capacity = capacity;
    disk.diskType = readNumber(block / "queue/rotational") == 0 ? "SSD" : "HDD";
    disk.onlineStatus = "Online";
    disk.diskName = keep("/dev/" + block.filename().string());
    disk.diskModel = keep(readLine(block / "device/model"));
    disk.partitions = partitionsOf(block);
    disks_.push_back(disk);
}

// A disk that is mounted as a whole counts as its own partition.
RecordList<PartitionInfo> MachineStorage::partitionsOf(const fs::path& block) {
    std::vector<PartitionInfo>& partitions = partitions_.emplace_back();
    for (const fs::path& entry : entriesOf(block)) {
        if (fs::exists(entry / "partition"))
            partitions.push_back(partition(entry));
    }
    if (partitions.empty() && mounts_.contains("/dev/" + block.filename().string()))
        partitions.push_back(partition(block));
    return listOf(partitions);
}

PartitionInfo MachineStorage::partition(const fs::path& block) {
    PartitionInfo partition{};
    partition.partitionName = keep(block.filename().string());
    partition.sequentialNumber = static_cast<std::uint32_t>(readNumber(block / "partition"));
    partition.capacity = readNumber(block / "size") * kSectorBytes;
    partition.usedBytes = kUnknown;
    partition.freeBytes = kUnknown;
    const auto mount = mounts_.find("/dev/" + block.filename().string());
    if (mount == mounts_.end())
        return partition;
    partition.fileSystem = keep(mount->second.fileSystem);
    partition.mountPoint = keep(mount->second.point);
    struct statvfs space {};
    if (statvfs(partition.mountPoint, &space) == 0) {
        partition.usedBytes = (space.f_blocks - space.f_bfree) * space.f_frsize;
        partition.freeBytes = space.f_bfree * space.f_frsize;
    }
    return partition;
}
