// A sign-in by a social provider's code, as the host sees it. The host gives no login: the signals carry the
// address of the account, as far as the service tells it.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>

#include "tests/facade/ContextSeed.h"
#include "tests/facade/HostFixture.h"
#include "tests/facade/LogCapture.h"

using Quillmark::SignIn::ContextType;
using namespace test_support;

class SocialSignInTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }

    void endsAtTheCode_data();
    void endsAtTheCode();
    void signsUpByOneTextAlone_data();
    void signsUpByOneTextAlone();
    void signsUpOnce();
    void takesACodeOnce();
    void asksForTheContext();
    void choosesTheOnlyContextByItself();
    void failsWithTheAddressOnceItIsKnown_data();
    void failsWithTheAddressOnceItIsKnown();
    void failsWithoutAContext();
    void asksForASecondFactor();
    void takesAWrongCodeForOne();
    void goesOnWithoutTheAddress_data();
    void goesOnWithoutTheAddress();
    void failsWithoutANetwork_data();
    void failsWithoutANetwork();
    void dropsTheFormerSignIn();
    void caches();
    void keepsTheTokenOutOfTheLog();

private:
    HostFixture host_{contextSeed()};
};

void SocialSignInTest::endsAtTheCode_data() {
    QTest::addColumn<QString>("person");
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, const char* person, const char* operation, const char* expected) {
        QTest::newRow(name) << person << operation << expected;
    };
    row("linked signs in", "linked", "SIGN_IN", "signInSucceeded anna.plain@example.test");
    row("linked links", "linked", "LINK", "signInSucceeded anna.plain@example.test");
    row("linked signs up again", "linked", "SIGN_UP",
        "signInFailed  0x82000007 Email is not verified or account is blocked");
    row("a newcomer signs in", "newcomer", "SIGN_IN", "signInFailed  0x8200000e Not found");
    row("a newcomer links", "newcomer", "LINK", "signInFailed  0x8200000e Not found");
    row("a newcomer signs up", "newcomer", "SIGN_UP", "signInSucceeded sol.newcomer@example.test");
    row("blocked", "linked-blocked", "SIGN_IN", "signInFailed  0x82000008 UC account already exists");
    row("linked to another account", "linked-elsewhere", "SIGN_IN",
        "signInFailed  0x82000009 Social account has been already linked to another UC account");
    row("the address has a password", "password-owner", "SIGN_IN",
        "signInFailed  0x82000008 UC account already exists");
    row("a business is no customer", "business-linked", "SIGN_IN",
        "signInFailed  0x82000009 Social account has been already linked to another UC account");
}

void SocialSignInTest::endsAtTheCode() {
    QFETCH(QString, person);
    QFETCH(QString, operation);
    QFETCH(QString, expected);
    const bool isSignedIn = expected.startsWith("signInSucceeded");
    QCOMPARE(host_.signInByCode(host_.codeOf(person.toStdString()), operation), expected);
    QCOMPARE(host_.client->getIsSignedIn(), isSignedIn);
    QCOMPARE(!host_.client->getAccessTokenBytes().isEmpty(), isSignedIn);
}

void SocialSignInTest::signsUpByOneTextAlone_data() {
    QTest::addColumn<QString>("operation");
    QTest::addColumn<bool>("signsUp");
    QTest::newRow("SIGN_UP") << "SIGN_UP" << true;
    QTest::newRow("SIGN_IN") << "SIGN_IN" << false;
    QTest::newRow("LINK") << "LINK" << false;
    QTest::newRow("lower case") << "sign_up" << false;
    QTest::newRow("mixed case") << "Sign_Up" << false;
    QTest::newRow("empty") << "" << false;
    QTest::newRow("null") << QString() << false;
    QTest::newRow("its number") << "1" << false;
    QTest::newRow("a blank in front") << " SIGN_UP" << false;
    QTest::newRow("a zero behind") << QString("SIGN_UP") + QChar(0) << false;
}

void SocialSignInTest::signsUpByOneTextAlone() {
    QFETCH(QString, operation);
    QFETCH(bool, signsUp);
    const QString line = host_.signInByCode(host_.codeOf("newcomer"), operation);
    QCOMPARE(line, QString(signsUp ? "signInSucceeded sol.newcomer@example.test"
                                   : "signInFailed  0x8200000e Not found"));
    QCOMPARE(host_.exchangesOf(kFinalizePath), signsUp ? 1 : 0);
    QCOMPARE(host_.exchangesOf(kCodePath), 1);
    // An account that is there signs in by any of the other texts.
    if (!signsUp)
        QCOMPARE(host_.signInByCode(host_.codeOf("linked"), operation),
                 QString("signInSucceeded anna.plain@example.test"));
}

