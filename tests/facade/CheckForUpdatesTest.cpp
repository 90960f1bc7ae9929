// The update check against the account service: which build is found, and what ends in a failure.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>

#include "tests/facade/HostFixture.h"
#include "tests/support/TransportFacts.h"

using namespace test_support;

namespace {

const QString kFound =
    "updateFound 8.4.2 https://downloads.example.test/harbour_home/8.4.2/setup-x64.exe?lang=en&source=feed";
const QString kInvalidArguments = "checkForUpdateFailed 0x80000002 Invalid parameters.";
const QString kNetworkFailed = "checkForUpdateFailed 0x80000006 Problems sending network requests";
const QString kDenied = "checkForUpdateFailed 0x82000002 Authorization is denied";
const QString kInvalidFeed = "checkForUpdateFailed 0x84000001 Unknown error code";
const QString kNoUpdate = "checkForUpdateFailed 0x84000004 Unknown error code";
const QString kUnavailable = "checkForUpdateFailed 0x84000006 Unknown error code";

QString withZero(const char* front, const char* behind) {
    return QString(front) + QChar(0) + behind;
}

// A feed of one channel.
QByteArray feedOf(const QByteArray& items) {
    return "<rss><channel>" + items + "</channel></rss>";
}

QByteArray itemOf(const QByteArray& title, const QByteArray& html, const QByteArray& enclosure) {
    return "<item><title>" + title + "</title><category>Windows</category><category>x64</category>" +
           enclosure + "<content:encoded><![CDATA[" + html + "]]></content:encoded></item>";
}

}  // namespace

class CheckForUpdatesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }
    void findsTheNewestBuild_data();
    void findsTheNewestBuild();
    void tellsWhatTheFeedSays();
    void handsOnWhatAFeedHolds_data();
    void handsOnWhatAFeedHolds();
    void failsOnAFeedWithoutSense_data();
    void failsOnAFeedWithoutSense();
    void failsOnABrokenFeed_data();
    void failsOnABrokenFeed();
    void failsOnAStatus_data();
    void failsOnAStatus();
    void failsOnABrokenConnection_data();
    void failsOnABrokenConnection();
    void sendsTheTokenOfASignIn();
    void renewsATokenThatTheServiceRefuses();
    void failsBehindARenewal_data();
    void failsBehindARenewal();
    void failsWithoutASecretToRenewBy();
    void answersEachOfSeveral();

private:
    [[nodiscard]] QString check(const QString& currentVersion = "8.4.1");
    void signInAndExpireTheToken();

    HostFixture host_;
};

QString CheckForUpdatesTest::check(const QString& currentVersion) {
    return host_.answerTo([&] { host_.client->startCheckForUpdates("Harbour", "Home", currentVersion); });
}

void CheckForUpdatesTest::signInAndExpireTheToken() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.service.service().expireTokens();
    host_.service.forgetExchanges();
}

