#include "Terminal.h"

#include <csignal>
#include <iostream>
#include <string>

#include <termios.h>
#include <unistd.h>

namespace {

termios withEcho;  // what the terminal goes back to

extern "C" void restoreEcho(int signal) {
    tcsetattr(STDIN_FILENO, TCSANOW, &withEcho);
    (void)std::signal(signal, SIG_DFL);
    (void)std::raise(signal);
}

// Keeps what is typed off the screen; does nothing when the input is no terminal.
class EchoOff {
public:
    EchoOff() {
        if (tcgetattr(STDIN_FILENO, &withEcho) != 0)
            return;
        termios quiet = withEcho;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        formerHandler_ = std::signal(SIGINT, restoreEcho);
        changed_ = tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) == 0;
    }
    ~EchoOff() {
        if (!changed_)
            return;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &withEcho);
        (void)std::signal(SIGINT, formerHandler_);
    }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

private:
    void (*formerHandler_)(int) = SIG_DFL;
    bool changed_ = false;
};

}  // namespace

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
