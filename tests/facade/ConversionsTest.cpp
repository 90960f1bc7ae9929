#include "facade/src/Conversions.h"

#include <QtTest/QtTest>

using Quillmark::SignIn::ContextType;

Q_DECLARE_METATYPE(ContextType)

class ConversionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsAContextKind_data();
    void readsAContextKind();
    void writesAContextKind_data();
    void writesAContextKind();
    void keepsTheOrderOfContexts();
    void findsTheChallenge_data();
    void findsTheChallenge();
    void fillsTheUserInfo_data();
    void fillsTheUserInfo();
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

QTEST_GUILESS_MAIN(ConversionsTest)
#include "ConversionsTest.moc"
