// Every step of a password sign-in, as the host sees it, against the sandbox account service.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>

#include "tests/facade/ContextSeed.h"
#include "tests/facade/HostFixture.h"
#include "tests/facade/LogCapture.h"

using Quillmark::SignIn::ContextType;
using namespace test_support;

class SignInDialogueTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }

    void endsAtThePassword_data();
    void endsAtThePassword();
    void asksForTheSecondFactor();
    void repeatsTheSecondFactorStep();
    void failsAtTheSecondFactor_data();
    void failsAtTheSecondFactor();
    void endsInAFailureWithoutAChallenge();
    void asksForTheSecondFactorAgain();
    void goesOnBehindTheSecondFactor_data();
    void goesOnBehindTheSecondFactor();
    void asksForTheContextBehindTheSecondFactor();
    void asksForTheContext();
    void takesThePersonalContext();
    void takesTheOnlyTrust();
    void leavesTheChoiceOpenAfterAFailure();
    void failsToChoose_data();
    void failsToChoose();
    void choosesTheOnlyContextByItself();
    void failsWhenTheOnlyContextIsRefused();
    void failsWhenThereIsNothingToChoose();
    void failsWhenTheContextsAreUnreadable();
    void failsWithoutAnyContext();
    void signsOut();
    void signsOutWithoutASignIn();
    void signsOutInTheMiddle_data();
    void signsOutInTheMiddle();
    void failsWithAnInventedChallenge();
    void cachesTheTokenOfTheOtherAccount();
    void dropsTheFormerSignIn();
    void movesToAnotherContext();
    void keepsSecretsOutOfTheLog();

private:
    HostFixture host_{contextSeed()};
};

void SignInDialogueTest::endsAtThePassword_data() {
    QTest::addColumn<QString>("account");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("isSignedIn");
    QTest::newRow("right password") << "plain"
                                    << ""
                                    << "signInSucceeded anna.plain@example.test" << true;
    QTest::newRow("wrong password")
        << "plain"
        << "Cloudy-Harbour-1"
        << "signInFailed anna.plain@example.test 0x82000006 Invalid login or password" << false;
    QTest::newRow("a password that is not ASCII")
        << "plain" << QString::fromUtf8("Söhne \"/\\ 箱")
        << "signInFailed anna.plain@example.test 0x82000006 Invalid login or password" << false;
    QTest::newRow("blocked") << "blocked"
                             << ""
                             << "signInFailed bruno.blocked@example.test 0x82000007 "
                                "Email is not verified or account is blocked"
                             << false;
    QTest::newRow("locked")
        << "locked"
        << ""
        << "signInFailed lena.locked@example.test 0x82000010 Account was locked due security "
           "reasons, please contact support team to unlock your account"
        << false;
}

void SignInDialogueTest::endsAtThePassword() {
    QFETCH(QString, account);
    QFETCH(QString, password);
    QTEST(host_.signIn(account.toStdString(), password), "expected");
    QTEST(host_.client->getIsSignedIn(), "isSignedIn");
    QTEST(!host_.client->getAccessTokenBytes().isEmpty(), "isSignedIn");
}

void SignInDialogueTest::asksForTheSecondFactor() {
    QCOMPARE(host_.signIn("second-factor"), QString("requestSecondFactor tom.factor@example.test"));
    QVERIFY(!host_.recorder.challengeToken.isEmpty());
    QVERIFY(!host_.client->getIsSignedIn());
    QVERIFY(host_.client->getAccessTokenBytes().isEmpty());

    const QString code = QString::fromStdString(host_.service.totpCode("second-factor"));
    QCOMPARE(host_.confirm("second-factor", code), QString("signInSucceeded tom.factor@example.test"));
    QVERIFY(host_.client->getIsSignedIn());
    QVERIFY(!host_.client->getAccessTokenBytes().isEmpty());
}

void SignInDialogueTest::repeatsTheSecondFactorStep() {
    QCOMPARE(host_.signIn("second-factor"), QString("requestSecondFactor tom.factor@example.test"));
    for (int attempt = 0; attempt < 2; ++attempt)
        QCOMPARE(host_.confirm("second-factor", "abc"), QString("wrong2FACode tom.factor@example.test"));
    QVERIFY(!host_.client->getIsSignedIn());

    const QString code = QString::fromStdString(host_.service.totpCode("second-factor"));
    QCOMPARE(host_.confirm("second-factor", code), QString("signInSucceeded tom.factor@example.test"));
}

