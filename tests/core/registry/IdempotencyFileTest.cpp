// The file of the keys: what is read from it, however damaged, and what is written.
#include <cstdint>

#include "tests/core/registry/KeyStoreFixture.h"
#include "tests/support/HookedTable.h"
#include "tests/support/LinearCost.h"

namespace {

using test::Entries;
using test::Entry;
using test::kKeyFile;
using test::kNow;
using test::Lines;
using test::Listed;
using test::Operation;
using test::SystemApi;
using test::Text;
using test::Told;

constexpr char kParseLine[] =
    "IdempotencyKeyStore: LoadEntries: failed to parse folder/LIC2 as JSON, ignoring";

class IdempotencyFile : public test::KeyStoreTest {
protected:
    Entries Load(const std::string& bytes) {
        platform.files[kKeyFile] = bytes;
        return Told(Started().idempotencyEntries);
    }
};

// Entries of the hash "h" and the key "k" unless the row is about them.
const Entries kOne = {{"h", "k", 5}};

TEST_F(IdempotencyFile, IsReadHoweverItLooks) {
    const struct {
        const char* name;
        std::string bytes;
        Entries entries;
        bool isParsed;
    } rows[] = {
        {"as it is written", R"({"entries":[{"hash":"h","key":"k","createdAt":"5"}]})", kOne, true},
        {"two in their order",
         R"({"entries":[{"hash":"h2","key":"k2","createdAt":"9"},{"hash":"h1","key":"k1","createdAt":"3"}]})",
         {{"h2", "k2", 9}, {"h1", "k1", 3}},
         true},
        {"two alike",
         R"({"entries":[{"hash":"h","key":"k","createdAt":"5"},{"hash":"h","key":"k","createdAt":"5"}]})",
         {{"h", "k", 5}, {"h", "k", 5}},
         true},
        {"none", R"({"entries":[]})", {}, true},
        {"pretty-printed",
         "{\r\n    \"entries\": [\r\n\t{ \"hash\" : \"h\", \"key\" : \"k\", \"createdAt\" : \"5\" "
         "}\r\n]\r\n}\r\n",
         kOne, true},
        {"names in any case", R"({"ENTRIES":[{"Hash":"h","KEY":"k","createdat":"5"}]})", kOne, true},
        {"members in any order", R"({"entries":[{"createdAt":"5","key":"k","hash":"h"}]})", kOne, true},
        {"members of another time",
         R"({"version":"2","entries":[{"a":{"hash":"x"},"hash":"h","b":[1],"key":"k",)"
         R"("createdAt":"5","c":null}],"d":[]})",
         kOne, true},
        {"the first of two lists",
         R"({"entries":[{"hash":"h","key":"k","createdAt":"5"}],"entries":[{"hash":"x","key":"y",)"
         R"("createdAt":"6"}]})",
         kOne, true},
        {"the first of two members",
         R"({"entries":[{"hash":"h","HASH":"x","key":"k","key":"y","createdAt":"5","createdAt":"6"}]})", kOne,
         true},
        {"empty texts", R"({"entries":[{"hash":"","key":"","createdAt":""}]})", {{"", "", 0}}, true},
        {"escapes",
         R"({"entries":[{"hash":"a\/b\"c\\","key":"\u00e4\n","createdAt":"\u0035"}]})",
         {{"a/b\"c\\", "\xC3\xA4\n", 5}},
         true},

        {"no hash", R"({"entries":[{"key":"k","createdAt":"5"}]})", {}, true},
        {"no key", R"({"entries":[{"hash":"h","createdAt":"5"}]})", {}, true},
        {"no time", R"({"entries":[{"hash":"h","key":"k"}]})", {}, true},
        {"one whole among the cut",
         R"({"entries":[{"key":"k","createdAt":"5"},{"hash":"h","key":"k",)"
         R"("createdAt":"5"},{"hash":"h"},{}]})",
         kOne, true},
        {"elements that are no entries",
         R"({"entries":[1,"x",null,true,[],[1],{},{"hash":"h","key":"k","createdAt":"5"},"hash"]})", kOne,
         true},
        {"an entry one list deeper", R"({"entries":[[{"hash":"h","key":"k","createdAt":"5"}]]})", {}, true},
        {"numbers for texts",
         R"({"entries":[{"hash":12,"key":-3.5,"createdAt":5}]})",
         {{"12", "-3.5", 5}},
         true},
        {"null and truth for texts",
         R"({"entries":[{"hash":null,"key":true,"createdAt":false}]})",
         {{"null", "true", 0}},
         true},
        {"containers for texts",
         R"({"entries":[{"hash":[1],"key":{"a":"b"},"createdAt":[5]}]})",
         {{"", "", 0}},
         true},

        {"no list", "{}", {}, true},
        {"a list of another name", R"({"entry":[{"hash":"h","key":"k","createdAt":"5"}]})", {}, true},
        {"the list itself", R"([{"hash":"h","key":"k","createdAt":"5"}])", {}, true},
        {"a list deeper", R"({"data":{"entries":[{"hash":"h","key":"k","createdAt":"5"}]}})", {}, true},
        {"null for the list", R"({"entries":null})", {}, true},
        {"a text for the list", R"({"entries":"hash"})", {}, true},
        {"a number for the list", R"({"entries":1})", {}, true},
        {"one entry for the list", R"({"entries":{"hash":"h","key":"k","createdAt":"5"}})", {}, true},
        {"a bare text", R"("entries")", {}, true},
        {"a bare number", "17", {}, true},
        {"null", "null", {}, true},

        {"a comma too many", R"({"entries":[{"hash":"h","key":"k","createdAt":"5",},],})", kOne, true},
        {"brackets of the other kind", R"({"entries":[{"hash":"h","key":"k","createdAt":"5"]}])", kOne, true},
        {"a byte-order mark",
         "\xEF\xBB\xBF"
         R"({"entries":[{"hash":"h","key":"k","createdAt":"5"}]})",
         kOne, true},
        {"bytes behind a zero byte",
         std::string(R"({"entries":[{"hash":"h","key":"k","createdAt":"5"}]})") + '\0' + "junk", kOne, true},

        {"no JSON", "not json", {}, false},
        {"blanks alone", " \r\n\t ", {}, false},
        {"one byte", "{", {}, false},
        {"a zero byte", std::string(1, '\0'), {}, false},
        {"zero bytes of the right length", std::string(114, '\0'), {}, false},
        {"cut within a text", R"({"entries":[{"hash":"h","key":"k)", {}, false},
        {"cut behind a text", R"({"entries":[{"hash":"h","key":"k","createdAt":"5")", {}, false},
        {"cut behind an entry", R"({"entries":[{"hash":"h","key":"k","createdAt":"5"})", {}, false},
        {"cut behind the list", R"({"entries":[{"hash":"h","key":"k","createdAt":"5"}])", {}, false},
        {"two documents", R"({"entries":[{"hash":"h","key":"k","createdAt":"5"}]}{})", {}, false},
        {"the rest of a longer one",
         R"({"entries":[{"hash":"h","key":"k","createdAt":"5"}]}"5"}]})",
         {},
         false},
        {"a zero byte within",
         std::string(R"({"entries":[{"hash":"h","key":"k","createdAt":"5"})") + '\0' + "]}",
         {},
         false},
        {"an encrypted file", "q83vEjRWeJA=", {}, false},
        {"XML", "<entries/>", {}, false},
    };
    for (const auto& row : rows) {
        platform.traceLines.clear();
        EXPECT_EQ(Load(row.bytes), row.entries) << row.name;
        EXPECT_EQ(platform.traceLines, row.isParsed ? Lines{} : Lines{kParseLine}) << row.name;
        EXPECT_EQ(platform.files[kKeyFile], row.bytes) << row.name << ": reading changes nothing";
    }
    EXPECT_EQ(Writes(), 0u);
}

