// Which thread hears what, and calls from many threads at once.
#include <Quillmark/Client.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QThread>
#include <QtTest/QtTest>
#include <atomic>
#include <chrono>
#include <optional>
#include <thread>
#include <vector>

#include "tests/facade/HostFixture.h"

using Quillmark::Client;
using namespace test_support;

namespace {

// A second thread that makes one call and then runs an event loop of its own.
class OtherThread {
public:
    template <typename Call>
    explicit OtherThread(Call call) {
        context_.moveToThread(&thread_);
        QObject::connect(&thread_, &QThread::started, &context_, call);
        thread_.start();
    }
    ~OtherThread() {
        thread_.quit();
        thread_.wait();
    }
    OtherThread(const OtherThread&) = delete;
    OtherThread& operator=(const OtherThread&) = delete;

    [[nodiscard]] QThread* thread() { return &thread_; }

private:
    QThread thread_;
    QObject context_;
};

}  // namespace

class ThreadsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }
    void answersOnTheThreadOfCreate_data();
    void answersOnTheThreadOfCreate();
    void answersLaterStepsOnTheThreadOfCreate();
    void carriesValuesToAnotherThread();
    void signOutWaitsForARunningTask();
    void readersSeeNoEmptyTokenDuringARenewal();
    void answersACallOfAnotherThread();
    void signsOutOnTheCallersThread();
    void answersOneCallAfterAnother();
    void standsCallsFromManyThreads();

private:
    void delay(const std::string& path);

    HostFixture host_;
};

void ThreadsTest::answersOnTheThreadOfCreate_data() {
    QTest::addColumn<QString>("account");
    QTest::addColumn<QString>("password");
    QTest::newRow("signInSucceeded") << "plain"
                                     << "";
    QTest::newRow("signInFailed") << "plain"
                                  << "wrong";
    QTest::newRow("requestSecondFactor") << "second-factor"
                                         << "";
    QTest::newRow("requestSelectContext") << "several-contexts"
                                          << "";
}

void ThreadsTest::answersOnTheThreadOfCreate() {
    QFETCH(QString, account);
    QFETCH(QString, password);
    QThread* heardOn = nullptr;
    const auto hear = [&heardOn] { heardOn = QThread::currentThread(); };
    QObject context;
    connect(host_.client, &Client::signInSucceeded, &context, hear, Qt::DirectConnection);
    connect(host_.client, &Client::signInFailed, &context, hear, Qt::DirectConnection);
    connect(host_.client, &Client::requestSecondFactor, &context, hear, Qt::DirectConnection);
    connect(host_.client, &Client::requestSelectContext, &context, hear, Qt::DirectConnection);
    const QString line = host_.signIn(account.toStdString(), password);
    QVERIFY2(line.startsWith(QTest::currentDataTag()), qPrintable(line));
    QCOMPARE(heardOn, thread());
}

void ThreadsTest::answersLaterStepsOnTheThreadOfCreate() {
    QList<QThread*> heardOn;
    const auto hear = [&heardOn] { heardOn << QThread::currentThread(); };
    QObject context;
    connect(host_.client, &Client::wrong2FACode, &context, hear, Qt::DirectConnection);
    connect(host_.client, &Client::userInfoFetched, &context, hear, Qt::DirectConnection);
    connect(host_.client, &Client::fetchUserInfoFailed, &context, hear, Qt::DirectConnection);
    QCOMPARE(host_.signIn("second-factor"), QString("requestSecondFactor tom.factor@example.test"));
    QCOMPARE(host_.confirm("second-factor", "abc"), QString("wrong2FACode tom.factor@example.test"));
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    QCOMPARE(host_.fetchUserInfo(), QString("userInfoFetched"));
    host_.answerWith(kUsersPath, 200, "<html>");
    QVERIFY(host_.fetchUserInfo().startsWith("fetchUserInfoFailed"));
    QCOMPARE(heardOn, QList<QThread*>(3, thread()));
}

