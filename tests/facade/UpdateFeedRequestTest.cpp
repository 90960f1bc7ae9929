// Which feeds an update check asks for, and the bytes that it sends.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "tests/facade/LogCapture.h"
#include "tests/facade/ScriptedHalf.h"
#include "tests/support/TransportFacts.h"

using namespace test_support;

namespace {

const std::string kFeed =
    "<rss><channel><item><title>9.0</title><category>Windows</category><category>x64</category>"
    "<enclosure url=\"https://a.test/9\"/><content:encoded>x</content:encoded></item></channel></rss>";
const QString kFound = "updateFound 9.0 https://a.test/9";
const QString kDenied = "checkForUpdateFailed 0x82000002 Authorization is denied";
const QString kInvalidFeed = "checkForUpdateFailed 0x84000001 Unknown error code";
const QString kNoUpdate = "checkForUpdateFailed 0x84000004 Unknown error code";
const QString kUnavailable = "checkForUpdateFailed 0x84000006 Unknown error code";
const QString kNetworkFailed = "checkForUpdateFailed 0x80000006 Problems sending network requests";

const QString kGerman = "/feeds/harbour_home_de/rss";
const QString kEnglish = "/feeds/harbour_home_en/rss";

QString check(ScriptedHalf& host) {
    return host.answerTo([&] { host.half.startCheckForUpdates("Harbour", "Home", "1.0"); });
}

// The request for the English feed, byte for byte; `token` may be empty.
QByteArray feedRequest(const ScriptedHalf& host, const std::string& token) {
    std::vector<std::pair<std::string, std::string>> headers = {{"Accept", "application/xml"},
                                                                {"Cache-Control", "no-cache"}};
    if (!token.empty())
        headers.emplace_back("Authorization", "Bearer " + token);
    headers.emplace_back("x-vqm-custom", "vqm-client");
    return QByteArray::fromStdString(
        test::HeadOnTheWire("GET /feeds/harbour_home_en/rss HTTP/1.1", headers, host.server.Port(), 0));
}

}  // namespace

class UpdateFeedRequestTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void asksInTheHostsLanguage_data();
    void asksInTheHostsLanguage();
    void asksForTheFeedAsItIsNamed_data();
    void asksForTheFeedAsItIsNamed();
    void letsNoNameAddAHeader_data();
    void letsNoNameAddAHeader();
    void sendsTheseHeaders();
    void sendsTheTokenInFrontOfTheMark();
    void sendsTheRenewedToken();
    void asksNobodyWithoutALanguage_data();
    void asksNobodyWithoutALanguage();
    void asksInEnglishOnlyForAMissingFeed_data();
    void asksInEnglishOnlyForAMissingFeed();
    void renewsForEachLanguage();
    void reportsTheEndAlone();
    void throwsWithoutANativeClient();
};

void UpdateFeedRequestTest::asksInTheHostsLanguage_data() {
    QTest::addColumn<QString>("language");
    QTest::addColumn<QStringList>("targets");  // when each of the feeds is missing
    const auto row = [](const char* name, const QString& language, const QStringList& targets) {
        QTest::newRow(name) << language << targets;
    };
    row("English", "en", {kEnglish});
    row("English in capitals", "EN", {kEnglish});
    row("English in mixed case", "eN", {kEnglish});
    row("German", "de", {kGerman, kEnglish});
    row("German in capitals", "DE", {kGerman, kEnglish});
    row("English of a country", "en-us", {"/feeds/harbour_home_en-us/rss", kEnglish});
    row("English of a country in capitals", "en-GB", {"/feeds/harbour_home_en-gb/rss", kEnglish});
    row("with an underscore", "en_us", {"/feeds/harbour_home_en_us/rss", kEnglish});
    row("longer than English", "eng", {"/feeds/harbour_home_eng/rss", kEnglish});
    row("shorter than English", "e", {"/feeds/harbour_home_e/rss", kEnglish});
    row("one with a zero behind", QString("en") + QChar(0) + "x", {kEnglish});
}

void UpdateFeedRequestTest::asksInTheHostsLanguage() {
    QFETCH(QString, language);
    ScriptedHalf host(language);
    host.server.SetDefault([](const auto&) { return test::Answer::Of(404, {}, kFeed); });
    QCOMPARE(check(host), kNoUpdate);
    QTEST(host.targets(), "targets");
    QCOMPARE(host.half.checkForUpdates("Harbour", "Home", "1.0").error, QUILLMARKCLIENT_ERROR::kNoUpdate);
}

