#include "tools/sandbox/Control.h"

#include <map>
#include <set>

#include "tools/sandbox/FeatureControl.h"
#include "tools/sandbox/Routes.h"
#include "tools/sandbox/SeedMembers.h"

namespace sandbox {
namespace {

constexpr std::int64_t kLongestDelayMs = 600'000;

// Reads a member into `out` if it is there; throws Json's exception for a wrong type.
template <typename Value>
void readMember(const Json& body, const char* name, Value& out) {
    if (body.contains(name))
        body.at(name).get_to(out);
}

std::string unknownMember(const Json& body) {
    static const std::set<std::string> known = {"body", "contentType", "count", "delayMs", "headers",
                                                "kind", "method",      "path",  "status"};
    for (const auto& member : body.items()) {
        if (!known.contains(member.key()))
            return member.key();
    }
    return {};
}

// Says what is wrong with the fault, or nothing.
std::string readFault(const Json& body, Fault& fault) {
    if (const std::string unknown = unknownMember(body); !unknown.empty())
        return "\"" + unknown + "\" is no member of a fault";
    std::string word;
    std::int64_t delayMs = 0;
    std::int64_t count = 1;
    readMember(body, "kind", word);
    readMember(body, "path", fault.path);
    readMember(body, "method", fault.method);
    readMember(body, "count", count);
    readMember(body, "delayMs", delayMs);
    readMember(body, "status", fault.status);
    readMember(body, "body", fault.body);
    readMember(body, "contentType", fault.contentType);
    std::map<std::string, std::string> headers;
    readMember(body, "headers", headers);
    fault.headers.assign(headers.begin(), headers.end());
    const auto kind = faultKind(word);
    if (!kind)
        return "\"kind\" is delay, status, cut, half or lost";
    if (count < 1 || count > UINT32_MAX || delayMs < 0 || delayMs > kLongestDelayMs)
        return "\"count\" is at least 1 and \"delayMs\" at most 600000";
    if (fault.status < 200 || fault.status > 599)
        return "\"status\" is 200 to 599";
    fault.kind = *kind;
    fault.count = static_cast<std::uint32_t>(count);
    fault.delay = std::chrono::milliseconds(delayMs);
    return {};
}

Answer addFault(const Controlled& controlled, const Request& request) {
    const Json body = Json::parse(request.body, nullptr, false);
    if (!body.is_object())
        return refusal(400, "The body must be a JSON object.");
    Fault fault;
    try {
        if (const std::string wrong = readFault(body, fault); !wrong.empty())
            return refusal(400, wrong);
    } catch (const Json::exception& problem) {
        return refusal(400, problem.what());
    }
    controlled.faults.add(std::move(fault));
    return success({{"waiting", controlled.faults.waiting()}});
}

Answer clearFaults(const Controlled& controlled, const Request&) {
    controlled.faults.clear();
    return success({{"waiting", 0}});
}

template <Perishable what>
Answer expireAll(const Controlled& controlled, const Request&) {
    controlled.service.expire(what);
    return success({{"expired", true}});
}

// Members as in the seed file; those that are missing get the seed file's defaults.
Answer setFinalization(const Controlled& controlled, const Request& request) {
    const auto body = nlohmann::json::parse(request.body, nullptr, false);
    try {
        controlled.service.setFinalization(readFinalizationRule(body, "The body"));
    } catch (const SeedError& problem) {
        return refusal(400, problem.what());
    }
    return success({{"set", true}});
}

Answer setAccountState(const Controlled& controlled, const Request& request) {
    const Json body = Json::parse(request.body, nullptr, false);
    std::string login;
    std::string word;
    if (!body.is_object())
        return refusal(400, "The body must be a JSON object.");
    if (const auto fault = readStrings(body, {{"login", &login}, {"state", &word}}); !fault.empty())
        return refusal(400, fault);
    const auto state = accountState(word);
    if (!state)
        return refusal(400, "\"state\" is active, unverified, blocked, locked or failing.");
    if (!controlled.service.setAccountState(login, *state))
        return refusal(404, "There is no account of this login.");
    return success({{"set", true}});
}

Answer showSignUps(const Controlled& controlled, const Request&) {
    Json list = Json::array();
    for (const SignUpReport& report : controlled.service.signUps())
        list.push_back({{"person", report.person},
                        {"provider", report.provider},
                        {"email", report.email},
                        {"kind", report.kind},
                        {"cause", report.cause},
                        {"made", report.made},
                        {"requests", report.requests},
                        {"keys", report.keys}});
    return success(list);
}

Answer resetAll(const Controlled& controlled, const Request&) {
    controlled.service.reset();
    controlled.faults.clear();
    controlled.log.clear();
    return success({{"reset", true}});
}

Answer showLog(const Controlled& controlled, const Request&) {
    Json list = Json::array();
    for (const ExchangeRecord& record : controlled.log.records())
        list.push_back({{"method", record.method},
                        {"target", record.target},
                        {"status", record.status},
                        {"login", record.login},
                        {"fault", record.fault},
                        {"milliseconds", record.milliseconds}});
    return success(list);
}

Answer plainText(const std::string& text) {
    Answer answer;
    answer.contentType = "text/plain";
    answer.body = text;
    return answer;
}

Answer showTotp(const Controlled& controlled, const Request& request) {
    const Target target = splitTarget(request.target);
    const std::string* login = findValue(target.query, "login");
    const auto code = controlled.service.totpCode(login != nullptr ? *login : "");
    return code ? plainText(*code) : refusal(404, "No account of this login has a code to give now.");
}

Answer issueSocialCode(const Controlled& controlled, const Request& request) {
    const Target target = splitTarget(request.target);
    const std::string* person = findValue(target.query, "person");
    const auto code = controlled.service.socialCode(person != nullptr ? *person : "");
    return code ? plainText(*code) : refusal(404, "There is no social person of this name.");
}

constexpr ControlRoute kRoutes[] = {
    {"POST", "/sandbox/faults", addFault},
    {"DELETE", "/sandbox/faults", clearFaults},
    {"POST", "/sandbox/tokens/expire", expireAll<Perishable::tokens>},
    {"POST", "/sandbox/secrets/expire", expireAll<Perishable::secrets>},
    {"POST", "/sandbox/challenges/expire", expireAll<Perishable::challenges>},
    {"POST", "/sandbox/codes/expire", expireAll<Perishable::codes>},
    {"POST", "/sandbox/idempotency/expire", expireAll<Perishable::idempotencyKeys>},
    {"POST", "/sandbox/finalization", setFinalization},
    {"POST", "/sandbox/accounts/state", setAccountState},
    {"GET", "/sandbox/sign-ups", showSignUps},
    {"POST", "/sandbox/codes", issueSocialCode},
    {"POST", "/sandbox/reset", resetAll},
    {"GET", "/sandbox/log", showLog},
    {"GET", "/sandbox/totp", showTotp},
};

const ControlRoute* findRow(std::span<const ControlRoute> rows, const std::string& path,
                            const std::string& method, bool& pathKnown) {
    for (const ControlRoute& row : rows) {
        if (row.path != path)
            continue;
        if (row.method == method)
            return &row;
        pathKnown = true;
    }
    return nullptr;
}

}  // namespace

bool isControlPath(std::string_view path) {
    return path.starts_with("/sandbox/");
}

Answer answerControl(const Controlled& controlled, const Request& request) {
    const std::string path = splitTarget(request.target).path;
    bool pathKnown = false;
    for (const std::span<const ControlRoute> rows :
         {std::span<const ControlRoute>(kRoutes), featureControlRoutes()}) {
        if (const auto* row = findRow(rows, path, request.method, pathKnown))
            return row->handle(controlled, request);
    }
    return pathKnown ? refusal(405, "The control path has no such method.")
                     : refusal(404, "There is no such control path.");
}

}  // namespace sandbox