void ThreadsTest::carriesValuesToAnotherThread() {
    QThread thread;
    QObject context;
    context.moveToThread(&thread);
    QThread* heardOn = nullptr;
    Quillmark::SignIn::SignInProcessResult heard;
    connect(host_.client, &Client::requestSelectContext, &context, [&](const auto& contexts) {
        heardOn = QThread::currentThread();
        heard = contexts;
        thread.quit();
    });
    thread.start();
    QVERIFY(host_.signIn("several-contexts").startsWith("requestSelectContext"));
    QVERIFY(thread.wait(60'000));
    QCOMPARE(heardOn, &thread);
    QCOMPARE(heard.login, QString("nina.many@example.test"));
    QCOMPARE(heard.contexts.size(), host_.recorder.selection.contexts.size());
    QCOMPARE(heard.contexts.last().name, host_.recorder.selection.contexts.last().name);
}

void ThreadsTest::signOutWaitsForARunningTask() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.service.forgetExchanges();
    delay(kUsersPath);
    const QString line = host_.answerTo([this] {
        host_.client->startGetUserInfo();
        while (host_.service.faults().waiting() != 0)  // until the request is at the service
            QThread::yieldCurrentThread();
        host_.client->signOut();
        QCOMPARE(host_.exchangesOf(kUsersPath), 1);  // answered before signOut() returned
    });
    QVERIFY2(line.startsWith("signedOut"), qPrintable(line));
    QTRY_COMPARE_WITH_TIMEOUT(host_.recorder.lines, (QStringList{"signedOut", "userInfoFetched"}), 60'000);
}

void ThreadsTest::readersSeeNoEmptyTokenDuringARenewal() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    const QByteArray before = host_.client->getAccessTokenBytes();
    delay(kIdentityPath);
    QByteArray renewed;
    std::thread renewal([&] { renewed = host_.client->refreshAccessToken(false); });
    while (host_.service.faults().waiting() != 0)
        QThread::yieldCurrentThread();
    const QByteArray read = host_.client->getAccessTokenBytes();
    renewal.join();
    QVERIFY(!read.isEmpty());
    QVERIFY(read != before);  // the reader waited for the new one
    QCOMPARE(read, renewed);
}

// The next request of `path` is answered late, so that others have time to come in between.
void ThreadsTest::delay(const std::string& path) {
    sandbox::Fault fault;
    fault.path = path;
    fault.delay = std::chrono::milliseconds(200);
    host_.service.faults().add(fault);
}

void ThreadsTest::answersACallOfAnotherThread() {
    std::atomic<QThread*> heardOn = nullptr;
    QObject context;
    connect(
        host_.client, &Client::signInSucceeded, &context, [&heardOn] { heardOn = QThread::currentThread(); },
        Qt::DirectConnection);
    std::optional<OtherThread> other;
    const QString line = host_.answerTo([&] {
        other.emplace([this] {
            const auto& account = host_.service.account("plain");
            host_.client->startSignIn(QString::fromStdString(account.login),
                                      QString::fromStdString(account.password));
        });
    });
    QCOMPARE(line, QString("signInSucceeded anna.plain@example.test"));
    QCOMPARE(heardOn.load(), thread());
    QVERIFY(!host_.client->getAccessTokenBytes().isEmpty());
}

void ThreadsTest::signsOutOnTheCallersThread() {
    std::atomic<QThread*> heardOn = nullptr;
    std::atomic<bool> heardBeforeReturn = false;
    QObject context;
    connect(
        host_.client, &Client::signedOut, &context, [&heardOn] { heardOn = QThread::currentThread(); },
        Qt::DirectConnection);
    std::optional<OtherThread> other;
    const QString line = host_.answerTo([&] {
        other.emplace([&] {
            host_.client->signOut();
            heardBeforeReturn = heardOn != nullptr;
        });
    });
    QThread* const caller = other->thread();
    other.reset();  // joined: its last slot has run
    QCOMPARE(line, QString("signedOut"));
    QCOMPARE(heardOn.load(), caller);
    QVERIFY(heardBeforeReturn);
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

// A sanitizer is the judge here; of the outcome only the end state counts.
void ThreadsTest::standsCallsFromManyThreads() {
    constexpr qint64 kDurationMs = 2'000;
    constexpr int kThreads = 6;
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));

    std::atomic<int> running = kThreads;
    std::vector<std::thread> threads;
    for (int index = 0; index < kThreads; ++index)
        threads.emplace_back([this, index, &running] {
            QElapsedTimer timer;
            timer.start();
            while (timer.elapsed() < kDurationMs) {
                (void)host_.client->getIsSignedIn();
                (void)host_.client->getAccessTokenBytes();
                (void)host_.client->refreshAccessToken(index % 2 == 0);
                (void)host_.client->getBasicEndpoint();
                (void)host_.client->getPCGuid();
                if (index == 0)
                    host_.client->signOut();
            }
            --running;
        });
    QEventLoop step;  // ends with the sign-in, whatever the other threads' sign-outs make of it
    connect(host_.client, &Client::signInSucceeded, &step, &QEventLoop::quit);
    connect(host_.client, &Client::signInFailed, &step, &QEventLoop::quit);
    const auto& account = host_.service.account("plain");
    while (running > 0) {
        host_.client->startSignIn(QString::fromStdString(account.login),
                                  QString::fromStdString(account.password));
        step.exec();
    }
    for (auto& thread : threads)
        thread.join();

    host_.startAnew();
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
}

QTEST_GUILESS_MAIN(ThreadsTest)
#include "ThreadsTest.moc"
