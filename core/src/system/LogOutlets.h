#pragma once

#include <cstdint>

#include "core/src/ResultCode.h"

namespace quillmarkclient_core {

/// printf-like: progress and soft failures. Called on the thread of the operation, under the client's mutex:
/// it must not call back into the client.
using TraceOutlet [[gnu::format(printf, 1, 2)]] = void (*)(const char* format, ...);

/// Told of a failure where it arises: the code, its text, the source that reports (a fixed text such as
/// "core/src/client/Client") and the line there. For backup metadata the text is the service's own answer, if
/// there is one, and an answer that speaks of an error comes under code 0. Threads as TraceOutlet.
using ErrorOutlet = void (*)(std::uint32_t code, const char* message, const char* sourceFile,
                             std::uint32_t line);

// The two log outlets of the process, both optional. Unguarded: set before a second thread works.
struct LogOutlets {
    TraceOutlet trace = nullptr;
    ErrorOutlet error = nullptr;
};
[[nodiscard]] LogOutlets& ProcessLogOutlets() noexcept;

// Writes to the trace outlet; silent when none is set. Data always goes in as an argument, never as the
// format:
//   QUILLMARK_TRACE("%s", text.c_str());
#define QUILLMARK_TRACE(...)                                       \
    do {                                                           \
        if (const ::quillmarkclient_core::TraceOutlet outlet =     \
                ::quillmarkclient_core::ProcessLogOutlets().trace; \
            outlet)                                                \
            outlet(__VA_ARGS__);                                   \
    } while (false)

// Tells the error outlet of `code` and returns it, so that a failing operation can end with it. `line` is the
// caller's __LINE__.
ResultCode ReportError(ResultCode code, const char* sourceFile, std::uint32_t line);

// The same with a message of the caller's in place of the code's text.
void ReportErrorText(ResultCode code, const char* message, const char* sourceFile, std::uint32_t line);

}  // namespace quillmarkclient_core
