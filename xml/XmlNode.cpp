#include "xml/XmlNode.h"

#include "xml/XmlRecord.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

// Arena blocks grow from small (a short document) to large (a huge one), so that neither pays
// for the other; room never touched in a large block costs no memory.
constexpr size_t kFirstBlock = 64 * 1024;
constexpr size_t kLastBlock = 8 * 1024 * 1024;

// Documents of millions of small elements are mostly records: these stay smaller than a node of
// the common DOM libraries, attributes and child entries apart.
static_assert(sizeof(XmlNodeData) <= 40);

// A record lives while a handle holds it or one of its ancestors: a parent reached only through
// records that nothing holds any more is gone, as if freed, and answers as the empty node.
bool held(const XmlNodeData* d) noexcept {
    for (; d != nullptr; d = d->parent)
        if (d->refCount > 0)
            return true;
    return false;
}

template <typename T>
T* copyToStore(XmlStore& store, const std::vector<T>& from, size_t start) {
    const size_t count = from.size() - start;
    if (count == 0)
        return nullptr;
    T* to = store.allocateArray<T>(count);
    std::memcpy(static_cast<void*>(to), from.data() + start, sizeof(T) * count);
    return to;
}

}  // namespace

char* XmlStore::allocateInNewBlock(size_t length) {
    const size_t size = std::min(kLastBlock, kFirstBlock << std::min<size_t>(blocks.size(), 7));
    // A long string or array gets a block of its own; the current block stays in use.
    if (length > size / 4) {
        blocks.push_back(std::make_unique_for_overwrite<char[]>(length));
        return blocks.back().get();
    }
    blocks.push_back(std::make_unique_for_overwrite<char[]>(size));
    next = blocks.back().get();
    left = size;
    char* out = next;
    next += length;
    left -= length;
    return out;
}

// Names of equal length, neither null.
bool xmlNamesEqualFolded(std::string_view a, std::string_view b) noexcept {
    for (size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i] && foldAscii(a[i]) != foldAscii(b[i]))
            return false;
    }
    return true;
}

// ---- handle ----

XmlNode::XmlNode(XmlNodeData* data, XmlStore* store) noexcept : data_(data), store_(data != nullptr ? store : nullptr) {
    if (data_ != nullptr) {
        ++data_->refCount;
        ++store_->handles;
    }
}

XmlNode::XmlNode(const XmlNode& other) noexcept : XmlNode(other.data_, other.store_) {}

XmlNode::XmlNode(XmlNode&& other) noexcept : data_(other.data_), store_(other.store_) {
    other.data_ = nullptr;
    other.store_ = nullptr;
}

XmlNode& XmlNode::operator=(const XmlNode& other) noexcept {
    if (this != &other) {
        // Take the new reference first: releasing the old one may end the store both share.
        if (other.data_ != nullptr) {
            ++other.data_->refCount;
            ++other.store_->handles;
        }
        release();
        data_ = other.data_;
        store_ = other.store_;
    }
    return *this;
}

XmlNode& XmlNode::operator=(XmlNode&& other) noexcept {
    if (this != &other) {
        release();
        data_ = other.data_;
        store_ = other.store_;
        other.data_ = nullptr;
        other.store_ = nullptr;
    }
    return *this;
}

XmlNode::~XmlNode() {
    release();
}

void XmlNode::release() noexcept {
    if (data_ != nullptr) {
        --data_->refCount;
        if (--store_->handles == 0)
            delete store_;
    }
    data_ = nullptr;
    store_ = nullptr;
}

XmlNode XmlNode::emptyNode() noexcept {
    return XmlNode();
}

// ---- queries ----

std::string_view XmlNode::name() const noexcept {
    return data_ != nullptr ? data_->nameView() : std::string_view();
}

int32_t XmlNode::childCount() const noexcept {
    return data_ != nullptr ? data_->childCount : 0;
}

