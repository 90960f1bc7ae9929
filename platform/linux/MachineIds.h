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

}  // namespace quillmarkclient_linux
