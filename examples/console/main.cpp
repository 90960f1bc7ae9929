// A host on the console: signs a person in to the account service and shows every signal that comes.
//
//   quillmark-console --service https://account.example --storage ~/.example sign-in details
//   quillmark-console --service https://account.example --storage ~/.example     (asks for commands)
//
// It is the example to copy from. What every host does: connect the signals before the first start...() call,
// keep the challenge of a second factor until the dialogue ends, let a call end before the Client goes, and
// print neither passwords nor tokens.
//
// Questions are answered at the terminal, without echo where the answer is a secret, or line by line from a
// pipe. Exit code: 0 every command did what it is for, 1 one failed, 2 wrong usage.
#include <Quillmark/Client.h>
#include <termios.h>
#include <unistd.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QLoggingCategory>
#include <QtCore/QTextStream>
#include <QtCore/QTimer>
#include <iostream>
#include <optional>
#include <string>
#include <utility>

namespace {

using Quillmark::Client;
using Quillmark::SignIn::ContextType;
using Quillmark::SignIn::SignInContext;
using Quillmark::SignIn::SignInProcessResult;
using Quillmark::SignIn::UserInfo;

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// Keeps what is typed off the screen; does nothing when the input is no terminal.
class EchoOff {
public:
    EchoOff() {
        if (tcgetattr(STDIN_FILENO, &before_) != 0)
            return;
        termios quiet = before_;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        changed_ = tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) == 0;
    }
    ~EchoOff() {
        if (changed_)
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

private:
    termios before_{};
    bool changed_ = false;
};

// The person in front of the program, or the script behind its pipe.
class Terminal {
public:
    void say(const QString& line) { out_ << line << Qt::endl; }

    // One line of input; nothing at its end. Blocks: this host has nothing else to do meanwhile.
    std::optional<QString> ask(const QString& question) {
        auto answer = readLine(question);
        if (!isatty(STDIN_FILENO))
            say({});  // nobody pressed the key that ends the line
        return answer;
    }

    std::optional<QString> askSecret(const QString& question) {
        const EchoOff echoOff;
        auto answer = readLine(question);
        say({});
        return answer;
    }

private:
    std::optional<QString> readLine(const QString& question) {
        out_ << question << Qt::flush;
        std::string line;
        if (!std::getline(std::cin, line))
            return std::nullopt;
        return QString::fromLocal8Bit(line.data(), static_cast<qsizetype>(line.size()));
    }

    QTextStream out_{stdout};
};

// Runs one command after the other. A command starts a call and ends with done(), mostly in the slot of the
// signal that answers.
class Console : public QObject {
public:
    Console(Client& client, QString login, QStringList commands);

    void start() { turn_.start(); }

private:
    struct Command {
        const char* name;
        const char* help;
        void (Console::*run)();
    };
    static const Command kCommands[];

    // The commands.
    void signIn();
    void status();
    void details();
    void token();
    void renew();
    void signOut();
    void help();
    void quit();

    // The dialogue of a sign-in.
    void onRequestSecondFactor(const QString& login, const QString& challengeToken);
    void onWrong2FACode(const QString& login);
    void onRequestSelectContext(const SignInProcessResult& result);
    void onSignInFailed(const QString& login, QUILLMARKCLIENT_ERROR code, const QString& description);
    void onSignInSucceeded(const QString& login);
    void askSecondFactor(const QString& login);
    void giveUp();

    void onFetchUserInfoFailed(QUILLMARKCLIENT_ERROR code, const QString& description);
    void onUserInfoFetched(const UserInfo& info);

    void next();
    void run(const QString& name);
    void done(bool ok);
    void showFailure(QUILLMARKCLIENT_ERROR code, const QString& description);
    [[nodiscard]] QString tokenExpiry() const;

