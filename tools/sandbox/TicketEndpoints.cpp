// Customer tickets: filed once for each Idempotency-Key and answered as an entity record.

#include "tools/sandbox/KeyedRequest.h"
#include "tools/sandbox/Random.h"

namespace sandbox {
namespace {

constexpr std::size_t kIdBytes = 12;

std::string readParameters(const Json& body, NamedValues& parameters) {
    if (!body.contains("additionalParameters"))
        return {};
    const Json& object = body["additionalParameters"];
    if (!object.is_object() || object.empty())
        return "\"additionalParameters\" must be an object that is not empty";
    for (const auto& member : object.items()) {
        if (!member.value().is_string())
            return "each of \"additionalParameters\" must be a string";
        parameters.emplace_back(member.key(), member.value().get<std::string>());
    }
    return {};
}

std::string readTicket(const Json& body, Ticket& ticket) {
    std::string fault = readStrings(
        body, {{"email", &ticket.email}, {"title", &ticket.title}, {"description", &ticket.description}},
        {"additionalParameters"});
    return fault.empty() ? readParameters(body, ticket.parameters) : fault;
}

Json attribute(const char* key, const std::string& value) {
    const Json locale = {{"key", "en"}, {"value", value}, {"display", value}};
    return {{"id", randomHex(kIdBytes)},
            {"key", key},
            {"attributeKey", key},
            {"valueLocales", Json::array({locale})}};
}

Json entityRecord(const Ticket& ticket) {
    const Json attributes = Json::array({attribute("CUSTOMER_TICKET_EMAIL", ticket.email),
                                         attribute("CUSTOMER_TICKET_TITLE", ticket.title),
                                         attribute("CUSTOMER_TICKET_NUMBER", ticket.number)});
    return {{"id", ticket.id},
            {"entityTypeId", "customer-ticket"},
            {"entityTypeKey", "CUSTOMER_TICKET"},
            {"stateId", "new"},
            {"stateKey", "NEW"},
            {"version", 1},
            {"isDraft", false},
            {"customerNumber", nullptr},
            {"attributeValues", attributes},
            {"referencedTo", Json::array()}};
}

IdempotencyRecord beginWork(ServiceState& state, const Call& call, Ticket ticket) {
    const TicketRule& rule = state.ticketRule();
    IdempotencyRecord record = workFor(state, call, rule.busyAnswers, rule.busySeconds);
    ticket.id = randomHex(kIdBytes);
    record.ticket = &state.tickets().begin(std::move(ticket));
    return record;
}

Answer continueWork(ServiceState& state, IdempotencyRecord& record) {
    ++record.ticket->requests;
    if (record.isBusy(state.now()))
        return askToWait(state.ticketRule().retryAfterSeconds);
    if (!record.answer) {
        state.tickets().file(*record.ticket);
        record.answer = success(entityRecord(*record.ticket));
    }
    return *record.answer;
}

Answer registerTicket(ServiceState& state, const Call& call) {
    KeyedRequest keyed;
    if (auto refused = readKey(state, call, keyed))
        return *refused;
    Ticket ticket;
    if (const auto fault = readTicket(call.body, ticket); !fault.empty())
        return refusal(400, fault);
    if (keyed.record == nullptr)
        keyed.record =
            &state.idempotency().begin(keyed.key, beginWork(state, call, std::move(ticket)), state.now());
    return continueWork(state, *keyed.record);
}

constexpr Route kRoutes[] = {
    {"POST", "/api/quillmark/CUSTOMER_TICKET_REGISTRATION", Access::open, BodyRule::json, "application/json",
     registerTicket},
};

}  // namespace

std::span<const Route> ticketRoutes() {
    return kRoutes;
}

}  // namespace sandbox
