#pragma once
// The lexical layer of the XML reader: tokens, raw sections and entity decoding over UTF-16 text.

#include "xml/XmlNode.h"

#include <cstdint>

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
};

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
    // Moves the cursor to the next "<" or the terminating zero: in content every other token is
    // character data, taken from the input itself.
    static void skipCharacterData(XmlParseContext& context) noexcept;
    // Scans a raw section whose opening marker was just read and stores its non-empty contents
    // in node. False, with UnterminatedSection set, when its end marker is missing.
    static bool scanClearSection(XmlNode& node, XmlParseContext& context, const XmlClearTag& tag);
    // A new string (xmlCopyString's allocation) with the references of the span replaced; null,
    // with BadEntity set, for a malformed or unknown reference.
    static char16_t* decodeEntities(const char16_t* span, int32_t length, XmlParseContext& context);
};
