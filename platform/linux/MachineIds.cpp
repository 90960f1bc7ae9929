#include "platform/linux/MachineIds.h"

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "platform/common/MachineIdCache.h"

namespace quillmarkclient_linux {
namespace {

namespace fs = std::filesystem;

// Drawn once at random and fixed for good: with another one every machine would be a new one to the service.
constexpr std::string_view kApplicationId = "e515522b-9b25-431b-9f30-244e6f19c02e";
constexpr std::string_view kEthernetType = "1";
constexpr std::string_view kNoAddress = "00:00:00:00:00:00";
constexpr std::size_t kSystemIdDigits = 32;
// What the file holds until the first boot has ended: machine-id(5).
constexpr std::string_view kNoMachineIdYet = "uninitialized";

// The first line of the file without blanks around it; empty when there is none.
std::string ReadLine(const fs::path& path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    constexpr const char* kBlanks = " \t\r\n";
    const auto first = line.find_first_not_of(kBlanks);
    return first == std::string::npos ? "" : line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

// "aa:bb:cc:dd:ee:ff", in digits of either case.
bool IsAddress(std::string_view text) {
    if (text.size() != kNoAddress.size() || text == kNoAddress)
        return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool fits =
            i % 3 == 2 ? text[i] == ':' : std::isxdigit(static_cast<unsigned char>(text[i])) != 0;
        if (!fits)
            return false;
    }
    return true;
}

std::string AdapterId(std::string_view address) {
    std::string id = "MAC-";
    for (const char c : address)
        id += c == ':' ? '-' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return id;
}

void AddAdapters(const fs::path& netFolder, std::vector<std::string>& ids) {
    std::vector<fs::path> adapters;
    std::error_code unreadable;  // a folder that can't be listed holds no adapters
    for (fs::directory_iterator at(netFolder, unreadable), end; !unreadable && at != end;
         at.increment(unreadable))
        adapters.push_back(at->path());
    std::sort(adapters.begin(), adapters.end());

    for (const auto& adapter : adapters) {
        std::error_code noDevice;
        if (!fs::exists(adapter / "device", noDevice) || ReadLine(adapter / "type") != kEthernetType)
            continue;
        if (const std::string address = ReadLine(adapter / "address"); IsAddress(address))
            ids.push_back(AdapterId(address));
    }
}

// Empty without an HMAC.
std::string SystemId(std::string_view machineId) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    ERR_set_mark();  // the host's error queue stays as it was
    const bool isMade = HMAC(EVP_sha256(), kApplicationId.data(), static_cast<int>(kApplicationId.size()),
                             reinterpret_cast<const unsigned char*>(machineId.data()), machineId.size(),
                             digest.data(), &size) != nullptr;
    ERR_pop_to_mark();
    if (!isMade)
        return {};
    std::string id;
    for (std::size_t i = 0; i < kSystemIdDigits / 2; ++i) {
        id += "0123456789abcdef"[digest[i] >> 4];
        id += "0123456789abcdef"[digest[i] & 0xF];
    }
    return id;
}

}  // namespace

std::vector<std::string> ReadMachineIds(const MachineIdRoots& roots) {
    std::vector<std::string> ids;
    AddAdapters(roots.netFolder, ids);
    if (const std::string machineId = ReadLine(roots.machineIdFile);
        !machineId.empty() && machineId != kNoMachineIdYet) {
        if (std::string id = SystemId(machineId); !id.empty())
            ids.push_back(std::move(id));
    }
    return ids;
}

std::uint32_t GetMachineIds(char* buffer, std::uint32_t* size, void* /*context*/) {
    // A union's member is not destroyed with it: a thread that outlives the static objects may still ask.
    static union Forever {
        quillmarkclient_common::MachineIdCache cache;
        Forever() : cache([] { return ReadMachineIds({}); }) {}
        ~Forever() {}
    } forever;
    return forever.cache.Get(buffer, size);
}

}  // namespace quillmarkclient_linux
