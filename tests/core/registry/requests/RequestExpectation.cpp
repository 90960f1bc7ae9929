#include "tests/core/registry/requests/RequestExpectation.h"

#include <nlohmann/json.hpp>

namespace test {

namespace {

Headers MembersOf(const std::string& body) {
    Headers members;
    if (body.empty())
        return members;
    const auto root = nlohmann::ordered_json::parse(body, nullptr, false);
    EXPECT_TRUE(root.is_object()) << body;
    for (const auto& [name, value] : root.items())
        members.emplace_back(name, value.is_string() ? value.get<std::string>() : value.dump());
    return members;
}

void ExpectBuilt(const RequestExpectation& row, const registry::Request<SystemApi>& request) {
    EXPECT_EQ(Text(request.GetMethod()), row.method);
    EXPECT_EQ(Text(request.GetUrl()), std::string(kBaseUrl) + row.path);
    EXPECT_EQ(HeadersOf(request), row.headers);
    EXPECT_EQ(&request.GetHeaders(), &request.headers);
    EXPECT_EQ(Text(request.GetBody()), row.body);
    EXPECT_EQ(MembersOf(Text(request.GetBody())), row.members);
    EXPECT_EQ(request.GetFlags(), 0u);
    EXPECT_EQ(Text(request.Describe()), Described(row));
}

}  // namespace

std::string Described(const RequestExpectation& row) {
    std::string text =
        std::string("\tXmlHttp parameters: \n\turl: ") + kBaseUrl + row.path + "\n\theaders:\n";
    for (const auto& [name, value] : row.headers)
        text.append("\t\t").append(name).append(" : ").append(value).append("\n");
    return text + "\tbody: " + (row.loggedBody != kAsSent ? row.loggedBody : row.body) + "\n";
}

void ExpectRequest(const RequestExpectation& row) {
    SCOPED_TRACE(row.name);
    ScriptedPlatform platform;
    RequestPointer request = row.make(kBaseUrl);
    ASSERT_TRUE(request);
    ExpectBuilt(row, *request);
    EXPECT_EQ(platform.traceLines, (Lines{std::string(row.logName) + ":\n" + Described(row)}));

    registry::CustomerRegistryClient<SystemApi> client(kBaseUrl, "", {}, nullptr);
    portable_stl::string responseBody;
    portable_stl::string responseHeaders;
    std::uint32_t httpCode = 0;
    platform.AnswerWith(200, "");
    EXPECT_EQ(client.SendRequest(request, responseBody, responseHeaders, httpCode, nullptr),
              ResultCode::kSuccess);
    ASSERT_EQ(platform.requests.size(), 1u);
    const RecordedRequest& sent = platform.requests[0];
    EXPECT_EQ(sent.method, row.method);
    EXPECT_EQ(sent.url, std::string(kBaseUrl) + row.path);
    EXPECT_EQ(sent.headers, With(row.headers, {{"x-vqm-custom", "vqm-client"}}));
    EXPECT_EQ(sent.body, row.body);
    EXPECT_EQ(sent.flags, 0u);
    EXPECT_EQ(platform.traceLines.size(), 1u) << "sending logs nothing";
    platform.ExpectNoBlocks();
}

}  // namespace test
