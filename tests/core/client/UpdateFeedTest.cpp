#include "core/src/client/UpdateFeed.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/core/json/JsonTestSupport.h"

namespace {

using json_test::Bytes;
using json_test::Text;
using quillmarkclient_core::ChooseUpdate;
using quillmarkclient_core::IsNewerVersion;
using quillmarkclient_core::ProductUpdateInfo;

enum class Newer { kFirst, kSecond, kNeither };
using enum Newer;

struct VersionRow {
    const char* name;
    std::string first;
    std::string second;
    Newer newer;
};

const VersionRow kVersions[] = {
    {"equal", "1.2.3", "1.2.3", kNeither},
    {"the first part", "2", "1", kFirst},
    {"the first part outweighs the rest", "2.0.0", "1.9.9", kFirst},
    {"the second part", "1.3", "1.2", kFirst},
    {"the third part", "1.2.4", "1.2.3", kFirst},
    {"the fourth part", "1.2.3.4", "1.2.3.5", kSecond},
    {"the ninth part", "1.1.1.1.1.1.1.1.2", "1.1.1.1.1.1.1.1.1", kFirst},
    {"numbers, not texts", "1.10", "1.9", kFirst},
    {"numbers, not lengths", "9", "10", kSecond},
    {"leading zeros", "1.02", "1.2", kNeither},
    {"many leading zeros", "0000000000000000000000001", "1", kNeither},

    {"a missing part is nothing", "2.1.1", "2.1", kNeither},
    {"nor is it zero", "2.1.0", "2.1", kNeither},
    {"nor less than a number", "2.1.-5", "2.1", kNeither},
    {"shorter and greater", "3", "2.9.9", kFirst},
    {"shorter and less", "2", "3.0.0", kSecond},
    {"shorter and equal so far", "1.2.3", "1.2.3.1", kNeither},

    {"both empty", "", "", kNeither},
    {"one empty", "1", "", kNeither},
    {"one empty, the other no number", "", "x", kNeither},

    {"a dot at the end", "1.", "1", kNeither},
    {"a dot at the end is no part", "1.", "1.0", kNeither},
    {"an empty part in the middle is -1", "1..5", "1.0.5", kSecond},
    {"two empty parts", "1..5", "1..4", kFirst},
    {"an empty first part is -1", ".5", "0.5", kSecond},
    {"a dot alone", ".", "0", kSecond},
    {"a dot alone against -1", ".", "-1", kNeither},
    {"a dot alone against a word", ".", "x", kNeither},
    {"two dots", "..", "-1.-1", kNeither},

    {"negative", "-2", "-3", kFirst},
    {"negative against zero", "-2", "0", kSecond},
    {"less than no number", "-2", "x", kSecond},
    {"-1 is as good as no number", "-1", "x", kNeither},
    {"-0 is zero", "-0", "0", kNeither},
    {"a minus alone is -1", "-", "-1", kNeither},
    {"a minus alone against zero", "-", "0", kSecond},
    {"two minuses", "--5", "-1", kNeither},
    {"a minus behind digits", "5-", "-1", kNeither},

    {"a plus is no number", "+1", "0", kSecond},
    {"a blank ahead is no number", " 1", "0", kSecond},
    {"a blank behind is no number", "1 ", "0", kSecond},
    {"a letter behind is no number", "1a", "0", kSecond},
    {"a letter ahead is no number", "v2", "0", kSecond},
    {"hexadecimal is no number", "0x10", "0", kSecond},
    {"an exponent is no number", "1e3", "0", kSecond},
    {"a comma is no separator", "1,2", "0", kSecond},
    {"digits that are no ASCII", "\xD9\xA1", "0", kSecond},
    {"a line end", "1\n", "0", kSecond},
    {"words are equal", "1.x", "1.y", kNeither},
    {"words are equal and the next part counts", "1.x.2", "1.y.1", kFirst},
    {"a title in words", "Version 2.0", "0.1", kSecond},
    {"a title in words against nothing greater", "Version 2.0", "-1.1", kSecond},
    {"a zero byte is no digit", std::string("1\0", 2), "0", kSecond},

    {"the greatest number", "2147483647", "2147483646", kFirst},
    {"one more is no number", "2147483648", "0", kSecond},
    {"and no wrapped one", "4294967297", "0", kSecond},
    {"very many digits", "99999999999999999999999999999999", "0", kSecond},
    {"the least number", "-2147483648", "-2147483647", kSecond},
    {"the least number is one", "-2147483648", "-1", kSecond},
    {"one less is no number", "-2147483649", "-1", kNeither},
    {"the greatest against the least", "2147483647", "-2147483648", kFirst},
};

TEST(UpdateFeed, Versions) {
    for (const VersionRow& row : kVersions) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(IsNewerVersion(Text(row.first), Text(row.second)), row.newer == kFirst);
        EXPECT_EQ(IsNewerVersion(Text(row.second), Text(row.first)), row.newer == kSecond);
    }
}

