#include "xml/XmlParser.h"

namespace {

bool isXmlSpace(char16_t c) {
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
}

bool endsTagName(char16_t c) {
    return isXmlSpace(c) || c == u'/' || c == u'<' || c == u'>' || c == u'=';
}

// An element named N is closed by an end tag whose name starts with N (ASCII case folded) and
// goes on with a delimiter.
bool endTagMatches(const char16_t* name, const char16_t* endTag) {
    if (name == nullptr)
        return false;
    for (; *name != 0; ++name, ++endTag) {
        char16_t a = *name;
        char16_t b = *endTag;
        if (a >= u'A' && a <= u'Z')
            a = static_cast<char16_t>(a + 32);
        if (b >= u'A' && b <= u'Z')
            b = static_cast<char16_t>(b + 32);
        if (a != b)
            return false;
    }
    return endsTagName(*endTag);
}


void addValuelessAttribute(XmlParseContext& context, const XmlToken& name, int32_t length) {
    context.pendingAttributes.push_back({name.start, length, nullptr, 0, -1});
}

bool addValuedAttribute(XmlParseContext& context, const XmlToken& name, const XmlToken& token, bool isDeclaration) {
    const char16_t* value = token.start;
    int32_t length = token.length;
    if (isDeclaration && value[length - 1] == u'?')
        --length;
    if (token.kind == XmlTokenKind::QuotedText) {
        ++value;
        length -= 2;
    }
    if (!token.hasReference) {
        context.pendingAttributes.push_back({name.start, name.length, value, length, -1});
        return true;
    }
    const auto offset = static_cast<int32_t>(context.decodedValues.size());
    if (!XmlScanner::decodeEntitiesInto(value, length, context.decodedValues, context))
        return false;
    const auto decodedLength = static_cast<int32_t>(context.decodedValues.size()) - offset;
    context.pendingAttributes.push_back({name.start, name.length, nullptr, decodedLength, offset});
    return true;
}

}  // namespace

// A start tag: its name, then its attributes up to ">" or "/>". The child is made once the tag
// is read, so that its record, name and attributes take a single allocation.
XmlParser::TagOutcome XmlParser::parseStartTag(XmlNode& node, XmlNode& child, XmlParseContext& context,
                                               bool isDeclaration) {
    const XmlToken name = XmlScanner::nextToken(context);
    if (name.kind != XmlTokenKind::Text) {
        context.error = XmlError::MissingTagName;
        return TagOutcome::Stop;
    }
    if (context.depth >= maxDepth) {
        context.error = XmlError::NestingTooDeep;
        return TagOutcome::Stop;
    }
    // Even a tag that fails makes its element: the document then holds one, which decides
    // between the tag's error and NoElements.
    const TagOutcome outcome = readAttributes(node, context, isDeclaration);
    context.attributeSpans.clear();
    for (const XmlParseContext::PendingAttribute& a : context.pendingAttributes) {
        const char16_t* value = a.decodedOffset >= 0 ? context.decodedValues.data() + a.decodedOffset : a.value;
        context.attributeSpans.push_back({a.name, a.nameLength, value, a.valueLength});
    }
    child = node.addChildCopy(name.start, name.length, isDeclaration, context.attributeSpans.data(),
                              static_cast<int32_t>(context.attributeSpans.size()));
    if (outcome == TagOutcome::Closed)
        child.trim();
    context.pendingAttributes.clear();
    context.decodedValues.clear();
    return outcome;
}

