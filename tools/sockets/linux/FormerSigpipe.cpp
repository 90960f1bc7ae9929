#include "tools/sockets/FormerSigpipe.h"

#include <csignal>

namespace sockets {

struct FormerSigpipe::Disposition {
    struct sigaction action {};
};

FormerSigpipe::FormerSigpipe() : former_(std::make_unique<Disposition>()) {
    sigaction(SIGPIPE, nullptr, &former_->action);
}

FormerSigpipe::~FormerSigpipe() = default;

void FormerSigpipe::PutBack() const {
    sigaction(SIGPIPE, &former_->action, nullptr);
}

}  // namespace sockets
