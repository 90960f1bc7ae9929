// What is left of a key when the platform, or the memory, fails.
#include <cstdlib>
#include <vector>

#include "portable_stl/exception.h"
#include "tests/core/registry/KeyStoreFixture.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/HookedTable.h"

namespace {

using test::Entries;
using test::EntryText;
using test::KeyFrom;
using test::kKeyFile;
using test::kNow;
using test::Lines;
using test::Listed;
using test::Md5Of;
using test::Operation;
using test::SystemApi;
using test::Text;
using test::Told;

class IdempotencyKeyFailures : public test::KeyStoreTest {};

TEST_F(IdempotencyKeyFailures, WithoutAHashNothingHappens) {
    client.idempotencyEntries = Listed({{"dead", "1", 5}});
    platform.FailCall(Operation::Md5, 0x81000011);
    EXPECT_EQ(KeyOf("content"), "");
    platform.table.Md5 = nullptr;
    platform.Install();
    EXPECT_EQ(KeyOf("content"), "");
    EXPECT_EQ(Told(client.idempotencyEntries), (Entries{{"dead", "1", 5}})) << "not even swept";
    EXPECT_EQ(platform.CallCount(Operation::GetTime), 0u);
    EXPECT_EQ(platform.CallCount(Operation::GetMachineIds), 0u);
    EXPECT_EQ(Writes(), 0u);
    EXPECT_TRUE(platform.files.empty());
    EXPECT_EQ(platform.traceLines, Lines{});
}

TEST_F(IdempotencyKeyFailures, WithoutADigestOfTheMaterialThereIsNoKey) {
    client.idempotencyEntries = Listed({{"dead", "1", 5}, {"living", "2", kNow}});
    platform.FailCall(Operation::Md5, 0x81000011, 2);
    EXPECT_EQ(KeyOf("content"), "");
    EXPECT_EQ(Told(client.idempotencyEntries), (Entries{{"living", "2", kNow}}));
    EXPECT_EQ(Writes(), 0u);
    EXPECT_TRUE(platform.files.empty());
    EXPECT_EQ(KeyOf("content").size(), 36u) << "the next try makes one";
}

// The digest of a platform with an opinion of its own on MD5; `sizes` are those of the next two.
struct OddDigest {
    static inline std::vector<std::uint32_t> sizes;
    static inline std::size_t next = 0;
    static inline int blocksOut = 0;

