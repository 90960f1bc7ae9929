#include "Console.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>
#include <QtCore/QSysInfo>
#include <QtCore/QThread>
#include <utility>

#include "MachineStorage.h"
#include "NativeSession.h"

using Quillmark::Client;
using Quillmark::CustomerRequest::CustomerRequestResult;
using Quillmark::SignIn::ContextType;
using Quillmark::SignIn::SignInContext;
using Quillmark::SignIn::SignInProcessResult;
using Quillmark::SignIn::UserInfo;
using Quillmark::Updates::UpdateInfo;

namespace {

constexpr int kFailed = 1;

// The beginning of a feed's HTML as a terminal may show it: without tags, and without bytes that steer it.
QString plainText(QString html) {
    constexpr qsizetype length = 60;
    static const QRegularExpression tags("<[^>]*>");
    html.replace(tags, " ");
    html.removeIf([](QChar letter) { return !letter.isPrint() && !letter.isSpace(); });
    html = html.simplified();
    return html.size() > length ? html.left(length) + "..." : html;
}

}  // namespace

const Console::Command Console::kCommands[] = {
    {"sign-in", "sign in by password", &Console::signIn},
    {"providers", "the social providers that the service knows", &Console::providers},
    {"social-sign-in", "sign in with a code of a provider's browser page", &Console::socialSignIn},
    {"social-sign-up", "the same, and make the account first", &Console::socialSignUp},
    {"social-token", "sign in with an access token of a provider", &Console::socialToken},
    {"status", "who talks to whom, and whether somebody is signed in", &Console::status},
    {"details", "the user's details, from the service", &Console::details},
    {"token", "the claims of the access token, renewed only if it has expired", &Console::token},
    {"renew", "get a new access token", &Console::renew},
    {"updates", "whether there is a newer build of a product", &Console::updates},
    {"ticket", "file a customer request", &Console::ticket},
    {"metadata", "report this machine's disks to the service", &Console::metadata},
    {"sign-out", "sign out", &Console::signOut},
    {"help", "this list", &Console::help},
    {"quit", "end the program", &Console::quit},
};

Console::Console(Client& client, Terminal& terminal, QString login, QStringList commands)
    : client_(client),
      terminal_(terminal),
      login_(std::move(login)),
      commands_(std::move(commands)),
      interactive_(commands_.isEmpty()) {
    turn_.setSingleShot(true);
    connect(&turn_, &QTimer::timeout, this, &Console::next);
    connect(&client_, &Client::requestSecondFactor, this, &Console::onRequestSecondFactor);
    connect(&client_, &Client::wrong2FACode, this, &Console::onWrong2FACode);
    connect(&client_, &Client::requestSelectContext, this, &Console::onRequestSelectContext);
    connect(&client_, &Client::signInFailed, this, &Console::onSignInFailed);
    connect(&client_, &Client::signInSucceeded, this, &Console::onSignInSucceeded);
    connect(&client_, &Client::externalOauthProvidersFetched, this,
            &Console::onExternalOauthProvidersFetched);
    connect(&client_, &Client::signedOut, this, [this] { terminal_.say("<- signedOut"); });
    connect(&client_, &Client::fetchUserInfoFailed, this, &Console::onFetchUserInfoFailed);
    connect(&client_, &Client::userInfoFetched, this, &Console::onUserInfoFetched);
    connect(&client_, &Client::updateFound, this, &Console::onUpdateFound);
    connect(&client_, &Client::checkForUpdateFailed, this, &Console::onCheckForUpdateFailed);
    connect(&client_, &Client::customerRequestCreated, this, &Console::onCustomerRequestCreated);
    connect(&client_, &Client::createCustomerRequestFailed, this, &Console::onCreateCustomerRequestFailed);
}

void Console::next() {
    if (!commands_.isEmpty())
        return run(commands_.takeFirst());
    const auto line = interactive_ ? terminal_.ask("> ") : std::nullopt;
    if (!line)
        return quit();
    run(line->trimmed());
}

