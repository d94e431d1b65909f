#include "XmlTestSupport.h"

#include "xml/XmlScanner.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

using XmlTest::utf8;

namespace {

// A document node to take what the scanner stores; its store takes decoded text.
XmlNode emptyDocument() {
    return XmlTree::createDocument(std::make_unique<XmlStore>());
}

XmlParseContext contextFor(const char* text, const XmlNode& document = XmlNode()) {
    XmlParseContext context;
    context.input = text;
    context.cursor = text;
    context.store = document.isEmpty() ? nullptr : XmlTree::data(document)->store;
    return context;
}

// Every token of the text, each written as kind letter and text: W word, Q quoted, < </ <? > =
// /> as themselves, C clear start, and "|" for the end.
std::string tokenize(const char* text) {
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
            out += "(" + utf8(std::string(token.start, static_cast<size_t>(token.length))) + ")";
        out += " ";
    }
    return out;
}

struct TokenCase {
    const char* input;
    const char* tokens;
};

TEST(XmlScannerTest, CutsInputIntoTokens) {
    const TokenCase cases[] = {
        {"", "|"},
        {" \t\r\n", "|"},
        {"<a b='1' c=\"2\">", "< W(a) W(b) = Q('1') W(c) = Q(\"2\") > |"},
        {"<a/>", "< W(a) /> |"},
        {"<a/b>", "< W(a/b) > |"},
        {"</x >", "</ W(x) > |"},
        {"<?xml v?>", "<? W(xml) W(v?) > |"},
        {"x='1'y", "W(x) = Q('1') W(y) |"},
        {"'open <b>", "W('open) < W(b) > |"},
        {"a'b\"c", "W(a'b\"c) |"},
        {"\"q\"'s'", "Q(\"q\") Q('s') |"},
        {"//>", "W(/) /> |"},
        {"a=b>c", "W(a) = W(b) > W(c) |"},
        {"<![CDATA[x", "C(<![CDATA[) W(x) |"},
        {"<!DOCTYPE", "C(<!DOCTYPE) |"},
        {"<!-- c", "C(<!--) W(c) |"},
        {"<PRE>", "C(<PRE>) |"},
        {"<pre>", "< W(pre) > |"},
        {"<!doctype", "< W(!doctype) |"},
        {"<!-x", "< W(!-x) |"},
        {"\u00E9t\u00E9 \u4E2D", "W(\u00E9t\u00E9) W(\u4E2D) |"},
    };
    for (const TokenCase& c : cases)
        EXPECT_EQ(tokenize(c.input), c.tokens) << utf8(c.input);
}

TEST(XmlScannerTest, EndOfInputRepeatsWithoutMovingPastTheZero) {
    const char* text = "a";
    XmlParseContext context = contextFor(text);
    XmlScanner::nextToken(context);
    EXPECT_EQ(XmlScanner::nextToken(context).kind, XmlTokenKind::EndOfInput);
    EXPECT_EQ(XmlScanner::nextToken(context).kind, XmlTokenKind::EndOfInput);
    EXPECT_EQ(context.cursor, text + 1);
}

// ---- raw sections ----

struct ClearCase {
    const char* input;  // starts with the opening marker
    const char* value;      // stored contents, "" when nothing is stored
    const char* closeTag;
    const char* rest;  // what the cursor is left on
};

