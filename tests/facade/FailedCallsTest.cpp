// What the facade makes of a native call that fails for want of memory.
#include <QtTest/QtTest>
#include <cstddef>
#include <cstdint>
#include <string>

#include "facade/src/ClientPrivate.h"
#include "tests/facade/HostFixture.h"
#include "tests/facade/LogCapture.h"
#include "tests/support/AllocationFailure.h"

using Quillmark::ClientPrivate;
using namespace test_support;

namespace {

const std::string kFeed =
    "<rss><channel><item><title>9.0</title><category>Windows</category><category>x64</category>"
    "<enclosure url=\"https://a.test/9\"/><content:encoded>x</content:encoded></item></channel></rss>";

}  // namespace

class FailedCallsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keepsTheCachedTokenWhenLoadingFails();
    void givesAnEmptyText();
    void givesNoAddressOrTheRightOne();

private:
    // On the calling thread; 0 if it failed.
    [[nodiscard]] std::size_t allocationsOfAnUpdateCheck();

    HostFixture host_;
};

void FailedCallsTest::keepsTheCachedTokenWhenLoadingFails() {
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    const QByteArray before = host_.client->getAccessTokenBytes();
    QVERIFY(!before.isEmpty());
    auto* half = qobject_cast<ClientPrivate*>(host_.client->children().first());
    bool hasFailed = false;
    {
        const test::FailingAllocation failing(1);
        half->loadAccessToken();
        hasFailed = failing.HasFailed();
    }
    QVERIFY(hasFailed);
    QCOMPARE(host_.client->getAccessTokenBytes(), before);
}

void FailedCallsTest::givesAnEmptyText() {
    const auto whileMemoryFails = [](auto call) {
        const test::FailingAllocation failing(1);
        return call();
    };
    QCOMPARE(whileMemoryFails([this] { return host_.client->getBasicEndpoint(); }), QString());
    QCOMPARE(whileMemoryFails([this] { return host_.client->getPCGuid(); }), QString());
    QVERIFY(!host_.client->getBasicEndpoint().isEmpty());
    QVERIFY(!host_.client->getPCGuid().isEmpty());
}

// Each allocation of the native call; what Qt needs behind it isn't the library's. A failure that only costs
// a line of the log leaves the address. The texts are short, so that none of them needs memory in front of
// the call.
void FailedCallsTest::givesNoAddressOrTheRightOne() {
    constexpr std::uint32_t kMany = 100'000;
    host_.startAnew();
    host_.answerWith(kFeedPath, 200, kFeed, kMany);
    const LogCapture log;
    const std::size_t allocations = allocationsOfAnUpdateCheck();
    const QUrl newest("https://a.test/9");
    const QString feedName("Harbour");
    const QString feedVariant("Home");
    const QString version("1.0");
    QCOMPARE(host_.client->getLinuxREDownloadUrl(feedName, feedVariant, version), newest);
    int failures = 0;
    for (std::size_t nth = 1; nth <= allocations; ++nth) {
        QUrl given;
        bool hasFailed = false;
        {
            const test::FailingAllocation failing(nth);
            given = host_.client->getLinuxREDownloadUrl(feedName, feedVariant, version);
            hasFailed = failing.HasFailed();
        }
        QVERIFY(hasFailed);
        QVERIFY2(given.isEmpty() || given == newest, qPrintable(given.toString()));
        failures += given.isEmpty() ? 1 : 0;
    }
    QVERIFY(failures > 0);
    QCOMPARE(host_.recorder.lines, QStringList());
}

std::size_t FailedCallsTest::allocationsOfAnUpdateCheck() {
    auto* half = qobject_cast<ClientPrivate*>(host_.client->children().first());
    const std::string feedName = "Harbour";
    const std::string feedVariant = "Home";
    const std::string version = "1.0";
    const std::string language = "en";
    quillmarkclient::ProductUpdateInfoValue info;
    const test::AllocationCount count;
    if (!IsSuccess(half->native().GetProductUpdateInfo(feedName, feedVariant, version, language, info)))
        return 0;
    return count.Blocks();
}

QTEST_GUILESS_MAIN(FailedCallsTest)
#include "FailedCallsTest.moc"
