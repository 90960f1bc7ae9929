// What the file operations answer when the system lets them down.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>

#include "platform/linux/Files.h"
#include "tests/platform/linux/ChildProcess.h"
#include "tests/platform/linux/FailingSystemCall.h"
#include "tests/platform/linux/SmallDisk.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace quillmarkclient_linux;

// The C library calls the older one where the machine has it.
#ifdef __NR_unlink
constexpr long kUnlink = __NR_unlink;
#else
constexpr long kUnlink = __NR_unlinkat;
#endif

class LinuxFileFaults : public ::testing::Test {
protected:
    [[nodiscard]] std::string Path(const std::string& name = "file") const { return folder.PathOf(name); }

    test::TemporaryFolder folder;
};

TEST_F(LinuxFileFaults, EachFailingSystemCallHasItsCode) {
    char buffer[4] = {};
    std::uint32_t size = 4711;
    const auto read = [&] { return FileRead(Path().c_str(), 0, buffer, 4, &size, nullptr); };
    const auto write = [&] { return FileWrite(Path().c_str(), 0, "abcd", 4, &size, nullptr); };
    const auto getSize = [&] { return FileGetSize(Path().c_str(), &size, nullptr); };
    const auto setSize = [&] { return FileSetSize(Path().c_str(), 0, nullptr); };
    const auto remove = [&] { return FileDelete(Path().c_str(), nullptr); };
    const struct {
        const char* name;
        std::function<std::uint32_t()> call;
        long number;
        int error;
        std::uint32_t code;
        const char* seen = "";  // the size behind the call, and what was read
    } rows[] = {
        {"read: a broken disk", read, __NR_pread64, EIO, 0x81000002},
        {"read: no descriptor left", read, __NR_openat, EMFILE, 0x81000001},
        {"read: no seek", read, __NR_lseek, EINVAL, 0x81000001},
        {"read: the close fails, the bytes are there", read, __NR_close, EIO, 0, "4 0123"},
        {"write: a full disk", write, __NR_pwrite64, ENOSPC, 0x81000003},
        {"write: the quota is used up", write, __NR_pwrite64, EDQUOT, 0x81000003},
        {"write: a broken disk", write, __NR_pwrite64, EIO, 0x81000003},
        {"write: the disk is found full at the close", write, __NR_close, ENOSPC, 0x81000003},
        {"write: a close cut short has closed", write, __NR_close, EINTR, 0, "4 "},
        {"write: a read-only disk", write, __NR_openat, EROFS, 0x81000001},
        {"get size: no size to be had", getSize, __NR_lseek, EIO, 0x81000008},
        {"get size: no descriptor left", getSize, __NR_openat, EMFILE, 0, "0 "},
        {"set size: a full disk", setSize, __NR_ftruncate, ENOSPC, 0x81000009},
        {"set size: a broken disk", setSize, __NR_ftruncate, EIO, 0x81000009},
        {"set size: no seek", setSize, __NR_lseek, EINVAL, 0x81000001},
        {"delete: a read-only disk", remove, kUnlink, EROFS, 0x8100000B},
    };
    for (const auto& row : rows) {
        test::WriteWhole(Path(), "0123");
        const std::string said = test::InChild([&]() -> std::string {
            if (!test::FailSystemCall(row.number, row.error))
                return "no filter";
            const std::uint32_t code = row.call();
            const bool succeeded = code == 0;
            return std::to_string(code) + ": " +
                   (succeeded ? std::to_string(size) + " " + std::string(buffer, strnlen(buffer, 4)) : "");
        });
        EXPECT_EQ(said, std::to_string(row.code) + ": " + row.seen) << row.name;
        if (row.number == __NR_close && row.error == EINTR) {
            EXPECT_EQ(test::ReadWhole(Path()), "abcd") << row.name;
        }
    }
}

// Where the system protects folders with the sticky bit, it refuses O_CREAT for another user's file even if
// that is there to read. Not every machine does, so the refusal is made here.
TEST_F(LinuxFileFaults, AFileThatIsThereIsOpenedWithoutCreatingIt) {
    test::WriteWhole(Path(), "abc");
    EXPECT_EQ(test::InChild([&] {
                  if (!test::FailSystemCall(__NR_openat, EACCES, test::WithBits{.index = 2, .bits = O_CREAT}))
                      return std::string("no filter");
                  char buffer[4] = {};
                  std::ostringstream codes;
                  codes << std::hex << "read " << FileRead(Path().c_str(), 0, buffer, 4, nullptr, nullptr);
                  codes << ", write " << FileWrite(Path().c_str(), 0, "x", 1, nullptr, nullptr);
                  codes << ", set " << FileSetSize(Path().c_str(), 2, nullptr);
                  codes << ", missing " << FileRead(Path("new").c_str(), 0, buffer, 4, nullptr, nullptr);
                  return codes.str();
              }),
              "read 0, write 0, set 0, missing 81000001");
    EXPECT_EQ(test::ReadWhole(Path()), "xb");
}

// A file may not grow behind the limit: the system writes what fits, then refuses the rest. So this is a
// short transfer and a failing one.
TEST_F(LinuxFileFaults, AWriteThatEndsHalfWayIsAWriteFailure) {
    const std::string result = test::InChild([&] {
        const rlimit limit{10, 10};
        // The signal that comes with the limit would end the process: nobody has told it not to.
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0 || std::signal(SIGXFSZ, SIG_DFL) == SIG_ERR)
            return std::string("no limit");
        std::uint32_t count = 4711;
        std::ostringstream text;
        text << std::hex << FileWrite(Path().c_str(), 0, "0123456789abcdef", 16, &count, nullptr) << " "
             << std::dec << count;
        text << std::hex << ", at the limit " << FileWrite(Path().c_str(), 10, "a", 1, &count, nullptr) << " "
             << std::dec << count;
        text << std::hex << ", set " << FileSetSize(Path().c_str(), 11, nullptr);
        return text.str();
    });
    EXPECT_EQ(result, "81000003 10, at the limit 81000003 0, set 81000009");
    EXPECT_EQ(test::ReadWhole(Path()), "0123456789");
}

TEST_F(LinuxFileFaults, AFullDiskIsAWriteFailure) {
    const std::string result = test::InChild([&] {
        if (!test::MountSmallDisk(folder.Path().string()))
            return std::string("not permitted");
        const std::string bytes(1'000'000, 'a');
        std::ostringstream text;
        text << std::hex << FileWrite(Path().c_str(), 0, bytes.data(), 1'000'000, nullptr, nullptr);
        text << ", then " << FileWrite(Path("other").c_str(), 0, "a", 1, nullptr, nullptr);
        return text.str();
    });
    if (result == "not permitted")
        GTEST_SKIP() << "this machine lets nobody mount a small disk";
    EXPECT_EQ(result, "81000003, then 81000003");
}

}  // namespace
