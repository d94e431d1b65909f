#pragma once
// The lexical layer of the XML reader: tokens, raw sections and entity decoding over UTF-16 text.

#include "xml/XmlNode.h"

#include <array>
#include <cstdint>
#include <vector>

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
    const char16_t* openTag;
    int32_t openLength;
    const char16_t* closeTag;
    int32_t closeLength;
};

struct XmlToken {
    XmlTokenKind kind = XmlTokenKind::EndOfInput;
    const char16_t* start = nullptr;  // null for EndOfInput
    int32_t length = 0;
    const XmlClearTag* clearTag = nullptr;  // the matched row, for ClearStart only
    bool hasReference = false;              // an "&" inside a Text or QuotedText token
};

// State shared by every level of one parse.
struct XmlParseContext {
    const char16_t* input = nullptr;      // the whole text, borrowed
    const char16_t* textStart = nullptr;  // where pending character data begins; null when none
    const char16_t* cursor = nullptr;     // the next unit to scan
    const char16_t* errorAt = nullptr;    // position recorded with MissingEndTag
    XmlError error = XmlError::None;
    const char16_t* endTagName = nullptr;  // an end tag still looking for its element
    int32_t endTagLength = 0;              // 0 when no end tag is pending
    int32_t depth = 0;                     // nesting level of the element being parsed

    // The attributes of the start tag being read, added to its node in one step when it ends.
    struct PendingAttribute {
        const char16_t* name;
        int32_t nameLength;
        const char16_t* value;  // into the input; null when valueless or decoded
        int32_t valueLength;
        int32_t decodedOffset;  // into decodedValues for a value that held references, else -1
    };
    std::vector<PendingAttribute> pendingAttributes;
    std::vector<char16_t> decodedValues;
    std::vector<XmlAttributeSpan> attributeSpans;
};

// The character tables of the scanner, for the units below 128; every other unit is part of a
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

inline Class classOf(char16_t c) noexcept {
    return c < 128 ? static_cast<Class>(classes[c]) : Word;
}

}  // namespace XmlChars

class XmlScanner {
public:
    // The raw-section rows in the order they are tried: CDATA, DOCTYPE, comment, PRE.
    static const XmlClearTag clearTags[4];
    static const XmlClearTag& cdataTag() noexcept { return clearTags[0]; }
    static const XmlClearTag& docTypeTag() noexcept { return clearTags[1]; }
    static const XmlClearTag& commentTag() noexcept { return clearTags[2]; }
    static const XmlClearTag& preTag() noexcept { return clearTags[3]; }
    // The close marker of a DOCTYPE that has an internal subset.
    static const char16_t docTypeSubsetClose[3];

    // The next token; the cursor moves past it and stays on the terminating zero at the end.
    static XmlToken nextToken(XmlParseContext& context) noexcept;
    // The token at a "<": a raw-section marker, "</", "<?" or "<".
    static XmlToken scanMarkup(XmlParseContext& context, const char16_t* p) noexcept;
    // A word that starts at start and goes on at p; it consumes one white-space unit after it.
    static XmlToken scanWord(XmlParseContext& context, const char16_t* start, const char16_t* p) noexcept;
    // A quoted string at p, or, without its closing quote before a "<", a word.
    static XmlToken scanQuoted(XmlParseContext& context, const char16_t* p) noexcept;
    // Moves the cursor to the next "<" or the terminating zero: in content every other token is
    // character data, taken from the input itself.
    static void skipCharacterData(XmlParseContext& context) noexcept;
    // Scans a raw section whose opening marker was just read and stores its non-empty contents
    // in node. False, with UnterminatedSection set, when its end marker is missing.
    static bool scanClearSection(XmlNode& node, XmlParseContext& context, const XmlClearTag& tag);
    // A new string (xmlCopyString's allocation) with the references of the span replaced; null,
    // with BadEntity set, for a malformed or unknown reference.
    static char16_t* decodeEntities(const char16_t* span, int32_t length, XmlParseContext& context);
    // decodeEntities appending to output instead, without a terminator; false with BadEntity set.
    static bool decodeEntitiesInto(const char16_t* span, int32_t length, std::vector<char16_t>& output,
                                   XmlParseContext& context);

};

inline XmlToken makeToken(XmlTokenKind kind, const char16_t* start, const char16_t* end) noexcept {
    return XmlToken{kind, start, static_cast<int32_t>(end - start), nullptr, false};
}

// The tokens of start tags are read here, inline in the parser's loop; the rarer ones at "<"
// are not.
inline XmlToken XmlScanner::nextToken(XmlParseContext& context) noexcept {
    const char16_t* p = context.cursor;
    while (XmlChars::classOf(*p) == XmlChars::Space)
        ++p;
    switch (XmlChars::classOf(*p)) {
    case XmlChars::End:
        context.cursor = p;
        return XmlToken{};
    case XmlChars::Quote:
        return scanQuoted(context, p);
    case XmlChars::Slash:
        if (p[1] == u'>') {
            context.cursor = p + 2;
            return makeToken(XmlTokenKind::EmptyTagEnd, p, p + 2);
        }
        return scanWord(context, p, p + 1);
    case XmlChars::Less:
        return scanMarkup(context, p);
    case XmlChars::Equals:
        context.cursor = p + 1;
        return makeToken(XmlTokenKind::Equals, p, p + 1);
    case XmlChars::Greater:
        context.cursor = p + 1;
        return makeToken(XmlTokenKind::TagEnd, p, p + 1);
    default:
        return scanWord(context, p, p + 1);
    }
}

inline XmlToken XmlScanner::scanWord(XmlParseContext& context, const char16_t* start, const char16_t* p) noexcept {
    bool hasReference = *start == u'&';
    for (;; ++p) {
        const char16_t c = *p;
        if (c >= 128)
            continue;
        const uint8_t role = XmlChars::wordRoles[c];
        if (role == XmlChars::Inside)
            continue;
        if (role == XmlChars::Reference) {
            hasReference = true;
            continue;
        }
        if (role == XmlChars::EndsBeforeClose && p[1] != u'>')
            continue;
        break;
    }
    context.cursor = XmlChars::classOf(*p) == XmlChars::Space ? p + 1 : p;
    XmlToken token = makeToken(XmlTokenKind::Text, start, p);
    token.hasReference = hasReference;
    return token;
}

inline XmlToken XmlScanner::scanQuoted(XmlParseContext& context, const char16_t* p) noexcept {
    const char16_t quote = *p;
    bool hasReference = false;
    const char16_t* q = p + 1;
    for (;; ++q) {
        const char16_t c = *q;
        if (c >= 128)
            continue;
        const uint8_t role = XmlChars::quotedRoles[c];
        if (role == XmlChars::Plain)
            continue;
        if (role == XmlChars::QuotedReference) {
            hasReference = true;
            continue;
        }
        if (role == XmlChars::QuoteUnit && c != quote)
            continue;
        break;
    }
    if (*q != quote) {
        // An unclosed quote is an ordinary unit of a word, and never hides a "<".
        return scanWord(context, p, p + 1);
    }
    context.cursor = q + 1;
    XmlToken token = makeToken(XmlTokenKind::QuotedText, p, q + 1);
    token.hasReference = hasReference;
    return token;
}
