#pragma once

#include <Quillmark/ClientParams.h>
#include <Quillmark/CustomerRequest.h>
#include <Quillmark/ErrorCode.h>
#include <Quillmark/Export.h>
#include <Quillmark/SignIn.h>
#include <Quillmark/Updates.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QString>

class QCoreApplication;

namespace Quillmark {

class ClientPrivate;

/// The client of the account service: one object per process.
///
/// **Let every start...() call end before you destroy the Client**, that is, wait for its signal. Destruction
/// stops nothing and waits for nothing until its very end; a task that still runs then works on a client that
/// is half gone. Keep the Client until the process exits: after it is gone, create() gives a stale pointer.
///
/// Calls named start...() return at once; their work runs on the client's own threads, and a signal brings
/// the outcome. All signals but signedOut() fire on the thread that called create(). A thread that calls
/// start...() must run an event loop, or its outcome is never delivered. Any thread may call any method.
///
/// Below, one mutex serialises everything that touches the service's session, network included. So the
/// methods that answer directly, where they are marked "waits for a running task", block the caller for as
/// long as a task of another thread is at the network: mostly milliseconds, minutes when the network hangs.
///
/// A sign-in survives the process: create() restores it from the storage folder without a signal, so ask
/// getIsSignedIn() behind create(). A host that signs in by password:
/// \code
///     auto* client = Quillmark::Client::create(&app, params);
///     QObject::connect(client, &Quillmark::Client::signInSucceeded, ...);
///     QObject::connect(client, &Quillmark::Client::signInFailed, ...);
///     // The next two answer with startConfirmSecondFactor(), the third with startSignInToContext().
///     QObject::connect(client, &Quillmark::Client::requestSecondFactor, ...);
///     QObject::connect(client, &Quillmark::Client::wrong2FACode, ...);
///     QObject::connect(client, &Quillmark::Client::requestSelectContext, ...);
///
///     if (!client->getIsSignedIn())
///         client->startSignIn(login, password);
/// \endcode
class QUILLMARK_EXPORT Client : public QObject {
    Q_OBJECT

public:
    ~Client() override;

    // ---- The instance -----------------------------------------------------------------------------------

    /// The one Client of the process, made by the first call that succeeds.
    ///
    /// Restores a stored sign-in, which may use the network and then blocks the caller meanwhile. Later calls
    /// give the same object and ignore \a params. Call it on the thread of \a app, before other threads use
    /// the library.
    /// \param app     becomes the owner of the Client; null gives null
    /// \param params  copied
    /// \return owned by \a app. Null when the client can't start, for instance without a service URL: the
    ///         reason is in the log, and a later call tries again.
    [[nodiscard]] static Client* create(QCoreApplication* app, const ClientParams& params);

    /// The counted native interface of this client, for code that knows nothing of Qt.
    ///
    /// Cast it to quillmarkclient::IQuillmarkClient*. It is lent without a new reference: call AddRef() to
    /// keep it beyond the Client. Doesn't block.
    [[nodiscard]] void* getInstance() const;

    // ---- Facts, from any thread, before create() too ------------------------------------------------------

    /// The library's version: major in bits 24-31, minor in 16-23, build in 8-15, the low byte zero.
    [[nodiscard]] static quint32 getVersion();

    /// The library's version as text, such as "1.2.1".
    [[nodiscard]] static QString getVersionString();

    /// The English text of \a code, never translated. Empty for success, "Unknown error code" for a number
    /// without a text.
    [[nodiscard]] static QString getErrorMessage(QUILLMARKCLIENT_ERROR code);

    /// Whether \a code says that the service couldn't be reached, so that trying later makes sense. True for
    /// 0x80000006 and for no other code.
    [[nodiscard]] static bool isNetworkProblem(QUILLMARKCLIENT_ERROR code);

    /// The claims of an access token; empty if it can't be read. The signature is not checked: good for
    /// display, not for decisions about rights.
    [[nodiscard]] static QJsonObject getDecodedAccessToken(const QByteArray& accessToken);

    // ---- Sign-in ------------------------------------------------------------------------------------------

    /// Starts a password sign-in and returns at once.
    ///
    /// Exactly one signal answers, on the thread that called create(): signInSucceeded(), signInFailed(),
    /// requestSecondFactor() or requestSelectContext(). A former sign-in is dropped first, also when this one
    /// then fails. Have one sign-in step in flight at a time.
    /// \param login     comes back with the signal
    /// \param password  copied; never written to a log
    /// \sa startConfirmSecondFactor(), startSignInToContext(), signOut()
    void startSignIn(const QString& login, const QString& password);

