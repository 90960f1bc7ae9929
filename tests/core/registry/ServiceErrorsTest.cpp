#include "core/src/registry/ServiceErrors.h"

#include "tests/core/registry/RegistryFixture.h"
#include "tests/support/LinearCost.h"

namespace {

using registry::DecodeServiceError;
using registry::FillServiceErrorInfo;
using registry::ServiceErrorInfo;
using test::Code;
using test::Headers;
using test::Text;

TEST(DecodeServiceError, ReadsTheBodyAndThenTheStatus) {
    // 418 has no meaning of its own and shows what the body alone gives; 1 stands for the default.
    const struct {
        const char* name;
        std::uint32_t httpCode;
        std::string body;
        std::uint32_t expected;
    } rows[] = {
        {"error: user name", 418, R"({"error":"invalid_username"})", 0x82000006},
        {"error: password", 418, R"({"error":"invalid_password"})", 0x82000006},
        {"error: client", 418, R"({"error":"unauthorized_client"})", 0x82000006},
        {"error: identity", 418, R"({"error":"invalid_identity_id"})", 0x82000006},
        {"error: its name in another case", 418, R"({"ERROR":"invalid_username"})", 0x82000006},
        {"error: the value in another case", 418, R"({"error":"Invalid_username"})", 1},
        {"error: a longer value", 418, R"({"error":"invalid_username "})", 1},
        {"error: unknown", 418, R"({"error":"invalid_grant"})", 1},
        {"error: null", 418, R"({"error":null})", 1},
        {"error: an object", 418, R"({"error":{"invalid_username":"invalid_username"}})", 1},
        {"error: a list", 418, R"({"error":["invalid_username"]})", 1},
        {"error: empty", 418, R"({"error":""})", 1},
        {"error: a number", 418, R"({"error":7})", 1},
        {"error: its value not as a text", 418, R"({"error":invalid_username})", 1},
        {"error: a longer name", 418, R"({"errors":"invalid_username"})", 1},
        {"error: inside another member", 418, R"({"detail":{"error":"invalid_username"}})", 1},
        {"error: the last of many members", 418,
         R"({"a":1,"b":[1,2,{"c":"d"}],"e":null,"error":"invalid_username"})", 0x82000006},
        {"error: written with escapes", 418, R"({"\u0065rror":"invalid\u005Fusername"})", 0x82000006},
        {"error: wins over status", 418,
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED","error":"invalid_password"})", 0x82000006},
        {"error: wins over the HTTP status", 503, R"({"error":"invalid_username"})", 0x82000006},
        {"error: unknown, then the rules", 418,
         R"({"error":"x","status":"403","errorCode":"2FA_TOTP_REQUIRED"})", 0x82000012},
        {"error: the first of two counts", 418, R"({"error":"x","error":"invalid_username"})", 1},

        {"429 locked", 418, R"({"status":"429","errorCode":"ACCOUNT_LOCKED_TRY_AGAIN"})", 0x8200000F},
        {"403 second factor", 418, R"({"status":"403","errorCode":"2FA_TOTP_REQUIRED"})", 0x82000012},
        {"404 sign-up", 418, R"({"status":"404","errorCode":"SIGN_UP_REQUIRED"})", 0x82000011},
        {"401 wrong code", 418, R"({"status":"401","errorCode":"CODE_VERIFICATION_FAILED"})", 0x82000013},
        {"400 wrong code", 418, R"({"status":"400","errorCode":"CODE_VERIFICATION_FAILED"})", 0x82000013},
        {"a number is the same text", 418, R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED"})", 0x82000012},
        {"names in another case", 418, R"({"STATUS":403,"ErrorCode":"2FA_TOTP_REQUIRED"})", 0x82000012},
        {"the value in another case", 418, R"({"status":403,"errorCode":"2fa_totp_required"})", 1},
        {"status: the first of two counts, which fits", 418,
         R"({"status":"403","status":"401","errorCode":"2FA_TOTP_REQUIRED"})", 0x82000012},
        {"status: the first of two counts, which fits no rule", 418,
         R"({"status":"401","status":"403","errorCode":"2FA_TOTP_REQUIRED"})", 1},
        {"errorCode: the first of two counts, which fits", 418,
         R"({"status":"403","errorCode":"2FA_TOTP_REQUIRED","errorCode":"OTHER"})", 0x82000012},
        {"errorCode: the first of two counts, which fits no rule", 418,
         R"({"status":"403","errorCode":"OTHER","ErrorCode":"2FA_TOTP_REQUIRED"})", 1},
        {"a rule's code under another status", 418, R"({"status":401,"errorCode":"2FA_TOTP_REQUIRED"})", 1},
        {"a wrong code under 403", 418, R"({"status":403,"errorCode":"CODE_VERIFICATION_FAILED"})", 1},
        {"a lock under 423", 418, R"({"status":423,"errorCode":"ACCOUNT_LOCKED_TRY_AGAIN"})", 1},
        {"a status of other digits", 418, R"({"status":"0403","errorCode":"2FA_TOTP_REQUIRED"})", 1},
        {"a status of blanks and digits", 418, R"({"status":" 403","errorCode":"2FA_TOTP_REQUIRED"})", 1},
        {"a status with a fraction", 418, R"({"status":403.0,"errorCode":"2FA_TOTP_REQUIRED"})", 1},
        {"a status with a sign", 418, R"({"status":+403,"errorCode":"2FA_TOTP_REQUIRED"})", 1},
        {"a status that is a list", 418, R"({"status":["403"],"errorCode":"2FA_TOTP_REQUIRED"})", 1},
        {"a status that is an object", 418, R"({"status":{"403":"403"},"errorCode":"2FA_TOTP_REQUIRED"})", 1},
        {"a status that is null", 418, R"({"status":null,"errorCode":"2FA_TOTP_REQUIRED"})", 1},
        {"an errorCode that is a list", 418, R"({"status":403,"errorCode":["2FA_TOTP_REQUIRED"]})", 1},
        {"an errorCode that is an object", 418, R"({"status":403,"errorCode":{"2FA_TOTP_REQUIRED":1}})", 1},
        {"an errorCode that is null", 418, R"({"status":403,"errorCode":null})", 1},
        {"an errorCode with a blank behind it", 418, R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED "})", 1},
        {"the errorCode before the status", 418, R"({"errorCode":"2FA_TOTP_REQUIRED","status":403})",
         0x82000012},
        {"status and errorCode inside another member", 418,
         R"({"problem":{"status":403,"errorCode":"2FA_TOTP_REQUIRED"}})", 1},
        {"an underscore in the name is another name", 418,
         R"({"status":403,"error_code":"2FA_TOTP_REQUIRED"})", 1},
        {"no status, HTTP 429", 429, R"({"errorCode":"ACCOUNT_LOCKED_TRY_AGAIN"})", 0x8200000D},
        {"a rule of another status, HTTP 423", 423, R"({"status":423,"errorCode":"2FA_TOTP_REQUIRED"})",
         0x82000010},
        {"no status: the errorCode is not asked", 418, R"({"errorCode":"2FA_TOTP_REQUIRED"})", 1},
        {"no errorCode", 418, R"({"status":"403"})", 1},
        {"status 404 without errorCode, HTTP 503", 503, R"({"status":"404"})", 0x8000000C},
        {"the body's status decides, not the HTTP status", 429,
         R"({"status":"403","errorCode":"2FA_TOTP_REQUIRED"})", 0x82000012},
        {"a 429 that is the temporary lock", 429, R"({"status":429,"errorCode":"ACCOUNT_LOCKED_TRY_AGAIN"})",
         0x8200000F},
        {"no rule matches: the HTTP status", 423, R"({"status":"429","errorCode":"OTHER"})", 0x82000010},

        {"HTTP 423, empty body", 423, "", 0x82000010},
        {"HTTP 429, empty body", 429, "", 0x8200000D},
        {"HTTP 429, plain text", 429, "slow down", 0x8200000D},
        {"HTTP 503, empty body", 503, "", 0x8000000C},
        {"HTTP 503, HTML", 503, "<html></html>", 0x8000000C},
        {"HTTP 418, empty body", 418, "", 1},
        {"HTTP 403, empty body", 403, "", 1},
        {"HTTP 422", 422, "", 1},
        {"HTTP 424", 424, "", 1},
        {"HTTP 428", 428, "", 1},
        {"HTTP 430", 430, "", 1},
        {"HTTP 502", 502, "", 1},
        {"HTTP 504", 504, "", 1},
        {"HTTP 0", 0, "", 1},
        {"a list", 418, R"([{"error":"invalid_username"}])", 1},
        {"a cut body", 418, R"({"error":"invalid_username")", 1},
        {"a zero byte cuts the body", 418, std::string("{\"error\":\"invalid_username\"\0}", 30), 1},
        {"null", 418, "null", 1},
    };
    for (const auto& row : rows)
        EXPECT_EQ(DecodeServiceError(row.httpCode, Text(row.body), Code(1)), Code(row.expected)) << row.name;
}

TEST(DecodeServiceError, AStatusAndACodeMakeARuleInFivePairs) {
    static const struct {
        const char* status;
        // ACCOUNT_LOCKED_TRY_AGAIN, 2FA_TOTP_REQUIRED, SIGN_UP_REQUIRED, CODE_VERIFICATION_FAILED, OTHER
        std::uint32_t codes[5];
    } rows[] = {
        {"429", {0x8200000F, 1, 1, 1, 1}},
        {"403", {1, 0x82000012, 1, 1, 1}},
        {"404", {1, 1, 0x82000011, 1, 1}},
        {"401", {1, 1, 1, 0x82000013, 1}},
        {"400", {1, 1, 1, 0x82000013, 1}},
        {"423", {1, 1, 1, 1, 1}},
        {"503", {1, 1, 1, 1, 1}},
        {"200", {1, 1, 1, 1, 1}},
        {"", {1, 1, 1, 1, 1}},
    };
    static const char* const errorCodes[] = {"ACCOUNT_LOCKED_TRY_AGAIN", "2FA_TOTP_REQUIRED",
                                             "SIGN_UP_REQUIRED", "CODE_VERIFICATION_FAILED", "OTHER"};
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < std::size(errorCodes); ++i) {
            const std::string body =
                std::string(R"({"status":")") + row.status + R"(","errorCode":")" + errorCodes[i] + R"("})";
            EXPECT_EQ(DecodeServiceError(418, Text(body), Code(1)), Code(row.codes[i])) << body;
        }
    }
}

