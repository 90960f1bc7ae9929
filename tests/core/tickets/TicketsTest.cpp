// The filing of a ticket: what goes on the wire, how often, and what becomes of the answer.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "core/src/tickets/requests/CreateTicket.h"
#include "tests/core/client/ClientFixture.h"

namespace {

using Parameters = std::vector<std::pair<std::string, std::string>>;

const char kTickets[] = "POST /api/quillmark/CUSTOMER_TICKET_REGISTRATION";
const char kFiled[] =
    R"({"id":"1","entityTypeKey":"T","attributeValues":[{"attributeKey":"CUSTOMER_TICKET_NUMBER",)"
    R"("valueLocales":[{"value":"4711"}]}]})";

tickets::CreateTicketParams Params(const char* email, const char* title, const char* description,
                                   const Parameters& parameters = {}) {
    tickets::CreateTicketParams params;
    params.email = email;
    params.title = title;
    params.description = description;
    for (const auto& [key, value] : parameters)
        params.additionalParameters.push_back({key.c_str(), value.c_str()}).value();
    return params;
}

class Tickets : public test::ClientFixture {
protected:
    std::uint32_t File(const tickets::CreateTicketParams& params = Params("a@b.c", "Title", "Text")) {
        return static_cast<std::uint32_t>(client.CreateTicket(params, number, &error, nullptr));
    }
    [[nodiscard]] std::string KeySent(std::size_t request) const {
        return platform.requests.at(request).Header("Idempotency-Key");
    }
    void AnswerToWait(const char* retryAfter) {
        test::ScriptedAnswer answer;
        answer.status = 409;
        answer.headers = std::string("HTTP/1.1 409 Conflict\r\nRetry-After: ") + retryAfter + "\r\n\r\n";
        platform.AnswerWith(answer);
    }

    portable_stl::string number = "former";
};

TEST_F(Tickets, EveryByteOfTheRequest) {
    service.Answer(kTickets, 200, kFiled);
    EXPECT_EQ(File(Params("a@b.c", "Title", "Text", {{"b", "2"}, {"a", "1"}})), 0u);
    EXPECT_STREQ(number.c_str(), "4711");
    ASSERT_EQ(platform.requests.size(), 1u);
    const test::RecordedRequest& sent = platform.requests[0];
    EXPECT_EQ(sent.method, "POST");
    EXPECT_EQ(sent.url, "https://service.test/api/quillmark/CUSTOMER_TICKET_REGISTRATION");
    EXPECT_EQ(KeySent(0).size(), 36u);
    EXPECT_EQ(sent.headers, (HeaderList{{"Accept", "application/json"},
                                        {"Cache-Control", "no-cache"},
                                        {"Content-Type", "application/json;charset=UTF-8"},
                                        {"Idempotency-Key", KeySent(0)},
                                        {"x-vqm-custom", "vqm-client"}}));
    const std::string body = R"({"email":"a@b.c","title":"Title","description":"Text",)"
                             R"("additionalParameters":{"b":"2","a":"1"}})";
    EXPECT_EQ(sent.body, body);
    EXPECT_EQ(sent.flags, 0u);
    EXPECT_EQ(platform.traceLines.at(0),
              Described("\"CreateTicket\" request.", "/api/quillmark/CUSTOMER_TICKET_REGISTRATION",
                        {{"Accept", "application/json"},
                         {"Cache-Control", "no-cache"},
                         {"Content-Type", "application/json;charset=UTF-8"}},
                        body));
    EXPECT_TRUE(platform.errors.empty());
}

TEST_F(Tickets, Bodies) {
    static const struct {
        const char* name;
        tickets::CreateTicketParams params;
        const char* body;
    } rows[] = {
        {"no parameters", Params("e", "t", "d"), R"({"email":"e","title":"t","description":"d"})"},
        {"one", Params("e", "t", "d", {{"k", "v"}}),
         R"({"email":"e","title":"t","description":"d","additionalParameters":{"k":"v"}})"},
        {"numbers are texts", Params("e", "t", "d", {{"k", "1"}, {"l", "true"}}),
         R"({"email":"e","title":"t","description":"d","additionalParameters":{"k":"1","l":"true"}})"},
        {"an empty value", Params("e", "t", "d", {{"k", ""}}),
         R"({"email":"e","title":"t","description":"d","additionalParameters":{"k":""}})"},
        {"one key twice", Params("e", "t", "d", {{"k", "1"}, {"k", "2"}}),
         R"({"email":"e","title":"t","description":"d","additionalParameters":{"k":"1","k":"2"}})"},
        {"an empty key goes out as the writer writes it", Params("e", "t", "d", {{"", "v"}}),
         R"({"email":"e","title":"t","description":"d","additionalParameters":{"v"}})"},
        {"escapes", Params("e", "\"t\"/\\", "line\nline\ttab", {{"k\"", "\r"}}),
         R"({"email":"e","title":"\"t\"\/\\","description":"line\nline\ttab",)"
         R"("additionalParameters":{"k\"":"\r"}})"},
        {"not ASCII", Params("e", "\xC3\xA9", "\xF0\x9F\x98\x80"),
         "{\"email\":\"e\",\"title\":\"\xC3\xA9\",\"description\":\"\xF0\x9F\x98\x80\"}"},
    };
    service.Answer(kTickets, 200, kFiled);
    for (const auto& row : rows) {
        Forget();
        EXPECT_EQ(File(row.params), 0u) << row.name;
        EXPECT_EQ(platform.requests.at(0).body, row.body) << row.name;
    }
}

