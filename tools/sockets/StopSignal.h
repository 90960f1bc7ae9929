#pragma once

#include "tools/sockets/Socket.h"

namespace sockets {

// Wakes whoever waits for it beside a connection. Any thread.
class StopSignal {
public:
    // Throws std::runtime_error when the system refuses a socket.
    StopSignal();
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    // From here on the socket is ready to be read.
    void Raise() { End(raising_, Direction::kBoth); }
    [[nodiscard]] Socket GetSocket() const { return waiting_; }

private:
    Socket raising_ = kNone;
    Socket waiting_ = kNone;
};

}  // namespace sockets
