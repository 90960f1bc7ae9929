// The filing of a ticket.
#pragma once

#include "core/src/client/Client_impl.h"
#include "core/src/registry/IdempotencyKeyStore.h"
#include "core/src/registry/SendAndCheck.h"
#include "core/src/tickets/requests/CreateTicket.h"

namespace quillmarkclient_core {

template <class SystemApiType>
ResultCode Client<SystemApiType>::CreateTicket(tickets::CreateTicketParams params,
                                               portable_stl::string& number,
                                               registry::ServiceErrorInfo* errorInfo, void* context) {
    if (registryClient == nullptr)
        return client_detail::Fail(ResultCode::kInternalError);
    if (params.email.empty() || params.title.empty() || params.description.empty())
        return client_detail::Fail(ResultCode::kInvalidParameters);
    params.baseUrl = serviceUrl;

    portable_stl::unique_ptr<registry::Request<Api>> request =
        portable_stl::make_unique<tickets::CreateTicketRequest<Api>>(params);
    if (!request)
        return client_detail::Fail(ResultCode::kInsufficientResources);
    registry::AttachIdempotencyKey<Api>(*registryClient, *request, tickets::kTicketScope,
                                        tickets::TicketContent(params), context);
    portable_stl::string responseBody;
    // Without the bearer token: a ticket needs no signed-in user.
    const auto code =
        registry::SendDirectlyAndCheck(*registryClient, request, responseBody, errorInfo, context);
    if (!IsSuccess(code))
        return client_detail::Fail(code);
    number = tickets::ReadTicketNumber(responseBody);
    return code;
}

}  // namespace quillmarkclient_core
