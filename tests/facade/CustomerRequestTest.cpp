// Customer requests against the account service: what is filed, and which signal answers with whose
// identifier.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>

#include "tests/facade/HostFixture.h"
#include "tests/support/TransportFacts.h"

using namespace test_support;

namespace {

using Parameters = QMap<QString, QString>;

const QUuid kId("{5f0c6a2e-1111-4222-8333-944455556666}");
const QUuid kOtherId("{0a0b0c0d-0000-0000-0000-00000000000f}");
const QString kFirst = "customerRequestCreated {5f0c6a2e-1111-4222-8333-944455556666} T-500001";
const QString kSecond = "customerRequestCreated {5f0c6a2e-1111-4222-8333-944455556666} T-500002";
const QString kUnnumbered = "customerRequestCreated {5f0c6a2e-1111-4222-8333-944455556666} ";
const QString kFailed = "createCustomerRequestFailed {5f0c6a2e-1111-4222-8333-944455556666} ";
const QString kRefused = kFailed + "0x80000001 Internal program error";
const QString kInvalidArguments = kFailed + "0x80000002 Invalid parameters.";
const QString kNetworkFailed = kFailed + "0x80000006 Problems sending network requests";

struct Content {
    QString email;
    QString title;
    QString description;
    Parameters parameters;
};

const Content kPlain = {"ada@example.test", "It hangs", "Since Monday.", {{"a", "1"}, {"b", "2"}}};

QString withZero(const char* front, const char* behind) {
    return QString(front) + QChar(0) + behind;
}

}  // namespace

class CustomerRequestTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }
    void filesWhatTheHostSays_data();
    void filesWhatTheHostSays();
    void filesTheParametersInTheOrderOfTheirKeys();
    void givesTheIdentifierBack_data();
    void givesTheIdentifierBack();
    void keepsTheNumberOfARepeatedRequest();
    void filesAnotherContentAnew_data();
    void filesAnotherContentAnew();
    void refusesMissingTexts_data();
    void refusesMissingTexts();
    void failsOnAnyStatusBut200_data();
    void failsOnAnyStatusBut200();
    void readsTheNumber_data();
    void readsTheNumber();
    void failsOnABrokenConnection_data();
    void failsOnABrokenConnection();
    void filesOnceWhenTheAnswerIsLost();
    void waitsForASlowTicket();
    void givesASlowTicketUp();
    void doesNotRenewTheSignIn();
    void answersEachOfSeveral();

private:
    [[nodiscard]] QString file(const Content& content, const QUuid& id = kId);

    HostFixture host_;
};

Q_DECLARE_METATYPE(Content)

QString CustomerRequestTest::file(const Content& content, const QUuid& id) {
    return host_.answerTo([&] {
        host_.client->startCreateCustomerRequest(id, content.email, content.title, content.description,
                                                 content.parameters);
    });
}

// What the service has heard, a name and a value behind one another for the parameters.
void CustomerRequestTest::filesWhatTheHostSays_data() {
    QTest::addColumn<Content>("content");
    QTest::addColumn<QStringList>("filed");
    const auto row = [](const char* name, const Content& content, const QStringList& filed) {
        QTest::newRow(name) << content << filed;
    };
    row("three texts", {"a@example.test", "title", "description", {}},
        {"a@example.test", "title", "description"});
    row("parameters", kPlain, {"ada@example.test", "It hangs", "Since Monday.", "a", "1", "b", "2"});
    row("no ASCII", {"ä@example.test", "größer", "箱 😀", {{"ключ", "значение"}}},
        {"ä@example.test", "größer", "箱 😀", "ключ", "значение"});
    row("quotes, escapes and lines", {"\"a\"@x", "\\/\b\f\t", "one\r\ntwo\n", {{"\"", "\x7f"}}},
        {"\"a\"@x", "\\/\b\f\t", "one\r\ntwo\n", "\"", "\x7f"});
    row("the separators of the key's text", {"a|b", "c|d", "e=f", {{"g|", "=h"}}},
        {"a|b", "c|d", "e=f", "g|", "=h"});
    row("blanks", {" ", "  ", "\n", {{" ", " "}}}, {" ", "  ", "\n", " ", " "});
    row("a parameter without a value", {"a", "b", "c", {{"key", ""}}}, {"a", "b", "c", "key", ""});
    row("zeros cut",
        {withZero("a", "x"),
         withZero("b", "x"),
         withZero("c", "x"),
         {{withZero("d", "x"), withZero("e", "x")}}},
        {"a", "b", "c", "d", "e"});
}

