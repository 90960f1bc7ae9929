// Documents that are very deep, very wide or very long, and exhausted memory.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "core/src/client/XmlNode.h"
#include "tests/core/client/XmlTestSupport.h"
#include "tests/core/json/JsonTestSupport.h"
#include "tests/support/EachAllocation.h"
#include "tests/support/LinearCost.h"
#include "tests/support/SmallStack.h"

// The sanitizer's strstr measures all that follows in the text at each call, which makes a linear reader
// quadratic.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "intercept_strstr=0";
}

namespace {

using json_test::Text;
using xml::XmlNode;
using xml_test::Repeated;

constexpr std::size_t kDepth = 1'000'000;

// How many levels the last children make below the node.
std::size_t DepthOf(const XmlNode& node) {
    std::size_t depth = 0;
    for (const XmlNode* at = &node; !at->children.empty(); at = &at->children.back())
        ++depth;
    return depth;
}

TEST(XmlLarge, AMillionLevelsNeedNoStack) {
    static const struct {
        const char* name;
        std::string open;
        std::string close;
        std::size_t depth;  // down the last children
    } rows[] = {
        {"elements", "<a>", "</a>", kDepth + 1},
        {"elements with a sibling ahead", "<a><b/>", "</a>", kDepth + 2},
        {"elements with text and a sibling behind", "<a>x", "</a><b/>", 2},
        {"instructions", "<?a >", "</a>", kDepth + 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const portable_stl::string text =
            Text("<r>" + Repeated(row.open, kDepth) + Repeated(row.close, kDepth) + "</r>");
        test::RunOnSmallStack([&] {
            XmlNode document;
            ASSERT_EQ(xml::ParseXml(text, document), 0);
            XmlNode moved(std::move(document));
            document = XmlNode();
            EXPECT_EQ(DepthOf(moved), row.depth);
            xml::ClearXml(moved);
            EXPECT_TRUE(moved.children.empty());
        });
    }
}

TEST(XmlLarge, AMillionLevelsThatAreRefusedNeedNoStack) {
    static const struct {
        const char* name;
        const char* end;
    } rows[] = {
        {"never closed", ""},
        {"closed by another", "</b>"},
        {"cut in a tag", "<"},
        {"an attribute twice", "<a b=\"1\" b=\"1\">"},
    };
    for (const auto& row : rows) {
        const portable_stl::string text = Text(Repeated("<a>", kDepth) + row.end);
        test::RunOnSmallStack([&] {
            XmlNode document;
            EXPECT_EQ(xml::ParseXml(text, document), -1) << row.name;
            EXPECT_TRUE(document.children.empty());
        });
    }
}

// A level of 50 bytes, opened and closed or opened alone.
TEST(XmlLarge, FiftyMegabytesOfNestedTagsNeedNoStack) {
    const std::string name(23, 'a');
    const std::string longName(48, 'a');
    const struct {
        const char* what;
        std::string open;
        std::string close;
        std::int32_t result;
        std::size_t depth;
    } rows[] = {
        {"closed", "<" + name + ">", "</" + name + ">", 0, kDepth},
        {"closed, in another case", "<" + name + ">", "</A" + name.substr(1) + ">", -1, 0},
        {"never closed", "<" + longName + ">", "", -1, 0},
    };
    for (const auto& row : rows) {
        const portable_stl::string text = Text(Repeated(row.open, kDepth) + Repeated(row.close, kDepth));
        ASSERT_GE(text.size(), 50'000'000u) << row.what;
        test::RunOnSmallStack([&] {
            XmlNode document;
            EXPECT_EQ(xml::ParseXml(text, document), row.result) << row.what;
            EXPECT_EQ(DepthOf(document), row.depth) << row.what;
        });
    }
}

std::string TagWithAttributes(std::size_t count) {
    std::string text = "<a";
    for (std::size_t i = 0; i < count; ++i)
        text += " n" + std::to_string(i * 7919 % count) + "=\"\"";  // in no order
    return text;
}

// The verdict alone: what it costs is a row of feed_bench.
TEST(XmlLarge, ManyAttributesAreJudged) {
    constexpr std::size_t kCount = 300'000;
    const std::string tag = TagWithAttributes(kCount);
    static const struct {
        const char* name;
        const char* end;
        std::int32_t result;
    } rows[] = {
        {"all different", "/>", 0},
        {"the last is the first again", " n0=\"\"/>", -1},
        {"the last is one of the middle again", " n150000=\"x\"/>", -1},
        {"again in the closing tag", "></a n7=\"\">", -1},
    };
    for (const auto& row : rows) {
        XmlNode document;
        EXPECT_EQ(xml::ParseXml(Text(tag + row.end), document), row.result) << row.name;
        if (row.result == 0) {
            EXPECT_EQ(document.children[0].attributes.size(), kCount) << row.name;
        }
    }
}

TEST(XmlLarge, ManyEqualAttributesAreRefused) {
    XmlNode document;
    EXPECT_EQ(xml::ParseXml(Text("<a" + Repeated(" b=\"1\"", 300'000) + "/>"), document), -1);
}

// About as many bytes of a feed, as servers make them.
std::string Feed(std::size_t bytes) {
    const std::string item =
        "    <item>\r\n      <title>5.1.2048</title>\r\n      <link>https://updates.test/5.1.2048</link>\r\n"
        "      <content:encoded><![CDATA[<h1>News</h1>\r\n<ul><li>Faster &amp; smaller</li></ul>]]>"
        "</content:encoded>\r\n      <category>Windows</category><category domain=\"arch\">x64</category>\r\n"
        "      <enclosure url=\"https://updates.test/a?b=1&amp;c=2\" length=\"1024\" type=\"x\"/>\r\n"
        "    </item><!-- next -->\r\n";
    std::string text =
        "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n"
        "<rss version=\"2.0\" xmlns:content=\"http://purl.org/rss/1.0/modules/content/\">"
        "<channel>\r\n";
    text += Repeated(item, bytes / item.size());
    return text + "</channel></rss>";
}

void ExpectLinear(const char* name, std::size_t few, std::string (*make)(std::size_t)) {
    SCOPED_TRACE(name);
    test::ExpectLinearCost(few, [make](std::size_t size) {
        const portable_stl::string text = Text(make(size));
        XmlNode document;
        return test::AllocatedBytes([&] { EXPECT_EQ(xml::ParseXml(text, document), 0); });
    });
}

TEST(XmlLarge, TwentyMegabytesCostTenTimesTwo) {
    ExpectLinear("a feed", 2'000'000, &Feed);
    ExpectLinear("attributes", 100'000, [](std::size_t count) { return TagWithAttributes(count) + "/>"; });
    ExpectLinear("levels", 100'000,
                 [](std::size_t count) { return Repeated("<a>", count) + Repeated("</a>", count); });
    ExpectLinear("siblings", 100'000,
                 [](std::size_t count) { return "<r>" + Repeated("<a/>", count) + "</r>"; });
    ExpectLinear("references", 100'000,
                 [](std::size_t count) { return "<r>" + Repeated("&amp;", count) + "</r>"; });
}

// A stray > lets a further section follow, and each is appended to what is there.
TEST(XmlLarge, ManySectionsInOneElementCostTheirNumber) {
    ExpectLinear("sections", 1'000,
                 [](std::size_t count) { return "<r>" + Repeated("<![CDATA[x]]>>", count) + "</r>"; });
}

TEST(XmlLarge, EveryFailedAllocationOfAReadThrows) {
    const portable_stl::string text = Text(
        "<?xml with=\"a value that is too long for the short form\"?><root:which:is:too:long:for:it><item>a "
        "text that is too long for the short form</item><item b=\"1\" c=\"2\"><![CDATA[another text that is "
        "too long for it]]></item></root:which:is:too:long:for:it>");
    const std::size_t failures = test::FailEachAllocation([&text] {
        XmlNode document;
        EXPECT_EQ(xml::ParseXml(text, document), 0);
    });
    EXPECT_GT(failures, 10u);
}

}  // namespace
