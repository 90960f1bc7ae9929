// Requests of a signed-in session, and the renewal of its token by the identity's secret.
#pragma once

#include <type_traits>
#include <utility>

#include "core/src/registry/RegistryClient.h"
#include "core/src/registry/SendAndCheck.h"
#include "core/src/registry/requests/SignInRequests.h"

namespace registry {

namespace renewal_detail {

inline constexpr std::uint32_t kUnauthorized = 401;

// What the session was before a renewal, put back when the scope ends without Keep, by an exception included.
template <class Api>
class SavedState {
public:
    explicit SavedState(RegistryClient<Api>& client)
        : client_(client),
          token_(client.token),
          identitySecret_(client.identitySecret),
          contextMode_(client.contextMode),
          contextId_(client.contextId) {}
    ~SavedState() {
        if (isKept_)
            return;
        client_.token = std::move(token_);
        client_.identitySecret.swap(identitySecret_);
        client_.contextMode = contextMode_;
        client_.contextId.swap(contextId_);
    }
    SavedState(const SavedState&) = delete;
    SavedState& operator=(const SavedState&) = delete;

    /// The session stays as it is now.
    void Keep() noexcept { isKept_ = true; }

private:
    static_assert(std::is_nothrow_move_assignable_v<quillmarkclient_core::Token>);

    RegistryClient<Api>& client_;
    quillmarkclient_core::Token token_;
    portable_stl::string identitySecret_;
    std::uint32_t contextMode_;
    portable_stl::string contextId_;
    bool isKept_ = false;
};

}  // namespace renewal_detail

template <class Api>
ResultCode RegistryClient<Api>::SendAuthorized(portable_stl::unique_ptr<Request<Api>>& request,
                                               portable_stl::string& responseBody,
                                               portable_stl::string& responseHeaders, std::uint32_t& httpCode,
                                               ServiceErrorInfo* errorInfo, void* context) {
    if (token.present != 0)
        request->SetHeader(kAuthorizationHeader, BuildBearer(token));
    httpCode = 0;
    const auto sent = SendRequest(request, responseBody, responseHeaders, httpCode, context);
    if (!IsSuccess(sent) || httpCode != renewal_detail::kUnauthorized)
        return sent;

    if (identitySecret.empty())
        return ResultCode::kAuthorizationDenied;
    // Copies, because the renewal replaces these three.
    const portable_stl::string secret = identitySecret;
    const portable_stl::string trustorId = contextId;
    if (const auto code = ReauthorizeViaIdentity(secret, contextMode, trustorId, errorInfo, context);
        !IsSuccess(code))
        return code;
    // Once only: a second 401 is for the request's own table.
    request->SetHeader(kAuthorizationHeader, BuildBearer(token));
    responseBody.clear();  // the refusal's, should the next answer bring none
    return SendRequest(request, responseBody, responseHeaders, httpCode, context);
}

template <class Api>
ResultCode RegistryClient<Api>::ReauthorizeViaIdentity(const portable_stl::string& secret, std::uint32_t mode,
                                                       const portable_stl::string& trustorId,
                                                       ServiceErrorInfo* errorInfo, void* context) {
    if (secret.empty())
        return ResultCode::kInvalidParameters;
    renewal_detail::SavedState<Api> saved(*this);

    portable_stl::unique_ptr<Request<Api>> request =
        portable_stl::make_unique<AuthorizeViaIdentityRequest<Api>>(
            AuthorizeViaIdentityParams{baseUrl, secret, kind == kBusiness});
    portable_stl::string responseBody;
    if (const auto code = SendDirectlyAndCheck(*this, request, responseBody, errorInfo, context);
        !IsSuccess(code)) {
        // The service has not refused the secret, so a later try may succeed with it.
        if (code == ResultCode::kRequestNotSent || code == ResultCode::kTimedOut) {
            identitySecret = secret;
            saved.Keep();
        }
        return code;
    }
    identitySecret = secret;
    if (const auto code = TakeAccessToken(responseBody); !IsSuccess(code)) {
        saved.Keep();
        return code;
    }

    if (const auto code = AcquireContextToken(mode, trustorId, errorInfo, context); !IsSuccess(code))
        return code;
    if (mode == kTrustorContext) {
        contextId = trustorId;
        contextMode = kTrustorContext;
    }
    saved.Keep();
    return ResultCode::kSuccess;
}

}  // namespace registry
