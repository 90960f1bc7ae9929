// The request for identity records: what lets a session outlive its access token.
#pragma once

#include "core/src/registry/requests/CatalogueRequest.h"

namespace registry {

/// What marks this library's record among the identity records of a user. Compared in any ASCII case.
inline constexpr char kIdentityName[] = "VQM_Identity";
inline constexpr char kIdentityType[] = "VQM_Access";
inline constexpr char kIdentityRole[] = "Regular";

enum class IdentityRequestMode : std::uint32_t {
    kGetRecords = 1,    // answers with an array of records
    kGetToken = 2,      // answers with the secret of one record, as plain text
    kCreateRecord = 3,  // answers with the new record
};

struct IdentityRight {
    portable_stl::string space;
    portable_stl::string role;  // "user", "manager" or "owner"
};

struct IdentityRequestParams {
    portable_stl::string baseUrl;
    portable_stl::string identityId;             // of kGetToken
    portable_stl::string name;                   // of kCreateRecord; empty for the usual name
    portable_stl::string tokenExpiration;        // of kGetToken; empty for the service's default
    portable_stl::vector<IdentityRight> rights;  // of kCreateRecord; may be empty
};

/// One of three operations. A mode without an operation leaves a request that has no URL, is not logged and
/// whose every answer is kInternalServiceError.
template <class Api>
class IdentityRequest final : public CatalogueRequest<Api> {
public:
    IdentityRequest(const IdentityRequestParams& params, IdentityRequestMode requestMode);
    [[nodiscard]] portable_stl::string GetMethod() const override;

    portable_stl::string method;
    IdentityRequestMode mode;

private:
    void FinishRecord(const IdentityRequestParams& params);
};

}  // namespace registry
