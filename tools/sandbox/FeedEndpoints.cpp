// The update feeds, open to everybody.

#include "tools/sandbox/Routes.h"

namespace sandbox {
namespace {

Answer showFeed(ServiceState& state, const Call& call) {
    auto document = state.feeds().documentOf(call.parameters.front());
    if (!document)
        return refusal(404, "There is no such feed.");
    Answer answer;
    answer.contentType = "application/xml;charset=UTF-8";
    answer.body = std::move(*document);
    return answer;
}

constexpr Route kRoutes[] = {
    {"GET", "/feeds/{}/rss", Access::openOrBearer, BodyRule::none, "application/xml", showFeed},
};

}  // namespace

std::span<const Route> feedRoutes() {
    return kRoutes;
}

}  // namespace sandbox
