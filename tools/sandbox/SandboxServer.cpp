#include "tools/sandbox/SandboxServer.h"

#include <httplib.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <chrono>
#include <future>
#include <stdexcept>
#include <thread>

#include "tools/sandbox/Connection.h"
#include "tools/sandbox/Control.h"
#include "tools/sandbox/Routes.h"
#include "tools/sockets/FormerSigpipe.h"
#include "tools/sockets/StopSignal.h"

namespace sandbox {
namespace {

constexpr std::size_t kWorkers = 16;
constexpr std::size_t kBodyLimit = std::size_t{1024} * 1024;
constexpr const char* kHost = "127.0.0.1";

// What this thread serves: the HTTP library's handlers are not told their connection.
struct Served {
    Connection* connection = nullptr;
    bool handled = false;  // a handler has formed the answer
};
thread_local Served served;

// A connection as the HTTP library wants it.
class Wire : public httplib::Stream {
public:
    explicit Wire(Connection& connection) : connection_(connection) {}

    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    ssize_t read(char* bytes, size_t size) override {
        return static_cast<ssize_t>(connection_.read(bytes, size));
    }
    ssize_t write(const char* bytes, size_t size) override {
        return static_cast<ssize_t>(connection_.write(bytes, size));
    }
    void get_remote_ip_and_port(std::string&, int&) const override {}
    void get_local_ip_and_port(std::string&, int&) const override {}
    socket_t socket() const override { return static_cast<socket_t>(connection_.socket()); }

private:
    Connection& connection_;
};

using TlsContext = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;
using Memory = std::unique_ptr<BIO, decltype(&BIO_free)>;

Memory memoryOf(const std::string& text) {
    return Memory(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), BIO_free);
}

TlsContext makeTlsContext(const ServerCertificate& identity) {
    TlsContext context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    const Memory certificateText = memoryOf(identity.certificatePem);
    const Memory keyText = memoryOf(identity.keyPem);
    const std::unique_ptr<X509, decltype(&X509_free)> certificate(
        PEM_read_bio_X509(certificateText.get(), nullptr, nullptr, nullptr), X509_free);
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
        PEM_read_bio_PrivateKey(keyText.get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
    if (!context || !certificate || !key ||
        SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1 ||
        SSL_CTX_use_certificate(context.get(), certificate.get()) != 1 ||
        SSL_CTX_use_PrivateKey(context.get(), key.get()) != 1)
        throw std::runtime_error("the server's certificate cannot be used");
    SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    return context;
}

Request plainRequest(const httplib::Request& request) {
    Request plain{request.method, request.target, {}, request.body};
    for (const auto& [name, value] : request.headers)
        plain.headers.emplace_back(name, value);
    return plain;
}

void giveAnswer(const Answer& answer, httplib::Response& response) {
    response.status = answer.status;
    for (const auto& [name, value] : answer.headers)
        response.set_header(name, value);
    if (!answer.body.empty())
        response.set_content(answer.body, answer.contentType);
}

// Promises the whole body, at least a byte, and breaks off in the middle.
void giveHalf(const Answer& answer, httplib::Response& response) {
    giveAnswer(answer, response);
    response.body.clear();
    const std::string body = answer.body;
    response.headers.erase("Content-Type");
    response.set_content_provider(std::max<std::size_t>(body.size(), 1), answer.contentType,
                                  [body](std::size_t, std::size_t, httplib::DataSink& sink) {
                                      sink.write(body.data(), body.size() / 2);
                                      return false;
                                  });
    served.connection->endAbruptly();
}

Answer faultAnswer(const Fault& fault) {
    Answer answer;
    answer.status = fault.status;
    answer.contentType = fault.contentType;
    answer.body = fault.body;
    answer.headers = fault.headers;
    return answer;
}

}  // namespace

// The HTTP library's server with our connections under it. The first base is constructed before the second.
class SandboxServer::FrontEnd : private sockets::FormerSigpipe, public httplib::Server {
public:
    FrontEnd(AccountService& service, const ServerOptions& options);
    ~FrontEnd() override;

    void start();
    void end();

    [[nodiscard]] int port() const { return port_; }
    [[nodiscard]] bool isHttps() const { return options_.https; }
    [[nodiscard]] const std::string& authorityPem() const { return authorityPem_; }

    Faults faults;
    ExchangeLog log;

private:
    bool process_and_close_socket(socket_t socket) override;
    void addHandlers();
    void bind();
    void handle(const httplib::Request& request, httplib::Response& response);
    void exchange(const Request& request, httplib::Response& response, ExchangeRecord& record);

