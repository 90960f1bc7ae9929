// The cached access token and its renewal. The service's clock is set so that its tokens expire when wanted;
// the margin to the second is tested in TokenCacheTest.
#include <Quillmark/Client.h>

#include <QtCore/QDateTime>
#include <QtTest/QtTest>

#include "tests/facade/HostFixture.h"

using namespace test_support;

namespace {

constexpr qint64 kTokenLifetimeS = 900;

}  // namespace

class RefreshTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }
    void keepsOrRenews_data();
    void keepsOrRenews();
    void forgetsTheTokenWhenTheRenewalFails_data();
    void forgetsTheTokenWhenTheRenewalFails();
    void renewsOnceTheNetworkIsBack_data();
    void renewsOnceTheNetworkIsBack();
    void takesATokenWithoutExpiryAsExpired();
    void hasNothingToRenewBeforeASignIn();

private:
    void signInWithTokenExpiringAt(qint64 unixSeconds);

    HostFixture host_;
};

void RefreshTest::signInWithTokenExpiringAt(qint64 unixSeconds) {
    host_.service.setTime(unixSeconds - kTokenLifetimeS);
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    const auto claims = Quillmark::Client::getDecodedAccessToken(host_.client->getAccessTokenBytes());
    QCOMPARE(claims.value("exp").toInteger(), unixSeconds);
    host_.service.forgetExchanges();
}

void RefreshTest::keepsOrRenews_data() {
    QTest::addColumn<qint64>("expiresInS");
    QTest::addColumn<bool>("onlyIfExpired");
    QTest::addColumn<bool>("renewed");
    QTest::newRow("good for an hour: kept") << qint64{3600} << true << false;
    QTest::newRow("just expired: kept") << qint64{-1} << true << false;
    QTest::newRow("expired within the margin: kept") << qint64{-30} << true << false;
    QTest::newRow("expired 60 s ago: renewed") << qint64{-60} << true << true;
    QTest::newRow("expired long ago: renewed") << qint64{-86400} << true << true;
    QTest::newRow("good, but asked for: renewed") << qint64{3600} << false << true;
}

void RefreshTest::keepsOrRenews() {
    QFETCH(qint64, expiresInS);
    QFETCH(bool, onlyIfExpired);
    QFETCH(bool, renewed);
    signInWithTokenExpiringAt(QDateTime::currentSecsSinceEpoch() + expiresInS);
    const QByteArray before = host_.client->getAccessTokenBytes();
    const QByteArray after = host_.client->refreshAccessToken(onlyIfExpired);
    QVERIFY(!after.isEmpty());
    QCOMPARE(after != before, renewed);
    QCOMPARE(host_.exchangesOf(kIdentityPath), renewed ? 1 : 0);
    QCOMPARE(host_.client->getAccessTokenBytes(), after);
    QVERIFY(host_.recorder.lines.filter("signInSucceeded").size() == 1);  // no signal of its own
}

void RefreshTest::forgetsTheTokenWhenTheRenewalFails_data() {
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("refused") << 401 << QByteArray();
    QTest::newRow("the service is down") << 500 << QByteArray();
    QTest::newRow("a page") << 200 << QByteArray("<html>");
}

void RefreshTest::forgetsTheTokenWhenTheRenewalFails() {
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    signInWithTokenExpiringAt(QDateTime::currentSecsSinceEpoch() + 3600);
    host_.answerWith(kIdentityPath, status, body.toStdString());
    QCOMPARE(host_.client->refreshAccessToken(false), QByteArray());
    QCOMPARE(host_.client->getAccessTokenBytes(), QByteArray());
}

void RefreshTest::renewsOnceTheNetworkIsBack_data() {
    QTest::addColumn<bool>("inContext");
    QTest::newRow("cut in the renewal") << false;
    QTest::newRow("cut in its context") << true;
}

void RefreshTest::renewsOnceTheNetworkIsBack() {
    QFETCH(bool, inContext);
    signInWithTokenExpiringAt(QDateTime::currentSecsSinceEpoch() + 3600);
    const QByteArray before = host_.client->getAccessTokenBytes();
    host_.cut(inContext ? kContextPath : kIdentityPath);
    QCOMPARE(host_.client->refreshAccessToken(false), QByteArray());
    QCOMPARE(host_.client->getAccessTokenBytes(), QByteArray());
    QCOMPARE(host_.client->getIsSignedIn(), true);
    QCOMPARE(host_.exchangesOf(kContextPath), inContext ? 1 : 0);

    const QByteArray after = host_.client->refreshAccessToken(false);
    QVERIFY(!after.isEmpty());
    QVERIFY(after != before);
    QCOMPARE(host_.client->getAccessTokenBytes(), after);
    QCOMPARE(host_.exchangesOf(kIdentityPath), 2);
}

void RefreshTest::takesATokenWithoutExpiryAsExpired() {
    const std::string token = "h." + QByteArray(R"({"sub":"7"})").toBase64().toStdString() + ".s";
    host_.answerWith(kContextPath, 200, R"({"accessToken":")" + token + "\"}");
    // The service doesn't know the token and so gives no identity secret: there is nothing to renew it by.
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    QCOMPARE(host_.client->getAccessTokenBytes(), QByteArray::fromStdString(token));
    QCOMPARE(host_.client->refreshAccessToken(true), QByteArray());
}

void RefreshTest::hasNothingToRenewBeforeASignIn() {
    QCOMPARE(host_.client->refreshAccessToken(true), QByteArray());
    QCOMPARE(host_.client->refreshAccessToken(false), QByteArray());
    QCOMPARE(host_.service.exchanges().size(), std::size_t{0});
}

QTEST_GUILESS_MAIN(RefreshTest)
#include "RefreshTest.moc"
