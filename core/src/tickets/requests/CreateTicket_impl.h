#pragma once

#include "core/src/registry/requests/RequestRows.h"
#include "core/src/tickets/requests/CreateTicket.h"

namespace tickets {

namespace ticket_detail {

inline constexpr registry::StatusRow kStatuses[] = {
    {200, ResultCode::kSuccess, registry::StatusUse::kTake},
    {registry::kRest, ResultCode::kInternalError, registry::StatusUse::kTake},
};

inline constexpr registry::RequestRow kRow = {
    .method = registry::kPost,
    .endpointBase = registry::kNamedOperations,
    .path = "/CUSTOMER_TICKET_REGISTRATION",
    .headers = registry::kStandardHeaders,
    .logName = "\"CreateTicket\" request.",
    .notSerialised = registry::kSessionNotSerialised,  // another request's line, kept
    .statuses = kStatuses,
};

}  // namespace ticket_detail

template <class Api>
CreateTicketRequest<Api>::CreateTicketRequest(const CreateTicketParams& params)
    : registry::CatalogueRequest<Api>(ticket_detail::kRow, params.baseUrl) {
    json::JsonNode root;
    json::AddChild(root, "email", params.email, true);
    json::AddChild(root, "title", params.title, true);
    json::AddChild(root, "description", params.description, true);
    if (!params.additionalParameters.empty()) {
        json::JsonNode& list = json::AddObject(root, "additionalParameters");
        for (const TicketParameter& parameter : params.additionalParameters)
            json::AddChild(list, parameter.key, parameter.value, true);
    }
    this->FinishWithBody(root);
}

}  // namespace tickets
