#include "core/src/system/LogOutlets.h"

namespace quillmarkclient_core {

LogOutlets& ProcessLogOutlets() noexcept {
    static LogOutlets outlets;
    return outlets;
}

ResultCode ReportError(ResultCode code, const char* sourceFile, std::uint32_t line) {
    ReportErrorText(code, GetErrorText(code), sourceFile, line);
    return code;
}

void ReportErrorText(ResultCode code, const char* message, const char* sourceFile, std::uint32_t line) {
    if (const auto outlet = ProcessLogOutlets().error; outlet)
        outlet(static_cast<std::uint32_t>(code), message, sourceFile, line);
}

}  // namespace quillmarkclient_core
