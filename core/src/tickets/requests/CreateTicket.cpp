#include "core/src/tickets/requests/CreateTicket.h"

#include <cstddef>

#include "core/src/client/EntityRecord.h"
#include "core/src/system/LogOutlets.h"
#include "core/src/system/SystemApi.h"
#include "core/src/tickets/requests/CreateTicket_impl.h"
#include "portable_stl/exception.h"

namespace tickets {

using portable_stl::string;

template class CreateTicketRequest<quillmarkclient_core::SystemApi>;

string TicketContent(const CreateTicketParams& params) {
    std::size_t size = params.email.size() + params.title.size() + params.description.size() + 2;
    for (const TicketParameter& parameter : params.additionalParameters)
        size += parameter.key.size() + parameter.value.size() + 2;

    string content;
    if (!content.reserve(size))
        throw portable_stl::bad_alloc();
    content.append(params.email).append('|').append(params.title).append('|').append(params.description);
    for (const TicketParameter& parameter : params.additionalParameters)
        content.append('|').append(parameter.key).append('=').append(parameter.value);
    return content;
}

string ReadTicketNumber(const string& responseBody) {
    json::JsonNode root;
    if (!json::ParseJson(responseBody, root)) {
        quillmarkclient_core::ReportError(ResultCode::kJsonParse,
                                          "core/src/tickets/requests/CreateTicket_impl", __LINE__);
        return {};
    }
    lowcode::EntityRecord entity;
    if (!lowcode::ReadEntity(&root, entity))
        return {};
    for (const lowcode::EntityAttributeValue& attribute : entity.attributeValues) {
        if (json::KeyEquals(attribute.attributeKey, "CUSTOMER_TICKET_NUMBER"))
            return attribute.valueLocales.empty() ? string() : attribute.valueLocales[0].value;
    }
    return {};
}

}  // namespace tickets