TEST(UpdateFeed, NoVersionIsNewerThanItself) {
    for (const VersionRow& row : kVersions) {
        EXPECT_FALSE(IsNewerVersion(Text(row.first), Text(row.first))) << row.name;
        EXPECT_FALSE(IsNewerVersion(Text(row.second), Text(row.second))) << row.name;
    }
}

TEST(UpdateFeed, ComparingLeavesTheTextsAlone) {
    const portable_stl::string first = "1.2.3";
    const portable_stl::string second = "1.2.4";
    EXPECT_FALSE(IsNewerVersion(first, second));
    EXPECT_STREQ(first.c_str(), "1.2.3");
    EXPECT_STREQ(second.c_str(), "1.2.4");
}

const std::string kPlatform = "<category>Windows</category><category>x64</category>";

// An item for 64-bit Windows.
std::string Item(const std::string& version, const std::string& notes, const std::string& enclosure) {
    return "<item><title>" + version + "</title>" + enclosure + "<content:encoded>" + notes +
           "</content:encoded>" + kPlatform + "</item>";
}

std::string Plain(const std::string& version) {
    return Item(version, "notes " + version, "<enclosure url=\"https://u/" + version + "\"/>");
}

std::string Rss(const std::string& items) {
    return "<rss><channel>" + items + "</channel></rss>";
}

struct ChoiceRow {
    const char* name;
    std::string feed;
    const char* current;
    std::uint32_t code;
    const char* chosen;  // "version|description|url"
};

std::string Told(const ProductUpdateInfo& info) {
    return Bytes(info.version) + "|" + Bytes(info.description) + "|" + Bytes(info.url);
}

void Expect(const std::vector<ChoiceRow>& rows) {
    for (const ChoiceRow& row : rows) {
        SCOPED_TRACE(row.name);
        ProductUpdateInfo info;
        EXPECT_EQ(static_cast<std::uint32_t>(ChooseUpdate(Text(row.feed), row.current, info)), row.code);
        EXPECT_EQ(Told(info), row.chosen);
    }
}

TEST(UpdateFeed, WhatIsNoFeed) {
    Expect({
        {"empty", "", "1", 0x84000001, "||"},
        {"no XML", "not found", "1", 0x84000001, "||"},
        {"XML that the reader refuses", "<rss><channel></rss>", "1", 0x84000001, "||"},
        {"a page", "<!DOCTYPE html><html></html>", "1", 0x84000001, "||"},
        {"another root", "<feed><channel/></feed>", "1", 0x84000001, "||"},
        {"no channel", "<rss></rss>", "1", 0x84000001, "||"},
        {"a channel elsewhere", "<rss><x><channel/></x></rss>", "1", 0x84000001, "||"},
        {"a channel at the top", "<channel/>", "1", 0x84000001, "||"},
        {"cut off behind a good item", "<rss><channel>" + Plain("2"), "1", 0x84000001, "||"},
        {"a bad reference behind a good item", Rss(Plain("2") + "<x>&nbsp;</x>"), "1", 0x84000001, "||"},
        {"a style sheet instruction", "<?xml-stylesheet ?>" + Rss(Plain("2")), "1", 0x84000001, "||"},
        {"an instruction named like the root", "<?rss ?>" + Rss(Plain("2")), "1", 0x84000001, "||"},
        {"blanks ahead of a section", Rss(Plain("2") + Item("3", " <![CDATA[x]]>", "")), "1", 0x84000001,
         "||"},
    });
}

