// Arguments of hosts that are careless or hostile, at both native faces.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/NativeCalls.h"

namespace {

using namespace std::string_literals;
using quillmarkclient::ContextChoice;
using Strings = std::vector<std::string>;

constexpr std::size_t kHuge = std::size_t{64} << 20;

class QuillmarkClientArguments : public test::FacesFixture {
protected:
    QuillmarkClientArguments() {
        Init();
        Create();
        // Whatever is asked for is refused: these tests are about what reaches the service.
        platform.responder = [](const test::RecordedRequest&) {
            test::ScriptedAnswer answer;
            answer.status = 400;
            return answer;
        };
    }
    // The request that a call made, "METHOD path body"; "(none)" without one.
    std::string Asked() {
        std::string text = "(none)";
        if (!platform.requests.empty()) {
            const test::RecordedRequest& request = platform.requests[0];
            text = request.method + " " + request.url.substr(std::string(test::kServiceUrl).size());
            if (!request.body.empty())
                text += " " + request.body;
        }
        platform.requests.clear();
        return text;
    }
};

TEST_F(QuillmarkClientArguments, TextsReachTheServiceAsTheyStandUpToAZero) {
    static const struct {
        const char* name;
        std::string text;
        std::string written;  // inside JSON quotes
    } texts[] = {
        {"a word", "word", "word"},
        {"what stands behind a zero is not seen", "wo\0rd"s, "wo"},
        {"UTF-8", "\xc3\xa9\xf0\x9f\x98\x80", "\xc3\xa9\xf0\x9f\x98\x80"},
        {"no UTF-8", "\xff\xfe\x80\xc3", "\xff\xfe\x80\xc3"},
        {"overlong and surrogate forms", "\xc0\x80\xed\xa0\x80", "\xc0\x80\xed\xa0\x80"},
        {"quotes and backslashes", "a\"b\\c", "a\\\"b\\\\c"},
        {"line breaks", "a\r\nb", "a\\r\\nb"},
        {"controls", "\x01\x1f\x7f", "\x01\x1f\x7f"},
        {"a format", "%s%n%d%%", "%s%n%d%%"},
        {"an escape", "\\u0041", "\\\\u0041"},
    };
    for (const auto& row : texts) {
        SCOPED_TRACE(row.name);
        const std::string& t = row.text;
        const char* const c = t.c_str();
        const std::string quoted = "\"" + row.written + "\"";
        const std::string body = R"( {"login":)" + quoted + R"(,"password":)" + quoted + "}";
        EXPECT_FALSE(IsSuccess(client->SignIn(t, t)));
        EXPECT_EQ(Asked(), test::kPassword + body);
        EXPECT_FALSE(IsSuccess(slots->SignIn(c, c)));
        EXPECT_EQ(Asked(), test::kPassword + body);
        EXPECT_FALSE(IsSuccess(client->ConfirmSecondFactor(t, t)));
        EXPECT_EQ(Asked(),
                  test::kSecondFactor + (R"( {"challengeToken":)" + quoted) + R"(,"code":)" + quoted + "}");
        EXPECT_FALSE(IsSuccess(client->SignInToContext(1, t)));
        EXPECT_EQ(Asked(), test::kTrustToken + (R"( {"trustorId":)" + quoted) + "}");
        const ContextChoice choice{1, c};
        EXPECT_FALSE(IsSuccess(slots->SignInToContext(&choice)));
        EXPECT_EQ(Asked(), test::kTrustToken + (R"( {"trustorId":)" + quoted) + "}");
        EXPECT_FALSE(IsSuccess(client->SignInWithSocialCode(t, 0)));
        EXPECT_EQ(Asked(), test::kSocialCode + (R"( {"code":)" + quoted) + "}");
        EXPECT_FALSE(IsSuccess(slots->SignInWithSocialCode(c, 1)));
        EXPECT_EQ(Asked(), test::kFinalizeByCode + (R"( {"code":)" + quoted) + "}");
        const std::string inUrl =
            "GET /api/registry/v2/oauth/sign-in/" + std::string(c) + "?access_token=" + c;
        EXPECT_FALSE(IsSuccess(client->SignInWithSocialToken(t, t)));
        EXPECT_EQ(Asked(), inUrl);
        EXPECT_FALSE(IsSuccess(slots->SignInWithSocialToken(c, c)));
        EXPECT_EQ(Asked(), inUrl);
        std::string token;
        EXPECT_EQ(client->UseAccessToken(t), ResultCode::kSuccess);
        EXPECT_EQ(client->GetAccessToken(token), ResultCode::kSuccess);
        EXPECT_EQ(token, c);
    }
}

TEST_F(QuillmarkClientArguments, EmptyTextsAreCodesOrGoToTheService) {
    const ContextChoice empty{1, ""};
    const struct {
        const char* name;
        std::function<ResultCode()> run;
        std::uint32_t expected;
        std::string asked;
    } rows[] = {
        {"login and password", [&] { return client->SignIn("", ""); }, 0x82000004u,
         test::kPassword + R"( {"login":"","password":""})"s},
        {"slot login and password", [&] { return slots->SignIn("", ""); }, 0x82000004u,
         test::kPassword + R"( {"login":"","password":""})"s},
        {"challenge", [&] { return client->ConfirmSecondFactor("", "1"); }, 0x80000002u, "(none)"},
        {"code of the second factor", [&] { return client->ConfirmSecondFactor("t", ""); }, 0x80000002u,
         "(none)"},
        {"a zero alone is empty", [&] { return client->ConfirmSecondFactor("\0t"s, "1"); }, 0x80000002u,
         "(none)"},
        {"context", [&] { return client->SignInToContext(1, ""); }, 0x82000004u,
         test::kTrustToken + R"( {"trustorId":""})"s},
        {"slot context", [&] { return slots->SignInToContext(&empty); }, 0x82000004u,
         test::kTrustToken + R"( {"trustorId":""})"s},
        {"provider", [&] { return client->SignInWithSocialToken("", "t"); }, 0x80000002u, "(none)"},
        {"slot provider", [&] { return slots->SignInWithSocialToken("", "t"); }, 0x80000002u, "(none)"},
        {"social token", [&] { return client->SignInWithSocialToken("p", ""); }, 0x80000002u, "(none)"},
        {"slot social token", [&] { return slots->SignInWithSocialToken("p", ""); }, 0x80000002u, "(none)"},
        {"social code", [&] { return client->SignInWithSocialCode("", 1); }, 0x80000002u, "(none)"},
        {"slot social code", [&] { return slots->SignInWithSocialCode("", 1); }, 0x80000002u, "(none)"},
        {"own token", [&] { return client->UseAccessToken(""); }, 0, "(none)"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(static_cast<std::uint32_t>(row.run()), row.expected) << row.name;
        EXPECT_EQ(Asked(), row.asked) << row.name;
    }
}

TEST_F(QuillmarkClientArguments, NullsAreCodesAndAskNothing) {
    const ContextChoice nowhere{1, nullptr};
    const struct {
        const char* name;
        std::function<ResultCode()> run;
    } rows[] = {
        {"GetLastServiceError", [&] { return slots->GetLastServiceError(nullptr); }},
        {"SignIn, login", [&] { return slots->SignIn(nullptr, "pw"); }},
        {"SignIn, password", [&] { return slots->SignIn("anna", nullptr); }},
        {"SignIn, both", [&] { return slots->SignIn(nullptr, nullptr); }},
        {"SignInToContext", [&] { return slots->SignInToContext(nullptr); }},
        {"SignInToContext, id", [&] { return slots->SignInToContext(&nowhere); }},
        {"GetCustomerContexts", [&] { return slots->GetCustomerContexts(nullptr); }},
        {"SignInWithSocialToken, provider", [&] { return slots->SignInWithSocialToken(nullptr, "t"); }},
        {"SignInWithSocialToken, token", [&] { return slots->SignInWithSocialToken("p", nullptr); }},
        {"SignInWithSocialCode", [&] { return slots->SignInWithSocialCode(nullptr, 1); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.errors.clear();
        EXPECT_EQ(static_cast<std::uint32_t>(row.run()), 0x80000002u);
        ASSERT_EQ(platform.errors.size(), 1u);
        EXPECT_EQ(platform.errors[0].source, "core/src/quillmarkclient");
    }
    EXPECT_TRUE(platform.requests.empty());
    EXPECT_EQ(slots->FreeMemory(nullptr), ResultCode::kSuccess);
}

TEST_F(QuillmarkClientArguments, NumbersOutsideTheirRangeActAsTheirDefault) {
    for (const std::uint32_t number : {0u, 2u, 3u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        SCOPED_TRACE(number);
        EXPECT_FALSE(IsSuccess(client->SignInWithSocialCode("c-1", number)));
        EXPECT_EQ(Asked(), test::kSocialCode + R"( {"code":"c-1"})"s);
        EXPECT_FALSE(IsSuccess(slots->SignInWithSocialCode("c-1", number)));
        EXPECT_EQ(Asked(), test::kSocialCode + R"( {"code":"c-1"})"s);
        EXPECT_FALSE(IsSuccess(client->SignInToContext(number, "org-1")));
        EXPECT_EQ(Asked(), test::kOwnContextToken);
        const ContextChoice choice{number, nullptr};
        EXPECT_FALSE(IsSuccess(slots->SignInToContext(&choice)));
        EXPECT_EQ(Asked(), test::kOwnContextToken);
        EXPECT_EQ(quillmarkclient::QuillmarkClient::GetErrorMessage(static_cast<ResultCode>(number)),
                  number == 0 ? "" : "Unknown error code");
    }
}

TEST_F(QuillmarkClientArguments, HugeTextsComeThrough) {
    quillmarkclient::QuillmarkClient::SetLogCallbacks(nullptr, nullptr);
    const std::string huge(kHuge, 'x');
    const struct {
        const char* name;
        std::function<ResultCode()> run;
        std::string around;  // the body without the huge text
    } rows[] = {
        {"login", [&] { return client->SignIn(huge, "pw"); }, R"({"login":"","password":"pw"})"},
        {"slot password", [&] { return slots->SignIn("anna", huge.c_str()); },
         R"({"login":"anna","password":""})"},
        {"challenge", [&] { return client->ConfirmSecondFactor(huge, "1"); },
         R"({"challengeToken":"","code":"1"})"},
        {"context", [&] { return client->SignInToContext(1, huge); }, R"({"trustorId":""})"},
        {"social code", [&] { return client->SignInWithSocialCode(huge, 1); }, R"({"code":""})"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.requests.clear();
        EXPECT_EQ(row.run(), ResultCode::kCompatibilityBroken);
        ASSERT_EQ(platform.requests.size(), 1u);
        EXPECT_EQ(platform.requests[0].body.size(), row.around.size() + kHuge);
    }
    platform.requests.clear();
    EXPECT_EQ(slots->SignInWithSocialToken("p", huge.c_str()), ResultCode::kCompatibilityBroken);
    EXPECT_EQ(
        platform.requests.at(0).url.size(),
        std::string("https://service.test/api/registry/v2/oauth/sign-in/p?access_token=").size() + kHuge);
    std::string token;
    EXPECT_EQ(client->UseAccessToken(huge), ResultCode::kSuccess);
    EXPECT_EQ(client->GetAccessToken(token), ResultCode::kSuccess);
    EXPECT_EQ(token, huge);
}

TEST_F(QuillmarkClientArguments, HugeTextsOfTheServiceComeOut) {
    quillmarkclient::QuillmarkClient::SetLogCallbacks(nullptr, nullptr);
    const std::string huge(kHuge, 'x');
    test::ScriptedService fresh(platform);
    fresh.Answer(test::kUser, 200, R"({"id":")" + huge + R"(","email":"e"})");
    fresh.Answer(test::kProviders, 200, R"([{"key":"a"},{"key":")" + huge + R"("}])");
    ASSERT_EQ(client->SignIn("anna", "pw"), ResultCode::kSuccess);
    test::Outs outs;
    EXPECT_EQ(client->GetCustomerData(outs.data), ResultCode::kSuccess);
    EXPECT_EQ(outs.data.id, huge);
    EXPECT_EQ(outs.data.email, "e");
    EXPECT_EQ(client->GetSocialProviders(outs.providers), ResultCode::kSuccess);
    EXPECT_EQ(outs.providers, (Strings{"a", huge}));
}

TEST_F(QuillmarkClientArguments, ParametersOfAStart) {
    const std::string huge(kHuge, 'x');
    const struct {
        const char* name;
        std::string folder;
        std::string serviceUrl;
        std::uint32_t expected;
        std::string endpoint;
    } rows[] = {
        {"no service", "store", "", 0x80000002u, test::kServiceUrl},
        {"a service behind a zero", "store", "\0https://x"s, 0x80000002u, test::kServiceUrl},
        {"a service up to a zero", "store", "https://x\0y"s, 0, "https://x"},
        {"no URL at all", "store", "\xff%n", 0, "\xff%n"},
        {"a folder with a zero", "st\0ore"s, "https://y", 0, "https://y"},
        {"a folder that is no UTF-8", "\xff", "https://z", 0, "https://z"},
        {"a huge folder", huge, "https://u", 0, "https://u"},
        {"a huge service", "store", huge, 0, huge},
    };
    Drop();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(static_cast<std::uint32_t>(client->Init(row.folder, row.serviceUrl)), row.expected);
        std::string endpoint;
        EXPECT_EQ(client->GetBasicEndpoint(endpoint), ResultCode::kSuccess);
        EXPECT_TRUE(endpoint == row.endpoint);
    }
}

TEST_F(QuillmarkClientArguments, PathsOfTheHostsDocument) {
    test::ScriptedService fresh(platform);
    ASSERT_EQ(client->SignIn("anna", "pw"), ResultCode::kSuccess);
    const std::string huge(kHuge, 'x');
    static constexpr char kMade[] = R"({"identityToken":"identity-secret"})";
    const struct {
        const char* name;
        std::string path;
        std::string file;
    } rows[] = {
        {"a word", "host.json", "host.json"}, {"empty", "", ""},    {"up to a zero", "a\0b"s, "a"},
        {"no UTF-8", "\xff", "\xff"},         {"huge", huge, huge},
    };
    for (const auto& row : rows) {
        platform.files.clear();
        EXPECT_EQ(client->PersistIdentityToken(row.path), ResultCode::kSuccess) << row.name;
        EXPECT_TRUE(platform.files.size() == 1 && platform.files.count(row.file) == 1 &&
                    platform.files[row.file] == kMade)
            << row.name;
    }
}

}  // namespace