    /// Gives the second factor that requestSecondFactor() asked for, and returns at once.
    ///
    /// Exactly one signal answers, on the thread that called create(): wrong2FACode(), after which the same
    /// challenge may be tried with another code, or one of those of startSignIn(). An empty challenge or code
    /// ends in signInFailed() with 0x80000002, without asking the service.
    /// \param login           as in requestSecondFactor(); comes back with the signal
    /// \param challengeToken  as in requestSecondFactor(); wrong2FACode() doesn't repeat it
    /// \param code            what the user's authenticator shows
    void startConfirmSecondFactor(const QString& login, const QString& challengeToken, const QString& code);

    /// Signs in to one of the contexts that requestSelectContext() offered, and returns at once.
    ///
    /// Exactly one signal answers, on the thread that called create(): signInSucceeded() or signInFailed().
    /// After a failure the choice is still open. Also moves a signed-in user to another context.
    /// \param login      as in requestSelectContext(); comes back with the signal
    /// \param type       as in the chosen entry
    /// \param contextId  as in the chosen entry; not read for ContextType::Personal
    void startSignInToContext(const QString& login, SignIn::ContextType type, const QString& contextId);

    /// Drops the sign-in, stored and in memory, and emits signedOut() before it returns, on the caller's
    /// thread, whether or not anybody was signed in. The service is not told. Waits for a running task.
    void signOut();

    /// Whether somebody is signed in, or has signed in and must still choose a context. Waits for a running
    /// task.
    [[nodiscard]] bool getIsSignedIn() const;

    // ---- The access token ---------------------------------------------------------------------------------

    /// The cached access token, a compact JWS; empty if there is none. It may have expired, and it may be
    /// left from a former sign-in: getIsSignedIn() tells whether one stands. No network; waits only while
    /// refreshAccessToken() or the end of a sign-in step fills the cache.
    [[nodiscard]] QByteArray getAccessTokenBytes() const;

    /// The access token, renewed at the service if need be. Blocks the caller for the exchange; waits for a
    /// running task.
    /// \param onlyIfExpired  true: the cached token is given back until 60 seconds after its expiry; one
    ///                       without the claim "exp" counts as expired. false: always renewed.
    /// \return empty if the token couldn't be renewed; the cache is empty then too, the reason is in the log
    QByteArray refreshAccessToken(bool onlyIfExpired) const;

    // ---- Information --------------------------------------------------------------------------------------

    /// Asks the service for the user's details and returns when the task is queued.
    ///
    /// userInfoFetched() or fetchUserInfoFailed() answers, on the thread that called create(). Nothing
    /// answers when nobody is signed in: ask getIsSignedIn() first. Waits for a running task.
    void startGetUserInfo();

    /// The service's base URL, as the client uses it. Waits for a running task.
    [[nodiscard]] QString getBasicEndpoint() const;

    /// An identifier of this machine; empty if there is none. Waits for a running task.
    [[nodiscard]] QString getPCGuid() const;

Q_SIGNALS:
    /// The password was right and the account wants a second factor: call startConfirmSecondFactor().
    /// \param challengeToken  keep it until the dialogue ends; never empty
    void requestSecondFactor(const QString& login, const QString& challengeToken);

    /// The second factor was wrong: call startConfirmSecondFactor() again with the same challenge.
    void wrong2FACode(const QString& login);

    /// There are several contexts: let the user choose one and call startSignInToContext().
    void requestSelectContext(const Quillmark::SignIn::SignInProcessResult& contexts);

    /// A sign-in step failed, and nobody is signed in by it. After a failed startSignInToContext() the choice is
    /// still open, or the former context stands.
    /// \param errorDescription  getErrorMessage() of \a errorCode
    void signInFailed(const QString& login, QUILLMARKCLIENT_ERROR errorCode,
                      const QString& errorDescription) const;

    /// The user is signed in and getAccessTokenBytes() gives the new token.
    void signInSucceeded(const QString& login);

    /// signOut() has run. Fires on the thread that called it.
    void signedOut();

    /// startGetUserInfo() failed.
    /// \param errorDescription  getErrorMessage() of \a errorCode
    void fetchUserInfoFailed(QUILLMARKCLIENT_ERROR errorCode, const QString& errorDescription) const;

    /// The answer to startGetUserInfo().
    void userInfoFetched(const Quillmark::SignIn::UserInfo& info);

private:
    Client(QCoreApplication* app, const ClientParams& params);

    [[nodiscard]] ClientPrivate* d_func() const { return d_; }

    static QMutex createLock;  // guards the making of the one instance
    static Client* instance_;  // written by create() only, never cleared

    ClientPrivate* d_;  // a child of this object
};

}  // namespace Quillmark
