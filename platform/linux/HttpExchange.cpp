#include "platform/linux/HttpExchange.h"

#include <openssl/ssl.h>
#include <sys/socket.h>

#include <algorithm>
#include <climits>
#include <utility>

#include "platform/linux/TrustStore.h"

namespace quillmarkclient_linux {
namespace {

using quillmarkclient_common::EqualsIgnoringCase;

constexpr char kAgent[] = "ABClient_HInternet";
constexpr char kSchemes[] = "http,https";
constexpr std::uint32_t kBodyPieceBytes = 4096;  // a file is never wholly in memory

struct NumberOption {
    CURLoption option;
    long value;
};

constexpr NumberOption kNumberOptions[] = {
    {CURLOPT_NOSIGNAL, 1},    // no handlers and no alarms in a host's process
    {CURLOPT_QUICK_EXIT, 1},  // do not join a resolver's thread that still waits for its name server
    {CURLOPT_FRESH_CONNECT, 1},
    {CURLOPT_FORBID_REUSE, 1},
    {CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1},
    {CURLOPT_PATH_AS_IS, 1},  // "/a/../b" goes out as it was given
    {CURLOPT_FOLLOWLOCATION, 0},
    {CURLOPT_SUPPRESS_CONNECT_HEADERS, 1},
    {CURLOPT_HTTP_CONTENT_DECODING, 0},
    {CURLOPT_DISALLOW_USERNAME_IN_URL, 1},
    {CURLOPT_SSLVERSION, CURL_SSLVERSION_TLSv1_2},
    {CURLOPT_PROXY_SSLVERSION, CURL_SSLVERSION_TLSv1_2},
    {CURLOPT_SSL_VERIFYPEER, 1},
    {CURLOPT_SSL_VERIFYHOST, 2},
    {CURLOPT_SSL_SESSIONID_CACHE, 0},
};

// libcurl's own certificate bundle: left unread, TrustStore stands in for it.
constexpr CURLoption kBundleOptions[] = {
    CURLOPT_CAINFO,
    CURLOPT_CAPATH,
    CURLOPT_PROXY_CAINFO,
    CURLOPT_PROXY_CAPATH,
};

template <class Value>
bool Set(CURL* easy, CURLoption option, Value value) {
    return curl_easy_setopt(easy, option, value) == CURLE_OK;
}

bool IsEmptyLine(std::string_view line) {
    return line == "\r\n" || line == "\n";
}

// We never asked for a coding of the transfer, and libcurl would undo one: then what was sent is not what is
// read.
bool HasForeignTransferCoding(std::string_view head) {
    const auto codings = FindHeaders(head, "Transfer-Encoding");
    return std::any_of(codings.begin(), codings.end(),
                       [](std::string_view coding) { return !EqualsIgnoringCase(coding, "chunked"); });
}

}  // namespace

HttpExchange::HttpExchange(const HttpOrder& order, BodyQuestion isBodyWanted)
    : order_(order),
      isBodyWanted_(std::move(isBodyWanted)),
      bodySize_(order.body ? order.body->GetSize() : 0),
      headerList_(MakeHeaderList(order.headers, bodySize_)),
      proxyHeaderList_(MakeProxyHeaderList()),
      multi_(curl_multi_init()),
      easy_(curl_easy_init()) {}

HttpExchange::~HttpExchange() {
    if (multi_ && easy_)
        curl_multi_remove_handle(multi_.get(), easy_.get());
}

ResultCode HttpExchange::Run() {
    if (!multi_ || !easy_ || !Prepare() || curl_multi_add_handle(multi_.get(), easy_.get()) != CURLM_OK)
        return ResultCode::kNetwork;
    EnterStep(Step::kResolve);
    return Drive();
}

bool HttpExchange::Prepare() {
    for (const auto& [option, value] : kNumberOptions) {
        if (!Set(easy_.get(), option, value))
            return false;
    }
    for (const auto option : kBundleOptions) {
        if (!Set(easy_.get(), option, static_cast<char*>(nullptr)))
            return false;
    }
    return PrepareRequest() && PrepareCallbacks();
}

bool HttpExchange::PrepareRequest() {
    // Bounds only how libcurl shares its time between the addresses of a host; the limits are measured in
    // Drive.
    const auto connectMs = std::uint64_t{order_.timeouts.resolveMs} + order_.timeouts.connectMs;
    CURL* easy = easy_.get();
    const bool isSet =
        Set(easy, CURLOPT_URL, order_.url.text.c_str()) && Set(easy, CURLOPT_USERAGENT, kAgent) &&
        Set(easy, CURLOPT_PROTOCOLS_STR, kSchemes) && Set(easy, CURLOPT_HTTPHEADER, headerList_.get()) &&
        Set(easy, CURLOPT_PROXYHEADER, proxyHeaderList_.get()) &&
        Set(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::min<std::uint64_t>(connectMs, INT_MAX)));
    if (!isSet)
        return false;
    // The kind of request only says whether a body goes out; the method is always the caller's word.
    const bool isKindSet =
        bodySize_ == 0 ? Set(easy, CURLOPT_HTTPGET, 1L)
                       : Set(easy, CURLOPT_POST, 1L) &&
                             Set(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(bodySize_));
    return isKindSet && Set(easy, CURLOPT_CUSTOMREQUEST, order_.method.c_str());
}

