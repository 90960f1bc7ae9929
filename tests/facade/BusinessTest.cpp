// The client of a business: one step and signed in, no second factor and no contexts.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>

#include "tests/facade/HostFixture.h"

using Quillmark::SignIn::ContextType;
using namespace test_support;

class BusinessTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }
    void endsAtThePassword_data();
    void endsAtThePassword();
    void endsAtTheCode_data();
    void endsAtTheCode();
    void knowsNoSecondFactor();
    void knowsNoContexts();
    void keepsItsSignInThroughAFailedStep();
    void tellsOfTheUser();
    void renewsItsToken();
    void fetchesProviders();

private:
    HostFixture host_{
        sandbox::readSeedFile(sandbox::defaultSeedFile()), {}, Quillmark::ClientParams::BusinessClient};
};

void BusinessTest::endsAtThePassword_data() {
    QTest::addColumn<QString>("account");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, const char* account, const char* password, const char* expected) {
        QTest::newRow(name) << account << password << expected;
    };
    row("right password", "business", "", "signInSucceeded bella.business@example.test");
    row("wrong password", "business", "wrong",
        "signInFailed bella.business@example.test 0x82000006 Invalid login or password");
    row("blocked", "business-blocked", "",
        "signInFailed boris.business@example.test 0x82000007 Email is not verified or account is blocked");
    row("a customer is unknown here", "plain", "",
        "signInFailed anna.plain@example.test 0x82000006 Invalid login or password");
    row("so is an administrator", "administrator", "",
        "signInFailed ada.admin@example.test 0x82000006 Invalid login or password");
}

void BusinessTest::endsAtThePassword() {
    QFETCH(QString, account);
    QFETCH(QString, password);
    QFETCH(QString, expected);
    const bool isSignedIn = expected.startsWith("signInSucceeded");
    QCOMPARE(host_.signIn(account.toStdString(), password), expected);
    QCOMPARE(host_.client->getIsSignedIn(), isSignedIn);
    QCOMPARE(host_.claim(QLatin1String("businessContactNumber")), QString(isSignedIn ? "300007" : ""));
}

void BusinessTest::endsAtTheCode_data() {
    QTest::addColumn<QString>("person");
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, const char* person, const char* operation, const char* expected) {
        QTest::newRow(name) << person << operation << expected;
    };
    const char* const isNotFound = "signInFailed  0x8200000e Not found";
    row("linked", "business-linked", "SIGN_IN", "signInSucceeded bella.business@example.test");
    row("a newcomer signs up", "business-newcomer", "SIGN_UP", "signInSucceeded kit.newcomer@example.test");
    row("a newcomer signs in", "business-newcomer", "SIGN_IN", isNotFound);
    row("a newcomer signs up in lower case", "business-newcomer", "sign_up", isNotFound);
    row("a newcomer links", "business-newcomer", "LINK", isNotFound);
    row("blocked", "business-blocked", "SIGN_IN",
        "signInFailed  0x82000007 Email is not verified or account is blocked");
    row("a customer", "linked", "SIGN_IN", isNotFound);
}

void BusinessTest::endsAtTheCode() {
    QFETCH(QString, person);
    QFETCH(QString, operation);
    QFETCH(QString, expected);
    QCOMPARE(host_.signInByCode(host_.codeOf(person.toStdString()), operation), expected);
    QCOMPARE(host_.client->getIsSignedIn(), expected.startsWith("signInSucceeded"));
    QCOMPARE(host_.exchangesOf(kFinalizePath), 0);
    QCOMPARE(host_.exchangesOf(kContextPath), 0);
}

void BusinessTest::knowsNoSecondFactor() {
    QCOMPARE(
        host_.answerTo([this] { host_.client->startConfirmSecondFactor("bella", "challenge", "123456"); }),
        QString("signInFailed bella 0x80000004 Not implemented"));
    QCOMPARE(host_.service.exchanges().size(), std::size_t{0});
}

void BusinessTest::knowsNoContexts() {
    for (const ContextType type : {ContextType::Personal, ContextType::Organization})
        QCOMPARE(host_.answerTo([&] { host_.client->startSignInToContext("bella", type, "org-harrow"); }),
                 QString("signInFailed bella 0x80000004 Not implemented"));
    QCOMPARE(host_.service.exchanges().size(), std::size_t{0});
}

void BusinessTest::keepsItsSignInThroughAFailedStep() {
    QCOMPARE(host_.signIn("business"), QString("signInSucceeded bella.business@example.test"));
    QVERIFY(host_.chooseContext("business", ContextType::Personal, {}).startsWith("signInFailed"));
    QVERIFY(host_.client->getIsSignedIn());
    QVERIFY(!host_.client->getAccessTokenBytes().isEmpty());
}

void BusinessTest::tellsOfTheUser() {
    QCOMPARE(host_.signIn("business"), QString("signInSucceeded bella.business@example.test"));
    QCOMPARE(host_.fetchUserInfo(), QString("userInfoFetched"));
    const auto& info = host_.recorder.userInfo;
    QCOMPARE(info.id, QString("7c1d0b52-0007-4a6e-9d10-000000000007"));
    QCOMPARE(info.firstName, QString("Bella"));
    QCOMPARE(info.lastName, QString("Tarn"));
    QCOMPARE(info.email, QString("bella.business@example.test"));
    QCOMPARE(info.customerNumber, QString("300007"));
    QCOMPARE(info.customerContactNumber, QString("300007"));
    QVERIFY(info.isBusiness);
}

void BusinessTest::renewsItsToken() {
    QCOMPARE(host_.signIn("business"), QString("signInSucceeded bella.business@example.test"));
    const QByteArray before = host_.client->getAccessTokenBytes();
    host_.service.forgetExchanges();
    const QByteArray after = host_.client->refreshAccessToken(false);
    QVERIFY(!after.isEmpty());
    QVERIFY(after != before);
    QCOMPARE(host_.service.exchanges().size(), std::size_t{1});
    QCOMPARE(host_.exchangesOf("/api/business/registry/v2/tokens/identity"), 1);
    QCOMPARE(host_.claim(QLatin1String("businessContactNumber")), QString("300007"));
}

void BusinessTest::fetchesProviders() {
    QCOMPARE(host_.fetchProviders(), QString("externalOauthProvidersFetched glowpass maple-id"));
}

QTEST_GUILESS_MAIN(BusinessTest)
#include "BusinessTest.moc"
