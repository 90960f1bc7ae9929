// What the service gets to see of each request: by this system's platform, over a real socket.
#include "core/src/registry/IdempotencyKeyStore.h"
#include "core/src/system/PlatformTable.h"
#include "tests/core/registry/requests/Catalogue.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TransportFacts.h"

namespace {

using test::Catalogue;
using test::CatalogueRow;
using test::Headers;
using test::RequestPointer;
using test::Sending;
using test::SystemApi;
using test::Text;
using test::With;

class Wire : public ::testing::Test {
protected:
    Wire() { client.token = quillmarkclient_core::Token("a.e30.c", true); }

    static portable_stl::string UseThisSystem(const std::string& folder) {
        SystemApi::SetTable(quillmarkclient_core::DefaultPlatformTable());
        return Text(folder);
    }

    // Sends as a signed-in session does, and tells which headers that must have added.
    Headers Send(RequestPointer& request, Sending sending) {
        Headers added;
        if (sending == Sending::kKeyed) {
            registry::AttachIdempotencyKey<SystemApi>(client, *request, "SCOPE", "content", nullptr);
            EXPECT_EQ(client.idempotencyEntries.size(), 1u);
            added.emplace_back("Idempotency-Key", Text(client.idempotencyEntries[0].key));
        }
        portable_stl::string body;
        portable_stl::string headers;
        std::uint32_t httpCode = 0;
        if (sending == Sending::kAuthorized) {
            added.emplace_back("Authorization", "Bearer a.e30.c");
            EXPECT_EQ(client.SendAuthorized(request, body, headers, httpCode, nullptr, nullptr),
                      ResultCode::kSuccess);
        } else {
            EXPECT_EQ(client.SendRequest(request, body, headers, httpCode, nullptr), ResultCode::kSuccess);
        }
        EXPECT_EQ(httpCode, 207u) << "the server's own answer";
        EXPECT_EQ(Text(body), "answer");
        added.emplace_back("x-vqm-custom", "vqm-client");
        return added;
    }

    // Byte for byte, the transport's own lines included.
    std::string ExpectedBytes(const test::RequestExpectation& row, const Headers& added) const {
        const std::string requestLine = std::string(row.method) + " " + row.path + " HTTP/1.1";
        return test::HeadOnTheWire(requestLine, With(row.headers, added), server.Port(),
                                   std::string(row.body).size()) +
               row.body;
    }

    test::ScriptedServer server;
    test::TemporaryFolder folder;
    registry::CustomerRegistryClient<SystemApi> client{
        Text(server.Url()), UseThisSystem(folder.PathOf("")), {}, nullptr};
};

TEST_F(Wire, EveryRequestOfTheCatalogueToTheLetter) {
    server.SetDefault([](const test::WireRequest&) { return test::Answer::Of(207, {}, "answer"); });
    std::size_t count = 0;
    for (const CatalogueRow& row : Catalogue()) {
        SCOPED_TRACE(row.request.name);
        RequestPointer request = row.request.make(Text(server.Url()));
        const Headers added = Send(request, row.sending);
        const auto requests = server.Requests();
        ASSERT_EQ(requests.size(), ++count);
        EXPECT_EQ(requests.back().raw, ExpectedBytes(row.request, added));
    }
}

}  // namespace
