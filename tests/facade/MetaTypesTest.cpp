// The types that travel in signals are found by name before anybody has used one.
#include <Quillmark/Client.h>

#include <QtTest/QtTest>

class MetaTypesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void areRegisteredByName_data();
    void areRegisteredByName();
    void haveTheNamesOfTheTypes();
    void travelByName_data() { areRegisteredByName_data(); }
    void travelByName();
    void keepTheirValues();
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

// What a queued connection does with an argument: copy it, keep it, destroy it.
void MetaTypesTest::travelByName() {
    QFETCH(QByteArray, name);
    const QMetaType type = QMetaType::fromName(name);
    void* const original = type.create();
    void* const copy = type.create(original);
    QVERIFY(original != nullptr && copy != nullptr);
    type.destroy(original);
    type.destroy(copy);
}

void MetaTypesTest::keepTheirValues() {
    const QVariant code = QVariant::fromValue(QUILLMARKCLIENT_ERROR::kRequestNotSent);
    QCOMPARE(static_cast<quint32>(code.value<QUILLMARKCLIENT_ERROR>()), 0x80000006u);
    QCOMPARE(code.metaType().sizeOf(), qsizetype{4});

    const Quillmark::SignIn::SignInProcessResult choice{
        "nina", {{"org-a", "A", Quillmark::SignIn::ContextType::Organization}}, "challenge"};
    const auto chosen = QVariant::fromValue(choice).value<Quillmark::SignIn::SignInProcessResult>();
    QCOMPARE(chosen.login, QString("nina"));
    QCOMPARE(chosen.contexts.size(), 1);
    QCOMPARE(chosen.contexts.first().id, QString("org-a"));
    QCOMPARE(chosen.challengeToken, QString("challenge"));

    Quillmark::SignIn::UserInfo user;
    user.email = "nina@example.test";
    user.isBusiness = true;
    const auto known = QVariant::fromValue(user).value<Quillmark::SignIn::UserInfo>();
    QCOMPARE(known.email, QString("nina@example.test"));
    QVERIFY(known.isBusiness);

    Quillmark::Updates::UpdateInfo update;
    update.version = "2.0";
    QCOMPARE(QVariant::fromValue(update).value<Quillmark::Updates::UpdateInfo>().version, QString("2.0"));

    const Quillmark::CustomerRequest::CustomerRequestResult taken{
        QUuid("11111111-2222-3333-4444-555555555555"), "T-1"};
    const auto result = QVariant::fromValue(taken).value<Quillmark::CustomerRequest::CustomerRequestResult>();
    QCOMPARE(result.requestId, QUuid("11111111-2222-3333-4444-555555555555"));
    QCOMPARE(result.ticketNumber, QString("T-1"));
}

QTEST_GUILESS_MAIN(MetaTypesTest)
#include "MetaTypesTest.moc"
