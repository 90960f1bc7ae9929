// Two threads that create at once. One process, one Client: one function.
#include <Quillmark/Client.h>

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>
#include <latch>
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
    std::latch bothReady(2);
    const auto create = [&] {
        bothReady.arrive_and_wait();
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
