#include "xml/XmlParser.h"

#include "xml/TextEncoding.h"

#include <algorithm>
#include <cstring>

namespace {

bool endsTagName(char c) {
    return XmlChars::isSpace(c) || c == '/' || c == '<' || c == '>' || c == '=';
}

// An element named N is closed by an end tag whose name starts with N (ASCII case folded) and
// goes on with a delimiter.
bool endTagMatches(std::string_view name, const char* endTag) {
    if (name.data() == nullptr)
        return false;
    for (const char c : name) {
        if (foldAscii(c) != foldAscii(*endTag++))
            return false;
    }
    return endsTagName(*endTag);
}

void addValuelessAttribute(XmlParseContext& context, const XmlToken& name, int32_t length) {
    context.addPendingAttribute({std::string_view(name.start, static_cast<size_t>(length)), std::string_view()});
}

bool addValuedAttribute(XmlParseContext& context, const XmlToken& name, const XmlToken& token,
                        bool isDeclaration) {
    const char* value = token.start;
    int32_t length = token.length;
    if (isDeclaration && value[length - 1] == '?')
        --length;
    if (token.kind == XmlTokenKind::QuotedText) {
        ++value;
        length -= 2;
    }
    std::string_view text(value, static_cast<size_t>(length));
    if (token.hasReference && !XmlScanner::decodeEntities(text, context, &text))
        return false;
    context.addPendingAttribute({std::string_view(name.start, static_cast<size_t>(name.length)), text});
    return true;
}

}  // namespace

// The recursion runs through parseContent alone, and every token is read in helpers that have
// returned before it recurses: each nesting level costs one small frame.
bool XmlParser::parseContent(XmlNodeData* node, XmlParseContext& context) {
    for (;;) {
        const ContentStep step = readContent(node, context);
        if (step == ContentStep::Stop)
            return false;
        if (step == ContentStep::Closed)
            return true;
        XmlNodeData* child = nullptr;
        const TagOutcome outcome = parseStartTag(node, child, context, step == ContentStep::DeclarationStart);
        if (child == nullptr)
            return false;
        // An empty-element tag leaves its record complete as made: nothing went into the builder
        // for it, and no end tag can be pending after it.
        if (outcome == TagOutcome::Closed)
            continue;
        const XmlBuilder::Mark enclosing = context.builder.open;
        context.builder.open = context.builder.mark();
        bool goOn = false;
        if (outcome == TagOutcome::EndOfInput) {
            goOn = endOfInput(child, context);
        } else if (outcome == TagOutcome::Content) {
            ++context.depth;
            goOn = parseContent(child, context);
            --context.depth;
        }
        // However the child ended, it is complete: a stopped parse may still hand out its tree.
        XmlTree::complete(*context.store, context.builder, child);
        context.builder.open = enclosing;
        if (!goOn)
            return false;
        if (context.endTagLength != 0)
            return closeByPendingEndTag(node, context);
    }
}

