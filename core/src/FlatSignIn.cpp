#include "core/src/FlatOperations.h"
#include "core/src/FlatSupport.h"
#include "core/src/PodMaker.h"
#include "core/src/core/TokenFiles.h"

namespace quillmarkclient {

using portable_stl::string;

namespace {

ResultCode ReadState(ClientContext& context, registry::AuthState& state, void* platformContext) {
    const auto code = context.registryClient->ObtainIdentitySecret(
        context.identityName, string(), context.lastServiceError.get(), platformContext);
    return IsSuccess(code) ? context.registryClient->GetAuthState(state) : code;
}

void WriteTokenFiles(ClientContext& context, void* platformContext) {
    registry::AuthState state;
    if (const auto code = ReadState(context, state, platformContext); !IsSuccess(code)) {
        QUILLMARK_TRACE("Can not get information about token: %s", GetErrorText(code));
        return;
    }
    quillmarkclient_core::StoreIdentityFile(*context.core, state.identitySecret, state.contextMode,
                                            state.contextId, platformContext);
    quillmarkclient_core::StoreContextFile(*context.core, state.accessToken, platformContext);
}

// Takes a sign-in back whose storing an exception ends: its caller hears of a failure, so neither this run
// nor the next start may find it.
class StoringGuard {
public:
    StoringGuard(ClientContext& context, void* platformContext)
        : context_(&context), platformContext_(platformContext) {}
    ~StoringGuard() {
        if (context_ == nullptr)
            return;
        try {
            SignOut(context_, platformContext_);
        } catch (...) {
            return;  // the session is reset first, so that only the file is left
        }
    }
    StoringGuard(const StoringGuard&) = delete;
    StoringGuard& operator=(const StoringGuard&) = delete;

    void Dismiss() noexcept { context_ = nullptr; }

private:
    ClientContext* context_;
    void* platformContext_;
};

// Keeps a good sign-in for the next start. No code makes the sign-in itself fail; an exception does.
void PersistTokens(ClientContext& context, void* platformContext) {
    StoringGuard guard(context, platformContext);
    WriteTokenFiles(context, platformContext);
    guard.Dismiss();
}

// A new sign-in never stands beside a former one, and a refused one leaves nobody signed in.
void DropSignIn(ClientContext& context, void* platformContext) {
    if (context.core->IsSignedIn())
        SignOut(&context, platformContext);
}

}  // namespace

ResultCode SignIn(ClientContext* context, const char* login, const char* password, void* platformContext) {
    if (!HasSession(context))
        return Report(ResultCode::kNotInitialized);
    if (login == nullptr || password == nullptr)
        return Report(ResultCode::kInvalidParameters);

    DropSignIn(*context, platformContext);
    const auto code =
        context->registryClient->Authorize(login, password, context->lastServiceError.get(), platformContext);
    if (!IsSuccess(code))
        return Report(code);
    // An administrator signs in anew for each run.
    if (context->registryClient->kind != registry::kPrincipalAdmin)
        PersistTokens(*context, platformContext);
    return code;
}

ResultCode ConfirmSecondFactor(ClientContext* context, const char* challengeToken, const char* code,
                               void* platformContext) {
    if (!HasSession(context))
        return Report(ResultCode::kNotInitialized);
    if (IsEmpty(challengeToken) || IsEmpty(code))
        return Report(ResultCode::kInvalidParameters);

    const auto result = context->registryClient->AuthorizeSecondFactor(
        challengeToken, code, context->lastServiceError.get(), platformContext);
    if (!IsSuccess(result))
        return Report(result);
    PersistTokens(*context, platformContext);
    return result;
}

ResultCode GetCustomerContexts(ClientContext* context, CustomerContext*** out, void* platformContext) {
    if (!HasSession(context))
        return Report(ResultCode::kNotInitialized);
    if (out == nullptr)
        return Report(ResultCode::kInvalidParameters);

    portable_stl::vector<registry::ContextEntry> contexts;
    const auto code =
        context->registryClient->GetContexts(contexts, context->lastServiceError.get(), platformContext);
    if (!IsSuccess(code))
        return Report(code);
    *out = PodMaker::MakeCustomerContexts(contexts);
    return *out != nullptr ? code : Report(ResultCode::kInsufficientResources);
}

ResultCode SignInToContext(ClientContext* context, const ContextChoice* choice, void* platformContext) {
    if (!HasSession(context))
        return Report(ResultCode::kNotInitialized);
    if (choice == nullptr || (choice->kind == registry::kTrustorContext && choice->contextId == nullptr))
        return Report(ResultCode::kInvalidParameters);

    const auto code = context->registryClient->SelectContext(
        choice->kind, choice->contextId, context->lastServiceError.get(), platformContext);
    if (!IsSuccess(code))
        return Report(code);
    PersistTokens(*context, platformContext);
    return code;
}

ResultCode SignInWithSocialToken(ClientContext* context, const char* providerKey, const char* accessToken,
                                 void* platformContext) {
    if (!HasSession(context))
        return Report(ResultCode::kNotInitialized);
    if (providerKey == nullptr || accessToken == nullptr)
        return Report(ResultCode::kInvalidParameters);

    DropSignIn(*context, platformContext);
    const auto code = context->registryClient->AuthorizeSocialToken(
        providerKey, accessToken, context->lastServiceError.get(), platformContext);
    if (!IsSuccess(code))
        return Report(code);
    PersistTokens(*context, platformContext);
    return code;
}

ResultCode SignInWithSocialCode(ClientContext* context, const char* code, std::uint32_t operation,
                                void* platformContext) {
    if (!HasSession(context))
        return Report(ResultCode::kNotInitialized);
    if (code == nullptr)
        return Report(ResultCode::kInvalidParameters);

    DropSignIn(*context, platformContext);
    const auto result = context->registryClient->AuthorizeSocialCode(
        code, operation, context->lastServiceError.get(), platformContext);
    if (!IsSuccess(result))
        return Report(result);
    PersistTokens(*context, platformContext);
    return result;
}

ResultCode UseAccessToken(ClientContext* context, const char* token, void* platformContext) {
    if (!HasSession(context))
        return Report(ResultCode::kNotInitialized);
    if (token == nullptr)
        return Report(ResultCode::kInvalidParameters);

    DropSignIn(*context, platformContext);
    context->registryClient->SetAccessToken(token, true, platformContext);
    return ResultCode::kSuccess;
}

ResultCode GetSocialProviders(ClientContext* context, char** out, char separator, void* platformContext) {
    if (!HasSession(context))
        return Report(ResultCode::kNotInitialized);
    if (out == nullptr)
        return Report(ResultCode::kInvalidParameters);

    string text;
    const auto code = context->registryClient->GetSocialProviders(
        text, separator, context->lastServiceError.get(), platformContext);
    if (!IsSuccess(code))
        return Report(code);
    if (!text.empty() && text.back() == separator)
        text.resize(text.size() - 1);
    *out = PodMaker::MakeString(text);
    return *out != nullptr ? code : Report(ResultCode::kInsufficientResources);
}

}  // namespace quillmarkclient
