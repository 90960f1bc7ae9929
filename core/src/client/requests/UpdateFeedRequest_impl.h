#pragma once

#include "core/src/client/requests/UpdateFeedRequest.h"

namespace quillmarkclient_core {

namespace update_feed_detail {

inline constexpr registry::HeaderRow kHeaderRows[] = {
    {"Accept", "application/xml"},
    registry::kNoCache,
};

inline constexpr registry::StatusRow kStatuses[] = {
    {200, ResultCode::kSuccess, registry::StatusUse::kTake},
    {400, ResultCode::kFeedInvalid, registry::StatusUse::kTake},
    {404, ResultCode::kNoUpdate, registry::StatusUse::kTake},
    {registry::kRest, ResultCode::kFeedUnavailable, registry::StatusUse::kTake},
};

inline constexpr registry::RequestRow kRow = {
    .method = registry::kGet,
    .endpointBase = "",
    .path = "/feeds/",
    .headers = {kHeaderRows, 2},
    .logName = "\"Get Product Update Info\" request.",
    .statuses = kStatuses,
};

}  // namespace update_feed_detail

template <class Api>
GetProductUpdateInfoRequest<Api>::GetProductUpdateInfoRequest(const GetProductUpdateInfoParams& params)
    : registry::CatalogueRequest<Api>(update_feed_detail::kRow, params.baseUrl) {
    this->url += params.feedName + "/rss";
    this->Finish();
}

}  // namespace quillmarkclient_core
