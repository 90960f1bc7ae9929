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

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QLoggingCategory>
#include <iostream>
#include <optional>

#include "Console.h"
#include "SignalWatch.h"
#include "Terminal.h"

using Quillmark::Client;

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

}  // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("quillmark-console");
    QCoreApplication::setApplicationVersion(Client::getVersionString());

    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Uses an account service: signs a person in, looks for updates, files tickets.");
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({
        {"service", "Base URL of the account service.", "URL"},
        {"storage", "Folder of the token files; made if missing.", "DIR"},
        {"login", "Login of the account; asked for if missing.", "LOGIN"},
        {"language", "Language of the update feed.", "LANGUAGE", "en"},
        {"business", "The account is a business."},
        {"watch", "Show every signal with its time and thread."},
        {"log", "Show the library's log, secrets included."},
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
    if (parser.isSet("business"))
        params.flags |= Quillmark::ClientParams::BusinessClient;
    if (!QDir().mkpath(params.storagePath)) {
        std::cerr << "The folder of --storage can't be made\n";
        return kWrongUsage;
    }

    Client* client = Client::create(&app, params);  // `app` owns it
    if (!client) {
        std::cerr << "The client can't start; --log shows why\n";
        return kFailed;
    }
    Terminal terminal;
    std::optional<SignalWatch> watch;
    if (parser.isSet("watch"))
        watch.emplace(*client, terminal);
    Console console(*client, terminal, parser.value("login"), parser.positionalArguments());
    console.start();
    return QCoreApplication::exec();
}
