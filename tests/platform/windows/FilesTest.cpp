// What the file rows do on Windows and on no other system.
#include "platform/windows/Files.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <functional>
#include <string>

#include "platform/windows/FileHandle.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace quillmarkclient_windows;

class WindowsFiles : public ::testing::Test {
protected:
    [[nodiscard]] std::string Path(const std::string& name = "file") const { return folder.PathOf(name); }
    [[nodiscard]] DWORD Attributes(const std::string& name = "file") const {
        const std::filesystem::path path(std::u8string(name.begin(), name.end()));
        return GetFileAttributesW((folder.Path() / path).c_str());
    }
    // As another process would have it open.
    [[nodiscard]] FileHandle OpenSharing(DWORD share, DWORD access = GENERIC_READ | GENERIC_WRITE) const {
        return FileHandle(CreateFileW((folder.Path() / "file").c_str(), access, share, nullptr, OPEN_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    }

    test::TemporaryFolder folder;
};

TEST_F(WindowsFiles, WhatACallCreatesIsHidden) {
    const struct {
        const char* name;
        std::function<std::uint32_t(const char*)> call;
    } rows[] = {
        {"FileRead",
         [](const char* path) {
             char byte = 0;
             return FileRead(path, 0, &byte, 1, nullptr, nullptr);
         }},
        {"FileWrite", [](const char* path) { return FileWrite(path, 0, "a", 1, nullptr, nullptr); }},
        {"FileSetSize", [](const char* path) { return FileSetSize(path, 0, nullptr); }},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.call(Path(row.name).c_str()), 0u) << row.name;
        EXPECT_NE(Attributes(row.name), INVALID_FILE_ATTRIBUTES) << row.name;
        EXPECT_EQ(Attributes(row.name) & FILE_ATTRIBUTE_HIDDEN, DWORD{FILE_ATTRIBUTE_HIDDEN}) << row.name;
    }
}

TEST_F(WindowsFiles, WhatIsThereAlreadyStaysAsVisibleAsItWas) {
    test::WriteWhole(Path(), "abc");
    EXPECT_EQ(FileWrite(Path().c_str(), 0, "x", 1, nullptr, nullptr), 0u);
    EXPECT_EQ(FileSetSize(Path().c_str(), 2, nullptr), 0u);
    EXPECT_EQ(Attributes() & FILE_ATTRIBUTE_HIDDEN, 0u);
    EXPECT_EQ(test::ReadWhole(Path()), "xb");
}

TEST_F(WindowsFiles, OthersMayHaveTheFileOpenIfTheyShareIt) {
    const FileHandle other = OpenSharing(FILE_SHARE_READ | FILE_SHARE_WRITE);
    ASSERT_TRUE(other.IsOpen());
    EXPECT_EQ(FileWrite(Path().c_str(), 0, "abc", 3, nullptr, nullptr), 0u);
    std::uint32_t size = 0;
    EXPECT_EQ(FileGetSize(Path().c_str(), &size, nullptr), 0u);
    EXPECT_EQ(size, 3u);
}

TEST_F(WindowsFiles, AFileThatOthersDoNotShareCannotBeOpened) {
    const FileHandle other = OpenSharing(0);
    ASSERT_TRUE(other.IsOpen());
    char byte = 0;
    std::uint32_t size = 4711;
    EXPECT_EQ(FileRead(Path().c_str(), 0, &byte, 1, nullptr, nullptr), 0x81000001u);
    EXPECT_EQ(FileWrite(Path().c_str(), 0, "a", 1, nullptr, nullptr), 0x81000001u);
    EXPECT_EQ(FileSetSize(Path().c_str(), 0, nullptr), 0x81000001u);
    EXPECT_EQ(FileGetSize(Path().c_str(), &size, nullptr), 0u) << "what can't be opened has size 0";
    EXPECT_EQ(size, 0u);
}

TEST_F(WindowsFiles, DeleteTakesThePathInTheAnsiCodePage) {
    const std::string utf8 =
        "Gr\xC3\xBC\xC3\x9F"
        "e";
    test::WriteWhole(Path(utf8), "abc");
    ASSERT_EQ(GetACP(), 1252u) << "the bytes below are of that code page";
    EXPECT_EQ(FileDelete(Path(utf8).c_str(), nullptr), 0x8100000Bu) << "as UTF-8 it names another file";
    EXPECT_TRUE(test::Exists(Path(utf8)));
    const std::string ansi = (folder.Path() / "").string() +
                             "Gr\xFC\xDF"
                             "e";
    EXPECT_EQ(FileDelete(ansi.c_str(), nullptr), 0u);
    EXPECT_FALSE(test::Exists(Path(utf8)));
}

// Reading asks for no more than it needs.
TEST_F(WindowsFiles, WhatOthersShareForReadingAloneIsRead) {
    test::WriteWhole(Path(), "abc");
    const FileHandle other = OpenSharing(FILE_SHARE_READ, GENERIC_READ);
    ASSERT_TRUE(other.IsOpen());
    char bytes[3] = {};
    std::uint32_t size = 0;
    EXPECT_EQ(FileRead(Path().c_str(), 0, bytes, 3, nullptr, nullptr), 0u);
    EXPECT_EQ(std::string(bytes, 3), "abc");
    EXPECT_EQ(FileGetSize(Path().c_str(), &size, nullptr), 0u);
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(FileWrite(Path().c_str(), 0, "x", 1, nullptr, nullptr), 0x81000001u);
    EXPECT_EQ(FileSetSize(Path().c_str(), 0, nullptr), 0x81000001u);
    EXPECT_EQ(test::ReadWhole(Path()), "abc");
}

TEST_F(WindowsFiles, AReadOnlyFileIsRead) {
    test::WriteWhole(Path(), "abc");
    ASSERT_TRUE(SetFileAttributesW((folder.Path() / "file").c_str(), FILE_ATTRIBUTE_READONLY));
    char bytes[3] = {};
    EXPECT_EQ(FileRead(Path().c_str(), 0, bytes, 3, nullptr, nullptr), 0u);
    EXPECT_EQ(std::string(bytes, 3), "abc");
}

TEST_F(WindowsFiles, WhatOthersHaveOpenIsNotDeletedUnlessTheyShareThat) {
    {
        const FileHandle other = OpenSharing(FILE_SHARE_READ | FILE_SHARE_WRITE);
        ASSERT_TRUE(other.IsOpen());
        EXPECT_EQ(FileDelete(Path().c_str(), nullptr), 0x8100000Bu);
        EXPECT_TRUE(test::Exists(Path()));
    }
    const FileHandle other = OpenSharing(FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    ASSERT_TRUE(other.IsOpen());
    EXPECT_EQ(FileDelete(Path().c_str(), nullptr), 0u);
}

// The size is also what the system says for a failure.
TEST_F(WindowsFiles, ASizeOfAllOnesIsASize) {
    ASSERT_EQ(FileSetSize(Path().c_str(), 0xFFFFFFFF, nullptr), 0u);
    std::uint32_t size = 4711;
    SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(FileGetSize(Path().c_str(), &size, nullptr), 0u);
    EXPECT_EQ(size, 0xFFFFFFFFu);
}

TEST_F(WindowsFiles, APlaceThatIsNegativeForTheSystemCannotBeOpened) {
    test::WriteWhole(Path(), "abc");
    char byte = 0;
    std::uint32_t count = 4711;
    EXPECT_EQ(FileRead(Path().c_str(), 0x8000000000000000, &byte, 1, &count, nullptr), 0x81000001u);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(FileWrite(Path().c_str(), 0xFFFFFFFFFFFFFFFF, "x", 1, &count, nullptr), 0x81000001u);
    EXPECT_EQ(FileSetSize(Path().c_str(), 0x8000000000000000, nullptr), 0x81000001u);
    EXPECT_EQ(test::ReadWhole(Path()), "abc");
}

// Grows with every handle that is left. wine counts none, but gives a new one the first free number, of which
// each fourth is used.
std::uintptr_t HandlesInUse() {
    DWORD count = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &count) && count > 0)
        return count;
    const HANDLE next = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    CloseHandle(next);
    return reinterpret_cast<std::uintptr_t>(next) / 4;
}

TEST_F(WindowsFiles, NoCallLeavesAHandle) {
    const auto useAll = [&] {
        for (const std::string& path : {Path(), Path("missing") + "/file", Path(""), std::string()}) {
            char byte = 0;
            std::uint32_t size = 0;
            (void)FileWrite(path.c_str(), 0, "a", 1, nullptr, nullptr);
            (void)FileWrite(path.c_str(), 0x8000000000000000, "a", 1, nullptr, nullptr);
            (void)FileRead(path.c_str(), 0, &byte, 1, nullptr, nullptr);
            (void)FileGetSize(path.c_str(), &size, nullptr);
            (void)FileSetSize(path.c_str(), 2, nullptr);
            (void)FileDelete(path.c_str(), nullptr);
        }
    };
    useAll();
    const auto before = HandlesInUse();
    for (int i = 0; i < 200; ++i)
        useAll();
    EXPECT_LT(HandlesInUse(), before + 50) << "threads of the system may open some of their own meanwhile";
    EXPECT_FALSE(test::Exists(Path())) << "it was still open when it was deleted";
}

}  // namespace
