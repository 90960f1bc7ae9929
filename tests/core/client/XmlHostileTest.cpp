// Documents that nobody writes on purpose, read by the library and by a second reader.
#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>

#include "tests/core/client/XmlTestSupport.h"
#include "tests/core/json/JsonTestSupport.h"
#include "tests/support/RandomText.h"

namespace {

using json_test::Visible;
using xml_test::kRefused;
using xml_test::ReferenceShapeOf;
using xml_test::ShapeOf;

const char* const kSamples[] = {
    "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\" ?>\r\n<rss a=\"1\" b=\"&lt;x>\"><!-- c -->\r\n"
    "<item><title>1.2 &amp; "
    "3</title><content:encoded><![CDATA[<p>&nbsp;</p>]]></content:encoded></item></rss>",
    "<a><?p x=\"1\"?>t<b c='1'/></a>",
    "<a>x<?p >y</p><b></b ?><a/>",
};

// Texts of which both readers have to say the same. Counts those that they accept.
void ExpectAgreement(const std::string& text, std::size_t* accepted) {
    const auto ours = ShapeOf(text);
    ASSERT_EQ(ours.value_or(kRefused), ReferenceShapeOf(text).value_or(kRefused)) << Visible(text);
    *accepted += ours ? 1 : 0;
}

TEST(XmlHostile, EveryCutAndEveryTailAgree) {
    std::size_t accepted = 0;
    for (const std::string sample : kSamples) {
        for (std::size_t length = 0; length <= sample.size(); ++length) {
            ExpectAgreement(sample.substr(0, length), &accepted);
            ExpectAgreement(sample.substr(length), &accepted);
        }
    }
    EXPECT_GT(accepted, 0u);
}

// Each byte in turn removed, doubled and replaced by each of the bytes that mean something.
TEST(XmlHostile, EverySingleChangeAgrees) {
    const std::string meaningful("<>/?!-=\"' \t&;a:1]\x80\x01\0", 21);
    std::size_t accepted = 0;
    for (const std::string sample : kSamples) {
        for (std::size_t place = 0; place < sample.size(); ++place) {
            std::string text = sample;
            ExpectAgreement(text.erase(place, 1), &accepted);
            text = sample;
            ExpectAgreement(text.insert(place, 1, sample[place]), &accepted);
            for (const char replacement : meaningful) {
                text = sample;
                text[place] = replacement;
                ExpectAgreement(text, &accepted);
            }
        }
    }
    EXPECT_GT(accepted, 500u);
}

// All texts of up to five of these bytes behind a beginning: every short way through the states.
TEST(XmlHostile, EveryShortTextAgrees) {
    static const struct {
        const char* name;
        const char* start;
        std::size_t leastAccepted;
    } rows[] = {
        {"from the start", "", 10},
        {"in an element", "<a>", 10},
        {"behind the root", "<a/>", 1000},
        {"in a tag", "<a ", 10},
    };
    const std::string bytes = "<>/?a\"= ";
    constexpr std::size_t longest = 5;
    for (const auto& row : rows) {
        std::size_t accepted = 0;
        for (std::size_t length = 0; length <= longest; ++length) {
            std::size_t count = 1;
            for (std::size_t i = 0; i < length; ++i)
                count *= bytes.size();
            for (std::size_t number = 0; number < count; ++number) {
                std::string text = row.start;
                for (std::size_t i = 0, rest = number; i < length; ++i, rest /= bytes.size())
                    text += bytes[rest % bytes.size()];
                ExpectAgreement(text, &accepted);
                if (HasFatalFailure())
                    FAIL() << row.name;
            }
        }
        EXPECT_GT(accepted, row.leastAccepted) << row.name;
    }
}

TEST(XmlHostile, RandomBytesAgree) {
    const struct {
        const char* name;
        const char* before;
        const char* after;
        std::string bytes;
        std::size_t longest;
        int count;
        std::size_t leastAccepted;
    } rows[] = {
        {"any bytes", "", "", test::EveryByte(), 200, 2000, 0},
        {"any bytes in an element", "<a>", "</a>", test::EveryByte(), 30, 2000, 500},
        {"any bytes in a value", "<a b=\"", "\"/>", test::EveryByte(), 30, 2000, 500},
        {"structure", "", "", "<<</>>>?!?--=\"\"' ab", 40, 10000, 1},
        {"structure in an element", "<a>", "</a>", "<<</>>>?!?--=\"\"' ab", 12, 10000, 500},
        {"tags", "", "", "<a></a><b/> c=\"1\"", 40, 10000, 1},
        {"tags in an element", "<a>", "</a>", "<a></a><b/> c=\"1\"", 12, 10000, 500},
        {"references", "<a>", "</a>", "&&;ltgampquos#", 8, 10000, 500},
        {"sections and comments", "<a>", "</a>", "<!-[CDATA]>a ", 12, 10000, 500},
    };
    for (const auto& row : rows) {
        std::mt19937 random(4711);
        std::size_t accepted = 0;
        for (int i = 0; i < row.count; ++i) {
            const std::string text =
                row.before + test::RandomText(random, row.bytes, row.longest) + row.after;
            ExpectAgreement(text, &accepted);
            if (HasFatalFailure())
                FAIL() << row.name << ", text " << i;
        }
        EXPECT_GE(accepted, row.leastAccepted) << row.name;
    }
}

// Random bytes hit none of the five but by luck.
TEST(XmlHostile, RandomReferencesAgree) {
    static const char* const pieces[] = {"&lt;",  "&gt;", "&amp;", "&apos;", "&quot;", "&Lt;", "&lt", "&;",
                                         "&#65;", "&amp", "lt;",   "&",      ";",      "a",    " "};
    std::mt19937 random(4712);
    std::size_t accepted = 0;
    for (int i = 0; i < 10000; ++i) {
        std::string text;
        for (std::size_t count = random() % 5; count > 0; --count)
            text += pieces[random() % std::size(pieces)];
        ExpectAgreement("<a>" + text + "</a>", &accepted);
        ExpectAgreement("<a b=\"" + text + "\"/>", &accepted);
        if (HasFatalFailure())
            FAIL() << "text " << i;
    }
    EXPECT_GT(accepted, 5000u);
    EXPECT_LT(accepted, 19000u);
}

// Pieces that mean something, strung together without much sense.
TEST(XmlHostile, RandomPiecesAgree) {
    static const char* const pieces[] = {
        "<a>",    "</a>",  "<b>",   "</b>",        "<a/>",       "<b c=\"1\">", "<",          "</",
        "<?p ?>", "<?p >", "</p>",  "</a ?>",      "</b ?>",     " ?>",         ">",          "/>",
        "x",      " ",     "&amp;", "&",           "<!-- c -->", "<!--",        "-->",        "<![CDATA[y]]>",
        "]]>",    "c=",    "\"1\"", " d=\"&lt;\"", "'1'",        "\xC3\xA9",    "<a c=\"1\"", "</a c=\"2\">",
        "<A>",    "</A>"};
    std::mt19937 random(815);
    std::size_t accepted = 0;
    for (int i = 0; i < 60000; ++i) {
        std::string text = random() % 2 == 0 ? "<a>" : "";
        for (std::size_t count = random() % 10; count > 0; --count)
            text += pieces[random() % std::size(pieces)];
        ExpectAgreement(text, &accepted);
        if (HasFatalFailure())
            return;
    }
    EXPECT_GT(accepted, 500u);
}

// Documents that are good, until now and then a piece is lost.
class Grower {
public:
    explicit Grower(unsigned seed) : random_(seed) {}

