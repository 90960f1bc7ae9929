#include "core/src/system/LogOutlets.h"

namespace quillmarkclient_core {

LogOutlets& ProcessLogOutlets() noexcept {
    static LogOutlets outlets;
    return outlets;
}

ResultCode ReportError(ResultCode code, const char* sourceFile, std::uint32_t line) {
    if (const auto outlet = ProcessLogOutlets().error; outlet)
        outlet(static_cast<std::uint32_t>(code), GetErrorText(code), sourceFile, line);
    return code;
}

}  // namespace quillmarkclient_core