void UpdateFeedRequestTest::asksForTheFeedAsItIsNamed_data() {
    QTest::addColumn<QString>("feedName");
    QTest::addColumn<QString>("feedVariant");
    QTest::addColumn<QString>("target");
    QTest::newRow("capitals") << "Foo"
                              << "Bar"
                              << "/feeds/foo_bar_en/rss";
    QTest::newRow("underscores") << "a_B"
                                 << "_"
                                 << "/feeds/a_b___en/rss";
    QTest::newRow("a slash and dots") << "A/b"
                                      << "c.D"
                                      << "/feeds/a/b_c.d_en/rss";
    QTest::newRow("a query") << "a?b=C"
                             << "d&e"
                             << "/feeds/a?b=c_d&e_en/rss";
    QTest::newRow("encoded by the host") << "a%20B"
                                         << "c%C3%A4"
                                         << "/feeds/a%20b_c%c3%a4_en/rss";
    QTest::newRow("a tail behind a zero") << QString("a") + QChar(0) + "b" << QString("c") + QChar(0) + "d"
                                          << "/feeds/a_c_en/rss";
}

void UpdateFeedRequestTest::asksForTheFeedAsItIsNamed() {
    QFETCH(QString, feedName);
    QFETCH(QString, feedVariant);
    QFETCH(QString, target);
    ScriptedHalf host;
    host.server.Enqueue(test::Answer::Of(200, {}, kFeed));
    QCOMPARE(host.answerTo([&] { host.half.startCheckForUpdates(feedName, feedVariant, "1.0"); }), kFound);
    QCOMPARE(host.targets(), QStringList{target});
}

void UpdateFeedRequestTest::letsNoNameAddAHeader_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("a line end") << "a HTTP/1.1\r\nX-Other: 1\r\nX-Rest: ";
    QTest::newRow("a line feed") << "a HTTP/1.1\nX-Other: 1\nX-Rest: ";
    QTest::newRow("a second request") << "a HTTP/1.1\r\n\r\nGET /other HTTP/1.1\r\nX-Rest: ";
}

// The names go into the URL as they are, and the transport refuses such a URL.
void UpdateFeedRequestTest::letsNoNameAddAHeader() {
    QFETCH(QString, text);
    for (const QStringList& names : {QStringList{text, "b"}, QStringList{"a", text}}) {
        ScriptedHalf host;
        QCOMPARE(host.answerTo([&] { host.half.startCheckForUpdates(names[0], names[1], "1.0"); }),
                 kNetworkFailed);
        QCOMPARE(host.server.ConnectionCount(), 0);
    }
}

void UpdateFeedRequestTest::sendsTheseHeaders() {
    ScriptedHalf host;
    host.server.Enqueue(test::Answer::Of(200, {}, kFeed));
    QCOMPARE(check(host), kFound);
    const auto requests = host.requests();
    QCOMPARE(requests.size(), std::size_t{1});
    QCOMPARE(QByteArray::fromStdString(requests.front().raw), feedRequest(host, ""));
}

void UpdateFeedRequestTest::sendsTheTokenInFrontOfTheMark() {
    ScriptedHalf host;
    host.signIn("h.e30=.s", false);
    host.server.Enqueue(test::Answer::Of(200, {}, kFeed));
    QCOMPARE(check(host), kFound);
    const auto requests = host.requests();
    QCOMPARE(requests.size(), std::size_t{1});
    QCOMPARE(QByteArray::fromStdString(requests.front().raw), feedRequest(host, "h.e30=.s"));
}

void UpdateFeedRequestTest::sendsTheRenewedToken() {
    ScriptedHalf host;
    host.signIn("h.e30=.old", true);
    host.server.Enqueue(test::Answer::Of(401));
    host.server.Enqueue(test::Answer::Of(200, {}, R"({"accessToken":"h.e30=.new"})"));
    host.server.Enqueue(test::Answer::Of(200, {}, R"({"accessToken":"h.e30=.context"})"));
    host.server.Enqueue(test::Answer::Of(200, {}, kFeed));
    QCOMPARE(check(host), kFound);
    const auto requests = host.requests();
    QCOMPARE(host.targets(), (QStringList{kEnglish, QString::fromStdString(kIdentityPath),
                                          QString::fromStdString(kContextPath), kEnglish}));
    QCOMPARE(requests.front().Header("Authorization"), std::string("Bearer h.e30=.old"));
    QCOMPARE(requests.back().Header("Authorization"), std::string("Bearer h.e30=.context"));
}

void UpdateFeedRequestTest::asksNobodyWithoutALanguage_data() {
    QTest::addColumn<QString>("language");
    QTest::newRow("null, as by default") << QString();
    QTest::newRow("empty") << QString("");
    QTest::newRow("a zero") << QString(QChar(0)) + "en";
}

