#include "xml/XmlScanner.h"

#include <algorithm>
#include <array>
#include <cstdlib>

const XmlClearTag XmlScanner::clearTags[4] = {
    {u"<![CDATA[", 9, u"]]>", 3},
    {u"<!DOCTYPE", 9, u">", 1},
    {u"<!--", 4, u"-->", 3},
    {u"<PRE>", 5, u"</PRE>", 6},
};

const char16_t XmlScanner::docTypeSubsetClose[3] = u"]>";

namespace {

// Character classes of the units below 128; every other unit is part of a word.
enum CharClass : uint8_t {
    Word,
    Space,
    End,
    Quote,
    Slash,
    Less,
    Equals,
    Greater,
};

constexpr std::array<uint8_t, 128> makeClassTable() {
    std::array<uint8_t, 128> table{};
    table[0] = End;
    table[' '] = Space;
    table['\t'] = Space;
    table['\n'] = Space;
    table['\r'] = Space;
    table['"'] = Quote;
    table['\''] = Quote;
    table['/'] = Slash;
    table['<'] = Less;
    table['='] = Equals;
    table['>'] = Greater;
    return table;
}

constexpr std::array<uint8_t, 128> charClasses = makeClassTable();

inline CharClass classOf(char16_t c) {
    return c < 128 ? static_cast<CharClass>(charClasses[c]) : Word;
}

struct EntityRow {
    const char16_t* text;  // lower case: references match without regard to case
    int32_t length;
    char16_t unit;
};

constexpr EntityRow entities[] = {
    {u"&amp;", 5, u'&'},
    {u"&lt;", 4, u'<'},
    {u"&gt;", 4, u'>'},
    {u"&quot;", 6, u'"'},
    {u"&apos;", 6, u'\''},
};

XmlToken makeToken(XmlTokenKind kind, const char16_t* start, const char16_t* end) {
    return XmlToken{kind, start, static_cast<int32_t>(end - start), nullptr};
}

// A word ends before the zero, "<", ">", "=", a "/" that starts "/>", or white space, which it
// consumes.
XmlToken scanWord(XmlParseContext& context, const char16_t* start, const char16_t* p) {
    for (;; ++p) {
        const CharClass c = classOf(*p);
        if (c == Word || c == Quote || (c == Slash && p[1] != u'>'))
            continue;
        break;
    }
    context.cursor = classOf(*p) == Space ? p + 1 : p;
    return makeToken(XmlTokenKind::Text, start, p);
}

bool matchesMarker(const char16_t* p, const char16_t* marker, int32_t length) {
    // The input's terminating zero differs from every marker unit, so this never reads past it.
    for (int32_t i = 0; i < length; ++i) {
        if (p[i] != marker[i])
            return false;
    }
    return true;
}

const char16_t* findMarker(const char16_t* p, const char16_t* marker, int32_t length) {
    for (; *p != 0; ++p) {
        if (*p == marker[0] && matchesMarker(p, marker, length))
            return p;
    }
    return nullptr;
}

bool matchesEntity(const char16_t* p, const EntityRow& row) {
    for (int32_t i = 0; i < row.length; ++i) {
        char16_t c = p[i];
        if (c >= u'A' && c <= u'Z')
            c = static_cast<char16_t>(c + 32);
        if (c != row.text[i])
            return false;
    }
    return true;
}

const EntityRow* findEntity(const char16_t* p, const char16_t* end) {
    for (const EntityRow& row : entities) {
        if (row.length <= end - p && matchesEntity(p, row))
            return &row;
    }
    return nullptr;
}

bool isCharacterReference(const char16_t* p, const char16_t* end) {
    return end - p > 2 && p[1] == u'#';
}

// Units the decoded span needs, or -1 for a malformed or unknown reference.
int64_t countDecoded(const char16_t* p, const char16_t* end) {
    int64_t count = 0;
    while (p != end && *p != 0) {
        if (*p != u'&') {
            ++p;
        } else if (isCharacterReference(p, end)) {
            p += 2;
            if (*p == u'x' || *p == u'X')
                ++p;
            while (p != end && *p != u';' && *p != 0)
                ++p;
            if (p == end || *p != u';')
                return -1;
            ++p;
        } else {
            const EntityRow* row = findEntity(p, end);
            if (row == nullptr)
                return -1;
            p += row->length;
        }
        ++count;
    }
    return count;
}

int digitValue(char16_t c, bool hex) {
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (hex && c >= u'a' && c <= u'f')
        return c - u'a' + 10;
    if (hex && c >= u'A' && c <= u'F')
        return c - u'A' + 10;
    return -1;
}

// Writes the value of "&#...;" at p to *out and answers the unit after the ";", or null for a
// unit that is no digit. Only the low 16 bits of the value are kept.
const char16_t* decodeCharacterReference(const char16_t* p, char16_t* out) {
    p += 2;
    const bool hex = *p == u'x' || *p == u'X';
    if (hex)
        ++p;
    const uint32_t base = hex ? 16 : 10;
    uint32_t value = 0;
    for (; *p != u';'; ++p) {
        const int digit = digitValue(*p, hex);
        if (digit < 0)
            return nullptr;
        value = value * base + static_cast<uint32_t>(digit);
    }
    *out = static_cast<char16_t>(value & 0xFFFFu);
    return p + 1;
}

}  // namespace

