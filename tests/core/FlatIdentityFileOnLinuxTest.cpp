// The identity's secret in a document of the host's, with what is Linux's own: rights, links, pipes, and what
// of the file stays when the disk lets it down.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>

#include "tests/core/IdentityFileFixture.h"
#include "tests/platform/linux/ChildProcess.h"
#include "tests/platform/linux/FailingSystemCall.h"
#include "tests/platform/linux/SmallDisk.h"
#include "tests/support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using test::kDocument;
using test::kMade;
using test::kPersisted;

const std::string kNotRead = std::to_string(0x81000002u);
const std::string kNotWritten = std::to_string(0x81000003u);

class FlatIdentityFileOnLinux : public test::IdentityFileFixture {
protected:
    // The code of a call in a child that has been prepared so.
    [[nodiscard]] std::string PersistInChild(const std::function<bool()>& prepare, const std::string& path) {
        return test::InChild(
            [&]() -> std::string { return prepare() ? std::to_string(Persist(path)) : "not permitted"; });
    }
};

TEST_F(FlatIdentityFileOnLinux, AFileKeepsItsRights) {
    ASSERT_EQ(chmod(Path().c_str(), 0640), 0);
    EXPECT_EQ(Persist(Path()), 0u);
    EXPECT_EQ(test::ReadWhole(Path()), kPersisted);
    struct stat status {};
    ASSERT_EQ(stat(Path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0640u);
}

TEST_F(FlatIdentityFileOnLinux, LoopsAndPipesAreWriteFailures) {
    fs::create_symlink("loop", Path("loop"));
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    for (const char* name : {"loop", "pipe"})
        EXPECT_EQ(Persist(Path(name)), 0x81000003u) << name;
    EXPECT_EQ(test::ReadWhole(Path()), kDocument);
}

TEST_F(FlatIdentityFileOnLinux, LinksAreFollowed) {
    fs::create_symlink("file", Path("link"));
    EXPECT_EQ(Persist(Path("link")), 0u);
    EXPECT_TRUE(fs::is_symlink(Path("link")));
    EXPECT_EQ(test::ReadWhole(Path()), kPersisted);

    fs::create_symlink("target", Path("dangling"));
    EXPECT_EQ(Persist(Path("dangling")), 0u);
    EXPECT_TRUE(fs::is_symlink(Path("dangling")));
    EXPECT_EQ(test::ReadWhole(Path("target")), kMade);

    fs::create_directory(Path("folder"));
    fs::create_directory_symlink("folder", Path("to folder"));
    EXPECT_EQ(Persist(Path("to folder/file")), 0u);
    EXPECT_EQ(test::ReadWhole(Path("folder/file")), kMade);
}

TEST_F(FlatIdentityFileOnLinux, WhoMayNotWriteLeavesTheFileAlone) {
    test::WriteWhole(Path("readable"), kDocument);
    test::WriteWhole(Path("writable"), kDocument);
    test::WriteWhole(Path("neither"), kDocument);
    ASSERT_EQ(chmod(Path("readable").c_str(), 0444), 0);
    ASSERT_EQ(chmod(Path("writable").c_str(), 0222), 0);
    ASSERT_EQ(chmod(Path("neither").c_str(), 0), 0);
    ASSERT_EQ(chmod(folder.Path().c_str(), 0555), 0);
    for (const char* name : {"readable", "writable", "neither", "new"})
        EXPECT_EQ(PersistInChild(&test::DropRights, Path(name)), kNotWritten) << name;
    ASSERT_EQ(chmod(folder.Path().c_str(), 0755), 0);
    for (const char* name : {"readable", "writable", "neither"}) {
        ASSERT_EQ(chmod(Path(name).c_str(), 0644), 0);
        EXPECT_EQ(test::ReadWhole(Path(name)), kDocument) << name;
    }
    EXPECT_FALSE(test::Exists(Path("new")));
}

TEST_F(FlatIdentityFileOnLinux, EachFailingSystemCallHasItsCode) {
    const struct {
        const char* name;
        long number;
        int error;
        std::string code;
        const char* left;
    } rows[] = {
        {"a broken disk at the read", __NR_pread64, EIO, kNotRead, kDocument},
        {"no descriptor left", __NR_openat, EMFILE, kNotWritten, kDocument},
        {"no size to be had, and no seek", __NR_lseek, EIO, kNotWritten, kDocument},
        {"a disk that can't cut", __NR_ftruncate, EIO, kNotWritten, kDocument},
        {"a full disk", __NR_pwrite64, ENOSPC, kNotWritten, ""},
        {"a used up quota", __NR_pwrite64, EDQUOT, kNotWritten, ""},
        {"a disk that is found full at the close", __NR_close, ENOSPC, kNotWritten, kPersisted},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        test::WriteWhole(Path(), kDocument);
        EXPECT_EQ(PersistInChild([&] { return test::FailSystemCall(row.number, row.error); }, Path()),
                  row.code);
        EXPECT_EQ(test::ReadWhole(Path()), row.left);
    }
}

TEST_F(FlatIdentityFileOnLinux, AFileThatMayNotGrowHoldsWhatFitted) {
    const auto limitTo = [](rlim_t size) {
        const rlimit limit{size, size};
        // The signal that comes with the limit would end the process: nobody has told it not to.
        return setrlimit(RLIMIT_FSIZE, &limit) == 0 && std::signal(SIGXFSZ, SIG_DFL) != SIG_ERR;
    };
    EXPECT_EQ(PersistInChild([&] { return limitTo(20); }, Path()), kNotWritten);
    EXPECT_EQ(test::ReadWhole(Path()), std::string(kPersisted).substr(0, 20));
    EXPECT_EQ(Persist(Path()), 0x85000001u) << "half a document is refused";

    test::WriteWhole(Path(), kDocument);
    EXPECT_EQ(PersistInChild([&] { return limitTo(29); }, Path()), "0") << "just enough";
    EXPECT_EQ(test::ReadWhole(Path()), kPersisted);
}

TEST_F(FlatIdentityFileOnLinux, AFullDiskIsAWriteFailure) {
    const std::string result = test::InChild([&] {
        if (!test::MountSmallDisk(folder.Path().string()))
            return std::string("not permitted");
        // One page for the document; the one that the member needs is taken.
        constexpr std::size_t kPage = 4096;
        const std::string document = R"({"a":")" + std::string(kPage - 8, 'x') + R"("})";
        test::WriteWhole(Path(), document);
        test::WriteWhole(Path("other"), std::string(15 * kPage, 'x'));
        const std::uint32_t code = Persist(Path());
        const std::string left = test::ReadWhole(Path());
        const bool isBeginning = (document.substr(0, kPage - 1) + ",").compare(0, left.size(), left) == 0;
        return std::to_string(code) + (isBeginning ? ", the beginning" : ", something else");
    });
    if (result == "not permitted")
        GTEST_SKIP() << "this machine lets nobody mount a small disk";
    EXPECT_EQ(result, kNotWritten + ", the beginning");
}

}  // namespace
