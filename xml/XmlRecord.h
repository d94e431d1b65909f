#pragma once
// The element record behind XmlNode and the operations that grow a tree. Private to the XML
// library: only the parser builds trees.

#include "xml/XmlNode.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <vector>

// What malloc and realloc gave: a buffer that grows in place while a file is read into it.
struct FreeMemory {
    void operator()(void* memory) const noexcept { std::free(memory); }
};
using RawStorage = std::unique_ptr<char16_t[], FreeMemory>;

// The text of one document, shared by all of its records: the loaded (or converted) UTF-8 that
// every view points into, and the few strings the parser had to make (decoded references,
// texts joined across a comment). The loaded text is never written to, so that an error's
// position can be counted on it after the parse.
struct XmlStore {
    int32_t refCount = 0;                 // one per record
    RawStorage raw;                       // the file as read, when parsed where it lies
    std::unique_ptr<char[]> converted;    // the text converted to UTF-8, otherwise
    std::vector<std::unique_ptr<char[]>> made;
    char* chunkNext = nullptr;  // free room in the last chunk of made
    size_t chunkLeft = 0;

    // Room for length bytes that live as long as the document.
    char* allocate(size_t length);
};

// ASCII A-Z as a-z, every other byte as it is: names and references match without regard to case.
inline char foldAscii(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

struct XmlAttribute {
    std::string_view name;   // never null
    std::string_view value;  // null for an attribute written without "=" and a value
};

// The shared node record. Each array is null until its first entry.
struct XmlNodeData {
    std::string_view name;  // null only for the unnamed document node
    XmlStore* store = nullptr;
    int32_t childCount = 0;
    int32_t textCount = 0;
    int32_t clearCount = 0;
    int32_t attributeCount = 0;
    bool isDeclaration = false;
    XmlNodeData* parent = nullptr;  // not owning
    XmlNodeData** children = nullptr;
    std::string_view* texts = nullptr;
    XmlClearSection* clears = nullptr;
    XmlAttribute* attributes = nullptr;  // in the record's own allocation
    int32_t* order = nullptr;  // (index << 2) | kind, one entry per child, text and clear section
    int32_t refCount = 0;      // handles plus the parent's children entry
    int32_t orderCount = 0;    // entries in order: childCount + textCount + clearCount
};

// Building operations over records, for the parser.
class XmlTree {
public:
    // The unnamed document node, owning store.
    static XmlNode createDocument(std::unique_ptr<XmlStore> store);
    // A new last child of parent with its name and count attributes, all in one allocation;
    // the parent's entry holds it.
    static XmlNodeData* addChild(XmlNodeData* parent, std::string_view name, bool isDeclaration,
                            const XmlAttribute* attributes, int32_t count);
    static void addText(XmlNodeData* node, std::string_view text);
    // Text segment number index followed by text, made anew in the store.
    static void appendToText(XmlNodeData* node, int32_t index, std::string_view text);
    static void addClearSection(XmlNodeData* node, std::string_view value, const char* openTag,
                                const char* closeTag);
    static void deleteClearSection(XmlNodeData* node, int32_t index);
    // Shrinks the arrays to their counts, for an element that is complete: nothing is added to it
    // afterwards, as the block rule of the appends would overflow the exact arrays.
    static void trim(XmlNodeData* node);
    static XmlNodeData* data(const XmlNode& node) noexcept { return node.data_; }
};
