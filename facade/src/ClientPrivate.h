// The private half of Client: the native client, the workers and what their ends tell the host.
//
// Its sources by subject: ClientPrivate.cpp starts and ends it, Tasks.cpp says what each start...() runs,
// Workers.cpp talks to the service on the pool's threads, SignInDialogue.cpp turns codes into the steps of a
// sign-in, Answers.cpp the other tasks' ends into signals, TokenCache.cpp keeps the access token. Lock order:
// `mutex` first, then the native client's own.
#pragma once

#include <Quillmark/Client.h>
#include <Quillmark/ClientParams.h>
#include <Quillmark/SignIn.h>

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QByteArray>
#include <QtCore/QFutureWatcher>
#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtCore/QThreadPool>
#include <QtCore/QUuid>

#include <functional>
#include <memory>
#include <string>
#include <type_traits>

#include "core/src/QuillmarkClient.h"
#include "facade/src/ResultPair.h"

namespace Quillmark {

using SignInResult = ResultPair<SignIn::SignInProcessResult>;
using ContextResult = ResultPair<QString>;  // the value is the login
using UserInfoResult = ResultPair<SignIn::UserInfo>;
using UpdateResult = ResultPair<Updates::UpdateInfo>;
using CustomerRequestPair = ResultPair<CustomerRequest::CustomerRequestResult>;

struct InterfaceRelease {
    void operator()(quillmarkclient::IQuillmarkClient* native) const { native->Release(); }
};

// Watches one task. An exception that leaves a slot ends the process, so none comes out of here: the task
// keeps its own inside, but storing its result may throw too, and the future would throw that again.
template <typename Result>
class TaskWatcher : public QFutureWatcher<Result> {
public:
    explicit TaskWatcher(const Result& thrown) : thrown_(thrown) {}

    [[nodiscard]] Result takenResult() const {
        try {
            return this->result();
        } catch (...) {
            return thrown_;
        }
    }

private:
    Result thrown_;
};

class ClientPrivate : public QObject {
    Q_OBJECT

public:
    // Always completes; `instance` stays null when the native client refuses to start.
    ClientPrivate(Client* client, const ClientParams& params);
    ~ClientPrivate() override;

    // The native client. Asking without one is a fault of the program: throws as Q_CHECK_PTR does.
    [[nodiscard]] quillmarkclient::QuillmarkClient& native() const;
    [[nodiscard]] bool hasStarted() const { return instance != nullptr; }
    [[nodiscard]] quillmarkclient::IQuillmarkClient* sharedInterface() const { return nativeInterface.get(); }

    // ---- On the caller's thread; each but the last starts a task
    void startSignIn(const QString& login, const QString& password);
    void startConfirmSecondFactor(const QString& login, const QString& challengeToken, const QString& code);
    void startSignInToContext(const QString& login, SignIn::ContextType type, const QString& contextId);
    void startOAuthSignIn(const QString& authCode, const QString& operation);
    void startFetchExternalOauthProviders();
    void startGetUserInfo();
    void startCheckForUpdates(const QString& feedName, const QString& feedVariant,
                              const QString& currentVersion);
    void startCreateCustomerRequest(const QUuid& requestId, const QString& email, const QString& title,
                                    const QString& description,
                                    const QMap<QString, QString>& additionalParameters);
    void signOut();

    // Runs `worker(this, arguments...)` with copies of the arguments on the pool; `finish` runs behind it on
    // this object's thread. The caller's thread delivers the end, so it must run an event loop. Whatever the
    // worker throws, `finish` finds `thrown`, made ahead: behind an exhausted memory nothing can be made.
    template <typename Result, typename Worker, typename... Arguments>
    void start(const Result& thrown, void (ClientPrivate::*finish)(), Worker worker,
               const Arguments&... arguments);