TEST(UpdateFeed, WhatHoldsNoUpdate) {
    Expect({
        {"a channel without children", "<rss><channel/></rss>", "1", 0x84000004, "||"},
        {"a channel without items", Rss("<title>News</title>"), "1", 0x84000004, "||"},
        {"the version that runs", Rss(Plain("1.2.3")), "1.2.3", 0x84000004, "||"},
        {"an older one", Rss(Plain("1.2.2")), "1.2.3", 0x84000004, "||"},
        {"fewer parts", Rss(Plain("1.2")), "1.2.3", 0x84000004, "||"},
        {"more parts", Rss(Plain("1.2.3.1")), "1.2.3", 0x84000004, "||"},
        {"a title in words", Rss(Plain("Version 2.0")), "1.0", 0x84000004, "||"},
        {"an empty title", Rss(Item("", "n", "")), "1", 0x84000004, "||"},
        {"the running version is empty", Rss(Plain("2")), "", 0x84000004, "||"},
        {"an item in the second channel", "<rss><channel/><channel>" + Plain("2") + "</channel></rss>", "1",
         0x84000004, "||"},
        {"an item outside the channel", "<rss><channel/>" + Plain("2") + "</rss>", "1", 0x84000004, "||"},
        {"an item further down", Rss("<x>" + Plain("2") + "</x>"), "1", 0x84000004, "||"},
        {"the title's text is gone behind a child",
         Rss("<item><title>2<b/></title><content:encoded>n</content:encoded>" + kPlatform + "</item>"), "1",
         0x84000004, "||"},
    });
}

TEST(UpdateFeed, Choosing) {
    Expect({
        {"one item", Rss(Plain("2.0")), "1.0", 0, "2.0|notes 2.0|https://u/2.0"},
        {"the newest in the middle", Rss(Plain("3.0") + Plain("5.0") + Plain("4.0")), "1.0", 0,
         "5.0|notes 5.0|https://u/5.0"},
        {"the newest first", Rss(Plain("5.0") + Plain("4.0")), "1.0", 0, "5.0|notes 5.0|https://u/5.0"},
        {"the newest last", Rss(Plain("4.0") + Plain("5.0")), "1.0", 0, "5.0|notes 5.0|https://u/5.0"},
        {"older ones beside it", Rss(Plain("0.9") + Plain("1.1") + Plain("1.0")), "1.0", 0,
         "1.1|notes 1.1|https://u/1.1"},
        {"of two equal ones the first",
         Rss(Item("2", "first", "<enclosure url=\"a\"/>") + Item("2", "second", "<enclosure url=\"b\"/>")),
         "1", 0, "2|first|a"},
        {"of two incomparable ones the first", Rss(Plain("2.1") + Plain("2.1.1")), "1", 0,
         "2.1|notes 2.1|https://u/2.1"},
        {"names in any case",
         "<RSS><Channel><ITEM><Title>2</Title><Content:Encoded>n</Content:Encoded><CATEGORY>Windows"
         "</CATEGORY><Category>x64</Category><Enclosure URL=\"u\"/></ITEM></Channel></RSS>",
         "1", 0, "2|n|u"},
        {"an instruction ahead of it", "<?xml version=\"1.0\"?>\n" + Rss(Plain("2")), "1", 0,
         "2|notes 2|https://u/2"},
        {"an instruction named like an item",
         "<rss><channel><?item ><title>2</title><content:encoded>n</content:encoded>" + kPlatform +
             "</item></channel></rss>",
         "1", 0, "2|n|"},
        {"the version as it stands", Rss(Plain("02.10.x")), "1", 0,
         "02.10.x|notes 02.10.x|https://u/02.10.x"},
        {"the first title counts",
         Rss("<item><title>2</title><title>9</title><content:encoded>n</content:encoded>" + kPlatform +
             "</item>"),
         "1", 0, "2|n|"},
        {"the first content counts",
         Rss("<item><title>2</title><content:encoded>a</content:encoded><content:encoded>b"
             "</content:encoded>" +
             kPlatform + "</item>"),
         "1", 0, "2|a|"},
        {"the order within the item is free",
         Rss("<item>" + kPlatform + "<content:encoded>n</content:encoded><title>2</title></item>"), "1", 0,
         "2|n|"},
    });
}

TEST(UpdateFeed, WhatAnItemNeeds) {
    const std::string title = "<title>2</title>";
    const std::string content = "<content:encoded>n</content:encoded>";
    const auto item = [](const std::string& inner) { return Rss("<item>" + inner + "</item>"); };
    Expect({
        {"title, content and the two categories", item(title + content + kPlatform), "1", 0, "2|n|"},
        {"no title", item(content + kPlatform), "1", 0x84000004, "||"},
        {"no content", item(title + kPlatform), "1", 0x84000004, "||"},
        {"a description is no content", item(title + "<description>d</description>" + kPlatform), "1",
         0x84000004, "||"},
        {"a description beside it is not read",
         item(title + "<description>d</description>" + content + kPlatform), "1", 0, "2|n|"},
        {"empty content", item(title + "<content:encoded/>" + kPlatform), "1", 0, "2||"},
        {"content with another prefix", item(title + "<c:encoded>n</c:encoded>" + kPlatform), "1", 0x84000004,
         "||"},
        {"no category", item(title + content), "1", 0x84000004, "||"},
        {"the platform alone", item(title + content + "<category>Windows</category>"), "1", 0x84000004, "||"},
        {"the architecture alone", item(title + content + "<category>x64</category>"), "1", 0x84000004, "||"},
    });
}

