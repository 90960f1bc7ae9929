#include "core/src/system/SystemApi.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/AllocationFailure.h"

namespace {

using quillmarkclient_core::HttpHeaderPair;
using quillmarkclient_core::PlatformTable;
using quillmarkclient_core::SystemApi;

constexpr std::uint32_t kNotImplemented = 0x80000004;
// No code of the library: what a wrapper answers must be what the entry answered.
constexpr std::uint32_t kAnswer = 0x00C0FFEE;

// The last call of an entry, as "Name(argument,argument,...)".
std::string lastCall;

template <class... Arguments>
std::uint32_t Record(const char* name, Arguments... arguments) {
    std::ostringstream line;
    line << name << "(";
    const char* separator = "";
    ((line << separator << arguments, separator = ","), ...);
    line << ")";
    lastCall = line.str();
    return kAnswer;
}

PlatformTable RecordingTable() {
    using u32 = std::uint32_t;
    using u8 = std::uint8_t;
    PlatformTable table{};
    table.Sleep = [](u32 ms, void* c) { return Record("Sleep", ms, c); };
    table.FileRead = [](const char* p, std::uint64_t o, void* b, u32 s, u32* r, void* c) {
        return Record("FileRead", p, o, b, s, r, c);
    };
    table.FileWrite = [](const char* p, std::uint64_t o, const void* b, u32 s, u32* w, void* c) {
        return Record("FileWrite", p, o, b, s, w, c);
    };
    table.FileGetSize = [](const char* p, u32* s, void* c) { return Record("FileGetSize", p, s, c); };
    table.FileSetSize = [](const char* p, std::uint64_t s, void* c) {
        return Record("FileSetSize", p, s, c);
    };
    table.FileDelete = [](const char* p, void* c) { return Record("FileDelete", p, c); };
    table.HttpRequest = [](const char* m, const char* u, const HttpHeaderPair* h, u32 n, const char* b, u32 f,
                           u32* s, char** rb, char** rh, void* c) {
        return Record("HttpRequest", m, u, static_cast<const void*>(h), n, b, f, s, static_cast<void*>(rb),
                      static_cast<void*>(rh), c);
    };
    table.HttpUploadFile = [](const char* m, const char* u, const HttpHeaderPair* h, u32 n, const char* b,
                              const char* p, const char* f, u32* s, char** rb) {
        return Record("HttpUploadFile", m, u, static_cast<const void*>(h), n, b, p, f, s,
                      static_cast<void*>(rb));
    };
    table.HttpFree = [](void* b, void* c) { return Record("HttpFree", b, c); };
    table.Alloc = [](std::size_t s) {
        Record("Alloc", s);
        return static_cast<void*>(&lastCall);
    };
    table.Free = [](void* b) { Record("Free", b); };
    table.MemSet = [](void* b, u8 v, std::size_t s) { Record("MemSet", b, unsigned{v}, s); };
    table.MemCopy = [](void* t, const void* f, std::size_t s) { Record("MemCopy", t, f, s); };
    table.MemMove = [](void* t, const void* f, std::size_t s) { Record("MemMove", t, f, s); };
    table.MemCompare = [](const void* l, const void* r, std::size_t s) {
        Record("MemCompare", l, r, s);
        return -7;
    };
    table.GetTime = [](std::uint64_t* s, void* c) { return Record("GetTime", s, c); };
    table.VerifySignature = [](const char* k, const char* m, const char* g, u32 s, u32* v, void* c) {
        return Record("VerifySignature", k, m, g, s, v, c);
    };
    table.Encrypt = [](const char* k, void* b, u32 s, void* c) { return Record("Encrypt", k, b, s, c); };
    table.Decrypt = [](const char* k, void* b, u32 s, void* c) { return Record("Decrypt", k, b, s, c); };
    table.Sha512 = [](const void* d, u32 s, u8** o, u32* n, void* c) {
        return Record("Sha512", d, s, static_cast<void*>(o), n, c);
    };
    table.Sha256 = [](const void* d, u32 s, u8** o, u32* n, void* c) {
        return Record("Sha256", d, s, static_cast<void*>(o), n, c);
    };
    table.Md5 = [](const void* d, u32 s, u8** o, u32* n, void* c) {
        return Record("Md5", d, s, static_cast<void*>(o), n, c);
    };
    table.RsaPublicDecrypt = [](const char* k, const void* b, u32 s, u8** p, u32* n, void* c) {
        return Record("RsaPublicDecrypt", k, b, s, static_cast<void*>(p), n, c);
    };
    table.FreeCryptoBuffer = [](void* b, void* c) { Record("FreeCryptoBuffer", b, c); };
    return table;
}

template <class T>
T* Fake(std::uintptr_t address) {
    return reinterpret_cast<T*>(address);
}
constexpr auto U32 = Fake<std::uint32_t>;
constexpr auto Any = Fake<void>;

std::uint32_t Number(ResultCode code) {
    return static_cast<std::uint32_t>(code);
}

// One row for each wrapper with a code: how it is called, and what the entry must see.
const struct {
    const char* name;
    std::function<ResultCode()> call;
    const char* seen;
    std::function<void(PlatformTable&)> takeOut;
    bool needsFreeCryptoBuffer;
} kCodeRows[] = {
    {"Sleep", [] { return SystemApi::Sleep(5, Any(9)); }, "Sleep(5,0x9)", [](auto& t) { t.Sleep = nullptr; },
     false},
    {"FileRead", [] { return SystemApi::FileRead("p", 1, Any(2), 3, U32(4), Any(9)); },
     "FileRead(p,1,0x2,3,0x4,0x9)", [](auto& t) { t.FileRead = nullptr; }, false},
    {"FileWrite", [] { return SystemApi::FileWrite("p", 1, Any(2), 3, U32(4), Any(9)); },
     "FileWrite(p,1,0x2,3,0x4,0x9)", [](auto& t) { t.FileWrite = nullptr; }, false},
    {"FileGetSize", [] { return SystemApi::FileGetSize("p", U32(1), Any(9)); }, "FileGetSize(p,0x1,0x9)",
     [](auto& t) { t.FileGetSize = nullptr; }, false},
    {"FileSetSize", [] { return SystemApi::FileSetSize("p", 1, Any(9)); }, "FileSetSize(p,1,0x9)",
     [](auto& t) { t.FileSetSize = nullptr; }, false},
    {"FileDelete", [] { return SystemApi::FileDelete("p", Any(9)); }, "FileDelete(p,0x9)",
     [](auto& t) { t.FileDelete = nullptr; }, false},
    {"HttpRequest",
     [] {
         return SystemApi::HttpRequest("m", "u", Fake<HttpHeaderPair>(1), 2, "b", 3, U32(4), Fake<char*>(5),
                                       Fake<char*>(6), Any(9));
     },
     "HttpRequest(m,u,0x1,2,b,3,0x4,0x5,0x6,0x9)", [](auto& t) { t.HttpRequest = nullptr; }, false},
    {"HttpUploadFile",
     [] {
         return SystemApi::HttpUploadFile("m", "u", Fake<HttpHeaderPair>(1), 2, "b", "p", "f", U32(3),
                                          Fake<char*>(4));
     },
     "HttpUploadFile(m,u,0x1,2,b,p,f,0x3,0x4)", [](auto& t) { t.HttpUploadFile = nullptr; }, false},
    {"HttpFree", [] { return SystemApi::HttpFree(Any(1), Any(9)); }, "HttpFree(0x1,0x9)",
     [](auto& t) { t.HttpFree = nullptr; }, false},
    {"GetTime", [] { return SystemApi::GetTime(Fake<std::uint64_t>(1), Any(9)); }, "GetTime(0x1,0x9)",
     [](auto& t) { t.GetTime = nullptr; }, false},
    {"VerifySignature", [] { return SystemApi::VerifySignature("k", "m", "s", 1, U32(2), Any(9)); },
     "VerifySignature(k,m,s,1,0x2,0x9)", [](auto& t) { t.VerifySignature = nullptr; }, true},
    {"Encrypt", [] { return SystemApi::Encrypt("k", Any(1), 2, Any(9)); }, "Encrypt(k,0x1,2,0x9)",
     [](auto& t) { t.Encrypt = nullptr; }, true},
    {"Decrypt", [] { return SystemApi::Decrypt("k", Any(1), 2, Any(9)); }, "Decrypt(k,0x1,2,0x9)",
     [](auto& t) { t.Decrypt = nullptr; }, true},
    {"Sha512", [] { return SystemApi::Sha512(Any(1), 2, Fake<std::uint8_t*>(3), U32(4), Any(9)); },
     "Sha512(0x1,2,0x3,0x4,0x9)", [](auto& t) { t.Sha512 = nullptr; }, true},
    {"Sha256", [] { return SystemApi::Sha256(Any(1), 2, Fake<std::uint8_t*>(3), U32(4), Any(9)); },
     "Sha256(0x1,2,0x3,0x4,0x9)", [](auto& t) { t.Sha256 = nullptr; }, true},
    {"Md5", [] { return SystemApi::Md5(Any(1), 2, Fake<std::uint8_t*>(3), U32(4), Any(9)); },
     "Md5(0x1,2,0x3,0x4,0x9)", [](auto& t) { t.Md5 = nullptr; }, true},
    {"RsaPublicDecrypt",
     [] { return SystemApi::RsaPublicDecrypt("k", Any(1), 2, Fake<std::uint8_t*>(3), U32(4), Any(9)); },
     "RsaPublicDecrypt(k,0x1,2,0x3,0x4,0x9)", [](auto& t) { t.RsaPublicDecrypt = nullptr; }, true},
};

// The wrappers without a code; `answer` is what the wrapper gives, as text.
const struct {
    const char* name;
    std::function<std::string()> call;
    const char* seen;
    std::function<void(PlatformTable&)> takeOut;
    bool answersNullOrZero;  // as against nothing
} kPlainRows[] = {
    {"Alloc", [] { return SystemApi::Alloc(5) == &lastCall ? "block" : "null or zero"; }, "Alloc(5)",
     [](auto& t) { t.Alloc = nullptr; }, true},
    {"Free", [] { return SystemApi::Free(Any(1)), ""; }, "Free(0x1)", [](auto& t) { t.Free = nullptr; },
     false},
    {"MemSet", [] { return SystemApi::MemSet(Any(1), 2, 3), ""; }, "MemSet(0x1,2,3)",
     [](auto& t) { t.MemSet = nullptr; }, false},
    {"MemCopy", [] { return SystemApi::MemCopy(Any(1), Any(2), 3), ""; }, "MemCopy(0x1,0x2,3)",
     [](auto& t) { t.MemCopy = nullptr; }, false},
    {"MemMove", [] { return SystemApi::MemMove(Any(1), Any(2), 3), ""; }, "MemMove(0x1,0x2,3)",
     [](auto& t) { t.MemMove = nullptr; }, false},
    {"MemCompare",
     [] {
         const int answer = SystemApi::MemCompare(Any(1), Any(2), 3);
         return answer == -7 ? "order" : answer == 0 ? "null or zero" : "other";
     },
     "MemCompare(0x1,0x2,3)", [](auto& t) { t.MemCompare = nullptr; }, true},
    {"FreeCryptoBuffer", [] { return SystemApi::FreeCryptoBuffer(Any(1), Any(9)), ""; },
     "FreeCryptoBuffer(0x1,0x9)", [](auto& t) { t.FreeCryptoBuffer = nullptr; }, false},
};

class SystemApiWrappers : public ::testing::Test {
protected:
    SystemApiWrappers() {
        Use([](PlatformTable&) {});
    }
    ~SystemApiWrappers() override { SystemApi::SetTable({}); }

