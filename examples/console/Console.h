// The commands of the console and the dialogue of a sign-in: what a host does with each signal.
#pragma once

#include <Quillmark/Client.h>

#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtCore/QTimer>

#include "Terminal.h"

// Runs one command after the other. A command starts a call and ends with done(), mostly in the slot of the
// signal that answers.
class Console : public QObject {
public:
    // `client` and `terminal` outlive the console. With an empty `login` it is asked for, and without
    // commands these are.
    Console(Quillmark::Client& client, Terminal& terminal, QString login, QStringList commands);

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
    void providers();
    void socialSignIn();
    void socialSignUp();
    void socialToken();
    void status();
    void details();
    void token();
    void renew();
    void updates();
    void ticket();
    void metadata();
    void signOut();
    void help();
    void quit();

    // The dialogue of a sign-in.
    void onRequestSecondFactor(const QString& login, const QString& challengeToken);
    void onWrong2FACode(const QString& login);
    void onRequestSelectContext(const Quillmark::SignIn::SignInProcessResult& result);
    void onSignInFailed(const QString& login, QUILLMARKCLIENT_ERROR code, const QString& description);
    void onSignInSucceeded(const QString& login);
    void askSecondFactor(const QString& login);
    void askContext(const QString& login, const QList<Quillmark::SignIn::SignInContext>& contexts);
    void signInByCode(const QString& operation);
    void giveUp();

    void onExternalOauthProvidersFetched(const QList<QString>& providers);
    void onFetchUserInfoFailed(QUILLMARKCLIENT_ERROR code, const QString& description);
    void onUserInfoFetched(const Quillmark::SignIn::UserInfo& info);
    void onUpdateFound(const Quillmark::Updates::UpdateInfo& info);
    void onCheckForUpdateFailed(QUILLMARKCLIENT_ERROR code, const QString& description);
    void onCustomerRequestCreated(const Quillmark::CustomerRequest::CustomerRequestResult& result);
    void onCreateCustomerRequestFailed(const QUuid& requestId, QUILLMARKCLIENT_ERROR code,
                                       const QString& description);

    void next();
    void run(const QString& name);
    void done(bool ok);
    void showFailure(QUILLMARKCLIENT_ERROR code, const QString& description);
    [[nodiscard]] QString tokenExpiry() const;

    Quillmark::Client& client_;
    bool isChoosing_ = false;  // among the contexts that the service offered
    Terminal& terminal_;
    QTimer turn_;           // of the next command
    QString login_;         // of the option; empty: ask
    QStringList commands_;  // still to run
    bool interactive_;      // commands come from the input
    bool anyFailed_ = false;
    QString challengeToken_;  // of the second factor; wrong2FACode() doesn't repeat it
};
