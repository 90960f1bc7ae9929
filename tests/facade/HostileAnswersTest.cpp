// Answers that no account service should give: the host hears a failure, and the next sign-in works.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>

#include "tests/facade/HostFixture.h"
#include "tests/support/TransportFacts.h"

using namespace test_support;

namespace {

constexpr int kMegabyte = 1 << 20;

}  // namespace

class HostileAnswersTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }
    void failsOnAnUnreadableToken_data();
    void failsOnAnUnreadableToken();
    void failsOnARefusal_data();
    void failsOnARefusal();
    void readsAFeedAndATicketWithoutSense_data();
    void readsAFeedAndATicketWithoutSense();
    void failsOnABrokenConnection_data();
    void failsOnABrokenConnection();
    void failsWhenNobodyListens();

private:
    HostFixture host_;
};

void HostileAnswersTest::failsOnAnUnreadableToken_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("a page") << QByteArray("<html><body>It works!</body></html>");
    QTest::newRow("null") << QByteArray("null");
    QTest::newRow("an empty list") << QByteArray("[]");
    QTest::newRow("an empty object") << QByteArray("{}");
    QTest::newRow("a number") << QByteArray("12");
    QTest::newRow("cut in a name") << QByteArray(R"({"accessTo)");
    QTest::newRow("cut in the token") << QByteArray(R"({"accessToken":"abc)");
    QTest::newRow("bytes that are no text") << QByteArray("\xff\xfe\x00\x01{", 5);
    QTest::newRow("8 MB without sense") << QByteArray(8 * kMegabyte, 'x');
    QTest::newRow("a million nested lists") << QByteArray(kMegabyte, '[');
    QTest::newRow("a million closed lists") << QByteArray(kMegabyte, '[') + QByteArray(kMegabyte, ']');
}

void HostileAnswersTest::failsOnAnUnreadableToken() {
    QFETCH(QByteArray, body);
    host_.answerWith(kTokensPath, 200, body.toStdString());
    QCOMPARE(
        host_.signIn("plain"),
        QString("signInFailed anna.plain@example.test 0x82000004 Registry back compatibility is broken"));
    QVERIFY(!host_.client->getIsSignedIn());
    QVERIFY(host_.client->getAccessTokenBytes().isEmpty());
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
}

void HostileAnswersTest::failsOnARefusal_data() {
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    QTest::newRow("a second factor without arguments")
        << 403 << QByteArray(R"({"status":403,"errorCode":"2FA_TOTP_REQUIRED"})")
        << "0x82000007 Email is not verified or account is blocked";
    QTest::newRow("a page with 403") << 403 << QByteArray("<html>")
                                     << "0x82000007 Email is not verified or account is blocked";
    QTest::newRow("a page with 500") << 500 << QByteArray("<html>")
                                     << "0x82000003 Internal registry service error";
    QTest::newRow("maintenance") << 503 << QByteArray()
                                 << "0x8000000c Tessaly service is under maintenance, please, try later";
    QTest::newRow("too many requests")
        << 429 << QByteArray("slow down") << "0x8200000d Too many requests from your address";
    QTest::newRow("a million nested objects")
        << 400 << QByteArray(kMegabyte, '{') << "0x82000004 Registry back compatibility is broken";
}

void HostileAnswersTest::failsOnARefusal() {
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, expected);
    host_.answerWith(kTokensPath, status, body.toStdString());
    QCOMPARE(host_.signIn("plain"), "signInFailed anna.plain@example.test " + expected);
}

void HostileAnswersTest::readsAFeedAndATicketWithoutSense_data() {
    failsOnAnUnreadableToken_data();
    QTest::newRow("8 MB of open tags") << QByteArray("<a>").repeated(8 * kMegabyte / 3);
    QTest::newRow("a tag of 8 MB") << "<" + QByteArray(8 * kMegabyte, 'a');
    QTest::newRow("200,000 attributes") << "<rss " + QByteArray("a=\"\" ").repeated(200'000);
    QTest::newRow("a comment without an end") << "<!--" + QByteArray(8 * kMegabyte, '-');
    QTest::newRow("an entity without an end") << "<rss>&" + QByteArray(8 * kMegabyte, 'a');
}

// A ticket was filed, whatever the service says of it.
void HostileAnswersTest::readsAFeedAndATicketWithoutSense() {
    QFETCH(QByteArray, body);
    host_.answerWith(kFeedPath, 200, body.toStdString(), 2);
    host_.answerWith(kTicketPath, 200, body.toStdString());
    QCOMPARE(host_.answerTo([this] { host_.client->startCheckForUpdates("Harbour", "Home", "1.0"); }),
             QString("checkForUpdateFailed 0x84000001 Unknown error code"));
    QCOMPARE(host_.client->getLinuxREDownloadUrl("Harbour", "Home", "1.0"), QUrl());
    QCOMPARE(host_.answerTo([this] { host_.client->startCreateCustomerRequest({}, "e", "t", "d", {}); }),
             QString("customerRequestCreated {00000000-0000-0000-0000-000000000000} "));
}

void HostileAnswersTest::failsOnABrokenConnection_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("half");
    QTest::newRow("cut before the token") << QString::fromStdString(kTokensPath) << false;
    QTest::newRow("half a token") << QString::fromStdString(kTokensPath) << true;
    QTest::newRow("half a list of trusts") << QString::fromStdString(kTrustsPath) << true;
}

void HostileAnswersTest::failsOnABrokenConnection() {
    QFETCH(QString, path);
    QFETCH(bool, half);
    sandbox::Fault fault;
    fault.kind = half ? sandbox::FaultKind::half : sandbox::FaultKind::cut;
    fault.path = path.toStdString();
    host_.service.faults().add(fault);
    // Half a body that comes through is no JSON.
    const QString expected = half && !test::NoticesCutAnswers()
                                 ? "0x82000004 Registry back compatibility is broken"
                                 : "0x80000006 Problems sending network requests";
    QCOMPARE(host_.signIn("plain"), "signInFailed anna.plain@example.test " + expected);
    QVERIFY(!host_.client->getIsSignedIn());
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
}

// The last one: the service doesn't come back.
void HostileAnswersTest::failsWhenNobodyListens() {
    host_.service.stop();
    QCOMPARE(host_.answerTo([this] { host_.client->startSignIn("anna", "password"); }),
             QString("signInFailed anna 0x80000006 Problems sending network requests"));
    QCOMPARE(host_.answerTo([this] { host_.client->startCheckForUpdates("Harbour", "Home", "1.0"); }),
             QString("checkForUpdateFailed 0x80000006 Problems sending network requests"));
    QCOMPARE(host_.client->getLinuxREDownloadUrl("Harbour", "Home", "1.0"), QUrl());
    QCOMPARE(host_.answerTo([this] { host_.client->startCreateCustomerRequest({}, "e", "t", "d", {}); }),
             QString("createCustomerRequestFailed {00000000-0000-0000-0000-000000000000} 0x80000006 "
                     "Problems sending network requests"));
}

QTEST_GUILESS_MAIN(HostileAnswersTest)
#include "HostileAnswersTest.moc"
