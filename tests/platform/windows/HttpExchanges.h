#pragma once

#include <optional>
#include <string>

#include "platform/windows/HttpTransport.h"
#include "tests/platform/support/HttpExchange.h"

namespace test {

using Sending = SendingOf<quillmarkclient_windows::HttpTimeouts, quillmarkclient_windows::HttpBounds>;

inline Exchanged Send(const Sending& sending) {
    return SendBy(quillmarkclient_windows::SendHttp, quillmarkclient_windows::HttpFree, sending);
}

inline Exchanged Get(const std::string& url) {
    return Send({.url = url});
}

}  // namespace test
