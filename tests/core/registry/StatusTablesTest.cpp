#include "core/src/registry/StatusTables.h"

#include <algorithm>
#include <string>
#include <vector>

#include "core/src/registry/requests/ContextRequests.h"
#include "core/src/registry/requests/IdentityRequest.h"
#include "core/src/registry/requests/InformationRequests.h"
#include "core/src/registry/requests/SignInRequests.h"
#include "core/src/registry/requests/SocialRequests.h"
#include "tests/core/registry/RegistryFixture.h"

namespace {

using registry::IdentityRequestMode;
using registry::ServiceErrorInfo;
using test::Code;
using test::RequestPointer;
using test::SystemApi;
using test::Text;

template <class RequestType, class Params>
RequestPointer Make() {
    return portable_stl::make_unique<RequestType>(Params{});
}

RequestPointer MakeBusinessIdentity() {
    return portable_stl::make_unique<registry::AuthorizeViaIdentityRequest<SystemApi>>(
        registry::AuthorizeViaIdentityParams{"", "", true});
}

template <bool isByToken>
RequestPointer MakeFinalize() {
    registry::CustomerRegistrationFinalizeParams params;
    params.accessToken = isByToken ? "t" : "";
    return portable_stl::make_unique<registry::CustomerRegistrationFinalizeRequest<SystemApi>>(params);
}

template <std::uint32_t mode>
RequestPointer MakeIdentity() {
    return portable_stl::make_unique<registry::IdentityRequest<SystemApi>>(
        registry::IdentityRequestParams{}, static_cast<IdentityRequestMode>(mode));
}

// A cell is a code or "rest". A star behind a code: the body is asked first.
constexpr std::uint32_t kColumns[] = {400, 401, 403, 404, 409, 500, 503};
struct TableRow {
    const char* request;
    RequestPointer (*make)();
    std::vector<std::uint32_t> successes;
    std::string cells[std::size(kColumns)];
    const char* otherwise = "rest";  // of every status without a column
};
const TableRow kTable[] = {
    {"CustomerAuthorizeRequest",
     &Make<registry::CustomerAuthorizeRequest<SystemApi>, registry::CustomerAuthorizeParams>,
     {200},
     {"82000004", "82000006", "82000007*", "8200000E", "rest", "82000003", "rest"}},
    {"CustomerAuthorize2FARequest",
     &Make<registry::CustomerAuthorize2FARequest<SystemApi>, registry::CustomerAuthorize2FAParams>,
     {200},
     {"82000004", "82000002*", "82000007", "8200000E", "rest", "82000003", "rest"}},
    {"BusinessAuthorizeRequest",
     &Make<registry::BusinessAuthorizeRequest<SystemApi>, registry::BusinessAuthorizeParams>,
     {200},
     {"82000004", "82000006", "82000007", "rest", "rest", "82000003", "rest"}},
    {"PrincipalAdminAuthorizeRequest",
     &Make<registry::PrincipalAdminAuthorizeRequest<SystemApi>, registry::PrincipalAdminAuthorizeParams>,
     {200},
     {"82000004", "82000006", "82000007", "rest", "rest", "82000003", "rest"}},
    {"AuthorizeViaSocialRequest",
     &Make<registry::AuthorizeViaSocialRequest<SystemApi>, registry::AuthorizeViaSocialParams>,
     {200},
     {"rest", "82000002", "82000008", "8200000E*", "82000009", "82000003", "rest"}},
    {"AuthorizeViaSocialDesktopRequest",
     &Make<registry::AuthorizeViaSocialDesktopRequest<SystemApi>, registry::SocialCodeParams>,
     {200},
     {"rest", "82000002", "82000008", "8200000E", "82000009", "82000003", "rest"}},
    {"BusinessAuthorizeViaSocialDesktopRequest",
     &Make<registry::BusinessAuthorizeViaSocialDesktopRequest<SystemApi>, registry::SocialCodeParams>,
     {200},
     {"rest", "82000002", "82000007", "8200000E", "rest", "82000003", "rest"}},
    {"AuthorizeViaIdentityRequest",
     &Make<registry::AuthorizeViaIdentityRequest<SystemApi>, registry::AuthorizeViaIdentityParams>,
     {200},
     {"82000004", "82000002", "82000002", "8200000E", "rest", "82000003", "rest"}},
    {"AuthorizeViaIdentityRequest of a business",
     &MakeBusinessIdentity,
     {200},
     {"82000004", "82000002", "82000002", "8200000E", "rest", "82000003", "rest"}},
    {"CustomerContextRequest",
     &Make<registry::CustomerContextRequest<SystemApi>, registry::CustomerContextParams>,
     {200},
     {"82000004", "82000002", "82000007", "82000005", "rest", "82000003", "rest"}},
    {"CustomerTrustTokenRequest",
     &Make<registry::CustomerTrustTokenRequest<SystemApi>, registry::CustomerTrustTokenParams>,
     {200},
     {"82000004", "82000002", "82000002", "8200000E", "rest", "82000003", "rest"}},
    {"TrusteeTrustsRequest",
     &Make<registry::TrusteeTrustsRequest<SystemApi>, registry::TrusteeTrustsParams>,
     {200},
     {"82000004", "82000002", "82000007", "82000005", "rest", "82000003", "rest"}},
    {"GetCustomerInfoRequest",
     &Make<registry::GetCustomerInfoRequest<SystemApi>, registry::GetCustomerInfoParams>,
     {200},
     {"rest", "82000002", "rest", "82000005", "rest", "rest", "rest"}},
    {"SocialProvidersListRequest",
     &Make<registry::SocialProvidersListRequest<SystemApi>, registry::SocialProvidersListParams>,
     {200},
     {"82000004", "82000002", "82000007", "rest", "rest", "82000003", "rest"}},
    {"UseDynamicContextRequest",
     &Make<registry::UseDynamicContextRequest<SystemApi>, registry::SocialCodeParams>,
     {200, 204},
     {"82000004", "rest", "82000007", "rest", "rest", "82000003", "rest"}},
    {"CustomerRegistrationFinalizeRequest by code",
     &MakeFinalize<false>,
     {200, 204},
     {"82000004", "82000006", "82000007", "8200000E", "rest", "82000003", "rest"}},
    {"CustomerRegistrationFinalizeRequest by token",
     &MakeFinalize<true>,
     {200, 204},
     {"82000004", "82000006", "82000007", "8200000E", "rest", "82000003", "rest"}},
    {"IdentityRequest, get records",
     &MakeIdentity<1>,
     {200},
     {"rest", "82000002", "rest", "rest", "rest", "82000003", "8000000C"}},
    {"IdentityRequest, get token",
     &MakeIdentity<2>,
     {200},
     {"rest", "82000002", "82000002", "82000002", "rest", "82000003", "8000000C"}},
    {"IdentityRequest, create record",
     &MakeIdentity<3>,
     {200},
     {"82000004", "82000002", "rest", "82000005", "82000005", "82000003", "rest"}},
    {"IdentityRequest, mode 0",
     &MakeIdentity<0>,
     {},
     {"82000003", "82000003", "82000003", "82000003", "82000003", "82000003", "82000003"},
     "82000003"},
    {"IdentityRequest, mode 4",
     &MakeIdentity<4>,
     {},
     {"82000003", "82000003", "82000003", "82000003", "82000003", "82000003", "82000003"},
     "82000003"},
    {"IdentityRequest, the largest mode",
     &MakeIdentity<0xFFFFFFFF>,
     {},
     {"82000003", "82000003", "82000003", "82000003", "82000003", "82000003", "82000003"},
     "82000003"},
};

// Those of the columns, and others that no request names but as a success.
constexpr std::uint32_t kStatuses[] = {400, 401, 403, 404, 409, 500, 503, 200, 201, 202, 204, 302,
                                       402, 405, 418, 423, 429, 502, 0,   1,   100, 504, 999, 4294967295};

// What a body means by itself; 0 when it leaves the decision to the status.
const struct {
    const char* name;
    std::string text;
    std::uint32_t code;
    const char* title = "";
} kBodies[] = {
    {"none", "", 0},
    {"plain text", "slow down", 0},
    {"HTML", "<html><body>503</body></html>", 0},
    {"no rule's", R"({"title":"T","status":403,"errorCode":"OTHER"})", 0, "T"},
    {"a rule's code without its status", R"({"errorCode":"2FA_TOTP_REQUIRED"})", 0},
    {"user name", R"({"error":"invalid_username","title":"T"})", 0x82000006, "T"},
    {"password", R"({"error":"invalid_password"})", 0x82000006},
    {"client", R"({"error":"unauthorized_client"})", 0x82000006},
    {"identity", R"({"error":"invalid_identity_id"})", 0x82000006},
    {"temporary lock", R"({"status":429,"errorCode":"ACCOUNT_LOCKED_TRY_AGAIN"})", 0x8200000F},
    {"second factor", R"({"status":"403","ERRORCODE":"2FA_TOTP_REQUIRED"})", 0x82000012},
    {"sign-up", R"({"status":404,"errorCode":"SIGN_UP_REQUIRED"})", 0x82000011},
    {"wrong code, 401", R"({"status":401,"errorCode":"CODE_VERIFICATION_FAILED"})", 0x82000013},
    {"wrong code, 400", R"({"status":400,"errorCode":"CODE_VERIFICATION_FAILED"})", 0x82000013},
};

std::string CellOf(const TableRow& row, std::uint32_t httpCode) {
    for (std::size_t column = 0; column < std::size(kColumns); ++column) {
        if (kColumns[column] == httpCode)
            return row.cells[column];
    }
    return row.otherwise;
}

// What the decoder says of a status when the body says nothing; `code` for all but three.
std::uint32_t CodeOfStatus(std::uint32_t httpCode, std::uint32_t code) {
    switch (httpCode) {
        case 423:
            return 0x82000010;
        case 429:
            return 0x8200000D;
        case 503:
            return 0x8000000C;
        default:
            return code;
    }
}

std::uint32_t ExpectedOf(const TableRow& row, std::uint32_t httpCode, std::uint32_t codeOfBody) {
    if (std::find(row.successes.begin(), row.successes.end(), httpCode) != row.successes.end())
        return 0;
    const std::string cell = CellOf(row, httpCode);
    const bool isRest = cell == "rest";
    const auto code = isRest ? 0x82000004u : static_cast<std::uint32_t>(std::stoul(cell, nullptr, 16));
    if (!isRest && cell.back() != '*')
        return code;
    return codeOfBody != 0 ? codeOfBody : CodeOfStatus(httpCode, code);
}

// The result, with a look at what became of the record.
void ExpectCheck(registry::Request<SystemApi>& request, std::uint32_t httpCode, const std::string& body,
                 std::uint32_t expected, const char* title = "") {
    SCOPED_TRACE("status " + std::to_string(httpCode) + ", body " + body);
    ServiceErrorInfo info;
    info.title = "former";
    info.httpCode = 7;
    info.errorArgs.push_back({"former", "former"}).value();
    ServiceErrorInfo* target = &info;
    EXPECT_EQ(request.CheckResponse(httpCode, Text(body), &target), Code(expected));
    EXPECT_EQ(target, &info);
    EXPECT_EQ(info.resultCode, expected);
    EXPECT_EQ(info.httpCode, expected == 0 ? 7 : httpCode);
    EXPECT_EQ(Text(info.title), expected == 0 ? "former" : title) << "a success touches nothing";
    EXPECT_EQ(info.errorArgs.size(), expected == 0 ? 1u : 0u);

    ServiceErrorInfo* none = nullptr;
    EXPECT_EQ(request.CheckResponse(httpCode, Text(body), &none), Code(expected)) << "no record";
    EXPECT_EQ(none, nullptr);
}

TEST(StatusTables, EveryRequestEveryStatusEveryBody) {
    for (const TableRow& row : kTable) {
        SCOPED_TRACE(row.request);
        const RequestPointer request = row.make();
        for (const std::uint32_t httpCode : kStatuses) {
            for (const auto& body : kBodies) {
                SCOPED_TRACE(body.name);
                ExpectCheck(*request, httpCode, body.text, ExpectedOf(row, httpCode, body.code), body.title);
            }
        }
    }
}

TEST(StatusTables, RowsThatHaveAStory) {
    const auto password =
        &Make<registry::CustomerAuthorizeRequest<SystemApi>, registry::CustomerAuthorizeParams>;
    const auto secondFactor =
        &Make<registry::CustomerAuthorize2FARequest<SystemApi>, registry::CustomerAuthorize2FAParams>;
    const auto social =
        &Make<registry::AuthorizeViaSocialRequest<SystemApi>, registry::AuthorizeViaSocialParams>;
    const auto socialCode =
        &Make<registry::AuthorizeViaSocialDesktopRequest<SystemApi>, registry::SocialCodeParams>;
    const auto businessCode =
        &Make<registry::BusinessAuthorizeViaSocialDesktopRequest<SystemApi>, registry::SocialCodeParams>;
    const auto finalize = &MakeFinalize<false>;
    const struct {
        const char* name;
        RequestPointer (*make)();
        std::uint32_t httpCode;
        const char* body;
        std::uint32_t expected;
    } rows[] = {
        {"403 wants a second factor", password, 403, R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED"})",
         0x82000012},
        {"403 with the name in another case", password, 403,
         R"({"status":403,"ERRORCODE":"2FA_TOTP_REQUIRED"})", 0x82000012},
        {"403 with an empty body is the blocked account", password, 403, "", 0x82000007},
        {"403 with another errorCode is the blocked account", password, 403,
         R"({"status":403,"errorCode":"OTHER"})", 0x82000007},
        {"401 is the password, whatever the body says", password, 401,
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED"})", 0x82000006},
        {"401 with error", password, 401, R"({"error":"invalid_password"})", 0x82000006},
        {"409 may want a second factor as well", password, 409,
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED"})", 0x82000012},
        {"429 is the temporary lock", password, 429,
         R"({"status":429,"errorCode":"ACCOUNT_LOCKED_TRY_AGAIN"})", 0x8200000F},
        {"a known status without errorCode is what HTTP tells", password, 503, R"({"status":"404"})",
         0x8000000C},
        {"401 may be a wrong code", secondFactor, 401,
         R"({"status":401,"errorCode":"CODE_VERIFICATION_FAILED"})", 0x82000013},
        {"401 with status 400 in the body", secondFactor, 401,
         R"({"status":"400","errorCode":"CODE_VERIFICATION_FAILED"})", 0x82000013},
        {"401 that says nothing more", secondFactor, 401, "", 0x82000002},
        {"400 never is a wrong code", secondFactor, 400,
         R"({"status":400,"errorCode":"CODE_VERIFICATION_FAILED"})", 0x82000004},
        {"403 never is a second factor again", secondFactor, 403,
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED"})", 0x82000007},
        {"404 of a provider's token wants the sign-up", social, 404,
         R"({"status":404,"errorCode":"SIGN_UP_REQUIRED"})", 0x82000011},
        {"404 of a provider's token alone", social, 404, "", 0x8200000E},
        {"404 of a provider's code never wants it", socialCode, 404,
         R"({"status":404,"errorCode":"SIGN_UP_REQUIRED"})", 0x8200000E},
        {"409 of a provider's code is the linked account", socialCode, 409, R"({"error":"invalid_username"})",
         0x82000009},
        {"403 of a provider's code is a person's other account", socialCode, 403, "", 0x82000008},
        {"403 of a business's code is the blocked account", businessCode, 403, "", 0x82000007},
        {"409 of a business's code has no meaning", businessCode, 409, "", 0x82000004},
        {"204 of a finalisation is good, whatever stands in it", finalize, 204,
         R"({"error":"invalid_username"})", 0},
        {"202 of a finalisation is not", finalize, 202, "", 0x82000004},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ExpectCheck(*row.make(), row.httpCode, row.body, row.expected);
    }
}

TEST(StatusTables, TheRecordHoldsTheBodyOfTheRefusal) {
    const RequestPointer request =
        Make<registry::CustomerAuthorizeRequest<SystemApi>, registry::CustomerAuthorizeParams>();
    ServiceErrorInfo info;
    ServiceErrorInfo* target = &info;
    EXPECT_EQ(request->CheckResponse(
                  403, R"({"title":"T","errorCode":"E","errorArgs":{"challengeToken":"c"}})", &target),
              ResultCode::kEmailUnverifiedOrBlocked);
    EXPECT_EQ(Text(info.title), "T");
    EXPECT_EQ(Text(info.errorCode), "E");
    ASSERT_EQ(info.errorArgs.size(), 1u);
    EXPECT_EQ(Text(info.errorArgs[0].value), "c");
}

TEST(StatusTables, ADefaultOfSuccessIsASuccess) {
    constexpr registry::StatusRow table[] = {
        {registry::kRest, ResultCode::kSuccess, registry::StatusUse::kDecode},
    };
    ServiceErrorInfo info;
    info.title = "former";
    ServiceErrorInfo* target = &info;
    EXPECT_EQ(registry::CheckStatus(table, 404, "{}", &target), ResultCode::kSuccess);
    EXPECT_EQ(Text(info.title), "former");
    EXPECT_EQ(registry::CheckStatus(table, 423, "{}", &target), ResultCode::kLocked);
    EXPECT_EQ(info.httpCode, 423u);
}

}  // namespace
