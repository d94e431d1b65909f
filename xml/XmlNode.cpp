#include "xml/XmlNode.h"

#include "xml/XmlScanner.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace {

constexpr int32_t kItemBlock = 50;
constexpr int32_t kOrderBlock = 3 * kItemBlock;

void* allocateBytes(size_t bytes) {
    void* memory = std::malloc(bytes == 0 ? 1 : bytes);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void* reallocateBytes(void* memory, size_t bytes) {
    void* grown = std::realloc(memory, bytes == 0 ? 1 : bytes);
    if (grown == nullptr)
        throw std::bad_alloc();
    return grown;
}

// Room an array holds while it grows by blocks: the first entry allocates a block, and the
// append at index i with i + 1 a multiple of the block size moves to i + 1 + block entries.
int32_t blockCapacity(int32_t count, int32_t block) {
    return count == 0 ? 0 : (count / block + 1) * block;
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

template <typename T>
void regrowToBlocks(T*& array, int32_t count, int32_t block) {
    if (array != nullptr && count > 0)
        array = static_cast<T*>(reallocateBytes(array, sizeof(T) * static_cast<size_t>(blockCapacity(count, block))));
}

// A trimmed record has exact-size arrays, so the block rule alone would overflow them.
void untrim(XmlNodeData* d) {
    if (!d->trimmed)
        return;
    regrowToBlocks(d->children, d->childCount, kItemBlock);
    regrowToBlocks(d->texts, d->textCount, kItemBlock);
    regrowToBlocks(d->clears, d->clearCount, kItemBlock);
    if (!d->attributesPacked)
        regrowToBlocks(d->attributes, d->attributeCount, kItemBlock);
    regrowToBlocks(d->order, d->orderCount, kOrderBlock);
    d->trimmed = false;
}

void appendOrder(XmlNodeData* d, int32_t index, XmlItemKind kind) {
    growForAppend(d->order, d->orderCount, kOrderBlock);
    d->order[d->orderCount++] = (index << 2) | kind;
}

// A record made by the parser carries its name right behind it, then its attributes.
char16_t* inlineName(XmlNodeData* d) noexcept {
    return reinterpret_cast<char16_t*>(d + 1);
}

size_t alignedUnits(size_t units) {
    constexpr size_t perWord = alignof(XmlAttribute) / sizeof(char16_t);
    return (units + perWord - 1) / perWord * perWord;
}

template <typename Unit>
char16_t* copyTerminated(char16_t*& out, const Unit* text, int32_t length) {
    char16_t* start = out;
    xmlWidenCopy(text, static_cast<size_t>(length), start);
    start[length] = 0;
    out += length + 1;
    return start;
}

template <typename Unit>
XmlNodeData* allocateRecord(const Unit* name, int32_t nameLength, const XmlAttributeSpan<Unit>* attributes,
                            int32_t count, const char16_t* decoded) {
    const size_t nameUnits = name != nullptr ? alignedUnits(static_cast<size_t>(nameLength) + 1) : 0;
    size_t stringUnits = 0;
    for (int32_t i = 0; i < count; ++i) {
        const bool valued = attributes[i].value != nullptr || attributes[i].decodedOffset >= 0;
        stringUnits += static_cast<size_t>(attributes[i].nameLength) + 1 +
                       (valued ? static_cast<size_t>(attributes[i].valueLength) + 1 : 0);
    }
    const size_t arrayBytes = sizeof(XmlAttribute) * static_cast<size_t>(count);
    void* memory = allocateBytes(sizeof(XmlNodeData) + sizeof(char16_t) * (nameUnits + stringUnits) + arrayBytes);
    auto* d = new (memory) XmlNodeData;
    if (name != nullptr) {
        char16_t* out = inlineName(d);
        d->name = copyTerminated(out, name, nameLength);
        d->nameInline = true;
    }
    if (count > 0) {
        auto* array = reinterpret_cast<XmlAttribute*>(inlineName(d) + nameUnits);
        auto* out = reinterpret_cast<char16_t*>(array + count);
        for (int32_t i = 0; i < count; ++i) {
            const XmlAttributeSpan<Unit>& a = attributes[i];
            array[i].name = copyTerminated(out, a.name, a.nameLength);
            if (a.decodedOffset >= 0)
                array[i].value = copyTerminated(out, decoded + a.decodedOffset, a.valueLength);
            else
                array[i].value = a.value != nullptr ? copyTerminated(out, a.value, a.valueLength) : nullptr;
        }
        d->attributes = array;
        d->attributeCount = count;
        d->attributesPacked = true;
    }
    return d;
}

// Gives every attribute string its own allocation, so that the array can grow.
void unpackAttributes(XmlNodeData* d) {
    if (!d->attributesPacked)
        return;
    const XmlAttribute* packed = d->attributes;
    auto* array = static_cast<XmlAttribute*>(
        allocateBytes(sizeof(XmlAttribute) * static_cast<size_t>(blockCapacity(d->attributeCount, kItemBlock))));
    for (int32_t i = 0; i < d->attributeCount; ++i) {
        const XmlAttribute& a = packed[i];
        array[i].name = xmlCopyString(a.name, xmlStringLength(a.name));
        array[i].value = a.value != nullptr ? xmlCopyString(a.value, xmlStringLength(a.value)) : nullptr;
    }
    d->attributes = array;
    d->attributesPacked = false;
}

void freeOwnedContents(XmlNodeData* d) noexcept {
    std::free(d->children);
    for (int32_t i = 0; i < d->textCount; ++i)
        std::free(d->texts[i]);
    std::free(d->texts);
    for (int32_t i = 0; i < d->clearCount; ++i)
        std::free(d->clears[i].value);
    std::free(d->clears);
    if (!d->attributesPacked) {
        for (int32_t i = 0; i < d->attributeCount; ++i) {
            std::free(d->attributes[i].name);
            std::free(d->attributes[i].value);
        }
        std::free(d->attributes);
    }
    std::free(d->order);
    if (!d->nameInline)
        std::free(d->name);
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
        freeOwnedContents(d);
        d->~XmlNodeData();
        std::free(d);
    }
}

char16_t foldAscii(char16_t c) noexcept {
    return (c >= u'A' && c <= u'Z') ? static_cast<char16_t>(c + 32) : c;
}

bool isCSpace(char16_t c) noexcept {
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}

bool isDigit(char16_t c) noexcept {
    return c >= u'0' && c <= u'9';
}

// The C library's number prefix: white space, then an optional sign.
const char16_t* skipSpaceAndSign(const char16_t* p, bool& negative) noexcept {
    while (isCSpace(*p))
        ++p;
    negative = *p == u'-';
    if (*p == u'-' || *p == u'+')
        ++p;
    return p;
}

}  // namespace