int32_t XmlNode::childCountNamed(std::string_view childName) const noexcept {
    if (data_ == nullptr)
        return 0;
    int32_t count = 0;
    for (int32_t i = 0; i < data_->childCount; ++i)
        count += xmlNamesEqual(data_->children()[i]->nameView(), childName) ? 1 : 0;
    return count;
}

XmlNode XmlNode::childAt(int32_t index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->childCount)
        return XmlNode();
    return XmlNode(data_->children()[index], store_);
}

XmlNode XmlNode::childNamed(std::string_view childName, int32_t* cursor) const noexcept {
    if (data_ == nullptr)
        return XmlNode();
    for (int32_t i = cursor != nullptr && *cursor > 0 ? *cursor : 0; i < data_->childCount; ++i) {
        if (xmlNamesEqual(data_->children()[i]->nameView(), childName)) {
            if (cursor != nullptr)
                *cursor = i + 1;
            return XmlNode(data_->children()[i], store_);
        }
    }
    return XmlNode();
}

XmlNode XmlNode::parent() const noexcept {
    if (data_ == nullptr || !held(data_->parent))
        return XmlNode();
    return XmlNode(data_->parent, store_);
}

int32_t XmlNode::attributeCount() const noexcept {
    return data_ != nullptr ? data_->attributeCount : 0;
}

std::string_view XmlNode::attributeNameAt(int32_t index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->attributeCount)
        return {};
    return data_->attributes()[index].name;
}

std::string_view XmlNode::attributeValueAt(int32_t index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->attributeCount)
        return {};
    return data_->attributes()[index].value;
}

std::string_view XmlNode::attribute(std::string_view attributeName, int32_t* cursor) const noexcept {
    if (data_ == nullptr)
        return {};
    for (int32_t i = cursor != nullptr && *cursor > 0 ? *cursor : 0; i < data_->attributeCount; ++i) {
        if (xmlNamesEqual(data_->attributes()[i].name, attributeName)) {
            if (cursor != nullptr)
                *cursor = i + 1;
            return data_->attributes()[i].value;
        }
    }
    return {};
}

std::string_view XmlNode::textAt(int32_t index) const noexcept {
    if (index < 0 || index >= XmlTree::textCount(data_))
        return {};
    return data_->content()->texts[index];
}

// ---- inspection ----

int32_t XmlTree::textCount(const XmlNodeData* d) noexcept {
    return d != nullptr && d->content() != nullptr ? d->content()->textCount : 0;
}

int32_t XmlTree::clearCount(const XmlNodeData* d) noexcept {
    return d != nullptr && d->content() != nullptr ? d->content()->clearCount : 0;
}

const XmlClearSection* XmlTree::clearAt(const XmlNodeData* d, int32_t index) noexcept {
    if (index < 0 || index >= clearCount(d))
        return nullptr;
    return &d->content()->clears[index];
}

int32_t XmlTree::orderCount(const XmlNodeData* d) noexcept {
    if (d == nullptr)
        return 0;
    return d->content() != nullptr ? d->content()->orderCount : d->childCount;
}

int32_t XmlTree::orderAt(const XmlNodeData* d, int32_t index) noexcept {
    if (index < 0 || index >= orderCount(d))
        return -1;
    // An element without texts or raw sections keeps no order list: its children are all of it.
    return d->content() != nullptr ? d->content()->order[index] : orderEntry(index, XmlChildItem);
}

// ---- building operations ----

XmlNode XmlTree::createDocument(std::unique_ptr<XmlStore> store) {
    auto* d = new (store->allocateArray<XmlNodeData>(1)) XmlNodeData;
    return XmlNode(d, store.release());
}

XmlNodeData* XmlTree::addChild(XmlStore& store, XmlBuilder& builder, XmlNodeData* parent, std::string_view name,
                               bool isDeclaration, const XmlAttribute* attributes, int32_t count) {
    const size_t attributeBytes = sizeof(XmlAttribute) * static_cast<size_t>(count);
    auto* d = new (store.allocate(sizeof(XmlNodeData) + attributeBytes)) XmlNodeData;
    d->name = name.data();
    d->nameLength = static_cast<uint32_t>(name.size());
    d->isDeclaration = isDeclaration ? 1 : 0;
    d->parent = parent;
    d->attributeCount = count;
    if (count > 0)
        std::memcpy(static_cast<void*>(d + 1), attributes, attributeBytes);
    builder.children.push_back(d);
    return d;
}

