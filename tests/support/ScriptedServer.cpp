#include "tests/support/ScriptedServer.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <optional>
#include <stdexcept>

#include "tests/support/TransportFacts.h"

namespace test {
namespace {

using sockets::Socket;

constexpr auto kPatience = std::chrono::seconds(10);
constexpr std::string_view kHeadEnd = "\r\n\r\n";
constexpr std::string_view kLineEnd = "\r\n";

void Require(bool isDone, const char* what) {
    if (!isDone)
        throw std::runtime_error(std::string("scripted server: cannot ") + what);
}

bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
    });
}

std::string_view TakeUntil(std::string_view& text, std::string_view mark) {
    const auto end = text.find(mark);
    const auto taken = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + mark.size());
    return taken;
}

WireRequest ParseHead(std::string_view head) {
    WireRequest request;
    std::string_view requestLine = TakeUntil(head, kLineEnd);
    request.method = TakeUntil(requestLine, " ");
    request.target = TakeUntil(requestLine, " ");
    request.version = requestLine;
    while (!head.empty()) {
        std::string_view value = TakeUntil(head, kLineEnd);
        const auto name = TakeUntil(value, ":");
        if (value.starts_with(' '))
            value.remove_prefix(1);
        if (!name.empty())
            request.headers.emplace_back(name, value);
    }
    return request;
}

}  // namespace

std::string WireRequest::Header(std::string_view name) const {
    const auto found = std::find_if(headers.begin(), headers.end(), [&](const auto& header) {
        return EqualsIgnoringCase(header.first, name);
    });
    return found == headers.end() ? std::string() : found->second;
}

bool WireRequest::HasHeader(std::string_view name) const {
    return std::any_of(headers.begin(), headers.end(),
                       [&](const auto& header) { return EqualsIgnoringCase(header.first, name); });
}

void Gate::Open() {
    const std::lock_guard lock(mutex_);
    isOpen_ = true;
    opened_.notify_all();
}

void Gate::Wait() {
    std::unique_lock lock(mutex_);
    opened_.wait(lock, [this] { return isOpen_; });
}

Answer Answer::Of(int status, const HeaderPairs& headers, std::string_view body) {
    Answer answer;
    answer.bytes = "HTTP/1.1 " + std::to_string(status) + " Scripted\r\n";
    for (const auto& [name, value] : headers)
        answer.bytes.append(name).append(": ").append(value).append(kLineEnd);
    if (PoolsConnections())
        answer.bytes += "Connection: close\r\n";
    answer.bytes += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
    answer.bytes.append(body);
    return answer;
}

Answer Answer::Dripping(std::chrono::milliseconds interval) && {
    dripInterval = interval;
    return std::move(*this);
}

Answer Answer::Behind(std::shared_ptr<Gate> door) && {
    gate = std::move(door);
    return std::move(*this);
}

bool HasLoopback(sockets::Loopback loopback) {
    std::uint16_t port = 0;
    const Socket listener = sockets::Listen(port, 0, loopback);
    if (listener != sockets::kNone)
        sockets::Close(listener);
    return listener != sockets::kNone;
}

// One accepted socket, with TLS on it or not.
class ScriptedServer::Connection {
public:
    Connection(Socket socket, SSL_CTX* context, const sockets::StopSignal& stop)
        : socket_(socket), stop_(stop), ssl_(nullptr, SSL_free) {
        // As real servers do, or an answer behind TLS session tickets waits 40 ms for their acknowledgement.
        sockets::SetNoDelay(socket_);
        if (!context)
            return;
        ssl_.reset(SSL_new(context));
        SSL_set_fd(ssl_.get(), static_cast<int>(socket_));
        isOpen_ = SSL_accept(ssl_.get()) == 1;
        ERR_clear_error();
    }

    [[nodiscard]] bool IsOpen() const { return isOpen_; }
    [[nodiscard]] Socket GetSocket() const { return socket_; }

    // Appends what arrives to the pending bytes. False when nothing more will.
    bool Receive() {
        if (!WaitForBytes())
            return false;
        std::array<char, 16384> piece{};
        const auto count = ssl_ ? SSL_read(ssl_.get(), piece.data(), static_cast<int>(piece.size()))
                                : sockets::Receive(socket_, piece.data(), piece.size());
        if (count <= 0)
            return false;
        pending_.append(piece.data(), static_cast<std::size_t>(count));
        return true;
    }

