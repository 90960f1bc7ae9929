// The dialogue of a sign-in: which answer of the native client asks the host for what.
//
// The resolve functions run on the pool, since they may have to ask the service again; the finish functions
// run on the host's side and look at nothing but the result. No state is kept between two steps.
#include "facade/src/ClientPrivate.h"
#include "facade/src/Conversions.h"

namespace Quillmark {

SignInResult ClientPrivate::resolveSignInStep(QUILLMARKCLIENT_ERROR code, const QString& login) {
    if (code == QUILLMARKCLIENT_ERROR::kTooManyContexts)
        return resolveContexts(login);
    if (code == QUILLMARKCLIENT_ERROR::kSecondFactorRequired)
        return {code, {login, {}, pendingChallengeToken()}};
    if (IsSuccess(code))
        loadAccessToken();
    return {code, {login, {}, {}}};
}

SignInResult ClientPrivate::resolveContexts(const QString& login) {
    std::vector<quillmarkclient::ContextEntry> entries;
    if (const auto code = native().GetCustomerContexts(entries); !IsSuccess(code))
        return abandonedSignIn(code, login);
    if (entries.empty())
        return abandonedSignIn(QUILLMARKCLIENT_ERROR::kInternalError, login);
    if (entries.size() > 1)
        return {QUILLMARKCLIENT_ERROR::kTooManyContexts, {login, toContexts(entries), {}}};
    // Nothing to ask.
    const auto code = selectContext(entries.front().kind, entries.front().id);
    return IsSuccess(code) ? SignInResult{code, {login, {}, {}}} : abandonedSignIn(code, login);
}

// The native client keeps its token for a choice that the host is never asked for: without this the host
// would hear of a failure and still find somebody signed in.
SignInResult ClientPrivate::abandonedSignIn(QUILLMARKCLIENT_ERROR code, const QString& login) {
    native().SignOut();
    return {code, {login, {}, {}}};
}

QUILLMARKCLIENT_ERROR ClientPrivate::selectContext(std::uint32_t kind, const std::string& contextId) {
    const auto code = native().SignInToContext(kind, contextId);
    if (IsSuccess(code))
        loadAccessToken();
    return code;
}

QString ClientPrivate::pendingChallengeToken() const {
    quillmarkclient::ServiceErrorValue error;
    if (!IsSuccess(native().GetLastServiceError(error)))
        return {};
    return findChallengeToken(error);
}

void ClientPrivate::finishSignInStep() {
    const auto result = takeResult<SignInResult>();
    const auto& [login, contexts, challengeToken] = result.value;
    if (result.error == QUILLMARKCLIENT_ERROR::kSecondFactorRequired && !challengeToken.isEmpty())
        Q_EMIT host().requestSecondFactor(login, challengeToken);
    else if (result.error == QUILLMARKCLIENT_ERROR::kInvalidVerificationCode)
        Q_EMIT host().wrong2FACode(login);
    else if (result.error == QUILLMARKCLIENT_ERROR::kTooManyContexts)
        Q_EMIT host().requestSelectContext(result.value);
    else
        emitSignInEnd(login, result.error);
}

void ClientPrivate::finishContextStep() {
    const auto result = takeResult<ContextResult>();
    emitSignInEnd(result.value, result.error);
}

void ClientPrivate::emitSignInEnd(const QString& login, QUILLMARKCLIENT_ERROR code) {
    if (IsSuccess(code))
        Q_EMIT host().signInSucceeded(login);
    else
        Q_EMIT host().signInFailed(login, code, Client::getErrorMessage(code));
}

void ClientPrivate::signOut() {
    native().SignOut();
    clearAccessToken();
    Q_EMIT host().signedOut();
}

}  // namespace Quillmark