void XmlTree::addText(XmlBuilder& builder, std::string_view text) {
    const auto index = static_cast<int32_t>(builder.texts.size() - builder.open.texts);
    builder.items.push_back({orderEntry(index, XmlTextItem), builder.openChildren()});
    builder.texts.push_back(text);
}

bool XmlTree::joinAcrossComment(XmlStore& store, XmlBuilder& builder, std::string_view text, const char* commentTag) {
    // The open element's last items are the builder's last: the elements inside it are complete
    // and gone from the builder. A child between the text and the comment, or after them, keeps
    // them apart.
    if (builder.items.size() < builder.open.items + 2)
        return false;
    const XmlBuilder::Item last = builder.items.back();
    const XmlBuilder::Item previous = builder.items[builder.items.size() - 2];
    if ((previous.entry & kItemKindMask) != XmlTextItem || (last.entry & kItemKindMask) != XmlClearItem ||
        builder.clears.back().openTag != commentTag || previous.childrenBefore != builder.openChildren())
        return false;
    builder.clears.pop_back();
    builder.items.pop_back();
    std::string_view& target = builder.texts.back();
    char* joined = store.allocate(target.size() + text.size());
    std::memcpy(joined, target.data(), target.size());
    std::memcpy(joined + target.size(), text.data(), text.size());
    target = std::string_view(joined, target.size() + text.size());
    return true;
}

void XmlTree::addClearSection(XmlBuilder& builder, std::string_view value, const char* openTag, const char* closeTag) {
    const auto index = static_cast<int32_t>(builder.clears.size() - builder.open.clears);
    builder.items.push_back({orderEntry(index, XmlClearItem), builder.openChildren()});
    builder.clears.push_back(XmlClearSection{value, openTag, closeTag});
}

namespace {

// The order list of an element with texts or raw sections: its children placed between them.
int32_t* mergeOrder(XmlStore& store, const XmlBuilder& builder, int32_t childCount) {
    const size_t itemCount = builder.items.size() - builder.open.items;
    int32_t* order = store.allocateArray<int32_t>(static_cast<size_t>(childCount) + itemCount);
    int32_t written = 0;
    int32_t child = 0;
    for (size_t i = builder.open.items; i < builder.items.size(); ++i) {
        for (; child < builder.items[i].childrenBefore; ++child)
            order[written++] = orderEntry(child, XmlChildItem);
        order[written++] = builder.items[i].entry;
    }
    for (; child < childCount; ++child)
        order[written++] = orderEntry(child, XmlChildItem);
    return order;
}

}  // namespace

void XmlTree::complete(XmlStore& store, XmlBuilder& builder, XmlNodeData* node) {
    const XmlBuilder::Mark& open = builder.open;
    XmlNodeData** children = copyToStore(store, builder.children, open.children);
    node->childCount = builder.openChildren();
    node->items = reinterpret_cast<uintptr_t>(children);
    if (builder.items.size() > open.items) {
        auto* content = new (store.allocateArray<XmlContent>(1)) XmlContent;
        content->children = children;
        content->texts = copyToStore(store, builder.texts, open.texts);
        content->clears = copyToStore(store, builder.clears, open.clears);
        content->order = mergeOrder(store, builder, node->childCount);
        content->textCount = static_cast<int32_t>(builder.texts.size() - open.texts);
        content->clearCount = static_cast<int32_t>(builder.clears.size() - open.clears);
        content->orderCount = node->childCount + static_cast<int32_t>(builder.items.size() - open.items);
        node->items = reinterpret_cast<uintptr_t>(content) | 1;
    }
    builder.children.resize(open.children);
    builder.texts.resize(open.texts);
    builder.clears.resize(open.clears);
    builder.items.resize(open.items);
}