TEST_F(Tickets, TheBodyIsJson) {
    service.Answer(kTickets, 200, kFiled);
    const std::string text = "a \"quote\", a \\, a /, \b\f\n\r\t and \xE2\x82\xAC";
    EXPECT_EQ(File(Params("e", text.c_str(), text.c_str(), {{"z", text}, {"a", "1"}})), 0u);
    const auto body = nlohmann::ordered_json::parse(platform.requests[0].body);
    EXPECT_EQ(body.size(), 4u);
    EXPECT_EQ(body["title"], text);
    EXPECT_EQ(body["description"], text);
    EXPECT_EQ(body["additionalParameters"].size(), 2u);
    EXPECT_EQ(body["additionalParameters"].begin().key(), "z") << "in the order given";
    EXPECT_EQ(body["additionalParameters"]["z"], text);
}

TEST_F(Tickets, WhatMakesTwoFilingsOne) {
    static const struct {
        const char* name;
        tickets::CreateTicketParams params;
        const char* content;
    } rows[] = {
        {"no parameters", Params("a@b.c", "Title", "Text"), "a@b.c|Title|Text"},
        {"two", Params("a@b.c", "Title", "Text", {{"a", "1"}, {"b", "2"}}), "a@b.c|Title|Text|a=1|b=2"},
        {"in their order", Params("a@b.c", "Title", "Text", {{"b", "2"}, {"a", "1"}}),
         "a@b.c|Title|Text|b=2|a=1"},
        {"nothing is escaped", Params("a@b.c", "Ti|tle", "Text", {{"a=b", "c|d"}}),
         "a@b.c|Ti|tle|Text|a=b=c|d"},
        {"empty ones", Params("a@b.c", "Title", "Text", {{"", ""}, {"", "v"}}), "a@b.c|Title|Text|=|=v"},
        {"upper case and blanks", Params("A@B.C", " Title ", ""), "A@B.C| Title |"},
    };
    for (const auto& row : rows)
        EXPECT_STREQ(tickets::TicketContent(row.params).c_str(), row.content) << row.name;
}