TEST(UpdateFeed, Categories) {
    const auto item = [](const std::vector<std::string>& categories) {
        std::string text = "<item><title>2</title><content:encoded>n</content:encoded>";
        for (const std::string& category : categories)
            text += "<category>" + category + "</category>";
        return Rss(text + "</item>");
    };
    Expect({
        {"as they are", item({"Windows", "x64"}), "1", 0, "2|n|"},
        {"the other way round", item({"x64", "Windows"}), "1", 0, "2|n|"},
        {"in other cases", item({"windows", "X64"}), "1", 0, "2|n|"},
        {"in capitals", item({"WINDOWS", "X64"}), "1", 0, "2|n|"},
        {"with others", item({"Windows", "x64", "Mac"}), "1", 0, "2|n|"},
        {"with others between", item({"Mac", "x64", "arm64", "Windows", ""}), "1", 0, "2|n|"},
        {"twice the same", item({"Windows", "Windows", "x64"}), "1", 0, "2|n|"},
        {"in a section", item({"<![CDATA[Windows]]>", "<![CDATA[x64]]>"}), "1", 0, "2|n|"},
        {"both in one", item({"Windows x64"}), "1", 0x84000004, "||"},
        {"both in one, with a comma", item({"Windows,x64"}), "1", 0x84000004, "||"},
        {"a blank ahead", item({" Windows", "x64"}), "1", 0x84000004, "||"},
        {"a blank behind", item({"Windows", "x64 "}), "1", 0x84000004, "||"},
        {"a longer name", item({"Windows 11", "x64"}), "1", 0x84000004, "||"},
        {"another architecture", item({"Windows", "x86"}), "1", 0x84000004, "||"},
        {"another platform", item({"Linux", "x64"}), "1", 0x84000004, "||"},
        {"empty ones", item({"", ""}), "1", 0x84000004, "||"},
        {"in an attribute",
         Rss("<item><title>2</title><content:encoded>n</content:encoded><category text=\"Windows\"/>"
             "<category text=\"x64\"/></item>"),
         "1", 0x84000004, "||"},
        {"in two items",
         Rss("<item><title>2</title><content:encoded>n</content:encoded><category>Windows</category></item>"
             "<item><title>2</title><content:encoded>n</content:encoded><category>x64</category></item>"),
         "1", 0x84000004, "||"},
    });
}

TEST(UpdateFeed, Addresses) {
    Expect({
        {"the attribute", Rss(Item("2", "n", "<enclosure url=\"https://u/?a=1&amp;b=2\"/>")), "1", 0,
         "2|n|https://u/?a=1&b=2"},
        {"in any case", Rss(Item("2", "n", "<enclosure URL=\"u\"/>")), "1", 0, "2|n|u"},
        {"the first of two cases", Rss(Item("2", "n", "<enclosure Url=\"a\" url=\"b\"/>")), "1", 0, "2|n|a"},
        {"behind others", Rss(Item("2", "n", "<enclosure length=\"1\" url=\"u\" type=\"t\"/>")), "1", 0,
         "2|n|u"},
        {"no such attribute", Rss(Item("2", "n", "<enclosure href=\"u\"/>")), "1", 0, "2|n|"},
        {"not its text", Rss(Item("2", "n", "<enclosure>u</enclosure>")), "1", 0, "2|n|"},
        {"of two the first", Rss(Item("2", "n", "<enclosure url=\"a\"/><enclosure url=\"b\"/>")), "1", 0,
         "2|n|a"},
        {"of two the first, without an address", Rss(Item("2", "n", "<enclosure/><enclosure url=\"b\"/>")),
         "1", 0, "2|n|"},
        {"none at all", Rss(Item("2", "n", "")), "1", 0, "2|n|"},
        {"none leaves that of a lesser winner", Rss(Plain("2") + Item("3", "n", "")), "1", 0,
         "3|n|https://u/2"},
        {"none leaves that of a lesser winner, twice",
         Rss(Plain("2") + Item("3", "m", "") + Item("4", "n", "")), "1", 0, "4|n|https://u/2"},
        {"one without an address clears it", Rss(Plain("2") + Item("3", "n", "<enclosure/>")), "1", 0,
         "3|n|"},
        {"not that of an item that does not win", Rss(Plain("1") + Item("3", "n", "") + Plain("2")), "1", 0,
         "3|n|"},
        {"whatever it says", Rss(Item("2", "n", "<enclosure url=\"javascript:alert(1)\"/>")), "1", 0,
         "2|n|javascript:alert(1)"},
    });
}

