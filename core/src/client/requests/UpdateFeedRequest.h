#pragma once

#include "core/src/registry/requests/CatalogueRequest.h"

namespace quillmarkclient_core {

struct GetProductUpdateInfoParams {
    portable_stl::string baseUrl;
    portable_stl::string feedName;  // goes into the URL as it stands
};

/// A product's update feed. Answers with an RSS document.
template <class Api>
class GetProductUpdateInfoRequest final : public registry::CatalogueRequest<Api> {
public:
    explicit GetProductUpdateInfoRequest(const GetProductUpdateInfoParams& params);
};

}  // namespace quillmarkclient_core
