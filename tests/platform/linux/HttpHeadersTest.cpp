#include "platform/linux/HttpHeaders.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using quillmarkclient_common::TakeHeaders;
using quillmarkclient_core::HttpHeaderPair;
using quillmarkclient_linux::DropOriginHeaders;
using quillmarkclient_linux::FindHeaders;
using quillmarkclient_linux::MakeHeaderList;

std::vector<std::string> LinesOf(const curl_slist* list) {
    std::vector<std::string> lines;
    for (; list; list = list->next)
        lines.emplace_back(list->data);
    return lines;
}

TEST(HttpHeadersTest, WritesTheListAsLibcurlReadsIt) {
    static const struct {
        const char* name;
        std::vector<HttpHeaderPair> pairs;
        std::vector<std::string> lines;
    } rows[] = {
        {"none given: all of libcurl's are forbidden",
         {},
         {"Content-Length: 5", "Accept:", "Expect:", "Content-Type:", "Proxy-Connection:"}},
        {"those given are not forbidden",
         {{"accept", "a"}, {"CONTENT-TYPE", "b"}},
         {"accept: a", "CONTENT-TYPE: b", "Content-Length: 5", "Expect:", "Proxy-Connection:"}},
        {"what frames the message is not the caller's",
         {{"content-length", "9"}, {"Transfer-Encoding", "chunked"}, {"EXPECT", "100-continue"}},
         {"Content-Length: 5", "Accept:", "Expect:", "Content-Type:", "Proxy-Connection:"}},
        {"empty values",
         {{"X", ""}, {"Accept", " \t"}},
         {"X;", "Accept;", "Content-Length: 5", "Expect:", "Content-Type:", "Proxy-Connection:"}},
    };
    for (const auto& row : rows) {
        const auto headers = TakeHeaders(row.pairs.data(), static_cast<std::uint32_t>(row.pairs.size()));
        ASSERT_TRUE(headers.has_value()) << row.name;
        EXPECT_EQ(LinesOf(MakeHeaderList(*headers, 5).get()), row.lines) << row.name;
    }
}

TEST(HttpHeadersTest, DropsWhatIsForTheOriginOnly) {
    const HttpHeaderPair pairs[] = {{"Authorization", "a"}, {"X", "b"},      {"COOKIE", "c"},
                                    {"host", "d"},          {"Accept", "e"}, {"authorization", "f"}};
    auto headers = *TakeHeaders(pairs, 6);
    DropOriginHeaders(headers);
    ASSERT_EQ(headers.size(), 2u);
    EXPECT_EQ(headers[0].name, "X");
    EXPECT_EQ(headers[1].name, "Accept");
}

TEST(HttpHeadersTest, FindsHeadersInABlock) {
    static const struct {
        const char* name;
        const char* head;
        std::vector<std::string_view> values;
    } rows[] = {
        {"one", "HTTP/1.1 200 OK\r\nLocation: /a\r\n\r\n", {"/a"}},
        {"any case", "HTTP/1.1 200 OK\r\nLOCATION: /a\r\n\r\n", {"/a"}},
        {"no blank", "HTTP/1.1 200 OK\r\nLocation:/a\r\n\r\n", {"/a"}},
        {"blanks and tabs round it", "HTTP/1.1 200 OK\r\nLocation: \t /a \t\r\n\r\n", {"/a"}},
        {"two, in order", "HTTP/1.1 200 OK\r\nLocation: /a\r\nX: y\r\nLocation: /b\r\n\r\n", {"/a", "/b"}},
        {"an empty one", "HTTP/1.1 200 OK\r\nLocation:\r\n\r\n", {""}},
        {"a longer name", "HTTP/1.1 200 OK\r\nX-Location: /a\r\nLocationX: /b\r\n\r\n", {}},
        {"a name inside a value", "HTTP/1.1 200 OK\r\nX: Location: /a\r\n\r\n", {}},
        {"a line without a colon", "HTTP/1.1 200 OK\r\nLocation\r\n\r\n", {}},
        {"a block that is cut", "HTTP/1.1 200 OK\r\nLocation: /a", {"/a"}},
        {"nothing", "", {}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(FindHeaders(row.head, "Location"), row.values) << row.name;
}

}  // namespace
