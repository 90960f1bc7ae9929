#include <Quillmark/Client.h>

#include <QtTest/QtTest>

#include "tests/facade/HostFixture.h"

using namespace test_support;

class UserInfoTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }
    void tellsOfAPerson();
    void tellsOfABusinessUser();
    void saysNothingBeforeASignIn();
    void renewsATokenThatTheServiceRefuses();
    void failsWhenTheServiceRefusesTheRenewal();
    void failsOnAnUnreadableAnswer();
    void failsWithoutANetwork();
    void knowsTheServiceAndTheMachine();

private:
    HostFixture host_;
};

void UserInfoTest::tellsOfAPerson() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    QCOMPARE(host_.fetchUserInfo(), QString("userInfoFetched"));
    const auto& info = host_.recorder.userInfo;
    QCOMPARE(info.id, QString("7c1d0b52-0001-4a6e-9d10-000000000001"));
    QCOMPARE(info.firstName, QString("Anna"));
    QCOMPARE(info.lastName, QString("Kestrel"));
    QCOMPARE(info.email, QString("anna.plain@example.test"));
    QCOMPARE(info.customerNumber, QString("100001"));
    QCOMPARE(info.customerContactNumber, QString("200001"));
    QVERIFY(!info.isBusiness);
}

void UserInfoTest::tellsOfABusinessUser() {
    QCOMPARE(host_.signIn("organisation-only"), QString("signInSucceeded olga.office@example.test"));
    QCOMPARE(host_.fetchUserInfo(), QString("userInfoFetched"));
    const auto& info = host_.recorder.userInfo;
    QCOMPARE(info.lastName, QString("Brightwater"));
    QCOMPARE(info.customerNumber, QString("300003"));
    QCOMPARE(info.customerContactNumber, QString("300003"));
    QVERIFY(info.isBusiness);
}

// A task for the details would end long before the sign-in behind it, and be recorded first.
void UserInfoTest::saysNothingBeforeASignIn() {
    host_.client->startGetUserInfo();
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    QCOMPARE(host_.exchangesOf(kUsersPath), 0);
}

void UserInfoTest::renewsATokenThatTheServiceRefuses() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.service.service().expireTokens();
    host_.service.forgetExchanges();
    QCOMPARE(host_.fetchUserInfo(), QString("userInfoFetched"));
    QCOMPARE(host_.recorder.userInfo.lastName, QString("Kestrel"));
    QCOMPARE(host_.exchangesOf(kUsersPath), 2);
    QCOMPARE(host_.exchangesOf(kIdentityPath), 1);
}

void UserInfoTest::failsWhenTheServiceRefusesTheRenewal() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.service.service().expireTokens();
    host_.answerWith(kIdentityPath, 401, "");
    QCOMPARE(host_.fetchUserInfo(), QString("fetchUserInfoFailed 0x82000002 Authorization is denied"));
    QVERIFY(host_.client->getIsSignedIn());
}

void UserInfoTest::failsOnAnUnreadableAnswer() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.answerWith(kUsersPath, 200, "<html>");
    QCOMPARE(host_.fetchUserInfo(),
             QString("fetchUserInfoFailed 0x82000004 Registry back compatibility is broken"));
}

void UserInfoTest::knowsTheServiceAndTheMachine() {
    QCOMPARE(host_.client->getBasicEndpoint(), QString::fromStdString(host_.service.baseUrl()));
    const QString machine = host_.client->getPCGuid();
    QCOMPARE(host_.client->getPCGuid(), machine);
    QVERIFY(!machine.isEmpty());
}

void UserInfoTest::failsWithoutANetwork() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.cut(kUsersPath);
    QCOMPARE(host_.fetchUserInfo(),
             QString("fetchUserInfoFailed 0x80000006 Problems sending network requests"));
    QVERIFY(host_.client->getIsSignedIn());
}

QTEST_GUILESS_MAIN(UserInfoTest)
#include "UserInfoTest.moc"
