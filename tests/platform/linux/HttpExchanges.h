#pragma once

#include <optional>
#include <string>

#include "platform/linux/HttpTransport.h"
#include "tests/platform/support/HttpExchange.h"

namespace test {

using Sending = SendingOf<quillmarkclient_linux::HttpTimeouts, quillmarkclient_linux::HttpBounds>;

inline Exchanged Send(const Sending& sending) {
    return SendBy(quillmarkclient_linux::SendHttp, quillmarkclient_linux::HttpFree, sending);
}

inline Exchanged Get(const std::string& url) {
    return Send({.url = url});
}

}  // namespace test
