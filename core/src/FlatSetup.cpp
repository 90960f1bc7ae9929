#include <new>
#include <utility>

#include "core/src/ClientContext.h"
#include "core/src/FlatOperations.h"
#include "core/src/FlatSupport.h"
#include "core/src/Version.h"
#include "core/src/core/TokenFiles.h"
#include "core/src/registry/BusinessRegistryClient.h"
#include "core/src/registry/CustomerRegistryClient.h"
#include "core/src/registry/PrincipalAdminRegistryClient.h"
#include "core/src/system/SystemApi.h"
#include "portable_stl/exception.h"

namespace quillmarkclient {

using portable_stl::string;
using quillmarkclient_core::SystemApi;

namespace {

struct EndContext {
    void operator()(ClientContext* context) const { Shutdown(context, nullptr); }
};

// Ends a half-built context on every way out, an exception of a container included.
using ContextOwner = portable_stl::unique_ptr<ClientContext, EndContext>;

ContextOwner NewContext() {
    void* block = SystemApi::Alloc(sizeof(ClientContext));
    return ContextOwner(block == nullptr ? nullptr : ::new (block) ClientContext());
}

// Token files and key store join folder and name without a separator of their own.
string CompleteFolder(const char* path) {
    string folder(path);
    if (!folder.empty() && folder.back() != '\\' && folder.back() != '/')
        folder.append('/');
    return folder;
}

registry::RetryPolicy ToRetryPolicy(const RetryPolicyRecord& record) {
    registry::RetryPolicy policy;
    policy.maxAttempts = record.maxAttempts;
    policy.timeoutRetryDelayMs = record.timeoutRetryDelayMs;
    policy.idempotencyWaitMs = record.idempotencyWaitMs;
    policy.idempotencyWaitCapMs = record.idempotencyWaitCapMs;
    return policy;
}

using Session = portable_stl::unique_ptr<registry::RegistryClient<SystemApi>>;

// A kind that is not known is a customer.
Session NewSession(std::uint32_t clientKind, const string& serviceUrl, const string& folder,
                   const registry::RetryPolicy& policy, void* platformContext) {
    switch (clientKind) {
        case registry::kBusiness:
            return portable_stl::make_unique<registry::BusinessRegistryClient<SystemApi>>(
                serviceUrl, folder, policy, platformContext);
        case registry::kPrincipalAdmin:
            return portable_stl::make_unique<registry::PrincipalAdminRegistryClient<SystemApi>>(
                serviceUrl, folder, policy, platformContext);
        default:
            return portable_stl::make_unique<registry::CustomerRegistryClient<SystemApi>>(
                serviceUrl, folder, policy, platformContext);
    }
}

// False when an object found no memory.
bool BuildObjects(ClientContext& context, const QuillmarkClientInit& init, void* platformContext) {
    const string serviceUrl(init.serviceUrl);

    context.lastServiceError = portable_stl::make_unique<registry::ServiceErrorInfo>();
    if (!context.lastServiceError)
        return false;
    context.cryptographer =
        portable_stl::make_shared<quillmarkclient_core::Cryptographer<SystemApi>>(context.useAlternateKeys);
    if (!context.cryptographer)
        return false;
    context.registryClient = NewSession(init.clientKind, serviceUrl, context.storagePath,
                                        ToRetryPolicy(init.retryPolicy), platformContext);
    if (!context.registryClient)
        return false;
    context.core = portable_stl::make_unique<quillmarkclient_core::Client<SystemApi>>(
        context.storagePath, serviceUrl, context.registryClient.get(), context.cryptographer);
    return static_cast<bool>(context.core);
}

// The context token first: the identity then renews it if it can. An absent or damaged file means that nobody
// is signed in, which is no failure of the start.
void RestoreSignIn(ClientContext& context, void* platformContext) {
    static_cast<void>(quillmarkclient_core::LoadContextFile(*context.core, platformContext));
    static_cast<void>(quillmarkclient_core::LoadIdentityFile(*context.core, context.lastServiceError.get(),
                                                             platformContext));
}

// Null when something found no memory; throws as the containers do.
ContextOwner Build(const QuillmarkClientInit& init, void* platformContext) {
    ContextOwner context = NewContext();
    if (!context)
        return nullptr;
    context->storagePath = CompleteFolder(init.storagePath);
    context->useAlternateKeys = init.useAlternateKeys != 0;
    context->auxiliary4 = init.auxiliary4;
    context->identityName = init.identityName;
    if (!BuildObjects(*context, init, platformContext))
        return nullptr;
    RestoreSignIn(*context, platformContext);
    return context;
}

}  // namespace

void SetLogCallbacks(quillmarkclient_core::TraceOutlet trace,
                     quillmarkclient_core::ErrorOutlet error) noexcept {
    auto& outlets = quillmarkclient_core::ProcessLogOutlets();
    outlets.trace = trace;
    outlets.error = error;
}

std::uint32_t GetLibraryVersion() noexcept {
    return kLibraryVersion;
}

ResultCode Initialize(const QuillmarkClientInit* init, ClientContext** out, void* platformContext) {
    if (init == nullptr || out == nullptr)
        return Report(ResultCode::kInvalidParameters);
    if (init->serviceUrl == nullptr || *init->serviceUrl == '\0')
        return Report(ResultCode::kInvalidParameters);
    if (init->version != kLibraryVersion)
        return Report(ResultCode::kVersionMismatch);
    SystemApi::SetTable(init->table);

    *out = nullptr;
    try {
        ContextOwner context = Build(*init, platformContext);
        if (!context)
            return Report(ResultCode::kInsufficientResources);
        *out = context.release();
        return ResultCode::kSuccess;
    } catch (const portable_stl::exception&) {
        return Report(ResultCode::kInsufficientResources);
    }
}

void Shutdown(ClientContext* context, void* /*platformContext*/) {
    if (context == nullptr)
        return;
    context->~ClientContext();
    SystemApi::Free(context);
}

ResultCode FreeMemory(ClientContext* /*context*/, void* block, void* /*platformContext*/) {
    SystemApi::Free(block);
    return ResultCode::kSuccess;
}

}  // namespace quillmarkclient
