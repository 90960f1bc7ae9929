// The token files against a second opinion: the openssl command in place of our cipher and our base64.
#include <gtest/gtest.h>

#include <string>

#include "tests/core/core/CryptographerFixture.h"
#include "tests/support/Command.h"

namespace {

using test::CryptographerPointer;
using test::kPath;
using test::kToken;
using test::ReadFrom;
using test::ReadResult;
using test::WriteTo;

using CryptographerCommand = test::CryptographerFixture;

// The command takes the key as it is.
std::string OpenSslKey(const CryptographerPointer& cryptographer) {
    const std::string text(cryptographer->cipherKeyText.c_str(), cryptographer->cipherKeyText.size() + 1);
    return test::Output("md5sum", text).substr(0, 32);
}
constexpr char kBlowfish[] = "openssl enc -bf-ecb -nopad -provider legacy -provider default -K ";

std::string OpenSslEncrypted(const CryptographerPointer& cryptographer, const std::string& padded) {
    return test::Output(kBlowfish + OpenSslKey(cryptographer) + " -e | openssl base64 -e -A", padded);
}
std::string OpenSslDecrypted(const CryptographerPointer& cryptographer, const std::string& file) {
    return test::Output(
        "openssl base64 -d -A | " + std::string(kBlowfish) + OpenSslKey(cryptographer) + " -d", file);
}

std::string Padded(const std::string& text) {
    return text + std::string((16 - text.size() % 16) % 16, '\0');
}

TEST_F(CryptographerCommand, TheOpenSslCommandReadsWhatWeWrite) {
    for (const CryptographerPointer* pair : {&first, &second}) {
        for (const std::string& text :
             {std::string("x"), std::string("exactly 16 bytes"), std::string(kToken)}) {
            EXPECT_EQ(WriteTo(kPath, text, *pair), 0u);
            EXPECT_EQ(OpenSslDecrypted(*pair, File()), Padded(text));
        }
    }
}

TEST_F(CryptographerCommand, WeReadWhatTheOpenSslCommandWrites) {
    for (const CryptographerPointer* pair : {&first, &second}) {
        for (const std::string& text :
             {std::string("x"), std::string("exactly 16 bytes"), std::string(kToken)}) {
            File() = OpenSslEncrypted(*pair, Padded(text));
            EXPECT_EQ(ReadFrom(kPath, *pair), (ReadResult{0, text}));
            EXPECT_EQ(WriteTo("ours", text, *pair), 0u);
            EXPECT_EQ(platform.files["ours"], File()) << "and write the same";
        }
    }
}

TEST_F(CryptographerCommand, ATextIsWrittenWholeBehindItsFirstZeroByte) {
    EXPECT_EQ(Write(std::string("before\0behind", 13)), 0u);
    EXPECT_EQ(OpenSslDecrypted(first, File()), Padded(std::string("before\0behind", 13)));
}

}  // namespace
