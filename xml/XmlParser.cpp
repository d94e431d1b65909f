#include "xml/XmlParser.h"

namespace {

bool endsTagName(char16_t c) {
    return XmlChars::isSpace(c) || c == u'/' || c == u'<' || c == u'>' || c == u'=';
}

char16_t foldAscii(char16_t c) {
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
}

// An element named N is closed by an end tag whose name starts with N (ASCII case folded) and
// goes on with a delimiter.
template <typename Unit>
bool endTagMatches(const char16_t* name, const Unit* endTag) {
    if (name == nullptr)
        return false;
    for (; *name != 0; ++name, ++endTag) {
        if (foldAscii(*name) != foldAscii(xmlWiden(*endTag)))
            return false;
    }
    return endsTagName(xmlWiden(*endTag));
}

template <typename Unit>
void addValuelessAttribute(BasicXmlParseContext<Unit>& context, const BasicXmlToken<Unit>& name, int32_t length) {
    context.addPendingAttribute({name.start, length, nullptr, 0, -1});
}

template <typename Unit>
bool addValuedAttribute(BasicXmlParseContext<Unit>& context, const BasicXmlToken<Unit>& name,
                        const BasicXmlToken<Unit>& token, bool isDeclaration) {
    const Unit* value = token.start;
    int32_t length = token.length;
    if (isDeclaration && value[length - 1] == '?')
        --length;
    if (token.kind == XmlTokenKind::QuotedText) {
        ++value;
        length -= 2;
    }
    if (!token.hasReference) {
        context.addPendingAttribute({name.start, name.length, value, length, -1});
        return true;
    }
    const auto offset = static_cast<int32_t>(context.decodedValues.size());
    if (!XmlScanner::decodeEntitiesInto(value, length, context.decodedValues, context))
        return false;
    const auto decodedLength = static_cast<int32_t>(context.decodedValues.size()) - offset;
    context.addPendingAttribute({name.start, name.length, nullptr, decodedLength, offset});
    return true;
}

}  // namespace

// The recursion runs through parseContent alone, and every token is read in helpers that have
// returned before it recurses: each nesting level costs one small frame.
template <typename Unit>
bool XmlParser::parseContent(XmlNode& node, BasicXmlParseContext<Unit>& context) {
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

template <typename Unit>
XmlParser::ContentStep XmlParser::readContent(XmlNode& node, BasicXmlParseContext<Unit>& context) {
    for (;;) {
        XmlScanner::skipCharacterData(context);
        const BasicXmlToken<Unit> token = XmlScanner::nextToken(context);
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

// A start tag: its name, then its attributes up to ">" or "/>". The child is made once the tag
// is read, so that its record, name and attributes take a single allocation.
template <typename Unit>
XmlParser::TagOutcome XmlParser::parseStartTag(XmlNode& node, XmlNode& child, BasicXmlParseContext<Unit>& context,
                                               bool isDeclaration) {
    const BasicXmlToken<Unit> name = XmlScanner::nextToken(context);
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
    child = node.addChildCopy(name.start, name.length, isDeclaration, context.pendingAttributes.data(),
                              context.pendingCount, context.decodedValues.data());
    if (outcome == TagOutcome::Closed)
        child.trim();
    context.pendingCount = 0;
    context.decodedValues.clear();
    return outcome;
}

template <typename Unit>
XmlParser::TagOutcome XmlParser::readAttributes(const XmlNode& parent, BasicXmlParseContext<Unit>& context,
                                                bool isDeclaration) {
    int state = 0;
    BasicXmlToken<Unit> pending;
    for (;;) {
        const BasicXmlToken<Unit> token = XmlScanner::nextToken(context);
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
                if (isDeclaration && pending.start[length - 1] == '?') {
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

template <typename Unit>
bool XmlParser::closeByPendingEndTag(XmlNode& node, BasicXmlParseContext<Unit>& context) {
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

template <typename Unit>
bool XmlParser::parseEndTag(XmlNode& node, BasicXmlParseContext<Unit>& context) {
    const BasicXmlToken<Unit> name = XmlScanner::nextToken(context);
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

template <typename Unit>
bool XmlParser::endOfInput(XmlNode& node, BasicXmlParseContext<Unit>& context) {
    // Only the innermost open element reports the missing end tag.
    const XmlNodeData* data = node.data();
    if (!data->isDeclaration && data->parent != nullptr) {
        context.error = XmlError::MissingEndTag;
        context.errorAt = context.cursor;
    }
    flushText(node, context, context.cursor);
    return false;
}

template <typename Unit>
bool XmlParser::flushText(XmlNode& node, BasicXmlParseContext<Unit>& context, const Unit* end) {
    const Unit* start = context.textStart;
    if (start == nullptr)
        return true;
    context.textStart = nullptr;
    // The skip that found the end of this run already knows whether it holds a reference.
    const bool plain = start == context.skippedFrom && !context.skippedReference;
    while (start != end && XmlChars::isSpace(xmlWiden(*start)))
        ++start;
    while (end != start && XmlChars::isSpace(xmlWiden(end[-1])))
        --end;
    if (start == end)
        return true;
    const auto length = static_cast<int32_t>(end - start);
    char16_t* text = nullptr;
    if (plain) {
        text = xmlAllocateString(length);
        xmlWidenCopy(start, static_cast<size_t>(length), text);
    } else {
        text = XmlScanner::decodeEntities(start, length, context);
        if (text == nullptr)
            return false;
    }
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

template <typename Unit>
XmlNode XmlParser::parse(const Unit* text, int64_t length, const char16_t* requiredTag, XmlParseResult* result) {
    if (text == nullptr) {
        if (result != nullptr)
            *result = XmlParseResult{XmlError::NullInput, 0, 0};
        return XmlNode::emptyNode();
    }
    XmlNode document = XmlNode::createNode(nullptr, nullptr, false);
    BasicXmlParseContext<Unit> context;
    context.input = text;
    context.textStart = text;
    context.cursor = text;
    context.inputEnd = length >= 0 ? text + length : nullptr;
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
            const Unit* errorAt = error == XmlError::MissingEndTag ? context.errorAt : context.cursor;
            result->line = 1;
            result->column = 1;
            for (const Unit* p = text; p != errorAt; ++p) {
                if (*p == '\n') {
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

template XmlNode XmlParser::parse(const char16_t*, int64_t, const char16_t*, XmlParseResult*);
template XmlNode XmlParser::parse(const unsigned char*, int64_t, const char16_t*, XmlParseResult*);

XmlNode XmlNode::parseString(const char16_t* text, const char16_t* requiredTag, XmlParseResult* result) {
    return XmlParser::parse(text, -1, requiredTag, result);
}
