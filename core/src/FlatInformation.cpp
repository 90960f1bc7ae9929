#include "core/src/FlatOperations.h"
#include "core/src/FlatSupport.h"
#include "core/src/PodMaker.h"

namespace quillmarkclient {

ResultCode GetCustomerData(ClientContext* context, CustomerData** out, void* platformContext) {
    if (!HasSession(context))
        return Report(ResultCode::kNotInitialized);
    if (out == nullptr)
        return Report(ResultCode::kInvalidParameters);

    registry::CustomerInfo info;
    const auto code = context->core->GetCustomerData(info, context->lastServiceError.get(), platformContext);
    if (!IsSuccess(code))
        return Report(code);
    *out = PodMaker::MakeCustomerData(info);
    return *out != nullptr ? code : Report(ResultCode::kInsufficientResources);
}

ResultCode GetBasicEndpoint(ClientContext* context, char** out, void* /*platformContext*/) {
    if (context == nullptr)
        return Report(ResultCode::kNotInitialized);
    if (out == nullptr)
        return Report(ResultCode::kInvalidParameters);
    if (!context->core)
        return Report(ResultCode::kInternalError);

    *out = PodMaker::MakeString(context->core->serviceUrl);
    return *out != nullptr ? ResultCode::kSuccess : Report(ResultCode::kInsufficientResources);
}

ResultCode GetDeviceId(ClientContext* context, char** out, void* platformContext) {
    if (context == nullptr)
        return Report(ResultCode::kNotInitialized);
    if (out == nullptr)
        return Report(ResultCode::kInvalidParameters);

    if (context->deviceId.empty()) {
        portable_stl::vector<portable_stl::string> ids;
        const auto code = ClientContext::Api::GetMachineIds(ids, platformContext);
        if (!IsSuccess(code) || ids.empty())
            return Report(ResultCode::kMachineId);
        context->deviceId = ids.front();
    }
    *out = PodMaker::MakeString(context->deviceId);
    return *out != nullptr ? ResultCode::kSuccess : Report(ResultCode::kInsufficientResources);
}

ResultCode GetLastServiceError(ClientContext* context, ServiceErrorRecord** out, void* /*platformContext*/) {
    if (context == nullptr || !context->lastServiceError)
        return Report(ResultCode::kNotInitialized);
    if (out == nullptr)
        return Report(ResultCode::kInvalidParameters);

    if (context->lastServiceError->resultCode == 0) {
        *out = nullptr;
        return ResultCode::kSuccess;
    }
    *out = PodMaker::MakeServiceErrorRecord(*context->lastServiceError);
    return *out != nullptr ? ResultCode::kSuccess : Report(ResultCode::kInsufficientResources);
}

}  // namespace quillmarkclient
