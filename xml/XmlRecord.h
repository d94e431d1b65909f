#pragma once
// The element record behind XmlNode and the operations that grow a tree. Private to the XML
// library: only the parser builds trees.

#include "xml/XmlNode.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <type_traits>
#include <vector>

// What malloc and realloc gave: a buffer that grows in place while a file is read into it.
struct FreeMemory {
    void operator()(void* memory) const noexcept { std::free(memory); }
};
using RawStorage = std::unique_ptr<char16_t[], FreeMemory>;

// One document's memory: the loaded (or converted) UTF-8 that every view points into, and an
// arena of large blocks for its records, their arrays and the few strings the parser had to make
// (decoded references, texts joined across a comment). Nothing in the arena is freed on its own:
// the whole store goes with the last handle into the document. The loaded text is never written
// to, so that an error's position can be counted on it after the parse.
struct XmlStore {
    int64_t handles = 0;                  // every handle into any record of the document
    RawStorage raw;                       // the file as read, when parsed where it lies
    std::unique_ptr<char[]> converted;    // the text converted to UTF-8, otherwise
    std::vector<std::unique_ptr<char[]>> blocks;
    char* next = nullptr;  // free room in the last block
    size_t left = 0;

    // Room for length bytes that live as long as the document; always 8-aligned. Inline for the
    // parser's record per element; a new block is made out of line.
    char* allocate(size_t length) {
        length = (length + 7) & ~size_t{7};
        if (length > left)
            return allocateInNewBlock(length);
        char* out = next;
        next += length;
        left -= length;
        return out;
    }
    char* allocateInNewBlock(size_t length);
    // Uninitialised room for count objects of a trivial type.
    template <typename T>
    T* allocateArray(size_t count) {
        static_assert(std::is_trivially_destructible_v<T> && alignof(T) <= 8);
        return reinterpret_cast<T*>(allocate(sizeof(T) * count));
    }
};

// ASCII A-Z as a-z, every other byte as it is: names and references match without regard to case.
inline char foldAscii(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

// A raw section (CDATA, comment, DOCTYPE, PRE). The tags point into the scanner's marker table.
struct XmlClearSection {
    std::string_view value;  // never empty
    const char* openTag;     // marker string of the clear-tag table, compared by identity
    const char* closeTag;    // the table's closing marker, or the static "]>"
};

// An element's texts and raw sections in document order with its children: the order list holds
// (index << kindBits) | kind for each.
enum XmlItemKind : int32_t { XmlChildItem = 0, XmlTextItem = 2, XmlClearItem = 3 };
constexpr int32_t kItemKindBits = 2;
constexpr int32_t kItemKindMask = (1 << kItemKindBits) - 1;

constexpr int32_t orderEntry(int32_t index, XmlItemKind kind) noexcept {
    return (index << kItemKindBits) | kind;
}

struct XmlAttribute {
    std::string_view name;   // never null
    std::string_view value;  // null for an attribute written without "=" and a value
};

// What an element holds beside child elements; most hold none, and go without.
struct XmlContent {
    XmlNodeData** children = nullptr;
    std::string_view* texts = nullptr;
    XmlClearSection* clears = nullptr;
    int32_t* order = nullptr;  // orderEntry(index, kind), one per child, text and clear section
    int32_t textCount = 0;
    int32_t clearCount = 0;
    int32_t orderCount = 0;
};

// The node record, in its document's arena, followed there by its attributes; every array is
// exact, written once when the element is complete.
struct XmlNodeData {
    const char* name = nullptr;  // null only for the unnamed document node
    XmlNodeData* parent = nullptr;
    // The children array, or (low bit set) the XmlContent that holds it: one field serves both,
    // as most elements hold children alone.
    uintptr_t items = 0;
    uint32_t nameLength : 31 = 0;
    uint32_t isDeclaration : 1 = 0;
    int32_t childCount = 0;
    int32_t attributeCount = 0;
    // Handles to this record. The parent's entry is not counted: a record lives while a handle
    // holds it or any of its ancestors, and the store's own count keeps the memory.
    int32_t refCount = 0;

    std::string_view nameView() const noexcept { return {name, nameLength}; }
    const XmlAttribute* attributes() const noexcept { return reinterpret_cast<const XmlAttribute*>(this + 1); }
    const XmlContent* content() const noexcept {
        return (items & 1) != 0 ? reinterpret_cast<const XmlContent*>(items - 1) : nullptr;
    }
    XmlNodeData* const* children() const noexcept {
        const XmlContent* held = content();
        return held != nullptr ? held->children : reinterpret_cast<XmlNodeData* const*>(items);
    }
};

// The items of the elements still open during a parse, innermost last. An element's items are
// copied into the arena at their exact counts when it is complete, so no array ever regrows there.
// Texts and raw sections note how many children came before them, which places them in the
// order list without an entry per child.
struct XmlBuilder {
    struct Item {
        int32_t entry;           // orderEntry(index, kind), the index relative to the open element
        int32_t childrenBefore;  // the open element's children written before it
    };
    struct Mark {
        size_t children = 0, texts = 0, clears = 0, items = 0;
    };
    std::vector<XmlNodeData*> children;
    std::vector<std::string_view> texts;
    std::vector<XmlClearSection> clears;
    std::vector<Item> items;  // the texts and raw sections, in document order
    Mark open;                // where the innermost open element's items start

    Mark mark() const noexcept { return {children.size(), texts.size(), clears.size(), items.size()}; }
    int32_t openChildren() const noexcept { return static_cast<int32_t>(children.size() - open.children); }
};

// Building operations over records, for the parser.
class XmlTree {
public:
    // The unnamed document node, owning store.
    static XmlNode createDocument(std::unique_ptr<XmlStore> store);
    // A new last child of the open element, with its name and count attributes; the parent's
    // entry is kept in builder until the parent is complete.
    static XmlNodeData* addChild(XmlStore& store, XmlBuilder& builder, XmlNodeData* parent, std::string_view name,
                                 bool isDeclaration, const XmlAttribute* attributes, int32_t count);
    static void addText(XmlBuilder& builder, std::string_view text);
    // Joins text to the open element's last text when its items end in that text and a comment:
    // the comment goes and the joined text is made anew in the store. False when they do not.
    static bool joinAcrossComment(XmlStore& store, XmlBuilder& builder, std::string_view text,
                                  const char* commentTag);
    static void addClearSection(XmlBuilder& builder, std::string_view value, const char* openTag,
                                const char* closeTag);
    // Writes the items gathered since the builder's open mark into node's exact arrays and drops
    // them from the builder.
    static void complete(XmlStore& store, XmlBuilder& builder, XmlNodeData* node);
    static XmlNodeData* data(const XmlNode& node) noexcept { return node.data_; }

    // What the page never reads, for the parser's own checks and the tests: each answers 0,
    // null or -1 for the empty node (a null record) and for an index out of range.
    static int32_t textCount(const XmlNodeData* node) noexcept;
    static int32_t clearCount(const XmlNodeData* node) noexcept;
    static const XmlClearSection* clearAt(const XmlNodeData* node, int32_t index) noexcept;
    // Entries of the order list: children, texts and raw sections in document order.
    static int32_t orderCount(const XmlNodeData* node) noexcept;
    static int32_t orderAt(const XmlNodeData* node, int32_t index) noexcept;
};
