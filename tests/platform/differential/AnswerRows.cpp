// What servers answer: statuses, heads and bodies, whole and broken, and connections that end.
#include "tests/platform/differential/ExchangeRow.h"

namespace test {
namespace {

ExchangeRow Raw(std::string name, std::string bytes) {
    return {.name = std::move(name), .answers = {Answer::Raw(std::move(bytes))}};
}

ExchangeRow Status(int status) {
    return {.name = "status " + std::to_string(status), .answers = {Whole(status, {}, "body")}};
}

std::vector<ExchangeRow> StatusRows() {
    std::vector<ExchangeRow> rows;
    for (const int status : {200, 201, 202, 203, 206, 226, 299, 300, 400, 402, 403, 404, 409,
                             410, 418, 422, 428, 429, 500, 501, 502, 503, 504, 599, 600, 999})
        rows.push_back(Status(status));
    rows.push_back(Raw("status 204", "HTTP/1.1 204 None\r\nConnection: close\r\n\r\n"));
    rows.push_back(Raw("status 304", "HTTP/1.1 304 Same\r\nConnection: close\r\nETag: \"a\"\r\n\r\n"));
    rows.push_back({.name = "status 401 without a challenge", .answers = {Whole(401, {}, "no")}});
    for (const char* challenge : {"Basic realm=\"a\"", "Bearer", "Negotiate", "NTLM"})
        rows.push_back({.name = std::string("status 401, ") + challenge,
                        .answers = {Whole(401, {{"WWW-Authenticate", challenge}}, "no")}});
    rows.push_back({.name = "status 407 of a server", .answers = {Whole(407, {}, "no")}});
    return rows;
}

std::vector<ExchangeRow> HeadRows() {
    const std::string rest = "Connection: close\r\nContent-Length: 4\r\n\r\nbody";
    std::string many;
    for (int i = 0; i < 100; ++i)
        many += "X-" + std::to_string(i) + ": " + std::to_string(i) + "\r\n";
    return {
        Raw("no reason in the status line", "HTTP/1.1 200\r\n" + rest),
        Raw("no reason, but its blank", "HTTP/1.1 200 \r\n" + rest),
        Raw("a long reason", "HTTP/1.1 200 All is quite well, thanks\r\n" + rest),
        Raw("HTTP/1.0", "HTTP/1.0 200 OK\r\n" + rest),
        Raw("HTTP/1.7", "HTTP/1.7 200 OK\r\n" + rest),
        Raw("HTTP/9.9", "HTTP/9.9 200 OK\r\n" + rest),
        Raw("no number for a status", "HTTP/1.1 abc OK\r\n" + rest),
        Raw("two digits for a status", "HTTP/1.1 20 OK\r\n" + rest),
        Raw("no HTTP at all", "SSH-2.0-OpenSSH_9\r\n\r\n"),
        Raw("headers in order", "HTTP/1.1 200 OK\r\nX-B: 2\r\nX-A: 1\r\n" + rest),
        Raw("a header twice", "HTTP/1.1 200 OK\r\nX-A: 1\r\nX-A: 2\r\n" + rest),
        Raw("a header of two cases", "HTTP/1.1 200 OK\r\nX-A: 1\r\nx-a: 2\r\n" + rest),
        Raw("an empty value", "HTTP/1.1 200 OK\r\nX-A:\r\n" + rest),
        Raw("no blank behind the colon", "HTTP/1.1 200 OK\r\nX-A:1\r\n" + rest),
        Raw("many blanks behind the colon", "HTTP/1.1 200 OK\r\nX-A:   1  \r\n" + rest),
        Raw("a blank in front of the colon", "HTTP/1.1 200 OK\r\nX-A : 1\r\n" + rest),
        Raw("a line without a colon", "HTTP/1.1 200 OK\r\nno colon here\r\n" + rest),
        Raw("a folded line", "HTTP/1.1 200 OK\r\nX-A: 1\r\n  and 2\r\n" + rest),
        Raw("bare line feeds", "HTTP/1.1 200 OK\nConnection: close\nContent-Length: 4\n\nbody"),
        Raw("a value of UTF-8", "HTTP/1.1 200 OK\r\nX-A: gr\xC3\xBC\xC3\x9F\r\n" + rest),
        Raw("a value of Latin-1", "HTTP/1.1 200 OK\r\nX-A: gr\xFC\r\n" + rest),
        Raw("a hundred headers", "HTTP/1.1 200 OK\r\n" + many + rest),
        Raw("a long header", "HTTP/1.1 200 OK\r\nX-A: " + std::string(20'000, 'h') + "\r\n" + rest),
        Raw("cookies", "HTTP/1.1 200 OK\r\nSet-Cookie: a=1; Path=/\r\nSet-Cookie: b=2\r\n" + rest),
        Raw("an interim answer", "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\n" + rest),
        Raw("early hints", "HTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\nHTTP/1.1 200 OK\r\n" + rest),
    };
}

std::vector<ExchangeRow> BodyRows() {
    const std::string ok = "HTTP/1.1 200 OK\r\nConnection: close\r\n";
    const std::string chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
    // printf body | gzip -n
    const std::string gzip(
        "\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03\x4b\xca\x4f\xa9\x04\x00\xb2\x0b\xa8\xdb\x04\x00\x00\x00",
        24);
    return {
        {.name = "an empty body", .answers = {Whole(200)}},
        {.name = "a body of UTF-8", .answers = {Whole(200, {}, "gr\xC3\xBC\xC3\x9F")}},
        {.name = "a body that is not UTF-8", .answers = {Whole(200, {}, "\xFF\x80z")}},
        {.name = "a zero byte in a body", .answers = {Whole(200, {}, {"ab\0cd", 5})}},
        {.name = "a large body", .answers = {Whole(200, {}, std::string(1'000'000, 'b'))}},
        Raw("a body up to the connection's end", ok + "\r\nto the end"),
        Raw("no body and no length", ok + "\r\n"),
        Raw("chunks", chunked + "3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n"),
        Raw("chunks in capital digits", chunked + "0A\r\n0123456789\r\n0\r\n\r\n"),
        Raw("a chunk with an extension", chunked + "3;a=b\r\nabc\r\n0\r\n\r\n"),
        Raw("chunks with a trailer", chunked + "3\r\nabc\r\n0\r\nX-T: 1\r\n\r\n"),
        Raw("no chunk but the last", chunked + "0\r\n\r\n"),
        Raw("a chunk without a size", chunked + "zz\r\nabc\r\n0\r\n\r\n"),
        Raw("a length beside chunks",
            ok + "Content-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n"),
        Raw("two lengths, alike", ok + "Content-Length: 4\r\nContent-Length: 4\r\n\r\nbody"),
        Raw("two lengths, unlike", ok + "Content-Length: 4\r\nContent-Length: 2\r\n\r\nbody"),
        Raw("a length below 0", ok + "Content-Length: -1\r\n\r\nbody"),
        Raw("a length that is no number", ok + "Content-Length: four\r\n\r\nbody"),
        Raw("more body than told", ok + "Content-Length: 4\r\n\r\nbody and more"),
        Raw("a body behind 204", "HTTP/1.1 204 None\r\nConnection: close\r\nContent-Length: 4\r\n\r\nbody"),
        Raw("a compressed body", ok + "Content-Encoding: gzip\r\nContent-Length: 24\r\n\r\n" + gzip),
        {.name = "a compressed body that was asked for",
         .headers = {{"Accept-Encoding", "gzip"}},
         .answers = {Answer::Raw(ok + "Content-Encoding: gzip\r\nContent-Length: 24\r\n\r\n" + gzip)}},
        Raw("a coded transfer", ok + "Transfer-Encoding: gzip\r\n\r\n" + gzip),
    };
}

std::vector<ExchangeRow> CutRows() {
    const std::string ok = "HTTP/1.1 200 OK\r\nConnection: close\r\n";
    const std::string half = ok + "Content-Length: 10\r\n\r\nhalf";
    // None with a reset behind some bytes: the system may take the bytes back, or not.
    std::vector<ExchangeRow> rows = {
        Raw("half a status line", "HTTP/1."),
        Raw("a status line alone", "HTTP/1.1 200 OK\r\n"),
        Raw("half a head", "HTTP/1.1 200 OK\r\nContent-Le"),
        Raw("a head without its end", "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n"),
        Raw("half a body", half),
        Raw("half a chunk", ok + "Transfer-Encoding: chunked\r\n\r\nA\r\nhalf"),
        Raw("a chunk without the last one", ok + "Transfer-Encoding: chunked\r\n\r\n4\r\nhalf\r\n"),
        {.name = "a refused connection", .url = "http://127.0.0.1:1/"},
    };
    // Again and again, for a transport that tries once more by itself.
    const std::vector<Answer> closed(20, Answer::CloseUnanswered());
    const std::vector<Answer> reset(20, Answer::Reset());
    rows.push_back({.name = "closed without a word", .answers = closed});
    rows.push_back({.name = "reset without a word", .answers = reset});
    rows.push_back(
        {.name = "a POST closed without a word", .method = "POST", .body = "abc", .answers = closed});
    rows.push_back(
        {.name = "a POST reset without a word", .method = "POST", .body = "abc", .answers = reset});
    return rows;
}

}  // namespace

std::vector<ExchangeRow> AnswerRows() {
    std::vector<ExchangeRow> rows;
    for (auto& group : {StatusRows(), HeadRows(), BodyRows(), CutRows()}) {
        for (const auto& row : group) {
            rows.push_back(row);
            rows.back().name = "answer: " + row.name;
        }
    }
    return rows;
}

}  // namespace test
