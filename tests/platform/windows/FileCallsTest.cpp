// Which calls of the system the file rows make, their locks, and what they answer when a call fails.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/windows/FileHandle.h"
#include "platform/windows/Files.h"
#include "tests/platform/windows/FileCalls.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace quillmarkclient_windows;
using Lines = std::vector<std::string>;

class WindowsFileCalls : public ::testing::Test {
protected:
    [[nodiscard]] std::string Path() const { return folder.PathOf("file"); }
    [[nodiscard]] FileHandle Open(DWORD access, DWORD share) const {
        return FileHandle(CreateFileW((folder.Path() / "file").c_str(), access, share, nullptr, OPEN_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    }
    std::uint32_t Read(std::uint64_t offset, std::uint32_t size) const {
        char bytes[64];
        return FileRead(Path().c_str(), offset, bytes, size, nullptr, nullptr);
    }
    std::uint32_t Write(std::uint64_t offset, std::uint32_t size) const {
        const char bytes[64] = {};
        return FileWrite(Path().c_str(), offset, bytes, size, nullptr, nullptr);
    }
    std::uint32_t GetSize() const {
        std::uint32_t size = 0;
        return FileGetSize(Path().c_str(), &size, nullptr);
    }

    test::TemporaryFolder folder;
};

// In hexadecimal: access, share mode, disposition and attribute; flags, offset, low and high size of a lock.
TEST_F(WindowsFileCalls, AreMadeInThisOrderAndToTheLetter) {
    const struct {
        const char* name;
        std::function<std::uint32_t()> call;
        Lines lines;
    } rows[] = {
        {"FileRead",
         [&] { return Read(0x500000007, 3); },
         {"CreateFileW 120089 3 4 2", "SetFilePointerEx 500000007 0", "LockFileEx 0 500000007 3 0",
          "ReadFile 3", "UnlockFileEx 500000007 3 0", "CloseHandle"}},
        {"FileWrite",
         [&] { return Write(0x500000007, 3); },
         {"CreateFileW 12019f 3 4 2", "SetFilePointerEx 500000007 0", "LockFileEx 2 500000007 3 0",
          "WriteFile 3", "UnlockFileEx 500000007 3 0", "CloseHandle"}},
        {"FileGetSize",
         [&] { return GetSize(); },
         {"CreateFileW 120089 3 3 2", "SetFilePointerEx 0 0", "GetFileSize", "CloseHandle"}},
        {"FileSetSize",
         [&] { return FileSetSize(Path().c_str(), 5, nullptr); },
         {"CreateFileW 12019f 3 4 2", "SetFilePointerEx 5 0", "SetEndOfFile", "CloseHandle"}},
    };
    for (const auto& row : rows) {
        test::FileCalls calls;
        const test::RecordedThread recorded(calls);
        EXPECT_EQ(row.call(), 0u) << row.name;
        EXPECT_EQ(calls.lines, row.lines) << row.name;
    }
}

TEST_F(WindowsFileCalls, OneThatFailsHasItsCodeAndTheHandleIsClosed) {
    const struct {
        const char* failing;
        const char* row;
        std::function<std::uint32_t()> call;
        std::uint32_t code;
        bool isOpen;  // by then, so it has to be closed
    } rows[] = {
        {"CreateFileW", "FileRead", [&] { return Read(0, 3); }, 0x81000001, false},
        {"SetFilePointerEx", "FileRead", [&] { return Read(0, 3); }, 0x81000001, true},
        {"LockFileEx", "FileRead", [&] { return Read(0, 3); }, 0, true},
        {"ReadFile", "FileRead", [&] { return Read(0, 3); }, 0x81000002, true},
        {"UnlockFileEx", "FileRead", [&] { return Read(0, 3); }, 0, true},
        {"CreateFileW", "FileWrite", [&] { return Write(0, 3); }, 0x81000001, false},
        {"SetFilePointerEx", "FileWrite", [&] { return Write(0, 3); }, 0x81000001, true},
        {"LockFileEx", "FileWrite", [&] { return Write(0, 3); }, 0, true},
        {"WriteFile", "FileWrite", [&] { return Write(0, 3); }, 0x81000003, true},
        {"WriteFile, short", "FileWrite", [&] { return Write(0, 3); }, 0x81000003, true},
        {"UnlockFileEx", "FileWrite", [&] { return Write(0, 3); }, 0, true},
        {"CreateFileW", "FileGetSize", [&] { return GetSize(); }, 0, false},
        {"SetFilePointerEx", "FileGetSize", [&] { return GetSize(); }, 0, true},
        {"GetFileSize", "FileGetSize", [&] { return GetSize(); }, 0x81000008, true},
        {"CreateFileW", "FileSetSize", [&] { return FileSetSize(Path().c_str(), 5, nullptr); }, 0x81000001,
         false},
        {"SetFilePointerEx", "FileSetSize", [&] { return FileSetSize(Path().c_str(), 5, nullptr); },
         0x81000001, true},
        {"SetEndOfFile", "FileSetSize", [&] { return FileSetSize(Path().c_str(), 5, nullptr); }, 0x81000009,
         true},
    };
    test::WriteWhole(Path(), "abc");
    for (const auto& row : rows) {
        test::FileCalls calls{.failing = row.failing};
        const test::RecordedThread recorded(calls);
        EXPECT_EQ(row.call(), row.code) << row.row << ": " << row.failing;
        ASSERT_FALSE(calls.lines.empty()) << row.row << ": " << row.failing;
        EXPECT_EQ(calls.lines.back() == "CloseHandle", row.isOpen) << row.row << ": " << row.failing;
    }
}

// It looks like a failure, and what failed before has left an error.
TEST_F(WindowsFileCalls, ASizeOfAllOnesIsASize) {
    test::WriteWhole(Path(), "abc");
    test::FileCalls calls{.failing = "GetFileSize, all ones"};
    const test::RecordedThread recorded(calls);
    std::uint32_t size = 0;
    EXPECT_EQ(FileGetSize(Path().c_str(), &size, nullptr), 0u);
    EXPECT_EQ(size, 0xFFFFFFFFu);
}

// A failure of the system's own. Some file systems refuse the place, others the transfer.
TEST_F(WindowsFileCalls, AWriteAcrossTheLastPlaceOfAllFails) {
    test::WriteWhole(Path(), "abc");
    test::FileCalls calls;
    std::uint32_t code = 0;
    {
        const test::RecordedThread recorded(calls);
        code = Write(0x7FFFFFFFFFFFFFFE, 3);
    }
    const bool isTransferred =
        std::find(calls.lines.begin(), calls.lines.end(), "WriteFile 3") != calls.lines.end();
    EXPECT_EQ(code, isTransferred ? 0x81000003u : 0x81000001u);
    EXPECT_EQ(test::ReadWhole(Path()), "abc");
}

TEST_F(WindowsFileCalls, WithoutItsLockATransferGoesAheadAndUnlocksNothing) {
    test::WriteWhole(Path(), "abcdef");
    char bytes[3] = {};
    test::FileCalls calls{.failing = "LockFileEx"};
    {
        const test::RecordedThread recorded(calls);
        EXPECT_EQ(FileWrite(Path().c_str(), 0, "xyz", 3, nullptr, nullptr), 0u);
        EXPECT_EQ(FileRead(Path().c_str(), 1, bytes, 3, nullptr, nullptr), 0u);
    }
    EXPECT_EQ(std::string(bytes, 3), "yzd");
    EXPECT_EQ(calls.lines,
              (Lines{"CreateFileW 12019f 3 4 2", "SetFilePointerEx 0 0", "LockFileEx 2 0 3 0", "WriteFile 3",
                     "CloseHandle", "CreateFileW 120089 3 4 2", "SetFilePointerEx 1 0", "LockFileEx 0 1 3 0",
                     "ReadFile 3", "CloseHandle"}));
}

// A second user of the file, with a lock over some bytes of it.
class Holder {
public:
    Holder(FileHandle file, DWORD flags, std::uint64_t offset, DWORD size)
        : file_(std::move(file)), size_(size) {
        range_.Offset = static_cast<DWORD>(offset);
        range_.OffsetHigh = static_cast<DWORD>(offset >> 32);
        EXPECT_TRUE(LockFileEx(file_.Get(), flags, 0, size_, 0, &range_));
    }
    void Write(const std::string& bytes) {
        LARGE_INTEGER start{};
        start.LowPart = range_.Offset;
        start.HighPart = static_cast<LONG>(range_.OffsetHigh);
        DWORD written = 0;
        EXPECT_TRUE(
            SetFilePointerEx(file_.Get(), start, nullptr, FILE_BEGIN) &&
            WriteFile(file_.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
    }
    void Release() { EXPECT_TRUE(UnlockFileEx(file_.Get(), 0, size_, 0, &range_)); }

private:
    FileHandle file_;
    DWORD size_;
    OVERLAPPED range_{};
};

class WindowsFileLocks : public WindowsFileCalls {
protected:
    static constexpr DWORD kShared = 0;
    static constexpr DWORD kExclusive = LOCKFILE_EXCLUSIVE_LOCK;
    // The holder would let others delete the file.
    static constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

    [[nodiscard]] Holder Hold(DWORD flags, std::uint64_t offset, DWORD size) const {
        return {Open(GENERIC_READ | GENERIC_WRITE, kAll), flags, offset, size};
    }
    // Until the other thread waits for a lock, or is done, or half a minute has passed.
    [[nodiscard]] static bool IsAwaited(const test::FileCalls& calls, const std::atomic<bool>& done) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!calls.isAwaitingLock && !done && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return calls.isAwaitingLock;
    }
};

constexpr std::uint64_t k4GiB = 0x100000000;

TEST_F(WindowsFileLocks, CoverTheExactRangeSharedForReadsExclusiveForWrites) {
    static const struct {
        const char* name;
        DWORD held;
        std::uint64_t at;
        bool write;
        std::uint64_t offset;
        std::uint32_t size;
        bool waits;
    } rows[] = {
        {"a read waits for a writer", kExclusive, 100, false, 100, 10, true},
        {"a write waits for a writer", kExclusive, 100, true, 100, 10, true},
        {"a write waits for a reader", kShared, 100, true, 100, 10, true},
        {"a read goes beside a reader", kShared, 100, false, 100, 10, false},
        {"overlapping by the first byte", kExclusive, 100, true, 91, 10, true},
        {"overlapping by the last byte", kExclusive, 100, true, 109, 10, true},
        {"a write ending before the range", kExclusive, 100, true, 90, 10, false},
        {"a write starting behind the range", kExclusive, 100, true, 110, 10, false},
        {"a read ending before the range", kExclusive, 100, false, 90, 10, false},
        {"a read starting behind the range", kExclusive, 100, false, 110, 10, false},
        {"nothing to transfer", kExclusive, 100, true, 100, 0, false},
        {"above 4 GiB", kExclusive, k4GiB + 100, true, k4GiB + 100, 10, true},
        {"a read above 4 GiB", kExclusive, k4GiB + 100, false, k4GiB + 100, 10, true},
        {"the holder alone above 4 GiB", kExclusive, k4GiB + 100, true, 100, 10, false},
        {"the transfer alone above 4 GiB", kExclusive, 100, true, k4GiB + 100, 10, false},
        {"the read alone above 4 GiB", kExclusive, 100, false, k4GiB + 100, 10, false},
    };
    for (const auto& row : rows) {
        Holder holder = Hold(row.held, row.at, 10);
        test::FileCalls calls;
        std::atomic<bool> done{false};
        std::uint32_t code = 4711;
        std::thread other([&] {
            const test::RecordedThread recorded(calls);
            code = row.write ? Write(row.offset, row.size) : Read(row.offset, row.size);
            done = true;
        });
        EXPECT_EQ(IsAwaited(calls, done), row.waits) << row.name;
        EXPECT_EQ(done, !row.waits) << row.name;
        holder.Release();
        other.join();
        EXPECT_EQ(code, 0u) << row.name;
    }
}

TEST_F(WindowsFileLocks, WhatAReadWaitedForIsWhatItReads) {
    test::WriteWhole(Path(), "abcdef");
    Holder holder = Hold(kExclusive, 0, 3);
    test::FileCalls calls;
    std::atomic<bool> done{false};
    std::uint32_t code = 4711;
    std::uint32_t count = 0;
    char bytes[6] = {};
    std::thread reader([&] {
        const test::RecordedThread recorded(calls);
        code = FileRead(Path().c_str(), 0, bytes, 6, &count, nullptr);
        done = true;
    });
    EXPECT_TRUE(IsAwaited(calls, done));
    EXPECT_EQ(FileDelete(Path().c_str(), nullptr), 0x8100000Bu) << "the read lets nobody delete it";
    holder.Write("ABC");
    EXPECT_FALSE(done);
    holder.Release();
    reader.join();
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(std::string(bytes, count), "ABCdef");
}

TEST_F(WindowsFileLocks, AWriteStaysOutWhileItWaits) {
    test::WriteWhole(Path(), "abcdef");
    Holder holder = Hold(kShared, 0, 3);
    test::FileCalls calls;
    std::atomic<bool> done{false};
    std::thread writer([&] {
        const test::RecordedThread recorded(calls);
        EXPECT_EQ(FileWrite(Path().c_str(), 0, "xyz", 3, nullptr, nullptr), 0u);
        done = true;
    });
    EXPECT_TRUE(IsAwaited(calls, done));
    EXPECT_EQ(test::ReadWhole(Path()), "abcdef");
    EXPECT_FALSE(done);
    holder.Release();
    writer.join();
    EXPECT_EQ(test::ReadWhole(Path()), "xyzdef");
}

}  // namespace
