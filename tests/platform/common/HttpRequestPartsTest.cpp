#include "platform/common/HttpRequestParts.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using quillmarkclient_common::AreHeadersPresent;
using quillmarkclient_common::HttpHeaderPair;
using quillmarkclient_common::IsToken;
using quillmarkclient_common::TakeHeaders;
using Pairs = std::vector<std::pair<std::string, std::string>>;

TEST(HttpRequestPartsTest, ATokenHoldsTheseBytesOnly) {
    const std::string allowed =
        "!#$%&'*+-.^_`|~0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        EXPECT_EQ(IsToken("a" + std::string(1, c)), allowed.find(c) != std::string::npos) << byte;
    }
    EXPECT_FALSE(IsToken(""));
}

TEST(HttpRequestPartsTest, TakesHeadersInOrderWithoutThoseThatFrameTheMessage) {
    const HttpHeaderPair pairs[] = {{"X-B", "1"},
                                    {"content-length", "9"},
                                    {"X-A", ""},
                                    {"Transfer-Encoding", "chunked"},
                                    {"EXPECT", "100-continue"},
                                    {"X-B", "2"}};
    const auto headers = TakeHeaders(pairs, 6);
    ASSERT_TRUE(headers.has_value());
    Pairs taken;
    for (const auto& header : *headers)
        taken.emplace_back(header.name, header.value);
    EXPECT_EQ(taken, (Pairs{{"X-B", "1"}, {"X-A", ""}, {"X-B", "2"}}));
}

TEST(HttpRequestPartsTest, RefusesPairsThatWouldWriteLinesOfTheirOwn) {
    static const struct {
        const char* name;
        HttpHeaderPair pair;
    } rows[] = {
        {"a line end in the value", {"X", "a\r\nY: b"}}, {"a line feed alone", {"X", "a\nY: b"}},
        {"a carriage return alone", {"X", "a\rY: b"}},   {"an empty name", {"", "a"}},
        {"a colon in the name", {"X: a\r\nY", "b"}},     {"a blank in the name", {"X Y", "b"}},
    };
    for (const auto& row : rows) {
        EXPECT_FALSE(TakeHeaders(&row.pair, 1).has_value()) << row.name;
    }
}

TEST(HttpRequestPartsTest, AValueThatIsNotUtf8Throws) {
    static const struct {
        const char* name;
        HttpHeaderPair pair;
    } rows[] = {
        {"a byte that never occurs", {"X", "a\xFF"}},
        {"a cut character", {"X", "\xC3"}},
        {"a surrogate", {"X", "\xED\xA0\x80"}},
        {"in a header that would be left out", {"Content-Length", "\xFF"}},
    };
    for (const auto& row : rows) {
        const HttpHeaderPair pairs[] = {{"X-A", "\xC3\xA9"}, row.pair};
        EXPECT_TRUE(TakeHeaders(pairs, 1).has_value());
        try {
            (void)TakeHeaders(pairs, 2);
            ADD_FAILURE() << row.name;
        } catch (const std::range_error& error) {
            EXPECT_STREQ(error.what(), "bad conversion") << row.name;
        }
    }
}

TEST(HttpRequestPartsTest, HeadersArePresentWhenNoTextIsNull) {
    const HttpHeaderPair good[] = {{"X", ""}, {"Y", "b"}};
    const HttpHeaderPair noName[] = {{"X", ""}, {nullptr, "b"}};
    const HttpHeaderPair noValue[] = {{"X", nullptr}};
    EXPECT_TRUE(AreHeadersPresent(nullptr, 0));
    EXPECT_FALSE(AreHeadersPresent(nullptr, 1));
    EXPECT_TRUE(AreHeadersPresent(good, 2));
    EXPECT_FALSE(AreHeadersPresent(noName, 2));
    EXPECT_TRUE(AreHeadersPresent(noName, 1)) << "what is behind the count";
    EXPECT_FALSE(AreHeadersPresent(noValue, 1));
}

}  // namespace
