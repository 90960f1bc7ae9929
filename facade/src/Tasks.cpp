// The tasks: which worker each start...() of the host runs, what ends it, and what its end finds when the
// worker throws.
#include "facade/src/ClientPrivate.h"

namespace Quillmark {

namespace {

constexpr QUILLMARKCLIENT_ERROR kThrown = QUILLMARKCLIENT_ERROR::kInternalError;

SignInResult thrownSignIn(const QString& login) {
    return {kThrown, {login, {}, {}}};
}

}  // namespace

void ClientPrivate::startSignIn(const QString& login, const QString& password) {
    start(thrownSignIn(login), &ClientPrivate::finishSignInStep, &ClientPrivate::signIn, login, password);
}

void ClientPrivate::startConfirmSecondFactor(const QString& login, const QString& challengeToken,
                                             const QString& code) {
    start(thrownSignIn(login), &ClientPrivate::finishSignInStep, &ClientPrivate::confirmSecondFactor, login,
          challengeToken, code);
}

void ClientPrivate::startSignInToContext(const QString& login, SignIn::ContextType type,
                                         const QString& contextId) {
    start(ContextResult{kThrown, login}, &ClientPrivate::finishContextStep, &ClientPrivate::signInToContext,
          login, type, contextId);
}

void ClientPrivate::startOAuthSignIn(const QString& authCode, const QString& operation) {
    // A failed social sign-in knows no login.
    start(thrownSignIn({}), &ClientPrivate::finishSignInStep, &ClientPrivate::oauthSignIn, authCode,
          operation);
}

void ClientPrivate::startFetchExternalOauthProviders() {
    start(QList<QString>(), &ClientPrivate::finishExternalOauthProviders,
          &ClientPrivate::fetchExternalOauthProviders);
}

void ClientPrivate::startGetUserInfo() {
    start(UserInfoResult{kThrown, {}}, &ClientPrivate::finishUserInfo, &ClientPrivate::fetchUserInfo);
}

void ClientPrivate::startCheckForUpdates(const QString& feedName, const QString& feedVariant,
                                         const QString& currentVersion) {
    start(UpdateResult{kThrown, {}}, &ClientPrivate::finishUpdateCheck, &ClientPrivate::checkForUpdates,
          feedName, feedVariant, currentVersion);
}

void ClientPrivate::startCreateCustomerRequest(const QUuid& requestId, const QString& email,
                                               const QString& title, const QString& description,
                                               const QMap<QString, QString>& additionalParameters) {
    start(CustomerRequestPair{kThrown, {requestId, {}}}, &ClientPrivate::finishCustomerRequest,
          &ClientPrivate::createCustomerRequest, requestId, email, title, description, additionalParameters);
}

}  // namespace Quillmark
