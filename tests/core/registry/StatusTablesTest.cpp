#include "core/src/registry/StatusTables.h"

#include <functional>

#include "core/src/registry/requests/ContextRequests.h"
#include "core/src/registry/requests/IdentityRequest.h"
#include "core/src/registry/requests/InformationRequests.h"
#include "core/src/registry/requests/SignInRequests.h"
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

template <std::uint32_t mode>
RequestPointer MakeIdentity() {
    return portable_stl::make_unique<registry::IdentityRequest<SystemApi>>(
        registry::IdentityRequestParams{}, static_cast<IdentityRequestMode>(mode));
}

// A cell is a code, "ok", or "rest". A star behind a code: the body is asked first.
constexpr std::uint32_t kColumns[] = {200, 400, 401, 403, 404, 409, 500, 503};
struct TableRow {
    const char* request;
    RequestPointer (*make)();
    std::string cells[8];
};
const TableRow kTable[] = {
    {"CustomerAuthorizeRequest",
     &Make<registry::CustomerAuthorizeRequest<SystemApi>, registry::CustomerAuthorizeParams>,
     {"ok", "82000004", "82000006", "82000007*", "8200000E", "rest", "82000003", "rest"}},
    {"CustomerAuthorize2FARequest",
     &Make<registry::CustomerAuthorize2FARequest<SystemApi>, registry::CustomerAuthorize2FAParams>,
     {"ok", "82000004", "82000002*", "82000007", "8200000E", "rest", "82000003", "rest"}},
    {"AuthorizeViaIdentityRequest",
     &Make<registry::AuthorizeViaIdentityRequest<SystemApi>, registry::AuthorizeViaIdentityParams>,
     {"ok", "82000004", "82000002", "82000002", "8200000E", "rest", "82000003", "rest"}},
    {"CustomerContextRequest",
     &Make<registry::CustomerContextRequest<SystemApi>, registry::CustomerContextParams>,
     {"ok", "82000004", "82000002", "82000007", "82000005", "rest", "82000003", "rest"}},
    {"CustomerTrustTokenRequest",
     &Make<registry::CustomerTrustTokenRequest<SystemApi>, registry::CustomerTrustTokenParams>,
     {"ok", "82000004", "82000002", "82000002", "8200000E", "rest", "82000003", "rest"}},
    {"TrusteeTrustsRequest",
     &Make<registry::TrusteeTrustsRequest<SystemApi>, registry::TrusteeTrustsParams>,
     {"ok", "82000004", "82000002", "82000007", "82000005", "rest", "82000003", "rest"}},
    {"GetCustomerInfoRequest",
     &Make<registry::GetCustomerInfoRequest<SystemApi>, registry::GetCustomerInfoParams>,
     {"ok", "rest", "82000002", "rest", "82000005", "rest", "rest", "rest"}},
    {"IdentityRequest, get records",
     &MakeIdentity<1>,
     {"ok", "rest", "82000002", "rest", "rest", "rest", "82000003", "8000000C"}},
    {"IdentityRequest, get token",
     &MakeIdentity<2>,
     {"ok", "rest", "82000002", "82000002", "82000002", "rest", "82000003", "8000000C"}},
    {"IdentityRequest, create record",
     &MakeIdentity<3>,
     {"ok", "82000004", "82000002", "rest", "82000005", "82000005", "82000003", "rest"}},
    {"IdentityRequest, mode 0",
     &MakeIdentity<0>,
     {"82000003", "82000003", "82000003", "82000003", "82000003", "82000003", "82000003", "82000003"}},
    {"IdentityRequest, mode 4",
     &MakeIdentity<4>,
     {"82000003", "82000003", "82000003", "82000003", "82000003", "82000003", "82000003", "82000003"}},
    {"IdentityRequest, the largest mode",
     &MakeIdentity<0xFFFFFFFF>,
     {"82000003", "82000003", "82000003", "82000003", "82000003", "82000003", "82000003", "82000003"}},
};

bool AsksTheBody(const std::string& cell) {
    return cell == "rest" || cell.back() == '*';
}

std::uint32_t CodeOf(const std::string& cell, std::uint32_t httpCode) {
    if (cell == "ok")
        return 0;
    if (cell == "rest")
        return httpCode == 503 ? 0x8000000C : 0x82000004;
    return static_cast<std::uint32_t>(std::stoul(cell, nullptr, 16));
}

