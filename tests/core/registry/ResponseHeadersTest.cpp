#include "core/src/registry/ResponseHeaders.h"

#include <string>

#include "tests/core/registry/RegistryFixture.h"
#include "tests/support/LinearCost.h"

namespace {

using registry::FindResponseHeader;
using registry::ParseResponseHeaders;
using test::Headers;
using test::Text;

Headers Parsed(const std::string& block) {
    Headers headers;
    for (const auto& header : ParseResponseHeaders(Text(block)))
        headers.emplace_back(Text(header.name), Text(header.value));
    return headers;
}

// "(none)" when there is no such header.
std::string Found(const std::string& block, const char* name) {
    portable_stl::string value = "(none)";
    const bool isFound = FindResponseHeader(Text(block), name, value);
    EXPECT_EQ(isFound, Text(value) != "(none)") << block;
    return Text(value);
}

TEST(ResponseHeaders, AreTheLinesWithAColon) {
    const struct {
        const char* name;
        std::string block;
        Headers headers;
    } rows[] = {
        {"nothing", "", {}},
        {"one line", "A: 1\r\n", {{"A", "1"}}},
        {"a whole block", "HTTP/1.1 200 OK\r\nA: 1\r\nB: 2\r\n\r\n", {{"A", "1"}, {"B", "2"}}},
        {"line feeds alone", "HTTP/1.1 200 OK\nA: 1\nB: 2\n\n", {{"A", "1"}, {"B", "2"}}},
        {"both kinds of line ends", "A: 1\r\nB: 2\nC: 3\r\n", {{"A", "1"}, {"B", "2"}, {"C", "3"}}},
        {"no end of the last line", "A: 1\r\nB: 2", {{"A", "1"}, {"B", "2"}}},
        {"a carriage return at the very end", "A: 1\r", {{"A", "1"}}},
        {"of two carriage returns one goes", "A: 1\r\r\n", {{"A", "1\r"}}},
        {"a carriage return is no line end", "A: 1\rB: 2\r\n", {{"A", "1\rB: 2"}}},
        {"a carriage return behind a line feed", "A: 1\n\rB: 2\n", {{"A", "1"}, {"\rB", "2"}}},
        {"empty lines within", "A: 1\r\n\r\n\n\r\nB: 2\r\n", {{"A", "1"}, {"B", "2"}}},
        {"empty lines alone", "\r\n\n\r\n", {}},
        {"a lone carriage return", "\r", {}},
        {"a line of two carriage returns", "\r\r\n", {}},
        {"a line without a colon", "A 1\r\nB: 2\r\n", {{"B", "2"}}},
        {"no line with a colon", "A 1\r\nB 2\r\n", {}},

        {"a colon alone", ":\r\n", {{"", ""}}},
        {"an empty name", ": 1\r\n", {{"", "1"}}},
        {"an empty value", "A:\r\n", {{"A", ""}}},
        {"blanks for a value", "A:   \r\n", {{"A", ""}}},
        {"no blank", "A:1\r\n", {{"A", "1"}}},
        {"three blanks", "A:   1\r\n", {{"A", "1"}}},
        {"a tabulator is kept", "A:\t1\r\n", {{"A", "\t1"}}},
        {"blanks in front of it are not", "A:  \t 1\r\n", {{"A", "\t 1"}}},
        {"no other blank goes",
         "A:\v1\r\nB:\xC2\xA0"
         "2\r\n",
         {{"A", "\v1"},
          {"B",
           "\xC2\xA0"
           "2"}}},
        {"trailing blanks are kept", "A: 1 \t \r\n", {{"A", "1 \t "}}},
        {"blanks within are kept", "A: 1  2\r\n", {{"A", "1  2"}}},
        {"blanks round the name are kept", " A : 1\r\n", {{" A ", "1"}}},
        {"only the first colon parts", "A: b:c: d\r\n", {{"A", "b:c: d"}}},
        {"two colons", "A:: 1\r\n", {{"A", ": 1"}}},
        {"a status line with a colon",
         "HTTP/1.1 409 Still: working\r\n",
         {{"HTTP/1.1 409 Still", "working"}}},
        {"a folded line is a line like any other", "A: 1\r\n more: 2\r\n", {{"A", "1"}, {" more", "2"}}},
        {"the order and repeats stay", "B: 2\r\nA: 1\r\nB: 3\r\n", {{"B", "2"}, {"A", "1"}, {"B", "3"}}},
        {"names keep their case", "rEtRy-AfTeR: 1\r\n", {{"rEtRy-AfTeR", "1"}}},
        {"bytes above 127 are data", "\xC3\x84: \xC3\x96\r\n", {{"\xC3\x84", "\xC3\x96"}}},
        {"percent signs are data", "%s: %n\r\n", {{"%s", "%n"}}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Parsed(row.block), row.headers) << row.name;
}

TEST(ResponseHeaders, AreFoundInAnyCaseOfTheirLetters) {
    const struct {
        const char* name;
        std::string block;
        const char* wanted;
        std::string value;
    } rows[] = {
        {"as it stands", "Retry-After: 1\r\n", "Retry-After", "1"},
        {"lower case", "retry-after: 1\r\n", "Retry-After", "1"},
        {"upper case", "RETRY-AFTER: 1\r\n", "Retry-After", "1"},
        {"lower case wanted", "Retry-After: 1\r\n", "retry-after", "1"},
        {"first and last letter", "AZ: 1\r\n", "az", "1"},
        {"the first of two", "A: 1\r\na: 2\r\n", "A", "1"},
        {"the first of two, the other case in front", "a: 1\r\nA: 2\r\n", "A", "1"},
        {"an empty first of two", "A:\r\nA: 2\r\n", "A", ""},
        {"behind others", "HTTP/1.1 200 OK\r\nB: 2\r\nA: 1\r\n\r\n", "A", "1"},
        {"the status line counts", "A: line\r\nA: 1\r\n", "A", "line"},
        {"an empty name", "A: 1\r\n: 2\r\n", "", "2"},
        {"a header of an earlier answer counts", "HTTP/1.1 100\r\nA: 1\r\n\r\nHTTP/1.1 200\r\nA: 2\r\n", "A",
         "1"},

        {"none", "", "A", "(none)"},
        {"another", "B: 1\r\n", "A", "(none)"},
        {"a longer name", "AB: 1\r\n", "A", "(none)"},
        {"a shorter name", "A: 1\r\n", "AB", "(none)"},
        {"a blank behind the name", "A : 1\r\n", "A", "(none)"},
        {"a blank in front", " A: 1\r\n", "A", "(none)"},
        {"without a colon", "A 1\r\n", "A", "(none)"},
        {"in a value", "B: A: 1\r\n", "A", "(none)"},
        {"@ and ` are no letters", "@: 1\r\n", "`", "(none)"},
        {"[ and { neither", "[: 1\r\n", "{", "(none)"},
        {"- and CR neither", "-: 1\r\n", "\r", "(none)"},
        {"letters with a mark stay as they are", "\xC3\x84: 1\r\n", "\xC3\xA4", "(none)"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Found(row.block, row.wanted), row.value) << row.name;
}

TEST(ResponseHeaders, WithoutAMatchTheValueStays) {
    portable_stl::string value = "former";
    EXPECT_FALSE(FindResponseHeader("A: 1\r\n", "B", value));
    EXPECT_EQ(Text(value), "former");
    EXPECT_TRUE(FindResponseHeader("B:\r\n", "B", value));
    EXPECT_EQ(Text(value), "");
}

// `count` copies of a line, and the header behind them.
std::string Flood(const std::string& line, std::size_t count) {
    std::string block;
    block.reserve(line.size() * count + 16);
    for (std::size_t i = 0; i < count; ++i)
        block += line;
    return block + "Last: 1\r\n";
}

TEST(ResponseHeaders, CostWhatTheirLengthSays) {
    const struct {
        const char* name;
        std::string line;
    } rows[] = {
        {"long headers", "A-Header-Of-More-Than-22-Bytes: a value of more than 22 bytes\r\n"},
        {"short headers", "A: 1\r\n"},
        {"long lines without a colon", "a line of more than 22 bytes without its colon\r\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test::ExpectLinearCost(1000, [&row](std::size_t count) {
            const portable_stl::string block = Text(Flood(row.line, count));
            return test::AllocatedBytes([&block] {
                portable_stl::string value;
                EXPECT_TRUE(FindResponseHeader(block, "last", value));
            });
        });
    }
}

// A cost that grows with the square would hold these up until the time limit.
TEST(ResponseHeaders, AMillionLinesAreRead) {
    const std::string lines[] = {"A: 1\r\n", "\n", "\r\n", "no colon\n", ":\n", "\r\r\r\n"};
    for (const std::string& line : lines)
        EXPECT_EQ(Found(Flood(line, 1'000'000), "Last"), "1") << line;
}

TEST(ResponseHeaders, OneLineOfMegabytesIsRead) {
    const std::string much(8'000'000, 'x');
    EXPECT_EQ(Found("A: " + much + "\r\n", "a").size(), much.size());
    EXPECT_EQ(Found(much + ": 1\r\n", "a"), "(none)");
    EXPECT_EQ(Found("A:" + std::string(8'000'000, ' ') + "1\r\n", "a"), "1");
    EXPECT_EQ(Found("A: 1" + std::string(8'000'000, '\r') + "\n", "a").size(), 8'000'000u);
    EXPECT_EQ(Found(std::string(8'000'000, '\r'), "a"), "(none)");
    EXPECT_EQ(Found("A: " + std::string(8'000'000, ':'), "a").size(), 8'000'000u);
}

}  // namespace
