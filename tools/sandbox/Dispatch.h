// From a request to its answer: finds the row of the table of routes, checks what the row asks for, runs it.
#pragma once

#include "tools/sandbox/Http.h"
#include "tools/sandbox/ServiceState.h"

namespace sandbox {

[[nodiscard]] Answer dispatch(ServiceState& state, const Request& request);

}  // namespace sandbox