void Console::run(const QString& name) {
    if (name.isEmpty())
        return done(true);
    for (const Command& command : kCommands)
        if (name == QLatin1String(command.name))
            return (this->*command.run)();
    terminal_.say(QStringLiteral("There is no command \"%1\"; \"help\" lists them").arg(name));
    done(false);
}

// The next command starts from the event loop, so that no signal's emission is still on the stack. Commands
// of the command line stop at the first failure.
void Console::done(bool ok) {
    anyFailed_ = anyFailed_ || !ok;
    if (!ok && !interactive_)
        return quit();
    turn_.start();
}

void Console::quit() {
    QCoreApplication::exit(anyFailed_ ? kFailed : 0);
}

void Console::help() {
    for (const Command& command : kCommands)
        terminal_.say(
            QStringLiteral("  %1 %2").arg(QLatin1String(command.name), -14).arg(QLatin1String(command.help)));
    done(true);
}

// ---- Sign-in ---------------------------------------------------------------------------------------------

void Console::signIn() {
    const auto login = login_.isEmpty() ? terminal_.ask("Login: ") : login_;
    const auto password = login ? terminal_.askSecret("Password: ") : std::nullopt;
    if (!password)
        return giveUp();
    client_.startSignIn(*login, *password);
}

void Console::onRequestSecondFactor(const QString& login, const QString& challengeToken) {
    terminal_.say(QStringLiteral("<- requestSecondFactor: %1").arg(login));
    challengeToken_ = challengeToken;
    askSecondFactor(login);
}

void Console::onWrong2FACode(const QString& login) {
    terminal_.say(QStringLiteral("<- wrong2FACode: %1").arg(login));
    askSecondFactor(login);
}

void Console::askSecondFactor(const QString& login) {
    const auto code = terminal_.ask("Code of your authenticator, empty to give up: ");
    if (!code || code->isEmpty())
        return giveUp();
    client_.startConfirmSecondFactor(login, challengeToken_, *code);
}

void Console::onRequestSelectContext(const SignInProcessResult& result) {
    terminal_.say(QStringLiteral("<- requestSelectContext: %1").arg(result.login));
    askContext(result.login, result.contexts);
}

void Console::askContext(const QString& login, const QList<SignInContext>& contexts) {
    int number = 0;
    for (const SignInContext& context : contexts)
        terminal_.say(QStringLiteral("  %1  %2 (%3)")
                          .arg(QString::number(++number), context.name,
                               context.type == ContextType::Personal ? QStringLiteral("personal")
                                                                     : QStringLiteral("organisation")));

    const auto answer = terminal_.ask("Number of the context, empty to give up: ");
    const int chosen = answer ? answer->toInt() : 0;
    if (chosen < 1 || chosen > contexts.size())
        return giveUp();
    const SignInContext& context = contexts.at(chosen - 1);
    isChoosing_ = true;
    client_.startSignInToContext(login, context.type, context.id);
}

void Console::onSignInFailed(const QString& login, QUILLMARKCLIENT_ERROR code, const QString& description) {
    terminal_.say(QStringLiteral("<- signInFailed: %1").arg(login));
    showFailure(code, description);
    if (std::exchange(isChoosing_, false))
        return giveUp();
    done(false);
}

void Console::onSignInSucceeded(const QString& login) {
    isChoosing_ = false;
    terminal_.say(QStringLiteral("<- signInSucceeded: %1").arg(login));
    done(true);
}

// ---- Social providers

void Console::providers() {
    client_.startFetchExternalOauthProviders();
}

void Console::onExternalOauthProvidersFetched(const QList<QString>& providers) {
    terminal_.say("<- externalOauthProvidersFetched");
    for (const QString& provider : providers)
        terminal_.say("  " + provider);
    done(!providers.isEmpty());
}

// A host with a window opens the provider's page in a browser and takes the code from where that leads.
void Console::socialSignIn() {
    signInByCode("SIGN_IN");
}

void Console::socialSignUp() {
    signInByCode("SIGN_UP");
}

