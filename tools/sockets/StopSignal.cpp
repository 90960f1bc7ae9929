#include "tools/sockets/StopSignal.h"

#include <stdexcept>

namespace sockets {

StopSignal::StopSignal() {
    std::uint16_t port = 0;
    const Socket listener = Listen(port);
    if (listener != kNone)
        raising_ = Connect(port);
    if (raising_ != kNone)
        waiting_ = Accept(listener);
    if (listener != kNone)
        Close(listener);
    if (waiting_ != kNone)
        return;
    if (raising_ != kNone)
        Close(raising_);
    throw std::runtime_error("no sockets for a stop signal");
}

StopSignal::~StopSignal() {
    Close(raising_);
    Close(waiting_);
}

}  // namespace sockets
