// A customer who comes by a social provider: the requests, and short ways to make him come.
#pragma once

#include "tests/core/registry/CustomerSignInFixture.h"

namespace test {

inline constexpr char kSocialTokenPath[] = "GET /api/registry/v2/oauth/sign-in/acme?access_token=pt-1";
inline constexpr char kSocialCodePath[] = "POST /api/customer/registry/v2/tokens/external";
inline constexpr char kSignUpByTokenPath[] =
    "POST /api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_EXTERNAL_ACCESS_TOKEN";
inline constexpr char kSignUpByCodePath[] = "POST /api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH";

inline constexpr char kSignUpRequired[] = R"({"status":404,"errorCode":"SIGN_UP_REQUIRED"})";

class SocialSignInFixture : public CustomerSignInFixture {
protected:
    ResultCode ByToken(const char* cause = "trial") {
        return client.AuthorizeSocialToken("acme", "pt-1", cause, &errorInfo, context);
    }
    ResultCode ByCode(std::uint32_t flow, const char* cause = "trial") {
        return client.AuthorizeSocialCode("c-1", flow, cause, &errorInfo, context);
    }
};

}  // namespace test