void Console::signInByCode(const QString& operation) {
    const auto code = terminal_.askSecret("Code of the provider: ");
    if (!code)
        return giveUp();
    client_.startOAuthSignIn(*code, operation);
}

// The facade has no signal for this road: it goes by the native interface, which blocks for the exchanges.
void Console::socialToken() {
    const auto provider = terminal_.ask("Key of the provider: ");
    const auto token = provider ? terminal_.askSecret("Access token of the provider: ") : std::nullopt;
    if (!token)
        return giveUp();
    const NativeSession session(client_);
    const auto code = session.signInWithSocialToken(*provider, *token);
    if (code == QUILLMARKCLIENT_ERROR::kTooManyContexts)
        return askContext({}, session.contexts());
    if (!IsSuccess(code)) {
        showFailure(code, Client::getErrorMessage(code));
        return done(false);
    }
    terminal_.say("Signed in by the native interface");
    client_.refreshAccessToken(false);  // the facade's copy of the token is that of a former sign-in
    done(true);
}

// A choice that is never made would leave a sign-in half done.
void Console::giveUp() {
    terminal_.say("Sign-in given up");
    client_.signOut();
    done(false);
}

void Console::signOut() {
    client_.signOut();  // signedOut() fires before it returns
    done(true);
}

// ---- Information -----------------------------------------------------------------------------------------

void Console::status() {
    terminal_.say(QStringLiteral("Library    %1").arg(Client::getVersionString()));
    terminal_.say(QStringLiteral("Service    %1").arg(client_.getBasicEndpoint()));
    terminal_.say(QStringLiteral("Machine    %1").arg(client_.getPCGuid()));
    terminal_.say(QStringLiteral("Signed in  %1")
                      .arg(client_.getIsSignedIn()
                               ? QStringLiteral("yes, access token until %1").arg(tokenExpiry())
                               : QStringLiteral("no")));
    done(true);
}

void Console::details() {
    if (!client_.getIsSignedIn()) {  // no signal would answer
        terminal_.say("Nobody is signed in");
        return done(false);
    }
    client_.startGetUserInfo();
}

void Console::onUserInfoFetched(const UserInfo& info) {
    terminal_.say("<- userInfoFetched");
    terminal_.say(QStringLiteral("  Name      %1 %2").arg(info.firstName, info.lastName));
    terminal_.say(QStringLiteral("  E-mail    %1").arg(info.email));
    terminal_.say(QStringLiteral("  Id        %1").arg(info.id));
    terminal_.say(QStringLiteral("  Customer  %1, contact %2%3")
                      .arg(info.customerNumber, info.customerContactNumber,
                           info.isBusiness ? QStringLiteral(" (business)") : QString()));
    done(true);
}

void Console::onFetchUserInfoFailed(QUILLMARKCLIENT_ERROR code, const QString& description) {
    terminal_.say("<- fetchUserInfoFailed");
    showFailure(code, description);
    done(false);
}

// Both block for the exchange; a host with a window calls refreshAccessToken() on a thread of its own.
void Console::token() {
    const QByteArray bytes = client_.refreshAccessToken(true);
    if (bytes.isEmpty()) {
        terminal_.say("There is no access token");
        return done(false);
    }
    const QJsonDocument claims(Client::getDecodedAccessToken(bytes));
    terminal_.say(QString::fromUtf8(claims.toJson()).trimmed());
    done(true);
}

void Console::renew() {
    const QByteArray before = client_.getAccessTokenBytes();
    const QByteArray after = client_.refreshAccessToken(false);
    if (after.isEmpty()) {
        terminal_.say("The access token couldn't be renewed");
        return done(false);
    }
    terminal_.say(QStringLiteral("%1, until %2")
                      .arg(after == before ? QStringLiteral("The same access token")
                                           : QStringLiteral("A new access token"),
                           tokenExpiry()));
    done(true);
}

