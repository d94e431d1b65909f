#pragma once
// The forgiving recursive-descent parser behind XmlNode::parseString.

#include "xml/XmlNode.h"
#include "xml/XmlScanner.h"

#include <cstdint>

class XmlParser {
public:
    // Elements may nest this deep; one level deeper ends the parse with NestingTooDeep, so that a
    // hostile document cannot exhaust the stack (each level is one level of recursion).
    static constexpr int32_t maxDepth = 10000;

    // Parses zero-terminated UTF-16 text into a tree: the single top-level element, or the
    // unnamed document node around several, or the child named requiredTag. The empty node on
    // errors other than MissingEndTag and NoElements.
    static XmlNode parse(const char16_t* text, const char16_t* requiredTag, XmlParseResult* result);

private:
    enum class TagOutcome { Stop, EndOfInput, Closed, Content };
    enum class ContentStep { Stop, Closed, TagStart, DeclarationStart };

    // Each bool answers true to go on with the enclosing element, false to stop every level.
    static bool parseContent(XmlNode& node, XmlParseContext& context);
    [[gnu::noinline]] static ContentStep readContent(XmlNode& node, XmlParseContext& context);
    [[gnu::noinline]] static TagOutcome parseStartTag(XmlNode& node, XmlNode& child, XmlParseContext& context,
                                                      bool isDeclaration);
    static TagOutcome readAttributes(const XmlNode& parent, XmlParseContext& context, bool isDeclaration);
    [[gnu::noinline]] static bool closeByPendingEndTag(XmlNode& node, XmlParseContext& context);
    static bool parseEndTag(XmlNode& node, XmlParseContext& context);
    static bool endOfInput(XmlNode& node, XmlParseContext& context);
    static bool flushText(XmlNode& node, XmlParseContext& context, const char16_t* end);
};
