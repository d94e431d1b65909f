#include "xml/XmlNode.h"

#include "xml/XmlRecord.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr int32_t kItemBlock = 50;
constexpr int32_t kOrderBlock = 3 * kItemBlock;
constexpr size_t kStoreChunk = 64 * 1024;

// Allocates (memory null) or resizes; never answers null.
void* reallocateBytes(void* memory, size_t bytes) {
    void* grown = std::realloc(memory, bytes == 0 ? 1 : bytes);
    if (grown == nullptr)
        throw std::bad_alloc();
    return grown;
}

// An emptied array may still be allocated (the order list after its last clear section went),
// so the first entry reallocates rather than allocates.
template <typename T>
void growForAppend(T*& array, int32_t count, int32_t block) {
    if (count == 0 || (count + 1) % block == 0)
        array = static_cast<T*>(reallocateBytes(array, sizeof(T) * static_cast<size_t>(count + block + (count == 0 ? 0 : 1))));
}

template <typename T>
void shrinkToCount(T*& array, int32_t count) {
    if (array != nullptr && count > 0)
        array = static_cast<T*>(reallocateBytes(array, sizeof(T) * static_cast<size_t>(count)));
}

void appendOrder(XmlNodeData* d, int32_t index, XmlItemKind kind) {
    growForAppend(d->order, d->orderCount, kOrderBlock);
    d->order[d->orderCount++] = (index << 2) | kind;
}

// One allocation for the record and its attribute array; the strings stay in the document.
XmlNodeData* allocateRecord(XmlStore* store, const XmlAttribute* attributes, int32_t count) {
    const size_t arrayBytes = sizeof(XmlAttribute) * static_cast<size_t>(count);
    void* memory = reallocateBytes(nullptr, sizeof(XmlNodeData) + arrayBytes);
    auto* d = new (memory) XmlNodeData;
    d->store = store;
    ++store->refCount;
    if (count > 0) {
        auto* array = reinterpret_cast<XmlAttribute*>(d + 1);
        for (int32_t i = 0; i < count; ++i)
            new (array + i) XmlAttribute(attributes[i]);
        d->attributes = array;
        d->attributeCount = count;
    }
    return d;
}

void freeRecord(XmlNodeData* d) noexcept {
    std::free(d->children);
    std::free(d->texts);
    std::free(d->clears);
    std::free(d->order);
    XmlStore* store = d->store;
    d->~XmlNodeData();
    std::free(d);
    if (--store->refCount == 0)
        delete store;
}

// Destroys a record whose count reached 0, and every descendant that only its parent held.
// Iterative, with the dying records chained through their parent field, so that no document
// depth can exhaust the stack here.
void destroyRecord(XmlNodeData* root) noexcept {
    root->parent = nullptr;
    XmlNodeData* pending = root;
    while (pending != nullptr) {
        XmlNodeData* d = pending;
        pending = d->parent;
        for (int32_t i = 0; i < d->childCount; ++i) {
            XmlNodeData* child = d->children[i];
            child->parent = nullptr;
            if (--child->refCount == 0) {
                child->parent = pending;
                pending = child;
            }
        }
        freeRecord(d);
    }
}

}  // namespace

char* XmlStore::allocate(size_t length) {
    // Made strings are rare and short: a chunk serves many, a long one gets its own.
    if (made.empty() || length > chunkLeft) {
        const size_t size = length > kStoreChunk / 4 ? length : kStoreChunk;
        made.push_back(std::make_unique_for_overwrite<char[]>(size));
        if (size == kStoreChunk) {
            chunkNext = made.back().get();
            chunkLeft = kStoreChunk;
        } else {
            return made.back().get();
        }
    }
    char* out = chunkNext;
    chunkNext += length;
    chunkLeft -= length;
    return out;
}

bool xmlNamesEqual(std::string_view a, std::string_view b) noexcept {
    if (a.data() == nullptr || b.data() == nullptr || a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i] && foldAscii(a[i]) != foldAscii(b[i]))
            return false;
    }
    return true;
}

