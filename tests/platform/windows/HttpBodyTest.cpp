#include "platform/windows/HttpBody.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/windows/FileHandle.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace quillmarkclient_windows;

std::string WholeOf(HttpBody& body, std::uint32_t capacity) {
    std::string text;
    std::string buffer(capacity, '\0');
    std::uint32_t count = 0;
    while (body.Read(buffer.data(), capacity, &count) == HttpBodyRead::kData)
        text += buffer.substr(0, count);
    return text;
}

class WindowsHttpFileBody : public ::testing::Test {
protected:
    FileHandle Open(const std::string& bytes, std::uint64_t offset = 0) const {
        test::WriteWhole(folder.PathOf("file"), bytes);
        return OpenAt(folder.PathOf("file").c_str(), offset, Access::kReadWrite, Missing::kFail);
    }

    test::TemporaryFolder folder;
    const std::string preamble =
        "\r\n--edge\r\nContent-Disposition: form-data; name=\"file\"; filename=\"log.zip\"\r\n"
        "Content-Type: application/zip\r\nContent-Transfer-Encoding: binary\r\n\r\n";
    const std::string trailer = "\r\n--edge--\r\n";
};

TEST_F(WindowsHttpFileBody, FramesTheFileToTheLetter) {
    for (const std::uint32_t capacity : {1u, 7u, 4096u}) {
        const FileHandle file = Open("PK\r\nbytes");
        HttpFileBody body(file.Get(), "edge", "log.zip");
        EXPECT_EQ(body.GetSize(), preamble.size() + 9 + trailer.size());
        EXPECT_EQ(WholeOf(body, capacity), preamble + "PK\r\nbytes" + trailer) << capacity;
    }
}

TEST_F(WindowsHttpFileBody, TakesTheBytesFromTheCurrentPositionOn) {
    const FileHandle file = Open("0123456789", 4);
    HttpFileBody body(file.Get(), "edge", "log.zip");
    EXPECT_EQ(body.GetSize(), preamble.size() + 10 + trailer.size()) << "the size is that of the file";
    EXPECT_EQ(WholeOf(body, 4096), preamble + "456789");
    char buffer[4] = {};
    std::uint32_t count = 0;
    EXPECT_EQ(body.Read(buffer, 4, &count), HttpBodyRead::kError) << "the file ended early";
}

TEST_F(WindowsHttpFileBody, AHandleWithoutASizeIsAnEmptyBodyThatFails) {
    HttpFileBody body(INVALID_HANDLE_VALUE, "edge", "log.zip");
    EXPECT_EQ(body.GetSize(), 0u);
    char buffer[4] = {};
    std::uint32_t count = 77;
    EXPECT_EQ(body.Read(buffer, 4, &count), HttpBodyRead::kError);
    EXPECT_EQ(body.Read(buffer, 4, &count), HttpBodyRead::kError);
    EXPECT_EQ(count, 77u);
}

TEST_F(WindowsHttpFileBody, AFileThatBecameShorterIsAnError) {
    const FileHandle file = Open("0123456789");
    HttpFileBody body(file.Get(), "edge", "log.zip");
    LARGE_INTEGER five{};
    five.QuadPart = 5;
    ASSERT_TRUE(SetFilePointerEx(file.Get(), five, nullptr, FILE_BEGIN) && SetEndOfFile(file.Get()));
    ASSERT_TRUE(SetFilePointerEx(file.Get(), LARGE_INTEGER{}, nullptr, FILE_BEGIN));
    EXPECT_EQ(WholeOf(body, 4096), preamble + "01234");
    char buffer[4] = {};
    std::uint32_t count = 0;
    EXPECT_EQ(body.Read(buffer, 4, &count), HttpBodyRead::kError);
}

}  // namespace
