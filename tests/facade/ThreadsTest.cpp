// Which thread hears what, and which call waits for which.
#include <Quillmark/Client.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QMutex>
#include <QtCore/QThread>
#include <QtTest/QtTest>
#include <atomic>
#include <functional>
#include <future>
#include <optional>
#include <thread>

#include "tests/facade/HostFixture.h"
#include "tests/facade/OtherThread.h"

using Quillmark::Client;
using Quillmark::SignIn::ContextType;
using namespace test_support;

namespace {

// The threads on which a Client emits, once for each signal.
class ThreadOfSignals {
public:
    explicit ThreadOfSignals(Client& client) {
        const auto hear = [this] {
            const QMutexLocker lock(&mutex_);
            threads_ << QThread::currentThread();
        };
        const auto listen = [&](auto signal) {
            QObject::connect(&client, signal, &context_, hear, Qt::DirectConnection);
        };
        listen(&Client::requestSecondFactor);
        listen(&Client::wrong2FACode);
        listen(&Client::requestSelectContext);
        listen(&Client::signInFailed);
        listen(&Client::signInSucceeded);
        listen(&Client::externalOauthProvidersFetched);
        listen(&Client::signedOut);
        listen(&Client::fetchUserInfoFailed);
        listen(&Client::userInfoFetched);
        listen(&Client::updateFound);
        listen(&Client::checkForUpdateFailed);
        listen(&Client::customerRequestCreated);
        listen(&Client::createCustomerRequestFailed);
    }

    [[nodiscard]] QList<QThread*> threads() const {
        const QMutexLocker lock(&mutex_);
        return threads_;
    }

private:
    mutable QMutex mutex_;
    QList<QThread*> threads_;
    QObject context_;
};

void startSignIn(HostFixture& host, std::string_view account) {
    host.client->startSignIn(host.loginOf(account),
                             QString::fromStdString(host.service.account(account).password));
}

}  // namespace

class ThreadsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }
    void answersOnTheThreadOfCreate_data();
    void answersOnTheThreadOfCreate();
    void carriesValuesToAnotherThread();
    void signOutWaitsForARunningTask();
    void readersSeeNoEmptyTokenDuringARenewal();
    void signsOutOnTheCallersThread();
    void signsOutOnAThreadWithoutALoop();
    void callsThatAskTheCoreWait_data();
    void callsThatAskTheCoreWait();
    void startsReturnAtOnce();
    void answersOneCallAfterAnother();

private:
    HostFixture host_;
};

// The signal that answers each call, as the recorder writes it; the calls come from another thread as well.
void ThreadsTest::answersOnTheThreadOfCreate_data() {
    using Call = std::function<void(HostFixture&)>;
    QTest::addColumn<Call>("call");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("fromOther");
    const Call refuseUserInfo = [](HostFixture& host) {
        host.answerWith(kUsersPath, 500, "");
        host.client->startGetUserInfo();
    };
    const struct {
        const char* expected;
        Call call;
    } rows[] = {
        {"signInSucceeded anna", [](HostFixture& host) { startSignIn(host, "plain"); }},
        {"signInFailed anna", [](HostFixture& host) { host.client->startSignIn("anna", "wrong"); }},
        {"requestSecondFactor tom", [](HostFixture& host) { startSignIn(host, "second-factor"); }},
        {"requestSelectContext nina", [](HostFixture& host) { startSignIn(host, "several-contexts"); }},
        {"wrong2FACode tom",
         [](HostFixture& host) {
             host.answerWith(kSecondFactorPath, 401,
                             R"({"status":"401","errorCode":"CODE_VERIFICATION_FAILED"})");
             host.client->startConfirmSecondFactor("tom", "challenge", "123456");
         }},
        {"signInFailed bob",
         [](HostFixture& host) { host.client->startConfirmSecondFactor("bob", "", "123456"); }},
        {"signInSucceeded eve",  // somebody is signed in
         [](HostFixture& host) { host.client->startSignInToContext("eve", ContextType::Personal, {}); }},
        {"signInFailed eve",
         [](HostFixture& host) { host.client->startSignInToContext("eve", ContextType::Organization, "x"); }},
        {"signInSucceeded anna.plain",
         [](HostFixture& host) { host.client->startOAuthSignIn(host.codeOf("linked"), "SIGN_IN"); }},
        {"signInFailed  0x80000002", [](HostFixture& host) { host.client->startOAuthSignIn({}, "SIGN_IN"); }},
        {"externalOauthProvidersFetched glowpass",
         [](HostFixture& host) { host.client->startFetchExternalOauthProviders(); }},
        {"userInfoFetched", [](HostFixture& host) { host.client->startGetUserInfo(); }},
        {"fetchUserInfoFailed", refuseUserInfo},
        {"updateFound 8.4.2",
         [](HostFixture& host) { host.client->startCheckForUpdates("Harbour", "Home", "8.4.1"); }},
        {"checkForUpdateFailed 0x84000004",
         [](HostFixture& host) { host.client->startCheckForUpdates("Harbour", "Home", "8.4.2"); }},
        {"customerRequestCreated {00000000-0000-0000-0000-000000000000} T-500001",
         [](HostFixture& host) { host.client->startCreateCustomerRequest({}, "e", "t", "d", {}); }},
        {"createCustomerRequestFailed {00000000-0000-0000-0000-000000000000} 0x80000002",
         [](HostFixture& host) { host.client->startCreateCustomerRequest({}, "", "t", "d", {}); }},
    };
    for (const auto& row : rows) {
        QTest::addRow("%s", row.expected) << row.call << QString(row.expected) << false;
        QTest::addRow("%s, called elsewhere", row.expected) << row.call << QString(row.expected) << true;
    }
}

