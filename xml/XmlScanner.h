#pragma once
// The lexical layer of the XML reader: tokens, raw sections and entity decoding, over the
// document's UTF-8 text. Every delimiter is ASCII, and no byte of another character is, so the
// bytes are scanned as they are.

#include "xml/XmlRecord.h"

#include <array>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Kinds of token; the numbers are stable.
enum class XmlTokenKind : int32_t {
    Text = 0,              // a word, or a run of character data
    QuotedText = 1,        // a string in double or single quotes, quotes included
    TagStart = 2,          // "<"
    EndTagStart = 3,       // "</"
    TagEnd = 4,            // ">"
    Equals = 5,            // "="
    DeclarationStart = 6,  // "<?"
    EmptyTagEnd = 7,       // "/>"
    ClearStart = 8,        // the whole opening marker of a raw section
    EndOfInput = 9,        // the terminating zero
};

// One row of the raw-section table; stored sections point at its marker strings.
struct XmlClearTag {
    const char* openTag;
    int32_t openLength;
    const char* closeTag;
    int32_t closeLength;
};

struct XmlToken {
    XmlTokenKind kind = XmlTokenKind::EndOfInput;
    const char* start = nullptr;  // null for EndOfInput
    int32_t length = 0;
    const XmlClearTag* clearTag = nullptr;  // the matched row, for ClearStart only
    bool hasReference = false;              // an "&" inside a Text or QuotedText token
};

// State shared by every level of one parse.
struct XmlParseContext {
    const char* input = nullptr;      // the whole text, borrowed
    const char* textStart = nullptr;  // where pending character data begins; null when none
    const char* cursor = nullptr;     // the next byte to scan
    const char* errorAt = nullptr;    // position recorded with MissingEndTag
    XmlError error = XmlError::None;
    XmlStore* store = nullptr;         // where decoded text is made
    const char* endTagName = nullptr;  // an end tag still looking for its element
    int32_t endTagLength = 0;          // 0 when no end tag is pending
    int32_t depth = 0;                 // nesting level of the element being parsed

    // Where the input ends (its terminating zero), so that blocks of bytes can be read at once
    // before it; null when the length is unknown.
    const char* inputEnd = nullptr;
    // The last run of character data skipped, and whether it holds an "&".
    const char* skippedFrom = nullptr;
    bool skippedReference = false;

    // The attributes of the start tag being read, given to its element when the tag ends. The
    // storage only grows, so that adding one is a store in the parser's loop.
    std::vector<XmlAttribute> pendingAttributes;
    int32_t pendingCount = 0;
    XmlBuilder builder;  // the items of the open elements

    void addPendingAttribute(const XmlAttribute& attribute) {
        if (static_cast<size_t>(pendingCount) == pendingAttributes.size())
            pendingAttributes.resize(pendingAttributes.size() * 2 + 16);
        pendingAttributes[static_cast<size_t>(pendingCount++)] = attribute;
    }
};

// The character tables of the scanner, for the bytes below 128; every other byte is part of a
// word.
namespace XmlChars {

enum Class : uint8_t { Word, Space, End, Quote, Slash, Less, Equals, Greater };

// How a unit acts inside a word (an unquoted name or value).
enum WordRole : uint8_t {
    Inside,
    Ends,
    EndsBeforeClose,  // "/": ends the word only when "/>" starts there
    Reference,        // inside, but the word then needs decoding
};

// How a unit acts inside a quoted string.
enum QuotedRole : uint8_t { Plain, Stops, QuotedReference, QuoteUnit };

constexpr std::array<uint8_t, 128> makeClasses() {
    std::array<uint8_t, 128> table{};
    table[0] = End;
    for (char c : {' ', '\t', '\n', '\r'})
        table[static_cast<unsigned char>(c)] = Space;
    table['"'] = Quote;
    table['\''] = Quote;
    table['/'] = Slash;
    table['<'] = Less;
    table['='] = Equals;
    table['>'] = Greater;
    return table;
}

constexpr std::array<uint8_t, 128> makeWordRoles() {
    std::array<uint8_t, 128> table{};
    for (char c : {'\0', ' ', '\t', '\n', '\r', '<', '>', '='})
        table[static_cast<unsigned char>(c)] = Ends;
    table['/'] = EndsBeforeClose;
    table['&'] = Reference;
    return table;
}

constexpr std::array<uint8_t, 128> makeQuotedRoles() {
    std::array<uint8_t, 128> table{};
    table[0] = Stops;
    table['<'] = Stops;
    table['&'] = QuotedReference;
    table['"'] = QuoteUnit;
    table['\''] = QuoteUnit;
    return table;
}

inline constexpr std::array<uint8_t, 128> classes = makeClasses();
inline constexpr std::array<uint8_t, 128> wordRoles = makeWordRoles();
inline constexpr std::array<uint8_t, 128> quotedRoles = makeQuotedRoles();

inline Class classOf(char c) noexcept {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 128 ? static_cast<Class>(classes[byte]) : Word;
}

inline bool isSpace(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

}  // namespace XmlChars

class XmlScanner {
public:
    // The raw-section rows in the order they are tried: CDATA, DOCTYPE, comment, PRE.
    static const XmlClearTag clearTags[4];
    static const XmlClearTag& docTypeTag() noexcept { return clearTags[1]; }
    static const XmlClearTag& commentTag() noexcept { return clearTags[2]; }

