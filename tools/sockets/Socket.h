// Sockets of the loopback, alike on every system, for servers that tests and people talk to.
//
// A broken connection is told by the results, never by a signal or an exception. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace sockets {

using Socket = std::intptr_t;
inline constexpr Socket kNone = -1;

// 127.0.0.1 or ::1; not every machine has the second.
enum class Loopback { kIpv4, kIpv6 };

// Listens at any port of the loopback that is free; `port` receives it. `receiveBufferBytes` 0 leaves the
// system's. kNone when the system refuses.
[[nodiscard]] Socket Listen(std::uint16_t& port, int receiveBufferBytes = 0,
                            Loopback loopback = Loopback::kIpv4);
// Waits for the next connection. kNone when it did not come about; a listener that ends wakes nobody.
[[nodiscard]] Socket Accept(Socket listener);
[[nodiscard]] Socket Connect(std::uint16_t port, Loopback loopback = Loopback::kIpv4);

// The count; 0 at the end; below 0 on a fault, a wait that a socket without blocking would need among them.
[[nodiscard]] std::ptrdiff_t Receive(Socket socket, char* bytes, std::size_t size);
[[nodiscard]] std::ptrdiff_t Send(Socket socket, std::string_view bytes);
// Whether the fault of the last call on this thread was such a wait, or an interruption: then it is tried
// again.
[[nodiscard]] bool IsOnlyEarly();

void SetNonBlocking(Socket socket);
void SetNoDelay(Socket socket);
// A listener may take a port whose former connections are not all forgotten, but none that another one has.
void SetReusable(Socket socket);
// The close that follows sends a reset.
void SetResetOnClose(Socket socket);

enum class Direction { kSending, kBoth };
void End(Socket socket, Direction direction);
void Close(Socket socket);

// What to wait for on a socket, and whether it has come. An end or a fault makes a socket ready for both.
struct Wanted {
    Socket socket;
    bool toWrite = false;
    bool isReady = false;
};
// False when nothing has come. Below 0 is without limit.
[[nodiscard]] bool Wait(Wanted* wanted, std::size_t count, int milliseconds);

// Keeps SIGPIPE from the process where the system has it: blocked on the calling thread, it ends with the
// thread.
void BlockSigpipe();

}  // namespace sockets
