// The requests that trade something a person knows, or a stored secret, for an access token. Each answers
// with the member accessToken.
#pragma once

#include "core/src/registry/requests/CatalogueRequest.h"

namespace registry {

struct CustomerAuthorizeParams {
    portable_stl::string baseUrl;
    portable_stl::string login;
    portable_stl::string password;
};

/// Login and password. The log hides the body. A refusal may want a second factor.
template <class Api>
class CustomerAuthorizeRequest final : public CatalogueRequest<Api> {
public:
    explicit CustomerAuthorizeRequest(const CustomerAuthorizeParams& params);
};

struct CustomerAuthorize2FAParams {
    portable_stl::string baseUrl;
    portable_stl::string challengeToken;
    portable_stl::string code;
};

/// The second factor: the service's challenge and the person's code. The log hides the body.
template <class Api>
class CustomerAuthorize2FARequest final : public CatalogueRequest<Api> {
public:
    explicit CustomerAuthorize2FARequest(const CustomerAuthorize2FAParams& params);
};

struct BusinessAuthorizeParams {
    portable_stl::string baseUrl;
    portable_stl::string login;
    portable_stl::string password;
};

/// Login and password of a business. The log hides the body.
template <class Api>
class BusinessAuthorizeRequest final : public CatalogueRequest<Api> {
public:
    explicit BusinessAuthorizeRequest(const BusinessAuthorizeParams& params);
};

struct PrincipalAdminAuthorizeParams {
    portable_stl::string baseUrl;
    portable_stl::string email;
    portable_stl::string password;
};

/// E-mail address and password of a principal administrator. The log hides the body.
template <class Api>
class PrincipalAdminAuthorizeRequest final : public CatalogueRequest<Api> {
public:
    explicit PrincipalAdminAuthorizeRequest(const PrincipalAdminAuthorizeParams& params);
};

struct AuthorizeViaIdentityParams {
    portable_stl::string baseUrl;
    portable_stl::string secretKey;
    bool isBusiness = false;  // selects the endpoint
};

/// The secret of an identity record. The log shows the body, the secret included.
template <class Api>
class AuthorizeViaIdentityRequest final : public CatalogueRequest<Api> {
public:
    explicit AuthorizeViaIdentityRequest(const AuthorizeViaIdentityParams& params);
};

}  // namespace registry
