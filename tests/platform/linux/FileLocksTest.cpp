// The range locks of FileRead and FileWrite, seen by another holder of locks.
//
// Nothing here waits for luck: whether an operation is waiting is read from /proc/locks, and that it does not
// wait is seen by its end.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "platform/linux/Files.h"
#include "tests/platform/linux/ChildProcess.h"
#include "tests/platform/linux/FailingSystemCall.h"
#include "tests/support/TemporaryFolder.h"

namespace {

// Holds one write up between its lock and its transfer.
struct WriteGate {
    std::promise<void> entered;
    std::promise<void> open;
};
std::unique_ptr<WriteGate> writeGate;  // set while no operation runs

}  // namespace

// Stands in front of the system's call for the whole program.
extern "C" __attribute__((visibility("default"))) ssize_t pwrite(int descriptor, const void* bytes,
                                                                 size_t size, off_t offset) {
    using Writer = ssize_t (*)(int, const void*, size_t, off_t);
    static const auto systemWriter = reinterpret_cast<Writer>(dlsym(RTLD_NEXT, "pwrite"));
    if (writeGate) {
        writeGate->entered.set_value();
        writeGate->open.get_future().wait();
    }
    return systemWriter(descriptor, bytes, size, offset);
}

namespace {

using namespace quillmarkclient_linux;
namespace fs = std::filesystem;

// A second user of the file: a descriptor of its own, with a lock over bytes 100 to 109.
class Holder {
public:
    Holder(const std::string& path, short kind)
        : descriptor_(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
        Lock(kind);
    }
    ~Holder() { close(descriptor_); }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    void Lock(short kind) const {
        struct flock range = Range(kind, 100, 10);
        EXPECT_EQ(fcntl(descriptor_, F_OFD_SETLK, &range), 0);
    }
    void Release() const { Lock(F_UNLCK); }

    // Whether nobody else holds anything on the file that keeps this one from `kind`.
    [[nodiscard]] bool CouldLock(short kind) const {
        struct flock range = Range(kind, 0, 0);
        EXPECT_EQ(fcntl(descriptor_, F_OFD_GETLK, &range), 0);
        return range.l_type == F_UNLCK;
    }
    [[nodiscard]] int Number() const { return descriptor_; }

private:
    static struct flock Range(short kind, off_t start, off_t length) {
        struct flock range {};
        range.l_type = kind;
        range.l_whence = SEEK_SET;
        range.l_start = start;
        range.l_len = length;
        return range;
    }

    int descriptor_;
};

class LinuxFileLocks : public ::testing::Test {
protected:
    [[nodiscard]] std::string Path() const { return folder.PathOf("file"); }

    // Whether somebody waits for an open file description lock on the file: the kind that keeps threads
    // apart. The kernel says "7: -> OFDLCK  ADVISORY  WRITE -1 fe:00:1234 100 109"
    [[nodiscard]] bool IsAwaited() const {
        struct stat status {};
        EXPECT_EQ(stat(Path().c_str(), &status), 0);
        const std::string inode = ":" + std::to_string(status.st_ino) + " ";
        std::ifstream locks("/proc/locks");
        for (std::string line; std::getline(locks, line);) {
            if (line.find("-> OFDLCK") != std::string::npos && line.find(inode) != std::string::npos)
                return true;
        }
        return false;
    }

    // Until somebody waits, or `done`, or half a minute has passed.
    [[nodiscard]] bool WaitsForTheLock(const std::atomic<bool>& done) const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!done && std::chrono::steady_clock::now() < deadline) {
            if (IsAwaited())
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }

    std::uint32_t Read(std::uint64_t offset, std::uint32_t size) {
        char bytes[64];
        return FileRead(Path().c_str(), offset, bytes, size, nullptr, nullptr);
    }
    std::uint32_t Write(std::uint64_t offset, std::uint32_t size) {
        const char bytes[64] = {};
        return FileWrite(Path().c_str(), offset, bytes, size, nullptr, nullptr);
    }

    test::TemporaryFolder folder;
};

TEST_F(LinuxFileLocks, CoverTheExactRangeSharedForReadsExclusiveForWrites) {
    static const struct {
        const char* name;
        short held;
        bool write;
        std::uint64_t offset;
        std::uint32_t size;
        bool waits;
    } rows[] = {
        {"a read waits for a writer", F_WRLCK, false, 100, 10, true},
        {"a write waits for a writer", F_WRLCK, true, 100, 10, true},
        {"a write waits for a reader", F_RDLCK, true, 100, 10, true},
        {"a read goes beside a reader", F_RDLCK, false, 100, 10, false},
        {"overlapping by the first byte", F_WRLCK, true, 91, 10, true},
        {"overlapping by the last byte", F_WRLCK, true, 109, 10, true},
        {"ending before the range", F_WRLCK, true, 90, 10, false},
        {"starting behind the range", F_WRLCK, true, 110, 10, false},
        {"a read ending before the range", F_WRLCK, false, 90, 10, false},
        {"a read starting behind the range", F_WRLCK, false, 110, 10, false},
        {"nothing to transfer", F_WRLCK, true, 100, 0, false},
    };
    for (const auto& row : rows) {
        const Holder holder(Path(), row.held);
        std::atomic<bool> done{false};
        std::uint32_t code = 4711;
        std::thread other([&] {
            code = row.write ? Write(row.offset, row.size) : Read(row.offset, row.size);
            done = true;
        });
        EXPECT_EQ(WaitsForTheLock(done), row.waits) << row.name;
        EXPECT_EQ(done, !row.waits) << row.name;
        holder.Release();
        other.join();
        EXPECT_EQ(code, 0u) << row.name;
        EXPECT_TRUE(holder.CouldLock(F_WRLCK)) << row.name << ": the operation left a lock";
    }
}

