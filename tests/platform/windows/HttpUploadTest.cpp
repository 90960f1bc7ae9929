// HttpUploadFile: the files that it can't send, and that it leaves none open.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/windows/FileHandle.h"
#include "platform/windows/Files.h"
#include "tests/platform/windows/FileCalls.h"
#include "tests/platform/windows/HttpExchanges.h"
#include "tests/support/FileFacts.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace quillmarkclient_windows;
using test::Exchanged;

constexpr ResultCode kInternalError{0x80000001};
constexpr ResultCode kInvalidParameters{0x80000002};
constexpr ResultCode kFileOpen{0x81000001};
constexpr ResultCode kNetwork{0x81000006};

class WindowsUpload : public ::testing::Test {
protected:
    static Exchanged Upload(const std::string& path, const std::string& url) {
        return test::HeadlessExchange(HttpFree, [&](std::uint32_t* status, char** body) {
            return HttpUploadFile("POST", url.c_str(), nullptr, 0, "edge", path.c_str(), "log.zip", status,
                                  body);
        });
    }
    [[nodiscard]] Exchanged Upload(const std::string& path) const {
        return Upload(path, server.Url("/upload"));
    }
    [[nodiscard]] std::string Path() const { return folder.PathOf("file"); }

    test::TemporaryFolder folder;
    test::ScriptedServer server;
};

TEST_F(WindowsUpload, AFileThatCannotBeOpenedIsNotSent) {
    const FileHandle other(CreateFileW((folder.Path() / "taken").c_str(), GENERIC_READ, 0, nullptr,
                                       CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(other.IsOpen());
    const struct {
        const char* name;
        std::string path;
        ResultCode code;
    } rows[] = {
        {"an empty path", "", kFileOpen},
        {"a folder", folder.PathOf(""), kFileOpen},
        {"in a missing folder", folder.PathOf("missing") + "/file", kFileOpen},
        {"a file that another shares with nobody", folder.PathOf("taken"), kFileOpen},
        {"a path that is not UTF-8", Path() + "\xFF", kInternalError},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto outcome = Upload(row.path);
        ExpectFailure(outcome, row.code);
        EXPECT_EQ(outcome.status, test::kUntouched);
    }
    EXPECT_EQ(server.ConnectionCount(), 0);
}

TEST_F(WindowsUpload, OpensForReadingAndCreatesAMissingFileHidden) {
    test::FileCalls calls;
    {
        const test::RecordedThread recorded(calls);
        EXPECT_EQ(Upload(Path()).code, ResultCode::kSuccess);
    }
    ASSERT_FALSE(calls.lines.empty());
    EXPECT_EQ(calls.lines.front(), "CreateFileW 120089 3 4 2");
    EXPECT_TRUE(test::IsKeptFromOthers(Path()));
    EXPECT_EQ(test::ReadWhole(Path()), "");
}

TEST(WindowsUploadSize, AllOnesIsASizeWhateverFailedBefore) {
    test::FileCalls calls{.failing = "GetFileSize, all ones"};
    const test::RecordedThread recorded(calls);
    SetLastError(ERROR_ALREADY_EXISTS);
    const HttpFileBody body(INVALID_HANDLE_VALUE, "edge", "log.zip");
    // The frame has 155 bytes; of the sum the low 32 bits count.
    EXPECT_EQ(body.GetSize(), 154u);
}

// The length 0 and no bytes; the exchange goes on.
TEST_F(WindowsUpload, ASizeThatCannotBeReadGoesOutEmpty) {
    test::WriteWhole(Path(), "abc");
    test::FileCalls calls{.failing = "GetFileSize"};
    const std::function<Exchanged()> roads[] = {
        [&] {
            const test::RecordedThread recorded(calls);
            return Upload(Path());
        },
        [&] {
            return test::Send(
                {.method = "POST",
                 .url = server.Url("/upload"),
                 .source = std::make_shared<HttpFileBody>(INVALID_HANDLE_VALUE, "edge", "log.zip")});
        },
    };
    for (const auto& road : roads) {
        const std::size_t before = server.Requests().size();
        const auto outcome = road();
        EXPECT_EQ(outcome.code, ResultCode::kSuccess);
        EXPECT_EQ(outcome.status, 200u);
        ASSERT_EQ(server.Requests().size(), before + 1);
        EXPECT_EQ(server.Requests().back().Header("Content-Length"), "0");
        EXPECT_EQ(server.Requests().back().body, "");
    }
}

// A file that is still open could not be deleted.
TEST_F(WindowsUpload, ClosesTheFileOnEveryRoad) {
    const struct {
        const char* name;
        std::string url;
        const char* failing;
        ResultCode code;
    } rows[] = {
        {"it is sent", server.Url("/"), "", ResultCode::kSuccess},
        {"nobody is there", "http://127.0.0.1:1/", "", kNetwork},
        {"a bad URL", "ftp://127.0.0.1/", "", kInvalidParameters},
        {"a URL that is not UTF-8", "http://127.0.0.1/\xFF", "", kInternalError},
        {"its size can't be read", server.Url("/"), "GetFileSize", ResultCode::kSuccess},
        {"its start can't be reached", server.Url("/"), "SetFilePointerEx", kFileOpen},
    };
    for (const auto& row : rows) {
        test::WriteWhole(Path(), "abc");
        test::FileCalls calls{.failing = row.failing};
        {
            const test::RecordedThread recorded(calls);
            EXPECT_EQ(Upload(Path(), row.url).code, row.code) << row.name;
        }
        EXPECT_EQ(FileDelete(Path().c_str(), nullptr), 0u) << row.name;
        EXPECT_FALSE(test::Exists(Path())) << row.name;
    }
}

}  // namespace
