// A call on a thread that runs no event loop: its work is done, nobody hears of it, and the client works on.
#include <Quillmark/Client.h>

#include <QtCore/QThreadPool>
#include <QtTest/QtTest>
#include <atomic>
#include <functional>
#include <utility>

#include "tests/facade/HostFixture.h"

using Quillmark::Client;
using namespace test_support;

namespace {

using Call = std::function<void(Client&)>;

// Runs the call alone at its first start; at the second an event loop, which delivers what was left and so
// frees it.
class ThreadWithoutLoop : public QThread {
public:
    explicit ThreadWithoutLoop(std::function<void()> call) : call_(std::move(call)) {}
    ~ThreadWithoutLoop() override {
        quit();
        wait();
    }

    // Whether the call has returned and the thread is gone.
    [[nodiscard]] bool hasEnded() { return wait(60'000) && hasCalled_; }

private:
    void run() override {
        if (!hasCalled_) {
            call_();
            hasCalled_ = true;
        } else {
            exec();
        }
    }

    const std::function<void()> call_;
    std::atomic<bool> hasCalled_ = false;
};

}  // namespace

class LoopTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { host_.startAnew(); }
    void hearsNothingOfACallWithoutALoop_data();
    void hearsNothingOfACallWithoutALoop();

private:
    [[nodiscard]] bool allTasksEnd();

    HostFixture host_;
};

bool LoopTest::allTasksEnd() {
    auto* pool = host_.client->findChild<QThreadPool*>();
    return pool != nullptr && pool->waitForDone(60'000);
}

void LoopTest::hearsNothingOfACallWithoutALoop_data() {
    QTest::addColumn<Call>("call");
    QTest::addColumn<bool>("waits");
    QTest::addColumn<QString>("late");  // what its loop delivers at last
    const QString login = host_.loginOf("plain");
    const QString password = QString::fromStdString(host_.service.account("plain").password);
    const struct {
        const char* name;
        Call call;
        const char* late;
    } rows[] = {
        {"startSignIn", [=](Client& client) { client.startSignIn(login, password); },
         "signInSucceeded anna.plain@example.test"},
        {"startConfirmSecondFactor",
         [](Client& client) { client.startConfirmSecondFactor("tom", "challenge", "123456"); },
         "signInFailed tom 0x8200000e Not found"},
        {"startSignInToContext",
         [](Client& client) {
             client.startSignInToContext("eve", Quillmark::SignIn::ContextType::Personal, {});
         },
         "signInSucceeded eve"},
        {"startOAuthSignIn", [](Client& client) { client.startOAuthSignIn("unknown", "SIGN_IN"); },
         "signInFailed  0x82000002 Authorization is denied"},
        {"startFetchExternalOauthProviders",
         [](Client& client) { client.startFetchExternalOauthProviders(); },
         "externalOauthProvidersFetched glowpass maple-id"},
        {"startGetUserInfo", [](Client& client) { client.startGetUserInfo(); }, "userInfoFetched"},
        {"startCheckForUpdates",
         [](Client& client) { client.startCheckForUpdates("Harbour", "Home", "8.4.2"); },
         "checkForUpdateFailed 0x84000004 Unknown error code"},
        {"startCreateCustomerRequest",
         [](Client& client) { client.startCreateCustomerRequest({}, "e", "t", "d", {}); },
         "customerRequestCreated {00000000-0000-0000-0000-000000000000} T-500001"},
    };
    for (const auto& row : rows) {
        QTest::addRow("%s, the thread ends at once", row.name) << row.call << false << QString(row.late);
        QTest::addRow("%s, the thread outlives the task", row.name) << row.call << true << QString(row.late);
    }
}

void LoopTest::hearsNothingOfACallWithoutALoop() {
    QFETCH(Call, call);
    QFETCH(bool, waits);
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    host_.service.forgetExchanges();
    host_.recorder.lines.clear();
    bool haveTasksEnded = !waits;
    ThreadWithoutLoop thread([&] {
        call(*host_.client);
        if (waits)
            haveTasksEnded = allTasksEnd();
    });
    thread.start();
    QVERIFY(thread.hasEnded());
    QVERIFY(haveTasksEnded && allTasksEnd());
    QCoreApplication::processEvents();
    QCOMPARE(host_.recorder.lines, QStringList());
    QVERIFY(!host_.service.exchanges().empty());  // the work was done all the same

    QCOMPARE(host_.fetchProviders(), QString("externalOauthProvidersFetched glowpass maple-id"));
    QCOMPARE(host_.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));

    QTEST(host_.answerTo([&] { thread.start(); }), "late");
}

QTEST_GUILESS_MAIN(LoopTest)
#include "LoopTest.moc"