XmlParser::TagOutcome XmlParser::readAttributes(const XmlNode& parent, XmlParseContext& context, bool isDeclaration) {
    int state = 0;
    XmlToken pending;
    for (;;) {
        const XmlToken token = XmlScanner::nextToken(context);
        if (token.kind == XmlTokenKind::EndOfInput)
            return TagOutcome::EndOfInput;
        if (state == 0) {
            if (token.kind == XmlTokenKind::Text) {
                pending = token;
                state = 1;
            } else if (token.kind == XmlTokenKind::TagEnd || token.kind == XmlTokenKind::EmptyTagEnd) {
                context.textStart = context.cursor;
                return token.kind == XmlTokenKind::TagEnd ? TagOutcome::Content : TagOutcome::Closed;
            } else {
                break;
            }
        } else if (state == 1) {
            if (token.kind == XmlTokenKind::Text) {
                addValuelessAttribute(context, pending, pending.length);
                pending = token;
            } else if (token.kind == XmlTokenKind::Equals) {
                state = 2;
            } else if (token.kind == XmlTokenKind::TagEnd || token.kind == XmlTokenKind::EmptyTagEnd) {
                context.textStart = context.cursor;
                bool closed = token.kind == XmlTokenKind::EmptyTagEnd;
                int32_t length = pending.length;
                // "?>" ends a nested declaration; a top-level one goes on to hold the rest of
                // the document, which is how the root element ends up inside "xml".
                if (isDeclaration && pending.start[length - 1] == u'?') {
                    --length;
                    if (parent.data()->parent != nullptr)
                        closed = true;
                }
                if (length > 0)
                    addValuelessAttribute(context, pending, length);
                return closed ? TagOutcome::Closed : TagOutcome::Content;
            } else {
                break;
            }
        } else {
            if (token.kind != XmlTokenKind::Text && token.kind != XmlTokenKind::QuotedText)
                break;
            if (!addValuedAttribute(context, pending, token, isDeclaration))
                return TagOutcome::Stop;
            state = 0;
        }
    }
    context.error = XmlError::UnexpectedToken;
    return TagOutcome::Stop;
}

// The recursion runs through parseContent alone, and every token is read in helpers that have
// returned before it recurses: each nesting level costs one small frame.
bool XmlParser::parseContent(XmlNode& node, XmlParseContext& context) {
    for (;;) {
        const ContentStep step = readContent(node, context);
        if (step == ContentStep::Stop)
            return false;
        if (step == ContentStep::Closed)
            return true;
        XmlNode child;
        const TagOutcome outcome = parseStartTag(node, child, context, step == ContentStep::DeclarationStart);
        if (outcome == TagOutcome::Stop)
            return false;
        if (outcome == TagOutcome::EndOfInput)
            return endOfInput(child, context);
        if (outcome == TagOutcome::Content) {
            ++context.depth;
            const bool goOn = parseContent(child, context);
            --context.depth;
            if (!goOn)
                return false;
        }
        if (context.endTagLength != 0)
            return closeByPendingEndTag(node, context);
    }
}

XmlParser::ContentStep XmlParser::readContent(XmlNode& node, XmlParseContext& context) {
    for (;;) {
        XmlScanner::skipCharacterData(context);
        const XmlToken token = XmlScanner::nextToken(context);
        switch (token.kind) {
        case XmlTokenKind::EndOfInput:
            endOfInput(node, context);
            return ContentStep::Stop;
        case XmlTokenKind::TagStart:
        case XmlTokenKind::DeclarationStart:
            if (!flushText(node, context, token.start))
                return ContentStep::Stop;
            return token.kind == XmlTokenKind::TagStart ? ContentStep::TagStart : ContentStep::DeclarationStart;
        case XmlTokenKind::EndTagStart:
            return flushText(node, context, token.start) && parseEndTag(node, context) ? ContentStep::Closed
                                                                                        : ContentStep::Stop;
        case XmlTokenKind::ClearStart:
            if (!flushText(node, context, token.start) ||
                !XmlScanner::scanClearSection(node, context, *token.clearTag))
                return ContentStep::Stop;
            context.textStart = context.cursor;
            break;
        default:
            // Words, quotes, ">" and "=" in content are character data, read from the input.
            break;
        }
    }
}

bool XmlParser::closeByPendingEndTag(XmlNode& node, XmlParseContext& context) {
    // The end tag closes the innermost open element of its name; the document node has none.
    if (node.name() == nullptr) {
        context.error = XmlError::UnexpectedEndTag;
        return false;
    }
    if (endTagMatches(node.name(), context.endTagName)) {
        context.endTagName = nullptr;
        context.endTagLength = 0;
    }
    return true;
}

