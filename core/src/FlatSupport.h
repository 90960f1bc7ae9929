#pragma once

#include <cstdint>

#include "core/src/ClientContext.h"
#include "core/src/ResultCode.h"
#include "core/src/system/LogOutlets.h"

// What the files of the flat operations share. Private to them.
namespace quillmarkclient {

/// Reports `code` as the flat operations do, with the line of the caller, and returns it.
inline ResultCode Report(ResultCode code, std::uint32_t line = static_cast<std::uint32_t>(__builtin_LINE())) {
    return quillmarkclient_core::ReportError(code, "core/src/quillmarkclient", line);
}

/// Whether the handle has what a sign-in needs: the session, its error record, the core for the token files.
inline bool HasSession(const ClientContext* context) {
    return context != nullptr && context->registryClient && context->lastServiceError && context->core;
}

/// Whether the handle has what the features need.
inline bool HasCore(const ClientContext* context) {
    return context != nullptr && context->core;
}

inline bool IsEmpty(const char* text) {
    return text == nullptr || *text == '\0';
}

}  // namespace quillmarkclient