TEST(DecodeServiceError, ALongBodyTakesLinearCost) {
    test::ExpectLinearCost(100'000, [](std::size_t members) {
        std::string list = "{";
        for (std::size_t i = 0; i < members; ++i)
            list += R"("a":"b",)";
        const auto body = Text(list + R"("error":"invalid_username"})");
        ResultCode code = ResultCode::kSuccess;
        const std::size_t bytes =
            test::AllocatedBytes([&] { code = DecodeServiceError(418, body, Code(1)); });
        EXPECT_EQ(code, ResultCode::kInvalidLoginOrPassword);
        return bytes;
    });
}

TEST(DecodeServiceError, HandsBackAnyDefault) {
    for (const std::uint32_t code : {0u, 1u, 0x82000004u, 0x84000006u})
        EXPECT_EQ(DecodeServiceError(400, "{}", Code(code)), Code(code)) << code;
}

ServiceErrorInfo FormerInfo() {
    ServiceErrorInfo info;
    info.resultCode = 7;
    info.httpCode = 8;
    info.type = info.title = info.status = info.detail = info.reason = info.errorCode = info.traceId =
        "former";
    info.errorArgs.push_back({"former", "former"}).value();
    return info;
}

// Every text of the record in its order.
std::string Texts(const ServiceErrorInfo& info) {
    std::string text;
    for (const auto* field :
         {&info.type, &info.title, &info.status, &info.detail, &info.reason, &info.errorCode, &info.traceId})
        text += Text(*field) + "|";
    return text;
}