void CustomerRequestTest::filesWhatTheHostSays() {
    QFETCH(Content, content);
    QCOMPARE(file(content), kFirst);
    const auto tickets = host_.service.service().tickets();
    QCOMPARE(tickets.size(), std::size_t{1});
    const auto& ticket = tickets.front();
    QStringList filed;
    for (const auto& text : {ticket.email, ticket.title, ticket.description})
        filed << QString::fromStdString(text);
    for (const auto& [name, value] : ticket.parameters)
        filed << QString::fromStdString(name) << QString::fromStdString(value);
    QTEST(filed, "filed");
    QCOMPARE(ticket.requests, std::int64_t{1});
}

void CustomerRequestTest::filesTheParametersInTheOrderOfTheirKeys() {
    Parameters parameters;
    for (const char* key : {"ä", "b", "B", "a10", "a", "a9", "10", "9", "~", " "})
        parameters.insert(QString::fromUtf8(key), "of " + QString::fromUtf8(key));
    QCOMPARE(file({"e", "t", "d", parameters}), kFirst);
    QStringList keys;
    const auto tickets = host_.service.service().tickets();
    for (const auto& [name, value] : tickets.front().parameters) {
        keys << QString::fromStdString(name);
        QCOMPARE(QString::fromStdString(value), "of " + keys.last());
    }
    QCOMPARE(keys, (QStringList{" ", "10", "9", "B", "a", "a10", "a9", "b", "~", QString::fromUtf8("ä")}));
}

void CustomerRequestTest::givesTheIdentifierBack_data() {
    QTest::addColumn<QUuid>("id");
    QTest::addColumn<QString>("text");
    QTest::newRow("any") << kOtherId << "{0a0b0c0d-0000-0000-0000-00000000000f}";
    QTest::newRow("null") << QUuid() << "{00000000-0000-0000-0000-000000000000}";
    QTest::newRow("all ones") << QUuid("{ffffffff-ffff-ffff-ffff-ffffffffffff}")
                              << "{ffffffff-ffff-ffff-ffff-ffffffffffff}";
}

void CustomerRequestTest::givesTheIdentifierBack() {
    QFETCH(QUuid, id);
    QFETCH(QString, text);
    QCOMPARE(file(kPlain, id), "customerRequestCreated " + text + " T-500001");
    QCOMPARE(file({}, id), "createCustomerRequestFailed " + text + " 0x80000002 Invalid parameters.");
    host_.cut(kTicketPath);
    QCOMPARE(file(kPlain, id),
             "createCustomerRequestFailed " + text + " 0x80000006 Problems sending network requests");
}

// The identifier is the host's alone; the content tells the service what is the same.
void CustomerRequestTest::keepsTheNumberOfARepeatedRequest() {
    QCOMPARE(file(kPlain), kFirst);
    QCOMPARE(file(kPlain), kFirst);
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    QCOMPARE(file(kPlain, kOtherId),
             QString("customerRequestCreated {0a0b0c0d-0000-0000-0000-00000000000f} T-500001"));
    const auto tickets = host_.service.service().tickets();
    QCOMPARE(tickets.size(), std::size_t{1});
    QCOMPARE(tickets.front().requests, std::int64_t{3});
}

void CustomerRequestTest::filesAnotherContentAnew_data() {
    QTest::addColumn<Content>("other");
    const auto row = [](const char* name, auto change) {
        Content other = kPlain;
        change(other);
        QTest::newRow(name) << other;
    };
    row("e-mail address", [](Content& other) { other.email = "eve@example.test"; });
    row("title", [](Content& other) { other.title = "It Hangs"; });
    row("description", [](Content& other) { other.description += " "; });
    row("no parameters", [](Content& other) { other.parameters.clear(); });
    row("one parameter more", [](Content& other) { other.parameters.insert("c", ""); });
    row("key of a parameter", [](Content& other) { other.parameters = {{"A", "1"}, {"b", "2"}}; });
    row("value of a parameter", [](Content& other) { other.parameters.insert("a", "2"); });
}

void CustomerRequestTest::filesAnotherContentAnew() {
    QFETCH(Content, other);
    QCOMPARE(file(kPlain), kFirst);
    QCOMPARE(file(other), kSecond);
    QCOMPARE(file(kPlain), kFirst);
    QCOMPARE(file(other), kSecond);
}