TEST_F(IdempotencyFile, TimesAreSignedDecimalsOf64Bits) {
    const struct {
        const char* name;
        std::string createdAt;
        std::int64_t expected;
    } rows[] = {
        {"nought", R"("0")", 0},
        {"one", R"("1")", 1},
        {"today", R"("1700000000")", 1'700'000'000},
        {"unquoted", "1700000000", 1'700'000'000},
        {"leading noughts", R"("00012")", 12},
        {"behind 10000 noughts", "\"" + std::string(10000, '0') + "7\"", 7},
        {"the largest", R"("9223372036854775807")", INT64_MAX},
        {"above the largest", R"("9223372036854775808")", 0},
        {"by ten", R"("9223372036854775817")", 0},
        {"a digit more", R"("92233720368547758070")", 0},
        {"the largest unsigned", R"("18446744073709551615")", 0},
        {"one more wraps to nought", R"("18446744073709551616")", 0},
        {"and would wrap to five", R"("18446744073709551621")", 0},
        {"10000 nines", "\"" + std::string(10000, '9') + "\"", 0},
        {"below nought", R"("-5")", -5},
        {"minus nought", R"("-0")", 0},
        {"the least", R"("-9223372036854775808")", INT64_MIN},
        {"above the least", R"("-9223372036854775807")", -INT64_MAX},
        {"below the least", R"("-9223372036854775809")", 0},
        {"a digit more below", R"("-92233720368547758080")", 0},
        {"empty", R"("")", 0},
        {"a lone minus", R"("-")", 0},
        {"two minuses", R"("--5")", 0},
        {"a minus behind", R"("5-")", 0},
        {"a minus within", R"("5-5")", 0},
        {"a plus", R"("+5")", 0},
        {"a word", R"("abc")", 0},
        {"a word behind", R"("5s")", 0},
        {"a word in front", R"("s5")", 0},
        {"a blank in front", R"(" 5")", 0},
        {"a blank behind", R"("5 ")", 0},
        {"a line feed behind", R"("5\n")", 0},
        {"a fraction", R"("5.0")", 0},
        {"an exponent", "5e3", 0},
        {"hexadecimal", R"("0x5")", 0},
        {"a date", R"("2023-11-14T22:13:20Z")", 0},
        {"Arabic-Indic digits", "\"\xD9\xA5\"", 0},
        {"the byte in front of the digits", R"("5\/")", 0},
        {"the byte behind the digits", R"("5:")", 0},
        {"null", "null", 0},
        {"true", "true", 0},
        {"a list", "[5]", 0},
        {"an object", R"({"a":"5"})", 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Load(R"({"entries":[{"hash":"h","key":"k","createdAt":)" + row.createdAt + "}]}"),
                  (Entries{{"h", "k", row.expected}}))
            << row.name;
    }
    EXPECT_EQ(platform.traceLines, Lines{});
}

TEST_F(IdempotencyFile, AnEntryWithoutAUsableTimeIsDroppedAtTheFirstUse) {
    for (const char* const createdAt :
         {"abc", "", "-", "-5", "9223372036854775807", "-9223372036854775808", "18446744073709551615"}) {
        const std::string hash = test::Md5Of("SIGNUP_FINALIZE|content");
        platform.files[kKeyFile] =
            R"({"entries":[{"hash":")" + hash + R"(","key":"former","createdAt":")" + createdAt + R"("}]})";
        Client started = Started();
        ASSERT_EQ(started.idempotencyEntries.size(), 1u) << createdAt;
        EXPECT_EQ(KeyOf(started, "content").size(), 36u) << createdAt;
        EXPECT_EQ(started.idempotencyEntries.size(), 1u) << createdAt;
    }
}

TEST_F(IdempotencyFile, IsWrittenCompactAndWhole) {
    const struct {
        const char* name;
        Entries entries;
        std::string bytes;
    } rows[] = {
        {"no entries", {}, R"({"entries":[]})"},
        {"one", {{"h", "k", 5}}, R"({"entries":[{"hash":"h","key":"k","createdAt":"5"}]})"},
        {"two in their order",
         {{"h2", "k2", 9}, {"h1", "k1", 3}},
         R"({"entries":[{"hash":"h2","key":"k2","createdAt":"9"},{"hash":"h1","key":"k1",)"
         R"("createdAt":"3"}]})"},
        {"nought", {{"h", "k", 0}}, R"({"entries":[{"hash":"h","key":"k","createdAt":"0"}]})"},
        {"the largest time",
         {{"h", "k", INT64_MAX}},
         R"({"entries":[{"hash":"h","key":"k","createdAt":"9223372036854775807"}]})"},
        {"times below nought are taken as unsigned",
         {{"h", "k", -5}, {"h", "k", INT64_MIN}},
         R"({"entries":[{"hash":"h","key":"k","createdAt":"18446744073709551611"},)"
         R"({"hash":"h","key":"k","createdAt":"9223372036854775808"}]})"},
        {"empty texts", {{"", "", 5}}, R"({"entries":[{"hash":"","key":"","createdAt":"5"}]})"},
        {"texts with escapes",
         {{"a/b\"c\\", "\xC3\xA4\n\t%s", 5}},
         "{\"entries\":[{\"hash\":\"a\\/b\\\"c\\\\\",\"key\":\"\xC3\xA4\\n\\t%s\",\"createdAt\":\"5\"}]}"},
    };
    for (const auto& row : rows) {
        platform.files[kKeyFile] = "a longer file, of which nothing may be left: " + std::string(500, 'x');
        registry::SaveEntries<SystemApi>(kKeyFile, context, Listed(row.entries));
        EXPECT_EQ(platform.files[kKeyFile], row.bytes) << row.name;
    }
    EXPECT_EQ(platform.traceLines, Lines{});
}

TEST_F(IdempotencyFile, WhatWasWrittenIsReadAgain) {
    const Entries entries = {{"a/b\"c\\", "\xC3\xA4\n", 5}, {"", "", 0}, {"h", "k", INT64_MAX}};
    registry::SaveEntries<SystemApi>(kKeyFile, context, Listed(entries));
    EXPECT_EQ(Told(Started().idempotencyEntries), entries);
}

TEST_F(IdempotencyFile, LoadingReplacesTheList) {
    auto list = Listed({{"former", "entry", 1}});
    platform.files[kKeyFile] = R"({"entries":[{"hash":"h","key":"k","createdAt":"5"}]})";
    registry::LoadEntries<SystemApi>(kKeyFile, context, list);
    EXPECT_EQ(Told(list), kOne);
    platform.files.clear();
    registry::LoadEntries<SystemApi>(kKeyFile, context, list);
    EXPECT_EQ(Told(list), Entries{});
}

// --- a platform that fails

TEST_F(IdempotencyFile, AMissingOrEmptyFileIsNoEntriesAndNoLine) {
    EXPECT_TRUE(Started().idempotencyEntries.empty());
    EXPECT_TRUE(platform.files.empty()) << "nobody makes it by looking";
    EXPECT_EQ(Load(""), Entries{});
    EXPECT_EQ(platform.CallCount(Operation::FileRead), 0u);
    EXPECT_EQ(platform.traceLines, Lines{});
}

TEST_F(IdempotencyFile, AFailureToReadIsNoEntries) {
    constexpr char kReadLine[] = "IdempotencyKeyStore: LoadJson: FileRead failed for folder/LIC2";
    const struct {
        const char* name;
        void (*breakIt)(test::ScriptedPlatform& platform);
        Lines lines;
    } rows[] = {
        {"its size fails",
         [](test::ScriptedPlatform& p) { p.FailCall(Operation::FileGetSize, 0x81000008); },
         {}},
        {"nobody tells its size", [](test::ScriptedPlatform& p) { p.table.FileGetSize = nullptr; }, {}},
        {"it can't be opened",
         [](test::ScriptedPlatform& p) { p.FailCall(Operation::FileRead, 0x81000001); },
         {kReadLine}},
        {"it can't be read",
         [](test::ScriptedPlatform& p) { p.FailCall(Operation::FileRead, 0x81000002); },
         {kReadLine}},
        {"nobody reads", [](test::ScriptedPlatform& p) { p.table.FileRead = nullptr; }, {kReadLine}},
    };
    const auto table = platform.table;
    for (const auto& row : rows) {
        platform.table = table;
        platform.traceLines.clear();
        row.breakIt(platform);
        platform.Install();
        EXPECT_EQ(Load(R"({"entries":[{"hash":"h","key":"k","createdAt":"5"}]})"), Entries{}) << row.name;
        EXPECT_EQ(platform.traceLines, row.lines) << row.name;
    }
    platform.table = table;
    platform.Install();
    EXPECT_EQ(Load(R"({"entries":[{"hash":"h","key":"k","createdAt":"5"}]})"), kOne);
}

TEST_F(IdempotencyFile, PercentSignsOfThePathStayData) {
    const auto lineOf = [this](const char* bytes, std::uint32_t readCode) {
        platform.traceLines.clear();
        platform.files["%s%n/LIC2"] = bytes;
        platform.FailCall(Operation::FileRead, readCode);
        const Client started = Started("%s%n/");
        return platform.traceLines;
    };
    EXPECT_EQ(lineOf("x", 0x81000002), Lines{"IdempotencyKeyStore: LoadJson: FileRead failed for %s%n/LIC2"});
    EXPECT_EQ(lineOf("not json", 0),
              Lines{"IdempotencyKeyStore: LoadEntries: failed to parse %s%n/LIC2 as JSON, ignoring"});
}

struct Pause {
    const test::AllocationPause pause;
};

TEST_F(IdempotencyFile, WithoutMemoryForItsTextItIsNoEntries) {
    platform.files[kKeyFile] =
        R"({"entries":[{"hash":"h","key":"k","createdAt":"5"}]})" + std::string(4000, ' ');
    SystemApi::SetTable(test::Hooked<Pause>(platform.table));
    const portable_stl::string path = kKeyFile;
    auto list = Listed({{"former", "entry", 1}});
    {
        const test::FailingAllocation failing(1);
        registry::LoadEntries<SystemApi>(path, context, list);
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(platform.traceLines,
              Lines{"IdempotencyKeyStore: LoadJson: failed to allocate 4052 bytes for folder/LIC2"});
    EXPECT_EQ(platform.CallCount(Operation::FileRead), 0u);
    registry::LoadEntries<SystemApi>(path, context, list);
    EXPECT_EQ(Told(list), kOne);
}

// --- what it costs

std::string FileOf(std::size_t count) {
    std::string bytes = R"({"entries":[)";
    for (std::size_t i = 0; i < count; ++i)
        bytes += (i == 0 ? "" : ",") + test::EntryText(std::to_string(i), "k", kNow);
    return bytes + "]}";
}

TEST_F(IdempotencyFile, CostsWhatItsLengthSays) {
    test::ExpectLinearCost(300, [](std::size_t count) {
        const portable_stl::string text = Text(FileOf(count));
        return test::AllocatedBytes([&] {
            test::EntryList list;
            EXPECT_TRUE(registry::ReadEntries(text, list));
            EXPECT_EQ(list.size(), count);
        });
    });
    test::ExpectLinearCost(300, [](std::size_t count) {
        const auto list = Listed(Entries(count, {"h", "k", 5}));
        return test::AllocatedBytes([&] {
            portable_stl::string text;
            EXPECT_TRUE(registry::WriteEntries(list, text));
            EXPECT_EQ(text.size(), 13 + 39 * count);
        });
    });
}

// A cost that grows with the square would hold this up until the time limit.
TEST_F(IdempotencyFile, AMillionEntriesGoThereAndBack) {
    const Entries entries = Load(FileOf(1'000'000));
    ASSERT_EQ(entries.size(), 1'000'000u);
    EXPECT_EQ(entries.back(), (Entry{"999999", "k", kNow}));
    const std::string read = platform.files[kKeyFile];
    registry::SaveEntries<SystemApi>(kKeyFile, context, Listed(entries));
    EXPECT_TRUE(platform.files[kKeyFile] == read);
}

}  // namespace
