#include "tests/facade/LogCapture.h"

#include <QtCore/QMutexLocker>

namespace test_support {

LogCapture* LogCapture::current = nullptr;

LogCapture::LogCapture() {
    current = this;
    before_ = qInstallMessageHandler(&capture);
}

LogCapture::~LogCapture() {
    qInstallMessageHandler(before_);
    current = nullptr;
}

void LogCapture::capture(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (QByteArray(context.category) != "quillmark") {
        current->before_(type, context, text);
        return;
    }
    const QMutexLocker lock(&current->mutex_);
    current->lines_.append({type, text});
}

QList<LogCapture::Line> LogCapture::lines() const {
    const QMutexLocker lock(&mutex_);
    return lines_;
}

QStringList LogCapture::lines(QtMsgType type) const {
    QStringList texts;
    for (const Line& line : lines())
        if (line.type == type)
            texts << line.text;
    return texts;
}

QString LogCapture::text() const {
    QStringList texts;
    for (const Line& line : lines())
        texts << line.text;
    return texts.join('\n');
}

}  // namespace test_support
