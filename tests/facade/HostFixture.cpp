#include "tests/facade/HostFixture.h"

#include <QtCore/QThread>
#include <QtCore/QUrl>
#include <QtCore/QUuid>
#include <algorithm>
#include <chrono>

namespace test_support {

using Quillmark::Client;
using Quillmark::SignIn::SignInContext;

namespace {

constexpr int kAnswerTimeoutMs = 60'000;  // only a hang ever waits so long
constexpr std::chrono::milliseconds kLateAnswer(200);
constexpr std::chrono::minutes kHeldAnswer(5);

QString errorText(QUILLMARKCLIENT_ERROR code, const QString& description) {
    return QStringLiteral("0x%1 %2").arg(QString::number(static_cast<quint32>(code), 16), description);
}

QString contextText(const SignInContext& context) {
    return QStringLiteral("[%1 %2 %3]")
        .arg(QString::number(static_cast<int>(context.type)), context.id, context.name);
}

}  // namespace

SignalRecorder::SignalRecorder(Client& client) {
    recordSignIn(client);
    connect(&client, &Client::fetchUserInfoFailed, this,
            [this](QUILLMARKCLIENT_ERROR code, const QString& description) {
                record("fetchUserInfoFailed " + errorText(code, description));
            });
    connect(&client, &Client::userInfoFetched, this, [this](const Quillmark::SignIn::UserInfo& info) {
        userInfo = info;
        record("userInfoFetched");
    });
    recordUpdatesAndRequests(client);
}

void SignalRecorder::recordSignIn(Client& client) {
    connect(&client, &Client::requestSecondFactor, this, [this](const QString& login, const QString& token) {
        challengeToken = token;
        record("requestSecondFactor " + login);
    });
    connect(&client, &Client::wrong2FACode, this,
            [this](const QString& login) { record("wrong2FACode " + login); });
    connect(&client, &Client::requestSelectContext, this,
            [this](const Quillmark::SignIn::SignInProcessResult& result) {
                selection = result;
                QStringList parts{"requestSelectContext " + result.login};
                for (const SignInContext& context : result.contexts)
                    parts << contextText(context);
                record(parts.join(' '));
            });
    connect(&client, &Client::signInFailed, this,
            [this](const QString& login, QUILLMARKCLIENT_ERROR code, const QString& description) {
                record("signInFailed " + login + ' ' + errorText(code, description));
            });
    connect(&client, &Client::signInSucceeded, this,
            [this](const QString& login) { record("signInSucceeded " + login); });
    connect(&client, &Client::externalOauthProvidersFetched, this, [this](const QList<QString>& fetched) {
        providers = fetched;
        record("externalOauthProvidersFetched " + fetched.join(' '));
    });
    connect(&client, &Client::signedOut, this, [this] { record("signedOut"); });
}

void SignalRecorder::recordUpdatesAndRequests(Client& client) {
    connect(&client, &Client::updateFound, this, [this](const Quillmark::Updates::UpdateInfo& info) {
        update = info;
        record("updateFound " + info.version + ' ' + info.url.toEncoded());
    });
    connect(&client, &Client::checkForUpdateFailed, this,
            [this](QUILLMARKCLIENT_ERROR code, const QString& description) {
                record("checkForUpdateFailed " + errorText(code, description));
            });
    connect(&client, &Client::customerRequestCreated, this,
            [this](const Quillmark::CustomerRequest::CustomerRequestResult& result) {
                record("customerRequestCreated " + result.requestId.toString() + ' ' + result.ticketNumber);
            });
    connect(&client, &Client::createCustomerRequestFailed, this,
            [this](const QUuid& requestId, QUILLMARKCLIENT_ERROR code, const QString& description) {
                record("createCustomerRequestFailed " + requestId.toString() + ' ' +
                       errorText(code, description));
            });
}

QString SignalRecorder::answerTo(const std::function<void()>& call) {
    lines.clear();
    QSignalSpy spy(this, &SignalRecorder::recorded);
    call();
    if (spy.isEmpty() && !spy.wait(kAnswerTimeoutMs))
        return "no signal";
    QCoreApplication::processEvents();
    return lines.join(", ");
}

void SignalRecorder::record(const QString& line) {
    lines << line;
    Q_EMIT recorded();
}

HostFixture::HostFixture(sandbox::Seed seed, const Earlier& earlier, quint32 flags)
    : service(std::move(seed)), client(createClient(earlier, flags)), recorder(*client) {}

Client* HostFixture::createClient(const Earlier& earlier, quint32 flags) const {
    if (earlier)
        earlier(service, storage.path());
    Quillmark::ClientParams params;
    params.serviceUrl = QUrl(QString::fromStdString(service.baseUrl()));
    params.storagePath = storage.path();
    params.language = "en";
    params.flags = flags;
    Client* created = Client::create(QCoreApplication::instance(), params);
    if (!created)
        qFatal("the client refuses to start");
    return created;
}

QString HostFixture::answerTo(const std::function<void()>& call) {
    return recorder.answerTo(call);
}

QString HostFixture::signIn(std::string_view account, const QString& password) {
    const QString known = QString::fromStdString(service.account(account).password);
    return answerTo([&] { client->startSignIn(loginOf(account), password.isEmpty() ? known : password); });
}

QString HostFixture::confirm(std::string_view account, const QString& code) {
    return answerTo(
        [&] { client->startConfirmSecondFactor(loginOf(account), recorder.challengeToken, code); });
}

QString HostFixture::chooseContext(std::string_view account, Quillmark::SignIn::ContextType type,
                                   const QString& id) {
    return answerTo([&] { client->startSignInToContext(loginOf(account), type, id); });
}

QString HostFixture::signInByCode(const QString& authCode, const QString& operation) {
    return answerTo([&] { client->startOAuthSignIn(authCode, operation); });
}

QString HostFixture::fetchProviders() {
    return answerTo([&] { client->startFetchExternalOauthProviders(); });
}

QString HostFixture::fetchUserInfo() {
    return answerTo([&] { client->startGetUserInfo(); });
}

void HostFixture::startAnew() {
    client->signOut();
    QCoreApplication::processEvents();  // signals of other threads
    recorder.lines.clear();
    recorder.challengeToken.clear();
    recorder.selection = {};
    recorder.providers.clear();
    recorder.userInfo = {};
    recorder.update = {};
    service.faults().clear();
    service.faults().allowWaits();
    service.service().reset();
    service.forgetExchanges();
}

void HostFixture::answerWith(const std::string& path, int status, const std::string& body,
                             std::uint32_t count) {
    sandbox::Fault fault;
    fault.kind = sandbox::FaultKind::status;
    fault.path = path;
    fault.count = count;
    fault.status = status;
    fault.body = body;
    service.faults().add(fault);
}

void HostFixture::letPass(const std::string& path) {
    sandbox::Fault fault;
    fault.kind = sandbox::FaultKind::delay;
    fault.path = path;
    service.faults().add(fault);
}

void HostFixture::cut(const std::string& path) {
    sandbox::Fault fault;
    fault.kind = sandbox::FaultKind::cut;
    fault.path = path;
    service.faults().add(fault);
}

void HostFixture::delay(const std::string& path) {
    sandbox::Fault fault;
    fault.path = path;
    fault.delay = kLateAnswer;
    service.faults().add(fault);
}

void HostFixture::hold(const std::string& path) {
    sandbox::Fault fault;
    fault.path = path;
    fault.delay = kHeldAnswer;
    service.faults().add(fault);
}

void HostFixture::release() {
    service.faults().endWaits();
}

void HostFixture::waitForRequest() {
    while (service.faults().waiting() != 0)
        QThread::yieldCurrentThread();
}

qsizetype HostFixture::exchangesOf(const std::string& path) {
    return std::ranges::count(service.exchanges(), path, &sandbox::ExchangeRecord::path);
}

QString HostFixture::loginOf(std::string_view account) const {
    return QString::fromStdString(service.account(account).login);
}

QString HostFixture::codeOf(std::string_view person) {
    return QString::fromStdString(service.socialCode(person));
}

QString HostFixture::claim(QLatin1String name) const {
    return Client::getDecodedAccessToken(client->getAccessTokenBytes()).value(name).toString();
}

}  // namespace test_support
