// Texts that no host should give to update checks and customer requests: each call is answered once, and the
// client works on.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>
#include <functional>
#include <optional>

#include "tests/facade/HostFixture.h"
#include "tests/facade/HostileTexts.h"
#include "tests/facade/LogCapture.h"
#include "tests/support/TransportFacts.h"

using namespace test_support;

namespace {

const QUuid kRequestId("{5f0c6a2e-1111-4222-8333-944455556666}");

}  // namespace

class HostileRequestsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { log_.reset(); }
    void answersAnUpdateCheckOnce_data();
    void answersAnUpdateCheckOnce();
    void answersACustomerRequestOnce_data();
    void answersACustomerRequestOnce();

private:
    std::optional<LogCapture> log_;  // the long texts stand in the log too
    HostFixture host_;
};

void HostileRequestsTest::init() {
    host_.startAnew();
    log_.emplace();
}

void HostileRequestsTest::answersAnUpdateCheckOnce_data() {
    using Call = std::function<void(Quillmark::Client&, const QString& text)>;
    QTest::addColumn<Call>("call");
    QTest::addColumn<QString>("text");
    const struct {
        const char* name;
        Call call;
    } calls[] = {
        {"feed",
         [](auto& client, const auto& text) {
             client.startCheckForUpdates(text, "Home", "9.0");
             (void)client.getLinuxREDownloadUrl(text, "Home", "9.0");
         }},
        {"variant",
         [](auto& client, const auto& text) {
             client.startCheckForUpdates("Harbour", text, "9.0");
             (void)client.getLinuxREDownloadUrl("Harbour", text, "9.0");
         }},
        {"version, a number in front",
         [](auto& client, const auto& text) {
             client.startCheckForUpdates("Harbour", "Home", "9." + text);
             (void)client.getLinuxREDownloadUrl("Harbour", "Home", "9." + text);
         }},
    };
    const int longest = test::TakesLongUrls() ? kLarge : 1 << 15;
    for (const auto& call : calls)
        for (const HostileText& row : hostileTexts(longest))
            QTest::addRow("%s: %s", call.name, row.name) << call.call << row.text;
}

// Each of them finds nothing: there is no such feed, or nothing newer in it.
void HostileRequestsTest::answersAnUpdateCheckOnce() {
    using Call = std::function<void(Quillmark::Client&, const QString& text)>;
    QFETCH(Call, call);
    QFETCH(QString, text);
    const QString line = host_.answerTo([&] { call(*host_.client, text); });
    QVERIFY2(line.startsWith("checkForUpdateFailed 0x8") && !line.contains(", "), qPrintable(line.left(200)));
}

void HostileRequestsTest::answersACustomerRequestOnce_data() {
    using Call = std::function<void(Quillmark::Client&, const QString& text)>;
    QTest::addColumn<Call>("call");
    QTest::addColumn<QString>("text");
    const struct {
        const char* name;
        Call call;
    } calls[] = {
        {"e-mail address",
         [](auto& client, const auto& text) {
             client.startCreateCustomerRequest(kRequestId, text, "t", "d", {});
         }},
        {"title",
         [](auto& client, const auto& text) {
             client.startCreateCustomerRequest(kRequestId, "e", text, "d", {});
         }},
        {"description",
         [](auto& client, const auto& text) {
             client.startCreateCustomerRequest(kRequestId, "e", "t", text, {});
         }},
        {"key of a parameter",
         [](auto& client, const auto& text) {
             client.startCreateCustomerRequest(kRequestId, "e", "t", "d", {{text, "1"}});
         }},
        {"value of a parameter",
         [](auto& client, const auto& text) {
             client.startCreateCustomerRequest(kRequestId, "e", "t", "d", {{"a", text}});
         }},
    };
    for (const auto& call : calls)
        for (const HostileText& row : hostileTexts())
            QTest::addRow("%s: %s", call.name, row.name) << call.call << row.text;
}

// A text may be refused, by the library when it is empty or by the service when it is no JSON, or be filed.
void HostileRequestsTest::answersACustomerRequestOnce() {
    using Call = std::function<void(Quillmark::Client&, const QString& text)>;
    QFETCH(Call, call);
    QFETCH(QString, text);
    const QString line = host_.answerTo([&] { call(*host_.client, text); });
    const QString id = "{5f0c6a2e-1111-4222-8333-944455556666}";
    QVERIFY2(line == "customerRequestCreated " + id + " T-500001" ||
                 line.startsWith("createCustomerRequestFailed " + id + " 0x8"),
             qPrintable(line.left(200)));
    QVERIFY2(!line.contains(", "), qPrintable(line.right(200)));
    const QString second =
        host_.answerTo([this] { host_.client->startCreateCustomerRequest(kRequestId, "a", "b", "c", {}); });
    QVERIFY2(second.startsWith("customerRequestCreated " + id + " T-50000"), qPrintable(second));
}

QTEST_GUILESS_MAIN(HostileRequestsTest)
#include "HostileRequestsTest.moc"
