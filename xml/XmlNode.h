#pragma once
// The document tree: a reference-counted element record and the value handle through which
// every other part of the program reads it. No Qt here: strings are zero-terminated UTF-16.

#include <cstdint>

// Error codes of the whole XML library (parser, file loading, base64).
enum class XmlError : int32_t {
    None = 0,                  // no error
    MissingEndTag = 1,         // element closed by another end tag, or input ended inside it
    NoElements = 2,            // the document holds no element
    EmptyFile = 3,             // the file has length 0
    MissingTagName = 4,        // "<" or "<?" not followed by a name
    MalformedEndTag = 5,       // "</" not followed by a name and ">"
    UnexpectedEndTag = 6,      // an end tag that matches no open element
    UnterminatedSection = 7,   // a raw section without its end marker
    UnexpectedToken = 8,       // a token that a start tag does not allow there
    NullInput = 9,             // parseString was given no string
    CannotOpenFile = 10,       // the file cannot be opened for reading
    RequiredTagNotFound = 11,  // the required root tag is not there
    BadEntity = 12,            // a malformed or unknown entity or character reference
    NestingTooDeep = 13,       // elements nested deeper than XmlParser's limit
    TextConversionFailed = 14, // the file's bytes could not be turned into UTF-16
    FileTooLarge = 15,         // the file does not fit the 32-bit size the loader works with
    Base64BadLength = 17,      // base64 text whose length is not a multiple of 4
    Base64BadCharacter = 18,   // a character outside the base64 alphabet
    Base64Truncated = 19,      // base64 text that ends before the expected length
    Base64TooLong = 20,        // base64 text holding more data than expected
};

// Outcome of a parse: line and column start at 1 and are set only when error is not None.
struct XmlParseResult {
    XmlError error = XmlError::None;
    int32_t line = 0;
    int32_t column = 0;
};

// Kind codes of the order list.
enum XmlItemKind : int32_t { XmlChildItem = 0, XmlTextItem = 2, XmlClearItem = 3 };

struct XmlAttribute {
    char16_t* name;   // owned, never null
    char16_t* value;  // owned; null for an attribute written without "=" and a value
};

// An attribute still in the parser's hands: spans of input text (UTF-16 or 8-bit units) that
// the element's record copies.
template <typename Unit>
struct XmlAttributeSpan {
    const Unit* name;
    int32_t nameLength;
    const Unit* value;      // in the input; null when valueless or decoded
    int32_t valueLength;
    int32_t decodedOffset;  // where a value that held references starts among the decoded units, else -1
};

// A raw section (CDATA, comment, DOCTYPE, PRE). The tags point into the scanner's marker table.
struct XmlClearSection {
    char16_t* value;           // owned, never empty
    const char16_t* openTag;   // marker string of the clear-tag table, compared by identity
    const char16_t* closeTag;  // the table's closing marker, or the static "]>"
};

// The shared node record. Each array is null until its first entry.
struct XmlNodeData {
    char16_t* name = nullptr;  // owned; null only for the unnamed document node
    int32_t childCount = 0;
    int32_t textCount = 0;
    int32_t clearCount = 0;
    int32_t attributeCount = 0;
    bool isDeclaration = false;
    bool trimmed = false;           // arrays hold exactly their counts: the next append regrows them
    bool nameInline = false;        // the name lives in the record's allocation
    bool attributesPacked = false;  // so do the attributes and their strings
    XmlNodeData* parent = nullptr;  // not owning
    XmlNodeData** children = nullptr;
    char16_t** texts = nullptr;
    XmlClearSection* clears = nullptr;
    XmlAttribute* attributes = nullptr;
    int32_t* order = nullptr;  // (index << 2) | kind, one entry per child, text and clear section
    int32_t refCount = 0;      // handles plus the parent's children entry
    int32_t orderCount = 0;    // entries in order: childCount + textCount + clearCount
};

// Handle to one element. The default handle is the empty node: every query on it answers
// empty, null or 0, so look-ups can be chained without checks.
class XmlNode {
public:
    XmlNode() noexcept = default;
    XmlNode(const XmlNode& other) noexcept;
    XmlNode(XmlNode&& other) noexcept;
    XmlNode& operator=(const XmlNode& other) noexcept;
    XmlNode& operator=(XmlNode&& other) noexcept;
    ~XmlNode();

    // A copy of the shared empty handle.
    static XmlNode emptyNode() noexcept;

    // True when the handle refers to no node (the empty node).
    bool isEmpty() const noexcept { return data_ == nullptr; }
    // Element name as written; null on the empty node and on the unnamed document node.
    const char16_t* name() const noexcept;
    // True for an element opened with "<?"; false on the empty node.
    bool isDeclaration() const noexcept;

