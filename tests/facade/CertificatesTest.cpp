// A sign-in at a server whose certificate is at fault. Each row has a server and a private half of its own;
// the signals are those of the process's one Client. One authority vouches for all of them and is trusted from the first
// row to the last, so that nothing but the fault can be what is refused.
#include <QtTest/QtTest>
#include <optional>

#include "facade/src/ClientPrivate.h"
#include "tests/facade/HostFixture.h"
#include "tests/support/TrustedAuthority.h"

using Quillmark::ClientPrivate;
using sandbox::CertificateFlaw;
using namespace test_support;

class CertificatesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { trusted_.reset(); }
    void signsInAtATrustedServerOnly_data();
    void signsInAtATrustedServerOnly();

private:
    const sandbox::TestAuthority authority_;
    const test::TemporaryFolder folder_;
    std::optional<test::TrustedAuthority> trusted_;
    HostFixture host_;
};

void CertificatesTest::initTestCase() {
    test::WriteWhole(folder_.PathOf("authority.pem"), authority_.certificatePem());
    trusted_.emplace(folder_.PathOf("authority.pem"));
}

void CertificatesTest::signsInAtATrustedServerOnly_data() {
    const QString refused(
        "signInFailed anna.plain@example.test 0x80000006 Problems sending network requests");
    QTest::addColumn<int>("flaw");
    QTest::addColumn<QString>("expected");
    QTest::newRow("a good one") << static_cast<int>(CertificateFlaw::none)
                                << "signInSucceeded anna.plain@example.test";
    QTest::newRow("not valid yet") << static_cast<int>(CertificateFlaw::notYetValid) << refused;
    QTest::newRow("expired") << static_cast<int>(CertificateFlaw::expired) << refused;
    QTest::newRow("self-signed") << static_cast<int>(CertificateFlaw::selfSigned) << refused;
    QTest::newRow("of another host") << static_cast<int>(CertificateFlaw::wrongHost) << refused;
    QTest::newRow("a good one behind them")
        << static_cast<int>(CertificateFlaw::none) << "signInSucceeded anna.plain@example.test";
}

void CertificatesTest::signsInAtATrustedServerOnly() {
    QFETCH(int, flaw);
    SandboxFixture server(Scheme::https, static_cast<CertificateFlaw>(flaw), &authority_);
    const QTemporaryDir storage;
    Quillmark::ClientParams params;
    params.serviceUrl = QUrl(QString::fromStdString(server.baseUrl()));
    params.storagePath = storage.path();
    ClientPrivate half(host_.client, params);
    QVERIFY(half.hasStarted());
    const QString password = QString::fromStdString(server.account("plain").password);
    QTEST(host_.answerTo([&] { half.startSignIn(host_.loginOf("plain"), password); }), "expected");
    QCOMPARE(half.native().IsSignedIn(), flaw == static_cast<int>(CertificateFlaw::none));
}

QTEST_GUILESS_MAIN(CertificatesTest)
#include "CertificatesTest.moc"
