#include "facade/src/LogRouting.h"

#include <QtCore/QDebug>

#include <cstdarg>

#include "core/src/QuillmarkClient.h"

namespace Quillmark {

Q_LOGGING_CATEGORY(quillmarkCategory, "quillmark")

void installLogHooks() {
    quillmarkclient::QuillmarkClient::SetLogCallbacks(&writeTrace, &writeError);
}

// The outlet is printf-like by contract, so variadic in the C way.  NOLINTNEXTLINE(cert-dcl50-cpp)
void writeTrace(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const QString text = QString::vasprintf(format, arguments);
    va_end(arguments);
    qCInfo(quillmarkCategory).noquote() << text;
}

void writeError(quint32 code, const char* message, const char* sourceFile, quint32 line) {
    logFailure(errorLine(code, message, sourceFile, line));
}

void logFailure(const QString& text) {
    qCCritical(quillmarkCategory).noquote() << text;
}

QString errorLine(quint32 code, const char* message, const char* sourceFile, quint32 line) {
    const QString path = QString::fromUtf8(sourceFile);
    const QString file = path.sliced(path.lastIndexOf(QLatin1Char('\\')) + 1);
    // All four at once: a "%1" inside the message or the path is text, not a place to fill.
    return QStringLiteral("Source: %1(%2): error: 0x%3: %4")
        .arg(file, QString::number(line), QString::number(code, 16), QString::fromUtf8(message));
}

}  // namespace Quillmark
