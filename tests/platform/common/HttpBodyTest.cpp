#include "platform/common/HttpBody.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using quillmarkclient_common::HttpBody;
using quillmarkclient_common::HttpBodyRead;
using quillmarkclient_common::HttpMemoryBody;

// The pieces that a body gives for one capacity, up to its end.
std::vector<std::string> PiecesOf(HttpBody& body, std::uint32_t capacity) {
    std::vector<std::string> pieces;
    std::string buffer(capacity, '\0');
    std::uint32_t count = 0;
    while (body.Read(buffer.data(), capacity, &count) == HttpBodyRead::kData)
        pieces.push_back(buffer.substr(0, count));
    return pieces;
}

TEST(HttpMemoryBodyTest, GivesItsTextInPieces) {
    static const struct {
        const char* name;
        const char* text;
        std::uint32_t capacity;
        std::vector<std::string> pieces;
    } rows[] = {
        {"nothing", "", 4, {}},
        {"less than a piece", "abc", 4, {"abc"}},
        {"one piece exactly", "abcd", 4, {"abcd"}},
        {"one byte more", "abcde", 4, {"abcd", "e"}},
        {"byte by byte", "abc", 1, {"a", "b", "c"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        HttpMemoryBody body(row.text);
        EXPECT_EQ(body.GetSize(), std::string(row.text).size());
        EXPECT_EQ(PiecesOf(body, row.capacity), row.pieces);
    }
}

TEST(HttpMemoryBodyTest, TheEndLeavesTheCountAlone) {
    HttpMemoryBody body("a");
    char buffer[4] = {};
    std::uint32_t count = 0;
    EXPECT_EQ(body.Read(buffer, 4, &count), HttpBodyRead::kData);
    EXPECT_EQ(count, 1u);
    count = 77;
    EXPECT_EQ(body.Read(buffer, 4, &count), HttpBodyRead::kEnd);
    EXPECT_EQ(body.Read(buffer, 4, &count), HttpBodyRead::kEnd);
    EXPECT_EQ(count, 77u);
}

TEST(HttpMemoryBodyTest, OwnsACopy) {
    std::string text = "abc";
    HttpMemoryBody body(text);
    text = "xyz";
    EXPECT_EQ(PiecesOf(body, 8), std::vector<std::string>{"abc"});
}

TEST(HttpMemoryBodyTest, CanBeReadAgain) {
    HttpMemoryBody body("abc");
    EXPECT_EQ(PiecesOf(body, 2), (std::vector<std::string>{"ab", "c"}));
    EXPECT_TRUE(body.Rewind());
    EXPECT_EQ(PiecesOf(body, 2), (std::vector<std::string>{"ab", "c"}));
}

TEST(HttpBodyTest, TheAnswersOfReadAreNumbers) {
    EXPECT_EQ(static_cast<std::uint32_t>(HttpBodyRead::kData), 0u);
    EXPECT_EQ(static_cast<std::uint32_t>(HttpBodyRead::kEnd), 1u);
    EXPECT_EQ(static_cast<std::uint32_t>(HttpBodyRead::kError), 2u);
}

}  // namespace