void CustomerRequestTest::refusesMissingTexts_data() {
    QTest::addColumn<Content>("content");
    const auto row = [](const char* name, const QString& email, const QString& title,
                        const QString& description) {
        QTest::newRow(name) << Content{email, title, description, {{"a", "1"}}};
    };
    row("null e-mail address", {}, "b", "c");
    row("empty e-mail address", "", "b", "c");
    row("empty title", "a", "", "c");
    row("empty description", "a", "b", "");
    row("all empty", "", "", "");
    row("a zero is an empty e-mail address", withZero("", "a"), "b", "c");
    row("a zero is an empty title", "a", withZero("", "b"), "c");
    row("a zero is an empty description", "a", "b", withZero("", "c"));
}

void CustomerRequestTest::refusesMissingTexts() {
    QFETCH(Content, content);
    QCOMPARE(file(content), kInvalidArguments);
    QCOMPARE(host_.service.exchanges().size(), std::size_t{0});
}

void CustomerRequestTest::failsOnAnyStatusBut200_data() {
    QTest::addColumn<int>("status");
    for (const int status : {201, 202, 204, 304, 400, 401, 403, 404, 409, 415, 429, 500, 503})
        QTest::addRow("%d", status) << status;
}

// Whatever the body; a 409 that names no time to wait is one of them.
void CustomerRequestTest::failsOnAnyStatusBut200() {
    QFETCH(int, status);
    const bool hasBody = status != 204 && status != 304;
    host_.answerWith(kTicketPath, status,
                     hasBody ? R"({"status":"401","errorCode":"ACCOUNT_BLOCKED","attributeValues":[]})" : "");
    QCOMPARE(file(kPlain), kRefused);
    QCOMPARE(host_.service.exchanges().size(), std::size_t{1});
    QCOMPARE(file(kPlain), kFirst);
}

void CustomerRequestTest::readsTheNumber_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("number");
    const auto row = [](const char* name, const QByteArray& body, const char* number) {
        QTest::newRow(name) << body << QString::fromUtf8(number);
    };
    const auto record = [](const QByteArray& attributes) {
        return R"({"id":"1","entityTypeKey":"t","attributeValues":[)" + attributes + "]}";
    };
    const auto attribute = [](const QByteArray& key, const QByteArray& locales) {
        return R"({"attributeKey":")" + key + R"(","valueLocales":[)" + locales + "]}";
    };
    const QByteArray key = "CUSTOMER_TICKET_NUMBER";
    row("a number", record(attribute(key, R"({"value":"T-1"})")), "T-1");
    row("small letters", record(attribute("customer_ticket_number", R"({"value":"T-1"})")), "T-1");
    row("behind another",
        record(attribute("A", R"({"value":"x"})") + "," + attribute(key, R"({"value":"T-1"})")), "T-1");
    row("the first locale", record(attribute(key, R"({"value":"T-1"},{"value":"T-2"})")), "T-1");
    row("the first of two",
        record(attribute(key, R"({"value":"T-1"})") + "," + attribute(key, R"({"value":"T-2"})")), "T-1");
    row("the first of two is empty",
        record(attribute(key, R"({"value":""})") + "," + attribute(key, R"({"value":"T-2"})")), "");
    row("no ASCII", record(attribute(key, R"({"value":"№ 7 – ä"})")), "№ 7 – ä");
    row("markup", record(attribute(key, R"({"value":"<b>%1 %s</b>"})")), "<b>%1 %s</b>");
    row("no locale", record(attribute(key, "")), "");
    row("no attribute", record(""), "");
    row("another attribute", record(attribute("TICKET_NUMBER", R"({"value":"T-1"})")), "");
    row("a record without an identifier",
        R"({"entityTypeKey":"t","attributeValues":[)" + attribute(key, R"({"value":"T-1"})") + "]}", "");
    row("a record without a type",
        R"({"id":"1","attributeValues":[)" + attribute(key, R"({"value":"T-1"})") + "]}", "");
    row("an empty object", "{}", "");
    row("nothing", "", "");
    row("a page", "<html><body>It works!</body></html>", "");
    row("cut in the number",
        R"({"id":"1","entityTypeKey":"t","attributeValues":[{"attributeKey":"CUSTOMER_TICKET_NUMBER",)"
        R"("valueLocales":[{"value":"T-)",
        "");
    row("a million open lists", QByteArray("[").repeated(1 << 20), "");
}

void CustomerRequestTest::readsTheNumber() {
    QFETCH(QByteArray, body);
    QFETCH(QString, number);
    host_.answerWith(kTicketPath, 200, body.toStdString());
    QCOMPARE(file(kPlain), kUnnumbered + number);
}

