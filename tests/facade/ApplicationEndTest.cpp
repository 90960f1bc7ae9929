// The end of an application takes its Client along. One process, one Client: one function.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>
#include <memory>

#include "core/src/IQuillmarkClient.h"
#include "tests/facade/HostFixture.h"

using Quillmark::Client;
using namespace test_support;

class ApplicationEndTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void deletesTheClient();
};

void ApplicationEndTest::deletesTheClient() {
    int argc = 1;
    char name[] = "application";
    char* argv[] = {name, nullptr};
    auto application = std::make_unique<QCoreApplication>(argc, argv);
    HostFixture host;
    QCOMPARE(host.client->parent(), static_cast<QObject*>(application.get()));
    QCOMPARE(host.signIn("plain"), QString("signInSucceeded anna.plain@example.test"));
    QCOMPARE(host.fetchUserInfo(), QString("userInfoFetched"));
    auto* shared = static_cast<quillmarkclient::IQuillmarkClient*>(host.client->getInstance());
    QCOMPARE(shared->AddRef(), 2u);

    int ends = 0;
    connect(
        host.client, &QObject::destroyed, host.client, [&ends] { ++ends; }, Qt::DirectConnection);
    host.recorder.lines.clear();
    application.reset();
    QCOMPARE(ends, 1);
    QCOMPARE(host.recorder.lines, QStringList());  // nobody signs out, and no signal says good-bye
    QCOMPARE(shared->Release(), 0u);               // this was the last reference
    QVERIFY(QFile::exists(host.storage.filePath("LIC0")));

    // A later application gets the stale pointer, which is only looked at.
    const QCoreApplication later(argc, argv);
    QCOMPARE(static_cast<void*>(Client::create(QCoreApplication::instance(), {})),
             static_cast<void*>(host.client));
}

QTEST_APPLESS_MAIN(ApplicationEndTest)
#include "ApplicationEndTest.moc"
