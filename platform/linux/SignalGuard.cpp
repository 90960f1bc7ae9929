#include "platform/linux/SignalGuard.h"

#include <cerrno>
#include <ctime>

namespace quillmarkclient_linux {
namespace {

bool IsPending(int signal) {
    sigset_t pending{};
    sigemptyset(&pending);
    sigpending(&pending);
    return sigismember(&pending, signal) == 1;
}

sigset_t Only(int signal) {
    sigset_t set{};
    sigemptyset(&set);
    sigaddset(&set, signal);
    return set;
}

}  // namespace

SignalGuard::SignalGuard(int signal) noexcept : signal_(signal), wasPending_(IsPending(signal)) {
    const sigset_t only = Only(signal_);
    pthread_sigmask(SIG_BLOCK, &only, &formerMask_);
}

SignalGuard::~SignalGuard() {
    const sigset_t only = Only(signal_);
    const timespec atOnce{};
    if (!wasPending_ && IsPending(signal_)) {
        while (sigtimedwait(&only, nullptr, &atOnce) == -1 && errno == EINTR) {
        }
    }
    pthread_sigmask(SIG_SETMASK, &formerMask_, nullptr);
}

}  // namespace quillmarkclient_linux
