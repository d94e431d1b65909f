#include "XmlTestSupport.h"

#include "xml/XmlScanner.h"

#include <gtest/gtest.h>

#include <string>

using XmlTest::utf8;

namespace {

XmlParseContext contextFor(const char16_t* text) {
    XmlParseContext context;
    context.input = text;
    context.cursor = text;
    return context;
}

// Every token of the text, each written as kind letter and text: W word, Q quoted, < </ <? > =
// /> as themselves, C clear start, and "|" for the end.
std::string tokenize(const char16_t* text) {
    static const char* const names[] = {"W", "Q", "<", "</", ">", "=", "<?", "/>", "C", "|"};
    XmlParseContext context = contextFor(text);
    std::string out;
    for (int guard = 0; guard < 100; ++guard) {
        const XmlToken token = XmlScanner::nextToken(context);
        out += names[static_cast<int>(token.kind)];
        if (token.kind == XmlTokenKind::EndOfInput)
            break;
        if (token.kind == XmlTokenKind::Text || token.kind == XmlTokenKind::QuotedText ||
            token.kind == XmlTokenKind::ClearStart)
            out += "(" + utf8(std::u16string(token.start, static_cast<size_t>(token.length))) + ")";
        out += " ";
    }
    return out;
}

struct TokenCase {
    const char16_t* input;
    const char* tokens;
};

TEST(XmlScannerTest, CutsInputIntoTokens) {
    const TokenCase cases[] = {
        {u"", "|"},
        {u" \t\r\n", "|"},
        {u"<a b='1' c=\"2\">", "< W(a) W(b) = Q('1') W(c) = Q(\"2\") > |"},
        {u"<a/>", "< W(a) /> |"},
        {u"<a/b>", "< W(a/b) > |"},
        {u"</x >", "</ W(x) > |"},
        {u"<?xml v?>", "<? W(xml) W(v?) > |"},
        {u"x='1'y", "W(x) = Q('1') W(y) |"},
        {u"'open <b>", "W('open) < W(b) > |"},
        {u"a'b\"c", "W(a'b\"c) |"},
        {u"\"q\"'s'", "Q(\"q\") Q('s') |"},
        {u"//>", "W(/) /> |"},
        {u"a=b>c", "W(a) = W(b) > W(c) |"},
        {u"<![CDATA[x", "C(<![CDATA[) W(x) |"},
        {u"<!DOCTYPE", "C(<!DOCTYPE) |"},
        {u"<!-- c", "C(<!--) W(c) |"},
        {u"<PRE>", "C(<PRE>) |"},
        {u"<pre>", "< W(pre) > |"},
        {u"<!doctype", "< W(!doctype) |"},
        {u"<!-x", "< W(!-x) |"},
        {u"\u00E9t\u00E9 \u4E2D", "W(\u00E9t\u00E9) W(\u4E2D) |"},
    };
    for (const TokenCase& c : cases)
        EXPECT_EQ(tokenize(c.input), c.tokens) << utf8(c.input);
}

TEST(XmlScannerTest, EndOfInputRepeatsWithoutMovingPastTheZero) {
    const char16_t* text = u"a";
    XmlParseContext context = contextFor(text);
    XmlScanner::nextToken(context);
    EXPECT_EQ(XmlScanner::nextToken(context).kind, XmlTokenKind::EndOfInput);
    EXPECT_EQ(XmlScanner::nextToken(context).kind, XmlTokenKind::EndOfInput);
    EXPECT_EQ(context.cursor, text + 1);
}

// ---- raw sections ----

struct ClearCase {
    const char16_t* input;  // starts with the opening marker
    const char* value;      // stored contents, "" when nothing is stored
    const char16_t* closeTag;
    const char16_t* rest;  // what the cursor is left on
};

TEST(XmlScannerTest, ScansRawSectionsToTheirEndMarkers) {
    const ClearCase cases[] = {
        {u"<![CDATA[a <b> &amp; c]]>z", "a <b> &amp; c", u"]]>", u"z"},
        {u"<![CDATA[]]>z", "", nullptr, u"z"},
        {u"<![CDATA[x]]]>z", "x]", u"]]>", u"z"},
        {u"<!---->z", "", nullptr, u"z"},
        {u"<!-- a -- b -->z", " a -- b ", u"-->", u"z"},
        {u"<!DOCTYPE html>z", " html", u">", u"z"},
        {u"<!DOCTYPE d [ <!ENTITY e 'v'> ]>z", " d [ <!ENTITY e 'v'> ", u"]>", u"z"},
        {u"<!DOCTYPE d ]> [ x ]>z", " d ]", u">", u" [ x ]>z"},
        {u"<PRE>a <pre> b</PRE>z", "a <pre> b", u"</PRE>", u"z"},
        {u"<PRE>a</pre></PRE>", "a</pre>", u"</PRE>", u""},
    };
    for (const ClearCase& c : cases) {
        XmlParseContext context = contextFor(c.input);
        const XmlToken token = XmlScanner::nextToken(context);
        ASSERT_EQ(token.kind, XmlTokenKind::ClearStart) << utf8(c.input);
        XmlNode node = XmlNode::createNode(xmlCopyString(u"n", 1), nullptr, false);
        ASSERT_TRUE(XmlScanner::scanClearSection(node, context, *token.clearTag)) << utf8(c.input);
        EXPECT_EQ(utf8(context.cursor), utf8(c.rest)) << utf8(c.input);
        if (*c.value == 0) {
            EXPECT_EQ(node.clearCount(), 0) << utf8(c.input);
            continue;
        }
        ASSERT_EQ(node.clearCount(), 1) << utf8(c.input);
        const XmlClearSection* section = node.clearAt(0);
        EXPECT_EQ(utf8(section->value), c.value);
        EXPECT_EQ(section->openTag, token.clearTag->openTag);
        EXPECT_EQ(utf8(section->closeTag), utf8(c.closeTag));
    }
}

TEST(XmlScannerTest, DocTypeSubsetClosesWithTheSharedMarker) {
    XmlParseContext context = contextFor(u"<!DOCTYPE d [x]>");
    const XmlToken token = XmlScanner::nextToken(context);
    XmlNode node = XmlNode::createNode(nullptr, nullptr, false);
    ASSERT_TRUE(XmlScanner::scanClearSection(node, context, *token.clearTag));
    EXPECT_EQ(node.clearAt(0)->closeTag, XmlScanner::docTypeSubsetClose);
    EXPECT_EQ(node.clearAt(0)->openTag, XmlScanner::docTypeTag().openTag);
}

TEST(XmlScannerTest, RawSectionWithoutEndMarkerFails) {
    for (const char16_t* input : {u"<![CDATA[abc]]", u"<!-- abc --", u"<!DOCTYPE abc", u"<!DOCTYPE [ abc >",
                                  u"<PRE>abc</pre>"}) {
        XmlParseContext context = contextFor(input);
        const XmlToken token = XmlScanner::nextToken(context);
        const char16_t* afterMarker = context.cursor;
        XmlNode node = XmlNode::createNode(nullptr, nullptr, false);
        EXPECT_FALSE(XmlScanner::scanClearSection(node, context, *token.clearTag)) << utf8(input);
        EXPECT_EQ(context.error, XmlError::UnterminatedSection) << utf8(input);
        EXPECT_EQ(context.cursor, afterMarker) << utf8(input);
        EXPECT_EQ(node.clearCount(), 0);
    }
}

// ---- references ----

struct EntityCase {
    const char16_t* span;
    const char16_t* decoded;  // null: BadEntity
};

TEST(XmlScannerTest, DecodesPredefinedEntitiesAndCharacterReferences) {
    const EntityCase cases[] = {
        {u"plain", u"plain"},
        {u"&lt;x&gt;", u"<x>"},
        {u"&amp;&quot;&apos;", u"&\"'"},
        {u"&AMP;&Lt;&Quot;", u"&<\""},
        {u"&#65;&#x42;&#X43;", u"ABC"},
        {u"&#x20AC;", u"\u20AC"},
        {u"&#xd83d;&#xde00;", u"\U0001F600"},
        {u"&#x1F600;", u"\uF600"},     // only the low 16 bits are kept
        {u"&#65601;", u"A"},           // 65601 = 0x10041
        {u"&#x10000000041;", u"A"},    // wraps silently, still the low bits
        {u"a&#0;b", u"a"},             // a zero unit ends the string
        {u"&#;x", u""},
        {u"&#x;x", u""},
        {u"&amp", nullptr},
        {u"a & b", nullptr},
        {u"AT&T", nullptr},
        {u"&#12", nullptr},
        {u"&#1a;", nullptr},
        {u"&#xG;", nullptr},
        {u"&#", nullptr},
        {u"&nbsp;", nullptr},
        {u"&", nullptr},
    };
    for (const EntityCase& c : cases) {
        XmlParseContext context = contextFor(c.span);
        char16_t* decoded = XmlScanner::decodeEntities(c.span, xmlStringLength(c.span), context);
        if (c.decoded == nullptr) {
            EXPECT_EQ(decoded, nullptr) << utf8(c.span);
            EXPECT_EQ(context.error, XmlError::BadEntity) << utf8(c.span);
        } else {
            EXPECT_EQ(utf8(decoded), utf8(c.decoded)) << utf8(c.span);
            EXPECT_EQ(context.error, XmlError::None) << utf8(c.span);
        }
        xmlFreeString(decoded);
    }
}

TEST(XmlScannerTest, DecodingStopsAtTheEndOfTheSpan) {
    // The semicolon past the span does not complete the reference inside it.
    const char16_t* text = u"&#65;&#66;";
    XmlParseContext context = contextFor(text);
    char16_t* decoded = XmlScanner::decodeEntities(text, 9, context);
    EXPECT_EQ(decoded, nullptr);
    EXPECT_EQ(context.error, XmlError::BadEntity);
    context.error = XmlError::None;
    decoded = XmlScanner::decodeEntities(text, 5, context);
    EXPECT_EQ(utf8(decoded), "A");
    xmlFreeString(decoded);
    decoded = XmlScanner::decodeEntities(u"&lt;", 3, context);
    EXPECT_EQ(decoded, nullptr);
}

}  // namespace
