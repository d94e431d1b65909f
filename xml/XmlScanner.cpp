#include "xml/XmlScanner.h"

#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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

// Markers are ASCII, so an input unit equals a marker unit only when it is that character; the
// input's terminating zero differs from every marker unit, so this never reads past it.
template <typename Unit>
bool matchesMarker(const Unit* p, const char16_t* marker, int32_t length) {
    for (int32_t i = 0; i < length; ++i) {
        if (p[i] != marker[i])
            return false;
    }
    return true;
}

template <typename Unit>
const Unit* findMarker(const Unit* p, const char16_t* marker, int32_t length) {
    for (; *p != 0; ++p) {
        if (*p == marker[0] && matchesMarker(p, marker, length))
            return p;
    }
    return nullptr;
}

template <typename Unit>
bool matchesEntity(const Unit* p, const EntityRow& row) {
    for (int32_t i = 0; i < row.length; ++i) {
        char16_t c = p[i];
        if (c >= u'A' && c <= u'Z')
            c = static_cast<char16_t>(c + 32);
        if (c != row.text[i])
            return false;
    }
    return true;
}

template <typename Unit>
const EntityRow* findEntity(const Unit* p, const Unit* end) {
    for (const EntityRow& row : entities) {
        if (row.length <= end - p && matchesEntity(p, row))
            return &row;
    }
    return nullptr;
}

template <typename Unit>
bool isCharacterReference(const Unit* p, const Unit* end) {
    return end - p > 2 && p[1] == '#';
}