    std::string Document() {
        std::string text = Pick({"", "", "\xEF\xBB\xBF", "<!-- c -->\r\n"});
        text += Pick({"", "<?xml version=\"1.0\"?>\r\n", "<?xml >t</xml>", "<?xml b=\"1\"/>"});
        text += Element(4) + Pick({"", "", "\n", "<!-- end -->", "</", "</x "});
        if (random_() % 4 == 0)
            text.erase(random_() % text.size(), 1 + random_() % 3);
        return text;
    }

private:
    std::string Pick(std::initializer_list<const char*> choices) {
        return choices.begin()[random_() % choices.size()];
    }

    std::string Tag(const std::string& name) {
        std::string tag = "<" + Pick({"", "", "", "<!-- -->"}) + name;
        const std::string names[] = {"b", "c", "D", "x:y"};
        for (const std::string& attribute : names) {
            if (random_() % 4 == 0)
                tag += Pick({" ", "\t", "\xC3"}) + attribute + Pick({"=", " = "}) +
                       Pick({"\"\"", "\"1\"", "\"&quot;>\"", "\"\xC3\xA9\""});
        }
        return tag;
    }

    std::string Element(int depth) {
        const std::string name = Pick({"a", "A", "item", "content:encoded", "1"});
        if (random_() % 5 == 0)
            return Tag(name) + Pick({"/>", " />", " ?>"});
        std::string text = Tag(name) + Pick({">", " >"}) + Pick({"", ">"}) +
                           Pick({"", "t", " t &amp; ", "<![CDATA[<u>&]]>", "<!-- -->t", "\n"});
        for (std::size_t count = depth > 0 ? random_() % 4 : 0; count > 0; --count)
            text += Element(depth - 1) + Pick({"", "\n", "dropped", "<?p ?>", "<!-- -->", ">t"});
        return text + "</" + name + Pick({">", " >", "/>", "\n>"});
    }

    std::mt19937 random_;
};

TEST(XmlHostile, GrownDocumentsAgree) {
    Grower grower(99);
    std::size_t accepted = 0;
    constexpr std::size_t kCount = 20000;
    for (std::size_t i = 0; i < kCount; ++i) {
        ExpectAgreement(grower.Document(), &accepted);
        if (HasFatalFailure())
            return;
    }
    EXPECT_GT(accepted, kCount / 2);
    EXPECT_LT(accepted, kCount) << "some are damaged";
}

}  // namespace
