// One row of a request test: every byte of the request, and what its construction logs.
#pragma once

#include "tests/core/registry/RegistryFixture.h"

namespace test {

inline const Headers kStandardHeaders = {
    {"Accept", "application/json"},
    {"Cache-Control", "no-cache"},
    {"Content-Type", "application/json;charset=UTF-8"},
};

struct RequestExpectation {
    const char* name;
    RequestPointer (*make)();
    const char* method;
    const char* path;
    Headers headers;
    const char* body;
    const char* logName;
    const char* loggedBody;  // as the log shows it
};

inline std::string Described(const RequestExpectation& row) {
    std::string text =
        std::string("\tXmlHttp parameters: \n\turl: ") + kBaseUrl + row.path + "\n\theaders:\n";
    for (const auto& [name, value] : row.headers)
        text.append("\t\t").append(name).append(" : ").append(value).append("\n");
    return text + "\tbody: " + row.loggedBody + "\n";
}

/// Checks the built request, its line in the log, and what goes out when it is sent.
inline void ExpectRequest(const RequestExpectation& row) {
    SCOPED_TRACE(row.name);
    ScriptedPlatform platform;
    RequestPointer request = row.make();
    EXPECT_EQ(Text(request->GetMethod()), row.method);
    EXPECT_EQ(Text(request->GetUrl()), std::string(kBaseUrl) + row.path);
    EXPECT_EQ(HeadersOf(*request), row.headers);
    EXPECT_EQ(&request->GetHeaders(), &request->headers);
    EXPECT_EQ(Text(request->GetBody()), row.body);
    EXPECT_EQ(request->GetFlags(), 0u);
    EXPECT_EQ(Text(request->Describe()), Described(row));
    EXPECT_EQ(platform.traceLines, (Lines{std::string(row.logName) + ":\n" + Described(row)}));

    registry::CustomerRegistryClient<SystemApi> client(kBaseUrl, "", {}, nullptr);
    portable_stl::string responseBody;
    portable_stl::string responseHeaders;
    std::uint32_t httpCode = 0;
    platform.AnswerWith(200, "");
    EXPECT_EQ(client.SendRequest(request, responseBody, responseHeaders, httpCode, nullptr),
              ResultCode::kSuccess);
    ASSERT_EQ(platform.requests.size(), 1u);
    Headers sent = row.headers;
    sent.emplace_back("x-vqm-custom", "vqm-client");
    EXPECT_EQ(platform.requests[0].method, row.method);
    EXPECT_EQ(platform.requests[0].url, std::string(kBaseUrl) + row.path);
    EXPECT_EQ(platform.requests[0].headers, sent);
    EXPECT_EQ(platform.requests[0].body, row.body);
    EXPECT_EQ(platform.requests[0].flags, 0u);
    EXPECT_EQ(platform.traceLines.size(), 1u) << "sending logs nothing";
    platform.ExpectNoBlocks();
}

}  // namespace test
