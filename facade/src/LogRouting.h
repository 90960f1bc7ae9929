// The core's two log outlets, bound to Qt's logging under the category "quillmark".
//
// Progress goes out at info level, failures at critical level. The outlets run on the thread of the operation
// that logs, under the native client's mutex: a message handler of the host must not call back into the
// Client.
#pragma once

#include <QtCore/QLoggingCategory>
#include <QtCore/QString>

namespace Quillmark {

Q_DECLARE_LOGGING_CATEGORY(quillmarkCategory)

// Binds both outlets. Belongs before the first native client starts.
void installLogHooks();

// The outlets themselves.
[[gnu::format(printf, 1, 2)]] void writeTrace(const char* format, ...);
void writeError(quint32 code, const char* message, const char* sourceFile, quint32 line);

// A failure of the facade's own, at critical level.
void logFailure(const QString& text);

// The line of a failure: "Source: <file>(<line>): error: 0x<code>: <message>". The path is cut to what stands
// after its last backslash; forward slashes stay.
[[nodiscard]] QString errorLine(quint32 code, const char* message, const char* sourceFile, quint32 line);

}  // namespace Quillmark
