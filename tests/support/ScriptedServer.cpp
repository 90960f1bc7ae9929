#include "tests/support/ScriptedServer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <stdexcept>

namespace test {
namespace {

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

sockaddr_in Loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// A client that hangs up must not end the test program.
void BlockSigpipe() {
    sigset_t sigpipe{};
    sigemptyset(&sigpipe);
    sigaddset(&sigpipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &sigpipe, nullptr);
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

// One accepted socket, with TLS on it or not.
class ScriptedServer::Connection {
public:
    Connection(int descriptor, SSL_CTX* context) : descriptor_(descriptor), ssl_(nullptr, SSL_free) {
        // As real servers do, or an answer behind TLS session tickets waits 40 ms for their acknowledgement.
        const int yes = 1;
        setsockopt(descriptor_, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        if (!context)
            return;
        ssl_.reset(SSL_new(context));
        SSL_set_fd(ssl_.get(), descriptor_);
        isOpen_ = SSL_accept(ssl_.get()) == 1;
        ERR_clear_error();
    }

    [[nodiscard]] bool IsOpen() const { return isOpen_; }
    [[nodiscard]] int Descriptor() const { return descriptor_; }

    // Appends what arrives to the pending bytes. False when nothing more will.
    bool Receive() {
        std::array<char, 16384> piece{};
        const auto count = ssl_ ? SSL_read(ssl_.get(), piece.data(), static_cast<int>(piece.size()))
                                : recv(descriptor_, piece.data(), piece.size(), 0);
        if (count <= 0)
            return false;
        pending_.append(piece.data(), static_cast<std::size_t>(count));
        return true;
    }

    bool Send(std::string_view bytes) {
        while (!bytes.empty()) {
            const auto count = ssl_ ? SSL_write(ssl_.get(), bytes.data(), static_cast<int>(bytes.size()))
                                    : send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
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
        shutdown(descriptor_, SHUT_WR);
    }

    // The close that follows sends a reset.
    void PrepareReset() const {
        const linger abort{1, 0};
        setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    }

private:
    int descriptor_;
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
        for (const int descriptor : descriptors_)
            shutdown(descriptor, SHUT_RDWR);
    }
    shutdown(listener_, SHUT_RDWR);  // wakes accept
    acceptor_.join();
    workers.swap(workers_);  // the acceptor was the only one to add
    for (auto& worker : workers)
        worker.join();
    close(listener_);
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
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    Require(listener_ >= 0, "make a socket");
    if (options_.receiveBufferBytes > 0)
        setsockopt(listener_, SOL_SOCKET, SO_RCVBUF, &options_.receiveBufferBytes, sizeof(int));
    sockaddr_in address = Loopback(0);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    Require(bind(listener_, generic, size) == 0 && listen(listener_, SOMAXCONN) == 0 &&
                getsockname(listener_, generic, &size) == 0,
            "listen on loopback");
    port_ = ntohs(address.sin_port);
}

void ScriptedServer::AcceptAll() {
    BlockSigpipe();
    for (;;) {
        const int descriptor = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        const std::lock_guard lock(mutex_);
        if (isStopping_) {
            if (descriptor >= 0)
                close(descriptor);
            return;
        }
        if (descriptor < 0)
            continue;
        descriptors_.push_back(descriptor);
        const int number = ++connectionCount_;
        changed_.notify_all();
        workers_.emplace_back([this, descriptor, number] { Serve(descriptor, number); });
    }
}

void ScriptedServer::Serve(int descriptor, int number) {
    BlockSigpipe();
    if (options_.reading == ServerOptions::Reading::kNothing) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return isStopping_; });
    } else {
        Connection connection(descriptor, context_.get());
        if (connection.IsOpen())
            ServeRequests(connection, number);
    }
    const std::lock_guard lock(mutex_);
    std::erase(descriptors_, descriptor);
    close(descriptor);
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
            Tunnel(connection.Descriptor(), request.target);
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
void ScriptedServer::Tunnel(int client, const std::string& target) {
    const auto port = static_cast<std::uint16_t>(std::atoi(target.c_str() + target.rfind(':') + 1));
    const int upstream = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Loopback(port);
    bool isOpen = connect(upstream, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    std::array<pollfd, 2> ends{pollfd{client, POLLIN, 0}, pollfd{upstream, POLLIN, 0}};
    std::array<char, 16384> piece{};
    while (isOpen && poll(ends.data(), ends.size(), -1) > 0) {
        for (std::size_t i = 0; i < ends.size() && isOpen; ++i) {
            if (ends[i].revents == 0)
                continue;
            const auto count = recv(ends[i].fd, piece.data(), piece.size(), 0);
            isOpen = count > 0 && send(ends[1 - i].fd, piece.data(), static_cast<std::size_t>(count),
                                       MSG_NOSIGNAL) == count;
        }
    }
    close(upstream);
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
