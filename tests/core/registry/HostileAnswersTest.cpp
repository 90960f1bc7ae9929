// Answers that a broken or hostile service might give, at each step of each flow: no JSON, or nothing in it.
#include "tests/core/registry/AnyClient.h"

namespace {

using test::Code;
using test::Text;

using Client = test::AnyClient;

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
    test::ClientMaker make;
    std::vector<std::string> before;  // good answers of the steps before it
    ResultCode (*run)(Client& client, registry::ServiceErrorInfo* errorInfo);
    std::uint32_t expected[11];
    const char* state;  // behind a failure
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

std::vector<Flow> CustomerFlows() {
    const std::string token = test::TokenBody("first.e30.sig");
    const std::string record = R"([{"id":"7","name":"VQM_Identity","type":"VQM_Access","role":"Regular"}])";
    // What every reader of a token makes of them.
    constexpr std::uint32_t b = kBroken;
    return {
        {"password",
         test::kCustomer,
         {},
         &SignIn,
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig, 0, , 2, "},
        {"second factor",
         test::kCustomer,
         {},
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             return client.AuthorizeSecondFactor("challenge", "code", errorInfo, nullptr);
         },
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig, 1, , 2, "},
        // Lists of nothing are lists; then the own context is asked for and refused.
        {"trusts of a sign-in",
         test::kCustomer,
         {token},
         &SignIn,
         {b, 0x8200000C, 0x8200000C, 0x8200000C, b, b, b, b, b, b, b},
         "first.e30.sig, 0, , 2, "},
        {"own context of a sign-in",
         test::kCustomer,
         {token, "[]"},
         &SignIn,
         {0x8200000C, 0x8200000C, 0x8200000C, 0x8200000C, 0x8200000C, 0x8200000C, 0x8200000C, 0x8200000C,
          0x8200000C, 0x8200000C, 0x8200000C},
         ", 0, , 2, "},
        {"choice of a context",
         test::kCustomer,
         {},
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             return client.SelectContext(1, "org", errorInfo, nullptr);
         },
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig, 1, , 2, "},
        {"list of contexts",
         test::kCustomer,
         {},
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             portable_stl::vector<registry::ContextEntry> contexts;
             return client.GetContexts(contexts, errorInfo, nullptr);
         },
         {b, 0, 0, 0, b, b, b, b, b, b, b},
         "old.e30.sig, 1, , 2, "},
        {"the user's details",
         test::kCustomer,
         {},
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             registry::CustomerInfo info;
             return client.GetCustomerInfo(info, errorInfo, nullptr);
         },
         {b, 0, 0, 0, b, 0, b, b, 0, b, b},
         "old.e30.sig, 1, , 2, "},
        {"renewal",
         test::kCustomer,
         {},
         &Renew,
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig, 1, secret, 2, "},
        {"context of a renewal",
         test::kCustomer,
         {token},
         &Renew,
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig, 1, , 2, "},
        // What holds no record of ours leads to the making of one, which is refused with 409.
        {"identity records",
         test::kCustomer,
         {},
         &Obtain,
         {b, 0x82000005, 0x82000005, 0x82000005, b, 0x82000005, b, b, 0x82000005, b, b},
         "old.e30.sig, 1, , 2, "},
        {"new identity record",
         test::kCustomer,
         {"[]"},
         &Obtain,
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig, 1, , 2, "},
        // The secret is plain text: whatever is not empty will do.
        {"secret of the identity",
         test::kCustomer,
         {record},
         &Obtain,
         {0, 0, 0, 0, 0, 0, 0, 0, 0, b, 0},
         "old.e30.sig, 1, , 2, "},
    };
}

ResultCode ByCode(Client& client, registry::ServiceErrorInfo* errorInfo) {
    return client.AuthorizeSocialCode("code", 0, errorInfo, nullptr);
}
ResultCode ByCodeOfANewAccount(Client& client, registry::ServiceErrorInfo* errorInfo) {
    return client.AuthorizeSocialCode("code", 1, errorInfo, nullptr);
}

std::vector<Flow> OtherFlows() {
    constexpr std::uint32_t b = kBroken;
    constexpr std::uint32_t linked = 0x82000009;  // what a customer's code gets for a 409
    return {
        {"social token",
         test::kCustomer,
         {},
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             return client.AuthorizeSocialToken("acme", "token", errorInfo, nullptr);
         },
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig, 0, , 2, "},
        {"social code",
         test::kCustomer,
         {},
         &ByCode,
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig, 0, , 2, "},
        // The answer to a sign-up is not read; the code itself is refused with 409 then.
        {"sign-up",
         test::kCustomer,
         {},
         &ByCodeOfANewAccount,
         {linked, linked, linked, linked, linked, linked, linked, linked, linked, linked, linked},
         "old.e30.sig, 0, , 2, "},
        {"providers",
         test::kCustomer,
         {},
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             portable_stl::string text;
             const auto code = client.GetSocialProviders(text, ',', errorInfo, nullptr);
             EXPECT_EQ(Text(text), "");
             return code;
         },
         {b, 0, 0, 0, b, 0, b, b, 0, b, b},
         "old.e30.sig, 1, , 2, "},
        {"a business's password",
         test::kBusiness,
         {},
         &SignIn,
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig, 0, , 2, "},
        {"a business's code",
         test::kBusiness,
         {},
         &ByCode,
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig, 0, , 2, "},
        // Neither is this one read; a 409 has no row of its own behind it.
        {"a business's dynamic context",
         test::kBusiness,
         {},
         &ByCodeOfANewAccount,
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig, 0, , 2, "},
        {"a business's renewal",
         test::kBusiness,
         {},
         &Renew,
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig, 1, secret, 2, "},
        {"an administrator's password",
         test::kAdministrator,
         {},
         &SignIn,
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig, 0, , 2, "},
        {"an administrator's renewal",
         test::kAdministrator,
         {},
         &Renew,
         {b, b, b, b, b, b, b, b, b, b, b},
         "old.e30.sig, 1, secret, 2, "},
    };
}

void ExpectEachIsACode(const std::vector<Flow>& flows) {
    const auto bodies = Bodies();
    for (const Flow& flow : flows) {
        for (std::size_t i = 0; i < bodies.size(); ++i) {
            SCOPED_TRACE(std::string(flow.name) + ", " + bodies[i].name);
            test::ScriptedPlatform platform;
            const auto client = flow.make();
            registry::ServiceErrorInfo errorInfo;
            for (const std::string& body : flow.before)
                platform.AnswerWith(200, body);
            platform.AnswerWith(200, bodies[i].body);
            platform.responder = [](const test::RecordedRequest&) {
                test::ScriptedAnswer answer;
                answer.status = 409;
                return answer;
            };
            const ResultCode code = flow.run(*client, &errorInfo);
            EXPECT_EQ(code, Code(flow.expected[i]));
            // A sign-in that found no context at all has emptied the record.
            if (code == ResultCode::kContextNotFound) {
                EXPECT_EQ(test::StateOf(*client), ", 0, , 2, ");
            } else if (IsSuccess(code)) {
                EXPECT_EQ(Text(client->token.text), "old.e30.sig");
            } else {
                EXPECT_EQ(test::StateOf(*client), flow.state);
            }
            EXPECT_EQ(platform.UnusedAnswers(), 0u);
            platform.ExpectNoBlocks();
        }
    }
}

TEST(HostileAnswers, EachIsACodeAndLeavesAStateThatMakesSense) {
    ExpectEachIsACode(CustomerFlows());
}

TEST(HostileAnswers, EachIsACodeOnTheOtherWaysToo) {
    ExpectEachIsACode(OtherFlows());
}

TEST(HostileAnswers, ErrorBodiesOfAnyKindAreTheStatussCode) {
    const struct {
        const char* name;
        test::ClientMaker make;
        std::uint32_t status;
        ResultCode (*run)(Client& client, registry::ServiceErrorInfo* errorInfo);
        std::uint32_t expected;
        bool isLogged;  // the body is the last line of the log
    } rows[] = {
        {"password", test::kCustomer, 403, &SignIn, 0x82000007, false},
        {"social token", test::kCustomer, 404,
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             return client.AuthorizeSocialToken("acme", "token", errorInfo, nullptr);
         },
         0x8200000E, false},
        {"sign-up", test::kCustomer, 405, &ByCodeOfANewAccount, 0x82000004, true},
        {"a business's dynamic context", test::kBusiness, 401, &ByCodeOfANewAccount, 0x82000004, false},
        {"an administrator's password", test::kAdministrator, 429, &SignIn, 0x8200000D, false},
    };
    for (const auto& row : rows) {
        for (const HostileBody& hostile : Bodies()) {
            SCOPED_TRACE(std::string(row.name) + ", " + hostile.name);
            test::ScriptedPlatform platform;
            const auto client = row.make();
            registry::ServiceErrorInfo errorInfo;
            platform.AnswerWith(row.status, hostile.body);
            EXPECT_EQ(row.run(*client, &errorInfo), Code(row.expected));
            EXPECT_EQ(errorInfo.httpCode, row.status);
            EXPECT_TRUE(errorInfo.errorArgs.empty());
            EXPECT_EQ(test::StateOf(*client), test::ResetSession("old.e30.sig"));
            EXPECT_EQ(platform.requests.size(), 1u);
            if (row.isLogged) {
                EXPECT_TRUE(platform.traceLines.back() == hostile.body.c_str());
            }
        }
    }
}

}  // namespace
