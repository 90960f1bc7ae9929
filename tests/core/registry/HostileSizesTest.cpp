// Answers of a size that no service needs: each is a code in a time that grows with the size alone.
//
// The growth is measured on tens of thousands; one answer of each kind has a million elements, which a cost
// by the square would not let end.
#include <functional>

#include "tests/core/registry/RegistryFixture.h"
#include "tests/support/LinearCost.h"

namespace {

using test::Code;
using test::ServiceAnswer;
using test::SystemApi;
using test::Text;

using Client = registry::CustomerRegistryClient<SystemApi>;

constexpr std::size_t kFew = 4'000;
constexpr std::size_t kMillion = 1'000'000;

std::string Repeated(const std::string& text, std::size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

struct LargeAnswer {
    const char* name;
    std::function<std::vector<ServiceAnswer>(std::size_t count)> answers;
    std::function<ResultCode(Client& client, registry::ServiceErrorInfo* errorInfo)> run;
    std::uint32_t expected;
    std::string state;
    // Checks what came of it besides; may be empty.
    std::function<void(const Client& client, const registry::ServiceErrorInfo& errorInfo, std::size_t count)>
        check = nullptr;
};

ResultCode SignIn(Client& client, registry::ServiceErrorInfo* errorInfo) {
    return client.Authorize("login", "password", errorInfo, nullptr);
}
ResultCode SignUp(Client& client, registry::ServiceErrorInfo* errorInfo) {
    return client.AuthorizeSocialCode("code", 1, errorInfo, nullptr);
}

const ServiceAnswer kFirst = {200, test::TokenBody("first.e30.sig")};

std::vector<LargeAnswer> Lists() {
    const std::string trust = R"({"id":1,"trustorId":2},)";
    return {
        {"trusts, the own context granted",
         [trust](std::size_t count) {
             return std::vector<ServiceAnswer>{
                 kFirst, {200, "[" + Repeated(trust, count) + "]"}, {200, test::TokenBody("own.e30.sig")}};
         },
         &SignIn, 0x8200000B, "own.e30.sig, 1, , 2, "},
        {"trusts, the last one without an id",
         [trust](std::size_t count) {
             return std::vector<ServiceAnswer>{kFirst, {200, "[" + Repeated(trust, count) + "{}]"}};
         },
         &SignIn, 0x82000004, "first.e30.sig, 0, , 2, "},
        {"contexts",
         [](std::size_t count) {
             return std::vector<ServiceAnswer>{
                 {200,
                  "[" +
                      Repeated(R"({"id":1,"trustorId":2,"trustorDetails":{"type":"Organization"}},)", count) +
                      "]"}};
         },
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             portable_stl::vector<registry::ContextEntry> contexts;
             const auto code = client.GetContexts(contexts, errorInfo, nullptr);
             EXPECT_GE(contexts.size(), kFew);
             return code;
         },
         0, "old.e30.sig, 1, , 2, "},
        {"providers",
         [](std::size_t count) {
             return std::vector<ServiceAnswer>{{200, "[" + Repeated(R"({"key":"acme"},)", count) + "]"}};
         },
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             portable_stl::string text;
             const auto code = client.GetSocialProviders(text, ',', errorInfo, nullptr);
             EXPECT_GE(text.size(), kFew * 5);
             return code;
         },
         0, "old.e30.sig, 1, , 2, "},
        {"identity records, ours the last",
         [](std::size_t count) {
             return std::vector<ServiceAnswer>{
                 {200, "[" + Repeated(R"({"id":1,"name":"other"},)", count) +
                           R"({"id":7,"name":"VQM_Identity","type":"VQM_Access","role":"Regular"}])"},
                 {200, "secret"}};
         },
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             return client.ObtainIdentitySecret("", "", errorInfo, nullptr);
         },
         0, "old.e30.sig, 1, secret, 2, "},
    };
}

std::vector<LargeAnswer> Members() {
    return {
        {"members before the token",
         [](std::size_t count) {
             return std::vector<ServiceAnswer>{
                 {200, "{" + Repeated(R"("a":1,)", count) + R"("accessToken":"first.e30.sig"})"}, {403}};
         },
         &SignIn, 0x82000007, "first.e30.sig, 0, , 2, "},
        {"arguments of an error, the challenge the last",
         [](std::size_t count) {
             return std::vector<ServiceAnswer>{
                 {403, R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","errorArgs":{)" +
                           Repeated(R"("a":1,)", count) + R"("challengeToken":"c"}})"}};
         },
         &SignIn, 0x82000012, "old.e30.sig, 0, , 2, ",
         [](const Client&, const registry::ServiceErrorInfo& errorInfo, std::size_t count) {
             EXPECT_EQ(errorInfo.errorArgs.size(), count + 1);
         }},
        {"rights of a token go into the new identity record",
         [](std::size_t count) {
             const std::string scopes = Repeated(R"({"space":"s","role":1},)", count);
             return std::vector<ServiceAnswer>{
                 {200, test::TokenBody(test::Jwt(R"({"scopes":[)" + scopes + "]}"))},
                 {200, "[]"},
                 {200, R"({"id":7})"},
                 {200, "secret"}};
         },
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             EXPECT_EQ(client.SelectContext(0, "", errorInfo, nullptr), ResultCode::kSuccess);
             const auto code = client.ObtainIdentitySecret("", "", errorInfo, nullptr);
             client.token = quillmarkclient_core::Token("new.e30.sig", true);
             return code;
         },
         0, "new.e30.sig, 1, secret, 0, "},
    };
}

