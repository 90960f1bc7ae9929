#include "platform/linux/HttpBody.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"

namespace {

using quillmarkclient_linux::HttpBody;
using quillmarkclient_linux::HttpBodyRead;
using quillmarkclient_linux::HttpFileBody;

// The pieces that a body gives for one capacity, up to its end.
std::vector<std::string> PiecesOf(HttpBody& body, std::uint32_t capacity) {
    std::vector<std::string> pieces;
    std::string buffer(capacity, '\0');
    std::uint32_t count = 0;
    while (body.Read(buffer.data(), capacity, &count) == HttpBodyRead::kData)
        pieces.push_back(buffer.substr(0, count));
    return pieces;
}

std::string Joined(const std::vector<std::string>& pieces) {
    std::string text;
    for (const auto& piece : pieces)
        text += piece;
    return text;
}

constexpr char kPreamble[] =
    "\r\n--edge\r\nContent-Disposition: form-data; name=\"file\"; filename=\"log.zip\"\r\n"
    "Content-Type: application/zip\r\nContent-Transfer-Encoding: binary\r\n\r\n";
constexpr char kTrailer[] = "\r\n--edge--\r\n";

class File {
public:
    explicit File(const std::string& bytes, int flags = O_RDWR) {
        test::WriteWhole(path, bytes);
        descriptor = open(path.c_str(), flags | O_CLOEXEC);
    }
    ~File() { close(descriptor); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    test::TemporaryFolder folder;
    std::string path = folder.PathOf("file");
    int descriptor = -1;
};

TEST(HttpFileBodyTest, FramesTheFileToTheLetter) {
    for (const std::string& bytes : {std::string(), std::string("PK\x03\x04"),
                                     std::string("\0\r\n--edge--\r\n", 13), std::string(10000, 'x')}) {
        const File file(bytes);
        HttpFileBody body(file.descriptor, "edge", "log.zip");
        const std::string expected = kPreamble + bytes + kTrailer;
        EXPECT_EQ(body.GetSize(), expected.size());
        EXPECT_TRUE(Joined(PiecesOf(body, 4096)) == expected) << bytes.size();
    }
}

TEST(HttpFileBodyTest, AReadNeverCrossesTwoRegions) {
    const File file("0123456789");
    HttpFileBody whole(file.descriptor, "edge", "log.zip");
    EXPECT_EQ(PiecesOf(whole, 4096), (std::vector<std::string>{kPreamble, "0123456789", kTrailer}));

    ASSERT_EQ(lseek(file.descriptor, 0, SEEK_SET), 0);
    HttpFileBody small(file.descriptor, "edge", "log.zip");
    const auto pieces = PiecesOf(small, 8);
    EXPECT_EQ(Joined(pieces), kPreamble + std::string("0123456789") + kTrailer);
    const auto contains = [&](const char* piece) {
        return std::find(pieces.begin(), pieces.end(), piece) != pieces.end();
    };
    EXPECT_TRUE(contains("01234567"));
    EXPECT_TRUE(contains("89"));
    EXPECT_TRUE(contains("\r\n--edge"));
}

TEST(HttpFileBodyTest, AnEmptyFileHasNoRegionOfItsOwn) {
    const File file("");
    HttpFileBody body(file.descriptor, "edge", "log.zip");
    EXPECT_EQ(PiecesOf(body, 4096), (std::vector<std::string>{kPreamble, kTrailer}));
}

TEST(HttpFileBodyTest, ASizeThatCanNotBeReadMakesItEmpty) {
    const int closed = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(closed);
    HttpFileBody body(closed, "edge", "log.zip");
    EXPECT_EQ(body.GetSize(), 0u);
    char buffer[8] = {};
    std::uint32_t count = 77;
    EXPECT_EQ(body.Read(buffer, 8, &count), HttpBodyRead::kError);
    EXPECT_EQ(body.Read(buffer, 8, &count), HttpBodyRead::kError);
    EXPECT_EQ(count, 77u);
    EXPECT_FALSE(body.Rewind());
}

TEST(HttpFileBodyTest, AFileThatCanNotBeReadFailsInItsRegion) {
    const File file("abc", O_WRONLY);
    HttpFileBody body(file.descriptor, "edge", "log.zip");
    EXPECT_EQ(PiecesOf(body, 4096), (std::vector<std::string>{kPreamble}));
    char buffer[8] = {};
    std::uint32_t count = 0;
    EXPECT_EQ(body.Read(buffer, 8, &count), HttpBodyRead::kError);
}

TEST(HttpFileBodyTest, AFileThatChangesSizeMeanwhile) {
    const File shrinking(std::string(100, 'x'));
    HttpFileBody body(shrinking.descriptor, "edge", "log.zip");
    ASSERT_EQ(ftruncate(shrinking.descriptor, 40), 0);
    EXPECT_EQ(Joined(PiecesOf(body, 4096)), kPreamble + std::string(40, 'x'));

    const File growing("abc");
    HttpFileBody other(growing.descriptor, "edge", "log.zip");
    test::WriteWhole(growing.path, "abcdef");
    EXPECT_EQ(Joined(PiecesOf(other, 4096)), kPreamble + std::string("abc") + kTrailer);
}

TEST(HttpFileBodyTest, CanBeReadAgain) {
    const File file("abc");
    HttpFileBody body(file.descriptor, "edge", "log.zip");
    const auto first = PiecesOf(body, 4096);
    EXPECT_TRUE(body.Rewind());
    EXPECT_EQ(PiecesOf(body, 4096), first);
}

TEST(HttpFileBodyTest, LeavesTheDescriptorOpen) {
    const File file("abc");
    { const HttpFileBody body(file.descriptor, "edge", "log.zip"); }
    EXPECT_NE(fcntl(file.descriptor, F_GETFD), -1);
}

}  // namespace