TEST_F(LinuxFileLocks, KeepProcessesApart) {
    const Holder holder(Path(), F_WRLCK);
    std::atomic<bool> done{false};
    auto other = std::async(std::launch::async, [&] {
        const std::string code = test::InChild([&] { return std::to_string(Write(100, 10)); });
        done = true;
        return code;
    });
    EXPECT_TRUE(WaitsForTheLock(done));
    holder.Release();
    EXPECT_EQ(other.get(), "0");
}

// Locks of the other family belong to the whole process: they would end when a second operation closes its
// own descriptor of the file.
TEST_F(LinuxFileLocks, AnOperationLeavesTheLocksOfOthersInTheProcess) {
    const Holder probe(Path(), F_UNLCK);
    writeGate = std::make_unique<WriteGate>();
    std::thread writer([&] { EXPECT_EQ(Write(0, 10), 0u); });
    writeGate->entered.get_future().wait();
    EXPECT_FALSE(probe.CouldLock(F_WRLCK)) << "the writer holds its range";
    EXPECT_EQ(Read(200, 10), 0u);
    EXPECT_FALSE(probe.CouldLock(F_WRLCK)) << "the writer's lock is gone";
    writeGate->open.set_value();
    writer.join();
    writeGate.reset();
    EXPECT_TRUE(probe.CouldLock(F_WRLCK));
}

// Whether a signal for the thread waits for its delivery. A handler that counts would not do: ThreadSanitizer
// runs handlers later, when the system call has long been cut short.
bool HasPendingSignal(pid_t thread) {
    std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("SigPnd:", 0) == 0)
            return line.find_first_not_of("0\t ", 7) != std::string::npos;
    }
    return false;
}

TEST_F(LinuxFileLocks, ASignalDoesNotEndTheWait) {
    struct sigaction nothing {};
    struct sigaction before {};
    nothing.sa_handler = [](int) {};  // without SA_RESTART: the system call ends with EINTR
    ASSERT_EQ(sigaction(SIGUSR1, &nothing, &before), 0);

    const Holder holder(Path(), F_WRLCK);
    std::atomic<bool> done{false};
    std::atomic<pid_t> thread{0};
    std::uint32_t code = 4711;
    std::thread other([&] {
        thread = gettid();
        code = Write(100, 10);
        done = true;
    });
    EXPECT_TRUE(WaitsForTheLock(done));
    for (int i = 1; i <= 5; ++i) {
        pthread_kill(other.native_handle(), SIGUSR1);
        while (HasPendingSignal(thread))
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_TRUE(WaitsForTheLock(done)) << "after signal " << i;
    }
    EXPECT_FALSE(done);
    holder.Release();
    other.join();
    EXPECT_EQ(code, 0u);
    sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(LinuxFileLocks, WhereTheSystemRefusesLocksTheTransferGoesAhead) {
    test::WriteWhole(Path(), std::string(200, 'a'));
    const Holder holder(Path(), F_WRLCK);
    EXPECT_EQ(test::InChild([&] {
                  if (!test::FailSystemCall(__NR_fcntl, ENOLCK,
                                            test::WithArgument{.index = 1, .value = F_OFD_SETLKW}))
                      return std::string("no filter");
                  const std::uint32_t written = Write(100, 10);
                  return "write " + std::to_string(written) + ", read " + std::to_string(Read(100, 10));
              }),
              "write 0, read 0");
    EXPECT_EQ(test::ReadWhole(Path()).substr(100, 10), std::string(10, '\0'));
}

TEST_F(LinuxFileLocks, TheDescriptorOfARunningOperationIsClosedOnExecAndNeverBlocks) {
    const Holder holder(Path(), F_WRLCK);
    std::atomic<bool> done{false};
    std::thread other([&] {
        (void)Write(100, 10);
        done = true;
    });
    EXPECT_TRUE(WaitsForTheLock(done));
    int found = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (fs::read_symlink(entry, gone) != Path() ||
            entry.path().filename() == std::to_string(holder.Number()))
            continue;
        ++found;
        std::ifstream info("/proc/self/fdinfo/" + entry.path().filename().string());
        std::string name;
        unsigned flags = 0;
        while (info >> name && name != "flags:")
            std::getline(info, name);
        info >> std::oct >> flags;
        EXPECT_EQ(flags & O_CLOEXEC, unsigned{O_CLOEXEC});
        EXPECT_EQ(flags & O_NONBLOCK, unsigned{O_NONBLOCK});
    }
    EXPECT_EQ(found, 1);
    holder.Release();
    other.join();
}

}  // namespace
