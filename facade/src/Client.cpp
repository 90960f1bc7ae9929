#include <Quillmark/Client.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QMutexLocker>

#include <memory>
#include <string>

#include "core/src/QuillmarkClient.h"
#include "core/src/Version.h"
#include "facade/src/ClientPrivate.h"
#include "facade/src/LogRouting.h"
#include "facade/src/TokenCache.h"

namespace Quillmark {

QMutex Client::createLock;
Client* Client::instance_ = nullptr;

Client::Client(QCoreApplication* app, const ClientParams& params)
    : QObject(app), d_(new ClientPrivate(this, params)) {}

Client::~Client() = default;

Client* Client::create(QCoreApplication* app, const ClientParams& params) {
    if (!app)
        return nullptr;
    const QMutexLocker lock(&createLock);
    if (instance_)
        return instance_;
    std::unique_ptr<Client> client(new Client(app, params));
    if (client->d_func()->hasStarted())
        instance_ = client.release();  // `app` owns it
    return instance_;
}

void* Client::getInstance() const {
    return d_func()->sharedInterface();
}

quint32 Client::getVersion() {
    return quillmarkclient::kLibraryVersion;
}

QString Client::getVersionString() {
    const auto part = [](int shift) { return QString::number(getVersion() >> shift & 0xFFu); };
    return QStringLiteral("%1.%2.%3").arg(part(24), part(16), part(8));
}

QString Client::getErrorMessage(QUILLMARKCLIENT_ERROR code) {
    return QString::fromStdString(quillmarkclient::QuillmarkClient::GetErrorMessage(code));
}

bool Client::isNetworkProblem(QUILLMARKCLIENT_ERROR code) {
    return code == QUILLMARKCLIENT_ERROR::kRequestNotSent;
}

QJsonObject Client::getDecodedAccessToken(const QByteArray& accessToken) {
    return decodeClaims(accessToken);
}

void Client::startSignIn(const QString& login, const QString& password) {
    d_func()->startSignIn(login, password);
}

void Client::startConfirmSecondFactor(const QString& login, const QString& challengeToken,
                                      const QString& code) {
    d_func()->startConfirmSecondFactor(login, challengeToken, code);
}

void Client::startSignInToContext(const QString& login, SignIn::ContextType type, const QString& contextId) {
    d_func()->startSignInToContext(login, type, contextId);
}

void Client::startOAuthSignIn(const QString& authCode, const QString& operation) {
    d_func()->startOAuthSignIn(authCode, operation);
}

void Client::startFetchExternalOauthProviders() {
    d_func()->startFetchExternalOauthProviders();
}

void Client::signOut() {
    d_func()->signOut();
}

bool Client::getIsSignedIn() const {
    return d_func()->native().IsSignedIn();
}

QByteArray Client::getAccessTokenBytes() const {
    return d_func()->cachedAccessToken();
}

QByteArray Client::refreshAccessToken(bool onlyIfExpired) const {
    return d_func()->refreshAccessToken(onlyIfExpired);
}

void Client::startGetUserInfo() {
    if (getIsSignedIn())
        d_func()->startGetUserInfo();
}

void Client::startCheckForUpdates(const QString& feedName, const QString& feedVariant,
                                  const QString& currentVersion) {
    d_func()->startCheckForUpdates(feedName, feedVariant, currentVersion);
}

QUrl Client::getLinuxREDownloadUrl(const QString& feedName, const QString& feedVariant,
                                   const QString& currentVersion) const {
    return d_func()->checkForUpdates(feedName, feedVariant, currentVersion).value.url;
}

void Client::startCreateCustomerRequest(const QUuid& requestId, const QString& email, const QString& title,
                                        const QString& description,
                                        const QMap<QString, QString>& additionalParameters) {
    d_func()->startCreateCustomerRequest(requestId, email, title, description, additionalParameters);
}

QString Client::getBasicEndpoint() const {
    std::string endpoint;
    if (!IsSuccess(d_func()->native().GetBasicEndpoint(endpoint)))
        return {};
    return QString::fromStdString(endpoint);
}

QString Client::getPCGuid() const {
    std::string deviceId;
    if (!IsSuccess(d_func()->native().GetDeviceId(deviceId)))
        return {};
    return QString::fromStdString(deviceId);
}

void Client::persistIdentityToFile(const QString& path) const {
    if (!IsSuccess(d_func()->native().PersistIdentityToken(path.toStdString())))
        logFailure(QStringLiteral("Failed to inject identity token to config file %1").arg(path));
}

}  // namespace Quillmark
