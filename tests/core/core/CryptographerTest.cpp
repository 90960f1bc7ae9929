#include "core/src/core/Cryptographer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "core/src/system/SystemApi.h"
#include "tests/core/core/CryptographerFixture.h"

namespace {

using quillmarkclient_core::PlatformTable;
using quillmarkclient_core::ReadEncryptedFile;
using quillmarkclient_core::SystemApi;
using quillmarkclient_core::WriteEncryptedFile;
using test::Cryptographer;
using test::CryptographerPointer;
using test::kPath;
using test::kToken;
using test::Number;
using test::Operation;
using test::ReadFrom;
using test::ReadResult;
using test::WriteTo;

class CryptographerTest : public test::CryptographerFixture {
protected:
    // The bytes as the cipher leaves them, before base64.
    static std::string Enciphered(const CryptographerPointer& cryptographer, std::string padded) {
        EXPECT_EQ(Number(SystemApi::Encrypt(cryptographer->cipherKeyText.c_str(), padded.data(),
                                            static_cast<std::uint32_t>(padded.size()), nullptr)),
                  0u);
        return padded;
    }

    void ExpectReport(std::uint32_t code, const char* message) const {
        ASSERT_EQ(platform.errors.size(), 1u);
        EXPECT_EQ(platform.errors[0].code, code);
        EXPECT_EQ(platform.errors[0].message, message);
        EXPECT_EQ(platform.errors[0].source, "core/src/core/Cryptographer_impl");
        EXPECT_GT(platform.errors[0].line, 0u);
    }

