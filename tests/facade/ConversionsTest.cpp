#include "facade/src/Conversions.h"

#include <Quillmark/CustomerRequest.h>
#include <Quillmark/Updates.h>

#include <QtTest/QtTest>

#include "facade/src/ResultPair.h"

using Quillmark::SignIn::ContextType;

Q_DECLARE_METATYPE(ContextType)

class ConversionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsAContextKind_data();
    void readsAContextKind();
    void writesAContextKind_data();
    void writesAContextKind();
    void readsASocialOperation_data();
    void readsASocialOperation();
    void keepsTheOrderOfContexts();
    void findsTheChallenge_data();
    void findsTheChallenge();
    void fillsTheUserInfo_data();
    void fillsTheUserInfo();
    void takesASuccessForTheDefault();
};

void ConversionsTest::readsAContextKind_data() {
    QTest::addColumn<quint32>("kind");
    QTest::addColumn<ContextType>("expected");
    QTest::newRow("0") << 0u << ContextType::Personal;
    QTest::newRow("1") << 1u << ContextType::Organization;
    QTest::newRow("2 is unknown") << 2u << ContextType::Personal;
    QTest::newRow("7 is unknown") << 7u << ContextType::Personal;
    QTest::newRow("the largest number") << ~0u << ContextType::Personal;
}

void ConversionsTest::readsAContextKind() {
    QFETCH(quint32, kind);
    QTEST(Quillmark::toContextType(kind), "expected");
}

void ConversionsTest::writesAContextKind_data() {
    QTest::addColumn<ContextType>("type");
    QTest::addColumn<quint32>("expected");
    QTest::newRow("personal") << ContextType::Personal << 0u;
    QTest::newRow("organisation") << ContextType::Organization << 1u;
    QTest::newRow("no enumerator") << static_cast<ContextType>(7) << 0u;
}

void ConversionsTest::writesAContextKind() {
    QFETCH(ContextType, type);
    QTEST(quint32{Quillmark::toNativeKind(type)}, "expected");
}

void ConversionsTest::readsASocialOperation_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<quint32>("expected");
    QTest::newRow("SIGN_IN") << "SIGN_IN" << 0u;
    QTest::newRow("SIGN_UP") << "SIGN_UP" << 1u;
    QTest::newRow("LINK") << "LINK" << 2u;
    QTest::newRow("lower case sign_up") << "sign_up" << 0u;
    QTest::newRow("lower case link") << "link" << 0u;
    QTest::newRow("one letter in lower case") << "LINk" << 0u;
    QTest::newRow("a blank in front") << " SIGN_UP" << 0u;
    QTest::newRow("a blank behind") << "LINK " << 0u;
    QTest::newRow("a zero behind") << QString("LINK") + QChar(0) << 0u;
    QTest::newRow("cut off") << "SIGN_U" << 0u;
    QTest::newRow("a hyphen") << "SIGN-UP" << 0u;
    QTest::newRow("wide letters") << QString::fromUtf8("ＬＩＮＫ") << 0u;
    QTest::newRow("a number") << "2" << 0u;
    QTest::newRow("empty") << "" << 0u;
    QTest::newRow("null") << QString() << 0u;
}

void ConversionsTest::readsASocialOperation() {
    QFETCH(QString, text);
    QTEST(quint32{Quillmark::toSocialOperation(text)}, "expected");
}

void ConversionsTest::keepsTheOrderOfContexts() {
    const auto contexts =
        Quillmark::toContexts({{1, "org-b", "Söhne"}, {0, "me", "Nina V"}, {1, "org-a", ""}});
    QCOMPARE(contexts.size(), 3);
    QCOMPARE(contexts.at(0).id, QString("org-b"));
    QCOMPARE(contexts.at(0).name, QString::fromUtf8("Söhne"));
    QCOMPARE(contexts.at(0).type, ContextType::Organization);
    QCOMPARE(contexts.at(1).id, QString("me"));
    QCOMPARE(contexts.at(1).type, ContextType::Personal);
    QCOMPARE(contexts.at(2).id, QString("org-a"));
    const auto unknown = Quillmark::toContexts({{7, "x", "X"}});
    QCOMPARE(unknown.first().type, ContextType::Personal);
    QCOMPARE(Quillmark::toContexts({}).size(), 0);
}

