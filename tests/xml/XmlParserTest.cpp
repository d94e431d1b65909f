#include "XmlTestSupport.h"

#include "xml/XmlParser.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using XmlTest::parse;
using XmlTest::utf8;

namespace {

struct ErrorCase {
    const char* input;
    XmlError error;
    int32_t line;
    int32_t column;
};

TEST(XmlParserTest, ReportsEachErrorWithItsPosition) {
    const ErrorCase cases[] = {
        // End of input inside an element: the end of the input.
        {"<a>", XmlError::MissingEndTag, 1, 4},
        {"<a b", XmlError::MissingEndTag, 1, 5},
        {"<r>\n  <c>text", XmlError::MissingEndTag, 2, 10},
        // A mismatched end tag: just past it, and parsing goes on.
        {"<a><b></a>", XmlError::MissingEndTag, 1, 11},
        {"<r><a><b></a>\n<c/></r>", XmlError::MissingEndTag, 1, 14},
        // The document node meets an end tag: just past it.
        {"<a/></b><c/>", XmlError::MissingEndTag, 1, 9},
        {"<a></x>", XmlError::UnexpectedEndTag, 1, 8},
        {"<a><b></x>", XmlError::UnexpectedEndTag, 1, 11},
        {"<r></r x>", XmlError::MalformedEndTag, 1, 9},
        {"<r></>", XmlError::MalformedEndTag, 1, 7},
        {"<r></r", XmlError::MalformedEndTag, 1, 7},
        {"<r></'r'>", XmlError::MalformedEndTag, 1, 9},
        {"<r>< ></r>", XmlError::MissingTagName, 1, 7},
        {"<r><?></r>", XmlError::MissingTagName, 1, 7},
        {"<r><'x'></r>", XmlError::MissingTagName, 1, 8},
        {"<r><", XmlError::MissingTagName, 1, 5},
        {"<r><!-- x", XmlError::UnterminatedSection, 1, 8},
        {"<r><![CDATA[x]]", XmlError::UnterminatedSection, 1, 13},
        {"<r><!DOCTYPE x", XmlError::UnterminatedSection, 1, 13},
        {"<a b=>", XmlError::UnexpectedToken, 1, 7},
        {"<a 'b'>", XmlError::UnexpectedToken, 1, 7},
        {"<a =x>", XmlError::UnexpectedToken, 1, 5},
        {"<a <b>", XmlError::UnexpectedToken, 1, 5},
        {"<a b <c>", XmlError::UnexpectedToken, 1, 7},
        {"<a b==c>", XmlError::UnexpectedToken, 1, 7},
        {"<a b=/>", XmlError::UnexpectedToken, 1, 8},
        {"<a </b>", XmlError::UnexpectedToken, 1, 6},
        {"<a <!--x-->>", XmlError::UnexpectedToken, 1, 8},
        {"<r>AT&T</r>", XmlError::BadEntity, 1, 10},
        {"<r a='&x;'/>", XmlError::BadEntity, 1, 11},
        {"<r a=&x; b/>", XmlError::BadEntity, 1, 10},
        {"<r>&bad", XmlError::BadEntity, 1, 8},
        {"<r>a &#12 b<c/></r>", XmlError::BadEntity, 1, 13},
        // Whatever stopped the parse, a document without elements ends as NoElements.
        {"", XmlError::NoElements, 1, 1},
        {"  just text ", XmlError::NoElements, 1, 13},
        {"<!-- only -->", XmlError::NoElements, 1, 14},
        {"< >", XmlError::NoElements, 1, 4},
        {"</a b>", XmlError::NoElements, 1, 6},
        {"</a>", XmlError::NoElements, 1, 5},
        // Only LF starts a line; CR and TAB count as columns.
        {"<r>\n\n  <c></r>", XmlError::MissingEndTag, 3, 10},
        {"<r>\r\n\r\n  <c></r>", XmlError::MissingEndTag, 3, 10},
        {"<r>\t\r<c></r>", XmlError::MissingEndTag, 1, 13},
    };
    for (const ErrorCase& c : cases) {
        XmlParseResult result;
        parse(c.input, &result);
        EXPECT_EQ(result.error, c.error) << utf8(c.input);
        EXPECT_EQ(result.line, c.line) << utf8(c.input);
        EXPECT_EQ(result.column, c.column) << utf8(c.input);
    }
}

TEST(XmlParserTest, SuccessLeavesLineAndColumnAsTheCallerSetThem) {
    XmlParseResult result{XmlError::BadEntity, 7, 9};
    parse("<r/>", &result);
    EXPECT_EQ(result.error, XmlError::None);
    EXPECT_EQ(result.line, 7);
    EXPECT_EQ(result.column, 9);
}

TEST(XmlParserTest, NullInputAndResultPointerAreOptional) {
    XmlParseResult result{XmlError::None, 5, 5};
    EXPECT_TRUE(XmlNode::parseString(std::string_view(), {}, &result).isEmpty());
    EXPECT_EQ(result.error, XmlError::NullInput);
    EXPECT_EQ(result.line, 0);
    EXPECT_EQ(result.column, 0);
    EXPECT_TRUE(XmlNode::parseString(std::string_view(), "r", nullptr).isEmpty());
    EXPECT_EQ(utf8(XmlNode::parseString("<r/>", {}, nullptr).name()), "r");
}

// ---- the tree built ----

TEST(XmlParserTest, WrongEndTagClosesUpToTheMatchingElement) {
    XmlParseResult result;
    const XmlNode r = parse("<r><a><b></a><c/></r>", &result);
    EXPECT_EQ(result.error, XmlError::MissingEndTag);
    EXPECT_EQ(utf8(r.name()), "r");
    ASSERT_EQ(r.childCount(), 2);
    EXPECT_EQ(utf8(r.childAt(0).childAt(0).name()), "b");
    EXPECT_EQ(utf8(r.childAt(1).name()), "c");
}

TEST(XmlParserTest, EndTagsMatchIgnoringCaseAndNeedAWholeName) {
    XmlParseResult result;
    EXPECT_EQ(utf8(parse("<A></a>", &result).name()), "A");
    EXPECT_EQ(result.error, XmlError::None);
    parse("<ab><a></ab></a>", &result);
    EXPECT_EQ(result.error, XmlError::MissingEndTag);
    parse("<a><ab></a ></a>", &result);
    EXPECT_EQ(result.error, XmlError::MissingEndTag);
}

TEST(XmlParserTest, InputEndingInsideAnElementKeepsThePartialTree) {
    XmlParseResult result;
    const XmlNode a = parse("<a b", &result);
    EXPECT_EQ(result.error, XmlError::MissingEndTag);
    EXPECT_EQ(utf8(a.name()), "a");
    EXPECT_EQ(a.attributeCount(), 0);
    const XmlNode r = parse("<r><c>tail ", &result);
    EXPECT_EQ(utf8(r.childAt(0).textAt(0)), "tail");
}

TEST(XmlParserTest, XmlDeclarationHoldsTheRestOfTheDocument) {
    const XmlNode declaration = parse("<?xml version=\"1.0\" encoding='UTF-8'?>\n<r x='1'/>");
    EXPECT_EQ(utf8(declaration.name()), "xml");
    EXPECT_TRUE(declaration.isDeclaration());
    EXPECT_EQ(declaration.attributeCount(), 2);
    EXPECT_EQ(utf8(declaration.attribute("encoding")), "UTF-8");
    EXPECT_EQ(utf8(declaration.childAt(0).name()), "r");
}

TEST(XmlParserTest, DeclarationsDropTheirQuestionMark) {
    EXPECT_EQ(utf8(parse("<?xml v=1.0?><r/>").attribute("v")), "1.0");
    const XmlNode flagged = parse("<?xml standalone?><r/>");
    EXPECT_EQ(flagged.attributeCount(), 1);
    EXPECT_EQ(utf8(flagged.attributeNameAt(0)), "standalone");
    EXPECT_EQ(flagged.attributeValueAt(0).data(), nullptr);
}

TEST(XmlParserTest, NestedDeclarationClosesAtItsQuestionMark) {
    const XmlNode r = parse("<r><?pi a ?>text<c/></r>");
    ASSERT_EQ(r.childCount(), 2);
    EXPECT_TRUE(r.childAt(0).isDeclaration());
    EXPECT_EQ(r.childAt(0).childCount(), 0);
    EXPECT_EQ(utf8(r.textAt(0)), "text");
}

TEST(XmlParserTest, RequiredTagIsTheResultOrOneOfItsChildren) {
    XmlParseResult result;
    const XmlNode r = XmlNode::parseString("<?xml version='1.0'?><r x='1'/>", "R", &result);
    EXPECT_EQ(result.error, XmlError::None);
    EXPECT_EQ(utf8(r.name()), "r");
    EXPECT_TRUE(r.parent().isEmpty());
    EXPECT_EQ(utf8(r.attribute("x")), "1");

    EXPECT_TRUE(XmlNode::parseString("<?xml version='1.0'?><r x='1'/>", "q", &result).isEmpty());
    EXPECT_EQ(result.error, XmlError::RequiredTagNotFound);
    EXPECT_EQ(result.line, 0);
    EXPECT_EQ(result.column, 0);

    EXPECT_EQ(utf8(XmlNode::parseString("<a/><r/>", "r", &result).name()), "r");
    EXPECT_TRUE(XmlNode::parseString("<a><b><r/></b></a>", "r", &result).isEmpty());
    EXPECT_EQ(utf8(XmlNode::parseString("<r/>", "", &result).name()), "r");
}

TEST(XmlParserTest, RequiredTagIsSoughtEvenAfterAMissingEndTag) {
    XmlParseResult result;
    const XmlNode r = XmlNode::parseString("<?xml?><r><c>", "r", &result);
    EXPECT_EQ(result.error, XmlError::MissingEndTag);
    EXPECT_EQ(utf8(r.childAt(0).name()), "c");
}

TEST(XmlParserTest, SingleElementIsUnwrappedSeveralAreNot) {
    EXPECT_EQ(utf8(parse("<r/>").name()), "r");
    const XmlNode two = parse("<r/><s/>");
    EXPECT_EQ(two.name().data(), nullptr);
    EXPECT_EQ(two.childCount(), 2);
    const XmlNode withText = parse("<r/>tail");
    EXPECT_EQ(withText.name().data(), nullptr);
    EXPECT_EQ(utf8(withText.textAt(0)), "tail");
    EXPECT_EQ(parse("<!--c--><r/>").clearCount(), 1);
}

TEST(XmlParserTest, EmptyInputGivesTheBareDocumentNode) {
    XmlParseResult result;
    const XmlNode document = parse("", &result);
    EXPECT_EQ(result.error, XmlError::NoElements);
    EXPECT_FALSE(document.isEmpty());
    EXPECT_EQ(document.name().data(), nullptr);
    EXPECT_EQ(document.childCount(), 0);
    EXPECT_TRUE(XmlNode::parseString("", "r", &result).isEmpty());
    EXPECT_EQ(result.error, XmlError::RequiredTagNotFound);
}

TEST(XmlParserTest, AttributesKeepTheirWrittenOrderAndForms) {
    const XmlNode a = parse("<a b c=d e='f' g=\"h\" i='' j='&lt;&#65;'/>");
    const char* names[] = {"b", "c", "e", "g", "i", "j"};
    const char* values[] = {"(null)", "d", "f", "h", "", "<A"};
    ASSERT_EQ(a.attributeCount(), 6);
    for (int32_t i = 0; i < 6; ++i) {
        EXPECT_EQ(utf8(a.attributeNameAt(i)), names[i]);
        EXPECT_EQ(utf8(a.attributeValueAt(i)), values[i]);
    }
}

TEST(XmlParserTest, UnclosedQuoteDoesNotHideTheNextTag) {
    const XmlNode a = parse("<a b='c>t</a>");
    EXPECT_EQ(utf8(a.attribute("b")), "'c");
    EXPECT_EQ(utf8(a.textAt(0)), "t");
}

struct TextCase {
    const char* input;  // one element
    std::vector<std::string> texts;
    std::vector<std::string> clears;
};

TEST(XmlParserTest, CharacterDataIsTrimmedDecodedAndJoinedAcrossComments) {
    const TextCase cases[] = {
        {"<t>  x &amp; y  </t>", {"x & y"}, {}},
        {"<t> </t>", {}, {}},
        {"<t>\r\n\t</t>", {}, {}},
        {"<t>\u00A0x\u00A0</t>", {"\u00A0x\u00A0"}, {}},
        {"<t>a<!--c-->b</t>", {"ab"}, {}},
        {"<t>a <!-- c --> b <!-- d --> c</t>", {"abc"}, {}},
        {"<t>a<!--c--></t>", {"a"}, {"c"}},
        {"<t><!--c-->b</t>", {"b"}, {"c"}},
        {"<t>a<!--c--><!--d-->b</t>", {"a", "b"}, {"c", "d"}},
        {"<t>a<![CDATA[x]]> b</t>", {"a", "b"}, {"x"}},
        {"<t>a<!----> b</t>", {"a", "b"}, {}},
        {"<t>a<c/>b<d></d>c</t>", {"a", "b", "c"}, {}},
        {"<t>it's \"x\" = y > z</t>", {"it's \"x\" = y > z"}, {}},
        {"<t>a<PRE> <b> </PRE>b</t>", {"a", "b"}, {" <b> "}},
    };
    for (const TextCase& c : cases) {
        const XmlNode t = parse(c.input);
        std::vector<std::string> texts;
        std::vector<std::string> clears;
        for (int32_t i = 0; i < t.textCount(); ++i)
            texts.push_back(utf8(t.textAt(i)));
        for (int32_t i = 0; i < t.clearCount(); ++i)
            clears.push_back(utf8(t.clearAt(i)->value));
        EXPECT_EQ(texts, c.texts) << utf8(c.input);
        EXPECT_EQ(clears, c.clears) << utf8(c.input);
    }
}

TEST(XmlParserTest, JoinedTextKeepsTheOrderListConsistent) {
    const XmlNode t = parse("<t><![CDATA[k]]>a<!--c-->b<e/><!--d--></t>");
    ASSERT_EQ(t.clearCount(), 2);
    EXPECT_EQ(utf8(t.clearAt(1)->value), "d");
    std::vector<int32_t> order;
    for (int32_t i = 0; i < t.orderCount(); ++i)
        order.push_back(t.orderAt(i));
    EXPECT_EQ(order, (std::vector<int32_t>{(0 << 2) | XmlClearItem, (0 << 2) | XmlTextItem,
                                           (0 << 2) | XmlChildItem, (1 << 2) | XmlClearItem}));
}

// ---- hostile input ----

std::string nested(int32_t depth) {
    std::string text;
    text.reserve(static_cast<size_t>(depth) * 7);
    for (int32_t i = 0; i < depth; ++i)
        text += "<a>";
    for (int32_t i = 0; i < depth; ++i)
        text += "</a>";
    return text;
}

TEST(XmlParserTest, NestingUpToTheLimitParses) {
    XmlParseResult result;
    const XmlNode top = parse(nested(XmlParser::maxDepth).c_str(), &result);
    EXPECT_EQ(result.error, XmlError::None);
    XmlNode node = top;
    int32_t depth = 1;
    while (node.childCount() == 1) {
        node = node.childAt(0);
        ++depth;
    }
    EXPECT_EQ(depth, XmlParser::maxDepth);
}

TEST(XmlParserTest, NestingAMillionDeepStopsAtTheLimit) {
    XmlParseResult result;
    EXPECT_TRUE(parse(nested(1000000).c_str(), &result).isEmpty());
    EXPECT_EQ(result.error, XmlError::NestingTooDeep);
    EXPECT_EQ(result.line, 1);
    EXPECT_EQ(result.column, XmlParser::maxDepth * 3 + 3);  // just past the name of one level too many
}

TEST(XmlParserTest, EveryTruncationOfADocumentParsesWithoutHarm) {
    const std::string document =
        "<?xml version=\"1.0\"?>\r\n<!DOCTYPE r [ <!ENTITY e 'v'> ]>\n<r a='1' b=\"&lt;2&gt;\" c>\n"
        "  <row id=x>text &amp; more<!-- note -->tail</row>\n  <![CDATA[ raw <> ]]><PRE> p </PRE>\n"
        "  <e/><?pi z?>&#x41;&#66;</r>\n";
    for (size_t length = 0; length <= document.size(); ++length) {
        const std::string prefix = document.substr(0, length);
        XmlParseResult result;
        const XmlNode node = XmlNode::parseString(prefix.c_str(), "r", &result);
        const bool treeReturned = result.error == XmlError::None || result.error == XmlError::MissingEndTag;
        EXPECT_EQ(node.isEmpty(), !treeReturned) << length;
        if (result.error != XmlError::None && result.error != XmlError::RequiredTagNotFound) {
            EXPECT_GE(result.line, 1) << length;
            EXPECT_GE(result.column, 1) << length;
        }
    }
}

TEST(XmlParserTest, RandomMarkupNeverBreaksTheParser) {
    const char pieces[][12] = {"<", ">", "</", "/>", "<?", "?>", "=", "'", "\"", "&", ";",
                                  "&#", "x", "a", " ", "\n", "<!--", "-->", "<![CDATA[", "]]>",
                                  "<!DOCTYPE", "[", "]>", "<PRE>", "</PRE>", "&amp;", "\u00E9"};
    std::mt19937 random(20240611);
    std::uniform_int_distribution<size_t> pick(0, std::size(pieces) - 1);
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        for (int i = 0; i < 40; ++i)
            text += pieces[pick(random)];
        XmlParseResult result;
        const XmlNode node = XmlNode::parseString(text, {}, &result);
        const auto code = static_cast<int32_t>(result.error);
        EXPECT_TRUE(code >= 0 && code <= 13) << utf8(text);
        EXPECT_EQ(node.isEmpty(), code > 2) << utf8(text);
    }
}

}  // namespace
