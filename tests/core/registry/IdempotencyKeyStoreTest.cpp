// The key of an operation: what it is made of, and how long it lives.
#include "core/src/registry/IdempotencyKeyStore.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "tests/core/registry/KeyStoreFixture.h"
#include "tests/support/LinearCost.h"

namespace {

using test::Entries;
using test::EntryText;
using test::KeyFrom;
using test::kKeyFile;
using test::kNow;
using test::Listed;
using test::Md5Of;
using test::Operation;
using test::Text;
using test::Told;

class IdempotencyKeyStore : public test::KeyStoreTest {};

TEST_F(IdempotencyKeyStore, MakesAKeyOfMachineTimeNumberAndHash) {
    const struct {
        const char* name;
        std::vector<std::string> machineIds;
        const char* machineId;
        std::uint64_t now;
    } rows[] = {
        {"the first of two identifiers", {"MAC-00-11-22-33-44-55", "serial"}, "MAC-00-11-22-33-44-55", kNow},
        {"the only one", {"serial"}, "serial", kNow},
        {"an empty first one", {"", "serial"}, "", kNow},
        {"none", {}, "", kNow},
        {"with a colon and a percent sign", {"a:b%s"}, "a:b%s", kNow},
        {"of many bytes", {std::string(1000, 'm')}, nullptr, kNow},
        {"at the beginning of time", {"m"}, "m", 0},
        {"a second later", {"m"}, "m", 1},
        {"behind 2038", {"m"}, "m", 4'294'967'296},
        {"at the end of time", {"m"}, "m", 9'223'372'036'854'775'807},
    };
    for (const auto& row : rows) {
        platform.machineIds = row.machineIds;
        platform.nowSeconds = row.now;
        client.idempotencyEntries.clear();
        const std::string machineId = row.machineId != nullptr ? row.machineId : row.machineIds[0];
        const std::string hash = Md5Of("SIGNUP_FINALIZE|content|");
        const std::uint64_t number = registry::NextKeyNumber() + 1;
        const std::string key = KeyOf("content|");
        EXPECT_EQ(key, KeyFrom(machineId, row.now, number, hash)) << row.name;
        EXPECT_EQ(key.size(), 36u) << row.name;
        EXPECT_EQ(Told(client.idempotencyEntries), (Entries{{hash, key, static_cast<std::int64_t>(row.now)}}))
            << row.name;
        EXPECT_EQ(platform.files[kKeyFile], R"({"entries":[)" + EntryText(hash, key, row.now) + "]}")
            << row.name;
    }
}

TEST_F(IdempotencyKeyStore, HashesEveryByteOfScopeAndContent) {
    const struct {
        const char* name;
        const char* scope;
        std::string content;
    } rows[] = {
        {"no content", "SIGNUP_FINALIZE", ""},
        {"no scope", "", "content"},
        {"neither", "", ""},
        {"another scope", "CREATE_TICKET", "code|cause|"},
        {"a bar at the end", "SIGNUP_FINALIZE", "code|cause|"},
        {"none at the end", "SIGNUP_FINALIZE", "code|cause"},
        {"percent signs", "SIGNUP_FINALIZE", "%s%n%"},
        {"bytes above 127", "SIGNUP_FINALIZE", "\xC3\xA4\xFF"},
        {"a zero byte", "SIGNUP_FINALIZE", std::string("a\0b", 3)},
        {"what stands in front of the zero byte", "SIGNUP_FINALIZE", "a"},
        {"a megabyte", "SIGNUP_FINALIZE", std::string(1'000'000, 'x')},
    };
    std::size_t count = 0;
    for (const auto& row : rows) {
        EXPECT_EQ(KeyOf(client, row.content, row.scope).size(), 36u) << row.name;
        ++count;
        const Entries entries = Told(client.idempotencyEntries);
        ASSERT_EQ(entries.size(), count) << row.name;
        EXPECT_EQ(entries.back().hash, Md5Of(std::string(row.scope) + "|" + row.content)) << row.name;
    }
}

TEST_F(IdempotencyKeyStore, TheScopeOfASignUpStandsFirm) {
    EXPECT_STREQ(registry::kSignUpFinalizeScope, "SIGNUP_FINALIZE");
}

TEST_F(IdempotencyKeyStore, TheSameOperationHasOneKeyAndOneEntry) {
    const std::string key = KeyOf("content");
    const std::uint32_t writes = Writes();
    EXPECT_EQ(writes, 2u) << "emptied and written";
    EXPECT_EQ(KeyOf("content"), key);
    EXPECT_EQ(KeyOf("content"), key);
    EXPECT_EQ(client.idempotencyEntries.size(), 1u);
    EXPECT_EQ(Writes(), writes);
    EXPECT_EQ(platform.CallCount(Operation::GetMachineIds), 2u) << "asked for its size and its text, once";
}

TEST_F(IdempotencyKeyStore, EachOperationHasAKeyOfItsOwn) {
    const std::string first = KeyOf("content");
    const std::string second = KeyOf("other content");
    const std::string third = KeyOf(client, "content", "CREATE_TICKET");
    EXPECT_NE(first, second);
    EXPECT_NE(first, third);
    EXPECT_NE(second, third);
    EXPECT_EQ(Told(client.idempotencyEntries),
              (Entries{{Md5Of("SIGNUP_FINALIZE|content"), first, kNow},
                       {Md5Of("SIGNUP_FINALIZE|other content"), second, kNow},
                       {Md5Of("CREATE_TICKET|content"), third, kNow}}));
    EXPECT_EQ(platform.files[kKeyFile],
              R"({"entries":[)" + EntryText(Md5Of("SIGNUP_FINALIZE|content"), first, kNow) + "," +
                  EntryText(Md5Of("SIGNUP_FINALIZE|other content"), second, kNow) + "," +
                  EntryText(Md5Of("CREATE_TICKET|content"), third, kNow) + "]}");
}

TEST_F(IdempotencyKeyStore, AKeyLivesForADay) {
    const struct {
        const char* name;
        std::uint64_t later;
        bool lives;
    } rows[] = {
        {"in the same second", kNow, true},
        {"a second later", kNow + 1, true},
        {"in its last second", kNow + 86399, true},
        {"after a day", kNow + 86400, false},
        {"after a day and a second", kNow + 86401, false},
        {"after years", kNow + 100'000'000, false},
        {"after the longest time", 9'223'372'036'854'775'807, false},
        {"with the clock set back by a second", kNow - 1, false},
        {"by a day", kNow - 86400, false},
        {"by 2^32 seconds and a little", 1, false},
        {"with a clock of nought", 0, false},
    };
    for (const auto& row : rows) {
        platform.nowSeconds = kNow;
        client.idempotencyEntries.clear();
        const std::string key = KeyOf("content");
        platform.nowSeconds = row.later;
        const std::string again = KeyOf("content");
        EXPECT_EQ(again == key, row.lives) << row.name;
        EXPECT_EQ(Told(client.idempotencyEntries),
                  (Entries{{Md5Of("SIGNUP_FINALIZE|content"), again,
                            static_cast<std::int64_t>(row.lives ? kNow : row.later)}}))
            << row.name;
    }
}

TEST_F(IdempotencyKeyStore, AUseDoesNotLengthenItsLife) {
    const std::string key = KeyOf("content");
    platform.nowSeconds = kNow + 86399;
    EXPECT_EQ(KeyOf("content"), key);
    platform.nowSeconds = kNow + 86400;
    EXPECT_NE(KeyOf("content"), key);
}

TEST_F(IdempotencyKeyStore, AClockThatJumpsForthAndBackForgets) {
    const std::string key = KeyOf("content");
    platform.nowSeconds = kNow + 90000;
    EXPECT_NE(KeyOf("other"), key);
    platform.nowSeconds = kNow;
    const std::string again = KeyOf("content");
    EXPECT_NE(again, key);
    EXPECT_EQ(Told(client.idempotencyEntries), (Entries{{Md5Of("SIGNUP_FINALIZE|content"), again, kNow}}))
        << "the other one comes from the future now";
}

TEST_F(IdempotencyKeyStore, DropsTheDeadAndKeepsTheOrderOfTheLiving) {
    const std::string hash = Md5Of("SIGNUP_FINALIZE|content");
    const std::int64_t now = kNow;
    client.idempotencyEntries = Listed({{"old", "1", now - 86400},
                                        {"young", "2", now - 86399},
                                        {"future", "3", now + 1},
                                        {hash, "the key", now - 5},
                                        {"far future", "4", INT64_MAX},
                                        {"today", "5", now},
                                        {"oldest", "6", INT64_MIN},
                                        {"undated", "7", 0},
                                        {hash, "a second key", now}});
    platform.files[kKeyFile] = "as it was";
    EXPECT_EQ(KeyOf("content"), "the key") << "the first match";
    const Entries living = {{"young", "2", now - 86399},
                            {hash, "the key", now - 5},
                            {"today", "5", now},
                            {hash, "a second key", now}};
    EXPECT_EQ(Told(client.idempotencyEntries), living);
    EXPECT_EQ(Writes(), 0u);
    EXPECT_EQ(platform.files[kKeyFile], "as it was");

    const std::string key = KeyOf("other");
    EXPECT_EQ(platform.files[kKeyFile], R"({"entries":[)" + EntryText("young", "2", kNow - 86399) + "," +
                                            EntryText(hash, "the key", kNow - 5) + "," +
                                            EntryText("today", "5", kNow) + "," +
                                            EntryText(hash, "a second key", kNow) + "," +
                                            EntryText(Md5Of("SIGNUP_FINALIZE|other"), key, kNow) + "]}")
        << "the dead leave the file with the next key";
}

TEST_F(IdempotencyKeyStore, ComparesHashesExactly) {
    const std::string hash = Md5Of("SIGNUP_FINALIZE|content");
    std::string upper = hash;
    for (char& digit : upper)
        digit = static_cast<char>(digit >= 'a' ? digit - 'a' + 'A' : digit);
    ASSERT_NE(upper, hash);
    client.idempotencyEntries = Listed({{upper, "upper case", kNow},
                                        {hash.substr(0, 31), "too short", kNow},
                                        {hash + "0", "too long", kNow},
                                        {"", "empty", kNow}});
    EXPECT_EQ(KeyOf("content").size(), 36u);
    EXPECT_EQ(client.idempotencyEntries.size(), 5u);
}

TEST_F(IdempotencyKeyStore, ADeadMatchDoesNotHideALivingOne) {
    const std::string hash = Md5Of("SIGNUP_FINALIZE|content");
    client.idempotencyEntries =
        Listed({{hash, "dead", kNow - 90000}, {hash, "future", kNow + 9}, {hash, "living", kNow}});
    EXPECT_EQ(KeyOf("content"), "living");
    EXPECT_EQ(client.idempotencyEntries.size(), 1u);
}

// --- the text of a key

TEST(FormatGuidText, GroupsExactly32Characters) {
    const struct {
        const char* name;
        const char* text;
        const char* expected;
    } rows[] = {
        {"empty", "", ""},
        {"32 digits", "0123456789abcdef0123456789abcdef", "01234567-89ab-cdef-0123-456789abcdef"},
        {"32 of any character", "ABCDEFGHIJKLMNOPQRSTUVWXYZ-/ {}%", "ABCDEFGH-IJKL-MNOP-QRST-UVWXYZ-/ {}%"},
        {"no version bits are set", "00000000000000000000000000000000",
         "00000000-0000-0000-0000-000000000000"},
        {"31", "0123456789abcdef0123456789abcde", "0123456789abcdef0123456789abcde"},
        {"33", "0123456789abcdef0123456789abcdef0", "0123456789abcdef0123456789abcdef0"},
        {"one", "x", "x"},
        {"its own result", "01234567-89ab-cdef-0123-456789abcdef", "01234567-89ab-cdef-0123-456789abcdef"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Text(registry::FormatGuidText(row.text)), row.expected) << row.name;
}

// --- what it costs

TEST_F(IdempotencyKeyStore, FindsTheLastOfAMillion) {
    const std::string hash = Md5Of("SIGNUP_FINALIZE|content");
    portable_stl::vector<registry::IdempotencyEntry>& list = client.idempotencyEntries;
    list.reserve(1'000'000).value();
    for (int i = 0; i < 999'999; ++i)
        list.push_back({"h", "k", kNow}).value();
    list.push_back({Text(hash), "the last", kNow}).value();
    EXPECT_EQ(KeyOf("content"), "the last");
    EXPECT_EQ(list.size(), 1'000'000u);
    platform.nowSeconds = kNow + 86400;
    EXPECT_EQ(KeyOf("content").size(), 36u);
    EXPECT_EQ(list.size(), 1u);
}

TEST_F(IdempotencyKeyStore, ANewKeyCostsWhatTheListSays) {
    test::ExpectLinearCost(300, [this](std::size_t count) {
        client.idempotencyEntries =
            Listed(Entries(count, {std::string(32, 'h'), std::string(36, 'k'), kNow}));
        return test::AllocatedBytes([this] { EXPECT_EQ(KeyOf("content").size(), 36u); });
    });
}

// --- the first key of a process

class IdempotencyKeyStoreDeathTest : public IdempotencyKeyStore {
protected:
    IdempotencyKeyStoreDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// A process of its own, so that its numbers begin at 1. The expected texts are what md5sum makes of
// "SIGNUP_FINALIZE|code|cause|" and, with that, of "MAC-AA-BB-CC-DD-EE-FF:1700000000:1:<hash>" and ":2:".
TEST_F(IdempotencyKeyStoreDeathTest, NumbersBeginAtOne) {
    const auto tellTwoKeys = [this] {
        const std::string first = KeyOf("code|cause|");
        const std::string hash = Text(client.idempotencyEntries[0].hash);
        client.idempotencyEntries.clear();
        std::fprintf(stderr, "<%s %s %s>", hash.c_str(), first.c_str(), KeyOf("code|cause|").c_str());
        std::fflush(stderr);
        std::_Exit(0);
    };
    EXPECT_EXIT(tellTwoKeys(), ::testing::ExitedWithCode(0),
                "<b0daefb89259fe6e73b8cd41b07d4164 95f43b77-d964-14e2-3225-94154215e5de "
                "032249b7-0e37-ddf4-8069-9d8255a04223>");
}

}  // namespace
