#include "tools/sandbox/FeatureControl.h"

#include "tools/sandbox/Routes.h"
#include "tools/sandbox/SeedMembers.h"

namespace sandbox {
namespace {

Answer setFeedState(const Controlled& controlled, const Request& request) {
    const Json body = Json::parse(request.body, nullptr, false);
    std::string feed;
    std::string word;
    if (!body.is_object())
        return refusal(400, "The body must be a JSON object.");
    if (const auto fault = readStrings(body, {{"feed", &feed}, {"state", &word}}); !fault.empty())
        return refusal(400, fault);
    const auto state = feedState(word);
    if (!state)
        return refusal(400, "\"state\" is whole, malformed, empty, no-items or missing.");
    if (!controlled.service.setFeedState(feed, *state))
        return refusal(404, "There is no feed of this name.");
    return success({{"set", true}});
}

// Members as in the seed file; those that are missing get the seed file's defaults.
Answer setTicketRule(const Controlled& controlled, const Request& request) {
    const auto body = nlohmann::json::parse(request.body, nullptr, false);
    try {
        controlled.service.setTicketRule(readTicketRule(body, "The body"));
    } catch (const SeedError& problem) {
        return refusal(400, problem.what());
    }
    return success({{"set", true}});
}

Answer showTickets(const Controlled& controlled, const Request&) {
    Json list = Json::array();
    for (const Ticket& ticket : controlled.service.tickets()) {
        Json parameters = Json::object();
        for (const auto& [name, value] : ticket.parameters)
            parameters[name] = value;
        list.push_back({{"number", ticket.number},
                        {"email", ticket.email},
                        {"title", ticket.title},
                        {"description", ticket.description},
                        {"additionalParameters", parameters},
                        {"requests", ticket.requests}});
    }
    return success(list);
}

Answer showMetadata(const Controlled& controlled, const Request&) {
    const auto document = controlled.service.metadata();
    if (!document)
        return refusal(404, "No document has come yet.");
    Answer answer;
    answer.body = *document;
    return answer;
}

Answer setMetadataAnswer(const Controlled& controlled, const Request& request) {
    const Json body = Json::parse(request.body, nullptr, false);
    std::string status;
    if (!body.is_object())
        return refusal(400, "The body must be a JSON object.");
    if (const auto fault = readStrings(body, {{"status", &status}}); !fault.empty())
        return refusal(400, fault);
    if (status != "Ok" && status != "Error")
        return refusal(400, "\"status\" is Ok or Error.");
    controlled.service.setMetadataAnswer(status == "Ok" ? MetadataAnswer::ok : MetadataAnswer::error);
    return success({{"set", true}});
}

constexpr ControlRoute kRoutes[] = {
    {"POST", "/sandbox/feeds", setFeedState},
    {"GET", "/sandbox/tickets", showTickets},
    {"POST", "/sandbox/tickets/rule", setTicketRule},
    {"GET", "/sandbox/metadata", showMetadata},
    {"POST", "/sandbox/metadata/answer", setMetadataAnswer},
};

}  // namespace

std::span<const ControlRoute> featureControlRoutes() {
    return kRoutes;
}

}  // namespace sandbox
