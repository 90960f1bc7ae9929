#include "platform/windows/MachineIds.h"

#include <algorithm>

#include "platform/common/MachineIdCache.h"
#include "platform/windows/Wmi.h"

namespace quillmarkclient_windows {
namespace {

// The two blanks are part of it. A backslash is WQL's escape, so the one that is meant reaches it doubled.
constexpr wchar_t kAdapters[] =
    L"SELECT * FROM Win32_NetworkAdapter WHERE  PhysicalAdapter = 'True' AND NOT PNPDeviceID LIKE "
    L"'ROOT\\\\%'";
constexpr wchar_t kOperatingSystem[] = L"SELECT * FROM Win32_OperatingSystem";

std::string AdapterId(std::string address) {
    std::replace(address.begin(), address.end(), ':', '-');
    return "MAC-" + address;
}

}  // namespace

std::vector<std::string> MakeMachineIds(const std::vector<std::string>& addresses,
                                        const std::vector<std::string>& serials) {
    std::vector<std::string> ids;
    for (const auto& address : addresses) {
        if (!address.empty())
            ids.push_back(AdapterId(address));
    }
    ids.insert(ids.end(), serials.begin(), serials.end());
    return ids;
}

std::vector<std::string> ReadMachineIds() {
    const WmiSession wmi;
    const auto addresses = wmi.Query(kAdapters, L"MACAddress");
    return MakeMachineIds(addresses, wmi.Query(kOperatingSystem, L"SerialNumber"));
}

std::uint32_t GetMachineIds(char* buffer, std::uint32_t* size, void* /*context*/) {
    // A union's member is not destroyed with it: a thread that outlives the static objects may still ask.
    static union Forever {
        quillmarkclient_common::MachineIdCache cache;
        Forever() : cache(ReadMachineIds) {}
        ~Forever() {}
    } forever;
    return forever.cache.Get(buffer, size);
}

}  // namespace quillmarkclient_windows