// Units the decoded span needs from its first "&" on, or -1 for a malformed or unknown reference.
template <typename Unit>
int64_t countDecoded(const Unit* p, const Unit* end) {
    int64_t count = 0;
    while (p != end && *p != 0) {
        if (*p != '&') {
            ++p;
        } else if (isCharacterReference(p, end)) {
            p += 2;
            if (*p == 'x' || *p == 'X')
                ++p;
            while (p != end && *p != ';' && *p != 0)
                ++p;
            if (p == end || *p != ';')
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
template <typename Unit>
const Unit* decodeCharacterReference(const Unit* p, char16_t* out) {
    p += 2;
    const bool hex = *p == 'x' || *p == 'X';
    if (hex)
        ++p;
    const uint32_t base = hex ? 16 : 10;
    uint32_t value = 0;
    for (; *p != ';'; ++p) {
        const int digit = digitValue(*p, hex);
        if (digit < 0)
            return nullptr;
        value = value * base + static_cast<uint32_t>(digit);
    }
    *out = static_cast<char16_t>(value & 0xFFFFu);
    return p + 1;
}

template <typename Unit>
const Unit* findReference(const Unit* p, const Unit* end) {
    while (p != end && *p != '&' && *p != 0)
        ++p;
    return p;
}

// Writes the decoded units of [p, end), which passed the counting pass, to out. Null when a
// character reference holds a unit that is no digit, else the end of what was written.
template <typename Unit>
char16_t* decodeReferences(const Unit* p, const Unit* end, char16_t* out) {
    while (p != end && *p != 0) {
        if (*p != '&') {
            *out++ = xmlWiden(*p++);
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

#if defined(__SSE2__)
// Skips whole blocks of units that hold neither "<" nor a zero, noting any "&"; stops at the
// first block that does, or where a block would pass end.
const char16_t* skipBlocks(const char16_t* p, const char16_t* end, bool& reference) {
    const __m128i less = _mm_set1_epi16('<');
    const __m128i ampersand = _mm_set1_epi16('&');
    const __m128i zero = _mm_setzero_si128();
    for (; end - p >= 8; p += 8) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i stops = _mm_or_si128(_mm_cmpeq_epi16(block, less), _mm_cmpeq_epi16(block, zero));
        if (_mm_movemask_epi8(stops) != 0)
            break;
        reference |= _mm_movemask_epi8(_mm_cmpeq_epi16(block, ampersand)) != 0;
    }
    return p;
}

const unsigned char* skipBlocks(const unsigned char* p, const unsigned char* end, bool& reference) {
    const __m128i less = _mm_set1_epi8('<');
    const __m128i ampersand = _mm_set1_epi8('&');
    const __m128i zero = _mm_setzero_si128();
    for (; end - p >= 16; p += 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i stops = _mm_or_si128(_mm_cmpeq_epi8(block, less), _mm_cmpeq_epi8(block, zero));
        if (_mm_movemask_epi8(stops) != 0)
            break;
        reference |= _mm_movemask_epi8(_mm_cmpeq_epi8(block, ampersand)) != 0;
    }
    return p;
}
#endif

}  // namespace

template <typename Unit>
BasicXmlToken<Unit> XmlScanner::scanMarkup(BasicXmlParseContext<Unit>& context, const Unit* p) noexcept {
    for (const XmlClearTag& tag : clearTags) {
        if (matchesMarker(p, tag.openTag, tag.openLength)) {
            context.cursor = p + tag.openLength;
            BasicXmlToken<Unit> token = makeXmlToken(XmlTokenKind::ClearStart, p, context.cursor);
            token.clearTag = &tag;
            return token;
        }
    }
    if (p[1] == '/' || p[1] == '?') {
        context.cursor = p + 2;
        return makeXmlToken(p[1] == '/' ? XmlTokenKind::EndTagStart : XmlTokenKind::DeclarationStart, p, p + 2);
    }
    context.cursor = p + 1;
    return makeXmlToken(XmlTokenKind::TagStart, p, p + 1);
}

template <typename Unit>
void XmlScanner::skipCharacterData(BasicXmlParseContext<Unit>& context) noexcept {
    const Unit* p = context.cursor;
    bool reference = false;
#if defined(__SSE2__)
    if (context.inputEnd != nullptr)
        p = skipBlocks(p, context.inputEnd, reference);
#endif
    for (; *p != '<' && *p != 0; ++p)
        reference |= *p == '&';
    context.skippedFrom = context.cursor;
    context.skippedReference = reference;
    context.cursor = p;
}

template <typename Unit>
bool XmlScanner::scanClearSection(XmlNode& node, BasicXmlParseContext<Unit>& context, const XmlClearTag& tag) {
    const Unit* start = context.cursor;
    const char16_t* closeTag = tag.closeTag;
    int32_t closeLength = tag.closeLength;
    const Unit* endMarker = nullptr;
    if (&tag == &docTypeTag()) {
        const Unit* p = start;
        while (*p != 0 && *p != '[' && *p != '>')
            ++p;
        if (*p == '>') {
            endMarker = p;
        } else if (*p == '[') {
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
    if (endMarker != start) {
        const auto length = static_cast<int32_t>(endMarker - start);
        char16_t* value = xmlAllocateString(length);
        xmlWidenCopy(start, static_cast<size_t>(length), value);
        node.addClearSection(value, tag.openTag, closeTag);
    }
    return true;
}

template <typename Unit>
char16_t* XmlScanner::decodeEntities(const Unit* span, int32_t length, BasicXmlParseContext<Unit>& context) {
    const Unit* end = span + length;
    const Unit* p = findReference(span, end);
    const auto prefix = static_cast<int32_t>(p - span);
    const int64_t count = p == end || *p == 0 ? 0 : countDecoded(p, end);
    char16_t* output = count < 0 ? nullptr : xmlAllocateString(prefix + static_cast<int32_t>(count));
    if (output != nullptr) {
        xmlWidenCopy(span, static_cast<size_t>(prefix), output);
        if (count == 0 || decodeReferences(p, end, output + prefix) != nullptr)
            return output;
        xmlFreeString(output);
    }
    context.error = XmlError::BadEntity;
    return nullptr;
}

template <typename Unit>
bool XmlScanner::decodeEntitiesInto(const Unit* span, int32_t length, std::vector<char16_t>& output,
                                    BasicXmlParseContext<Unit>& context) {
    const Unit* end = span + length;
    const Unit* p = findReference(span, end);
    const int64_t count = p == end || *p == 0 ? 0 : countDecoded(p, end);
    if (count >= 0) {
        const size_t start = output.size();
        const auto prefix = static_cast<size_t>(p - span);
        output.resize(start + prefix + static_cast<size_t>(count));
        xmlWidenCopy(span, prefix, output.data() + start);
        if (count == 0 || decodeReferences(p, end, output.data() + start + prefix) != nullptr)
            return true;
        output.resize(start);
    }
    context.error = XmlError::BadEntity;
    return false;
}

template BasicXmlToken<char16_t> XmlScanner::scanMarkup(BasicXmlParseContext<char16_t>&, const char16_t*) noexcept;
template void XmlScanner::skipCharacterData(BasicXmlParseContext<char16_t>&) noexcept;
template bool XmlScanner::scanClearSection(XmlNode&, BasicXmlParseContext<char16_t>&, const XmlClearTag&);
template char16_t* XmlScanner::decodeEntities(const char16_t*, int32_t, BasicXmlParseContext<char16_t>&);
template bool XmlScanner::decodeEntitiesInto(const char16_t*, int32_t, std::vector<char16_t>&, BasicXmlParseContext<char16_t>&);
template BasicXmlToken<unsigned char> XmlScanner::scanMarkup(BasicXmlParseContext<unsigned char>&, const unsigned char*) noexcept;
template void XmlScanner::skipCharacterData(BasicXmlParseContext<unsigned char>&) noexcept;
template bool XmlScanner::scanClearSection(XmlNode&, BasicXmlParseContext<unsigned char>&, const XmlClearTag&);
template char16_t* XmlScanner::decodeEntities(const unsigned char*, int32_t, BasicXmlParseContext<unsigned char>&);
template bool XmlScanner::decodeEntitiesInto(const unsigned char*, int32_t, std::vector<char16_t>&, BasicXmlParseContext<unsigned char>&);
