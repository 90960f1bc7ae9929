// What is particular to files on Linux; the rows of every platform stand in tests/platform/conformance.
#include "platform/linux/Files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <sstream>

#include "platform/linux/FileHandle.h"
#include "tests/platform/linux/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace quillmarkclient_linux;
namespace fs = std::filesystem;

constexpr std::uint32_t kFileOpen = 0x81000001;

class LinuxFiles : public ::testing::Test {
protected:
    [[nodiscard]] std::string Path(const std::string& name = "file") const { return folder.PathOf(name); }

    static unsigned Mode(const std::string& path) {
        struct stat status {};
        EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777u;
    }

    test::TemporaryFolder folder;
    char buffer[16] = {};
};

class Umask {
public:
    explicit Umask(mode_t mask) : before_(umask(mask)) {}
    ~Umask() { umask(before_); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

private:
    mode_t before_;
};

TEST_F(LinuxFiles, AreCreatedForTheirOwnerAlone) {
    const struct {
        const char* name;
        std::function<std::uint32_t(const char*)> create;
    } rows[] = {
        {"read", [&](const char* path) { return FileRead(path, 0, buffer, 4, nullptr, nullptr); }},
        {"write", [&](const char* path) { return FileWrite(path, 0, buffer, 4, nullptr, nullptr); }},
        {"set size", [&](const char* path) { return FileSetSize(path, 4, nullptr); }},
    };
    const Umask open(0);
    for (const auto& row : rows) {
        EXPECT_EQ(row.create(Path(row.name).c_str()), 0u) << row.name;
        EXPECT_EQ(Mode(Path(row.name)), 0600u) << row.name;
    }
}

TEST_F(LinuxFiles, KeepTheModeTheyHave) {
    for (const unsigned mode : {0644u, 0666u, 0777u, 0600u}) {
        test::WriteWhole(Path(), "abc");
        ASSERT_EQ(chmod(Path().c_str(), mode), 0);
        EXPECT_EQ(FileRead(Path().c_str(), 0, buffer, 3, nullptr, nullptr), 0u);
        EXPECT_EQ(FileWrite(Path().c_str(), 0, "x", 1, nullptr, nullptr), 0u);
        EXPECT_EQ(FileSetSize(Path().c_str(), 0, nullptr), 0u);
        EXPECT_EQ(Mode(Path()), mode);
    }
}

TEST_F(LinuxFiles, AreReachedThroughLinks) {
    test::WriteWhole(Path("target"), "abc");
    fs::create_symlink(Path("target"), Path("link"));
    EXPECT_EQ(FileWrite(Path("link").c_str(), 1, "xx", 2, nullptr, nullptr), 0u);
    EXPECT_EQ(test::ReadWhole(Path("target")), "axx");
    fs::create_symlink(Path("missing"), Path("dangling"));
    EXPECT_EQ(FileWrite(Path("dangling").c_str(), 0, "abc", 3, nullptr, nullptr), 0u);
    EXPECT_EQ(test::ReadWhole(Path("missing")), "abc");
}

TEST_F(LinuxFiles, WhatIsNoRegularFileCannotBeOpenedAndBlocksNobody) {
    fs::create_directory(Path("folder"));
    ASSERT_EQ(mkfifo(Path("fifo").c_str(), 0600), 0);
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(Path("socket").size(), sizeof address.sun_path);
    std::strcpy(address.sun_path, Path("socket").c_str());
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    fs::create_symlink(Path("loop"), Path("loop"));

    const struct {
        const char* name;
        std::string path;
    } rows[] = {
        {"a folder", Path("folder")},     {"a FIFO without a partner", Path("fifo")},
        {"a socket", Path("socket")},     {"a device", "/dev/null"},
        {"the full device", "/dev/full"}, {"a link to itself", Path("loop")},
    };
    for (const auto& row : rows) {
        const char* const path = row.path.c_str();
        std::uint32_t size = 4711;
        EXPECT_EQ(FileGetSize(path, &size, nullptr), 0u) << row.name;
        EXPECT_EQ(size, 0u) << row.name;
        EXPECT_EQ(FileRead(path, 0, buffer, 4, nullptr, nullptr), kFileOpen) << row.name;
        EXPECT_EQ(FileWrite(path, 0, buffer, 4, nullptr, nullptr), kFileOpen) << row.name;
        EXPECT_EQ(FileSetSize(path, 0, nullptr), kFileOpen) << row.name;
    }
    close(listener);
}

TEST_F(LinuxFiles, DeleteTakesBytesAsTheyStand) {
    const std::string path = Path("") +
                             "Gr\xFC\xDF"
                             "e";
    close(open(path.c_str(), O_CREAT | O_WRONLY, 0600));
    ASSERT_EQ(access(path.c_str(), F_OK), 0);
    EXPECT_EQ(FileDelete(path.c_str(), nullptr), 0u);
    EXPECT_NE(access(path.c_str(), F_OK), 0);
}

TEST_F(LinuxFiles, DeleteRemovesALinkAndNotItsTarget) {
    test::WriteWhole(Path("target"), "abc");
    fs::create_symlink(Path("target"), Path("link"));
    EXPECT_EQ(FileDelete(Path("link").c_str(), nullptr), 0u);
    EXPECT_EQ(test::ReadWhole(Path("target")), "abc");
}

// The codes of all five operations on `path`, as a user without rights.
std::string CodesWithoutRights(const std::string& path) {
    return test::InChild([&]() -> std::string {
        if (!test::DropRights())
            return "the rights could not be dropped";
        std::ostringstream codes;
        char bytes[4] = {};
        std::uint32_t size = 4711;
        codes << std::hex << "size " << FileGetSize(path.c_str(), &size, nullptr) << " (" << size << ")";
        codes << ", read " << FileRead(path.c_str(), 0, bytes, 4, nullptr, nullptr);
        codes << ", write " << FileWrite(path.c_str(), 0, bytes, 4, nullptr, nullptr);
        codes << ", set " << FileSetSize(path.c_str(), 0, nullptr);
        codes << ", delete " << FileDelete(path.c_str(), nullptr);
        return codes.str();
    });
}

TEST_F(LinuxFiles, WithoutRightsCannotBeOpened) {
    test::WriteWhole(Path("none"), "abc");
    test::WriteWhole(Path("readable"), "abc");
    ASSERT_EQ(chmod(Path("none").c_str(), 0), 0);
    ASSERT_EQ(chmod(Path("readable").c_str(), 0444), 0);
    ASSERT_EQ(chmod(folder.Path().c_str(), 0555), 0);
    EXPECT_EQ(CodesWithoutRights(Path("none")),
              "size 0 (0), read 81000001, write 81000001, set 81000001, delete 8100000b");
    EXPECT_EQ(CodesWithoutRights(Path("readable")),
              "size 0 (3), read 0, write 81000001, set 81000001, delete 8100000b");
    EXPECT_EQ(CodesWithoutRights(Path("missing")),
              "size 0 (0), read 81000001, write 81000001, set 81000001, delete 8100000b");
    ASSERT_EQ(chmod(folder.Path().c_str(), 0755), 0);
}

TEST_F(LinuxFiles, OpensARegularFileAsAsked) {
    const FileHandle missing = OpenRegularFile(Path().c_str(), Access::kRead, Missing::kFail);
    EXPECT_FALSE(missing.IsOpen());
    EXPECT_FALSE(test::Exists(Path()));
    const FileHandle created = OpenRegularFile(Path().c_str(), Access::kRead, Missing::kCreate);
    ASSERT_TRUE(created.IsOpen());
    EXPECT_EQ(fcntl(created.Get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    EXPECT_EQ(fcntl(created.Get(), F_GETFL) & O_ACCMODE, O_RDONLY);
    const FileHandle writable = OpenRegularFile(Path().c_str(), Access::kReadWrite, Missing::kFail);
    ASSERT_TRUE(writable.IsOpen());
    EXPECT_EQ(fcntl(writable.Get(), F_GETFL) & O_ACCMODE, O_RDWR);
}

TEST_F(LinuxFiles, NoDescriptorStaysOpen) {
    const auto count = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const auto before = count();
    std::uint32_t size = 0;
    const std::string missing = Path("missing") + "/file";
    for (const std::string& path : {Path(), missing, Path("")}) {
        (void)FileRead(path.c_str(), 0, buffer, 4, nullptr, nullptr);
        (void)FileRead(path.c_str(), std::uint64_t{1} << 63, buffer, 4, nullptr, nullptr);
        (void)FileWrite(path.c_str(), 0, buffer, 4, nullptr, nullptr);
        (void)FileGetSize(path.c_str(), &size, nullptr);
        (void)FileSetSize(path.c_str(), 4, nullptr);
        (void)FileDelete(path.c_str(), nullptr);
    }
    EXPECT_EQ(count(), before);
}

}  // namespace
