// The private half of Client: the native client, the workers and what their ends tell the host.
//
// Its sources by subject: ClientPrivate.cpp starts and ends it, TokenCache.cpp keeps the access token,
// Workers.cpp talks to the service on the pool's threads, SignInDialogue.cpp turns codes into the steps of a
// sign-in. Lock order: `mutex` first, then the native client's own.
#pragma once

#include <Quillmark/Client.h>
#include <Quillmark/ClientParams.h>
#include <Quillmark/SignIn.h>

#include <QtConcurrent/QtConcurrentRun>
#include <QtCore/QByteArray>
#include <QtCore/QFutureWatcher>
#include <QtCore/QJsonObject>
#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtCore/QThreadPool>

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>

#include "core/src/QuillmarkClient.h"
#include "facade/src/ResultPair.h"

namespace Quillmark {

using SignInResult = ResultPair<SignIn::SignInProcessResult>;
using ContextResult = ResultPair<QString>;  // the value is the login
using UserInfoResult = ResultPair<SignIn::UserInfo>;

struct InterfaceRelease {
    void operator()(quillmarkclient::IQuillmarkClient* native) const { native->Release(); }
};

// What `finish` finds when a worker has thrown. The login is the first argument of every worker whose failure
// names one. Made before the worker runs: behind an exhausted memory nothing can be made.
template <typename Result, typename... Arguments>
[[nodiscard]] Result thrownResult(const Arguments&... arguments) {
    Result result;
    result.error = QUILLMARKCLIENT_ERROR::kInternalError;
    if constexpr (sizeof...(Arguments) != 0) {
        const QString& login = std::get<0>(std::tie(arguments...));
        if constexpr (std::is_same_v<Result, ContextResult>)
            result.value = login;
        else
            result.value.login = login;
    }
    return result;
}

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

    // Runs `worker(this, arguments...)` with copies of the arguments on the pool; `finish` runs behind it on
    // this object's thread. The caller's thread delivers the end, so it must run an event loop. Whatever the
    // worker throws, `finish` finds the failure of thrownResult().
    template <typename Worker, typename... Arguments>
    void start(void (ClientPrivate::*finish)(), Worker worker, const Arguments&... arguments);

    // ---- Workers, on a thread of the pool
    SignInResult signIn(const QString& login, const QString& password);
    SignInResult confirmSecondFactor(const QString& login, const QString& challengeToken,
                                     const QString& code);
    ContextResult signInToContext(const QString& login, SignIn::ContextType type, const QString& contextId);
    UserInfoResult fetchUserInfo();

    // ---- Ends of the workers, on this object's thread
    void finishSignInStep();
    void finishContextStep();
    void finishUserInfo();

    // ---- On the caller's thread
    void signOut();

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

template <typename Worker, typename... Arguments>
void ClientPrivate::start(void (ClientPrivate::*finish)(), Worker worker, const Arguments&... arguments) {
    using Result = std::invoke_result_t<Worker, ClientPrivate*, const Arguments&...>;
    const auto guarded = [this, worker, thrown = thrownResult<Result>(arguments...)](const auto&... copies) {
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
    auto watcher = std::make_unique<TaskWatcher<Result>>(thrownResult<Result>(arguments...));
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