void CheckForUpdatesTest::findsTheNewestBuild_data() {
    QTest::addColumn<QString>("feedName");
    QTest::addColumn<QString>("feedVariant");
    QTest::addColumn<QString>("currentVersion");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<int>("requests");
    const auto row = [](const char* name, const QString& feedName, const QString& feedVariant,
                        const QString& currentVersion, const QString& expected, int requests = 1) {
        QTest::newRow(name) << feedName << feedVariant << currentVersion << expected << requests;
    };
    row("the build before", "Harbour", "Home", "8.4.1", kFound);
    row("an old build", "Harbour", "Home", "1.0.0", kFound);
    row("another product", "Lantern", "Pro", "3.0.9",
        "updateFound 3.1.0 https://downloads.example.test/lantern_pro/3.1.0/"
        "setup-x64.exe?lang=en&source=feed");
    row("capitals", "HARBOUR", "HOME", "8.4.1", kFound);
    row("small letters", "harbour", "home", "8.4.1", kFound);
    row("the newest build", "Harbour", "Home", "8.4.2", kNoUpdate);
    row("a newer build than the newest", "Harbour", "Home", "8.5.0", kNoUpdate);
    row("newer, and older as a text", "Harbour", "Home", "10.0.0", kNoUpdate);
    row("a longer version", "Harbour", "Home", "8.4.2.1", kNoUpdate);
    row("a shorter version that is used up", "Harbour", "Home", "8.4", kNoUpdate);
    row("a shorter version that differs", "Harbour", "Home", "8.3", kFound);
    row("leading zeros", "Harbour", "Home", "08.04.01", kFound);
    row("a part that is no number is below all", "Harbour", "Home", "8.4.2a", kFound);
    row("a sign that is none", "Harbour", "Home", "+9.0.0", kFound);
    row("a blank in front", "Harbour", "Home", " 9.0.0", kFound);
    row("a number beyond 32 bits", "Harbour", "Home", "2147483648.0.0", kFound);
    row("the greatest number", "Harbour", "Home", "2147483647.0.0", kNoUpdate);
    row("a version behind a zero is cut", "Harbour", "Home", withZero("8.4.1", ".9"), kFound);
    row("a feed behind a zero is cut", withZero("Harbour", "x"), withZero("Home", "y"), "8.4.1", kFound);
    row("no such feed", "Harbour", "Office", "1.0.0", kNoUpdate);
    row("the variant in the name", "Harbour_Home", "Home", "1.0.0", kNoUpdate);
    row("null feed", QString(), "Home", "1.0.0", kInvalidArguments, 0);
    row("empty feed", "", "Home", "1.0.0", kInvalidArguments, 0);
    row("empty variant", "Harbour", "", "1.0.0", kInvalidArguments, 0);
    row("empty version", "Harbour", "Home", "", kInvalidArguments, 0);
    row("a zero is an empty feed", withZero("", "Harbour"), "Home", "1.0.0", kInvalidArguments, 0);
    row("a zero is an empty variant", "Harbour", withZero("", "Home"), "1.0.0", kInvalidArguments, 0);
    row("a zero is an empty version", "Harbour", "Home", withZero("", "1.0.0"), kInvalidArguments, 0);
}

void CheckForUpdatesTest::findsTheNewestBuild() {
    QFETCH(QString, feedName);
    QFETCH(QString, feedVariant);
    QFETCH(QString, currentVersion);
    QFETCH(int, requests);
    const QString line =
        host_.answerTo([&] { host_.client->startCheckForUpdates(feedName, feedVariant, currentVersion); });
    QTEST(line, "expected");
    QCOMPARE(host_.service.exchanges().size(), static_cast<std::size_t>(requests));
}

void CheckForUpdatesTest::tellsWhatTheFeedSays() {
    QCOMPARE(check(), kFound);
    const auto& update = host_.recorder.update;
    QCOMPARE(update.version, QString("8.4.2"));
    QCOMPARE(update.description,
             QString("<h2>What's new in Harbour &amp; Home 8.4.2</h2>\n<ul>\n"
                     "<li>Backups to network folders start faster.</li>\n"
                     "<li>Restoring a file whose name holds &quot;&amp;&quot; works again.</li>\n</ul>\n"
                     "<p>&copy; <a href=\"https://news.example.test/?p=harbour_home&v=8.4.2\">"
                     "Harbour &amp; Home</a></p>"));
    QCOMPARE(update.url,
             QUrl("https://downloads.example.test/harbour_home/8.4.2/setup-x64.exe?lang=en&source=feed"));
    QVERIFY(update.isValid());
}