TEST(UpdateFeed, Notes) {
    Expect({
        {"a section", Rss(Item("2", "<![CDATA[<p>A &amp; B</p>]]>", "")), "1", 0, "2|<p>A &amp; B</p>|"},
        {"escaped", Rss(Item("2", "&lt;p&gt;A &amp;amp; B&lt;/p&gt;", "")), "1", 0, "2|<p>A &amp; B</p>|"},
        {"nothing is trimmed", Rss(Item("2", "\n  n\n", "")), "1", 0, "2|\n  n\n|"},
        {"blanks behind a section are dropped", Rss(Item("2", "<![CDATA[n]]>\n  ", "")), "1", 0, "2|n|"},
        {"markup instead of text", Rss(Item("2", "<p>A</p>", "")), "1", 0, "2||"},
    });
}

// As servers make them: several hundred items, namespaces, line ends of Windows, a byte order mark, comments.
TEST(UpdateFeed, AFeedAsServersMakeThem) {
    std::string feed =
        "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\" ?>\r\n<!-- generated -->\r\n"
        "<rss version=\"2.0\" xmlns:content=\"http://purl.org/rss/1.0/modules/content/\"\r\n"
        "     xmlns:atom=\"http://www.w3.org/2005/Atom\">\r\n  <channel>\r\n    <title>Foo &amp; "
        "Bar</title>\r\n"
        "    <atom:link href=\"https://updates.test/feeds/foo_bar_en/rss\" rel=\"self\"/>\r\n";
    for (int build = 0; build < 600; ++build) {
        const std::string version = "4." + std::to_string(build * 7 % 600) + "." + std::to_string(build);
        const std::string architecture = build % 3 == 0 ? "arm64" : "x64";
        feed +=
            "    <item>\r\n      <title>" + version + "</title>\r\n      <guid isPermaLink=\"false\">" +
            std::to_string(build) + "</guid>\r\n      <pubDate>Mon, 01 Jan 2024 10:00:00 GMT</pubDate>\r\n" +
            "      <category>Windows</category><!-- " + architecture + " -->\r\n      <category>" +
            architecture + "</category>\r\n      <content:encoded><![CDATA[<h1>" + version +
            "</h1>\r\n<p>&copy; more</p>]]></content:encoded>\r\n      <enclosure url=\"https://dl.test/" +
            version + "?a=1&amp;b=2\" length=\"1\" type=\"application/octet\"/>\r\n    </item>\r\n";
    }
    feed += "  </channel>\r\n</rss>\r\n<!-- end -->\r\n";
    // Build 257 is 4.599.257 (257 * 7 = 1799 = 2 * 600 + 599) and for x64.
    Expect({{"the newest for x64", feed, "4.1.0", 0,
             "4.599.257|<h1>4.599.257</h1>\r\n<p>&copy; more</p>|https://dl.test/4.599.257?a=1&b=2"},
            {"nothing newer", feed, "4.599.257", 0x84000004, "||"}});
}

TEST(UpdateFeed, Names) {
    static const struct {
        const char* name;
        const char* feed;
        const char* variant;
        const char* language;
        const char* expected;
    } rows[] = {
        {"folded", "Foo", "Bar", "DE", "foo_bar_de"},
        {"as it stands", "foo", "bar", "en", "foo_bar_en"},
        {"all letters", "ABCXYZ", "abcxyz", "@[`{", "abcxyz_abcxyz_@[`{"},
        {"nothing is escaped", "a b/c", "d?e=f&g", "#%20", "a b/c_d?e=f&g_#%20"},
        {"not ASCII stays", "\xC3\x84", "\xC3\xA4", "\xFF", "\xC3\x84_\xC3\xA4_\xFF"},
        {"a country", "f", "v", "en-GB", "f_v_en-gb"},
        {"empty", "", "", "", "__"},
    };
    for (const auto& row : rows)
        EXPECT_STREQ(quillmarkclient_core::FeedName(row.feed, row.variant, row.language).c_str(),
                     row.expected)
            << row.name;
}

}  // namespace