    bool Send(std::string_view bytes) {
        while (!bytes.empty()) {
            const auto count = ssl_ ? SSL_write(ssl_.get(), bytes.data(), static_cast<int>(bytes.size()))
                                    : sockets::Send(socket_, bytes);
            if (count <= 0)
                return false;
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        return true;
    }

    std::optional<WireRequest> ReadRequest(bool withBody) {
        std::size_t headEnd = 0;
        while ((headEnd = pending_.find(kHeadEnd)) == std::string::npos) {
            if (!Receive())
                return std::nullopt;
        }
        headEnd += kHeadEnd.size();
        auto request = ParseHead(std::string_view(pending_).substr(0, headEnd));
        const auto bodySize =
            withBody ? std::strtoull(request.Header("Content-Length").c_str(), nullptr, 10) : 0;
        while (pending_.size() < headEnd + bodySize) {
            if (!Receive())
                return std::nullopt;
        }
        request.raw = pending_.substr(0, headEnd + bodySize);
        request.body = pending_.substr(headEnd, bodySize);
        pending_.erase(0, request.raw.size());
        return request;
    }

    void WaitForEnd() {
        while (Receive()) {
        }
    }

    void CloseInOrder() {
        if (ssl_)
            SSL_shutdown(ssl_.get());
        sockets::End(socket_, sockets::Direction::kSending);
    }

    void PrepareReset() const { sockets::SetResetOnClose(socket_); }

private:
    // Not every system wakes a thread that reads when another ends the connection.
    bool WaitForBytes() {
        if (ssl_ && SSL_has_pending(ssl_.get()) == 1)
            return true;
        std::array<sockets::Wanted, 2> wanted{sockets::Wanted{socket_}, sockets::Wanted{stop_.GetSocket()}};
        return sockets::Wait(wanted.data(), wanted.size(), -1) && !wanted[1].isReady;
    }

    Socket socket_;
    const sockets::StopSignal& stop_;
    std::unique_ptr<SSL, void (*)(SSL*)> ssl_;
    bool isOpen_ = true;
    std::string pending_;
};

void ScriptedServer::ContextDeleter::operator()(SSL_CTX* context) const {
    SSL_CTX_free(context);
}

ScriptedServer::ScriptedServer(ServerOptions options)
    : options_(std::move(options)), default_([](const WireRequest&) { return Answer::Of(200); }) {
    if (!options_.certificatePem.empty())
        MakeTlsContext();
    Listen();
    acceptor_ = std::thread([this] { AcceptAll(); });
}

ScriptedServer::~ScriptedServer() {
    std::vector<std::thread> workers;
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
        changed_.notify_all();
        for (const auto& gate : gates_)
            gate->Open();
        stop_.Raise();
        for (const Socket socket : sockets_)
            sockets::End(socket, sockets::Direction::kBoth);
    }
    // Either wakes the acceptor, which finds that it is over: the first on some systems, the second on the
    // others.
    sockets::End(listener_, sockets::Direction::kBoth);
    const Socket last = sockets::Connect(port_, options_.loopback);
    acceptor_.join();
    if (last != sockets::kNone)
        sockets::Close(last);
    workers.swap(workers_);  // the acceptor was the only one to add
    for (auto& worker : workers)
        worker.join();
    sockets::Close(listener_);
}

void ScriptedServer::MakeTlsContext() {
    const auto memory = [](const std::string& text) {
        return std::unique_ptr<BIO, decltype(&BIO_free)>(
            BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), BIO_free);
    };
    const std::unique_ptr<X509, decltype(&X509_free)> certificate(
        PEM_read_bio_X509(memory(options_.certificatePem).get(), nullptr, nullptr, nullptr), X509_free);
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
        PEM_read_bio_PrivateKey(memory(options_.keyPem).get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
    context_.reset(SSL_CTX_new(TLS_server_method()));
    Require(context_ && certificate && key, "read the certificate");
    SSL_CTX_set_security_level(context_.get(), 0);  // or OpenSSL would not serve TLS 1.1 at all
    Require(SSL_CTX_use_certificate(context_.get(), certificate.get()) == 1 &&
                SSL_CTX_use_PrivateKey(context_.get(), key.get()) == 1 &&
                SSL_CTX_set_min_proto_version(context_.get(), options_.minTlsVersion) == 1 &&
                SSL_CTX_set_max_proto_version(context_.get(), options_.maxTlsVersion) == 1,
            "set up TLS");
}

void ScriptedServer::Listen() {
    listener_ = sockets::Listen(port_, options_.receiveBufferBytes, options_.loopback);
    Require(listener_ != sockets::kNone, "listen on loopback");
}

void ScriptedServer::AcceptAll() {
    sockets::BlockSigpipe();
    for (;;) {
        const Socket socket = sockets::Accept(listener_);
        const std::lock_guard lock(mutex_);
        if (isStopping_) {
            if (socket != sockets::kNone)
                sockets::Close(socket);
            return;
        }
        if (socket == sockets::kNone)
            continue;
        sockets_.push_back(socket);
        const int number = ++connectionCount_;
        changed_.notify_all();
        workers_.emplace_back([this, socket, number] { Serve(socket, number); });
    }
}

