#include "xml/XmlFile.h"

#include "xml/TextEncoding.h"
#include "xml/XmlParser.h"

#include <bit>
#include <cstring>
#include <filesystem>
#include <system_error>

XmlError XmlFile::openFile(const char* path, FileHandle& file) {
    if (path == nullptr)
        return XmlError::CannotOpenFile;
    // A directory opens for reading on some systems; it is still no file to read.
    std::error_code ignored;
    if (std::filesystem::is_directory(std::filesystem::path(path), ignored))
        return XmlError::CannotOpenFile;
    file.reset(std::fopen(path, "rb"));
    return file ? XmlError::None : XmlError::CannotOpenFile;
}

XmlError XmlFile::fileSize(std::FILE* file, int64_t& size) {
    // fseeko and ftello: their off_t measures files past 2 GB, where a long may not.
    if (fseeko(file, 0, SEEK_END) != 0)
        return XmlError::CannotOpenFile;
    size = static_cast<int64_t>(ftello(file));
    if (size < 0)
        return XmlError::CannotOpenFile;
    if (size == 0)
        return XmlError::EmptyFile;
    if (size > maxSize)
        return XmlError::FileTooLarge;
    std::rewind(file);
    return XmlError::None;
}

XmlError XmlFile::readBytes(std::FILE* file, int64_t size, RawBytes& raw) {
    const auto byteCapacity = static_cast<size_t>(size) + 4;
    raw.storage = std::make_unique_for_overwrite<char16_t[]>((byteCapacity + 1) / 2);
    auto* bytes = reinterpret_cast<unsigned char*>(raw.storage.get());
    raw.byteCount = std::fread(bytes, 1, static_cast<size_t>(size), file);
    std::memset(bytes + raw.byteCount, 0, byteCapacity + (byteCapacity & 1) - raw.byteCount);
    return XmlError::None;
}

XmlError XmlFile::readFile(const char* path, RawBytes& raw) {
    FileHandle file;
    int64_t size = 0;
    XmlError error = openFile(path, file);
    if (error == XmlError::None)
        error = fileSize(file.get(), size);
    if (error == XmlError::None)
        error = readBytes(file.get(), size, raw);
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
        store->converted = TextEncoding::repairUtf8(bytes, count, &length);
        break;
    case TextEncoding::Encoding::Windows1252:
        store->converted = TextEncoding::windows1252ToUtf8(bytes, count, &length);
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
