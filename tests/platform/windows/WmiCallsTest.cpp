// Which calls of COM the machine's identifiers cost, with which values, and what is left when one fails.
#include <gtest/gtest.h>
#include <windows.h>

#include <oleauto.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/windows/MachineIds.h"
#include "platform/windows/Wmi.h"
#include "tests/platform/windows/WmiCalls.h"

namespace {

using quillmarkclient_windows::GetMachineIds;
using quillmarkclient_windows::ReadMachineIds;
using quillmarkclient_windows::WmiSession;
using Lines = std::vector<std::string>;
using Ids = std::vector<std::string>;
using Value = test::WmiCalls::Value;

Value Text(const wchar_t* text) {
    return [text](VARIANT& value) {
        value.vt = VT_BSTR;
        value.bstrVal = SysAllocStringLen(text, static_cast<UINT>(std::wstring_view(text).size()));
    };
}

Value Empty(VARTYPE type) {
    return [type](VARIANT& value) { value.vt = type; };
}

// Two adapters and one system.
test::WmiCalls Machine() {
    return {.adapters = {Text(L"B0:00:00:00:00:01"), Text(L"A0:00:00:00:00:02")},
            .systems = {Text(L"12345-oem:1")}};
}

Ids Read(test::WmiCalls& calls) {
    const test::RecordedThread recorded(calls);
    return ReadMachineIds();
}

Lines Starting(const Lines& lines, const std::string& start) {
    Lines found;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(found),
                 [&](const auto& line) { return line.starts_with(start); });
    return found;
}

Lines Released(const Lines& lines) {
    Lines released;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(released),
                 [](const auto& line) { return line.starts_with("Release ") || line == "CoUninitialize"; });
    return released;
}

Lines Joined(const std::vector<Lines>& parts) {
    Lines whole;
    for (const auto& part : parts)
        whole.insert(whole.end(), part.begin(), part.end());
    return whole;
}

void ExpectAllGivenBack(const test::WmiCalls& calls, const std::string& row) {
    EXPECT_EQ(calls.HeldObjects(), Lines{}) << row;
    EXPECT_EQ(calls.heldTexts, 0) << row;
}

TEST(WindowsWmiCalls, AreMadeInThisOrderAndToTheLetter) {
    test::WmiCalls calls = Machine();
    EXPECT_EQ(Read(calls), (Ids{"MAC-B0-00-00-00-00-01", "MAC-A0-00-00-00-00-02", "12345-oem:1"}));
    EXPECT_EQ(calls.lines,
              (Lines{
                  "CoInitializeEx (none) 0",
                  "CoCreateInstance {4590F811-1D3A-11D0-891F-00AA004B2E24} (none) 1 "
                  "{DC12A687-737F-11CF-884D-00AA004B2E24}",
                  "ConnectServer locator ROOT\\CIMV2 (none) (none) (none) 0 (none) (none)",
                  "CoSetProxyBlanket services 10 0 (none) 3 3 (none) 0",
                  "ExecQuery services WQL SELECT * FROM Win32_NetworkAdapter WHERE  PhysicalAdapter = 'True' "
                  "AND NOT PNPDeviceID LIKE 'ROOT\\\\%' 48 (none)",
                  "Next adapters -1 1",
                  "Get adapters 1 MACAddress 0",
                  "Release adapters 1",
                  "Next adapters -1 1",
                  "Get adapters 2 MACAddress 0",
                  "Release adapters 2",
                  "Next adapters -1 1",
                  "Release adapters",
                  "ExecQuery services WQL SELECT * FROM Win32_OperatingSystem 48 (none)",
                  "Next systems -1 1",
                  "Get systems 1 SerialNumber 0",
                  "Release systems 1",
                  "Next systems -1 1",
                  "Release systems",
                  "Release services",
                  "Release locator",
                  "CoUninitialize",
              }));
    ExpectAllGivenBack(calls, "");
}

TEST(WindowsWmiCalls, EachRowIsAnIdentifierInItsOrder) {
    const Value none = Text(L"");
    const struct {
        const char* name;
        std::vector<Value> adapters;
        std::vector<Value> systems;
        Ids ids;
    } rows[] = {
        {"nothing", {}, {}, {}},
        {"no adapters", {}, {Text(L"serial")}, {"serial"}},
        {"an adapter alone", {Text(L"01:02")}, {}, {"MAC-01-02"}},
        {"three adapters, one of them without an address",
         {Text(L"03:04"), none, Text(L"01:02")},
         {Text(L"serial")},
         {"MAC-03-04", "MAC-01-02", "serial"}},
        {"adapters without an address", {none, none}, {Text(L"serial")}, {"serial"}},
        {"several systems, one of them without a number",
         {Text(L"01:02")},
         {Text(L"two"), none, Text(L"one")},
         {"MAC-01-02", "two", "", "one"}},
        {"the same address twice", {Text(L"01:02"), Text(L"01:02")}, {}, {"MAC-01-02", "MAC-01-02"}},
    };
    for (const auto& row : rows) {
        test::WmiCalls calls{.adapters = row.adapters, .systems = row.systems};
        EXPECT_EQ(Read(calls), row.ids) << row.name;
        ExpectAllGivenBack(calls, row.name);
    }
}