    static void Use(const std::function<void(PlatformTable&)>& change) {
        PlatformTable table = RecordingTable();
        change(table);
        SystemApi::SetTable(table);
        lastCall.clear();
    }
};

TEST_F(SystemApiWrappers, HandTheirArgumentsThroughAndAnswerWhatTheEntryAnswers) {
    for (const auto& row : kCodeRows) {
        EXPECT_EQ(Number(row.call()), kAnswer) << row.name;
        EXPECT_EQ(lastCall, row.seen) << row.name;
    }
    for (const auto& row : kPlainRows) {
        EXPECT_NE(row.call(), "null or zero") << row.name;
        EXPECT_EQ(lastCall, row.seen) << row.name;
    }
}

TEST_F(SystemApiWrappers, ANullEntryIsNotImplemented) {
    for (const auto& row : kCodeRows) {
        Use(row.takeOut);
        EXPECT_EQ(Number(row.call()), kNotImplemented) << row.name;
        EXPECT_EQ(lastCall, "") << row.name;
    }
}

TEST_F(SystemApiWrappers, ANullEntryWithoutACodeGivesNullZeroOrNothing) {
    for (const auto& row : kPlainRows) {
        Use(row.takeOut);
        EXPECT_EQ(row.call(), row.answersNullOrZero ? "null or zero" : "") << row.name;
        EXPECT_EQ(lastCall, "") << row.name;
    }
}

TEST_F(SystemApiWrappers, OnlyTheSevenCryptoWrappersNeedFreeCryptoBuffer) {
    Use([](PlatformTable& table) { table.FreeCryptoBuffer = nullptr; });
    for (const auto& row : kCodeRows)
        EXPECT_EQ(Number(row.call()), row.needsFreeCryptoBuffer ? kNotImplemented : kAnswer) << row.name;
}

TEST_F(SystemApiWrappers, AnEmptyTableAnswersForEveryEntry) {
    SystemApi::SetTable({});
    for (const auto& row : kCodeRows)
        EXPECT_EQ(Number(row.call()), kNotImplemented) << row.name;
    for (const auto& row : kPlainRows)
        EXPECT_EQ(row.call(), row.answersNullOrZero ? "null or zero" : "") << row.name;
}

TEST_F(SystemApiWrappers, NullArgumentsGoThroughToTheEntry) {
    EXPECT_EQ(Number(SystemApi::FileDelete(nullptr, nullptr)), kAnswer);
    EXPECT_EQ(lastCall.substr(0, 11), "FileDelete(");
    EXPECT_EQ(Number(SystemApi::GetTime(nullptr, nullptr)), kAnswer);
    EXPECT_EQ(lastCall, "GetTime(0,0)");
    EXPECT_EQ(Number(SystemApi::Sha256(nullptr, 0, nullptr, nullptr, nullptr)), kAnswer);
    EXPECT_EQ(lastCall, "Sha256(0,0,0,0,0)");
    SystemApi::MemCopy(nullptr, nullptr, 4);
    EXPECT_EQ(lastCall, "MemCopy(0,0,4)");
}

TEST_F(SystemApiWrappers, TheTableIsCopiedAndTheLastOneDecides) {
    PlatformTable table = RecordingTable();
    SystemApi::SetTable(table);
    table.Sleep = nullptr;
    EXPECT_EQ(Number(SystemApi::Sleep(1, nullptr)), kAnswer) << "the caller's record may change or end";
    SystemApi::SetTable(table);
    EXPECT_EQ(Number(SystemApi::Sleep(1, nullptr)), kNotImplemented);
    EXPECT_EQ(SystemApi::Table().FileRead, table.FileRead);
}

// GetMachineIds: a scripted entry behind the wrapper.
struct MachineScript {
    std::string block;
    std::uint32_t sizeAnswer = 0;              // of the call without a buffer
    std::uint32_t bufferAnswer = 0;            // of the call with one
    std::optional<std::uint32_t> sizeWritten;  // into `size` by the call with a buffer
    int calls = 0;
    int blocks = 0;  // of Alloc, not yet freed
    void* context = nullptr;
} script;

class SystemApiMachineIds : public ::testing::Test {
protected:
    SystemApiMachineIds() {
        script = {};
        ids.push_back(portable_stl::string("kept")).value();
        table.GetMachineIds = [](char* buffer, std::uint32_t* size, void* context) {
            ++script.calls;
            script.context = context;
            if (!buffer) {
                *size = static_cast<std::uint32_t>(script.block.size());
                return script.sizeAnswer;
            }
            EXPECT_EQ(*size, script.block.size());
            std::memcpy(buffer, script.block.data(), script.block.size());
            *size = script.sizeWritten.value_or(*size);
            return script.bufferAnswer;
        };
        table.Alloc = [](std::size_t size) {
            ++script.blocks;
            return std::malloc(size);
        };
        table.Free = [](void* block) {
            if (block)
                --script.blocks;
            std::free(block);
        };
    }
    ~SystemApiMachineIds() override { SystemApi::SetTable({}); }

