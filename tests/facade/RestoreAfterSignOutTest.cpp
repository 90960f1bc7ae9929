// After a sign-out and a restart nobody is signed in, although the token of the last context is still on disk
// and so in the cache.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>

#include "core/src/QuillmarkClient.h"
#include "tests/facade/HostFixture.h"

using namespace test_support;

class RestoreAfterSignOutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void hasATokenButNoSignIn();
};

void RestoreAfterSignOutTest::hasATokenButNoSignIn() {
    const auto signInAndOutEarlier = [](const SandboxFixture& service, const QString& storage) {
        const auto& account = service.account("plain");
        quillmarkclient::QuillmarkClient earlier;
        QVERIFY(IsSuccess(earlier.Init(storage.toStdString(), service.baseUrl())));
        QVERIFY(IsSuccess(earlier.SignIn(account.login, account.password)));
        earlier.SignOut();
    };
    HostFixture host(sandbox::readSeedFile(sandbox::defaultSeedFile()), signInAndOutEarlier);
    QVERIFY(!host.client->getIsSignedIn());
    QVERIFY(!host.client->getAccessTokenBytes().isEmpty());
    QCOMPARE(host.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
}

QTEST_GUILESS_MAIN(RestoreAfterSignOutTest)
#include "RestoreAfterSignOutTest.moc"
