#include "platform/windows/MachineIds.h"

#include <gtest/gtest.h>
#include <objbase.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/windows/Wmi.h"
#include "tests/support/windows/Wine.h"

namespace {

using quillmarkclient_windows::GetMachineIds;
using quillmarkclient_windows::MakeMachineIds;
using quillmarkclient_windows::ReadMachineIds;
using quillmarkclient_windows::WmiSession;
using Ids = std::vector<std::string>;

TEST(WindowsMachineIds, TheSerialNumberOfTheSystemComesLast) {
    const Ids ids = ReadMachineIds();
    ASSERT_FALSE(ids.empty());
    EXPECT_FALSE(ids.back().starts_with("MAC-")) << ids.back();
    if (test::IsWine()) {
        EXPECT_EQ(ids.back(), "12345-oem-0000001-54321") << "each wine has the same one";
    }
    for (std::size_t i = 0; i + 1 < ids.size(); ++i) {
        EXPECT_TRUE(ids[i].starts_with("MAC-") && ids[i].size() == 21) << ids[i];
        EXPECT_EQ(ids[i].find(':'), std::string::npos) << ids[i];
    }
}

TEST(WindowsMachineIds, TheRowGivesThemOneBehindTheOther) {
    std::string expected;
    for (const auto& id : ReadMachineIds())
        expected += id + '\0';
    ASSERT_FALSE(expected.empty());
    std::uint32_t size = 0;
    EXPECT_EQ(GetMachineIds(nullptr, &size, nullptr), 0u);
    ASSERT_EQ(size, expected.size());
    std::string block(size, '*');
    EXPECT_EQ(GetMachineIds(block.data(), &size, nullptr), 0u);
    EXPECT_EQ(block, expected);
}

TEST(WindowsMachineIds, AreTheAdaptersWithAnAddressAndThenEverySerialNumber) {
    static const struct {
        const char* name;
        Ids addresses;
        Ids serials;
        Ids ids;
    } rows[] = {
        {"two adapters, in their order",
         {"b0:00:00:00:00:01", "A0:00:00:00:00:02"},
         {"serial"},
         {"MAC-b0-00-00-00-00-01", "MAC-A0-00-00-00-00-02", "serial"}},
        {"an adapter without an address",
         {"", "A0:00:00:00:00:02", ""},
         {"serial"},
         {"MAC-A0-00-00-00-00-02", "serial"}},
        {"the same address twice",
         {"A0:00:00:00:00:02", "A0:00:00:00:00:02"},
         {"serial"},
         {"MAC-A0-00-00-00-00-02", "MAC-A0-00-00-00-00-02", "serial"}},
        {"no adapters: the serial number alone", {}, {"12345-oem:1"}, {"12345-oem:1"}},
        {"an empty serial number is kept", {"A0:00:00:00:00:02"}, {""}, {"MAC-A0-00-00-00-00-02", ""}},
        {"an empty serial number alone", {}, {""}, {""}},
        {"no serial number", {"A0:00:00:00:00:02"}, {}, {"MAC-A0-00-00-00-00-02"}},
        {"nothing", {}, {}, {}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(MakeMachineIds(row.addresses, row.serials), row.ids) << row.name;
}

struct Adapter {
    std::string id;
    bool isPhysical;
    bool isMadeUp;  // by the system, and no device of the machine
};

// All adapters that have an address, by a query that chooses none of them.
std::vector<Adapter> AllAdapters() {
    const WmiSession wmi;
    const auto ask = [&](const wchar_t* property) {
        return wmi.Query(L"SELECT * FROM Win32_NetworkAdapter", property);
    };
    const Ids addresses = ask(L"MACAddress");
    const Ids physical = ask(L"PhysicalAdapter");
    const Ids devices = ask(L"PNPDeviceID");
    EXPECT_TRUE(physical.size() == addresses.size() && devices.size() == addresses.size());
    std::vector<Adapter> adapters;
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        std::string id = "MAC-" + addresses[i];
        std::replace(id.begin(), id.end(), ':', '-');
        if (!addresses[i].empty())
            adapters.push_back({id, physical[i] == "-1", devices[i].starts_with("ROOT\\")});
    }
    return adapters;
}

TEST(WindowsMachineIds, EachPhysicalAdapterIsThereInTheOrderOfWmi) {
    Ids expected;
    for (const auto& adapter : AllAdapters()) {
        if (adapter.isPhysical && !adapter.isMadeUp)
            expected.push_back(adapter.id);
    }
    if (expected.empty())
        GTEST_SKIP() << "this machine has no physical adapter";
    Ids ids = ReadMachineIds();
    ASSERT_FALSE(ids.empty());
    ids.pop_back();
    EXPECT_EQ(ids, expected);
}

TEST(WindowsMachineIds, AnAdapterThatTheSystemMadeUpIsLeftOut) {
    const Ids ids = ReadMachineIds();
    int count = 0;
    for (const auto& adapter : AllAdapters()) {
        if (!adapter.isMadeUp)
            continue;
        ++count;
        EXPECT_EQ(std::find(ids.begin(), ids.end(), adapter.id), ids.end()) << adapter.id;
    }
    if (count == 0)
        GTEST_SKIP() << "this machine has no adapter below ROOT; wine never has one";
}

TEST(WindowsMachineIds, AHostsOwnUseOfComIsLeftAlone) {
    const Ids ids = ReadMachineIds();
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    EXPECT_EQ(ReadMachineIds(), ids) << "in an apartment of the host's";
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_FALSE) << "it is still there";
    CoUninitialize();
    CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK) << "and nothing else";
    CoUninitialize();
}

TEST(WindowsWmi, WhatCannotBeAskedYieldsNothing) {
    const WmiSession wmi;
    EXPECT_EQ(wmi.Query(L"SELECT * FROM", L"Name"), Ids{});
    EXPECT_EQ(wmi.Query(L"SELECT * FROM No_SuchClass", L"Name"), Ids{});
    EXPECT_EQ(wmi.Query(L"SELECT * FROM Win32_OperatingSystem", L"NoSuchProperty"), Ids{""})
        << "a row without the property";
}

}  // namespace
