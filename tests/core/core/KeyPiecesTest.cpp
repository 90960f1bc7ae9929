// The four key texts: fixed for good, because they are the pass phrase of every file that a client has
// written, and nowhere whole in the binary.
#include "core/src/core/KeyPieces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "core/src/core/Cryptographer.h"
#include "core/src/system/SystemApi.h"
#include "tests/support/Command.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using quillmarkclient_core::Cryptographer;
using quillmarkclient_core::SystemApi;

std::string Text(const portable_stl::string& text) {
    return {text.data(), text.size()};
}

const struct {
    const char* name;
    bool alternate;
    bool isLong;
    std::size_t length;  // characters
    const char* bits;
    const char* sha256;
} kRows[] = {
    {"long", false, true, 450, "(2048 bit)",
     "7dc4ca45c9ea0afb06de728d46609f964cebe91319a8ff813f3158f3033cb50d"},
    {"short", false, false, 112, "(120 bit)",
     "c3bb3ccb676bcda6cb2a8ea6c2866dcccb9834e624b1008aacc5320cdcca664e"},
    {"alternate long", true, true, 450, "(2048 bit)",
     "fa756c532dd0c0bd1022e325ddcb18d4ecb88ed9f0dd365f8bb64178da376555"},
    {"alternate short", true, false, 112, "(120 bit)",
     "fc8fe4fd8e2912193264fa081c05f546e3cc144741045b333f83caa9aea0a12e"},
};

template <class Row>
std::string KeyText(const Row& row) {
    const Cryptographer<SystemApi> cryptographer(row.alternate);
    return Text(row.isLong ? cryptographer.cipherKeyText : cryptographer.shortKeyText);
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines(1);
    for (const char c : text) {
        if (c == '\n')
            lines.emplace_back();
        else
            lines.back() += c;
    }
    return lines;
}

TEST(KeyPieces, TextsNeverChange) {
    for (const auto& row : kRows) {
        EXPECT_EQ(test::Output("sha256sum", KeyText(row)).substr(0, 64), row.sha256) << row.name;
    }
}

TEST(KeyPieces, TextsArePemWithoutAFinalLineFeed) {
    for (const auto& row : kRows) {
        const std::string text = KeyText(row);
        EXPECT_EQ(text.size(), row.length) << row.name;
        const auto lines = Lines(text);
        EXPECT_EQ(lines.front(), std::string(5, '-') + "BEGIN PUBLIC KEY" + std::string(5, '-')) << row.name;
        EXPECT_EQ(lines.back(), std::string(5, '-') + "END PUBLIC KEY" + std::string(5, '-')) << row.name;
        EXPECT_EQ(text.find_first_of(std::string("\r\0", 2)), std::string::npos) << row.name;
    }
}

TEST(KeyPieces, TextsAreRsaPublicKeysOfTheirSize) {
    for (const auto& row : kRows) {
        const std::string description = test::Output("openssl pkey -pubin -noout -text", KeyText(row));
        EXPECT_NE(description.find(row.bits), std::string::npos) << row.name << "\n" << description;
        EXPECT_NE(description.find("Exponent: 65537 (0x10001)"), std::string::npos) << row.name << "\n"
                                                                                    << description;
        EXPECT_NE(description.find("Modulus:"), std::string::npos) << row.name;
    }
}

TEST(KeyPieces, TextsDiffer) {
    for (const auto& row : kRows) {
        for (const auto& other : kRows)
            EXPECT_EQ(KeyText(row) == KeyText(other), &row == &other) << row.name << ", " << other.name;
    }
}

TEST(KeyPieces, PiecesHave8Or16BytesAndLieInNoOrder) {
    using quillmarkclient_core::kLongKeyTexts;
    using quillmarkclient_core::kShortKeyTexts;
    for (const auto* key : {&kLongKeyTexts[0], &kLongKeyTexts[1], &kShortKeyTexts[0], &kShortKeyTexts[1]}) {
        ASSERT_GT(key->pieceCount, 0u);
        std::size_t inOrder = 0;
        for (std::size_t i = 0; i < key->pieceCount; ++i) {
            const auto& piece = key->pieces[i];
            const bool last = i + 1 == key->pieceCount;
            EXPECT_TRUE(piece.size == 8 || piece.size == 16 || last) << i;
            inOrder += !last && key->pieces[i + 1].offset == piece.offset + piece.size ? 1 : 0;
        }
        EXPECT_LE(inOrder, 2u) << "out of " << key->pieceCount;
    }
}

// Also what a compiler could make of the pieces: the binary that was built is read.
TEST(KeyPieces, NoLineOfATextLiesInTheBinary) {
    for (const char* file : {"/proc/self/exe", QUILLMARK_TOKENS_LIBRARY}) {
        const std::string bytes = test::ReadWhole(file);
        ASSERT_GT(bytes.size(), 1000u) << file;
        const std::string pool(reinterpret_cast<const char*>(quillmarkclient_core::kKeyPiecePool), 256);
        ASSERT_NE(bytes.find(pool), std::string::npos) << file << ": not the binary that it should be";
        for (const auto& row : kRows) {
            for (const auto& line : Lines(KeyText(row)))
                EXPECT_EQ(bytes.find(line), std::string::npos) << row.name << " in " << file << ": " << line;
        }
    }
}

}  // namespace