// ---- handle ----

XmlNode::XmlNode(XmlNodeData* data) noexcept : data_(data) {
    if (data_ != nullptr)
        ++data_->refCount;
}

XmlNode::XmlNode(const XmlNode& other) noexcept : XmlNode(other.data_) {}

XmlNode::XmlNode(XmlNode&& other) noexcept : data_(other.data_) {
    other.data_ = nullptr;
}

XmlNode& XmlNode::operator=(const XmlNode& other) noexcept {
    if (this != &other) {
        // Take the new reference first: releasing the old record may free the only holder of
        // the new one's ancestors, never the new one itself once it is counted.
        if (other.data_ != nullptr)
            ++other.data_->refCount;
        release();
        data_ = other.data_;
    }
    return *this;
}

XmlNode& XmlNode::operator=(XmlNode&& other) noexcept {
    if (this != &other) {
        release();
        data_ = other.data_;
        other.data_ = nullptr;
    }
    return *this;
}

XmlNode::~XmlNode() {
    release();
}

void XmlNode::release() noexcept {
    if (data_ != nullptr && --data_->refCount == 0)
        destroyRecord(data_);
    data_ = nullptr;
}

XmlNode XmlNode::emptyNode() noexcept {
    static const XmlNode empty;
    return empty;
}

// ---- queries ----

std::string_view XmlNode::name() const noexcept {
    return data_ != nullptr ? data_->name : std::string_view();
}

bool XmlNode::isDeclaration() const noexcept {
    return data_ != nullptr && data_->isDeclaration;
}

int32_t XmlNode::childCount() const noexcept {
    return data_ != nullptr ? data_->childCount : 0;
}

int32_t XmlNode::childCountNamed(std::string_view childName) const noexcept {
    if (data_ == nullptr)
        return 0;
    int32_t count = 0;
    for (int32_t i = 0; i < data_->childCount; ++i)
        count += xmlNamesEqual(data_->children[i]->name, childName) ? 1 : 0;
    return count;
}

XmlNode XmlNode::childAt(int32_t index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->childCount)
        return emptyNode();
    return XmlNode(data_->children[index]);
}

XmlNode XmlNode::childNamed(std::string_view childName, int32_t* cursor) const noexcept {
    if (data_ == nullptr)
        return emptyNode();
    for (int32_t i = cursor != nullptr && *cursor > 0 ? *cursor : 0; i < data_->childCount; ++i) {
        if (xmlNamesEqual(data_->children[i]->name, childName)) {
            if (cursor != nullptr)
                *cursor = i + 1;
            return XmlNode(data_->children[i]);
        }
    }
    return emptyNode();
}

XmlNode XmlNode::childNamedNth(std::string_view childName, int32_t n) const noexcept {
    if (data_ == nullptr)
        return emptyNode();
    XmlNodeData* last = nullptr;
    for (int32_t i = 0; i < data_->childCount; ++i) {
        if (!xmlNamesEqual(data_->children[i]->name, childName))
            continue;
        if (n >= 0 && n-- == 0)
            return XmlNode(data_->children[i]);
        last = data_->children[i];
    }
    return n < 0 ? XmlNode(last) : emptyNode();
}

XmlNode XmlNode::parent() const noexcept {
    return data_ != nullptr ? XmlNode(data_->parent) : emptyNode();
}

int32_t XmlNode::attributeCount() const noexcept {
    return data_ != nullptr ? data_->attributeCount : 0;
}

std::string_view XmlNode::attributeNameAt(int32_t index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->attributeCount)
        return {};
    return data_->attributes[index].name;
}

std::string_view XmlNode::attributeValueAt(int32_t index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->attributeCount)
        return {};
    return data_->attributes[index].value;
}

