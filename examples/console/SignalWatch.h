// Shows every signal of the client: when it came, on which thread, and what it brought.
#pragma once

#include <Quillmark/Client.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>

#include "Terminal.h"

// Connects directly, so that a line is written on the thread that emits. Only signOut() can emit on a thread
// other than the one of create(), and this host calls it there too.
class SignalWatch : public QObject {
public:
    // `client` and `terminal` outlive the watch.
    SignalWatch(const Quillmark::Client& client, Terminal& terminal);

private:
    void watchFeatures(const Quillmark::Client& client);
    void show(const QString& signal);

    Terminal& terminal_;
    QElapsedTimer clock_;
};
