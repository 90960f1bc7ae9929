#include "core/src/FlatOperations.h"
#include "core/src/FlatSupport.h"
#include "core/src/PodMaker.h"
#include "core/src/core/TokenFiles.h"

namespace quillmarkclient {

namespace {

// The checks of the operations that hand out a token.
ResultCode CheckTokenCall(const ClientContext* context, char* const* out) {
    if (out == nullptr || context == nullptr)
        return ResultCode::kInvalidParameters;
    return context->registryClient ? ResultCode::kSuccess : ResultCode::kRegistryNotInitialized;
}

// A failure is reported with the line of the operation that hands out.
ResultCode HandOut(const portable_stl::string& text, char** out,
                   std::uint32_t line = static_cast<std::uint32_t>(__builtin_LINE())) {
    *out = PodMaker::MakeString(text);
    return *out != nullptr ? ResultCode::kSuccess : Report(ResultCode::kInsufficientResources, line);
}

}  // namespace

std::uint32_t IsSignedIn(const ClientContext* context, void* /*platformContext*/) {
    if (!HasSession(context)) {
        Report(ResultCode::kNotInitialized);
        return 0;
    }
    return context->core->IsSignedIn() ? 1 : 0;
}

ResultCode GetAccessToken(ClientContext* context, char** out, void* /*platformContext*/) {
    if (const auto code = CheckTokenCall(context, out); !IsSuccess(code))
        return Report(code);

    registry::AuthState state;
    if (const auto code = context->registryClient->GetAuthState(state); !IsSuccess(code)) {
        QUILLMARK_TRACE("Get token data failed: %s", GetErrorText(code));
        return code;
    }
    return HandOut(state.accessToken, out);
}

ResultCode GetIdentityToken(ClientContext* context, char** out, void* /*platformContext*/) {
    if (const auto code = CheckTokenCall(context, out); !IsSuccess(code))
        return Report(code);

    registry::AuthState state;
    if (const auto code = context->registryClient->GetAuthState(state); !IsSuccess(code)) {
        QUILLMARK_TRACE("Get token data failed: %s", GetErrorText(code));
        return code;
    }
    if (state.identitySecret.empty())
        return Report(ResultCode::kAuthorizationDenied);
    return HandOut(state.identitySecret, out);
}

ResultCode RefreshAccessToken(ClientContext* context, char** out, void* platformContext) {
    if (const auto code = CheckTokenCall(context, out); !IsSuccess(code))
        return Report(code);

    registry::AuthState state;
    if (const auto code = context->registryClient->GetAuthState(state); !IsSuccess(code)) {
        QUILLMARK_TRACE("Identity request failed: %s", GetErrorText(code));
        return code;
    }
    if (const auto code = context->registryClient->ReauthorizeViaIdentity(
            state.identitySecret, state.contextMode, state.contextId, context->lastServiceError.get(),
            platformContext);
        !IsSuccess(code)) {
        QUILLMARK_TRACE("Failed to refresh access token: %s", GetErrorText(code));
        return code;
    }
    registry::AuthState renewed;
    if (const auto code = context->registryClient->GetAuthState(renewed); !IsSuccess(code)) {
        QUILLMARK_TRACE("Access token request failed: %s", GetErrorText(code));
        return code;
    }
    return HandOut(renewed.accessToken, out);
}

void SignOut(ClientContext* context, void* platformContext) {
    if (context == nullptr || !context->registryClient) {
        Report(ResultCode::kNotInitialized);
        return;
    }
    context->registryClient->ResetAuthState();
    const portable_stl::string path = context->storagePath + quillmarkclient_core::identityFileName;
    // The sign-in is gone from memory whatever becomes of the file, which may well be missing.
    ClientContext::Api::FileDelete(path.c_str(), platformContext);
}

}  // namespace quillmarkclient
