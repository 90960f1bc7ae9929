// A host for Windows, with the library in its DLL: signs in at an address and tells how that ended.
//
//   windows_host SERVICE_URL STORAGE_FOLDER LOGIN PASSWORD
//
// The exit status is 0 when somebody is signed in, 1 when the sign-in failed and 2 when there is no client.
#include <Quillmark/Client.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>

#include <cstdio>

namespace {

void Print(const char* what, const QString& text) {
    std::printf("%s: %s\n", what, qUtf8Printable(text));
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules("quillmark=false");
    const QStringList arguments = QCoreApplication::arguments();
    Print("version", Quillmark::Client::getVersionString());

    Quillmark::ClientParams params;
    params.serviceUrl = QUrl(arguments.value(1));
    params.storagePath = arguments.value(2);
    auto* client = Quillmark::Client::create(&app, params);
    if (client == nullptr)
        return 2;

    QObject::connect(client, &Quillmark::Client::signInSucceeded, &app, [client](const QString& login) {
        Print("signed in", login);
        Print("is signed in", client->getIsSignedIn() ? "yes" : "no");
        QCoreApplication::exit(0);
    });
    QObject::connect(client, &Quillmark::Client::signInFailed, &app,
                     [](const QString& login, QUILLMARKCLIENT_ERROR code, const QString& message) {
                         Print("not signed in", login);
                         std::printf("code: %08X\n", static_cast<unsigned>(code));
                         Print("message", message);
                         QCoreApplication::exit(1);
                     });
    client->startSignIn(arguments.value(3), arguments.value(4));
    return QCoreApplication::exec();
}
