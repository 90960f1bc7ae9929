// The requests that choose the context of a signed-in person: which there are, and a token for one of them.
#pragma once

#include "core/src/registry/requests/CatalogueRequest.h"

namespace registry {

struct CustomerContextParams {
    portable_stl::string baseUrl;
};

/// A token for the customer's own context. Answers with the member accessToken.
template <class Api>
class CustomerContextRequest final : public CatalogueRequest<Api> {
public:
    explicit CustomerContextRequest(const CustomerContextParams& params);
};

struct CustomerTrustTokenParams {
    portable_stl::string baseUrl;
    portable_stl::string trustorId;
};

/// A token for a trustor's context. Answers with the member accessToken.
template <class Api>
class CustomerTrustTokenRequest final : public CatalogueRequest<Api> {
public:
    explicit CustomerTrustTokenRequest(const CustomerTrustTokenParams& params);
};

struct TrusteeTrustsParams {
    portable_stl::string baseUrl;
    portable_stl::string level = "Customer";
    bool withDetails = true;
    bool withRights = false;
};

/// The trusts in which the customer is the trustee. Answers with an array of trusts.
template <class Api>
class TrusteeTrustsRequest final : public CatalogueRequest<Api> {
public:
    explicit TrusteeTrustsRequest(const TrusteeTrustsParams& params);
};

}  // namespace registry
