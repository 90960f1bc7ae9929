// The control paths of feeds, tickets and backup metadata.

#include <gtest/gtest.h>

#include "tests/support/SandboxFixture.h"
#include "tests/tools/sandbox/SandboxClient.h"

namespace {

using test_support::clientHeaders;
using test_support::exchange;
using test_support::Reply;

class FeatureControl : public testing::Test {
protected:
    // As a person would by curl: without the client's header.
    Reply ask(const char* method, const std::string& target, const std::string& body = {}) {
        return exchange(fixture.baseUrl(), method, target, {}, body);
    }
    Reply feed() { return exchange(fixture.baseUrl(), "GET", "/feeds/lantern_pro_en/rss", clientHeaders()); }

    test_support::SandboxFixture fixture;
};

TEST_F(FeatureControl, BreaksAFeed) {
    static const struct {
        const char* name;
        const char* body;
        int status;
        int feed;  // afterwards
        bool hasItems;
    } rows[] = {
        {"empty", R"({"feed":"lantern_pro_en","state":"empty"})", 200, 200, false},
        {"whole again", R"({"feed":"lantern_pro_en","state":"whole"})", 200, 200, true},
        {"malformed", R"({"feed":"lantern_pro_en","state":"malformed"})", 200, 200, true},
        {"no items", R"({"feed":"lantern_pro_en","state":"no-items"})", 200, 200, false},
        {"missing", R"({"feed":"lantern_pro_en","state":"missing"})", 200, 404, false},
        {"an unknown feed", R"({"feed":"lantern_pro_de","state":"whole"})", 404, 404, false},
        {"an unknown state", R"({"feed":"lantern_pro_en","state":"broken"})", 400, 404, false},
        {"no feed", R"({"state":"whole"})", 400, 404, false},
        {"a misspelt member", R"({"feed":"lantern_pro_en","stat":"whole"})", 400, 404, false},
        {"no JSON", "whole", 400, 404, false},
        {"an array", "[]", 400, 404, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ask("POST", "/sandbox/feeds", row.body).status, row.status) << row.name;
        EXPECT_EQ(feed().status, row.feed) << row.name;
        EXPECT_EQ(feed().body.find("<item>") != std::string::npos, row.hasItems) << row.name;
    }
    ask("POST", "/sandbox/reset");
    EXPECT_EQ(feed().status, 200);
}

TEST_F(FeatureControl, TakesARuleForTickets) {
    static const struct {
        const char* name;
        const char* body;
        int status;
    } rows[] = {
        {"all members", R"({"busyAnswers":2,"busySeconds":0,"retryAfterSeconds":5})", 200},
        {"no member", "{}", 200},
        {"a negative number", R"({"busyAnswers":-1})", 400},
        {"a text", R"({"busySeconds":"1"})", 400},
        {"a member of the sign-ups' rule", R"({"successStatus":200})", 400},
        {"an array", "[]", 400},
        {"no JSON", "busyAnswers", 400},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ask("POST", "/sandbox/tickets/rule", row.body).status, row.status) << row.name;
}

TEST_F(FeatureControl, SteersAndShowsTickets) {
    EXPECT_EQ(ask("GET", "/sandbox/tickets").body, "[]");
    EXPECT_EQ(ask("POST", "/sandbox/tickets/rule", R"({"busyAnswers":1,"retryAfterSeconds":5})").status, 200);
    const auto file = [&] {
        sandbox::NamedValues headers = clientHeaders();
        headers.emplace_back("Idempotency-Key", "k");
        return exchange(
            fixture.baseUrl(), "POST", "/api/quillmark/CUSTOMER_TICKET_REGISTRATION", headers,
            R"({"email":"e","title":"t","description":"d","additionalParameters":{"z":"1","a":"2"}})");
    };
    const Reply busy = file();
    EXPECT_EQ(busy.status, 409);
    EXPECT_EQ(*sandbox::findHeader(busy.headers, "Retry-After"), "5");
    EXPECT_EQ(ask("GET", "/sandbox/tickets").body,
              R"([{"number":"","email":"e","title":"t","description":"d",)"
              R"("additionalParameters":{"z":"1","a":"2"},"requests":1}])");
    EXPECT_EQ(file().status, 200);
    EXPECT_EQ(ask("GET", "/sandbox/tickets").body,
              R"([{"number":"T-500001","email":"e","title":"t","description":"d",)"
              R"("additionalParameters":{"z":"1","a":"2"},"requests":2}])");
    ask("POST", "/sandbox/reset");
    EXPECT_EQ(ask("GET", "/sandbox/tickets").body, "[]");
    EXPECT_EQ(file().status, 200) << "the seed's rule again";
}

TEST_F(FeatureControl, ForgettingTheKeysMakesANewTicket) {
    const auto file = [&] {
        sandbox::NamedValues headers = clientHeaders();
        headers.emplace_back("Idempotency-Key", "k");
        return exchange(fixture.baseUrl(), "POST", "/api/quillmark/CUSTOMER_TICKET_REGISTRATION", headers,
                        R"({"email":"e","title":"t","description":"d"})")
            .status;
    };
    EXPECT_EQ(file(), 200);
    EXPECT_EQ(ask("POST", "/sandbox/idempotency/expire").status, 200);
    EXPECT_EQ(file(), 200);
    EXPECT_EQ(fixture.service().tickets().size(), 2u);
}

TEST_F(FeatureControl, GivesTheMetadataBack) {
    EXPECT_EQ(ask("GET", "/sandbox/metadata").status, 404);
    const auto post = [&](const char* body) {
        return exchange(fixture.baseUrl(), "POST", "/api/quillmark/webhook?name=brx-backup-metadata",
                        clientHeaders(), body)
            .body;
    };
    EXPECT_EQ(post(R"({ "version" : 1 })"), R"({"status":"Ok"})");
    EXPECT_EQ(ask("GET", "/sandbox/metadata").body, R"({ "version" : 1 })");
    static const struct {
        const char* name;
        const char* body;
        int status;
        const char* answer;  // of the webhook, afterwards
    } rows[] = {
        {"an error", R"({"status":"Error"})", 200, R"({"status":"Error"})"},
        {"another word", R"({"status":"error"})", 400, R"({"status":"Error"})"},
        {"no status", "{}", 400, R"({"status":"Error"})"},
        {"a member too many", R"({"status":"Ok","more":"x"})", 400, R"({"status":"Error"})"},
        {"no JSON", "Ok", 400, R"({"status":"Error"})"},
        {"an array", "[]", 400, R"({"status":"Error"})"},
        {"all is well", R"({"status":"Ok"})", 200, R"({"status":"Ok"})"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ask("POST", "/sandbox/metadata/answer", row.body).status, row.status) << row.name;
        EXPECT_EQ(post(R"({"version":1})"), row.answer) << row.name;
    }
}

TEST_F(FeatureControl, RefusesOtherMethods) {
    EXPECT_EQ(ask("GET", "/sandbox/feeds").status, 405);
    EXPECT_EQ(ask("DELETE", "/sandbox/tickets").status, 405);
    EXPECT_EQ(ask("GET", "/sandbox/tickets/rule").status, 405);
    EXPECT_EQ(ask("POST", "/sandbox/metadata", "{}").status, 405);
}

}  // namespace
