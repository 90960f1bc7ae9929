#include "SignalWatch.h"

#include <QtCore/QThread>

using Quillmark::Client;
using Quillmark::CustomerRequest::CustomerRequestResult;
using Quillmark::SignIn::SignInProcessResult;
using Quillmark::SignIn::UserInfo;
using Quillmark::Updates::UpdateInfo;

namespace {

QString failure(QUILLMARKCLIENT_ERROR code, const QString& description) {
    return QStringLiteral("0x%1 %2").arg(QString::number(static_cast<quint32>(code), 16), description);
}

}  // namespace

SignalWatch::SignalWatch(const Client& client, Terminal& terminal) : terminal_(terminal) {
    clock_.start();
    // The challenge is a secret of the dialogue: shown is that it came.
    connect(
        &client, &Client::requestSecondFactor, this,
        [this](const QString& login, const QString&) { show("requestSecondFactor(" + login + ", ***)"); },
        Qt::DirectConnection);
    connect(
        &client, &Client::wrong2FACode, this,
        [this](const QString& login) { show("wrong2FACode(" + login + ")"); }, Qt::DirectConnection);
    connect(
        &client, &Client::requestSelectContext, this,
        [this](const SignInProcessResult& result) {
            show(QStringLiteral("requestSelectContext(%1, %2 contexts)")
                     .arg(result.login, QString::number(result.contexts.size())));
        },
        Qt::DirectConnection);
    connect(
        &client, &Client::signInFailed, this,
        [this](const QString& login, QUILLMARKCLIENT_ERROR code, const QString& description) {
            show(QStringLiteral("signInFailed(%1, %2)").arg(login, failure(code, description)));
        },
        Qt::DirectConnection);
    connect(
        &client, &Client::signInSucceeded, this,
        [this](const QString& login) { show("signInSucceeded(" + login + ")"); }, Qt::DirectConnection);
    connect(
        &client, &Client::externalOauthProvidersFetched, this,
        [this](const QList<QString>& providers) {
            show("externalOauthProvidersFetched(" + providers.join(", ") + ")");
        },
        Qt::DirectConnection);
    connect(
        &client, &Client::signedOut, this, [this] { show("signedOut()"); }, Qt::DirectConnection);
    connect(
        &client, &Client::fetchUserInfoFailed, this,
        [this](QUILLMARKCLIENT_ERROR code, const QString& description) {
            show("fetchUserInfoFailed(" + failure(code, description) + ")");
        },
        Qt::DirectConnection);
    connect(
        &client, &Client::userInfoFetched, this,
        [this](const UserInfo& info) { show("userInfoFetched(" + info.email + ")"); }, Qt::DirectConnection);
    watchFeatures(client);
}

void SignalWatch::watchFeatures(const Client& client) {
    connect(
        &client, &Client::updateFound, this,
        [this](const UpdateInfo& info) {
            show(QStringLiteral("updateFound(%1, %2)").arg(info.version, info.url.toString()));
        },
        Qt::DirectConnection);
    connect(
        &client, &Client::checkForUpdateFailed, this,
        [this](QUILLMARKCLIENT_ERROR code, const QString& description) {
            show("checkForUpdateFailed(" + failure(code, description) + ")");
        },
        Qt::DirectConnection);
    connect(
        &client, &Client::customerRequestCreated, this,
        [this](const CustomerRequestResult& result) {
            show(QStringLiteral("customerRequestCreated(%1, %2)")
                     .arg(result.requestId.toString(), result.ticketNumber));
        },
        Qt::DirectConnection);
    connect(
        &client, &Client::createCustomerRequestFailed, this,
        [this](const QUuid& requestId, QUILLMARKCLIENT_ERROR code, const QString& description) {
            show(QStringLiteral("createCustomerRequestFailed(%1, %2)")
                     .arg(requestId.toString(), failure(code, description)));
        },
        Qt::DirectConnection);
}

void SignalWatch::show(const QString& signal) {
    const QThread* const thread = QThread::currentThread();
    const QString name = thread == this->thread() ? QStringLiteral("main") : thread->objectName();
    terminal_.say(
        QStringLiteral("[%1 ms, thread %2] %3")
            .arg(QString::number(clock_.elapsed()), name.isEmpty() ? QStringLiteral("other") : name, signal));
}