    static std::uint32_t Md5(const void*, std::uint32_t, std::uint8_t** digest, std::uint32_t* size, void*) {
        *size = sizes.at(next++);
        *digest = static_cast<std::uint8_t*>(std::malloc(*size + 1));
        ++blocksOut;
        for (std::uint32_t i = 0; i < *size; ++i)
            (*digest)[i] = static_cast<std::uint8_t>(0xA0 + i);
        return 0;
    }
    static void Take(void* block, void*) {
        --blocksOut;
        std::free(block);
    }
};

TEST_F(IdempotencyKeyFailures, TakesADigestOfAnyLength) {
    const struct {
        const char* name;
        std::vector<std::uint32_t> sizes;
        const char* hash;
        const char* key;
    } rows[] = {
        {"no hash", {0}, nullptr, ""},
        {"a short hash", {2, 16}, "a0a1", "a0a1a2a3-a4a5-a6a7-a8a9-aaabacadaeaf"},
        {"no key", {16, 0}, nullptr, ""},
        {"a key of one byte", {16, 1}, "a0a1a2a3a4a5a6a7a8a9aaabacadaeaf", "a0"},
        {"a key of 15 bytes", {16, 15}, "a0a1a2a3a4a5a6a7a8a9aaabacadaeaf", "a0a1a2a3a4a5a6a7a8a9aaabacadae"},
        {"a key of 17 bytes",
         {16, 17},
         "a0a1a2a3a4a5a6a7a8a9aaabacadaeaf",
         "a0a1a2a3a4a5a6a7a8a9aaabacadaeafb0"},
    };
    platform.table.Md5 = &OddDigest::Md5;
    platform.table.FreeCryptoBuffer = &OddDigest::Take;
    platform.Install();
    for (const auto& row : rows) {
        OddDigest::sizes = row.sizes;
        OddDigest::next = 0;
        client.idempotencyEntries.clear();
        platform.files.clear();
        EXPECT_EQ(KeyOf("content"), row.key) << row.name;
        if (row.hash == nullptr) {
            EXPECT_TRUE(client.idempotencyEntries.empty()) << row.name;
            EXPECT_TRUE(platform.files.empty()) << row.name;
        } else {
            EXPECT_EQ(Told(client.idempotencyEntries), (Entries{{row.hash, row.key, kNow}})) << row.name;
            EXPECT_EQ(platform.files[kKeyFile], R"({"entries":[)" + EntryText(row.hash, row.key, kNow) + "]}")
                << row.name;
        }
        EXPECT_EQ(OddDigest::blocksOut, 0) << row.name;
    }
}

TEST_F(IdempotencyKeyFailures, WithoutAClockItStandsAtNought) {
    const Entries before = {{"living", "1", kNow},
                            {"undated", "2", 0},
                            {"of the second before", "3", -1},
                            {"future", "4", 1},
                            {"dead", "5", -86400}};
    const Entries kept = {{"undated", "2", 0}, {"of the second before", "3", -1}};
    const std::string hash = Md5Of("SIGNUP_FINALIZE|content");
    for (const bool missing : {false, true}) {
        client.idempotencyEntries = Listed(before);
        if (missing) {
            platform.table.GetTime = nullptr;
            platform.Install();
        }
        platform.FailCall(Operation::GetTime, 0x8100000A);
        const std::uint64_t number = registry::NextKeyNumber() + 1;
        const std::string key = KeyOf("content");
        EXPECT_EQ(key, KeyFrom("MAC-AA-BB-CC-DD-EE-FF", 0, number, hash)) << missing;
        Entries expected = kept;
        expected.push_back({hash, key, 0});
        EXPECT_EQ(Told(client.idempotencyEntries), expected) << missing;
        platform.FailCall(Operation::GetTime, 0x8100000A);
        EXPECT_EQ(KeyOf("content"), key) << missing << ": the clock stands still";
        EXPECT_EQ(platform.files[kKeyFile],
                  R"({"entries":[)" + EntryText("undated", "2", 0) + "," +
                      EntryText("of the second before", "3", 18'446'744'073'709'551'615ULL) + "," +
                      EntryText(hash, key, 0) + "]}")
            << missing;
    }
}

TEST_F(IdempotencyKeyFailures, WhatAFailingClockWroteDoesNotCount) {
    platform.table.GetTime = [](std::uint64_t* seconds, void*) -> std::uint32_t {
        *seconds = 12345;
        return 0x8100000A;
    };
    platform.Install();
    EXPECT_EQ(KeyOf("content").size(), 36u);
    ASSERT_EQ(client.idempotencyEntries.size(), 1u);
    EXPECT_EQ(client.idempotencyEntries[0].createdAt, 0);
}

TEST_F(IdempotencyKeyFailures, WithoutAMachineIdentifierAKeyIsMadeAllTheSame) {
    const struct {
        const char* name;
        void (*breakIt)(test::ScriptedPlatform& platform);
    } rows[] = {
        {"its size fails",
         [](test::ScriptedPlatform& p) { p.FailCall(Operation::GetMachineIds, 0x80000001); }},
        {"its text fails",
         [](test::ScriptedPlatform& p) { p.FailCall(Operation::GetMachineIds, 0x80000001, 2); }},
        {"there is no room", [](test::ScriptedPlatform& p) { p.FailCall(Operation::Alloc, 0x80000003); }},
        {"there is none", [](test::ScriptedPlatform& p) { p.machineIds.clear(); }},
        {"there are no blocks", [](test::ScriptedPlatform& p) { p.table.Alloc = nullptr; }},
        {"there is no such operation", [](test::ScriptedPlatform& p) { p.table.GetMachineIds = nullptr; }},
    };
    const std::string hash = Md5Of("SIGNUP_FINALIZE|content");
    const auto table = platform.table;
    for (const auto& row : rows) {
        platform.table = table;
        platform.machineIds = {"a machine"};
        client.idempotencyEntries.clear();
        row.breakIt(platform);
        platform.Install();
        const std::uint64_t number = registry::NextKeyNumber() + 1;
        EXPECT_EQ(KeyOf("content"), KeyFrom("", kNow, number, hash)) << row.name;
        EXPECT_EQ(client.idempotencyEntries.size(), 1u) << row.name;
    }
    EXPECT_EQ(platform.traceLines, Lines{});
}

struct Pause {
    const test::AllocationPause pause;
};

TEST_F(IdempotencyKeyFailures, ExhaustedMemoryLeavesTheFormerListOrTheNewOne) {
    const Entries former = {{"dead", "1", 5}, {"living", "2", kNow}};
    const portable_stl::string folder = "a/folder/whose/name/is/long/";
    const portable_stl::string content = "a content that is longer than a short string";
    const std::string hash = Md5Of("SIGNUP_FINALIZE|" + Text(content));
    SystemApi::SetTable(test::Hooked<Pause>(platform.table));
    int thrown = 0;
    for (std::size_t nth = 1;; ++nth) {
        auto list = Listed(former);
        portable_stl::string key;
        bool hasFailed = false;
        {
            const test::FailingAllocation failing(nth);
            try {
                key = registry::GetOrCreateKey<SystemApi>(folder, list, test::kScope, content, context);
            } catch (const portable_stl::exception&) {
                ++thrown;
            }
            hasFailed = failing.HasFailed();
        }
        EXPECT_EQ(platform.BlocksOut(), 0) << "allocation " << nth;
        const Entries left = Told(list);
        if (left != former) {
            ASSERT_EQ(left.size(), 2u) << "allocation " << nth;
            EXPECT_EQ(left[0], former[1]) << "allocation " << nth;
            EXPECT_EQ(left[1].hash, hash) << "allocation " << nth;
            EXPECT_EQ(left[1].key.size(), 36u) << "allocation " << nth;
            EXPECT_EQ(left[1].createdAt, static_cast<std::int64_t>(kNow)) << "allocation " << nth;
        }
        if (!hasFailed) {
            EXPECT_EQ(left.size(), 2u);
            EXPECT_EQ(Text(key), left[1].key);
            break;
        }
    }
    EXPECT_GT(thrown, 10) << "the containers' failures are not caught";
}

}  // namespace
