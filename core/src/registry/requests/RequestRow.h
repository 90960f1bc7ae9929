// What sets a request apart, as far as it is constant: one row a request.
#pragma once

#include <cstddef>

#include "core/src/registry/Endpoints.h"
#include "core/src/registry/StatusTables.h"

namespace registry {

struct HeaderRow {
    const char* name;
    const char* value;
};

// A request's own headers in their order on the wire. Those that identify the client and the session are
// added when the request is sent.
struct HeaderSet {
    const HeaderRow* rows;
    std::size_t count;
};

inline constexpr HeaderRow kAcceptJson = {"Accept", "application/json"};
inline constexpr HeaderRow kAcceptText = {"Accept", "text/plain"};
inline constexpr HeaderRow kNoCache = {"Cache-Control", "no-cache"};
inline constexpr HeaderRow kJsonContent = {"Content-Type", "application/json;charset=UTF-8"};

inline constexpr HeaderRow kStandardHeaderRows[] = {kAcceptJson, kNoCache, kJsonContent};
inline constexpr HeaderRow kNoCacheRows[] = {kNoCache};
inline constexpr HeaderRow kIdentityJsonRows[] = {kNoCache, kJsonContent, kAcceptJson};
inline constexpr HeaderRow kIdentityTextRows[] = {kNoCache, kJsonContent, kAcceptText};

inline constexpr HeaderSet kStandardHeaders = {kStandardHeaderRows, 3};
inline constexpr HeaderSet kNoCacheHeaders = {kNoCacheRows, 1};
inline constexpr HeaderSet kIdentityJsonHeaders = {kIdentityJsonRows, 3};
inline constexpr HeaderSet kIdentityTextHeaders = {kIdentityTextRows, 3};
// The first two of kIdentityJsonRows: which "Accept" is due, only a mode could tell.
inline constexpr HeaderSet kIdentityBareHeaders = {kIdentityJsonRows, 2};

inline constexpr char kGet[] = "GET";
inline constexpr char kPost[] = "POST";

// What the log shows in place of a body with secrets.
inline constexpr char kHiddenLogin[] = "\tbody: {\"login\": \"***\", \"password\": \"***\"}\n";
inline constexpr char kHiddenSecondFactor[] = "\tbody: {\"challengeToken\": \"***\", \"code\": \"***\"}\n";
inline constexpr char kHiddenEmail[] = "\tbody: {\"email\": \"***\", \"password\": \"***\"}\n";

struct RequestRow {
    const char* method;
    const char* endpointBase;
    const char* path;  // behind the base; a request with values in its path or query appends them
    HeaderSet headers;
    const char* logName;
    const char* hiddenBodyLine = nullptr;  // null: the log has the body as it stands
    const char* notSerialised = nullptr;   // logged when the body could not be written; null: nothing is
    const StatusRow* statuses;
};

}  // namespace registry
