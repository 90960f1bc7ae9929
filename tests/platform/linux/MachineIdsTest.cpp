#include "platform/linux/MachineIds.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "platform/common/MachineIdCache.h"
#include "tests/support/Command.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using quillmarkclient_common::MachineIdCache;
using quillmarkclient_linux::ReadMachineIds;
namespace fs = std::filesystem;
using Ids = std::vector<std::string>;

constexpr char kMachineId[] = "0123456789abcdef0123456789abcdef";
constexpr char kSystemId[] = "ca58d10a21399ed80d6bee6c2e31ea73";  // of the machine with that id

// A machine made of files: its adapters as the system lists them, and its own id.
class LinuxMachineIds : public ::testing::Test {
protected:
    LinuxMachineIds() { fs::create_directory(folder.Path() / "net"); }

    void AddAdapter(const std::string& name, const std::string& address, const std::string& type = "1",
                    bool device = true) const {
        const fs::path adapter = folder.Path() / "net" / name;
        fs::create_directory(adapter);
        if (device)
            fs::create_directory(adapter / "device");
        test::WriteWhole(adapter / "type", type + "\n");
        test::WriteWhole(adapter / "address", address + "\n");
    }
    void SetMachineId(const std::string& text) const { test::WriteWhole(folder.PathOf("machine-id"), text); }

    [[nodiscard]] Ids Read() const {
        return ReadMachineIds(
            {.netFolder = folder.PathOf("net"), .machineIdFile = folder.PathOf("machine-id")});
    }

    test::TemporaryFolder folder;
};

TEST_F(LinuxMachineIds, AdaptersAreSortedByNameThenComesTheSystem) {
    AddAdapter("wlan0", "00:1a:2b:3c:4d:5e");
    AddAdapter("eth1", "aa:bb:cc:dd:ee:ff");
    AddAdapter("enp3s0", "52:54:00:AB:cd:01");
    SetMachineId(std::string(kMachineId) + "\n");
    const Ids ids = Read();
    ASSERT_EQ(ids.size(), 4u);
    EXPECT_EQ(ids[0], "MAC-52-54-00-AB-CD-01");
    EXPECT_EQ(ids[1], "MAC-AA-BB-CC-DD-EE-FF");
    EXPECT_EQ(ids[2], "MAC-00-1A-2B-3C-4D-5E");
    EXPECT_EQ(ids[3].size(), 32u);
}

TEST_F(LinuxMachineIds, OnlyPhysicalEthernetAdaptersWithAnAddressCount) {
    static const struct {
        const char* name;
        const char* address;
        const char* type;
        bool device;
        bool counts;
    } rows[] = {
        {"a network card", "aa:bb:cc:dd:ee:ff", "1", true, true},
        {"a bridge: no device behind it", "aa:bb:cc:dd:ee:ff", "1", false, false},
        {"the loopback", "00:00:00:00:00:00", "772", false, false},
        {"an address of zeros", "00:00:00:00:00:00", "1", true, false},
        {"an empty address", "", "1", true, false},
        {"another type", "aa:bb:cc:dd:ee:ff", "24", true, false},
        {"a type that starts with 1", "aa:bb:cc:dd:ee:ff", "10", true, false},
        {"no type", "aa:bb:cc:dd:ee:ff", "", true, false},
        {"a longer address", "aa:bb:cc:dd:ee:ff:00:11", "1", true, false},
        {"a shorter address", "aa:bb:cc:dd:ee", "1", true, false},
        {"a digit that is none", "aa:bb:cc:dd:ee:fg", "1", true, false},
        {"other separators", "aa-bb-cc-dd-ee-ff", "1", true, false},
    };
    for (const auto& row : rows) {
        fs::remove_all(folder.Path() / "net");
        fs::create_directory(folder.Path() / "net");
        AddAdapter("eth0", row.address, row.type, row.device);
        EXPECT_EQ(Read(), row.counts ? Ids{"MAC-AA-BB-CC-DD-EE-FF"} : Ids{}) << row.name;
    }
}

TEST_F(LinuxMachineIds, AnAdapterIsALinkInTheRealFolder) {
    fs::rename(folder.Path() / "net", folder.Path() / "devices");
    fs::create_directory(folder.Path() / "devices/card");
    fs::create_directory(folder.Path() / "devices/card/device");
    test::WriteWhole(folder.PathOf("devices/card/type"), "1\n");
    test::WriteWhole(folder.PathOf("devices/card/address"), "aa:bb:cc:dd:ee:ff\n");
    fs::create_directory(folder.Path() / "net");
    fs::create_directory_symlink("../devices/card", folder.Path() / "net/eth0");
    fs::create_directory_symlink("../devices/gone", folder.Path() / "net/eth1");
    EXPECT_EQ(Read(), Ids{"MAC-AA-BB-CC-DD-EE-FF"});
}

