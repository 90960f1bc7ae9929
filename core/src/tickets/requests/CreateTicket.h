// The request that files a ticket, and the reading of its answer.
#pragma once

#include "core/src/registry/requests/CatalogueRequest.h"

namespace tickets {

/// One extra parameter of a ticket.
struct TicketParameter {
    portable_stl::string key;
    portable_stl::string value;
};

struct CreateTicketParams {
    portable_stl::string baseUrl;
    portable_stl::string email;
    portable_stl::string title;
    portable_stl::string description;
    portable_stl::vector<TicketParameter> additionalParameters;  // in the order of the wire
};

/// A ticket. Must not take effect twice: send it with an idempotency key. Answers with an entity.
template <class Api>
class CreateTicketRequest final : public registry::CatalogueRequest<Api> {
public:
    explicit CreateTicketRequest(const CreateTicketParams& params);
};

/// The scope of a ticket's idempotency key, and the text that makes two filings one: all that the user gave,
/// joined without escapes.
inline constexpr char kTicketScope[] = "CREATE_TICKET";
[[nodiscard]] portable_stl::string TicketContent(const CreateTicketParams& params);

/// The number of the ticket that the answer tells; empty when it can't be read, which is reported for a body
/// that is no JSON.
[[nodiscard]] portable_stl::string ReadTicketNumber(const portable_stl::string& responseBody);

}  // namespace tickets
