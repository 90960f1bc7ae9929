#include "facade/src/TokenCache.h"

#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>
#include <QtCore/QList>
#include <QtCore/QMutexLocker>

#include <string>
#include <utility>

#include "facade/src/ClientPrivate.h"

namespace Quillmark {

namespace {

// The margin is on the side of the old token: it serves until this long after its expiry.
constexpr qint64 kExpiryMarginS = 60;

}  // namespace

QJsonObject decodeClaims(const QByteArray& accessToken) {
    const QList<QByteArray> parts = accessToken.split('.');
    if (parts.size() < 2)
        return {};
    return QJsonDocument::fromJson(QByteArray::fromBase64(parts.at(1))).object();
}

bool isTokenUsable(const QJsonObject& claims, qint64 nowS) {
    return !claims.isEmpty() && claims.value(QLatin1String("exp")).toInteger(0) > nowS - kExpiryMarginS;
}

QByteArray ClientPrivate::cachedAccessToken() {
    const QMutexLocker lock(&mutex);
    return accessTokenBytes;
}

void ClientPrivate::loadAccessToken() {
    const QMutexLocker lock(&mutex);
    std::string token;
    if (IsSuccess(native().GetAccessToken(token)))
        storeAccessToken(token);
}

QByteArray ClientPrivate::refreshAccessToken(bool onlyIfExpired) {
    {
        const QMutexLocker lock(&mutex);  // over the network too: no reader sees the gap
        if (!onlyIfExpired || !isTokenUsable(decodedAccessToken, QDateTime::currentSecsSinceEpoch()))
            renewAccessToken();
    }
    return cachedAccessToken();
}

void ClientPrivate::clearAccessToken() {
    const QMutexLocker lock(&mutex);
    dropAccessToken();
}

void ClientPrivate::renewAccessToken() {
    dropAccessToken();
    std::string token;
    if (IsSuccess(native().RefreshAccessToken(token)))
        storeAccessToken(token);
}

void ClientPrivate::storeAccessToken(const std::string& token) {
    QByteArray bytes = QString::fromStdString(token).toLatin1();
    decodedAccessToken = decodeClaims(bytes);  // may throw: the token and its claims change together
    accessTokenBytes = std::move(bytes);
}

void ClientPrivate::dropAccessToken() {
    accessTokenBytes = QByteArray();
    decodedAccessToken = QJsonObject();
}

}  // namespace Quillmark