bool HttpExchange::PrepareCallbacks() {
    CURL* easy = easy_.get();
    return Set(easy, CURLOPT_HEADERFUNCTION, &OnHeader) && Set(easy, CURLOPT_HEADERDATA, this) &&
           Set(easy, CURLOPT_WRITEFUNCTION, &OnBody) && Set(easy, CURLOPT_WRITEDATA, this) &&
           Set(easy, CURLOPT_READFUNCTION, &OnRead) && Set(easy, CURLOPT_READDATA, this) &&
           Set(easy, CURLOPT_OPENSOCKETFUNCTION, &OnOpenSocket) && Set(easy, CURLOPT_OPENSOCKETDATA, this) &&
           Set(easy, CURLOPT_PREREQFUNCTION, &OnReadyToSend) && Set(easy, CURLOPT_PREREQDATA, this) &&
           Set(easy, CURLOPT_SSL_CTX_FUNCTION, &OnSslContext) && Set(easy, CURLOPT_SSL_CTX_DATA, this);
}

ResultCode HttpExchange::Drive() {
    for (;;) {
        int running = 0;
        if (curl_multi_perform(multi_.get(), &running) != CURLM_OK)
            return ResultCode::kNetwork;
        if (!IsSuccess(failure_))
            return failure_;
        if (complete_)
            return ResultCode::kSuccess;
        if (running == 0)
            return Outcome();
        NoticeBodySent();

        const auto remainingMs = RemainingMs();
        if (remainingMs <= 0)
            return ResultCode::kNetwork;
        int ready = 0;
        const int waitMs = static_cast<int>(std::min<std::int64_t>(remainingMs, INT_MAX));
        if (curl_multi_poll(multi_.get(), nullptr, 0, waitMs, &ready) != CURLM_OK)
            return ResultCode::kNetwork;
        // A socket that became ready is progress, down to the single byte that fills no line and no TLS
        // record.
        if (ready > 0 && (step_ == Step::kSend || step_ == Step::kReceive))
            EnterStep(step_);
    }
}

// libcurl takes a connection that closes inside the head for the end of the answer.
ResultCode HttpExchange::Outcome() {
    int left = 0;
    const CURLMsg* message = curl_multi_info_read(multi_.get(), &left);
    const bool isDone = message && message->msg == CURLMSG_DONE;
    if (isDone && message->data.result == CURLE_URL_MALFORMAT)
        return ResultCode::kInvalidParameters;
    const bool isWhole = isDone && message->data.result == CURLE_OK && answer_.status != 0;
    return isWhole ? ResultCode::kSuccess : ResultCode::kNetwork;
}

void HttpExchange::EnterStep(Step step) {
    step_ = step;
    stepStart_ = std::chrono::steady_clock::now();
}

void HttpExchange::NoticeBodySent() {
    if (step_ != Step::kSend)
        return;
    curl_off_t sent = 0;
    curl_easy_getinfo(easy_.get(), CURLINFO_SIZE_UPLOAD_T, &sent);
    if (bodyEnded_ || sent >= static_cast<curl_off_t>(bodySize_))
        EnterStep(Step::kReceive);
}

std::int64_t HttpExchange::RemainingMs() const {
    const auto& limits = order_.timeouts;
    const std::uint32_t stepMs[] = {limits.resolveMs, limits.connectMs, limits.sendMs, limits.receiveMs};
    const auto stepEnd = stepStart_ + std::chrono::milliseconds(stepMs[static_cast<std::size_t>(step_)]);
    const auto left = std::min(stepEnd, order_.deadline) - std::chrono::steady_clock::now();
    return std::chrono::ceil<std::chrono::milliseconds>(left).count();
}