TEST_F(LinuxMachineIds, AnAdapterThatIsALinkToItselfIsPassedOver) {
    fs::create_symlink("eth0", folder.Path() / "net/eth0");
    SetMachineId(kMachineId);
    Ids ids;
    ASSERT_NO_THROW(ids = Read());
    EXPECT_EQ(ids, Ids{kSystemId});
    AddAdapter("eth1", "aa:bb:cc:dd:ee:ff");
    EXPECT_EQ(Read(), (Ids{"MAC-AA-BB-CC-DD-EE-FF", kSystemId})) << "and the next one is still seen";
}

TEST_F(LinuxMachineIds, TheSystemIsAKeyedHashOfItsIdAndNotTheId) {
    SetMachineId(kMachineId);
    const Ids ids = Read();
    ASSERT_EQ(ids.size(), 1u);
    EXPECT_EQ(ids[0].find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_NE(ids[0], kMachineId);
    // The application's identifier is fixed: with another one each machine would be a new one to the service.
    const std::string hash =
        test::Output("openssl dgst -sha256 -hmac e515522b-9b25-431b-9f30-244e6f19c02e -r", kMachineId);
    EXPECT_EQ(ids[0], hash.substr(0, 32));
}

TEST_F(LinuxMachineIds, BlanksAroundTheIdDoNotCount) {
    SetMachineId(kMachineId);
    const Ids ids = Read();
    for (const char* text : {"0123456789abcdef0123456789abcdef\n", " 0123456789abcdef0123456789abcdef \r\n",
                             "0123456789abcdef0123456789abcdef\nmore\n"}) {
        SetMachineId(text);
        EXPECT_EQ(Read(), ids) << ::testing::PrintToString(text);
    }
    SetMachineId("0123456789abcdef0123456789abcdee\n");
    EXPECT_NE(Read(), ids) << "another machine";
}

TEST_F(LinuxMachineIds, AMachineWithoutAnIdHasNoSystemElement) {
    AddAdapter("eth0", "aa:bb:cc:dd:ee:ff");
    const Ids adapterAlone = {"MAC-AA-BB-CC-DD-EE-FF"};
    EXPECT_EQ(Read(), adapterAlone) << "no file";
    for (const char* text : {"", "\n", "  \n", "uninitialized\n"}) {
        SetMachineId(text);
        EXPECT_EQ(Read(), adapterAlone) << ::testing::PrintToString(text);
    }
}

TEST_F(LinuxMachineIds, AMachineWithNothingHasAnEmptyList) {
    EXPECT_EQ(Read(), Ids{});
    fs::remove(folder.Path() / "net");
    EXPECT_EQ(Read(), Ids{}) << "no folder";
    test::WriteWhole(folder.PathOf("net"), "a file");
    EXPECT_EQ(Read(), Ids{}) << "a file in its place";
}

std::uint32_t SizeOf(MachineIdCache& cache) {
    std::uint32_t size = 4711;
    EXPECT_EQ(cache.Get(nullptr, &size), 0u);
    return size;
}

std::string BlockOf(MachineIdCache& cache) {
    std::uint32_t size = SizeOf(cache);
    std::string block(size, '*');
    EXPECT_EQ(cache.Get(block.data(), &size), 0u);
    return block;
}

TEST_F(LinuxMachineIds, WithoutANetFolderTheSystemAloneIsNamedAndKept) {
    fs::remove(folder.Path() / "net");
    SetMachineId(kMachineId);
    EXPECT_EQ(Read(), Ids{kSystemId});
    MachineIdCache cache([this] { return Read(); });
    const std::string systemAlone = std::string(kSystemId) + '\0';
    EXPECT_EQ(BlockOf(cache), systemAlone);

    fs::create_directory(folder.Path() / "net");
    AddAdapter("eth0", "aa:bb:cc:dd:ee:ff");
    SetMachineId("another machine");
    EXPECT_EQ(Read().size(), 2u) << "the files have changed";
    EXPECT_EQ(BlockOf(cache), systemAlone) << "the list is kept";
}

bool IsAsleep(pid_t thread) {
    const std::string stat = test::ReadWhole("/proc/self/task/" + std::to_string(thread) + "/stat");
    return stat.find(") S ") != std::string::npos;
}

// The fill goes on when all other threads wait, or when a second fill has begun. One that goes on because its
// time is up has shown nothing.
TEST(LinuxMachineIdCache, IsFilledOnceByManyThreads) {
    constexpr int kThreads = 8;
    std::array<std::atomic<pid_t>, kThreads> asking{};
    std::atomic<int> reads{0};
    MachineIdCache cache([&] {
        ++reads;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        const auto waits = [](const std::atomic<pid_t>& thread) {
            return thread == gettid() || (thread != 0 && IsAsleep(thread));
        };
        while (reads == 1 && !std::all_of(asking.begin(), asking.end(), waits)) {
            if (std::chrono::steady_clock::now() >= deadline) {
                ADD_FAILURE() << "not all threads wait for the fill";
                break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return Ids{"MAC-1", "os"};
    });
    std::vector<std::thread> threads;
    std::atomic<int> right{0};
    for (auto& self : asking)
        threads.emplace_back([&] {
            self = gettid();
            std::uint32_t size = 0;
            right += cache.Get(nullptr, &size) == 0 && size == 9 ? 1 : 0;
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(right, kThreads);
    EXPECT_EQ(reads, 1);
}

}  // namespace