XmlParser::ContentStep XmlParser::readContent(XmlNodeData* node, XmlParseContext& context) {
    for (;;) {
        XmlScanner::skipCharacterData(context);
        const XmlToken token = XmlScanner::nextToken(context);
        switch (token.kind) {
        case XmlTokenKind::EndOfInput:
            endOfInput(node, context);
            return ContentStep::Stop;
        case XmlTokenKind::TagStart:
        case XmlTokenKind::DeclarationStart:
            if (!flushText(context, token.start))
                return ContentStep::Stop;
            return token.kind == XmlTokenKind::TagStart ? ContentStep::TagStart : ContentStep::DeclarationStart;
        case XmlTokenKind::EndTagStart:
            return flushText(context, token.start) && parseEndTag(node, context) ? ContentStep::Closed
                                                                                        : ContentStep::Stop;
        case XmlTokenKind::ClearStart:
            if (!flushText(context, token.start) ||
                !XmlScanner::scanClearSection(context, *token.clearTag))
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
XmlParser::TagOutcome XmlParser::parseStartTag(XmlNodeData* node, XmlNodeData*& child, XmlParseContext& context,
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
    child = XmlTree::addChild(*context.store, context.builder, node,
                              std::string_view(name.start, static_cast<size_t>(name.length)), isDeclaration,
                              context.pendingAttributes.data(), context.pendingCount);
    context.pendingCount = 0;
    return outcome;
}

XmlParser::TagOutcome XmlParser::readAttributes(const XmlNodeData* parent, XmlParseContext& context,
                                                bool isDeclaration) {
    AttributeState state = AttributeState::ExpectName;
    XmlToken pending;
    for (;;) {
        const XmlToken token = XmlScanner::nextToken(context);
        if (token.kind == XmlTokenKind::EndOfInput)
            return TagOutcome::EndOfInput;
        if (state == AttributeState::ExpectName) {
            if (token.kind == XmlTokenKind::Text) {
                pending = token;
                state = AttributeState::AfterName;
            } else if (token.kind == XmlTokenKind::TagEnd || token.kind == XmlTokenKind::EmptyTagEnd) {
                context.textStart = context.cursor;
                return token.kind == XmlTokenKind::TagEnd ? TagOutcome::Content : TagOutcome::Closed;
            } else {
                break;
            }
        } else if (state == AttributeState::AfterName) {
            if (token.kind == XmlTokenKind::Text) {
                addValuelessAttribute(context, pending, pending.length);
                pending = token;
            } else if (token.kind == XmlTokenKind::Equals) {
                state = AttributeState::AfterEquals;
            } else if (token.kind == XmlTokenKind::TagEnd || token.kind == XmlTokenKind::EmptyTagEnd) {
                context.textStart = context.cursor;
                bool closed = token.kind == XmlTokenKind::EmptyTagEnd;
                int32_t length = pending.length;
                // "?>" ends a nested declaration; a top-level one goes on to hold the rest of
                // the document, which is how the root element ends up inside "xml".
                if (isDeclaration && pending.start[length - 1] == '?') {
                    --length;
                    if (parent->parent != nullptr)
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
            state = AttributeState::ExpectName;
        }
    }
    context.error = XmlError::UnexpectedToken;
    return TagOutcome::Stop;
}

bool XmlParser::closeByPendingEndTag(XmlNodeData* node, XmlParseContext& context) {
    // The end tag closes the innermost open element of its name; the document node has none.
    if (node->name == nullptr) {
        context.error = XmlError::UnexpectedEndTag;
        return false;
    }
    if (endTagMatches(node->nameView(), context.endTagName)) {
        context.endTagName = nullptr;
        context.endTagLength = 0;
    }
    return true;
}

bool XmlParser::parseEndTag(XmlNodeData* node, XmlParseContext& context) {
    const XmlToken name = XmlScanner::nextToken(context);
    if (name.kind != XmlTokenKind::Text || XmlScanner::nextToken(context).kind != XmlTokenKind::TagEnd) {
        context.error = XmlError::MalformedEndTag;
        return false;
    }
    context.textStart = context.cursor;
    if (!endTagMatches(node->nameView(), name.start)) {
        context.error = XmlError::MissingEndTag;
        context.errorAt = context.cursor;
        context.endTagName = name.start;
        context.endTagLength = name.length;
    }
    return true;
}

bool XmlParser::endOfInput(XmlNodeData* node, XmlParseContext& context) {
    // Only the innermost open element reports the missing end tag.
    if (!node->isDeclaration && node->parent != nullptr) {
        context.error = XmlError::MissingEndTag;
        context.errorAt = context.cursor;
    }
    flushText(context, context.cursor);
    return false;
}

bool XmlParser::flushText(XmlParseContext& context, const char* end) {
    const char* start = context.textStart;
    if (start == nullptr)
        return true;
    context.textStart = nullptr;
    // The skip that found the end of this run already knows whether it holds a reference.
    const bool plain = start == context.skippedFrom && !context.skippedReference;
    while (start != end && XmlChars::isSpace(*start))
        ++start;
    while (end != start && XmlChars::isSpace(end[-1]))
        --end;
    if (start == end)
        return true;
    std::string_view text(start, static_cast<size_t>(end - start));
    if (!plain && !XmlScanner::decodeEntities(text, context, &text))
        return false;
    // A comment between two runs of text is dropped and the runs join, without a separator.
    if (!XmlTree::joinAcrossComment(*context.store, context.builder, text, XmlScanner::commentTag().openTag))
        XmlTree::addText(context.builder, text);
    return true;
}

XmlNode XmlParser::parse(std::unique_ptr<XmlStore> store, const char* text, size_t length,
                         std::string_view requiredTag, XmlParseResult* result) {
    XmlParseContext context;
    context.store = store.get();
    context.input = text;
    context.textStart = text;
    context.cursor = text;
    context.inputEnd = text + length;
    // Room for the children of the open elements, reserved but untouched until used: no element
    // takes fewer than four bytes, and a document of millions of siblings then never copies its
    // list of them to a larger one (each copy touching fresh pages). The cap bounds the
    // reservation of a huge document, whose list may still grow past it.
    context.builder.children.reserve(std::min<size_t>(length / 4 + 1, size_t{1} << 24));
    XmlNode document = XmlTree::createDocument(std::move(store));
    parseContent(XmlTree::data(document), context);
    XmlTree::complete(*context.store, context.builder, XmlTree::data(document));

    XmlError error = context.error;
    if (document.childCount() == 0)
        error = XmlError::NoElements;
    const XmlNodeData* documentData = XmlTree::data(document);
    const bool single = document.childCount() == 1 && document.attributeCount() == 0 &&
                        XmlTree::textCount(documentData) == 0 && XmlTree::clearCount(documentData) == 0;
    XmlNode candidate = single ? document.childAt(0) : document;
    if (error == XmlError::None || error == XmlError::MissingEndTag || error == XmlError::NoElements) {
        if (!requiredTag.empty() && !xmlNamesEqual(candidate.name(), requiredTag)) {
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
            // Positions count UTF-16 units, as they did when documents were read as UTF-16.
            const char* errorAt = error == XmlError::MissingEndTag ? context.errorAt : context.cursor;
            const char* lineStart = text;
            result->line = 1;
            for (const char* p = text; p != errorAt; ++p) {
                if (*p == '\n') {
                    ++result->line;
                    lineStart = p + 1;
                }
            }
            result->column =
                1 + static_cast<int32_t>(TextEncoding::utf16Length(lineStart, static_cast<size_t>(errorAt - lineStart)));
        }
    }
    // Releasing the document node detaches the returned element from it.
    return candidate;
}

XmlNode XmlNode::parseString(std::string_view text, std::string_view requiredTag, XmlParseResult* result) {
    if (text.data() == nullptr) {
        if (result != nullptr)
            *result = XmlParseResult{XmlError::NullInput, 0, 0};
        return emptyNode();
    }
    auto store = std::make_unique<XmlStore>();
    size_t length = 0;
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    store->converted = TextEncoding::repairUtf8(bytes, text.size(), &length);
    if (store->converted == nullptr) {
        // The text must end in a zero that the scanner can stop on: a copy of it does.
        store->converted = std::make_unique_for_overwrite<char[]>(length + 4);
        std::memcpy(store->converted.get(), text.data(), length);
        std::memset(store->converted.get() + length, 0, 4);
    }
    const char* start = store->converted.get();
    return XmlParser::parse(std::move(store), start, length, requiredTag, result);
}
