// Which call holds up a reader of the cached token, seen by the threads that sleep meanwhile. Linux only.
#include <Quillmark/Client.h>

#include <unistd.h>

#include <QtCore/QElapsedTimer>
#include <QtTest/QtTest>
#include <atomic>
#include <thread>

#include "tests/facade/HostFixture.h"
#include "tests/support/SleepingThread.h"

using namespace test_support;

class HeldLocksTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }
    void signOutDoesNotHoldUpReaders();
    void renewalHoldsUpReaders();

private:
    HostFixture host_;
};

// Only the core's mutex is held while a sign-out waits for a task, so a reader of the cache goes on.
void HeldLocksTest::signOutDoesNotHoldUpReaders() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    const QByteArray token = host_.client->getAccessTokenBytes();
    QSignalSpy recorded(&host_.recorder, &SignalRecorder::recorded);
    host_.recorder.lines.clear();
    host_.hold(kUsersPath);
    host_.client->startGetUserInfo();
    host_.waitForRequest();
    std::atomic<pid_t> signingOut = 0;
    std::atomic<bool> isOut = false;
    std::thread caller([&] {
        signingOut = gettid();
        host_.client->signOut();
        isOut = true;
    });
    const bool waits = test::FallsAsleep(signingOut);
    QElapsedTimer reading;
    reading.start();
    const QByteArray read = host_.client->getAccessTokenBytes();
    const qint64 readingMs = reading.elapsed();
    const bool wasOut = isOut;
    host_.release();
    caller.join();
    QVERIFY(waits);
    QVERIFY(!wasOut);  // the task was at the network still, and the sign-out behind it
    QVERIFY(readingMs < kHungMs);
    QCOMPARE(read, token);
    QCOMPARE(host_.client->getAccessTokenBytes(), QByteArray());
    while (recorded.size() < 2)
        QVERIFY(recorded.wait(60'000));
    host_.recorder.lines.sort();
    QCOMPARE(host_.recorder.lines,
             (QStringList{"fetchUserInfoFailed 0x80000006 Problems sending network requests", "signedOut"}));
}

// While a renewal is at the network a reader of the cache waits, and then finds what came of it.
void HeldLocksTest::renewalHoldsUpReaders() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.hold(kIdentityPath);
    std::thread renewal([this] { (void)host_.client->refreshAccessToken(false); });
    host_.waitForRequest();
    std::atomic<pid_t> reading = 0;
    std::atomic<bool> hasRead = false;
    QByteArray read("unread");
    std::thread reader([&] {
        reading = gettid();
        read = host_.client->getAccessTokenBytes();
        hasRead = true;
    });
    const bool waits = test::FallsAsleep(reading);
    const bool hadRead = hasRead;
    host_.release();
    renewal.join();
    reader.join();
    QVERIFY(waits);
    QVERIFY(!hadRead);
    QCOMPARE(read, QByteArray());  // the renewal failed
}

QTEST_GUILESS_MAIN(HeldLocksTest)
#include "HeldLocksTest.moc"
