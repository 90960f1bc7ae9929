// How many threads the private half runs on a machine with one core, which Linux plays for the calling
// thread.
#include <sched.h>

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include "facade/src/ClientPrivate.h"

using Quillmark::Client;
using Quillmark::ClientParams;
using Quillmark::ClientPrivate;

class OneCoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runsTwoThreadsOnOneCore();
};

void OneCoreTest::runsTwoThreadsOnOneCore() {
    const QTemporaryDir storage;
    ClientParams params;
    params.serviceUrl = QUrl("http://127.0.0.1:9");  // nobody is asked: there is no stored sign-in
    params.storagePath = storage.path();
    Client* const client = Client::create(QCoreApplication::instance(), params);
    QVERIFY(client != nullptr);

    cpu_set_t before;
    QCOMPARE(sched_getaffinity(0, sizeof before, &before), 0);
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    QCOMPARE(sched_setaffinity(0, sizeof one, &one), 0);
    const int cores = QThread::idealThreadCount();
    const ClientPrivate half(client, ClientParams());
    QCOMPARE(sched_setaffinity(0, sizeof before, &before), 0);
    QCOMPARE(cores, 1);
    QCOMPARE(half.findChild<QThreadPool*>()->maxThreadCount(), 2);
}

QTEST_GUILESS_MAIN(OneCoreTest)
#include "OneCoreTest.moc"