    // ---- Workers, on a thread of the pool
    SignInResult signIn(const QString& login, const QString& password);
    SignInResult confirmSecondFactor(const QString& login, const QString& challengeToken,
                                     const QString& code);
    ContextResult signInToContext(const QString& login, SignIn::ContextType type, const QString& contextId);
    SignInResult oauthSignIn(const QString& authCode, const QString& operation);
    QList<QString> fetchExternalOauthProviders();
    UserInfoResult fetchUserInfo();
    UpdateResult checkForUpdates(const QString& feedName, const QString& feedVariant,
                                 const QString& currentVersion);
    CustomerRequestPair createCustomerRequest(const QUuid& requestId, const QString& email,
                                              const QString& title, const QString& description,
                                              const QMap<QString, QString>& additionalParameters);

    // ---- Ends of the workers, on this object's thread
    void finishSignInStep();
    void finishContextStep();
    void finishExternalOauthProviders();
    void finishUserInfo();
    void finishUpdateCheck();
    void finishCustomerRequest();

    // ---- The token cache; each takes `mutex`
    [[nodiscard]] QByteArray cachedAccessToken();
    QByteArray refreshAccessToken(bool onlyIfExpired);
    void loadAccessToken();
    void clearAccessToken();

private:
    // What the worker behind the sender gave back; a default value without a sender. The watcher is done
    // with.
    template <typename T>
    [[nodiscard]] T takeResult(bool deleteWatcher = true);

    [[nodiscard]] SignInResult resolveSignInStep(QUILLMARKCLIENT_ERROR code, const QString& login);
    [[nodiscard]] SignInResult resolveContexts(const QString& login);
    [[nodiscard]] SignInResult abandonedSignIn(QUILLMARKCLIENT_ERROR code, const QString& login);
    [[nodiscard]] QUILLMARKCLIENT_ERROR selectContext(std::uint32_t kind, const std::string& contextId);
    [[nodiscard]] QString pendingChallengeToken() const;
    void emitSignInEnd(const QString& login, QUILLMARKCLIENT_ERROR code);
    [[nodiscard]] Client& host() const;

    // The caller holds `mutex`.
    void renewAccessToken();
    void storeAccessToken(const std::string& token);
    void dropAccessToken();

    // Destroyed from the last to the first: the interface goes before the client whose core it shares. The
    // pool is a child, so it goes last, in ~QObject, and only there are running tasks waited for.
    std::unique_ptr<quillmarkclient::QuillmarkClient> instance;  // null when initialisation failed
    std::unique_ptr<quillmarkclient::IQuillmarkClient, InterfaceRelease> nativeInterface;  // one reference
    QThreadPool* pool;
    QPointer<Client> q;
    QMutex mutex;  // guards the next two
    QByteArray accessTokenBytes;
    QJsonObject decodedAccessToken;
    QString language;  // of the update feed
};

template <typename Result, typename Worker, typename... Arguments>
void ClientPrivate::start(const Result& thrown, void (ClientPrivate::*finish)(), Worker worker,
                          const Arguments&... arguments) {
    const auto guarded = [this, worker, thrown = Result(thrown)](const auto&... copies) -> Result {
        try {
            return std::invoke(worker, this, copies...);
        } catch (...) {
            // The host will hear that the sign-in failed, so nobody may be signed in by it.
            if constexpr (std::is_same_v<Result, SignInResult>) {
                if (instance)
                    instance->SignOut();
            }
            return thrown;
        }
    };
    auto watcher = std::make_unique<TaskWatcher<Result>>(thrown);
    connect(watcher.get(), &QFutureWatcherBase::finished, this, finish);
    watcher->setFuture(QtConcurrent::run(pool, guarded, arguments...));
    (void)watcher.release();  // takeResult deletes it
}

template <typename T>
T ClientPrivate::takeResult(bool deleteWatcher) {
    auto* watcher = static_cast<TaskWatcher<T>*>(sender());
    if (!watcher)
        return T();
    T result = watcher->takenResult();
    if (deleteWatcher)
        watcher->deleteLater();
    else
        delete watcher;
    return result;
}

}  // namespace Quillmark
