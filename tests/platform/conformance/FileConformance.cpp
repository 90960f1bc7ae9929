#include <filesystem>
#include <functional>
#include <stdexcept>
#include <vector>

#include "tests/platform/conformance/Conformance.h"

namespace test {
namespace {

using quillmarkclient_core::PlatformTable;

constexpr std::uint32_t kInvalidParameters = 0x80000002;
constexpr std::uint32_t kFileOpen = 0x81000001;
constexpr std::uint32_t kFileDelete = 0x8100000B;
constexpr std::uint32_t kUntouched = 4711;

}  // namespace

std::uint32_t FileConformance::Size(const std::string& path) const {
    std::uint32_t size = kUntouched;
    EXPECT_EQ(table.FileGetSize(path.c_str(), &size, nullptr), 0u);
    return size;
}

TEST_P(FileConformance, EveryEntryIsThere) {
    EXPECT_TRUE(table.Sleep && table.FileRead && table.FileWrite && table.FileGetSize && table.FileSetSize);
    EXPECT_TRUE(table.FileDelete && table.GetMachineIds && table.HttpRequest && table.HttpUploadFile &&
                table.HttpFree);
    EXPECT_TRUE(table.Alloc && table.Free && table.MemSet && table.MemCopy && table.MemMove &&
                table.MemCompare);
    EXPECT_TRUE(table.GetTime && table.VerifySignature && table.Encrypt && table.Decrypt && table.Sha512);
    EXPECT_TRUE(table.Sha256 && table.Md5 && table.RsaPublicDecrypt && table.FreeCryptoBuffer);
}

TEST_P(FileConformance, NullArgumentsAreInvalid) {
    const std::string path = Path();
    const char* const p = path.c_str();
    char buffer[4] = {};
    std::uint32_t size = kUntouched;
    const struct {
        const char* name;
        std::uint32_t code;
    } rows[] = {
        {"FileRead path", table.FileRead(nullptr, 0, buffer, 4, nullptr, nullptr)},
        {"FileRead buffer", table.FileRead(p, 0, nullptr, 4, nullptr, nullptr)},
        {"FileRead buffer, size 0", table.FileRead(p, 0, nullptr, 0, nullptr, nullptr)},
        {"FileWrite path", table.FileWrite(nullptr, 0, buffer, 4, nullptr, nullptr)},
        {"FileWrite buffer", table.FileWrite(p, 0, nullptr, 4, nullptr, nullptr)},
        {"FileWrite buffer, size 0", table.FileWrite(p, 0, nullptr, 0, nullptr, nullptr)},
        {"FileGetSize path", table.FileGetSize(nullptr, &size, nullptr)},
        {"FileGetSize size", table.FileGetSize(p, nullptr, nullptr)},
        {"FileSetSize path", table.FileSetSize(nullptr, 0, nullptr)},
        {"FileDelete path", table.FileDelete(nullptr, nullptr)},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.code, kInvalidParameters) << row.name;
    EXPECT_FALSE(Exists(path));
}

TEST_P(FileConformance, ReadGivesTheRangeOrWhatThereIsOfIt) {
    WriteWhole(Path(), std::string("0123456789"));
    static const struct {
        const char* name;
        std::uint64_t offset;
        std::uint32_t size;
        const char* bytes;
    } rows[] = {
        {"the whole file", 0, 10, "0123456789"},
        {"the middle", 3, 4, "3456"},
        {"more than there is", 8, 100, "89"},
        {"at the end", 10, 5, ""},
        {"behind the end", 1000, 5, ""},
        {"4 GiB behind the end", std::uint64_t{1} << 32, 5, ""},
        {"nothing", 2, 0, ""},
    };
    for (const auto& row : rows) {
        std::string buffer(128, '*');
        std::uint32_t count = kUntouched;
        EXPECT_EQ(table.FileRead(Path().c_str(), row.offset, buffer.data(), row.size, &count, nullptr), 0u)
            << row.name;
        EXPECT_EQ(buffer.substr(0, count), row.bytes) << row.name;
        EXPECT_EQ(buffer.substr(count), std::string(128 - count, '*')) << row.name;
    }
}

TEST_P(FileConformance, ReadTakesANullCount) {
    WriteWhole(Path(), "abc");
    char buffer[3] = {};
    EXPECT_EQ(table.FileRead(Path().c_str(), 0, buffer, 3, nullptr, nullptr), 0u);
    EXPECT_EQ(std::string(buffer, 3), "abc");
}

TEST_P(FileConformance, ReadCreatesAMissingFileEmpty) {
    char buffer[4];
    std::uint32_t count = kUntouched;
    EXPECT_EQ(table.FileRead(Path().c_str(), 0, buffer, 4, &count, nullptr), 0u);
    EXPECT_EQ(count, 0u);
    EXPECT_TRUE(Exists(Path()));
    EXPECT_EQ(ReadWhole(Path()), "");
}

TEST_P(FileConformance, TransfersOfNothingTouchNothing) {
    char buffer[4] = {};
    EXPECT_EQ(table.FileRead(Path().c_str(), 0, buffer, 0, nullptr, nullptr), 0u);
    EXPECT_EQ(table.FileWrite(Path().c_str(), 0, buffer, 0, nullptr, nullptr), 0u);
    EXPECT_FALSE(Exists(Path()));
}

TEST_P(FileConformance, WriteReplacesTheRangeAndNoMore) {
    static const struct {
        const char* name;
        const char* before;
        std::uint64_t offset;
        const char* bytes;
        std::string after;
    } rows[] = {
        {"a missing file", nullptr, 0, "abc", "abc"},
        {"the start of a longer file", "0123456789", 0, "abc", "abc3456789"},
        {"the middle", "0123456789", 4, "abc", "0123abc789"},
        {"across the end", "0123456789", 9, "abc", "012345678abc"},
        {"at the end", "0123456789", 10, "abc", "0123456789abc"},
        {"behind the end: zero bytes between", "01", 4, "abc", std::string("01\0\0abc", 7)},
        {"a missing file, behind its start", nullptr, 2, "abc", std::string("\0\0abc", 5)},
    };
    for (const auto& row : rows) {
        const std::string path = Path(std::to_string(&row - rows));
        if (row.before)
            WriteWhole(path, row.before);
        std::uint32_t count = kUntouched;
        EXPECT_EQ(table.FileWrite(path.c_str(), row.offset, row.bytes, 3, &count, nullptr), 0u) << row.name;
        EXPECT_EQ(count, 3u) << row.name;
        EXPECT_EQ(ReadWhole(path), row.after) << row.name;
    }
}

TEST_P(FileConformance, WriteTakesANullCount) {
    EXPECT_EQ(table.FileWrite(Path().c_str(), 0, "abc", 3, nullptr, nullptr), 0u);
    EXPECT_EQ(ReadWhole(Path()), "abc");
}

TEST_P(FileConformance, ALargeTransferGoesThroughWhole) {
    std::string bytes(5'000'000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 7 + i / 251);
    const auto size = static_cast<std::uint32_t>(bytes.size());
    EXPECT_EQ(table.FileWrite(Path().c_str(), 0, bytes.data(), size, nullptr, nullptr), 0u);
    std::string back(bytes.size(), '*');
    std::uint32_t count = 0;
    EXPECT_EQ(table.FileRead(Path().c_str(), 0, back.data(), size, &count, nullptr), 0u);
    EXPECT_EQ(count, size);
    EXPECT_TRUE(back == bytes);
}

TEST_P(FileConformance, GetSizeTellsTheBytes) {
    WriteWhole(Path("empty"), "");
    WriteWhole(Path("ten"), "0123456789");
    EXPECT_EQ(Size(Path("empty")), 0u);
    EXPECT_EQ(Size(Path("ten")), 10u);
}

TEST_P(FileConformance, GetSizeOfWhatCannotBeOpenedIsZeroWithSuccess) {
    const struct {
        const char* name;
        std::string path;
    } rows[] = {
        {"a missing file", Path("missing")},
        {"in a missing folder", Path("missing") + "/file"},
        {"a folder", Path("")},
        {"an empty path", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Size(row.path), 0u) << row.name;
    }
    EXPECT_FALSE(Exists(Path("missing"))) << "asking for the size creates nothing";
}

TEST_P(FileConformance, GetSizeGivesTheLow32Bits) {
    ASSERT_EQ(table.FileSetSize(Path().c_str(), (std::uint64_t{1} << 32) + 5, nullptr), 0u);
    EXPECT_EQ(Size(Path()), 5u);
}

TEST_P(FileConformance, SetSizeCutsExtendsAndCreates) {
    static const struct {
        const char* name;
        const char* before;
        std::uint64_t size;
        std::string after;
    } rows[] = {
        {"cut", "0123456789", 4, "0123"},
        {"emptied", "0123456789", 0, ""},
        {"as it is", "01", 2, "01"},
        {"extended by zero bytes", "01", 4, std::string("01\0\0", 4)},
        {"a missing file, empty", nullptr, 0, ""},
        {"a missing file, zero bytes", nullptr, 3, std::string(3, '\0')},
    };
    for (const auto& row : rows) {
        const std::string path = Path(std::to_string(&row - rows));
        if (row.before)
            WriteWhole(path, row.before);
        EXPECT_EQ(table.FileSetSize(path.c_str(), row.size, nullptr), 0u) << row.name;
        EXPECT_TRUE(Exists(path)) << row.name;
        EXPECT_EQ(ReadWhole(path), row.after) << row.name;
    }
}

TEST_P(FileConformance, DeleteRemovesTheFile) {
    WriteWhole(Path(), "abc");
    EXPECT_EQ(table.FileDelete(Path().c_str(), nullptr), 0u);
    EXPECT_FALSE(Exists(Path()));
    EXPECT_EQ(table.FileDelete(Path().c_str(), nullptr), kFileDelete) << "a missing file";
    EXPECT_EQ(table.FileDelete("", nullptr), kFileDelete) << "an empty path";
    EXPECT_EQ(table.FileDelete(Path("").c_str(), nullptr), kFileDelete) << "a folder";
}

TEST_P(FileConformance, WhatCannotBeOpenedIsAnOpenFailure) {
    std::filesystem::create_directory(folder.Path() / "folder");
    const struct {
        const char* name;
        std::string path;
    } rows[] = {
        {"an empty path", ""},
        {"in a missing folder", Path("missing") + "/file"},
        {"a folder", Path("folder")},
    };
    for (const auto& row : rows) {
        char buffer[4] = {};
        const char* const path = row.path.c_str();
        EXPECT_EQ(table.FileRead(path, 0, buffer, 4, nullptr, nullptr), kFileOpen) << row.name;
        EXPECT_EQ(table.FileWrite(path, 0, buffer, 4, nullptr, nullptr), kFileOpen) << row.name;
        EXPECT_EQ(table.FileSetSize(path, 0, nullptr), kFileOpen) << row.name;
    }
}

TEST_P(FileConformance, AnOffsetBeyondEveryFileIsAnOpenFailure) {
    WriteWhole(Path(), "abc");
    char buffer[4] = {};
    const std::uint64_t beyond = std::uint64_t{1} << 63;
    EXPECT_EQ(table.FileRead(Path().c_str(), beyond, buffer, 4, nullptr, nullptr), kFileOpen);
    EXPECT_EQ(table.FileWrite(Path().c_str(), beyond, buffer, 4, nullptr, nullptr), kFileOpen);
    EXPECT_EQ(table.FileSetSize(Path().c_str(), beyond, nullptr), kFileOpen);
    EXPECT_EQ(ReadWhole(Path()), "abc");
}

TEST_P(FileConformance, PathsAreUtf8) {
    for (const char* name : {"plain", "blank in it",
                             "Gr\xC3\xBC\xC3\x9F"
                             "e",
                             "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E", "\xF0\x9F\x98\x80"}) {
        const std::string path = Path(name);
        EXPECT_EQ(table.FileWrite(path.c_str(), 0, "abc", 3, nullptr, nullptr), 0u) << name;
        EXPECT_EQ(ReadWhole(path), "abc") << name;
        EXPECT_EQ(Size(path), 3u) << name;
    }
}

TEST_P(FileConformance, PathsThatAreNotUtf8ThrowBeforeAnyFileIsTouched) {
    static const struct {
        const char* name;
        const char* bytes;
    } rows[] = {
        {"Latin-1",
         "Gr\xFC\xDF"
         "e"},
        {"a follower alone",
         "a\x80"
         "b"},
        {"a cut character of two", "a\xC3"},
        {"a cut character of three", "a\xE6\x97"},
        {"a cut character of four", "a\xF0\x9F\x98"},
        {"a follower missing inside",
         "\xE6\x97"
         "a"},
        {"overlong, two bytes", "\xC0\xAF"},
        {"overlong, two bytes, C1", "\xC1\x81"},
        {"overlong, three bytes", "\xE0\x80\xAF"},
        {"overlong, four bytes", "\xF0\x80\x80\xAF"},
        {"a high surrogate", "\xED\xA0\x80"},
        {"a low surrogate", "\xED\xBF\xBF"},
        {"above U+10FFFF", "\xF4\x90\x80\x80"},
        {"five bytes", "\xF8\x88\x80\x80\x80"},
        {"FE", "\xFE"},
        {"FF", "\xFF"},
    };
    for (const auto& row : rows) {
        const std::string path = Path("a") + row.bytes;
        const char* const p = path.c_str();
        char buffer[4] = {};
        std::uint32_t size = kUntouched;
        const std::function<std::uint32_t()> calls[] = {
            [&] { return table.FileRead(p, 0, buffer, 4, nullptr, nullptr); },
            [&] { return table.FileWrite(p, 0, buffer, 4, nullptr, nullptr); },
            [&] { return table.FileGetSize(p, &size, nullptr); },
            [&] { return table.FileSetSize(p, 0, nullptr); },
        };
        for (const auto& call : calls) {
            try {
                ADD_FAILURE() << row.name << ": no exception, code " << std::hex << call();
            } catch (const std::range_error& error) {
                EXPECT_STREQ(error.what(), "bad conversion") << row.name;
            }
        }
        EXPECT_EQ(table.FileRead(p, 0, buffer, 0, nullptr, nullptr), 0u)
            << row.name << ": size 0 comes first";
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST_P(FileConformance, CharactersAtTheEdgesOfUtf8AreValid) {
    for (const char* name : {"\x01", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF",
                             "\xEE\x80\x80", "\xEF\xBF\xBD", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
        std::uint32_t size = kUntouched;
        EXPECT_NO_THROW(EXPECT_EQ(table.FileGetSize(Path(name).c_str(), &size, nullptr), 0u))
            << ::testing::PrintToString(name);
    }
}

}  // namespace test