void CustomerRequestTest::failsOnABrokenConnection_data() {
    QTest::addColumn<sandbox::FaultKind>("kind");
    QTest::newRow("cut") << sandbox::FaultKind::cut;
    QTest::newRow("half an answer") << sandbox::FaultKind::half;
}

void CustomerRequestTest::failsOnABrokenConnection() {
    QFETCH(sandbox::FaultKind, kind);
    sandbox::Fault fault;
    fault.kind = kind;
    fault.path = kTicketPath;
    host_.service.faults().add(fault);
    // Half a record that comes through has no number that can be read; the service has filed it.
    const bool comesThrough = kind == sandbox::FaultKind::half && !test::NoticesCutAnswers();
    QCOMPARE(file(kPlain), comesThrough ? kUnnumbered : kNetworkFailed);
    QCOMPARE(host_.exchangesOf(kTicketPath), 1);
    QCOMPARE(file(kPlain), kFirst);
    QCOMPARE(host_.service.service().tickets().size(), std::size_t{1});
}

void CustomerRequestTest::filesOnceWhenTheAnswerIsLost() {
    sandbox::Fault fault;
    fault.kind = sandbox::FaultKind::lost;
    fault.path = kTicketPath;
    host_.service.faults().add(fault);
    QCOMPARE(file(kPlain), kNetworkFailed);
    QCOMPARE(file(kPlain), kFirst);
    const auto tickets = host_.service.service().tickets();
    QCOMPARE(tickets.size(), std::size_t{1});
    QCOMPARE(tickets.front().requests, std::int64_t{2});
}

// The waits are the library's own, a second each.
void CustomerRequestTest::waitsForASlowTicket() {
    host_.service.service().setTicketRule({.busyAnswers = 2});
    QCOMPARE(file(kPlain), kFirst);
    QCOMPARE(host_.exchangesOf(kTicketPath), 3);
    const auto tickets = host_.service.service().tickets();
    QCOMPARE(tickets.size(), std::size_t{1});
    QCOMPARE(tickets.front().requests, std::int64_t{3});
}

void CustomerRequestTest::givesASlowTicketUp() {
    host_.service.service().setTicketRule({.busyAnswers = 5});
    QCOMPARE(file(kPlain), kNetworkFailed);
    QCOMPARE(host_.exchangesOf(kTicketPath), 5);
    QCOMPARE(file(kPlain), kFirst);  // it was the same request all the time
    QCOMPARE(host_.service.service().tickets().size(), std::size_t{1});
}

void CustomerRequestTest::doesNotRenewTheSignIn() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    const QByteArray token = host_.client->getAccessTokenBytes();
    host_.service.service().expireTokens();
    host_.service.forgetExchanges();
    host_.answerWith(kTicketPath, 401, "");
    QCOMPARE(file(kPlain), kRefused);
    QCOMPARE(file(kPlain), kFirst);
    QCOMPARE(host_.exchangesOf(kTicketPath), 2);
    QCOMPARE(host_.service.exchanges().size(), std::size_t{2});
    QVERIFY(host_.client->getIsSignedIn());
    QCOMPARE(host_.client->getAccessTokenBytes(), token);
}

void CustomerRequestTest::answersEachOfSeveral() {
    constexpr int kCalls = 6;
    QSignalSpy recorded(&host_.recorder, &SignalRecorder::recorded);
    QMap<QString, QUuid> ids;  // by title
    for (int call = 0; call < kCalls; ++call) {
        const QString title = call == 0 ? QString() : QString("title %1").arg(call);
        ids[title] = QUuid::createUuid();
        host_.client->startCreateCustomerRequest(ids[title], "e", title, "d", {});
    }
    while (recorded.size() < kCalls)
        QVERIFY(recorded.wait(60'000));
    QCoreApplication::processEvents();

    QStringList expected{"createCustomerRequestFailed " + ids[QString()].toString() +
                         " 0x80000002 Invalid parameters."};
    for (const auto& ticket : host_.service.service().tickets())
        expected << "customerRequestCreated " + ids[QString::fromStdString(ticket.title)].toString() + ' ' +
                        QString::fromStdString(ticket.number);
    expected.sort();
    host_.recorder.lines.sort();
    QCOMPARE(expected.size(), kCalls);
    QCOMPARE(host_.recorder.lines, expected);
}

QTEST_GUILESS_MAIN(CustomerRequestTest)
#include "CustomerRequestTest.moc"
