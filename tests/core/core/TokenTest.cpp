#include "core/src/core/Token.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "core/src/system/Base64.h"

#include "tests/support/LinearCost.h"

namespace {

using quillmarkclient_core::ContextTypeText;
using quillmarkclient_core::ParseContextType;
using quillmarkclient_core::RoleWord;
using quillmarkclient_core::Token;

std::string Encoded(const std::string& text) {
    return quillmarkclient_core::Base64Encode(text.data(), text.size()).c_str();
}

std::string Str(const portable_stl::string& text) {
    return {text.data(), text.size()};
}

Token Parse(const std::string& text) {
    return {portable_stl::string(text.data(), text.size()), true};
}

// The rights of a token, as "space:role" in a row.
std::string Rights(const Token& token) {
    std::string text;
    for (const auto& right : token.rights)
        text += Str(right.space) + ":" + std::to_string(right.role) + " ";
    return text;
}

TEST(Token, TakesEveryClaimFromThePayload) {
    const Token token = Parse("head." +
                              Encoded(R"({"userid":"u1","customerNumber":"c2","customerContactNumber":"n3",)"
                                      R"("customerAvailableContext":"a4","scopes":[)"
                                      R"({"space":"s","role":"2"},{"space":"r","role":"0"}],"exp":1})") +
                              ".sig");
    EXPECT_EQ(Str(token.userId), "u1");
    EXPECT_EQ(Str(token.customerNumber), "c2");
    EXPECT_EQ(Str(token.customerContactNumber), "n3");
    EXPECT_EQ(Str(token.customerAvailableContext), "a4");
    EXPECT_EQ(Rights(token), "s:2 r:0 ");
}

TEST(Token, KeepsTextAndMark) {
    const Token present("a.b.c", true);
    EXPECT_EQ(Str(present.text), "a.b.c");
    EXPECT_EQ(present.present, 1);
    const Token absent("a.b.c", false);
    EXPECT_EQ(Str(absent.text), "a.b.c");
    EXPECT_EQ(absent.present, 0);
    EXPECT_EQ(Token().present, 0);
    EXPECT_TRUE(Token().text.empty());
}

TEST(Token, ReadsTheUserIdOfWhatCanBeRead) {
    const std::string good = Encoded(R"({"userid":"u"})");
    // Four characters more or less of padding: one byte more of payload each.
    const std::string unpadded = good.substr(0, good.find('='));
    const struct {
        const char* name;
        std::string token;
        const char* userId;
    } rows[] = {
        {"three parts", "h." + good + ".s", "u"},
        {"two parts, no signature", "h." + good, "u"},
        {"four parts", "h." + good + ".s.x", "u"},
        {"an empty header", "." + good + ".s", "u"},
        {"an empty signature", "h." + good + ".", "u"},
        {"no padding", "h." + unpadded + ".s", "u"},
        {"a blank in the payload", "h. " + good + ".s", "u"},
        {"one part", good, ""},
        {"empty", "", ""},
        {"a dot alone", ".", ""},
        {"an empty payload between two dots, the claims behind them", "h.." + good, ""},
        {"a payload that is not JSON", "h." + Encoded("<html>") + ".s", ""},
        {"a payload that is cut", "h." + Encoded(R"({"userid":"u")") + ".s", ""},
        {"a payload with an underscore", "h._" + good + ".s", ""},
        {"a payload with a minus", "h." + good + "-.s", ""},
        {"a claim in another case", "h." + Encoded(R"({"UserID":"u"})") + ".s", "u"},
        {"the first of two claims", "h." + Encoded(R"({"userid":"u","USERID":"v"})") + ".s", "u"},
        {"a claim given as null", "h." + Encoded(R"({"userid":null})") + ".s", "null"},
        {"a claim given as a number", "h." + Encoded(R"({"userid":0120.5})") + ".s", "0120.5"},
        {"a claim given as an object", "h." + Encoded(R"({"userid":{"a":"b"}})") + ".s", ""},
        {"a payload of an array", "h." + Encoded(R"(["userid"])") + ".s", ""},
        {"a zero byte ends the payload", "h." + Encoded(std::string("{\"userid\":\"u\"}\0}", 16)) + ".s",
         "u"},
        {"a payload that is one scalar", "h." + Encoded("true") + ".s", ""},
    };
    for (const auto& row : rows) {
        const Token token = Parse(row.token);
        EXPECT_EQ(Str(token.userId), row.userId) << row.name;
        EXPECT_EQ(Str(token.text), row.token) << row.name << ": the text stays usable";
    }
}

TEST(Token, ReadsRights) {
    const struct {
        const char* name;
        const char* scopes;
        const char* rights;
    } rows[] = {
        {"a child without space is passed over", R"([{"space":"a","role":"2"},{"role":"1"}])", "a:2 "},
        {"a child without role is passed over", R"([{"space":"a"},{"space":"b","role":"1"}])", "b:1 "},
        {"a number", R"([{"space":"a","role":7}])", "a:7 "},
        {"names in another case", R"([{"SPACE":"a","Role":"1"}])", "a:1 "},
        {"an empty space counts", R"([{"space":"","role":"1"}])", ":1 "},
        {"an empty role is 0", R"([{"space":"a","role":""}])", "a:0 "},
        {"a word is 0", R"([{"space":"a","role":"x7"}])", "a:0 "},
        {"digits and a letter are 0", R"([{"space":"a","role":"7x"}])", "a:0 "},
        {"a minus sign is 0", R"([{"space":"a","role":"-1"}])", "a:0 "},
        {"a plus sign is 0", R"([{"space":"a","role":"+1"}])", "a:0 "},
        {"a fraction is 0", R"([{"space":"a","role":"1.0"}])", "a:0 "},
        {"a blank is 0", R"([{"space":"a","role":" 1"}])", "a:0 "},
        {"the largest number stays", R"([{"space":"a","role":"4294967295"}])", "a:4294967295 "},
        {"one more is 0", R"([{"space":"a","role":"4294967296"}])", "a:0 "},
        {"leading zeros do no harm", R"([{"space":"a","role":"0000000000002"}])", "a:2 "},
        {"forty digits are 0", R"([{"space":"a","role":"1111111111222222222233333333334444444444"}])",
         "a:0 "},
        {"an empty list", "[]", ""},
        {"null", "null", ""},
        {"a text", R"("a")", ""},
        {"members of an object are taken as children", R"({"x":{"space":"a","role":"1"}})", "a:1 "},
        {"elements that are no objects", R"([1,"a",[],{}])", ""},
    };
    for (const auto& row : rows) {
        const Token token = Parse("h." + Encoded(std::string(R"({"scopes":)") + row.scopes + "}"));
        EXPECT_EQ(Rights(token), row.rights) << row.name;
    }
}

TEST(Token, ForgetsFormerClaimsWhenItParsesAnew) {
    Token token =
        Parse("h." + Encoded(R"({"userid":"u","customerNumber":"c","scopes":[{"space":"s","role":"1"}]})"));
    token.text = "unreadable";
    token.ParseClaims();
    EXPECT_TRUE(token.userId.empty());
    EXPECT_TRUE(token.customerNumber.empty());
    EXPECT_TRUE(token.rights.empty());
    EXPECT_EQ(token.present, 1);
}

TEST(Token, LooksAtNoExpiry) {
    EXPECT_EQ(Str(Parse("h." + Encoded(R"({"exp":"1","userid":"u"})")).userId), "u");
}

std::size_t CostOfClaims(const std::string& text, std::size_t rights) {
    Token token;
    token.text = portable_stl::string(text.data(), text.size());
    const std::size_t bytes = test::AllocatedBytes([&] { token.ParseClaims(); });
    EXPECT_EQ(token.rights.size(), rights);
    return bytes;
}

TEST(Token, ManyDotsTakeLinearCost) {
    EXPECT_LE(CostOfClaims(std::string(1'000'000, '.'), 0), 10'000'000u);
}

TEST(Token, ManyRightsTakeLinearCost) {
    test::ExpectLinearCost(10'000, [](std::size_t rights) {
        std::string scopes;
        for (std::size_t i = 0; i < rights; ++i)
            scopes += R"({"space":"s","role":"1"},)";
        return CostOfClaims("h." + Encoded("{\"scopes\":[" + scopes + "]}"), rights);
    });
}

TEST(RoleWord, NamesThreeRoles) {
    const struct {
        std::uint32_t role;
        const char* word;
    } rows[] = {{0, "user"}, {1, "manager"}, {2, "owner"}, {3, "user"}, {4294967295u, "user"}};
    for (const auto& row : rows)
        EXPECT_STREQ(RoleWord(row.role), row.word) << row.role;
}

TEST(ContextType, ReadsExactly) {
    const struct {
        const char* text;
        std::uint32_t mode;
    } rows[] = {{"b2b", 1}, {"b2c", 0}, {"B2B", 0}, {"b2b ", 0}, {"", 0}, {"null", 0}};
    for (const auto& row : rows)
        EXPECT_EQ(ParseContextType(row.text), row.mode) << row.text;
    EXPECT_EQ(ParseContextType(portable_stl::string("b2b\0", 4)), 0u);
}

TEST(ContextType, WritesEveryModeButOneAsOwn) {
    const struct {
        std::uint32_t mode;
        const char* text;
    } rows[] = {{0, "b2c"}, {1, "b2b"}, {2, "b2c"}, {3, "b2c"}};
    for (const auto& row : rows)
        EXPECT_STREQ(ContextTypeText(row.mode), row.text) << row.mode;
}

}  // namespace
