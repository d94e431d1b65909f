#pragma once
// The forgiving recursive-descent parser behind XmlNode::parseString and parseFile.

#include "xml/XmlNode.h"
#include "xml/XmlScanner.h"

#include <cstdint>

class XmlParser {
public:
    // Elements may nest this deep; one level deeper ends the parse with NestingTooDeep, so that a
    // hostile document cannot exhaust the stack (each level is one level of recursion).
    static constexpr int32_t maxDepth = 10000;

    // Parses zero-terminated text into a tree: the single top-level element, or the unnamed
    // document node around several, or the child named requiredTag. The empty node on errors
    // other than MissingEndTag and NoElements. Unit is char16_t for UTF-16, or unsigned char for
    // 8-bit text read as Windows-1252. length, when not negative, tells where the terminating
    // zero is, which lets the scanner read blocks of units at once.
    template <typename Unit>
    static XmlNode parse(const Unit* text, int64_t length, const char16_t* requiredTag, XmlParseResult* result);

private:
    enum class TagOutcome { Stop, EndOfInput, Closed, Content };
    enum class ContentStep { Stop, Closed, TagStart, DeclarationStart };

    // Each bool answers true to go on with the enclosing element, false to stop every level.
    template <typename Unit>
    static bool parseContent(XmlNode& node, BasicXmlParseContext<Unit>& context);
    template <typename Unit>
    [[gnu::noinline]] static ContentStep readContent(XmlNode& node, BasicXmlParseContext<Unit>& context);
    template <typename Unit>
    [[gnu::noinline]] static TagOutcome parseStartTag(XmlNode& node, XmlNode& child, BasicXmlParseContext<Unit>& context,
                                                      bool isDeclaration);
    template <typename Unit>
    static TagOutcome readAttributes(const XmlNode& parent, BasicXmlParseContext<Unit>& context, bool isDeclaration);
    template <typename Unit>
    [[gnu::noinline]] static bool closeByPendingEndTag(XmlNode& node, BasicXmlParseContext<Unit>& context);
    template <typename Unit>
    static bool parseEndTag(XmlNode& node, BasicXmlParseContext<Unit>& context);
    template <typename Unit>
    static bool endOfInput(XmlNode& node, BasicXmlParseContext<Unit>& context);
    template <typename Unit>
    static bool flushText(XmlNode& node, BasicXmlParseContext<Unit>& context, const Unit* end);
};