char16_t* xmlAllocateString(int32_t length) {
    auto* text = static_cast<char16_t*>(allocateBytes(sizeof(char16_t) * (static_cast<size_t>(length) + 1)));
    text[length] = 0;
    return text;
}

char16_t* xmlCopyString(const char16_t* text, int32_t length) {
    char16_t* copy = xmlAllocateString(length);
    if (length > 0)
        std::memcpy(copy, text, sizeof(char16_t) * static_cast<size_t>(length));
    return copy;
}

void xmlFreeString(char16_t* text) noexcept {
    std::free(text);
}

int32_t xmlStringLength(const char16_t* text) noexcept {
    if (text == nullptr)
        return 0;
    const char16_t* end = text;
    while (*end != 0)
        ++end;
    return static_cast<int32_t>(end - text);
}

bool xmlNamesEqual(const char16_t* a, const char16_t* b) noexcept {
    if (a == nullptr || b == nullptr)
        return false;
    for (; *a != 0; ++a, ++b) {
        if (*a != *b && foldAscii(*a) != foldAscii(*b))
            return false;
    }
    return *b == 0;
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

const char16_t* XmlNode::name() const noexcept {
    return data_ != nullptr ? data_->name : nullptr;
}

bool XmlNode::isDeclaration() const noexcept {
    return data_ != nullptr && data_->isDeclaration;
}

int32_t XmlNode::childCount() const noexcept {
    return data_ != nullptr ? data_->childCount : 0;
}

int32_t XmlNode::childCountNamed(const char16_t* childName) const noexcept {
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

XmlNode XmlNode::childNamed(const char16_t* childName, int32_t* cursor) const noexcept {
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

XmlNode XmlNode::childNamedNth(const char16_t* childName, int32_t n) const noexcept {
    if (data_ == nullptr)
        return emptyNode();
    if (n < 0) {
        for (int32_t i = data_->childCount - 1; i >= 0; --i) {
            if (xmlNamesEqual(data_->children[i]->name, childName))
                return XmlNode(data_->children[i]);
        }
        return emptyNode();
    }
    for (int32_t i = 0; i < data_->childCount; ++i) {
        if (xmlNamesEqual(data_->children[i]->name, childName) && n-- == 0)
            return XmlNode(data_->children[i]);
    }
    return emptyNode();
}

XmlNode XmlNode::parent() const noexcept {
    return data_ != nullptr ? XmlNode(data_->parent) : emptyNode();
}

int32_t XmlNode::attributeCount() const noexcept {
    return data_ != nullptr ? data_->attributeCount : 0;
}

const char16_t* XmlNode::attributeNameAt(int32_t index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->attributeCount)
        return nullptr;
    return data_->attributes[index].name;
}

const char16_t* XmlNode::attributeValueAt(int32_t index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->attributeCount)
        return nullptr;
    return data_->attributes[index].value;
}

const char16_t* XmlNode::attribute(const char16_t* attributeName, int32_t* cursor) const noexcept {
    if (data_ == nullptr)
        return nullptr;
    for (int32_t i = cursor != nullptr && *cursor > 0 ? *cursor : 0; i < data_->attributeCount; ++i) {
        if (xmlNamesEqual(data_->attributes[i].name, attributeName)) {
            if (cursor != nullptr)
                *cursor = i + 1;
            return data_->attributes[i].value;
        }
    }
    return nullptr;
}

int32_t XmlNode::textCount() const noexcept {
    return data_ != nullptr ? data_->textCount : 0;
}

const char16_t* XmlNode::textAt(int32_t index) const noexcept {
    if (data_ == nullptr || index < 0 || index >= data_->textCount)
        return nullptr;
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

XmlNode XmlNode::createNode(char16_t* nodeName, XmlNodeData* parentData, bool declaration) {
    XmlNodeData* d = allocateRecord<char16_t>(nullptr, 0, nullptr, 0, nullptr);
    d->name = nodeName;
    d->parent = parentData;
    d->isDeclaration = declaration;
    return XmlNode(d);
}

XmlNode XmlNode::addChild(char16_t* childName, bool declaration) {
    if (data_ == nullptr || childName == nullptr) {
        std::free(childName);
        return emptyNode();
    }
    XmlNode child = createNode(childName, data_, declaration);
    appendChild(child.data_);
    return child;
}

template <typename Unit>
XmlNode XmlNode::addChildCopy(const Unit* childName, int32_t length, bool declaration,
                              const XmlAttributeSpan<Unit>* attributes, int32_t count, const char16_t* decoded) {
    if (data_ == nullptr || childName == nullptr)
        return emptyNode();
    XmlNodeData* d = allocateRecord(childName, length, attributes, count, decoded);
    d->parent = data_;
    d->isDeclaration = declaration;
    XmlNode child(d);
    appendChild(d);
    return child;
}

template XmlNode XmlNode::addChildCopy(const char16_t*, int32_t, bool, const XmlAttributeSpan<char16_t>*, int32_t,
                                       const char16_t*);
template XmlNode XmlNode::addChildCopy(const unsigned char*, int32_t, bool, const XmlAttributeSpan<unsigned char>*,
                                       int32_t, const char16_t*);

void XmlNode::appendChild(XmlNodeData* child) {
    untrim(data_);
    growForAppend(data_->children, data_->childCount, kItemBlock);
    // The children entry is a holder of its own, beside the handle returned.
    ++child->refCount;
    data_->children[data_->childCount] = child;
    appendOrder(data_, data_->childCount++, XmlChildItem);
}

void XmlNode::addAttribute(char16_t* attributeName, char16_t* value) {
    if (data_ == nullptr || attributeName == nullptr) {
        std::free(attributeName);
        std::free(value);
        return;
    }
    unpackAttributes(data_);
    untrim(data_);
    growForAppend(data_->attributes, data_->attributeCount, kItemBlock);
    data_->attributes[data_->attributeCount++] = XmlAttribute{attributeName, value};
}

void XmlNode::addText(char16_t* text) {
    if (data_ == nullptr || text == nullptr) {
        std::free(text);
        return;
    }
    untrim(data_);
    growForAppend(data_->texts, data_->textCount, kItemBlock);
    data_->texts[data_->textCount] = text;
    appendOrder(data_, data_->textCount++, XmlTextItem);
}

void XmlNode::appendToText(int32_t index, char16_t* text) {
    if (data_ == nullptr || text == nullptr || index < 0 || index >= data_->textCount) {
        std::free(text);
        return;
    }
    char16_t*& target = data_->texts[index];
    const int32_t oldLength = xmlStringLength(target);
    const int32_t addedLength = xmlStringLength(text);
    target = static_cast<char16_t*>(
        reallocateBytes(target, sizeof(char16_t) * (static_cast<size_t>(oldLength) + static_cast<size_t>(addedLength) + 1)));
    std::memcpy(target + oldLength, text, sizeof(char16_t) * (static_cast<size_t>(addedLength) + 1));
    std::free(text);
}

void XmlNode::addClearSection(char16_t* value, const char16_t* openTag, const char16_t* closeTag) {
    if (data_ == nullptr || value == nullptr) {
        std::free(value);
        return;
    }
    untrim(data_);
    growForAppend(data_->clears, data_->clearCount, kItemBlock);
    data_->clears[data_->clearCount] = XmlClearSection{value, openTag, closeTag};
    appendOrder(data_, data_->clearCount++, XmlClearItem);
}

void XmlNode::deleteClearSection(int32_t index) {
    if (data_ == nullptr || index < 0 || index >= data_->clearCount)
        return;
    XmlNodeData* d = data_;
    std::free(d->clears[index].value);
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

void XmlNode::trim() {
    if (data_ == nullptr)
        return;
    XmlNodeData* d = data_;
    shrinkToCount(d->children, d->childCount);
    shrinkToCount(d->texts, d->textCount);
    shrinkToCount(d->clears, d->clearCount);
    if (!d->attributesPacked)
        shrinkToCount(d->attributes, d->attributeCount);
    shrinkToCount(d->order, d->orderCount);
    d->trimmed = true;
}

// ---- typed readers ----

int32_t parseIntOr(const char16_t* text, int32_t fallback) noexcept {
    if (text == nullptr || *text == 0)
        return fallback;
    bool negative = false;
    const char16_t* p = skipSpaceAndSign(text, negative);
    // Saturate one past the 32-bit range so that long digit runs never overflow.
    constexpr int64_t limit = int64_t{1} << 31;
    int64_t value = 0;
    for (; isDigit(*p); ++p) {
        value = value * 10 + (*p - u'0');
        if (value > limit)
            value = limit;
    }
    if (negative)
        return static_cast<int32_t>(-value);
    return value >= limit ? std::numeric_limits<int32_t>::max() : static_cast<int32_t>(value);
}

namespace {

// Whether a number that the conversion cannot represent is too large rather than too small:
// the decimal exponent of its first significant digit tells, and it is far from 0 either way.
bool decimalIsLarge(const char* digits, const char* end) {
    int64_t integerDigits = 0;
    int64_t firstSignificant = -1;  // index among the mantissa digits, the point left out
    int64_t index = 0;
    bool seenPoint = false;
    const char* p = digits;
    for (; p != end && *p != 'e' && *p != 'E'; ++p) {
        if (*p == '.') {
            seenPoint = true;
            continue;
        }
        if (!seenPoint)
            ++integerDigits;
        if (firstSignificant < 0 && *p != '0')
            firstSignificant = index;
        ++index;
    }
    int64_t magnitude = integerDigits - 1 - firstSignificant;
    if (p != end) {
        ++p;
        const bool negative = *p == '-';
        if (*p == '-' || *p == '+')
            ++p;
        int64_t exponent = 0;
        for (; p != end; ++p)
            exponent = exponent < 1000000000 ? exponent * 10 + (*p - '0') : exponent;
        magnitude += negative ? -exponent : exponent;
    }
    return magnitude > 0;
}

}  // namespace

double parseDoubleOr(const char16_t* text, double fallback) noexcept {
    if (text == nullptr || *text == 0)
        return fallback;
    bool negative = false;
    const char16_t* p = skipSpaceAndSign(text, negative);
    const char16_t* start = p;
    int64_t mantissaDigits = 0;
    int64_t fractionDigits = 0;
    uint64_t mantissa = 0;  // exact while mantissaDigits <= 19
    while (isDigit(*p)) {
        mantissa = mantissa * 10 + static_cast<uint64_t>(*p - u'0');
        ++p, ++mantissaDigits;
    }
    if (*p == u'.') {
        ++p;
        while (isDigit(*p)) {
            mantissa = mantissa * 10 + static_cast<uint64_t>(*p - u'0');
            ++p, ++mantissaDigits, ++fractionDigits;
        }
    }
    if (mantissaDigits == 0)
        return fallback;
    // Up to 15 digits and no exponent, the usual attribute: both the digits and the power of ten
    // are exact doubles, so one division rounds exactly as the full conversion would.
    if (mantissaDigits <= 15 && *p != u'e' && *p != u'E') {
        static constexpr double powers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7,
                                            1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
        const double value = static_cast<double>(mantissa) / powers[fractionDigits];
        return negative ? -value : value;
    }
    if (*p == u'e' || *p == u'E') {
        const char16_t* exponent = p + 1;
        if (*exponent == u'-' || *exponent == u'+')
            ++exponent;
        if (isDigit(*exponent)) {
            while (isDigit(*exponent))
                ++exponent;
            p = exponent;
        }
    }
    // The prefix is plain ASCII, so narrowing it is exact; from_chars then rounds correctly
    // and knows nothing of the locale.
    const auto length = static_cast<size_t>(p - start);
    char stackBuffer[128] = {};
    char* buffer = length <= sizeof stackBuffer ? stackBuffer : static_cast<char*>(std::malloc(length));
    if (buffer == nullptr)
        return fallback;
    for (size_t i = 0; i < length; ++i)
        buffer[i] = static_cast<char>(start[i]);
    double value = 0.0;
    const auto [end, error] = std::from_chars(buffer, buffer + length, value, std::chars_format::general);
    if (error == std::errc::result_out_of_range)
        value = decimalIsLarge(buffer, buffer + length) ? std::numeric_limits<double>::infinity() : 0.0;
    (void)end;
    if (buffer != stackBuffer)
        std::free(buffer);
    return negative ? -value : value;
}

const char16_t* textOr(const char16_t* text, const char16_t* fallback) noexcept {
    return text != nullptr ? text : fallback;
}
