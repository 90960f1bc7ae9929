// Peers behind TLS, good and bad.
#include "tests/platform/differential/ExchangeRow.h"

namespace test {

std::vector<ExchangeRow> TlsRows() {
    const std::string half = "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 10\r\n\r\nhalf";
    const std::string open = "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nto the end";
    return {
        {.name = "TLS: a GET", .peer = Peer::kCertified},
        {.name = "TLS: a POST",
         .method = "POST",
         .body = std::string(100'000, 'x'),
         .peer = Peer::kCertified},
        {.name = "TLS: status 500", .answers = {Whole(500, {}, "it broke")}, .peer = Peer::kCertified},
        {.name = "TLS: a certificate that has expired", .peer = Peer::kExpired},
        {.name = "TLS: a certificate that is not valid yet", .peer = Peer::kNotYetValid},
        {.name = "TLS: a certificate that vouches for itself", .peer = Peer::kSelfSigned},
        {.name = "TLS: a certificate of another host", .peer = Peer::kWrongHost},
        {.name = "TLS: an unknown authority", .peer = Peer::kStranger},
        {.name = "TLS: the host by its address",
         .url = "https://127.0.0.1:{port}/",
         .peer = Peer::kCertified},
        {.name = "TLS: version 1.0 alone", .peer = Peer::kTls10},
        {.name = "TLS: version 1.1 alone", .peer = Peer::kTls11},
        {.name = "TLS: version 1.2 alone", .peer = Peer::kTls12},
        {.name = "TLS: version 1.3 alone", .peer = Peer::kTls13},
        {.name = "TLS: http to a server of https",
         .url = "http://127.0.0.1:{port}/",
         .peer = Peer::kCertified},
        {.name = "TLS: half a body", .answers = {Answer::Raw(half)}, .peer = Peer::kCertified},
        {.name = "TLS: a body up to the orderly end",
         .answers = {Answer::Raw(open)},
         .peer = Peer::kCertified},
    };
}

}  // namespace test