void SignInDialogueTest::failsAtTheSecondFactor_data() {
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    QTest::newRow("400 is no wrong code, whatever the body says")
        << 400 << QByteArray(R"({"status":"400","errorCode":"CODE_VERIFICATION_FAILED"})")
        << "signInFailed tom.factor@example.test 0x82000004 Registry back compatibility is broken";
    QTest::newRow("401 without the body of a wrong code")
        << 401 << QByteArray() << "signInFailed tom.factor@example.test 0x82000002 Authorization is denied";
    QTest::newRow("the challenge is unknown")
        << 404 << QByteArray() << "signInFailed tom.factor@example.test 0x8200000e Not found";
    QTest::newRow("the service is down")
        << 500 << QByteArray()
        << "signInFailed tom.factor@example.test 0x82000003 Internal registry service error";
}

void SignInDialogueTest::failsAtTheSecondFactor() {
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QCOMPARE(host_.signIn("second-factor"), QString("requestSecondFactor tom.factor@example.test"));
    host_.answerWith(kSecondFactorPath, status, body.toStdString());
    QTEST(host_.confirm("second-factor", "123456"), "expected");
    QVERIFY(!host_.client->getIsSignedIn());
}

// The core finds the challenge in any case of its name, the facade in one.
void SignInDialogueTest::endsInAFailureWithoutAChallenge() {
    host_.answerWith(
        kTokensPath, 403,
        R"({"status":"403","errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"CHALLENGETOKEN":"c"}})");
    QCOMPARE(host_.signIn("plain"),
             QString("signInFailed anna.plain@example.test 0x82000012 Second factor required"));
    QCOMPARE(host_.confirm("plain", "123456"),
             QString("signInFailed anna.plain@example.test 0x80000002 Invalid parameters."));
}

// Any other answer to a code is taken as one to a password: a new challenge too.
void SignInDialogueTest::asksForTheSecondFactorAgain() {
    QCOMPARE(host_.signIn("second-factor"), QString("requestSecondFactor tom.factor@example.test"));
    host_.answerWith(
        kSecondFactorPath, 418,
        R"({"status":"403","errorCode":"2FA_TOTP_REQUIRED","errorArgs":{"challengeToken":"c2"}})");
    QCOMPARE(host_.confirm("second-factor", "123456"),
             QString("requestSecondFactor tom.factor@example.test"));
    QCOMPARE(host_.recorder.challengeToken, QString("c2"));
    QVERIFY(!host_.client->getIsSignedIn());
}

void SignInDialogueTest::goesOnBehindTheSecondFactor_data() {
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("isSignedIn");
    QTest::newRow("second-factor") << "signInSucceeded tom.factor@example.test" << true;
    QTest::newRow("factor-then-one") << "signInSucceeded factor-then-one@example.test" << true;
    QTest::newRow("factor-then-none")
        << "signInFailed factor-then-none@example.test 0x80000001 Internal program error" << false;
}

void SignInDialogueTest::goesOnBehindTheSecondFactor() {
    const std::string account = QTest::currentDataTag();
    QVERIFY(host_.signIn(account).startsWith("requestSecondFactor "));
    QTEST(host_.confirm(account, QString::fromStdString(host_.service.totpCode(account))), "expected");
    QTEST(host_.client->getIsSignedIn(), "isSignedIn");
}

void SignInDialogueTest::asksForTheContextBehindTheSecondFactor() {
    QCOMPARE(host_.signIn("factor-then-choice"),
             QString("requestSecondFactor factor-then-choice@example.test"));
    const QString code = QString::fromStdString(host_.service.totpCode("factor-then-choice"));
    const QString line = host_.confirm("factor-then-choice", code);
    QVERIFY2(line.startsWith("requestSelectContext factor-then-choice@example.test ["), qPrintable(line));
    QCOMPARE(host_.chooseContext("factor-then-choice", ContextType::Organization, "org-tilden"),
             QString("signInSucceeded factor-then-choice@example.test"));
}

void SignInDialogueTest::asksForTheContext() {
    QCOMPARE(host_.signIn("several-contexts"),
             QString::fromUtf8("requestSelectContext nina.many@example.test "
                               "[0 7c1d0b52-0004-4a6e-9d10-000000000004 Nina Vandermeer] "
                               "[1 org-harrow Harrow Shipping] [1 org-tilden Tilden & Söhne]"));
    QVERIFY(host_.recorder.selection.challengeToken.isEmpty());
    QVERIFY(host_.client->getIsSignedIn());  // although the choice is still open

    QCOMPARE(host_.chooseContext("several-contexts", ContextType::Organization, "org-harrow"),
             QString("signInSucceeded nina.many@example.test"));
    QCOMPARE(host_.claim(QLatin1String("businessContactNumber")), QString("300041"));
}

