// The control paths of update feeds, tickets and backup metadata. Any thread.
#pragma once

#include <span>
#include <string_view>

#include "tools/sandbox/Control.h"

namespace sandbox {

struct ControlRoute {
    std::string_view method;
    std::string_view path;
    Answer (*handle)(const Controlled& controlled, const Request& request);
};

[[nodiscard]] std::span<const ControlRoute> featureControlRoutes();

}  // namespace sandbox
