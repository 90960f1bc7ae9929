#include "platform/linux/HttpRedirect.h"

#include <algorithm>
#include <utility>

#include "platform/linux/HttpHeaders.h"

namespace quillmarkclient_linux {
namespace {

enum class MethodRule { kPostBecomesGet, kAllButHeadBecomeGet, kStays };

struct RedirectRow {
    std::uint32_t status;
    MethodRule rule;
};

constexpr RedirectRow kRedirects[] = {
    {301, MethodRule::kPostBecomesGet},
    {302, MethodRule::kPostBecomesGet},
    {303, MethodRule::kAllButHeadBecomeGet},
    {307, MethodRule::kStays},
    {308, MethodRule::kStays},
};

bool BecomesGet(MethodRule rule, const std::string& method) {
    switch (rule) {
        case MethodRule::kPostBecomesGet:
            return method == "POST";
        case MethodRule::kAllButHeadBecomeGet:
            return method != "HEAD";
        case MethodRule::kStays:
            break;
    }
    return false;
}

}  // namespace

std::optional<HttpRedirect> FindRedirect(const std::string& method, const HttpUrl& url, std::uint32_t status,
                                         std::string_view head) {
    const auto* row = std::find_if(std::begin(kRedirects), std::end(kRedirects),
                                   [&](const RedirectRow& candidate) { return candidate.status == status; });
    if (row == std::end(kRedirects))
        return std::nullopt;
    const auto locations = FindHeaders(head, "Location");
    if (locations.empty() || locations.front().empty())
        return std::nullopt;
    auto target = ResolveLocation(url, locations.front());
    if (!target || (url.secure && !target->secure))
        return std::nullopt;
    const bool becomesGet = BecomesGet(row->rule, method);
    return HttpRedirect{std::move(*target), becomesGet ? "GET" : method, !becomesGet};
}

}  // namespace quillmarkclient_linux
