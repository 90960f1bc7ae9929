#pragma once

#include <Quillmark/ClientParams.h>
#include <Quillmark/CustomerRequest.h>
#include <Quillmark/ErrorCode.h>
#include <Quillmark/Export.h>
#include <Quillmark/SignIn.h>
#include <Quillmark/Updates.h>

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QUrl>
#include <QtCore/QUuid>

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
/// In numbers: a task makes several exchanges, one behind the other, and each start...() names the most. An
/// exchange normally takes well under a second; a service that can't be reached holds it for up to 65 s, one
/// that falls silent for 30 s more, one that drips without end for 15 minutes. Nothing cancels a task.
///
/// A failure is a code; <Quillmark/ErrorCode.h> leads to all. A network that fails is 0x80000006, exhausted
/// memory 0x80000001 or 0x80000003, an answer that can't be read 0x82000004; the other codes of the family
/// 0x82 are the service's refusals. getErrorMessage() gives the text, isNetworkProblem() tells whether to try
/// later. No method throws because of what the service answers or the host passes.
///
/// Arguments are copied. What stands behind a zero character in a text is not sent. What the library does
/// goes to Qt's logging under the category "quillmark", failures at critical level, requests at info level.
/// The latter carry secrets, such as the code of a social sign-in and the secret that renews the session,
/// though never a password: keep that log private, or switch its info level off.
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
    /// Restores a stored sign-in, which may use the network and then blocks the caller meanwhile, for up to 2
    /// exchanges; none without a stored sign-in. Later calls give the same object at once and ignore
    /// \a params. Call it on the thread of \a app, before other threads use the library; calls at the same
    /// time wait for one another.
    /// \param app     becomes the owner of the Client; null gives null
    /// \param params  copied
    /// \return owned by \a app. Null when the client can't start, for instance without a service URL: the
    ///         reason is in the log, and a later call tries again.
    [[nodiscard]] static Client* create(QCoreApplication* app, const ClientParams& params);

    /// The counted native interface of this client, for code that knows nothing of Qt.
    ///
    /// Cast it to quillmarkclient::IQuillmarkClient* ("core/src/IQuillmarkClient.h"); null if it found no
    /// memory at the start. It is lent without a new reference: call AddRef() to keep it beyond the Client.
    /// Doesn't block. A sign-in by this road is not in the cache of getAccessTokenBytes() until
    /// refreshAccessToken().
    [[nodiscard]] void* getInstance() const;

    // ---- Facts, from any thread, before create() too; none blocks ----------------------------------------

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
    /// requestSecondFactor() or requestSelectContext(); wrong2FACode() only if the service gives that answer
    /// here. An account with one context is signed in to it without a question. A former sign-in is dropped
    /// first, also when this one then fails. Have one sign-in step in flight at a time. Up to 19 exchanges.
    /// \param login     comes back with the signal
    /// \param password  copied; never written to a log
    /// \sa startConfirmSecondFactor(), startSignInToContext(), signOut()
    void startSignIn(const QString& login, const QString& password);

    /// Gives the second factor that requestSecondFactor() asked for, and returns at once.
    ///
    /// Exactly one signal answers, on the thread that called create(): wrong2FACode(), after which the same
    /// challenge may be tried with another code, or one of those of startSignIn(). An empty challenge or code
    /// ends in signInFailed() with 0x80000002, without asking the service. A former sign-in is dropped only
    /// when the code is right and the sign-in then fails over its contexts.
    /// Businesses have no second factor: signInFailed() with 0x80000004. Up to 22 exchanges.
    /// \param login           as in requestSecondFactor(); comes back with the signal
    /// \param challengeToken  as in requestSecondFactor(); wrong2FACode() doesn't repeat it
    /// \param code            what the user's authenticator shows
    void startConfirmSecondFactor(const QString& login, const QString& challengeToken, const QString& code);

    /// Signs in to one of the contexts that requestSelectContext() offered, and returns at once.
    ///
    /// Exactly one signal answers, on the thread that called create(): signInSucceeded() or signInFailed().
    /// After a failure the choice is still open. Also moves a signed-in user to another context. Businesses
    /// have no contexts: signInFailed() with 0x80000004. Up to 4 exchanges.
    /// \param login      as in requestSelectContext(); comes back with the signal
    /// \param type       as in the chosen entry
    /// \param contextId  as in the chosen entry; not read for ContextType::Personal
    void startSignInToContext(const QString& login, SignIn::ContextType type, const QString& contextId);

    /// Starts a sign-in with the code that a social provider's browser page gave, and returns at once.
    ///
    /// Exactly one signal answers, on the thread that called create(): one of those of startSignIn(). The
    /// login in it is the account's e-mail address; it is empty when the service refused the code or doesn't
    /// tell the address, and known when only the choice of a context failed. A former sign-in is dropped
    /// first, also when this one then fails. An empty code ends in signInFailed() with 0x80000002. Making an
    /// account may take the service a while: the task then waits and asks again, up to four times for at most
    /// 30 seconds each. Up to 28 exchanges.
    /// \param authCode   good once; copied; stands in the log at info level
    /// \param operation  "SIGN_IN", "SIGN_UP" (makes the account first) or "LINK", in this spelling; "LINK"
    ///                   and any other text act as "SIGN_IN": nothing is linked to who was signed in
    void startOAuthSignIn(const QString& authCode, const QString& operation);

    /// Asks the service for the social providers and returns at once. externalOauthProvidersFetched()
    /// answers, on the thread that called create(), after a failure too. Needs no sign-in. Up to 4 exchanges.
    void startFetchExternalOauthProviders();

    /// Drops the sign-in, stored and in memory, and the cached access token, and emits signedOut() before it
    /// returns, on the caller's thread, whether or not anybody was signed in. The service is not told. Waits
    /// for a running task. Whether a sign-in step that is in flight counts before or behind it stays open.
    void signOut();

    /// Whether somebody is signed in, or has signed in and must still choose a context. No network, so the
    /// service may think otherwise by now. Waits for a running task.
    [[nodiscard]] bool getIsSignedIn() const;

    // ---- The access token ---------------------------------------------------------------------------------

    /// The cached access token, a compact JWS; empty if there is none. It may have expired, and it may be
    /// left from a former sign-in: getIsSignedIn() tells whether one stands. No network; waits only while
    /// refreshAccessToken() or the end of a sign-in step fills the cache, and these wait for a running task.
    [[nodiscard]] QByteArray getAccessTokenBytes() const;

    /// The access token, renewed at the service if need be. Blocks the caller for up to 2 exchanges; waits
    /// for a running task. getAccessTokenBytes() waits for it on every thread.
    /// \param onlyIfExpired  true: the cached token is given back until 60 seconds after its expiry; one
    ///                       without the claim "exp" counts as expired. false: always renewed.
    /// \return empty if the token couldn't be renewed; the cache is empty then too, the reason is in the log
    QByteArray refreshAccessToken(bool onlyIfExpired) const;

    /// Writes the secret that renews the session into a JSON document of the host, as its top-level member
    /// "identityToken". Blocks the caller for the file; waits for a running task.
    ///
    /// The rest of the document keeps its content and comes back in compact form, without comments. A missing
    /// or empty file becomes a document of this member alone. On a failure, for instance when nobody is
    /// signed in or the file is no JSON object, the log has a line at critical level, and no signal comes; a
    /// document that was refused stays as it was. Keep the file like a password.
    /// \param path  of the document; its folder must exist
    void persistIdentityToFile(const QString& path) const;

    // ---- Information --------------------------------------------------------------------------------------

    /// Asks the service for the user's details and returns when the task is queued.
    ///
    /// userInfoFetched() or fetchUserInfoFailed() answers, on the thread that called create(). Nothing
    /// answers when nobody is signed in: ask getIsSignedIn() first. Waits for a running task. Up to 4
    /// exchanges.
    void startGetUserInfo();

    /// Looks for a newer build of the host's product and returns at once. Needs no sign-in.
    ///
    /// Exactly one of updateFound() and checkForUpdateFailed() answers, on the thread that called create().
    /// Asked is the feed in the language of ClientParams::language, and the English one when there is no such
    /// feed. Only builds for Windows on x64 count, whatever this machine is. Up to 8 exchanges.
    ///
    /// What a feed brings is handed on unchanged: check the URL's scheme, verify the download, and clean the
    /// HTML of the description before you show it. The URL may be empty, or that of a lesser build, when the
    /// newest tells none: ask UpdateInfo::isValid().
    ///
    /// Codes: 0x84000004 nothing newer; 0x84000001 a feed that can't be read; 0x84000006 the service doesn't
    /// give it; 0x80000002 an empty name, variant, version or language; for a feed that is not for everybody
    /// 0x82000002, without an identity to renew the token by, and the codes of a renewal that is refused.
    /// \param currentVersion  numbers with dots between them, compared from the left up to the end of the
    ///                        shorter one: of "8.4", 8.5 is newer and 8.4.2 is not
    void startCheckForUpdates(const QString& feedName, const QString& feedVariant,
                              const QString& currentVersion);

    /// The same as a direct answer, for the same builds: the address of the newest, as it is, with no signal.
    /// Empty on any failure, and when the feed tells none. Blocks the caller for up to 8 exchanges; waits for
    /// a running task.
    [[nodiscard]] QUrl getLinuxREDownloadUrl(const QString& feedName, const QString& feedVariant,
                                             const QString& currentVersion) const;

    /// Files a customer request and returns at once. Needs no sign-in.
    ///
    /// Exactly one of customerRequestCreated() and createCustomerRequestFailed() answers, on the thread that
    /// called create(), with the same \a requestId. The same content within a day is the same request to the
    /// service, however often it is filed. While the service is at work on it the task waits and asks again,
    /// up to four times for at most 30 seconds each; then it gives up with 0x80000006, and filing it again
    /// goes on with the same request. Up to 5 exchanges. All texts stand in the log at info level.
    /// \param requestId             yours: tells the answers of several requests apart
    /// \param email                 this, the title and the description must not be empty (0x80000002)
    /// \param additionalParameters  go out in the order of their keys
    void startCreateCustomerRequest(const QUuid& requestId, const QString& email, const QString& title,
                                    const QString& description,
                                    const QMap<QString, QString>& additionalParameters);

    /// The service's base URL, as the client uses it. No network. Waits for a running task.
    [[nodiscard]] QString getBasicEndpoint() const;

    /// An identifier of this machine; empty if there is none. The same all through the process's life. No
    /// network. Waits for a running task.
    [[nodiscard]] QString getPCGuid() const;

