#pragma once
// Loading a document from disk: a chain of short steps (open, size, read, detect the encoding,
// convert, parse), each of which answers an XmlError.

#include "xml/XmlRecord.h"

#include <cstdio>

class XmlFile {
public:
    // Files must be smaller than 2 GB: sizes and positions are held in 32 bits.
    static constexpr int64_t maxSize = INT32_MAX;

    // Reads, decodes and parses the file at path (native bytes), as XmlNode::parseFile.
    static XmlNode load(const char* path, std::string_view requiredTag, XmlParseResult* result);

    // The file's bytes followed by 4 zero bytes, so that they end in a terminating zero read as
    // 8-bit text or as UTF-16 at either byte parity.
    struct RawBytes {
        std::unique_ptr<char16_t[]> storage;  // UTF-16 files are read from here
        size_t byteCount = 0;                 // bytes actually read
        const unsigned char* bytes() const noexcept {
            return reinterpret_cast<const unsigned char*>(storage.get());
        }
    };

    // The whole file at path. CannotOpenFile for a missing file or a directory, EmptyFile for
    // length 0, FileTooLarge from 2 GB on.
    static XmlError readFile(const char* path, RawBytes& raw);
    // Parses the bytes in the encoding that their byte-order mark or the UTF-16 test tells.
    // ASCII and valid UTF-8 are parsed where they lie; other text is converted to UTF-8 once.
    static XmlNode parseBytes(RawBytes& raw, std::string_view requiredTag, XmlParseResult* result);

private:
    struct FileCloser {
        void operator()(std::FILE* file) const noexcept { std::fclose(file); }
    };
    using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

    static XmlError openFile(const char* path, FileHandle& file);
    static XmlError fileSize(std::FILE* file, int64_t& size);
    static XmlError readBytes(std::FILE* file, int64_t size, RawBytes& raw);
};
