// A sign-in at a server whose certificate is at fault. Each row has a server and a private half of its own;
// the signals are those of the process's one Client.
#include <QtTest/QtTest>

#include "facade/src/ClientPrivate.h"
#include "tests/facade/HostFixture.h"

using Quillmark::ClientPrivate;
using sandbox::CertificateFlaw;
using namespace test_support;

class CertificatesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void signsInAtATrustedServerOnly_data();
    void signsInAtATrustedServerOnly();

private:
    HostFixture host_;
};

void CertificatesTest::signsInAtATrustedServerOnly_data() {
    const QString refused(
        "signInFailed anna.plain@example.test 0x80000006 Problems sending network requests");
    QTest::addColumn<int>("flaw");
    QTest::addColumn<QString>("expected");
    QTest::newRow("a good one") << static_cast<int>(CertificateFlaw::none)
                                << "signInSucceeded anna.plain@example.test";
    QTest::newRow("expired") << static_cast<int>(CertificateFlaw::expired) << refused;
    QTest::newRow("self-signed") << static_cast<int>(CertificateFlaw::selfSigned) << refused;
    QTest::newRow("of another host") << static_cast<int>(CertificateFlaw::wrongHost) << refused;
}

void CertificatesTest::signsInAtATrustedServerOnly() {
    QFETCH(int, flaw);
    SandboxFixture server(Scheme::https, static_cast<CertificateFlaw>(flaw));
    qputenv("SSL_CERT_FILE", QByteArray::fromStdString(server.caFile()));
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
