#pragma once

#include "core/src/ResultCode.h"
#include "core/src/core/Cryptographer.h"
#include "core/src/registry/RegistryClient.h"
#include "portable_stl/shared_ptr.h"
#include "portable_stl/string.h"

namespace quillmarkclient_core {

// What the client does for a host apart from the sign-in itself, on top of one registry session.
//
// Failures are reported through the error outlet as "core/src/client/Client" and returned. No lock: the owner
// serialises all calls.
template <class SystemApiType>
class Client {
public:
    using Api = SystemApiType;

    /// \param session  not owned; outlives the client
    Client(const portable_stl::string& folder, const portable_stl::string& baseUrl,
           registry::RegistryClient<Api>* session,
           const portable_stl::shared_ptr<Cryptographer<Api>>& fileCipher);

    /// Whether the session has a present token or an identity secret.
    [[nodiscard]] bool IsSignedIn() const;

    /// The user's details; kAuthorizationDenied unless signed in.
    [[nodiscard]] ResultCode GetCustomerData(registry::CustomerInfo& info,
                                             registry::ServiceErrorInfo* errorInfo, void* context);

    portable_stl::string storagePath;  // ends in its separator unless empty
    portable_stl::string serviceUrl;
    registry::RegistryClient<Api>* registryClient;
    portable_stl::shared_ptr<Cryptographer<Api>> cryptographer;
};

}  // namespace quillmarkclient_core
