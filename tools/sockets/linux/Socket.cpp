#include "tools/sockets/Socket.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <vector>

namespace sockets {
namespace {

int Number(Socket socket) {
    return static_cast<int>(socket);
}

union Address {
    sockaddr_in6 ipv6;  // the largest comes first: it is the one that {} clears
    sockaddr_in ipv4;
    sockaddr any;
};

Address AddressOf(Loopback loopback, std::uint16_t port) {
    Address address{};
    if (loopback == Loopback::kIpv6) {
        address.ipv6.sin6_family = AF_INET6;
        address.ipv6.sin6_port = htons(port);
        address.ipv6.sin6_addr = in6addr_loopback;
    } else {
        address.ipv4.sin_family = AF_INET;
        address.ipv4.sin_port = htons(port);
        address.ipv4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    }
    return address;
}

std::uint16_t PortOf(const Address& address) {
    return ntohs(address.any.sa_family == AF_INET6 ? address.ipv6.sin6_port : address.ipv4.sin_port);
}

}  // namespace

Socket Listen(std::uint16_t& port, int receiveBufferBytes, Loopback loopback) {
    Address address = AddressOf(loopback, 0);
    const int listener = socket(address.any.sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener < 0)
        return kNone;
    if (receiveBufferBytes > 0)
        setsockopt(listener, SOL_SOCKET, SO_RCVBUF, &receiveBufferBytes, sizeof receiveBufferBytes);
    socklen_t size = sizeof address;
    if (bind(listener, &address.any, size) != 0 || listen(listener, SOMAXCONN) != 0 ||
        getsockname(listener, &address.any, &size) != 0) {
        close(listener);
        return kNone;
    }
    port = PortOf(address);
    return listener;
}

Socket Accept(Socket listener) {
    return accept4(Number(listener), nullptr, nullptr, SOCK_CLOEXEC);
}

Socket Connect(std::uint16_t port, Loopback loopback) {
    const Address address = AddressOf(loopback, port);
    const int connected = socket(address.any.sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(connected, &address.any, sizeof address) == 0)
        return connected;
    close(connected);
    return kNone;
}

std::ptrdiff_t Receive(Socket socket, char* bytes, std::size_t size) {
    return recv(Number(socket), bytes, size, 0);
}

std::ptrdiff_t Send(Socket socket, std::string_view bytes) {
    return send(Number(socket), bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

bool IsOnlyEarly() {
    return errno == EAGAIN || errno == EINTR;
}

void SetNonBlocking(Socket socket) {
    fcntl(Number(socket), F_SETFL, fcntl(Number(socket), F_GETFL) | O_NONBLOCK);
    fcntl(Number(socket), F_SETFD, FD_CLOEXEC);
}

void SetNoDelay(Socket socket) {
    const int yes = 1;
    setsockopt(Number(socket), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
}

void SetReusable(Socket socket) {
    const int yes = 1;
    setsockopt(Number(socket), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

void SetResetOnClose(Socket socket) {
    const linger abort{1, 0};
    setsockopt(Number(socket), SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
}

void End(Socket socket, Direction direction) {
    shutdown(Number(socket), direction == Direction::kBoth ? SHUT_RDWR : SHUT_WR);
}

void Close(Socket socket) {
    close(Number(socket));
}

bool Wait(Wanted* wanted, std::size_t count, int milliseconds) {
    std::vector<pollfd> polled;
    for (std::size_t i = 0; i < count; ++i)
        polled.push_back({Number(wanted[i].socket), wanted[i].toWrite ? short{POLLOUT} : short{POLLIN}, 0});
    int ready = 0;
    do {
        ready = poll(polled.data(), polled.size(), milliseconds);
    } while (ready < 0 && errno == EINTR);
    for (std::size_t i = 0; i < count; ++i)
        wanted[i].isReady = polled[i].revents != 0;
    return ready > 0;
}

void BlockSigpipe() {
    sigset_t sigpipe{};
    sigemptyset(&sigpipe);
    sigaddset(&sigpipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &sigpipe, nullptr);
}

}  // namespace sockets
