// The table that says which endpoints the service has, and what a handler is given.
//
// A row names the method, the path, who may call and what the body must be; Dispatch checks all of that
// before the handler runs. A family of endpoints is one file with its handlers and its rows; a new family
// adds its rows to the list in Dispatch.cpp.
#pragma once

#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/sandbox/Http.h"
#include "tools/sandbox/ServiceState.h"

namespace sandbox {

using Json = nlohmann::ordered_json;

enum class Access {
    open,          // anybody
    openOrBearer,  // anybody, but an access token that is sent must be good
    bearer,        // an access token that is still good
    customer,      // one of a customer
    identity,      // one of a customer or a business: these may own identity records
    administrator,
};

enum class BodyRule {
    none,  // a body is refused
    json,  // a JSON object under its Content-Type
    jsonArray,
};

struct Call {
    const Request& request;
    NamedValues query;
    std::vector<std::string> parameters;  // what stood in the place of each {} of the pattern
    Json body;                            // an object or an array if the row asks for one
    AccountRecord* account = nullptr;     // the bearer, if one was asked for or sent
};

struct Route {
    std::string_view method;
    std::string_view pattern;  // segments; "{}" stands for one segment that is not empty
    Access access;
    BodyRule body;
    std::string_view produces;  // content type of a success
    Answer (*handle)(ServiceState& state, const Call& call);
};

[[nodiscard]] std::span<const Route> signInRoutes();
[[nodiscard]] std::span<const Route> contextRoutes();
[[nodiscard]] std::span<const Route> userRoutes();
[[nodiscard]] std::span<const Route> identityRoutes();
[[nodiscard]] std::span<const Route> businessRoutes();
[[nodiscard]] std::span<const Route> socialRoutes();
[[nodiscard]] std::span<const Route> signUpRoutes();
[[nodiscard]] std::span<const Route> feedRoutes();
[[nodiscard]] std::span<const Route> ticketRoutes();
[[nodiscard]] std::span<const Route> metadataRoutes();
[[nodiscard]] std::span<const Route> administratorRoutes();

// True if `path` fits `pattern`; `parameters` gets the segments behind each "{}".
[[nodiscard]] bool matchPath(std::string_view pattern, std::string_view path,
                             std::vector<std::string>& parameters);

[[nodiscard]] Answer success(const Json& body);
[[nodiscard]] Answer noContent();

// The error body of the service: type, title, status, detail, traceId, and errorCode where one is given.
[[nodiscard]] Answer refusal(int status, const std::string& detail, const std::string& errorCode = {},
                             const Json& errorArgs = nullptr);

// Reads the members of a body that must be exactly these, each a string that is not empty. Says what is wrong
// with it, or nothing.
[[nodiscard]] std::string readStrings(const Json& body,
                                      std::initializer_list<std::pair<const char*, std::string*>> members,
                                      std::initializer_list<std::string_view> others = {});

}  // namespace sandbox
