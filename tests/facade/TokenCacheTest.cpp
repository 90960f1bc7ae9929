// When a cached token still serves. Reading claims is tested through Client::getDecodedAccessToken().
#include "facade/src/TokenCache.h"

#include <QtTest/QtTest>
#include <limits>

class TokenCacheTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void tellsWhetherATokenServes_data();
    void tellsWhetherATokenServes();
};

void TokenCacheTest::tellsWhetherATokenServes_data() {
    constexpr qint64 now = 1'700'000'000;
    constexpr qint64 farAhead = 9'007'199'254'740'993;  // not a double

    QTest::addColumn<QJsonObject>("claims");
    QTest::addColumn<bool>("expected");
    QTest::newRow("expires in an hour") << QJsonObject{{"exp", now + 3600}} << true;
    QTest::newRow("expires now") << QJsonObject{{"exp", now}} << true;
    QTest::newRow("expired 59 s ago") << QJsonObject{{"exp", now - 59}} << true;
    QTest::newRow("expired 60 s ago") << QJsonObject{{"exp", now - 60}} << false;
    QTest::newRow("expired 61 s ago") << QJsonObject{{"exp", now - 61}} << false;
    QTest::newRow("beyond 32 bits") << QJsonObject{{"exp", qint64{1} << 40}} << true;
    QTest::newRow("beyond a double") << QJsonObject{{"exp", farAhead}} << true;
    QTest::newRow("no exp") << QJsonObject{{"sub", "7"}} << false;
    QTest::newRow("exp as text") << QJsonObject{{"exp", QString::number(now + 3600)}} << false;
    QTest::newRow("exp null") << QJsonObject{{"exp", QJsonValue::Null}} << false;
    QTest::newRow("exp below zero") << QJsonObject{{"exp", std::numeric_limits<qint64>::min()}} << false;
    QTest::newRow("no claims") << QJsonObject() << false;
}

void TokenCacheTest::tellsWhetherATokenServes() {
    QFETCH(QJsonObject, claims);
    QTEST(Quillmark::isTokenUsable(claims, 1'700'000'000), "expected");
}

QTEST_GUILESS_MAIN(TokenCacheTest)
#include "TokenCacheTest.moc"