XmlToken XmlScanner::nextToken(XmlParseContext& context) noexcept {
    const char16_t* p = context.cursor;
    while (classOf(*p) == Space)
        ++p;
    const char16_t* start = p;
    switch (classOf(*p)) {
    case End:
        context.cursor = p;
        return XmlToken{};
    case Quote: {
        const char16_t quote = *p;
        const char16_t* q = p + 1;
        while (*q != quote && *q != 0 && *q != u'<')
            ++q;
        if (*q == quote) {
            context.cursor = q + 1;
            return makeToken(XmlTokenKind::QuotedText, start, q + 1);
        }
        // An unclosed quote is an ordinary unit of a word, and never hides a "<".
        return scanWord(context, start, p + 1);
    }
    case Slash:
        if (p[1] == u'>') {
            context.cursor = p + 2;
            return makeToken(XmlTokenKind::EmptyTagEnd, start, p + 2);
        }
        return scanWord(context, start, p + 1);
    case Less:
        for (const XmlClearTag& tag : clearTags) {
            if (matchesMarker(p, tag.openTag, tag.openLength)) {
                context.cursor = p + tag.openLength;
                XmlToken token = makeToken(XmlTokenKind::ClearStart, start, context.cursor);
                token.clearTag = &tag;
                return token;
            }
        }
        if (p[1] == u'/' || p[1] == u'?') {
            context.cursor = p + 2;
            return makeToken(p[1] == u'/' ? XmlTokenKind::EndTagStart : XmlTokenKind::DeclarationStart,
                             start, p + 2);
        }
        context.cursor = p + 1;
        return makeToken(XmlTokenKind::TagStart, start, p + 1);
    case Equals:
        context.cursor = p + 1;
        return makeToken(XmlTokenKind::Equals, start, p + 1);
    case Greater:
        context.cursor = p + 1;
        return makeToken(XmlTokenKind::TagEnd, start, p + 1);
    default:
        return scanWord(context, start, p + 1);
    }
}

void XmlScanner::skipCharacterData(XmlParseContext& context) noexcept {
    const char16_t* p = context.cursor;
    while (*p != u'<' && *p != 0)
        ++p;
    context.cursor = p;
}

bool XmlScanner::scanClearSection(XmlNode& node, XmlParseContext& context, const XmlClearTag& tag) {
    const char16_t* start = context.cursor;
    const char16_t* closeTag = tag.closeTag;
    int32_t closeLength = tag.closeLength;
    const char16_t* endMarker = nullptr;
    if (&tag == &docTypeTag()) {
        const char16_t* p = start;
        while (*p != 0 && *p != u'[' && *p != u'>')
            ++p;
        if (*p == u'>') {
            endMarker = p;
        } else if (*p == u'[') {
            // The subset is searched from the start of the section, not from its "[".
            closeTag = docTypeSubsetClose;
            closeLength = 2;
            endMarker = findMarker(start, closeTag, closeLength);
        }
    } else {
        endMarker = findMarker(start, closeTag, closeLength);
    }
    if (endMarker == nullptr) {
        context.error = XmlError::UnterminatedSection;
        return false;
    }
    context.cursor = endMarker + closeLength;
    if (endMarker != start)
        node.addClearSection(xmlCopyString(start, static_cast<int32_t>(endMarker - start)), tag.openTag, closeTag);
    return true;
}

char16_t* XmlScanner::decodeEntities(const char16_t* span, int32_t length, XmlParseContext& context) {
    const char16_t* end = span + length;
    const char16_t* p = span;
    while (p != end && *p != u'&' && *p != 0)
        ++p;
    if (p == end || *p == 0)
        return xmlCopyString(span, static_cast<int32_t>(p - span));

    const int64_t count = countDecoded(p, end);
    if (count < 0) {
        context.error = XmlError::BadEntity;
        return nullptr;
    }
    const auto prefix = static_cast<int32_t>(p - span);
    char16_t* output = xmlAllocateString(prefix + static_cast<int32_t>(count));
    std::copy(span, p, output);
    char16_t* out = output + prefix;
    while (p != end && *p != 0) {
        if (*p != u'&') {
            *out++ = *p++;
        } else if (isCharacterReference(p, end)) {
            p = decodeCharacterReference(p, out++);
            if (p == nullptr) {
                xmlFreeString(output);
                context.error = XmlError::BadEntity;
                return nullptr;
            }
        } else {
            const EntityRow* row = findEntity(p, end);
            *out++ = row->unit;
            p += row->length;
        }
    }
    *out = 0;
    return output;
}
