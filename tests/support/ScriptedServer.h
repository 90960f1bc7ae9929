// A server on loopback that does what the test wrote down, and keeps every byte that it was sent.
//
//     test::ScriptedServer server;
//     server.Enqueue(test::Answer::Of(200, {{"Content-Type", "application/json"}}, "{}"));
//     ... one exchange with server.Url("/path") ...
//     EXPECT_EQ(server.Requests().at(0).raw, "GET /path HTTP/1.1\r\n...");
//
// Answers are taken from the queue in the order in which requests arrive; an empty queue asks the default
// answer, which is an empty 200. Every connection has a thread of its own, so that one that hangs keeps none
// from being served. The destructor breaks all connections, opens all gates and waits for the threads.
//
// All operations may be called from any thread. Throws std::runtime_error when the system refuses a socket.
#pragma once

#include <openssl/types.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tools/sockets/Socket.h"
#include "tools/sockets/StopSignal.h"

namespace test {

using HeaderPairs = std::vector<std::pair<std::string, std::string>>;

// One request, as it came.
struct WireRequest {
    std::string raw;  // request line, header lines and body, byte for byte
    std::string method;
    std::string target;
    std::string version;
    HeaderPairs headers;  // in the order of the wire; one blank behind the colon is taken off
    std::string body;     // as long as its Content-Length tells
    int connection = 0;   // counted from 1

    // The value of the first header of this name, in any case; empty if there is none.
    [[nodiscard]] std::string Header(std::string_view name) const;
    [[nodiscard]] bool HasHeader(std::string_view name) const;
};

// A door that a test opens once.
class Gate {
public:
    void Open();
    void Wait();

private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool isOpen_ = false;
};

// What a connection does when a request is there.
struct Answer {
    enum class Ending {
        kKeep,    // waits for the next request
        kClose,   // closes in order
        kReset,   // closes with a TCP reset
        kHang,    // says nothing more and waits until the other side or the test ends
        kTunnel,  // becomes a proxy's tunnel to the port of loopback that the request's target names
    };

    std::string bytes = {};
    Ending ending = Ending::kKeep;
    std::chrono::milliseconds dripInterval{0};  // above 0: one byte, then a pause, and so on
    std::shared_ptr<Gate> gate = nullptr;       // the answer waits for it

    // A whole answer with its Content-Length, and the announcement of a close where the transport pools
    // connections.
    static Answer Of(int status, const HeaderPairs& headers = {}, std::string_view body = {});
    static Answer Raw(std::string bytes, Ending ending = Ending::kClose) {
        return {.bytes = std::move(bytes), .ending = ending};
    }
    static Answer Never() { return {.ending = Ending::kHang}; }
    static Answer CloseUnanswered() { return {.ending = Ending::kClose}; }
    static Answer Reset() { return {.ending = Ending::kReset}; }
    static Answer Tunnel() {
        return {.bytes = "HTTP/1.1 200 Connection established\r\n\r\n", .ending = Ending::kTunnel};
    }

    [[nodiscard]] Answer Dripping(std::chrono::milliseconds interval) &&;
    [[nodiscard]] Answer Behind(std::shared_ptr<Gate> door) &&;
};

struct ServerOptions {
    enum class Reading {
        kWhole,     // answers when the request is there whole
        kHeadOnly,  // answers as soon as the head is there and leaves the body unread
        kNothing,   // accepts and reads not a byte
    };

    std::string certificatePem = {};  // with a key: TLS
    std::string keyPem = {};
    int minTlsVersion = 0;  // TLS1_2_VERSION and the like; 0 for no bound
    int maxTlsVersion = 0;
    Reading reading = Reading::kWhole;
    int receiveBufferBytes = 0;  // of the sockets; 0 leaves the system's
    sockets::Loopback loopback = sockets::Loopback::kIpv4;
};

// Not every machine has IPv6.
[[nodiscard]] bool HasLoopback(sockets::Loopback loopback);

class ScriptedServer {
public:
    using DefaultAnswer = std::function<Answer(const WireRequest&)>;

    explicit ScriptedServer(ServerOptions options = {});
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    void Enqueue(Answer answer);
    void SetDefault(DefaultAnswer answer);

    [[nodiscard]] std::uint16_t Port() const { return port_; }
    // "http://127.0.0.1:<port>" or, with TLS, "https://localhost:<port>", and `path` behind it. Not of an
    // IPv6 address, which can be written in many ways.
    [[nodiscard]] std::string Url(std::string_view path = {}) const;

    [[nodiscard]] std::vector<WireRequest> Requests() const;
    // Connections accepted so far, with a request on them or not.
    [[nodiscard]] int ConnectionCount() const;
    // Waits until so many requests have been read. False after ten seconds: then the test has failed.
    [[nodiscard]] bool WaitForRequests(std::size_t count);

private:
    class Connection;
    struct ContextDeleter {
        void operator()(SSL_CTX* context) const;
    };

    void MakeTlsContext();
    void Listen();
    void AcceptAll();
    void Serve(sockets::Socket socket, int number);
    void ServeRequests(Connection& connection, int number);
    // Whether the connection goes on.
    [[nodiscard]] bool PlayAnswer(Connection& connection, const Answer& answer, const WireRequest& request);
    [[nodiscard]] Answer RecordAndAnswer(const WireRequest& request);
    void Tunnel(sockets::Socket client, const std::string& target);
    bool PauseUnlessStopping(std::chrono::milliseconds pause);

    const ServerOptions options_;
    std::unique_ptr<SSL_CTX, ContextDeleter> context_;
    sockets::Socket listener_ = sockets::kNone;
    std::uint16_t port_ = 0;

    sockets::StopSignal stop_;

    mutable std::mutex mutex_;  // guards all below
    std::condition_variable changed_;
    std::deque<Answer> answers_;
    DefaultAnswer default_;
    std::vector<WireRequest> requests_;
    std::vector<std::shared_ptr<Gate>> gates_;
    std::vector<sockets::Socket> sockets_;  // open ones, to be shut down at the end
    std::vector<std::thread> workers_;
    int connectionCount_ = 0;
    bool isStopping_ = false;

    std::thread acceptor_;  // last: it uses what stands above
};

}  // namespace test
