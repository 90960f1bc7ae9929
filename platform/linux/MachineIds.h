// The identifiers of the machine: its network adapters, then its operating system.
//
//   adapter            "MAC-AA-BB-CC-DD-EE-FF", for each entry of /sys/class/net with a `device` behind it
//                      (so no bridge, tunnel or loopback), of type 1 (Ethernet), with an address that isn't
//                      zero; sorted by the adapter's name
//   operating system   32 lower-case hex digits of HMAC-SHA256 over the text of /etc/machine-id. The raw text
//                      must not leave the machine: machine-id(5)
//
// The service's records depend on the order and on both forms.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace quillmarkclient_linux {

// The row GetMachineIds of the platform table, over the system's own files. Any thread; throws nothing.
std::uint32_t GetMachineIds(char* buffer, std::uint32_t* size, void* context);

struct MachineIdRoots {
    std::string netFolder = "/sys/class/net";
    std::string machineIdFile = "/etc/machine-id";
};

// What can't be read is left out, so the list may be empty. Throws as the standard containers do.
[[nodiscard]] std::vector<std::string> ReadMachineIds(const MachineIdRoots& roots);

// Asks `read` until it gives a list that isn't empty, and keeps that one: an adapter added later is not seen.
//
// Any thread: the list is filled under a mutex, so that two first callers can't both add to it.
class MachineIdCache {
public:
    using Read = std::function<std::vector<std::string>()>;
    explicit MachineIdCache(Read read) : read_(std::move(read)) {}

    // The work of the row; an exception of `read` answers 0x80000001.
    std::uint32_t Get(char* buffer, std::uint32_t* size) noexcept;

private:
    void Fill();

    Read read_;
    std::mutex mutex_;   // guards what follows
    std::string block_;  // each text with its zero byte behind it
};

}  // namespace quillmarkclient_linux
