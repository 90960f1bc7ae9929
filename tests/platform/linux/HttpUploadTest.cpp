// HttpUploadFile: what it sends, and the files that it can't send.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>

#include "tests/platform/linux/HttpExchanges.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using quillmarkclient_linux::HttpFree;
using quillmarkclient_linux::HttpHeaderPair;
using quillmarkclient_linux::HttpUploadFile;
using test::Answer;
using test::ScriptedServer;

constexpr HttpHeaderPair kContentType{"Content-Type", "multipart/form-data; boundary=edge"};

class HttpUpload : public testing::Test {
protected:
    test::Exchanged Upload(const std::string& path) {
        return test::HeadlessExchange(HttpFree, [&](std::uint32_t* status, char** body) {
            return HttpUploadFile("POST", server.Url("/upload").c_str(), &kContentType, 1, "edge",
                                  path.c_str(), "log.zip", status, body);
        });
    }

    std::string ExpectedRequest(const std::string& bytes) const {
        const std::string body =
            "\r\n--edge\r\nContent-Disposition: form-data; name=\"file\"; filename=\"log.zip\"\r\n"
            "Content-Type: application/zip\r\nContent-Transfer-Encoding: binary\r\n\r\n" +
            bytes + "\r\n--edge--\r\n";
        return "POST /upload HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.Port()) +
               "\r\nUser-Agent: ABClient_HInternet\r\nContent-Type: multipart/form-data; boundary=edge\r\n"
               "Content-Length: " +
               std::to_string(body.size()) + "\r\n\r\n" + body;
    }

    test::TemporaryFolder folder;
    ScriptedServer server;
};

TEST_F(HttpUpload, SendsTheFileToTheLetter) {
    for (const std::string& bytes :
         {std::string("PK\x03\x04\0\r\n", 7), std::string(), std::string(1000000, 'x')}) {
        SCOPED_TRACE(bytes.size());
        const std::string path = folder.PathOf("a \xC3\xA9.zip");
        test::WriteWhole(path, bytes);
        server.Enqueue(Answer::Of(201, {}, "taken"));
        const auto result = Upload(path);
        EXPECT_EQ(result.code, ResultCode::kSuccess);
        EXPECT_EQ(result.status, 201u);
        EXPECT_EQ(result.body, "taken");
        EXPECT_TRUE(server.Requests().back().raw == ExpectedRequest(bytes));
        EXPECT_EQ(test::ReadWhole(path), bytes);
    }
}

TEST_F(HttpUpload, CreatesAMissingFileEmptyAndSendsIt) {
    const std::string path = folder.PathOf("missing.zip");
    EXPECT_EQ(Upload(path).code, ResultCode::kSuccess);
    EXPECT_EQ(server.Requests().at(0).raw, ExpectedRequest(""));
    struct stat facts {};
    ASSERT_EQ(stat(path.c_str(), &facts), 0);
    EXPECT_EQ(facts.st_size, 0);
    EXPECT_EQ(facts.st_mode & 0777u, 0600u);
}

TEST_F(HttpUpload, AFileThatCanNotBeOpened) {
    ASSERT_EQ(mkfifo(folder.PathOf("fifo").c_str(), 0600), 0);
    const struct {
        const char* name;
        std::string path;
        ResultCode code;
    } rows[] = {
        {"an empty path", "", ResultCode::kFileOpen},
        {"a folder", folder.Path().string(), ResultCode::kFileOpen},
        {"a FIFO", folder.PathOf("fifo"), ResultCode::kFileOpen},
        {"in a missing folder", folder.PathOf("missing/file"), ResultCode::kFileOpen},
        {"a path that is no UTF-8", "/tmp/\xFF", ResultCode::kInternalError},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ExpectFailure(Upload(row.path), row.code);
    }
    EXPECT_EQ(server.ConnectionCount(), 0);
}

TEST_F(HttpUpload, ABadUrlIsRefused) {
    std::uint32_t status = 0;
    char* body = nullptr;
    test::WriteWhole(folder.PathOf("file"), "abc");
    EXPECT_EQ(HttpUploadFile("POST", "ftp://a.test/", nullptr, 0, "b", folder.PathOf("file").c_str(), "f",
                             &status, &body),
              0x80000002u);
    EXPECT_EQ(body, nullptr);
}

TEST_F(HttpUpload, ANullBodyPointerIsFine) {
    test::WriteWhole(folder.PathOf("file"), "abc");
    std::uint32_t status = 0;
    EXPECT_EQ(HttpUploadFile("PUT", server.Url("/").c_str(), nullptr, 0, "b", folder.PathOf("file").c_str(),
                             "f", &status, nullptr),
              0u);
    EXPECT_EQ(status, 200u);
}

// How many of the program's descriptors stand for the file.
std::ptrdiff_t CountDescriptorsOf(const std::string& path) {
    std::ptrdiff_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;  // those of other threads come and go
        count += std::filesystem::read_symlink(entry, gone) == path ? 1 : 0;
    }
    return count;
}

TEST_F(HttpUpload, ClosesTheFile) {
    const std::string path = folder.PathOf("file");
    test::WriteWhole(path, "abc");
    const int own = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(CountDescriptorsOf(path), 1);
    EXPECT_EQ(Upload(path).code, ResultCode::kSuccess);
    server.Enqueue(Answer::Reset());
    ExpectFailure(Upload(path), ResultCode::kNetwork);
    EXPECT_EQ(CountDescriptorsOf(path), 1);
    close(own);
    ExpectFailure(Upload(folder.Path().string()), ResultCode::kFileOpen);
    EXPECT_EQ(CountDescriptorsOf(folder.Path().string()), 0);
}

// The size can't be told: it goes out with the length 0 and no bytes.
TEST_F(HttpUpload, ASizeThatCanNotBeReadGoesOutEmpty) {
    const int closed = dup(0);
    close(closed);
    const auto source = std::make_shared<quillmarkclient_linux::HttpFileBody>(closed, "edge", "log.zip");
    const auto result = test::Send({.method = "POST", .url = server.Url("/"), .source = source});
    EXPECT_EQ(result.code, ResultCode::kSuccess);
    EXPECT_EQ(server.Requests().at(0).Header("Content-Length"), "0");
    EXPECT_EQ(server.Requests().at(0).body, "");
}

TEST_F(HttpUpload, ARedirectThatKeepsTheMethodSendsTheFileAgain) {
    test::WriteWhole(folder.PathOf("file"), "abc");
    server.Enqueue(Answer::Of(308, {{"Location", "/upload"}}));
    EXPECT_EQ(Upload(folder.PathOf("file")).status, 200u);
    ASSERT_EQ(server.Requests().size(), 2u);
    EXPECT_EQ(server.Requests().at(1).raw, ExpectedRequest("abc"));
}

}  // namespace
