#pragma once
// The lexical layer of the XML reader: tokens, raw sections and entity decoding. It reads UTF-16
// text, or the bytes of an 8-bit file directly (widened to UTF-16 only where text is copied out),
// so that 8-bit files need no conversion pass of their own.

#include "xml/TextEncoding.h"
#include "xml/XmlNode.h"

#include <array>
#include <cstdint>
#include <cstring>
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

// A unit of the input as UTF-16: itself, or the Windows-1252 character of a byte.
inline char16_t xmlWiden(char16_t unit) noexcept {
    return unit;
}
inline char16_t xmlWiden(unsigned char byte) noexcept {
    return TextEncoding::windows1252Unit(byte);
}

// Copies count input units to out as UTF-16.
inline void xmlWidenCopy(const char16_t* units, size_t count, char16_t* out) noexcept {
    if (count > 0)
        std::memcpy(out, units, sizeof(char16_t) * count);
}
inline void xmlWidenCopy(const unsigned char* bytes, size_t count, char16_t* out) noexcept {
    // Names and values are short: a plain loop beats a call for them.
    if (count >= 32) {
        TextEncoding::windows1252ToUnits(bytes, count, out);
        return;
    }
    for (size_t i = 0; i < count; ++i)
        out[i] = TextEncoding::windows1252Unit(bytes[i]);
}

template <typename Unit>
struct BasicXmlToken {
    XmlTokenKind kind = XmlTokenKind::EndOfInput;
    const Unit* start = nullptr;  // null for EndOfInput
    int32_t length = 0;
    const XmlClearTag* clearTag = nullptr;  // the matched row, for ClearStart only
    bool hasReference = false;              // an "&" inside a Text or QuotedText token
};
using XmlToken = BasicXmlToken<char16_t>;

// State shared by every level of one parse.
template <typename Unit>
struct BasicXmlParseContext {
    const Unit* input = nullptr;      // the whole text, borrowed
    const Unit* textStart = nullptr;  // where pending character data begins; null when none
    const Unit* cursor = nullptr;     // the next unit to scan
    const Unit* errorAt = nullptr;    // position recorded with MissingEndTag
    XmlError error = XmlError::None;
    const Unit* endTagName = nullptr;  // an end tag still looking for its element
    int32_t endTagLength = 0;          // 0 when no end tag is pending
    int32_t depth = 0;                 // nesting level of the element being parsed

    // Where the input is known to end (its terminating zero), so that blocks of units can be
    // read at once before it; null when the length is unknown.
    const Unit* inputEnd = nullptr;
    // The last run of character data skipped, and whether it holds an "&".
    const Unit* skippedFrom = nullptr;
    bool skippedReference = false;

    // The attributes of the start tag being read, given to its element when the tag ends. The
    // storage only grows, so that adding one is a store in the parser's loop.
    std::vector<XmlAttributeSpan<Unit>> pendingAttributes;
    int32_t pendingCount = 0;
    std::vector<char16_t> decodedValues;  // values that held references, decoded

    void addPendingAttribute(const XmlAttributeSpan<Unit>& attribute) {
        if (static_cast<size_t>(pendingCount) == pendingAttributes.size())
            pendingAttributes.resize(pendingAttributes.size() * 2 + 16);
        pendingAttributes[static_cast<size_t>(pendingCount++)] = attribute;
    }
};
using XmlParseContext = BasicXmlParseContext<char16_t>;

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

template <typename Unit>
inline Class classOf(Unit c) noexcept {
    return c < 128 ? static_cast<Class>(classes[c]) : Word;
}

inline bool isSpace(char16_t c) noexcept {
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
}

}  // namespace XmlChars

// The scanner's operations work on UTF-16 (char16_t) and on 8-bit input (unsigned char).
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
    template <typename Unit>
    static BasicXmlToken<Unit> nextToken(BasicXmlParseContext<Unit>& context) noexcept;
    // The token at a "<": a raw-section marker, "</", "<?" or "<".
    template <typename Unit>
    static BasicXmlToken<Unit> scanMarkup(BasicXmlParseContext<Unit>& context, const Unit* p) noexcept;
    // A word that starts at start and goes on at p; it consumes one white-space unit after it.
    template <typename Unit>
    static BasicXmlToken<Unit> scanWord(BasicXmlParseContext<Unit>& context, const Unit* start, const Unit* p) noexcept;
    // A quoted string at p, or, without its closing quote before a "<", a word.
    template <typename Unit>
    static BasicXmlToken<Unit> scanQuoted(BasicXmlParseContext<Unit>& context, const Unit* p) noexcept;
    // Moves the cursor to the next "<" or the terminating zero: in content every other token is
    // character data, taken from the input itself. Notes whether the run holds an "&".
    template <typename Unit>
    static void skipCharacterData(BasicXmlParseContext<Unit>& context) noexcept;
    // Scans a raw section whose opening marker was just read and stores its non-empty contents
    // in node. False, with UnterminatedSection set, when its end marker is missing.
    template <typename Unit>
    static bool scanClearSection(XmlNode& node, BasicXmlParseContext<Unit>& context, const XmlClearTag& tag);
    // A new string (xmlCopyString's allocation) with the references of the span replaced; null,
    // with BadEntity set, for a malformed or unknown reference.
    template <typename Unit>
    static char16_t* decodeEntities(const Unit* span, int32_t length, BasicXmlParseContext<Unit>& context);
    // decodeEntities appending to output instead, without a terminator; false with BadEntity set.
    template <typename Unit>
    static bool decodeEntitiesInto(const Unit* span, int32_t length, std::vector<char16_t>& output,
                                   BasicXmlParseContext<Unit>& context);
};

template <typename Unit>
inline BasicXmlToken<Unit> makeXmlToken(XmlTokenKind kind, const Unit* start, const Unit* end) noexcept {
    return BasicXmlToken<Unit>{kind, start, static_cast<int32_t>(end - start), nullptr, false};
}

// The tokens of start tags are read here, inline in the parser's loop; the rarer ones at "<"
// are not.
template <typename Unit>
[[gnu::always_inline]] inline BasicXmlToken<Unit> XmlScanner::nextToken(BasicXmlParseContext<Unit>& context) noexcept {
    const Unit* p = context.cursor;
    while (XmlChars::classOf(*p) == XmlChars::Space)
        ++p;
    switch (XmlChars::classOf(*p)) {
    case XmlChars::End:
        context.cursor = p;
        return BasicXmlToken<Unit>{};
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

template <typename Unit>
inline BasicXmlToken<Unit> XmlScanner::scanWord(BasicXmlParseContext<Unit>& context, const Unit* start,
                                                const Unit* p) noexcept {
    bool hasReference = *start == '&';
    for (;; ++p) {
        const Unit c = *p;
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
    BasicXmlToken<Unit> token = makeXmlToken(XmlTokenKind::Text, start, p);
    token.hasReference = hasReference;
    return token;
}

template <typename Unit>
inline BasicXmlToken<Unit> XmlScanner::scanQuoted(BasicXmlParseContext<Unit>& context, const Unit* p) noexcept {
    const Unit quote = *p;
    bool hasReference = false;
    const Unit* q = p + 1;
    for (;; ++q) {
        const Unit c = *q;
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
    BasicXmlToken<Unit> token = makeXmlToken(XmlTokenKind::QuotedText, p, q + 1);
    token.hasReference = hasReference;
    return token;
}
