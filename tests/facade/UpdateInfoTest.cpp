#include <Quillmark/Updates.h>

#include <QtTest/QtTest>
#include <utility>

#include "core/src/QuillmarkClient.h"

using Quillmark::Updates::UpdateInfo;

class UpdateInfoTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isValid_data();
    void isValid();
    void isAValue();
    void readsTheNativeRecord_data();
    void readsTheNativeRecord();
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

void UpdateInfoTest::readsTheNativeRecord_data() {
    QTest::addColumn<QByteArray>("version");
    QTest::addColumn<QByteArray>("url");
    QTest::addColumn<QByteArray>("encoded");  // the URL as it goes to a server
    QTest::addColumn<bool>("isValid");
    const auto row = [](const char* name, const char* version, const char* url, const char* encoded,
                        bool isValid) {
        QTest::newRow(name) << QByteArray(version) << QByteArray(url) << QByteArray(encoded) << isValid;
    };
    row("a plain URL", "2.0", "https://a.test/setup.exe?x=1#top", "https://a.test/setup.exe?x=1#top", true);
    row("a blank", "2.0", "https://a.test/my setup.exe", "https://a.test/my%20setup.exe", true);
    row("a blank in front is no scheme", "2.0", " https://a.test/setup", "", false);
    row("a percent sign alone", "2.0", "https://a.test/50%", "https://a.test/50%25", true);
    row("a percent sign before no digits", "2.0", "https://a.test/%zz", "https://a.test/%25zz", true);
    row("what is encoded stays", "2.0", "https://a.test/a%20b", "https://a.test/a%20b", true);
    row("no ASCII", "2.0", "https://a.test/Söhne", "https://a.test/S%C3%B6hne", true);
    row("quotes and angles", "2.0", "https://a.test/\"<a>\"", "https://a.test/%22%3Ca%3E%22", true);
    row("no scheme", "2.0", "a.test/setup", "a.test/setup", true);
    row("no version", "", "https://a.test/setup", "https://a.test/setup", false);
    row("no URL", "2.0", "", "", false);
    row("a port that is none", "2.0", "https://a.test:port/", "", false);
    row("nothing", "", "", "", false);
}

void UpdateInfoTest::readsTheNativeRecord() {
    QFETCH(QByteArray, version);
    QFETCH(QByteArray, url);
    QFETCH(QByteArray, encoded);
    quillmarkclient::ProductUpdateInfoValue native;
    native.version = version.toStdString();
    native.description = "schneller, größer 箱";
    native.url = url.toStdString();
    const UpdateInfo info = UpdateInfo::fromNative(native);
    QCOMPARE(info.version, QString::fromUtf8(version));
    QCOMPARE(info.description, QString::fromUtf8("schneller, größer 箱"));
    QCOMPARE(info.url.toEncoded(), encoded);
    QTEST(info.isValid(), "isValid");
}

QTEST_GUILESS_MAIN(UpdateInfoTest)
#include "UpdateInfoTest.moc"