void SocialSignInTest::signsUpOnce() {
    QCOMPARE(host_.signInByCode(host_.codeOf("newcomer-too"), "SIGN_UP"),
             QString("signInSucceeded iris.newcomer@example.test"));
    QCOMPARE(host_.fetchUserInfo(), QString("userInfoFetched"));
    QCOMPARE(host_.recorder.userInfo.firstName, QString("Iris"));
    QCOMPARE(host_.service.signUpOf("newcomer-too").made, std::int64_t{1});
    QCOMPARE(host_.signInByCode(host_.codeOf("newcomer-too"), "SIGN_IN"),
             QString("signInSucceeded iris.newcomer@example.test"));
    QCOMPARE(host_.service.signUpOf("newcomer-too").made, std::int64_t{1});
}

void SocialSignInTest::takesACodeOnce() {
    const QString code = host_.codeOf("linked");
    QCOMPARE(host_.signInByCode(code, "SIGN_IN"), QString("signInSucceeded anna.plain@example.test"));
    QCOMPARE(host_.signInByCode(code, "SIGN_IN"),
             QString("signInFailed  0x82000002 Authorization is denied"));
    QVERIFY(!host_.client->getIsSignedIn());
}

void SocialSignInTest::asksForTheContext() {
    QCOMPARE(host_.signInByCode(host_.codeOf("linked-several"), "SIGN_IN"),
             QString::fromUtf8("requestSelectContext nina.many@example.test "
                               "[0 7c1d0b52-0004-4a6e-9d10-000000000004 Nina Vandermeer] "
                               "[1 org-harrow Harrow Shipping] [1 org-tilden Tilden & Söhne]"));
    QVERIFY(host_.recorder.selection.challengeToken.isEmpty());
    QVERIFY(host_.client->getIsSignedIn());
    QCOMPARE(host_.chooseContext("several-contexts", ContextType::Organization, "org-harrow"),
             QString("signInSucceeded nina.many@example.test"));
    QCOMPARE(host_.claim(QLatin1String("businessContactNumber")), QString("300041"));
}

void SocialSignInTest::choosesTheOnlyContextByItself() {
    QCOMPARE(host_.signInByCode(host_.codeOf("own-and-person"), "SIGN_IN"),
             QString("signInSucceeded own-and-person@example.test"));
    QCOMPARE(host_.claim(QLatin1String("customerNumber")), QString("100001"));
}

// Behind the demand for a choice somebody is signed in, so the address is known before the choice fails.
void SocialSignInTest::failsWithTheAddressOnceItIsKnown_data() {
    QTest::addColumn<QString>("person");
    QTest::addColumn<QByteArray>("path");  // whose second request fails; empty: none
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    const QByteArray none;
    const auto path = [](const std::string& text) { return QByteArray::fromStdString(text); };
    QTest::newRow("the only context is refused")
        << "own-and-person" << path(kContextPath) << 500 << none
        << "signInFailed own-and-person@example.test 0x82000003 Internal registry service error";
    QTest::newRow("the list is unreadable")
        << "linked-several" << path(kTrustsPath) << 200 << QByteArray("<html>")
        << "signInFailed nina.many@example.test 0x82000004 Registry back compatibility is broken";
    QTest::newRow("the list is refused")
        << "linked-several" << path(kTrustsPath) << 403 << none
        << "signInFailed nina.many@example.test 0x82000007 Email is not verified or account is blocked";
    QTest::newRow("there is nothing to choose")
        << "two-persons" << none << 0 << none
        << "signInFailed two-persons@example.test 0x80000001 Internal program error";
}

void SocialSignInTest::failsWithTheAddressOnceItIsKnown() {
    QFETCH(QString, person);
    QFETCH(QByteArray, path);
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    if (!path.isEmpty()) {
        host_.letPass(path.toStdString());
        host_.answerWith(path.toStdString(), status, body.toStdString());
    }
    QTEST(host_.signInByCode(host_.codeOf(person.toStdString()), "SIGN_IN"), "expected");
    QVERIFY(!host_.client->getIsSignedIn());
    QVERIFY(host_.client->getAccessTokenBytes().isEmpty());
}

void SocialSignInTest::failsWithoutAContext() {
    QCOMPARE(host_.signInByCode(host_.codeOf("no-context"), "SIGN_IN"),
             QString("signInFailed  0x8200000c Customer context is not found"));
    QVERIFY(!host_.client->getIsSignedIn());
}

// No status of this road means it, but the body of an unknown one may say it.
void SocialSignInTest::asksForASecondFactor() {
    const std::string body =
        R"({"status":"403","errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"a":"x","challengeToken":"c1"}})";
    host_.answerWith(kCodePath, 418, body);
    QCOMPARE(host_.signInByCode("code", "SIGN_IN"), QString("requestSecondFactor "));
    QCOMPARE(host_.recorder.challengeToken, QString("c1"));
    QVERIFY(!host_.client->getIsSignedIn());
}

