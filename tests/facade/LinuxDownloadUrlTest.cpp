// The update check as a direct answer: an address or nothing, and never a signal.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>
#include <thread>

#include "tests/facade/HostFixture.h"
#include "tests/facade/LogCapture.h"

using namespace test_support;

namespace {

const QUrl kNewest("https://downloads.example.test/harbour_home/8.4.2/setup-x64.exe?lang=en&source=feed");

QByteArray feedOf(const QByteArray& url) {
    return "<rss><channel><item><title>9.0</title><category>Windows</category><category>x64</category>"
           "<enclosure url=\"" +
           url + "\"/><content:encoded>x</content:encoded></item></channel></rss>";
}

}  // namespace

class LinuxDownloadUrlTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }
    void givesTheAddress_data();
    void givesTheAddress();
    void givesAnyAddress_data();
    void givesAnyAddress();
    void givesNothingOnAFailure_data();
    void givesNothingOnAFailure();
    void givesWhatTheSignalBrings();
    void renewsATokenThatTheServiceRefuses();
    void worksOnAThreadWithoutALoop();

private:
    [[nodiscard]] QUrl url(const QString& currentVersion = "8.4.1");

    HostFixture host_;
};

QUrl LinuxDownloadUrlTest::url(const QString& currentVersion) {
    return host_.client->getLinuxREDownloadUrl("Harbour", "Home", currentVersion);
}

void LinuxDownloadUrlTest::givesTheAddress_data() {
    QTest::addColumn<QString>("feedName");
    QTest::addColumn<QString>("feedVariant");
    QTest::addColumn<QString>("currentVersion");
    QTest::addColumn<QUrl>("expected");
    QTest::addColumn<int>("requests");
    const auto row = [](const char* name, const char* feedName, const char* feedVariant,
                        const char* currentVersion, const QUrl& expected, int requests = 1) {
        QTest::newRow(name) << feedName << feedVariant << currentVersion << expected << requests;
    };
    // The Linux builds of the feed, a preview above all others among them, are passed over.
    row("the build before", "Harbour", "Home", "8.4.1", kNewest);
    row("capitals", "HARBOUR", "HOME", "1.0", kNewest);
    row("another product", "Lantern", "Pro", "3.0.9",
        QUrl("https://downloads.example.test/lantern_pro/3.1.0/setup-x64.exe?lang=en&source=feed"));
    row("the newest build", "Harbour", "Home", "8.4.2", {});
    row("no such feed", "Harbour", "Office", "1.0", {});
    row("empty feed", "", "Home", "1.0", {}, 0);
    row("empty variant", "Harbour", "", "1.0", {}, 0);
    row("empty version", "Harbour", "Home", "", {}, 0);
}

void LinuxDownloadUrlTest::givesTheAddress() {
    QFETCH(QString, feedName);
    QFETCH(QString, feedVariant);
    QFETCH(QString, currentVersion);
    QFETCH(int, requests);
    const LogCapture log;
    QTEST(host_.client->getLinuxREDownloadUrl(feedName, feedVariant, currentVersion), "expected");
    QCOMPARE(host_.service.exchanges().size(), static_cast<std::size_t>(requests));
    QCoreApplication::processEvents();
    QCOMPARE(host_.recorder.lines, QStringList());
}

void LinuxDownloadUrlTest::givesAnyAddress_data() {
    QTest::addColumn<QByteArray>("url");
    QTest::addColumn<QByteArray>("encoded");
    QTest::addColumn<bool>("isValid");
    QTest::newRow("a script") << QByteArray("javascript:alert(1)") << QByteArray("javascript:alert(1)")
                              << true;
    QTest::newRow("a local file") << QByteArray("file:///etc/passwd") << QByteArray("file:///etc/passwd")
                                  << true;
    QTest::newRow("no scheme") << QByteArray("a.test/setup") << QByteArray("a.test/setup") << true;
    QTest::newRow("no ASCII") << QByteArray("https://a.test/Söhne") << QByteArray("https://a.test/S%C3%B6hne")
                              << true;
    QTest::newRow("a blank") << QByteArray("https://a.test/my setup")
                             << QByteArray("https://a.test/my%20setup") << true;
    QTest::newRow("empty") << QByteArray() << QByteArray() << false;
    QTest::newRow("a port that is none") << QByteArray("http://a.test:port") << QByteArray() << false;
}

void LinuxDownloadUrlTest::givesAnyAddress() {
    QFETCH(QByteArray, url);
    host_.answerWith(kFeedPath, 200, feedOf(url).toStdString());
    const QUrl given = this->url();
    QTEST(given.toEncoded(), "encoded");
    QTEST(given.isValid(), "isValid");
}

void LinuxDownloadUrlTest::givesNothingOnAFailure_data() {
    QTest::addColumn<int>("status");  // 0: the connection is cut
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("cut") << 0 << QByteArray();
    QTest::newRow("a page") << 200 << QByteArray("<html><br></html>");
    QTest::newRow("empty") << 200 << QByteArray();
    QTest::newRow("created, with a feed") << 201 << feedOf("https://a.test/9");
    QTest::newRow("refused, with a feed") << 401 << feedOf("https://a.test/9");
    QTest::newRow("missing, with a feed") << 404 << feedOf("https://a.test/9");
    QTest::newRow("maintenance, with a feed") << 503 << feedOf("https://a.test/9");
}

void LinuxDownloadUrlTest::givesNothingOnAFailure() {
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    const LogCapture log;
    if (status == 0)
        host_.cut(kFeedPath);
    else
        host_.answerWith(kFeedPath, status, body.toStdString());
    QCOMPARE(url(), QUrl());
    QVERIFY(!log.lines(QtCriticalMsg).isEmpty());  // the reason
    QCoreApplication::processEvents();
    QCOMPARE(host_.recorder.lines, QStringList());
    QCOMPARE(url(), kNewest);
}

void LinuxDownloadUrlTest::givesWhatTheSignalBrings() {
    const QString line =
        host_.answerTo([this] { host_.client->startCheckForUpdates("Harbour", "Home", "8.4.1"); });
    QVERIFY2(line.startsWith("updateFound 8.4.2"), qPrintable(line));
    QCOMPARE(url(), host_.recorder.update.url);
}

void LinuxDownloadUrlTest::renewsATokenThatTheServiceRefuses() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.service.service().expireTokens();
    host_.service.forgetExchanges();
    const QByteArray cached = host_.client->getAccessTokenBytes();
    QCOMPARE(url(), kNewest);
    QCOMPARE(host_.exchangesOf(kFeedPath), 2);
    QCOMPARE(host_.exchangesOf(kIdentityPath), 1);
    QCOMPARE(host_.client->getAccessTokenBytes(), cached);

    host_.service.service().expireTokens();
    host_.answerWith(kIdentityPath, 401, "");
    QCOMPARE(url(), QUrl());
    QVERIFY(host_.client->getIsSignedIn());
}

void LinuxDownloadUrlTest::worksOnAThreadWithoutALoop() {
    QUrl given;
    std::thread caller([&] { given = url(); });
    caller.join();
    QCOMPARE(given, kNewest);
}

QTEST_GUILESS_MAIN(LinuxDownloadUrlTest)
#include "LinuxDownloadUrlTest.moc"
