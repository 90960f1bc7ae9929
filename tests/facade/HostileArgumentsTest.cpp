// Texts that no host should give: each call is answered once, the login comes back as it went in, and the
// client works on.
#include <Quillmark/Client.h>

#include <QtCore/QFile>
#include <QtTest/QtTest>
#include <functional>
#include <optional>

#include "tests/facade/HostFixture.h"
#include "tests/facade/HostileTexts.h"
#include "tests/facade/LogCapture.h"

using Quillmark::SignIn::ContextType;
using namespace test_support;

class HostileArgumentsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { log_.reset(); }
    void answersEachCallOnce_data();
    void answersEachCallOnce();
    void takesAnyNumberForAContext();
    void survivesAnyPath_data() { textRows(); }
    void survivesAnyPath();
    void decodesAnyBytes_data();
    void decodesAnyBytes();

private:
    static void textRows();

    std::optional<LogCapture> log_;  // the long texts stand in the log too
    HostFixture host_;
};

void HostileArgumentsTest::init() {
    host_.startAnew();
    log_.emplace();
}

void HostileArgumentsTest::textRows() {
    QTest::addColumn<QString>("text");
    for (const HostileText& row : hostileTexts())
        QTest::newRow(row.name) << row.text;
}

void HostileArgumentsTest::answersEachCallOnce_data() {
    using Call = std::function<void(Quillmark::Client&, const QString& text)>;
    QTest::addColumn<Call>("call");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isLogin");  // the text is the login, which comes back
    const struct {
        const char* name;
        bool isLogin;
        Call call;
    } calls[] = {
        {"login", true, [](auto& client, const auto& text) { client.startSignIn(text, "password"); }},
        {"password", false, [](auto& client, const auto& text) { client.startSignIn("anna", text); }},
        {"login of a second factor", true,
         [](auto& client, const auto& text) {
             client.startConfirmSecondFactor(text, "challenge", "123456");
         }},
        {"challenge", false,
         [](auto& client, const auto& text) { client.startConfirmSecondFactor("anna", text, "123456"); }},
        {"code of a second factor", false,
         [](auto& client, const auto& text) { client.startConfirmSecondFactor("anna", "challenge", text); }},
        {"login of a choice", true,
         [](auto& client, const auto& text) {
             client.startSignInToContext(text, ContextType::Organization, "org");
         }},
        {"context", false,
         [](auto& client, const auto& text) {
             client.startSignInToContext("anna", ContextType::Organization, text);
         }},
        {"context of no trustor", false,
         [](auto& client, const auto& text) {
             client.startSignInToContext("anna", ContextType::Personal, text);
         }},
        {"social code", false,
         [](auto& client, const auto& text) { client.startOAuthSignIn(text, "SIGN_IN"); }},
        {"social operation", false,
         [](auto& client, const auto& text) { client.startOAuthSignIn("code", text); }},
    };
    for (const auto& call : calls)
        for (const HostileText& row : hostileTexts())
            QTest::addRow("%s: %s", call.name, row.name) << call.call << row.text << call.isLogin;
}

void HostileArgumentsTest::answersEachCallOnce() {
    using Call = std::function<void(Quillmark::Client&, const QString& text)>;
    QFETCH(Call, call);
    QFETCH(QString, text);
    QFETCH(bool, isLogin);
    const QString line = host_.answerTo([&] { call(*host_.client, text); });
    const bool isSocial = QByteArray(QTest::currentDataTag()).startsWith("social");
    const QString login = isLogin ? text : QString(isSocial ? "" : "anna");
    QVERIFY2(line.startsWith("signInFailed " + login + " 0x8"), qPrintable(line.left(200)));
    QVERIFY2(!line.contains(", signIn"), qPrintable(line.right(200)));  // one signal
    QVERIFY(!host_.client->getIsSignedIn());
}

void HostileArgumentsTest::takesAnyNumberForAContext() {
    for (const int number : {-1, 2, 7}) {
        QVERIFY(host_.signIn("several-contexts").startsWith("requestSelectContext"));
        QCOMPARE(host_.chooseContext("several-contexts", static_cast<ContextType>(number), "org-harrow"),
                 QString("signInSucceeded nina.many@example.test"));
        QCOMPARE(host_.claim(QLatin1String("customerNumber")), QString("100004"));  // the own one
    }
}

void HostileArgumentsTest::survivesAnyPath() {
    QFETCH(QString, text);
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    // Below a folder that is missing: nothing may be written here.
    host_.client->persistIdentityToFile(host_.storage.filePath("missing") + "/" + text);
    QVERIFY(!QFile::exists(host_.storage.filePath("missing")));
    QVERIFY(host_.client->getIsSignedIn());
    QCOMPARE(host_.fetchUserInfo(), QString("userInfoFetched"));
}

void HostileArgumentsTest::decodesAnyBytes_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("null") << QByteArray();
    QTest::newRow("dots") << QByteArray("...........");
    QTest::newRow("zeros") << QByteArray("\0.\0.\0", 5);
    QTest::newRow("16 MB of dots") << QByteArray(kLarge, '.');
    QTest::newRow("16 MB without a dot") << QByteArray(kLarge, 'x');
    QTest::newRow("16 MB of a payload") << "h." + QByteArray(kLarge, 'W') + ".s";
    QTest::newRow("deep lists") << "h." + QByteArray(1 << 20, '[').toBase64() + ".s";
    QTest::newRow("deep objects") << "h." + QByteArray("{\"a\":").repeated(1 << 18).toBase64() + ".s";
}

void HostileArgumentsTest::decodesAnyBytes() {
    QFETCH(QByteArray, bytes);
    QCOMPARE(Quillmark::Client::getDecodedAccessToken(bytes), QJsonObject());
}

QTEST_GUILESS_MAIN(HostileArgumentsTest)
#include "HostileArgumentsTest.moc"
