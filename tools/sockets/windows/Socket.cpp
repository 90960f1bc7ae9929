#include "tools/sockets/Socket.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <vector>

namespace sockets {
namespace {

SOCKET Handle(Socket socket) {
    return static_cast<SOCKET>(socket);
}

Socket Number(SOCKET socket) {
    return socket == INVALID_SOCKET ? kNone : static_cast<Socket>(socket);
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

SOCKET NewSocket(const Address& address) {
    static const bool isReady = [] {
        WSADATA facts{};
        return WSAStartup(MAKEWORD(2, 2), &facts) == 0;
    }();
    return isReady ? socket(address.any.sa_family, SOCK_STREAM, IPPROTO_TCP) : INVALID_SOCKET;
}

template <class Value>
void SetOption(Socket socket, int level, int option, const Value& value) {
    setsockopt(Handle(socket), level, option, reinterpret_cast<const char*>(&value), sizeof value);
}

}  // namespace

Socket Listen(std::uint16_t& port, int receiveBufferBytes, Loopback loopback) {
    Address address = AddressOf(loopback, 0);
    const Socket listener = Number(NewSocket(address));
    if (listener == kNone)
        return kNone;
    if (receiveBufferBytes > 0)
        SetOption(listener, SOL_SOCKET, SO_RCVBUF, receiveBufferBytes);
    int size = sizeof address;
    if (bind(Handle(listener), &address.any, size) != 0 || listen(Handle(listener), SOMAXCONN) != 0 ||
        getsockname(Handle(listener), &address.any, &size) != 0) {
        Close(listener);
        return kNone;
    }
    port = PortOf(address);
    return listener;
}

Socket Accept(Socket listener) {
    return Number(accept(Handle(listener), nullptr, nullptr));
}

Socket Connect(std::uint16_t port, Loopback loopback) {
    const Address address = AddressOf(loopback, port);
    const Socket connected = Number(NewSocket(address));
    if (connected == kNone || connect(Handle(connected), &address.any, sizeof address) == 0)
        return connected;
    Close(connected);
    return kNone;
}

std::ptrdiff_t Receive(Socket socket, char* bytes, std::size_t size) {
    return recv(Handle(socket), bytes, static_cast<int>(size), 0);
}

std::ptrdiff_t Send(Socket socket, std::string_view bytes) {
    return send(Handle(socket), bytes.data(), static_cast<int>(bytes.size()), 0);
}

bool IsOnlyEarly() {
    return WSAGetLastError() == WSAEWOULDBLOCK;
}

void SetNonBlocking(Socket socket) {
    u_long yes = 1;
    ioctlsocket(Handle(socket), static_cast<long>(FIONBIO), &yes);
}

void SetNoDelay(Socket socket) {
    SetOption(socket, IPPROTO_TCP, TCP_NODELAY, BOOL{TRUE});
}

// SO_REUSEADDR would let two listeners share a port here; what is forgotten needs no leave.
void SetReusable(Socket socket) {
    SetOption(socket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, BOOL{TRUE});
}

void SetResetOnClose(Socket socket) {
    SetOption(socket, SOL_SOCKET, SO_LINGER, linger{1, 0});
}

void End(Socket socket, Direction direction) {
    shutdown(Handle(socket), direction == Direction::kBoth ? SD_BOTH : SD_SEND);
}

void Close(Socket socket) {
    closesocket(Handle(socket));
}

bool Wait(Wanted* wanted, std::size_t count, int milliseconds) {
    std::vector<WSAPOLLFD> polled;
    for (std::size_t i = 0; i < count; ++i)
        polled.push_back(
            {Handle(wanted[i].socket), wanted[i].toWrite ? short{POLLWRNORM} : short{POLLRDNORM}, 0});
    const int ready = WSAPoll(polled.data(), static_cast<ULONG>(polled.size()), milliseconds);
    for (std::size_t i = 0; i < count; ++i)
        wanted[i].isReady = polled[i].revents != 0;
    return ready > 0;
}

void BlockSigpipe() {}

}  // namespace sockets
