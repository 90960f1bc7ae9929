// The person in front of the program, or the script behind its pipe.
#pragma once

#include <QtCore/QString>
#include <QtCore/QTextStream>
#include <optional>

class Terminal {
public:
    void say(const QString& line);

    // One line of input; nothing at its end. Blocks: this host has nothing else to do meanwhile.
    std::optional<QString> ask(const QString& question);
    // The same without echo, at a terminal. An interrupt gives the echo back before it ends the program.
    std::optional<QString> askSecret(const QString& question);

private:
    std::optional<QString> readLine(const QString& question);

    QTextStream out_{stdout};
};
