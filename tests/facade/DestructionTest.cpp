// The end of a Client with nothing in flight. One process, one Client: one function.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>

#include "core/src/IQuillmarkClient.h"
#include "tests/facade/HostFixture.h"

using namespace test_support;

class DestructionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void leavesTheSharedInterfaceAlive();
};

void DestructionTest::leavesTheSharedInterfaceAlive() {
    HostFixture host;
    QCOMPARE(host.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    QCOMPARE(host.fetchUserInfo(), QString("userInfoFetched"));
    QCOMPARE(host.answerTo([&] { host.client->startCheckForUpdates("Harbour", "Home", "8.4.2"); }),
             QString("checkForUpdateFailed 0x84000004 Unknown error code"));
    QCOMPARE(host.answerTo([&] { host.client->startCreateCustomerRequest({}, "e", "t", "d", {}); }),
             QString("customerRequestCreated {00000000-0000-0000-0000-000000000000} T-500001"));

    auto* shared = static_cast<quillmarkclient::IQuillmarkClient*>(host.client->getInstance());
    QVERIFY(shared != nullptr);
    QCOMPARE(shared->GetVersion(), 0x01020100u);
    QVERIFY(shared->IsSignedIn());
    QCOMPARE(shared->AddRef(), 2u);  // the Client holds the first
    QCOMPARE(host.client->getInstance(), static_cast<void*>(shared));

    QSignalSpy destroyed(host.client, &QObject::destroyed);
    delete host.client;
    QCOMPARE(destroyed.size(), 1);
    QVERIFY(shared->IsSignedIn());  // the core lives as long as its last holder
    quillmarkclient::CustomerContext** contexts = nullptr;
    QVERIFY(IsSuccess(shared->GetCustomerContexts(&contexts)));  // and still asks the service
    QCOMPARE(QByteArray(contexts[0]->name), QByteArray("Anna Kestrel"));
    shared->FreeMemory(contexts);
    shared->SignOut();
    QVERIFY(!shared->IsSignedIn());

    // The process's one Client is gone for good; the pointer is only looked at.
    QCOMPARE(static_cast<void*>(Quillmark::Client::create(QCoreApplication::instance(), {})),
             static_cast<void*>(host.client));
    QCOMPARE(shared->Release(), 0u);
}

QTEST_GUILESS_MAIN(DestructionTest)
#include "DestructionTest.moc"
