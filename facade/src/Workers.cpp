// What runs on the pool's threads. Every call of the native client waits for its mutex and then for the
// network.
#include <QtCore/QMutexLocker>

#include "facade/src/ClientPrivate.h"
#include "facade/src/Conversions.h"

namespace Quillmark {

SignInResult ClientPrivate::signIn(const QString& login, const QString& password) {
    const auto code = native().SignIn(login.toStdString(), password.toStdString());
    return resolveSignInStep(code, login);
}

SignInResult ClientPrivate::confirmSecondFactor(const QString& login, const QString& challengeToken,
                                                const QString& code) {
    const auto answer = native().ConfirmSecondFactor(challengeToken.toStdString(), code.toStdString());
    if (answer == QUILLMARKCLIENT_ERROR::kInvalidVerificationCode)
        return {answer, {login, {}, challengeToken}};
    return resolveSignInStep(answer, login);
}

ContextResult ClientPrivate::signInToContext(const QString& login, SignIn::ContextType type,
                                             const QString& contextId) {
    return {selectContext(toNativeKind(type), contextId.toStdString()), login};
}

UserInfoResult ClientPrivate::fetchUserInfo() {
    quillmarkclient::CustomerDataValue data;
    const auto code = native().GetCustomerData(data);
    if (!IsSuccess(code))
        return {code, {}};

    QJsonObject claims;
    {
        const QMutexLocker lock(&mutex);
        claims = decodedAccessToken;
    }
    return {code, toUserInfo(data, claims)};
}

}  // namespace Quillmark