std::string_view XmlNode::attribute(std::string_view attributeName, int32_t* cursor) const noexcept {
    if (data_ == nullptr)
        return {};
    for (int32_t i = cursor != nullptr && *cursor > 0 ? *cursor : 0; i < data_->attributeCount; ++i) {
        if (xmlNamesEqual(data_->attributes[i].name, attributeName)) {
            if (cursor != nullptr)
                *cursor = i + 1;
            return data_->attributes[i].value;
        }
    }
    return {};
}

int32_t XmlNode::textCount() const noexcept {
    return data_ != nullptr ? data_->textCount : 0;
}

std::string_view XmlNode::textAt(int32_t index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->textCount)
        return {};
    return data_->texts[index];
}

int32_t XmlNode::clearCount() const noexcept {
    return data_ != nullptr ? data_->clearCount : 0;
}

const XmlClearSection* XmlNode::clearAt(int32_t index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->clearCount)
        return nullptr;
    return &data_->clears[index];
}

int32_t XmlNode::orderCount() const noexcept {
    return data_ != nullptr ? data_->orderCount : 0;
}

int32_t XmlNode::orderAt(int32_t index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->orderCount)
        return -1;
    return data_->order[index];
}

// ---- building operations ----

XmlNode XmlTree::createDocument(std::unique_ptr<XmlStore> store) {
    return XmlNode(allocateRecord(store.release(), nullptr, 0));
}

XmlNodeData* XmlTree::addChild(XmlNodeData* parent, std::string_view name, bool isDeclaration,
                          const XmlAttribute* attributes, int32_t count) {
    XmlNodeData* d = allocateRecord(parent->store, attributes, count);
    d->name = name;
    d->parent = parent;
    d->isDeclaration = isDeclaration;
    growForAppend(parent->children, parent->childCount, kItemBlock);
    ++d->refCount;
    parent->children[parent->childCount] = d;
    appendOrder(parent, parent->childCount++, XmlChildItem);
    return d;
}

void XmlTree::addText(XmlNodeData* d, std::string_view text) {
    growForAppend(d->texts, d->textCount, kItemBlock);
    d->texts[d->textCount] = text;
    appendOrder(d, d->textCount++, XmlTextItem);
}

void XmlTree::appendToText(XmlNodeData* d, int32_t index, std::string_view text) {
    std::string_view& target = d->texts[index];
    char* joined = d->store->allocate(target.size() + text.size());
    std::memcpy(joined, target.data(), target.size());
    std::memcpy(joined + target.size(), text.data(), text.size());
    target = std::string_view(joined, target.size() + text.size());
}

void XmlTree::addClearSection(XmlNodeData* d, std::string_view value, const char* openTag, const char* closeTag) {
    growForAppend(d->clears, d->clearCount, kItemBlock);
    d->clears[d->clearCount] = XmlClearSection{value, openTag, closeTag};
    appendOrder(d, d->clearCount++, XmlClearItem);
}

void XmlTree::deleteClearSection(XmlNodeData* d, int32_t index) {
    std::memmove(d->clears + index, d->clears + index + 1,
                 sizeof(XmlClearSection) * static_cast<size_t>(d->clearCount - index - 1));
    if (--d->clearCount == 0) {
        std::free(d->clears);
        d->clears = nullptr;
    }
    const int32_t removed = (index << 2) | XmlClearItem;
    int32_t kept = 0;
    for (int32_t i = 0; i < d->orderCount; ++i) {
        const int32_t entry = d->order[i];
        if (entry == removed)
            continue;
        const bool laterClear = (entry & 3) == XmlClearItem && (entry >> 2) > index;
        d->order[kept++] = laterClear ? entry - 4 : entry;
    }
    d->orderCount = kept;
}

void XmlTree::trim(XmlNodeData* d) {
    shrinkToCount(d->children, d->childCount);
    shrinkToCount(d->texts, d->textCount);
    shrinkToCount(d->clears, d->clearCount);
    shrinkToCount(d->order, d->orderCount);
}
