// The identifiers of the machine: its network adapters, then its operating system, as WMI tells them.
//
//   adapter            "MAC-" and the address with '-' for ':', in the case in which it came, for each
//                      physical adapter that has one; in WMI's order
//   operating system   its serial number, unchanged, an empty one too
//
// The service's records depend on the order and on both forms.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quillmarkclient_windows {

// The row GetMachineIds of the platform table. Any thread; throws nothing.
std::uint32_t GetMachineIds(char* buffer, std::uint32_t* size, void* context);

// What can't be had is left out, so the list may be empty. Throws as the standard containers do.
[[nodiscard]] std::vector<std::string> ReadMachineIds();

// The identifiers of a machine with these addresses, some of which may be empty, and these serial numbers.
[[nodiscard]] std::vector<std::string> MakeMachineIds(const std::vector<std::string>& addresses,
                                                      const std::vector<std::string>& serials);

}  // namespace quillmarkclient_windows
