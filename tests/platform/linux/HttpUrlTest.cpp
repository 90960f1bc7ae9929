#include "platform/linux/HttpUrl.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <string_view>

namespace {

using quillmarkclient_linux::IsSameOrigin;
using quillmarkclient_linux::ParseHttpUrl;

TEST(HttpUrlTest, TakesAUrlApart) {
    static const struct {
        const char* name;
        const char* url;
        const char* text;
        bool secure;
        const char* host;
        std::uint16_t port;
    } rows[] = {
        {"http", "http://a.test/x", "http://a.test/x", false, "a.test", 80},
        {"https", "https://a.test/x", "https://a.test/x", true, "a.test", 443},
        {"no path", "https://a.test", "https://a.test/", true, "a.test", 443},
        {"a query alone", "http://a.test?x", "http://a.test/?x", false, "a.test", 80},
        {"a port", "http://a.test:8080/", "http://a.test:8080/", false, "a.test", 8080},
        {"the highest port", "http://a.test:65535/", "http://a.test:65535/", false, "a.test", 65535},
        {"an empty port is the scheme's", "https://a.test:/", "https://a.test:/", true, "a.test", 443},
        {"an IPv4 address", "http://127.0.0.1/", "http://127.0.0.1/", false, "127.0.0.1", 80},
        {"an IPv6 address", "http://[::1]:81/", "http://[::1]:81/", false, "[::1]", 81},
        {"upper-case letters in the host", "http://A.Test/X", "http://A.Test/X", false, "a.test", 80},
        {"an underscore in the host", "http://a_b/", "http://a_b/", false, "a_b", 80},
        {"a colon in the path", "http://a.test/x:y", "http://a.test/x:y", false, "a.test", 80},
        {"an at sign in the path", "http://a.test/x@y", "http://a.test/x@y", false, "a.test", 80},
        {"an at sign in the query", "http://a.test?x@y", "http://a.test/?x@y", false, "a.test", 80},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto url = ParseHttpUrl(row.url);
        ASSERT_TRUE(url.has_value());
        EXPECT_EQ(url->text, row.text);
        EXPECT_EQ(url->secure, row.secure);
        EXPECT_EQ(url->host, row.host);
        EXPECT_EQ(url->port, row.port);
    }
}

TEST(HttpUrlTest, EveryControlByteIsRefusedAndEveryOtherTaken) {
    for (int byte = 0; byte < 256; ++byte) {
        std::string url = "http://a.test/x";
        url.push_back(static_cast<char>(byte));
        EXPECT_EQ(ParseHttpUrl(url).has_value(), byte >= 0x20 && byte != 0x7F) << byte;
    }
}

TEST(HttpUrlTest, EncodesTheseBytesAndNoOthers) {
    for (int byte = 0x20; byte < 256; ++byte) {
        if (byte == 0x7F)
            continue;
        const bool isEncoded =
            byte >= 0x80 ||
            std::string_view(" \"<>\\^{|}`#").find(static_cast<char>(byte)) != std::string_view::npos;
        char code[4] = {};
        std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned>(byte));
        std::string url = "http://a.test/";
        url.push_back(static_cast<char>(byte));
        const auto sent = isEncoded ? std::string(code) : std::string(1, static_cast<char>(byte));
        EXPECT_EQ(ParseHttpUrl(url)->text, "http://a.test/" + sent) << byte;
    }
}

TEST(HttpUrlTest, AnOriginIsSchemeHostAndPort) {
    static const struct {
        const char* name;
        const char* left;
        const char* right;
        bool isSame;
    } rows[] = {
        {"another path", "http://a.test/x", "http://a.test/y?z", true},
        {"letters of another case", "http://a.test/", "http://A.TEST/", true},
        {"the scheme's port spelt out", "https://a.test/", "https://a.test:443/", true},
        {"another scheme", "http://a.test/", "https://a.test/", false},
        {"another scheme on one port", "http://a.test:443/", "https://a.test/", false},
        {"another port", "http://a.test/", "http://a.test:81/", false},
        {"another host", "http://a.test/", "http://b.test/", false},
        {"a longer host", "http://a.test/", "http://x.a.test/", false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(IsSameOrigin(*ParseHttpUrl(row.left), *ParseHttpUrl(row.right)), row.isSame) << row.name;
}

}  // namespace
