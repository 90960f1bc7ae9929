// What the library writes to Qt's logging while this lives.
//
//     LogCapture log;
//     client->persistIdentityToFile("/none");
//     QCOMPARE(log.lines(QtCriticalMsg), QStringList{"..."});
//
// Make it in a test function or in init(): Qt Test puts its own handler over all that stand before it runs.
// The library logs on its own threads, so any thread may log. One at a time. Messages of other categories go
// to the handler that was there before.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QStringList>
#include <QtCore/QtGlobal>

namespace test_support {

class LogCapture {
public:
    struct Line {
        QtMsgType type;
        QString text;
    };

    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    [[nodiscard]] QList<Line> lines() const;
    [[nodiscard]] QStringList lines(QtMsgType type) const;
    [[nodiscard]] QString text() const;

private:
    static void capture(QtMsgType type, const QMessageLogContext& context, const QString& text);
    static LogCapture* current;

    QtMessageHandler before_;
    mutable QMutex mutex_;
    QList<Line> lines_;
};

}  // namespace test_support
