// The update feeds as the library itself reads them: its own reader takes far less than XML allows.

#include <gtest/gtest.h>

#include "core/src/QuillmarkClient.h"
#include "core/src/client/XmlNode.h"
#include "tests/support/SandboxFixture.h"
#include "tools/sandbox/FeedDocument.h"

namespace {

using sandbox::FeedState;

TEST(FeedRoad, ItsReaderTakesEveryFeedOfTheSeed) {
    const sandbox::Seed seed = sandbox::readSeedFile(sandbox::defaultSeedFile());
    std::size_t read = 0;
    for (const sandbox::ProductFeed& feed : seed.feeds) {
        for (const std::string& language : feed.languages) {
            xml::XmlNode document;
            EXPECT_EQ(xml::ParseXml(sandbox::feedDocument(feed, language).c_str(), document), 0) << feed.name;
            EXPECT_EQ(xml::ParseXml(sandbox::feedWithoutItems(feed, language).c_str(), document), 0)
                << feed.name;
            ++read;
        }
    }
    EXPECT_EQ(read, 3u);
}

TEST(FeedRoad, ChecksForUpdates) {
    static const struct {
        const char* name;
        const char* feed;
        const char* variant;
        const char* current;
        const char* language;
        FeedState english;  // of the feed "harbour_home_en"
        std::uint32_t code;
        const char* version;
        const char* url;
    } rows[] = {
        {"an older build", "Harbour", "Home", "8.4.1", "en", FeedState::whole, 0, "8.4.2",
         "https://downloads.example.test/harbour_home/8.4.2/setup-x64.exe?lang=en&source=feed"},
        {"a much older one, in German", "HARBOUR", "home", "1", "DE", FeedState::missing, 0, "8.4.2",
         "https://downloads.example.test/harbour_home/8.4.2/setup-x64.exe?lang=de&source=feed"},
        {"only in English", "lantern", "pro", "3.0.3", "de", FeedState::whole, 0, "3.1.0",
         "https://downloads.example.test/lantern_pro/3.1.0/setup-x64.exe?lang=en&source=feed"},
        {"the newest build", "harbour", "home", "8.4.2", "en", FeedState::whole, 0x84000004, "", ""},
        {"newer than all", "harbour", "home", "9.0", "en", FeedState::whole, 0x84000004, "", ""},
        {"an unknown product", "nothing", "home", "1.0", "en", FeedState::whole, 0x84000004, "", ""},
        {"no such feed now", "harbour", "home", "1.0", "en", FeedState::missing, 0x84000004, "", ""},
        {"a channel without items", "harbour", "home", "1.0", "en", FeedState::noItems, 0x84000004, "", ""},
        {"a malformed feed", "harbour", "home", "1.0", "en", FeedState::malformed, 0x84000001, "", ""},
        {"an empty body", "harbour", "home", "1.0", "en", FeedState::empty, 0x84000001, "", ""},
    };
    test_support::SandboxFixture fixture;
    quillmarkclient::QuillmarkClient client;
    ASSERT_TRUE(IsSuccess(client.Init("/nowhere", fixture.baseUrl())));
    for (const auto& row : rows) {
        ASSERT_TRUE(fixture.service().setFeedState("harbour_home_en", row.english));
        quillmarkclient::ProductUpdateInfoValue info;
        const auto code = client.GetProductUpdateInfo(row.feed, row.variant, row.current, row.language, info);
        EXPECT_EQ(static_cast<std::uint32_t>(code), row.code) << row.name;
        EXPECT_EQ(info.version, row.version) << row.name;
        EXPECT_EQ(info.url, row.url) << row.name;
        EXPECT_EQ(info.description.find("</h2>") != std::string::npos, row.code == 0) << row.name;
    }
}

}  // namespace