void UpdateFeedRequestTest::asksNobodyWithoutALanguage() {
    QFETCH(QString, language);
    ScriptedHalf host(language);
    QCOMPARE(check(host), QString("checkForUpdateFailed 0x80000002 Invalid parameters."));
    QCOMPARE(host.half.checkForUpdates("Harbour", "Home", "1.0").value.url, QUrl());
    QCOMPARE(host.targets(), QStringList());
}

void UpdateFeedRequestTest::asksInEnglishOnlyForAMissingFeed_data() {
    QTest::addColumn<int>("status");  // 0: the connection is cut; of the German feed
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("asksInEnglish");
    const auto row = [](const char* name, int status, const char* body, const QString& expected,
                        bool asksInEnglish = false) {
        QTest::newRow(name) << status << QByteArray(body) << expected << asksInEnglish;
    };
    row("missing", 404, "", kFound, true);
    row("missing, and a feed all the same", 404, "<rss><channel></channel></rss>", kFound, true);
    row("nothing newer in it", 200, "<rss><channel></channel></rss>", kNoUpdate);
    row("not to be read", 200, "<rss>", kInvalidFeed);
    row("empty", 200, "", kInvalidFeed);
    row("refused as wrong", 400, "", kInvalidFeed);
    row("refused", 401, "", kDenied);
    row("forbidden", 403, "", kUnavailable);
    row("gone", 410, "", kUnavailable);
    row("the service trips", 500, "", kUnavailable);
    row("cut", 0, "", kNetworkFailed);
}

void UpdateFeedRequestTest::asksInEnglishOnlyForAMissingFeed() {
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    QFETCH(bool, asksInEnglish);
    ScriptedHalf host("de");
    host.server.Enqueue(status == 0 ? test::Answer::CloseUnanswered()
                                    : test::Answer::Of(status, {}, body.toStdString()));
    host.server.Enqueue(test::Answer::Of(200, {}, kFeed));
    QTEST(check(host), "expected");
    QCOMPARE(host.targets(), asksInEnglish ? QStringList({kGerman, kEnglish}) : QStringList({kGerman}));
}

// Each language may want a token of its own: eight exchanges are the most.
void UpdateFeedRequestTest::renewsForEachLanguage() {
    ScriptedHalf host("de");
    host.signIn("h.e30=.s", true);
    const auto renewed = test::Answer::Of(200, {}, R"({"accessToken":"h.e30=.t"})");
    for (const auto& last : {test::Answer::Of(404), test::Answer::Of(200, {}, kFeed)}) {
        host.server.Enqueue(test::Answer::Of(401));
        host.server.Enqueue(renewed);
        host.server.Enqueue(renewed);
        host.server.Enqueue(last);
    }
    QCOMPARE(check(host), kFound);
    const QString identity = QString::fromStdString(kIdentityPath);
    const QString context = QString::fromStdString(kContextPath);
    QCOMPARE(host.targets(),
             (QStringList{kGerman, identity, context, kGerman, kEnglish, identity, context, kEnglish}));
}

// The first language's missing feed is nobody's failure: the end is told by the core's client and by the
// operation in front of it, once each.
void UpdateFeedRequestTest::reportsTheEndAlone() {
    ScriptedHalf host("de");
    const LogCapture log;
    host.server.Enqueue(test::Answer::Of(404));
    host.server.Enqueue(test::Answer::Of(200, {}, kFeed));
    QCOMPARE(check(host), kFound);
    QCOMPARE(log.lines(QtCriticalMsg), QStringList());

    host.server.SetDefault([](const auto&) { return test::Answer::Of(404); });
    QCOMPARE(check(host), kNoUpdate);
    const QStringList failures = log.lines(QtCriticalMsg);
    QCOMPARE(failures.size(), 2);
    for (const QString& failure : failures)
        QVERIFY2(failure.endsWith(": error: 0x84000004: Unknown error code"), qPrintable(failure));
}

// A host can't get here: there is no Client without its native one.
void UpdateFeedRequestTest::throwsWithoutANativeClient() {
    const ScriptedHalf host;
    Quillmark::ClientPrivate half(Quillmark::Client::create(QCoreApplication::instance(), {}), {});
    QVERIFY_THROWS_EXCEPTION(std::bad_alloc, (void)half.checkForUpdates("Harbour", "Home", "1.0"));
}

QTEST_GUILESS_MAIN(UpdateFeedRequestTest)
#include "UpdateFeedRequestTest.moc"
