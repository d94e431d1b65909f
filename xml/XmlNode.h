#pragma once
// The document tree as seen from outside the XML library: a value handle over reference-counted
// element records. No Qt here: every string is a UTF-8 view into the document's own text, which
// the tree keeps alive. A view whose data() is null stands for an absent string.

#include <cstdint>
#include <string_view>

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
    TextConversionFailed = 14, // the file's bytes could not be turned into text
    FileTooLarge = 15,         // the file does not fit the 32-bit size the loader works with
    Base64BadLength = 17,      // base64 text whose length is not a multiple of 4
    Base64BadCharacter = 18,   // a character outside the base64 alphabet
    Base64Truncated = 19,      // base64 text that ends before the expected length
    Base64TooLong = 20,        // base64 text holding more data than expected
};

// Outcome of a parse: line and column start at 1 and are set only when error is not None. The
// column counts UTF-16 code units, whatever the file's encoding.
struct XmlParseResult {
    XmlError error = XmlError::None;
    int32_t line = 0;
    int32_t column = 0;
};

struct XmlNodeData;
struct XmlStore;

// Handle to one element. The default handle is the empty node: every query on it answers
// empty, null or 0, so look-ups can be chained without checks. A handle keeps its element, the
// element's subtree and the whole document's memory alive.
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
    // Identifies the element while a handle holds it; null on the empty node.
    const void* identity() const noexcept { return data_; }
    // Element name as written; null on the empty node and on the unnamed document node.
    std::string_view name() const noexcept;

    // Number of child elements; 0 on the empty node.
    int32_t childCount() const noexcept;
    // Number of child elements whose name matches, ignoring ASCII case; 0 on the empty node.
    int32_t childCountNamed(std::string_view name) const noexcept;
    // Child number index; the empty node when index is out of range.
    XmlNode childAt(int32_t index) const noexcept;
    // First matching child at or after *cursor (0 without cursor); on success *cursor becomes
    // its position + 1. The empty node, cursor unchanged, when none matches.
    XmlNode childNamed(std::string_view name, int32_t* cursor = nullptr) const noexcept;
    // The parent element; the empty node for a root, a detached node or the empty node.
    XmlNode parent() const noexcept;

    // Number of attributes; 0 on the empty node.
    int32_t attributeCount() const noexcept;
    // Name of attribute number index; null when out of range.
    std::string_view attributeNameAt(int32_t index) const noexcept;
    // Value of attribute number index (null for a valueless attribute); null when out of range.
    std::string_view attributeValueAt(int32_t index) const noexcept;
    // Value of the first matching attribute at or after *cursor; on a match *cursor becomes its
    // position + 1. Null (cursor unchanged) when none matches, null too for a valueless match.
    std::string_view attribute(std::string_view name, int32_t* cursor = nullptr) const noexcept;

    // Text segment number index; null when out of range.
    std::string_view textAt(int32_t index) const noexcept;

    // Parses UTF-8 text (malformed sequences read as U+FFFD); a null view gives NullInput. The
    // empty node on fatal errors. requiredTag empty: the document's element, whatever its name.
    static XmlNode parseString(std::string_view text, std::string_view requiredTag, XmlParseResult* result);
    // Loads a file named by native path bytes, detects its encoding and parses it.
    static XmlNode parseFile(const char* path, std::string_view requiredTag, XmlParseResult* result);

private:
    friend class XmlTree;
    XmlNode(XmlNodeData* data, XmlStore* store) noexcept;  // takes one new reference
    void release() noexcept;

    XmlNodeData* data_ = nullptr;
    XmlStore* store_ = nullptr;  // the document's memory; null on the empty node
};

// The byte comparison behind xmlNamesEqual, for names of equal length, neither null.
bool xmlNamesEqualFolded(std::string_view a, std::string_view b) noexcept;
// Case-insensitive whole-name comparison: ASCII A-Z match a-z, every other byte must be equal.
// False when either is null. Inline, as most names asked for are passed over by their length.
inline bool xmlNamesEqual(std::string_view a, std::string_view b) noexcept {
    return a.size() == b.size() && a.data() != nullptr && b.data() != nullptr && xmlNamesEqualFolded(a, b);
}
