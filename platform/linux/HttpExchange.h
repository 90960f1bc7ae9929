#pragma once

#include <curl/curl.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/src/ResultCode.h"
#include "platform/linux/HttpBody.h"
#include "platform/linux/HttpHeaders.h"
#include "platform/linux/HttpTransport.h"
#include "platform/linux/HttpUrl.h"

namespace quillmarkclient_linux {

using SteadyTime = std::chrono::steady_clock::time_point;

// What an exchange sends, and within which limits. All that it refers to outlives the exchange.
struct HttpOrder {
    const std::string& method;
    const HttpUrl& url;
    const std::vector<HttpHeader>& headers;
    HttpBody* body;  // null for none
    const HttpTimeouts& timeouts;
    const HttpBounds& bounds;
    SteadyTime deadline;
};

// What came back.
struct HttpAnswer {
    std::uint32_t status = 0;  // 0 until the final head is there whole
    std::string head;          // the final answer's: status line, header lines, empty line, each with CRLF
    std::string body;
};

// One request and its answer on a connection of their own, without redirects.
//
// libcurl does the talking; the loop here measures the limits that it has no options for. Steps of the clock:
//
//   resolve   from the start until the first socket is made
//   connect   until libcurl is about to send: TCP, a proxy's CONNECT, TLS
//   send      until the last byte of the body is out; begins anew whenever the socket moves
//   receive   until the answer is whole; begins anew whenever the socket moves
//
// One thread, one Run. What throws inside one of libcurl's callbacks is caught there and ends the exchange
// with kInternalError.
class HttpExchange {
public:
    // Asked once, when the final head is there: whether the body is wanted too. If not, the exchange ends at
    // once.
    using BodyQuestion = std::function<bool(const HttpAnswer&)>;

    HttpExchange(const HttpOrder& order, BodyQuestion isBodyWanted);
    ~HttpExchange();
    HttpExchange(const HttpExchange&) = delete;
    HttpExchange& operator=(const HttpExchange&) = delete;

    [[nodiscard]] ResultCode Run();
    [[nodiscard]] HttpAnswer& GetAnswer() { return answer_; }

private:
    enum class Step { kResolve, kConnect, kSend, kReceive };

    struct EasyDeleter {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };
    struct MultiDeleter {
        void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
    };

    [[nodiscard]] bool Prepare();
    [[nodiscard]] bool PrepareRequest();
    [[nodiscard]] bool PrepareCallbacks();
    [[nodiscard]] ResultCode Drive();
    [[nodiscard]] ResultCode Outcome();
    void EnterStep(Step step);
    void NoticeBodySent();
    [[nodiscard]] std::int64_t RemainingMs() const;

    [[nodiscard]] bool TakeHeaderLine(std::string_view line);
    [[nodiscard]] bool TakeHead();
    [[nodiscard]] bool TakeBody(std::string_view piece);
    [[nodiscard]] std::size_t GiveBody(char* buffer, std::size_t capacity);
    template <class Work>
    [[nodiscard]] bool Guarded(Work work) noexcept;

    static std::size_t OnHeader(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t OnBody(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t OnRead(char* buffer, std::size_t size, std::size_t count, void* self);
    static curl_socket_t OnOpenSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int OnReadyToSend(void* self, char* remoteIp, char* localIp, int remotePort, int localPort);
    static CURLcode OnSslContext(CURL* handle, void* context, void* self);

    const HttpOrder order_;
    const BodyQuestion isBodyWanted_;
    const std::uint32_t bodySize_;
    HeaderList headerList_;  // these three outlive easy_
    HeaderList proxyHeaderList_;
    std::unique_ptr<CURLM, MultiDeleter> multi_;
    std::unique_ptr<CURL, EasyDeleter> easy_;
    Step step_ = Step::kResolve;
    SteadyTime stepStart_;                       // of kSend and kReceive: when something moved last
    bool bodyEnded_ = false;                     // the body has no more to give
    bool complete_ = false;                      // nothing more is wanted of the server
    std::size_t headerBytes_ = 0;                // of every head, interim ones and trailers included
    ResultCode failure_ = ResultCode::kSuccess;  // of a callback
    HttpAnswer answer_;
};

}  // namespace quillmarkclient_linux