QString Console::tokenExpiry() const {
    const QJsonObject claims = Client::getDecodedAccessToken(client_.getAccessTokenBytes());
    return QDateTime::fromSecsSinceEpoch(claims.value("exp").toInteger()).toString(Qt::ISODate);
}

// ---- Updates, customer requests, backup metadata ---------------------------------------------------------

void Console::updates() {
    const auto feed = terminal_.ask("Name of the product's feed: ");
    const auto variant = feed ? terminal_.ask("Variant: ") : std::nullopt;
    const auto version = variant ? terminal_.ask("Version that you have: ") : std::nullopt;
    if (!version)
        return done(false);
    client_.startCheckForUpdates(*feed, *variant, *version);
}

void Console::onUpdateFound(const UpdateInfo& info) {
    terminal_.say(QStringLiteral("<- updateFound: %1").arg(plainText(info.version)));
    terminal_.say(QStringLiteral("  Notes     %1").arg(plainText(info.description)));
    const bool isSafe = info.isValid() && info.url.scheme() == QLatin1String("https");
    terminal_.say(
        QStringLiteral("  Download  %1")
            .arg(isSafe ? info.url.toString(QUrl::FullyEncoded) : QStringLiteral("none that is safe")));
    done(true);
}

void Console::onCheckForUpdateFailed(QUILLMARKCLIENT_ERROR code, const QString& description) {
    terminal_.say("<- checkForUpdateFailed");
    showFailure(code, description);
    done(false);
}

// The identifier is this host's own: several requests may run at once, and it tells their answers apart.
void Console::ticket() {
    const auto email = terminal_.ask("Your e-mail address: ");
    const auto title = email ? terminal_.ask("Title: ") : std::nullopt;
    const auto description = title ? terminal_.ask("Description: ") : std::nullopt;
    if (!description)
        return done(false);
    client_.startCreateCustomerRequest(QUuid::createUuid(), *email, *title, *description,
                                       {{"application", QCoreApplication::applicationName()},
                                        {"version", QCoreApplication::applicationVersion()}});
}

void Console::onCustomerRequestCreated(const CustomerRequestResult& result) {
    terminal_.say(QStringLiteral("<- customerRequestCreated: %1").arg(result.ticketNumber));
    done(true);
}

void Console::onCreateCustomerRequestFailed(const QUuid&, QUILLMARKCLIENT_ERROR code,
                                            const QString& description) {
    terminal_.say("<- createCustomerRequestFailed");
    showFailure(code, description);
    done(false);
}

// By the native interface, which blocks for the exchange.
void Console::metadata() {
    const QByteArray name = QSysInfo::machineHostName().toUtf8();
    const QByteArray product = QSysInfo::prettyProductName().toUtf8();
    const QByteArray build = QSysInfo::kernelVersion().toUtf8();
    const QByteArray version = QSysInfo::productVersion().toUtf8();
    const QByteArray processor = QSysInfo::currentCpuArchitecture().toUtf8();
    quillmarkclient::SystemInfo system{};
    system.deviceName = name.constData();
    system.operatingSystemName = product.constData();
    system.operatingSystemBuild = build.constData();
    system.operatingSystemVersion = version.constData();
    system.memoryAmount = UINT32_MAX;  // unknown
    system.cpuDescription = processor.constData();
    system.cpuCores = static_cast<std::uint32_t>(QThread::idealThreadCount());

    const MachineStorage storage;
    const auto code =
        NativeSession(client_).sendBackupMetadata({&system, &storage.disks(), nullptr, nullptr});
    if (!IsSuccess(code)) {
        showFailure(code, Client::getErrorMessage(code));
        return done(false);
    }
    terminal_.say(QStringLiteral("Disks reported: %1").arg(storage.disks().count));
    done(true);
}

void Console::showFailure(QUILLMARKCLIENT_ERROR code, const QString& description) {
    terminal_.say(
        QStringLiteral("  0x%1  %2").arg(QString::number(static_cast<quint32>(code), 16), description));
    if (Client::isNetworkProblem(code))
        terminal_.say("  The service can't be reached; try again later");
}