// An object of somebody's, in the place of a text.
class Counted : public IUnknown {
public:
    virtual ~Counted() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID /*id*/, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--references); }

    long references = 0;
};

TEST(WindowsWmiCalls, APropertyBecomesTextOrIsEmpty) {
    Counted counted;
    const struct {
        const char* name;
        Value value;
        const char* text;
    } rows[] = {
        {"a text", Text(L"1-2"), "1-2"},
        {"a text beyond ASCII", Text(L"\u00e4\u20ac\U0001d11e"), "\xC3\xA4\xE2\x82\xAC\xF0\x9D\x84\x9E"},
        {"an empty text", Text(L""), ""},
        {"no text", Empty(VT_BSTR), ""},
        {"null", Empty(VT_NULL), ""},
        {"nothing", Empty(VT_EMPTY), ""},
        {"a number",
         [](VARIANT& value) {
             value.vt = VT_I4;
             value.lVal = -42;
         },
         "-42"},
        {"true",
         [](VARIANT& value) {
             value.vt = VT_BOOL;
             value.boolVal = VARIANT_TRUE;
         },
         "-1"},
        {"an object",
         [&](VARIANT& value) {
             value.vt = VT_UNKNOWN;
             value.punkVal = &counted;
             counted.AddRef();
         },
         ""},
        {"a list of texts",
         [](VARIANT& value) {
             value.vt = VT_ARRAY | VT_BSTR;
             value.parray = SafeArrayCreateVector(VT_BSTR, 0, 2);
         },
         ""},
    };
    for (const auto& row : rows) {
        test::WmiCalls calls{.adapters = {row.value}, .systems = {row.value}};
        const std::string text = row.text;
        EXPECT_EQ(Read(calls), text.empty() ? Ids{""} : (Ids{"MAC-" + text, text})) << row.name;
        ExpectAllGivenBack(calls, row.name);
    }
    EXPECT_EQ(counted.references, 0);
}

TEST(WindowsWmiCalls, WhatGivesNoRowEndsTheList) {
    static const struct {
        const char* name;
        HRESULT end;
    } rows[] = {
        {"no more", 1},
        {"success without a row", 0},
        {"timed out", 0x40004},
        {"a failure", static_cast<HRESULT>(0x80041001)},
    };
    for (const auto& row : rows) {
        test::WmiCalls calls = Machine();
        calls.end = row.end;
        EXPECT_EQ(Read(calls), (Ids{"MAC-B0-00-00-00-00-01", "MAC-A0-00-00-00-00-02", "12345-oem:1"}))
            << row.name;
        EXPECT_EQ(Starting(calls.lines, "Next").size(), 5u) << row.name;
        ExpectAllGivenBack(calls, row.name);
    }
}

TEST(WindowsWmiCalls, OneThatFailsCostsWhatHangsOnItAndAllIsGivenBack) {
    const Lines adapterRows = {"Release adapters 1", "Release adapters 2", "Release adapters"};
    const Lines systemRows = {"Release systems 1", "Release systems"};
    const Lines connection = {"Release services", "Release locator", "CoUninitialize"};
    const struct {
        const char* failing;
        std::size_t queries;
        Ids ids;
        std::vector<Lines> released;
    } rows[] = {
        {"CoCreateInstance", 0, {}, {{"CoUninitialize"}}},
        {"ConnectServer", 0, {}, {{"Release locator", "CoUninitialize"}}},
        {"CoSetProxyBlanket", 0, {}, {connection}},
        {"ExecQuery services WQL SELECT * FROM Win32_NetworkAdapter",
         2,
         {"12345-oem:1"},
         {systemRows, connection}},
        {"ExecQuery services WQL SELECT * FROM Win32_OperatingSystem",
         2,
         {"MAC-B0-00-00-00-00-01", "MAC-A0-00-00-00-00-02"},
         {adapterRows, connection}},
        {"ExecQuery", 2, {}, {connection}},
        {"Next adapters", 2, {"12345-oem:1"}, {{"Release adapters"}, systemRows, connection}},
        {"Next systems",
         2,
         {"MAC-B0-00-00-00-00-01", "MAC-A0-00-00-00-00-02"},
         {adapterRows, {"Release systems"}, connection}},
        {"Get adapters 1",
         2,
         {"MAC-A0-00-00-00-00-02", "12345-oem:1"},
         {adapterRows, systemRows, connection}},
        {"Get systems",
         2,
         {"MAC-B0-00-00-00-00-01", "MAC-A0-00-00-00-00-02", ""},
         {adapterRows, systemRows, connection}},
    };
    for (const auto& row : rows) {
        test::WmiCalls calls = Machine();
        calls.failing = row.failing;
        EXPECT_EQ(Read(calls), row.ids) << row.failing;
        EXPECT_FALSE(Starting(calls.lines, row.failing).empty()) << row.failing;
        EXPECT_EQ(Starting(calls.lines, "ExecQuery").size(), row.queries) << row.failing;
        EXPECT_EQ(Released(calls.lines), Joined(row.released)) << row.failing;
        ExpectAllGivenBack(calls, row.failing);
    }
}

