#include <Quillmark/ClientParams.h>

#include <QtCore/QMetaType>
#include <QtTest/QtTest>
#include <type_traits>
#include <utility>

#include "core/src/QuillmarkClient.h"

using Quillmark::ClientParams;

class ClientParamsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isEmptyByDefault();
    void isAValue();
    void becomesNativeParams();
    void readsTwoFlags_data();
    void readsTwoFlags();
    void writesTheServiceUrl_data();
    void writesTheServiceUrl();
};

namespace {

ClientParams filled() {
    ClientParams params;
    params.serviceUrl = QUrl("https://account.example.test/base");
    params.storagePath = QString::fromUtf8("/tmp/Söhne/箱");
    params.auxiliary1 = "one";
    params.auxiliary2 = "two";
    params.language = "de";
    params.flags = 6;
    params.reserved1 = 7;
    params.reserved2 = 8;
    return params;
}

bool equal(const ClientParams& left, const ClientParams& right) {
    return left.serviceUrl == right.serviceUrl && left.storagePath == right.storagePath &&
           left.auxiliary1 == right.auxiliary1 && left.auxiliary2 == right.auxiliary2 &&
           left.language == right.language && left.flags == right.flags &&
           left.reserved1 == right.reserved1 && left.reserved2 == right.reserved2;
}

}  // namespace

void ClientParamsTest::isEmptyByDefault() {
    const ClientParams params;
    QVERIFY(params.serviceUrl.isEmpty());
    QVERIFY(params.storagePath.isEmpty() && params.auxiliary1.isEmpty() && params.auxiliary2.isEmpty());
    QVERIFY(params.language.isEmpty());
    QCOMPARE(params.flags, 0u);
    QCOMPARE(params.reserved1, 0u);
    QCOMPARE(params.reserved2, 0u);
    QCOMPARE(params.toNativeParams().serviceUrl, std::string());
}

void ClientParamsTest::isAValue() {
    static_assert(std::is_nothrow_move_constructible_v<ClientParams>);
    static_assert(std::is_nothrow_move_assignable_v<ClientParams>);
    QVERIFY(QMetaType::fromType<ClientParams>().isValid());

    const ClientParams original = filled();
    ClientParams copy(original);
    QVERIFY(equal(copy, original));
    ClientParams moved(std::move(copy));
    QVERIFY(equal(moved, original));
    ClientParams assigned;
    assigned = original;
    QVERIFY(equal(assigned, original));
    assigned = ClientParams();
    QVERIFY(equal(assigned, ClientParams()));
    assigned = std::move(moved);
    QVERIFY(equal(assigned, original));
}

void ClientParamsTest::becomesNativeParams() {
    const auto native = filled().toNativeParams();
    QCOMPARE(native.storagePath, std::string("/tmp/Söhne/箱"));
    QCOMPARE(native.clientKind, 1u);
    QCOMPARE(native.serviceUrl, std::string("https://account.example.test/base"));
    QCOMPARE(native.auxiliary1, std::string("one"));
    QCOMPARE(native.auxiliary2, std::string());  // not handed on
    QCOMPARE(native.auxiliary3, std::string());
    QCOMPARE(native.useAlternateKeys, quint8{1});
    QCOMPARE(native.retryPolicy.maxAttempts, 0u);
    QCOMPARE(native.retryPolicy.timeoutRetryDelayMs, 0u);
    QCOMPARE(native.retryPolicy.idempotencyWaitMs, 0u);
    QCOMPARE(native.retryPolicy.idempotencyWaitCapMs, 0u);
}

void ClientParamsTest::readsTwoFlags_data() {
    QTest::addColumn<quint32>("flags");
    QTest::addColumn<quint32>("clientKind");
    QTest::addColumn<quint8>("useAlternateKeys");
    QTest::newRow("none") << 0u << 0u << quint8{0};
    QTest::newRow("2: alternate keys") << 2u << 0u << quint8{1};
    QTest::newRow("4: a business") << 4u << 1u << quint8{0};
    QTest::newRow("6: both") << 6u << 1u << quint8{1};
    for (const int bit : {0, 3, 4, 5, 6, 7, 8, 15, 16, 23, 24, 30, 31})
        QTest::addRow("bit %d is not read", bit) << (1u << bit) << 0u << quint8{0};
    QTest::newRow("all but the two") << ~6u << 0u << quint8{0};
    QTest::newRow("all bits, never an administrator") << ~0u << 1u << quint8{1};
}

void ClientParamsTest::readsTwoFlags() {
    QFETCH(quint32, flags);
    ClientParams params;
    params.flags = flags;
    const auto native = params.toNativeParams();
    QTEST(native.clientKind, "clientKind");
    QTEST(native.useAlternateKeys, "useAlternateKeys");
}

void ClientParamsTest::writesTheServiceUrl_data() {
    QTest::addColumn<QUrl>("url");
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing is trimmed") << QUrl("https://a.test/x/") << "https://a.test/x/";
    QTest::newRow("a port") << QUrl("http://127.0.0.1:8080") << "http://127.0.0.1:8080";
    QTest::newRow("a blank, as a reader sees it") << QUrl("https://a.test/a%20b") << "https://a.test/a b";
    QTest::newRow("no ASCII, as UTF-8")
        << QUrl("https://a.test/S%C3%B6hne") << QString::fromUtf8("https://a.test/Söhne");
    QTest::newRow("user and password stay") << QUrl("https://u:p@a.test/") << "https://u:p@a.test/";
    QTest::newRow("a query and a fragment stay") << QUrl("https://a.test/x?y#z") << "https://a.test/x?y#z";
    QTest::newRow("no URL") << QUrl("http://a.test:port") << "";
    QTest::newRow("empty") << QUrl() << "";
}

void ClientParamsTest::writesTheServiceUrl() {
    QFETCH(QUrl, url);
    ClientParams params;
    params.serviceUrl = url;
    QTEST(QString::fromStdString(params.toNativeParams().serviceUrl), "text");
}

QTEST_GUILESS_MAIN(ClientParamsTest)
#include "ClientParamsTest.moc"
