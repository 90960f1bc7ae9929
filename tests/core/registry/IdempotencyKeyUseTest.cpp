// Where a key goes: into the header of its request, through all repeats of it, and across a restart.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "core/src/registry/requests/ContextRequests.h"
#include "core/src/system/LogOutlets.h"
#include "tests/core/registry/KeyStoreFixture.h"

namespace {

using test::Entries;
using test::EntryText;
using test::Headers;
using test::kKeyFile;
using test::kNow;
using test::kScope;
using test::Lines;
using test::Listed;
using test::Md5Of;
using test::Operation;
using test::SystemApi;
using test::Text;
using test::Told;

class IdempotencyKeyUse : public test::KeyStoreTest {
protected:
    IdempotencyKeyUse() { platform.traceLines.clear(); }  // the request's own making

    void Attach(const char* content) {
        registry::AttachIdempotencyKey<SystemApi>(client, *request, kScope, content, context);
    }

    test::RequestPointer request = portable_stl::make_unique<registry::CustomerContextRequest<SystemApi>>(
        registry::CustomerContextParams{test::kBaseUrl});
};

TEST_F(IdempotencyKeyUse, StandsBehindTheHeadersOfTheRequest) {
    request->headers.clear();
    request->AddHeader("Accept", "a");
    Attach("content");
    ASSERT_EQ(client.idempotencyEntries.size(), 1u);
    const std::string key = Text(client.idempotencyEntries[0].key);
    EXPECT_EQ(key.size(), 36u);
    EXPECT_EQ(test::HeadersOf(*request), (Headers{{"Accept", "a"}, {"Idempotency-Key", key}}));
}

TEST_F(IdempotencyKeyUse, AttachedTwiceItStandsOnce) {
    request->headers.clear();
    Attach("content");
    request->AddHeader("Later", "l");
    Attach("other content");
    ASSERT_EQ(client.idempotencyEntries.size(), 2u);
    EXPECT_EQ(test::HeadersOf(*request),
              (Headers{{"Idempotency-Key", Text(client.idempotencyEntries[1].key)}, {"Later", "l"}}));
    Attach("content");
    EXPECT_EQ(test::HeadersOf(*request),
              (Headers{{"Idempotency-Key", Text(client.idempotencyEntries[0].key)}, {"Later", "l"}}));
}

TEST_F(IdempotencyKeyUse, WithoutAKeyTheRequestStaysAsItWas) {
    const Headers before = test::HeadersOf(*request);
    for (const std::uint32_t nth : {1u, 2u}) {
        platform.FailCall(Operation::Md5, 0x81000011, nth);
        Attach("content");
        EXPECT_EQ(test::HeadersOf(*request), before) << nth;
    }
    client.idempotencyEntries = Listed({{Md5Of("SIGNUP_FINALIZE|content"), "", kNow}});
    Attach("content");
    EXPECT_EQ(test::HeadersOf(*request), before) << "an entry of the file may hold an empty key";
    EXPECT_TRUE(platform.files.empty());
}

TEST_F(IdempotencyKeyUse, WithoutAKeyTheRequestGoesOutOnce) {
    platform.FailCall(Operation::Md5, 0x81000011);
    Attach("content");
    platform.FailExchange(0x81000014);
    portable_stl::string body;
    portable_stl::string headers;
    std::uint32_t httpCode = 0;
    EXPECT_EQ(client.SendRequest(request, body, headers, httpCode, context), ResultCode::kTimedOut);
    EXPECT_EQ(platform.requests.size(), 1u);
}

TEST_F(IdempotencyKeyUse, EveryRepeatCarriesTheSameKey) {
    request->headers.clear();
    Attach("content");
    platform.FailExchange(0x81000014);
    test::ScriptedAnswer conflict;
    conflict.status = 409;
    conflict.headers = "HTTP/1.1 409\r\nRetry-After: 2\r\n\r\n";
    platform.AnswerWith(conflict);
    platform.AnswerWith(200, "");
    portable_stl::string body;
    portable_stl::string headers;
    std::uint32_t httpCode = 0;
    EXPECT_EQ(client.SendRequest(request, body, headers, httpCode, context), ResultCode::kSuccess);
    ASSERT_EQ(platform.requests.size(), 3u);
    const Headers expected = {{"Idempotency-Key", Text(client.idempotencyEntries[0].key)},
                              {"x-vqm-custom", "vqm-client"}};
    for (const auto& sent : platform.requests)
        EXPECT_EQ(sent.headers, expected);
}

TEST_F(IdempotencyKeyUse, OutlivesARestart) {
    const std::string key = KeyOf("content");
    const std::string bytes = platform.files[kKeyFile];
    platform.nowSeconds = kNow + 86399;
    Client restarted = Started();
    EXPECT_EQ(Told(restarted.idempotencyEntries), (Entries{{Md5Of("SIGNUP_FINALIZE|content"), key, kNow}}));
    EXPECT_EQ(KeyOf(restarted, "content"), key);
    EXPECT_EQ(platform.files[kKeyFile], bytes);

    platform.nowSeconds = kNow + 86400;
    Client nextDay = Started();
    EXPECT_EQ(nextDay.idempotencyEntries.size(), 1u) << "the start sweeps nothing";
    const std::string next = KeyOf(nextDay, "content");
    EXPECT_NE(next, key);
    EXPECT_EQ(platform.files[kKeyFile],
              R"({"entries":[)" + EntryText(Md5Of("SIGNUP_FINALIZE|content"), next, kNow + 86400) + "]}");
}

TEST_F(IdempotencyKeyUse, OutlivesAChangeOfTheMachinesIdentifiers) {
    const struct {
        const char* name;
        std::vector<std::string> machineIds;
    } rows[] = {
        {"another adapter in front", {"MAC-11-22-33-44-55-66", "MAC-AA-BB-CC-DD-EE-FF", "os-serial"}},
        {"another system", {"another-serial"}},
        {"none", {}},
    };
    const std::string key = KeyOf("content");
    const std::string bytes = platform.files[kKeyFile];
    const std::uint32_t writes = Writes();
    ASSERT_GT(writes, 0u);
    for (const auto& row : rows) {
        platform.machineIds = row.machineIds;
        EXPECT_EQ(KeyOf("content"), key) << row.name;
        Client restarted = Started();
        EXPECT_EQ(KeyOf(restarted, "content"), key) << row.name;
        EXPECT_EQ(Writes(), writes) << row.name;
        EXPECT_EQ(platform.files[kKeyFile], bytes) << row.name;
    }
}

TEST_F(IdempotencyKeyUse, OfTwoClientsOnOneFolderTheLastWriterWins) {
    Client first = Started();
    Client second = Started();
    const std::string one = KeyOf(first, "content");
    const std::string other = KeyOf(second, "content");
    EXPECT_NE(one, other) << "in the same second, of the same machine and operation";
    EXPECT_EQ(KeyOf(first, "content"), one) << "each remembers its own";
    Client third = Started();
    EXPECT_EQ(KeyOf(third, "content"), other);
}

TEST_F(IdempotencyKeyUse, EachFolderHasItsOwnFile) {
    Client first = Started("a/");
    Client second = Started("b/");
    Client unterminated = Started("c");
    const std::string one = KeyOf(first, "content");
    const std::string other = KeyOf(second, "content");
    const std::string third = KeyOf(unterminated, "content");
    const std::string hash = Md5Of("SIGNUP_FINALIZE|content");
    EXPECT_EQ(platform.files, (std::map<std::string, std::string>{
                                  {"a/LIC2", R"({"entries":[)" + EntryText(hash, one, kNow) + "]}"},
                                  {"b/LIC2", R"({"entries":[)" + EntryText(hash, other, kNow) + "]}"},
                                  {"cLIC2", R"({"entries":[)" + EntryText(hash, third, kNow) + "]}"}}));
}

TEST_F(IdempotencyKeyUse, WithoutAFolderNothingIsLoadedAndAllIsSavedInTheWorkingFolder) {
    const std::string hash = Md5Of("SIGNUP_FINALIZE|content");
    platform.files["LIC2"] = R"({"entries":[)" + EntryText(hash, "former", kNow) + "]}";
    Client homeless = Started("");
    EXPECT_TRUE(homeless.idempotencyEntries.empty());
    EXPECT_EQ(platform.CallCount(Operation::FileGetSize), 0u);
    EXPECT_EQ(platform.CallCount(Operation::FileRead), 0u);
    const std::string key = KeyOf(homeless, "content");
    EXPECT_NE(key, "former");
    EXPECT_EQ(platform.files["LIC2"], R"({"entries":[)" + EntryText(hash, key, kNow) + "]}");
}

TEST_F(IdempotencyKeyUse, AFailureToSaveCostsTheRestartAlone) {
    constexpr char kPersist[] =
        "IdempotencyKeyStore: SaveEntries: failed to persist 100%s/LIC2; key reuse across retries/app "
        "relaunch will not work until this succeeds";
    constexpr char kSetSize[] = "IdempotencyKeyStore: StoreJson: FileSetSize failed for 100%s/LIC2";
    constexpr char kWrite[] = "IdempotencyKeyStore: StoreJson: FileWrite failed for 100%s/LIC2";
    const struct {
        const char* name;
        void (*breakIt)(test::ScriptedPlatform& platform);
        Lines lines;
        std::string left;  // of the former file
        bool writes;
    } rows[] = {
        {"it can't be emptied",
         [](test::ScriptedPlatform& p) { p.FailCall(Operation::FileSetSize, 0x81000009); },
         {kSetSize, kPersist},
         "former",
         false},
        {"it can't be opened",
         [](test::ScriptedPlatform& p) { p.FailCall(Operation::FileSetSize, 0x81000001); },
         {kSetSize, kPersist},
         "former",
         false},
        {"nobody empties",
         [](test::ScriptedPlatform& p) { p.table.FileSetSize = nullptr; },
         {kSetSize, kPersist},
         "former",
         false},
        {"it can't be written",
         [](test::ScriptedPlatform& p) { p.FailCall(Operation::FileWrite, 0x81000003); },
         {kWrite, kPersist},
         "",
         true},
        {"nobody writes",
         [](test::ScriptedPlatform& p) { p.table.FileWrite = nullptr; },
         {kWrite, kPersist},
         "",
         false},
    };
    const auto table = platform.table;
    for (const auto& row : rows) {
        platform.table = table;
        platform.files["100%s/LIC2"] = "former";
        platform.traceLines.clear();
        client.dataFolder = "100%s/";
        client.idempotencyEntries.clear();
        row.breakIt(platform);
        platform.Install();
        const std::uint32_t writes = platform.CallCount(Operation::FileWrite);
        const std::string key = KeyOf("content");
        EXPECT_EQ(key.size(), 36u) << row.name;
        EXPECT_EQ(KeyOf("content"), key) << row.name << ": remembered all the same";
        EXPECT_EQ(platform.traceLines, row.lines) << row.name;
        EXPECT_EQ(platform.files["100%s/LIC2"], row.left) << row.name;
        EXPECT_EQ(platform.CallCount(Operation::FileWrite) - writes, row.writes ? 1u : 0u) << row.name;

        platform.table = table;
        platform.Install();
        const std::string other = KeyOf("other");
        EXPECT_EQ(platform.files["100%s/LIC2"],
                  R"({"entries":[)" + EntryText(Md5Of("SIGNUP_FINALIZE|content"), key, kNow) + "," +
                      EntryText(Md5Of("SIGNUP_FINALIZE|other"), other, kNow) + "]}")
            << row.name << ": the next key takes it along";
    }
}

TEST_F(IdempotencyKeyUse, GoesTheSameWayWithoutALog) {
    quillmarkclient_core::ProcessLogOutlets().trace = nullptr;
    platform.FailCall(Operation::FileWrite, 0x81000003);
    const std::string key = KeyOf("content");
    EXPECT_EQ(key.size(), 36u);
    EXPECT_EQ(KeyOf("content"), key);
    EXPECT_TRUE(platform.traceLines.empty());
}

TEST_F(IdempotencyKeyUse, HandsTheContextToEveryOperation) {
    static std::vector<void*> seen;
    seen.clear();
    platform.table.GetTime = [](std::uint64_t* seconds, void* given) -> std::uint32_t {
        *seconds = 5;
        seen.push_back(given);
        return 0;
    };
    platform.table.FileSetSize = [](const char*, std::uint64_t size, void* given) -> std::uint32_t {
        EXPECT_EQ(size, 0u);
        seen.push_back(given);
        return 0;
    };
    platform.table.FileWrite = [](const char*, std::uint64_t offset, const void*, std::uint32_t,
                                  std::uint32_t*, void* given) -> std::uint32_t {
        EXPECT_EQ(offset, 0u);
        seen.push_back(given);
        return 0;
    };
    platform.table.FileGetSize = [](const char*, std::uint32_t* size, void* given) -> std::uint32_t {
        *size = 1;
        seen.push_back(given);
        return 0;
    };
    platform.table.FileRead = [](const char*, std::uint64_t offset, void* buffer, std::uint32_t,
                                 std::uint32_t*, void* given) -> std::uint32_t {
        EXPECT_EQ(offset, 0u);
        *static_cast<char*>(buffer) = '1';
        seen.push_back(given);
        return 0;
    };
    platform.Install();
    Client fresh = Started();
    EXPECT_EQ(KeyOf(fresh, "content").size(), 36u);
    EXPECT_EQ(seen, std::vector<void*>(5, context));
}

}  // namespace
