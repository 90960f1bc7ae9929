#include "core/src/registry/requests/RequestRows.h"

#include "core/src/registry/IdempotencyKeyStore.h"
#include "tests/core/registry/requests/Catalogue.h"

namespace {

using test::Catalogue;
using test::CatalogueRow;
using test::Headers;
using test::HeadersOf;
using test::kBaseUrl;
using test::RequestPointer;
using test::SystemApi;
using test::Text;
using test::With;

TEST(RequestRows, EveryByteOfEveryRequest) {
    for (const CatalogueRow& row : Catalogue())
        test::ExpectRequest(row.request);
}

// A signed-in session that sends every request in turn.
class SentHeaders : public ::testing::Test {
protected:
    SentHeaders() { client.token = quillmarkclient_core::Token("a.e30.c", true); }

    void SendBare(RequestPointer& request) {
        platform.AnswerWith(200, "");
        ASSERT_EQ(client.SendRequest(request, body, headers, httpCode, nullptr), ResultCode::kSuccess);
    }
    void SendAuthorized(RequestPointer& request) {
        platform.AnswerWith(200, "");
        ASSERT_EQ(client.SendAuthorized(request, body, headers, httpCode, nullptr, nullptr),
                  ResultCode::kSuccess);
    }
    void Attach(RequestPointer& request) {
        registry::AttachIdempotencyKey<SystemApi>(client, *request, "SCOPE", "content", nullptr);
    }
    void SendKeyed(RequestPointer& request) {
        Attach(request);
        SendBare(request);
    }
    void SendKeyedAndAuthorized(RequestPointer& request) {
        Attach(request);
        SendAuthorized(request);
    }

    // All that `send` adds to a request, in its order, behind the headers of the constructor.
    template <class Send>
    void ExpectAdded(Send&& send, const Headers& added) {
        for (const CatalogueRow& row : Catalogue()) {
            SCOPED_TRACE(row.request.name);
            RequestPointer request = row.request.make(kBaseUrl);
            send(request);
            const Headers expected = With(row.request.headers, added);
            EXPECT_EQ(platform.requests.back().headers, expected);
            EXPECT_EQ(HeadersOf(*request), expected);
        }
        EXPECT_EQ(platform.requests.size(), Catalogue().size());
    }

    test::ScriptedPlatform platform;
    registry::CustomerRegistryClient<SystemApi> client{kBaseUrl, "", {}, nullptr};
    portable_stl::string body;
    portable_stl::string headers;
    std::uint32_t httpCode = 0;
};

TEST_F(SentHeaders, TheClientNamesItselfAndSendsNoTokenByItself) {
    ExpectAdded([this](RequestPointer& request) { SendBare(request); }, {{"x-vqm-custom", "vqm-client"}});
}

TEST_F(SentHeaders, TheTokenStandsBeforeTheClientsName) {
    ExpectAdded([this](RequestPointer& request) { SendAuthorized(request); },
                {{"Authorization", "Bearer a.e30.c"}, {"x-vqm-custom", "vqm-client"}});
}

TEST_F(SentHeaders, WithoutATokenThereIsNoHeaderForIt) {
    client.token.present = 0;
    ExpectAdded([this](RequestPointer& request) { SendAuthorized(request); },
                {{"x-vqm-custom", "vqm-client"}});
}

TEST_F(SentHeaders, TheKeyStandsBeforeTheClientsName) {
    RequestPointer first = Catalogue().front().request.make(kBaseUrl);
    Attach(first);
    const std::string key = Text(client.idempotencyEntries[0].key);
    ASSERT_EQ(key.size(), 36u);
    ExpectAdded([this](RequestPointer& request) { SendKeyed(request); },
                {{"Idempotency-Key", key}, {"x-vqm-custom", "vqm-client"}});
    platform.requests.clear();
    ExpectAdded(
        [this](RequestPointer& request) { SendKeyedAndAuthorized(request); },
        {{"Idempotency-Key", key}, {"Authorization", "Bearer a.e30.c"}, {"x-vqm-custom", "vqm-client"}});
}

TEST_F(SentHeaders, ASecondSendingAddsNoneTwice) {
    for (const CatalogueRow& row : Catalogue()) {
        SCOPED_TRACE(row.request.name);
        RequestPointer request = row.request.make(kBaseUrl);
        SendAuthorized(request);
        const Headers first = platform.requests.back().headers;
        SendAuthorized(request);
        EXPECT_EQ(platform.requests.back().headers, first);
    }
}

}  // namespace
