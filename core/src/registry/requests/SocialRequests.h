// The requests that sign in, or sign up, by way of a social provider.
#pragma once

#include "core/src/registry/requests/CatalogueRequest.h"

namespace registry {

struct AuthorizeViaSocialParams {
    portable_stl::string baseUrl;
    portable_stl::string providerKey;
    portable_stl::string accessToken;  // the provider's; stands in the query
};

/// The access token of a provider, traded for one of the service. Both texts go into the URL as they stand,
/// with no percent-encoding, and the log shows them. Answers with the member accessToken; a refusal may want
/// the sign-up finished first.
template <class Api>
class AuthorizeViaSocialRequest final : public CatalogueRequest<Api> {
public:
    explicit AuthorizeViaSocialRequest(const AuthorizeViaSocialParams& params);
};

/// A code from the provider's browser page.
struct SocialCodeParams {
    portable_stl::string baseUrl;
    portable_stl::string code;
};

/// The code, traded for a person's access token. The log shows the code.
template <class Api>
class AuthorizeViaSocialDesktopRequest final : public CatalogueRequest<Api> {
public:
    explicit AuthorizeViaSocialDesktopRequest(const SocialCodeParams& params);
};

/// The code, traded for the access token of a business. The log shows the code.
template <class Api>
class BusinessAuthorizeViaSocialDesktopRequest final : public CatalogueRequest<Api> {
public:
    explicit BusinessAuthorizeViaSocialDesktopRequest(const SocialCodeParams& params);
};

/// Tells the service that the code's account is to be a business. Answers with nothing.
template <class Api>
class UseDynamicContextRequest final : public CatalogueRequest<Api> {
public:
    explicit UseDynamicContextRequest(const SocialCodeParams& params);
};

struct CustomerRegistrationFinalizeParams {
    portable_stl::string baseUrl;
    portable_stl::string code;         // ignored next to an access token
    portable_stl::string accessToken;  // of the provider; empty for the form with a code
    portable_stl::string providerKey;  // next to an access token
    portable_stl::string cause;        // why the account is made; left out when empty
};

/// Makes the account of a person who came by a provider. Must not take effect twice: send it with an
/// idempotency key. The log shows code and token. Answers with nothing.
template <class Api>
class CustomerRegistrationFinalizeRequest final : public CatalogueRequest<Api> {
public:
    explicit CustomerRegistrationFinalizeRequest(const CustomerRegistrationFinalizeParams& params);
};

struct SocialProvidersListParams {
    portable_stl::string baseUrl;
};

/// The providers. Answers with an array of objects with a member key.
template <class Api>
class SocialProvidersListRequest final : public CatalogueRequest<Api> {
public:
    explicit SocialProvidersListRequest(const SocialProvidersListParams& params);
};

}  // namespace registry