Headers Arguments(const ServiceErrorInfo& info) {
    Headers arguments;
    for (const auto& argument : info.errorArgs)
        arguments.emplace_back(Text(argument.name), Text(argument.value));
    return arguments;
}

TEST(FillServiceErrorInfo, TakesWhatTheBodyHolds) {
    constexpr std::uint32_t kOk = 0;
    constexpr std::uint32_t kInternal = 0x80000001;
    const struct {
        const char* name;
        std::string body;
        std::uint32_t expected;
        const char* texts;
        Headers arguments;
    } rows[] = {
        {"all fields",
         R"({"type":"a","title":"b","status":403,"detail":"c","Reason":"d","ErrorCode":"e","traceId":"f",)"
         R"("errorArgs":{"challengeToken":"x","n":1}})",
         kOk,
         "a|b|403|c|d|e|f|",
         {{"challengeToken", "x"}, {"n", "1"}}},
        {"names in other cases, other order",
         R"({"TRACEID":"f","errorcode":"e","reason":"d","Type":"a"})",
         kOk,
         "a||||d|e|f|",
         {}},
        {"the first of two", R"({"title":"one","Title":"two"})", kOk, "|one||||||", {}},
        {"null reads as its text", R"({"title":null})", kOk, "|null||||||", {}},
        {"an object has no text", R"({"title":{"a":"b"}})", kOk, "|||||||", {}},
        {"a list has no text", R"({"title":["a"],"ErrorCode":[]})", kOk, "|||||||", {}},
        {"numbers and words are their text",
         R"({"type":1.50,"title":true,"status":"0429","detail":-1e9,"Reason":"","ErrorCode":0,"traceId":false})",
         kOk,
         "1.50|true|0429|-1e9||0|false|",
         {}},
        {"upper case",
         R"({"TYPE":"a","TITLE":"b","STATUS":"s","DETAIL":"c","REASON":"d","ERRORCODE":"e","TRACEID":"f"})",
         kOk,
         "a|b|s|c|d|e|f|",
         {}},
        {"lower case",
         R"({"type":"a","title":"b","status":"s","detail":"c","reason":"d","errorcode":"e","traceid":"f"})",
         kOk,
         "a|b|s|c|d|e|f|",
         {}},
        {"the first of two in every field",
         R"({"Type":"1","type":"2","status":1,"Status":2,"detail":"1","DETAIL":"2","Reason":"1","reason":"2",)"
         R"("errorCode":"1","ErrorCode":"2","traceid":"1","traceId":"2"})",
         kOk,
         "1||1|1|1|1|1|",
         {}},
        {"an empty first one counts too", R"({"title":"","title":"two"})", kOk, "|||||||", {}},
        {"escapes are resolved", R"({"title":"a\"b\\c\/d\n\u00e9"})", kOk, "|a\"b\\c/d\n\xC3\xA9||||||", {}},
        {"fields inside another member are not seen",
         R"({"a":{"title":"x","errorArgs":{"b":"c"}}})",
         kOk,
         "|||||||",
         {}},
        {"a scalar as the body", R"("title")", kOk, "|||||||", {}},
        {"null as the body", "null", kOk, "|||||||", {}},
        {"no field that is known", R"({"a":"b"})", kOk, "|||||||", {}},
        {"no errorArgs members", R"({"errorArgs":{}})", kOk, "|||||||", {}},
        {"errorArgs is a text", R"({"errorArgs":"x"})", kOk, "|||||||", {}},
        {"errorArgs is a number", R"({"errorArgs":5})", kOk, "|||||||", {}},
        {"errorArgs is an empty list", R"({"errorArgs":[]})", kOk, "|||||||", {}},
        {"errorArgs twice: the first counts",
         R"({"ErrorArgs":{"a":"1"},"errorArgs":{"b":"2"}})",
         kOk,
         "|||||||",
         {{"a", "1"}}},
        {"errorArgs twice: an empty first one counts too",
         R"({"errorArgs":{},"errorArgs":{"b":"2"}})",
         kOk,
         "|||||||",
         {}},
        {"arguments of every kind, in their order",
         R"({"errorArgs":{"z":null,"Y":true,"x":-1.5,"":"w","v":"","u":["t"],"s":"\u0041\"","s":"r"}})",
         kOk,
         "|||||||",
         {{"z", "null"},
          {"Y", "true"},
          {"x", "-1.5"},
          {"", "w"},
          {"v", ""},
          {"u", ""},
          {"s", "A\""},
          {"s", "r"}}},
        {"errorArgs is null", R"({"errorArgs":null})", kOk, "|||||||", {}},
        {"errorArgs is a list", R"({"errorArgs":["x",2]})", kOk, "|||||||", {{"", "x"}, {"", "2"}}},
        {"one argument twice",
         R"({"ERRORARGS":{"a":"1","a":"2","b":{"c":"3"}}})",
         kOk,
         "|||||||",
         {{"a", "1"}, {"a", "2"}, {"b", ""}}},
        {"a list as the body", R"([{"title":"x"}])", kOk, "|||||||", {}},
        {"empty", "", kOk, "|||||||", {}},
        {"not JSON", "<html>", kInternal, "|||||||", {}},
        {"text behind the body", R"({"title":"x"} y)", kInternal, "|||||||", {}},
        {"cut", R"({"title":"x")", kInternal, "|||||||", {}},
        {"blank", " \r\n", kInternal, "|||||||", {}},
    };
    for (const auto& row : rows) {
        ServiceErrorInfo info = FormerInfo();
        EXPECT_EQ(FillServiceErrorInfo(info, ResultCode::kNotFound, 404, Text(row.body)), Code(row.expected))
            << row.name;
        EXPECT_EQ(info.resultCode, 0x8200000Eu) << row.name;
        EXPECT_EQ(info.httpCode, 404u) << row.name;
        EXPECT_EQ(Texts(info), row.texts) << row.name;
        EXPECT_EQ(Arguments(info), row.arguments) << row.name;
    }
}

