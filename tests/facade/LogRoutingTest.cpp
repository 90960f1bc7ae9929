#include "facade/src/LogRouting.h"

#include <QtTest/QtTest>
#include <optional>

#include "core/src/QuillmarkClient.h"
#include "core/src/system/LogOutlets.h"
#include "tests/facade/LogCapture.h"

class LogRoutingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { log_.emplace(); }
    void cleanup() { log_.reset(); }
    void formatsAFailure_data();
    void formatsAFailure();
    void writesAFailureAtCriticalLevel();
    void writesATraceAtInfoLevel();
    void formatsATrace_data();
    void formatsATrace();
    void bindsBothOutlets();

private:
    std::optional<test_support::LogCapture> log_;  // of the category "quillmark"
};

void LogRoutingTest::formatsAFailure_data() {
    QTest::addColumn<quint32>("code");
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<quint32>("line");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, quint32 code, const char* message, const char* path, quint32 line,
                        const char* expected) {
        QTest::newRow(name) << code << QByteArray(message) << QByteArray(path) << line
                            << QString::fromUtf8(expected);
    };
    row("forward slashes stay", 0x82000006, "Wrong", "core/src/client/Client", 12,
        "Source: core/src/client/Client(12): error: 0x82000006: Wrong");
    row("cut after the last backslash", 0x82000006, "Wrong", "C:\\build\\core\\Client.cpp", 12,
        "Source: Client.cpp(12): error: 0x82000006: Wrong");
    row("slashes behind a backslash stay", 0x82000006, "Wrong", "C:\\build/core/Client", 12,
        "Source: build/core/Client(12): error: 0x82000006: Wrong");
    row("a backslash at the end leaves nothing", 1, "m", "core\\", 1, "Source: (1): error: 0x1: m");
    row("hexadecimal in lower case", 0x8000000B, "m", "f", 1, "Source: f(1): error: 0x8000000b: m");
    row("hexadecimal without padding", 0xAB, "m", "f", 1, "Source: f(1): error: 0xab: m");
    row("code 0", 0, "", "f", 0, "Source: f(0): error: 0x0: ");
    row("the largest line in decimal", 1, "m", "f", 4294967295, "Source: f(4294967295): error: 0x1: m");
    row("a message with places of arg", 1, "%1 %2 %4 %n %s", "f", 1,
        "Source: f(1): error: 0x1: %1 %2 %4 %n %s");
    row("a path with places of arg", 1, "m", "%4/%1", 7, "Source: %4/%1(7): error: 0x1: m");
    row("UTF-8", 1, "Söhne", "Kiste/箱", 1, "Source: Kiste/箱(1): error: 0x1: Söhne");
}

void LogRoutingTest::formatsAFailure() {
    QFETCH(quint32, code);
    QFETCH(QByteArray, message);
    QFETCH(QByteArray, path);
    QFETCH(quint32, line);
    QTEST(Quillmark::errorLine(code, message.constData(), path.constData(), line), "expected");
}

void LogRoutingTest::writesAFailureAtCriticalLevel() {
    Quillmark::writeError(0x80000002, "a \"quoted\" %1\nmessage ", "core/src/quillmarkclient", 3);
    QCOMPARE(log_->lines().size(), 1);
    QCOMPARE(
        log_->lines(QtCriticalMsg),
        QStringList("Source: core/src/quillmarkclient(3): error: 0x80000002: a \"quoted\" %1\nmessage "));
}

void LogRoutingTest::writesATraceAtInfoLevel() {
    Quillmark::writeTrace("%s: attempt %d", "SendRequest", 2);
    QCOMPARE(log_->lines().size(), 1);
    QCOMPARE(log_->lines(QtInfoMsg), QStringList("SendRequest: attempt 2"));
}

void LogRoutingTest::formatsATrace_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("places of arg") << QByteArray("%1 %2");
    QTest::newRow("places of printf") << QByteArray("100%s %n %d");
    QTest::newRow("quotes, line breaks, blanks at both ends") << QByteArray("  \"a\"\r\n\t\\ ");
    QTest::newRow("UTF-8") << QByteArray("Söhne 箱");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("a megabyte") << QByteArray(1 << 20, 'x');
}

void LogRoutingTest::formatsATrace() {
    QFETCH(QByteArray, text);
    Quillmark::writeTrace("%s", text.constData());
    QCOMPARE(log_->lines(QtInfoMsg), QStringList(QString::fromUtf8(text)));
}

void LogRoutingTest::bindsBothOutlets() {
    Quillmark::installLogHooks();
    QVERIFY(quillmarkclient_core::ProcessLogOutlets().trace == &Quillmark::writeTrace);
    QVERIFY(quillmarkclient_core::ProcessLogOutlets().error == &Quillmark::writeError);
    // A client that can't start reports why.
    quillmarkclient::QuillmarkClient client;
    QVERIFY(!IsSuccess(client.Init("", "")));
    const auto lines = log_->lines();
    QVERIFY(!lines.isEmpty());
    QCOMPARE(lines.at(0).type, QtCriticalMsg);
    QVERIFY2(lines.at(0).text.contains("error: 0x80000002: Invalid parameters."),
             qPrintable(lines.at(0).text));
}

QTEST_GUILESS_MAIN(LogRoutingTest)
#include "LogRoutingTest.moc"
