// The four key texts: fixed for good, because they are the pass phrase of every file that a client has
// written, and nowhere whole in the binary.
#include "core/src/core/KeyPieces.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <string>
#include <vector>

#include "tests/core/core/KeyTexts.h"
#include "tests/support/Hex.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using test::KeyText;
using test::kKeyTextRows;

// Empty when it fails.
std::string Sha256(const std::string& text) {
    std::string digest(EVP_MAX_MD_SIZE, '\0');
    unsigned int size = 0;
    const int ok = EVP_Digest(text.data(), text.size(), reinterpret_cast<unsigned char*>(digest.data()),
                              &size, EVP_sha256(), nullptr);
    return ok == 1 ? digest.substr(0, size) : std::string();
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
    for (const auto& row : kKeyTextRows)
        EXPECT_EQ(test::Hex(Sha256(KeyText(row))), row.sha256) << row.name;
}

TEST(KeyPieces, TextsArePemWithoutAFinalLineFeed) {
    for (const auto& row : kKeyTextRows) {
        const std::string text = KeyText(row);
        EXPECT_EQ(text.size(), row.length) << row.name;
        const auto lines = Lines(text);
        EXPECT_EQ(lines.front(), std::string(5, '-') + "BEGIN PUBLIC KEY" + std::string(5, '-')) << row.name;
        EXPECT_EQ(lines.back(), std::string(5, '-') + "END PUBLIC KEY" + std::string(5, '-')) << row.name;
        EXPECT_EQ(text.find_first_of(std::string("\r\0", 2)), std::string::npos) << row.name;
    }
}

TEST(KeyPieces, TextsDiffer) {
    for (const auto& row : kKeyTextRows) {
        for (const auto& other : kKeyTextRows)
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
    for (const char* file : {QUILLMARK_TOKENS_LIBRARY, QUILLMARK_TEST_PROGRAM}) {
        const std::string bytes = test::ReadWhole(file);
        ASSERT_GT(bytes.size(), 1000u) << file;
        const std::string pool(reinterpret_cast<const char*>(quillmarkclient_core::kKeyPiecePool), 256);
        ASSERT_NE(bytes.find(pool), std::string::npos) << file << ": not the binary that it should be";
        for (const auto& row : kKeyTextRows) {
            for (const auto& line : Lines(KeyText(row)))
                EXPECT_EQ(bytes.find(line), std::string::npos) << row.name << " in " << file << ": " << line;
        }
    }
}

}  // namespace
