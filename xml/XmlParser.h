#pragma once
// The forgiving recursive-descent parser behind XmlNode::parseString and parseFile.

#include "xml/XmlScanner.h"

class XmlParser {
public:
    // Elements may nest this deep; one level deeper ends the parse with NestingTooDeep, so that a
    // hostile document cannot exhaust the stack (each level is one level of recursion).
    static constexpr int32_t maxDepth = 10000;

    // Parses the UTF-8 text at text, length bytes followed by a terminating zero, into a tree
    // that keeps store (which holds the text) alive: the single top-level element, or the
    // unnamed document node around several, or the child named requiredTag. The empty node on
    // errors other than MissingEndTag and NoElements.
    static XmlNode parse(std::unique_ptr<XmlStore> store, const char* text, size_t length,
                         std::string_view requiredTag, XmlParseResult* result);

private:
    enum class TagOutcome { Stop, EndOfInput, Closed, Content };
    enum class ContentStep { Stop, Closed, TagStart, DeclarationStart };
    // Where a start tag's reader stands between its name and its end.
    enum class AttributeState {
        ExpectName,   // a name or the end of the tag
        AfterName,    // a name is pending: "=", another name, or the end of the tag
        AfterEquals,  // the pending name's value
    };

    // Each bool answers true to go on with the enclosing element, false to stop every level.
    static bool parseContent(XmlNodeData* node, XmlParseContext& context);
    [[gnu::noinline]] static ContentStep readContent(XmlNodeData* node, XmlParseContext& context);
    [[gnu::noinline]] static TagOutcome parseStartTag(XmlNodeData* node, XmlNodeData*& child, XmlParseContext& context,
                                                      bool isDeclaration);
    static TagOutcome readAttributes(const XmlNodeData* parent, XmlParseContext& context, bool isDeclaration);
    [[gnu::noinline]] static bool closeByPendingEndTag(XmlNodeData* node, XmlParseContext& context);
    static bool parseEndTag(XmlNodeData* node, XmlParseContext& context);
    static bool endOfInput(XmlNodeData* node, XmlParseContext& context);
    static bool flushText(XmlParseContext& context, const char* end);
};