void SocialSignInTest::takesAWrongCodeForOne() {
    host_.answerWith(kCodePath, 418, R"({"status":"401","errorCode":"CODE_VERIFICATION_FAILED"})");
    QCOMPARE(host_.signInByCode("code", "SIGN_IN"), QString("wrong2FACode "));
}

// The address is asked for once, and its failure is nobody's.
void SocialSignInTest::goesOnWithoutTheAddress_data() {
    QTest::addColumn<QString>("person");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<int>("requests");  // of the user's details
    QTest::newRow("signed in") << "linked"
                               << "signInSucceeded " << 1;
    // The listing asks for the details as well.
    QTest::newRow("a choice") << "linked-several"
                              << "requestSelectContext  [0 " << 2;
    QTest::newRow("refused") << "linked-blocked"
                             << "signInFailed  0x82000008 " << 0;
}

void SocialSignInTest::goesOnWithoutTheAddress() {
    QFETCH(QString, person);
    QFETCH(QString, expected);
    QFETCH(int, requests);
    host_.answerWith(kUsersPath, 500, "");
    const QString line = host_.signInByCode(host_.codeOf(person.toStdString()), "SIGN_IN");
    QVERIFY2(line.startsWith(expected), qPrintable(line));
    QCOMPARE(host_.exchangesOf(kUsersPath), requests);
}

void SocialSignInTest::failsWithoutANetwork_data() {
    QTest::addColumn<QString>("person");
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QByteArray>("path");
    const auto path = [](const std::string& text) { return QByteArray::fromStdString(text); };
    QTest::newRow("at the code") << "linked"
                                 << "SIGN_IN" << path(kCodePath);
    QTest::newRow("behind the code") << "linked"
                                     << "SIGN_IN" << path(kTrustsPath);
}

void SocialSignInTest::failsWithoutANetwork() {
    QFETCH(QString, person);
    QFETCH(QString, operation);
    QFETCH(QByteArray, path);
    host_.cut(path.toStdString());
    QCOMPARE(host_.signInByCode(host_.codeOf(person.toStdString()), operation),
             QString("signInFailed  0x80000006 Problems sending network requests"));
    QVERIFY(!host_.client->getIsSignedIn());
    QCOMPARE(host_.signInByCode(host_.codeOf(person.toStdString()), operation),
             QString("signInSucceeded anna.plain@example.test"));
}

void SocialSignInTest::dropsTheFormerSignIn() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    const QByteArray token = host_.client->getAccessTokenBytes();
    QCOMPARE(host_.signInByCode(host_.codeOf("newcomer"), "SIGN_IN"),
             QString("signInFailed  0x8200000e Not found"));
    QVERIFY(!host_.client->getIsSignedIn());
    QCOMPARE(host_.client->getAccessTokenBytes(), token);  // until the next success, refresh or sign-out
    QCOMPARE(host_.answerTo([this] { host_.client->signOut(); }), QString("signedOut"));
    QCOMPARE(host_.client->getAccessTokenBytes(), QByteArray());

    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    QCOMPARE(host_.signInByCode("", "SIGN_IN"), QString("signInFailed  0x80000002 Invalid parameters."));
    QVERIFY(!host_.client->getIsSignedIn());
}

void SocialSignInTest::caches() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    const QByteArray token = host_.client->getAccessTokenBytes();
    QCOMPARE(host_.signInByCode(host_.codeOf("newcomer"), "SIGN_UP"),
             QString("signInSucceeded sol.newcomer@example.test"));
    QVERIFY(host_.client->getAccessTokenBytes() != token);
    QVERIFY(!host_.claim(QLatin1String("customerNumber")).isEmpty());
}

void SocialSignInTest::keepsTheTokenOutOfTheLog() {
    const LogCapture log;
    QCOMPARE(host_.signInByCode(host_.codeOf("newcomer"), "SIGN_UP"),
             QString("signInSucceeded sol.newcomer@example.test"));
    const QByteArray token = host_.client->getAccessTokenBytes();
    QVERIFY(!token.isEmpty());
    QCOMPARE(host_.signInByCode("used", "SIGN_IN"),
             QString("signInFailed  0x82000002 Authorization is denied"));
    QVERIFY2(log.text().contains("error: 0x82000002: Authorization is denied"), qPrintable(log.text()));
    QVERIFY(!log.text().contains(QString::fromLatin1(token)));
}

QTEST_GUILESS_MAIN(SocialSignInTest)
#include "SocialSignInTest.moc"
