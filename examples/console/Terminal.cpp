#include "Terminal.h"

#include <unistd.h>

#include <iostream>
#include <string>

#include "examples/common/EchoOff.h"

void Terminal::say(const QString& line) {
    out_ << line << Qt::endl;
}

std::optional<QString> Terminal::ask(const QString& question) {
    auto answer = readLine(question);
    if (!isatty(STDIN_FILENO))
        say({});  // nobody pressed the key that ends the line
    return answer;
}

std::optional<QString> Terminal::askSecret(const QString& question) {
    const EchoOff echoOff;
    auto answer = readLine(question);
    say({});
    return answer;
}

std::optional<QString> Terminal::readLine(const QString& question) {
    out_ << question << Qt::flush;
    std::string line;
    if (!std::getline(std::cin, line))
        return std::nullopt;
    return QString::fromLocal8Bit(line.data(), static_cast<qsizetype>(line.size()));
}
