// Two threads that create at once. One process, one Client: one function.
#include <Quillmark/Client.h>

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>
#include <atomic>
#include <thread>

using Quillmark::Client;

class CreateRaceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void givesOneClientToBoth();
};

void CreateRaceTest::givesOneClientToBoth() {
    const QTemporaryDir storage;
    Quillmark::ClientParams params;
    params.serviceUrl = QUrl("http://127.0.0.1:9");  // nobody is asked: there is no stored sign-in
    params.storagePath = storage.path();
    // Not a latch: under wine its waiters were seen to sleep for good, once in some hundred times.
    std::atomic<int> awaited = 2;
    const auto create = [&] {
        --awaited;
        while (awaited != 0)
            std::this_thread::yield();
        return Client::create(QCoreApplication::instance(), params);
    };
    Client* fromOther = nullptr;
    std::thread other([&] { fromOther = create(); });
    Client* const fromThis = create();
    other.join();
    QVERIFY(fromThis != nullptr);
    QCOMPARE(fromOther, fromThis);
}

QTEST_GUILESS_MAIN(CreateRaceTest)
#include "CreateRaceTest.moc"
