// The crypto operations against a second opinion: the commands openssl, sha512sum, sha256sum and md5sum.
// Known vectors and the argument rows stand in tests/platform/conformance.
#include "platform/common/Crypto.h"

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ui.h>

#include <memory>
#include <random>
#include <string>

#include "tests/support/Command.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace quillmarkclient_common;

std::string RandomBytes(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes;
    while (bytes.size() < size)
        bytes += static_cast<char>(random() & 0xFF);
    return bytes;
}

std::string Hex(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        text += "0123456789abcdef"[static_cast<unsigned char>(c) >> 4];
        text += "0123456789abcdef"[static_cast<unsigned char>(c) & 0xF];
    }
    return text;
}

std::uint32_t Size(const std::string& bytes) {
    return static_cast<std::uint32_t>(bytes.size());
}

using DigestOperation = decltype(&Sha256);

std::string DigestOf(DigestOperation operation, const std::string& data) {
    std::uint8_t* digest = nullptr;
    std::uint32_t size = 0;
    EXPECT_EQ(operation(data.data(), Size(data), &digest, &size, nullptr), 0u);
    const std::string bytes(digest, digest + size);
    FreeCryptoBuffer(digest, nullptr);
    return bytes;
}

TEST(CommonCrypto, DigestsAgreeWithTheSystemsCommands) {
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

TEST(CommonCrypto, TheCipherAgreesWithTheOpenSslCommand) {
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
class CommonCryptoKeys : public ::testing::Test {
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
        std::uint32_t verdict = 4711;
        EXPECT_EQ(VerifySignature(publicText.c_str(), message.c_str(), signature.c_str(), Size(signature),
                                  &verdict, nullptr),
                  0u);
        return verdict;
    }

    std::string publicText;

private:
    test::TemporaryFolder folder_;
    std::string private_;
};

TEST_F(CommonCryptoKeys, SignaturesOfTheCommandAreVerified) {
    for (const char* how : {"genrsa 1024", "genrsa 2048", "ecparam -name secp384r1 -genkey -noout"}) {
        MakeKey(how);
        const std::string signature = Sign("a message");
        EXPECT_EQ(Verdict("a message", signature), 1u) << how;
        EXPECT_EQ(Verdict("another message", signature), 0u) << how;
        EXPECT_EQ(Verdict("a message", Sign("a message", "sha256")), 0u) << how << ": another digest";
        EXPECT_EQ(Verdict("a message", Sign("another message")), 0u) << how;
    }
}

TEST_F(CommonCryptoKeys, RsaPublicDecryptUndoesTheCommand) {
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

int questionCount = 0;

// As long as one lives, OpenSSL's questions are counted and not answered.
class CountedQuestions {
public:
    CountedQuestions() {
        questionCount = 0;
        UI_method_set_opener(method_.get(), [](UI*) {
            ++questionCount;
            return 0;
        });
        UI_set_default_method(method_.get());
    }
    ~CountedQuestions() { UI_set_default_method(UI_OpenSSL()); }
    CountedQuestions(const CountedQuestions&) = delete;
    CountedQuestions& operator=(const CountedQuestions&) = delete;

private:
    std::unique_ptr<UI_METHOD, decltype(&UI_destroy_method)> method_{UI_create_method("counting"),
                                                                     UI_destroy_method};
};

// OpenSSL would ask at the terminal for the password of such a text.
TEST_F(CommonCryptoKeys, AnEncryptedKeyTextIsUnreadableAndAsksNobody) {
    const std::string text =
        "-----BEGIN PUBLIC KEY-----\n"
        "Proc-Type: 4,ENCRYPTED\n"
        "DEK-Info: AES-128-CBC,000102030405060708090A0B0C0D0E0F\n\n"
        "MDEyMzQ1Njc4OUFCQ0RFRg==\n"
        "-----END PUBLIC KEY-----\n";
    std::uint8_t* plain = nullptr;
    std::uint32_t size = 0;
    const CountedQuestions questions;
    EXPECT_EQ(RsaPublicDecrypt(text.c_str(), "12345678", 8, &plain, &size, nullptr), 0x81000010u);
    publicText = text;
    EXPECT_EQ(Verdict("m", "AAAA"), 0u);
    EXPECT_EQ(questionCount, 0);

    // The counter sees who asks: without a callback of its own, OpenSSL does.
    const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new_mem_buf(text.data(), -1), BIO_free);
    EXPECT_EQ(PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, nullptr), nullptr);
    EXPECT_GT(questionCount, 0);
    ERR_clear_error();
}

TEST_F(CommonCryptoKeys, FailuresLeaveTheErrorQueueOfTheThreadAsItWas) {
    ERR_clear_error();
    ERR_raise(ERR_LIB_USER, 1);
    const unsigned long own = ERR_peek_last_error();
    std::uint8_t* plain = nullptr;
    std::uint32_t size = 0;
    EXPECT_EQ(RsaPublicDecrypt("no key", "12345678", 8, &plain, &size, nullptr), 0x81000010u);
    publicText = "no key";
    EXPECT_EQ(Verdict("m", "AAAA"), 0u);
    MakeKey("genrsa 1024");
    EXPECT_EQ(Verdict("m", "AAAA"), 0u);
    EXPECT_EQ(ERR_peek_last_error(), own);
    EXPECT_EQ(ERR_get_error(), own);
    EXPECT_EQ(ERR_get_error(), 0u);
}

}  // namespace