    // The next token; the cursor moves past it and stays on the terminating zero at the end.
    static XmlToken nextToken(XmlParseContext& context) noexcept;
    // The token at a "<": a raw-section marker, "</", "<?" or "<".
    static XmlToken scanMarkup(XmlParseContext& context, const char* p) noexcept;
    // A word that starts at start and goes on at p; it consumes one white-space unit after it.
    static XmlToken scanWord(XmlParseContext& context, const char* start, const char* p) noexcept;
    // A quoted string at p, or, without its closing quote before a "<", a word.
    static XmlToken scanQuoted(XmlParseContext& context, const char* p) noexcept;
    // Moves the cursor to the next "<" or the terminating zero: in content every other token is
    // character data, taken from the input itself. Notes whether the run holds an "&".
    static void skipCharacterData(XmlParseContext& context) noexcept;
    // Scans a raw section whose opening marker was just read and stores its non-empty contents
    // in the open element. False, with UnterminatedSection set, when its end marker is missing.
    static bool scanClearSection(XmlParseContext& context, const XmlClearTag& tag);
    // The span with its references replaced, made in the store. A reference to U+0000 ends the
    // text there, as it always has. False, with BadEntity set, for a malformed or unknown
    // reference.
    static bool decodeEntities(std::string_view span, XmlParseContext& context, std::string_view* decoded);
};

inline XmlToken makeXmlToken(XmlTokenKind kind, const char* start, const char* end) noexcept {
    return XmlToken{kind, start, static_cast<int32_t>(end - start), nullptr, false};
}

// The tokens of start tags are read here, inline in the parser's loop; the rarer ones at "<"
// are not.
[[gnu::always_inline]] inline XmlToken XmlScanner::nextToken(XmlParseContext& context) noexcept {
    const char* p = context.cursor;
    while (XmlChars::classOf(*p) == XmlChars::Space)
        ++p;
    switch (XmlChars::classOf(*p)) {
    case XmlChars::End:
        context.cursor = p;
        return XmlToken{};
    case XmlChars::Quote:
        return scanQuoted(context, p);
    case XmlChars::Slash:
        if (p[1] == '>') {
            context.cursor = p + 2;
            return makeXmlToken(XmlTokenKind::EmptyTagEnd, p, p + 2);
        }
        return scanWord(context, p, p + 1);
    case XmlChars::Less:
        return scanMarkup(context, p);
    case XmlChars::Equals:
        context.cursor = p + 1;
        return makeXmlToken(XmlTokenKind::Equals, p, p + 1);
    case XmlChars::Greater:
        context.cursor = p + 1;
        return makeXmlToken(XmlTokenKind::TagEnd, p, p + 1);
    default:
        return scanWord(context, p, p + 1);
    }
}

inline XmlToken XmlScanner::scanWord(XmlParseContext& context, const char* start,
                                                const char* p) noexcept {
    bool hasReference = *start == '&';
    for (;; ++p) {
        const auto c = static_cast<unsigned char>(*p);
        if (c >= 128)
            continue;
        const uint8_t role = XmlChars::wordRoles[c];
        if (role == XmlChars::Inside)
            continue;
        if (role == XmlChars::Reference) {
            hasReference = true;
            continue;
        }
        if (role == XmlChars::EndsBeforeClose && p[1] != '>')
            continue;
        break;
    }
    context.cursor = XmlChars::classOf(*p) == XmlChars::Space ? p + 1 : p;
    XmlToken token = makeXmlToken(XmlTokenKind::Text, start, p);
    token.hasReference = hasReference;
    return token;
}

inline XmlToken XmlScanner::scanQuoted(XmlParseContext& context, const char* p) noexcept {
    const char quote = *p;
    bool hasReference = false;
    const char* q = p + 1;
#if defined(__SSE2__)
    // Sixteen bytes at a time up to the first that the loop below must look at (its quote, "<",
    // "&" or the zero), where whole vectors lie before the input's end.
    if (context.inputEnd != nullptr) {
        const __m128i quoteUnit = _mm_set1_epi8(quote);
        const __m128i less = _mm_set1_epi8('<');
        const __m128i ampersand = _mm_set1_epi8('&');
        const __m128i zero = _mm_setzero_si128();
        while (context.inputEnd - q >= 16) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(q));
            const __m128i stops = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, quoteUnit), _mm_cmpeq_epi8(v, less)),
                                               _mm_or_si128(_mm_cmpeq_epi8(v, ampersand), _mm_cmpeq_epi8(v, zero)));
            const int mask = _mm_movemask_epi8(stops);
            if (mask != 0) {
                q += __builtin_ctz(static_cast<unsigned>(mask));
                break;
            }
            q += 16;
        }
    }
#endif
    for (;; ++q) {
        const auto c = static_cast<unsigned char>(*q);
        if (c >= 128)
            continue;
        const uint8_t role = XmlChars::quotedRoles[c];
        if (role == XmlChars::Plain)
            continue;
        if (role == XmlChars::QuotedReference) {
            hasReference = true;
            continue;
        }
        if (role == XmlChars::QuoteUnit && static_cast<char>(c) != quote)
            continue;
        break;
    }
    if (*q != quote) {
        // An unclosed quote is an ordinary unit of a word, and never hides a "<".
        return scanWord(context, p, p + 1);
    }
    context.cursor = q + 1;
    XmlToken token = makeXmlToken(XmlTokenKind::QuotedText, p, q + 1);
    token.hasReference = hasReference;
    return token;
}
