#pragma once

#include "core/src/registry/requests/CatalogueRequest.h"

namespace backupmetadata {

struct SendBrxMfeInfoParams {
    portable_stl::string baseUrl;
    portable_stl::string document;
};

/// The finished metadata document, for the service's webhook.
template <class Api>
class SendBrxMfeInfoRequest final : public registry::CatalogueRequest<Api> {
public:
    explicit SendBrxMfeInfoRequest(const SendBrxMfeInfoParams& params);
};

}  // namespace backupmetadata
