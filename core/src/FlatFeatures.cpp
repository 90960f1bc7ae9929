#include "core/src/FlatOperations.h"
#include "core/src/FlatSupport.h"
#include "core/src/PodMaker.h"

namespace quillmarkclient {

using portable_stl::string;

namespace {

constexpr char kDefaultAdminName[] = "Super User";
constexpr char kDefaultAdminDescription[] = "Super user created via tessaly.quillmarkclient";

const char* OrDefault(const char* text, const char* fallback) {
    return IsEmpty(text) ? fallback : text;
}

tickets::CreateTicketParams ToParams(const CustomerRequest& request) {
    tickets::CreateTicketParams params;
    params.email = request.email;
    params.title = request.title;
    params.description = request.description;
    if (request.additionalParameters != nullptr) {
        for (auto* entry = request.additionalParameters; *entry != nullptr; ++entry)
            params.additionalParameters.push_back(tickets::TicketParameter{(*entry)->key, (*entry)->value})
                .value();
    }
    return params;
}

}  // namespace

ResultCode GetProductUpdateInfo(ClientContext* context, const char* feedName, const char* feedVariant,
                                const char* currentVersion, const char* language, ProductUpdateInfo** out,
                                void* platformContext) {
    if (!HasCore(context))
        return Report(ResultCode::kNotInitialized);
    if (out == nullptr || IsEmpty(feedName) || IsEmpty(feedVariant) || IsEmpty(currentVersion) ||
        IsEmpty(language))
        return Report(ResultCode::kInvalidParameters);

    quillmarkclient_core::ProductUpdateInfo info;
    const auto code =
        context->core->GetProductUpdateInfo(feedName, feedVariant, currentVersion, language, info,
                                            context->lastServiceError.get(), platformContext);
    if (!IsSuccess(code))
        return Report(code);
    *out = PodMaker::MakeProductUpdateInfo(info.version, info.description, info.url);
    return *out != nullptr ? code : Report(ResultCode::kInsufficientResources);
}

ResultCode CreateTicket(ClientContext* context, const CustomerRequest* request, char** out,
                        void* platformContext) {
    if (!HasCore(context))
        return Report(ResultCode::kNotInitialized);
    if (request == nullptr || out == nullptr)
        return Report(ResultCode::kInvalidParameters);
    if (request->email == nullptr || request->title == nullptr || request->description == nullptr)
        return Report(ResultCode::kInvalidParameters);

    string number;
    const auto code = context->core->CreateTicket(ToParams(*request), number, context->lastServiceError.get(),
                                                  platformContext);
    if (!IsSuccess(code))
        return Report(code);
    *out = PodMaker::MakeString(number);
    return *out != nullptr ? code : Report(ResultCode::kInsufficientResources);
}

ResultCode CreatePrincipalAdmin(ClientContext* context, const PrincipalAdminRequest* request,
                                PrincipalAdmin** out, void* platformContext) {
    if (!HasCore(context))
        return Report(ResultCode::kNotInitialized);
    if (request == nullptr || out == nullptr)
        return Report(ResultCode::kInvalidParameters);
    if (IsEmpty(request->email) || IsEmpty(request->password))
        return Report(ResultCode::kInvalidParameters);

    quillmarkclient_core::PrincipalAdmin admin;
    const auto code = context->core->CreatePrincipalAdmin(
        OrDefault(request->name, kDefaultAdminName), request->email, request->password,
        OrDefault(request->description, kDefaultAdminDescription), admin, context->lastServiceError.get(),
        platformContext);
    if (!IsSuccess(code))
        return Report(code);
    *out = PodMaker::MakePrincipalAdmin(admin.id, admin.name, admin.email, admin.description);
    return *out != nullptr ? code : Report(ResultCode::kInsufficientResources);
}

}  // namespace quillmarkclient
