// The types that travel in signals are found by name before anybody has used one.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>

class MetaTypesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void areRegisteredByName_data();
    void areRegisteredByName();
    void haveTheNamesOfTheTypes();
};

void MetaTypesTest::areRegisteredByName_data() {
    QTest::addColumn<QByteArray>("name");
    for (const char* name :
         {"QUILLMARKCLIENT_ERROR", "Quillmark::SignIn::SignInProcessResult", "Quillmark::SignIn::UserInfo",
          "Quillmark::Updates::UpdateInfo", "Quillmark::CustomerRequest::CustomerRequestResult"})
        QTest::newRow(name) << QByteArray(name);
}

void MetaTypesTest::areRegisteredByName() {
    QFETCH(QByteArray, name);
    const QMetaType type = QMetaType::fromName(name);
    QVERIFY(type.isValid());
    QCOMPARE(QByteArray(type.name()), name);
    QVERIFY(type.sizeOf() > 0);
}

void MetaTypesTest::haveTheNamesOfTheTypes() {
    QCOMPARE(QMetaType::fromType<QUILLMARKCLIENT_ERROR>(), QMetaType::fromName("QUILLMARKCLIENT_ERROR"));
    QCOMPARE(QMetaType::fromType<Quillmark::SignIn::SignInProcessResult>(),
             QMetaType::fromName("Quillmark::SignIn::SignInProcessResult"));
    QCOMPARE(QMetaType::fromType<Quillmark::SignIn::UserInfo>(),
             QMetaType::fromName("Quillmark::SignIn::UserInfo"));
    QCOMPARE(QMetaType::fromType<Quillmark::Updates::UpdateInfo>(),
             QMetaType::fromName("Quillmark::Updates::UpdateInfo"));
    QCOMPARE(QMetaType::fromType<Quillmark::CustomerRequest::CustomerRequestResult>(),
             QMetaType::fromName("Quillmark::CustomerRequest::CustomerRequestResult"));
}

QTEST_GUILESS_MAIN(MetaTypesTest)
#include "MetaTypesTest.moc"
