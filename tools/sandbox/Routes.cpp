#include "tools/sandbox/Routes.h"

#include <algorithm>

#include "tools/sandbox/Random.h"

namespace sandbox {
namespace {

// Takes the text up to the next slash off the front.
std::string_view takeSegment(std::string_view& rest) {
    const std::string_view segment = rest.substr(0, rest.find('/'));
    rest.remove_prefix(std::min(segment.size() + 1, rest.size()));
    return segment;
}

bool isAmong(std::string_view name, std::initializer_list<std::pair<const char*, std::string*>> members,
             std::initializer_list<std::string_view> others) {
    return std::any_of(members.begin(), members.end(),
                       [name](const auto& member) { return member.first == name; }) ||
           std::find(others.begin(), others.end(), name) != others.end();
}

}  // namespace

bool matchPath(std::string_view pattern, std::string_view path, std::vector<std::string>& parameters) {
    parameters.clear();
    if (std::count(pattern.begin(), pattern.end(), '/') != std::count(path.begin(), path.end(), '/'))
        return false;
    while (!pattern.empty()) {
        const std::string_view wanted = takeSegment(pattern);
        const std::string_view given = takeSegment(path);
        if (wanted == "{}" ? given.empty() : wanted != given)
            return false;
        if (wanted == "{}")
            parameters.emplace_back(given);
    }
    return path.empty();
}

Answer success(const Json& body) {
    Answer answer;
    answer.body = body.dump();
    return answer;
}

Answer noContent() {
    Answer answer;
    answer.status = 204;
    return answer;
}

Answer refusal(int status, const std::string& detail, const std::string& errorCode, const Json& errorArgs) {
    constexpr std::size_t traceIdBytes = 16;
    Json body;
    body["type"] = "about:blank";
    body["title"] = statusTitle(status);
    body["status"] = status;
    body["detail"] = detail;
    body["traceId"] = randomHex(traceIdBytes);
    if (!errorCode.empty())
        body["errorCode"] = errorCode;
    if (!errorArgs.is_null())
        body["errorArgs"] = errorArgs;
    Answer answer;
    answer.status = status;
    answer.contentType = "application/problem+json";
    answer.body = body.dump();
    return answer;
}

std::string readStrings(const Json& body, std::initializer_list<std::pair<const char*, std::string*>> members,
                        std::initializer_list<std::string_view> others) {
    for (const auto& [name, out] : members) {
        if (!body.contains(name) || !body[name].is_string() ||
            body[name].get_ref<const std::string&>().empty())
            return std::string("\"") + name + "\" must be a string that is not empty";
        *out = body[name].get<std::string>();
    }
    for (const auto& member : body.items()) {
        if (!isAmong(member.key(), members, others))
            return "\"" + member.key() + "\" is no member of this request";
    }
    return {};
}

}  // namespace sandbox
