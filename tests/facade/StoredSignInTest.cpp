// What a start makes of the files that an earlier run left. Each row starts a private half of its own on a
// folder of its own; the process's one Client only lends its place.
#include <QtCore/QFile>
#include <QtTest/QtTest>

#include "facade/src/ClientPrivate.h"
#include "tests/facade/HostFixture.h"

using Quillmark::ClientParams;
using Quillmark::ClientPrivate;
using namespace test_support;

namespace {

constexpr quint32 kAlternateKeys = ClientParams::UseAlternateKeys;
constexpr int kNetwork = -1;  // in place of a status: the connection ends

enum class Token { none, former, renewed };

}  // namespace

class StoredSignInTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }
    void restores_data();
    void restores();
    void restoresTheChosenContext();

private:
    [[nodiscard]] ClientParams paramsFor(const QTemporaryDir& folder, quint32 flags) const;
    void signInEarlier(const ClientParams& params, const char* account);

    HostFixture host_;
    QByteArray formerToken_;
};

ClientParams StoredSignInTest::paramsFor(const QTemporaryDir& folder, quint32 flags) const {
    ClientParams params;
    params.serviceUrl = QUrl(QString::fromStdString(host_.service.baseUrl()));
    params.storagePath = folder.path();
    params.flags = flags;
    return params;
}

void StoredSignInTest::signInEarlier(const ClientParams& params, const char* account) {
    quillmarkclient::QuillmarkClient earlier;
    QVERIFY(IsSuccess(earlier.Init(params.toNativeParams())));
    const auto& known = host_.service.account(account);
    QVERIFY(IsSuccess(earlier.SignIn(known.login, known.password)));
    std::string token;
    QVERIFY(IsSuccess(earlier.GetAccessToken(token)));
    formerToken_ = QByteArray::fromStdString(token);
    host_.service.forgetExchanges();
}

void StoredSignInTest::restores_data() {
    QTest::addColumn<QString>("without");  // the file that is missing
    QTest::addColumn<QString>("damaged");  // the file that holds other bytes
    QTest::addColumn<quint32>("flagsBefore");
    QTest::addColumn<quint32>("flagsNow");
    QTest::addColumn<int>("refusal");  // status of the identity's renewal; 0: as always
    QTest::addColumn<bool>("isSignedIn");
    QTest::addColumn<int>("token");
    const auto row = [](const char* name, const char* without, const char* damaged, quint32 before,
                        quint32 now, int refusal, bool isSignedIn, Token token) {
        QTest::newRow(name) << without << damaged << before << now << refusal << isSignedIn
                            << static_cast<int>(token);
    };
    row("both files", "", "", 0, 0, 0, true, Token::renewed);
    row("both files, alternate keys", "", "", kAlternateKeys, kAlternateKeys, 0, true, Token::renewed);
    row("the token's file alone: cached, nobody signed in", "LIC0", "", 0, 0, 0, false, Token::former);
    row("the identity's file alone", "LIC", "", 0, 0, 0, true, Token::renewed);
    row("no file", "LIC*", "", 0, 0, 0, false, Token::none);
    row("a damaged identity", "", "LIC0", 0, 0, 0, false, Token::former);
    row("a damaged token", "", "LIC", 0, 0, 0, true, Token::renewed);
    row("a damaged token alone", "LIC0", "LIC", 0, 0, 0, false, Token::none);
    row("files of the first keys", "", "", 0, kAlternateKeys, 0, false, Token::none);
    row("files of the second keys", "", "", kAlternateKeys, 0, 0, false, Token::none);
    row("the service refuses the identity", "", "", 0, 0, 401, false, Token::former);
    row("the service is down", "", "", 0, 0, 500, false, Token::former);
    row("no network: the identity is kept", "", "", 0, 0, kNetwork, true, Token::former);
}

void StoredSignInTest::restores() {
    QFETCH(QString, without);
    QFETCH(QString, damaged);
    QFETCH(quint32, flagsBefore);
    QFETCH(quint32, flagsNow);
    QFETCH(int, refusal);
    QFETCH(int, token);
    const QTemporaryDir folder;
    signInEarlier(paramsFor(folder, flagsBefore), "plain");
    QVERIFY(!formerToken_.isEmpty());
    for (const QString& name : {QString("LIC"), QString("LIC0")}) {
        QFile file(folder.filePath(name));
        QVERIFY(file.exists());
        if (without == name || without == "LIC*")
            QVERIFY(file.remove());
        else if (damaged == name)
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write("damaged") == 7);
    }
    if (refusal == kNetwork)
        host_.cut(kIdentityPath);
    else if (refusal != 0)
        host_.answerWith(kIdentityPath, refusal, "");
    host_.recorder.lines.clear();

    ClientPrivate half(host_.client, paramsFor(folder, flagsNow));
    QVERIFY(half.hasStarted());
    QTEST(half.native().IsSignedIn(), "isSignedIn");
    const QByteArray now = half.cachedAccessToken();
    const Token found = now.isEmpty() ? Token::none : (now == formerToken_) ? Token::former : Token::renewed;
    QCOMPARE(static_cast<int>(found), token);
    QCoreApplication::processEvents();
    QCOMPARE(host_.recorder.lines, QStringList());  // a start gives no signal
}

void StoredSignInTest::restoresTheChosenContext() {
    const QTemporaryDir folder;
    signInEarlier(paramsFor(folder, 0), "organisation-only");
    ClientPrivate half(host_.client, paramsFor(folder, 0));
    QVERIFY(half.native().IsSignedIn());
    const auto claims = Quillmark::Client::getDecodedAccessToken(half.cachedAccessToken());
    QCOMPARE(claims.value(QLatin1String("businessContactNumber")).toString(), QString("300003"));
    QCOMPARE(host_.exchangesOf(kTrustPath), 1);
}

QTEST_GUILESS_MAIN(StoredSignInTest)
#include "StoredSignInTest.moc"
