// Every method from many threads at once, for some seconds. A sanitizer is the judge here; of the outcome
// only the number of answers and the end state count.
#include <Quillmark/Client.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QSemaphore>
#include <QtCore/QThread>
#include <QtCore/QThreadPool>
#include <QtTest/QtTest>
#include <atomic>
#include <memory>
#include <vector>

#include "core/src/IQuillmarkClient.h"
#include "tests/facade/HostFixture.h"
#include "tests/facade/LogCapture.h"

using Quillmark::Client;
using Quillmark::SignIn::ContextType;
using namespace test_support;

namespace {

constexpr qint64 kDurationMs = 3'000;
constexpr int kThreads = 6;
constexpr int kInFlight =
    8;  // tasks that wait at one time; without a bound the threads would run ahead for minutes

// One host thread: a round of calls after another, each on the thread's event loop, until the time is up.
class Caller : public QObject {
    Q_OBJECT

public:
    Caller(HostFixture& host, QSemaphore& places, int index)
        : host_(host),
          places_(places),
          index_(index),
          login_(host.loginOf("plain")),
          password_(QString::fromStdString(host.service.account("plain").password)) {
        moveToThread(&thread_);
        connect(&thread_, &QThread::started, this, &Caller::round);
        thread_.start();
    }
    ~Caller() override {
        thread_.quit();
        thread_.wait();
    }

    [[nodiscard]] bool isDone() const { return isDone_; }
    // The tasks that surely bring an answer.
    [[nodiscard]] int started() const { return started_; }
    // Until the thread has delivered what was posted to it so far.
    void catchUp() {
        QMetaObject::invokeMethod(
            this, [] {}, Qt::BlockingQueuedConnection);
    }

private:
    void round() {
        if (!timer_.isValid())
            timer_.start();
        start();
        ask();
        ++rounds_;
        if (timer_.elapsed() < kDurationMs)
            QMetaObject::invokeMethod(this, &Caller::round, Qt::QueuedConnection);
        else
            isDone_ = true;
    }

    void start() {
        Client& client = *host_.client;
        client.startGetUserInfo();
        if (!places_.tryAcquire())
            return;
        ++started_;
        switch ((rounds_ + index_) % 7) {
            case 0:
                return client.startSignIn(login_, password_);
            case 1:
                return client.startConfirmSecondFactor(login_, "challenge", "123456");
            case 2:
                return client.startSignInToContext(login_, ContextType::Personal, {});
            case 3:
                return client.startOAuthSignIn(host_.codeOf("linked"), "SIGN_IN");
            case 4:
                return client.startCheckForUpdates("Harbour", "Home", "8.4.1");
            case 5:
                return client.startCreateCustomerRequest({}, "e", QString::number(rounds_), "d",
                                                         {{"a", "1"}});
            default:
                return client.startFetchExternalOauthProviders();
        }
    }

    void ask() {
        Client& client = *host_.client;
        (void)client.getIsSignedIn();
        (void)Client::getDecodedAccessToken(client.getAccessTokenBytes());
        (void)client.refreshAccessToken((rounds_ + index_) % 3 != 0);
        (void)client.getBasicEndpoint();
        (void)client.getPCGuid();
        (void)client.getLinuxREDownloadUrl("Lantern", "Pro", "3.0.9");
        (void)Client::getErrorMessage(QUILLMARKCLIENT_ERROR::kRequestNotSent);
        client.persistIdentityToFile(host_.storage.filePath(QString("host-%1.json").arg(index_)));
        auto* native = static_cast<quillmarkclient::IQuillmarkClient*>(client.getInstance());
        native->AddRef();
        (void)native->IsSignedIn();
        native->Release();
        (void)Client::create(QCoreApplication::instance(), {});
        if (index_ == 0 && rounds_ % 4 == 3)
            client.signOut();
    }

    HostFixture& host_;
    QSemaphore& places_;
    const int index_;
    const QString login_;
    const QString password_;
    QElapsedTimer timer_;
    int rounds_ = 0;
    std::atomic<int> started_ = 0;
    std::atomic<bool> isDone_ = false;
    QThread thread_;
};

}  // namespace

class ManyThreadsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void standsCallsFromManyThreads();

private:
    void drain(const std::vector<std::unique_ptr<Caller>>& callers);

    HostFixture host_;
};

void ManyThreadsTest::standsCallsFromManyThreads() {
    const LogCapture log;  // of the failures that the threads make for one another
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.recorder.lines.clear();
    QSemaphore places(kInFlight);
    int answers = 0;
    connect(&host_.recorder, &SignalRecorder::recorded, this, [&] {
        const QString& line = host_.recorder.lines.last();
        if (line == "signedOut" || line == "userInfoFetched" || line.startsWith("fetchUserInfoFailed"))
            return;
        ++answers;
        places.release();
    });
    std::vector<std::unique_ptr<Caller>> callers;
    for (int index = 0; index < kThreads; ++index)
        callers.push_back(std::make_unique<Caller>(host_, places, index));
    drain(callers);
    int started = 0;
    for (const auto& caller : callers)
        started += caller->started();
    callers.clear();
    QVERIFY(started >= kThreads);
    QCOMPARE(answers, started);  // one for each, none twice

    disconnect(&host_.recorder, nullptr, this, nullptr);
    host_.startAnew();
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    QCOMPARE(host_.fetchUserInfo(), QString("userInfoFetched"));
}

// Until nothing is under way: the callers' rounds, their tasks, and the ends of these on both threads.
void ManyThreadsTest::drain(const std::vector<std::unique_ptr<Caller>>& callers) {
    for (const auto& caller : callers)
        QTRY_VERIFY_WITH_TIMEOUT(caller->isDone(), 120'000);
    QVERIFY(host_.client->findChild<QThreadPool*>()->waitForDone(120'000));
    for (const auto& caller : callers)
        caller->catchUp();
    QCoreApplication::processEvents();
}

QTEST_GUILESS_MAIN(ManyThreadsTest)
#include "ManyThreadsTest.moc"