void CheckForUpdatesTest::handsOnWhatAFeedHolds_data() {
    QTest::addColumn<QByteArray>("items");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QByteArray>("url");
    QTest::addColumn<bool>("isValid");
    const auto row = [](const char* name, const QByteArray& items, const char* version,
                        const char* description, const char* url, bool isValid = true) {
        QTest::newRow(name) << items << QString::fromUtf8(version) << QString::fromUtf8(description)
                            << QByteArray(url) << isValid;
    };
    const QByteArray good = "<enclosure url=\"https://a.test/9\"/>";
    row("a script to download", itemOf("9.0", "x", "<enclosure url=\"javascript:alert(1)\"/>"), "9.0", "x",
        "javascript:alert(1)");
    row("a local file", itemOf("9.0", "x", "<enclosure url=\"file:///etc/passwd\"/>"), "9.0", "x",
        "file:///etc/passwd");
    row("a script to show", itemOf("9.0", "<script>alert('&lt;')</script>", good), "9.0",
        "<script>alert('&lt;')</script>", "https://a.test/9");
    row("markup in the version", itemOf("9.0.&lt;b&gt;", "x", good), "9.0.<b>", "x", "https://a.test/9");
    row("no ASCII", itemOf("9.0 – früh", "größer 箱 😀", "<enclosure url=\"https://a.test/Söhne\"/>"),
        "9.0 – früh", "größer 箱 😀", "https://a.test/S%C3%B6hne");
    row("bytes that are no text", itemOf("9.0", "a\xff\xfe", good), "9.0", "a\xEF\xBF\xBD\xEF\xBF\xBD",
        "https://a.test/9");
    row("a blank in the address", itemOf("9.0", "x", "<enclosure url=\"https://a.test/my setup\"/>"), "9.0",
        "x", "https://a.test/my%20setup");
    row("an empty description", itemOf("9.0", "", good), "9.0", "", "https://a.test/9");
    row("no enclosure", itemOf("9.0", "x", ""), "9.0", "x", "", false);
    row("an enclosure without an address", itemOf("9.0", "x", "<enclosure length=\"1\"/>"), "9.0", "x", "",
        false);
    row("an address that can't be read", itemOf("9.0", "x", "<enclosure url=\"http://a.test:port\"/>"), "9.0",
        "x", "", false);
    row("the address of a lesser build", itemOf("8.5", "x", good) + itemOf("9.0", "y", ""), "9.0", "y",
        "https://a.test/9");
    row("the greatest of three", itemOf("9.0", "x", "") + itemOf("11.0", "y", good) + itemOf("10.0", "z", ""),
        "11.0", "y", "https://a.test/9");
}

void CheckForUpdatesTest::handsOnWhatAFeedHolds() {
    QFETCH(QByteArray, items);
    host_.answerWith(kFeedPath, 200, feedOf(items).toStdString());
    const QString line = check();
    QVERIFY2(line.startsWith("updateFound ") && !line.contains(", "), qPrintable(line));
    const auto& update = host_.recorder.update;
    QTEST(update.version, "version");
    QTEST(update.description, "description");
    QTEST(update.url.toEncoded(), "url");
    QTEST(update.isValid(), "isValid");
}

void CheckForUpdatesTest::failsOnAFeedWithoutSense_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, const QByteArray& body, const QString& expected) {
        QTest::newRow(name) << body << expected;
    };
    constexpr int deep = 1 << 20;
    row("nothing", "", kInvalidFeed);
    row("a page", "<html><body><br>It works!</body></html>", kInvalidFeed);
    row("JSON", R"({"rss":{"channel":[]}})", kInvalidFeed);
    row("another document", "<feed><channel></channel></feed>", kInvalidFeed);
    row("no channel", "<rss></rss>", kInvalidFeed);
    row("cut in a tag", "<rss><channel><item", kInvalidFeed);
    row("a zero inside", QByteArray("<rss><channel>\0</channel></rss>", 32), kInvalidFeed);
    row("a blank ahead of CDATA",
        feedOf("<item><title>9.0</title><content:encoded> <![CDATA[x]]></content:encoded></item>"),
        kInvalidFeed);
    row("a million open tags", QByteArray("<a>").repeated(deep), kInvalidFeed);
    row("a channel without items", "<rss><channel></channel></rss>", kNoUpdate);
    row("no platform", feedOf("<item><title>9.0</title><content:encoded>x</content:encoded></item>"),
        kNoUpdate);
    row("one category for both",
        feedOf("<item><title>9.0</title><category>Windows x64</category>"
               "<content:encoded>x</content:encoded></item>"),
        kNoUpdate);
    row("another system",
        feedOf("<item><title>9.0</title><category>Linux</category><category>x64</category>"
               "<content:encoded>x</content:encoded></item>"),
        kNoUpdate);
    row("an empty version", feedOf(itemOf("", "x", "")), kNoUpdate);
}

