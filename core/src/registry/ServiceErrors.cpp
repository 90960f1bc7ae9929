#include "core/src/registry/ServiceErrors.h"

#include "core/src/json/Json.h"

namespace registry {
namespace {

// Values of the member `error` that mean a refused login.
constexpr const char* kLoginErrors[] = {
    "invalid_username",
    "invalid_password",
    "unauthorized_client",
    "invalid_identity_id",
};

// The members `status` and `errorCode` of the body together.
constexpr struct {
    const char* status;
    const char* errorCode;
    ResultCode code;
} kBodyRules[] = {
    {"429", "ACCOUNT_LOCKED_TRY_AGAIN", ResultCode::kTemporarilyLocked},
    {"403", "2FA_TOTP_REQUIRED", ResultCode::kSecondFactorRequired},
    {"404", "SIGN_UP_REQUIRED", ResultCode::kSignUpNotFinalized},
    {"401", "CODE_VERIFICATION_FAILED", ResultCode::kInvalidVerificationCode},
    {"400", "CODE_VERIFICATION_FAILED", ResultCode::kInvalidVerificationCode},
};

// What an HTTP status means when the body says nothing.
constexpr struct {
    std::uint32_t httpCode;
    ResultCode code;
} kStatusRules[] = {
    {423, ResultCode::kLocked},
    {429, ResultCode::kTooManyRequests},
    {503, ResultCode::kServiceMaintenance},
};

constexpr struct {
    const char* name;
    portable_stl::string ServiceErrorInfo::*field;
} kInfoFields[] = {
    {"type", &ServiceErrorInfo::type},       {"title", &ServiceErrorInfo::title},
    {"status", &ServiceErrorInfo::status},   {"detail", &ServiceErrorInfo::detail},
    {"Reason", &ServiceErrorInfo::reason},   {"ErrorCode", &ServiceErrorInfo::errorCode},
    {"traceId", &ServiceErrorInfo::traceId},
};

// kSuccess when the body has nothing to say.
ResultCode DecodeBody(const json::JsonNode& root) {
    if (const json::JsonNode* const error = json::FindChild(root, "error"); error != nullptr) {
        for (const char* const value : kLoginErrors) {
            if (error->value == value)
                return ResultCode::kInvalidLoginOrPassword;
        }
    }
    const json::JsonNode* const status = json::FindChild(root, "status");
    const json::JsonNode* const errorCode = json::FindChild(root, "errorCode");
    if (status == nullptr || errorCode == nullptr)
        return ResultCode::kSuccess;
    for (const auto& rule : kBodyRules) {
        if (status->value == rule.status && errorCode->value == rule.errorCode)
            return rule.code;
    }
    return ResultCode::kSuccess;
}

}  // namespace

ResultCode DecodeServiceError(std::uint32_t httpCode, const portable_stl::string& responseBody,
                              ResultCode defaultCode) {
    json::JsonNode root;
    if (json::ParseJson(responseBody, root)) {
        if (const auto code = DecodeBody(root); !IsSuccess(code))
            return code;
    }
    for (const auto& rule : kStatusRules) {
        if (rule.httpCode == httpCode)
            return rule.code;
    }
    return defaultCode;
}

ResultCode FillServiceErrorInfo(ServiceErrorInfo& errorInfo, ResultCode resultCode, std::uint32_t httpCode,
                                const portable_stl::string& responseBody) {
    errorInfo = ServiceErrorInfo();
    if (resultCode == ResultCode::kSuccess)
        return ResultCode::kSuccess;
    errorInfo.resultCode = static_cast<std::uint32_t>(resultCode);
    errorInfo.httpCode = httpCode;
    if (responseBody.empty())
        return ResultCode::kSuccess;

    json::JsonNode root;
    if (!json::ParseJson(responseBody, root))
        return ResultCode::kInternalError;
    for (const auto& row : kInfoFields) {
        if (const json::JsonNode* const member = json::FindChild(root, row.name); member != nullptr)
            errorInfo.*row.field = member->value;
    }
    if (const json::JsonNode* const arguments = json::FindChild(root, "errorArgs"); arguments != nullptr) {
        errorInfo.errorArgs.reserve(arguments->children.size()).value();
        for (const json::JsonNode& argument : arguments->children)
            errorInfo.errorArgs.push_back(NameValue{argument.key, argument.value}).value();
    }
    return ResultCode::kSuccess;
}

}  // namespace registry
