// How the one Client comes into being, and what its private half is made of. The functions build on each
// other: a process has one Client.
#include "facade/src/ClientPrivate.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>
#include <functional>
#include <new>
#include <stdexcept>

#include "core/src/system/LogOutlets.h"
#include "facade/src/LogRouting.h"
#include "tests/facade/HostFixture.h"
#include "tests/facade/LogCapture.h"
#include "tests/support/AllocationFailure.h"

using Quillmark::Client;
using Quillmark::ClientParams;
using Quillmark::ClientPrivate;

namespace {

void ignoreError(std::uint32_t, const char*, const char*, std::uint32_t) {}

const QUuid kRequestId("{5f0c6a2e-1111-4222-8333-944455556666}");

ClientParams paramsFor(const QTemporaryDir& storage) {
    ClientParams params;
    params.serviceUrl = QUrl("http://127.0.0.1:9");  // nobody is asked: there is no stored sign-in
    params.storagePath = storage.path();
    return params;
}

}  // namespace

class ClientPrivateTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void givesNothingWithoutAnApplication();
    void refusesBadParameters();
    void triesAgainAfterAFailure();
    void givesTheSameClientAgain();
    void isAChildWithoutSignalsAndSlots();
    void runsAtLeastTwoThreads();
    void writesNoFileByItself();
    void takesAMissingSenderAsAnEmptyResult();
    void refusesToWorkWithoutANativeClient();
    void answersAThrowOfAWorker_data();
    void answersAThrowOfAWorker();
    void answersTheThrowsOfItsOwnWorkers();
    void answersAFailedAllocation();

private:
    [[nodiscard]] ClientPrivate* privateHalf();
    [[nodiscard]] QString answerTo(const std::function<void()>& call);

    QTemporaryDir storage_;
    Client* client_ = nullptr;
};

void ClientPrivateTest::givesNothingWithoutAnApplication() {
    const test_support::LogCapture log;
    QCOMPARE(Client::create(nullptr, paramsFor(storage_)), nullptr);
    QCOMPARE(log.text(), QString());
}

void ClientPrivateTest::refusesBadParameters() {
    ClientParams params = paramsFor(storage_);
    params.serviceUrl.clear();
    const test_support::LogCapture log;
    QCOMPARE(Client::create(QCoreApplication::instance(), params), nullptr);
    const QStringList failures = log.lines(QtCriticalMsg);
    QVERIFY2(!failures.isEmpty() && failures.first().contains("error: 0x80000002: Invalid parameters."),
             qPrintable(log.text()));
    QVERIFY(QCoreApplication::instance()->findChildren<Client*>().isEmpty());
    QVERIFY(quillmarkclient_core::ProcessLogOutlets().error == &Quillmark::writeError);
}

void ClientPrivateTest::triesAgainAfterAFailure() {
    // Hooks that were put in since then stay: the library binds its own once.
    quillmarkclient::QuillmarkClient::SetLogCallbacks(nullptr, &ignoreError);
    client_ = Client::create(QCoreApplication::instance(), paramsFor(storage_));
    QVERIFY(client_ != nullptr);
    QCOMPARE(client_->parent(), QCoreApplication::instance());
    QVERIFY(quillmarkclient_core::ProcessLogOutlets().error == &ignoreError);
    QVERIFY(quillmarkclient_core::ProcessLogOutlets().trace == nullptr);
    Quillmark::installLogHooks();
}

void ClientPrivateTest::givesTheSameClientAgain() {
    ClientParams other;
    other.serviceUrl = QUrl("http://other.example.test");
    QCOMPARE(Client::create(QCoreApplication::instance(), other), client_);
    QCOMPARE(Client::create(QCoreApplication::instance(), ClientParams()), client_);
    QCOMPARE(Client::create(nullptr, other), nullptr);
    QCOMPARE(client_->getBasicEndpoint(), QString("http://127.0.0.1:9"));
}

void ClientPrivateTest::isAChildWithoutSignalsAndSlots() {
    QCOMPARE(client_->children().size(), 1);
    const QMetaObject* meta = client_->children().first()->metaObject();
    QCOMPARE(meta->className(), "Quillmark::ClientPrivate");
    QCOMPARE(meta->methodCount(), meta->methodOffset());
}

void ClientPrivateTest::runsAtLeastTwoThreads() {
    const auto pools = client_->children().first()->findChildren<QThreadPool*>(Qt::FindDirectChildrenOnly);
    QCOMPARE(pools.size(), 1);
    QVERIFY(pools.first()->maxThreadCount() >= 2);
}