Q_SIGNALS:
    /// The password was right and the account wants a second factor: call startConfirmSecondFactor(). Nobody
    /// is signed in so far.
    /// \param login           of this attempt
    /// \param challengeToken  keep it until the dialogue ends; never empty
    void requestSecondFactor(const QString& login, const QString& challengeToken);

    /// The second factor was wrong: call startConfirmSecondFactor() again with the challenge of the former
    /// requestSecondFactor().
    void wrong2FACode(const QString& login);

    /// There are several contexts: let the user choose one and call startSignInToContext(). Somebody is
    /// signed in from here on, but getAccessTokenBytes() gives no token of this sign-in until the choice is
    /// made.
    /// \param contexts  at least two, and the login of this attempt
    void requestSelectContext(const Quillmark::SignIn::SignInProcessResult& contexts);

    /// A sign-in step failed, and nobody is signed in by it. After a failed startSignInToContext() the choice
    /// is still open, or the former context stands.
    /// \param login             of this attempt; of a social sign-in see startOAuthSignIn()
    /// \param errorDescription  getErrorMessage() of \a errorCode
    void signInFailed(const QString& login, QUILLMARKCLIENT_ERROR errorCode,
                      const QString& errorDescription) const;

    /// The user is signed in and getAccessTokenBytes() gives the new token.
    /// \param login  of this attempt; of a social sign-in the account's address
    void signInSucceeded(const QString& login);

    /// The answer to startFetchExternalOauthProviders(): the providers' keys in the service's order; empty
    /// also when they couldn't be had.
    void externalOauthProvidersFetched(const QList<QString>& providers);

    /// signOut() has run. Fires on the thread that called it.
    void signedOut();

    /// startGetUserInfo() failed. That ends no sign-in, not even when the code is 0x82000002.
    /// \param errorDescription  getErrorMessage() of \a errorCode
    void fetchUserInfoFailed(QUILLMARKCLIENT_ERROR errorCode, const QString& errorDescription) const;

    /// The answer to startGetUserInfo().
    void userInfoFetched(const Quillmark::SignIn::UserInfo& info);

    /// There is a newer build: what the feed says, unchanged, its URL too. See startCheckForUpdates().
    void updateFound(const Quillmark::Updates::UpdateInfo& info);

    /// The update check failed, or there is no newer build (0x84000004).
    /// \param errorDescription  getErrorMessage() of \a errorCode
    void checkForUpdateFailed(QUILLMARKCLIENT_ERROR errorCode, const QString& errorDescription);

    /// The service has taken a customer request; the number is empty when its answer tells none.
    void customerRequestCreated(const Quillmark::CustomerRequest::CustomerRequestResult& result);

    /// A customer request failed. A refusal by the service is 0x80000001, whatever it says.
    /// \param requestId         the host's own, unchanged
    /// \param errorDescription  getErrorMessage() of \a errorCode
    void createCustomerRequestFailed(const QUuid& requestId, QUILLMARKCLIENT_ERROR errorCode,
                                     const QString& errorDescription);

private:
    Client(QCoreApplication* app, const ClientParams& params);

    [[nodiscard]] ClientPrivate* d_func() const { return d_; }

    static QMutex createLock;  // guards the making of the one instance
    static Client* instance_;  // written by create() only, never cleared

    ClientPrivate* d_;  // a child of this object
};

}  // namespace Quillmark
