// The bytes of a customer request, and the key by which the service knows a repeated one.
#include <Quillmark/Client.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtTest/QtTest>
#include <new>

#include "tests/facade/LogCapture.h"
#include "tests/facade/ScriptedHalf.h"
#include "tests/support/TransportFacts.h"

using namespace test_support;

namespace {

using Parameters = QMap<QString, QString>;

const QUuid kId("{5f0c6a2e-1111-4222-8333-944455556666}");
const QString kCreated = "customerRequestCreated {5f0c6a2e-1111-4222-8333-944455556666} T-1";
const std::string kRecord =
    R"({"id":"1","entityTypeKey":"t","attributeValues":[{"attributeKey":"CUSTOMER_TICKET_NUMBER",)"
    R"("valueLocales":[{"value":"T-1"}]}]})";

const std::string kPlainBody = R"({"email":"a@example.test","title":"title","description":"description"})";

QString withZero(const char* front, const char* behind) {
    return QString(front) + QChar(0) + behind;
}

QString file(ScriptedHalf& host, const Parameters& parameters = {}, const QString& title = "title") {
    return host.answerTo([&] {
        host.half.startCreateCustomerRequest(kId, "a@example.test", title, "description", parameters);
    });
}

}  // namespace

class TicketRequestTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void sendsTheseHeaders_data();
    void sendsTheseHeaders();
    void sendsThisBody_data();
    void sendsThisBody();
    void sendsTheSameKeyForTheSameContent();
    void makesTheKeyOfTheWholeContent_data();
    void makesTheKeyOfTheWholeContent();
    void sendsTheSameRequestAgain();
    void logsTheRequest();
    void throwsWithoutANativeClient();
};

void TicketRequestTest::sendsTheseHeaders_data() {
    QTest::addColumn<bool>("isSignedIn");
    QTest::newRow("nobody signed in") << false;
    QTest::newRow("somebody signed in, and no token goes out") << true;
}

void TicketRequestTest::sendsTheseHeaders() {
    QFETCH(bool, isSignedIn);
    ScriptedHalf host;
    if (isSignedIn)
        host.signIn("h.e30=.s", true);
    host.server.Enqueue(test::Answer::Of(200, {}, kRecord));
    QCOMPARE(file(host), kCreated);
    const auto requests = host.requests();
    QCOMPARE(requests.size(), std::size_t{1});
    const auto& request = requests.front();
    const std::string key = request.Header("Idempotency-Key");
    const std::string head = test::HeadOnTheWire("POST /api/quillmark/CUSTOMER_TICKET_REGISTRATION HTTP/1.1",
                                                 {{"Accept", "application/json"},
                                                  {"Cache-Control", "no-cache"},
                                                  {"Content-Type", "application/json;charset=UTF-8"},
                                                  {"Idempotency-Key", key},
                                                  {"x-vqm-custom", "vqm-client"}},
                                                 host.server.Port(), kPlainBody.size());
    QCOMPARE(QByteArray::fromStdString(request.raw), QByteArray::fromStdString(head + kPlainBody));
    const QRegularExpression guid("^[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$");
    QVERIFY(guid.match(QString::fromStdString(key)).hasMatch());
}

void TicketRequestTest::sendsThisBody_data() {
    QTest::addColumn<Parameters>("parameters");
    QTest::addColumn<QByteArray>("tail");  // behind the three texts
    const auto row = [](const char* name, const Parameters& parameters, const char* tail) {
        QTest::newRow(name) << parameters << QByteArray(tail);
    };
    row("no parameters", {}, "}");
    row("one parameter", {{"a", "1"}}, R"(,"additionalParameters":{"a":"1"}})");
    row("in the order of the keys", {{"b", "2"}, {"a", "1"}, {"C", "3"}},
        R"(,"additionalParameters":{"C":"3","a":"1","b":"2"}})");
    row("numbers stay texts", {{"n", "7"}, {"t", "true"}},
        R"(,"additionalParameters":{"n":"7","t":"true"}})");
    row("an empty value", {{"a", ""}}, R"(,"additionalParameters":{"a":""}})");
    row("a null value", {{"a", QString()}}, R"(,"additionalParameters":{"a":""}})");
    row("quotes", {{"\"", "\\"}}, R"(,"additionalParameters":{"\"":"\\"}})");
    row("no ASCII", {{"ä", "箱"}}, R"(,"additionalParameters":{"ä":"箱"}})");
    row("zeros cut", {{withZero("a", "b"), withZero("1", "2")}}, R"(,"additionalParameters":{"a":"1"}})");
    row("keys that a zero makes equal", {{"a", "1"}, {withZero("a", "b"), "2"}},
        R"(,"additionalParameters":{"a":"1","a":"2"}})");
}

void TicketRequestTest::sendsThisBody() {
    QFETCH(Parameters, parameters);
    QFETCH(QByteArray, tail);
    ScriptedHalf host;
    host.server.Enqueue(test::Answer::Of(200, {}, kRecord));
    QCOMPARE(file(host, parameters), kCreated);
    const QByteArray head = R"({"email":"a@example.test","title":"title","description":"description")";
    QCOMPARE(QByteArray::fromStdString(host.requests().front().body), head + tail);
}

