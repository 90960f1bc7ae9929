#pragma once

#include "core/src/client/Client.h"
#include "core/src/system/LogOutlets.h"

namespace quillmarkclient_core {

template <class SystemApiType>
Client<SystemApiType>::Client(const portable_stl::string& folder, const portable_stl::string& baseUrl,
                              registry::RegistryClient<Api>* session,
                              const portable_stl::shared_ptr<Cryptographer<Api>>& fileCipher)
    : storagePath(folder), serviceUrl(baseUrl), registryClient(session), cryptographer(fileCipher) {}

template <class SystemApiType>
bool Client<SystemApiType>::IsSignedIn() const {
    return registryClient->token.present != 0 || !registryClient->identitySecret.empty();
}

template <class SystemApiType>
ResultCode Client<SystemApiType>::GetCustomerData(registry::CustomerInfo& info,
                                                  registry::ServiceErrorInfo* errorInfo, void* context) {
    constexpr const char* kSource = "core/src/client/Client";
    QUILLMARK_TRACE("%s", "quillmarkclient_core::Client::GetCustomerData");
    if (!IsSignedIn())
        return ReportError(ResultCode::kAuthorizationDenied, kSource, __LINE__);
    const auto code = registryClient->GetCustomerInfo(info, errorInfo, context);
    if (!IsSuccess(code))
        return ReportError(code, kSource, __LINE__);
    return code;
}

}  // namespace quillmarkclient_core
