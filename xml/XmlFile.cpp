#include "xml/XmlFile.h"

#include "xml/TextEncoding.h"
#include "xml/XmlParser.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Room kept after the bytes read: 4 zero bytes, 1 so that UTF-16 units end on a whole unit, and
// 1 so that the read that finds the end of the file never asks for 0 bytes.
constexpr size_t padding = 6;
// The first buffer for a file of unknown size (a pipe, a device); it doubles as it fills.
constexpr size_t firstCapacity = size_t{1} << 16;
// The most one read asks for: a piece this size is still in the cache when the ASCII check
// reads it right after, where a whole large file would come from memory a second time.
constexpr size_t pieceBytes = size_t{1} << 19;

}  // namespace

class XmlFile::Descriptor {
public:
    Descriptor() = default;
    ~Descriptor() {
        if (fd >= 0)
            close(fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int fd = -1;
};

XmlError XmlFile::openFile(const char* path, Descriptor& file, size_t& sizeHint) {
    if (path == nullptr)
        return XmlError::CannotOpenFile;
    // Without O_NONBLOCK, opening a pipe waits for a writer that may never come; once open, a
    // pipe without a writer reads as empty.
    file.fd = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    struct stat info {};
    // A directory opens for reading; it is still no file to read.
    if (file.fd < 0 || fstat(file.fd, &info) != 0 || S_ISDIR(info.st_mode))
        return XmlError::CannotOpenFile;
    const int flags = fcntl(file.fd, F_GETFL);
    if (flags < 0 || fcntl(file.fd, F_SETFL, flags & ~O_NONBLOCK) != 0)
        return XmlError::CannotOpenFile;
    // A regular file's size spares the buffer its growth; the file is still read to its end.
    if (S_ISREG(info.st_mode)) {
        if (info.st_size > maxSize)
            return XmlError::FileTooLarge;
        sizeHint = static_cast<size_t>(info.st_size);
    }
    return XmlError::None;
}

XmlError XmlFile::readBytes(const Descriptor& file, size_t sizeHint, RawBytes& raw) {
    size_t capacity = 0;
    size_t count = 0;
    for (;;) {
        if (capacity - count < padding) {
            // Even, so that the buffer holds whole UTF-16 units; at most a little past the limit.
            size_t grown = capacity == 0 ? (sizeHint > 0 ? sizeHint + padding : firstCapacity) : capacity * 2;
            grown = (std::min(grown, static_cast<size_t>(maxSize) + 2 * padding) + 1) & ~size_t{1};
            void* memory = std::realloc(raw.storage.get(), grown);
            if (memory == nullptr)
                throw std::bad_alloc();
            static_cast<void>(raw.storage.release());
            raw.storage.reset(static_cast<char16_t*>(memory));
            capacity = grown;
        }
        auto* bytes = reinterpret_cast<unsigned char*>(raw.storage.get());
        const ssize_t got = read(file.fd, bytes + count, std::min(capacity - count - (padding - 1), pieceBytes));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return XmlError::CannotOpenFile;
        if (got == 0)
            break;
        count += static_cast<size_t>(got);
        if (count > static_cast<size_t>(maxSize))
            return XmlError::FileTooLarge;
        checkAscii(raw, count, false);
    }
    checkAscii(raw, count, true);
    std::memset(reinterpret_cast<unsigned char*>(raw.storage.get()) + count, 0, padding - 1);
    raw.byteCount = count;
    return count == 0 ? XmlError::EmptyFile : XmlError::None;
}

void XmlFile::checkAscii(RawBytes& raw, size_t count, bool atEnd) noexcept {
    const unsigned char* bytes = raw.bytes();
    if (raw.checkedTo == 0) {
        // Where the text starts is known once three bytes are in, or the file has ended.
        if (count < 3 && !atEnd)
            return;
        if (count >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF)
            raw.asciiFrom = 3;
        raw.asciiEnd = raw.checkedTo = raw.asciiFrom;
    }
    // A run that stopped short of what was read has ended.
    if (raw.asciiEnd == raw.checkedTo && count > raw.asciiEnd)
        raw.asciiEnd += TextEncoding::asciiPrefix(bytes + raw.asciiEnd, count - raw.asciiEnd);
    raw.checkedTo = std::max(raw.checkedTo, count);
}

XmlError XmlFile::readFile(const char* path, RawBytes& raw) {
    Descriptor file;
    size_t sizeHint = 0;
    XmlError error = openFile(path, file, sizeHint);
    if (error == XmlError::None)
        error = readBytes(file, sizeHint, raw);
    return error;
}

XmlNode XmlFile::parseBytes(RawBytes& raw, std::string_view requiredTag, XmlParseResult* result) {
    const TextEncoding::Detection detection = TextEncoding::detect(raw.bytes(), raw.byteCount);
    const unsigned char* bytes = raw.bytes() + detection.markLength;
    const size_t count = raw.byteCount - detection.markLength;
    auto store = std::make_unique<XmlStore>();
    size_t length = 0;
    switch (detection.encoding) {
    case TextEncoding::Encoding::Utf16LittleEndian:
    case TextEncoding::Encoding::Utf16BigEndian: {
        const size_t units = (raw.byteCount + 1) / 2;
        const bool swap = (detection.encoding == TextEncoding::Encoding::Utf16BigEndian) !=
                          (std::endian::native == std::endian::big);
        if (swap)
            TextEncoding::swapByteOrder(raw.storage.get(), units);
        const size_t skipped = detection.markLength / 2;
        store->converted = TextEncoding::utf16ToUtf8(raw.storage.get() + skipped, units - skipped, &length);
        break;
    }
    case TextEncoding::Encoding::Utf8:
        store->converted = TextEncoding::repairUtf8(bytes, count, &length, raw.knownAscii(detection.markLength));
        break;
    case TextEncoding::Encoding::Windows1252:
        store->converted = TextEncoding::windows1252ToUtf8(bytes, count, &length, raw.knownAscii(detection.markLength));
        break;
    }
    const char* text = nullptr;
    if (store->converted != nullptr) {
        raw.storage.reset();
        text = store->converted.get();
    } else {
        // The bytes are their own UTF-8: the tree keeps them and points into them.
        text = reinterpret_cast<const char*>(bytes);
        store->raw = std::move(raw.storage);
    }
    return XmlParser::parse(std::move(store), text, length, requiredTag, result);
}

XmlNode XmlFile::load(const char* path, std::string_view requiredTag, XmlParseResult* result) {
    RawBytes raw;
    const XmlError error = readFile(path, raw);
    if (result != nullptr)
        *result = XmlParseResult{error, 0, 0};
    if (error != XmlError::None)
        return XmlNode::emptyNode();
    return parseBytes(raw, requiredTag, result);
}

XmlNode XmlNode::parseFile(const char* path, std::string_view requiredTag, XmlParseResult* result) {
    return XmlFile::load(path, requiredTag, result);
}
