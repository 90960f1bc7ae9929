// The webhook of backup metadata.

#include <gtest/gtest.h>

#include "tests/support/SandboxFixture.h"
#include "tests/tools/sandbox/SandboxClient.h"

namespace {

using test_support::clientHeaders;
using test_support::exchange;
using test_support::Reply;

constexpr const char* kTarget = "/api/quillmark/webhook?name=brx-backup-metadata";

class Metadata : public testing::Test {
protected:
    Reply post(const std::string& body, const sandbox::NamedValues& headers = clientHeaders()) {
        return exchange(fixture.baseUrl(), "POST", kTarget, headers, body);
    }
    std::string kept() { return fixture.service().metadata().value_or("none"); }

    test_support::SandboxFixture fixture;
};

TEST_F(Metadata, ChecksItsRequest) {
    const std::pair<std::string, std::string> client = {"x-vqm-custom", "vqm-client"};
    const struct {
        const char* name;
        const char* method;
        const char* target;
        sandbox::NamedValues headers;
        int status;
    } rows[] = {
        {"without bearer", "POST", kTarget, {client}, 201},
        {"a bad bearer", "POST", kTarget, clientHeaders("bad"), 401},
        {"no client header", "POST", kTarget, {}, 400},
        {"another method", "PUT", kTarget, {client}, 405},
        {"no name", "POST", "/api/quillmark/webhook", {client}, 404},
        {"another name", "POST", "/api/quillmark/webhook?name=brx", {client}, 404},
        {"another path", "POST", "/api/quillmark/webhooks?name=brx-backup-metadata", {client}, 404},
        {"Accept XML", "POST", kTarget, {client, {"Accept", "application/xml"}}, 406},
        {"text", "POST", kTarget, {client, {"Content-Type", "text/plain"}}, 415},
    };
    for (const auto& row : rows) {
        fixture.service().reset();
        const Reply reply =
            exchange(fixture.baseUrl(), row.method, row.target, row.headers, R"({"version":1})");
        EXPECT_EQ(reply.status, row.status) << row.name << ": " << reply.body;
        EXPECT_EQ(kept(), row.status == 201 ? R"({"version":1})" : "none") << row.name;
    }
}

TEST_F(Metadata, BearerIsWelcome) {
    const std::string token = test_support::signIn(fixture.baseUrl(), fixture.account("plain"));
    EXPECT_EQ(post(R"({"version":1})", clientHeaders(token)).status, 201);
    EXPECT_EQ(fixture.exchanges().back().login, "anna.plain@example.test");
}

TEST_F(Metadata, TakesObjectsWithAVersion) {
    static const struct {
        const char* name;
        const char* body;
        int status;
    } rows[] = {
        {"the version alone", R"({"version":1})", 201},
        {"more", R"({"version":1,"backups":[{"backupId":""}]})", 201},
        {"no version", R"({"backups":[]})", 400},
        {"a version that is a text", R"({"version":"1"})", 400},
        {"a version in another case", R"({"Version":1})", 400},
        {"half a version", R"({"version":1.5})", 400},
        {"an array", R"([{"version":1}])", 400},
        {"a broken object", R"({"version":1)", 400},
        {"a word", "version", 400},
        {"nothing", "", 415},
    };
    for (const auto& row : rows) {
        fixture.service().reset();
        EXPECT_EQ(post(row.body).status, row.status) << row.name;
        EXPECT_EQ(kept(), row.status == 201 ? row.body : "none") << row.name;
    }
}

TEST_F(Metadata, KeepsTheLastDocumentByteForByte) {
    const Reply first = post(R"({"version":1})");
    EXPECT_EQ(first.status, 201);
    EXPECT_EQ(first.body, R"({"status":"Ok"})");
    const std::string second = "{ \"a\" : \"\\u00e9\\/\",\r\n\"version\":1, \"version\":1}";
    const Reply reply = post(second);
    EXPECT_EQ(reply.status, 200) << "the machine is known";
    EXPECT_EQ(reply.body, R"({"status":"Ok"})");
    EXPECT_EQ(kept(), second);
    EXPECT_EQ(post("{}").status, 400);
    EXPECT_EQ(kept(), second) << "what is refused is not kept";
    fixture.service().reset();
    EXPECT_EQ(kept(), "none");
}

TEST_F(Metadata, SaysErrorOnDemand) {
    fixture.service().setMetadataAnswer(sandbox::MetadataAnswer::error);
    const Reply first = post(R"({"version":1})");
    EXPECT_EQ(first.status, 201);
    EXPECT_EQ(first.body, R"({"status":"Error"})");
    EXPECT_EQ(post(R"({"version":2})").body, R"({"status":"Error"})");
    EXPECT_EQ(kept(), R"({"version":2})") << "it is taken all the same";
    fixture.service().setMetadataAnswer(sandbox::MetadataAnswer::ok);
    EXPECT_EQ(post(R"({"version":3})").body, R"({"status":"Ok"})");
    fixture.service().setMetadataAnswer(sandbox::MetadataAnswer::error);
    fixture.service().reset();
    EXPECT_EQ(post(R"({"version":1})").body, R"({"status":"Ok"})");
}

}  // namespace
