// The facts of Client that need no instance: version, texts, claims, and its meta-object, which hosts connect
// to.
#include <Quillmark/Client.h>

#include <QtCore/QMetaMethod>
#include <QtTest/QtTest>

using Quillmark::Client;

class ClientTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void tellsItsVersion();
    void givesTheTextOfACode_data();
    void givesTheTextOfACode();
    void knowsANetworkProblem_data();
    void knowsANetworkProblem();
    void decodesAnAccessToken_data();
    void decodesAnAccessToken();
    void hasSignalsInOrder();
    void hasNothingButSignalsToInvoke();
    void isTranslatable();
    void needsAnApplication();
};

void ClientTest::tellsItsVersion() {
    QCOMPARE(Client::getVersion(), 0x01020100u);
    QCOMPARE(Client::getVersionString(), QString("1.2.1"));
}

void ClientTest::givesTheTextOfACode_data() {
    QTest::addColumn<quint32>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("success has none") << 0u << QString();
    QTest::newRow("a text as it stands") << 0x82000006u << "Invalid login or password";
    QTest::newRow("the code of a step") << 0x82000012u << "Second factor required";
    QTest::newRow("a code without a text") << 0x84000004u << "Unknown error code";
}

void ClientTest::givesTheTextOfACode() {
    QFETCH(quint32, code);
    QTEST(Client::getErrorMessage(static_cast<QUILLMARKCLIENT_ERROR>(code)), "text");
}

void ClientTest::knowsANetworkProblem_data() {
    QTest::addColumn<quint32>("code");
    QTest::addColumn<bool>("expected");
    QTest::newRow("request not sent") << 0x80000006u << true;
    QTest::newRow("success") << 0u << false;
    QTest::newRow("the platform's own network code") << 0x81000006u << false;
    QTest::newRow("the platform's send") << 0x81000007u << false;
    QTest::newRow("timed out") << 0x81000014u << false;
    QTest::newRow("maintenance") << 0x8000000Cu << false;
    QTest::newRow("refused") << 0x82000006u << false;
}

void ClientTest::knowsANetworkProblem() {
    QFETCH(quint32, code);
    QTEST(Client::isNetworkProblem(static_cast<QUILLMARKCLIENT_ERROR>(code)), "expected");
}

void ClientTest::decodesAnAccessToken_data() {
    const QByteArray payload = R"({"sub":"7","exp":5})";
    const QJsonObject claims{{"sub", "7"}, {"exp", 5}};
    // Six bits of "?" and ">" meet the two characters in which the alphabets differ.
    const QByteArray plain = QByteArray(R"({"q":"~?~?~>~>~"})").toBase64();
    const QByteArray url = QByteArray(R"({"q":"~?~?~>~>~"})").toBase64(QByteArray::Base64UrlEncoding);
    QVERIFY(plain != url);

    QTest::addColumn<QByteArray>("token");
    QTest::addColumn<QJsonObject>("expected");
    QTest::newRow("three parts") << "h." + payload.toBase64() + ".s" << claims;
    QTest::newRow("two parts do") << "h." + payload.toBase64() << claims;
    QTest::newRow("more parts do") << "h." + payload.toBase64() + ".s.t.u" << claims;
    QTest::newRow("without padding") << "h." + payload.toBase64(QByteArray::OmitTrailingEquals) << claims;
    QTest::newRow("foreign characters are skipped") << "h. \n" + payload.toBase64() + "\r\n" << claims;
    QTest::newRow("plain alphabet") << "h." + plain << QJsonObject{{"q", "~?~?~>~>~"}};
    QTest::newRow("the URL alphabet is not read") << "h." + url << QJsonObject();
    QTest::newRow("no dot") << payload.toBase64() << QJsonObject();
    QTest::newRow("nothing") << QByteArray() << QJsonObject();
    QTest::newRow("an empty payload") << QByteArray("h..s") << QJsonObject();
    QTest::newRow("a payload that is no JSON") << "h." + QByteArray("claims").toBase64() << QJsonObject();
    QTest::newRow("a payload that is an array") << "h." + QByteArray("[1]").toBase64() << QJsonObject();
    QTest::newRow("bytes that are no text") << QByteArray("\xff\xfe.\x00\x80\xff", 5) << QJsonObject();
}

void ClientTest::decodesAnAccessToken() {
    QFETCH(QByteArray, token);
    QTEST(Client::getDecodedAccessToken(token), "expected");
}

void ClientTest::hasSignalsInOrder() {
    static const struct {
        const char* signature;
        const char* parameters;
        bool isConst;
    } rows[] = {
        {"requestSecondFactor(QString,QString)", "login challengeToken", false},
        {"wrong2FACode(QString)", "login", false},
        {"requestSelectContext(Quillmark::SignIn::SignInProcessResult)", "contexts", false},
        {"signInFailed(QString,QUILLMARKCLIENT_ERROR,QString)", "login errorCode errorDescription", true},
        {"signInSucceeded(QString)", "login", false},
        {"externalOauthProvidersFetched(QStringList)", "providers", false},
        {"signedOut()", "", false},
        {"fetchUserInfoFailed(QUILLMARKCLIENT_ERROR,QString)", "errorCode errorDescription", true},
        {"userInfoFetched(Quillmark::SignIn::UserInfo)", "info", false},
        {"updateFound(Quillmark::Updates::UpdateInfo)", "info", false},
        {"checkForUpdateFailed(QUILLMARKCLIENT_ERROR,QString)", "errorCode errorDescription", false},
        {"customerRequestCreated(Quillmark::CustomerRequest::CustomerRequestResult)", "result", false},
        {"createCustomerRequestFailed(QUuid,QUILLMARKCLIENT_ERROR,QString)",
         "requestId errorCode errorDescription", false},
    };

    const QMetaObject& meta = Client::staticMetaObject;
    int index = meta.methodOffset();
    for (const auto& row : rows) {
        QVERIFY2(index < meta.methodCount(), row.signature);
        const QMetaMethod method = meta.method(index++);
        QCOMPARE(method.methodSignature(), QByteArray(row.signature));
        QCOMPARE(method.parameterNames().join(' '), QByteArray(row.parameters));
        QVERIFY2(method.isConst() == row.isConst, row.signature);
    }
    QCOMPARE(meta.methodCount(), index);
}

void ClientTest::hasNothingButSignalsToInvoke() {
    const QMetaObject& meta = Client::staticMetaObject;
    QCOMPARE(meta.className(), "Quillmark::Client");
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index)
        QCOMPARE(meta.method(index).methodType(), QMetaMethod::Signal);
    QCOMPARE(meta.constructorCount(), 0);
    QCOMPARE(meta.propertyCount(), QObject::staticMetaObject.propertyCount());
}

void ClientTest::isTranslatable() {
    QCOMPARE(Client::tr("as it stands"), QString("as it stands"));
}

void ClientTest::needsAnApplication() {
    Quillmark::ClientParams params;
    params.serviceUrl = QUrl("http://127.0.0.1:9");
    QCOMPARE(Client::create(nullptr, params), nullptr);
}

QTEST_GUILESS_MAIN(ClientTest)
#include "ClientTest.moc"
