// Keeps what is typed at a terminal off the screen.
#pragma once

#include <termios.h>
#include <unistd.h>

#include <csignal>

// Does nothing when the input is no terminal. An interrupt gives the echo back before it ends the program.
class EchoOff {
public:
    EchoOff() {
        if (tcgetattr(STDIN_FILENO, &withEcho_) != 0)
            return;
        termios quiet = withEcho_;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        formerHandler_ = std::signal(SIGINT, restore);
        changed_ = tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) == 0;
    }
    ~EchoOff() {
        if (!changed_)
            return;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &withEcho_);
        (void)std::signal(SIGINT, formerHandler_);
    }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

private:
    static void restore(int signal) {
        tcsetattr(STDIN_FILENO, TCSANOW, &withEcho_);
        (void)std::signal(signal, SIG_DFL);
        (void)std::raise(signal);
    }

    static inline termios withEcho_;  // what the terminal goes back to
    void (*formerHandler_)(int) = SIG_DFL;
    bool changed_ = false;
};