void ScriptedServer::Serve(Socket socket, int number) {
    sockets::BlockSigpipe();  // a client that hangs up must not end the test program
    if (options_.reading == ServerOptions::Reading::kNothing) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return isStopping_; });
    } else {
        Connection connection(socket, context_.get(), stop_);
        if (connection.IsOpen())
            ServeRequests(connection, number);
    }
    const std::lock_guard lock(mutex_);
    std::erase(sockets_, socket);
    sockets::Close(socket);
}

void ScriptedServer::ServeRequests(Connection& connection, int number) {
    const bool withBody = options_.reading == ServerOptions::Reading::kWhole;
    while (auto request = connection.ReadRequest(withBody)) {
        request->connection = number;
        if (!PlayAnswer(connection, RecordAndAnswer(*request), *request))
            return;
    }
}

// Whether the connection goes on.
bool ScriptedServer::PlayAnswer(Connection& connection, const Answer& answer, const WireRequest& request) {
    if (answer.gate)
        answer.gate->Wait();
    const std::size_t step =
        answer.dripInterval.count() > 0 ? 1 : std::max<std::size_t>(answer.bytes.size(), 1);
    for (std::size_t sent = 0; sent < answer.bytes.size(); sent += step) {
        if (sent > 0 && !PauseUnlessStopping(answer.dripInterval))
            return false;
        if (!connection.Send(std::string_view(answer.bytes).substr(sent, step)))
            return false;
    }
    switch (answer.ending) {
        case Answer::Ending::kKeep:
            return true;
        case Answer::Ending::kClose:
            connection.CloseInOrder();
            break;
        case Answer::Ending::kReset:
            connection.PrepareReset();
            break;
        case Answer::Ending::kHang:
            connection.WaitForEnd();
            break;
        case Answer::Ending::kTunnel:
            Tunnel(connection.GetSocket(), request.target);
            break;
    }
    return false;
}

// Recorded and answered under one lock: whoever saw the request knows that its answer has left the queue.
Answer ScriptedServer::RecordAndAnswer(const WireRequest& request) {
    DefaultAnswer makeDefault;
    {
        const std::lock_guard lock(mutex_);
        requests_.push_back(request);
        changed_.notify_all();
        if (!answers_.empty()) {
            Answer answer = std::move(answers_.front());
            answers_.pop_front();
            return answer;
        }
        makeDefault = default_;
    }
    Answer answer = makeDefault(request);
    const std::lock_guard lock(mutex_);
    if (answer.gate) {
        gates_.push_back(answer.gate);
        if (isStopping_)
            answer.gate->Open();
    }
    return answer;
}

// Carries bytes both ways until either side ends.
void ScriptedServer::Tunnel(Socket client, const std::string& target) {
    const auto port = static_cast<std::uint16_t>(std::atoi(target.c_str() + target.rfind(':') + 1));
    const Socket upstream = sockets::Connect(port);
    if (upstream == sockets::kNone)
        return;
    bool isOpen = true;
    std::array<sockets::Wanted, 2> ends{sockets::Wanted{client}, sockets::Wanted{upstream}};
    std::array<char, 16384> piece{};
    while (isOpen && sockets::Wait(ends.data(), ends.size(), -1)) {
        for (std::size_t i = 0; i < ends.size() && isOpen; ++i) {
            if (!ends[i].isReady)
                continue;
            const auto count = sockets::Receive(ends[i].socket, piece.data(), piece.size());
            isOpen = count > 0 && sockets::Send(ends[1 - i].socket,
                                                {piece.data(), static_cast<std::size_t>(count)}) == count;
        }
    }
    sockets::Close(upstream);
}

bool ScriptedServer::PauseUnlessStopping(std::chrono::milliseconds pause) {
    std::unique_lock lock(mutex_);
    return !changed_.wait_for(lock, pause, [this] { return isStopping_; });
}

void ScriptedServer::Enqueue(Answer answer) {
    const std::lock_guard lock(mutex_);
    if (answer.gate)
        gates_.push_back(answer.gate);
    answers_.push_back(std::move(answer));
}

void ScriptedServer::SetDefault(DefaultAnswer answer) {
    const std::lock_guard lock(mutex_);
    default_ = std::move(answer);
}

std::string ScriptedServer::Url(std::string_view path) const {
    return (context_ ? "https://localhost:" : "http://127.0.0.1:") + std::to_string(port_) +
           std::string(path);
}

std::vector<WireRequest> ScriptedServer::Requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

int ScriptedServer::ConnectionCount() const {
    const std::lock_guard lock(mutex_);
    return connectionCount_;
}

bool ScriptedServer::WaitForRequests(std::size_t count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kPatience, [&] { return requests_.size() >= count; });
}

}  // namespace test
