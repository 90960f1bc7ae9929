// The list of the social providers, as one text.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/FlatFixture.h"

namespace {

using quillmarkclient::ClientContext;
using test::Operation;
using Strings = std::vector<std::string>;

char* const kUnset = reinterpret_cast<char*>(0x5a);  // never followed

class FlatProviders : public test::FlatFixture {
protected:
    // The first `size` bytes of what comes out; the block is one byte longer than the text.
    std::string Bytes(char separator, std::size_t size) {
        char* text = nullptr;
        EXPECT_EQ(GetSocialProviders(context, &text, separator, nullptr), ResultCode::kSuccess);
        if (text == nullptr)
            return "(null)";
        std::string bytes(text, size);
        EXPECT_EQ(FreeMemory(context, text, nullptr), ResultCode::kSuccess);
        return bytes;
    }
};

TEST_F(FlatProviders, TheSeparatorIsAByteOfTheCallersChoice) {
    using namespace std::string_literals;
    static const struct {
        const char* name;
        char separator;
        std::string bytes;  // with the terminator
    } rows[] = {
        {"semicolon", ';', "a;b;c\0"s},
        {"comma", ',', "a,b,c\0"s},
        {"a letter", 'x', "axbxc\0"s},
        {"a name's letter", 'b', "abbbc\0"s},
        {"a blank", ' ', "a b c\0"s},
        {"zero", '\0', "a\0b\0c\0"s},
        {"no ASCII", '\xe9',
         "a\xe9"
         "b\xe9"
         "c\0"s},
    };
    Start();
    for (const auto& row : rows)
        EXPECT_EQ(Bytes(row.separator, row.bytes.size()), row.bytes) << row.name;
}

TEST_F(FlatProviders, TheServicesOrderAndNamesStand) {
    static const struct {
        const char* name;
        const char* body;
        std::string text;
    } rows[] = {
        {"none", "[]", ""},
        {"one", R"([{"key":"acme"}])", "acme"},
        {"the order is the service's", R"([{"key":"z"},{"key":"a"},{"key":"m"}])", "z;a;m"},
        {"twice the same", R"([{"key":"a"},{"key":"a"}])", "a;a"},
        {"the separator inside", R"([{"key":"a;b"},{"key":"c"}])", "a;b;c"},
        {"the separator at an end", R"([{"key":"a"},{"key":"b;"}])", "a;b;"},
        {"the separator in front", R"([{"key":";a"}])", ";a"},
        {"an empty name alone", R"([{"key":""}])", ""},
        {"an empty name in front", R"([{"key":""},{"key":"a"}])", ";a"},
        {"an empty name between", R"([{"key":"a"},{"key":""},{"key":"b"}])", "a;;b"},
        {"an empty name at the end", R"([{"key":"a"},{"key":""}])", "a;"},
        {"elements without a key are passed over", R"([{"name":"x"},{"key":"a"},{},7,"b"])", "a"},
        {"the key in another case", R"([{"KEY":"a"}])", "a"},
        {"the first key of several", R"([{"key":"a","Key":"b"}])", "a"},
        {"other members", R"([{"id":1,"key":"a","url":"https:\/\/x"}])", "a"},
        {"a number", R"([{"key":12}])", "12"},
        {"null is its text", R"([{"key":null}])", "null"},
        {"UTF-8 and an escape", R"([{"key":"\u00e9"},{"key":"日本"}])", "\xc3\xa9;日本"},
        {"an empty object for the list", "{}", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        service.Answer(test::kProviders, 200, row.body);
        Start();
        EXPECT_EQ(Bytes(';', row.text.size() + 1), row.text + '\0');
        EXPECT_TRUE(platform.errors.empty());
    }
}

TEST_F(FlatProviders, ManyNamesComeOutWhole) {
    std::string body = "[";
    std::string text;
    for (int i = 0; i < 20'000; ++i) {
        const std::string name = "provider-" + std::to_string(i);
        body += (i == 0 ? "" : ",") + (R"({"key":")" + name) + "\"}";
        text += (i == 0 ? "" : ";") + name;
    }
    service.Answer(test::kProviders, 200, body + "]");
    Start();
    EXPECT_EQ(Bytes(';', text.size() + 1), text + '\0');
}

TEST_F(FlatProviders, EveryKindOfClientMayAskBeforeAnySignIn) {
    for (const std::uint32_t kind : {0u, 1u, 2u}) {
        SCOPED_TRACE(kind);
        init.clientKind = kind;
        Start();
        Forget();
        EXPECT_EQ(Bytes(';', 6), std::string("a;b;c\0", 6));
        EXPECT_EQ(Lines(), Strings{test::kProviders});
        EXPECT_EQ(platform.requests[0].Header("Authorization"), "(none)");
        EXPECT_EQ(platform.requests[0].body, "");
        EXPECT_FALSE(IsSignedIn());
        EXPECT_TRUE(platform.files.empty()) << "a listing stores nothing";
    }
}

TEST_F(FlatProviders, ASignInGoesAlongAndIsRenewedOnce) {
    StartSignedIn();
    const auto files = platform.files;
    service.AnswerOnce(test::kProviders, 401, "");
    EXPECT_EQ(Bytes(';', 6), std::string("a;b;c\0", 6));
    EXPECT_EQ(Lines(), (Strings{test::kProviders, test::kRenewal, test::kOwnContextToken, test::kProviders}));
    EXPECT_EQ(platform.requests[0].Header("Authorization"), "Bearer own-token");
    EXPECT_EQ(platform.files, files);
}

TEST_F(FlatProviders, RefusalsAreReportedAndLeaveOut) {
    static const struct {
        const char* name;
        std::uint32_t status;
        const char* body;
        std::uint32_t expected;
    } rows[] = {
        {"malformed", 400, "", 0x82000004},
        {"no sign-in to renew", 401, "", 0x82000002},
        {"forbidden", 403, "", 0x82000007},
        {"not found", 404, "", 0x82000004},
        {"too many", 429, "", 0x8200000D},
        {"fault", 500, "", 0x82000003},
        {"maintenance", 503, "", 0x8000000C},
        {"no content", 204, "", 0x82000004},
        {"empty success", 200, "", 0x82000004},
        {"HTML", 200, "<html>", 0x82000004},
        {"cut short", 200, R"([{"key)", 0x82000004},
        {"a zero in a name", 200, R"([{"key":"a\u0000b"}])", 0x82000004},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        service.Answer(test::kProviders, row.status, row.body);
        Start();
        Forget();
        char* out = kUnset;
        const auto code = GetSocialProviders(context, &out, ';', nullptr);
        EXPECT_EQ(static_cast<std::uint32_t>(code), row.expected);
        EXPECT_EQ(out, kUnset);
        EXPECT_EQ(platform.errors.size(), 1u);
        ExpectReported(code);
    }
}

TEST_F(FlatProviders, TransportFailuresComeBack) {
    static const struct {
        std::uint32_t platformCode;
        std::uint32_t expected;
    } rows[] = {{0x81000006u, 0x80000006u}, {0x81000014u, 0x81000014u}, {0x80000001u, 0x80000006u}};
    Start();
    for (const auto& row : rows) {
        service.Fail(test::kProviders, row.platformCode);
        char* out = kUnset;
        EXPECT_EQ(static_cast<std::uint32_t>(GetSocialProviders(context, &out, ';', nullptr)), row.expected);
        EXPECT_EQ(out, kUnset);
        EXPECT_EQ(platform.errors.back().code, row.expected);
    }
}

TEST_F(FlatProviders, WithoutMemoryForTheTextOutIsNull) {
    Start();
    char* out = kUnset;
    platform.FailCall(Operation::Alloc, 1);
    EXPECT_EQ(GetSocialProviders(context, &out, ';', nullptr), ResultCode::kInsufficientResources);
    EXPECT_EQ(out, nullptr);
    ASSERT_EQ(platform.errors.size(), 2u);
    EXPECT_EQ(platform.errors[0].source, "core/src/PodMaker");
    ExpectReported(ResultCode::kInsufficientResources);
}

TEST_F(FlatProviders, EachReportHasALineOfItsOwn) {
    Start();
    char* out = nullptr;
    EXPECT_EQ(quillmarkclient::GetSocialProviders(nullptr, &out, ';', nullptr), ResultCode::kNotInitialized);
    EXPECT_EQ(GetSocialProviders(context, nullptr, ';', nullptr), ResultCode::kInvalidParameters);
    service.AnswerOnce(test::kProviders, 500, "");
    EXPECT_EQ(GetSocialProviders(context, &out, ';', nullptr), ResultCode::kInternalServiceError);
    platform.FailCall(Operation::Alloc, 1);
    EXPECT_EQ(GetSocialProviders(context, &out, ';', nullptr), ResultCode::kInsufficientResources);
    ASSERT_EQ(platform.errors.size(), 5u) << "the maker reports too";
    std::uint32_t last = 0;
    for (const std::size_t i : {0u, 1u, 2u, 4u}) {
        EXPECT_EQ(platform.errors[i].source, "core/src/quillmarkclient");
        EXPECT_GT(platform.errors[i].line, last);
        last = platform.errors[i].line;
    }
}

}  // namespace
