// The secret of the session in a document of the host. What becomes of the rest of the document is tested
// with the core; here stand the road from the host to it, and the line that tells of a failure.
#include <Quillmark/Client.h>

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtTest/QtTest>

#include "tests/facade/HostFixture.h"
#include "tests/facade/LogCapture.h"

using namespace test_support;

class PersistIdentityTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void writesTheSecret_data();
    void writesTheSecret();
    void takesAnyPath_data();
    void takesAnyPath();
    void writesTheSecretOfTheSession();
    void givesNoSignal();
    void logsAFailure_data();
    void logsAFailure();
    void logsThatNobodyIsSignedIn_data();
    void logsThatNobodyIsSignedIn();

private:
    [[nodiscard]] QString pathOf(const QString& name) const { return folder_.filePath(name); }

    HostFixture host_;
    QTemporaryDir folder_;
};

namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

void write(const QString& path, const QByteArray& content) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

QString secretIn(const QByteArray& document) {
    return QJsonDocument::fromJson(document).object().value(QLatin1String("identityToken")).toString();
}

QString failureLine(const QString& path) {
    return "Failed to inject identity token to config file " + path;
}

}  // namespace

void PersistIdentityTest::init() {
    host_.startAnew();
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.service.forgetExchanges();
}

void PersistIdentityTest::writesTheSecret_data() {
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("expected");  // "%1" is the secret
    QTest::newRow("no file") << QByteArray() << QByteArray(R"({"identityToken":"%1"})");
    QTest::newRow("an empty object") << QByteArray(" { } ") << QByteArray(R"({"identityToken":"%1"})");
    QTest::newRow("behind other members")
        << QByteArray(R"({"a": [1, 2], "b": {"identityToken": "x"}})")
        << QByteArray(R"({"a":[1,2],"b":{"identityToken":"x"},"identityToken":"%1"})");
    QTest::newRow("in place of a former one") << QByteArray(R"({"identityToken": {"x": 1}, "z": null})")
                                              << QByteArray(R"({"identityToken":"%1","z":null})");
}

void PersistIdentityTest::writesTheSecret() {
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, expected);
    const QString path = pathOf("host.json");
    QFile::remove(path);
    if (!before.isEmpty())
        write(path, before);
    const LogCapture log;
    host_.client->persistIdentityToFile(path);
    const QByteArray after = contentOf(path);
    const QString secret = secretIn(after);
    QVERIFY2(!secret.isEmpty(), after.constData());
    QCOMPARE(after, QByteArray(expected).replace("%1", secret.toUtf8()));
    QCOMPARE(log.lines(QtCriticalMsg), QStringList());
    QVERIFY(!log.text().contains(secret));
    QCOMPARE(host_.service.exchanges().size(), std::size_t{0});
}

void PersistIdentityTest::takesAnyPath_data() {
    QTest::addColumn<QString>("name");
    for (const char* name : {"%1", "%1 %2 100%.json", "with blanks .json", "Söhne 箱.json"})
        QTest::newRow(name) << QString::fromUtf8(name);
    if (QDir::separator() == u'/')  // elsewhere it leads into a folder
        QTest::newRow("a backslash") << "back\\slash.json";
}

void PersistIdentityTest::takesAnyPath() {
    QFETCH(QString, name);
    host_.client->persistIdentityToFile(pathOf(name));
    QVERIFY(!secretIn(contentOf(pathOf(name))).isEmpty());
}

// By the secret in the document the service opens the same account's session.
void PersistIdentityTest::writesTheSecretOfTheSession() {
    const QString path = pathOf("session.json");
    host_.client->persistIdentityToFile(path);
    const QString secret = secretIn(contentOf(path));
    sandbox::Request request;
    request.method = "POST";
    request.target = kIdentityPath;
    request.headers = {
        {"x-vqm-custom", "vqm-client"}, {"Content-Type", "application/json"}, {"Accept", "application/json"}};
    request.body = R"({"secretKey":")" + secret.toStdString() + "\"}";
    const sandbox::Answer answer = host_.service.service().answer(request);
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.login, std::string("anna.plain@example.test"));
}

void PersistIdentityTest::givesNoSignal() {
    host_.recorder.lines.clear();
    host_.client->persistIdentityToFile(pathOf("silent.json"));
    host_.client->persistIdentityToFile(pathOf("missing/silent.json"));
    QCoreApplication::processEvents();
    QCOMPARE(host_.recorder.lines, QStringList());
}

void PersistIdentityTest::logsAFailure_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("content");  // of the file before and behind; empty: none is there
    QTest::newRow("a folder that is missing") << pathOf("missing/host.json") << QByteArray();
    QTest::newRow("a path with places of arg") << pathOf("missing/%1 %2 %n.json") << QByteArray();
    QTest::newRow("no ASCII") << pathOf(QString::fromUtf8("missing/Söhne 箱.json")) << QByteArray();
    QTest::newRow("a folder") << folder_.path() << QByteArray();
    QTest::newRow("an empty path") << QString("") << QByteArray();
    QTest::newRow("no path") << QString() << QByteArray();
    QTest::newRow("no JSON") << pathOf("page.html") << QByteArray("<html>");
    QTest::newRow("a list") << pathOf("list.json") << QByteArray("[1, 2]");
    QTest::newRow("a text") << pathOf("text.json") << QByteArray("\"text\"");
    QTest::newRow("cut off") << pathOf("cut.json") << QByteArray(R"({"a": )");
}

void PersistIdentityTest::logsAFailure() {
    QFETCH(QString, path);
    QFETCH(QByteArray, content);
    if (!content.isEmpty())
        write(path, content);
    const LogCapture log;
    host_.client->persistIdentityToFile(path);
    const QStringList failures = log.lines(QtCriticalMsg);
    QVERIFY(!failures.isEmpty());
    QCOMPARE(failures.last(), failureLine(path));
    QCOMPARE(failures.count(failureLine(path)), 1);
    if (!content.isEmpty())
        QCOMPARE(contentOf(path), content);
}

void PersistIdentityTest::logsThatNobodyIsSignedIn_data() {
    QTest::addColumn<bool>("isThere");
    QTest::newRow("a document stays") << true;
    QTest::newRow("no document comes") << false;
}

void PersistIdentityTest::logsThatNobodyIsSignedIn() {
    QFETCH(bool, isThere);
    host_.client->signOut();
    const QString path = pathOf(isThere ? "there.json" : "none.json");
    if (isThere)
        write(path, "{}");
    const LogCapture log;
    host_.client->persistIdentityToFile(path);
    QCOMPARE(log.lines(QtCriticalMsg).count(failureLine(path)), 1);
    QCOMPARE(contentOf(path), QByteArray(isThere ? "{}" : "(no file)"));
}

QTEST_GUILESS_MAIN(PersistIdentityTest)
#include "PersistIdentityTest.moc"
