// What no exchange is tried with: a server that is named never sees a connection.
#include "tests/platform/conformance/HttpConformance.h"

namespace test {
namespace {

using quillmarkclient_core::HttpHeaderPair;

constexpr ResultCode kInternalError{0x80000001};
constexpr ResultCode kInvalidParameters{0x80000002};
constexpr ResultCode kNetwork{0x81000006};

struct NamedUrl {
    const char* name;
    std::string url;
};

// URLs that no exchange may be tried with. Those that name a host name the server at `port`.
std::vector<NamedUrl> FaultyUrls(std::uint16_t port) {
    const std::string number = std::to_string(port);
    const std::string at = "127.0.0.1:" + number + "/";
    return {
        {"nothing", ""},
        {"garbage", "no URL at all"},
        {"no scheme", at},
        {"another scheme", "ftp://" + at},
        {"an upper-case scheme", "HTTP://" + at},
        {"a mixed-case scheme", "Http://" + at},
        {"one slash", "http:/" + at},
        {"user and password", "http://user:word@" + at},
        {"a user", "http://user@" + at},
        {"a password", "http://:word@" + at},
        {"an empty user", "http://@" + at},
        {"an empty user and password", "http://:@" + at},
        {"an empty host", "http:///path"},
        {"an empty host with a port", "http://:" + number + "/"},
        {"a scheme alone", "http://"},
        {"port 0", "http://127.0.0.1:0/"},
        {"port 0, many zeros", "http://127.0.0.1:00000/"},
        {"port 0 over TLS", "https://127.0.0.1:0/"},
        {"a port below 0", "http://127.0.0.1:-1/"},
        {"a port with a sign", "http://127.0.0.1:+" + number + "/"},
        {"a port out of range", "http://127.0.0.1:65536/"},
        {"a port far out of range", "http://127.0.0.1:4294967376/"},
        {"a port that is no number", "http://127.0.0.1:eighty/"},
        {"a port with rubbish in front", "http://127.0.0.1:x" + number + "/"},
        {"a port with rubbish behind", "http://127.0.0.1:" + number + "x/"},
        {"a port with a blank behind", "http://127.0.0.1:" + number + " /"},
        {"two ports", "http://127.0.0.1:" + number + ":" + number + "/"},
        {"a blank in front", " http://" + at},
        {"a blank in the host", "http://127.0.0 .1:" + number + "/"},
        {"a percent sign in the host", "http://127.0.0.1%2e:" + number + "/"},
        {"angles in the host", "http://<127.0.0.1>:" + number + "/"},
        {"a backslash behind the host", "http://127.0.0.1:" + number + "\\path"},
        {"a line break", "http://" + at + "a\r\nX-Row: 1"},
        {"the byte 7F", "http://" + at + "\x7F"},
        {"a bracket that stays open", "http://[::1"},
        {"a bracket that was never opened", "http://::1]:" + number + "/"},
        {"brackets round nothing", "http://[]:" + number + "/"},
        {"brackets round a name", "http://[localhost]:" + number + "/"},
        {"brackets round four numbers", "http://[127.0.0.1]:" + number + "/"},
        {"rubbish behind the brackets", "http://[::1]x:" + number + "/"},
        {"an IPv6 address without brackets", "http://::1/"},
    };
}

// What stands between the brackets of a URL and is no IPv6 address (RFC 4291 section 2.2).
constexpr const char* kFaultyIpv6[] = {
    ":",
    ":1",
    "1:",
    ":::",
    "1",
    "::1::",
    "1::2::3",
    ":::1",
    "1:::2",
    "1:2:3:4:5:6:7",
    "1:2:3:4:5:6:7:8:9",
    "1:2:3:4:5:6:7:",
    ":1:2:3:4:5:6:7:8",
    "1:2:3:4:5:6:7:8::",
    "::1:2:3:4:5:6:7:8",
    "::00001",
    "::g",
    "::1%25lo",
    "::1%lo",
    "::127.0.0",
    "::127.0.0.0.1",
    "::127.0.0.",
    "::127.0..1",
    "::.0.0.1",
    "::127.0.0.256",
    "::127.0.0.01",
    "::127.0.0.0001",
    "::127.0.0.a",
    "::127.0.0.1:1",
    "127.0.0.1::",
    "1:2:3:4:5:6:7:127.0.0.1",
    "1:2:3:4:5:127.0.0.1",
};

// The rows of text that is not UTF-8.
struct TextRow {
    const char* name;
    const char* path;
    std::vector<HttpHeaderPair> headers;
};
const TextRow kNotUtf8[] = {
    {"path", "/\xFF", {}},
    {"query, cut", "/?\xE2\x82", {}},
    {"header value", "/", {{"X-Row", "a\xFFz"}}},
    {"header value, overlong", "/", {{"X-Row", "\xC0\xAF"}}},
    {"header value with a line break", "/", {{"X-Row", "a\r\nb\xFF"}}},
    {"header value of a name that frames the message", "/", {{"Content-Length", "\xFF"}}},
    {"header name", "/", {{"X-\xFF", "v"}}},
    {"header name and value", "/", {{"\xC3", "\xC3"}}},
    {"second header", "/", {{"X-Row", "a"}, {"X-\xFF", "v"}}},
    {"behind a header that no request may carry", "/", {{"X Row", "a"}, {"X-Row", "\xFF"}}},
};

}  // namespace

TEST_P(HttpConformance, AFaultyUrlIsInvalidBeforeAnyTraffic) {
    for (const auto& row : FaultyUrls(server.Port()))
        EXPECT_EQ(Request({.url = row.url}).code, kInvalidParameters) << row.name;
    ExpectNoConnectionSoFar();
}

TEST_P(HttpConformance, WhatIsNoIpv6AddressIsInvalidBeforeAnyTraffic) {
    const std::string behind = "]:" + std::to_string(server.Port()) + "/";
    for (const char* address : kFaultyIpv6)
        EXPECT_EQ(Request({.url = std::string("http://[") + address + behind}).code, kInvalidParameters)
            << address;
    ExpectNoConnectionSoFar();
}

TEST_P(HttpConformance, TextThatIsNotUtf8IsRefusedBeforeAnyTraffic) {
    for (const auto& row : kNotUtf8) {
        SCOPED_TRACE(row.name);
        ExpectFailure(Request({.url = server.Url(row.path), .headers = row.headers}), kInternalError);
    }
    ExpectNoConnectionSoFar();
}

TEST_P(HttpConformance, AHeaderThatNoRequestMayCarryIsRefusedBeforeAnyTraffic) {
    static const struct {
        const char* name;
        HttpHeaderPair header;
    } rows[] = {
        {"an empty name", {"", "a"}},
        {"a blank in the name", {"X Row", "a"}},
        {"a colon in the name", {"X:Row", "a"}},
        {"a name of UTF-8", {"X-\xC3\xBC", "a"}},
        {"a line break in the value", {"X-Row", "a\r\nX-More: b"}},
        {"a line feed in the value", {"X-Row", "a\nX-More: b"}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Request({.url = server.Url("/"), .headers = {row.header}}).code, kNetwork) << row.name;
    ExpectNoConnectionSoFar();
}

// A method that is no token (RFC 9110 section 9.1).
constexpr const char* kFaultyMethods[] = {
    "", "GET /other HTTP/1.1\r\nX: y\r\n\r\nGET", "G T", "GET\n", "G\xC3\xA9", "GET:"};

TEST_P(HttpConformance, AMethodThatIsNoTokenIsInvalidBeforeAnyTraffic) {
    for (const char* method : kFaultyMethods) {
        SCOPED_TRACE(method);
        ExpectFailure(Request({.method = method, .url = server.Url("/")}), kInvalidParameters);
    }
    ExpectNoConnectionSoFar();
}

TEST_P(HttpUploadConformance, AMethodThatIsNoTokenIsInvalidBeforeAnyTraffic) {
    WriteWhole(folder.PathOf("file"), "abc");
    for (const char* method : kFaultyMethods) {
        SCOPED_TRACE(method);
        ExpectFailure(Upload(server.Url("/"), folder.PathOf("file"), method), kInvalidParameters);
    }
    ExpectNoConnectionSoFar();
}

// The headers of a call that can't be read: each is refused.
struct HeaderFault {
    const char* name;
    const HttpHeaderPair* headers;
    std::uint32_t count;
};
constexpr HttpHeaderPair kNameless[] = {{nullptr, "v"}};
constexpr HttpHeaderPair kValueless[] = {{"X-Row", nullptr}};
constexpr HttpHeaderPair kSecondValueless[] = {{"X-Row", "v"}, {"X-Row", nullptr}};
constexpr HeaderFault kHeaderFaults[] = {
    {"headers with a count", nullptr, 1},
    {"a header's name", kNameless, 1},
    {"a header's value", kValueless, 1},
    {"the second header's value", kSecondValueless, 2},
};

TEST_P(HttpConformance, NullArgumentsAreInvalid) {
    struct Row {
        const char* name;
        const char* method;
        const char* url;
        bool hasStatus;
        const HttpHeaderPair* headers;
        std::uint32_t count;
    };
    const std::string text = server.Url("/");
    const char* const url = text.c_str();
    std::vector<Row> rows = {
        {"method", nullptr, url, true, nullptr, 0},
        {"URL", "GET", nullptr, true, nullptr, 0},
        {"status", "GET", url, false, nullptr, 0},
    };
    for (const auto& fault : kHeaderFaults)
        rows.push_back({fault.name, "GET", url, true, fault.headers, fault.count});
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto outcome = Exchange(table.HttpFree, [&](std::uint32_t* status, char** body, char** head) {
            return table.HttpRequest(row.method, row.url, row.headers, row.count, "", 0,
                                     row.hasStatus ? status : nullptr, body, head, nullptr);
        });
        ExpectFailure(outcome, kInvalidParameters);
        EXPECT_EQ(outcome.status, kUntouched);
    }
    ExpectNoConnectionSoFar();
}

TEST_P(HttpUploadConformance, NullArgumentsAreInvalid) {
    struct Row {
        const char* name;
        const char* method;
        const char* url;
        const char* boundary;
        const char* path;
        const char* fileName;
        bool hasStatus;
        const HttpHeaderPair* headers;
        std::uint32_t count;
    };
    const std::string urlText = server.Url("/");
    const std::string pathText = folder.PathOf("file");
    const char* const url = urlText.c_str();
    const char* const path = pathText.c_str();
    std::vector<Row> rows = {
        {"method", nullptr, url, "b", path, "f", true, nullptr, 0},
        {"URL", "POST", nullptr, "b", path, "f", true, nullptr, 0},
        {"boundary", "POST", url, nullptr, path, "f", true, nullptr, 0},
        {"path", "POST", url, "b", nullptr, "f", true, nullptr, 0},
        {"file name", "POST", url, "b", path, nullptr, true, nullptr, 0},
        {"status", "POST", url, "b", path, "f", false, nullptr, 0},
    };
    for (const auto& fault : kHeaderFaults)
        rows.push_back({fault.name, "POST", url, "b", path, "f", true, fault.headers, fault.count});
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto outcome = HeadlessExchange(table.HttpFree, [&](std::uint32_t* status, char** body) {
            return table.HttpUploadFile(row.method, row.url, row.headers, row.count, row.boundary, row.path,
                                        row.fileName, row.hasStatus ? status : nullptr, body);
        });
        ExpectFailure(outcome, kInvalidParameters);
        EXPECT_EQ(outcome.status, kUntouched);
    }
    EXPECT_FALSE(Exists(pathText)) << "a call that is refused creates no file";
    ExpectNoConnectionSoFar();
}

TEST_P(HttpUploadConformance, AFaultyUrlIsInvalidBeforeAnyTraffic) {
    WriteWhole(folder.PathOf("file"), "abc");
    for (const auto& row : FaultyUrls(server.Port()))
        EXPECT_EQ(Upload(row.url, folder.PathOf("file")).code, kInvalidParameters) << row.name;
    ExpectNoConnectionSoFar();
}

}  // namespace test
