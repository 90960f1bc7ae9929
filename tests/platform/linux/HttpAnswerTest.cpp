// What comes back: status, body and header block, and the answers that are no answers.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/platform/linux/HttpExchanges.h"
#include "tests/support/ScriptedServer.h"

namespace {

using test::Answer;
using test::Exchanged;
using test::Get;
using test::ScriptedServer;
using test::Send;

// At least `size` bytes of header fields.
std::string HeaderLines(std::size_t size) {
    std::string lines;
    while (lines.size() < size)
        lines += "X: " + std::string(995, 'x') + "\r\n";
    return lines;
}

class HttpAnswerTest : public testing::Test {
protected:
    Exchanged GetAnswered(Answer answer) {
        server.Enqueue(std::move(answer));
        return Get(server.Url("/"));
    }

    ScriptedServer server;
};

TEST_F(HttpAnswerTest, EveryStatusIsASuccess) {
    for (const int status :
         {200, 201, 204, 206, 300, 304, 400, 401, 403, 404, 409, 418, 429, 500, 503, 599}) {
        SCOPED_TRACE(status);
        const bool hasBody = status != 204 && status != 304;
        const auto result = GetAnswered(Answer::Of(status, {}, hasBody ? "the body" : ""));
        EXPECT_EQ(result.code, ResultCode::kSuccess);
        EXPECT_EQ(result.status, static_cast<std::uint32_t>(status));
        EXPECT_EQ(result.body, hasBody ? "the body" : "");
    }
}

TEST_F(HttpAnswerTest, GivesTheBodyAsItCame) {
    const std::string gzipLike = "\x1F\x8B\x08\x01\x02\x03 not a real archive";
    const std::string large(300000, 'x');
    const struct {
        const char* name;
        Answer answer;
        std::string body;
    } rows[] = {
        {"an empty body is an empty text", Answer::Of(200), ""},
        {"a short one", Answer::Of(200, {}, "{\"a\":1}"), "{\"a\":1}"},
        {"a large one", Answer::Of(200, {}, large), large},
        {"gzip stays gzip", Answer::Of(200, {{"Content-Encoding", "gzip"}}, gzipLike), gzipLike},
        {"deflate stays deflate", Answer::Of(200, {{"Content-Encoding", "deflate"}}, "xyz"), "xyz"},
        {"chunks are joined",
         Answer::Raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n"),
         "abcde"},
        {"the end of the connection ends it", Answer::Raw("HTTP/1.1 200 OK\r\n\r\nuntil the end"),
         "until the end"},
        {"HTTP/1.0", Answer::Raw("HTTP/1.0 200 OK\r\n\r\nold"), "old"},
        {"what follows the length is not read",
         Answer::Raw("HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nabcdef"), "abc"},
        {"lines that end in a line feed alone", Answer::Raw("HTTP/1.1 200 OK\nContent-Length: 3\n\nabc"),
         "abc"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto result = GetAnswered(row.answer);
        EXPECT_EQ(result.code, ResultCode::kSuccess);
        EXPECT_EQ(result.status, 200u);
        EXPECT_TRUE(result.body == row.body);
    }
}

TEST_F(HttpAnswerTest, TheBlockIsAsLongAsTheBodyAndAZeroByte) {
    server.Enqueue(Answer::Of(200, {}, std::string("a\0b", 3)));
    std::uint32_t status = 0;
    char* body = nullptr;
    ASSERT_EQ(quillmarkclient_linux::HttpRequest("GET", server.Url("/").c_str(), nullptr, 0, "", 0, &status,
                                                 &body, nullptr, nullptr),
              0u);
    EXPECT_EQ(std::string(body, 4), std::string("a\0b\0", 4));
    quillmarkclient_linux::HttpFree(body, nullptr);
}

TEST_F(HttpAnswerTest, GivesTheHeadOfTheFinalAnswerOnly) {
    static const struct {
        const char* name;
        const char* bytes;
        const char* head;
    } rows[] = {
        {"status line and headers, in order",
         "HTTP/1.1 200 Fine\r\nB: 2\r\nA: 1\r\nContent-Length: 0\r\n\r\n",
         "HTTP/1.1 200 Fine\r\nB: 2\r\nA: 1\r\nContent-Length: 0\r\n\r\n"},
        {"no reason phrase", "HTTP/1.1 200\r\nContent-Length: 0\r\n\r\n",
         "HTTP/1.1 200\r\nContent-Length: 0\r\n\r\n"},
        {"an interim answer is left out",
         "HTTP/1.1 100 Continue\r\nRetry-After: 7\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n",
         "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"},
        {"several interim answers",
         "HTTP/1.1 102 Processing\r\n\r\nHTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\nHTTP/1.1 409 Busy\r\n"
         "Retry-After: 2\r\nContent-Length: 0\r\n\r\n",
         "HTTP/1.1 409 Busy\r\nRetry-After: 2\r\nContent-Length: 0\r\n\r\n"},
        {"trailers are left out",
         "HTTP/1.1 409 Busy\r\nTransfer-Encoding: chunked\r\nTrailer: Retry-After\r\n\r\n1\r\nx\r\n0\r\n"
         "Retry-After: 9\r\n\r\n",
         "HTTP/1.1 409 Busy\r\nTransfer-Encoding: chunked\r\nTrailer: Retry-After\r\n\r\n"},
        {"a header that looks like a status line",
         "HTTP/1.1 200 OK\r\nHTTP/1.1: 500\r\nContent-Length: 0\r\n\r\n",
         "HTTP/1.1 200 OK\r\nHTTP/1.1: 500\r\nContent-Length: 0\r\n\r\n"},
        {"line feeds become CRLF", "HTTP/1.1 200 OK\nA: 1\nContent-Length: 0\n\n",
         "HTTP/1.1 200 OK\r\nA: 1\r\nContent-Length: 0\r\n\r\n"},
        {"blanks inside a value stay", "HTTP/1.1 200 OK\r\nA:  1 2 \r\nContent-Length: 0\r\n\r\n",
         "HTTP/1.1 200 OK\r\nA:  1 2 \r\nContent-Length: 0\r\n\r\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto result = GetAnswered(Answer::Raw(row.bytes));
        EXPECT_EQ(result.code, ResultCode::kSuccess);
        EXPECT_EQ(result.head, row.head);
    }
}

TEST_F(HttpAnswerTest, ABrokenAnswerIsANetworkFailure) {
    const struct {
        const char* name;
        Answer answer;
    } rows[] = {
        {"closed without a word", Answer::CloseUnanswered()},
        {"reset without a word", Answer::Reset()},
        {"no HTTP", Answer::Raw("220 mail.example.test ready\r\n")},
        {"HTTP/0.9", Answer::Raw("<html>hello</html>")},
        {"half a status line", Answer::Raw("HTTP/1.1 20")},
        {"half a head", Answer::Raw("HTTP/1.1 200 OK\r\nContent-Le")},
        {"a head without its empty line", Answer::Raw("HTTP/1.1 200 OK\r\nContent-Type: a/b\r\n")},
        {"an interim answer alone", Answer::Raw("HTTP/1.1 100 Continue\r\n\r\n")},
        {"half a body", Answer::Raw("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf")},
        {"half a body, then a reset",
         Answer::Raw("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", Answer::Ending::kReset)},
        {"half a chunk", Answer::Raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nA\r\nhalf")},
        {"no last chunk", Answer::Raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nhalf\r\n")},
        {"a chunk size that is no number",
         Answer::Raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\nhalf\r\n0\r\n\r\n")},
        {"a zero byte in a header", Answer::Raw(std::string("HTTP/1.1 200 OK\r\nA: \0b\r\n\r\n", 27))},
        {"a transfer coding that nobody asked for",
         Answer::Raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip\r\n\r\n\x1F\x8B")},
        {"a length that is no number", Answer::Raw("HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\nabc")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ExpectFailure(GetAnswered(row.answer), ResultCode::kNetwork);
    }
}

TEST_F(HttpAnswerTest, NobodyListens) {
    std::string url;
    {
        const ScriptedServer gone;
        url = gone.Url("/");
    }
    const auto result = Get(url);
    ExpectFailure(result, ResultCode::kNetwork);
    EXPECT_EQ(result.status, test::kUntouched);
}

TEST_F(HttpAnswerTest, BoundsTheBody) {
    const struct {
        const char* name;
        Answer answer;
        ResultCode code;
    } rows[] = {
        {"as long as allowed", Answer::Of(200, {}, std::string(1000, 'x')), ResultCode::kSuccess},
        {"one byte more", Answer::Of(200, {}, std::string(1001, 'x')), ResultCode::kNetwork},
        {"without a length", Answer::Raw("HTTP/1.1 200 OK\r\n\r\n" + std::string(50000, 'x')),
         ResultCode::kNetwork},
        {"in small chunks",
         Answer::Raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n190\r\n" + std::string(400, 'x') +
                     "\r\n190\r\n" + std::string(400, 'x') + "\r\n190\r\n" + std::string(400, 'x') +
                     "\r\n0\r\n\r\n"),
         ResultCode::kNetwork},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        server.Enqueue(row.answer);
        const auto result = Send({.url = server.Url("/"), .bounds = {.bodyBytes = 1000}});
        EXPECT_EQ(result.code, row.code);
        EXPECT_EQ(result.body.has_value(), IsSuccess(row.code));
        EXPECT_EQ(result.head.has_value(), IsSuccess(row.code));
        EXPECT_EQ(result.status, 200u);  // the head was there
    }
}

TEST_F(HttpAnswerTest, BoundsTheHeaders) {
    const std::string line = "X: " + std::string(95, 'x') + "\r\n";  // 100 bytes
    std::string nineLines;
    for (int i = 0; i < 9; ++i)
        nineLines += line;
    std::string interims;
    for (int i = 0; i < 40; ++i)
        interims += "HTTP/1.1 103 Early Hints\r\n\r\n";
    const struct {
        const char* name;
        Answer answer;
        ResultCode code;
    } rows[] = {
        {"below the bound", Answer::Raw("HTTP/1.1 200 OK\r\n" + nineLines + "\r\n"), ResultCode::kSuccess},
        {"above it", Answer::Raw("HTTP/1.1 200 OK\r\n" + nineLines + line + "\r\n"), ResultCode::kNetwork},
        {"one line above it", Answer::Raw("HTTP/1.1 200 OK\r\nX: " + std::string(2000, 'x') + "\r\n\r\n"),
         ResultCode::kNetwork},
        {"interim answers count", Answer::Raw(interims + "HTTP/1.1 200 OK\r\n\r\n"), ResultCode::kNetwork},
        {"trailers count",
         Answer::Raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n" + nineLines + line +
                     "\r\n"),
         ResultCode::kNetwork},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        server.Enqueue(row.answer);
        EXPECT_EQ(Send({.url = server.Url("/"), .bounds = {.headerBytes = 1000}}).code, row.code);
    }
}

// libcurl alone would take every one of these heads: it is our own bound that refuses.
TEST_F(HttpAnswerTest, ASmallerBoundThanLibcurlsActs) {
    const std::string answer = "HTTP/1.1 200 OK\r\n" + HeaderLines(100'000) + "\r\n";
    const struct {
        const char* name;
        std::size_t headerBytes;
        ResultCode code;
    } rows[] = {
        {"the default", quillmarkclient_linux::HttpBounds().headerBytes, ResultCode::kSuccess},
        {"exactly the head", answer.size(), ResultCode::kSuccess},
        {"a byte less", answer.size() - 1, ResultCode::kNetwork},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        server.Enqueue(Answer::Raw(answer));
        EXPECT_EQ(Send({.url = server.Url("/"), .bounds = {.headerBytes = row.headerBytes}}).code, row.code);
    }
}

// Which bound acts depends on the libcurl of the machine; that one acts does not.
TEST_F(HttpAnswerTest, TheSystemsDefaultBoundsRefuseAnEndlessHead) {
    const std::string head = "HTTP/1.1 200 OK\r\n" + HeaderLines(1'100'000);  // and no empty line
    ExpectFailure(GetAnswered(Answer::Raw(head, Answer::Ending::kHang)), ResultCode::kNetwork);
}

TEST_F(HttpAnswerTest, ANullBodyPointerEndsTheCallWithTheHead) {
    server.Enqueue(
        Answer::Raw("HTTP/1.1 202 Accepted\r\nContent-Length: 100\r\n\r\nnever", Answer::Ending::kHang));
    std::uint32_t status = 0;
    char untouched = 0;
    char* head = &untouched;
    EXPECT_EQ(quillmarkclient_linux::HttpRequest("GET", server.Url("/").c_str(), nullptr, 0, "", 0, &status,
                                                 nullptr, &head, nullptr),
              0u);
    EXPECT_EQ(status, 202u);
    EXPECT_EQ(head, nullptr);
}

TEST_F(HttpAnswerTest, ANullHeadPointerIsFine) {
    server.Enqueue(Answer::Of(200, {}, "text"));
    std::uint32_t status = 0;
    char* body = nullptr;
    EXPECT_EQ(quillmarkclient_linux::HttpRequest("GET", server.Url("/").c_str(), nullptr, 0, "", 0, &status,
                                                 &body, nullptr, nullptr),
              0u);
    EXPECT_EQ(test::TakeBlock(body, quillmarkclient_linux::HttpFree), "text");
}

TEST_F(HttpAnswerTest, AHeadRequestHasNoBody) {
    server.Enqueue(Answer::Raw("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n", Answer::Ending::kHang));
    const auto result = Send({.method = "HEAD", .url = server.Url("/")});
    EXPECT_EQ(result.code, ResultCode::kSuccess);
    EXPECT_EQ(result.body, "");
    EXPECT_EQ(result.head, "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n");
}

TEST_F(HttpAnswerTest, AnEarlyAnswerToALargeBodyIsTaken) {
    ScriptedServer hasty({.reading = test::ServerOptions::Reading::kHeadOnly});
    hasty.Enqueue(
        Answer::Raw("HTTP/1.1 413 Too Large\r\nContent-Length: 3\r\n\r\nbig", Answer::Ending::kHang));
    const auto result = Send({.method = "POST", .url = hasty.Url("/"), .body = std::string(30000000, 'x')});
    EXPECT_EQ(result.code, ResultCode::kSuccess);
    EXPECT_EQ(result.status, 413u);
    EXPECT_EQ(result.body, "big");
}

// Fails the n-th block of an exchange.
int blocksLeft = 0;
void* LimitedAlloc(std::size_t size) {
    return blocksLeft-- > 0 ? quillmarkclient_common::Alloc(size) : nullptr;
}

TEST_F(HttpAnswerTest, AFailedAllocationIsANetworkFailure) {
    for (const int allowed : {0, 1}) {
        SCOPED_TRACE(allowed);
        blocksLeft = allowed;
        ExpectFailure(Send({.url = server.Url("/"), .bounds = {.alloc = LimitedAlloc}}),
                      ResultCode::kNetwork);
    }
    blocksLeft = 2;
    EXPECT_EQ(Send({.url = server.Url("/"), .bounds = {.alloc = LimitedAlloc}}).code, ResultCode::kSuccess);
}

TEST_F(HttpAnswerTest, ABodyThatThrowsIsAnInternalError) {
    struct Throwing final : quillmarkclient_linux::HttpBody {
        quillmarkclient_linux::HttpBodyRead Read(void*, std::uint32_t, std::uint32_t*) override { throw 1; }
        std::uint32_t GetSize() const override { return 10; }
    };
    ExpectFailure(Send({.method = "POST", .url = server.Url("/"), .source = std::make_shared<Throwing>()}),
                  ResultCode::kInternalError);
}

TEST_F(HttpAnswerTest, TheBodyIsReleased) {
    const auto source = std::make_shared<quillmarkclient_linux::HttpMemoryBody>("abc");
    std::uint32_t status = 0;
    char* body = nullptr;
    for (const std::string& url :
         {server.Url("/"), std::string("ftp://x/"), std::string("http://127.0.0.1:1/")}) {
        std::uint32_t* const statusOrNull = url.starts_with("ftp") ? nullptr : &status;
        (void)quillmarkclient_linux::SendHttp("POST", url.c_str(), nullptr, 0, source, 0,
                                              quillmarkclient_linux::kRequestTimeouts, statusOrNull, &body,
                                              nullptr);
        quillmarkclient_linux::HttpFree(body, nullptr);
        EXPECT_EQ(source.use_count(), 1) << url;
    }
}

}  // namespace