// The hashes are those of md5sum over "CREATE_TICKET|" and the content.
TEST_F(Tickets, TheKeyIsStoredUnderTheContentsHash) {
    static const struct {
        const char* name;
        tickets::CreateTicketParams params;
        const char* hash;
    } rows[] = {
        {"no parameters", Params("a@b.c", "Title", "Text"), "7822134d293b942aeede505e81725f40"},
        {"two", Params("a@b.c", "Title", "Text", {{"a", "1"}, {"b", "2"}}),
         "4eb939e132e7901deac8d87ac68ab134"},
        {"the other way round", Params("a@b.c", "Title", "Text", {{"b", "2"}, {"a", "1"}}),
         "843d98f1a8572c301f78b6eaa789a94c"},
        {"a bar in the title", Params("a@b.c", "Ti|tle", "Text"), "74b646b0e12f71d50b59773d09bb82a9"},
        {"an empty key", Params("a@b.c", "Title", "Text", {{"", "v"}}), "78d8cfae0d7f3901a2079c45af0381ae"},
    };
    service.Answer(kTickets, 200, kFiled);
    std::size_t count = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(File(row.params), 0u);
        const auto stored = nlohmann::json::parse(platform.files.at("store/LIC2"));
        ASSERT_EQ(stored["entries"].size(), ++count);
        EXPECT_EQ(stored["entries"].back()["hash"], row.hash);
        EXPECT_EQ(stored["entries"].back()["key"], KeySent(count - 1));
    }
}

TEST_F(Tickets, OneTicketHasOneKeyForADay) {
    service.Answer(kTickets, 200, kFiled);
    EXPECT_EQ(File(), 0u);
    EXPECT_EQ(File(Params("a@b.c", "Title", "Other")), 0u);
    platform.nowSeconds += 86399;
    EXPECT_EQ(File(), 0u);
    platform.nowSeconds += 1;
    EXPECT_EQ(File(), 0u);
    ASSERT_EQ(platform.requests.size(), 4u) << "each filing is sent: the service knows what it has";
    EXPECT_NE(KeySent(1), KeySent(0)) << "another description";
    EXPECT_EQ(KeySent(2), KeySent(0));
    EXPECT_NE(KeySent(3), KeySent(0)) << "a day later";
}

TEST_F(Tickets, ARefusedTicketKeepsItsKey) {
    platform.AnswerWith(500, "");
    platform.AnswerWith(200, kFiled);
    EXPECT_EQ(File(), 0x80000001u);
    EXPECT_EQ(File(), 0u);
    EXPECT_EQ(KeySent(1), KeySent(0));
}

TEST_F(Tickets, TheKeySurvivesARestart) {
    service.Answer(kTickets, 200, kFiled);
    EXPECT_EQ(File(), 0u);
    registry::CustomerRegistryClient<Api> later(test::kServiceUrl, "store/", registry::RetryPolicy(),
                                                nullptr);
    client.registryClient = &later;
    EXPECT_EQ(File(), 0u);
    EXPECT_EQ(KeySent(1), KeySent(0));
}

TEST_F(Tickets, NoBearerGoesAlongAndNothingIsRenewed) {
    SignIn();
    session.identitySecret = "secret";
    service.Answer(kTickets, 401, R"({"title":"no"})");
    EXPECT_EQ(File(), 0x80000001u);
    EXPECT_EQ(Lines(), Strings{kTickets});
    EXPECT_EQ(platform.requests[0].Header("Authorization"), "(none)");
    EXPECT_EQ(error.httpCode, 401u);
}

TEST_F(Tickets, ASlowServiceIsWaitedFor) {
    AnswerToWait("2");
    AnswerToWait("600");
    AnswerToWait("soon");
    platform.AnswerWith(200, kFiled);
    EXPECT_EQ(File(), 0u);
    EXPECT_STREQ(number.c_str(), "4711");
    EXPECT_EQ(platform.sleepsMs, (std::vector<std::uint32_t>{2000, 30000, 1000}));
    ASSERT_EQ(platform.requests.size(), 4u);
    for (std::size_t i = 1; i < 4; ++i) {
        EXPECT_EQ(KeySent(i), KeySent(0));
        EXPECT_EQ(platform.requests[i].body, platform.requests[0].body);
        EXPECT_EQ(platform.requests[i].headers, platform.requests[0].headers);
    }
}

TEST_F(Tickets, AServiceThatStaysSlowIsGivenUp) {
    for (int i = 0; i < 5; ++i)
        AnswerToWait("1");
    EXPECT_EQ(File(), 0x80000006u);
    EXPECT_EQ(platform.requests.size(), 5u);
    EXPECT_EQ(platform.sleepsMs.size(), 4u);
    EXPECT_STREQ(number.c_str(), "former");
    ExpectOneReport(0x80000006, "Problems sending network requests");
}