    std::uint32_t Get() {
        SystemApi::SetTable(table);
        return Number(SystemApi::GetMachineIds(ids, Any(9)));
    }
    [[nodiscard]] std::vector<std::string> Ids() const {
        std::vector<std::string> texts;
        for (const auto& id : ids)
            texts.emplace_back(id.data(), id.size());
        return texts;
    }

    PlatformTable table{};
    portable_stl::vector<portable_stl::string> ids;
};

TEST_F(SystemApiMachineIds, SplitsTheBlockAtItsZeroBytes) {
    static const struct {
        const char* name;
        std::string block;
        std::vector<std::string> ids;
    } rows[] = {
        {"two texts", std::string("MAC-1\0os\0", 9), {"MAC-1", "os"}},
        {"one text", std::string("os\0", 3), {"os"}},
        {"an empty text counts", std::string("MAC-1\0\0", 7), {"MAC-1", ""}},
        {"an empty text in the middle", std::string("a\0\0b\0", 5), {"a", "", "b"}},
        {"an empty text in front", std::string("\0os\0", 4), {"", "os"}},
        {"an empty text alone", std::string("\0", 1), {""}},
        {"no zero byte at the end", "MAC-1", {"MAC-1"}},
    };
    for (const auto& row : rows) {
        script.block = row.block;
        EXPECT_EQ(Get(), 0u) << row.name;
        EXPECT_EQ(Ids(), row.ids) << row.name;
        EXPECT_EQ(script.blocks, 0) << row.name;
    }
    EXPECT_EQ(script.context, Any(9));
}

TEST_F(SystemApiMachineIds, FailuresLeaveTheListAndNoBlock) {
    static const struct {
        const char* name;
        std::function<void(PlatformTable&)> change;
        std::uint32_t expected;
        int calls;
    } rows[] = {
        {"no entry", [](auto& t) { t.GetMachineIds = nullptr; }, 0x80000004, 0},
        {"the size can't be had", [](auto&) { script.sizeAnswer = 0x80000001; }, 0x81000005, 1},
        {"the size is 0", [](auto&) { script.block.clear(); }, 0x81000005, 1},
        {"no Alloc", [](auto& t) { t.Alloc = nullptr; }, 0x80000003, 1},
        {"Alloc fails", [](auto& t) { t.Alloc = [](std::size_t) -> void* { return nullptr; }; }, 0x80000003,
         1},
        {"the texts can't be had", [](auto&) { script.bufferAnswer = 0x80000005; }, 0x81000005, 2},
        {"the list became empty", [](auto&) { script.sizeWritten = 0; }, 0x81000005, 2},
    };
    const PlatformTable whole = table;
    for (const auto& row : rows) {
        script = {};
        script.block = std::string("MAC-1\0os\0", 9);
        table = whole;
        row.change(table);
        EXPECT_EQ(Get(), row.expected) << row.name;
        EXPECT_EQ(script.calls, row.calls) << row.name;
        EXPECT_EQ(script.blocks, 0) << row.name;
        EXPECT_EQ(Ids(), (std::vector<std::string>{"kept"})) << row.name;
    }
}

TEST_F(SystemApiMachineIds, APlatformThatAnswersMoreThanItFilledIsNotBelieved) {
    script.block = std::string("MAC-1\0os\0", 9);
    script.sizeWritten = 5000;
    EXPECT_EQ(Get(), 0u);
    EXPECT_EQ(Ids(), (std::vector<std::string>{"MAC-1", "os"}));
    script.sizeWritten = 6;
    EXPECT_EQ(Get(), 0u);
    EXPECT_EQ(Ids(), (std::vector<std::string>{"MAC-1"})) << "a list that became shorter";
}

TEST_F(SystemApiMachineIds, AnExhaustedContainerGivesTheBlockBack) {
    script.block = std::string(64, 'a') + '\0' + std::string(64, 'b') + '\0';
    SystemApi::SetTable(table);
    bool failed = true;
    std::size_t nth = 1;
    for (; failed; ++nth) {
        bool thrown = false;
        {
            test::FailingAllocation failing(nth);
            try {
                (void)SystemApi::GetMachineIds(ids, nullptr);
            } catch (const portable_stl::exception&) {
                thrown = true;
            }
            failed = failing.HasFailed();
        }
        EXPECT_EQ(thrown, failed) << nth;
        EXPECT_EQ(script.blocks, 0) << nth;
        EXPECT_EQ(Ids().size(), failed ? 1u : 2u) << nth;
    }
    EXPECT_GT(nth, 4u) << "the list and its two texts have a block each";
}

}  // namespace
