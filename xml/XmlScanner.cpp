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

XmlToken XmlScanner::scanMarkup(XmlParseContext& context, const char16_t* p) noexcept {
    for (const XmlClearTag& tag : clearTags) {
        if (matchesMarker(p, tag.openTag, tag.openLength)) {
            context.cursor = p + tag.openLength;
            XmlToken token = makeToken(XmlTokenKind::ClearStart, p, context.cursor);
            token.clearTag = &tag;
            return token;
        }
    }
    if (p[1] == u'/' || p[1] == u'?') {
        context.cursor = p + 2;
        return makeToken(p[1] == u'/' ? XmlTokenKind::EndTagStart : XmlTokenKind::DeclarationStart, p, p + 2);
    }
    context.cursor = p + 1;
    return makeToken(XmlTokenKind::TagStart, p, p + 1);
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

namespace {

const char16_t* findReference(const char16_t* p, const char16_t* end) {
    while (p != end && *p != u'&' && *p != 0)
        ++p;
    return p;
}

// Writes the decoded units of [p, end) to out; the span passed the counting pass. Null when a
// character reference holds a unit that is no digit, else the end of what was written.
char16_t* decodeReferences(const char16_t* p, const char16_t* end, char16_t* out) {
    while (p != end && *p != 0) {
        if (*p != u'&') {
            *out++ = *p++;
        } else if (isCharacterReference(p, end)) {
            p = decodeCharacterReference(p, out++);
            if (p == nullptr)
                return nullptr;
        } else {
            const EntityRow* row = findEntity(p, end);
            *out++ = row->unit;
            p += row->length;
        }
    }
    return out;
}

}  // namespace

char16_t* XmlScanner::decodeEntities(const char16_t* span, int32_t length, XmlParseContext& context) {
    const char16_t* end = span + length;
    const char16_t* p = findReference(span, end);
    if (p == end || *p == 0)
        return xmlCopyString(span, static_cast<int32_t>(p - span));
    const int64_t count = countDecoded(p, end);
    const auto prefix = static_cast<int32_t>(p - span);
    char16_t* output = count < 0 ? nullptr : xmlAllocateString(prefix + static_cast<int32_t>(count));
    if (output != nullptr) {
        std::copy(span, p, output);
        if (decodeReferences(p, end, output + prefix) != nullptr)
            return output;
        xmlFreeString(output);
    }
    context.error = XmlError::BadEntity;
    return nullptr;
}

bool XmlScanner::decodeEntitiesInto(const char16_t* span, int32_t length, std::vector<char16_t>& output,
                                    XmlParseContext& context) {
    const char16_t* end = span + length;
    const char16_t* p = findReference(span, end);
    const int64_t count = p == end || *p == 0 ? 0 : countDecoded(p, end);
    if (count >= 0) {
        const size_t start = output.size();
        output.resize(start + static_cast<size_t>(p - span) + static_cast<size_t>(count));
        char16_t* out = std::copy(span, p, output.data() + start);
        if (count == 0 || decodeReferences(p, end, out) != nullptr)
            return true;
        output.resize(start);
    }
    context.error = XmlError::BadEntity;
    return false;
}