    // Number of child elements; 0 on the empty node.
    int32_t childCount() const noexcept;
    // Number of child elements whose name matches, ignoring ASCII case; 0 on the empty node.
    int32_t childCountNamed(const char16_t* name) const noexcept;
    // Child number index; the empty node when index is out of range.
    XmlNode childAt(int32_t index) const noexcept;
    // First matching child at or after *cursor (0 without cursor); on success *cursor becomes
    // its position + 1. The empty node, cursor unchanged, when none matches.
    XmlNode childNamed(const char16_t* name, int32_t* cursor = nullptr) const noexcept;
    // n >= 0: the matching child with n matches before it; n < 0: the last match. Empty when none.
    XmlNode childNamedNth(const char16_t* name, int32_t n) const noexcept;
    // The parent element; the empty node for a root, a detached node or the empty node.
    XmlNode parent() const noexcept;

    // Number of attributes; 0 on the empty node.
    int32_t attributeCount() const noexcept;
    // Name of attribute number index; null when out of range.
    const char16_t* attributeNameAt(int32_t index) const noexcept;
    // Value of attribute number index (null for a valueless attribute); null when out of range.
    const char16_t* attributeValueAt(int32_t index) const noexcept;
    // Value of the first matching attribute at or after *cursor; on a match *cursor becomes its
    // position + 1. Null (cursor unchanged) when none matches, null too for a valueless match.
    const char16_t* attribute(const char16_t* name, int32_t* cursor = nullptr) const noexcept;

    // Number of text segments; 0 on the empty node.
    int32_t textCount() const noexcept;
    // Text segment number index; null when out of range.
    const char16_t* textAt(int32_t index) const noexcept;
    // Number of raw sections; 0 on the empty node.
    int32_t clearCount() const noexcept;
    // Raw section number index; null when out of range.
    const XmlClearSection* clearAt(int32_t index) const noexcept;
    // Number of order entries (children, texts and clears); 0 on the empty node.
    int32_t orderCount() const noexcept;
    // Order entry number index ((index << 2) | kind); -1 when out of range.
    int32_t orderAt(int32_t index) const noexcept;

    // Parses zero-terminated UTF-16 text (see XmlParser.cpp). The empty node on fatal errors.
    static XmlNode parseString(const char16_t* text, const char16_t* requiredTag,
                               XmlParseResult* result);
    // Loads a file named by native path bytes, detects its encoding and parses it.
    static XmlNode parseFile(const char* path, const char16_t* requiredTag, XmlParseResult* result);

    // Building operations: used only by the parser while it grows a tree.
    static XmlNode createNode(char16_t* name, XmlNodeData* parent, bool isDeclaration);
    XmlNode addChild(char16_t* name, bool isDeclaration);
    // addChild with copies of name and of count attributes (values that held references taken
    // from decoded), all kept in the child's record: one allocation per element. Unit is char16_t
    // or, for 8-bit input read as Windows-1252, unsigned char.
    template <typename Unit>
    XmlNode addChildCopy(const Unit* name, int32_t length, bool isDeclaration,
                         const XmlAttributeSpan<Unit>* attributes, int32_t count, const char16_t* decoded);
    void addAttribute(char16_t* name, char16_t* value);
    void addText(char16_t* text);
    // Appends text (owned, freed here) to the end of text segment number index.
    void appendToText(int32_t index, char16_t* text);
    void addClearSection(char16_t* value, const char16_t* openTag, const char16_t* closeTag);
    void deleteClearSection(int32_t index);
    void trim();

    // The record behind the handle, for the parser and tests; null on the empty node.
    XmlNodeData* data() const noexcept { return data_; }

private:
    explicit XmlNode(XmlNodeData* data) noexcept;  // takes one new reference
    void release() noexcept;
    void appendChild(XmlNodeData* child);

    XmlNodeData* data_ = nullptr;
};

// A zero-terminated copy of length units of text, allocated the way nodes free their strings.
char16_t* xmlCopyString(const char16_t* text, int32_t length);
// Room for length units and the terminating zero (written), allocated as xmlCopyString does.
char16_t* xmlAllocateString(int32_t length);
// Frees a string that a node would otherwise own (one made by xmlCopyString); null is allowed.
void xmlFreeString(char16_t* text) noexcept;
// Number of units before the terminating zero; 0 for null.
int32_t xmlStringLength(const char16_t* text) noexcept;

// Case-insensitive whole-name comparison: ASCII A-Z match a-z, every other unit must be equal.
bool xmlNamesEqual(const char16_t* a, const char16_t* b) noexcept;

// Typed readers over a string that may be null.
// fallback for null or empty text; otherwise C-style integer conversion (white space, sign,
// digits), clamped to the 32-bit range; 0 when no digit is there.
int32_t parseIntOr(const char16_t* text, int32_t fallback) noexcept;
// fallback for null or empty text, or when no number starts the text (after white space).
double parseDoubleOr(const char16_t* text, double fallback) noexcept;
// text when not null, fallback otherwise.
const char16_t* textOr(const char16_t* text, const char16_t* fallback) noexcept;
