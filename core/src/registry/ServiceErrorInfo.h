#pragma once

#include <cstdint>

#include "portable_stl/string.h"
#include "portable_stl/vector.h"

namespace registry {

/// A name and its value: a request header, or one argument of a service error.
struct NameValue {
    portable_stl::string name;
    portable_stl::string value;
};

/// The detail of the service's last refusal, as its error body told it.
struct ServiceErrorInfo {
    std::uint32_t resultCode = 0;  // the code that the request chose; 0: there was no refusal
    std::uint32_t httpCode = 0;
    portable_stl::string type;
    portable_stl::string title;
    portable_stl::string status;
    portable_stl::string detail;
    portable_stl::string reason;
    portable_stl::string errorCode;
    portable_stl::string traceId;
    portable_stl::vector<NameValue> errorArgs;  // in the order of the body
};

}  // namespace registry
