#include "tools/sandbox/Connection.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <array>
#include <climits>
#include <string_view>

#include "tools/sandbox/Http.h"

namespace sandbox {
namespace {

constexpr int kIdleLimitMs = 30 * 1000;  // a peer that sends or takes nothing is given up
constexpr int kDrainLimitMs = 500;       // for the peer's own end of the connection
constexpr std::size_t kHeadLimit = std::size_t{64} * 1024;
constexpr std::size_t kPieceBytes = 4096;
constexpr std::string_view kHeadEnd = "\r\n\r\n";

bool namesBody(std::string_view line) {
    const std::string_view name = line.substr(0, line.find(':'));
    return equalsIgnoringCase(name, "Content-Length") || equalsIgnoringCase(name, "Transfer-Encoding");
}

// Whether a header of the head announces a body.
bool announcesBody(std::string_view head) {
    while (!head.empty()) {
        const std::string_view line = head.substr(0, head.find('\n'));
        if (namesBody(line))
            return true;
        head.remove_prefix(std::min(line.size() + 1, head.size()));
    }
    return false;
}

int cutToInt(std::size_t size) {
    return static_cast<int>(std::min<std::size_t>(size, INT_MAX));
}

}  // namespace

Connection::Connection(sockets::Socket socket, SSL_CTX* tls, const sockets::StopSignal& stop)
    : socket_(socket), stop_(stop), tlsWanted_(tls != nullptr) {
    sockets::SetNonBlocking(socket_);
    if (tlsWanted_)
        tls_ = SSL_new(tls);
}

Connection::~Connection() {
    if (tls_ != nullptr && !cut_ && !abrupt_ && SSL_is_init_finished(tls_))
        SSL_shutdown(tls_);
    sockets::End(socket_, cut_ ? sockets::Direction::kBoth : sockets::Direction::kSending);
    if (!cut_)
        drain();
    SSL_free(tls_);
    sockets::Close(socket_);
    ERR_clear_error();
}

bool Connection::open() {
    return (!tlsWanted_ || shakeHands()) && readHead();
}

bool Connection::shakeHands() {
    if (tls_ == nullptr || SSL_set_fd(tls_, static_cast<int>(socket_)) != 1)
        return false;
    for (;;) {
        const int result = SSL_accept(tls_);
        if (result == 1)
            return true;
        if (!retryTls(result))
            return false;
    }
}

// A request without a length has no body (RFC 9112, 6.3), so that reading one ends there and not with the
// peer's patience.
bool Connection::readHead() {
    std::array<char, kPieceBytes> piece;
    std::size_t end = head_.npos;
    while (end == head_.npos && head_.size() < kHeadLimit) {
        const std::ptrdiff_t count = receive(piece.data(), piece.size());
        if (count <= 0)
            return !head_.empty();
        head_.append(piece.data(), static_cast<std::size_t>(count));
        end = head_.find(kHeadEnd);
    }
    if (end == head_.npos)
        return true;
    noBody_ = !announcesBody(std::string_view(head_).substr(0, end));
    if (noBody_)
        head_.resize(end + kHeadEnd.size());
    return true;
}

std::ptrdiff_t Connection::read(char* bytes, std::size_t size) {
    const std::size_t ready = std::min(size, head_.size() - headTaken_);
    if (ready == 0)
        return noBody_ ? 0 : receive(bytes, size);
    head_.copy(bytes, ready, headTaken_);
    headTaken_ += ready;
    return static_cast<std::ptrdiff_t>(ready);
}

std::ptrdiff_t Connection::receive(char* bytes, std::size_t size) {
    for (;;) {
        ERR_clear_error();
        const std::ptrdiff_t count =
            tls_ != nullptr ? SSL_read(tls_, bytes, cutToInt(size)) : sockets::Receive(socket_, bytes, size);
        if (count >= 0 && (tls_ == nullptr || count > 0))
            return count;
        if (tls_ != nullptr) {
            if (SSL_get_error(tls_, static_cast<int>(count)) == SSL_ERROR_ZERO_RETURN)
                return 0;
            if (!retryTls(static_cast<int>(count)))
                return -1;
        } else if (!sockets::IsOnlyEarly() || !waitFor(Way::kIn, kIdleLimitMs)) {
            return -1;
        }
    }
}

std::ptrdiff_t Connection::write(const char* bytes, std::size_t size) {
    if (cut_)
        return -1;
    if (size == 0)
        return 0;
    for (;;) {
        ERR_clear_error();
        const std::ptrdiff_t count =
            tls_ != nullptr ? SSL_write(tls_, bytes, cutToInt(size)) : sockets::Send(socket_, {bytes, size});
        if (count > 0)
            return count;
        if (tls_ != nullptr ? !retryTls(static_cast<int>(count))
                            : !sockets::IsOnlyEarly() || !waitFor(Way::kOut, kIdleLimitMs))
            return -1;
    }
}

// Waits for what a TLS operation that didn't finish asks for.
bool Connection::retryTls(int result) const {
    switch (SSL_get_error(tls_, result)) {
        case SSL_ERROR_WANT_READ:
            return waitFor(Way::kIn, kIdleLimitMs);
        case SSL_ERROR_WANT_WRITE:
            return waitFor(Way::kOut, kIdleLimitMs);
        default:
            return false;
    }
}

bool Connection::waitFor(Way way, int milliseconds) const {
    std::array<sockets::Wanted, 2> wanted{sockets::Wanted{socket_, way == Way::kOut},
                                          sockets::Wanted{stop_.GetSocket()}};
    return sockets::Wait(wanted.data(), wanted.size(), milliseconds) && !wanted[1].isReady;
}

// Closing with unread bytes resets the connection, and the reset can overtake the answer. So the rest is read
// first, until the peer ends his side too.
void Connection::drain() {
    std::array<char, kPieceBytes> piece;
    for (;;) {
        const std::ptrdiff_t count = sockets::Receive(socket_, piece.data(), piece.size());
        if (count == 0 || (count < 0 && (!sockets::IsOnlyEarly() || !waitFor(Way::kIn, kDrainLimitMs))))
            return;
    }
}

}  // namespace sandbox
