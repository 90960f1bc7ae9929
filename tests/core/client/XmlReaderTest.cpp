// What the reader takes and what it refuses: names, references, attributes, text, the end of the input.
#include <gtest/gtest.h>

#include <string>

#include "core/src/client/XmlNode.h"
#include "tests/core/client/XmlTestSupport.h"
#include "tests/core/json/JsonTestSupport.h"

namespace {

using json_test::Text;
using json_test::Visible;
using xml_test::kRefused;
using xml_test::ShapeOf;

struct Row {
    const char* name;
    std::string text;
    std::string shape;
};

template <std::size_t count>
void Expect(const Row (&rows)[count]) {
    for (const Row& row : rows)
        EXPECT_EQ(ShapeOf(row.text).value_or(kRefused), row.shape) << row.name << ": " << Visible(row.text);
}

TEST(XmlReader, Names) {
    static const Row rows[] = {
        {"letters", "<Title/>", "Title"},
        {"a digit", "<1/>", "1"},
        {"a colon", "<:/>", ":"},
        {"a namespace", "<content:encoded/>", "content:encoded"},
        {"all that may stand", "<azAZ09:/>", "azAZ09:"},
        {"an instruction", "<?xml2:x ?><a/>", "?xml2:x,a"},
        {"an attribute", "<a x1:y=\"1\"/>", "a(x1:y=1)"},
        {"hyphen", "<a-b/>", kRefused},
        {"underscore", "<a_b/>", kRefused},
        {"dot", "<a.b/>", kRefused},
        {"semicolon, behind the colon", "<a;/>", kRefused},
        {"at, ahead of A", "<@/>", kRefused},
        {"bracket, behind Z", "<[/>", kRefused},
        {"backtick, ahead of a", "<`/>", kRefused},
        {"brace, behind z", "<{/>", kRefused},
        {"a reference", "<a&amp;/>", kRefused},
        {"document type", "<!DOCTYPE rss><a/>", kRefused},
        {"document type in small letters", "<!doctype html><a/>", kRefused},
        {"hyphen in an attribute", "<a b-c=\"1\"/>", kRefused},
        {"underscore in an attribute", "<a b_c=\"1\"/>", kRefused},
        {"dot in an attribute", "<a b.c=\"1\"/>", kRefused},
        {"hyphen in an instruction", "<?xml-stylesheet ?><a/>", kRefused},
        {"hyphen in a closing tag", "<a></a-b>", kRefused},
    };
    Expect(rows);
}

TEST(XmlReader, TagsMatchExactly) {
    static const Row rows[] = {
        {"same", "<A></A>", "A"},
        {"other case", "<A></a>", kRefused},
        {"another name", "<a></b>", kRefused},
        {"crossed", "<a><b></a></b>", kRefused},
        {"a prefix of it", "<ab></a>", kRefused},
        {"more than it", "<a></ab>", kRefused},
        {"no opening", "</a>", kRefused},
        {"one too many", "<a></a></a>", kRefused},
        {"no closing", "<a>", kRefused},
        {"no closing of the inner", "<a><b></a>", kRefused},
        {"a closing tag may close itself", "<a></a/>", "a"},
        {"two levels", "<a><b></b></a>", "a{b}"},
    };
    Expect(rows);
}

TEST(XmlReader, References) {
    static const Row rows[] = {
        {"less", "<a>&lt;</a>", "a'<'"},
        {"greater", "<a>&gt;</a>", "a'>'"},
        {"ampersand", "<a>1 &amp; 2</a>", "a'1 & 2'"},
        {"apostrophe", "<a>&apos;</a>", "a'''"},
        {"quote", "<a>&quot;</a>", "a'\"'"},
        {"all of them in a row", "<a>&lt;&gt;&amp;&apos;&quot;</a>", "a'<>&'\"'"},
        {"decoded once", "<a>&amp;lt;</a>", "a'&lt;'"},
        {"twice decoded would be one", "<a>&amp;amp;amp;</a>", "a'&amp;amp;'"},
        {"a semicolon behind it", "<a>&lt;;</a>", "a'<;'"},
        {"in a value", "<a b=\"&lt;&quot;&amp;amp;\"/>", "a(b=<\"&amp;)"},
        {"bare", "<a>1 & 2</a>", kRefused},
        {"at the end", "<a>1 &</a>", kRefused},
        {"without a semicolon", "<a>&lt</a>", kRefused},
        {"a valid one behind a bare one", "<a>&x &lt;</a>", kRefused},
        {"two ampersands", "<a>&&amp;</a>", kRefused},
        {"decimal", "<a>&#65;</a>", kRefused},
        {"hexadecimal", "<a>&#x41;</a>", kRefused},
        {"of HTML", "<a>&nbsp;</a>", kRefused},
        {"in capitals", "<a>&LT;</a>", kRefused},
        {"empty", "<a>&;</a>", kRefused},
        {"with a blank", "<a>& lt;</a>", kRefused},
        {"bare, in a value", "<a b=\"x&y\"/>", kRefused},
        {"cut off by the quote", "<a b=\"&lt\"/>", kRefused},
        {"numeric, in a value", "<a b=\"&#65;\"/>", kRefused},
        {"in a section nothing is looked at", "<a><![CDATA[& &#65; &lt;]]></a>", "a'& &#65; &lt;'"},
        {"in a comment nothing is looked at", "<a><!-- & --></a>", "a"},
    };
    Expect(rows);
}

TEST(XmlReader, DroppedTextIsCheckedAllTheSame) {
    static const Row rows[] = {
        {"behind a child", "<a><b/> & </a>", kRefused},
        {"ahead of a child", "<a> & <b/></a>", kRefused},
        {"behind a comment", "<a>x<!-- --> & </a>", kRefused},
        {"ahead of the root", "& <a/>", kRefused},
        {"behind the root", "<a/> &", kRefused},
        {"behind a child, valid", "<a><b/> &amp; </a>", "a{b}"},
        {"behind the root, valid", "<a/> &amp; text", "a"},
    };
    Expect(rows);
}

TEST(XmlReader, TextStandsDirectlyBehindTheOpeningTag) {
    static const Row rows[] = {
        {"text", "<a>text</a>", "a'text'"},
        {"nothing is trimmed", "<a> \r\n text\t</a>", "a' \r\n text\t'"},
        {"blanks alone", "<a> </a>", "a' '"},
        {"none", "<a></a>", "a"},
        {"cut by a comment", "<a>x<!-- c -->y</a>", "a'x'"},
        {"behind a comment", "<a><!-- c -->y</a>", "a'y'"},
        {"ahead of a child", "<a>x<b/></a>", "a{b}"},
        {"around a child", "<a>x<b/>y</a>", "a{b}"},
        {"around a child with text", "<a>x<b>y</b>z</a>", "a{b'y'}"},
        {"indentation", "<a>\n  <b>y</b>\n</a>", "a{b'y'}"},
        {"a greater-than first", "<a>>text</a>", "a'text'"},
        {"a greater-than further on", "<a>x>y</a>", "a'x>y'"},
        {"quotes and equals", "<a>b=\"c\" 'd'</a>", "a'b=\"c\" 'd''"},
        {"not ASCII", "<a>\xC3\xA9\xFF</a>", "a'\xC3\xA9\xFF'"},
        {"of an instruction", "<?p >x</p><a/>", "?p'x',a"},
        {"the end of a section", "<a>]]></a>", "a']]>'"},
    };
    Expect(rows);
}

TEST(XmlReader, SectionsStandDirectlyBehindTheOpeningTag) {
    static const Row rows[] = {
        {"HTML", "<a><![CDATA[<b>&amp;]]></a>", "a'<b>&amp;'"},
        {"empty", "<a><![CDATA[]]></a>", "a"},
        {"blanks behind it are dropped", "<a><![CDATA[x]]> </a>", "a'x'"},
        {"a comment behind it", "<a><![CDATA[x]]><!-- c --></a>", "a'x'"},
        {"a child behind it discards it", "<a><![CDATA[x]]><b/></a>", "a{b}"},
        {"a closing tag inside", "<a><![CDATA[</a>]]></a>", "a'</a>'"},
        {"the mark of its end, split", "<a><![CDATA[]]]]><!-- -->></a>", "a']]'"},
        {"behind a blank", "<a> <![CDATA[x]]></a>", kRefused},
        {"behind a line end", "<a>\n<![CDATA[x]]></a>", kRefused},
        {"two of them", "<a><![CDATA[x]]><![CDATA[y]]></a>", kRefused},
        {"behind a child", "<a><b/><![CDATA[x]]></a>", kRefused},
        {"in a tag", "<a <![CDATA[x]]>/>", kRefused},
        {"in a value", "<a b=\"<![CDATA[x]]>\"/>", kRefused},
    };
    Expect(rows);
}

TEST(XmlReader, Attributes) {
    static const Row rows[] = {
        {"one", "<a b=\"1\"/>", "a(b=1)"},
        {"in their order", "<a z=\"1\" b=\"2\" m=\"3\"/>", "a(z=1,b=2,m=3)"},
        {"an empty value", "<a b=\"\"/>", "a(b=)"},
        {"a greater-than in the value", "<a b=\"x>y\"/>", "a(b=x>y)"},
        {"a single quote in the value", "<a b=\"'\"/>", "a(b=')"},
        {"blanks in the value stay", "<a b=\" x \n\"/>", "a(b= x \n)"},
        {"blanks around the sign", "<a b = \"1\"/>", "a(b=1)"},
        {"none between two", "<a b=\"1\"c=\"2\"/>", "a(b=1,c=2)"},
        {"names in two cases", "<a b=\"1\" B=\"2\"/>", "a(b=1,B=2)"},
        {"bytes that are no ASCII are blanks",
         "<a\xC3\xA9"
         "b=\"1\"/>",
         "a(b=1)"},
        {"of an instruction", "<?xml version=\"1.0\" encoding=\"utf-8\"?><a/>",
         "?xml(version=1.0,encoding=utf-8),a"},
        {"of a closing tag", "<a></a b=\"1\">", "a(b=1)"},
        {"of both tags", "<a b=\"1\"></a c=\"2\">", "a(b=1,c=2)"},
        {"of a closing tag of an element with text", "<a>x</a b=\"1\">", "a(b=1)'x'"},
        {"of a closing tag in the document, no end", "<a/></x b=\"1\" ", "#x(b=1){a}"},
        {"twice", "<a b=\"1\" b=\"1\"/>", kRefused},
        {"twice, others between", "<a b=\"1\" c=\"2\" d=\"3\" b=\"4\"/>", kRefused},
        {"twice, in both tags", "<a b=\"1\"></a b=\"2\">", kRefused},
        {"twice in a closing tag", "<a></a b=\"1\" b=\"2\">", kRefused},
        {"twice in an instruction", "<?p b=\"1\" b=\"2\"?><a/>", kRefused},
        {"twice, with an end for an instruction", "<a></a b=\"1\" b=\"2\"?>", kRefused},
        {"twice, and then the end of the input", "<a/></x b=\"1\" b=\"2\" ", kRefused},
        {"the same in two elements", "<a b=\"1\"><c b=\"1\"/></a>", "a(b=1){c(b=1)}"},
        {"single quotes", "<a b='c'/>", kRefused},
        {"no quotes", "<a b=c />", kRefused},
        {"no value", "<a b/>", kRefused},
        {"no value but the sign", "<a b=/>", kRefused},
        {"no name", "<a =\"1\"/>", kRefused},
        {"a smaller-than in the value", "<a b=\"x<y\"/>", kRefused},
        {"a comment in the value", "<a b=\"<!-- -->\"/>", kRefused},
        {"no closing quote", "<a b=\"1/>", kRefused},
        {"two values", "<a b=\"1\"\"2\"/>", kRefused},
    };
    Expect(rows);
}

TEST(XmlReader, InstructionsAndElementsMayEndLikeEachOther) {
    static const Row rows[] = {
        {"an instruction", "<?xml ?><a/>", "?xml,a"},
        {"its end joined to the name", "<?xml?><a/>", kRefused},
        {"its end behind a value", "<?xml b=\"1\"?><a/>", "?xml(b=1),a"},
        {"an element ends like an instruction", "<a ?>", "a"},
        {"an instruction ends like an element", "<?xml/><a/>", "?xml,a"},
        {"an instruction with a closing tag", "<?xml></xml><a/>", "?xml,a"},
        {"an instruction with children", "<?xml><b/></xml><a/>", "?xml{b},a"},
        {"an instruction in an element", "<a><?p x=\"1\"?></a>", "a{?p(x=1)}"},
        {"an instruction without a name", "<? ?><a/>", kRefused},
    };
    Expect(rows);
}

TEST(XmlReader, TheDocumentIsOneElementBehindAtMostOneInstruction) {
    static const Row rows[] = {
        {"one element", "<a/>", "a"},
        {"an instruction and an element", "<?xml version=\"1.0\"?><a/>", "?xml(version=1.0),a"},
        {"with a line end between", "<?xml version=\"1.0\"?>\r\n<a/>", "?xml(version=1.0),a"},
        {"text around it is dropped", "x<a/>y", "a"},
        {"a byte order mark", "\xEF\xBB\xBF<?xml ?><a/>", "?xml,a"},
        {"comments everywhere", "<!-- 1 --><?xml ?><!-- 2 --><a/><!-- 3 -->", "?xml,a"},
        {"nothing", "", kRefused},
        {"a zero byte", std::string(1, '\0'), kRefused},
        {"what is behind a zero byte is not seen", std::string("<a/>\0<b/>", 9), "a"},
        {"not even to close", std::string("<a>\0</a>", 8), kRefused},
        {"blanks alone", " \n", kRefused},
        {"text alone", "text", kRefused},
        {"a comment alone", "<!-- c -->", kRefused},
        {"an instruction alone", "<?xml ?>", kRefused},
        {"two elements", "<a/><b/>", kRefused},
        {"two instructions", "<?p ?><?q ?>", kRefused},
        {"two instructions and an element", "<?p ?><?q ?><a/>", kRefused},
        {"an instruction behind the element", "<a/><?p ?>", kRefused},
        {"an instruction on both sides", "<?p ?><a/><?q ?>", kRefused},
        {"an element that is still open", "<a><b/>", kRefused},
        {"an instruction that is still open", "<?p ><a/>", kRefused},
        {"a root without a name", "<", kRefused},
        {"a root without a name behind an instruction", "<?p ?><", kRefused},
        {"a root whose name is empty", "<'/>", kRefused},
    };
    Expect(rows);
}

// One rule judges the end, whatever state it is met in.
TEST(XmlReader, TheEndMayComeInAnyState) {
    static const Row rows[] = {
        {"behind a closing mark", "<a/></", "a"},
        {"behind the name of a closing tag", "<a/></x ", "#x{a}"},
        {"not in the middle of a word", "<a/></x", kRefused},
        {"in an attribute of it", "<a/></x b =", "#x{a}"},
        {"ahead of a value", "<a/></x b = ", "#x{a}"},
        {"not in a value", "<a/></x b=\"1", kRefused},
        {"the closing tag of nobody", "<a/></>", kRefused},
        {"behind an open element", "<a", kRefused},
        {"behind an open element and a blank", "<a ", kRefused},
        {"behind a second element's mark", "<a/><", kRefused},
        {"behind an instruction's mark", "<a/><?", kRefused},
        {"an empty name that is closed by its own kind", "<a/></'", kRefused},
    };
    Expect(rows);
}

TEST(XmlReader, KindsAndParents) {
    xml::XmlNode document;
    ASSERT_EQ(xml::ParseXml(Text("<?xml ?><a><b/></a>"), document), 0);
    EXPECT_EQ(document.kind, 1u);
    EXPECT_STREQ(document.name.c_str(), "XmlDocument");
    EXPECT_EQ(document.parent, nullptr);
    ASSERT_EQ(document.children.size(), 2u);
    EXPECT_EQ(document.children[0].kind, 4u);
    EXPECT_EQ(document.children[1].kind, 2u);
    ASSERT_EQ(document.children[1].children.size(), 1u);
    EXPECT_EQ(document.children[1].children[0].kind, 2u);

    ASSERT_EQ(xml::ParseXml(Text("<a/>"), document), 0);
    ASSERT_EQ(document.children.size(), 1u);
    EXPECT_EQ(document.children[0].parent, &document);
}

TEST(XmlReader, AFilledDocumentIsReplaced) {
    xml::XmlNode document;
    ASSERT_EQ(xml::ParseXml("<a b=\"1\"><c/></a>", document), 0);
    ASSERT_EQ(xml::ParseXml("<d/>", document), 0);
    EXPECT_EQ(xml_test::Shape(document), "d");
    ASSERT_EQ(xml::ParseXml("<d>", document), -1);
    EXPECT_TRUE(document.name.empty() && document.children.empty());
    ASSERT_EQ(xml::ParseXml("", document), -1);
    ASSERT_EQ(xml::ParseXml("<e/>", document), 0);
    EXPECT_EQ(xml_test::Shape(document), "e");
}

TEST(XmlReader, FindChild) {
    xml::XmlNode document;
    ASSERT_EQ(
        xml::ParseXml("<r><A n=\"1\"/><a n=\"2\"/><A n=\"3\"/><content:Encoded n=\"4\"/></r>", document), 0);
    const xml::XmlNode& root = document.children[0];
    static const struct {
        const char* name;
        const char* child;
        bool exact;
        const char* found;
    } rows[] = {
        {"the first in any case", "a", false, "1"},
        {"the first in any case, the other way", "A", false, "1"},
        {"exactly, small", "a", true, "2"},
        {"exactly, capital", "A", true, "1"},
        {"with a namespace", "CONTENT:encoded", false, "4"},
        {"with a namespace, exactly", "content:encoded", true, "none"},
        {"a prefix is another name", "content", false, "none"},
        {"nobody", "b", false, "none"},
        {"the empty name", "", false, "none"},
        {"@ is not folded to backtick", "`", false, "none"},
    };
    for (const auto& row : rows) {
        const xml::XmlNode* const child = xml::FindXmlChild(root, row.child, row.exact);
        EXPECT_STREQ(child != nullptr ? child->attributes[0].value.c_str() : "none", row.found) << row.name;
    }
    EXPECT_EQ(xml::FindXmlChild(document, "a", false), nullptr) << "children only";
}

TEST(XmlReader, ClearEmptiesANode) {
    xml::XmlNode document;
    ASSERT_EQ(xml::ParseXml("<r b=\"1\">text</r>", document), 0);
    xml::XmlNode& root = document.children[0];
    xml::ClearXml(root);
    EXPECT_TRUE(root.name.empty() && root.text.empty());
    EXPECT_TRUE(root.children.empty() && root.attributes.empty());
    EXPECT_EQ(root.kind, 2u);
}

}  // namespace
