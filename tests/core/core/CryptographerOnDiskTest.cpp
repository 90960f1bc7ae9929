// The cipher over the platform of this system, so that the whole road to the disk is walked.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "core/src/core/Cryptographer.h"
#include "core/src/system/SystemApi.h"
#include "tests/support/FileFacts.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using quillmarkclient_core::SystemApi;
using Cryptographer = quillmarkclient_core::Cryptographer<SystemApi>;
using Pointer = portable_stl::shared_ptr<Cryptographer>;

constexpr char kToken[] = R"({"identityToken":"abc.def.ghi","contextType":"b2c"})";

class CryptographerOnDisk : public ::testing::Test {
protected:
    CryptographerOnDisk() : cryptographer(portable_stl::make_shared<Cryptographer>(false)) {
        SystemApi::SetTable(quillmarkclient_core::DefaultPlatformTable());
    }
    ~CryptographerOnDisk() override { SystemApi::SetTable({}); }

    std::uint32_t Write(const std::string& path) {
        return static_cast<std::uint32_t>(WriteEncryptedFile(path.c_str(), kToken, &cryptographer, nullptr));
    }
    // "code:text"
    std::string Read(const std::string& path) {
        portable_stl::string text;
        const auto code = ReadEncryptedFile(path.c_str(), text, &cryptographer, nullptr);
        return std::to_string(static_cast<std::uint32_t>(code)) + ":" + text.c_str();
    }

    test::TemporaryFolder folder;
    const Pointer cryptographer;
};

TEST_F(CryptographerOnDisk, AFileGoesThereAndBack) {
    const std::string path = folder.PathOf("LIC0");
    EXPECT_EQ(Read(path), "0:");
    EXPECT_FALSE(test::Exists(path)) << "reading creates nothing";
    EXPECT_EQ(Write(path), 0u);
    EXPECT_EQ(test::ReadWhole(path).size(), 88u);
    EXPECT_EQ(test::ReadWhole(path).find("identity"), std::string::npos);
    EXPECT_EQ(Read(path), std::string("0:") + kToken);
}

TEST_F(CryptographerOnDisk, AFileIsKeptFromOthers) {
    EXPECT_EQ(Write(folder.PathOf("LIC0")), 0u);
    EXPECT_TRUE(test::IsKeptFromOthers(folder.PathOf("LIC0")));
}

TEST_F(CryptographerOnDisk, AFolderInPlaceOfTheFile) {
    const std::string path = folder.PathOf("LIC0");
    std::filesystem::create_directory(path);
    EXPECT_EQ(Read(path), "0:");
    EXPECT_EQ(Write(path), 0x81000009u);
    EXPECT_EQ(Write(folder.PathOf("missing/LIC0")), 0x81000009u);
}

}  // namespace
