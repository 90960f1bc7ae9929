// The core client over a customer's session, a scripted platform and a scripted service.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/src/client/Client.h"
#include "core/src/registry/CustomerRegistryClient.h"
#include "core/src/system/SystemApi.h"
#include "tests/support/ScriptedPlatform.h"
#include "tests/support/ScriptedService.h"

namespace test {

class ClientFixture : public ::testing::Test {
protected:
    using Api = quillmarkclient_core::SystemApi;
    using Strings = std::vector<std::string>;
    using HeaderList = std::vector<std::pair<std::string, std::string>>;

    ~ClientFixture() override { platform.ExpectNoBlocks(); }

    void SignIn() { session.SetAccessToken("a.b.c", true, nullptr); }
    [[nodiscard]] Strings Lines() const { return platform.RequestLines(kServiceUrl); }

    void Forget() {
        platform.requests.clear();
        platform.traceLines.clear();
        platform.errors.clear();
        platform.logOrder.clear();
        error = {};
    }

    /// One report so far, of this code and by the client.
    void ExpectOneReport(std::uint32_t code, const std::string& message) {
        ASSERT_EQ(platform.errors.size(), 1u);
        EXPECT_EQ(platform.errors[0].code, code);
        EXPECT_EQ(platform.errors[0].message, message);
        EXPECT_EQ(platform.errors[0].source, "core/src/client/Client");
        EXPECT_GT(platform.errors[0].line, 0u);
    }

    /// What the log shows of a request.
    static std::string Described(const std::string& name, const std::string& path, const HeaderList& headers,
                                 const std::string& body) {
        std::string text =
            name + ":\n\tXmlHttp parameters: \n\turl: " + kServiceUrl + path + "\n\theaders:\n";
        for (const auto& [header, value] : headers)
            text.append("\t\t").append(header).append(" : ").append(value).append("\n");
        return text + "\tbody: " + body + "\n";
    }

    ScriptedPlatform platform;
    ScriptedService service{platform};
    registry::CustomerRegistryClient<Api> session{kServiceUrl, "store/", registry::RetryPolicy(), nullptr};
    quillmarkclient_core::Client<Api> client{"store/", kServiceUrl, &session, nullptr};
    registry::ServiceErrorInfo error;
};

}  // namespace test