// The result, with a look at what became of the record.
void ExpectCheck(const TableRow& row, std::uint32_t httpCode, const std::string& body,
                 std::uint32_t expected) {
    SCOPED_TRACE(std::string(row.request) + ", status " + std::to_string(httpCode) + ", body " + body);
    const RequestPointer request = row.make();
    ServiceErrorInfo info;
    info.title = "former";
    ServiceErrorInfo* target = &info;
    EXPECT_EQ(request->CheckResponse(httpCode, Text(body), &target), Code(expected));
    EXPECT_EQ(target, &info);
    EXPECT_EQ(info.resultCode, expected);
    EXPECT_EQ(info.httpCode, expected == 0 ? 0 : httpCode);
    EXPECT_EQ(Text(info.title), expected == 0 ? "former" : "") << "a success touches nothing";

    ServiceErrorInfo* none = nullptr;
    EXPECT_EQ(request->CheckResponse(httpCode, Text(body), &none), Code(expected)) << "no record";
}

TEST(StatusTables, EveryCellWithoutABody) {
    for (const TableRow& row : kTable) {
        for (std::size_t column = 0; column < std::size(kColumns); ++column)
            ExpectCheck(row, kColumns[column], "", CodeOf(row.cells[column], kColumns[column]));
    }
}

TEST(StatusTables, EveryCellWithABodyThatTheDecoderKnows) {
    for (const TableRow& row : kTable) {
        for (std::size_t column = 0; column < std::size(kColumns); ++column) {
            const std::string& cell = row.cells[column];
            ExpectCheck(row, kColumns[column], R"({"error":"invalid_username"})",
                        AsksTheBody(cell) ? 0x82000006 : CodeOf(cell, kColumns[column]));
        }
    }
}

TEST(StatusTables, StatusesThatNoTableNames) {
    const struct {
        std::uint32_t httpCode;
        std::uint32_t expected;
    } columns[] = {
        {0, 0x82000004},   {100, 0x82000004}, {201, 0x82000004}, {204, 0x82000004},        {302, 0x82000004},
        {402, 0x82000004}, {418, 0x82000004}, {423, 0x82000010}, {429, 0x8200000D},        {501, 0x82000004},
        {502, 0x82000004}, {504, 0x82000004}, {999, 0x82000004}, {4294967295, 0x82000004},
    };
    for (const TableRow& row : kTable) {
        const bool isUnknownMode = row.cells[0] != "ok";
        for (const auto& column : columns) {
            ExpectCheck(row, column.httpCode, "", isUnknownMode ? 0x82000003 : column.expected);
            ExpectCheck(row, column.httpCode, R"({"error":"unauthorized_client"})",
                        isUnknownMode ? 0x82000003 : 0x82000006);
        }
    }
}

TEST(StatusTables, RowsThatHaveAStory) {
    enum : std::size_t { kPassword = 0, kSecondFactor = 1 };
    const struct {
        const char* name;
        std::size_t request;
        std::uint32_t httpCode;
        const char* body;
        std::uint32_t expected;
    } rows[] = {
        {"403 wants a second factor", kPassword, 403, R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED"})",
         0x82000012},
        {"403 with the name in another case", kPassword, 403,
         R"({"status":403,"ERRORCODE":"2FA_TOTP_REQUIRED"})", 0x82000012},
        {"403 with an empty body is the blocked account", kPassword, 403, "", 0x82000007},
        {"403 with another errorCode is the blocked account", kPassword, 403,
         R"({"status":403,"errorCode":"OTHER"})", 0x82000007},
        {"401 is the password, whatever the body says", kPassword, 401,
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED"})", 0x82000006},
        {"401 with error", kPassword, 401, R"({"error":"invalid_password"})", 0x82000006},
        {"409 may want a second factor as well", kPassword, 409,
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED"})", 0x82000012},
        {"429 is the temporary lock", kPassword, 429,
         R"({"status":429,"errorCode":"ACCOUNT_LOCKED_TRY_AGAIN"})", 0x8200000F},
        {"401 may be a wrong code", kSecondFactor, 401,
         R"({"status":401,"errorCode":"CODE_VERIFICATION_FAILED"})", 0x82000013},
        {"401 with status 400 in the body", kSecondFactor, 401,
         R"({"status":"400","errorCode":"CODE_VERIFICATION_FAILED"})", 0x82000013},
        {"400 never is a wrong code", kSecondFactor, 400,
         R"({"status":400,"errorCode":"CODE_VERIFICATION_FAILED"})", 0x82000004},
        {"403 never is a second factor again", kSecondFactor, 403,
         R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED"})", 0x82000007},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ExpectCheck(kTable[row.request], row.httpCode, row.body, row.expected);
    }
}

TEST(StatusTables, TheRecordHoldsTheBodyOfTheRefusal) {
    const RequestPointer request = kTable[0].make();
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
