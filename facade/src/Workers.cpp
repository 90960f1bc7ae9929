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

SignInResult ClientPrivate::oauthSignIn(const QString& authCode, const QString& operation) {
    const auto code = native().SignInWithSocialCode(authCode.toStdString(), toSocialOperation(operation));
    // The person gave no login: the account's address stands for it, as far as the service tells it.
    quillmarkclient::CustomerDataValue data;
    static_cast<void>(native().GetCustomerData(data));
    return resolveSignInStep(code, QString::fromStdString(data.email));
}

QList<QString> ClientPrivate::fetchExternalOauthProviders() {
    std::vector<std::string> keys;
    static_cast<void>(native().GetSocialProviders(keys));  // a failure is an empty list
    QList<QString> providers;
    providers.reserve(static_cast<qsizetype>(keys.size()));
    for (const std::string& key : keys)
        providers.append(QString::fromStdString(key));
    return providers;
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

UpdateResult ClientPrivate::checkForUpdates(const QString& feedName, const QString& feedVariant,
                                            const QString& currentVersion) {
    quillmarkclient::ProductUpdateInfoValue info;
    const auto code =
        native().GetProductUpdateInfo(feedName.toStdString(), feedVariant.toStdString(),
                                      currentVersion.toStdString(), language.toStdString(), info);
    if (!IsSuccess(code))
        return {code, {}};
    return {code, Updates::UpdateInfo::fromNative(info)};
}

CustomerRequestPair ClientPrivate::createCustomerRequest(const QUuid& requestId, const QString& email,
                                                         const QString& title, const QString& description,
                                                         const QMap<QString, QString>& additionalParameters) {
    std::vector<std::pair<std::string, std::string>> parameters;
    for (auto entry = additionalParameters.cbegin(); entry != additionalParameters.cend(); ++entry)
        parameters.emplace_back(entry.key().toStdString(), entry.value().toStdString());
    std::string number;
    const auto code = native().CreateTicket(email.toStdString(), title.toStdString(),
                                            description.toStdString(), parameters, number);
    return {code, {requestId, QString::fromStdString(number)}};
}

}  // namespace Quillmark