void ThreadsTest::answersOnTheThreadOfCreate() {
    QFETCH(std::function<void(HostFixture&)>, call);
    QFETCH(QString, expected);
    QFETCH(bool, fromOther);
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    const ThreadOfSignals heard(*host_.client);
    std::optional<OtherThread> other;
    const QString line = host_.answerTo([&] {
        if (fromOther)
            other.emplace([&] { call(host_); });
        else
            call(host_);
    });
    QVERIFY2(line.startsWith(expected) && !line.contains(", "), qPrintable(line));
    QCOMPARE(heard.threads(), QList<QThread*>{thread()});
}

// The promises say in sight of a sanitizer what the event queue says inside Qt.
void ThreadsTest::carriesValuesToAnotherThread() {
    QThread thread;
    QObject context;
    context.moveToThread(&thread);
    struct Heard {
        QThread* on;
        Quillmark::SignIn::SignInProcessResult contexts;
    };
    std::promise<Heard> promise;
    std::promise<void> posted;
    connect(host_.client, &Client::requestSelectContext, &context, [&](const auto& contexts) {
        posted.get_future().wait();
        promise.set_value({QThread::currentThread(), contexts});
        QThread::currentThread()->quit();
    });
    const QObject here;
    connect(
        host_.client, &Client::requestSelectContext, &here, [&] { posted.set_value(); },
        Qt::DirectConnection);
    thread.start();
    QVERIFY(host_.signIn("several-contexts").startsWith("requestSelectContext"));
    QVERIFY(thread.wait(60'000));
    const Heard heard = promise.get_future().get();
    QCOMPARE(heard.on, &thread);
    QCOMPARE(heard.contexts.login, QString("nina.many@example.test"));
    QCOMPARE(heard.contexts.contexts.size(), host_.recorder.selection.contexts.size());
    QCOMPARE(heard.contexts.contexts.last().name, host_.recorder.selection.contexts.last().name);
}

void ThreadsTest::signOutWaitsForARunningTask() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.service.forgetExchanges();
    host_.delay(kUsersPath);
    const QString line = host_.answerTo([this] {
        host_.client->startGetUserInfo();
        host_.waitForRequest();
        host_.client->signOut();
        QCOMPARE(host_.exchangesOf(kUsersPath), 1);  // answered before signOut() returned
    });
    QVERIFY2(line.startsWith("signedOut"), qPrintable(line));
    QTRY_COMPARE_WITH_TIMEOUT(host_.recorder.lines, (QStringList{"signedOut", "userInfoFetched"}), 60'000);
}

void ThreadsTest::readersSeeNoEmptyTokenDuringARenewal() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    const QByteArray before = host_.client->getAccessTokenBytes();
    host_.delay(kIdentityPath);
    QByteArray renewed;
    std::thread renewal([&] { renewed = host_.client->refreshAccessToken(false); });
    host_.waitForRequest();
    const QByteArray read = host_.client->getAccessTokenBytes();
    renewal.join();
    QVERIFY(!read.isEmpty());
    QVERIFY(read != before);  // the reader waited for the new one
    QCOMPARE(read, renewed);
}

void ThreadsTest::signsOutOnTheCallersThread() {
    const ThreadOfSignals heard(*host_.client);
    std::atomic<bool> heardBeforeReturn = false;
    std::optional<OtherThread> other;
    const QString line = host_.answerTo([&] {
        other.emplace([&] {
            host_.client->signOut();
            heardBeforeReturn = heard.threads().size() == 1;
        });
    });
    QThread* const caller = other->thread();
    other.reset();  // joined: its last slot has run
    QCOMPARE(line, QString("signedOut"));
    QCOMPARE(heard.threads(), QList<QThread*>{caller});
    QVERIFY(heardBeforeReturn);
}

// A thread without a loop may sign out: nothing has to be delivered to it.
void ThreadsTest::signsOutOnAThreadWithoutALoop() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    const ThreadOfSignals heard(*host_.client);
    std::thread caller([this] { host_.client->signOut(); });
    caller.join();
    QCOMPARE(heard.threads().size(), 1);
    QVERIFY(heard.threads().first() != thread());
    QVERIFY(!host_.client->getIsSignedIn());
    host_.recorder.lines.clear();
    QCoreApplication::processEvents();
    QCOMPARE(host_.recorder.lines, QStringList{"signedOut"});  // a receiver of this thread hears it here
}

