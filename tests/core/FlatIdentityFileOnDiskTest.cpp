// The identity's secret in a document of the host's on a real disk: which file it is, and what stays of it.
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>

#include "tests/core/IdentityFileFixture.h"
#include "tests/support/FileFacts.h"
#include "tests/support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using test::kDocument;
using test::kMade;
using test::kPersisted;

using FlatIdentityFileOnDisk = test::IdentityFileFixture;

TEST_F(FlatIdentityFileOnDisk, TheFileIsWrittenInPlace) {
    const std::string other = Path("hard link");
    fs::create_hard_link(Path(), other);
    EXPECT_EQ(Persist(Path()), 0u);
    EXPECT_EQ(test::ReadWhole(Path()), kPersisted);
    EXPECT_EQ(test::ReadWhole(other), kPersisted) << "the same file under its other name";
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path()), {}), 2) << "nothing beside it";
}

TEST_F(FlatIdentityFileOnDisk, ALongDocumentThatShrinksLeavesNoRest) {
    test::WriteWhole(Path(), "{\r\n    \"a\" : 1" + std::string(100'000, ' ') + "\r\n}\r\n");
    EXPECT_EQ(Persist(Path()), 0u);
    EXPECT_EQ(test::ReadWhole(Path()), kPersisted);
}

TEST_F(FlatIdentityFileOnDisk, ANewFileIsKeptFromOthers) {
    const std::string path = Path("new \xd0\xba\xd0\xbb\xd1\x8e\xd1\x87.json");
    EXPECT_EQ(Persist(path), 0u);
    EXPECT_EQ(test::ReadWhole(path), kMade);
    EXPECT_TRUE(test::IsKeptFromOthers(path));
}

TEST_F(FlatIdentityFileOnDisk, ARefusedDocumentStaysAsItIs) {
    for (const char* document : {"[]", "12", " ", "{\"a\":1} // end", "{\"a\":"}) {
        SCOPED_TRACE(document);
        test::WriteWhole(Path(), document);
        const auto before = fs::last_write_time(Path());
        EXPECT_EQ(Persist(Path()), 0x85000001u);
        EXPECT_EQ(test::ReadWhole(Path()), document);
        EXPECT_EQ(fs::last_write_time(Path()), before);
    }
}

TEST_F(FlatIdentityFileOnDisk, PathsThatLeadToNoFileAreWriteFailures) {
    fs::create_directory(Path("folder"));
    const struct {
        const char* name;
        std::string path;
    } rows[] = {
        {"empty", ""},
        {"a folder", Path("folder")},
        {"a folder with a slash", Path("folder") + "/"},
        {"a missing folder", Path("missing/file")},
        {"a file for a folder", Path("file") + "/file"},
        {"a name that is too long", Path(std::string(300, 'n'))},
        {"a path that is too long", "/" + std::string(5000, 'n')},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Persist(row.path), 0x81000003u) << row.name;
    EXPECT_FALSE(test::Exists(Path("missing")));
    EXPECT_EQ(test::ReadWhole(Path()), kDocument);
}

TEST_F(FlatIdentityFileOnDisk, APathThatIsNoTextThrowsBeforeAnythingIsTouched) {
    const std::string path = Path("") + "\xff";
    EXPECT_THROW((void)Persist(path), std::range_error);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path()), {}), 1);
}

}  // namespace