std::vector<LargeAnswer> HeadersAndTexts() {
    return {
        {"header lines before the wait",
         [](std::size_t count) {
             return std::vector<ServiceAnswer>{{409, "", Repeated("X: y\r\n", count) + "Retry-After: 2\r\n"},
                                               {403}};
         },
         &SignUp, 0x82000007, "old.e30.sig, 0, , 2, "},
        {"header lines on an answer that is not repeated",
         [](std::size_t count) {
             return std::vector<ServiceAnswer>{{401, "", Repeated("X: y\r\n", count)}};
         },
         &SignIn, 0x82000006, "old.e30.sig, 0, , 2, "},
        {"a wait of that many digits is the default wait",
         [](std::size_t count) {
             return std::vector<ServiceAnswer>{{409, "", "Retry-After: " + Repeated("9", count) + "\r\n"},
                                               {403}};
         },
         &SignUp, 0x82000007, "old.e30.sig, 0, , 2, "},
        {"the body of a refused sign-up goes to the log",
         [](std::size_t count) {
             return std::vector<ServiceAnswer>{{500, Repeated("%s%n", count)}};
         },
         &SignUp, 0x82000003, "old.e30.sig, 0, , 2, "},
        {"a secret",
         [](std::size_t count) {
             return std::vector<ServiceAnswer>{
                 {200, R"([{"id":7,"name":"VQM_Identity","type":"VQM_Access","role":"Regular"}])"},
                 {200, Repeated("s", count)}};
         },
         [](Client& client, registry::ServiceErrorInfo* errorInfo) {
             const auto code = client.ObtainIdentitySecret("", "", errorInfo, nullptr);
             EXPECT_GE(client.identitySecret.size(), kFew);
             client.identitySecret = "long";
             return code;
         },
         0, "old.e30.sig, 1, long, 2, "},
    };
}

// Runs the flow on answers of that size and checks code and state; the bytes that it allocated, with those
// of the scripted platform, whose copies are linear too.
std::size_t Run(const LargeAnswer& row, std::size_t count) {
    test::ScriptedPlatform platform;
    Client client(test::kBaseUrl, "", {}, nullptr);
    client.token = quillmarkclient_core::Token("old.e30.sig", true);
    registry::ServiceErrorInfo errorInfo;
    for (const ServiceAnswer& answer : row.answers(count)) {
        test::ScriptedAnswer scripted;
        scripted.status = answer.status;
        scripted.body = answer.body;
        scripted.headers = "HTTP/1.1 200\r\n" + answer.headerLines + "\r\n";
        platform.AnswerWith(std::move(scripted));
    }
    ResultCode code = ResultCode::kInternalError;
    const std::size_t bytes = test::AllocatedBytes([&] { code = row.run(client, &errorInfo); });
    EXPECT_EQ(code, Code(row.expected));
    EXPECT_EQ(test::StateOf(client), row.state);
    if (row.check)
        row.check(client, errorInfo, count);
    EXPECT_EQ(platform.UnusedAnswers(), 0u);
    platform.ExpectNoBlocks();
    return bytes;
}

void ExpectLinear(const std::vector<LargeAnswer>& rows) {
    for (const LargeAnswer& row : rows) {
        SCOPED_TRACE(row.name);
        test::ExpectLinearCost(kFew, [&row](std::size_t count) { return Run(row, count); });
    }
}

void ExpectAMillion(const std::vector<LargeAnswer>& rows) {
    for (const LargeAnswer& row : rows) {
        SCOPED_TRACE(row.name);
        Run(row, kMillion);
    }
}

TEST(HostileSizes, ListsCostByTheirLength) {
    ExpectLinear(Lists());
}

TEST(HostileSizes, MembersCostByTheirNumber) {
    ExpectLinear(Members());
}

TEST(HostileSizes, HeadersAndTextsCostByTheirLength) {
    ExpectLinear(HeadersAndTexts());
}

TEST(HostileSizes, AMillionElements) {
    ExpectAMillion(Lists());
}

TEST(HostileSizes, AMillionMembers) {
    ExpectAMillion(Members());
}

TEST(HostileSizes, AMillionHeaderLines) {
    ExpectAMillion(HeadersAndTexts());
}

}  // namespace
