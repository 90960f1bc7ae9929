// One accepted connection, plain or TLS, as bytes in and bytes out.
//
// Serves a single request and is then closed. Reads and writes wait without blocking in the kernel, so that
// they end at once when the server stops. A broken connection is told by the results, never by SIGPIPE or an
// exception. Belongs to the thread that serves it.
#pragma once

#include <openssl/types.h>

#include <cstddef>
#include <string>

#include "tools/sockets/Socket.h"
#include "tools/sockets/StopSignal.h"

namespace sandbox {

class Connection {
public:
    // Owns `socket` from here on. `tls` is null for plain HTTP; `stop` is raised when the server stops.
    Connection(sockets::Socket socket, SSL_CTX* tls, const sockets::StopSignal& stop);
    // Ends the connection in order, unless the answer was cut.
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // The TLS handshake, if any, and the head of the request. False: there is nothing to serve.
    [[nodiscard]] bool open();

    // The count, 0 at the end, -1 on a fault.
    std::ptrdiff_t read(char* bytes, std::size_t size);
    std::ptrdiff_t write(const char* bytes, std::size_t size);

    // Nothing more is sent; the peer sees the connection end without a word.
    void cut() { cut_ = true; }
    // What was written is sent, but the end comes without TLS's farewell.
    void endAbruptly() { abrupt_ = true; }

    [[nodiscard]] sockets::Socket socket() const { return socket_; }

private:
    [[nodiscard]] bool shakeHands();
    [[nodiscard]] bool readHead();
    enum class Way { kIn, kOut };
    [[nodiscard]] bool waitFor(Way way, int milliseconds) const;
    [[nodiscard]] bool retryTls(int result) const;
    std::ptrdiff_t receive(char* bytes, std::size_t size);
    void drain();

    sockets::Socket socket_;
    const sockets::StopSignal& stop_;
    SSL* tls_ = nullptr;
    bool tlsWanted_;
    std::string head_;  // read ahead, not yet handed out
    std::size_t headTaken_ = 0;
    bool noBody_ = false;
    bool cut_ = false;
    bool abrupt_ = false;
};

}  // namespace sandbox
