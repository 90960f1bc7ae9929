#pragma once

#include "core/src/client/Client.h"
#include "core/src/system/LogOutlets.h"

namespace quillmarkclient_core {

namespace client_detail {

/// Reports a failure with the line of the caller, and returns it.
inline ResultCode Fail(ResultCode code, std::uint32_t line = static_cast<std::uint32_t>(__builtin_LINE())) {
    return ReportError(code, "core/src/client/Client", line);
}

/// The same for a code that may be a success.
inline ResultCode Ended(ResultCode code, std::uint32_t line = static_cast<std::uint32_t>(__builtin_LINE())) {
    return IsSuccess(code) ? code : Fail(code, line);
}

}  // namespace client_detail

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
    QUILLMARK_TRACE("%s", "quillmarkclient_core::Client::GetCustomerData");
    if (!IsSignedIn())
        return client_detail::Fail(ResultCode::kAuthorizationDenied);
    return client_detail::Ended(registryClient->GetCustomerInfo(info, errorInfo, context));
}

}  // namespace quillmarkclient_core
