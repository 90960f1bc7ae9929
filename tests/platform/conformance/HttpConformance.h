// The rows of the three HTTP entries, against a server on loopback.
//
//   INSTANTIATE_TEST_SUITE_P(Linux, HttpConformance, ::testing::Values(FilledPlatform{"linux", &table}));
//
// A platform adds headers of its own and may write its request line and its line ends as it likes, so the
// rows look at what the caller gave and not at the whole head.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/platform/conformance/Conformance.h"
#include "tests/platform/support/HttpExchange.h"
#include "tests/support/ScriptedServer.h"

namespace test {

class HttpConformance : public PlatformConformance {
protected:
    struct Call {
        std::string method = "GET";
        std::string url = {};
        std::vector<quillmarkclient_core::HttpHeaderPair> headers = {};
        std::string body = {};
        std::uint32_t flags = 0;
    };

    // Every block that was handed out, after a failure as well, has gone back to HttpFree.
    [[nodiscard]] Exchanged Request(const Call& call) const;
    [[nodiscard]] Exchanged Upload(const std::string& url, const std::string& path,
                                   const char* method = "POST") const;
    // The headers of the last request whose names begin with "X-Row", in the order of the wire.
    [[nodiscard]] HeaderPairs SentRowHeaders() const;
    // Makes one good exchange and expects its connection to be the server's first. The server accepts in
    // order, so an earlier connection would have been counted by then.
    void ExpectNoConnectionSoFar() const;

    ScriptedServer server;
};

class HttpUploadConformance : public HttpConformance {
protected:
    TemporaryFolder folder;
};

}  // namespace test
