#pragma once

#include <windows.h>
#include <winhttp.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/windows/HttpBody.h"
#include "platform/windows/HttpTransport.h"
#include "platform/windows/HttpUrl.h"

namespace quillmarkclient_windows {

// A handle of WinHTTP's, closed when the scope ends.
class HttpHandle {
public:
    HttpHandle() = default;
    ~HttpHandle() { Reset(nullptr); }
    HttpHandle(const HttpHandle&) = delete;
    HttpHandle& operator=(const HttpHandle&) = delete;

    void Reset(HINTERNET handle) {
        if (handle_)
            WinHttpCloseHandle(handle_);
        handle_ = handle;
    }
    [[nodiscard]] HINTERNET Get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

private:
    HINTERNET handle_ = nullptr;
};

// One request and its answer. The steps are made once each, in the order of their declaration, and none
// behind one that failed. One thread.
class HttpExchange {
public:
    // ERROR_SUCCESS, ERROR_INVALID_PARAMETER for a fault in the URL, or what the system says. Throws
    // std::range_error for text that is not UTF-8, here and in AddHeader.
    [[nodiscard]] DWORD OpenConnection(const char* method, const char* url, const HttpTimeouts& timeouts);

    // `line` is a name, a colon, a blank and a value.
    [[nodiscard]] bool AddHeader(const std::string& line);

    // Sends the request and waits for the head of the answer. `body` may be null.
    [[nodiscard]] bool SendBody(HttpBody* body, std::uint32_t flags, std::uint32_t& status);

    // False for an answer of more than `limit` bytes as well.
    [[nodiscard]] bool ReadBody(std::size_t limit, std::string& body) const;

    // Status line and headers, CRLF at line ends; nothing where the system has none.
    [[nodiscard]] bool QueryRawHeaders(std::optional<std::string>& head) const;

private:
    [[nodiscard]] DWORD OpenSession();
    [[nodiscard]] bool SetOptions(std::uint32_t flags) const;
    [[nodiscard]] bool WriteBody(HttpBody& body) const;

    // Closed in the order request, connection, session.
    HttpHandle session_;
    HttpHandle connection_;
    HttpHandle request_;
};

}  // namespace quillmarkclient_windows
