// The crypto operations against a second opinion: the commands openssl, sha512sum, sha256sum and md5sum.
// Known vectors and the argument rows stand in tests/platform/conformance.
#include "platform/common/Crypto.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/platform/common/CryptoCalls.h"
#include "tests/support/Command.h"
#include "tests/support/Hex.h"
#include "tests/support/RandomText.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace quillmarkclient_common;
using test::Hex;
using test::RandomBytes;
using test::Size;

using DigestOperation = decltype(&Sha256);

std::string DigestOf(DigestOperation operation, const std::string& data) {
    std::uint8_t* digest = nullptr;
    std::uint32_t size = 0;
    EXPECT_EQ(operation(data.data(), Size(data), &digest, &size, nullptr), 0u);
    const std::string bytes(digest, digest + size);
    FreeCryptoBuffer(digest, nullptr);
    return bytes;
}

TEST(CommonCryptoCommand, DigestsAgreeWithTheSystemsCommands) {
    static const struct {
        const char* command;
        DigestOperation operation;
        std::size_t size;
    } rows[] = {{"sha512sum", Sha512, 64}, {"sha256sum", Sha256, 32}, {"md5sum", Md5, 16}};
    for (const auto& row : rows) {
        for (const std::size_t length : {0u, 1u, 55u, 56u, 64u, 111u, 112u, 128u, 100'000u}) {
            const std::string data = RandomBytes(length, static_cast<unsigned>(length));
            const std::string digest = DigestOf(row.operation, data);
            EXPECT_EQ(digest.size(), row.size) << row.command;
            EXPECT_EQ(Hex(digest), test::Output(row.command, data).substr(0, 2 * row.size))
                << row.command << length;
        }
    }
}

// The command takes the key as it is: the MD5 of the text and its zero byte.
std::string OpenSslBlowfish(const std::string& keyText, const std::string& bytes,
                            const std::string& direction) {
    const std::string key = test::Output("md5sum", keyText + '\0').substr(0, 32);
    return test::Output(
        "openssl enc -bf-ecb -nopad -provider legacy -provider default " + direction + " -K " + key, bytes);
}

TEST(CommonCryptoCommand, TheCipherAgreesWithTheOpenSslCommand) {
    for (const std::string& keyText :
         {std::string("k"), std::string("key text"), std::string(450, 'x'), std::string()}) {
        for (const std::size_t length : {8u, 16u, 24u, 4096u}) {
            const std::string plain = RandomBytes(length, static_cast<unsigned>(length));
            std::string bytes = plain;
            EXPECT_EQ(Encrypt(keyText.c_str(), bytes.data(), Size(bytes), nullptr), 0u);
            EXPECT_EQ(Hex(bytes), Hex(OpenSslBlowfish(keyText, plain, "-e"))) << keyText << length;
            bytes = plain;
            EXPECT_EQ(Decrypt(keyText.c_str(), bytes.data(), Size(bytes), nullptr), 0u);
            EXPECT_EQ(Hex(bytes), Hex(OpenSslBlowfish(keyText, plain, "-d"))) << keyText << length;
        }
    }
}

// A key pair that the openssl command makes and signs with.
class CommonCryptoCommandKeys : public ::testing::Test {
protected:
    void MakeKey(const std::string& how) {
        private_ = folder_.PathOf("private.pem");
        test::WriteWhole(private_, test::Output("openssl " + how));
        publicText = test::Output("openssl pkey -pubout -in '" + private_ + "'");
    }
    [[nodiscard]] std::string Sign(const std::string& message, const std::string& digest = "sha384") const {
        return test::Output("openssl dgst -" + digest + " -sign '" + private_ + "' | openssl base64 -A",
                            message);
    }
    [[nodiscard]] std::string SignRaw(const std::string& block) const {
        return test::Output("openssl rsautl -sign -raw -inkey '" + private_ + "'", block);
    }
    [[nodiscard]] std::uint32_t Verdict(const std::string& message, const std::string& signature) const {
        return test::Verdict(publicText, message, signature);
    }

    std::string publicText;

private:
    test::TemporaryFolder folder_;
    std::string private_;
};

TEST_F(CommonCryptoCommandKeys, SignaturesOfTheCommandAreVerified) {
    for (const char* how : {"genrsa 1024", "genrsa 2048", "ecparam -name secp384r1 -genkey -noout"}) {
        MakeKey(how);
        const std::string signature = Sign("a message");
        EXPECT_EQ(Verdict("a message", signature), 1u) << how;
        EXPECT_EQ(Verdict("another message", signature), 0u) << how;
        EXPECT_EQ(Verdict("a message", Sign("a message", "sha256")), 0u) << how << ": another digest";
        EXPECT_EQ(Verdict("a message", Sign("another message")), 0u) << how;
    }
}

TEST_F(CommonCryptoCommandKeys, RsaPublicDecryptUndoesTheCommand) {
    MakeKey("genrsa 1024");
    static const struct {
        const char* name;
        std::string plain;
    } rows[] = {
        {"a text", "signed with the private half"},
        {"one byte", "\x01"},
        {"zero bytes inside and at the end", std::string("a\0b\0", 4)},
        {"a whole block but its first byte", std::string(127, '\xFF')},
    };
    for (const auto& row : rows) {
        const std::string block = SignRaw(std::string(128 - row.plain.size(), '\0') + row.plain);
        ASSERT_EQ(block.size(), 128u);
        std::uint8_t* plain = nullptr;
        std::uint32_t size = 0;
        EXPECT_EQ(RsaPublicDecrypt(publicText.c_str(), block.data(), 128, &plain, &size, nullptr), 0u)
            << row.name;
        EXPECT_EQ(std::string(plain, plain + size), row.plain) << row.name;
        FreeCryptoBuffer(plain, nullptr);
    }
}

}  // namespace