// What asks the core waits, on any thread.
void ThreadsTest::callsThatAskTheCoreWait_data() {
    using Call = std::function<void(Client&)>;
    QTest::addColumn<Call>("call");
    const auto row = [](const char* name, const Call& call) { QTest::newRow(name) << call; };
    row("getIsSignedIn", [](Client& client) { QVERIFY(client.getIsSignedIn()); });
    row("getBasicEndpoint", [](Client& client) { QVERIFY(!client.getBasicEndpoint().isEmpty()); });
    row("getPCGuid", [](Client& client) { QVERIFY(!client.getPCGuid().isEmpty()); });
    row("refreshAccessToken", [](Client& client) { QVERIFY(!client.refreshAccessToken(false).isEmpty()); });
    row("persistIdentityToFile", [](Client& client) { client.persistIdentityToFile("/missing/host.json"); });
    row("startGetUserInfo", [](Client& client) { client.startGetUserInfo(); });
    row("getLinuxREDownloadUrl",
        [](Client& client) { QVERIFY(!client.getLinuxREDownloadUrl("Harbour", "Home", "1.0").isEmpty()); });
}

void ThreadsTest::callsThatAskTheCoreWait() {
    QFETCH(std::function<void(Client&)>, call);
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.service.forgetExchanges();
    host_.delay(kUsersPath);
    qsizetype answered = 0;
    const QString line = host_.answerTo([&] {
        host_.client->startGetUserInfo();
        host_.waitForRequest();
        call(*host_.client);
        answered = host_.exchangesOf(kUsersPath);
    });
    QVERIFY2(line.startsWith("userInfoFetched"), qPrintable(line));
    QVERIFY(answered >= 1);
    if (QByteArray(QTest::currentDataTag()) == "startGetUserInfo")
        QTRY_COMPARE_WITH_TIMEOUT(host_.recorder.lines.count("userInfoFetched"), 2, 60'000);
}

// None of these calls needs the core, so none waits for it; the answers come when it is free.
void ThreadsTest::startsReturnAtOnce() {
    host_.hold(kTokensPath);
    host_.recorder.lines.clear();
    QSignalSpy recorded(&host_.recorder, &SignalRecorder::recorded);
    startSignIn(host_, "plain");
    host_.waitForRequest();
    QElapsedTimer starting;
    starting.start();
    host_.client->startConfirmSecondFactor("tom", "", "");
    host_.client->startSignInToContext("eve", ContextType::Organization, "x");
    host_.client->startOAuthSignIn({}, {});
    host_.client->startFetchExternalOauthProviders();
    host_.client->startCheckForUpdates("Harbour", "Home", "8.4.1");
    host_.client->startCreateCustomerRequest({}, "e", "t", "d", {});
    QVERIFY(host_.client->getAccessTokenBytes().isEmpty());
    QVERIFY(host_.client->getInstance() != nullptr);
    const qint64 startingMs = starting.elapsed();
    host_.release();
    QVERIFY(startingMs < kHungMs);
    while (recorded.size() < 7)
        QVERIFY(recorded.wait(60'000));
    QCOMPARE(host_.recorder.lines.filter("anna.plain@example.test").size(), 1);
    QCOMPARE(host_.recorder.lines.filter("tom 0x80000002").size(), 1);
    QCOMPARE(host_.recorder.lines.filter("signInFailed eve").size(), 1);
    QCOMPARE(host_.recorder.lines.filter("signInFailed  0x80000002").size(), 1);
    QCOMPARE(host_.recorder.lines.filter("externalOauthProvidersFetched glowpass").size(), 1);
    QCOMPARE(host_.recorder.lines.filter("updateFound 8.4.2").size(), 1);
    QCOMPARE(host_.recorder.lines.filter("customerRequestCreated").size(), 1);
}

void ThreadsTest::answersOneCallAfterAnother() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    constexpr int kCalls = 8;
    host_.recorder.lines.clear();
    QSignalSpy recorded(&host_.recorder, &SignalRecorder::recorded);
    for (int call = 0; call < kCalls; ++call)
        host_.client->startGetUserInfo();
    while (recorded.size() < kCalls)
        QVERIFY(recorded.wait(60'000));
    QCOMPARE(host_.recorder.lines.count("userInfoFetched"), kCalls);
}

QTEST_GUILESS_MAIN(ThreadsTest)
#include "ThreadsTest.moc"
