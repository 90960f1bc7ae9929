// What the tests of a running Client share: the sandbox account service, a storage folder and the process's
// one Client over them.
//
//     HostFixture host;
//     QCOMPARE(host.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
//
// Each call is made, its signal awaited, and the signal comes back as a line of text: name, login or nothing,
// then what else it carries. A second signal for one call, or none, is a line as well and so fails the
// comparison. One thread: that of create().
#pragma once

#include <Quillmark/Client.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QLatin1String>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>
#include <QtTest/QSignalSpy>
#include <functional>

#include "tests/support/SandboxFixture.h"

namespace test_support {

// Writes down the signals of a Client.
class SignalRecorder : public QObject {
    Q_OBJECT

public:
    explicit SignalRecorder(Quillmark::Client& client);

    QStringList lines;
    QString challengeToken;                            // of the last requestSecondFactor()
    Quillmark::SignIn::SignInProcessResult selection;  // of the last requestSelectContext()
    QList<QString> providers;                          // of the last externalOauthProvidersFetched()
    Quillmark::SignIn::UserInfo userInfo;              // of the last userInfoFetched()
    Quillmark::Updates::UpdateInfo update;             // of the last updateFound()

    // The one signal that answers `call`.
    [[nodiscard]] QString answerTo(const std::function<void()>& call);

Q_SIGNALS:
    void recorded();

private:
    void recordSignIn(Quillmark::Client& client);
    void recordUpdatesAndRequests(Quillmark::Client& client);
    void record(const QString& line);
};

class HostFixture {
public:
    // What happens in the storage folder before the Client is created.
    using Earlier = std::function<void(const SandboxFixture& service, const QString& storage)>;

    // `flags` are those of ClientParams.
    explicit HostFixture(sandbox::Seed seed = sandbox::readSeedFile(sandbox::defaultSeedFile()),
                         const Earlier& earlier = {}, quint32 flags = 0);

    // The one signal that answers `call`.
    [[nodiscard]] QString answerTo(const std::function<void()>& call);

    // By the name of the sandbox's account; the password is that of the seed unless given.
    [[nodiscard]] QString signIn(std::string_view account, const QString& password = {});
    [[nodiscard]] QString confirm(std::string_view account, const QString& code);
    [[nodiscard]] QString chooseContext(std::string_view account, Quillmark::SignIn::ContextType type,
                                        const QString& id);
    [[nodiscard]] QString signInByCode(const QString& authCode, const QString& operation);
    [[nodiscard]] QString fetchProviders();
    [[nodiscard]] QString fetchUserInfo();

    // Signed out, no faults, the service as its seed has it.
    void startAnew();

    // The next `count` requests of `path` get this answer.
    void answerWith(const std::string& path, int status, const std::string& body, std::uint32_t count = 1);
    // The next request of `path` is served as always: faults that are added behind it wait for the one after.
    void letPass(const std::string& path);
    // The connection of the next request of `path` ends without an answer.
    void cut(const std::string& path);
    // The answer to the next request of `path` comes late, so that others have time to come in between.
    void delay(const std::string& path);
    // The next request of `path` hangs until release(), which ends all that hang, without an answer.
    void hold(const std::string& path);
    void release();
    // Until the service has taken the requests that the faults are for.
    void waitForRequest();
    // How many requests of `path` came since startAnew().
    [[nodiscard]] qsizetype exchangesOf(const std::string& path);

    [[nodiscard]] QString loginOf(std::string_view account) const;
    // A fresh code of a social person.
    [[nodiscard]] QString codeOf(std::string_view person);
    // A claim of the cached access token, as text; empty if it has none.
    [[nodiscard]] QString claim(QLatin1String name) const;

    SandboxFixture service;
    QTemporaryDir storage;
    Quillmark::Client* client;
    SignalRecorder recorder;

private:
    [[nodiscard]] Quillmark::Client* createClient(const Earlier& earlier, quint32 flags) const;
};

// Half of the time after which the client gives a silent service up, so that what waited for it goes on.
inline constexpr qint64 kHungMs = 15'000;

// Paths of the service.
inline const std::string kTokensPath = "/api/customer/registry/v2/tokens";
inline const std::string kSecondFactorPath = "/api/customer/registry/v2/2fa/totp/tokens";
inline const std::string kContextPath = "/api/customer/registry/v2/tokens/context";
inline const std::string kTrustPath = "/api/customer/registry/v2/tokens/trust";
inline const std::string kIdentityPath = "/api/customer/registry/v2/tokens/identity";
inline const std::string kTrustsPath = "/api/registry/v2/trustee/trusts";
inline const std::string kCodePath = "/api/customer/registry/v2/tokens/external";
inline const std::string kFinalizePath = "/api/quillmark/CUSTOMER_REGISTRATION_FINALIZE_OAUTH";
inline const std::string kProvidersPath = "/api/public/registry/v2/oauth/external/providers";
inline const std::string kUsersPath = "/api/registry/v2/users";
inline const std::string kIdentitiesPath = "/api/registry/v2/identities";
inline const std::string kFeedPath = "/feeds/harbour_home_en/rss";
inline const std::string kTicketPath = "/api/quillmark/CUSTOMER_TICKET_REGISTRATION";

}  // namespace test_support