void CheckForUpdatesTest::failsOnAFeedWithoutSense() {
    QFETCH(QByteArray, body);
    host_.answerWith(kFeedPath, 200, body.toStdString());
    QTEST(check(), "expected");
    QCOMPARE(check(), kFound);
}

void CheckForUpdatesTest::failsOnABrokenFeed_data() {
    QTest::addColumn<sandbox::FeedState>("state");
    QTest::addColumn<QString>("expected");
    QTest::newRow("ends in an item") << sandbox::FeedState::malformed << kInvalidFeed;
    QTest::newRow("empty") << sandbox::FeedState::empty << kInvalidFeed;
    QTest::newRow("no items") << sandbox::FeedState::noItems << kNoUpdate;
    QTest::newRow("missing") << sandbox::FeedState::missing << kNoUpdate;
}

// English is the language here, so no other is asked.
void CheckForUpdatesTest::failsOnABrokenFeed() {
    QFETCH(sandbox::FeedState, state);
    host_.service.setFeedState("harbour_home_en", state);
    QTEST(check(), "expected");
    QCOMPARE(host_.exchangesOf(kFeedPath), 1);
    QCOMPARE(host_.service.exchanges().size(), std::size_t{1});
}

void CheckForUpdatesTest::failsOnAStatus_data() {
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("expected");
    QTest::newRow("201") << 201 << kUnavailable;
    QTest::newRow("204") << 204 << kUnavailable;
    QTest::newRow("304") << 304 << kUnavailable;
    QTest::newRow("400") << 400 << kInvalidFeed;
    QTest::newRow("401, nobody is signed in") << 401 << kDenied;
    QTest::newRow("403") << 403 << kUnavailable;
    QTest::newRow("404") << 404 << kNoUpdate;
    QTest::newRow("409") << 409 << kUnavailable;
    QTest::newRow("410") << 410 << kUnavailable;
    QTest::newRow("429") << 429 << kUnavailable;
    QTest::newRow("500") << 500 << kUnavailable;
    QTest::newRow("503") << 503 << kUnavailable;
}

// Whatever the body: here it would be a good feed.
void CheckForUpdatesTest::failsOnAStatus() {
    QFETCH(int, status);
    host_.answerWith(kFeedPath, status, status == 204 ? "" : feedOf(itemOf("9.0", "x", "")).toStdString());
    QTEST(check(), "expected");
    QCOMPARE(host_.service.exchanges().size(), std::size_t{1});
    QCOMPARE(check(), kFound);
}

void CheckForUpdatesTest::failsOnABrokenConnection_data() {
    QTest::addColumn<sandbox::FaultKind>("kind");
    QTest::newRow("cut") << sandbox::FaultKind::cut;
    QTest::newRow("half a feed") << sandbox::FaultKind::half;
    QTest::newRow("the answer is lost") << sandbox::FaultKind::lost;
}

void CheckForUpdatesTest::failsOnABrokenConnection() {
    QFETCH(sandbox::FaultKind, kind);
    sandbox::Fault fault;
    fault.kind = kind;
    fault.path = kFeedPath;
    host_.service.faults().add(fault);
    // Half a feed that comes through can't be read.
    const bool comesThrough = kind == sandbox::FaultKind::half && !test::NoticesCutAnswers();
    QCOMPARE(check(), comesThrough ? kInvalidFeed : kNetworkFailed);
    QCOMPARE(host_.exchangesOf(kFeedPath), 1);
    QCOMPARE(check(), kFound);
}

