#include <Quillmark/Updates.h>

#include <QtTest/QtTest>
#include <utility>

using Quillmark::Updates::UpdateInfo;

class UpdateInfoTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isValid_data();
    void isValid();
    void isAValue();
};

void UpdateInfoTest::isValid_data() {
    QTest::addColumn<QString>("version");
    QTest::addColumn<QUrl>("url");
    QTest::addColumn<bool>("expected");
    QTest::newRow("version and URL") << "2.0" << QUrl("https://a.test/setup") << true;
    QTest::newRow("no URL") << "2.0" << QUrl() << false;
    QTest::newRow("no version") << "" << QUrl("https://a.test/setup") << false;
    QTest::newRow("a URL that can't be read") << "2.0" << QUrl("http://a.test:port") << false;
    QTest::newRow("neither") << "" << QUrl() << false;
}

void UpdateInfoTest::isValid() {
    QFETCH(QString, version);
    QFETCH(QUrl, url);
    UpdateInfo info;
    info.version = version;
    info.url = url;
    QTEST(info.isValid(), "expected");
}

void UpdateInfoTest::isAValue() {
    UpdateInfo info;
    info.version = "2.0";
    info.description = "faster";
    info.url = QUrl("https://a.test/setup");

    UpdateInfo copy(info);
    UpdateInfo moved(std::move(copy));
    UpdateInfo assigned;
    assigned = moved;
    QCOMPARE(assigned.version, info.version);
    QCOMPARE(assigned.description, info.description);
    QCOMPARE(assigned.url, info.url);
    assigned = UpdateInfo();
    QVERIFY(assigned.version.isEmpty() && assigned.description.isEmpty() && assigned.url.isEmpty());
    assigned = std::move(moved);
    QCOMPARE(assigned.description, info.description);
}

QTEST_GUILESS_MAIN(UpdateInfoTest)
#include "UpdateInfoTest.moc"
