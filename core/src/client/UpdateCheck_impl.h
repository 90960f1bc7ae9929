// The update check: which feed is asked, and in which language.
#pragma once

#include "core/src/client/Client_impl.h"
#include "core/src/client/requests/UpdateFeedRequest_impl.h"
#include "core/src/registry/SendAndCheck.h"

namespace quillmarkclient_core {

template <class SystemApiType>
ResultCode Client<SystemApiType>::GetProductUpdateInfo(const portable_stl::string& feedName,
                                                       const portable_stl::string& feedVariant,
                                                       const portable_stl::string& currentVersion,
                                                       const portable_stl::string& language,
                                                       ProductUpdateInfo& result,
                                                       registry::ServiceErrorInfo* errorInfo, void* context) {
    if (registryClient == nullptr)
        return client_detail::Fail(ResultCode::kInternalError);
    result = ProductUpdateInfo();
    const portable_stl::string english = "en";
    const portable_stl::string first = LowerCase(language);

    portable_stl::string feed;
    auto code = FetchFeed(FeedName(feedName, feedVariant, first), feed, errorInfo, context);
    if (code == ResultCode::kNoUpdate && first != english)
        code = FetchFeed(FeedName(feedName, feedVariant, english), feed, errorInfo, context);
    if (IsSuccess(code))
        code = ChooseUpdate(feed, currentVersion, result);
    return client_detail::Ended(code);
}

template <class SystemApiType>
ResultCode Client<SystemApiType>::FetchFeed(const portable_stl::string& feedName, portable_stl::string& feed,
                                            registry::ServiceErrorInfo* errorInfo, void* context) {
    portable_stl::unique_ptr<registry::Request<Api>> request =
        portable_stl::make_unique<GetProductUpdateInfoRequest<Api>>(
            GetProductUpdateInfoParams{serviceUrl, feedName});
    feed.clear();
    return registry::SendAndCheck(*registryClient, request, feed, errorInfo, context);
}

}  // namespace quillmarkclient_core
