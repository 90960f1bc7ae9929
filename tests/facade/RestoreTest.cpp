// A sign-in of an earlier run is there as soon as create() returns.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>

#include "core/src/QuillmarkClient.h"
#include "tests/facade/HostFixture.h"

using namespace test_support;

class RestoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isSignedInFromTheStart();
};

void RestoreTest::isSignedInFromTheStart() {
    const auto signInEarlier = [](const SandboxFixture& service, const QString& storage) {
        const auto& account = service.account("plain");
        quillmarkclient::QuillmarkClient earlier;
        QVERIFY(IsSuccess(earlier.Init(storage.toStdString(), service.baseUrl())));
        QVERIFY(IsSuccess(earlier.SignIn(account.login, account.password)));
    };
    HostFixture host(sandbox::readSeedFile(sandbox::defaultSeedFile()), signInEarlier);
    QVERIFY(host.client->getIsSignedIn());
    QVERIFY(!host.client->getAccessTokenBytes().isEmpty());
    QCOMPARE(host.fetchUserInfo(), QString("userInfoFetched"));  // and no signal of the restored sign-in
    QCOMPARE(host.recorder.userInfo.lastName, QString("Kestrel"));
    QCOMPARE(host.recorder.userInfo.customerNumber, QString("100001"));
}

QTEST_GUILESS_MAIN(RestoreTest)
#include "RestoreTest.moc"