// Interim answers (1xx) have heads of their own, and trailers come this way behind the body: only the last
// head before the body counts.
bool HttpExchange::TakeHeaderLine(std::string_view line) {
    headerBytes_ += line.size();
    if (headerBytes_ > order_.bounds.headerBytes)
        return false;
    if (answer_.status != 0)
        return true;
    answer_.head.append(line.substr(0, line.find_last_not_of("\r\n") + 1)).append("\r\n");
    return !IsEmptyLine(line) || TakeHead();
}

bool HttpExchange::TakeHead() {
    long status = 0;
    curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
    if (status < 200) {
        answer_.head.clear();
        return true;
    }
    answer_.status = static_cast<std::uint32_t>(status);
    complete_ = !isBodyWanted_(answer_) || order_.method == "HEAD";
    return complete_ || !HasForeignTransferCoding(answer_.head);
}

bool HttpExchange::TakeBody(std::string_view piece) {
    if (complete_ || piece.size() > order_.bounds.bodyBytes - answer_.body.size())
        return false;
    answer_.body.append(piece);
    return true;
}

// A body that fails or ends early is sent as far as it went; the server, which was told another length,
// answers as it likes.
std::size_t HttpExchange::GiveBody(char* buffer, std::size_t capacity) {
    std::uint32_t count = 0;
    const auto wanted = static_cast<std::uint32_t>(std::min<std::size_t>(capacity, kBodyPieceBytes));
    bodyEnded_ = bodyEnded_ || order_.body->Read(buffer, wanted, &count) != HttpBodyRead::kData;
    return bodyEnded_ ? 0 : count;
}

// Nothing may be thrown through libcurl's frames, which are C.
template <class Work>
bool HttpExchange::Guarded(Work work) noexcept {
    try {
        if (work())
            return true;
        failure_ = complete_ ? ResultCode::kSuccess : ResultCode::kNetwork;
    } catch (...) {
        failure_ = ResultCode::kInternalError;
    }
    return false;
}

std::size_t HttpExchange::OnHeader(char* data, std::size_t size, std::size_t count, void* self) {
    auto& exchange = *static_cast<HttpExchange*>(self);
    const std::string_view line(data, size * count);
    return exchange.Guarded([&] { return exchange.TakeHeaderLine(line); }) ? line.size() : 0;
}

std::size_t HttpExchange::OnBody(char* data, std::size_t size, std::size_t count, void* self) {
    auto& exchange = *static_cast<HttpExchange*>(self);
    const std::string_view piece(data, size * count);
    return exchange.Guarded([&] { return exchange.TakeBody(piece); }) ? piece.size() : 0;
}

std::size_t HttpExchange::OnRead(char* buffer, std::size_t size, std::size_t count, void* self) {
    auto& exchange = *static_cast<HttpExchange*>(self);
    std::size_t given = 0;
    const bool isGiven = !exchange.complete_ && exchange.Guarded([&] {
        given = exchange.GiveBody(buffer, size * count);
        return true;
    });
    return isGiven ? given : CURL_READFUNC_ABORT;
}

curl_socket_t HttpExchange::OnOpenSocket(void* self, curlsocktype, curl_sockaddr* address) {
    auto& exchange = *static_cast<HttpExchange*>(self);
    if (exchange.step_ == Step::kResolve)
        exchange.EnterStep(Step::kConnect);
    // Close-on-exec: a program that the host starts meanwhile must not inherit the connection.
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

int HttpExchange::OnReadyToSend(void* self, char*, char*, int, int) {
    auto& exchange = *static_cast<HttpExchange*>(self);
    exchange.EnterStep(exchange.bodySize_ == 0 ? Step::kReceive : Step::kSend);
    return CURL_PREREQFUNC_OK;
}

CURLcode HttpExchange::OnSslContext(CURL*, void* context, void* self) {
    auto& exchange = *static_cast<HttpExchange*>(self);
    const bool isTrusted = exchange.Guarded([&] {
        const auto store = TrustStore::OfProcess().Get();
        if (store)
            SSL_CTX_set1_cert_store(static_cast<SSL_CTX*>(context), store.get());
        return store != nullptr;
    });
    return isTrusted ? CURLE_OK : CURLE_ABORTED_BY_CALLBACK;
}

}  // namespace quillmarkclient_linux
