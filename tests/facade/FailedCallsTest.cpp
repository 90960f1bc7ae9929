// What the facade makes of a native call that fails for want of memory.
#include <QtTest/QtTest>

#include "facade/src/ClientPrivate.h"
#include "tests/facade/HostFixture.h"
#include "tests/support/AllocationFailure.h"

using Quillmark::ClientPrivate;
using namespace test_support;

class FailedCallsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keepsTheCachedTokenWhenLoadingFails();
    void givesAnEmptyText();

private:
    HostFixture host_;
};

void FailedCallsTest::keepsTheCachedTokenWhenLoadingFails() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    const QByteArray before = host_.client->getAccessTokenBytes();
    QVERIFY(!before.isEmpty());
    auto* half = qobject_cast<ClientPrivate*>(host_.client->children().first());
    bool hasFailed = false;
    {
        const test::FailingAllocation failing(1);
        half->loadAccessToken();
        hasFailed = failing.HasFailed();
    }
    QVERIFY(hasFailed);
    QCOMPARE(host_.client->getAccessTokenBytes(), before);
}

void FailedCallsTest::givesAnEmptyText() {
    const auto whileMemoryFails = [](auto call) {
        const test::FailingAllocation failing(1);
        return call();
    };
    QCOMPARE(whileMemoryFails([this] { return host_.client->getBasicEndpoint(); }), QString());
    QCOMPARE(whileMemoryFails([this] { return host_.client->getPCGuid(); }), QString());
    QVERIFY(!host_.client->getBasicEndpoint().isEmpty());
    QVERIFY(!host_.client->getPCGuid().isEmpty());
}

QTEST_GUILESS_MAIN(FailedCallsTest)
#include "FailedCallsTest.moc"