// A token that is not good is refused, so what passes carries one that is, or none.
void CheckForUpdatesTest::sendsTheTokenOfASignIn() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.service.forgetExchanges();
    QCOMPARE(check(), kFound);
    const auto exchanges = host_.service.exchanges();
    QCOMPARE(exchanges.size(), std::size_t{1});
    QCOMPARE(QString::fromStdString(exchanges.front().login), QString("anna.plain@example.test"));

    host_.startAnew();
    QCOMPARE(check(), kFound);
    QCOMPARE(QString::fromStdString(host_.service.exchanges().front().login), QString());
}

// The renewal is the core's own: what the facade has cached stays.
void CheckForUpdatesTest::renewsATokenThatTheServiceRefuses() {
    signInAndExpireTheToken();
    const QByteArray cached = host_.client->getAccessTokenBytes();
    QCOMPARE(check(), kFound);
    QCOMPARE(host_.exchangesOf(kFeedPath), 2);
    QCOMPARE(host_.exchangesOf(kIdentityPath), 1);
    QCOMPARE(host_.client->getAccessTokenBytes(), cached);
    QCOMPARE(check(), kFound);
    QCOMPARE(host_.exchangesOf(kFeedPath), 3);
}

void CheckForUpdatesTest::failsBehindARenewal_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<int>("status");  // 0: the connection is cut
    QTest::addColumn<QString>("expected");
    QTest::addColumn<int>("requests");
    const auto row = [](const char* name, const std::string& path, int status, const QString& expected,
                        int requests) {
        QTest::newRow(name) << QByteArray::fromStdString(path) << status << expected << requests;
    };
    row("the new token is refused as well", kFeedPath, 401, kUnavailable, 2);
    row("the feed is gone behind it", kFeedPath, 404, kNoUpdate, 2);
    row("the feed is broken behind it", kFeedPath, 400, kInvalidFeed, 2);
    row("the secret is refused", kIdentityPath, 401, kDenied, 1);
    row("the renewal fails", kIdentityPath, 500,
        "checkForUpdateFailed 0x82000003 Internal registry service error", 1);
    row("the renewal is cut", kIdentityPath, 0, kNetworkFailed, 1);
    row("the context is refused", kContextPath, 401, kDenied, 1);
}

void CheckForUpdatesTest::failsBehindARenewal() {
    QFETCH(QByteArray, path);
    QFETCH(int, status);
    QFETCH(int, requests);
    signInAndExpireTheToken();
    if (path.toStdString() == kFeedPath)
        host_.letPass(kFeedPath);
    if (status == 0)
        host_.cut(path.toStdString());
    else
        host_.answerWith(path.toStdString(), status, "");
    QTEST(check(), "expected");
    QCOMPARE(host_.exchangesOf(kFeedPath), requests);
    QCOMPARE(host_.exchangesOf(kIdentityPath), 1);
    QVERIFY(host_.client->getIsSignedIn());
}

void CheckForUpdatesTest::failsWithoutASecretToRenewBy() {
    host_.answerWith(kIdentitiesPath, 500, "", 2);
    signInAndExpireTheToken();
    QCOMPARE(check(), kDenied);
    QCOMPARE(host_.service.exchanges().size(), std::size_t{1});
}

void CheckForUpdatesTest::answersEachOfSeveral() {
    QSignalSpy recorded(&host_.recorder, &SignalRecorder::recorded);
    host_.client->startCheckForUpdates("Harbour", "Home", "8.4.1");
    host_.client->startCheckForUpdates("Harbour", "Home", "8.4.2");
    host_.client->startCheckForUpdates("", "", "");
    while (recorded.size() < 3)
        QVERIFY(recorded.wait(60'000));
    QCoreApplication::processEvents();
    host_.recorder.lines.sort();
    QCOMPARE(host_.recorder.lines, (QStringList{kInvalidArguments, kNoUpdate, kFound}));
}

QTEST_GUILESS_MAIN(CheckForUpdatesTest)
#include "CheckForUpdatesTest.moc"