void ConversionsTest::findsTheChallenge_data() {
    using Arguments = std::vector<std::pair<std::string, std::string>>;
    QTest::addColumn<Arguments>("arguments");
    QTest::addColumn<QString>("expected");
    QTest::newRow("alone") << Arguments{{"challengeToken", "c1"}} << "c1";
    QTest::newRow("behind others") << Arguments{{"a", "x"}, {"challengeToken", "c1"}} << "c1";
    QTest::newRow("the first of two")
        << Arguments{{"challengeToken", "c1"}, {"challengeToken", "c2"}} << "c1";
    QTest::newRow("exact case only") << Arguments{{"ChallengeToken", "c1"}, {"challengetoken", "c2"}} << "";
    QTest::newRow("exact length only") << Arguments{{"challengeTokens", "c1"}, {"challengeToke", "c2"}} << "";
    QTest::newRow("none") << Arguments{} << "";
}

void ConversionsTest::findsTheChallenge() {
    using Arguments = std::vector<std::pair<std::string, std::string>>;
    QFETCH(Arguments, arguments);
    quillmarkclient::ServiceErrorValue error;
    error.errorArgs = arguments;
    QTEST(Quillmark::findChallengeToken(error), "expected");
}

void ConversionsTest::fillsTheUserInfo_data() {
    QTest::addColumn<QByteArray>("claims");
    QTest::addColumn<QString>("customerNumber");
    QTest::addColumn<QString>("customerContactNumber");
    QTest::addColumn<bool>("isBusiness");
    QTest::newRow("a person") << QByteArray(R"({"customerNumber":"1","customerContactNumber":"2"})") << "1"
                              << "2" << false;
    QTest::newRow("a business: one number in both fields")
        << QByteArray(R"({"businessContactNumber":"3","customerNumber":"1","customerContactNumber":"2"})")
        << "3"
        << "3" << true;
    QTest::newRow("a claim that is null exists") << QByteArray(R"({"businessContactNumber":null})") << ""
                                                 << "" << true;
    QTest::newRow("an empty claim exists") << QByteArray(R"({"businessContactNumber":""})") << ""
                                           << "" << true;
    QTest::newRow("a number is no text")
        << QByteArray(R"({"customerNumber":1,"customerContactNumber":true})") << ""
        << "" << false;
    QTest::newRow("names in another case")
        << QByteArray(R"({"CustomerNumber":"1","businesscontactnumber":"3"})") << ""
        << "" << false;
    QTest::newRow("no claims") << QByteArray("{}") << ""
                               << "" << false;
}

void ConversionsTest::fillsTheUserInfo() {
    QFETCH(QByteArray, claims);
    quillmarkclient::CustomerDataValue data;
    data.id = "id";
    data.firstName = "Élodie";
    data.lastName = "last";
    data.email = "e@example.test";
    const auto info = Quillmark::toUserInfo(data, QJsonDocument::fromJson(claims).object());
    QCOMPARE(info.id, QString("id"));
    QCOMPARE(info.firstName, QString::fromUtf8("Élodie"));
    QCOMPARE(info.lastName, QString("last"));
    QCOMPARE(info.email, QString("e@example.test"));
    QTEST(info.customerNumber, "customerNumber");
    QTEST(info.customerContactNumber, "customerContactNumber");
    QTEST(info.isBusiness, "isBusiness");
}

// What a handler without a sender works with.
void ConversionsTest::takesASuccessForTheDefault() {
    const Quillmark::ResultPair<Quillmark::SignIn::SignInProcessResult> step;
    QCOMPARE(static_cast<quint32>(step.error), 0u);
    QVERIFY(step.value.login.isNull() && step.value.contexts.isEmpty() && step.value.challengeToken.isNull());
    const Quillmark::ResultPair<QString> context;
    QCOMPARE(static_cast<quint32>(context.error), 0u);
    QVERIFY(context.value.isNull());
    const Quillmark::ResultPair<Quillmark::Updates::UpdateInfo> update;
    QCOMPARE(static_cast<quint32>(update.error), 0u);
    QVERIFY(!update.value.isValid());
    const Quillmark::ResultPair<Quillmark::CustomerRequest::CustomerRequestResult> request;
    QCOMPARE(static_cast<quint32>(request.error), 0u);
    QVERIFY(request.value.requestId.isNull() && request.value.ticketNumber.isNull());
}

QTEST_GUILESS_MAIN(ConversionsTest)
#include "ConversionsTest.moc"
