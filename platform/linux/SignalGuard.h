#pragma once

#include <csignal>

namespace quillmarkclient_linux {

// Keeps one signal from the host as long as it lives: SIGPIPE, because a peer that hangs up while we send
// must not end the process, and SIGXFSZ, because neither must a file that reaches the limit of the process's
// file sizes.
//
// Blocks the signal on the calling thread and, before it gives the old mask back, takes away the one that a
// write left pending meanwhile. The process's handlers are not touched, so other threads notice nothing.
class SignalGuard {
public:
    explicit SignalGuard(int signal) noexcept;
    ~SignalGuard();
    SignalGuard(const SignalGuard&) = delete;
    SignalGuard& operator=(const SignalGuard&) = delete;

private:
    int signal_;
    sigset_t formerMask_{};
    bool wasPending_ = false;  // then it is the host's and stays
};

}  // namespace quillmarkclient_linux