    Client& client_;
    bool isChoosing_ = false;  // among the contexts that the service offered
    Terminal terminal_;
    QTimer turn_;           // of the next command
    QString login_;         // of the option; empty: ask
    QStringList commands_;  // still to run
    bool interactive_;      // commands come from the input
    bool anyFailed_ = false;
    QString challengeToken_;  // of the second factor; wrong2FACode() doesn't repeat it
};

const Console::Command Console::kCommands[] = {
    {"sign-in", "sign in by password", &Console::signIn},
    {"status", "who talks to whom, and whether somebody is signed in", &Console::status},
    {"details", "the user's details, from the service", &Console::details},
    {"token", "the claims of the access token, renewed only if it has expired", &Console::token},
    {"renew", "get a new access token", &Console::renew},
    {"sign-out", "sign out", &Console::signOut},
    {"help", "this list", &Console::help},
    {"quit", "end the program", &Console::quit},
};

Console::Console(Client& client, QString login, QStringList commands)
    : client_(client),
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
    connect(&client_, &Client::signedOut, this, [this] { terminal_.say("<- signedOut"); });
    connect(&client_, &Client::fetchUserInfoFailed, this, &Console::onFetchUserInfoFailed);
    connect(&client_, &Client::userInfoFetched, this, &Console::onUserInfoFetched);
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
            QStringLiteral("  %1 %2").arg(QLatin1String(command.name), -9).arg(QLatin1String(command.help)));
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
    int number = 0;
    for (const SignInContext& context : result.contexts)
        terminal_.say(QStringLiteral("  %1  %2 (%3)")
                          .arg(QString::number(++number), context.name,
                               context.type == ContextType::Personal ? QStringLiteral("personal")
                                                                     : QStringLiteral("organisation")));

    const auto answer = terminal_.ask("Number of the context, empty to give up: ");
    const int chosen = answer ? answer->toInt() : 0;
    if (chosen < 1 || chosen > result.contexts.size())
        return giveUp();
    const SignInContext& context = result.contexts.at(chosen - 1);
    isChoosing_ = true;
    client_.startSignInToContext(result.login, context.type, context.id);
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

void Console::showFailure(QUILLMARKCLIENT_ERROR code, const QString& description) {
    terminal_.say(
        QStringLiteral("  0x%1  %2").arg(QString::number(static_cast<quint32>(code), 16), description));
    if (Client::isNetworkProblem(code))
        terminal_.say("  The service can't be reached; try again later");
}

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("quillmark-console");
    QCoreApplication::setApplicationVersion(Client::getVersionString());

    QCommandLineParser parser;
    parser.setApplicationDescription("Signs a person in to an account service.");
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({
        {"service", "Base URL of the account service.", "URL"},
        {"storage", "Folder of the token files; made if missing.", "DIR"},
        {"login", "Login of the account; asked for if missing.", "LOGIN"},
        {"language", "Language of the update feed.", "LANGUAGE", "en"},
        {"log", "Show the library's log."},
    });
    parser.addPositionalArgument("commands", "What to do, one after the other; none: asked for.",
                                 "[commands...]");
    parser.process(app);
    if (!parser.isSet("service") || !parser.isSet("storage")) {
        std::cerr << "--service and --storage are required; --help tells more\n";
        return kWrongUsage;
    }
    QLoggingCategory::setFilterRules(parser.isSet("log") ? "quillmark=true" : "quillmark=false");

    Quillmark::ClientParams params;
    params.serviceUrl = QUrl(parser.value("service"));
    params.storagePath = parser.value("storage");
    params.language = parser.value("language");
    if (!QDir().mkpath(params.storagePath)) {
        std::cerr << "The folder of --storage can't be made\n";
        return kWrongUsage;
    }

    Client* client = Client::create(&app, params);  // `app` owns it
    if (!client) {
        std::cerr << "The client can't start; --log shows why\n";
        return kFailed;
    }
    Console console(*client, parser.value("login"), parser.positionalArguments());
    console.start();
    return QCoreApplication::exec();
}