void SignInDialogueTest::takesThePersonalContext() {
    QVERIFY(host_.signIn("several-contexts").startsWith("requestSelectContext"));
    QCOMPARE(host_.chooseContext("several-contexts", ContextType::Personal, "not read"),
             QString("signInSucceeded nina.many@example.test"));
    QCOMPARE(host_.claim(QLatin1String("customerNumber")), QString("100004"));
    QCOMPARE(host_.claim(QLatin1String("businessContactNumber")), QString());
}

void SignInDialogueTest::takesTheOnlyTrust() {
    QCOMPARE(host_.signIn("organisation-only"), QString("signInSucceeded olga.office@example.test"));
    QCOMPARE(host_.claim(QLatin1String("businessContactNumber")), QString("300003"));
}

void SignInDialogueTest::leavesTheChoiceOpenAfterAFailure() {
    QVERIFY(host_.signIn("several-contexts").startsWith("requestSelectContext"));
    QCOMPARE(host_.chooseContext("several-contexts", ContextType::Organization, "org-unknown"),
             QString("signInFailed nina.many@example.test 0x8200000e Not found"));
    QCOMPARE(host_.chooseContext("several-contexts", ContextType::Organization, "org-tilden"),
             QString("signInSucceeded nina.many@example.test"));
}

// The step of a choice knows two ends: no answer to it opens another step.
void SignInDialogueTest::failsToChoose_data() {
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    QTest::newRow("a second factor") << 418
                                     << QByteArray(R"({"status":"403","errorCode":"2FA_TOTP_REQUIRED",)"
                                                   R"("errorArgs":{"challengeToken":"c"}})")
                                     << "0x82000012 Second factor required";
    QTest::newRow("a wrong code") << 418
                                  << QByteArray(R"({"status":"401","errorCode":"CODE_VERIFICATION_FAILED"})")
                                  << "0x82000013 Invalid verification code";
    QTest::newRow("the service is down")
        << 500 << QByteArray() << "0x82000003 Internal registry service error";
}

void SignInDialogueTest::failsToChoose() {
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QString, expected);
    QVERIFY(host_.signIn("several-contexts").startsWith("requestSelectContext"));
    host_.answerWith(kTrustPath, status, body.toStdString());
    QCOMPARE(host_.chooseContext("several-contexts", ContextType::Organization, "org-harrow"),
             "signInFailed nina.many@example.test " + expected);
    QVERIFY(host_.client->getIsSignedIn());  // the choice is still open
    QVERIFY(host_.client->getAccessTokenBytes().isEmpty());
    QCOMPARE(host_.chooseContext("several-contexts", ContextType::Personal, {}),
             QString("signInSucceeded nina.many@example.test"));
}

// The trust of a person makes a choice for the core, but is not offered.
void SignInDialogueTest::choosesTheOnlyContextByItself() {
    QCOMPARE(host_.signIn("own-and-person"), QString("signInSucceeded own-and-person@example.test"));
    QVERIFY(host_.client->getIsSignedIn());
    QCOMPARE(host_.claim(QLatin1String("customerNumber")), QString("100001"));
}

void SignInDialogueTest::failsWhenTheOnlyContextIsRefused() {
    host_.letPass(kContextPath);
    host_.answerWith(kContextPath, 500, "");
    QCOMPARE(host_.signIn("own-and-person"),
             QString("signInFailed own-and-person@example.test 0x82000003 Internal registry service error"));
    QVERIFY(!host_.client->getIsSignedIn());
}

void SignInDialogueTest::failsWhenThereIsNothingToChoose() {
    QCOMPARE(host_.signIn("two-persons"),
             QString("signInFailed two-persons@example.test 0x80000001 Internal program error"));
    QVERIFY(!host_.client->getIsSignedIn());
}

void SignInDialogueTest::failsWhenTheContextsAreUnreadable() {
    host_.letPass(kTrustsPath);
    host_.answerWith(kTrustsPath, 200, "<html>");
    QCOMPARE(host_.signIn("several-contexts"),
             QString("signInFailed nina.many@example.test 0x82000004 Registry back compatibility is broken"));
    QVERIFY(!host_.client->getIsSignedIn());
}

void SignInDialogueTest::failsWithoutAnyContext() {
    QCOMPARE(host_.signIn("no-context"),
             QString("signInFailed no-context@example.test 0x8200000c Customer context is not found"));
    QVERIFY(!host_.client->getIsSignedIn());
}

void SignInDialogueTest::signsOut() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.service.forgetExchanges();
    QCOMPARE(host_.answerTo([this] { host_.client->signOut(); }), QString("signedOut"));
    QVERIFY(!host_.client->getIsSignedIn());
    QVERIFY(host_.client->getAccessTokenBytes().isEmpty());
    QCOMPARE(host_.service.exchanges().size(), std::size_t{0});
}