void TicketRequestTest::sendsTheSameKeyForTheSameContent() {
    ScriptedHalf host;
    host.server.SetDefault([](const auto&) { return test::Answer::Of(200, {}, kRecord); });
    QCOMPARE(file(host), kCreated);
    QCOMPARE(file(host), kCreated);
    QCOMPARE(file(host, {}, "another"), kCreated);
    QCOMPARE(file(host), kCreated);
    QStringList keys;
    for (const auto& request : host.requests())
        keys << QString::fromStdString(request.Header("Idempotency-Key"));
    QCOMPARE(keys.size(), 4);
    QCOMPARE(keys[1], keys[0]);
    QVERIFY(keys[2] != keys[0]);
    QCOMPARE(keys[3], keys[0]);
}

// The store remembers a digest of the text that a key is made for.
void TicketRequestTest::makesTheKeyOfTheWholeContent_data() {
    QTest::addColumn<QString>("title");
    QTest::addColumn<Parameters>("parameters");
    QTest::addColumn<QByteArray>("text");
    const auto row = [](const char* name, const QString& title, const Parameters& parameters,
                        const char* text) { QTest::newRow(name) << title << parameters << QByteArray(text); };
    row("no parameters", "title", {}, "CREATE_TICKET|a@example.test|title|description");
    row("parameters", "title", {{"b", "2"}, {"a", "1"}},
        "CREATE_TICKET|a@example.test|title|description|a=1|b=2");
    row("nothing is escaped", "a|b=c", {{"k|", "=v"}},
        "CREATE_TICKET|a@example.test|a|b=c|description|k|==v");
    row("an empty value", "title", {{"a", ""}}, "CREATE_TICKET|a@example.test|title|description|a=");
    row("no ASCII", "größer", {{"箱", "ä"}}, "CREATE_TICKET|a@example.test|größer|description|箱=ä");
}

void TicketRequestTest::makesTheKeyOfTheWholeContent() {
    QFETCH(QString, title);
    QFETCH(Parameters, parameters);
    QFETCH(QByteArray, text);
    ScriptedHalf host;
    host.server.Enqueue(test::Answer::Of(200, {}, kRecord));
    QCOMPARE(file(host, parameters, title), kCreated);
    QFile store(host.storage.filePath("LIC2"));
    QVERIFY(store.open(QIODevice::ReadOnly));
    const QJsonArray entries = QJsonDocument::fromJson(store.readAll()).object().value("entries").toArray();
    QCOMPARE(entries.size(), 1);
    QCOMPARE(entries.first().toObject().value("hash").toString().toLatin1(),
             QCryptographicHash::hash(text, QCryptographicHash::Md5).toHex());
    QCOMPARE(entries.first().toObject().value("key").toString().toStdString(),
             host.requests().front().Header("Idempotency-Key"));
}

void TicketRequestTest::sendsTheSameRequestAgain() {
    ScriptedHalf host;
    host.server.Enqueue(test::Answer::Of(409, {{"retry-after", "0"}}));
    host.server.Enqueue(test::Answer::Of(200, {}, kRecord));
    QCOMPARE(file(host, {{"a", "1"}}), kCreated);
    const auto requests = host.requests();
    QCOMPARE(requests.size(), std::size_t{2});
    QCOMPARE(requests[1].raw, requests[0].raw);
}

// A ticket is no secret; the line is for who looks after the host.
void TicketRequestTest::logsTheRequest() {
    ScriptedHalf host;
    const LogCapture log;
    host.server.Enqueue(test::Answer::Of(200, {}, kRecord));
    QCOMPARE(file(host), kCreated);
    QCOMPARE(log.lines(QtCriticalMsg), QStringList());
    QVERIFY(log.text().contains("\"CreateTicket\" request.:\n\tXmlHttp parameters: \n"));
    QVERIFY(log.text().contains(
        "\tbody: {\"email\":\"a@example.test\",\"title\":\"title\",\"description\":\"description\"}\n"));

    host.server.Enqueue(test::Answer::Of(201));
    QVERIFY(file(host).startsWith("createCustomerRequestFailed"));
    const QStringList failures = log.lines(QtCriticalMsg);
    QVERIFY(!failures.isEmpty());
    for (const QString& failure : failures)
        QVERIFY2(failure.endsWith(": error: 0x80000001: Internal program error"), qPrintable(failure));
}

// A host can't get here: there is no Client without its native one.
void TicketRequestTest::throwsWithoutANativeClient() {
    const ScriptedHalf host;
    Quillmark::ClientPrivate half(Quillmark::Client::create(QCoreApplication::instance(), {}), {});
    QVERIFY_THROWS_EXCEPTION(std::bad_alloc, (void)half.createCustomerRequest(kId, "a", "b", "c", {}));
}

QTEST_GUILESS_MAIN(TicketRequestTest)
#include "TicketRequestTest.moc"