TEST_F(Tickets, ATimeoutIsRepeated) {
    platform.FailExchange(0x81000014u);
    platform.AnswerWith(200, kFiled);
    EXPECT_EQ(File(), 0u);
    EXPECT_EQ(platform.sleepsMs, std::vector<std::uint32_t>{1500});
    EXPECT_EQ(KeySent(1), KeySent(0));
}

TEST_F(Tickets, OtherFailuresOfTheTransportAreNot) {
    platform.FailExchange(0x81000006u);
    EXPECT_EQ(File(), 0x80000006u);
    EXPECT_TRUE(platform.sleepsMs.empty());
    ExpectOneReport(0x80000006, "Problems sending network requests");
    EXPECT_EQ(error.resultCode, 0u);
}

TEST_F(Tickets, WithoutAHashItGoesOutOnceWithoutAKey) {
    platform.FailCall(test::Operation::Md5, 0x81000011u);
    platform.FailExchange(0x81000014u);
    EXPECT_EQ(File(), 0x81000014u);
    ASSERT_EQ(platform.requests.size(), 1u);
    EXPECT_EQ(KeySent(0), "(none)");
    EXPECT_EQ(platform.files.count("store/LIC2"), 0u);
}

TEST_F(Tickets, Statuses) {
    for (const std::uint32_t status :
         {0u, 100u, 201u, 202u, 204u, 302u, 400u, 401u, 403u, 404u, 409u, 423u, 429u, 500u, 503u}) {
        SCOPED_TRACE(status);
        Forget();
        number = "former";
        service.Answer(kTickets, status,
                       R"({"title":"why","status":"429","errorCode":"ACCOUNT_LOCKED_TRY_AGAIN"})");
        EXPECT_EQ(File(), 0x80000001u) << "the decoder is not asked";
        EXPECT_EQ(platform.requests.size(), 1u);
        ExpectOneReport(0x80000001, "Internal program error");
        EXPECT_EQ(error.resultCode, 0x80000001u);
        EXPECT_EQ(error.httpCode, status);
        EXPECT_STREQ(error.title.c_str(), "why");
        EXPECT_STREQ(number.c_str(), "former");
    }
}

