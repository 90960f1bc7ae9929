// The list of social providers: the signal comes always, and a failure is an empty list.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>

#include "tests/facade/HostFixture.h"

using namespace test_support;

class ProvidersTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }
    void fetchesBeforeASignIn();
    void fetchesBehindASignIn();
    void renewsATokenThatTheServiceRefuses();
    void leavesNobodySignedIn();
    void listsWhatTheServiceAnswers_data();
    void listsWhatTheServiceAnswers();
    void listsNothingWithoutAnAnswer_data();
    void listsNothingWithoutAnAnswer();
    void listsNothingWhenNobodyListens();

private:
    HostFixture host_;
};

void ProvidersTest::fetchesBeforeASignIn() {
    QCOMPARE(host_.fetchProviders(), QString("externalOauthProvidersFetched glowpass maple-id"));
    QCOMPARE(host_.recorder.providers, (QList<QString>{"glowpass", "maple-id"}));
}

void ProvidersTest::fetchesBehindASignIn() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    QCOMPARE(host_.fetchProviders(), QString("externalOauthProvidersFetched glowpass maple-id"));
    QVERIFY(host_.client->getIsSignedIn());
}

void ProvidersTest::renewsATokenThatTheServiceRefuses() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.service.service().expireTokens();
    host_.service.forgetExchanges();
    QCOMPARE(host_.fetchProviders(), QString("externalOauthProvidersFetched glowpass maple-id"));
    QCOMPARE(host_.exchangesOf(kProvidersPath), 2);
    QCOMPARE(host_.exchangesOf(kIdentityPath), 1);
}

void ProvidersTest::leavesNobodySignedIn() {
    QVERIFY(host_.fetchProviders().startsWith("externalOauthProvidersFetched "));
    QVERIFY(!host_.client->getIsSignedIn());
    QVERIFY(host_.client->getAccessTokenBytes().isEmpty());
    QCOMPARE(host_.service.exchanges().size(), std::size_t{1});
}

void ProvidersTest::listsWhatTheServiceAnswers_data() {
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QStringList>("expected");
    const auto row = [](const char* name, int status, const char* body, const QStringList& expected) {
        QTest::newRow(name) << status << QByteArray(body) << expected;
    };
    row("the order of the service", 200, R"([{"key":"b"},{"key":"a"},{"key":"c"}])", {"b", "a", "c"});
    row("one twice", 200, R"([{"key":"a"},{"key":"a"}])", {"a", "a"});
    row("an element without a key", 200, R"([{"key":"a"},{"displayName":"B"},{"key":"c"}])", {"a", "c"});
    row("no ASCII", 200, R"([{"key":"Söhne"},{"key":"\u7bb1"}])",
        {QString::fromUtf8("Söhne"), QString::fromUtf8("箱")});
    row("names in another case", 200, R"([{"KEY":"a"}])", {"a"});
    row("an empty list", 200, "[]", {});
    row("a page", 200, "<html>", {});
    row("no body", 200, "", {});
    row("bad request", 400, R"([{"key":"a"}])", {});
    row("refused", 403, R"([{"key":"a"}])", {});
    row("not found", 404, R"([{"key":"a"}])", {});
    row("the service is down", 500, R"([{"key":"a"}])", {});
    row("maintenance", 503, R"([{"key":"a"}])", {});
}

void ProvidersTest::listsWhatTheServiceAnswers() {
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(QStringList, expected);
    host_.answerWith(kProvidersPath, status, body.toStdString());
    QCOMPARE(host_.fetchProviders(), "externalOauthProvidersFetched " + expected.join(' '));
    QCOMPARE(host_.recorder.providers, expected);
}

void ProvidersTest::listsNothingWithoutAnAnswer_data() {
    QTest::addColumn<bool>("isSignedIn");
    QTest::newRow("before a sign-in") << false;
    QTest::newRow("behind a sign-in, which stands") << true;
}

void ProvidersTest::listsNothingWithoutAnAnswer() {
    QFETCH(bool, isSignedIn);
    if (isSignedIn)
        QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.cut(kProvidersPath);
    QCOMPARE(host_.fetchProviders(), QString("externalOauthProvidersFetched "));
    QCOMPARE(host_.recorder.providers, QList<QString>());
    QCOMPARE(host_.client->getIsSignedIn(), isSignedIn);
    QCOMPARE(host_.fetchProviders(), QString("externalOauthProvidersFetched glowpass maple-id"));
}

// The last one: the service doesn't come back.
void ProvidersTest::listsNothingWhenNobodyListens() {
    host_.service.stop();
    QCOMPARE(host_.fetchProviders(), QString("externalOauthProvidersFetched "));
    QCOMPARE(host_.signInByCode("code", "SIGN_IN"),
             QString("signInFailed  0x80000006 Problems sending network requests"));
}

QTEST_GUILESS_MAIN(ProvidersTest)
#include "ProvidersTest.moc"