TEST(WindowsWmiCalls, ASessionThatIsNotConnectedHoldsAndAsksNothing) {
    for (const char* failing : {"CoCreateInstance", "ConnectServer", "CoSetProxyBlanket"}) {
        test::WmiCalls calls = Machine();
        calls.failing = failing;
        const test::RecordedThread recorded(calls);
        const WmiSession wmi;
        ExpectAllGivenBack(calls, failing);
        const Lines lines = calls.lines;
        EXPECT_EQ(wmi.Query(L"SELECT * FROM Win32_OperatingSystem", L"SerialNumber"), Ids{}) << failing;
        EXPECT_EQ(calls.lines, lines) << failing;
    }
}

TEST(WindowsWmiCalls, ComIsLeftWhenItWasEntered) {
    static const struct {
        const char* name;
        HRESULT initialized;
        std::size_t left;
    } rows[] = {
        {"entered", 0, 1},
        {"once more", 1, 1},
        {"the host has it in another way", static_cast<HRESULT>(0x80010106), 0},
        {"exhausted memory", static_cast<HRESULT>(0x8007000E), 0},
    };
    for (const auto& row : rows) {
        test::WmiCalls calls = Machine();
        calls.initialized = row.initialized;
        EXPECT_EQ(Read(calls), (Ids{"MAC-B0-00-00-00-00-01", "MAC-A0-00-00-00-00-02", "12345-oem:1"}))
            << row.name;
        EXPECT_EQ(Starting(calls.lines, "CoInitializeEx").size(), 1u) << row.name;
        EXPECT_EQ(Starting(calls.lines, "CoUninitialize").size(), row.left) << row.name;
        ExpectAllGivenBack(calls, row.name);
    }
}

TEST(WindowsWmiCalls, ExhaustedMemoryIsAnExceptionThatLeavesNothing) {
    static const struct {
        const char* name;
        int failingText;
        Lines released;
    } rows[] = {
        {"the namespace", 1, {"CoUninitialize"}},
        {"the language of the first query", 2, {"Release services", "Release locator", "CoUninitialize"}},
        {"the first query", 3, {"Release services", "Release locator", "CoUninitialize"}},
        {"the language of the second query",
         4,
         {"Release adapters 1", "Release adapters 2", "Release adapters", "Release services",
          "Release locator", "CoUninitialize"}},
        {"the second query",
         5,
         {"Release adapters 1", "Release adapters 2", "Release adapters", "Release services",
          "Release locator", "CoUninitialize"}},
    };
    for (const auto& row : rows) {
        test::WmiCalls calls = Machine();
        calls.failingText = row.failingText;
        EXPECT_THROW((void)Read(calls), std::bad_alloc) << row.name;
        EXPECT_EQ(Released(calls.lines), row.released) << row.name;
        ExpectAllGivenBack(calls, row.name);
    }
    test::WmiCalls calls = Machine();
    (void)Read(calls);
    EXPECT_EQ(calls.texts, 5) << "a row for each";
}

struct Answer {
    std::uint32_t code = 4711;
    std::uint32_t size = 4711;
};
bool operator==(const Answer& left, const Answer& right) {
    return left.code == right.code && left.size == right.size;
}
void PrintTo(const Answer& answer, std::ostream* out) {
    *out << std::hex << answer.code << ", size " << answer.size;
}

Answer AskForSize(test::WmiCalls& calls) {
    const test::RecordedThread recorded(calls);
    Answer answer;
    answer.code = GetMachineIds(nullptr, &answer.size, nullptr);
    return answer;
}

// The list is the process's own, so all of its life stands in one test.
TEST(WindowsWmiCalls, TheFirstListThatIsNotEmptyIsKept) {
    test::WmiCalls exhausted = Machine();
    exhausted.failingText = 5;
    EXPECT_EQ(AskForSize(exhausted), (Answer{0x80000001, 4711}));
    for (int i = 0; i < 2; ++i) {
        test::WmiCalls none{.failing = "ConnectServer"};
        EXPECT_EQ(AskForSize(none), (Answer{0, 0}));
        EXPECT_EQ(Starting(none.lines, "ConnectServer").size(), 1u) << "tried again";
    }
    test::WmiCalls half = Machine();
    half.failing = "ExecQuery services WQL SELECT * FROM Win32_NetworkAdapter";
    EXPECT_EQ(AskForSize(half), (Answer{0, 12}));

    test::WmiCalls whole = Machine();
    EXPECT_EQ(AskForSize(whole), (Answer{0, 12}));
    EXPECT_EQ(whole.lines, Lines{});
    std::string block(12, '*');
    std::uint32_t size = 12;
    EXPECT_EQ(GetMachineIds(block.data(), &size, nullptr), 0u);
    EXPECT_EQ(block, std::string("12345-oem:1\0", 12));
}

}  // namespace