void SignInDialogueTest::signsOutWithoutASignIn() {
    QStringList heard;
    connect(host_.client, &Quillmark::Client::signedOut, this, [&heard] { heard << "signedOut"; });
    host_.client->signOut();
    QCOMPARE(heard, QStringList{"signedOut"});  // before signOut() returned
    disconnect(host_.client, nullptr, this, nullptr);
}

void SignInDialogueTest::signsOutInTheMiddle_data() {
    QTest::addColumn<QString>("account");
    QTest::newRow("requestSecondFactor") << "second-factor";
    QTest::newRow("requestSelectContext") << "several-contexts";
}

void SignInDialogueTest::signsOutInTheMiddle() {
    QFETCH(QString, account);
    const QString line = host_.signIn(account.toStdString());
    QVERIFY2(line.startsWith(QTest::currentDataTag()), qPrintable(line));
    QCOMPARE(host_.answerTo([this] { host_.client->signOut(); }), QString("signedOut"));
    QVERIFY(!host_.client->getIsSignedIn());
    QVERIFY(host_.client->getAccessTokenBytes().isEmpty());
}

void SignInDialogueTest::failsWithAnInventedChallenge() {
    const QString line = host_.answerTo(
        [this] { host_.client->startConfirmSecondFactor("tom.factor@example.test", "invented", "123456"); });
    QVERIFY2(line.startsWith("signInFailed tom.factor@example.test 0x82"), qPrintable(line));
    QCOMPARE(host_.exchangesOf(kSecondFactorPath), 1);
    QVERIFY(!host_.client->getIsSignedIn());
}

void SignInDialogueTest::cachesTheTokenOfTheOtherAccount() {
    const auto customerNumber = [this] { return host_.claim(QLatin1String("customerNumber")); };
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    const QByteArray first = host_.client->getAccessTokenBytes();
    const QString firstNumber = customerNumber();
    QCOMPARE(host_.signIn("second-factor"), QString("requestSecondFactor tom.factor@example.test"));
    const QString code = QString::fromStdString(host_.service.totpCode("second-factor"));
    QCOMPARE(host_.confirm("second-factor", code), QString("signInSucceeded tom.factor@example.test"));
    QVERIFY(host_.client->getAccessTokenBytes() != first);
    QVERIFY(!customerNumber().isEmpty());
    QVERIFY(customerNumber() != firstNumber);
}

void SignInDialogueTest::dropsTheFormerSignIn() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    const QByteArray token = host_.client->getAccessTokenBytes();
    QCOMPARE(host_.signIn("plain", "wrong"),
             QString("signInFailed anna.plain@example.test 0x82000006 Invalid login or password"));
    QVERIFY(!host_.client->getIsSignedIn());
    QCOMPARE(host_.client->getAccessTokenBytes(), token);  // until the next success, refresh or sign-out
    QCOMPARE(host_.client->refreshAccessToken(false), QByteArray());
    QCOMPARE(host_.client->getAccessTokenBytes(), QByteArray());
}

void SignInDialogueTest::movesToAnotherContext() {
    QVERIFY(host_.signIn("several-contexts").startsWith("requestSelectContext"));
    QCOMPARE(host_.chooseContext("several-contexts", ContextType::Organization, "org-harrow"),
             QString("signInSucceeded nina.many@example.test"));
    const QByteArray token = host_.client->getAccessTokenBytes();
    QCOMPARE(host_.chooseContext("several-contexts", ContextType::Organization, "org-tilden"),
             QString("signInSucceeded nina.many@example.test"));
    QVERIFY(host_.client->getAccessTokenBytes() != token);
}

void SignInDialogueTest::keepsSecretsOutOfTheLog() {
    const LogCapture capture;
    const QString password = "Wrong-Secret/Word";
    QVERIFY(host_.signIn("second-factor", password).startsWith("signInFailed"));
    QVERIFY(host_.signIn("second-factor").startsWith("requestSecondFactor"));
    const QString code = QString::fromStdString(host_.service.totpCode("second-factor"));
    QVERIFY(host_.confirm("second-factor", code).startsWith("signInSucceeded"));

    const QString log = capture.text();
    QVERIFY2(log.contains("error: 0x82000012: Second factor required"), qPrintable(log));  // it does log
    const QString known = QString::fromStdString(host_.service.account("second-factor").password);
    for (const QString& secret : {password, QString(password).replace("/", "\\/"), known, '"' + code + '"',
                                  QString::fromLatin1(host_.client->getAccessTokenBytes())})
        QVERIFY2(!log.contains(secret), qPrintable(secret));
}

QTEST_GUILESS_MAIN(SignInDialogueTest)
#include "SignInDialogueTest.moc"