TEST_F(Tickets, AnEmptyTextIsRefusedBehindTheSession) {
    static const struct {
        const char* name;
        tickets::CreateTicketParams params;
    } rows[] = {
        {"email", Params("", "t", "d")},
        {"title", Params("e", "", "d")},
        {"description", Params("e", "t", "")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        EXPECT_EQ(File(row.params), 0x80000002u);
        ExpectOneReport(0x80000002, "Invalid parameters.");
        Forget();
        client.registryClient = nullptr;
        EXPECT_EQ(File(row.params), 0x80000001u);
        ExpectOneReport(0x80000001, "Internal program error");
        client.registryClient = &session;
    }
    EXPECT_TRUE(platform.requests.empty());
    EXPECT_TRUE(platform.files.empty()) << "no key was made";
}

TEST_F(Tickets, TheRecordMayBeAbsent) {
    service.Answer(kTickets, 400, R"({"title":"t"})");
    EXPECT_EQ(client.CreateTicket(Params("e", "t", "d"), number, nullptr, nullptr),
              ResultCode::kInternalError);
}

// An entity with these attribute values.
std::string Entity(const std::string& attributes) {
    return R"({"id":"1","entityTypeKey":"T","attributeValues":[)" + attributes + "]}";
}

TEST_F(Tickets, Numbers) {
    const std::string other = R"({"attributeKey":"OTHER","valueLocales":[{"value":"9"}]},)";
    const struct {
        const char* name;
        std::string body;
        const char* number;
    } rows[] = {
        {"the attribute",
         Entity(R"({"attributeKey":"CUSTOMER_TICKET_NUMBER","valueLocales":[{"value":"7"}]})"), "7"},
        {"in small letters",
         Entity(R"({"attributeKey":"customer_ticket_number","valueLocales":[{"value":"7"}]})"), "7"},
        {"behind others",
         Entity(other + R"({"attributeKey":"CUSTOMER_TICKET_NUMBER","valueLocales":[{"value":"7"}]})"), "7"},
        {"a number", Entity(R"({"attributeKey":"CUSTOMER_TICKET_NUMBER","valueLocales":[{"value":7}]})"),
         "7"},
        {"of two locales the first",
         Entity(R"({"attributeKey":"CUSTOMER_TICKET_NUMBER","valueLocales":[{"value":"7"},{"value":"8"}]})"),
         "7"},
        {"a locale without a value is none",
         Entity(R"({"attributeKey":"CUSTOMER_TICKET_NUMBER","valueLocales":[{"key":"en"},{"value":"8"}]})"),
         "8"},
        {"of two attributes the first",
         Entity(R"({"attributeKey":"Customer_Ticket_Number","valueLocales":[{"value":"7"}]},)"
                R"({"attributeKey":"CUSTOMER_TICKET_NUMBER","valueLocales":[{"value":"8"}]})"),
         "7"},
        {"an empty value ends the search",
         Entity(R"({"attributeKey":"CUSTOMER_TICKET_NUMBER","valueLocales":[{"value":""}]},)"
                R"({"attributeKey":"CUSTOMER_TICKET_NUMBER","valueLocales":[{"value":"8"}]})"),
         ""},
        {"no locale ends the search",
         Entity(R"({"attributeKey":"CUSTOMER_TICKET_NUMBER","valueLocales":[]},)"
                R"({"attributeKey":"CUSTOMER_TICKET_NUMBER","valueLocales":[{"value":"8"}]})"),
         ""},
        {"no list of locales", Entity(R"({"attributeKey":"CUSTOMER_TICKET_NUMBER"})"), ""},
        {"a longer name",
         Entity(R"({"attributeKey":"CUSTOMER_TICKET_NUMBER2","valueLocales":[{"value":"7"}]})"), ""},
        {"the key is not the name",
         Entity(R"({"attributeKey":"x","key":"CUSTOMER_TICKET_NUMBER","valueLocales":[{"value":"7"}]})"), ""},
        {"no attributes", Entity(""), ""},
        {"an entity without an id",
         R"({"entityTypeKey":"T","attributeValues":[{"attributeKey":"CUSTOMER_TICKET_NUMBER",)"
         R"("valueLocales":[{"value":"7"}]}]})",
         ""},
        {"an entity without a type",
         R"({"id":"1","attributeValues":[{"attributeKey":"CUSTOMER_TICKET_NUMBER",)"
         R"("valueLocales":[{"value":"7"}]}]})",
         ""},
        {"an array around it",
         "[" + Entity(R"({"attributeKey":"CUSTOMER_TICKET_NUMBER","valueLocales":[{"value":"7"}]})") + "]",
         ""},
        {"an empty object", "{}", ""},
        {"a text", R"("7")", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        number = "former";
        service.Answer(kTickets, 200, row.body);
        EXPECT_EQ(File(), 0u);
        EXPECT_STREQ(number.c_str(), row.number);
        EXPECT_TRUE(platform.errors.empty());
        EXPECT_EQ(error.resultCode, 0u);
    }
}

TEST_F(Tickets, AnAnswerThatIsNoJsonIsReportedAndNoFailure) {
    for (const char* const body : {"", "<html>", R"({"id":)"}) {
        SCOPED_TRACE(body);
        Forget();
        number = "former";
        service.Answer(kTickets, 200, body);
        EXPECT_EQ(File(), 0u);
        EXPECT_STREQ(number.c_str(), "");
        ASSERT_EQ(platform.errors.size(), 1u);
        EXPECT_EQ(platform.errors[0].code, 0x81000013u);
        EXPECT_EQ(platform.errors[0].message, "Can not parse JSON file");
        EXPECT_EQ(platform.errors[0].source, "core/src/tickets/requests/CreateTicket_impl");
        EXPECT_GT(platform.errors[0].line, 0u);
    }
}

}  // namespace