TEST(XmlScannerTest, ScansRawSectionsToTheirEndMarkers) {
    const ClearCase cases[] = {
        {"<![CDATA[a <b> &amp; c]]>z", "a <b> &amp; c", "]]>", "z"},
        {"<![CDATA[]]>z", "", nullptr, "z"},
        {"<![CDATA[x]]]>z", "x]", "]]>", "z"},
        {"<!---->z", "", nullptr, "z"},
        {"<!-- a -- b -->z", " a -- b ", "-->", "z"},
        {"<!DOCTYPE html>z", " html", ">", "z"},
        {"<!DOCTYPE d [ <!ENTITY e 'v'> ]>z", " d [ <!ENTITY e 'v'> ", "]>", "z"},
        {"<!DOCTYPE d ]> [ x ]>z", " d ]", ">", " [ x ]>z"},
        {"<PRE>a <pre> b</PRE>z", "a <pre> b", "</PRE>", "z"},
        {"<PRE>a</pre></PRE>", "a</pre>", "</PRE>", ""},
    };
    for (const ClearCase& c : cases) {
        XmlParseContext context = contextFor(c.input);
        const XmlToken token = XmlScanner::nextToken(context);
        ASSERT_EQ(token.kind, XmlTokenKind::ClearStart) << utf8(c.input);
        const XmlNode node = emptyDocument();
        ASSERT_TRUE(XmlScanner::scanClearSection(XmlTree::data(node), context, *token.clearTag)) << utf8(c.input);
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
    XmlParseContext context = contextFor("<!DOCTYPE d [x]>");
    const XmlToken token = XmlScanner::nextToken(context);
    const XmlNode node = emptyDocument();
    ASSERT_TRUE(XmlScanner::scanClearSection(XmlTree::data(node), context, *token.clearTag));
    EXPECT_EQ(node.clearAt(0)->closeTag, XmlScanner::docTypeSubsetClose);
    EXPECT_EQ(node.clearAt(0)->openTag, XmlScanner::docTypeTag().openTag);
}

TEST(XmlScannerTest, RawSectionWithoutEndMarkerFails) {
    for (const char* input : {"<![CDATA[abc]]", "<!-- abc --", "<!DOCTYPE abc", "<!DOCTYPE [ abc >",
                                  "<PRE>abc</pre>"}) {
        XmlParseContext context = contextFor(input);
        const XmlToken token = XmlScanner::nextToken(context);
        const char* afterMarker = context.cursor;
        const XmlNode node = emptyDocument();
        EXPECT_FALSE(XmlScanner::scanClearSection(XmlTree::data(node), context, *token.clearTag)) << utf8(input);
        EXPECT_EQ(context.error, XmlError::UnterminatedSection) << utf8(input);
        EXPECT_EQ(context.cursor, afterMarker) << utf8(input);
        EXPECT_EQ(node.clearCount(), 0);
    }
}

// ---- references ----

struct EntityCase {
    const char* span;
    const char* decoded;  // null: BadEntity
};

TEST(XmlScannerTest, DecodesPredefinedEntitiesAndCharacterReferences) {
    const EntityCase cases[] = {
        {"plain", "plain"},
        {"&lt;x&gt;", "<x>"},
        {"&amp;&quot;&apos;", "&\"'"},
        {"&AMP;&Lt;&Quot;", "&<\""},
        {"&#65;&#x42;&#X43;", "ABC"},
        {"&#x20AC;", "\u20AC"},
        {"&#xd83d;&#xde00;", "\U0001F600"},
        {"&#xd83d;x&#xde00;&#xd800;", "\uFFFDx\uFFFD\uFFFD"},  // lone surrogates
        {"&#x1F600;", "\uF600"},     // only the low 16 bits are kept
        {"&#65601;", "A"},           // 65601 = 0x10041
        {"&#x10000000041;", "A"},    // wraps silently, still the low bits
        {"a&#0;b", "a"},             // a zero unit ends the string
        {"&#;x", ""},
        {"&#x;x", ""},
        {"&amp", nullptr},
        {"a & b", nullptr},
        {"AT&T", nullptr},
        {"&#12", nullptr},
        {"&#1a;", nullptr},
        {"&#xG;", nullptr},
        {"&#", nullptr},
        {"&nbsp;", nullptr},
        {"&", nullptr},
    };
    const XmlNode document = emptyDocument();
    for (const EntityCase& c : cases) {
        XmlParseContext context = contextFor(c.span, document);
        std::string_view decoded;
        if (c.decoded == nullptr) {
            EXPECT_FALSE(XmlScanner::decodeEntities(c.span, context, &decoded)) << c.span;
            EXPECT_EQ(context.error, XmlError::BadEntity) << c.span;
        } else {
            EXPECT_TRUE(XmlScanner::decodeEntities(c.span, context, &decoded)) << c.span;
            EXPECT_EQ(decoded, c.decoded) << c.span;
            EXPECT_EQ(context.error, XmlError::None) << c.span;
        }
    }
}

TEST(XmlScannerTest, DecodingStopsAtTheEndOfTheSpan) {
    // The semicolon past the span does not complete the reference inside it.
    const char* text = "&#65;&#66;";
    const XmlNode document = emptyDocument();
    XmlParseContext context = contextFor(text, document);
    std::string_view decoded;
    EXPECT_FALSE(XmlScanner::decodeEntities(std::string_view(text, 9), context, &decoded));
    EXPECT_EQ(context.error, XmlError::BadEntity);
    context.error = XmlError::None;
    EXPECT_TRUE(XmlScanner::decodeEntities(std::string_view(text, 5), context, &decoded));
    EXPECT_EQ(decoded, "A");
    EXPECT_FALSE(XmlScanner::decodeEntities(std::string_view("&lt;", 3), context, &decoded));
}

}  // namespace
