// The reader's table of states, row by row, and each token that a state refuses.
#include <gtest/gtest.h>

#include <string>

#include "tests/core/client/XmlTestSupport.h"

namespace {

using xml_test::kRefused;
using xml_test::ShapeOf;

struct Row {
    const char* name;
    const char* text;
    const char* shape;
};

template <std::size_t count>
void Expect(const Row (&rows)[count]) {
    for (const Row& row : rows)
        EXPECT_EQ(ShapeOf(row.text).value_or(kRefused), row.shape) << row.name << ": " << row.text;
}

TEST(XmlStates, ContentTakesTags) {
    static const Row rows[] = {
        {"open", "<a><b/><c/></a>", "a{b,c}"},
        {"close-open", "<a><b/></a>", "a{b}"},
        {"instruction", "<a><b/><?p ?></a>", "a{b,?p}"},
        {"word, checked and dropped", "<a><b/>x</a>", "a{b}"},
        {"several words", "<a><b/>x<!-- -->y</a>", "a{b}"},
        {"a stray > lets text follow", "<a><b/>>x</a>", "a'x'{b}"},
        {"and at the start of the document", ">x<a/>", "a"},
        {"comments", "<a><b/><!-- 1 --><!-- 2 --></a>", "a{b}"},
    };
    Expect(rows);
}

TEST(XmlStates, ContentTextTakesTextOnce) {
    static const Row rows[] = {
        {"open", "<a><b/></a>", "a{b}"},
        {"close-open", "<a></a>", "a"},
        {"instruction", "<a><?p ?></a>", "a{?p}"},
        {"word", "<a>x</a>", "a'x'"},
        {"section", "<a><![CDATA[x]]></a>", "a'x'"},
        {"a stray > changes nothing", "<a>>x</a>", "a'x'"},
        {"nor do two", "<a>>>x</a>", "a'x'"},
        {"a comment ahead of the text", "<a><!-- c -->x</a>", "a'x'"},
        {"a comment ahead of a section", "<a><!-- c --><![CDATA[x]]></a>", "a'x'"},
        {"word, then section", "<a>x<![CDATA[y]]></a>", kRefused},
        {"section, then word", "<a><![CDATA[x]]>y</a>", "a'x'"},
        {"two sections", "<a><![CDATA[x]]><![CDATA[y]]></a>", kRefused},
        {"blank, then section", "<a> <![CDATA[x]]></a>", kRefused},
        {"a later word replaces, once a stray > asks for it", "<a>x<!-- -->>y</a>", "a'y'"},
        {"a later section is appended", "<a>x<!-- -->><![CDATA[y]]></a>", "a'xy'"},
    };
    Expect(rows);
}

TEST(XmlStates, PendingTextGoesToWhoeverClosesNext) {
    static const Row rows[] = {
        {"an opening tag discards it", "<a>x<b/></a>", "a{b}"},
        {"an instruction keeps it", "<a>x<?p ?></a>", "a'x'{?p}"},
        {"its own closing tag takes it", "<a>x<?p ></p></a>", "a{?p'x'}"},
        {"text replaces it", "<a>x<?p >y</p></a>", "a{?p'y'}"},
        {"a section is appended to it", "<a>x<?p ><![CDATA[y]]></p></a>", "a{?p'xy'}"},
        {"a closing tag that ends like an instruction takes it", "<a>x</a ?>", "a'x'"},
        {"ahead of the root it is discarded", ">t<a/></", "a"},
        {"behind the root a closing tag gives it to the document", "<a/>>t</", "#XmlDocument't'{a}"},
    };
    Expect(rows);
}

TEST(XmlStates, NameTakesAWord) {
    static const Row rows[] = {
        {"word", "<a/>", "a"},
        {"word of a closing tag", "<a></a>", "a"},
        {"word of an instruction", "<?p ?><a/>", "?p,a"},
        {"a comment ahead of it", "<<!-- c -->a/>", "a"},
        {"space", "< a/>", kRefused},
        {"a byte that counts as space", "<\xC3\xA9/>", kRefused},
        {"space in a closing tag", "<a></ a>", kRefused},
        {"space in an instruction", "<? p ?><a/>", kRefused},
        {"equals", "<=a/>", kRefused},
        {"tag-end", "<><a/>", kRefused},
        {"tag-close", "<a></>", kRefused},
        {"tag-end-empty", "<?/><a/>", kRefused},
        {"instruction's end", "<?\?><a/>", kRefused},
        {"a quoted word is no name", "<\"a\"/>", kRefused},
        {"open", "<<a/>", kRefused},
        {"section", "<<![CDATA[x]]>a/>", kRefused},
    };
    Expect(rows);
}

TEST(XmlStates, InTagTakesAttributesAndEnds) {
    static const Row rows[] = {
        {"space", "<a \t\r\n/>", "a"},
        {"word", "<a b=\"1\"/>", "a(b=1)"},
        {"a word at once behind a value", "<a b=\"1\"c=\"2\"/>", "a(b=1,c=2)"},
        {"tag-end", "<a ></a>", "a"},
        {"tag-close", "<a></a >", "a"},
        {"tag-end-empty", "<a />", "a"},
        {"instruction's end", "<?p ?><a/>", "?p,a"},
        {"a comment", "<a<!-- c -->b=\"1\"<!-- d -->/>", "a(b=1)"},
        {"equals", "<a =\"1\"/>", kRefused},
        {"open", "<a <b/>", kRefused},
        {"close-open", "<a </a>", kRefused},
        {"instruction", "<a <?p ?>/>", kRefused},
        {"section", "<a <![CDATA[x]]>/>", kRefused},
        {"quoted word is no name", "<a \"b\"=\"1\"/>", kRefused},
        {"a slash is an empty name", "<a/b=\"1\"/>", kRefused},
        {"ahead of the equals sign too", "<a/=\"1\"/>", kRefused},
    };
    Expect(rows);
}

TEST(XmlStates, EqualsWaitsForTheSign) {
    static const Row rows[] = {
        {"equals", "<a b=\"1\"/>", "a(b=1)"},
        {"space first", "<a b \n=\"1\"/>", "a(b=1)"},
        {"a comment first", "<a b<!-- c -->=\"1\"/>", "a(b=1)"},
        {"word", "<a b c=\"1\"/>", kRefused},
        {"quoted word", "<a b\"1\"/>", kRefused},
        {"tag-end", "<a b></a>", kRefused},
        {"tag-close", "<a></a b>", kRefused},
        {"tag-end-empty", "<a b/>", kRefused},
        {"instruction's end", "<?p b ?><a/>", kRefused},
        {"open", "<a b<c/>", kRefused},
    };
    Expect(rows);
}

TEST(XmlStates, ValueWaitsForAQuotedWord) {
    static const Row rows[] = {
        {"word", "<a b=\"1\"/>", "a(b=1)"},
        {"space first", "<a b= \r\n\"1\"/>", "a(b=1)"},
        {"a comment first", "<a b=<!-- c -->\"1\"/>", "a(b=1)"},
        {"equals", "<a b==\"1\"/>", kRefused},
        {"a bare word", "<a b=1 />", kRefused},
        {"single quotes", "<a b='1'/>", kRefused},
        {"tag-end", "<a b=></a>", kRefused},
        {"tag-close", "<a></a b=>", kRefused},
        {"tag-end-empty", "<a b=/>", kRefused},
        {"instruction's end", "<?p b=?><a/>", kRefused},
        {"open", "<a b=<c/>", kRefused},
        {"a slash", "<a b=/\"1\"/>", kRefused},
    };
    Expect(rows);
}

TEST(XmlStates, WhatContentRefuses) {
    static const Row rows[] = {
        {"section behind a child", "<a><b/><![CDATA[x]]></a>", kRefused},
        {"section at the start", "<![CDATA[x]]><a/>", kRefused},
        {"an empty one too", "<![CDATA[]]><a/>", kRefused},
        {"end of an empty element", "<a><b/>/></a>", kRefused},
        {"end of an instruction", "<a><b/>?></a>", kRefused},
        {"end of an empty element, where text may stand", "<a>/>text</a>", kRefused},
        {"end of an instruction, where text may stand", "<a>?>text</a>", kRefused},
        {"a section without an end", "<a><![CDATA[x</a>", kRefused},
        {"a comment without an end", "<a><!-- x</a>", kRefused},
    };
    Expect(rows);
}

// An instruction's end in a closing tag takes the flag for closing tags along to what follows.
TEST(XmlStates, AClosingTagMayEndLikeAnInstruction) {
    static const Row rows[] = {
        {"alone", "<a></a?>", kRefused},  // "a?" is one word
        {"behind a blank", "<a></a ?>", "a"},
        {"the next closing tag puts it right", "<a><b></b ?></a><!-- -->", "a{b}"},
        {"a stray > is the end of a closing tag then", "<a><b></b ?>></a>", kRefused},
        {"a tag behind it is not pushed", "<a><b></b ?><c></c></a>", kRefused},
        {"unless its name is the one that is open", "<a><b></b ?><a/>", "a{b,a}"},
        {"an empty element behind it ends nothing else", "<a><b></b ?><c/></a>", kRefused},
    };
    Expect(rows);
}

}  // namespace
