#pragma once

#include "core/src/registry/requests/CatalogueRequest.h"

namespace quillmarkclient_core {

struct CreatePrincipalAdminParams {
    portable_stl::string baseUrl;
    portable_stl::string name;
    portable_stl::string email;
    portable_stl::string password;
    portable_stl::string description;
};

/// A new principal administrator. The log hides the body. Answers with the account, alone or in an array.
template <class Api>
class CreatePrincipalAdminRequest final : public registry::CatalogueRequest<Api> {
public:
    explicit CreatePrincipalAdminRequest(const CreatePrincipalAdminParams& params);
};

}  // namespace quillmarkclient_core
