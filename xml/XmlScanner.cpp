#include "xml/XmlScanner.h"

#include "xml/TextEncoding.h"

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

const XmlClearTag XmlScanner::clearTags[4] = {
    {"<![CDATA[", 9, "]]>", 3},
    {"<!DOCTYPE", 9, ">", 1},
    {"<!--", 4, "-->", 3},
    {"<PRE>", 5, "</PRE>", 6},
};

namespace {

// The close marker of a DOCTYPE that has an internal subset.
constexpr char docTypeSubsetClose[] = "]>";

struct EntityRow {
    const char* text;  // lower case: references match without regard to case
    int32_t length;
    char unit;
};

constexpr EntityRow entities[] = {
    {"&amp;", 5, '&'},
    {"&lt;", 4, '<'},
    {"&gt;", 4, '>'},
    {"&quot;", 6, '"'},
    {"&apos;", 6, '\''},
};

// The input's terminating zero differs from every marker byte, so this never reads past it.
bool matchesMarker(const char* p, const char* marker, int32_t length) {
    for (int32_t i = 0; i < length; ++i) {
        if (p[i] != marker[i])
            return false;
    }
    return true;
}

const char* findMarker(const char* p, const char* marker, int32_t length) {
    for (; *p != 0; ++p) {
        if (*p == marker[0] && matchesMarker(p, marker, length))
            return p;
    }
    return nullptr;
}

bool matchesEntity(const char* p, const EntityRow& row) {
    for (int32_t i = 0; i < row.length; ++i) {
        if (foldAscii(p[i]) != row.text[i])
            return false;
    }
    return true;
}

const EntityRow* findEntity(const char* p, const char* end) {
    for (const EntityRow& row : entities) {
        if (row.length <= end - p && matchesEntity(p, row))
            return &row;
    }
    return nullptr;
}

bool isCharacterReference(const char* p, const char* end) {
    return end - p > 2 && p[1] == '#';
}

// Whether every reference of the span from its first "&" on is well-formed and known.
bool referencesValid(const char* p, const char* end) {
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
                return false;
            ++p;
        } else {
            const EntityRow* row = findEntity(p, end);
            if (row == nullptr)
                return false;
            p += row->length;
        }
    }
    return true;
}

int digitValue(char c, bool hex) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (hex && c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (hex && c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Writes the value of "&#...;" at p to *out and answers the byte after the ";", or null for a
// byte that is no digit. Only the low 16 bits of the value are kept: it is one UTF-16 unit.
const char* decodeCharacterReference(const char* p, uint32_t* out) {
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
    *out = value & 0xFFFFu;
    return p + 1;
}

const char* findReference(const char* p, const char* end) {
    while (p != end && *p != '&' && *p != 0)
        ++p;
    return p;
}

// Writes the decoded bytes of [p, end), which passed the check, to out. Null when a character
// reference holds a byte that is no digit, else the end of what was written; a reference to
// U+0000 ends the text. References are UTF-16 units: two that make a surrogate pair are one
// character, and a lone surrogate is U+FFFD. No character's UTF-8 is longer than its references.
char* decodeReferences(const char* p, const char* end, char* out) {
    uint32_t high = 0;  // a high surrogate waiting for its low half in the next reference
    while (p != end && *p != 0) {
        if (*p == '&' && isCharacterReference(p, end)) {
            uint32_t unit = 0;
            p = decodeCharacterReference(p, &unit);
            if (p == nullptr)
                return nullptr;
            if (high != 0 && unit >= 0xDC00 && unit < 0xE000) {
                out = TextEncoding::appendUtf8(out, 0x10000 + ((high - 0xD800) << 10) + (unit - 0xDC00));
                high = 0;
                continue;
            }
            if (high != 0)
                out = TextEncoding::appendUtf8(out, 0xFFFD);
            high = unit >= 0xD800 && unit < 0xDC00 ? unit : 0;
            if (unit == 0)
                return out;
            if (high == 0)
                out = TextEncoding::appendUtf8(out, unit);
            continue;
        }
        if (high != 0)
            out = TextEncoding::appendUtf8(out, 0xFFFD);
        high = 0;
        if (*p != '&') {
            *out++ = *p++;
        } else {
            const EntityRow* row = findEntity(p, end);
            *out++ = row->unit;
            p += row->length;
        }
    }
    if (high != 0)
        out = TextEncoding::appendUtf8(out, 0xFFFD);
    return out;
}

#if defined(__SSE2__)
// Skips whole blocks of bytes that hold neither "<" nor a zero, noting any "&"; stops at the
// first block that does, or where a block would pass end.
const char* skipBlocks(const char* p, const char* end, bool& reference) {
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

XmlToken XmlScanner::scanMarkup(XmlParseContext& context, const char* p) noexcept {
    // Every raw-section marker goes on with "!" or "P" after its "<"; a tag mostly does not.
    for (const XmlClearTag& tag : clearTags) {
        if (p[1] != '!' && p[1] != 'P')
            break;
        if (matchesMarker(p, tag.openTag, tag.openLength)) {
            context.cursor = p + tag.openLength;
            XmlToken token = makeXmlToken(XmlTokenKind::ClearStart, p, context.cursor);
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

void XmlScanner::skipCharacterData(XmlParseContext& context) noexcept {
    const char* p = context.cursor;
    bool reference = false;
    // Between tags that follow each other there is nothing to skip.
    if (*p == '<') {
        context.skippedFrom = p;
        context.skippedReference = false;
        return;
    }
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

bool XmlScanner::scanClearSection(XmlParseContext& context, const XmlClearTag& tag) {
    const char* start = context.cursor;
    const char* closeTag = tag.closeTag;
    int32_t closeLength = tag.closeLength;
    const char* endMarker = nullptr;
    if (&tag == &docTypeTag()) {
        const char* p = start;
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
    if (endMarker != start)
        XmlTree::addClearSection(context.builder, std::string_view(start, static_cast<size_t>(endMarker - start)), tag.openTag,
                                 closeTag);
    return true;
}

bool XmlScanner::decodeEntities(std::string_view span, XmlParseContext& context, std::string_view* decoded) {
    const char* end = span.data() + span.size();
    const char* p = findReference(span.data(), end);
    if (p == end || *p == 0) {
        *decoded = span;
        return true;
    }
    if (referencesValid(p, end)) {
        char* out = context.store->allocate(span.size());
        const auto prefix = static_cast<size_t>(p - span.data());
        std::memcpy(out, span.data(), prefix);
        if (char* written = decodeReferences(p, end, out + prefix)) {
            *decoded = std::string_view(out, static_cast<size_t>(written - out));
            return true;
        }
    }
    context.error = XmlError::BadEntity;
    return false;
}
