#include "core/src/core/Md5Hex.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/src/system/SystemApi.h"
#include "portable_stl/exception.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/ScriptedPlatform.h"

namespace {

using quillmarkclient_core::SystemApi;

std::string HexOf(const std::string& text, void* context = nullptr) {
    const auto hex =
        quillmarkclient_core::Md5Hex<SystemApi>(portable_stl::string(text.data(), text.size()), context);
    return {hex.data(), hex.size()};
}

class Md5Hex : public ::testing::Test {
protected:
    void TearDown() override { platform.ExpectNoBlocks(); }

    test::ScriptedPlatform platform;
};

// Up to the 80 digits: RFC 1321, appendix A.5. The rest is what md5sum says.
TEST_F(Md5Hex, IsTheDigestInLowerCaseDigits) {
    const struct {
        const char* name;
        std::string text;
        const char* hex;
    } rows[] = {
        {"empty", "", "d41d8cd98f00b204e9800998ecf8427e"},
        {"one letter", "a", "0cc175b9c0f1b6a831c399e269772661"},
        {"three letters", "abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"two words", "message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"the alphabet", "abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"letters and digits", "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"80 digits", "12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
        {"a zero byte within", std::string("a\0b", 3), "70350f6027bce3713f6b76473084309b"},
        {"a zero byte alone", std::string(1, '\0'), "93b885adfe0da089cdf634904fd59f71"},
        {"bytes above 127", "\xC3\xA4\xFF", "a62446b2430982dc22dbb51d98a0ea1a"},
        {"55 bytes, the last of one block", std::string(55, 'x'), "04364420e25c512fd958a70738aa8f72"},
        {"56 bytes", std::string(56, 'x'), "668a72d5ba17f08e62dabcafad6db14b"},
        {"a block", std::string(64, 'x'), "c1bb4f81d892b2d57947682aeb252456"},
        {"a million bytes", std::string(1'000'000, 'a'), "7707d6ae4e027c70eea2a935c2296f21"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(HexOf(row.text), row.hex) << row.name;
}

TEST_F(Md5Hex, IsEmptyWhenThePlatformFails) {
    for (const std::uint32_t code : {0x80000001u, 0x80000003u, 0x81000011u}) {
        platform.FailCall(test::Operation::Md5, code);
        EXPECT_EQ(HexOf("abc"), "") << code;
    }
    EXPECT_EQ(HexOf("abc"), "900150983cd24fb0d6963f7d28e17f72");
}

TEST_F(Md5Hex, IsEmptyWithoutTheOperationOrItsPartner) {
    const auto table = platform.table;
    platform.table.Md5 = nullptr;
    platform.Install();
    EXPECT_EQ(HexOf("abc"), "");
    platform.table = table;
    platform.table.FreeCryptoBuffer = nullptr;
    platform.Install();
    EXPECT_EQ(HexOf("abc"), "");
    EXPECT_EQ(platform.CallCount(test::Operation::Md5), 0u)
        << "a block without a way back is never asked for";
}

// A platform that answers what the row says.
struct Answer {
    static inline std::uint32_t code = 0;
    static inline std::uint32_t size = 0;
    static inline bool hasBlock = true;
    static inline int blocksOut = 0;
    static inline void* contextOfMd5 = nullptr;
    static inline void* contextOfFree = nullptr;
    static inline std::string asked;

    static std::uint32_t Md5(const void* data, std::uint32_t dataSize, std::uint8_t** digest,
                             std::uint32_t* digestSize, void* context) {
        const test::AllocationPause pause;
        asked.assign(static_cast<const char*>(data), dataSize);
        contextOfMd5 = context;
        *digestSize = size;
        *digest = nullptr;
        if (!hasBlock)
            return code;
        ++blocksOut;
        *digest = static_cast<std::uint8_t*>(std::malloc(size + 1));
        for (std::uint32_t i = 0; i < size; ++i)
            (*digest)[i] = static_cast<std::uint8_t>(17 * i);
        return code;
    }
    static void Take(void* block, void* context) {
        --blocksOut;
        contextOfFree = context;
        std::free(block);
    }
    static void Install(test::ScriptedPlatform& platform) {
        platform.table.Md5 = &Md5;
        platform.table.FreeCryptoBuffer = &Take;
        platform.Install();
    }
};

TEST_F(Md5Hex, WritesTwoDigitsForEachByteThatThePlatformGives) {
    const struct {
        const char* name;
        std::uint32_t code;
        std::uint32_t size;
        bool hasBlock;
        const char* hex;
    } rows[] = {
        {"16 bytes", 0, 16, true, "00112233445566778899aabbccddeeff"},
        {"15 bytes", 0, 15, true, "00112233445566778899aabbccddee"},
        {"17 bytes", 0, 17, true, "00112233445566778899aabbccddeeff10"},
        {"one byte", 0, 1, true, "00"},
        {"no bytes", 0, 0, true, ""},
        {"no block", 0, 16, false, ""},
        {"a failure that leaves a block", 0x81000011, 16, true, ""},
        {"a failure that leaves none", 0x81000011, 16, false, ""},
    };
    Answer::Install(platform);
    for (const auto& row : rows) {
        Answer::code = row.code;
        Answer::size = row.size;
        Answer::hasBlock = row.hasBlock;
        EXPECT_EQ(HexOf("abc"), row.hex) << row.name;
        EXPECT_EQ(Answer::blocksOut, 0) << row.name;
    }
}

TEST_F(Md5Hex, HandsBytesAndContextOn) {
    Answer::Install(platform);
    Answer::code = 0;
    Answer::size = 16;
    Answer::hasBlock = true;
    const std::string text("a\0b\xFF", 4);
    int mark = 0;
    EXPECT_EQ(HexOf(text, &mark), "00112233445566778899aabbccddeeff");
    EXPECT_EQ(Answer::asked, text);
    EXPECT_EQ(Answer::contextOfMd5, &mark);
    EXPECT_EQ(Answer::contextOfFree, &mark);
}

TEST_F(Md5Hex, GivesTheBlockBackWhenMemoryRunsOut) {
    Answer::Install(platform);
    Answer::code = 0;
    Answer::size = 16;
    Answer::hasBlock = true;
    const portable_stl::string text = "abc";
    bool isThrown = false;
    {
        const test::FailingAllocation failing(1);
        try {
            const auto hex = quillmarkclient_core::Md5Hex<SystemApi>(text, nullptr);
            static_cast<void>(hex);
        } catch (const portable_stl::bad_alloc&) {
            isThrown = true;
        }
        EXPECT_TRUE(failing.HasFailed());
    }
    EXPECT_TRUE(isThrown);
    EXPECT_EQ(Answer::blocksOut, 0);
}

}  // namespace