    AccountService& service_;
    ServerOptions options_;
    TlsContext tls_{nullptr, SSL_CTX_free};
    std::string authorityPem_;
    sockets::StopSignal stop_;
    int port_ = 0;
    std::thread listener_;
};

SandboxServer::FrontEnd::FrontEnd(AccountService& service, const ServerOptions& options)
    : service_(service), options_(options) {
    PutBack();
    if (options_.https) {
        std::optional<TestAuthority> own;
        const TestAuthority& authority = options_.authority != nullptr ? *options_.authority : own.emplace();
        authorityPem_ = authority.certificatePem();
        tls_ = makeTlsContext(authority.issue(options_.flaw));
    }
    addHandlers();
}

SandboxServer::FrontEnd::~FrontEnd() {
    end();
}

void SandboxServer::FrontEnd::addHandlers() {
    const auto serve = [this](const httplib::Request& request, httplib::Response& response) {
        handle(request, response);
    };
    Get(".*", serve);
    Post(".*", serve);
    Put(".*", serve);
    Patch(".*", serve);
    Delete(".*", serve);
    Options(".*", serve);
    // What never reached a handler, such as a request line that can't be read.
    set_error_handler([](const httplib::Request&, httplib::Response& response) {
        if (!served.handled)
            giveAnswer(refusal(response.status, "The request cannot be read."), response);
    });
    set_payload_max_length(kBodyLimit);
    set_default_headers({{"Cache-Control", "no-store"}});
    // Without SO_REUSEPORT, which would let a second sandbox share a fixed port unnoticed.
    set_socket_options([](socket_t socket) { sockets::SetReusable(static_cast<sockets::Socket>(socket)); });
}

void SandboxServer::FrontEnd::bind() {
    if (options_.port == 0)
        port_ = bind_to_any_port(kHost);
    else
        port_ = bind_to_port(kHost, options_.port) ? options_.port : -1;
    if (port_ <= 0)
        throw std::runtime_error("port " + std::to_string(options_.port) + " cannot be bound");
}

void SandboxServer::FrontEnd::start() {
    bind();
    std::promise<void> listening;
    new_task_queue = [&listening] {
        listening.set_value();
        return new httplib::ThreadPool(kWorkers);
    };
    listener_ = std::thread([this] { listen_after_bind(); });
    listening.get_future().wait();
}

void SandboxServer::FrontEnd::end() {
    if (!listener_.joinable())
        return;
    faults.endWaits();
    stop_.Raise();
    stop();
    listener_.join();
}

bool SandboxServer::FrontEnd::process_and_close_socket(socket_t socket) {
    sockets::BlockSigpipe();
    Connection connection(static_cast<sockets::Socket>(socket), tls_.get(), stop_);
    if (!connection.open())
        return false;
    served = {&connection, false};
    Wire wire(connection);
    bool ended = false;
    const bool answered = process_request(wire, true, ended, nullptr);
    served = {};
    return answered;
}

void SandboxServer::FrontEnd::handle(const httplib::Request& request, httplib::Response& response) {
    served.handled = true;
    const Request plain = plainRequest(request);
    const std::string path = splitTarget(plain.target).path;
    if (isControlPath(path))
        return giveAnswer(answerControl({service_, faults, log}, plain), response);
    ExchangeRecord record;
    record.method = plain.method;
    record.path = path;
    record.target = maskedTarget(plain.target);
    const auto begin = std::chrono::steady_clock::now();
    exchange(plain, response, record);
    record.milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin)
            .count();
    log.add(std::move(record));
}

void SandboxServer::FrontEnd::exchange(const Request& request, httplib::Response& response,
                                       ExchangeRecord& record) {
    const std::optional<Fault> fault = faults.take(record.method, record.path);
    const FaultKind kind = fault ? fault->kind : FaultKind::delay;
    if (fault)
        record.fault = faultWord(kind);
    if (fault && !faults.wait(fault->delay))
        return served.connection->cut();
    if (kind == FaultKind::cut)
        return served.connection->cut();
    const Answer answer = kind == FaultKind::status ? faultAnswer(*fault) : service_.answer(request);
    record.login = answer.login;
    if (kind == FaultKind::lost || (kind == FaultKind::half && answer.body.empty()))
        return served.connection->cut();
    record.status = answer.status;
    kind == FaultKind::half ? giveHalf(answer, response) : giveAnswer(answer, response);
}

SandboxServer::SandboxServer(AccountService& service, const ServerOptions& options)
    : frontEnd_(std::make_unique<FrontEnd>(service, options)) {}

SandboxServer::~SandboxServer() = default;

void SandboxServer::start() {
    frontEnd_->start();
}

void SandboxServer::stop() {
    frontEnd_->end();
}

int SandboxServer::port() const {
    return frontEnd_->port();
}

std::string SandboxServer::baseUrl() const {
    const std::string scheme = frontEnd_->isHttps() ? "https://" : "http://";
    return scheme + kHost + ":" + std::to_string(port());
}

std::string SandboxServer::authorityPem() const {
    return frontEnd_->authorityPem();
}

Faults& SandboxServer::faults() {
    return frontEnd_->faults;
}

ExchangeLog& SandboxServer::log() {
    return frontEnd_->log;
}

}  // namespace sandbox
