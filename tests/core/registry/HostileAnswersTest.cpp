// Answers of status 200 that a broken or hostile service might give, at each step of each flow.
#include "tests/core/registry/RegistryFixture.h"

namespace {

using test::Code;
using test::SystemApi;
using test::Text;

using Client = registry::CustomerRegistryClient<SystemApi>;

struct HostileBody {
    const char* name;
    std::string body;
};

std::vector<HostileBody> Bodies() {
    constexpr std::size_t kMegabyte = 1 << 20;
    std::string members = "{";
    while (members.size() < kMegabyte)
        members += R"("a":1,)";
    return {
        {"HTML", "<html><body>Sorry</body></html>"},
        {"null", "null"},
        {"[]", "[]"},
        {"{}", "{}"},
        {"cut", R"({"accessToken":"t","id":"1)"},
        {"wrong kinds", R"([{"accessToken":"t"},[],1,null])"},
        {"a megabyte of letters", std::string(kMegabyte, 'a')},
        {"a quarter of a megabyte of open brackets", std::string(kMegabyte / 4, '[')},
        {"a megabyte of members", members + "}"},
        {"a zero byte first", std::string("\0{\"accessToken\":\"t\"}", 20)},
        {"a zero byte inside", std::string("{\"accessToken\":\"t\"\0}", 20)},
    };
}

// The step that gets the hostile body, and its result for each of them in the order above.
struct Flow {
    const char* name;
    std::vector<std::string> before;  // good answers of the steps before it
    ResultCode (*run)(Client& client, registry::ServiceErrorInfo* errorInfo);
    std::uint32_t expected[11];
    const char* tokenText;  // behind a failure
};

constexpr std::uint32_t kBroken = 0x82000004;

ResultCode SignIn(Client& client, registry::ServiceErrorInfo* errorInfo) {
    return client.Authorize("login", "password", errorInfo, nullptr);
}
ResultCode Obtain(Client& client, registry::ServiceErrorInfo* errorInfo) {
    return client.ObtainIdentitySecret("", "", errorInfo, nullptr);
}
ResultCode Renew(Client& client, registry::ServiceErrorInfo* errorInfo) {
    return client.ReauthorizeViaIdentity("secret", 1, "org", errorInfo, nullptr);
}

std::vector<Flow> Flows() {
    const std::string token = test::TokenBody("first.e30.sig");
    const std::string record = R"([{"id":"7","name":"VQM_Identity","type":"VQM_Access","role":"Regular"}])";
    // What every reader of a token makes of them.
    constexpr std::uint32_t b = kBroken;
    return {
        {"password", {}, &SignIn, {b, b, b, b, b, b, b, b, b, b, b}, "old.e30.sig"},
        {"second factor",
         {},
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             return client.AuthorizeSecondFactor("challenge", "code", errorInfo, nullptr);
         },
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig"},
        // Lists of nothing are lists; then the own context is asked for and refused.
        {"trusts of a sign-in",
         {token},
         &SignIn,
         {b, 0x8200000C, 0x8200000C, 0x8200000C, b, b, b, b, b, b, b},
         "first.e30.sig"},
        {"own context of a sign-in",
         {token, "[]"},
         &SignIn,
         {0x8200000C, 0x8200000C, 0x8200000C, 0x8200000C, 0x8200000C, 0x8200000C, 0x8200000C, 0x8200000C,
          0x8200000C, 0x8200000C, 0x8200000C},
         ""},
        {"choice of a context",
         {},
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             return client.SelectContext(1, "org", errorInfo, nullptr);
         },
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig"},
        {"list of contexts",
         {},
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             portable_stl::vector<registry::ContextEntry> contexts;
             return client.GetContexts(contexts, errorInfo, nullptr);
         },
         {b, 0, 0, 0, b, b, b, b, b, b, b},
         "old.e30.sig"},
        {"the user's details",
         {},
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             registry::CustomerInfo info;
             return client.GetCustomerInfo(info, errorInfo, nullptr);
         },
         {b, 0, 0, 0, b, 0, b, b, 0, b, b},
         "old.e30.sig"},
        {"renewal", {}, &Renew, {b, b, b, b, b, b, b, b, b, b, b}, "old.e30.sig"},
        {"context of a renewal", {token}, &Renew, {b, b, b, b, b, b, b, b, b, b, b}, "old.e30.sig"},
        // What holds no record of ours leads to the making of one, which is refused with 409.
        {"identity records",
         {},
         &Obtain,
         {b, 0x82000005, 0x82000005, 0x82000005, b, 0x82000005, b, b, 0x82000005, b, b},
         "old.e30.sig"},
        {"new identity record", {"[]"}, &Obtain, {b, b, b, b, b, b, b, b, b, b, b}, "old.e30.sig"},
        // The secret is plain text: whatever is not empty will do.
        {"secret of the identity", {record}, &Obtain, {0, 0, 0, 0, 0, 0, 0, 0, 0, b, 0}, "old.e30.sig"},
    };
}

TEST(HostileAnswers, EachIsACodeAndLeavesAStateThatMakesSense) {
    const auto bodies = Bodies();
    for (const Flow& flow : Flows()) {
        for (std::size_t i = 0; i < bodies.size(); ++i) {
            SCOPED_TRACE(std::string(flow.name) + ", " + bodies[i].name);
            test::ScriptedPlatform platform;
            Client client(test::kBaseUrl, "", {}, nullptr);
            client.token = quillmarkclient_core::Token("old.e30.sig", true);
            registry::ServiceErrorInfo errorInfo;
            for (const std::string& body : flow.before)
                platform.AnswerWith(200, body);
            platform.AnswerWith(200, bodies[i].body);
            platform.responder = [](const test::RecordedRequest&) {
                test::ScriptedAnswer answer;
                answer.status = 409;
                return answer;
            };
            const ResultCode code = flow.run(client, &errorInfo);
            EXPECT_EQ(code, Code(flow.expected[i]));
            // A sign-in that found no context at all has emptied the record.
            if (code != ResultCode::kContextNotFound)
                EXPECT_EQ(Text(client.token.text), flow.tokenText);
            else
                EXPECT_EQ(Text(client.token.text), "");
            EXPECT_EQ(platform.UnusedAnswers(), 0u);
            platform.ExpectNoBlocks();
        }
    }
}

TEST(HostileAnswers, ErrorBodiesOfAnyKindAreTheStatussCode) {
    for (const HostileBody& hostile : Bodies()) {
        test::ScriptedPlatform platform;
        Client client(test::kBaseUrl, "", {}, nullptr);
        registry::ServiceErrorInfo errorInfo;
        platform.AnswerWith(403, hostile.body);
        EXPECT_EQ(client.Authorize("login", "password", &errorInfo, nullptr),
                  ResultCode::kEmailUnverifiedOrBlocked)
            << hostile.name;
        EXPECT_EQ(errorInfo.httpCode, 403u) << hostile.name;
        EXPECT_TRUE(errorInfo.errorArgs.empty()) << hostile.name;
    }
}

}  // namespace
