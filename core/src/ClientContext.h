#pragma once

#include "core/src/client/Client.h"
#include "core/src/core/Cryptographer.h"
#include "core/src/registry/RegistryClient.h"
#include "core/src/registry/ServiceErrorInfo.h"
#include "core/src/system/SystemApi.h"
#include "portable_stl/shared_ptr.h"
#include "portable_stl/string.h"
#include "portable_stl/unique_ptr.h"

namespace quillmarkclient {

// What stands behind the opaque handle of the flat operations. Known to them and their tests alone.
//
// Lies in a block of the platform table's Alloc: Initialize builds it, Shutdown ends it and gives the block
// back. Whether it is signed in is the registry client's matter; there is no state of its own.
struct ClientContext {
    using Api = quillmarkclient_core::SystemApi;

    ClientContext() = default;
    ClientContext(const ClientContext&) = delete;
    ClientContext& operator=(const ClientContext&) = delete;

    // Users go before what they use: `core` points to the session and shares the cipher.
    ~ClientContext() {
        core.reset();
        registryClient.reset();
        cryptographer.reset();
        lastServiceError.reset();
    }

    portable_stl::unique_ptr<quillmarkclient_core::Client<Api>> core;
    portable_stl::unique_ptr<registry::ServiceErrorInfo> lastServiceError;  // given to every exchange
    portable_stl::unique_ptr<registry::RegistryClient<Api>> registryClient;
    portable_stl::shared_ptr<quillmarkclient_core::Cryptographer<Api>> cryptographer;
    portable_stl::string storagePath;   // ends in a separator unless empty
    portable_stl::string identityName;  // of an identity record that has to be made; may be empty
    portable_stl::string auxiliary4;    // stored, not read
    portable_stl::string deviceId;      // empty until first asked for
    bool useAlternateKeys = false;
};

}  // namespace quillmarkclient