bool XmlParser::parseEndTag(XmlNode& node, XmlParseContext& context) {
    const XmlToken name = XmlScanner::nextToken(context);
    if (name.kind != XmlTokenKind::Text || XmlScanner::nextToken(context).kind != XmlTokenKind::TagEnd) {
        context.error = XmlError::MalformedEndTag;
        return false;
    }
    context.textStart = context.cursor;
    if (!endTagMatches(node.name(), name.start)) {
        context.error = XmlError::MissingEndTag;
        context.errorAt = context.cursor;
        context.endTagName = name.start;
        context.endTagLength = name.length;
    }
    node.trim();
    return true;
}

bool XmlParser::endOfInput(XmlNode& node, XmlParseContext& context) {
    // Only the innermost open element reports the missing end tag.
    const XmlNodeData* data = node.data();
    if (!data->isDeclaration && data->parent != nullptr) {
        context.error = XmlError::MissingEndTag;
        context.errorAt = context.cursor;
    }
    flushText(node, context, context.cursor);
    return false;
}

bool XmlParser::flushText(XmlNode& node, XmlParseContext& context, const char16_t* end) {
    const char16_t* start = context.textStart;
    if (start == nullptr)
        return true;
    context.textStart = nullptr;
    while (start != end && isXmlSpace(*start))
        ++start;
    while (end != start && isXmlSpace(end[-1]))
        --end;
    if (start == end)
        return true;
    char16_t* text = XmlScanner::decodeEntities(start, static_cast<int32_t>(end - start), context);
    if (text == nullptr)
        return false;
    // A comment between two runs of text is dropped and the runs join, without a separator.
    XmlNodeData* data = node.data();
    if (data->orderCount >= 2) {
        const int32_t last = data->order[data->orderCount - 1];
        const int32_t previous = data->order[data->orderCount - 2];
        if ((previous & 3) == XmlTextItem && (last & 3) == XmlClearItem &&
            data->clears[last >> 2].openTag == XmlScanner::commentTag().openTag) {
            node.deleteClearSection(last >> 2);
            node.appendToText(previous >> 2, text);
            return true;
        }
    }
    node.addText(text);
    return true;
}

XmlNode XmlParser::parse(const char16_t* text, const char16_t* requiredTag, XmlParseResult* result) {
    if (text == nullptr) {
        if (result != nullptr)
            *result = XmlParseResult{XmlError::NullInput, 0, 0};
        return XmlNode::emptyNode();
    }
    XmlNode document = XmlNode::createNode(nullptr, nullptr, false);
    XmlParseContext context;
    context.input = text;
    context.textStart = text;
    context.cursor = text;
    parseContent(document, context);

    XmlError error = context.error;
    if (document.childCount() == 0)
        error = XmlError::NoElements;
    const bool single = document.childCount() == 1 && document.attributeCount() == 0 &&
                        document.textCount() == 0 && document.clearCount() == 0;
    XmlNode candidate = single ? document.childAt(0) : document;
    if (error == XmlError::None || error == XmlError::MissingEndTag || error == XmlError::NoElements) {
        if (requiredTag != nullptr && *requiredTag != 0 && !xmlNamesEqual(candidate.name(), requiredTag)) {
            candidate = candidate.childNamed(requiredTag);
            if (candidate.isEmpty()) {
                if (result != nullptr)
                    *result = XmlParseResult{XmlError::RequiredTagNotFound, 0, 0};
                return candidate;
            }
        }
    } else {
        candidate = XmlNode::emptyNode();
    }
    if (result != nullptr) {
        result->error = error;
        if (error != XmlError::None) {
            const char16_t* errorAt = error == XmlError::MissingEndTag ? context.errorAt : context.cursor;
            result->line = 1;
            result->column = 1;
            for (const char16_t* p = text; p != errorAt; ++p) {
                if (*p == u'\n') {
                    ++result->line;
                    result->column = 1;
                } else {
                    ++result->column;
                }
            }
        }
    }
    // Releasing the document node detaches the returned element from it.
    return candidate;
}

XmlNode XmlNode::parseString(const char16_t* text, const char16_t* requiredTag, XmlParseResult* result) {
    return XmlParser::parse(text, requiredTag, result);
}