void ClientPrivateTest::writesNoFileByItself() {
    QCOMPARE(QDir(storage_.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList());
}

void ClientPrivateTest::takesAMissingSenderAsAnEmptyResult() {
    test_support::SignalRecorder recorder(*client_);
    auto* half = qobject_cast<ClientPrivate*>(client_->children().first());
    QVERIFY(half != nullptr);
    half->finishSignInStep();
    half->finishContextStep();
    half->finishExternalOauthProviders();
    half->finishUserInfo();
    half->finishUpdateCheck();
    half->finishCustomerRequest();
    QCOMPARE(recorder.lines,
             QStringList({"signInSucceeded ", "signInSucceeded ", "externalOauthProvidersFetched ",
                          "userInfoFetched", "updateFound  ",
                          "customerRequestCreated {00000000-0000-0000-0000-000000000000} "}));
    const auto& info = recorder.userInfo;
    for (const QString& text : {info.id, info.firstName, info.lastName, info.email, info.customerNumber,
                                info.customerContactNumber})
        QVERIFY(text.isEmpty());
    QVERIFY(!info.isBusiness);
}

void ClientPrivateTest::refusesToWorkWithoutANativeClient() {
    ClientPrivate half(client_, ClientParams());
    QVERIFY(!half.hasStarted());
    QCOMPARE(half.sharedInterface(), nullptr);
    QVERIFY_THROWS_EXCEPTION(std::bad_alloc, (void)half.native());
}

void ClientPrivateTest::answersAThrowOfAWorker_data() {
    using Throw = std::function<void()>;
    QTest::addColumn<Throw>("raise");
    QTest::newRow("exhausted memory") << Throw([] { throw std::bad_alloc(); });
    QTest::newRow("another exception") << Throw([] { throw std::length_error("long"); });
    QTest::newRow("no exception class") << Throw([] { throw 7; });
}

void ClientPrivateTest::answersAThrowOfAWorker() {
    QFETCH(std::function<void()>, raise);
    ClientPrivate* half = privateHalf();
    const auto signIn = [raise](ClientPrivate*, const QString&) -> Quillmark::SignInResult {
        raise();
        return {};
    };
    const auto chooseContext = [raise](ClientPrivate*, const QString&) -> Quillmark::ContextResult {
        raise();
        return {};
    };
    const auto fetch = [raise](ClientPrivate*) -> Quillmark::UserInfoResult {
        raise();
        return {};
    };
    const auto check = [raise](ClientPrivate*) -> Quillmark::UpdateResult {
        raise();
        return {};
    };
    const auto file = [raise](ClientPrivate*) -> Quillmark::CustomerRequestPair {
        raise();
        return {};
    };
    const QString login("anna");
    const auto thrown = QUILLMARKCLIENT_ERROR::kFileRead;  // none that a worker gives here
    const QString failed("signInFailed anna 0x81000002 Can not read a file");
    QCOMPARE(answerTo([&] {
                 half->start(Quillmark::SignInResult{thrown, {login, {}, {}}},
                             &ClientPrivate::finishSignInStep, signIn, login);
             }),
             failed);
    QCOMPARE(answerTo([&] {
                 half->start(Quillmark::ContextResult{thrown, login}, &ClientPrivate::finishContextStep,
                             chooseContext, login);
             }),
             failed);
    QCOMPARE(answerTo([&] {
                 half->start(Quillmark::UserInfoResult{thrown, {}}, &ClientPrivate::finishUserInfo, fetch);
             }),
             QString("fetchUserInfoFailed 0x81000002 Can not read a file"));
    QCOMPARE(answerTo([&] {
                 half->start(Quillmark::UpdateResult{thrown, {}}, &ClientPrivate::finishUpdateCheck, check);
             }),
             QString("checkForUpdateFailed 0x81000002 Can not read a file"));
    QCOMPARE(answerTo([&] {
                 half->start(Quillmark::CustomerRequestPair{thrown, {kRequestId, {}}},
                             &ClientPrivate::finishCustomerRequest, file);
             }),
             QString("createCustomerRequestFailed {5f0c6a2e-1111-4222-8333-944455556666} 0x81000002 "
                     "Can not read a file"));
}

// A half without a native client throws at the first use of it.
void ClientPrivateTest::answersTheThrowsOfItsOwnWorkers() {
    ClientPrivate half(client_, ClientParams());
    const QString login("anna"), text("text");
    const auto context = Quillmark::SignIn::ContextType::Organization;
    const QString failed("signInFailed anna 0x80000001 Internal program error");
    QCOMPARE(answerTo([&] { half.startSignIn(login, text); }), failed);
    QCOMPARE(answerTo([&] { half.startConfirmSecondFactor(login, text, text); }), failed);
    QCOMPARE(answerTo([&] { half.startSignInToContext(login, context, text); }), failed);
    QCOMPARE(answerTo([&] { half.startOAuthSignIn(text, text); }),
             QString("signInFailed  0x80000001 Internal program error"));
    QCOMPARE(answerTo([&] { half.startFetchExternalOauthProviders(); }),
             QString("externalOauthProvidersFetched "));
    QCOMPARE(answerTo([&] { half.startGetUserInfo(); }),
             QString("fetchUserInfoFailed 0x80000001 Internal program error"));
    QCOMPARE(answerTo([&] { half.startCheckForUpdates(text, text, text); }),
             QString("checkForUpdateFailed 0x80000001 Internal program error"));
    QCOMPARE(answerTo([&] { half.startCreateCustomerRequest(kRequestId, text, text, text, {}); }),
             QString("createCustomerRequestFailed {5f0c6a2e-1111-4222-8333-944455556666} 0x80000001 "
                     "Internal program error"));
}

// The first allocation of the step is the native copy of a login too long to stand inside a std::string.
void ClientPrivateTest::answersAFailedAllocation() {
    const QString login = QString("anna").repeated(20);
    const auto signIn = [](ClientPrivate* half, const QString& name) {
        const test::FailingAllocation failing(1);
        return half->signIn(name, name);
    };
    const Quillmark::SignInResult thrown{QUILLMARKCLIENT_ERROR::kInternalError, {login, {}, {}}};
    QCOMPARE(answerTo([&] { privateHalf()->start(thrown, &ClientPrivate::finishSignInStep, signIn, login); }),
             QString("signInFailed %1 0x80000001 Internal program error").arg(login));
}

// The half of the process's one Client.
ClientPrivate* ClientPrivateTest::privateHalf() {
    return qobject_cast<ClientPrivate*>(client_->children().first());
}

QString ClientPrivateTest::answerTo(const std::function<void()>& call) {
    return test_support::SignalRecorder(*client_).answerTo(call);
}

QTEST_GUILESS_MAIN(ClientPrivateTest)
#include "ClientPrivateTest.moc"