TEST(FillServiceErrorInfo, ASuccessEmptiesTheRecord) {
    ServiceErrorInfo info = FormerInfo();
    EXPECT_EQ(FillServiceErrorInfo(info, ResultCode::kSuccess, 200, R"({"title":"x"})"),
              ResultCode::kSuccess);
    EXPECT_EQ(info.resultCode, 0u);
    EXPECT_EQ(info.httpCode, 0u);
    EXPECT_EQ(Texts(info), "|||||||");
    EXPECT_TRUE(info.errorArgs.empty());
}

TEST(FillServiceErrorInfo, ManyArgumentsTakeLinearCost) {
    test::ExpectLinearCost(100'000, [](std::size_t arguments) {
        std::string list = R"({"errorArgs":{)";
        for (std::size_t i = 0; i < arguments; ++i)
            list += R"("a":"b",)";
        const auto body = Text(list + "}}");
        ServiceErrorInfo info;
        ResultCode code = ResultCode::kInternalError;
        const std::size_t bytes = test::AllocatedBytes(
            [&] { code = FillServiceErrorInfo(info, ResultCode::kNotFound, 404, body); });
        EXPECT_EQ(code, ResultCode::kSuccess);
        EXPECT_EQ(info.errorArgs.size(), arguments);
        return bytes;
    });
}

}  // namespace