    const CryptographerPointer none;
};

TEST_F(CryptographerTest, HoldsTheTwoTextsOfItsPair) {
    EXPECT_EQ(first->cipherKeyText.size(), 450u);
    EXPECT_EQ(first->shortKeyText.size(), 112u);
    EXPECT_EQ(second->cipherKeyText.size(), 450u);
    EXPECT_EQ(second->shortKeyText.size(), 112u);
    EXPECT_FALSE(first->cipherKeyText == second->cipherKeyText);
    EXPECT_FALSE(first->shortKeyText == second->shortKeyText);
    EXPECT_TRUE(Cryptographer(false).cipherKeyText == first->cipherKeyText);
}

TEST_F(CryptographerTest, AFileIsTheBase64OfWholeUnitsOf16Bytes) {
    static const struct {
        const char* name;
        std::size_t length;
        std::size_t characters;
    } rows[] = {
        {"one byte", 1, 24},          {"seven bytes", 7, 24},    {"eight bytes", 8, 24},
        {"fifteen bytes", 15, 24},    {"sixteen bytes", 16, 24}, {"seventeen bytes", 17, 44},
        {"thirty-two bytes", 32, 44}, {"a token", 1000, 1344},
    };
    for (const auto& row : rows) {
        const std::string text(row.length, 'a');
        EXPECT_EQ(Write(text), 0u) << row.name;
        EXPECT_EQ(File().size(), row.characters) << row.name;
        EXPECT_EQ(File().find_first_of("\r\n"), std::string::npos) << row.name;
        EXPECT_EQ(Read(), (ReadResult{0, text})) << row.name;
    }
}

TEST_F(CryptographerTest, AFileOfTheOtherPairReadsAsOtherBytesWithSuccess) {
    EXPECT_EQ(Write(kToken), 0u);
    const ReadResult result = ReadFrom(kPath, second);
    EXPECT_EQ(result.code, 0u);
    EXPECT_NE(result.text, kToken);
    EXPECT_TRUE(platform.errors.empty());
}

TEST_F(CryptographerTest, AnEmptyTextLeavesAnEmptyFile) {
    File() = "old content";
    EXPECT_EQ(Write(""), 0u);
    EXPECT_EQ(File(), "");
    EXPECT_EQ(platform.CallCount(Operation::FileWrite), 0u);
    EXPECT_EQ(platform.CallCount(Operation::Encrypt), 0u);
    EXPECT_EQ(Read(), (ReadResult{0, ""}));
    platform.files.clear();
    EXPECT_EQ(Write(""), 0u);
    EXPECT_EQ(platform.files.count(kPath), 1u) << "a missing file is created";
}

TEST_F(CryptographerTest, AShorterTextReplacesALongerOne) {
    EXPECT_EQ(Write(std::string(500, 'a')), 0u);
    EXPECT_EQ(Write("b"), 0u);
    EXPECT_EQ(File().size(), 24u);
    EXPECT_EQ(Read(), (ReadResult{0, "b"}));
}

TEST_F(CryptographerTest, AFileIsEmptiedThenEncryptedThenWritten) {
    std::vector<Operation> order;
    platform.before = [&](Operation operation) { order.push_back(operation); };
    EXPECT_EQ(Write(kToken), 0u);
    EXPECT_EQ(order, (std::vector{Operation::FileSetSize, Operation::Encrypt, Operation::FileWrite}));
    order.clear();
    EXPECT_EQ(Read().code, 0u);
    EXPECT_EQ(order, (std::vector{Operation::FileGetSize, Operation::FileRead, Operation::Decrypt}));
}

TEST_F(CryptographerTest, ATextEndsAtItsFirstZeroByte) {
    EXPECT_EQ(Write(std::string("before\0behind", 13)), 0u);
    EXPECT_EQ(File(), "wULfjf1zP81tksHyr+9OZw==") << "written whole";
    EXPECT_EQ(Read(), (ReadResult{0, "before"}));
    EXPECT_EQ(Write(std::string(1, '\0')), 0u);
    EXPECT_EQ(Read(), (ReadResult{0, ""}));
}

TEST_F(CryptographerTest, WriteFailures) {
    static const struct {
        const char* name;
        Operation operation;
        std::uint32_t answer;
        std::uint32_t code;
        const char* report;  // null for none
        const char* left;    // what the file holds then
    } rows[] = {
        {"the file can't be emptied", Operation::FileSetSize, 0x81000009, 0x81000009, nullptr, "old content"},
        {"the file can't be opened", Operation::FileSetSize, 0x81000001, 0x81000009, nullptr, "old content"},
        {"the digest fails", Operation::Encrypt, 0x8100000C, 0x8100000E, "Can not encrypt data", ""},
        {"another failure of the cipher", Operation::Encrypt, 0x80000002, 0x8100000E, "Can not encrypt data",
         ""},
        {"the disk is full", Operation::FileWrite, 0x81000003, 0x81000003, nullptr, ""},
        {"the file can't be opened any more", Operation::FileWrite, 0x81000001, 0x81000003, nullptr, ""},
    };
    for (const auto& row : rows) {
        platform.errors.clear();
        File() = "old content";
        platform.FailCall(row.operation, row.answer);
        EXPECT_EQ(Write(kToken), row.code) << row.name;
        EXPECT_EQ(File(), row.left) << row.name;
        EXPECT_EQ(platform.errors.size(), row.report ? 1u : 0u) << row.name;
        if (row.report)
            ExpectReport(row.code, row.report);
    }
    EXPECT_TRUE(platform.traceLines.empty());
}

TEST_F(CryptographerTest, ReadFailures) {
    static const struct {
        const char* name;
        Operation operation;
        std::uint32_t answer;
        std::uint32_t code;
        const char* report;
    } rows[] = {
        {"no size", Operation::FileGetSize, 0x81000008, 0x81000008, nullptr},
        {"no size, another code", Operation::FileGetSize, 0x80000002, 0x81000008, nullptr},
        {"the read fails", Operation::FileRead, 0x81000002, 0x81000002, nullptr},
        {"the file can't be opened", Operation::FileRead, 0x81000001, 0x81000002, nullptr},
        {"the digest fails", Operation::Decrypt, 0x8100000C, 0x8100000F, "Can not decrypt data"},
        {"another failure of the cipher", Operation::Decrypt, 0x80000002, 0x8100000F, "Can not decrypt data"},
    };
    ASSERT_EQ(Write(kToken), 0u);
    const std::string content = File();
    for (const auto& row : rows) {
        platform.errors.clear();
        platform.FailCall(row.operation, row.answer);
        EXPECT_EQ(Read(), (ReadResult{row.code, ""})) << row.name;
        EXPECT_EQ(File(), content) << row.name;
        EXPECT_EQ(platform.errors.size(), row.report ? 1u : 0u) << row.name;
        if (row.report)
            ExpectReport(row.code, row.report);
    }
    EXPECT_EQ(Read(), (ReadResult{0, kToken}));
    EXPECT_TRUE(platform.traceLines.empty());
}

TEST_F(CryptographerTest, MissingEntriesCountAsFailures) {
    static const struct {
        const char* name;
        void (*takeOut)(PlatformTable&);
        std::uint32_t write;
        std::uint32_t read;
    } rows[] = {
        {"FileSetSize", [](PlatformTable& t) { t.FileSetSize = nullptr; }, 0x81000009, 0},
        {"FileWrite", [](PlatformTable& t) { t.FileWrite = nullptr; }, 0x81000003, 0},
        {"FileGetSize", [](PlatformTable& t) { t.FileGetSize = nullptr; }, 0, 0x81000008},
        {"FileRead", [](PlatformTable& t) { t.FileRead = nullptr; }, 0, 0x81000002},
        {"Encrypt", [](PlatformTable& t) { t.Encrypt = nullptr; }, 0x8100000E, 0},
        {"Decrypt", [](PlatformTable& t) { t.Decrypt = nullptr; }, 0, 0x8100000F},
        {"FreeCryptoBuffer", [](PlatformTable& t) { t.FreeCryptoBuffer = nullptr; }, 0x8100000E, 0x8100000F},
    };
    const PlatformTable whole = platform.table;
    ASSERT_EQ(Write(kToken), 0u);
    const std::string content = File();
    for (const auto& row : rows) {
        platform.table = whole;
        row.takeOut(platform.table);
        platform.Install();
        EXPECT_EQ(Write(kToken), row.write) << row.name;
        File() = content;
        EXPECT_EQ(Read().code, row.read) << row.name;
    }
}

TEST_F(CryptographerTest, AnEmptyKeyTextIsAnInternalErrorAndIsReported) {
    ASSERT_EQ(Write(kToken), 0u);
    const auto calls = platform.CallCount(Operation::Encrypt);
    first->cipherKeyText = "";

    EXPECT_EQ(Read(), (ReadResult{0x80000001, ""}));
    ExpectReport(0x80000001, "Internal program error");
    platform.errors.clear();
    EXPECT_EQ(Write(kToken), 0x80000001u);
    ExpectReport(0x80000001, "Internal program error");
    EXPECT_EQ(File(), "") << "emptied before";
    EXPECT_EQ(platform.CallCount(Operation::Encrypt), calls);
    EXPECT_EQ(platform.CallCount(Operation::Decrypt), 0u);

    platform.errors.clear();
    EXPECT_EQ(Write(""), 0u) << "nothing to encrypt";
    File() = "cut";
    EXPECT_EQ(Read(), (ReadResult{0, ""})) << "nothing to decrypt";
    EXPECT_TRUE(platform.errors.empty());
}

TEST_F(CryptographerTest, DamagedFilesReadAsTheEmptyTextWithSuccess) {
    ASSERT_EQ(Write(kToken), 0u);
    const std::string whole = File();
    const struct {
        const char* name;
        std::string content;
    } rows[] = {
        {"empty", ""},
        {"white space", " \r\n\t  "},
        {"one blank", " "},
        {"padding alone", "===="},
        {"bytes that are all skipped", "\xEF\xBB\xBF"},
        {"a zero byte first", std::string("\0", 1) + whole},
        {"cut within the first unit", whole.substr(0, 20)},
        {"cut by a few characters", whole.substr(0, whole.size() - 5)},
        {"a character too many", whole.substr(0, whole.size() - 2) + "AAAA=="},
        {"a unit and a half", "QMoiBveoxMRAyiIG96jExEDKIgb3qMTE"},  // "a" 24 times, enciphered
        {"no base64, no multiple of 16", "{\"identityToken\":\"plain\"}"},
    };
    for (const auto& row : rows) {
        File() = row.content;
        EXPECT_EQ(Read(), (ReadResult{0, ""})) << row.name;
        EXPECT_EQ(platform.CallCount(Operation::Decrypt), 0u) << row.name;
    }
    platform.files.clear();
    EXPECT_EQ(Read(), (ReadResult{0, ""})) << "missing";
    EXPECT_EQ(platform.CallCount(Operation::FileRead), std::size(rows) - 1) << "an empty file is not read";
    EXPECT_TRUE(platform.errors.empty());
}

TEST_F(CryptographerTest, WhatBase64SkipsIsSkippedInAFile) {
    ASSERT_EQ(Write(kToken), 0u);
    const std::string whole = File();
    const struct {
        const char* name;
        std::string content;
    } rows[] = {
        {"a line feed at the end", whole + "\n"},
        {"broken into lines", whole.substr(0, 10) + "\r\n" + whole.substr(10)},
        {"a byte-order mark", "\xEF\xBB\xBF" + whole},
        {"padding inside", whole.substr(0, 10) + "=" + whole.substr(10)},
        {"rubbish behind a zero byte", whole + std::string("\0-_*!", 5)},
    };
    for (const auto& row : rows) {
        File() = row.content;
        EXPECT_EQ(Read(), (ReadResult{0, kToken})) << row.name;
    }
}

// A plain text whose enciphered bytes have what the row needs.
template <class Fits>
std::string FindPlain(const Fits& fits) {
    for (int i = 0; i < 100'000; ++i) {
        const std::string plain = "number " + std::to_string(100'000'000 + i);
        if (fits(plain))
            return plain;
    }
    ADD_FAILURE() << "no such text";
    return {};
}

TEST_F(CryptographerTest, AFileThatIsNoBase64IsDecipheredAsItStands) {
    // The zero byte ends the base64 text, yet all bytes of the file stand in for the decoded ones.
    const std::string plain = FindPlain([&](const std::string& candidate) {
        const std::string bytes = Enciphered(first, candidate);
        return bytes.find('\0') != std::string::npos &&
               bytes.substr(0, bytes.find('\0')).find('*') != std::string::npos;
    });
    File() = Enciphered(first, plain);
    EXPECT_EQ(Read(), (ReadResult{0, plain}));

    ASSERT_EQ(Write(kToken), 0u);
    std::string urlSafe = File();
    urlSafe[3] = '-';
    File() = urlSafe + std::string((16 - urlSafe.size() % 16) % 16, ' ');
    const ReadResult result = Read();
    EXPECT_EQ(result.code, 0u);
    EXPECT_NE(result.text, kToken);
}

TEST_F(CryptographerTest, HostileFilesReadWithSuccess) {
    std::mt19937 random(1);
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (int round = 0; round < 2000; ++round) {
        std::string& content = File();
        content.clear();
        const std::size_t size = random() % 100;
        while (content.size() < size)
            content +=
                round % 2 == 0 ? static_cast<char>(random() & 0xFF) : alphabet[random() % alphabet.size()];
        const ReadResult result = Read();
        EXPECT_EQ(result.code, 0u) << ::testing::PrintToString(content);
        EXPECT_EQ(result.text.find('\0'), std::string::npos) << ::testing::PrintToString(content);
        EXPECT_LE(result.text.size(), content.size()) << ::testing::PrintToString(content);
    }
}

TEST_F(CryptographerTest, WithoutACryptographerTheBytesArePlain) {
    static const struct {
        const char* name;
        std::string text;
        std::string read;
    } rows[] = {
        {"a token", kToken, kToken},
        {"no padding", "x", "x"},
        {"an empty text", "", ""},
        {"blanks", "  ", "  "},
        {"cut at a zero byte when read", std::string("a\0b", 3), "a"},
        {"base64 is left alone", "QUJD", "QUJD"},
    };
    for (const auto& row : rows) {
        File() = "a longer old content than any of them: its rest must be gone as well, all of it";
        EXPECT_EQ(WriteTo(kPath, row.text, none), 0u) << row.name;
        EXPECT_EQ(File(), row.text) << row.name;
        EXPECT_EQ(ReadFrom(kPath, none), (ReadResult{0, row.read})) << row.name;
    }
    EXPECT_EQ(platform.CallCount(Operation::Encrypt) + platform.CallCount(Operation::Decrypt), 0u);
}

TEST_F(CryptographerTest, ThePlainFormFailsLikeTheOther) {
    static const struct {
        Operation operation;
        std::uint32_t write;
        std::uint32_t read;
    } rows[] = {
        {Operation::FileSetSize, 0x81000009, 0},
        {Operation::FileWrite, 0x81000003, 0},
        {Operation::FileGetSize, 0, 0x81000008},
        {Operation::FileRead, 0, 0x81000002},
    };
    for (const auto& row : rows) {
        platform.FailCall(row.operation, 0x81000001);
        EXPECT_EQ(WriteTo(kPath, "text", none), row.write) << static_cast<int>(row.operation);
        File() = "text";
        EXPECT_EQ(ReadFrom(kPath, none).code, row.read) << static_cast<int>(row.operation);
    }
    EXPECT_TRUE(platform.errors.empty());
}

TEST_F(CryptographerTest, ReadingReplacesTheText) {
    portable_stl::string text("former");
    EXPECT_EQ(Number(ReadEncryptedFile(kPath, text, &first, nullptr)), 0u);
    EXPECT_TRUE(text.empty());
    text = "former";
    platform.FailCall(Operation::FileGetSize, 0x81000008);
    EXPECT_EQ(Number(ReadEncryptedFile(kPath, text, &first, nullptr)), 0x81000008u);
    EXPECT_TRUE(text.empty());
}

std::vector<void*> contextsSeen;

TEST_F(CryptographerTest, TheContextGoesThroughToEachOperation) {
    PlatformTable& table = platform.table;
    table.FileSetSize = [](const char*, std::uint64_t, void* c) { return contextsSeen.push_back(c), 0u; };
    table.FileWrite = [](const char*, std::uint64_t, const void*, std::uint32_t, std::uint32_t*, void* c) {
        return contextsSeen.push_back(c), 0u;
    };
    table.FileGetSize = [](const char*, std::uint32_t* size, void* c) {
        *size = 24;
        return contextsSeen.push_back(c), 0u;
    };
    table.FileRead = [](const char*, std::uint64_t, void* buffer, std::uint32_t size, std::uint32_t*,
                        void* c) {
        std::fill_n(static_cast<char*>(buffer), size, 'A');
        static_cast<char*>(buffer)[22] = static_cast<char*>(buffer)[23] = '=';
        return contextsSeen.push_back(c), 0u;
    };
    table.Encrypt = table.Decrypt = [](const char*, void*, std::uint32_t, void* c) {
        return contextsSeen.push_back(c), 0u;
    };
    platform.Install();
    contextsSeen.clear();
    int context = 0;
    portable_stl::string text("x");
    EXPECT_EQ(Number(WriteEncryptedFile(kPath, text, &first, &context)), 0u);
    EXPECT_EQ(Number(ReadEncryptedFile(kPath, text, &first, &context)), 0u);
    EXPECT_EQ(contextsSeen, std::vector<void*>(6, &context));
}

}  // namespace
